#include "base/rnd.h"
#include "generate/carve.h"
#include "generate/grids.h"
#include "generate/rings.h"
#include "generate/tilings.h"
#include "model/connect.h"
#include "model/drawsphere.h"
#include "tests/mazes.h"
#include "tests/plaincarve.h"
#include "tests/randomgraph.h"
#include "tests/sound.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using Method = void (*)(Maze*);

static const Method methods[3] = {makemaze_threshold, makemaze_spanning, makemaze_corridors};

// A star of `k` edges whose middle node, number 0, holds `sub`.
static Maze* make_holder(i32 k, Maze* sub)
{
    Maze* const maze = make_star(k);
    hang(maze, 0, sub);
    return maze;
}

static i32 reachednodes(const Maze* maze)
{
    u8* const reached = Maze_reachable(maze, 0);
    i32 n = 0;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        n += reached[i];
    }
    std::free(reached);
    return n;
}

static i32 deadends(const Maze* maze)
{
    i32 n = 0;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        n += Maze_node(maze, i)->nedges == 1 ? 1 : 0;
    }
    return n;
}

static void marknodes(Maze* maze)
{
    for (i32 i = 0; i < Maze_count(maze); i++) {
        Maze_node(maze, i)->radius = i + 1;
    }
}

// Everything that a finished maze holds, slot by slot and level by level, and which draw spheres are
// stale. Nodes are told apart by their radius.
static std::string told(const Maze* maze)
{
    std::string text = "(";
    for (i32 i = 0; i < Maze_count(maze); i++) {
        const MazeNode* const node = Maze_node(maze, i);
        text += std::to_string(node->radius) + ":";
        for (u32 slot = 0; slot < node->nedges; slot++) {
            text += std::to_string(node->edges[slot]) + "/" +
                    std::to_string(node->edgerec[slot].colour) + " ";
        }
        text += node->sub != nullptr ? told(node->sub) + std::to_string(node->sub->parentnode) : "";
        text += "; ";
    }
    return text + std::to_string(maze->drawradius) + ")";
}

TEST(Maze_foreach, visits_children_first_and_the_submazes_of_the_last_node_first)
{
    Maze* const root = grid_maze(3, 1, 1);
    hang(root, 0, grid_maze(2, 1, 1));
    Maze* const second = grid_maze(4, 1, 1);
    hang(root, 2, second);
    hang(second, 3, grid_maze(5, 1, 1));
    static std::vector<i32> seen;
    seen.clear();
    Maze_foreach(root, [](Maze* maze) { seen.push_back(Maze_count(maze)); });
    EXPECT_EQ(seen, (std::vector<i32>{5, 4, 2, 3}));
    Maze_free(root, true);
}

TEST(makemaze_spanning, leaves_a_tree_that_spans_the_grid)
{
    for (u32 seed = 1; seed <= 20; seed++) {
        Maze* const maze = grid_maze(5, 5, 1);
        rnd_seed(seed);
        makemaze_spanning(maze);
        EXPECT_SOUND(maze);
        EXPECT_EQ(Maze_count(maze), 25);
        EXPECT_EQ(Maze_edgecount(maze), 24);
        EXPECT_EQ(reachednodes(maze), 25);
        Maze_free(maze, true);
    }
}

TEST(makemaze_spanning, takes_two_draws_an_edge)
{
    Maze* const maze = grid_maze(5, 5, 1);
    rnd_seed(1);
    makemaze_spanning(maze);
    EXPECT_EQ(rnd_count(), 80U);
    Maze_free(maze, true);
}

TEST(makemaze_spanning, leaves_a_forest_of_a_graph_in_parts)
{
    Maze* const first = grid_maze(4, 4, 1);
    Maze* const maze = Maze_merged(first, first);
    rnd_seed(3);
    makemaze_spanning(maze);
    EXPECT_SOUND(maze);
    EXPECT_EQ(Maze_edgecount(maze), 30);
    EXPECT_EQ(reachednodes(maze), 16);
    Maze_free(maze, true);
    Maze_free(first, true);
}

TEST(makemaze_corridors, leaves_a_tree_that_spans_the_grid)
{
    for (u32 seed = 1; seed <= 20; seed++) {
        Maze* const maze = grid_maze(5, 5, 1);
        rnd_seed(seed);
        makemaze_corridors(maze);
        EXPECT_SOUND(maze);
        EXPECT_EQ(Maze_count(maze), 25);
        EXPECT_EQ(Maze_edgecount(maze), 24);
        EXPECT_EQ(reachednodes(maze), 25);
        Maze_free(maze, true);
    }
}

TEST(makemaze_corridors, has_fewer_dead_ends_than_a_random_tree)
{
    i32 corridors = 0;
    i32 spanning = 0;
    for (u32 seed = 1; seed <= 40; seed++) {
        rnd_seed(seed);
        Maze* const first = grid_maze(10, 10, 1);
        makemaze_corridors(first);
        corridors += deadends(first);
        Maze* const second = grid_maze(10, 10, 1);
        makemaze_spanning(second);
        spanning += deadends(second);
        Maze_free(second, true);
        Maze_free(first, true);
    }
    EXPECT_LT(corridors * 10, spanning * 9);
}

TEST(makemaze, keeps_both_edges_of_a_line_of_three)
{
    for (const Method method : methods) {
        Maze* const maze = grid_maze(3, 1, 1);
        rnd_seed(2);
        method(maze);
        EXPECT_SOUND(maze);
        EXPECT_EQ(Maze_count(maze), 3);
        EXPECT_EQ(neighbours(maze, 1), (std::vector<i32>{0, 2}));
        Maze_free(maze, true);
    }
}

TEST(makemaze, leaves_a_single_node_alone)
{
    for (const Method method : methods) {
        Maze* const maze = grid_maze(1, 1, 1);
        const std::string before = told(maze);
        rnd_seed(2);
        method(maze);
        EXPECT_EQ(rnd_count(), 0U);
        EXPECT_EQ(told(maze), before);
        Maze_free(maze, true);
    }
}

TEST(makemaze, leaves_the_single_node_of_a_submaze_without_ports_alone)
{
    for (const Method method : methods) {
        Maze* const sub = grid_maze(1, 1, 1);
        Maze* const holder = make_holder(0, sub);
        hang(sub, 0, grid_maze(2, 1, 1));
        const std::string before = told(holder);
        method(sub);
        EXPECT_SOUND(holder);
        EXPECT_EQ(told(holder), before);
        Maze_free(holder, true);
    }
}

TEST(makemaze, leaves_a_maze_without_nodes_alone)
{
    for (const Method method : methods) {
        Maze* const maze = Maze_new();
        rnd_seed(2);
        method(maze);
        EXPECT_EQ(Maze_count(maze), 0);
        EXPECT_EQ(rnd_count(), 0U);
        Maze_free(maze, true);
    }
}

TEST(makemaze, takes_its_method_from_one_draw_out_of_three)
{
    bool used[3] = {};
    for (u32 seed = 1; seed <= 40; seed++) {
        Maze* const maze = grid_maze(6, 6, 1);
        rnd_seed(seed);
        makemaze(maze);
        EXPECT_SOUND(maze);
        const u32 state = rnd_state();
        Maze* const expected = grid_maze(6, 6, 1);
        rnd_seed(seed);
        const i32 drawn = irand(3);
        methods[drawn](expected);
        EXPECT_EQ(told(maze), told(expected));
        EXPECT_EQ(rnd_state(), state);
        used[drawn] = true;
        Maze_free(expected, true);
        Maze_free(maze, true);
    }
    EXPECT_TRUE(used[0] && used[1] && used[2]);
}

TEST(makemaze_threshold, keeps_a_way_from_the_first_to_the_last_node_of_a_root)
{
    for (u32 seed = 1; seed <= 20; seed++) {
        Maze* const maze = grid_maze(12, 12, 1);
        Maze_node(maze, 143)->radius = 99;
        rnd_seed(seed);
        makemaze_threshold(maze);
        EXPECT_SOUND(maze);
        i32 last = -1; // its number may have changed
        for (i32 i = 0; i < Maze_count(maze); i++) {
            last = Maze_node(maze, i)->radius == 99 ? i : last;
        }
        ASSERT_GE(last, 0);
        EXPECT_EQ(Maze_node(maze, 0)->radius, 0.5);
        EXPECT_GT(Maze_distance(maze, 0, last), 0);
        Maze_free(maze, true);
    }
}

TEST(makemaze_threshold, keeps_three_ports_connected_and_in_place)
{
    for (u32 seed = 1; seed <= 20; seed++) {
        Maze* const sub = grid_maze(6, 6, 1);
        marknodes(sub);
        Maze* const holder = make_holder(3, sub);
        rnd_seed(seed);
        makemaze_threshold(sub);
        EXPECT_SOUND(holder);
        for (i32 i = 0; i < 3; i++) {
            EXPECT_EQ(Maze_node(sub, i)->radius, i + 1);
            EXPECT_GT(Maze_distance(sub, 0, i), 0);
        }
        Maze_free(holder, true);
    }
}

TEST(makemaze_threshold, never_deletes_a_port_without_an_edge)
{
    Maze* const sub = make_nodes(5); // no edge at all: no thinned graph is usable
    marknodes(sub);
    Maze* const holder = make_holder(3, sub);
    rnd_seed(1);
    makemaze_threshold(sub);
    EXPECT_SOUND(holder);
    ASSERT_EQ(Maze_count(sub), 3);
    for (i32 i = 0; i < 3; i++) {
        EXPECT_EQ(Maze_node(sub, i)->radius, i + 1);
    }
    Maze_free(holder, true);
}

TEST(makemaze_threshold, keeps_all_edges_if_the_ports_never_hang_together)
{
    Maze* const half = grid_maze(3, 3, 1);
    Maze* const sub = Maze_merged(half, half); // ports 0 to 2 in one half
    Maze_swapnodes(sub, 2, 17);
    Maze* const holder = make_holder(3, sub);
    const std::string before = told(sub);
    rnd_seed(1);
    makemaze_threshold(sub);
    EXPECT_SOUND(holder);
    EXPECT_EQ(told(sub), before);
    EXPECT_EQ(rnd_count(), 2U * 24 * 1001); // the first pass and ten hundreds of attempts
    Maze_free(holder, true);
    Maze_free(half, true);
}

TEST(makemaze_threshold, leaves_islands_with_edges_but_no_inner_node_without)
{
    i32 islands = 0;
    for (u32 seed = 1; seed <= 20; seed++) {
        Maze* const maze = grid_maze(12, 12, 1);
        rnd_seed(seed);
        makemaze_threshold(maze);
        islands += reachednodes(maze) < Maze_count(maze) ? 1 : 0;
        for (i32 i = 0; i < Maze_count(maze); i++) {
            EXPECT_GT(Maze_node(maze, i)->nedges, 0U);
        }
        Maze_free(maze, true);
    }
    EXPECT_GT(islands, 10);
}

TEST(makemaze_all, carves_submazes_while_their_parents_have_all_edges)
{
    for (u32 seed = 1; seed <= 30; seed++) {
        Maze* const root = grid_maze(4, 4, 1);
        for (i32 i = 0; i < 16; i++) {
            if (i % 2 == 1) {
                Maze* const sub = grid_maze(4, 4, 1);
                hang(root, i, sub);
            }
        }
        rnd_seed(seed);
        makemaze_all(root);
        EXPECT_SOUND(root);
        for (i32 i = 0; i < Maze_count(root); i++) {
            const Maze* const sub = Maze_node(root, i)->sub;
            if (sub != nullptr) {
                EXPECT_TRUE(Maze_isconnected(sub) || Maze_ports(sub) < 2);
            }
        }
        Maze_free(root, true);
    }
}

TEST(Maze_thinedges, keeps_everything_at_one_but_makes_its_draws)
{
    Maze* const maze = grid_maze(4, 4, 2);
    const std::string before = told(maze);
    const u32 edges = static_cast<u32>(Maze_edgecount(maze));
    rnd_seed(4);
    Maze_thinedges(maze, 1.0);
    EXPECT_EQ(told(maze), before);
    EXPECT_EQ(rnd_count(), 2 * edges);
    Maze_free(maze, true);
}

TEST(Maze_thinedges, drops_everything_at_zero)
{
    Maze* const maze = grid_maze(4, 4, 2);
    Maze_thinedges(maze, 0.0);
    EXPECT_SOUND(maze);
    EXPECT_EQ(Maze_edgecount(maze), 0);
    EXPECT_EQ(Maze_count(maze), 32);
    Maze_free(maze, true);
}

TEST(Maze_thinedges, keeps_about_the_share_asked_for)
{
    Maze* const maze = grid_maze(50, 50, 1);
    rnd_seed(4);
    Maze_thinedges(maze, 0.3);
    EXPECT_SOUND(maze);
    EXPECT_NEAR(Maze_edgecount(maze), 0.3 * 4900, 150);
    Maze_free(maze, true);
}

TEST(Maze_thinedges, tries_each_edge_once_from_its_lower_end_last_node_and_slot_first)
{
    Maze* const maze = grid_maze(3, 3, 1);
    std::vector<std::pair<i32, i32>> kept;
    rnd_seed(11);
    for (i32 i = 8; i >= 0; i--) {
        const std::vector<i32> ends = neighbours(maze, i);
        for (size_t slot = ends.size(); slot-- > 0;) {
            if (ends[slot] > i && rnd(1.0) < 0.5) {
                kept.emplace_back(i, ends[slot]);
            }
        }
    }
    rnd_seed(11);
    Maze_thinedges(maze, 0.5);
    EXPECT_EQ(static_cast<size_t>(Maze_edgecount(maze)), kept.size());
    for (const auto& [a, b] : kept) {
        EXPECT_EQ(Maze_distance(maze, a, b), 1);
    }
    Maze_free(maze, true);
}

TEST(Maze_thinedges, passes_over_the_slots_that_a_doubled_edge_leaves)
{
    Maze* const maze = make_nodes(2);
    Maze_join(maze, 0, 1);
    Maze_join(maze, 0, 1);
    rnd_seed(1);
    Maze_thinedges(maze, 0.0);
    EXPECT_EQ(Maze_edgecount(maze), 0);
    EXPECT_EQ(rnd_count(), 2U); // one draw of two calls, as both edges went at once
    Maze_free(maze, true);
}

TEST(Maze_keepedges, changes_nothing_if_the_pattern_is_equal)
{
    Maze* const sub = grid_maze(4, 4, 1);
    marknodes(sub);
    Maze* const holder = make_holder(4, sub);
    Maze* const pattern = Maze_clone(sub, false);
    const std::string before = told(holder);
    Maze_keepedges(sub, pattern);
    EXPECT_SOUND(holder);
    EXPECT_EQ(told(holder), before);
    Maze_free(pattern, true);
    Maze_free(holder, true);
}

TEST(Maze_keepedges, moves_the_last_edge_and_its_port_into_the_hole)
{
    Maze* const sub = grid_maze(5, 1, 1);
    marknodes(sub);
    Maze* const holder = make_holder(3, sub); // edges of node 0: 1, 2, 3
    Maze* const pattern = Maze_clone(holder, false);
    Maze_unjoin(pattern, 0, 2, false);
    Maze_keepedges(holder, pattern);
    EXPECT_SOUND(holder);
    EXPECT_EQ(neighbours(holder, 0), (std::vector<i32>{1, 3}));
    EXPECT_EQ(Maze_node(sub, 0)->radius, 1.0);
    EXPECT_EQ(Maze_node(sub, 1)->radius, 3.0); // nodes 1 and 2 have changed places
    EXPECT_EQ(Maze_node(sub, 2)->radius, 2.0);
    EXPECT_EQ(Maze_edgecount(sub), 4);
    Maze_free(pattern, true);
    Maze_free(holder, true);
}

TEST(Maze_keepedges, deletes_what_the_pattern_lacks)
{
    Maze* const maze = grid_maze(4, 4, 1);
    Maze* const pattern = Maze_clone(maze, false);
    rnd_seed(8);
    Maze_thinedges(pattern, 0.5);
    Maze_keepedges(maze, pattern);
    EXPECT_SOUND(maze);
    EXPECT_EQ(Maze_edgecount(maze), Maze_edgecount(pattern));
    for (i32 i = 0; i < 16; i++) {
        for (const i32 t : neighbours(pattern, i)) {
            EXPECT_EQ(Maze_distance(maze, i, t), 1);
        }
    }
    Maze_free(pattern, true);
    Maze_free(maze, true);
}

TEST(Maze_dropisolated, deletes_edgeless_inner_nodes_with_their_submazes)
{
    Maze* const maze = make_nodes(6);
    marknodes(maze);
    Maze_join(maze, 1, 4);
    hang(maze, 2, grid_maze(3, 1, 1));
    hang(maze, 4, grid_maze(3, 1, 1));
    Maze_dropisolated(maze);
    EXPECT_SOUND(maze);
    ASSERT_EQ(Maze_count(maze), 2);
    for (i32 i = 0; i < 2; i++) {
        const MazeNode* const node = Maze_node(maze, i);
        EXPECT_TRUE(node->radius == 2 || node->radius == 5);
        EXPECT_EQ(node->sub != nullptr, node->radius == 5);
    }
    Maze_free(maze, true);
}

TEST(Maze_dropisolated, keeps_ports)
{
    Maze* const sub = make_nodes(5);
    Maze* const holder = make_holder(2, sub);
    Maze_dropisolated(sub);
    EXPECT_SOUND(holder);
    EXPECT_EQ(Maze_count(sub), 2);
    Maze_free(holder, true);
}

static void know_drawspheres(Maze* maze)
{
    f64 centre[3];
    f64 radius = 0.0;
    Maze_drawsphere(maze, centre, &radius);
}

// Carves the same graphs by the program and plainly. Both must leave the same tree, slot by slot,
// and the same random stream.
static void expect_equal(Method method, Method plain)
{
    i32 doubled = 0;
    i32 single = 0;
    i32 parts = 0;
    bool ports[10] = {};
    RandomGraphs graphs(20);
    for (u32 round = 0; round < 200; round++) {
        RandomGraph graph = graphs.next();
        Maze* const copy = Maze_clone(graph.root, true);
        know_drawspheres(graph.root);
        know_drawspheres(copy);
        Maze* const maze = graph.maze;
        Maze* const other = maze == graph.root ? copy : Maze_node(copy, 0)->sub;
        doubled += graph.doubled ? 1 : 0;
        single += Maze_count(maze) == 1 ? 1 : 0;
        ports[maze == graph.root ? 9 : Maze_ports(maze)] = true;
        parts += reachednodes(maze) < Maze_count(maze) ? 1 : 0;
        rnd_seed(round);
        method(maze);
        const u32 count = rnd_count();
        const u32 state = rnd_state();
        rnd_seed(round);
        plain(other);
        EXPECT_EQ(told(graph.root), told(copy)) << "graph " << round;
        EXPECT_EQ(rnd_count(), count) << "graph " << round;
        EXPECT_EQ(rnd_state(), state) << "graph " << round;
        if (!graph.doubled && Maze_count(maze) >= Maze_ports(maze)) {
            EXPECT_SOUND(graph.root);
        }
        Maze_free(copy, true);
        Maze_free(graph.root, true);
    }
    EXPECT_GT(doubled, 20);
    EXPECT_GT(single, 2);
    EXPECT_GT(parts, 40);
    EXPECT_EQ(std::count(ports, ports + 10, true), 10);
}

TEST(makemaze_spanning, equals_deletion_edge_by_edge)
{
    expect_equal(makemaze_spanning, plain_spanning);
}

TEST(makemaze_corridors, equals_deletion_edge_by_edge)
{
    expect_equal(makemaze_corridors, plain_corridors);
}

TEST(makemaze_threshold, equals_thinning_of_whole_clones)
{
    expect_equal(makemaze_threshold, plain_threshold);
}

// Base graphs of all forms: with squares and without, flat, closed, and solid.
static std::vector<World> baseworlds()
{
    std::vector<World> worlds;
    for (Maze* const maze :
         {grid_maze(17, 21, 1), grid_maze(5, 6, 4), grid_maze(40, 1, 1), box_maze(4, 5, 3),
          trigrid_triangle(9), trigrid_honeycomb(8), ring_disc(9, 1), ring_disc(8, 5),
          sphere_maze(5.0), torus_maze(2.5, 1.5), torus_maze(2.5, 0.4), torus_maze(2.5, 0.2),
          torus_maze(0.4, 2.5), moebius_maze(4.0, 2.5)}) {
        worlds.emplace_back(maze);
    }
    return worlds;
}

static void expect_equal_on_bases(Method method, Method plain)
{
    for (const World& world : baseworlds()) {
        Maze* const maze = Maze_clone(world.get(), false);
        Maze* const other = Maze_clone(world.get(), false);
        rnd_seed(123);
        method(maze);
        const u32 state = rnd_state();
        const u32 count = rnd_count();
        rnd_seed(123);
        plain(other);
        EXPECT_EQ(told(maze), told(other));
        EXPECT_EQ(rnd_state(), state);
        EXPECT_EQ(rnd_count(), count);
        Maze_free(other, true);
        Maze_free(maze, true);
    }
}

TEST(makemaze_spanning, equals_the_plain_method_on_the_base_graphs)
{
    expect_equal_on_bases(makemaze_spanning, plain_spanning);
}

TEST(makemaze_corridors, equals_the_plain_method_on_the_base_graphs)
{
    expect_equal_on_bases(makemaze_corridors, plain_corridors);
}

TEST(makemaze_threshold, equals_the_plain_method_on_the_base_graphs)
{
    expect_equal_on_bases(makemaze_threshold, plain_threshold);
}
