// Six ways of turning the Voronoi cells of a level into geometry. Each emits the whole level into the list
// being compiled, without the levels below, in the fixed pipeline.
//
// Colours are those of the nodes at this moment, with their ages if the game shows trails. A node with
// a submaze isn't drawn. A side whose neighbour has gone is left out; a node younger than the cells has
// none.
#pragma once

#include "model/gamerec.h"
#include "scene/cells.h"

struct VoronoiLevel {
    Maze* maze;
    const VoronoiCells* cells;
    const MazeGame* game;
};

/// 0: each side a line, darker where an edge leads through, flat at the height of the node.
void voronoi_outline(const VoronoiLevel* level);

/// 1, and lit 2: each cell the top of a block, with a thin wall where no edge leads through.
void voronoi_terraces(const VoronoiLevel* level, bool lit);

/// 3: a terrain, its corners at the mean height of the nodes that meet there.
void voronoi_relief(const VoronoiLevel* level);

/// 4: the triangles between nodes whose cells meet. Where more than three meet in one corner, a fan about
/// the lowest of them covers what they span, so that no triangles overlap and none is missing.
void voronoi_delaunay(const VoronoiLevel* level);

/// 5: the same with a solid wall along each side without an edge.
void voronoi_walls(const VoronoiLevel* level);

/// The length of the longest way from the node of cell `i` to a neighbour, in three dimensions.
f64 voronoi_longest(const VoronoiLevel* level, i32 i);
