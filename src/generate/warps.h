// Passes over a finished tree: colours, bends of space, the final spread. None changes a graph or
// draws random numbers; none but Maze_invert touches radii, and none but Maze_spread corrects the
// bounds. With `recursive` a pass goes through all levels below. Attachments and draw spheres are the
// caller's.
#pragma once

#include "model/maze.h"

/// Packs three fractions, clamped to 0..1, as 0xRRGGBB; a channel is trunc(255 v + 0.5).
u32 rgb_pack(f64 r, f64 g, f64 b);

/// Colour of a point, a channel an axis: (1 + sin(c / 10)) / 4.
u32 place_colour(const f64 p[3]);

/// One colour for all nodes and edges.
void Maze_setcolourdeep(Maze* maze, u32 colour, bool recursive);

/// Colours all levels by place: a node by its position, an edge by its midpoint. Trusts that edges are
/// symmetric.
void Maze_paintbyplace(Maze* maze);

/// Hills: z += 4 (sin(x / 4) + sin(y / 4)).
void Maze_warpheight(Maze* maze, bool recursive);

/// Each coordinate c becomes (4 c + 3 sin c) / 2. `out` may be `p`.
void warp_sine(f64 out[3], const f64 p[3]);

/// Applies a point function to all node positions.
void Maze_mapnodes(Maze* maze, void (*f)(f64 out[3], const f64 p[3]), bool recursive);

/// Inversion in a sphere, of positions and radii. Trusts that no node stands on the centre.
void Maze_invert(Maze* maze, f64 radius, const f64 centre[3], bool recursive);

/// Multiplies all positions, centres and bounding radii of a tree by 2.5.
void Maze_spread(Maze* maze);
