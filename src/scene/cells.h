// Voronoi cells: for each node of a level the part of the plane that is nearer to it than to any other
// node of the level. Cut in x and y alone, each level by itself; heights play no part but for which nodes
// are looked at. Draws no random numbers.
//
// A cell is a convex polygon about its node, clockwise seen from above. The cells of a level hang on it
// as the attachment "voronoi" (flags 0), which nothing kills: after a change of the graph they are
// those of the older one, and may name nodes that have gone.
#pragma once

#include "model/maze.h"

/// A corner, and the side that runs from it to the next.
struct VoronoiVertex {
    f64 x, y;      // maze units
    i32 neighbour; // the node across the side; -1: a side of the start square, open country
    i32 linked;    // 1 if an edge leads there, 0 if not; -1 for a side of the start square
};

/// The cells of a level, as data of the attachment.
struct VoronoiCells {
    i32 count;       // nodes at the time
    GrowArray* cell; // owned; of VoronoiVertex, one array a node in the order of the nodes
    f64 centre[3];   // of a sphere about all that is drawn of them: kept by who draws; 0 at first
    f64 radius;
};

/// Builds the cells of a level and attaches them in place of the old ones. A display list of the older
/// cells stays.
///
/// With `alledges` the edges of a node are what Pos_alledges lists inside the level, else its plain
/// edges. With L the longest of them in three dimensions, the cell is a square of half-width 3 L cut
/// by every other node within 5 L; a node without edges gets four corners on its place. A side shorter
/// than 1e-6 L is left out, so a point where four cells meet is one corner of each. Of nodes above each
/// other, which share their sides in plan, the nearest in space is the neighbour. A node whose place or
/// L isn't finite gets no corners. Time near linear for nodes that lie evenly.
void voronoi_build(Maze* maze, bool alledges);

/// Cuts a polygon by the half-plane dot(p - mid, dir) < 1e-6, which stays. The new side takes
/// `neighbour` and `linked`, the others keep theirs; nothing may be left. Does nothing if all corners
/// stay, as with a `dir` of 0. The array is exchanged for a new one if something changes.
void polygon_clip(GrowArray* poly, const f64 mid[2], const f64 dir[2], i32 neighbour, i32 linked);

/// The height at `p` of the plane through three points; if they are in line in plan, the mean of the
/// heights of `a` and `c`.
f64 plane_z(const f64 a[3], const f64 b[3], const f64 c[3], const f64 p[2]);

enum { VORONOI_MOSTRING = 16 };

/// Lists the nodes whose cells meet at the corner where side `k` of the cell of node `i` ends: i, the
/// neighbour across side k, and so on round the corner, to the neighbour across the next side.
///
/// `ring`  caller's array of VORONOI_MOSTRING.
/// Returns their number, 3 or more, or 0 where the round doesn't close: at open country, where a node
/// has gone (`nodes` is their number now), and where cells don't fit together since their nodes know of
/// different neighbours.
i32 voronoi_ring(const VoronoiCells* cells, i32 nodes, i32 i, i32 k, i32* ring);
