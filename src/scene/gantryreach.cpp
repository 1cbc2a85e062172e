#include "scene/gantryreach.h"

#include "base/vec3.h"
#include "model/attachment.h"
#include "model/drawsphere.h"
#include "model/pos.h"
#include "scene/exits.h"
#include "scene/gantrystretch.h"
#include "scene/lists.h"

#include <cmath>
#include <cstdlib>
#include <numbers>

// Posts with their tops are what stands highest; ladders are less wide.
static constexpr f64 upward = GANTRY_HEIGHT + 2 * GANTRY_BALLRADIUS;

// What is kept of a level.
struct Extent {
    GantryExtent own;
    f64 most;  // reach of this level or one below, of the time of
    u32 stamp; // this draw sphere; 0: never
};

// What is gathered of a level.
struct Gathered {
    GantryExtent extent;
    f64* corners; // how far the corners of each node stand off from it
    bool strays;  // posts may stand before or behind their side
};

// Unit vectors of the compass toward the exits of a position. Returns their number.
static i32 directions(Pos pos, f64 out[POS_MAXEDGES][2])
{
    Pos exits[POS_MAXEDGES];
    const f64* const p = Pos_node(pos)->pos;
    i32 n = 0;
    for (i32 i = Pos_alledges(pos, exits, nullptr) - 1; i >= 0; i--) {
        f64 d[3];
        vec3_sub(d, Pos_node(exits[i])->pos, p);
        const f64 length = std::hypot(d[0], d[1]);
        if (length > 0.0) { // a steep one too, which can only add to the result
            out[n][0] = d[0] / length;
            out[n][1] = d[1] / length;
            n++;
        }
    }
    return n;
}

// How many radii the corner between two exits stands off. Exits closer than 0.01 in angle have none, but
// for those to both sides of the west, whose angles are a whole turn apart.
static f64 cornerbetween(const f64 a[2], const f64 b[2])
{
    const f64 sine = 0.5 * std::hypot(a[0] - b[0], a[1] - b[1]); // of half the angle
    const bool west = a[0] < 0.0 && b[0] < 0.0 && std::signbit(a[1]) != std::signbit(b[1]);
    return sine > 0.0049 || west ? 1.0 / sine : 0.0;
}

// How far the corners of a position stand off from its node.
static f64 cornerdistance(Pos pos)
{
    f64 d[POS_MAXEDGES][2];
    const i32 n = directions(pos, d);
    f64 most = std::numbers::sqrt2; // of a dead end
    for (i32 i = n - 1; i >= 0; i--) {
        for (i32 k = n - 1; k > i; k--) { // steep exits may stand between two flat ones
            most = std::fmax(most, cornerbetween(d[i], d[k]));
        }
    }
    return most * std::fabs(Pos_node(pos)->radius);
}

// Of the ways of one position that its level draws.
static void widen(Gathered* gathered, Pos pos)
{
    GantryExtent* const extent = &gathered->extent;
    const f64 corner = gathered->corners[pos.node];
    extent->reach = std::fmax(extent->reach, corner + upward);
    Pos exits[POS_MAXEDGES];
    for (i32 i = Pos_alledges(pos, exits, nullptr) - 1; i >= 0; i--) {
        if (!exits_drawn(pos.maze, exits[i].maze)) {
            continue;
        }
        f64 d[3];
        vec3_sub(d, Pos_node(exits[i])->pos, Pos_node(pos)->pos);
        const f64 length = vec3_length(d);
        extent->longest = std::fmax(extent->longest, length);
        const f64 other =
            exits[i].maze == pos.maze ? gathered->corners[exits[i].node] : cornerdistance(exits[i]);
        extent->reach = std::fmax(extent->reach, other + upward);
        const f64 spans = std::floor(GANTRY_SPANS * length + 0.5);
        gathered->strays |= spans > 1.0 && std::fmax(corner, other) > length / spans;
    }
}

static void addstray(const GantryStretch* stretch, void* most)
{
    f64* const stray = static_cast<f64*>(most);
    *stray = std::fmax(*stray, gantry_stretchstray(stretch));
}

static GantryExtent extentof(Maze* maze)
{
    const size_t count = static_cast<size_t>(Maze_count(maze));
    Gathered gathered = {};
    gathered.corners = static_cast<f64*>(std::calloc(count + 1, sizeof(f64)));
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        if (Maze_node(maze, n)->sub == nullptr) {
            gathered.corners[n] = cornerdistance({maze, n});
        }
    }
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        if (Maze_node(maze, n)->sub == nullptr) {
            widen(&gathered, {maze, n});
        }
    }
    std::free(gathered.corners);
    f64 stray = 0.0;
    if (gathered.strays) {
        const GantryFilter whole = {}; // keeps no table of exits
        gantry_eachstretch(maze, &whole, false, addstray, &stray);
    }
    gathered.extent.reach += stray;
    return gathered.extent;
}

static void freeextent(void* data, Maze* /*maze*/)
{
    std::free(data);
}

static Extent* getextent(Maze* maze)
{
    Extent* extent = static_cast<Extent*>(Maze_attachment(maze, "gantryextent"));
    if (extent == nullptr) {
        extent = static_cast<Extent*>(std::calloc(1, sizeof(Extent)));
        extent->own = extentof(maze);
        Maze_attach(maze, "gantryextent", extent, freeextent, ATT_GEOMETRY);
    }
    return extent;
}

const GantryExtent* gantry_extent(Maze* maze)
{
    return &getextent(maze)->own;
}

// The greatest reach of a level and of those below it.
static f64 greatestreach(Maze* maze)
{
    Extent* const extent = getextent(maze);
    const u32 stamp = Maze_drawstamp(maze);
    if (extent->stamp == stamp) {
        return extent->most;
    }
    extent->stamp = stamp;
    extent->most = extent->own.reach;
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        Maze* const sub = Maze_node(maze, n)->sub;
        if (sub != nullptr) {
            extent->most = std::fmax(extent->most, greatestreach(sub));
        }
    }
    return extent->most;
}

bool gantry_outofview(Maze* maze, const Sight* sight)
{
    return Maze_unpainted(maze, sight, greatestreach(maze));
}
