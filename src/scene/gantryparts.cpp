#include "scene/gantryparts.h"

#include "base/vec3.h"
#include "model/attachment.h"
#include "model/pos.h"
#include "scene/colours.h"
#include "scene/exits.h"

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
using BarSink = Sink<GantryTakeBar>;
using BallSink = Sink<GantryTakeBall>;

static void addscaled(f64 out[3], const f64 a[3], const f64 b[3], f64 k)
{
    out[0] = a[0] + b[0] * k;
    out[1] = a[1] + b[1] * k;
    out[2] = a[2] + b[2] * k;
}

static const EdgeAngleRec* anglerecs(Maze* maze, i32 node)
{
    const EdgeAngleRec* table = static_cast<EdgeAngleRec*>(Maze_attachment(maze, "EdgeAngleRecs"));
    if (table == nullptr) {
        table = Maze_edgeanglerecs(maze);
    }
    return table + static_cast<size_t>(node) * POS_MAXEDGES;
}

static bool isflat(const EdgeAngleRec* rec)
{
    return rec->angle < EDGEANGLE_STEEP;
}

// False for a node that makes nothing, since its submaze stands in its place.
static bool getjunction(Junction* out, Maze* maze, i32 n)
{
    out->maze = maze;
    out->n = n;
    out->node = Maze_node(maze, n);
    if (out->node->sub != nullptr) {
        return false;
    }
    out->recs = anglerecs(maze, n);
    out->nexits = Pos_alledges({maze, n}, out->exits, out->visits);
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

// False for an exit that doesn't count.
static bool getway(Way* out, const Junction* junction, i32 i)
{
    const Pos target = junction->exits[i];
    const Maze* const maze = junction->maze;
    if (!exits_drawn(maze, target.maze)) {
        return false;
    }
    const MazeNode* const node = junction->node;
    const MazeNode* const other = Pos_node(target);
    out->rec = &junction->recs[i];
    const i32 backexit = out->rec->backexit;
    out->back = backexit >= 0 ? anglerecs(target.maze, target.node) + backexit : nullptr;
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
    addscaled(corner->pos, centre, offset, 1.0);
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

void gantry_eachwalkway(Maze* maze, GantryTakePlate take, void* to)
{
    const PlateSink sink = {take, to};
    Junction junction;
    Way way;
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        if (!getjunction(&junction, maze, n)) {
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

void gantry_eachtriangle(Maze* maze, GantryTakePlate take, void* to)
{
    const PlateSink sink = {take, to};
    Junction junction;
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        // two plates meet on a mitre, and a single one has a cap
        if (!getjunction(&junction, maze, n) || junction.nflat <= 2) {
            continue;
        }
        for (i32 i = junction.nexits - 1; i >= 0; i--) {
            if (isflat(&junction.recs[i])) {
                maketriangle(&junction, &junction.recs[i], &sink);
            }
        }
    }
}

// -------- the sides of a walkway

// One side, from `a` at P to `b` at Q; `first` and `last` are their distances along the edge.
struct Side {
    f64 a[3];
    f64 b[3];
    f64 first;
    f64 last;
};

// The right-hand side, which comes first, and the left-hand one.
static void getsides(Side sides[2], const Way* way)
{
    const EdgeAngleRec* const rec = way->rec;
    const EdgeAngleRec* const back = way->back;
    addscaled(sides[0].a, way->p, rec->prevcorner, 1.0);
    addscaled(sides[0].b, way->q, back->corner, 1.0);
    sides[0].first = rec->prevcornerdist;
    sides[0].last = way->length - back->cornerdist;
    addscaled(sides[1].a, way->p, rec->corner, 1.0);
    addscaled(sides[1].b, way->q, back->prevcorner, 1.0);
    sides[1].first = rec->cornerdist;
    sides[1].last = way->length - back->prevcornerdist;
}

// The foot of a post at distance `s` along the edge. A side that a corner has cut down to nothing has
// its posts in one place.
static void postfoot(f64 out[3], const Side* side, f64 s)
{
    const f64 span = side->last - side->first;
    const f64 weight = span != 0.0 ? (s - side->first) / span : 0.0;
    f64 along[3];
    vec3_sub(along, side->b, side->a);
    addscaled(out, side->a, along, weight);
}

// Spans between the posts of an edge; they are about 5 long.
static i32 spancount(const Way* way)
{
    return partcount(0.2 * way->length + 0.5);
}

// Across a ladder, level, of length 1.
static void ladderside(f64 out[3], const f64 d[3])
{
    const f64 side[3] = {d[1], -d[0], 0.0};
    vec3_unit(out, side);
    if (!(vec3_dot(out, out) > 0.0)) {
        out[0] = 1.0;
    }
}

// -------- bars

static const f64 upright[3] = {0.0, 0.0, GANTRY_HEIGHT};
static const i32 levels = 2; // of bars, one above the other

static void makebar(const BarSink* sink, u32 colour, const f64 start[3], const f64 axis[3],
                    f64 radius)
{
    GantryBar bar = {};
    bar.colour = colour;
    bar.radius = radius;
    std::memcpy(bar.start, start, sizeof bar.start);
    std::memcpy(bar.axis, axis, sizeof bar.axis);
    sink->take(&bar, sink->to);
}

static void makepost(const BarSink* sink, u32 colour, const f64 foot[3])
{
    makebar(sink, colour, foot, upright, GANTRY_BARRADIUS);
}

// The bar from over `a` to over `b`, at one of the levels.
static void makerail(const BarSink* sink, u32 colour, const f64 a[3], const f64 b[3], i32 level)
{
    f64 start[3];
    f64 axis[3];
    addscaled(start, a, upright, static_cast<f64>(level + 1) / levels);
    vec3_sub(axis, b, a);
    makebar(sink, colour, start, axis, GANTRY_BARRADIUS);
}

static void makeladder(const Way* way, const BarSink* sink)
{
    f64 u[3];
    f64 left[3];
    f64 right[3];
    ladderside(u, way->d);
    addscaled(left, way->p, u, -GANTRY_HALFLADDER);
    addscaled(right, way->p, u, GANTRY_HALFLADDER);
    makebar(sink, way->colour, left, way->d, GANTRY_BARRADIUS);
    makebar(sink, way->colour, right, way->d, GANTRY_BARRADIUS);
    const f64 nothing[3] = {0.0, 0.0, 0.0};
    f64 across[3];
    addscaled(across, nothing, u, 2 * GANTRY_HALFLADDER);
    const i32 n = partcount(way->length * 3.3333333333333335 + 0.5);
    for (i32 i = 0; i < n; i++) { // upward from P
        f64 start[3];
        addscaled(start, left, way->d, (i + 0.5) / n);
        makebar(sink, way->colour, start, across, GANTRY_RUNGRADIUS);
    }
}

static void makerailing(const Way* way, const BarSink* sink)
{
    Side sides[2];
    getsides(sides, way);
    for (i32 level = 0; level < levels; level++) { // the lower bars first
        makerail(sink, way->colour, sides[0].a, sides[0].b, level);
        makerail(sink, way->colour, sides[1].a, sides[1].b, level);
    }
    const i32 n = spancount(way);
    for (i32 i = 1; i < n; i++) { // away from P
        for (const Side& side : sides) {
            f64 foot[3];
            postfoot(foot, &side, i * way->length / n);
            makepost(sink, way->colour, foot);
        }
    }
}

// The end of a walkway: a post at each corner and bars between them.
static void makeend(const Junction* junction, const EdgeAngleRec* rec, const BarSink* sink)
{
    f64 left[3];
    f64 right[3];
    addscaled(left, junction->node->pos, rec->corner, 1.0);
    addscaled(right, junction->node->pos, rec->prevcorner, 1.0);
    makepost(sink, junction->colour, left);
    for (i32 level = 0; level < levels; level++) { // the lower bar first
        makerail(sink, junction->colour, left, right, level);
    }
    makepost(sink, junction->colour, right);
}

static void makecornerposts(const Junction* junction, const BarSink* sink)
{
    for (i32 i = junction->nexits - 1; i >= 0; i--) {
        const EdgeAngleRec* const rec = &junction->recs[i];
        if (!isflat(rec)) {
            continue;
        }
        if (junction->nflat == 1) {
            makeend(junction, rec, sink);
        } else {
            f64 foot[3];
            addscaled(foot, junction->node->pos, rec->corner, 1.0);
            makepost(sink, junction->colour, foot);
        }
    }
}

void gantry_eachbar(Maze* maze, GantryTakeBar take, void* to)
{
    const BarSink sink = {take, to};
    Junction junction;
    Way way;
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        if (!getjunction(&junction, maze, n)) {
            continue;
        }
        for (i32 i = junction.nexits - 1; i >= 0; i--) {
            if (!getway(&way, &junction, i)) {
                continue;
            }
            if (!isflat(way.rec)) {
                makeladder(&way, &sink);
            } else if (iswalkway(&way)) {
                makerailing(&way, &sink);
            }
        }
        makecornerposts(&junction, &sink);
    }
}

// -------- balls

// `offset` times `k` from a place.
static void makeball(const BallSink* sink, u32 colour, const f64 place[3], const f64 offset[3],
                     f64 k)
{
    GantryBall ball = {};
    ball.colour = colour;
    ball.radius = GANTRY_BALLRADIUS;
    addscaled(ball.centre, place, offset, k);
    sink->take(&ball, sink->to);
}

// On top of a post that stands in a corner.
static void maketop(const Junction* junction, const f64 corner[3], const BallSink* sink)
{
    f64 foot[3];
    addscaled(foot, junction->node->pos, corner, 1.0);
    makeball(sink, junction->colour, foot, upright, 1.0);
}

static void makecornertops(const Junction* junction, const BallSink* sink)
{
    for (i32 i = junction->nexits - 1; i >= 0; i--) {
        const EdgeAngleRec* const rec = &junction->recs[i];
        if (!isflat(rec)) {
            continue;
        }
        maketop(junction, rec->corner, sink);
        if (junction->nflat == 1) {
            maketop(junction, rec->prevcorner, sink);
        }
    }
}

static void makeladderends(const Way* way, const BallSink* sink)
{
    f64 u[3];
    ladderside(u, way->d);
    makeball(sink, way->colour, way->p, u, -GANTRY_HALFLADDER);
    makeball(sink, way->colour, way->p, u, GANTRY_HALFLADDER);
    makeball(sink, way->colour, way->q, u, -GANTRY_HALFLADDER);
    makeball(sink, way->colour, way->q, u, GANTRY_HALFLADDER);
}

static void maketops(const Way* way, const BallSink* sink)
{
    Side sides[2];
    getsides(sides, way);
    const i32 n = spancount(way);
    for (i32 i = 1; i < n; i++) { // as the posts
        for (const Side& side : sides) {
            f64 foot[3];
            postfoot(foot, &side, i * way->length / n);
            makeball(sink, way->colour, foot, upright, 1.0);
        }
    }
}

void gantry_eachball(Maze* maze, GantryTakeBall take, void* to)
{
    const BallSink sink = {take, to};
    Junction junction;
    Way way;
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        if (!getjunction(&junction, maze, n)) {
            continue;
        }
        makecornertops(&junction, &sink);
        for (i32 i = junction.nexits - 1; i >= 0; i--) {
            if (!getway(&way, &junction, i)) {
                continue;
            }
            if (!isflat(way.rec)) {
                makeladderends(&way, &sink);
            } else if (iswalkway(&way)) {
                maketops(&way, &sink);
            }
        }
    }
}
