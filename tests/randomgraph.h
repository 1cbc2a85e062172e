// Random graphs, by turns dense, sparse, forests, grids and meshes of a torus; some with doubled edges
// or nodes joined to themselves, some hanging in a node of a star, some with submazes in their inner
// nodes. They have a stream of their own.
#pragma once

#include "generate/grids.h"
#include "tests/mazes.h"

#include <algorithm>
#include <random>

struct RandomGraph {
    Maze* root;   // owned by the caller: the graph, or the star in whose node 0 it hangs
    Maze* maze;   // the graph
    bool doubled; // two nodes are joined twice, or one to itself, so it isn't sound
};

struct RandomGraphs {
    std::mt19937 dice;
    i32 round = 0;

    explicit RandomGraphs(u32 seed) : dice(seed)
    {
    }

    i32 roll(i32 n)
    {
        return std::uniform_int_distribution<i32>(0, n - 1)(dice);
    }

    Maze* forest(i32 n)
    {
        Maze* const maze = make_nodes(n);
        for (i32 i = 1; i < n; i++) {
            if (roll(6) != 0) {
                Maze_join(maze, i, roll(i));
            }
        }
        return maze;
    }

    // `doubled` allows edges to be doubled, and tells whether one was.
    Maze* scatter(i32 n, i32 tries, bool* doubled)
    {
        Maze* const maze = make_nodes(n);
        bool any = false;
        for (i32 k = 0; k < tries; k++) {
            const i32 a = roll(n);
            const i32 b = roll(n);
            const u32 before = Maze_node(maze, a)->nedges;
            const auto ends = neighbours(maze, a);
            const bool repeated = std::count(ends.begin(), ends.end(), b) > 0;
            if (a != b && (*doubled || !repeated)) {
                Maze_join(maze, a, b);
                any = any || (repeated && Maze_node(maze, a)->nedges > before);
            }
        }
        *doubled = any;
        return maze;
    }

    // A mesh of n by m nodes: a size of 2 doubles its edges, one of 1 joins nodes to themselves.
    Maze* torus(i32 n, i32 m)
    {
        Maze* const maze = make_nodes(n * m);
        for (i32 i = 0; i < n * m; i++) {
            Maze_join(maze, i, (i + m) % (n * m));
            Maze_join(maze, i, i / m * m + (i + 1) % m);
        }
        Maze_swapnodes(maze, roll(n * m), n * m - 1);
        return maze;
    }

    RandomGraph mesh()
    {
        const i32 n = 1 + roll(6);
        const i32 m = 1 + roll(6);
        return {nullptr, torus(n, m), n <= 2 || m <= 2};
    }

    // Gives each node its number as radius and each slot a colour of its own.
    static void mark(Maze* maze)
    {
        for (i32 i = 0; i < Maze_count(maze); i++) {
            MazeNode* const node = Maze_node(maze, i);
            node->radius = i + 1;
            for (u32 slot = 0; slot < node->nedges; slot++) {
                node->edgerec[slot].colour = static_cast<u32>(100 * i) + slot;
            }
        }
    }

    RandomGraph next()
    {
        RandomGraph out = {nullptr, nullptr, false};
        const i32 n = roll(12) == 0 ? 1 : 1 + roll(30);
        switch (round++ % 5) {
        case 0:
            out.doubled = roll(2) == 0;
            out.maze = scatter(n, 5 * n, &out.doubled);
            break;
        case 1:
            out.doubled = roll(2) == 0;
            out.maze = scatter(n, n, &out.doubled);
            break;
        case 2: out.maze = forest(n); break;
        case 3: out = mesh(); break;
        default: out.maze = grid_maze(1 + roll(5), 1 + roll(5), 1 + roll(3)); break;
        }
        mark(out.maze);
        const i32 ports = roll(10); // 9: the graph is a root
        for (i32 i = Maze_count(out.maze) - 1; i >= ports; i--) {
            if (roll(4) == 0) {
                const i32 edges = static_cast<i32>(Maze_node(out.maze, i)->nedges);
                mark(hang(out.maze, i, grid_maze(edges + roll(3), 1, 1)));
            }
        }
        out.root = out.maze;
        if (ports < 9) {
            out.root = make_star(ports);
            hang(out.root, 0, out.maze);
        }
        return out;
    }
};
