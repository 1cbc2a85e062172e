// Connectivity of one level: what can be reached, how far, whether a level is usable, and which nodes
// near a point wait for a submaze. Levels are never crossed, but by Maze_nearexpandable.
#pragma once

#include "model/pos.h"

/// Owned array of a byte a node, freed with free: 1 for the nodes that can be reached from `start`,
/// else 0. Linear in the edges.
u8* Maze_reachable(const Maze* maze, i32 start);

/// Edges on a shortest path between two nodes, 0 if there is none, and 1 if they are the same: the
/// result says connected first and length second. Breadth-first from both ends at once.
i32 Maze_distance(const Maze* maze, i32 a, i32 b);

/// Whether a maze is usable as a level: with two ports or more, all ports reachable from port 0;
/// otherwise a way from the first node to the last. False if there are fewer nodes than ports.
/// Trusts a maze with fewer than two ports to have a node.
bool Maze_isconnected(const Maze* maze);

/// Makes a node wait for a submaze. Nothing else sets `expandable`: until the first call in a process
/// the search below knows, without a look at the world, that nothing waits.
void MazeNode_await(MazeNode* node);

/// Pushes on `out` (of Pos) the nodes within `range` of a point that wait for a submaze, nearest
/// first, until it holds `limit`. Where a node has a submaze its nodes are taken in its place. Linear
/// in the nodes of the levels it enters, once any node has been made to wait; no cost before.
void Maze_nearexpandable(Maze* maze, const f64 point[3], f64 range, GrowArray* out, u32 limit);
