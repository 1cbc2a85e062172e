#include "scene/grid.h"
#include "tests/emitted.h"
#include "tests/scene_picture.h"

static std::vector<GlVertex> grid_of(f64 x, f64 y, f64 z)
{
    picture_open();
    World world;
    f64* const pos = Maze_node(world.root, 0)->pos;
    pos[0] = x;
    pos[1] = y;
    pos[2] = z;
    return emitted([&] { grid_draw(&world.game); });
}

TEST(grid_draw, has_forty_two_lines_in_each_of_seven_decades)
{
    EXPECT_EQ(grid_of(0, 0, 0).size(), 7U * 42 * 2);
}

TEST(grid_draw, lies_at_the_height_of_the_players_node)
{
    for (const GlVertex& v : grid_of(3, 4, 17)) {
        EXPECT_EQ(v.pos[2], 17);
    }
}

TEST(grid_draw, begins_each_decade_on_a_multiple_of_its_half_width_and_holds_the_node)
{
    const f64 x = 1234.5;
    const f64 y = -77;
    const auto v = grid_of(x, y, 0);
    f64 half = 10;
    for (size_t decade = 0; decade < 7; decade++) {
        const f64 gx = std::floor(x / half - 0.5) * half;
        const f64 gy = std::floor(y / half - 0.5) * half;
        const GlVertex* const lines = v.data() + decade * 84;
        expect_place(lines[0], gx + 2 * half, gy, 0, 1); // from the far side back
        expect_place(lines[1], gx + 2 * half, gy + 2 * half, 0, 1);
        expect_place(lines[2], gx, gy + 2 * half, 0, 1);
        expect_place(lines[3], gx + 2 * half, gy + 2 * half, 0, 1);
        expect_place(lines[80], gx, gy, 0, 1);
        expect_place(lines[82], gx, gy, 0, 1);
        EXPECT_LE(gx, x);
        EXPECT_GE(gx + 2 * half, x);
        half *= 10;
    }
}

TEST(grid_draw, is_the_same_wherever_one_looks)
{
    picture_open();
    World world;
    finish_world(world.root);
    const f64 eyes[2][3] = {{5, 4, 60}, {-30, 70, 45}};
    const f64 targets[2][3] = {{5, 4, 0}, {100, -90, 38}};
    std::vector<GlVertex> grids[2];
    for (i32 i = 0; i < 2; i++) {
        look_at(&world.game, eyes[i], targets[i]);
        picture_begin(&world.game);
        grids[i] = emitted([&] { grid_draw(&world.game); });
    }
    ASSERT_EQ(grids[0].size(), grids[1].size());
    for (size_t i = 0; i < grids[0].size(); i++) {
        EXPECT_TRUE(std::equal(grids[0][i].pos, grids[0][i].pos + 4, grids[1][i].pos)) << i;
    }
}

TEST(grid_draw, runs_from_blue_over_green_to_red)
{
    const auto v = grid_of(0, 0, 0);
    const f64 colours[7][3] = {{0, 0, 0.5},     {0.1, 0.1, 0.6}, {0.2, 0.2, 0.7}, {0, 0.5, 0},
                               {0.1, 0.6, 0.1}, {0.2, 0.7, 0.2}, {0.5, 0, 0}};
    for (size_t decade = 0; decade < 7; decade++) {
        for (i32 i = 0; i < 3; i++) {
            EXPECT_FLOAT_EQ(v[decade * 84].colour[i], static_cast<f32>(colours[decade][i]));
        }
    }
}

TEST(grid_draw, does_not_depend_on_the_direction_of_the_view)
{
    picture_open();
    World world;
    const auto before = emitted([&] { grid_draw(&world.game); });
    const f64 eye[3] = {5, 6, 7};
    const f64 target[3] = {0, 0, 0};
    look_at(&world.game, eye, target);
    const auto after = emitted([&] { grid_draw(&world.game); });
    ASSERT_EQ(before.size(), after.size());
    EXPECT_EQ(std::memcmp(before.data(), after.data(), before.size() * sizeof before[0]), 0);
}

// The picture of the grid straight from above; the player's node is at the origin.
static Picture grid_from_above(i32 smooth, const f64 background[3])
{
    picture_open();
    gfx_resize(320, 240);
    World world;
    Maze_node(world.root, 0)->pos[2] = 0;
    finish_world(world.root);
    const f64 eye[3] = {0.5, 0.5, 8};
    const f64 target[3] = {0.5, 0.5, 0};
    look_at(&world.game, eye, target);
    picture_begin(&world.game);
    glClearColor(static_cast<f32>(background[0]), static_cast<f32>(background[1]),
                 static_cast<f32>(background[2]), 0);
    picture_clear();
    glClearColor(0, 0, 0, 0);
    smooth_lines = smooth;
    grid_draw(&world.game);
    smooth_lines = 1;
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    return picture_take();
}

// The brightest pixel about the place where the line x = 2 crosses row 140, between two others.
static Rgb line_colour(const Picture& picture)
{
    Rgb best = {0, 0, 0};
    const i32 at = static_cast<i32>(160 + 1.5 / 8 * 160);
    for (i32 x = at - 1; x <= at + 1; x++) {
        const Rgb c = picture.at(x, 140);
        best = c.b > best.b ? c : best;
    }
    return best;
}

TEST(grid_draw, shows_the_nearest_decade_in_blue)
{
    const f64 black[3] = {0, 0, 0};
    const Rgb c = line_colour(grid_from_above(0, black));
    EXPECT_NEAR(c.b, 0.5, 0.01);
    EXPECT_EQ(c.r, 0);
}

TEST(grid_draw, mixes_with_the_background_by_the_colour_factor)
{
    const f64 grey[3] = {0.4, 0.4, 0.4};
    const Rgb c = line_colour(grid_from_above(0, grey));
    EXPECT_NEAR(c.b, 0.5 + 0.4 * 0.5, 0.01);
    EXPECT_NEAR(c.r, 0.4, 0.01);
}

TEST(grid_draw, adds_light_where_its_lines_are_smooth)
{
    const f64 grey[3] = {0.4, 0.4, 0.4};
    const Rgb c = line_colour(grid_from_above(1, grey));
    EXPECT_GT(c.b, 0.45);
    EXPECT_NEAR(c.r, 0.4, 0.01);
}

TEST(grid_draw, writes_no_depth_and_leaves_the_state_as_it_was)
{
    const f64 black[3] = {0, 0, 0};
    for (const i32 smooth : {0, 1}) {
        grid_from_above(smooth, black);
        std::vector<f32> depth(320 * 240);
        glReadPixels(0, 0, 320, 240, GL_DEPTH_COMPONENT, GL_FLOAT, depth.data());
        for (const f32 d : depth) {
            ASSERT_EQ(d, 1.0F);
        }
        GLboolean writes = GL_FALSE;
        glGetBooleanv(GL_DEPTH_WRITEMASK, &writes);
        EXPECT_TRUE(writes);
        EXPECT_FALSE(glIsEnabled(GL_BLEND));
    }
}

TEST(grid_switch, draws_the_grid_in_the_scene)
{
    picture_open();
    gfx_resize(320, 240);
    World world;
    Maze_node(world.root, 0)->pos[2] = -3;
    const Picture without = world.draw();
    grid_on = 1;
    const Picture with = world.draw();
    grid_on = 0;
    EXPECT_GT(with.painted(), without.painted());
}
