// Digests of a tree of mazes, in the form that tests/golden/worlds.txt tells.
#pragma once

#include "model/maze.h"

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

struct Digest {
    std::uint64_t hash = 14695981039346656037U;

    void byte(std::uint64_t value)
    {
        hash = (hash ^ (value & 0xFF)) * 1099511628211U;
    }

    void bytes(std::uint64_t value, int n)
    {
        for (int i = 0; i < n; i++) {
            byte(value >> (8 * i));
        }
    }

    void real(f64 value)
    {
        int e = 0;
        std::int64_t q = 0;
        if (std::fabs(value) >= 1e-9) {
            q = std::llround(std::frexp(value, &e) * 1e6);
        }
        if (q == 1000000 || q == -1000000) {
            q /= 2;
            e++;
        }
        bytes(static_cast<std::uint64_t>(q), 8);
        bytes(static_cast<std::uint64_t>(static_cast<std::int64_t>(e)), 8);
    }
};

inline void digest_graph(Digest* digest, const Maze* maze)
{
    digest->bytes(static_cast<std::uint64_t>(Maze_count(maze)), 4);
    for (const char c : std::string(maze->name != nullptr ? maze->name : "")) {
        digest->byte(static_cast<unsigned char>(c));
    }
    digest->byte(0);
    for (i32 i = 0; i < Maze_count(maze); i++) {
        const MazeNode* const node = Maze_node(maze, i);
        digest->bytes(node->nedges, 4);
        for (u32 slot = 0; slot < node->nedges; slot++) {
            digest->bytes(static_cast<std::uint64_t>(node->edges[slot]), 4);
            digest->bytes(node->edgerec[slot].colour, 4);
        }
        digest->bytes(node->rec.colour, 4);
        digest->byte(node->sub != nullptr ? 1 : 0);
        if (node->sub != nullptr) {
            digest_graph(digest, node->sub);
        }
    }
}

inline void digest_place(Digest* digest, const Maze* maze)
{
    for (i32 i = 0; i < Maze_count(maze); i++) {
        const MazeNode* const node = Maze_node(maze, i);
        digest->real(node->pos[0]);
        digest->real(node->pos[1]);
        digest->real(node->pos[2]);
        digest->real(node->radius);
        if (node->sub != nullptr) {
            digest_place(digest, node->sub);
        }
    }
}

struct LevelCounts {
    i32 mazes = 0;
    i32 nodes = 0;
    i32 edges = 0;
};

inline void count_levels(std::vector<LevelCounts>* levels, const Maze* maze, size_t depth = 0)
{
    if (levels->size() <= depth) {
        levels->resize(depth + 1);
    }
    LevelCounts* const level = &(*levels)[depth];
    level->mazes++;
    level->nodes += Maze_count(maze);
    level->edges += Maze_edgecount(maze);
    for (i32 i = 0; i < Maze_count(maze); i++) {
        const Maze* const sub = Maze_node(maze, i)->sub;
        if (sub != nullptr) {
            count_levels(levels, sub, depth + 1);
        }
    }
}
