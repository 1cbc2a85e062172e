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
    f64 corner;  // the farthest that a corner stands off from its node
    f64 longest; // way that the level draws
};

// Ways of several spans have none that is shorter.
static constexpr f64 shortestspan = 0.75 / GANTRY_SPANS;

// Unit vectors of the compass toward exits of a position. Returns their number.
static i32 directions(f64 out[POS_MAXEDGES][2], Pos pos, const Pos* exits, i32 count)
{
    const f64* const p = Pos_node(pos)->pos;
    i32 n = 0;
    for (i32 i = count - 1; i >= 0; i--) {
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

// The sine of half the angle between two exits if a corner stands between them, else 1. Exits closer than
// 0.01 in angle have none, but for those to both sides of the west, whose angles are a whole turn apart.
static f64 cornersine(const f64 a[2], const f64 b[2])
{
    const f64 x = a[0] - b[0];
    const f64 y = a[1] - b[1];
    const f64 sine = 0.5 * std::sqrt(x * x + y * y);
    const bool west = a[0] < 0.0 && b[0] < 0.0 && std::signbit(a[1]) != std::signbit(b[1]);
    return sine > 0.0049 || west ? sine : 1.0;
}

// How far the corners of a position, of which all exits are given, stand off from its node.
static f64 cornerdistance(Pos pos, const Pos* exits, i32 count)
{
    f64 d[POS_MAXEDGES][2];
    const i32 n = directions(d, pos, exits, count);
    f64 least = 1.0 / std::numbers::sqrt2; // of a dead end
    for (i32 i = n - 1; i >= 0; i--) {
        for (i32 k = n - 1; k > i; k--) { // steep exits may stand between two flat ones
            least = std::fmin(least, cornersine(d[i], d[k]));
        }
    }
    return std::fabs(Pos_node(pos)->radius) / least;
}

// Takes the corners of one position, and of those to which its level draws ways.
static void gather(Gathered* gathered, Pos pos)
{
    Pos exits[POS_MAXEDGES];
    const i32 count = Pos_alledges(pos, exits, nullptr);
    gathered->corner = std::fmax(gathered->corner, cornerdistance(pos, exits, count));
    for (i32 i = count - 1; i >= 0; i--) {
        const Pos other = exits[i];
        if (!exits_drawn(pos.maze, other.maze)) {
            continue;
        }
        f64 d[3];
        vec3_sub(d, Pos_node(other)->pos, Pos_node(pos)->pos);
        gathered->longest = std::fmax(gathered->longest, vec3_length(d));
        if (other.maze != pos.maze) {
            Pos further[POS_MAXEDGES];
            const i32 n = Pos_alledges(other, further, nullptr);
            gathered->corner = std::fmax(gathered->corner, cornerdistance(other, further, n));
        }
    }
}

static void addstray(const GantryStretch* stretch, void* most)
{
    f64* const stray = static_cast<f64*>(most);
    *stray = std::fmax(*stray, gantry_stretchstray(stretch));
}

static GantryExtent extentof(Maze* maze)
{
    Gathered gathered = {};
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        if (Maze_node(maze, n)->sub == nullptr) {
            gather(&gathered, {maze, n});
        }
    }
    f64 stray = 0.0;
    if (gathered.corner > shortestspan && gathered.longest > 2.0 * shortestspan) {
        const GantryFilter whole = {}; // keeps no table of exits
        gantry_eachstretch(maze, &whole, false, addstray, &stray);
    }
    return {.reach = gathered.corner + upward + stray, .longest = gathered.longest};
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
