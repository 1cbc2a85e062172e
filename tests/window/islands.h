// A flat world in which nothing moves, so that two pictures of the window can be compared.
#pragma once

#include "model/mazegame.h"
#include "model/savefile.h"
#include "tests/mazes.h"
#include "tests/window/desktop.h"

#include <gtest/gtest.h>
#include <string>

inline constexpr double same =
    0.001; // share of pixels by which two pictures of the same may differ

// Whether two colours differ clearly. The sun moves on between two pictures, and the light a little.
inline bool differ(std::uint32_t a, std::uint32_t b)
{
    for (i32 shift = 16; shift >= 0; shift -= 8) {
        const i32 more = static_cast<i32>(a >> shift & 0xFF) - static_cast<i32>(b >> shift & 0xFF);
        if (more > 24 || more < -24) {
            return true;
        }
    }
    return false;
}

// The share of pixels in which two pictures differ clearly.
inline double clear_difference(const Pixels& a, const Pixels& b)
{
    size_t n = a.size() == b.size() ? 0 : a.size();
    for (size_t i = 0; i < a.size() && i < b.size(); i++) {
        n += differ(a[i], b[i]) ? 1 : 0;
    }
    return static_cast<double>(n) / static_cast<double>(a.size());
}

// A grid of `n` by `n` nodes from a corner on, the first of them joined to no other grid.
inline i32 add_grid(Maze* maze, i32 n, f64 left, f64 bottom)
{
    const i32 first = Maze_count(maze);
    for (i32 i = 0; i < n * n; i++) {
        const i32 row = i / n;
        add_node(maze, left + 2 * (i % n), bottom + 2 * row, 0, 0.5);
        if (i % n > 0) {
            Maze_join(maze, first + i - 1, first + i);
        }
        if (i >= n) {
            Maze_join(maze, first + i - n, first + i);
        }
    }
    return first;
}

// Leaves a world as a save, with the player at a node.
inline void leave_flat(const std::string& path, Maze* maze, i32 node)
{
    Maze_bounds(maze, false);
    MazeGame game = {};
    MazeGame_setup(&game);
    game.root = maze;
    game.pos = {.maze = maze, .node = node};
    MazeGame_startcamera(&game);
    std::string why(SAVE_WHY, 0);
    EXPECT_TRUE(MazeGame_save(&game, path.c_str(), why.data())) << why;
    MazeGame_free(&game);
}

// Two grids that aren't joined, the player on the right side of the left one and so in the middle of the
// picture.
inline void leave_islands(const std::string& path)
{
    Maze* const maze = Maze_new();
    const i32 left = add_grid(maze, 5, -8, -4);
    add_grid(maze, 5, 4, -4);
    leave_flat(path, maze, left + 14);
}

// A grid with one node more beside its middle, which has one edge: nodes of 1 to 5 edges.
inline void leave_grid_with_a_leaf(const std::string& path)
{
    Maze* const maze = Maze_new();
    add_grid(maze, 7, -6, -6);
    const i32 leaf = add_node(maze, 1, 1, 0, 0.5);
    Maze_join(maze, 24, leaf);
    leave_flat(path, maze, 24);
}
