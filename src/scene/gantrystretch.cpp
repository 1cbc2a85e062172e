#include "scene/gantrystretch.h"

#include "base/vec3.h"

#include <cmath>
#include <cstring>

static const f64 upright[3] = {0.0, 0.0, GANTRY_HEIGHT};
static const i32 levels = 2; // of bars, one above the other

// Where the parts of one stretch go; one of the two receivers is null.
struct Sink {
    GantryTakeBar takebar;
    GantryTakeBall takeball;
    void* to;
    const Sight* sight; // null: all is wanted
};

// Equal parts of a stretch, numbered along it from `first` to `last`, on one or both of its lines.
struct Row {
    const GantryStretch* stretch;
    const Sink* sink;
    i32 first;
    i32 last;
    f64 axis[3]; // of a bar; a ball stands at the end of it
    f64 radius;
};

// -------- single parts

static void takebar(const Sink* sink, u32 colour, const f64 start[3], const f64 axis[3], f64 radius)
{
    GantryBar bar = {};
    bar.colour = colour;
    bar.radius = radius;
    std::memcpy(bar.start, start, sizeof bar.start);
    std::memcpy(bar.axis, axis, sizeof bar.axis);
    sink->takebar(&bar, sink->to);
}

static void takeball(const Sink* sink, u32 colour, const f64 centre[3])
{
    GantryBall ball = {};
    ball.colour = colour;
    ball.radius = GANTRY_BALLRADIUS;
    std::memcpy(ball.centre, centre, sizeof ball.centre);
    sink->takeball(&ball, sink->to);
}

static void makebar(const Sink* sink, u32 colour, const f64 start[3], const f64 axis[3])
{
    f64 ends[2][3];
    vec3_addscaled(ends[0], start, axis, 0.0);
    vec3_addscaled(ends[1], start, axis, 1.0);
    if (sink->sight == nullptr || !Sight_unpainted(sink->sight, ends, 2, GANTRY_BARRADIUS)) {
        takebar(sink, colour, start, axis, GANTRY_BARRADIUS);
    }
}

static void makeball(const Sink* sink, u32 colour, const f64 centre[3])
{
    const f64 places[1][3] = {{centre[0], centre[1], centre[2]}};
    if (sink->sight == nullptr || !Sight_unpainted(sink->sight, places, 1, GANTRY_BALLRADIUS)) {
        takeball(sink, colour, centre);
    }
}

// From over `a` to over `b`, the lower one first.
static void makerail(const Sink* sink, u32 colour, const f64 a[3], const f64 b[3], i32 level)
{
    f64 start[3];
    f64 axis[3];
    vec3_addscaled(start, a, upright, static_cast<f64>(level + 1) / levels);
    vec3_sub(axis, b, a);
    makebar(sink, colour, start, axis);
}

static void maketop(const Sink* sink, u32 colour, const f64 foot[3])
{
    f64 top[3];
    vec3_addscaled(top, foot, upright, 1.0);
    makeball(sink, colour, top);
}

// -------- rows

// Whether all posts of a side stand in one place: a corner has cut it down to nothing.
static bool isspot(const GantryStretch* stretch, i32 side)
{
    return stretch->kind == GANTRY_WALKWAY && !(stretch->last[side] - stretch->first[side] != 0.0);
}

// How far along its line part `i` stands, from 0 to 1. Posts of both sides stand in line across the
// walkway.
static f64 weightof(const GantryStretch* stretch, i32 side, i32 i)
{
    if (stretch->kind == GANTRY_LADDER) {
        return (i + 0.5) / stretch->parts;
    }
    const f64 s = i * stretch->length / stretch->parts;
    return isspot(stretch, side)
               ? 0.0
               : (s - stretch->first[side]) / (stretch->last[side] - stretch->first[side]);
}

// The foot of a post, or the start of a rung.
static void partplace(f64 out[3], const Row* row, i32 side, i32 i)
{
    const GantryStretch* const stretch = row->stretch;
    f64 along[3];
    vec3_sub(along, stretch->end[side], stretch->start[side]);
    vec3_addscaled(out, stretch->start[side], along, weightof(stretch, side, i));
}

static void takepart(const Row* row, i32 side, i32 i)
{
    f64 place[3];
    partplace(place, row, side, i);
    if (row->sink->takebar != nullptr) {
        takebar(row->sink, row->stretch->colour, place, row->axis, row->radius);
        return;
    }
    if (row->sink->takeball != nullptr) {
        f64 top[3];
        vec3_addscaled(top, place, row->axis, 1.0);
        takeball(row->sink, row->stretch->colour, top);
    }
}

static void takeall(const Row* row, i32 sides)
{
    for (i32 i = row->first; i <= row->last; i++) { // away from P
        for (i32 side = 0; side < sides; side++) {
            takepart(row, side, i);
        }
    }
}

// Whether nothing is painted of the parts from `from` to `to` on one side. Of many on one spot the first
// one shows what all of them do.
static bool unpainted(const Row* row, i32 side, i32 from, i32 to)
{
    if (isspot(row->stretch, side) && from > row->first) {
        return true;
    }
    f64 feet[2][3];
    f64 ends[4][3];
    partplace(feet[0], row, side, from);
    partplace(feet[1], row, side, to);
    i32 n = 0;
    for (const f64(&foot)[3] : feet) {
        vec3_addscaled(ends[n++], foot, row->axis, 1.0);
        if (row->sink->takebar != nullptr) {
            vec3_addscaled(ends[n++], foot, row->axis, 0.0);
        }
    }
    return Sight_unpainted(row->sink->sight, ends, n, row->radius);
}

// What is in sight of the parts from `from` to `to`, on the sides whose bits are set.
static void takeseen(const Row* row, i32 from, i32 to, u32 sides)
{
    u32 seen = 0;
    for (i32 side = 1; side >= 0; side--) {
        const u32 bit = 1U << side;
        seen |= (sides & bit) != 0 && !unpainted(row, side, from, to) ? bit : 0;
    }
    if (seen == 0) {
        return;
    }
    if (from < to) {
        const i32 middle = from + (to - from) / 2;
        takeseen(row, from, middle, seen);
        takeseen(row, middle + 1, to, seen);
        return;
    }
    for (i32 side = 0; side < 2; side++) { // the right-hand one first
        if ((seen & 1U << side) != 0) {
            takepart(row, side, from);
        }
    }
}

// What is further away can't be drawn: it fits no number of the card, or no part of the world.
static bool isplace(const f64 v[3])
{
    return std::fabs(v[0]) + std::fabs(v[1]) + std::fabs(v[2]) < 1e37;
}

static void makerow(const Row* row, i32 sides)
{
    if (row->first > row->last) {
        return;
    }
    if (row->sink->sight == nullptr) {
        takeall(row, sides);
        return;
    }
    u32 drawn = 0;
    for (i32 side = sides - 1; side >= 0; side--) {
        f64 ends[2][3];
        partplace(ends[0], row, side, row->first);
        partplace(ends[1], row, side, row->last);
        drawn |= isplace(ends[0]) && isplace(ends[1]) ? 1U << side : 0;
    }
    takeseen(row, row->first, row->last, drawn);
}

// The posts of a walkway, or their tops.
static void makeposts(const GantryStretch* stretch, const Sink* sink)
{
    Row row = {.stretch = stretch,
               .sink = sink,
               .first = 1,
               .last = stretch->parts - 1,
               .axis = {},
               .radius = GANTRY_BARRADIUS};
    std::memcpy(row.axis, upright, sizeof row.axis);
    if (sink->takebar == nullptr) {
        row.radius = GANTRY_BALLRADIUS;
    }
    makerow(&row, 2);
}

static void makerungs(const GantryStretch* stretch, const Sink* sink)
{
    Row row = {.stretch = stretch,
               .sink = sink,
               .first = 0,
               .last = stretch->parts - 1,
               .axis = {},
               .radius = GANTRY_RUNGRADIUS};
    std::memcpy(row.axis, stretch->across, sizeof row.axis);
    makerow(&row, 1);
}

// -------- stretches

static void makerails(const GantryStretch* stretch, const Sink* sink, i32 sides)
{
    for (i32 level = 0; level < levels; level++) { // the lower bars first
        for (i32 side = 0; side < sides; side++) {
            makerail(sink, stretch->colour, stretch->start[side], stretch->end[side], level);
        }
    }
}

static void makeladder(const GantryStretch* stretch, const Sink* sink)
{
    for (i32 side = 0; side < 2; side++) {
        f64 axis[3];
        vec3_sub(axis, stretch->end[side], stretch->start[side]);
        makebar(sink, stretch->colour, stretch->start[side], axis);
    }
    makerungs(stretch, sink);
}

void gantry_stretchbars(const GantryStretch* stretch, const Sight* sight, GantryTakeBar take,
                        void* to)
{
    const Sink sink = {.takebar = take, .takeball = nullptr, .to = to, .sight = sight};
    switch (stretch->kind) {
    case GANTRY_LADDER: makeladder(stretch, &sink); break;
    case GANTRY_WALKWAY:
        makerails(stretch, &sink, 2);
        makeposts(stretch, &sink);
        break;
    case GANTRY_END:
        makebar(&sink, stretch->colour, stretch->start[0], upright);
        makerails(stretch, &sink, 1);
        makebar(&sink, stretch->colour, stretch->end[0], upright);
        break;
    default: makebar(&sink, stretch->colour, stretch->start[0], upright); break;
    }
}

void gantry_stretchballs(const GantryStretch* stretch, const Sight* sight, GantryTakeBall take,
                         void* to)
{
    const Sink sink = {.takebar = nullptr, .takeball = take, .to = to, .sight = sight};
    switch (stretch->kind) {
    case GANTRY_LADDER:
        for (i32 side = 0; side < 2; side++) { // P's end first
            makeball(&sink, stretch->colour, stretch->start[side]);
        }
        for (i32 side = 0; side < 2; side++) {
            makeball(&sink, stretch->colour, stretch->end[side]);
        }
        break;
    case GANTRY_WALKWAY: makeposts(stretch, &sink); break;
    case GANTRY_END:
        maketop(&sink, stretch->colour, stretch->start[0]);
        maketop(&sink, stretch->colour, stretch->end[0]);
        break;
    default: maketop(&sink, stretch->colour, stretch->start[0]); break;
    }
}

f64 gantry_stretchstray(const GantryStretch* stretch)
{
    if (stretch->kind != GANTRY_WALKWAY || stretch->parts < 2) {
        return 0.0;
    }
    f64 most = 0.0;
    for (i32 side = 1; side >= 0; side--) {
        const f64 first = weightof(stretch, side, 1);
        const f64 last = weightof(stretch, side, stretch->parts - 1);
        const f64 before = std::fmax(0.0, -std::fmin(first, last));
        const f64 behind = std::fmax(0.0, std::fmax(first, last) - 1.0);
        f64 along[3];
        vec3_sub(along, stretch->end[side], stretch->start[side]);
        most = std::fmax(most, std::fmax(before, behind) * vec3_length(along));
    }
    return most;
}

i32 gantry_stretchcount(const GantryStretch* stretch)
{
    switch (stretch->kind) {
    case GANTRY_LADDER: return 2 + stretch->parts;
    case GANTRY_WALKWAY: return 2 * levels + 2 * stretch->parts;
    case GANTRY_END: return 4;
    default: return 1;
    }
}
