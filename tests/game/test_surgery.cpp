#include "base/rnd.h"
#include "generate/carve.h"
#include "generate/grids.h"
#include "model/drawsphere.h"
#include "model/surgery.h"
#include "tests/gameworlds.h"
#include "tests/sound.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

static void place(Maze* maze, i32 n, f64 x, f64 y, f64 z = 0.0)
{
    f64* const pos = Maze_node(maze, n)->pos;
    pos[0] = x;
    pos[1] = y;
    pos[2] = z;
}

static std::vector<f64> place_of(const Maze* maze, i32 n)
{
    const f64* const pos = Maze_node(maze, n)->pos;
    return {pos[0], pos[1], pos[2]};
}

static bool finite_level(const Maze* maze)
{
    for (i32 i = 0; i < Maze_count(maze); i++) {
        for (i32 k = 0; k < 3; k++) {
            if (!std::isfinite(Maze_node(maze, i)->pos[k])) {
                return false;
            }
        }
        if (Maze_node(maze, i)->sub != nullptr && !finite_level(Maze_node(maze, i)->sub)) {
            return false;
        }
    }
    return true;
}

static void scatter(Maze* maze, u32 seed, f64 side)
{
    std::mt19937 engine(seed);
    std::uniform_real_distribution<f64> real(-side, side);
    for (i32 i = 0; i < Maze_count(maze); i++) {
        const f64 x = real(engine);
        const f64 y = real(engine);
        const f64 z = real(engine);
        place(maze, i, x, y, z);
    }
}

// The sphere of a level must be what it is when all of it is computed anew.
static void expect_fresh_sphere(Maze* root)
{
    f64 centre[3];
    f64 radius;
    Maze_drawsphere(root, centre, &radius);
    const World copy(Maze_clone(root, true));
    f64 anew[3];
    f64 anewradius;
    Maze_drawsphere(copy.get(), anew, &anewradius);
    EXPECT_EQ(radius, anewradius);
    EXPECT_EQ(centre[0], anew[0]);
    EXPECT_EQ(centre[1], anew[1]);
    EXPECT_EQ(centre[2], anew[2]);
}

TEST(Maze_simplify, moves_the_nodes_of_a_path_from_their_old_places)
{
    const World path(make_line(3));
    place(path.get(), 0, 0, 4);
    place(path.get(), 1, 2, 0);
    place(path.get(), 2, 8, 2);
    Maze_simplify(path.get(), 0.5);
    EXPECT_EQ(place_of(path.get(), 0), (std::vector<f64>{1, 2, 0}));
    EXPECT_EQ(place_of(path.get(), 1), (std::vector<f64>{4, 3, 0}));
    EXPECT_EQ(place_of(path.get(), 2), (std::vector<f64>{5, 1, 0}));
}

TEST(Maze_simplify, isnt_divided_by_the_degree)
{
    const World star(make_star(4));
    for (i32 i = 1; i <= 4; i++) {
        place(star.get(), i, 1, 0);
    }
    Maze_simplify(star.get(), 1.0);
    EXPECT_EQ(place_of(star.get(), 0), (std::vector<f64>{4, 0, 0}));
}

TEST(Maze_simplify, leaves_a_node_without_edges_where_it_is)
{
    const World maze(make_graph(3, {{0, 1}}));
    Maze_simplify(maze.get(), 0.5);
    EXPECT_EQ(place_of(maze.get(), 2), (std::vector<f64>{2, 0, 0}));
}

TEST(Maze_simplify, carries_submazes_of_all_levels_by_the_nodes_move)
{
    const World root(make_nest());
    Maze* const west = Maze_node(root.get(), 1)->sub;
    Maze* const deep = Maze_node(west, 3)->sub;
    place(root.get(), 0, 0, 8); // node 1 moves by 0.25 times (0, 8)
    const std::vector<f64> before = place_of(west, 0);
    const std::vector<f64> below = place_of(deep, 2);
    Maze_simplify(root.get(), 0.25);
    EXPECT_EQ(place_of(root.get(), 1), (std::vector<f64>{10, 2, 0}));
    EXPECT_EQ(place_of(west, 0), (std::vector<f64>{before[0], before[1] + 2, 0}));
    EXPECT_EQ(place_of(deep, 2), (std::vector<f64>{below[0], below[1] + 2, 0}));
}

TEST(Maze_simplify, takes_no_step_that_would_not_be_finite)
{
    const f64 most = std::numeric_limits<f64>::max();
    const World root(make_nest());
    place(root.get(), 0, -most, 0);
    place(root.get(), 1, most, most);
    place(Maze_node(root.get(), 1)->sub, 0, most, most);
    for (i32 i = 0; i < 100; i++) {
        Maze_simplify(root.get(), 1.0);
    }
    EXPECT_TRUE(finite_level(root.get()));
}

TEST(Maze_simplify, makes_the_draw_sphere_stale)
{
    const World root(make_nest());
    f64 centre[3];
    f64 radius;
    Maze_drawsphere(root.get(), centre, &radius);
    Maze_simplify(root.get(), 0.3);
    expect_fresh_sphere(root.get());
}

TEST(Maze_spring, is_a_tenth_of_the_way)
{
    const World pair(make_line(2));
    place(pair.get(), 1, 10, 0);
    Maze_spring(pair.get());
    EXPECT_EQ(place_of(pair.get(), 0), (std::vector<f64>{1, 0, 0}));
    EXPECT_EQ(place_of(pair.get(), 1), (std::vector<f64>{9, 0, 0}));
}

TEST(Maze_extent, is_the_radius_that_the_bounds_would_have)
{
    for (u32 seed = 0; seed < 20; seed++) {
        const World maze(make_line(17));
        scatter(maze.get(), seed, 50.0);
        Maze_bounds(maze.get(), false);
        EXPECT_EQ(Maze_extent(maze.get()), maze->boundradius);
    }
}

TEST(Maze_simplify_within, takes_the_step_of_maze_simplify_if_it_fits)
{
    const World maze(make_line(5));
    scatter(maze.get(), 1, 3.0);
    const World other(Maze_clone(maze.get(), false));
    EXPECT_TRUE(Maze_simplify_within(maze.get(), 0.1, Maze_extent(maze.get())));
    Maze_simplify(other.get(), 0.1);
    for (i32 i = 0; i < 5; i++) {
        EXPECT_EQ(place_of(maze.get(), i), place_of(other.get(), i));
    }
}

TEST(Maze_simplify_within, leaves_a_step_out_whole_that_makes_the_level_too_large)
{
    const World maze(make_star(4));
    scatter(maze.get(), 2, 3.0);
    const World before(Maze_clone(maze.get(), false));
    EXPECT_FALSE(Maze_simplify_within(maze.get(), 1.0, Maze_extent(maze.get())));
    for (i32 i = 0; i < 5; i++) {
        EXPECT_EQ(place_of(maze.get(), i), place_of(before.get(), i));
    }
}

TEST(Maze_simplify_within, takes_a_step_that_shrinks_a_level_that_is_too_large)
{
    const World maze(make_line(5));
    EXPECT_TRUE(Maze_simplify_within(maze.get(), 0.1, 0.0));
}

// The step as it is told: a loop over all pairs on the records themselves.
static void plain_repel(Maze* maze)
{
    const i32 n = Maze_count(maze);
    std::vector<std::vector<f64>> force(static_cast<size_t>(n), std::vector<f64>(3, 0.0));
    for (i32 high = n - 1; high >= 0; high--) {
        for (i32 low = high - 1; low >= 0; low--) {
            const f64* const a = Maze_node(maze, low)->pos;
            const f64* const b = Maze_node(maze, high)->pos;
            const f64 dx = a[0] - b[0];
            const f64 dy = a[1] - b[1];
            const f64 dz = a[2] - b[2];
            const f64 s = dx * dx + dy * dy + dz * dz;
            if (s == 0.0) {
                continue;
            }
            const f64 f[3] = {dx / (s * s), dy / (s * s), dz / (s * s)};
            for (i32 k = 0; k < 3; k++) {
                force[static_cast<size_t>(low)][static_cast<size_t>(k)] += f[k];
                force[static_cast<size_t>(high)][static_cast<size_t>(k)] -= f[k];
            }
        }
    }
    for (i32 i = 0; i < n; i++) {
        for (i32 k = 0; k < 3; k++) {
            Maze_node(maze, i)->pos[k] +=
                0.1 * force[static_cast<size_t>(i)][static_cast<size_t>(k)];
        }
    }
}

TEST(Maze_repel, gives_the_very_numbers_of_the_plain_loop)
{
    for (const i32 n : {1, 2, 3, 255, 256, 257, 300, 700}) {
        const World maze(make_nodes(n));
        scatter(maze.get(), static_cast<u32>(n), 20.0);
        if (n > 200) {
            place(maze.get(), 199, 1, 2, 3); // two on one spot
            place(maze.get(), 20, 1, 2, 3);
        }
        const World other(Maze_clone(maze.get(), false));
        Maze_repel(maze.get());
        plain_repel(other.get());
        for (i32 i = 0; i < n; i++) {
            ASSERT_EQ(place_of(maze.get(), i), place_of(other.get(), i)) << n << " " << i;
        }
    }
}

TEST(Maze_repel, pushes_a_pair_apart_by_the_third_power_of_its_distance)
{
    const World pair(make_nodes(2));
    place(pair.get(), 1, 2, 0);
    Maze_repel(pair.get());
    EXPECT_EQ(place_of(pair.get(), 0), (std::vector<f64>{-0.1 * 2 / 16, 0, 0}));
    EXPECT_EQ(place_of(pair.get(), 1), (std::vector<f64>{2 + 0.1 * 2 / 16, 0, 0}));
}

TEST(Maze_repel, has_no_force_between_two_nodes_on_one_spot)
{
    const World pair(make_nodes(2));
    place(pair.get(), 1, 0, 0);
    Maze_repel(pair.get());
    EXPECT_EQ(place_of(pair.get(), 0), (std::vector<f64>{0, 0, 0}));
    EXPECT_EQ(place_of(pair.get(), 1), (std::vector<f64>{0, 0, 0}));
}

TEST(Maze_repel, stays_finite_however_near_two_nodes_are)
{
    for (i32 e = 1; e < 330; e++) {
        const World root(make_nest());
        place(root.get(), 1, std::pow(10.0, -e), 0);
        Maze_repel(root.get());
        EXPECT_TRUE(finite_level(root.get())) << "1e-" << e;
    }
}

TEST(Maze_repel, carries_submazes_along)
{
    const World root(make_nest());
    Maze* const east = Maze_node(root.get(), 2)->sub;
    const f64 before = Maze_node(east, 1)->pos[0];
    const f64 at = Maze_node(root.get(), 2)->pos[0];
    Maze_repel(root.get());
    const f64 move = Maze_node(root.get(), 2)->pos[0] - at;
    EXPECT_NE(move, 0.0);
    EXPECT_NEAR(Maze_node(east, 1)->pos[0] - before, move, 1e-12);
}

TEST(Maze_absorb, makes_no_edge_of_two_joined_nodes_to_themselves)
{
    const World maze(make_graph(3, {{0, 1}, {1, 2}}));
    Maze_absorb(maze.get(), 0, 1, false);
    EXPECT_EQ(neighbours(maze.get(), 0), (std::vector<i32>{2}));
    EXPECT_EQ(neighbours(maze.get(), 2), (std::vector<i32>{0}));
    EXPECT_TRUE(neighbours(maze.get(), 1).empty());
    EXPECT_SOUND(maze.get());
}

TEST(Maze_absorb, of_a_node_by_itself_does_nothing)
{
    const World maze(make_line(3));
    Maze_absorb(maze.get(), 1, 1, true);
    EXPECT_EQ(Maze_count(maze.get()), 3);
    EXPECT_EQ(neighbours(maze.get(), 1), (std::vector<i32>{0, 2}));
}

TEST(Maze_absorb, takes_edges_from_the_last_slot_until_it_has_8)
{
    const World maze(make_graph(
        12, {{0, 1}, {0, 2}, {0, 3}, {0, 4}, {0, 5}, {0, 6}, {7, 8}, {7, 9}, {7, 10}, {7, 11}}));
    Maze_absorb(maze.get(), 0, 7, false);
    EXPECT_EQ(neighbours(maze.get(), 0), (std::vector<i32>{1, 2, 3, 4, 5, 6, 11, 10}));
    EXPECT_TRUE(neighbours(maze.get(), 9).empty());
    EXPECT_SOUND(maze.get());
}

TEST(Maze_absorb, makes_no_second_edge_to_a_common_neighbour)
{
    const World maze(make_ring(3));
    Maze_absorb(maze.get(), 0, 1, false);
    EXPECT_EQ(neighbours(maze.get(), 0), (std::vector<i32>{2}));
    EXPECT_SOUND(maze.get());
}

TEST(Maze_absorb, colours_the_edge_and_both_its_ends)
{
    const World maze(make_line(3));
    Maze_node(maze.get(), 1)->edgerec[1].colour = 0x123456;
    Maze_absorb(maze.get(), 0, 1, false);
    EXPECT_EQ(Maze_node(maze.get(), 0)->edgerec[0].colour, 0x123456U);
    EXPECT_EQ(Maze_node(maze.get(), 2)->edgerec[0].colour, 0x123456U);
    EXPECT_EQ(Maze_node(maze.get(), 0)->rec.colour, 0x123456U);
    EXPECT_EQ(Maze_node(maze.get(), 2)->rec.colour, 0x123456U);
}

TEST(Maze_absorb, colours_the_ends_even_if_the_neighbour_is_full)
{
    const World maze(make_star(8)); // node 0 is full
    const i32 a = add_node(maze.get(), 9, 9);
    Maze_node(maze.get(), 3)->edgerec[0].colour = 0x0000AA;
    Maze_absorb(maze.get(), a, 3, false);
    EXPECT_TRUE(neighbours(maze.get(), a).empty());
    EXPECT_EQ(Maze_node(maze.get(), a)->rec.colour, 0x0000AAU);
    EXPECT_EQ(Maze_node(maze.get(), 0)->rec.colour, 0x0000AAU);
    EXPECT_EQ(Maze_node(maze.get(), 0)->nedges, 7U);
}

TEST(Maze_absorb, deletes_the_other_node_if_asked_to)
{
    const World maze(make_line(4));
    Maze_node(maze.get(), 1)->rec.walked = 5.0;
    maze->visitednodes = 1;
    Maze_absorb(maze.get(), 0, 1, true);
    EXPECT_EQ(Maze_count(maze.get()), 3);
    EXPECT_EQ(neighbours(maze.get(), 0), (std::vector<i32>{2}));
    EXPECT_SOUND(maze.get());
}

TEST(Maze_absorb, hands_the_port_to_the_node_that_has_the_edge_now)
{
    const World root(make_nest()); // node 2 has edges to 1 and 3, its ports 0 and 1
    Maze* const east = Maze_node(root.get(), 2)->sub;
    const std::vector<f64> port = place_of(east, 1);
    const i32 other = add_node(root.get(), 25, 5);
    east->exitsused = 3;
    Maze_absorb(root.get(), other, 3, false);
    EXPECT_EQ(neighbours(root.get(), 2), (std::vector<i32>{1, other}));
    EXPECT_EQ(place_of(east, 1), port);
    EXPECT_EQ(east->exitsused, 1U); // the new way hasn't been used
    EXPECT_SOUND(root.get());
}

TEST(Maze_absorb, gives_a_submaze_ports_for_the_edges_that_its_node_gains)
{
    const World root(make_star(4)); // node 1 is to take the edges of node 0
    Maze* const sub = hang(root.get(), 1, make_line(2));
    rnd_seed(1);
    Maze_absorb(root.get(), 1, 0, false);
    EXPECT_EQ(Maze_node(root.get(), 1)->nedges, 3U);
    EXPECT_EQ(Maze_count(sub), 3);
    EXPECT_EQ(neighbours(sub, 2).size(), 1U); // the port that was added leads on
    EXPECT_SOUND(root.get());
}

TEST(Maze_absorb, makes_no_port_of_a_node_that_holds_a_submaze)
{
    const World root(make_star(4));
    Maze* const sub = hang(root.get(), 1, make_line(5));
    hang(sub, 1, make_line(3));
    hang(sub, 4, make_line(3));
    Maze_absorb(root.get(), 1, 0, false);
    EXPECT_EQ(Maze_count(sub), 5);
    EXPECT_SOUND(root.get());
}

TEST(Maze_absorb, makes_no_port_of_a_node_that_is_cut_off)
{
    const World root(make_star(3));
    Maze* const sub = hang(root.get(), 1, make_graph(4, {{0, 3}}));
    Maze_absorb(root.get(), 1, 0, false); // edges to 3 and 2: ports 0 and 1
    EXPECT_EQ(Maze_node(root.get(), 1)->nedges, 2U);
    EXPECT_EQ(neighbours(sub, 0), (std::vector<i32>{1}));
    EXPECT_SOUND(root.get());
}

TEST(Maze_joinfitted, gives_both_nodes_ports)
{
    const World root(make_graph(4, {{0, 1}, {2, 3}}));
    hang(root.get(), 1, make_line(1));
    hang(root.get(), 2, make_line(1));
    rnd_seed(3);
    Maze_joinfitted(root.get(), 1, 2);
    EXPECT_EQ(neighbours(root.get(), 1), (std::vector<i32>{0, 2}));
    EXPECT_SOUND(root.get());
    expect_fresh_sphere(root.get());
}

TEST(Maze_contract, merges_a_path_of_four_in_two_pairs)
{
    const World path(make_line(4));
    Maze_contract(path.get(), 1);
    EXPECT_EQ(place_of(path.get(), 0), (std::vector<f64>{0.5, 0, 0}));
    EXPECT_EQ(place_of(path.get(), 2), (std::vector<f64>{2.5, 0, 0}));
    EXPECT_EQ(neighbours(path.get(), 0), (std::vector<i32>{2}));
    EXPECT_EQ(neighbours(path.get(), 2), (std::vector<i32>{0}));
    EXPECT_TRUE(neighbours(path.get(), 1).empty());
    EXPECT_TRUE(neighbours(path.get(), 3).empty());
    EXPECT_EQ(Maze_count(path.get()), 4);
}

TEST(Maze_contract, leaves_nodes_of_more_edges_alone)
{
    const World ring(make_ring(6));
    Maze_contract(ring.get(), 1);
    EXPECT_EQ(Maze_edgecount(ring.get()), 6);
}

// What contraction does to a maze that hangs nowhere and holds nothing, told without ports.
static void plain_contract(Maze* maze, u32 k)
{
    for (i32 i = 0; i < Maze_count(maze); i++) {
        MazeNode* const node = Maze_node(maze, i);
        if (node->nedges == 0) {
            continue;
        }
        i32 w = -1;
        if (node->nedges <= k) {
            w = node->edges[node->nedges - 1];
        }
        for (i32 j = static_cast<i32>(node->nedges) - 1; j >= 0 && w < 0; j--) {
            w = Maze_node(maze, node->edges[j])->nedges <= k ? node->edges[j] : -1;
        }
        if (w < 0) {
            continue;
        }
        for (i32 c = 0; c < 3; c++) {
            node->pos[c] = (node->pos[c] + Maze_node(maze, w)->pos[c]) / 2;
        }
        MazeNode* const gone = Maze_node(maze, w);
        for (i32 j = static_cast<i32>(gone->nedges) - 1; j >= 0; j--) {
            const i32 x = gone->edges[j];
            const std::vector<i32> has = neighbours(maze, i);
            if (x == i || std::count(has.begin(), has.end(), x) > 0 || node->nedges >= 8) {
                continue;
            }
            Maze_join(maze, i, x);
        }
        for (i32 j = static_cast<i32>(gone->nedges) - 1; j >= 0; j--) {
            Maze_unjoin(maze, w, gone->edges[j], true);
        }
    }
}

TEST(Maze_contract, is_the_plain_pass_on_a_level_that_hangs_nowhere)
{
    for (u32 seed = 0; seed < 100; seed++) {
        const World maze(grid_maze(6, 5, 1));
        rnd_seed(seed);
        Maze_thinedges(maze.get(), 0.7);
        const World other(Maze_clone(maze.get(), false));
        const u32 k = 1 + seed % 4;
        Maze_contract(maze.get(), k);
        plain_contract(other.get(), k);
        for (i32 i = 0; i < Maze_count(maze.get()); i++) {
            ASSERT_EQ(neighbours(maze.get(), i), neighbours(other.get(), i)) << seed << " " << i;
            ASSERT_EQ(place_of(maze.get(), i), place_of(other.get(), i)) << seed << " " << i;
        }
        EXPECT_SOUND(maze.get());
    }
}

TEST(Maze_contract, never_strands_a_port)
{
    const World root(make_line(3));
    Maze* const sub = hang(root.get(), 1, make_graph(4, {{2, 0}, {3, 1}, {2, 3}}));
    Maze_contract(sub, 1);
    EXPECT_FALSE(neighbours(sub, 0).empty());
    EXPECT_FALSE(neighbours(sub, 1).empty());
    EXPECT_SOUND(root.get());
}

TEST(Maze_contract, never_strands_a_node_with_a_submaze)
{
    const World root(make_line(3)); // as worlds are made: the maze in the middle of a line
    Maze* const sub = hang(root.get(), 1, make_line(6));
    Maze_contract(root.get(), 4);
    EXPECT_EQ(Maze_node(root.get(), 1)->sub, sub);
    EXPECT_TRUE(neighbours(root.get(), 0).empty()); // both ends have come to the middle
    EXPECT_TRUE(neighbours(root.get(), 2).empty());
    EXPECT_SOUND(root.get());
}

TEST(Maze_contract, doesnt_merge_two_nodes_with_submazes)
{
    const World root(make_nest());
    Maze_contract(root.get(), 4);
    EXPECT_EQ(neighbours(root.get(), 1), (std::vector<i32>{2}));
    EXPECT_EQ(neighbours(root.get(), 2), (std::vector<i32>{1}));
    EXPECT_SOUND(root.get());
}

TEST(Maze_contract, carries_the_submaze_to_the_middle)
{
    const World root(make_line(2));
    Maze* const sub = hang(root.get(), 1, make_line(2));
    place(root.get(), 1, 8, 0);
    place(sub, 1, 9, 1);
    Maze_contract(root.get(), 1);
    EXPECT_EQ(place_of(root.get(), 1), (std::vector<f64>{4, 0, 0}));
    EXPECT_EQ(place_of(sub, 1), (std::vector<f64>{5, 1, 0}));
}

TEST(Maze_clonemasked, leaves_out_the_nodes_whose_byte_is_0)
{
    const World root(make_nest());
    const u8 keep[4] = {1, 0, 1, 1};
    const World clone(Maze_clonemasked(root.get(), keep));
    EXPECT_EQ(Maze_count(clone.get()), 3);
    EXPECT_EQ(place_of(clone.get(), 1), (std::vector<f64>{30, 0, 0})); // the last took the number
    EXPECT_EQ(neighbours(clone.get(), 1), (std::vector<i32>{2}));
    EXPECT_EQ(Maze_node(clone.get(), 2)->sub, nullptr);
    EXPECT_EQ(Maze_count(root.get()), 4);
    EXPECT_SOUND(clone.get());
}

TEST(Maze_clonemasked, counts_the_visited_nodes_that_are_left)
{
    const World line(make_line(3));
    Maze_node(line.get(), 0)->rec.walked = 1.0;
    Maze_node(line.get(), 2)->rec.walked = 0.0;
    line->visitednodes = 2;
    const u8 keep[3] = {0, 1, 1};
    const World clone(Maze_clonemasked(line.get(), keep));
    EXPECT_EQ(clone->visitednodes, 1);
    EXPECT_SOUND(clone.get());
}

TEST(Maze_clonereachable, is_the_component_of_its_start)
{
    const World maze(make_graph(6, {{0, 1}, {3, 4}, {4, 5}}));
    const World clone(Maze_clonereachable(maze.get(), 5));
    EXPECT_EQ(Maze_count(clone.get()), 3);
    EXPECT_EQ(Maze_edgecount(clone.get()), 2);
    EXPECT_SOUND(clone.get());
}
