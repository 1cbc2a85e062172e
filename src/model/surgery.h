// Surgery on one level of the world: the steps by which keys reshape the maze that the player is in,
// and clones that leave nodes out. None reports a failure; indices are trusted.
//
// Submazes ride with their nodes. Bounds and cached geometry of the maze are the caller's; its draw
// sphere becomes stale. A move of 1e30 or more along an axis isn't taken by its node: no world can be
// drawn at that size, and so every position stays finite.
//
// Where the edges of a node with a submaze change, its ports are fitted to them: a port stays with its
// edge; a new edge takes the port of one that is gone, or else the inner node without a submaze that
// is nearest to the new neighbour, of those that hang together with node 0, or else a node added
// beside the first of them that has room for an edge, and joined to it (beside node 0 without an edge
// if none has). Each port that is added takes six draws for each attempt at its place. The bits of
// `exitsused` stay with their edges.
#pragma once

#include "model/maze.h"

/// Moves each node by `strength` times the sum of the ways to its neighbours, all taken before any
/// node moves. Not divided by the degree. A step that would not be finite isn't taken by its node.
void Maze_simplify(Maze* maze, f64 strength);

/// The same with strength 0.1.
void Maze_spring(Maze* maze);

/// The size of a level: the greatest reach of a node, with its radius, from their mean position. That
/// is the `boundradius` that Maze_bounds would compute. Trusts that there is a node.
f64 Maze_extent(const Maze* maze);

/// As Maze_simplify, but the step isn't taken if it would make the level larger than `most` (by
/// Maze_extent) and than it is. Returns whether it was taken. A step that is refused is refused at any
/// greater strength too, as the size is a convex function of it.
bool Maze_simplify_within(Maze* maze, f64 strength, f64 most);

/// Pushes all pairs of nodes apart by d / |d|^4, a tenth of it taken. Quadratic in the nodes. Two nodes
/// on one spot push with no force.
void Maze_repel(Maze* maze);

/// Merges nodes of at most k edges into a neighbour, which moves half way; the merged node stays behind
/// without edges, with its number.
///
/// What other levels hang on is never left behind: of a pair of which one is a port of this level or
/// holds a submaze, that one stays; two of them aren't merged, and the next neighbour is tried.
void Maze_contract(Maze* maze, u32 k);

/// Moves the edges of node b to node a, as far as they fit; then b is deleted with `remove`, or stays
/// without edges. The colours of moved edges go to their ends.
void Maze_absorb(Maze* maze, i32 a, i32 b, bool remove);

/// Whether two nodes of a level have an edge.
bool Maze_joined(const Maze* maze, i32 a, i32 b);

/// As Maze_join, with ports for the new edge where the nodes hold submazes.
void Maze_joinfitted(Maze* maze, i32 a, i32 b);

/// A clone without submazes and without the nodes whose byte in `keep` is 0; owned by the caller. Its
/// `visitednodes` counts the nodes that are left.
Maze* Maze_clonemasked(const Maze* maze, const u8* keep);

/// A clone without submazes of what can be reached from `start`; owned by the caller.
Maze* Maze_clonereachable(const Maze* maze, i32 start);
