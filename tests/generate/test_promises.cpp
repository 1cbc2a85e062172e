// What the rest of the system relies on when a world has been made.
#include "generate/carve.h"
#include "generate/chains.h"
#include "generate/grids.h"
#include "generate/names.h"
#include "generate/stencils.h"
#include "generate/warps.h"
#include "model/connect.h"
#include "tests/mazes.h"
#include "tests/sound.h"
#include "tests/world.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <map>

static bool finite(const f64 v[3])
{
    return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
}

static void expect_nodes(const Maze* maze)
{
    EXPECT_GE(Maze_count(maze), 1);
    EXPECT_GE(Maze_count(maze), Maze_ports(maze));
    for (i32 i = 0; i < Maze_count(maze); i++) {
        const MazeNode* const node = Maze_node(maze, i);
        EXPECT_LE(node->nedges, static_cast<u32>(MAZE_MAXEDGES));
        EXPECT_TRUE(i >= Maze_ports(maze) || node->sub == nullptr);
        EXPECT_TRUE(finite(node->pos));
        EXPECT_TRUE(std::isfinite(node->radius) && node->radius > 0.0);
        EXPECT_EQ(node->rec.walked, -1.0);
        EXPECT_EQ(node->rec.trailed, -1.0);
        EXPECT_EQ(node->expandable, 0U);
    }
}

static void expect_bounds(const Maze* maze)
{
    Maze* const copy = Maze_clone(maze, false);
    Maze_bounds(copy, false);
    EXPECT_EQ(copy->boundradius, maze->boundradius);
    for (i32 k = 0; k < 3; k++) {
        EXPECT_EQ(copy->centre[k], maze->centre[k]);
    }
    Maze_free(copy, true);
}

static void expect_portsjoined(const Maze* maze)
{
    u8* const reached = Maze_reachable(maze, 0);
    for (i32 i = 0; i < Maze_ports(maze); i++) {
        EXPECT_EQ(reached[i], 1);
    }
    std::free(reached);
}

// All that holds of every world.
static void expect_promises(Maze* root, Pos start)
{
    EXPECT_SOUND(root);
    for (const Maze* const maze : all_mazes(root)) {
        expect_nodes(maze);
        expect_bounds(maze);
        expect_portsjoined(maze);
    }
    EXPECT_EQ(root->parent, nullptr);
    EXPECT_TRUE(Pos_same(start, innermost({root, 0})));
    EXPECT_TRUE(can_walk(start, innermost({root, Maze_count(root) - 1})));
}

static void expect_tree(const Maze* maze)
{
    EXPECT_EQ(Maze_edgecount(maze), Maze_count(maze) - 1);
    u8* const reached = Maze_reachable(maze, 0);
    for (i32 i = 0; i < Maze_count(maze); i++) {
        EXPECT_EQ(reached[i], 1);
    }
    std::free(reached);
}

TEST(promises, hold_in_a_hundred_random_worlds)
{
    for (u32 seed = 1; seed <= 100; seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const GameWorld world(seed);
        expect_promises(world.game.root, world.game.pos);
        EXPECT_EQ(Maze_count(world.game.root), 3);
        EXPECT_EQ(world.game.showtrail, 1);
    }
}

TEST(promises, hold_in_galleries_where_all_are_trees)
{
    for (u32 seed = 1; seed <= 5; seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const GameWorld world(seed, -1, 2);
        expect_promises(world.game.root, world.game.pos);
        for (const Maze* const maze : all_mazes(world.game.root)) {
            expect_tree(maze);
        }
    }
}

// The nested grid with a smaller side and fewer passes.
static Maze* smallnest(u32 seed)
{
    rnd_seed(seed);
    Maze* const root = grid_maze(6, 6, 1);
    for (i32 i = 0; i < 3; i++) {
        recursify(root, 0.1, 6.0, grid_square);
    }
    Maze_foreach(root, makemaze_corridors);
    Maze_numbersubs(root);
    Maze_spread(root);
    Maze_bounds(root, true);
    return root;
}

TEST(promises, hold_in_small_nested_grids_where_all_are_trees)
{
    i32 deepest = 0;
    for (u32 seed = 1; seed <= 100; seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const World root(smallnest(seed));
        expect_promises(root.get(), innermost({root.get(), 0}));
        for (const Maze* const maze : all_mazes(root.get())) {
            expect_tree(maze);
            i32 depth = 0;
            for (const Maze* above = maze->parent; above != nullptr; above = above->parent) {
                depth++;
            }
            deepest = depth > deepest ? depth : deepest;
        }
    }
    EXPECT_EQ(deepest, 3);
}

static std::map<const Maze*, i32> methods; // of carving, by maze; written by recordedcarving

// Notes the method that makemaze draws for a maze, and lets it carve.
static void recordedcarving(Maze* maze)
{
    const u32 state = rnd_state();
    methods[maze] = irand(3);
    rnd_seed(state);
    makemaze(maze);
}

// A random world of the kind that nests deepest, up to its carving.
static Maze* carvednest(u32 seed)
{
    rnd_seed(seed);
    const f64 density = rnd(0.5);
    irand(MAKEMAZE_KINDS);
    Maze* const root = Maze_wrapends(recursify_stencil(5.0, Pos_null));
    for (i32 i = 0; i < 3; i++) {
        recursify(root, density, 5.0, recursify_stencil);
    }
    methods.clear();
    Maze_foreach(root, recordedcarving);
    return root;
}

TEST(promises, of_the_two_spanning_methods_are_trees)
{
    i32 trees = 0;
    i32 others = 0;
    for (u32 seed = 1; seed <= 30; seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const World root(carvednest(seed));
        for (const Maze* const maze : all_mazes(root.get())) {
            if (methods.at(maze) == 0) {
                others++;
                continue;
            }
            trees++;
            expect_tree(maze);
        }
        const GameWorld world(seed, 12);
        EXPECT_EQ(all_mazes(world.game.root).size(), all_mazes(root.get()).size());
    }
    EXPECT_GT(trees, 200);
    EXPECT_GT(others, 100);
}
