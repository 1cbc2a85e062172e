// What tests/golden/worlds.txt tells of a tree of mazes: its digest, and counts by level.
#pragma once

#include "model/digest.h"

#include <cstddef>
#include <vector>

struct LevelCounts {
    i32 mazes = 0;
    i32 nodes = 0;
    i32 edges = 0;
};

inline void count_levels(std::vector<LevelCounts>* levels, const Maze* maze, std::size_t depth = 0)
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
