#include "generate/carve.h"
#include "generate/grids.h"
#include "gfx/stereo.h"
#include "scene/cells.h"
#include "scene/voronoi.h"
#include "tests/fakes/gl_count.h"
#include "tests/scene_picture.h"

#include <gtest/gtest.h>

// Puts the switches back.
struct Voronoi : testing::Test {
    void SetUp() override
    {
        picture_open();
        gfx_resize(320, 240);
        voronoi_on = 1;
    }
    void TearDown() override
    {
        gfx_resize(640, 480);
        voronoi_on = 0;
        voronoi_mode = 5;
        plot_type = 0;
    }
};
using voronoi_plot_on_the_screen = Voronoi;
using disc_draw_on_the_screen = Voronoi;
using lights_fixed_in_the_world = Voronoi;

// A lattice of 4 by 4 nodes 10 below the eye, carved by hand: only rows are joined.
struct Map : World {
    Map()
    {
        for (i32 i = 0; i < 16; i++) {
            node(2 * (i % 4) - 3, 2 * (i / 4) - 3, -10, 0.5);
            if (i % 4 != 0) {
                Maze_join(root, i, i + 1); // node 0 is the player's
            }
        }
    }
    Picture drawmode(i32 mode)
    {
        voronoi_mode = mode;
        Maze_detach(root, "voronoilist", true);
        return draw();
    }
    Rgb at(const Picture& picture, f64 x, f64 y, f64 z = -10) const
    {
        const f64 p[3] = {x, y, z};
        const Place place = picture_place(&game, p);
        return picture.at(static_cast<i32>(place.x), static_cast<i32>(place.y));
    }
};

static void expectgrey(const Rgb& found, f64 value)
{
    EXPECT_NEAR(found.r, value, 1.5 / 255);
    EXPECT_NEAR(found.g, value, 1.5 / 255);
    EXPECT_NEAR(found.b, value, 1.5 / 255);
}

TEST_F(voronoi_plot_on_the_screen, outlines_cells_and_leaves_their_middle_black)
{
    Map map;
    const Picture picture = map.drawmode(0);
    expectgrey(map.at(picture, -1, -1), 0);
    const i32 y = 120;
    i32 lines = 0;
    for (i32 x = 0; x < 320; x++) {
        lines += picture.black(x, y + 16) ? 0 : 1;
    }
    EXPECT_GE(lines, 5);
    EXPECT_LE(lines, 14);
}

TEST_F(voronoi_plot_on_the_screen, paints_terraces_in_the_nodes_colour)
{
    Map map;
    const Picture picture = map.drawmode(1);
    expectgrey(map.at(picture, -1, -1), 128 / 255.0);
    expectgrey(map.at(picture, 1, 1), 128 / 255.0);
}

TEST_F(voronoi_plot_on_the_screen, lights_terraces_by_the_lamps_angle)
{
    Map map;
    const Picture picture = map.drawmode(2);
    // 0.2 of the surroundings and 0.8 times the cosine to (0.5, 0.6, 0.7)
    const f64 cosine = 0.7 / std::sqrt(0.25 + 0.36 + 0.49);
    expectgrey(map.at(picture, -1, -1), 128 / 255.0 * (0.2 + 0.8 * cosine));
}

TEST_F(voronoi_plot_on_the_screen, lights_relief_and_triangles_alike)
{
    for (const i32 mode : {3, 4, 5}) {
        Map map;
        const Picture picture = map.drawmode(mode);
        const f64 cosine = 0.7 / std::sqrt(0.25 + 0.36 + 0.49);
        expectgrey(map.at(picture, -1.3, -1.2), 128 / 255.0 * (0.2 + 0.8 * cosine));
    }
}

TEST_F(voronoi_plot_on_the_screen, raises_solid_walls_between_rows)
{
    Map map;
    const Picture picture = map.drawmode(5);
    const f64 cosine = 0.7 / std::sqrt(0.25 + 0.36 + 0.49);
    expectgrey(map.at(picture, -1, 0, -9.5), 192 / 255.0 * (0.2 + 0.8 * cosine)); // a wall's top
    expectgrey(map.at(picture, 0, -1), 128 / 255.0 * (0.2 + 0.8 * cosine));       // an edge's gap
}

TEST_F(voronoi_plot_on_the_screen, leaves_lighting_off_after_every_style)
{
    for (i32 mode = 0; mode < 6; mode++) {
        Map map;
        map.drawmode(mode);
        EXPECT_EQ(glIsEnabled(GL_LIGHTING), GL_FALSE) << mode;
    }
}

TEST_F(voronoi_plot_on_the_screen, takes_the_place_of_the_other_styles)
{
    Map map;
    const Picture first = map.drawmode(1);
    plot_type = 1;
    EXPECT_EQ(map.draw().bytes, first.bytes);
}

TEST_F(voronoi_plot_on_the_screen, keeps_cells_and_list_whatever_changes)
{
    Map map;
    map.drawmode(5);
    const void* const cells = Maze_attachment(map.root, "voronoi");
    const void* const list = Maze_attachment(map.root, "voronoilist");
    ASSERT_NE(cells, nullptr);
    ASSERT_NE(list, nullptr);
    Maze_freeflags(map.root, ATT_GEOMETRY | ATT_EXITS | ATT_VISITS, true);
    map.draw();
    EXPECT_EQ(Maze_attachment(map.root, "voronoi"), cells);
    EXPECT_EQ(Maze_attachment(map.root, "voronoilist"), list);
}

TEST_F(voronoi_plot_on_the_screen, shows_the_colours_of_the_moment_of_recording)
{
    Map map;
    const Picture before = map.drawmode(1);
    Maze_setcolour(map.root, 0xFF0000);
    EXPECT_EQ(map.draw().bytes, before.bytes);
    const Rgb after = map.at(map.drawmode(1), -1, -1);
    EXPECT_EQ(after.r, 1);
    EXPECT_EQ(after.g, 0);
}

TEST_F(voronoi_plot_on_the_screen, records_a_list_once_and_calls_it_in_each_slice)
{
    Map map;
    map.drawmode(5);
    gl_count.calls.clear();
    map.draw();
    EXPECT_EQ(gl_count.calls["glNewList"], 0);
    EXPECT_EQ(gl_count.calls["glCallList"], 1); // the far slice holds nothing of it
}

TEST_F(voronoi_plot_on_the_screen, builds_nothing_for_a_level_out_of_view)
{
    World world;
    world.node(0, 0, 50, 0.5);
    world.draw();
    EXPECT_EQ(Maze_attachment(world.root, "voronoi"), nullptr);
}

TEST_F(voronoi_plot_on_the_screen, draws_the_levels_below_and_not_their_node)
{
    Map map;
    Maze* const sub = add_sub(map.root, 6); // in the place of the cell about (-1, -1)
    add_node(sub, -1.5, -1, -10, 0.1, 0x00FF00);
    add_node(sub, -0.5, -1, -10, 0.1, 0x00FF00);
    Maze_join(sub, 0, 1);
    const Picture picture = map.drawmode(1);
    const Rgb inside = map.at(picture, -1.5, -1);
    EXPECT_EQ(inside.r, 0);
    EXPECT_EQ(inside.g, 1);
}

TEST_F(voronoi_plot_on_the_screen, makes_every_level_anew_after_a_change_of_style)
{
    Map map;
    Maze* const sub = add_sub(map.root, 6);
    add_node(sub, -1.5, -1, -10, 0.1);
    add_node(sub, -0.5, -1, -10, 0.1);
    Maze_join(sub, 0, 1);
    map.drawmode(1);
    EXPECT_NE(Maze_attachment(sub, "voronoilist"), nullptr);
    Maze_detach(map.root, "voronoilist", true);
    EXPECT_EQ(Maze_attachment(sub, "voronoilist"), nullptr);
    EXPECT_NE(Maze_attachment(sub, "voronoi"), nullptr);
}

TEST_F(voronoi_plot_on_the_screen, shows_cells_that_reach_into_a_view_without_their_nodes)
{
    World world;
    world.node(0, 0, -10, 0.1);
    world.node(1, 0, -10, 0.1);
    Maze_join(world.root, 1, 2);
    Maze_delnode(world.root, 0, true); // the player's; the last node takes its number
    voronoi_mode = 1;
    finish_world(world.root);
    picture_draw(&world.game);
    world.game.campos[0] = 13; // both nodes left of the view, whose border lies at 3
    const Picture picture = picture_draw(&world.game);
    EXPECT_FALSE(picture.black(1, 120));
}

TEST_F(voronoi_plot_on_the_screen, draws_a_world_that_has_lost_nodes_in_every_style)
{
    for (i32 mode = 0; mode < 6; mode++) {
        Map map;
        map.drawmode(mode);
        for (i32 i = 0; i < 9; i++) {
            Maze_delnode(map.root, 3, true);
        }
        const Picture picture = map.drawmode(mode);
        EXPECT_GT(picture.painted(), 0) << mode;
    }
}

TEST_F(voronoi_plot_on_the_screen, draws_a_world_of_one_node_without_a_fault)
{
    for (i32 mode = 0; mode < 6; mode++) {
        World world;
        Maze_node(world.root, 0)->pos[2] = -10;
        voronoi_mode = mode;
        const Picture picture = world.draw();
        EXPECT_LE(picture.painted(), 60) << mode; // the cursor alone
        EXPECT_GT(picture.painted(), 0) << mode;
    }
}

TEST_F(voronoi_plot_on_the_screen, hangs_the_cursor_over_the_players_place)
{
    Map map;
    map.game.pos.node = 6;
    const Picture picture = map.drawmode(1);
    expectgrey(map.at(picture, -1, -1, -9.7), 1);
}

TEST_F(voronoi_plot_on_the_screen, hangs_the_cursor_on_both_of_two_screens)
{
    Map map;
    map.game.pos.node = 6;
    voronoi_mode = 0;
    finish_world(map.root);
    for (const i32 vertical : {0, 1}) {
        picture_begin(&map.game);
        stereo_draw_two_screens(scene_draw, &map.game, 0, vertical, 0, 0);
        const Picture picture = picture_take();
        const i32 dx = vertical != 0 ? 0 : 160;
        const i32 dy = vertical != 0 ? 120 : 0;
        i32 white = 0;
        for (i32 y = dy; y < 240; y++) {
            for (i32 x = dx; x < 320; x++) {
                const Rgb found = picture.at(x, y);
                EXPECT_EQ(found.r, picture.at(x - dx, y - dy).r) << x << " " << y;
                white += found.r == 1 ? 1 : 0;
            }
        }
        EXPECT_GT(white, 0) << vertical;
    }
}

// Discs

// The vertices of a disc, which is drawn as well.
static std::vector<GlVertex> disc(f64 x, f64 y, f64 z, f64 r, const f64 eye[3])
{
    const f64 p[3] = {x, y, z};
    picture_clear();
    glLoadIdentity();
    gl_count.record = true;
    gl_count.vertices.clear();
    disc_draw(p, r, 0xFFFFFF, eye);
    gl_count.record = false;
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    return gl_count.vertices;
}

static const f64 origin[3] = {0, 0, 0};

TEST_F(disc_draw_on_the_screen, is_a_fan_finer_the_larger_it_looks)
{
    EXPECT_EQ(disc(0, 0, -10, 1, origin).size(), 14U);   // 6 pixels: 12 sides
    EXPECT_EQ(disc(0, 0, -10, 0.12, origin).size(), 6U); // 0.72 pixels: 4 sides
}

TEST_F(disc_draw_on_the_screen, begins_in_its_middle_and_ends_where_its_rim_began)
{
    const auto found = disc(1, 2, -10, 1, origin);
    EXPECT_EQ(found[0].pos[0], 1.0F);
    EXPECT_EQ(found[0].pos[1], 2.0F);
    EXPECT_EQ(found[0].pos[2], -10.0F);
    for (i32 i = 0; i < 3; i++) {
        EXPECT_NEAR(found[1].pos[i], found.back().pos[i], 1e-5F);
    }
}

TEST_F(disc_draw_on_the_screen, is_round_and_faces_the_eye)
{
    const f64 p[3] = {1, 2, -10};
    const auto found = disc(p[0], p[1], p[2], 1.5, origin);
    for (size_t i = 1; i < found.size(); i++) {
        f64 spoke[3];
        for (i32 k = 0; k < 3; k++) {
            spoke[k] = static_cast<f64>(found[i].pos[k]) - p[k];
        }
        EXPECT_NEAR(vec3_length(spoke), 1.5, 1e-5);
        EXPECT_NEAR(vec3_dot(spoke, p), 0, 1e-4);
    }
}

TEST_F(disc_draw_on_the_screen, is_left_out_when_too_small)
{
    EXPECT_EQ(disc(0, 0, -10, 0.006, origin).size(), 0U); // 0.036 pixels
}

TEST_F(disc_draw_on_the_screen, is_left_out_once_its_centre_is_its_size_off_the_window)
{
    // a unit is 16 pixels here, and the disc counts between 4 and 5
    EXPECT_NE(disc(10.2, 0, -10, 1, origin).size(), 0U);
    EXPECT_EQ(disc(10.3, 0, -10, 1, origin).size(), 0U);
    EXPECT_EQ(disc(-10.5, 0, -10, 1, origin).size(), 0U);
    EXPECT_NE(disc(0, 7.7, -10, 1, origin).size(), 0U);
    EXPECT_EQ(disc(0, 8.0, -10, 1, origin).size(), 0U);
    EXPECT_EQ(disc(0, -8.0, -10, 1, origin).size(), 0U);
}

TEST_F(disc_draw_on_the_screen, is_left_out_at_the_eye_itself)
{
    const f64 eye[3] = {0, 0, -10};
    EXPECT_EQ(disc(0, 0, -10, 1, eye).size(), 0U);
}

TEST_F(disc_draw_on_the_screen, stays_affordable_however_near)
{
    const f64 eye[3] = {0, 0, -10 + 1e-9};
    EXPECT_LE(disc(0, 0, -10, 1, eye).size(), 600U);
}

TEST_F(disc_draw_on_the_screen, is_left_out_in_a_window_of_a_few_rows)
{
    gfx_resize(320, 3);
    EXPECT_EQ(disc(0, 0, -10, 1, origin).size(), 0U);
}

// The lamp

TEST_F(lights_fixed_in_the_world, turn_one_white_lamp_on_and_let_colours_act)
{
    glLoadIdentity();
    lights_fixed();
    EXPECT_EQ(glIsEnabled(GL_LIGHTING), GL_TRUE);
    EXPECT_EQ(glIsEnabled(GL_LIGHT0), GL_TRUE);
    EXPECT_EQ(glIsEnabled(GL_COLOR_MATERIAL), GL_TRUE);
    f32 diffuse[4];
    f32 position[4];
    glGetLightfv(GL_LIGHT0, GL_DIFFUSE, diffuse);
    glGetLightfv(GL_LIGHT0, GL_POSITION, position);
    const f32 wantdiffuse[4] = {0.8F, 0.8F, 0.8F, 1};
    const f32 wantposition[4] = {0.5F, 0.6F, 0.7F, 0};
    for (i32 i = 0; i < 4; i++) {
        EXPECT_EQ(diffuse[i], wantdiffuse[i]);
        EXPECT_EQ(position[i], wantposition[i]);
    }
    glDisable(GL_LIGHTING);
}

TEST_F(lights_fixed_in_the_world, come_from_one_direction_however_the_camera_turns)
{
    Map map;
    const f64 above[3] = {0.1, 0, 6};
    const f64 aside[3] = {6, 3, -1};
    const f64 middle[3] = {0, 0, -10};
    look_at(&map.game, above, middle);
    const Rgb first = map.at(map.drawmode(4), -1.3, -1.2);
    look_at(&map.game, aside, middle);
    const Rgb second = map.at(map.draw(), -1.3, -1.2);
    EXPECT_GT(first.r, 0.2);
    EXPECT_NEAR(first.r, second.r, 1.5 / 255);
}
