#include "scene/gantryreach.h"

#include "base/vec3.h"
#include "model/attachment.h"
#include "model/drawsphere.h"
#include "model/pos.h"
#include "scene/exits.h"
#include "scene/gantryparts.h"
#include "scene/lists.h"

#include <cmath>
#include <cstdlib>
#include <numbers>

// Posts with their tops are what stands highest; ladders are less wide.
static constexpr f64 upward = GANTRY_HEIGHT + 2 * GANTRY_BALLRADIUS;

// Where two exits are 0.01 apart in angle, the corner between them stands off by this many radii; closer
// ones have none.
static constexpr f64 widest = 200.1;

// The compass angles of the exits of a position. Returns their number.
static i32 flatangles(Pos pos, f64 angles[POS_MAXEDGES])
{
    Pos exits[POS_MAXEDGES];
    const f64* const p = Pos_node(pos)->pos;
    i32 flat = 0;
    for (i32 i = Pos_alledges(pos, exits, nullptr) - 1; i >= 0; i--) {
        f64 d[3];
        vec3_sub(d, Pos_node(exits[i])->pos, p);
        if (d[0] != 0.0 || d[1] != 0.0) { // a steep one too, which can only add to the result
            angles[flat++] = std::atan2(d[1], d[0]);
        }
    }
    return flat;
}

// How far the corners of a position stand off from its node.
static f64 cornerdistance(Pos pos)
{
    f64 angles[POS_MAXEDGES];
    const i32 flat = flatangles(pos, angles);
    f64 most = std::numbers::sqrt2; // of a dead end
    for (i32 i = flat - 1; i >= 0; i--) {
        for (i32 k = flat - 1; k > i; k--) { // steep exits may stand between two flat ones
            const f64 g = std::fabs(angles[k] - angles[i]);
            if (g > 0.01) {
                most = std::fmax(most, 1.0 / std::fabs(std::sin(g / 2)));
            }
        }
    }
    return most * std::fabs(Pos_node(pos)->radius);
}

// Of the ways of one position that its level draws.
static void widen(GantryExtent* extent, Pos pos)
{
    extent->reach = std::fmax(extent->reach, cornerdistance(pos) + upward);
    Pos exits[POS_MAXEDGES];
    for (i32 i = Pos_alledges(pos, exits, nullptr) - 1; i >= 0; i--) {
        if (!exits_drawn(pos.maze, exits[i].maze)) {
            continue;
        }
        f64 d[3];
        vec3_sub(d, Pos_node(exits[i])->pos, Pos_node(pos)->pos);
        extent->longest = std::fmax(extent->longest, vec3_length(d));
        if (exits[i].maze != pos.maze) {
            extent->reach = std::fmax(extent->reach, cornerdistance(exits[i]) + upward);
        }
    }
}

static void freeextent(void* data, Maze* /*maze*/)
{
    std::free(data);
}

const GantryExtent* gantry_extent(Maze* maze)
{
    GantryExtent* extent = static_cast<GantryExtent*>(Maze_attachment(maze, "gantryextent"));
    if (extent != nullptr) {
        return extent;
    }
    extent = static_cast<GantryExtent*>(std::calloc(1, sizeof(GantryExtent)));
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        if (Maze_node(maze, n)->sub == nullptr) {
            widen(extent, {maze, n});
        }
    }
    Maze_attach(maze, "gantryextent", extent, freeextent, ATT_GEOMETRY);
    return extent;
}

bool gantry_outofview(Maze* maze, const Sight* sight)
{
    return Maze_unpainted(maze, sight, widest * Maze_drawlargest(maze) + upward);
}
