// Graphs in polar form: rings in a plane, a hollow sphere of latitude rings, a torus and a Moebius
// strip.
//
// A ring's size is a power of two, so one of two neighbouring rings has a whole number of times as
// many nodes as the other, and radial links need integer arithmetic alone. Fresh nodes of radius 0.5;
// the results are owned by the caller. None draws random numbers.
#pragma once

#include "model/maze.h"

/// Concentric rings of radii `inner` to `outer`; one ring, of radius inner, if outer is less.
Maze* ring_disc(i32 outer, i32 inner);

/// Hollow sphere without nodes at the poles, node 0 near the north pole and the last near the south
/// pole. Empty for radii far below 1.
Maze* sphere_maze(f64 radius);

/// Torus mesh of trunc(2 pi major) by trunc(2 pi minor) nodes, each raised to 1; the last node is the
/// antipode of node 0. Edges are doubled where a size is 2, and lead back to their node where it is 1.
Maze* torus_maze(f64 major, f64 minor);

/// Moebius strip of trunc(2 pi radius), raised to 1, by trunc(2 halfwidth + 1) nodes, the last node
/// opposite to node 0. Empty if the second number is below 1.
Maze* moebius_maze(f64 radius, f64 halfwidth);
