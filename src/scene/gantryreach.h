// How far gantries reach beyond the draw spheres of their levels, by which a plot leaves out what can't
// touch the picture.
#pragma once

#include "model/maze.h"
#include "model/viewrec.h"

/// How far the parts of one level's lists reach beyond its draw sphere (drawsphere.h), in maze units.
/// Kept as the attachment "gantryreach" with ATT_GEOMETRY; computing it takes time linear in the level's
/// nodes and no table of exits.
f64 gantry_reach(Maze* maze);

/// Whether neither a level nor any below it can touch the picture, judged from its draw sphere alone.
bool gantry_outofview(Maze* maze, const ViewRec* view);
