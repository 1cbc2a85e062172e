#include "model/mazegame.h"
#include "model/stategraph.h"
#include "scene/ballstick.h"
#include "tests/scene_picture.h"

static void open_small()
{
    picture_open();
    gfx_resize(200, 150);
}

TEST(plot_switches, start_at_the_disc_plot)
{
    EXPECT_EQ(plot_type, 0);
    EXPECT_EQ(voronoi_on, 0);
    EXPECT_EQ(voronoi_mode, 5);
    EXPECT_EQ(landscape_on, 0);
    EXPECT_EQ(light_on, 0);
    EXPECT_EQ(grid_on, 0);
    EXPECT_EQ(smooth_lines, 1);
}

TEST(scene_draw, leaves_the_depth_buffer_clear_and_the_near_slice_loaded)
{
    open_small();
    World world;
    world.node(0, 0, -10, 2);
    world.draw();
    f32 depth = 0;
    glReadPixels(100, 75, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
    EXPECT_EQ(depth, 1);
    f32 p[16];
    glGetFloatv(GL_PROJECTION_MATRIX, p);
    u32 bits[2];
    std::memcpy(bits, &p[10], 4);
    std::memcpy(bits + 1, &p[14], 4);
    EXPECT_EQ(bits[0], 0xBF80068BU);
    EXPECT_EQ(bits[1], 0xBE4CD209U);
    GLint mode = 0;
    glGetIntegerv(GL_MATRIX_MODE, &mode);
    EXPECT_EQ(mode, GL_MODELVIEW);
}

TEST(scene_draw, keeps_the_sides_of_the_projection_it_found)
{
    open_small();
    gfx_set_fov(40, 1, 10);
    f32 before[16];
    glGetFloatv(GL_PROJECTION_MATRIX, before);
    World world;
    world.draw();
    f32 after[16];
    glGetFloatv(GL_PROJECTION_MATRIX, after);
    for (i32 i = 0; i < 16; i++) {
        if (i != 10 && i != 14) {
            EXPECT_EQ(after[i], before[i]) << i;
        }
    }
}

TEST(scene_draw, captures_the_view_of_the_near_slice_last)
{
    open_small();
    World world;
    world.draw();
    EXPECT_NEAR(world.game.view.near, 0.1, 1e-6);
    EXPECT_NEAR(world.game.view.far, 1001.72, 0.01);
}

// Loads the depth terms of the far slice, as the first run of the plot has them.
static void load_far_slice()
{
    const u32 bits[2] = {0xBF80068B, 0xC4FA0664};
    f32 p[16];
    glGetFloatv(GL_PROJECTION_MATRIX, p);
    std::memcpy(&p[10], bits, 4);
    std::memcpy(&p[14], bits + 1, 4);
    glMatrixMode(GL_PROJECTION);
    glLoadMatrixf(p);
    glMatrixMode(GL_MODELVIEW);
}

TEST(scene_plot, takes_the_far_slice_from_1000_to_ten_million)
{
    open_small();
    World world;
    finish_world(world.root);
    picture_begin(&world.game);
    load_far_slice();
    scene_plot(&world.game);
    EXPECT_NEAR(world.game.view.near, 1000, 0.01);
    EXPECT_NEAR(world.game.view.far, 10017248.5, 20000); // a float near 1 in the divisor
    const f64 near_thing[3] = {0, 0, -10};
    EXPECT_NE(ViewRec_sphereout(&world.game.view, near_thing, 1, world.game.view.pixelsize), 0);
    const f64 far_thing[3] = {0, 0, -2000};
    EXPECT_EQ(ViewRec_sphereout(&world.game.view, far_thing, 100, world.game.view.pixelsize), 0);
}

TEST(scene_draw, draws_the_discs_whatever_the_other_switches_say)
{
    open_small();
    World world;
    world.node(0, 0, -10, 2);
    const Picture before = world.draw();
    voronoi_on = 1;
    landscape_on = 1;
    light_on = 1;
    grid_on = 1;
    const Picture after = world.draw();
    voronoi_on = 0;
    landscape_on = 0;
    light_on = 0;
    grid_on = 0;
    EXPECT_EQ(before.bytes, after.bytes);
    EXPECT_GT(before.painted(), 1000);
}

TEST(scene_draw, paints_the_near_slice_over_the_far_one)
{
    open_small();
    World world;
    world.node(0, 0, -100, 10, 0xFF0000);
    world.node(0, 0, -3000, 1200, 0x0000FF); // its core stands forward, before the near one's place
    const Picture picture = world.draw();
    EXPECT_GT(picture.at(100, 75).r, 0.7);
    EXPECT_EQ(picture.at(100, 75).b, 0);
    EXPECT_GT(picture.at(115, 75).b, 0.7); // the large one around it
    EXPECT_EQ(picture.at(115, 75).r, 0);
}

TEST(scene_draw, shows_things_of_every_distance_from_a_tenth_to_ten_million)
{
    open_small();
    for (i32 i = 0; i < 35; i++) {
        const f64 distance = 0.11 * std::pow(1.7, i);
        World world;
        world.node(0, 0, -distance, 0.2 * distance, 0xFF0000);
        const Picture picture = world.draw();
        EXPECT_NEAR(picture.painted(), 3.14159 * 20.25 * 20.25, 40) << distance;
    }
}

TEST(scene_draw, shows_nothing_beyond_ten_million)
{
    open_small();
    World world;
    world.node(0, 0, -1.2e7, 2e6);
    EXPECT_EQ(world.draw().painted(), 0);
}

// The picture of a run in one slice from 100 to 10000 in place of the two.
static Picture draw_in_one_slice(MazeGame* game)
{
    picture_begin(game);
    f32 p[16];
    glGetFloatv(GL_PROJECTION_MATRIX, p);
    f32 single[16];
    std::memcpy(single, p, sizeof single);
    single[10] = (100.0F + 10000.0F) / (100.0F - 10000.0F);
    single[14] = 2.0F * 100.0F * 10000.0F / (100.0F - 10000.0F);
    glMatrixMode(GL_PROJECTION);
    glLoadMatrixf(single);
    glMatrixMode(GL_MODELVIEW);
    scene_plot(game);
    Picture picture = picture_take();
    glMatrixMode(GL_PROJECTION);
    glLoadMatrixf(p);
    glMatrixMode(GL_MODELVIEW);
    return picture;
}

static i32 greatest_difference(const Picture& a, const Picture& b)
{
    i32 most = 0;
    for (size_t i = 0; i < a.bytes.size(); i++) {
        most = std::max(most, std::abs(a.bytes[i] - b.bytes[i]));
    }
    return most;
}

// Compares the two slices with a single one.
static void expect_no_seam(World* world)
{
    const Picture two = world->draw();
    const Picture one = draw_in_one_slice(&world->game);
    EXPECT_GT(two.painted(), 500);
    // clipping at a slice's end moves what is interpolated by a rounding
    EXPECT_LE(greatest_difference(one, two), 2);
}

// A view so narrow that a thing of a unit at 1000 fills a part of it.
static void open_telescope()
{
    open_small();
    gfx_set_fov(0.15F, 0.1F, 1000);
}

TEST(slices, show_no_seam_in_a_disc_from_999_5_to_1001)
{
    open_telescope();
    World world;
    world.node(0.1, 0.05, -1000.25, 0.75);
    expect_no_seam(&world);
}

TEST(slices, show_no_seam_in_a_ribbon_from_999_5_to_1001)
{
    open_telescope();
    World world;
    // its ends with their discs are just out of view, where it spans 999.5 to 1001
    const i32 a = world.node(-1.6, -0.2, -999.3, 0.2);
    const i32 b = world.node(1.6, 0.2, -1001.2, 0.2);
    Maze_join(world.root, a, b);
    expect_no_seam(&world);
}

TEST(slices, show_no_seam_in_a_long_ribbon_through_both)
{
    open_small();
    World world;
    const i32 a = world.node(-700, -100, -800, 60);
    const i32 b = world.node(700, 200, -1300, 60);
    Maze_join(world.root, a, b);
    expect_no_seam(&world);
}

TEST(slices, show_a_disc_whole_wherever_it_stands_about_the_1000_mark)
{
    open_telescope();
    for (i32 i = 0; i < 40; i++) {
        SCOPED_TRACE(i);
        World world;
        world.node(0, 0, -998 - 0.1 * i, 0.5);
        expect_no_seam(&world);
    }
}

TEST(slices, show_no_seam_in_a_large_disc_that_leans_through_both)
{
    open_small();
    World world;
    world.node(600, 100, -1000, 150); // it faces the eye, so its plane leans in the view
    expect_no_seam(&world);
}

TEST(slices, draw_a_maze_that_spans_the_mark_in_both)
{
    open_small();
    World world;
    world.node(0, 0, -1000.5, 100);
    finish_world(world.root);
    picture_begin(&world.game);
    load_far_slice();
    picture_clear();
    scene_plot(&world.game);
    EXPECT_GT(picture_take().painted(), 100);
    picture_clear();
    scene_draw(&world.game);
    EXPECT_GT(picture_take().painted(), 100);
}

TEST(nest, loses_a_maze_under_one_pixel_with_its_submazes_while_the_parent_stays)
{
    open_small();
    World world;
    const i32 holder = world.node(0, 0, -1, 0.5);
    const i32 near_node = world.node(0.3, 0, -1, 0.1, 0x00FF00);
    Maze_node(world.root, 0)->pos[2] =
        -1; // all of the root before the camera, the player's node too
    Maze_node(world.root, 0)->pos[0] = -0.5;
    Maze* const sub = add_sub(world.root, holder);
    add_node(sub, 0, 0, -1, 0.2, 0xFF0000);
    Maze* const deep = add_sub(sub, add_node(sub, 0, 0.25, -1, 0.1));
    add_node(deep, 0, 0.25, -1, 0.1, 0xFF0000);
    const auto reds = [](const Picture& picture) {
        i32 n = 0;
        for (i32 i = 0; i < picture.width * picture.height; i++) {
            const Rgb c = picture.at(i % picture.width, i / picture.width);
            n += c.r > c.g + 0.2 ? 1 : 0;
        }
        return n;
    };
    EXPECT_GT(reds(world.draw()), 1000);
    // the submaze's sphere has a radius of 0.275, its pixel at 26 and at 29 is 0.26 and 0.29
    world.game.campos[2] = 25;
    const Picture above = picture_draw(&world.game);
    EXPECT_NE(Maze_attachment(sub, "lists"), nullptr);
    EXPECT_GT(reds(above), 0);
    world.draw();
    world.game.campos[2] = 28;
    const Picture below = picture_draw(&world.game);
    EXPECT_EQ(reds(below), 0);
    EXPECT_GT(below.painted(), 0);
    EXPECT_GT(Maze_node(world.root, near_node)->radius, 0);
}

// What a maker was asked to paint.
struct Painted {
    i32 calls = 0;
    i32 state = 0;
    f32 x = 0, y = 0, size = 0;
    GLboolean depthtest = GL_TRUE;
};
static Painted painted;

static void paint(const void* state, void* context, f32 x, f32 y, f32 size)
{
    EXPECT_EQ(*static_cast<const i32*>(context), 77);
    painted.calls++;
    painted.state = *static_cast<const i32*>(state);
    painted.x = x;
    painted.y = y;
    painted.size = size;
    painted.depthtest = glIsEnabled(GL_DEPTH_TEST);
}

// The plot of a maze of one state, 42.
static void plot_state(void (*label)(const void*, void*, f32, f32, f32))
{
    StateGraph graph;
    StateGraph_new(&graph, sizeof(i32), sizeof(i32));
    *static_cast<i32*>(graph.startstate) = 42;
    *static_cast<i32*>(graph.context) = 77;
    graph.label = label;
    MazeGame game = {};
    MazeGame_setup(&game);
    game.root = Maze_statenew(&graph);
    game.pos = {game.root, 0};
    painted = {};
    scene_plot(&game);
    MazeGame_free(&game);
}

TEST(scene_plot, lets_the_maker_of_a_state_graph_paint_the_players_state)
{
    open_small();
    gfx_resize(197, 159);
    plot_state(paint);
    EXPECT_EQ(painted.calls, 1);
    EXPECT_EQ(painted.state, 42);
    EXPECT_EQ(painted.x, 19.0F); // the quotients are whole numbers
    EXPECT_EQ(painted.y, 15.0F);
    EXPECT_EQ(painted.size, 3.0F);
    EXPECT_EQ(painted.depthtest, GL_FALSE);
    EXPECT_EQ(glIsEnabled(GL_DEPTH_TEST), GL_TRUE);
}

TEST(scene_plot, paints_in_pixels_from_the_upper_left_corner)
{
    open_small();
    glClear(GL_COLOR_BUFFER_BIT);
    plot_state([](const void*, void*, f32 x, f32 y, f32 size) {
        glColor3f(1, 0, 0);
        glBegin(GL_QUADS);
        glVertex2f(x, y);
        glVertex2f(x + size, y);
        glVertex2f(x + size, y + size);
        glVertex2f(x, y + size);
        glEnd();
    });
    u8 rgb[4] = {};
    glReadPixels(200 / 10 + 1, 150 - 1 - (150 / 10 + 1), 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, rgb);
    EXPECT_EQ(rgb[0], 255);
    EXPECT_EQ(rgb[1], 0);
}

TEST(scene_plot, needs_no_picture_of_a_state)
{
    open_small();
    plot_state(nullptr);
    EXPECT_EQ(painted.calls, 0);
}
