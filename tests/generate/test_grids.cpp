#include "base/rnd.h"
#include "generate/grids.h"
#include "tests/mazes.h"
#include "tests/meshes.h"
#include "tests/sound.h"

#include <cmath>
#include <gtest/gtest.h>
#include <set>
#include <tuple>
#include <vector>

static std::tuple<f64, f64, f64> place(const Maze* maze, i32 n)
{
    const f64* const p = Maze_node(maze, n)->pos;
    return {p[0], p[1], p[2]};
}

static std::multiset<std::tuple<f64, f64, f64>> places(const Maze* maze)
{
    std::multiset<std::tuple<f64, f64, f64>> all;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        all.insert(place(maze, i));
    }
    return all;
}

// The edges as pairs of places, so that numbering doesn't matter.
static std::multiset<std::pair<std::tuple<f64, f64, f64>, std::tuple<f64, f64, f64>>>
placededges(const Maze* maze)
{
    std::multiset<std::pair<std::tuple<f64, f64, f64>, std::tuple<f64, f64, f64>>> all;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        for (const i32 t : neighbours(maze, i)) {
            all.insert({place(maze, i), place(maze, t)});
        }
    }
    return all;
}

TEST(grid_maze, takes_sizes_below_one_as_one)
{
    Maze* const maze = grid_maze(0, -3, 1);
    EXPECT_SOUND(maze);
    ASSERT_EQ(Maze_count(maze), 1);
    EXPECT_EQ(Maze_node(maze, 0)->nedges, 0U);
    EXPECT_EQ(place(maze, 0), std::make_tuple(0.0, 0.0, 0.0));
    Maze_free(maze, true);
}

TEST(grid_maze, makes_a_line_whose_middle_node_lists_the_lower_end_first)
{
    Maze* const maze = grid_maze(3, 1, 1);
    EXPECT_SOUND(maze);
    ASSERT_EQ(Maze_count(maze), 3);
    for (i32 i = 0; i < 3; i++) {
        EXPECT_EQ(place(maze, i), std::make_tuple(i, 0.0, 0.0));
    }
    EXPECT_EQ(neighbours(maze, 1), (std::vector<i32>{0, 2}));
    Maze_free(maze, true);
}

TEST(grid_maze, joins_a_cube_along_the_axes)
{
    Maze* const maze = grid_maze(2, 2, 2);
    EXPECT_SOUND(maze);
    EXPECT_EQ(Maze_count(maze), 8);
    EXPECT_EQ(Maze_edgecount(maze), 12);
    EXPECT_EQ(neighbours(maze, 0), (std::vector<i32>{1, 2, 4}));
    Maze_free(maze, true);
}

TEST(grid_maze, fills_slots_in_the_order_of_the_axes_lower_neighbour_first)
{
    Maze* const maze = grid_maze(3, 3, 3);
    EXPECT_SOUND(maze);
    EXPECT_EQ(neighbours(maze, 13), (std::vector<i32>{12, 14, 10, 16, 4, 22}));
    Maze_free(maze, true);
}

TEST(grid_maze, numbers_nodes_with_x_fastest)
{
    Maze* const maze = grid_maze(4, 3, 2);
    for (i32 z = 0; z < 2; z++) {
        for (i32 y = 0; y < 3; y++) {
            for (i32 x = 0; x < 4; x++) {
                EXPECT_EQ(place(maze, x + 4 * y + 12 * z), std::make_tuple(x, y, z));
            }
        }
    }
    Maze_free(maze, true);
}

TEST(grid_maze, makes_fresh_nodes_and_edges)
{
    Maze* const maze = grid_maze(3, 2, 2);
    for (i32 i = 0; i < Maze_count(maze); i++) {
        const MazeNode* const node = Maze_node(maze, i);
        EXPECT_EQ(node->radius, 0.5);
        EXPECT_EQ(node->expandable, 0U);
        EXPECT_EQ(node->sub, nullptr);
        std::vector<VisitRec> recs(node->edgerec, node->edgerec + node->nedges);
        recs.push_back(node->rec);
        for (const VisitRec& rec : recs) {
            EXPECT_EQ(rec.colour, 0x808080U);
            EXPECT_EQ(rec.walked, -1.0);
            EXPECT_EQ(rec.trailed, -1.0);
        }
    }
    Maze_free(maze, true);
}

TEST(grid_maze, draws_nothing)
{
    rnd_seed(5);
    Maze_free(grid_maze(5, 4, 3), true);
    Maze_free(box_maze(2, 2, 2), true);
    EXPECT_EQ(rnd_count(), 0U);
}

TEST(grid_square, truncates_its_side_and_ignores_the_position)
{
    Maze* const maze = grid_square(4.99, Pos_null);
    EXPECT_SOUND(maze);
    EXPECT_EQ(Maze_count(maze), 16);
    EXPECT_EQ(place(maze, 15), std::make_tuple(3.0, 3.0, 0.0));
    Maze* const same = grid_square(4.0, {maze, 3});
    EXPECT_EQ(placededges(same), placededges(maze));
    Maze_free(same, true);
    Maze_free(maze, true);
}

TEST(grid_red, is_red_in_all_nodes_and_edges)
{
    Maze* const maze = grid_red(1);
    EXPECT_SOUND(maze);
    ASSERT_EQ(Maze_count(maze), 25);
    EXPECT_EQ(Maze_edgecount(maze), 40);
    for (i32 i = 0; i < 25; i++) {
        const MazeNode* const node = Maze_node(maze, i);
        EXPECT_EQ(node->rec.colour, 0xC04040U);
        for (u32 slot = 0; slot < node->nedges; slot++) {
            EXPECT_EQ(node->edgerec[slot].colour, 0xC04040U);
        }
    }
    Maze_free(maze, true);
}

TEST(grid_red, has_a_side_of_four_times_its_number_plus_one)
{
    for (i32 i = 0; i <= 5; i++) {
        Maze* const maze = grid_red(i);
        EXPECT_EQ(Maze_count(maze), (4 * i + 1) * (4 * i + 1));
        Maze_free(maze, true);
    }
}

TEST(box_maze, of_size_one_is_a_cube)
{
    Maze* const maze = box_maze(1, 1, 1);
    EXPECT_SOUND(maze);
    EXPECT_EQ(Maze_count(maze), 8);
    EXPECT_EQ(Maze_edgecount(maze), 12);
    Maze_free(maze, true);
}

TEST(box_maze, has_no_inner_node)
{
    Maze* const maze = box_maze(2, 2, 2);
    EXPECT_SOUND(maze);
    EXPECT_EQ(Maze_count(maze), 26);
    EXPECT_EQ(places(maze).count({1.0, 1.0, 1.0}), 0U);
    Maze_free(maze, true);
}

TEST(box_maze, has_no_two_nodes_at_one_place)
{
    Maze* const maze = box_maze(1, 1, 3);
    EXPECT_SOUND(maze);
    const auto all = places(maze);
    std::multiset<std::tuple<f64, f64, f64>> expected;
    for (i32 z = 0; z <= 3; z++) { // a rim of four nodes at each height
        for (i32 k = 0; k < 4; k++) {
            expected.insert({k & 1, k >> 1, z});
        }
    }
    EXPECT_EQ(all, expected);
    Maze_free(maze, true);
}

TEST(box_maze, has_four_edges_on_faces_and_rims_and_three_at_corners)
{
    for (i32 a = 1; a <= 5; a++) {
        Maze* const maze = box_maze(a, a, a);
        EXPECT_SOUND(maze);
        EXPECT_EQ(Maze_count(maze), 6 * a * a + 2);
        for (i32 i = 0; i < Maze_count(maze); i++) {
            i32 limits = 0; // axes on which the node stands at an end
            for (const f64 c : Maze_node(maze, i)->pos) {
                limits += c == 0.0 || c == a ? 1 : 0;
            }
            EXPECT_EQ(Maze_node(maze, i)->nedges, limits == 3 ? 3U : 4U);
        }
        Maze_free(maze, true);
    }
}

TEST(box_maze, joins_nodes_at_distance_one_alone)
{
    Maze* const maze = box_maze(2, 3, 4);
    EXPECT_SOUND(maze);
    for (const auto& [a, b] : placededges(maze)) {
        const f64 dx = std::get<0>(a) - std::get<0>(b);
        const f64 dy = std::get<1>(a) - std::get<1>(b);
        const f64 dz = std::get<2>(a) - std::get<2>(b);
        EXPECT_EQ(dx * dx + dy * dy + dz * dz, 1.0);
    }
    EXPECT_EQ(Maze_count(maze), 54);
    EXPECT_EQ(Maze_edgecount(maze), 104); // Euler: a sphere of 52 squares
    Maze_free(maze, true);
}

TEST(Maze_welded, of_a_maze_with_itself_is_the_same_graph)
{
    Maze* const maze = grid_maze(4, 3, 2);
    Maze* const welded = Maze_welded(maze, maze);
    EXPECT_SOUND(welded);
    EXPECT_EQ(places(welded), places(maze));
    EXPECT_EQ(placededges(welded), placededges(maze));
    Maze_free(welded, true);
    Maze_free(maze, true);
}

TEST(Maze_welded, of_distant_mazes_is_the_disjoint_union)
{
    Maze* const a = grid_maze(3, 2, 1);
    Maze* const b = grid_maze(2, 2, 1);
    const f64 v[3] = {2.7501, 0, 0};
    Maze_translate(b, v, true);
    Maze* const welded = Maze_welded(a, b);
    EXPECT_SOUND(welded);
    EXPECT_EQ(Maze_count(welded), 10);
    EXPECT_EQ(Maze_edgecount(welded), 11);
    EXPECT_EQ(neighbours(welded, 6), (std::vector<i32>{7, 8}));
    Maze_free(welded, true);
    Maze_free(b, true);
    Maze_free(a, true);
}

TEST(Maze_welded, replaces_a_node_at_exactly_the_limit)
{
    Maze* const a = grid_maze(1, 1, 1);
    Maze* const b = Maze_new();
    add_node(b, 0.75, 0, 0);
    Maze* const welded = Maze_welded(a, b);
    ASSERT_EQ(Maze_count(welded), 1);
    EXPECT_EQ(place(welded, 0), std::make_tuple(0.75, 0.0, 0.0));
    Maze_free(welded, true);
    Maze_free(b, true);
    Maze_free(a, true);
}

TEST(Maze_welded, takes_the_nearest_node_and_the_highest_of_a_tie)
{
    Maze* const a = Maze_new();
    add_node(a, 0, 0, 0);
    add_node(a, 0, 5, 0);
    Maze_join(a, 0, 1);
    Maze* const b = Maze_new();
    add_node(b, 0.5, 0, 0);
    add_node(b, -0.5, 0, 0);
    add_node(b, 0, 0.6, 0);
    Maze* const welded = Maze_welded(a, b);
    EXPECT_SOUND(welded);
    ASSERT_EQ(Maze_count(welded), 4);
    const auto edges = placededges(welded);
    ASSERT_EQ(edges.size(), 2U);
    EXPECT_EQ(edges.begin()->first, std::make_tuple(-0.5, 0.0, 0.0));
    EXPECT_EQ(edges.begin()->second, std::make_tuple(0.0, 5.0, 0.0));
    Maze_free(welded, true);
    Maze_free(b, true);
    Maze_free(a, true);
}

TEST(Maze_welded, keeps_slot_and_colour_of_an_edge_that_it_redirects)
{
    Maze* const a = grid_maze(3, 1, 1);
    Maze_setcolour(a, 0x123456);
    Maze* const b = grid_maze(1, 2, 1); // replaces node 0
    Maze* const welded = Maze_welded(a, b);
    EXPECT_SOUND(welded);
    ASSERT_EQ(Maze_count(welded), 4); // the last node of b has moved into the hole
    EXPECT_EQ(place(welded, 0), std::make_tuple(0.0, 1.0, 0.0));
    EXPECT_EQ(neighbours(welded, 1), (std::vector<i32>{3, 2}));
    EXPECT_EQ(neighbours(welded, 3), (std::vector<i32>{0, 1}));
    EXPECT_EQ(Maze_node(welded, 1)->edgerec[0].colour, 0x123456U);
    EXPECT_EQ(Maze_node(welded, 3)->edgerec[1].colour, 0x123456U);
    EXPECT_EQ(Maze_node(welded, 3)->edgerec[0].colour, 0x808080U);
    Maze_free(welded, true);
    Maze_free(b, true);
    Maze_free(a, true);
}

TEST(Maze_welded, drops_an_edge_between_two_replaced_nodes)
{
    Maze* const a = grid_maze(2, 1, 1);
    Maze* const b = Maze_new();
    add_node(b, 0, 0, 0);
    add_node(b, 1, 0, 0);
    Maze* const welded = Maze_welded(a, b);
    EXPECT_SOUND(welded);
    EXPECT_EQ(Maze_count(welded), 2);
    EXPECT_EQ(Maze_edgecount(welded), 0);
    Maze_free(welded, true);
    Maze_free(b, true);
    Maze_free(a, true);
}

// A star: node 0 at the origin, `n` nodes around it at `distance`.
static Maze* star(i32 n, f64 distance)
{
    Maze* const maze = Maze_new();
    add_node(maze, 0, 0, 0);
    for (i32 i = 0; i < n; i++) {
        add_node(maze, distance + i, 0, distance);
        Maze_join(maze, 0, i + 1);
    }
    return maze;
}

TEST(Maze_welded, gives_up_an_edge_that_would_be_a_ninth)
{
    Maze* const a = star(5, 10.0);
    Maze* const b = star(6, -20.0);
    Maze* const welded = Maze_welded(a, b);
    EXPECT_SOUND(welded);
    EXPECT_EQ(Maze_count(welded), 12);
    EXPECT_EQ(Maze_edgecount(welded), 8);
    u32 most = 0;
    for (i32 i = 0; i < Maze_count(welded); i++) {
        most = std::max(most, Maze_node(welded, i)->nedges);
    }
    EXPECT_EQ(most, 8U);
    // room goes to the lowest numbers: nodes 1 and 2 of a keep their edge
    EXPECT_EQ(Maze_node(welded, 1)->nedges, 1U);
    EXPECT_EQ(Maze_node(welded, 2)->nedges, 1U);
    for (i32 i = 3; i <= 5; i++) {
        EXPECT_EQ(Maze_node(welded, i)->nedges, 0U);
    }
    Maze_free(welded, true);
    Maze_free(b, true);
    Maze_free(a, true);
}

TEST(Maze_welded, with_an_empty_maze_is_the_other_one)
{
    Maze* const empty = Maze_new();
    Maze* const grid = grid_maze(3, 2, 1);
    Maze* const first = Maze_welded(empty, grid);
    Maze* const second = Maze_welded(grid, empty);
    EXPECT_SOUND(first);
    EXPECT_SOUND(second);
    EXPECT_EQ(placededges(first), placededges(grid));
    EXPECT_EQ(placededges(second), placededges(grid));
    Maze_free(second, true);
    Maze_free(first, true);
    Maze_free(grid, true);
    Maze_free(empty, true);
}

TEST(Maze_welded, leaves_its_arguments_alone)
{
    Maze* const a = grid_maze(3, 3, 1);
    Maze* const b = grid_maze(3, 1, 3);
    const auto before_a = placededges(a);
    const auto before_b = placededges(b);
    Maze_free(Maze_welded(a, b), true);
    EXPECT_SOUND(a);
    EXPECT_SOUND(b);
    EXPECT_EQ(placededges(a), before_a);
    EXPECT_EQ(placededges(b), before_b);
    Maze_free(b, true);
    Maze_free(a, true);
}

TEST(Maze_welded, stands_nodes_that_are_renumbered_before_their_old_neighbours_go)
{
    // three nodes of a fall on the one node of b, and the kept node 3 takes the number of one of them
    Maze* const a = Maze_new();
    add_node(a, 0, 0, 0);
    add_node(a, 0.1, 0, 0);
    add_node(a, 0.2, 0, 0);
    add_node(a, 5, 0, 0);
    Maze_join(a, 0, 3);
    Maze* const b = grid_maze(1, 1, 1);
    Maze* const welded = Maze_welded(a, b);
    EXPECT_SOUND(welded);
    EXPECT_EQ(Maze_count(welded), 2);
    EXPECT_EQ(Maze_edgecount(welded), 1);
    Maze_free(welded, true);
    Maze_free(b, true);
    Maze_free(a, true);
}

TEST(Maze_welded, keeps_a_node_just_beyond_the_limit)
{
    const World a(make_nodes(1));
    const World b(Maze_new());
    add_node(b.get(), std::nextafter(0.75, 1.0), 0);
    const World welded(Maze_welded(a.get(), b.get()));
    EXPECT_SOUND(welded.get());
    EXPECT_EQ(Maze_count(welded.get()), 2);
}

TEST(Maze_welded, colours_both_edges_alike_where_two_ends_fall_on_one_node)
{
    // nodes 1 and 2 of a go to the one node of b; slots are seen from the last, so slot 0 has the say
    const World a(Maze_new());
    add_node(a.get(), 5, 0);
    add_node(a.get(), 0, 0);
    add_node(a.get(), 0.1, 0);
    Maze_join(a.get(), 0, 1);
    Maze_join(a.get(), 0, 2);
    Maze_node(a.get(), 0)->edgerec[0].colour = 0xFF0000;
    Maze_node(a.get(), 0)->edgerec[1].colour = 0x0000FF;
    const World b(make_nodes(1));
    const World welded(Maze_welded(a.get(), b.get()));
    EXPECT_SOUND_BUT_DOUBLED(welded.get());
    ASSERT_EQ(Maze_count(welded.get()), 2);
    for (i32 i = 0; i < 2; i++) {
        EXPECT_EQ(neighbours(welded.get(), i), (std::vector<i32>{1 - i, 1 - i}));
        EXPECT_EQ(Maze_node(welded.get(), i)->edgerec[0].colour, 0xFF0000U);
        EXPECT_EQ(Maze_node(welded.get(), i)->edgerec[1].colour, 0xFF0000U);
    }
}

TEST(Maze_welded, keeps_the_submaze_of_a_kept_node_with_its_ports_in_step)
{
    const World a(make_line(3));
    hang(a.get(), 1, make_line(2));
    hang(a.get(), 2, make_line(3)); // goes with its node
    const World b(Maze_new());
    add_node(b.get(), 2, 0.5);
    const World welded(Maze_welded(a.get(), b.get()));
    EXPECT_SOUND(welded.get());
    ASSERT_EQ(Maze_count(welded.get()), 3);
    EXPECT_EQ(neighbours(welded.get(), 1), (std::vector<i32>{0, 2}));
    EXPECT_EQ(Maze_count(Maze_node(welded.get(), 1)->sub), 2);
    EXPECT_EQ(Maze_node(welded.get(), 2)->sub, nullptr);
}

TEST(Maze_welded, moves_the_ports_of_a_kept_node_that_gives_up_an_edge)
{
    // node 0 of b is full, so node 1 of a loses its slot 0, and its port 1 becomes port 0
    const World a(make_line(3));
    Maze* const sub = hang(a.get(), 1, make_line(2));
    Maze_node(sub, 1)->rec.colour = 0x123456;
    const World b(make_star(8));
    for (i32 i = 1; i <= 8; i++) {
        Maze_node(b.get(), i)->pos[1] = 10;
    }
    const World welded(Maze_welded(a.get(), b.get()));
    EXPECT_SOUND(welded.get());
    i32 found = -1;
    for (i32 i = 0; i < Maze_count(welded.get()); i++) {
        found = Maze_node(welded.get(), i)->sub != nullptr ? i : found;
    }
    ASSERT_GE(found, 0);
    EXPECT_EQ(Maze_node(welded.get(), found)->nedges, 1U);
    EXPECT_EQ(Maze_node(Maze_node(welded.get(), found)->sub, 0)->rec.colour, 0x123456U);
}

TEST(Maze_welded, says_nothing_of_an_edge_that_it_gives_up)
{
    const World a(make_line(2));
    const World b(make_star(8));
    for (i32 i = 1; i <= 8; i++) {
        Maze_node(b.get(), i)->pos[1] = 10;
    }
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const World welded(Maze_welded(a.get(), b.get()));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(Maze_edgecount(welded.get()), 8);
}

TEST(box_maze, is_connected_and_fresh_in_all_nodes_and_edges)
{
    const World maze(box_maze(4, 2, 3));
    EXPECT_TRUE(is_connected(maze.get()));
    EXPECT_EQ(stale_nodes(maze.get()), "");
}

TEST(box_maze, without_a_size_is_one_node)
{
    const World maze(box_maze(0, 0, 0));
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(Maze_count(maze.get()), 1);
    EXPECT_EQ(Maze_edgecount(maze.get()), 0);
}

TEST(box_maze, stands_its_faces_at_the_given_sizes)
{
    const World maze(box_maze(2, 3, 5));
    for (const auto& [x, y, z] : places(maze.get())) {
        EXPECT_TRUE(x == 0 || x == 2 || y == 0 || y == 3 || z == 0 || z == 5);
        EXPECT_TRUE(x >= 0 && x <= 2 && y >= 0 && y <= 3 && z >= 0 && z <= 5);
    }
    EXPECT_EQ(Maze_count(maze.get()), 2 * (2 * 3 + 2 * 5 + 3 * 5) + 2);
}

TEST(grid_square, of_a_side_below_one_is_one_node)
{
    for (const f64 s : {0.99, 0.0, -7.5}) {
        const World maze(grid_square(s, Pos_null));
        EXPECT_EQ(Maze_count(maze.get()), 1) << s;
    }
}
