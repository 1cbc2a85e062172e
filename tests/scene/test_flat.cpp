#include "base/rnd.h"
#include "model/connect.h"
#include "model/maze.h"
#include "model/pos.h"
#include "scene/colours.h"
#include "scene/flat.h"
#include "tests/emitted.h"
#include "tests/scene_picture.h"

#include <bit>

static constexpr f64 root_half = 0.70710678118654752;

// A flat world of nodes that wear no age, seen from the origin along -z.
struct FlatWorld : World {
    FlatWorld()
    {
        picture_open();
        gfx_resize(320, 240);
        game.showtrail = 0;
    }
    // All vertices, those that can't be seen among them: the view has lost its sides.
    std::vector<GlVertex> vertices(bool recursive = true)
    {
        finish_world(root);
        picture_begin(&game);
        std::memset(game.view.clip, 0, sizeof game.view.clip);
        return emitted([&] { flat_plot(root, &game, recursive); });
    }
};

struct HeldKeys {
    explicit HeldKeys(const char* keys)
    {
        for (; *keys != 0; keys++) {
            key_now[static_cast<u8>(*keys)] = 0x80;
        }
    }
    ~HeldKeys()
    {
        std::memset(key_now, 0, sizeof key_now);
    }
    HeldKeys(const HeldKeys&) = delete;
    HeldKeys& operator=(const HeldKeys&) = delete;
};

TEST(flat_plot, draws_a_near_node_as_a_rim_behind_and_a_core_before_it)
{
    FlatWorld world;
    world.node(0, 0, -10, 2, 0x808080);
    const auto v = world.vertices();
    ASSERT_EQ(v.size(), 16U); // the player's node, behind, has a ball too
    EXPECT_FLOAT_EQ(v[0].tex[2], -12);
    EXPECT_FLOAT_EQ(v[0].tex[3], 2);
    EXPECT_EQ(colour_of(v[0]), 0xC0C0C0U);
    EXPECT_FLOAT_EQ(v[4].tex[2], -7);
    EXPECT_FLOAT_EQ(v[4].tex[3], 1.2F);
    EXPECT_EQ(colour_of(v[4]), 0x404040U);
}

TEST(flat_plot, draws_the_players_node_white)
{
    FlatWorld world;
    Maze_node(world.root, 0)->pos[2] = -10;
    const auto v = world.vertices();
    ASSERT_EQ(v.size(), 8U);
    EXPECT_EQ(colour_of(v[0]), 0xFFFFFFU);
    EXPECT_EQ(colour_of(v[4]), 0xFFFFFFU);
}

TEST(flat_plot, takes_a_node_as_near_up_to_half_the_windows_height_in_radii)
{
    FlatWorld world;
    gfx_resize(320, 1000);
    world.node(0, 0, -499.9, 1);
    EXPECT_EQ(world.vertices().size(), 16U);
    Maze_node(world.root, 1)->pos[2] = -500;
    EXPECT_EQ(world.vertices().size(), 8U);
    gfx_resize(320, 240);
}

TEST(flat_plot, halves_an_odd_window_height_in_whole_numbers)
{
    FlatWorld world;
    gfx_resize(320, 241); // 120 radii
    world.node(0, 0, -120.25, 1);
    EXPECT_EQ(world.vertices().size(), 8U);
    gfx_resize(320, 240);
}

TEST(flat_plot, draws_a_band_of_three_strips_from_either_end)
{
    FlatWorld world;
    const i32 a = world.node(0, 0, -10, 1, 0x808080);
    const i32 b = world.node(3, 0, -10, 2, 0x808080);
    Maze_join(world.root, a, b);
    const auto v = world.vertices();
    ASSERT_EQ(v.size(), 24U + 24U); // two bands, three balls of two discs
    // the last node's band comes first; take that of a, seen straight from the front: across is
    // (3, 0, 0) x (0, 0, 10) over its length, (0, -1, 0)
    const GlVertex* const band = v.data() + 12;
    EXPECT_EQ(colour_of(band[0]), 0xC0C0C0U);
    expect_place(band[0], 3, 2 * 0.6, -12); // target, -0.6 across, a radius behind
    expect_place(band[1], 0, 1 * 0.6, -11);
    expect_place(band[2], 0, 1, -11);
    expect_place(band[3], 3, 2, -12);
    EXPECT_EQ(colour_of(band[4]), 0x404040U);
    expect_place(band[4], 3, -1.2, -8); // the middle strip stands before the node
    expect_place(band[5], 0, -0.6, -9);
    expect_place(band[6], 0, 0.6, -9);
    expect_place(band[7], 3, 1.2, -8);
    EXPECT_EQ(colour_of(band[8]), 0xC0C0C0U);
    expect_place(band[8], 3, -2, -12);
    expect_place(band[11], 3, -1.2, -12);
}

TEST(flat_plot, gives_a_band_its_own_direction_toward_the_eye)
{
    FlatWorld world;
    const i32 a = world.node(3, 0, -10, 2);
    const i32 b = world.node(0, 0, -10, 1);
    Maze_join(world.root, a, b);
    const auto v = world.vertices();
    const f64 d = std::sqrt(109.0); // from a, which is emitted after b
    const f64 tox = -3 / d;
    const f64 toz = 10 / d;
    // across: (-3, 0, 0) x (-3, 0, 10) over its length, (0, 1, 0); first corner: -0.6 of b's radius 1
    expect_place(v[12], 0 - tox, -0.6, -10 - toz);
    expect_place(v[13], 3 - 2 * tox, -1.2, -10 - 2 * toz);
}

TEST(flat_plot, draws_far_nodes_as_lines_in_the_lighter_colour)
{
    FlatWorld world;
    const i32 a = world.node(0, 0, -400, 1, 0x808080);
    const i32 b = world.node(3, 0, -400, 1, 0x808080);
    Maze_join(world.root, a, b);
    const auto v = world.vertices();
    ASSERT_EQ(v.size(), 8U + 4U);
    expect_place(v[8], 3, 0, -400);
    expect_place(v[9], 0, 0, -400);
    expect_place(v[10], 0, 0, -400);
    EXPECT_EQ(colour_of(v[8]), 0xC0C0C0U);
}

TEST(flat_plot, draws_nothing_for_a_node_with_a_submaze_but_what_is_inside)
{
    FlatWorld world;
    const i32 a = world.node(0, 0, -10, 2);
    Maze* const sub = add_sub(world.root, a);
    add_node(sub, 0, 0, -10, 1);
    const auto v = world.vertices();
    ASSERT_EQ(v.size(), 16U);
    EXPECT_FLOAT_EQ(v[8].tex[3], 1); // the submaze after its parent
}

TEST(flat_plot, stays_in_its_level_when_it_is_not_recursive)
{
    FlatWorld world;
    const i32 a = world.node(0, 0, -10, 2);
    Maze* const sub = add_sub(world.root, a);
    add_node(sub, 0, 0, -10, 1);
    Maze_join(world.root, 0, a);
    const auto v = world.vertices(false);
    ASSERT_EQ(v.size(), 12U + 8U); // the plain edge to the node, and the player's ball
}

TEST(flat_plot, draws_an_edge_to_a_submaze_to_its_port)
{
    FlatWorld world;
    const i32 a = world.node(0, 0, -10, 2);
    Maze* const sub = add_sub(world.root, a);
    add_node(sub, 0.5, 0, -10, 1);
    Maze_join(world.root, 0, a);
    const auto v = world.vertices();
    ASSERT_EQ(v.size(), 12U + 16U);
    EXPECT_FLOAT_EQ(v[4].pos[0], 0.5F); // the middle strip ends over the port, seen along z
}

TEST(flat_plot, leaves_out_a_level_that_is_out_of_view)
{
    FlatWorld world;
    Maze_node(world.root, 0)->pos[2] = 4000;
    EXPECT_TRUE(world.vertices().empty());
}

// Nodes of many sizes on all sides of the eye, some of them joined, and some that hold a maze.
static void scatter(FlatWorld* world, u32 seed)
{
    rnd_seed(seed);
    for (i32 i = 1; i < 120; i++) {
        const f64 x = rnd(60) - 30;
        const f64 y = rnd(60) - 30;
        const f64 z = rnd(1) < 0.5 ? rnd(60) - 50 : rnd(300) - 1150; // 1000 is the slices' border
        const f64 far = z < -100 ? 20 : 1;
        const f64 radius = rnd(1) < 0.8 ? 0.7 : 0.05;
        const i32 a = world->node(far * x, far * y, z, far * radius, 0x804020);
        Maze_join(world->root, a, irand(a));
        if (i % 17 == 0) {
            Maze* const sub = add_sub(world->root, a);
            for (i32 k = 0; k < 8; k++) { // as many as there can be ports
                add_node(sub, far * x + k, far * y, z, 0.5);
                if (k > 0) {
                    Maze_join(sub, k - 1, k);
                }
            }
        }
    }
}

// The flat plot in the projection that is loaded, with what can't be seen or without.
static Picture flat_picture(FlatWorld* world, bool recursive, bool all)
{
    picture_begin(&world->game);
    ViewRec_get(&world->game.view);
    if (all) {
        std::memset(world->game.view.clip, 0, sizeof world->game.view.clip);
    }
    gl_count.record = true;
    gl_count.vertices.clear();
    flat_plot(world->root, &world->game, recursive);
    gl_count.record = false;
    return picture_take();
}

static void load_slice(u32 offset)
{
    f32 projection[16];
    glGetFloatv(GL_PROJECTION_MATRIX, projection);
    projection[10] = std::bit_cast<f32>(0xBF80068BU);
    projection[14] = std::bit_cast<f32>(offset);
    glMatrixMode(GL_PROJECTION);
    glLoadMatrixf(projection);
    glMatrixMode(GL_MODELVIEW);
}

static constexpr u32 slices[] = {0xC4FA0664U, 0xBE4CD209U}; // far, near

TEST(flat_plot, leaves_out_nothing_that_can_be_seen)
{
    for (u32 seed = 1; seed <= 12; seed++) {
        FlatWorld world;
        scatter(&world, seed);
        finish_world(world.root);
        smooth_lines = static_cast<i32>(seed % 2);
        glPolygonMode(GL_FRONT_AND_BACK, seed % 3 == 0 ? GL_LINE : GL_FILL);
        for (const u32 slice : slices) {
            load_slice(slice);
            const Picture whole = flat_picture(&world, seed % 4 != 0, true);
            const size_t vertices = gl_count.vertices.size();
            const Picture seen = flat_picture(&world, seed % 4 != 0, false);
            EXPECT_GT(whole.painted(), 20) << seed;
            EXPECT_TRUE(whole.bytes == seen.bytes) << seed;
            EXPECT_LT(gl_count.vertices.size(), vertices) << seed;
        }
    }
    smooth_lines = 1;
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
}

// What of one node with a neighbour beside it is drawn in the near slice.
static size_t vertices_seen(f64 x, f64 z, f64 distance)
{
    FlatWorld world;
    const i32 a = world.node(x, 0, z, 1);
    Maze_join(world.root, a, world.node(x + distance, 0, z, 1));
    finish_world(world.root);
    load_slice(slices[1]);
    flat_picture(&world, true, false);
    return gl_count.vertices.size();
}

TEST(flat_plot, leaves_out_balls_and_bands_beside_the_picture_and_behind_the_eye)
{
    EXPECT_EQ(vertices_seen(0, -10, 3), 2U * 8 + 2 * 12);
    EXPECT_EQ(vertices_seen(0, -10, 30), 1U * 8 + 2 * 12); // one end is beside it
    EXPECT_EQ(vertices_seen(20, -10, 3), 0U);
    EXPECT_EQ(vertices_seen(-20, -10, -3), 0U);
    EXPECT_EQ(vertices_seen(-20, -10, 40), 2U * 12); // a band right across
    EXPECT_EQ(vertices_seen(0, 10, 3), 0U);
}

TEST(flat_plot, leaves_out_nothing_of_a_view_that_is_skewed)
{
    FlatWorld world;
    scatter(&world, 20);
    finish_world(world.root);
    load_slice(slices[1]);
    f32 projection[16];
    glGetFloatv(GL_PROJECTION_MATRIX, projection);
    for (const f32 skew : {-0.8F, 0.8F}) { // as one eye of a pair has it
        projection[8] = skew;
        glMatrixMode(GL_PROJECTION);
        glLoadMatrixf(projection);
        glMatrixMode(GL_MODELVIEW);
        const Picture whole = flat_picture(&world, true, true);
        EXPECT_GT(whole.painted(), 100);
        EXPECT_TRUE(whole.bytes == flat_picture(&world, true, false).bytes) << skew;
    }
    gfx_resize(320, 240);
}

TEST(flat_plot, takes_a_node_at_the_eye_without_a_number_that_is_none)
{
    FlatWorld world;
    const i32 a = world.node(0, 0, 0, 1);
    const i32 b = world.node(1, 0, -5, 1);
    Maze_join(world.root, a, b);
    for (const GlVertex& v : world.vertices()) {
        for (const f32 x : v.pos) {
            EXPECT_TRUE(std::isfinite(x));
        }
    }
}

TEST(flat_plot, makes_lines_smooth_only_while_that_is_switched_on)
{
    FlatWorld world;
    world.node(0, 0, -10, 1);
    gl_count.calls.clear();
    world.vertices();
    EXPECT_EQ(gl_count.calls["glLineWidth"], 2);
    smooth_lines = 0;
    gl_count.calls.clear();
    world.vertices();
    smooth_lines = 1;
    EXPECT_EQ(gl_count.calls["glLineWidth"], 0);
}

TEST(flat_plot, leaves_blending_and_widths_as_they_were)
{
    FlatWorld world;
    world.node(0, 0, -10, 2);
    const HeldKeys keys("J");
    world.draw();
    f32 width = 0;
    f32 size = 0;
    glGetFloatv(GL_LINE_WIDTH, &width);
    glGetFloatv(GL_POINT_SIZE, &size);
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
    EXPECT_FALSE(glIsEnabled(GL_LINE_SMOOTH));
    EXPECT_FALSE(glIsEnabled(GL_POINT_SMOOTH));
    EXPECT_EQ(width, 1);
    EXPECT_EQ(size, 1);
}

TEST(flat_ball, is_a_square_about_its_centre_that_faces_the_eye)
{
    const f64 p[3] = {0, 0, -10};
    const f64 eye[3] = {0, 0, 0};
    picture_open();
    const auto v = emitted([&] {
        glBegin(GL_QUADS);
        flat_ball(p, 3, 0x102030, eye);
        glEnd();
    });
    ASSERT_EQ(v.size(), 4U);
    for (i32 i = 0; i < 4; i++) {
        const GlVertex& next = v[(i + 1) % 4];
        EXPECT_NEAR(static_cast<f64>(v[i].pos[2]), -10, 1e-6);
        EXPECT_NEAR(std::hypot(v[i].pos[0], v[i].pos[1]), 3 / root_half, 1e-5);
        EXPECT_NEAR(std::hypot(next.pos[0] - v[i].pos[0], next.pos[1] - v[i].pos[1]), 6, 1e-5);
        EXPECT_EQ(colour_of(v[i]), 0x102030U);
    }
}

// The picture of a world while keys are held.
static Picture picture_held(FlatWorld* world, const char* keys)
{
    const HeldKeys held(keys);
    return world->draw();
}

TEST(flat_ball, comes_out_round_with_hard_edges)
{
    FlatWorld world;
    world.node(0, 0, -10, 2, 0x808080);
    const Picture picture = picture_held(&world, "J");
    // the rim, a disc of radius 2 at distance 12, and the core of 1.2 at 7: pixels at distance 1 are
    // 160 (m0 is 1 in a window of 4:3)
    const f64 rim = 160 * 2 / 12.0;
    const f64 core = 160 * 1.2 / 7;
    ASSERT_GT(core, rim); // the core hides the rim where the node is seen from so near
    for (i32 y = 0; y < 240; y++) {
        for (i32 x = 0; x < 320; x++) {
            const f64 away = std::hypot(x + 0.5 - 160, y + 0.5 - 120);
            if (away < core - 0.8) {
                EXPECT_NEAR(picture.at(x, y).r, 0x40 / 255.0, 1e-3) << x << " " << y;
            } else if (away > core + 0.8) {
                EXPECT_TRUE(picture.black(x, y)) << x << " " << y;
            }
        }
    }
}

TEST(flat_ball, shows_its_rim_around_the_core_from_farther_away)
{
    FlatWorld world;
    world.node(0, 0, -40, 2, 0x808080);
    const Picture picture = picture_held(&world, "J");
    // rim 2 at 42, core 1.2 at 37: 7.6 and 5.2 pixels
    EXPECT_NEAR(picture.at(160, 120).r, 0x40 / 255.0, 1e-3);
    EXPECT_NEAR(picture.at(160 + 6, 120).r, 0xC0 / 255.0, 1e-3);
    EXPECT_TRUE(picture.black(160 + 8, 120));
}

TEST(J_held, replaces_the_discs)
{
    FlatWorld world;
    world.node(0, 0, -40, 2, 0x808080);
    const Picture discs = picture_held(&world, "");
    const Picture flat = picture_held(&world, "J");
    EXPECT_NE(discs.bytes, flat.bytes);
    EXPECT_NEAR(discs.at(160 + 8, 120).r, 0, 1e-3);
}

// Two pairs of nodes before the camera that aren't joined, the player on the left one.
struct TwoIslands : FlatWorld {
    i32 left, right;

    TwoIslands()
    {
        left = node(-6, 0, -20, 1);
        const i32 other = node(-4, 3, -20, 1);
        right = node(6, 0, -20, 1);
        Maze_join(root, left, other);
        game.pos.node = left;
    }
};

// Pixels within `reach` of a place at which two pictures differ in blue.
static i32 changed_near(const Picture& a, const Picture& b, Place at, f64 reach)
{
    i32 changed = 0;
    for (i32 y = 0; y < gfx_height; y++) {
        for (i32 x = 0; x < gfx_width; x++) {
            const bool near = std::hypot(x + 0.5 - at.x, y + 0.5 - at.y) < reach;
            changed += near && a.at(x, y).b != b.at(x, y).b ? 1 : 0;
        }
    }
    return changed;
}

TEST(F_held, overlays_what_can_be_reached_and_nothing_else)
{
    TwoIslands world;
    const Picture before = picture_held(&world, "");
    const Picture after = picture_held(&world, "F");
    const f64 other[3] = {-4, 3, -20};
    const f64 lone[3] = {6, 0, -20};
    EXPECT_GT(changed_near(before, after, picture_place(&world.game, other), 8), 60);
    EXPECT_EQ(changed_near(before, after, picture_place(&world.game, lone), 12), 0);
}

TEST(F_held, leaves_the_maze_as_it_was)
{
    TwoIslands world;
    finish_world(world.root);
    const i32 count = Maze_count(world.root);
    picture_held(&world, "F");
    EXPECT_EQ(Maze_count(world.root), count);
    EXPECT_EQ(Maze_node(world.root, world.left)->rec.colour, COLOUR_DEFAULT);
    EXPECT_EQ(Maze_node(world.root, world.left)->edgerec[0].colour, COLOUR_DEFAULT);
}

TEST(F_held, shows_the_players_level_alone)
{
    FlatWorld world;
    const i32 a = world.node(0, 0, -10, 2);
    Maze* const sub = add_sub(world.root, a);
    add_node(sub, 0, 0, -10, 1);
    Maze_join(world.root, 0, a);
    world.game.pos = {sub, 0};
    finish_world(world.root);
    gl_count.record = true;
    gl_count.vertices.clear();
    picture_held(&world, "JF");
    gl_count.record = false;
    i32 blue = 0;
    for (const GlVertex& v : gl_count.vertices) {
        blue += colour_of(v) == 0x4040FF || colour_of(v) == 0x0000BF ? 1 : 0;
    }
    EXPECT_EQ(blue, 8); // one ball, in the near slice alone
}

TEST(F_held, is_blue_inside_a_level_whose_exits_have_been_used)
{
    FlatWorld world;
    const i32 a = world.node(0, 0, -10, 2);
    Maze* const sub = add_sub(world.root, a);
    add_node(sub, 0, 0, -10, 1);
    add_node(sub, 2, 0, -10, 1);
    Maze_join(sub, 0, 1);
    Maze_join(world.root, 0, a);
    sub->exitsused = 1;
    world.game.pos = {sub, 0};
    gl_count.record = true;
    gl_count.vertices.clear();
    picture_held(&world, "F");
    gl_count.record = false;
    i32 blue = 0;
    for (const GlVertex& v : gl_count.vertices) {
        blue += colour_of(v) == 0x4040FF || colour_of(v) == 0x0000BF ? 1 : 0;
    }
    EXPECT_EQ(blue, 2 * 12 + 2 * 8); // two bands and two balls
    EXPECT_EQ(sub->exitsused, 1U);
}

TEST(F_held, adds_blue_to_the_flat_plot_in_the_same_run)
{
    TwoIslands world;
    const Picture flat = picture_held(&world, "J");
    const Picture both = picture_held(&world, "JF");
    const f64 other[3] = {-4, 3, -20};
    const Place at = picture_place(&world.game, other);
    // the core of 0x0000FF is 0x0000BF, added to 0x404040 by what the colour leaves
    const f64 b = 0xBF / 255.0;
    const f64 grey = 0x40 / 255.0;
    i32 blue = 0;
    i32 all = 0;
    for (i32 y = static_cast<i32>(at.y) - 2; y <= static_cast<i32>(at.y) + 2; y++) {
        for (i32 x = static_cast<i32>(at.x) - 2; x <= static_cast<i32>(at.x) + 2; x++) {
            EXPECT_NEAR(flat.at(x, y).b, grey, 1e-3);
            EXPECT_NEAR(both.at(x, y).r, grey, 1e-3);
            blue += std::fabs(both.at(x, y).b - (b + grey * (1 - b))) < 0.01 ? 1 : 0;
            all++;
        }
    }
    // the driver may round the same depth in two ways, with blending and without
    EXPECT_GE(blue, all * 8 / 10);
}

TEST(F_held, works_where_the_player_stands_on_a_node_without_edges)
{
    TwoIslands world;
    world.game.pos.node = world.right;
    const Picture after = picture_held(&world, "F");
    const f64 lone[3] = {6, 0, -20};
    const Place at = picture_place(&world.game, lone);
    EXPECT_GT(after.at(static_cast<i32>(at.x), static_cast<i32>(at.y)).b, 0.7);
}

// What is painted over a slice, made anew for it.
static void plain_overlay(MazeGame* game)
{
    u8* const reached = Maze_reachable(game->pos.maze, game->pos.node);
    Maze* const copy = Maze_clone(game->pos.maze, false);
    for (i32 n = Maze_count(copy) - 1; n >= 0; n--) {
        if (reached[n] == 0) {
            Maze_delnode(copy, n, true);
        }
    }
    std::free(reached);
    Maze_setcolour(copy, 0x0000FF);
    std::memset(game->view.clip, 0, sizeof game->view.clip);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_COLOR);
    flat_plot(copy, game, false);
    glDisable(GL_BLEND);
    Maze_free(copy, false);
}

TEST(F_held, paints_what_a_copy_made_anew_for_each_slice_paints)
{
    for (u32 seed = 31; seed <= 38; seed++) {
        FlatWorld world;
        scatter(&world, seed);
        for (i32 i = 40; i < 120; i += 3) {
            const MazeNode* const node = Maze_node(world.root, i);
            if (node->nedges > 0) {
                Maze_unjoin(world.root, i, node->edges[0], true);
            }
        }
        finish_world(world.root);
        plot_type = seed % 2 == 0 ? 0 : 2;
        picture_begin(&world.game);
        for (const u32 slice : slices) {
            load_slice(slice);
            glClear(GL_DEPTH_BUFFER_BIT);
            scene_plot(&world.game);
            plain_overlay(&world.game);
        }
        const Picture plain = picture_take();
        const Picture held = picture_held(&world, "F");
        EXPECT_TRUE(plain.bytes == held.bytes) << seed;
        EXPECT_FALSE(plain.bytes == picture_held(&world, "").bytes) << seed;
    }
    plot_type = 0;
}
