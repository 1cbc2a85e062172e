#include "base/rnd.h"
#include "base/str.h"
#include "generate/chains.h"
#include "generate/grids.h"
#include "generate/stencils.h"
#include "generate/warps.h"
#include "model/connect.h"
#include "tests/digest.h"
#include "tests/mazes.h"
#include "tests/sound.h"
#include "tests/world.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <gtest/gtest.h>
#include <numbers>
#include <string>

static const f64 degree = std::numbers::pi / 180.0;

// A node at the origin, joined to nodes at the points given.
static Maze* fan(std::initializer_list<std::array<f64, 3>> points)
{
    Maze* const maze = Maze_new();
    add_node(maze, 0, 0);
    for (const auto& p : points) {
        Maze_join(maze, 0, add_node(maze, p[0], p[1], p[2]));
    }
    return maze;
}

TEST(Maze_nodeangle, is_0_for_a_node_without_edges)
{
    const World maze(fan({}));
    EXPECT_EQ(Maze_nodeangle(maze.get(), 0, 4), 0.0);
}

TEST(Maze_nodeangle, is_0_for_edges_to_east_and_north)
{
    const World maze(fan({{1, 0, 0}, {0, 1, 0}}));
    EXPECT_NEAR(Maze_nodeangle(maze.get(), 0, 4), 0.0, 1e-15);
}

TEST(Maze_nodeangle, is_the_direction_of_a_single_edge)
{
    const World maze(fan({{std::cos(30 * degree), std::sin(30 * degree), 5.0}}));
    EXPECT_NEAR(Maze_nodeangle(maze.get(), 0, 4), 30 * degree, 1e-15);
    EXPECT_NEAR(Maze_nodeangle(maze.get(), 0, 1), 30 * degree, 1e-15);
}

TEST(Maze_nodeangle, takes_the_direction_modulo_the_symmetry)
{
    const World maze(fan({{std::cos(100 * degree), std::sin(100 * degree), 0.0}}));
    EXPECT_NEAR(Maze_nodeangle(maze.get(), 0, 4), 10 * degree, 1e-15);
    EXPECT_NEAR(Maze_nodeangle(maze.get(), 0, 6), -20 * degree, 1e-15);
}

TEST(Maze_nodeangle, is_the_circular_mean)
{
    const World maze(fan({{std::cos(10 * degree), std::sin(10 * degree), 0.0},
                          {std::cos(110 * degree), std::sin(110 * degree), 0.0}}));
    EXPECT_NEAR(Maze_nodeangle(maze.get(), 0, 4), 15 * degree, 1e-15);
}

TEST(Maze_nodeangle, passes_over_neighbours_straight_above_or_below)
{
    const World maze(
        fan({{0, 0, 3}, {std::cos(20 * degree), std::sin(20 * degree), 0}, {0, 0, -1}}));
    EXPECT_NEAR(Maze_nodeangle(maze.get(), 0, 4), 20 * degree, 1e-15);
    const World pole(fan({{0, 0, 3}, {0, 0, -1}}));
    EXPECT_EQ(Maze_nodeangle(pole.get(), 0, 4), 0.0);
}

static void expect_mean(const Maze* maze, const f64 p[3], f64 tolerance)
{
    f64 mean[3];
    Maze_centroid(mean, maze);
    for (i32 k = 0; k < 3; k++) {
        EXPECT_NEAR(mean[k], p[k], tolerance);
    }
}

TEST(Maze_plantstencil, puts_the_mean_of_the_stencil_on_the_node)
{
    const World maze(make_graph(4, {{0, 1}, {0, 2}, {0, 3}}));
    Maze_scale(maze.get(), 30.0);
    Maze* const stencil = grid_maze(4, 7, 2);
    Maze_plantstencil(maze.get(), 2, stencil);
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(Maze_node(maze.get(), 2)->sub, stencil);
    expect_mean(stencil, Maze_node(maze.get(), 2)->pos, 1e-12);
}

TEST(Maze_plantstencil, moves_the_centre_along)
{
    const World maze(make_line(3));
    Maze_scale(maze.get(), 30.0);
    Maze* const stencil = grid_maze(4, 7, 2);
    Maze_bounds(stencil, false);
    Maze_plantstencil(maze.get(), 1, stencil);
    for (i32 k = 0; k < 3; k++) {
        EXPECT_NEAR(stencil->centre[k], Maze_node(maze.get(), 1)->pos[k], 1e-12);
    }
}

TEST(Maze_plantstencil, turns_the_stencil_to_the_edges)
{
    const World maze(fan({{40 * std::cos(30 * degree), 40 * std::sin(30 * degree), 0.0}}));
    Maze* const stencil = grid_maze(3, 1, 1);
    Maze_plantstencil(maze.get(), 0, stencil);
    const f64* const port = Maze_node(stencil, 0)->pos; // the nearest to the neighbour
    EXPECT_NEAR(port[0], std::cos(30 * degree), 1e-12);
    EXPECT_NEAR(port[1], std::sin(30 * degree), 1e-12);
}

TEST(Maze_plantstencil, makes_the_nodes_nearest_to_the_neighbours_the_ports)
{
    rnd_seed(1);
    const World maze(fan({{0, 40, 0}, {40, 0, 0}, {0, -40, 0}, {-40, 0, 0}}));
    Maze* const stencil = grid_maze(5, 5, 1);
    Maze_plantstencil(maze.get(), 0, stencil);
    EXPECT_SOUND(maze.get());
    const f64 expected[4][2] = {{0, 2}, {2, 0}, {0, -2}, {-2, 0}};
    for (i32 i = 0; i < 4; i++) {
        EXPECT_NEAR(Maze_node(stencil, i)->pos[0], expected[i][0], 1e-12);
        EXPECT_NEAR(Maze_node(stencil, i)->pos[1], expected[i][1], 1e-12);
    }
    EXPECT_EQ(rnd_count(), 0U);
}

TEST(Maze_plantstencil, adds_missing_ports)
{
    rnd_seed(1);
    const World maze(fan({{0, 40, 0}, {40, 0, 0}, {0, -40, 0}}));
    Maze_plantstencil(maze.get(), 0, grid_maze(1, 1, 1));
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(Maze_count(Maze_node(maze.get(), 0)->sub), 3);
    EXPECT_GE(rnd_count(), 12U);
}

TEST(Maze_plantstencil, frees_what_was_derived_from_the_level)
{
    const World maze(make_line(3));
    Maze_attach(maze.get(), "geometry", nullptr, nullptr, ATT_GEOMETRY);
    Maze_plantstencil(maze.get(), 1, grid_maze(2, 2, 1));
    EXPECT_EQ(maze->attachments.count, 0U);
}

static i32 stencils; // made by the stencil functions of this file

static Maze* countedsquare(f64 s, Pos where)
{
    stencils++;
    return grid_square(s, where);
}

TEST(recursify, only_scales_with_a_chance_of_0)
{
    for (const u32 seed : {3U, 3141592653U}) {
        GameWorld world(seed, 12);
        Maze* const root = world.game.root;
        const World expected(Maze_clone(root, true));
        for (Maze* const maze : all_mazes(expected.get())) {
            Maze_scale(maze, 3.0);
            for (i32 i = 0; i < Maze_count(maze); i++) {
                Maze_node(maze, i)->radius *= 3.0;
            }
        }
        stencils = 0;
        recursify(root, 0.0, 3.0, countedsquare);
        EXPECT_SOUND(root);
        EXPECT_EQ(stencils, 0);
        EXPECT_EQ(Maze_digestgraph(DIGEST_START, root),
                  Maze_digestgraph(DIGEST_START, expected.get()));
        EXPECT_EQ(Maze_digestplace(DIGEST_START, root),
                  Maze_digestplace(DIGEST_START, expected.get()));
        EXPECT_EQ(root->boundradius, expected->boundradius);
        EXPECT_EQ(root->centre[0], expected->centre[0]);
    }
}

TEST(recursify, takes_two_draws_for_each_node_of_a_leaf_maze_and_none_for_the_others)
{
    const World root(make_line(10));
    hang(root.get(), 4, make_line(17));
    hang(root.get(), 6, make_line(5));
    rnd_seed(1);
    recursify(root.get(), 0.0, 2.0, countedsquare);
    EXPECT_EQ(rnd_count(), 2U * (17 + 5));
}

// Nodes from the last to the first, then a submaze before the next draw.
static Maze* drawingsquare(f64 s, Pos where)
{
    rnd(1.0);
    return grid_square(s, where);
}

TEST(recursify, draws_from_the_last_node_to_the_first)
{
    const World root(grid_maze(6, 6, 1));
    rnd_seed(9);
    recursify(root.get(), 0.3, 4.0, drawingsquare);
    rnd_seed(9);
    i32 nested = 0;
    for (i32 i = 35; i >= 0; i--) {
        const f64 u = rnd(1.0);
        EXPECT_EQ(Maze_node(root.get(), i)->sub != nullptr, u < 0.3);
        if (u < 0.3) {
            rnd(1.0);
            nested++;
        }
    }
    EXPECT_GT(nested, 4);
    EXPECT_LT(nested, 20);
}

TEST(recursify, scales_radii_and_positions)
{
    const World root(make_line(3));
    Maze* const sub = hang(root.get(), 1, make_line(3));
    Maze_bounds(root.get(), true);
    recursify(root.get(), 0.0, 2.0, countedsquare);
    for (const Maze* const maze :
         {static_cast<const Maze*>(root.get()), static_cast<const Maze*>(sub)}) {
        EXPECT_EQ(Maze_node(maze, 2)->radius, 1.0);
        EXPECT_EQ(Maze_node(maze, 2)->pos[0], 4.0);
        EXPECT_EQ(maze->centre[0], 2.0);
        EXPECT_EQ(maze->boundradius, 3.0);
    }
    Maze_spread(root.get()); // which leaves radii alone
    EXPECT_EQ(Maze_node(sub, 2)->radius, 1.0);
    EXPECT_EQ(Maze_node(sub, 2)->pos[0], 10.0);
}

TEST(recursify, nests_all_nodes_but_ports_with_a_chance_near_1)
{
    const World root(make_star(3));
    hang(root.get(), 0, grid_maze(3, 3, 1));
    Maze_fixports(Maze_node(root.get(), 0)->sub);
    stencils = 0;
    rnd_seed(1);
    recursify(root.get(), 0.999999, 5.0, countedsquare);
    EXPECT_SOUND(root.get());
    const Maze* const sub = Maze_node(root.get(), 0)->sub;
    for (i32 i = 0; i < 9; i++) {
        EXPECT_EQ(Maze_node(sub, i)->sub != nullptr, i >= 3) << "node " << i;
    }
    EXPECT_EQ(stencils, 6);
    EXPECT_EQ(Maze_node(root.get(), 1)->sub, nullptr); // the root is no leaf
}

TEST(recursify, nests_node_0_of_a_root_as_it_has_no_ports)
{
    const World root(grid_maze(2, 2, 1));
    rnd_seed(1);
    recursify(root.get(), 0.999999, 5.0, countedsquare);
    EXPECT_SOUND(root.get());
    EXPECT_NE(Maze_node(root.get(), 0)->sub, nullptr);
}

TEST(recursify, gives_a_maze_that_has_submazes_no_more)
{
    const World root(make_line(6));
    Maze* const sub = hang(root.get(), 3, grid_maze(3, 3, 1));
    rnd_seed(1);
    recursify(root.get(), 0.999999, 5.0, countedsquare);
    for (i32 i = 0; i < 6; i++) {
        EXPECT_EQ(Maze_node(root.get(), i)->sub, i == 3 ? sub : nullptr);
    }
    Maze* const below = Maze_node(sub, 8)->sub;
    ASSERT_NE(below, nullptr);
    recursify(root.get(), 0.999999, 5.0, countedsquare);
    EXPECT_SOUND(root.get());
    EXPECT_EQ(Maze_node(sub, 0)->sub, nullptr);
    EXPECT_EQ(Maze_node(sub, 8)->sub, below);
    EXPECT_NE(Maze_node(below, Maze_count(below) - 1)->sub, nullptr);
}

TEST(recursify, gives_a_leaf_that_was_missed_another_chance_at_the_larger_scale)
{
    const World root(make_line(3));
    recursify(root.get(), 0.0, 5.0, countedsquare);
    recursify(root.get(), 0.999999, 5.0, countedsquare);
    EXPECT_SOUND(root.get());
    EXPECT_NE(Maze_node(root.get(), 1)->sub, nullptr);
    expect_mean(Maze_node(root.get(), 1)->sub, Maze_node(root.get(), 1)->pos, 1e-12);
    EXPECT_EQ(Maze_node(root.get(), 1)->pos[0], 25.0);
}

TEST(recursify, hands_the_size_and_the_place_to_the_stencil_function)
{
    static Pos seen;
    static f64 size;
    const World root(make_line(3));
    const auto stencil = [](f64 s, Pos where) {
        seen = where;
        size = s;
        return grid_maze(3, 1, 1);
    };
    recursify(root.get(), 0.999999, 7.5, stencil);
    EXPECT_EQ(size, 7.5);
    EXPECT_TRUE(Pos_same(seen, {root.get(), 0})); // the last that is visited
}

TEST(recursify, keeps_the_ports_of_neighbours_facing_each_other)
{
    const World root(make_line(3));
    rnd_seed(1);
    recursify(root.get(), 0.999999, 9.0, countedsquare);
    const Maze* const middle = Maze_node(root.get(), 1)->sub;
    EXPECT_NEAR(Maze_node(middle, 0)->pos[0], 9.0 - 4.0, 1e-12);
    EXPECT_NEAR(Maze_node(middle, 1)->pos[0], 9.0 + 4.0, 1e-12);
    EXPECT_TRUE(can_walk(innermost({root.get(), 0}), innermost({root.get(), 2})));
}

// A line of three round a block, and two passes of random stencils, the second into nearly all nodes.
static Maze* crowded(u32 seed)
{
    rnd_seed(seed);
    Maze* const root = Maze_wrapends(grid_maze(3, 3, 1));
    recursify(root, 0.5, 6.0, recursify_stencil);
    recursify(root, 0.999, 6.0, recursify_stencil);
    return root;
}

TEST(recursify, makes_the_pinned_worlds)
{
    struct Pin {
        u32 seed;
        u32 draws;
        std::uint64_t graph;
        std::uint64_t place;
    };
    const Pin pins[] = {{1, 184, 5452730057922333832U, 328147894177177797U},
                        {2, 266, 2552455508685124696U, 111606779255476600U},
                        {3, 432, 15290860328570953895U, 15496535711550643343U}};
    for (const Pin& pin : pins) {
        const World root(crowded(pin.seed));
        EXPECT_SOUND(root.get());
        EXPECT_EQ(rnd_count(), pin.draws);
        EXPECT_EQ(Maze_digestgraph(DIGEST_START, root.get()), pin.graph);
        EXPECT_EQ(Maze_digestplace(DIGEST_START, root.get()), pin.place);
    }
}

// Makes a stencil of a type by trying seeds; what it prints goes to `told`.
static Maze* stencilof(i32 type, f64 s, std::string* told = nullptr)
{
    u32 seed = 0;
    i32 drawn = -1;
    while (drawn != type) {
        seed++;
        rnd_seed(seed);
        drawn = irand(13);
    }
    rnd_seed(seed);
    testing::internal::CaptureStdout();
    Maze* const maze = recursify_stencil(s, Pos_null);
    const std::string text = testing::internal::GetCapturedStdout();
    if (told != nullptr) {
        *told = text;
    }
    return maze;
}

TEST(recursify_stencil, has_nodes_of_few_edges_in_one_piece_for_all_types_and_sizes)
{
    for (i32 type = 0; type < 13; type++) {
        for (const f64 s : {-5.0, 0.0, 1.0, 2.0, 3.0, 4.9, 5.0, 7.7, 10.0, 20.0, 33.0}) {
            SCOPED_TRACE("type " + std::to_string(type) + " size " + std::to_string(s));
            const World maze(stencilof(type, s));
            EXPECT_SOUND_BUT_DOUBLED(maze.get()); // a small torus goes twice round its tube
            EXPECT_GE(Maze_count(maze.get()), 1);
            EXPECT_EQ(maze->parent, nullptr);
            EXPECT_EQ(maze->name, nullptr);
            for (i32 i = 0; i < Maze_count(maze.get()); i++) {
                const MazeNode* const node = Maze_node(maze.get(), i);
                EXPECT_LE(node->nedges, 6U);
                EXPECT_EQ(node->radius, 0.5);
                EXPECT_EQ(node->sub, nullptr);
                EXPECT_EQ(node->expandable, 0U);
                EXPECT_GE(i == 0 ? 1 : Maze_distance(maze.get(), 0, i), 1);
            }
        }
    }
}

TEST(recursify_stencil, has_single_edges_from_size_5_on)
{
    for (i32 type = 0; type < 13; type++) {
        const World maze(stencilof(type, 5.0));
        EXPECT_SOUND(maze.get());
    }
}

TEST(recursify_stencil, makes_each_shape_by_its_half_span)
{
    // hs of 4.5
    const std::vector<std::pair<i32, i32>> counts = {
        {3, 4 + 8 + 16 + 16}, {4, 9 * 5},          {5, 61 - 19},   {7, 18 * 9},
        {8, 18 * 4},          {11, 3 * 4 * 5 + 1}, {12, 4 * 4 * 5}};
    for (const auto& [type, count] : counts) {
        const World maze(stencilof(type, 10.0));
        EXPECT_EQ(Maze_count(maze.get()), count) << "type " << type;
    }
}

TEST(recursify_stencil, makes_blocks_from_flat_to_cubic)
{
    i32 flattest = 1000;
    i32 highest = 0;
    for (u32 seed = 1; seed <= 300; seed++) {
        rnd_seed(seed);
        if (irand(13) > 2) {
            continue;
        }
        const f32 f = static_cast<f32>(rnd(1.0 / 3.0));
        const f32 g = f + f;
        const i32 w = static_cast<i32>(std::pow(27.0, 1.0 - static_cast<f64>(f)));
        const i32 d = static_cast<i32>(std::pow(27.0, static_cast<f64>(g)));
        rnd_seed(seed);
        const World maze(recursify_stencil(27.0, Pos_null));
        EXPECT_EQ(rnd_count(), 4U);
        const f64* const corner = Maze_node(maze.get(), Maze_count(maze.get()) - 1)->pos;
        EXPECT_EQ(corner[0], w - 1);
        EXPECT_EQ(corner[1], w - 1);
        EXPECT_EQ(corner[2], d - 1);
        flattest = d < flattest ? d : flattest;
        highest = d > highest ? d : highest;
    }
    EXPECT_EQ(flattest, 1);
    EXPECT_GE(highest, 7);
}

TEST(recursify_stencil, draws_the_sides_of_boxes_in_their_order)
{
    bool cubes = false;
    bool boxes = false;
    for (u32 seed = 1; seed <= 200; seed++) {
        rnd_seed(seed);
        const i32 type = irand(13);
        if (type != 9 && type != 10) {
            continue;
        }
        const i32 a = irand(8) + 1;
        i32 b = a;
        i32 c = a;
        if (type == 10) {
            b = irand(8) + 1;
            c = irand(8) + 1;
        }
        const u32 state = rnd_state();
        rnd_seed(seed);
        const World maze(recursify_stencil(9.5, Pos_null));
        EXPECT_EQ(rnd_state(), state);
        EXPECT_EQ(Maze_count(maze.get()),
                  (a + 1) * (b + 1) * (c + 1) - (a - 1) * (b - 1) * (c - 1));
        cubes = cubes || type == 9;
        boxes = boxes || (type == 10 && a != b && b != c);
    }
    EXPECT_TRUE(cubes && boxes);
}

TEST(recursify_stencil, takes_a_size_below_1_as_1)
{
    std::string told;
    const World cube(stencilof(9, 0.0, &told));
    EXPECT_EQ(Maze_count(cube.get()), 8); // irand(0) is 0
    EXPECT_EQ(told, "recursify_stencil(s=1,hs=1,type=9) DONE(8 nodes)\n");
}

TEST(recursify_stencil, tells_of_each_stencil_in_a_line)
{
    std::string told;
    const World disc(stencilof(3, 10.0, &told));
    EXPECT_EQ(told, "recursify_stencil(s=10,hs=4.5,type=3) DONE(44 nodes)\n");
}

TEST(recursify_stencil, tells_on_standard_error_where_that_is_asked)
{
    stencil_progress_to_stderr = true;
    testing::internal::CaptureStderr();
    std::string told;
    const World disc(stencilof(3, 10.0, &told));
    const std::string errors = testing::internal::GetCapturedStderr();
    stencil_progress_to_stderr = false;
    EXPECT_EQ(told, "");
    EXPECT_EQ(errors, "recursify_stencil(s=10,hs=4.5,type=3) DONE(44 nodes)\n");
}

static i32 expandables(const Maze* maze)
{
    i32 n = 0;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        n += Maze_node(maze, i)->expandable != 0 ? 1 : 0;
    }
    return n;
}

// The length of the first edge of a stencil of type `type`, all edges of which are as long.
static f64 pitch(const Maze* maze)
{
    const MazeNode* const node = Maze_node(maze, 0);
    const MazeNode* const next = Maze_node(maze, node->edges[0]);
    return std::hypot(node->pos[0] - next->pos[0], node->pos[1] - next->pos[1],
                      node->pos[2] - next->pos[2]);
}

TEST(recursify_stencil_scaled, is_at_its_finest_below_16)
{
    for (u32 seed = 1; seed <= 40; seed++) {
        rnd_seed(seed);
        const World plain(recursify_stencil(15.9, Pos_null));
        const u32 draws = rnd_count();
        rnd_seed(seed);
        const World maze(recursify_stencil_scaled(15.9, Pos_null));
        EXPECT_SOUND(maze.get());
        EXPECT_EQ(expandables(maze.get()), 0);
        EXPECT_EQ(Maze_digestplace(DIGEST_START, maze.get()),
                  Maze_digestplace(DIGEST_START, plain.get()));
        // the draw of each node is made all the same
        EXPECT_EQ(rnd_count(), draws + 2 * maze->nodes.count);
    }
}

TEST(recursify_stencil_scaled, is_a_stencil_of_4_four_times_as_large_at_16)
{
    for (u32 seed = 1; seed <= 40; seed++) {
        rnd_seed(seed);
        rnd(1.0); // the exponent, of a base of 1
        const World expected(recursify_stencil(4.0, Pos_null));
        Maze_scale(expected.get(), 4.0);
        rnd_seed(seed);
        const World maze(recursify_stencil_scaled(16.0, Pos_null));
        EXPECT_EQ(expandables(maze.get()), Maze_count(maze.get()));
        EXPECT_EQ(Maze_digestplace(DIGEST_START, maze.get()),
                  Maze_digestplace(DIGEST_START, expected.get()));
        EXPECT_EQ(Maze_node(maze.get(), 0)->radius, 0.5);
    }
}

TEST(recursify_stencil_scaled, makes_a_stencil_of_4_to_16_for_a_span_of_64)
{
    f64 least = 100.0;
    f64 most = 0.0;
    for (u32 seed = 1; seed <= 60; seed++) {
        rnd_seed(seed);
        const f64 k = 4.0 * std::pow(4.0, rnd(1.0));
        rnd_seed(seed);
        testing::internal::CaptureStdout();
        const World maze(recursify_stencil_scaled(64.0, Pos_null));
        const std::string told = testing::internal::GetCapturedStdout();
        f64 s = 0.0;
        ASSERT_EQ(std::sscanf(told.c_str(), "recursify_stencil(s=%lg", &s), 1);
        EXPECT_NEAR(s, 64.0 / k, 1e-3);
        least = s < least ? s : least;
        most = s > most ? s : most;
        EXPECT_EQ(expandables(maze.get()), Maze_count(maze.get()));
        EXPECT_EQ(maze->name, nullptr);
        if (told.find("type=11)") != std::string::npos) {
            EXPECT_NEAR(pitch(maze.get()), k, 1e-5);
        }
    }
    EXPECT_GT(least, 4.0);
    EXPECT_LT(least, 5.0);
    EXPECT_GT(most, 14.0);
    EXPECT_LE(most, 16.0);
}

TEST(recursify_stencil_scaled, names_its_result_by_its_place)
{
    const World parent(make_nodes(130));
    const World unnamed(recursify_stencil_scaled(20.0, {parent.get(), 7}));
    EXPECT_EQ(unnamed->name, nullptr);
    str_set(&parent->name, "a");
    const World seventh(recursify_stencil_scaled(20.0, {parent.get(), 7}));
    EXPECT_STREQ(seventh->name, "a.07");
    const World far(recursify_stencil_scaled(10.0, {parent.get(), 123}));
    EXPECT_STREQ(far->name, "a.123");
    EXPECT_EQ(far->parent, nullptr);
}

TEST(Maze_plantstencil, centres_every_type_on_its_node)
{
    for (i32 type = 0; type < 13; type++) {
        SCOPED_TRACE("type " + std::to_string(type));
        const World maze(make_star(4));
        Maze_scale(maze.get(), 100.0);
        Maze* const stencil = stencilof(type, 10.0);
        Maze_plantstencil(maze.get(), 0, stencil);
        EXPECT_SOUND(maze.get());
        expect_mean(stencil, Maze_node(maze.get(), 0)->pos, 1e-11);
    }
}
