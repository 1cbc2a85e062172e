// Bars and balls of levels that no display list is made of: those with long ways, of which no list can hold
// what there is (an edge of the nested grid has thousands of posts, and a level up to millions), and those
// that look small, of which a view shows few and a world has many.
//
// What such a level is made of is kept in stretches, in the order of its lists, and what a view may show of
// them is drawn anew in each frame (gantrystretch.h). Where many short ways come one after the other among
// long ones, a list stands for them, so that in a level with few long ways only those are drawn anew. All
// comes in the same order as from the level's lists, which decides what is seen where depths are equal.
#pragma once

#include "scene/gantryparts.h"
#include "scene/gantryreach.h"
#include "scene/lists.h"

enum GantryPart { GANTRY_BARS, GANTRY_BALLS };

/// Length from which on a way is a long one: it has more than 32 pairs of posts, or 500 rungs. Changed by
/// tests alone, before the first plot.
extern f64 gantry_longway;

/// Whether a level has a long way.
bool gantry_haslongway(Maze* maze);

/// Receivers of bars and balls: into `once`, a ListOnce, or with null into the batch of quads that is open.
void gantry_emitbar(const GantryBar* bar, void* once);
void gantry_emitball(const GantryBall* ball, void* once);

/// Draws bars or balls of one level, in part into `once`; what is out of sight is left out. The program is
/// current. Kept as "gantryrows_railings" and "gantryrows_railballs" with flags 3.
void gantry_rows(Maze* maze, GantryPart which, const Sight* sight, ListOnce* once);

/// The same, keeping nothing: for a level of which next to nothing is painted.
void gantry_speck(Maze* maze, GantryPart which, const Sight* sight, ListOnce* once);
