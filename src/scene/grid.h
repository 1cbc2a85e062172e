// The grid of scale.
#pragma once

#include "model/gamerec.h"

/// Draws seven decades of square grids at the height of the player's node, from 1 to a million maze units
/// a square, each 20 squares wide and holding the node. Lines only; depth isn't written.
void grid_draw(const MazeGame* game);
