// Small worlds made by hand, and games that stand in them.
#pragma once

#include "base/str.h"
#include "model/mazegame.h"
#include "tests/mazes.h"

#include <vector>

/// A game that frees its world at the end of its scope.
struct HeldGame {
    MazeGame game = {};
    HeldGame() = default;
    HeldGame(const HeldGame&) = delete;
    HeldGame& operator=(const HeldGame&) = delete;
    ~HeldGame()
    {
        if (game.roamers.buf != nullptr) {
            MazeGame_free(&game);
        }
    }
    MazeGame* operator->()
    {
        return &game;
    }
};

/// Puts a game on node `node` of `maze`, in the world of `root`, which is handed over.
inline void stand(HeldGame* held, Maze* root, Maze* maze, i32 node)
{
    MazeGame_setup(&held->game);
    held->game.root = root;
    held->game.pos = {maze, node};
    Maze_bounds(root, true);
    MazeGame_startcamera(&held->game);
}

/// Node 0 at the origin, joined to one node at each of `ends`, in their order.
inline Maze* make_spokes(const std::vector<std::vector<f64>>& ends)
{
    Maze* const maze = Maze_new();
    add_node(maze, 0.0, 0.0);
    for (const std::vector<f64>& end : ends) {
        Maze_join(maze, 0, add_node(maze, end[0], end[1], end[2]));
    }
    return maze;
}

/// A ring of `n` nodes of radius `r` about a place.
inline Maze* make_ring(i32 n, f64 x, f64 y, f64 r)
{
    constexpr f64 unit[8][2] = {{-1.0, 0.0}, {1.0, 0.0},  {0.7, 0.7},  {0.0, 1.0},
                                {0.0, -1.0}, {-0.7, 0.7}, {0.7, -0.7}, {-0.7, -0.7}};
    Maze* const maze = Maze_new();
    for (i32 i = 0; i < n; i++) {
        add_node(maze, x + r * unit[i % 8][0], y + r * unit[i % 8][1], 0.0, 0.1 * r);
    }
    for (i32 i = 0; i < n; i++) {
        Maze_join(maze, i, (i + 1) % n);
    }
    return maze;
}

/// Three levels: a line of four at x = 0, 10, 20, 30 whose nodes 1 and 2 hold rings, "east" of five
/// in node 2; the ring in node 1 has no name and holds a ring of three in its inner node 3.
inline Maze* make_nest()
{
    Maze* const root = Maze_new();
    for (i32 i = 0; i < 4; i++) {
        add_node(root, 10.0 * i, 0.0);
    }
    for (i32 i = 0; i < 3; i++) {
        Maze_join(root, i, i + 1);
    }
    Maze* const west = make_ring(4, 10.0, 0.0, 2.0);
    Maze* const east = make_ring(5, 20.0, 0.0, 2.0);
    Maze* const deep = make_ring(3, 10.0, 2.0, 0.3);
    hang(root, 1, west);
    hang(root, 2, east);
    hang(west, 3, deep);
    str_set(&root->name, "root of it");
    str_set(&east->name, "east");
    return root;
}
