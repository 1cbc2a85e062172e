#include "model/commands.h"

#include "model/mazegame.h"

i32 newgame_kind(bool shift, bool ctrl)
{
    return (shift ? 1 : 0) + (ctrl ? 1 : 0);
}

void newgame(MazeGame* game, i32 kind)
{
    MazeGame_free(game);
    MazeGame_new(game, kind);
}
