// Carving: a full graph becomes a maze by losing edges, level by level. The only tie to the level
// above is that the ports of a level stay connected.
//
// Methods work on a bare copy of the graph and bring only the final edge set back, so ports and
// submazes of the real maze are touched by Maze_unjoin with syncports alone. A maze of one node or
// none is left as it is. Attachments are the caller's. Memory is that of one level at a time: a maze
// of a few hundred nodes allocates nothing (Scratch in flatgraph.h).
#pragma once

#include "model/maze.h"

/// Carves one maze by one of the three methods: irand(3) of 1 spanning, 2 corridors, else threshold.
void makemaze(Maze* maze);

/// Carves every maze of a tree, children first.
void makemaze_all(Maze* maze);

/// Reverse-delete in random order (Kruskal 1956): a random spanning tree, or forest. Two draws an edge.
/// Nearly linear in the edges.
void makemaze_spanning(Maze* maze);

/// The same with the order bent while it runs, so that edges between nodes of high degree go first: a
/// spanning tree of long corridors. Two draws an edge, and up to 80 more for each. Nearly linear in the
/// draws where squares make up nearly all cycles, as in flat grids and in meshes of a torus (faces.h);
/// elsewhere each edge that is not yet known to be a bridge costs a search from both its ends.
void makemaze_corridors(Maze* maze);

/// Random thinning at the lowest density that still links the ports, found by bisection, then without
/// edgeless inner nodes. Islands may be left over. If no thinned graph is good the maze keeps all
/// edges. Takes two draws an edge for each attempt, up to about 1000 of them, and computes only those
/// that tell whether the attempt is good; with doubled edges all of them.
void makemaze_threshold(Maze* maze);

/// Calls `f` for each maze of a tree, submazes of the last node first, children before parents.
void Maze_foreach(Maze* maze, void (*f)(Maze*));

/// Deletes each edge with chance 1 - `keep`; two draws an edge, from the last node's last slot on. A
/// slot that an earlier deletion has emptied (doubled edges) is passed over without a draw.
void Maze_thinedges(Maze* maze, f64 keep);

/// Deletes every edge that `pattern`, a maze with the same node numbers, doesn't have.
void Maze_keepedges(Maze* maze, const Maze* pattern);

/// Deletes the edgeless nodes that aren't ports, with their submazes.
void Maze_dropisolated(Maze* maze);
