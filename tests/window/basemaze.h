// Random worlds with the player inside the base maze, where the maze commands act.
#pragma once

#include "base/rnd.h"
#include "generate/makemaze.h"
#include "model/commands.h"
#include "model/mazegame.h"
#include "model/savefile.h"
#include "tests/quiet.h"

#include <gtest/gtest.h>
#include <string>

// The base maze of a random world.
inline Maze* level_of(const MazeGame& game)
{
    return Maze_node(game.root, 1)->sub;
}

inline i32 inner_node(const Maze* maze)
{
    i32 i = Maze_count(maze) - 1;
    while (Maze_node(maze, i)->sub != nullptr || Maze_node(maze, i)->nedges == 0) {
        i--;
    }
    return i;
}

// Leaves a world as a save that the program loads.
inline void leave_base_maze(const std::string& path, i32 kind)
{
    const Quiet quiet;
    MazeGame game;
    rnd_seed(7);
    makemaze_forced_kind = kind;
    MazeGame_new(&game, 0);
    makemaze_forced_kind = -1;
    game.pos = {level_of(game), inner_node(level_of(game))};
    std::string why(SAVE_WHY, 0);
    const bool done = MazeGame_save(&game, path.c_str(), why.data());
    MazeGame_free(&game);
    ASSERT_TRUE(done) << why;
}

// What K does with Shift and Ctrl held or not, without a window.
inline void contract_base(MazeGame* game, bool shift, bool ctrl)
{
    const ReshapeKeys keys = {
        .simplify = false, .relax = false, .contract = true, .shift = shift, .ctrl = ctrl};
    MazeGame_reshape(game, &keys, 0.01);
}
