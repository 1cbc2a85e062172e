// What the gantries of a level consist of: a perforated plate over each flat edge, railings along both
// its sides, a ladder on each steep edge, and at each junction a plate and posts. Geometry alone; nothing
// here draws.
//
// Nodes that hold a submaze make nothing. The others come last first, and so do the exits of each. An
// edge between two nodes of a level, or between two mazes of one level, is handled from both of its
// ends; one from a level into a maze inside it from above only. Plates and railings of an exit whose
// target doesn't lead back are left out.
//
// Lengths are maze units and don't follow the radii of the nodes: a gantry is made for walkers of one
// size. Colours are 0xRRGGBB as they are drawn. A missing table of the level's exits is built and attached
// (pos.h), for a walk without filter. Nothing here draws random numbers.
#pragma once

#include "model/maze.h"
#include "scene/sight.h"

inline constexpr f64 GANTRY_BARRADIUS = 0.025; // bars, posts, and the rails of ladders
inline constexpr f64 GANTRY_RUNGRADIUS = 0.015;
inline constexpr f64 GANTRY_BALLRADIUS = 0.035;
inline constexpr f64 GANTRY_HEIGHT = 1.0;     // of posts and of the upper bar; the other is at half
inline constexpr f64 GANTRY_HALFLADDER = 0.2; // from the middle of a ladder to a rail
inline constexpr f64 GANTRY_SPANS = 0.2;      // between posts, per unit of length
inline constexpr f64 GANTRY_REPEATS = 20.0;   // of the plate's texture, per unit of length

/// The most rungs or spans that one edge is cut into. Of more, neighbours stand on one place as far as
/// single precision can tell.
enum { GANTRY_MAXPARTS = 1 << 25 };

struct GantryCorner {
    f64 pos[3];
    f64 tex[2];
};

/// A piece of floor: a walkway of four corners, or a triangle of three.
struct GantryPlate {
    u32 colour;
    i32 ncorners;
    f64 normal[3]; // upward
    f64 angle; // of the texture's first axis, in the plane of the normal's two smaller components
    GantryCorner corners[4];
};

struct GantryBar {
    u32 colour;
    f64 start[3];
    f64 axis[3]; // from the start to the end
    f64 radius;
};

struct GantryBall {
    u32 colour;
    f64 centre[3];
    f64 radius;
};

enum GantryKind : i32 {
    GANTRY_LADDER,  // on the steep way of one exit: from left and right at P to those at Q
    GANTRY_WALKWAY, // beside the plate of one flat exit: the right-hand side first
    GANTRY_END,     // of a walkway: from its left-hand corner to the right-hand one
    GANTRY_POST,    // at the start of line 0
};

/// Bars and balls that are made together, by what they are made from; gantrystretch.h makes them.
struct GantryStretch {
    GantryKind kind;
    u32 colour;
    i32 parts;  // rungs of a ladder, spans between the posts of a walkway
    f64 length; // of the way
    f64 start[2][3];
    f64 end[2][3];
    f64 first[2];  // distances along the way of a walkway's sides, from P: of the start
    f64 last[2];   // and of the end
    f64 across[3]; // a ladder's rungs, from left to right
};

// Receive one part each, lent for the call; `to` is the caller's.
using GantryTakePlate = void (*)(const GantryPlate* plate, void* to);
using GantryTakeBar = void (*)(const GantryBar* bar, void* to);
using GantryTakeBall = void (*)(const GantryBall* ball, void* to);
using GantryTakeStretch = void (*)(const GantryStretch* stretch, void* to);

/// What a walk over a level leaves out: ways and corners of which nothing is painted. No table of exits is
/// attached for such a walk.
struct GantryFilter {
    const Sight* sight; // null leaves nothing out
    f64 reach;          // of the level, by gantry_extent
};

/// The walkways of a level, one for each flat exit. Where an edge is handled from both ends, both plates
/// are laid from the end that comes last, so that holes lie over holes. `filter` may be null, here and
/// below.
void gantry_eachwalkway(Maze* maze, const GantryFilter* filter, GantryTakePlate take, void* to);

/// The triangles that close the middle of junctions of three flat exits and more.
void gantry_eachtriangle(Maze* maze, const GantryFilter* filter, GantryTakePlate take, void* to);

/// All that has bars or balls: of each node its ways, then its corners; with `cornersfirst` its corners
/// first. Bars come in the one order, balls in the other.
void gantry_eachstretch(Maze* maze, const GantryFilter* filter, bool cornersfirst,
                        GantryTakeStretch take, void* to);

/// Ladders, railings and posts: of each node the parts of its exits, then its own.
void gantry_eachbar(Maze* maze, GantryTakeBar take, void* to);

/// The tops of posts and the ends of ladders: of each node its own, then those of its exits.
void gantry_eachball(Maze* maze, GantryTakeBall take, void* to);
