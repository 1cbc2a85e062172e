// GameWorld: a world made from a seed, freed when it goes out of scope; and ways to look at a whole
// tree of mazes.
#pragma once

#include "base/rnd.h"
#include "generate/makemaze.h"
#include "model/pos.h"

#include <unordered_map>
#include <vector>

struct GameWorld {
    MazeGame game = {};

    explicit GameWorld(u32 seed, i32 kind = -1, i32 mode = 0)
    {
        rnd_seed(seed);
        makemaze_forced_kind = kind;
        MazeGame_generate(&game, mode);
        makemaze_forced_kind = -1;
    }

    GameWorld(const GameWorld&) = delete;
    GameWorld& operator=(const GameWorld&) = delete;

    ~GameWorld()
    {
        Maze_free(game.root, true);
    }
};

inline void collect_mazes(std::vector<Maze*>* out, Maze* maze)
{
    out->push_back(maze);
    for (i32 i = 0; i < Maze_count(maze); i++) {
        if (Maze_node(maze, i)->sub != nullptr) {
            collect_mazes(out, Maze_node(maze, i)->sub);
        }
    }
}

/// All mazes of a tree, the root first.
inline std::vector<Maze*> all_mazes(Maze* root)
{
    std::vector<Maze*> all;
    collect_mazes(&all, root);
    return all;
}

/// The position that stands for a node: its own, or that of node 0 of the innermost maze in it.
inline Pos innermost(Pos pos)
{
    while (Pos_node(pos)->sub != nullptr) {
        pos = {Pos_node(pos)->sub, 0};
    }
    return pos;
}

/// Whether one can walk from one position to another, through all levels.
inline bool can_walk(Pos from, Pos to)
{
    std::unordered_map<const Maze*, std::vector<bool>> seen;
    const auto meet = [&seen](Pos pos) {
        std::vector<bool>& marks = seen[pos.maze];
        marks.resize(static_cast<size_t>(Maze_count(pos.maze)));
        const bool met = marks[static_cast<size_t>(pos.node)];
        marks[static_cast<size_t>(pos.node)] = true;
        return !met;
    };
    meet(from);
    std::vector<Pos> stack = {from};
    while (!stack.empty()) {
        const Pos pos = stack.back();
        stack.pop_back();
        if (Pos_same(pos, to)) {
            return true;
        }
        Pos out[POS_MAXEDGES];
        for (i32 i = Pos_alledges(pos, out, nullptr) - 1; i >= 0; i--) {
            if (meet(out[i])) {
                stack.push_back(out[i]);
            }
        }
    }
    return false;
}
