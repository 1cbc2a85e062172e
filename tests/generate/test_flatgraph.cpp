#include "base/rnd.h"
#include "generate/carve.h"
#include "generate/flatgraph.h"
#include "model/connect.h"
#include "tests/randomgraph.h"

#include <gtest/gtest.h>
#include <vector>

static std::vector<i32> slots(const FlatGraph* graph, i32 n)
{
    const FlatNode* const node = graph->nodes + n;
    return {node->edges, node->edges + node->nedges};
}

static void expect_same(const FlatGraph* graph, const Maze* maze)
{
    ASSERT_EQ(graph->count, Maze_count(maze));
    for (i32 i = 0; i < graph->count; i++) {
        EXPECT_EQ(slots(graph, i), neighbours(maze, i));
    }
}

// Runs `check` with 100 random graphs without submazes and their flat forms.
template <typename Check> static void with_graphs(u32 seed, Check check)
{
    RandomGraphs graphs(seed);
    for (i32 round = 0; round < 100; round++) {
        const RandomGraph graph = graphs.next();
        Maze* const maze = Maze_clone(graph.maze, false);
        FlatGraph flat;
        FlatGraph_init(&flat, maze);
        expect_same(&flat, maze);
        check(&flat, maze, &graphs);
        FlatGraph_free(&flat);
        Maze_free(maze, true);
        Maze_free(graph.root, true);
    }
}

TEST(FlatGraph_join, leaves_the_slots_that_Maze_join_leaves)
{
    with_graphs(1, [](FlatGraph* flat, Maze* maze, RandomGraphs* graphs) {
        for (i32 k = 0; k < 40; k++) {
            const i32 a = graphs->roll(flat->count);
            const i32 b = graphs->roll(flat->count);
            FlatGraph_join(flat, a, b);
            Maze_join(maze, a, b);
        }
        expect_same(flat, maze);
    });
}

TEST(FlatGraph_unjoin, leaves_the_slots_that_Maze_unjoin_leaves)
{
    with_graphs(2, [](FlatGraph* flat, Maze* maze, RandomGraphs* graphs) {
        for (i32 k = 0; k < 100; k++) {
            const i32 a = graphs->roll(flat->count);
            const i32 b = graphs->roll(flat->count);
            const bool joined = FlatGraph_joined(flat, a, b);
            EXPECT_EQ(FlatGraph_unjoin(flat, a, b), joined);
            EXPECT_FALSE(FlatGraph_joined(flat, a, b));
            Maze_unjoin(maze, a, b, false);
        }
        expect_same(flat, maze);
    });
}

TEST(FlatGraph_thin, leaves_the_slots_and_the_stream_that_Maze_thinedges_leaves)
{
    with_graphs(3, [](FlatGraph* flat, Maze* maze, RandomGraphs* graphs) {
        const f64 keep = 0.1 * graphs->roll(11);
        rnd_seed(99);
        FlatGraph_thin(flat, keep);
        const u32 state = rnd_state();
        rnd_seed(99);
        Maze_thinedges(maze, keep);
        EXPECT_EQ(rnd_state(), state);
        expect_same(flat, maze);
    });
}

TEST(FlatGraph_connected, agrees_with_Maze_distance)
{
    i32 yes = 0;
    i32 no = 0;
    with_graphs(4, [&](FlatGraph* flat, Maze* maze, RandomGraphs* graphs) {
        for (i32 k = 0; k < 30; k++) {
            const i32 a = graphs->roll(flat->count);
            const i32 b = graphs->roll(flat->count);
            const bool connected = FlatGraph_connected(flat, a, b);
            EXPECT_EQ(connected, Maze_distance(maze, a, b) != 0);
            (connected ? yes : no)++;
        }
    });
    EXPECT_GT(yes, 300);
    EXPECT_GT(no, 300);
}

TEST(FlatGraph_usable, agrees_with_Maze_isconnected)
{
    i32 yes = 0;
    i32 no = 0;
    with_graphs(5, [&](FlatGraph* flat, Maze* maze, RandomGraphs*) {
        const bool usable = FlatGraph_usable(flat, Maze_ports(maze));
        EXPECT_EQ(usable, Maze_isconnected(maze));
        (usable ? yes : no)++;
    });
    EXPECT_GT(yes, 20);
    EXPECT_GT(no, 20);
}

TEST(FlatGraph_copy, makes_an_equal_graph_of_its_own)
{
    Maze* const maze = grid_maze(4, 3, 1);
    FlatGraph first;
    FlatGraph second;
    FlatGraph_init(&first, maze);
    FlatGraph_init(&second, maze);
    FlatGraph_unjoin(&second, 0, 1);
    FlatGraph_copy(&second, &first);
    FlatGraph_unjoin(&first, 0, 1);
    expect_same(&second, maze);
    EXPECT_FALSE(FlatGraph_joined(&first, 0, 1));
    FlatGraph_free(&second);
    FlatGraph_free(&first);
    Maze_free(maze, true);
}
