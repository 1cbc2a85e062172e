// The nodes of a maze by the unit cells of space in which they lie, for searches of short reach.
#pragma once

#include "model/maze.h"

struct NodeHash;

/// Sorts the nodes into cells. Owned by the caller; the maze is lent, and good until its nodes change.
NodeHash* NodeHash_new(const Maze* maze);

void NodeHash_free(NodeHash* hash);

/// The node nearest to `p` whose squared distance is at most `limit2`, which is 0.9 at most; of
/// several at one distance the highest number, and -1 if there is none. Takes constant time if few
/// nodes share a cell. Coordinates that are no numbers are near nothing.
i32 NodeHash_nearest(const NodeHash* hash, const f64 p[3], f64 limit2);
