// The sphere by which a plot leaves out a level: it holds everything that the display lists of the
// level and of all levels below it draw.
//
// `centre` and `boundradius` hold the nodes of one level, and a submaze need not lie inside its
// node's radius: the maze in the middle of a wrapped line does not, nor a stick between the ports of
// two submazes, nor anything after an inversion. A level that is left out takes everything below it
// along, so the draw sphere covers the level's nodes without submaze with their radii, both ends of
// each stick that the level draws (own edges, and those to ports of submazes and of sibling mazes),
// and the draw spheres of the submazes.
//
// Every routine of maze.h that changes a maze keeps the spheres right, Maze_bounds among them: whoever
// moves nodes by hand calls it afterwards. Whoever hangs a submaze on a node by hand, or takes one
// off, calls Maze_freeflags with ATT_GEOMETRY on the maze of that node.
#pragma once

#include "model/maze.h"

// What a negative drawradius means. Mazes are made with DRAWSPHERE_STALE; nobody else writes these.
inline constexpr f64 DRAWSPHERE_STALE = -1.0; // stale
inline constexpr f64 DRAWSPHERE_TOLD =
    -2.0; // stale, and all that a change here reaches is stale too

/// The draw sphere of a maze; computed if stale, for all levels below it too, which takes time linear
/// in the stale part. A maze that draws nothing has radius 0 about its `centre`. Nodes that aren't
/// finite are left out; a sphere too large for its numbers has an infinite radius. Draws no random
/// numbers.
void Maze_drawsphere(Maze* maze, f64 centre[3], f64* radius);

/// The number under which the sphere was computed, never 0. Another one after each Maze_freeflags with
/// ATT_GEOMETRY on this level or one below, so that what is kept about all of them can tell that it is old.
u32 Maze_drawstamp(Maze* maze);

/// Makes stale what a change of this maze's positions or graph reaches: the maze itself, the siblings
/// that its ports lead to, and all mazes above; with `recursive` all below as well. One comparison if
/// nothing that it reaches has been computed since the last call.
void Maze_drawsphere_stale(Maze* maze, bool recursive);
