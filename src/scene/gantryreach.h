// How far gantries reach beyond the draw spheres of their levels, by which a plot leaves out what can't
// touch the picture.
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

/// Whether nothing is painted of a level and of all below it, judged from its draw sphere and the largest
/// node in it alone: no extent is computed.
bool gantry_outofview(Maze* maze, const Sight* sight);
