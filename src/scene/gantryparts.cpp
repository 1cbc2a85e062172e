#include "scene/gantryparts.h"

#include "base/vec3.h"
#include "model/attachment.h"
#include "model/pos.h"
#include "scene/colours.h"
#include "scene/exits.h"
#include "scene/gantrystretch.h"

#include <cmath>
#include <cstring>

// A node that makes parts.
struct Junction {
    Maze* maze;
    i32 n;
    const MazeNode* node;
    const EdgeAngleRec* recs; // by exit
    i32 nexits;
    i32 nflat;
    u32 colour;
    Pos exits[POS_MAXEDGES];
    VisitRec visits[POS_MAXEDGES];
    u32 seen;                        // bits of exits of whose ways something may be painted
    bool cornersseen;                // the same of its own parts
    EdgeAngleRec own[POS_MAXEDGES];  // where there is no table
    EdgeAngleRec back[POS_MAXEDGES]; // of the last way's other end
};

// An exit that counts, from P to Q.
struct Way {
    const EdgeAngleRec* rec;
    const EdgeAngleRec* back; // the same edge seen from Q; null if Q doesn't lead back
    const f64* p;
    const f64* q;
    f64 radius;  // at P
    f64 qradius; // at Q
    f64 d[3];    // Q - P
    f64 length;
    u32 colour;
    bool again; // it comes from Q's end too, later
};

// Where the parts of one walk go.
template <typename Take> struct Sink {
    Take take;
    void* to;
};
using PlateSink = Sink<GantryTakePlate>;
using StretchSink = Sink<GantryTakeStretch>;
using BarSink = Sink<GantryTakeBar>;
using BallSink = Sink<GantryTakeBall>;

// From the level's table, or computed at `room`.
static const EdgeAngleRec* anglerecs(Pos pos, EdgeAngleRec room[POS_MAXEDGES])
{
    const EdgeAngleRec* const table =
        static_cast<EdgeAngleRec*>(Maze_attachment(pos.maze, "EdgeAngleRecs"));
    if (table != nullptr) {
        return table + static_cast<size_t>(pos.node) * POS_MAXEDGES;
    }
    Pos_edgeanglerecs(pos, room);
    return room;
}

static bool isflat(const EdgeAngleRec* rec)
{
    return rec->angle < EDGEANGLE_STEEP;
}

// Marks what of a junction may be painted.
static void setseen(Junction* out, const GantryFilter* filter)
{
    out->cornersseen = true;
    out->seen = ~0U;
    if (filter == nullptr || filter->sight == nullptr) {
        return;
    }
    f64 ends[2][3];
    std::memcpy(ends[0], out->node->pos, sizeof ends[0]);
    out->cornersseen = !Sight_unpainted(filter->sight, ends, 1, filter->reach);
    for (i32 i = out->nexits - 1; i >= 0; i--) {
        std::memcpy(ends[1], Pos_node(out->exits[i])->pos, sizeof ends[1]);
        if (Sight_unpainted(filter->sight, ends, 2, filter->reach)) {
            out->seen &= ~(1U << i);
        }
    }
}

// False for a node that makes nothing, since its submaze stands in its place, or nothing that is seen.
static bool getjunction(Junction* out, Maze* maze, const GantryFilter* filter, i32 n)
{
    out->maze = maze;
    out->n = n;
    out->node = Maze_node(maze, n);
    if (out->node->sub != nullptr) {
        return false;
    }
    out->nexits = Pos_alledges({maze, n}, out->exits, out->visits);
    setseen(out, filter);
    if (!out->cornersseen && (out->seen & ((1U << out->nexits) - 1)) == 0) {
        return false;
    }
    if (filter == nullptr && Maze_attachment(maze, "EdgeAngleRecs") == nullptr) {
        Maze_edgeanglerecs(maze);
    }
    out->recs = anglerecs({maze, n}, out->own);
    out->nflat = 0;
    for (i32 i = out->nexits - 1; i >= 0; i--) {
        out->nflat += isflat(&out->recs[i]) ? 1 : 0;
    }
    out->colour = colour_drawn(exit_colour(maze, out->node->rec.colour));
    return true;
}

// Whether the way to `target` comes from there too, after this one: nodes and mazes come last first.
static bool isagain(const Junction* junction, Pos target)
{
    const Maze* const maze = junction->maze;
    if (target.maze == maze) {
        return target.node < junction->n;
    }
    return target.maze->parent == maze->parent && target.maze->parentnode < maze->parentnode;
}

// False for an exit that doesn't count, or that isn't seen. The way is good until the next one is got.
static bool getway(Way* out, Junction* junction, i32 i)
{
    const Pos target = junction->exits[i];
    const Maze* const maze = junction->maze;
    if ((junction->seen & 1U << i) == 0 || !exits_drawn(maze, target.maze)) {
        return false;
    }
    const MazeNode* const node = junction->node;
    const MazeNode* const other = Pos_node(target);
    out->rec = &junction->recs[i];
    const i32 backexit = out->rec->backexit;
    out->back = backexit >= 0 ? anglerecs(target, junction->back) + backexit : nullptr;
    out->p = node->pos;
    out->q = other->pos;
    out->radius = node->radius;
    out->qradius = other->radius;
    vec3_sub(out->d, other->pos, node->pos);
    out->length = vec3_length(out->d);
    out->again = isagain(junction, target);
    const u32 colour = junction->visits[i].colour;
    out->colour = colour_drawn(target.maze == maze ? exit_colour(maze, colour) : colour);
    return true;
}

// A flat way makes plate and railing if both its ends are known.
static bool iswalkway(const Way* way)
{
    return isflat(way->rec) && way->back != nullptr;
}

// How many parts an edge is cut into, from the number with its fraction.
static i32 partcount(f64 parts)
{
    if (std::isnan(parts)) {
        return 0;
    }
    return static_cast<i32>(std::fmin(parts, static_cast<f64>(GANTRY_MAXPARTS)));
}

// -------- plates

static void setcorner(GantryCorner* corner, const f64 centre[3], const f64 offset[3], f64 u, f64 v)
{
    vec3_addscaled(corner->pos, centre, offset, 1.0);
    corner->tex[0] = GANTRY_REPEATS * u;
    corner->tex[1] = GANTRY_REPEATS * v;
}

// The axis that a plate's texture is laid along: that of the normal's largest component. A later axis
// must win clearly, so that the shader, which picks in single precision, picks the same one.
static i32 mainaxis(const f64 normal[3])
{
    const f64 margin = 1e-4;
    const f64 x = std::fabs(normal[0]);
    const f64 y = std::fabs(normal[1]);
    const f64 z = std::fabs(normal[2]);
    if (z > std::fmax(x, y) + margin) {
        return 2;
    }
    return y > x + margin ? 1 : 0;
}

// Upright on the walkway, whose sides are level; (0, 0, 1) where they can't be told.
static void setnormal(GantryPlate* plate, const f64 d[3], f64 radius)
{
    const f64 side[3] = {d[1], -d[0], 0.0};
    f64 s[3];
    vec3_unit(s, side);
    const f64 across[3] = {s[0] * radius, s[1] * radius, 0.0};
    const f64 n[3] = {across[1] * d[2], -across[0] * d[2], across[0] * d[1] - across[1] * d[0]};
    vec3_unit(plate->normal, n);
    i32 axis = 0;
    if (vec3_dot(plate->normal, plate->normal) > 0.0) {
        axis = mainaxis(plate->normal);
    } else {
        plate->normal[2] = 1.0;
    }
    const i32 first = (axis + 1) % 3;
    plate->angle = std::atan2(d[(axis + 2) % 3], d[first]);
}

// The plate of a way as it is laid from P.
static void layplate(GantryPlate* plate, const Way* way)
{
    const EdgeAngleRec* const rec = way->rec;
    const EdgeAngleRec* const back = way->back;
    setnormal(plate, way->d, way->radius);
    setcorner(&plate->corners[0], way->p, rec->corner, rec->cornerdist, way->radius);
    setcorner(&plate->corners[1], way->p, rec->prevcorner, rec->prevcornerdist, -way->radius);
    setcorner(&plate->corners[2], way->q, back->corner, way->length - back->cornerdist,
              -way->qradius);
    setcorner(&plate->corners[3], way->q, back->prevcorner, way->length - back->prevcornerdist,
              way->qradius);
}

static Way turned(const Way* way)
{
    Way out = *way;
    out.rec = way->back;
    out.back = way->rec;
    out.p = way->q;
    out.q = way->p;
    out.radius = way->qradius;
    out.qradius = way->radius;
    vec3_sub(out.d, way->p, way->q);
    return out;
}

// The two plates of an edge that is handled from both ends cover each other. Laid from different ends
// they would close each other's holes, since the texture isn't the same from both, and flicker where
// depths differ by a rounding. So the one that comes first is laid as the one that comes over it.
static void makewalkway(const Way* way, const PlateSink* sink)
{
    GantryPlate plate = {};
    plate.colour = way->colour;
    plate.ncorners = 4;
    const Way over = way->again ? turned(way) : *way;
    layplate(&plate, &over);
    sink->take(&plate, sink->to);
}

void gantry_eachwalkway(Maze* maze, const GantryFilter* filter, GantryTakePlate take, void* to)
{
    const PlateSink sink = {take, to};
    Junction junction;
    Way way;
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        if (!getjunction(&junction, maze, filter, n)) {
            continue;
        }
        for (i32 i = junction.nexits - 1; i >= 0; i--) {
            if (getway(&way, &junction, i) && iswalkway(&way)) {
                makewalkway(&way, &sink);
            }
        }
    }
}

static void maketriangle(const Junction* junction, const EdgeAngleRec* rec, const PlateSink* sink)
{
    const f64* const p = junction->node->pos;
    const f64 middle[3] = {0.0, 0.0, 0.0};
    GantryPlate plate = {};
    plate.colour = junction->colour;
    plate.ncorners = 3;
    plate.normal[2] = 1.0;
    setcorner(&plate.corners[0], p, middle, 0.0, 0.0);
    setcorner(&plate.corners[1], p, rec->prevcorner, rec->prevcorner[0], rec->prevcorner[1]);
    setcorner(&plate.corners[2], p, rec->corner, rec->corner[0], rec->corner[1]);
    sink->take(&plate, sink->to);
}

void gantry_eachtriangle(Maze* maze, const GantryFilter* filter, GantryTakePlate take, void* to)
{
    const PlateSink sink = {take, to};
    Junction junction;
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        // two plates meet on a mitre, and a single one has a cap
        if (!getjunction(&junction, maze, filter, n) || junction.nflat <= 2 ||
            !junction.cornersseen) {
            continue;
        }
        for (i32 i = junction.nexits - 1; i >= 0; i--) {
            if (isflat(&junction.recs[i])) {
                maketriangle(&junction, &junction.recs[i], &sink);
            }
        }
    }
}

// -------- stretches

// Across a ladder, level, of length 1.
static void ladderside(f64 out[3], const f64 d[3])
{
    const f64 side[3] = {d[1], -d[0], 0.0};
    vec3_unit(out, side);
    if (!(vec3_dot(out, out) > 0.0)) {
        out[0] = 1.0;
    }
}

static void makeladder(const Way* way, const StretchSink* sink)
{
    GantryStretch out = {};
    out.kind = GANTRY_LADDER;
    out.colour = way->colour;
    out.length = way->length;
    out.parts = partcount(way->length * 3.3333333333333335 + 0.5);
    f64 u[3];
    ladderside(u, way->d);
    for (i32 side = 1; side >= 0; side--) { // left and right
        const f64 offset = side == 0 ? -GANTRY_HALFLADDER : GANTRY_HALFLADDER;
        vec3_addscaled(out.start[side], way->p, u, offset);
        vec3_addscaled(out.end[side], way->q, u, offset);
    }
    vec3_addscaled(out.across, out.across, u, 2 * GANTRY_HALFLADDER);
    sink->take(&out, sink->to);
}

static void makerailing(const Way* way, const StretchSink* sink)
{
    const EdgeAngleRec* const rec = way->rec;
    const EdgeAngleRec* const back = way->back;
    GantryStretch out = {};
    out.kind = GANTRY_WALKWAY;
    out.colour = way->colour;
    out.length = way->length;
    out.parts = partcount(GANTRY_SPANS * way->length + 0.5);
    vec3_addscaled(out.start[0], way->p, rec->prevcorner, 1.0);
    vec3_addscaled(out.end[0], way->q, back->corner, 1.0);
    out.first[0] = rec->prevcornerdist;
    out.last[0] = way->length - back->cornerdist;
    vec3_addscaled(out.start[1], way->p, rec->corner, 1.0);
    vec3_addscaled(out.end[1], way->q, back->prevcorner, 1.0);
    out.first[1] = rec->cornerdist;
    out.last[1] = way->length - back->prevcornerdist;
    sink->take(&out, sink->to);
}

static void makeways(Junction* junction, const StretchSink* sink)
{
    Way way;
    for (i32 i = junction->nexits - 1; i >= 0; i--) {
        if (!getway(&way, junction, i)) {
            continue;
        }
        if (!isflat(way.rec)) {
            makeladder(&way, sink);
        } else if (iswalkway(&way)) {
            makerailing(&way, sink);
        }
    }
}

// Posts in the corners; where a walkway ends, bars between them.
static void makecorners(const Junction* junction, const StretchSink* sink)
{
    GantryStretch out = {};
    out.kind = junction->nflat == 1 ? GANTRY_END : GANTRY_POST;
    out.colour = junction->colour;
    for (i32 i = junction->cornersseen ? junction->nexits - 1 : -1; i >= 0; i--) {
        const EdgeAngleRec* const rec = &junction->recs[i];
        if (isflat(rec)) {
            vec3_addscaled(out.start[0], junction->node->pos, rec->corner, 1.0);
            vec3_addscaled(out.end[0], junction->node->pos, rec->prevcorner, 1.0);
            sink->take(&out, sink->to);
        }
    }
}

void gantry_eachstretch(Maze* maze, const GantryFilter* filter, bool cornersfirst,
                        GantryTakeStretch take, void* to)
{
    const StretchSink sink = {take, to};
    Junction junction;
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        if (!getjunction(&junction, maze, filter, n)) {
            continue;
        }
        if (cornersfirst) {
            makecorners(&junction, &sink);
        }
        makeways(&junction, &sink);
        if (!cornersfirst) {
            makecorners(&junction, &sink);
        }
    }
}

static void makebars(const GantryStretch* stretch, void* to)
{
    const BarSink* const sink = static_cast<BarSink*>(to);
    gantry_stretchbars(stretch, nullptr, sink->take, sink->to);
}

void gantry_eachbar(Maze* maze, GantryTakeBar take, void* to)
{
    BarSink sink = {take, to};
    gantry_eachstretch(maze, nullptr, false, makebars, &sink);
}

static void makeballs(const GantryStretch* stretch, void* to)
{
    const BallSink* const sink = static_cast<BallSink*>(to);
    gantry_stretchballs(stretch, nullptr, sink->take, sink->to);
}

void gantry_eachball(Maze* maze, GantryTakeBall take, void* to)
{
    BallSink sink = {take, to};
    gantry_eachstretch(maze, nullptr, true, makeballs, &sink);
}
