#include "generate/faces.h"
#include "generate/grids.h"
#include "generate/rings.h"
#include "generate/tilings.h"
#include "model/connect.h"
#include "tests/randomgraph.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <vector>

// The edges that can go without parting anything: as many as there are independent cycles.
static i32 cycles(const Maze* maze)
{
    i32 parts = 0;
    std::vector<bool> seen(static_cast<size_t>(Maze_count(maze)));
    for (i32 i = 0; i < Maze_count(maze); i++) {
        u8* const reached = Maze_reachable(maze, i);
        parts += seen[static_cast<size_t>(i)] ? 0 : 1;
        for (i32 k = 0; k < Maze_count(maze); k++) {
            seen[static_cast<size_t>(k)] = seen[static_cast<size_t>(k)] || reached[k] != 0;
        }
        std::free(reached);
    }
    return Maze_edgecount(maze) - Maze_count(maze) + parts;
}

// Deletes the edges of a maze in random order, by its faces and by searches. Whether it has faces.
static bool expect_bridges(Maze* maze, u32 seed)
{
    Scratch scratch = {};
    FlatGraph graph;
    Faces faces;
    FlatGraph_init(&graph, maze, &scratch);
    const bool found = Faces_init(&faces, &graph, &scratch);
    if (found) {
        EXPECT_EQ(faces.left, cycles(maze));
        i32 n = 0;
        i32* const list = Maze_edgelist(maze, &n);
        std::vector<EdgePair> pairs;
        for (i32 i = 0; i < n; i++) {
            pairs.push_back({list[2 * i], list[2 * i + 1]});
        }
        std::free(list);
        std::shuffle(pairs.begin(), pairs.end(), std::mt19937(seed));
        for (const EdgePair pair : pairs) {
            Maze_unjoin(maze, pair.a, pair.b, false);
            const bool needed = Maze_distance(maze, pair.a, pair.b) == 0;
            EXPECT_EQ(Faces_delete(&faces, pair.a, pair.b), !needed);
            if (needed) {
                Maze_join(maze, pair.a, pair.b);
            }
        }
        EXPECT_EQ(faces.left, 0);
    }
    Scratch_free(&scratch);
    return found;
}

static bool expect_bridges_each_time(const World& world)
{
    bool found = true;
    for (u32 seed = 1; seed <= 20; seed++) {
        Maze* const maze = Maze_clone(world.get(), false);
        found = expect_bridges(maze, seed) && found;
        Maze_free(maze, true);
    }
    return found;
}

TEST(Faces_delete, spares_the_bridges_of_a_grid)
{
    EXPECT_TRUE(expect_bridges_each_time(World(grid_maze(7, 6, 1))));
}

TEST(Faces_delete, spares_the_bridges_of_a_torus_whose_two_ways_round_are_no_faces)
{
    EXPECT_TRUE(expect_bridges_each_time(World(torus_maze(1.2, 1.0))));
}

TEST(Faces_delete, spares_the_bridges_of_a_moebius_strip)
{
    EXPECT_TRUE(expect_bridges_each_time(World(moebius_maze(1.5, 1.0))));
}

TEST(Faces_delete, spares_the_bridges_of_a_ring_without_any_face)
{
    EXPECT_TRUE(expect_bridges_each_time(World(make_ring(9))));
}

TEST(Faces_delete, spares_the_bridges_of_a_cube)
{
    EXPECT_TRUE(expect_bridges_each_time(World(grid_maze(2, 2, 2))));
}

TEST(Faces_delete, spares_all_of_a_line)
{
    EXPECT_TRUE(expect_bridges_each_time(World(make_line(6))));
}

TEST(Faces_delete, spares_the_bridges_of_each_part)
{
    const World grid(grid_maze(4, 5, 1));
    const World ring(make_ring(5));
    EXPECT_TRUE(expect_bridges_each_time(World(Maze_merged(grid.get(), ring.get()))));
}

TEST(Faces_delete, spares_the_bridges_of_random_graphs_with_few_missing_cycles)
{
    i32 found = 0;
    RandomGraphs graphs(11);
    for (u32 round = 0; round < 400; round++) {
        const RandomGraph graph = graphs.next();
        if (!graph.doubled) {
            Maze* const maze = Maze_clone(graph.maze, false);
            found += expect_bridges(maze, round) ? 1 : 0;
            Maze_free(maze, true);
        }
        Maze_free(graph.root, true);
    }
    EXPECT_GT(found, 150);
}

TEST(Faces_init, refuses_graphs_of_which_many_cycles_are_missing)
{
    EXPECT_FALSE(expect_bridges_each_time(World(grid_maze(5, 5, 5))));
    EXPECT_FALSE(expect_bridges_each_time(World(trigrid_triangle(9))));
}
