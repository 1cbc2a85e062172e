// The nested grid whole: millions of nodes, so it is left out of the builds under the sanitizers. Smaller
// grids nested in the same way are in test_promises.cpp.
#include "tests/goldenworld.h"
#include "tests/sound.h"

#include <gtest/gtest.h>

static i32 treecount(const std::vector<Maze*>& mazes)
{
    i32 trees = 0;
    for (const Maze* const maze : mazes) {
        trees += Maze_edgecount(maze) == Maze_count(maze) - 1 ? 1 : 0;
    }
    return trees;
}

// The submazes of a maze in the order of their nodes.
static std::vector<const Maze*> submazes(const Maze* maze)
{
    std::vector<const Maze*> subs;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        if (Maze_node(maze, i)->sub != nullptr) {
            subs.push_back(Maze_node(maze, i)->sub);
        }
    }
    return subs;
}

static void expect_numbered(const Maze* root)
{
    EXPECT_EQ(root->name, nullptr);
    const std::vector<const Maze*> subs = submazes(root);
    ASSERT_GE(subs.size(), 2U);
    EXPECT_STREQ(subs[0]->name, "1");
    EXPECT_STREQ(subs[1]->name, "2");
    const std::vector<const Maze*> below = submazes(subs[1]);
    ASSERT_GE(below.size(), 1U);
    EXPECT_STREQ(below[0]->name, "2.01");
}

static void expect_grey(const Maze* maze)
{
    for (i32 i = 0; i < Maze_count(maze); i++) {
        EXPECT_EQ(Maze_node(maze, i)->rec.colour, COLOUR_DEFAULT);
        EXPECT_EQ(Maze_node(maze, i)->edgerec[0].colour, COLOUR_DEFAULT);
    }
}

TEST(nested_grid, is_the_golden_world_of_its_seed)
{
    const std::vector<GoldenWorld> worlds = golden_worlds(1);
    EXPECT_EQ(worlds.size(), 2U);
    i32 inside = 0;
    for (const GoldenWorld& golden : worlds) {
        const GameWorld world(golden.seed, -1, 1);
        Maze* const root = world.game.root;
        EXPECT_EQ(golden_told(root, 1, -1, golden.seed), golden.line);
        EXPECT_EQ(Maze_count(root), 400);
        EXPECT_EQ(Maze_edgecount(root), 399);
        EXPECT_EQ(world.game.showtrail, 0);
        EXPECT_EQ(world.game.showexits, 0);
        EXPECT_TRUE(Pos_same(world.game.pos, innermost({root, 0})));
        inside += world.game.pos.maze != root ? 1 : 0;
        const std::vector<Maze*> mazes = all_mazes(root);
        EXPECT_EQ(treecount(mazes), static_cast<i32>(mazes.size()));
        EXPECT_TRUE(can_walk(world.game.pos, innermost({root, 399})));
        expect_numbered(root);
        expect_grey(root);
        EXPECT_SOUND(root);
    }
    EXPECT_EQ(inside, 1); // in one of the two, node 0 of the root holds a maze
}
