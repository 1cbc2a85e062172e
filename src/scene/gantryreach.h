// How far gantries reach beyond the draw spheres of their levels, by which a plot leaves out what can't
// touch the picture.
//
// There is no bound that follows from radii alone: the corner between two exits stands off the farther
// the closer they are in angle, and posts that a corner leaves no room for may stand anywhere on the line
// of their side.
#pragma once

#include "model/maze.h"
#include "scene/sight.h"

struct GantryExtent {
    f64 reach; // how far the parts of the level stand off from its draw sphere (drawsphere.h), at most
    f64 longest; // length of the longest way that it draws
};

/// The extent of one level, lent until its attachment goes: "gantryextent" with ATT_GEOMETRY. Computing it
/// takes time linear in the level's nodes and no table of exits.
const GantryExtent* gantry_extent(Maze* maze);

/// Whether nothing is painted of a level and of all below it. Takes the extents of all of them, once until
/// one changes.
bool gantry_outofview(Maze* maze, const Sight* sight);
