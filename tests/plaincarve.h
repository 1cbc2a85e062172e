// Carving written down as plainly as can be: whole clones, and a search of the maze for each edge.
// What the program does faster must come out the same, in edges, slots, submazes and draws.
#pragma once

#include "base/rnd.h"
#include "generate/carve.h"
#include "model/connect.h"

#include <cstdlib>
#include <utility>

inline void plain_keepedges(Maze* maze, const Maze* pattern)
{
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        for (i32 slot = MAZE_MAXEDGES - 1; slot >= 0; slot--) {
            const MazeNode* const node = Maze_node(maze, i);
            if (slot >= static_cast<i32>(node->nedges)) {
                continue;
            }
            const i32 target = node->edges[slot];
            bool found = false;
            const MazeNode* const model = Maze_node(pattern, i);
            for (u32 k = 0; k < model->nedges; k++) {
                found = found || model->edges[k] == target;
            }
            if (!found) {
                Maze_unjoin(maze, i, target, true);
            }
        }
    }
}

inline void plain_swap(i32* pairs, i32 i, i32 j)
{
    std::swap(pairs[2 * i], pairs[2 * j]);
    std::swap(pairs[2 * i + 1], pairs[2 * j + 1]);
}

inline void plain_tryedge(Maze* clone, i32 a, i32 b)
{
    Maze_unjoin(clone, a, b, true);
    if (Maze_distance(clone, a, b) == 0) {
        Maze_join(clone, a, b);
    }
}

inline void plain_tree(Maze* maze, bool corridors)
{
    Maze* const clone = Maze_clone(maze, false);
    i32 n = 0;
    i32* const e = Maze_edgelist(clone, &n);
    for (i32 i = n - 1; i >= 0; i--) {
        plain_swap(e, i, irand(i + 1));
    }
    for (i32 r = n; r >= 1; r--) {
        const auto degree = [&](i32 end) { return Maze_node(clone, e[2 * (r - 1) + end])->nedges; };
        for (i32 k = 0; corridors && k < 20 && (degree(0) <= 2 || degree(1) <= 2); k++) {
            plain_swap(e, r - 1, irand(r));
        }
        for (i32 k = 0; corridors && k < 20 && degree(0) + degree(1) <= 4; k++) {
            plain_swap(e, r - 1, irand(r));
        }
        plain_tryedge(clone, e[2 * (r - 1)], e[2 * (r - 1) + 1]);
    }
    std::free(e);
    plain_keepedges(maze, clone);
    Maze_free(clone, true);
}

inline void plain_spanning(Maze* maze)
{
    plain_tree(maze, false);
}

inline void plain_corridors(Maze* maze)
{
    plain_tree(maze, true);
}

inline Maze* plain_attempts(const Maze* maze, f64 p)
{
    for (i32 i = 0; i < 100; i++) {
        Maze* const c = Maze_clone(maze, false);
        Maze_thinedges(c, p);
        if (Maze_isconnected(c)) {
            return c;
        }
        Maze_free(c, true);
    }
    return nullptr;
}

inline void plain_threshold(Maze* maze)
{
    Maze* best = Maze_clone(maze, false);
    Maze_thinedges(best, 1.0);
    f64 lo = 0.0;
    f64 hi = 1.0;
    for (;;) {
        const f64 p = (lo + hi) * 0.5;
        Maze* const c = plain_attempts(maze, p);
        if (c != nullptr) {
            Maze_free(best, true);
            best = c;
            if (!(p > lo + 0.001)) {
                break;
            }
            hi = p;
        } else {
            lo = p;
            if (!(hi > p + 0.001)) {
                break;
            }
        }
    }
    plain_keepedges(maze, best);
    Maze_free(best, true);
    if (Maze_count(maze) > 1) { // one node alone stays
        Maze_dropisolated(maze);
    }
}
