// Surgery on one level of the world: the steps by which keys reshape the maze that the player is in,
// and clones that leave nodes out. None reports a failure; indices are trusted.
//
// Submazes ride with their nodes. Bounds and cached geometry of the maze are the caller's.
#pragma once

#include "model/maze.h"

/// Moves each node by `strength` times the sum of the ways to its neighbours, all taken before any
/// node moves. Not divided by the degree. A step that would not be finite isn't taken by its node.
void Maze_simplify(Maze* maze, f64 strength);

/// The same with strength 0.1.
void Maze_spring(Maze* maze);

/// Pushes all pairs of nodes apart by d / |d|^4, a tenth of it taken. Quadratic in the nodes. Two nodes
/// on one spot push with no force.
void Maze_repel(Maze* maze);

/// Merges nodes of at most k edges into a neighbour, which moves half way; the merged node stays behind
/// without edges, with its number.
void Maze_contract(Maze* maze, u32 k);

/// Moves the edges of node b to node a, as far as they fit; then b is deleted with `remove`, or stays
/// without edges. The colours of moved edges go to their ends.
void Maze_absorb(Maze* maze, i32 a, i32 b, bool remove);

/// A clone without submazes and without the nodes whose byte in `keep` is 0; owned by the caller.
Maze* Maze_clonemasked(const Maze* maze, const u8* keep);

/// A clone without submazes of what can be reached from `start`; owned by the caller.
Maze* Maze_clonereachable(const Maze* maze, i32 start);
