// The gantry plot: the world as iron walkways with railings over its flat edges, and ladders on its
// steep ones. See gantryparts.h for what they consist of.
//
// Each level keeps three display lists with flags 3, "gantrylist", "gantrylist_railings" and
// "gantrylist_railballs", built on first need, in this order. Levels that can't touch the picture, since
// they are out of view or between the middles of pixels, are left out. Bars and balls of levels with long
// ways, and of those that look small, stand in no list: they are drawn as far as a view shows them
// (gantryrows.h). In the nested grid lists of every level would hold 24 million posts and as many balls
// beside 7 million plates with their rails, reckoned as 19 GB, and the tables of exits 2.7 GB more.
#pragma once

#include "model/gamerec.h"
#include "scene/light.h"

/// The plate's colour, with alpha 0 in the holes, and its normal map, GANTRY_TEXSIZE pixels square.
/// 0 until the first plot makes them; kept for the life of the process.
extern u32 gantry_tex, gantry_tnorm;

/// Draws every level, in view or not: the same picture for more work. Off; for tests and measurements.
extern bool gantry_everylevel;

enum { GANTRY_TEXSIZE = 512 };

/// Draws the world under the given daylight, as seen by the game's view record; `lit` hangs a lamp one
/// unit above the player. Leaves blending off, the fixed pipeline and texture unit 0 current.
void gantry_plot(Maze* root, const MazeGame* game, bool lit, const LightRec* light);

/// Emit one level into the list being compiled: its floor (walkways, then the triangles of junctions),
/// its bars, and its balls.
void gantry_walkways(Maze* maze);
void gantry_railings(Maze* maze);
void gantry_railballs(Maze* maze);
