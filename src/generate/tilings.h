// Flat graphs that are no square grids: a triangle and a hexagon of the triangular lattice, a
// hexagonal piece of honeycomb, and the tiling of octagons and squares.
//
// All lie in the plane z = 0 with edges of length 1 and fresh nodes of radius 0.5; the results are
// owned by the caller. None draws random numbers. The first three cut nodes from a rhombus of lattice,
// and the numbering that the deletions leave is behaviour. Their n below 0 counts as 0.
#pragma once

#include "model/maze.h"

/// Triangle of side 2 n: (2 n + 1)(n + 1) nodes, node 0 in a corner at the origin.
Maze* trigrid_triangle(i32 n);

/// Hexagon of side n: 3 n (n + 1) + 1 nodes.
Maze* trigrid_hexagon(i32 n);

/// The same hexagon without every third node. Empty for n of 0.
Maze* trigrid_honeycomb(i32 n);

/// n by n octagons of side 1 with squares between them: 4 n (n + 1) nodes. n below 1 counts as 1.
Maze* octagon_tiling(i32 n);
