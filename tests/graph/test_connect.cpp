#include "model/connect.h"
#include "tests/mazes.h"
#include "tests/sound.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <string>

static std::string reachable(const Maze* maze, i32 start)
{
    u8* const bytes = Maze_reachable(maze, start);
    std::string text;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        text += std::to_string(bytes[i]);
    }
    std::free(bytes);
    return text;
}

TEST(Maze_reachable, of_one_node_is_that_node)
{
    const World maze(make_nodes(1));
    EXPECT_EQ("1", reachable(maze.get(), 0));
}

TEST(Maze_reachable, marks_the_component_of_the_start_and_nothing_else)
{
    const World maze(make_graph(6, {{0, 2}, {2, 4}, {1, 3}}));
    EXPECT_EQ("101010", reachable(maze.get(), 4));
    EXPECT_EQ("010100", reachable(maze.get(), 1));
    EXPECT_EQ("000001", reachable(maze.get(), 5));
}

TEST(Maze_reachable, gains_nothing_from_submazes)
{
    const World maze(make_graph(4, {{0, 1}, {2, 3}}));
    hang(maze.get(), 1, make_line(3));
    EXPECT_SOUND(maze.get());
    EXPECT_EQ("1100", reachable(maze.get(), 0));
}

TEST(Maze_distance, of_a_node_to_itself_is_1)
{
    const World maze(make_nodes(1));
    EXPECT_EQ(1, Maze_distance(maze.get(), 0, 0));
}

TEST(Maze_distance, counts_the_edges_of_a_line)
{
    const World maze(make_line(40));
    for (i32 i = 1; i < 40; i++) {
        EXPECT_EQ(i, Maze_distance(maze.get(), 0, i));
        EXPECT_EQ(i, Maze_distance(maze.get(), i, 0));
    }
}

TEST(Maze_distance, takes_the_shorter_way_round_a_ring)
{
    const World maze(make_ring(9));
    EXPECT_EQ(4, Maze_distance(maze.get(), 0, 4));
    EXPECT_EQ(4, Maze_distance(maze.get(), 0, 5));
    EXPECT_EQ(1, Maze_distance(maze.get(), 0, 8));
}

TEST(Maze_distance, between_components_is_0_whichever_front_ends_first)
{
    const World maze(make_graph(6, {{0, 1}, {2, 3}, {3, 4}, {4, 5}}));
    EXPECT_EQ(0, Maze_distance(maze.get(), 0, 5));
    EXPECT_EQ(0, Maze_distance(maze.get(), 5, 0));
}

TEST(Maze_distance, of_two_lone_nodes_is_0)
{
    const World maze(make_nodes(2));
    EXPECT_EQ(0, Maze_distance(maze.get(), 0, 1));
}

// The plain search from one end that Maze_distance must agree with.
static i32 plaindistance(const Maze* maze, i32 a, i32 b)
{
    std::vector<i32> steps(static_cast<size_t>(Maze_count(maze)), -1);
    std::vector<i32> queue = {a};
    steps[static_cast<size_t>(a)] = 0;
    for (size_t q = 0; q < queue.size(); q++) {
        for (const i32 next : neighbours(maze, queue[q])) {
            if (steps[static_cast<size_t>(next)] < 0) {
                steps[static_cast<size_t>(next)] = steps[static_cast<size_t>(queue[q])] + 1;
                queue.push_back(next);
            }
        }
    }
    return a == b ? 1 : std::max(0, steps[static_cast<size_t>(b)]);
}

TEST(Maze_distance, agrees_with_a_search_from_one_end)
{
    u32 state = 7;
    for (i32 round = 0; round < 40; round++) {
        const World maze(make_nodes(14));
        for (i32 i = 0; i < 14; i++) {
            state = state * 214013 + 2531011;
            const i32 a = static_cast<i32>((state >> 16) % 14);
            const i32 b = static_cast<i32>((state >> 20) % 14);
            if (a != b && sound_multiplicity(Maze_node(maze.get(), a), b) == 0) {
                Maze_join(maze.get(), a, b);
            }
        }
        EXPECT_SOUND(maze.get());
        for (i32 a = 0; a < 14; a++) {
            for (i32 b = 0; b < 14; b++) {
                ASSERT_EQ(plaindistance(maze.get(), a, b), Maze_distance(maze.get(), a, b));
            }
        }
    }
}

TEST(Maze_isconnected, asks_a_root_for_a_way_from_first_to_last)
{
    const World joined(make_line(3));
    const World apart(make_graph(3, {{0, 1}}));
    const World single(make_nodes(1));
    EXPECT_TRUE(Maze_isconnected(joined.get()));
    EXPECT_FALSE(Maze_isconnected(apart.get()));
    EXPECT_TRUE(Maze_isconnected(single.get()));
}

TEST(Maze_isconnected, is_false_with_a_port_cut_off_whatever_hangs_together_inside)
{
    const World maze(make_star(3));
    hang(maze.get(), 0, make_graph(8, {{0, 1}, {2, 3}, {4, 5}, {5, 6}, {6, 7}}));
    EXPECT_SOUND(maze.get());
    EXPECT_FALSE(Maze_isconnected(Maze_node(maze.get(), 0)->sub));
}

TEST(Maze_isconnected, doesnt_mind_inner_nodes_that_are_cut_off)
{
    const World maze(make_star(3));
    hang(maze.get(), 0, make_graph(6, {{0, 4}, {4, 1}, {1, 2}}));
    EXPECT_TRUE(Maze_isconnected(Maze_node(maze.get(), 0)->sub));
}

TEST(Maze_isconnected, is_false_with_fewer_nodes_than_ports)
{
    const World maze(make_star(3));
    hang(maze.get(), 0, make_line(2));
    EXPECT_FALSE(Maze_isconnected(Maze_node(maze.get(), 0)->sub));
}

TEST(Maze_isconnected, asks_a_maze_with_one_port_for_a_way_from_first_to_last)
{
    const World maze(make_line(2));
    hang(maze.get(), 0, make_graph(4, {{0, 3}}));
    hang(maze.get(), 1, make_graph(4, {{0, 1}, {1, 2}}));
    EXPECT_TRUE(Maze_isconnected(Maze_node(maze.get(), 0)->sub));
    EXPECT_FALSE(Maze_isconnected(Maze_node(maze.get(), 1)->sub));
}

// The nodes found, as "sub:node" by the parent node of each maze.
static std::string nearexpandable(Maze* maze, f64 x, f64 range, u32 limit)
{
    GrowArray out;
    GrowArray_init(&out, sizeof(Pos));
    const f64 point[3] = {x, 0, 0};
    Maze_nearexpandable(maze, point, range, &out, limit);
    std::string text;
    for (u32 i = 0; i < out.count; i++) {
        const Pos pos = items<Pos>(&out)[i];
        text += (i > 0 ? " " : "") + std::to_string(pos.maze->parentnode) + ":" +
                std::to_string(pos.node);
    }
    GrowArray_free(&out);
    return text;
}

static World expandablenodes(i32 n)
{
    World maze(make_nodes(n));
    for (i32 i = 0; i < n; i++) {
        MazeNode_await(Maze_node(maze.get(), i));
    }
    return maze;
}

TEST(Maze_nearexpandable, doesnt_look_at_the_world_before_any_node_has_been_made_to_wait)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a process of its own, in which none has
    const auto searches = [] {
        GrowArray out;
        GrowArray_init(&out, sizeof(Pos));
        const f64 point[3] = {0, 0, 0};
        Maze_nearexpandable(nullptr, point, 1000.0, &out, 1); // there is nothing that it could read
        std::_Exit(out.count == 0 ? 0 : 1);
    };
    EXPECT_EXIT(searches(), testing::ExitedWithCode(0), "");
}

TEST(Maze_nearexpandable, lists_the_nearest_first)
{
    const World maze = expandablenodes(5);
    EXPECT_EQ("0:4 0:3 0:2 0:1 0:0", nearexpandable(maze.get(), 9.0, 1000.0, 99));
}

TEST(Maze_nearexpandable, keeps_nodes_at_one_distance_in_the_order_last_to_first)
{
    const World maze = expandablenodes(5);
    EXPECT_EQ("0:2 0:3 0:1 0:4 0:0", nearexpandable(maze.get(), 2.0, 1000.0, 99));
}

TEST(Maze_nearexpandable, takes_the_limit_of_the_range_and_nothing_beyond)
{
    const World maze = expandablenodes(5);
    EXPECT_EQ("0:3 0:4 0:2 0:1 0:0", nearexpandable(maze.get(), 3.0, 3.0, 99));
    EXPECT_EQ("0:3 0:4 0:2 0:1", nearexpandable(maze.get(), 3.0, 2.999, 99));
    EXPECT_EQ("0:4", nearexpandable(maze.get(), 7.0, 3.0, 99));
}

TEST(Maze_nearexpandable, stops_at_the_limit)
{
    const World maze = expandablenodes(5);
    EXPECT_EQ("0:4 0:3", nearexpandable(maze.get(), 9.0, 1000.0, 2));
    EXPECT_EQ("", nearexpandable(maze.get(), 9.0, 1000.0, 0));
}

TEST(Maze_nearexpandable, passes_over_nodes_that_dont_wait)
{
    const World maze(make_nodes(3));
    MazeNode_await(Maze_node(maze.get(), 1));
    EXPECT_EQ("0:1", nearexpandable(maze.get(), 0.0, 1000.0, 99));
}

// Node 0 at x = 0 holds a maze with a waiting node at x = 8, node 1 at x = 3 waits.
static World twobranches()
{
    World maze(make_nodes(2));
    Maze_node(maze.get(), 1)->pos[0] = 3.0;
    MazeNode_await(Maze_node(maze.get(), 1));
    Maze* const sub = hang(maze.get(), 0, make_nodes(1));
    Maze_node(sub, 0)->pos[0] = 8.0;
    MazeNode_await(Maze_node(sub, 0));
    sub->parentnode = 0;
    return maze;
}

TEST(Maze_nearexpandable, prefers_the_nearest_branch_to_the_nearest_leaf)
{
    const World maze = twobranches();
    Maze* const sub = Maze_node(maze.get(), 0)->sub;
    GrowArray out;
    GrowArray_init(&out, sizeof(Pos));
    const f64 point[3] = {0, 0, 0};
    Maze_nearexpandable(maze.get(), point, 1000.0, &out, 1);
    ASSERT_EQ(1U, out.count);
    EXPECT_EQ(sub, items<Pos>(&out)->maze);
    GrowArray_free(&out);
}

TEST(Maze_nearexpandable, doesnt_prefer_a_near_node_inside_a_farther_submaze)
{
    const World maze = twobranches(); // seen from x = 8 the leaf at 3 is nearer than the node at 0
    GrowArray out;
    GrowArray_init(&out, sizeof(Pos));
    const f64 point[3] = {8, 0, 0};
    Maze_nearexpandable(maze.get(), point, 1000.0, &out, 1);
    ASSERT_EQ(1U, out.count);
    EXPECT_EQ(maze.get(), items<Pos>(&out)->maze);
    GrowArray_free(&out);
}

TEST(Maze_nearexpandable, stops_in_recursion_too)
{
    const World maze(make_nodes(2));
    Maze* const sub = hang(maze.get(), 0, make_nodes(3));
    for (i32 i = 0; i < 3; i++) {
        MazeNode_await(Maze_node(sub, i));
    }
    MazeNode_await(Maze_node(maze.get(), 1));
    GrowArray out;
    GrowArray_init(&out, sizeof(Pos));
    const f64 point[3] = {0, 0, 0};
    Maze_nearexpandable(maze.get(), point, 1000.0, &out, 2);
    ASSERT_EQ(2U, out.count);
    EXPECT_TRUE(Pos_same({sub, 0}, items<Pos>(&out)[0]));
    EXPECT_TRUE(Pos_same({sub, 1}, items<Pos>(&out)[1]));
    GrowArray_free(&out);
}

TEST(Maze_nearexpandable, leaves_out_nodes_that_are_nowhere)
{
    const World maze = expandablenodes(3);
    Maze_node(maze.get(), 1)->pos[0] = std::numeric_limits<f64>::quiet_NaN();
    EXPECT_EQ("0:0 0:2", nearexpandable(maze.get(), 0.0, 1000.0, 99));
}
