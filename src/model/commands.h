// The maze commands of a frame: what the keys of the frame loop do to the world. They take which keys
// act as plain values, so that they run without a window.
#pragma once

#include "model/gamerec.h"

/// The kind of new game that N asks for: 0, 1 with either of Shift and Ctrl held, 2 with both.
i32 newgame_kind(bool shift, bool ctrl);

/// Frees the game and makes a new one of `kind` in its place.
void newgame(MazeGame* game, i32 kind);
