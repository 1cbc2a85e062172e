// GameWorld: a world made from a seed, freed when it goes out of scope.
#pragma once

#include "base/rnd.h"
#include "generate/makemaze.h"

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
