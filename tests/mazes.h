// Builders of small mazes for tests.
#pragma once

#include "model/attachment.h"
#include "model/pos.h"

#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

struct MazeDeleter {
    void operator()(Maze* maze) const
    {
        Maze_free(maze, true);
    }
};

/// A maze that is freed, with all levels, at the end of its scope.
using World = std::unique_ptr<Maze, MazeDeleter>;

inline i32 add_node(Maze* maze, f64 x, f64 y, f64 z = 0.0, f64 radius = 0.5)
{
    const MazeNode node = MazeNode_fresh(x, y, z, radius);
    return Maze_addnode(maze, &node);
}

/// n nodes at (0, 0, 0), (1, 0, 0) and so on, without edges.
inline Maze* make_nodes(i32 n)
{
    Maze* const maze = Maze_new();
    for (i32 i = 0; i < n; i++) {
        add_node(maze, i, 0, 0);
    }
    return maze;
}

/// The same with the edges given, joined in that order.
inline Maze* make_graph(i32 n, std::initializer_list<std::pair<i32, i32>> edges)
{
    Maze* const maze = make_nodes(n);
    for (const auto& [a, b] : edges) {
        Maze_join(maze, a, b);
    }
    return maze;
}

/// n nodes in a line, each joined to the next.
inline Maze* make_line(i32 n)
{
    Maze* const maze = make_nodes(n);
    for (i32 i = 1; i < n; i++) {
        Maze_join(maze, i - 1, i);
    }
    return maze;
}

/// A line whose ends are joined, n of 3 or more.
inline Maze* make_ring(i32 n)
{
    Maze* const maze = make_line(n);
    Maze_join(maze, n - 1, 0);
    return maze;
}

/// Node 0 joined to the nodes 1 to k, in that order.
inline Maze* make_star(i32 k)
{
    Maze* const maze = make_nodes(k + 1);
    for (i32 i = 1; i <= k; i++) {
        Maze_join(maze, 0, i);
    }
    return maze;
}

/// Hangs a maze on a node; its first nodes are its ports as they are. Returns it.
inline Maze* hang(Maze* maze, i32 n, Maze* sub)
{
    Maze_node(maze, n)->sub = sub;
    sub->parent = maze;
    sub->parentnode = n;
    Maze_freeflags(maze, ATT_GEOMETRY, false);
    return sub;
}

/// The neighbours of a node, in slot order.
inline std::vector<i32> neighbours(const Maze* maze, i32 n)
{
    const MazeNode* const node = Maze_node(maze, n);
    return {node->edges, node->edges + node->nedges};
}

/// The exits of a position, in their order.
inline std::vector<Pos> exits(Pos pos)
{
    Pos out[POS_MAXEDGES];
    const i32 n = Pos_alledges(pos, out, nullptr);
    return {out, out + n};
}
