#include "scene/gantryreach.h"

#include "base/vec3.h"
#include "model/attachment.h"
#include "model/drawsphere.h"
#include "model/pos.h"
#include "scene/gantryparts.h"

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

// The same of a level's own positions and of those to which its ways lead.
static f64 computereach(Maze* maze)
{
    f64 most = 0.0;
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        if (Maze_node(maze, n)->sub != nullptr) {
            continue;
        }
        Pos exits[POS_MAXEDGES];
        most = std::fmax(most, cornerdistance({maze, n}));
        for (i32 i = Pos_alledges({maze, n}, exits, nullptr) - 1; i >= 0; i--) {
            if (exits[i].maze != maze) {
                most = std::fmax(most, cornerdistance(exits[i]));
            }
        }
    }
    return most + upward;
}

static void freereach(void* data, Maze* /*maze*/)
{
    std::free(data);
}

f64 gantry_reach(Maze* maze)
{
    const f64* kept = static_cast<f64*>(Maze_attachment(maze, "gantryreach"));
    if (kept == nullptr) {
        f64* const made = static_cast<f64*>(std::malloc(sizeof(f64)));
        *made = computereach(maze);
        Maze_attach(maze, "gantryreach", made, freereach, ATT_GEOMETRY);
        kept = made;
    }
    return *kept;
}

// The greatest value that a row of the clip matrix, with another one added by a factor, takes in a sphere.
static f64 greatest(const f64 row[4], const f64 added[4], f64 factor, const f64 centre[3],
                    f64 radius)
{
    f64 sum[4];
    for (i32 i = 3; i >= 0; i--) {
        sum[i] = row[i] + factor * added[i];
    }
    return vec3_dot(sum, centre) + sum[3] + radius * vec3_length(sum);
}

// By the matrix as it is, so that the skewed frustum of a stereo pair is no exception.
static bool sphereout(const ViewRec* view, const f64 centre[3], f64 radius)
{
    const f64* const ahead = view->clip[3]; // the distance before the eye
    const f64 nearest = -greatest(ahead, ahead, -2.0, centre, radius);
    if (greatest(ahead, ahead, 0.0, centre, radius) < view->near || nearest > view->far) {
        return true;
    }
    for (i32 i = 1; i >= 0; i--) {
        if (greatest(ahead, view->clip[i], 1.0, centre, radius) < 0.0 ||
            greatest(ahead, view->clip[i], -1.0, centre, radius) < 0.0) {
            return true;
        }
    }
    return false;
}

bool gantry_outofview(Maze* maze, const ViewRec* view)
{
    f64 centre[3];
    f64 radius;
    Maze_drawsphere(maze, centre, &radius);
    // no node is larger than the sphere that holds it
    const f64 reach = (1.0 + widest) * radius + upward;
    const f64 size = std::fabs(centre[0]) + std::fabs(centre[1]) + std::fabs(centre[2]) +
                     std::fabs(view->eye[0]) + std::fabs(view->eye[1]) + std::fabs(view->eye[2]);
    const f64 rounding = 1e-5 * (size + reach);
    return sphereout(view, centre, reach + rounding);
}
