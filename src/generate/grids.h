// Rectangular grids, the hollow box, and the weld that makes one graph of two whose nodes coincide.
//
// All have unit spacing in whole-number coordinates and fresh nodes of radius 0.5. The results are
// owned by the caller. None draws random numbers.
#pragma once

#include "model/pos.h"

/// Full grid of nx by ny by nz nodes; sizes below 1 count as 1. Node (x, y, z) has the number
/// x + nx y + nx ny z and stands at (x, y, z). Slots, each where the neighbour exists: x-1, x+1, y-1,
/// y+1, z-1, z+1.
Maze* grid_maze(i32 nx, i32 ny, i32 nz);

/// Flat grid of trunc(s) by trunc(s); the position is ignored.
Maze* grid_square(f64 s, Pos where);

/// Flat grid of side 4 i + 1 in 0xC04040.
Maze* grid_red(i32 i);

/// Surface of the cuboid from the origin to (a, b, c): six grids welded along their rims. The
/// numbering is not meaningful.
Maze* box_maze(i32 a, i32 b, i32 c);

/// Union of two mazes in which a node of `a` within 0.75 of a node of `b` is replaced by it: the kept
/// nodes of `a` keep their edges, which lead to `b`'s nodes. An edge between two replaced nodes goes,
/// and so does one that would be a ninth. Of several nodes of `b` the nearest replaces, of several at one
/// distance that with the highest number. Time grows with the sum of the sizes. Trusts that the nodes
/// of `b` which replace others hold no submazes.
Maze* Maze_welded(const Maze* a, const Maze* b);
