#include "model/mazegame.h"

#include "base/rnd.h"
#include "base/vec3.h"
#include "generate/makemaze.h"
#include "model/attachment.h"
#include "model/stategraph.h"

#include <cmath>

static constexpr f64 ZOOM_UNSET = 20.0; // until there is a world to measure
static constexpr f64 ZOOM_RADII = 50.0; // at the start, in radii of node 0 of the root
static constexpr f64 ZOOM_LEAST = 1e-18;
static constexpr f64 ZOOM_MOST = 1e18;

enum { ROAMER_TRIES = 50 };

/// A scan of the exits of a node: the one that fits best and the two greatest cosines.
struct ExitScan {
    i32 best; // -1: every exit lies behind
    f64 first;
    f64 second;
};

static bool finite3(const f64 v[3])
{
    return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
}

static void copy3(f64 out[3], const f64 v[3])
{
    out[0] = v[0];
    out[1] = v[1];
    out[2] = v[2];
}

static void clear3(f64 out[3])
{
    out[0] = 0.0;
    out[1] = 0.0;
    out[2] = 0.0;
}

void MazeGame_setup(MazeGame* out)
{
    *out = {};
    out->pos = Pos_null;
    out->orient[0] = 1.0;
    out->orient[4] = 1.0;
    out->orient[8] = 1.0;
    out->zoom = ZOOM_UNSET;
    viewrec_capture(&out->view);
    GrowArray_init(&out->roamers, sizeof(Roamer));
}

void MazeGame_startcamera(MazeGame* game)
{
    game->zoom = zoom_held(ZOOM_RADII * Maze_node(game->root, 0)->radius, ZOOM_UNSET);
    const f64* const stand = Pos_node(game->pos)->pos;
    for (i32 k = 2; k >= 0; k--) {
        game->campos[k] = stand[k] + game->zoom * game->orient[6 + k];
    }
    if (!finite3(game->campos)) { // a loaded view may be anything that is a number
        copy3(game->campos, stand);
    }
}

void MazeGame_new(MazeGame* out, i32 kind)
{
    MazeGame_setup(out);
    MazeGame_generate(out, kind);
    MazeGame_startcamera(out);
}

void MazeGame_free(MazeGame* game)
{
    if (game->root != nullptr) {
        Maze_free(game->root, true);
        game->root = nullptr;
    }
    GrowArray_free(&game->roamers);
}

Walker MazeGame_walker(const MazeGame* game)
{
    return {.pos = game->pos, .step = {game->step[0], game->step[1], game->step[2]}};
}

// The cosine between a unit vector (or zero) and the way to an exit: at most 1, 0 for an exit of no
// length. What overflows gives 0 or NaN, and neither is ever the greater one.
static f64 exitcosine(const f64 from[3], Pos exit, const f64 direction[3])
{
    f64 way[3];
    vec3_sub(way, Pos_node(exit)->pos, from);
    const f64 length = vec3_length(way);
    if (!(length > 0.0)) {
        return 0.0;
    }
    const f64 cosine = vec3_dot(way, direction) / length;
    return cosine > 1.0 ? 1.0 : cosine;
}

static ExitScan scanexits(Pos at, const f64 step[3], const Pos* exits, i32 n)
{
    const f64* const from = Pos_node(at)->pos;
    f64 direction[3];
    vec3_unit(direction, step);
    ExitScan scan = {.best = -1, .first = 0.0, .second = 0.0};
    for (i32 i = n - 1; i >= 0; i--) {
        const f64 cosine = exitcosine(from, exits[i], direction);
        if (cosine > scan.second) {
            scan.second = cosine;
        }
        if (cosine > scan.first) {
            scan.second = scan.first;
            scan.first = cosine;
            scan.best = i;
        }
    }
    return scan;
}

// The share of the way to an exit that a step covers: (step . e) / (e . e).
static f64 sharewalked(Pos at, const f64 step[3], Pos exit)
{
    f64 e[3];
    vec3_sub(e, Pos_node(exit)->pos, Pos_node(at)->pos);
    return vec3_dot(step, e) / vec3_dot(e, e);
}

i32 Walker_bestexit(const Walker* walker, const Pos* exits, i32 n, f64* fraction)
{
    const ExitScan scan = scanexits(walker->pos, walker->step, exits, n);
    if (fraction == nullptr) {
        return scan.best;
    }
    *fraction = 0.0;
    if (scan.best >= 0) {
        f64 seen = sharewalked(walker->pos, walker->step, exits[scan.best]);
        if (scan.second > 0.0) {
            seen *= 1.0 - std::acos(scan.first) / std::acos(scan.second);
        }
        *fraction = std::isfinite(seen) ? seen : 0.0; // two exits dead ahead give 0 / 0
    }
    return scan.best;
}

void MazeGame_viewpos_radius(f64 out[3], const MazeGame* game, f64* radius)
{
    const Walker walker = MazeGame_walker(game);
    const MazeNode* const node = Pos_node(walker.pos);
    copy3(out, node->pos);
    if (radius != nullptr) {
        *radius = node->radius;
    }
    Pos exits[POS_MAXEDGES];
    const i32 n = Pos_alledges(walker.pos, exits, nullptr);
    f64 f = 0.0;
    const i32 best = Walker_bestexit(&walker, exits, n, &f);
    if (best < 0) {
        return;
    }
    const MazeNode* const target = Pos_node(exits[best]);
    f64 seen[3];
    for (i32 k = 2; k >= 0; k--) {
        seen[k] = (1.0 - f) * node->pos[k] + f * target->pos[k];
    }
    const f64 seenradius = (1.0 - f) * node->radius + f * target->radius;
    if (finite3(seen) && std::isfinite(seenradius)) {
        copy3(out, seen);
        if (radius != nullptr) {
            *radius = seenradius;
        }
    }
}

void MazeGame_viewpos(f64 out[3], const MazeGame* game)
{
    MazeGame_viewpos_radius(out, game, nullptr);
}

Pos MazeGame_place(Pos pos)
{
    while (Pos_node(pos)->sub != nullptr) {
        pos = {Pos_node(pos)->sub, 0};
    }
    return pos;
}

void MazeGame_settle(MazeGame* game)
{
    game->pos = MazeGame_place(game->pos);
    for (i32 i = static_cast<i32>(game->roamers.count) - 1; i >= 0; i--) {
        Roamer* const roamer = items<Roamer>(&game->roamers) + i;
        roamer->pos = MazeGame_place(roamer->pos);
        roamer->prev = MazeGame_place(roamer->prev);
    }
}

// Adds the movement to the step and passes an exit that it covers.
static void takestep(MazeGame* game, const f64 delta[3])
{
    for (i32 k = 2; k >= 0; k--) {
        game->step[k] += delta[k];
    }
    if (!finite3(game->step)) {
        clear3(game->step);
    }
    const Pos before = game->pos;
    Pos exits[POS_MAXEDGES];
    const i32 n = Pos_alledges(before, exits, nullptr);
    const ExitScan scan = scanexits(before, game->step, exits, n);
    if (scan.best < 0) {
        clear3(game->step);
        return;
    }
    if (sharewalked(before, game->step, exits[scan.best]) > 1.0) {
        clear3(game->step);
        game->pos = exits[scan.best];
        Pos_markwalked(before, game->pos, game->time);
    }
}

void MazeGame_move(MazeGame* game, const f64 delta[3])
{
    takestep(game, delta);
    if (Maze_attachment(game->pos.maze, "rep") != nullptr) {
        Maze_stategrow(game->pos.maze, game->pos.node);
        MazeGame_settle(game);
    }
}

// Draws an exit that doesn't lead back, if one comes up; a dead end gives the way back.
static Pos drawnexit(const Pos* exits, i32 n, Pos prev)
{
    Pos drawn = Pos_null;
    for (i32 tries = ROAMER_TRIES; tries > 0; tries--) {
        drawn = exits[irand(n)];
        if (!Pos_same(drawn, prev)) {
            break;
        }
    }
    return drawn;
}

static void moveroamer(Roamer* roamer, f64 dt, f64 time)
{
    roamer->timer -= dt;
    if (roamer->timer > 0.0) {
        return;
    }
    roamer->timer = roamer->period;
    Pos exits[POS_MAXEDGES];
    const i32 n = Pos_alledges(roamer->pos, exits, nullptr);
    if (n == 0) {
        return;
    }
    const Pos next = drawnexit(exits, n, roamer->prev);
    Pos_marktrailed(roamer->pos, next, time);
    roamer->prev = roamer->pos;
    roamer->pos = next;
}

void MazeGame_moveroamers(MazeGame* game, f64 dt)
{
    for (i32 i = static_cast<i32>(game->roamers.count) - 1; i >= 0; i--) {
        moveroamer(items<Roamer>(&game->roamers) + i, dt, game->time);
    }
}

void Roamer_make(Roamer* out, Maze* maze)
{
    const Pos pos = {.maze = maze, .node = irand(Maze_count(maze))};
    const f64 period = rnd(0.3);
    *out = {.timer = period, .period = period, .pos = pos, .prev = pos};
}

f64 zoom_held(f64 zoom, f64 instead)
{
    if (!std::isfinite(zoom)) {
        return instead;
    }
    if (zoom < ZOOM_LEAST) {
        return ZOOM_LEAST;
    }
    return zoom > ZOOM_MOST ? ZOOM_MOST : zoom;
}
