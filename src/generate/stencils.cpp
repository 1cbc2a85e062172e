#include "generate/stencils.h"

#include "base/report.h"
#include "base/rnd.h"
#include "generate/grids.h"
#include "generate/names.h"
#include "generate/rings.h"
#include "generate/tilings.h"
#include "model/attachment.h"
#include "model/connect.h"
#include "model/drawsphere.h"

#include <cmath>
#include <cstdio>

enum { STENCIL_TYPES = 13 };

bool stencil_progress_to_stderr = false; // written by tools only

f64 Maze_nodeangle(const Maze* maze, i32 node, i32 k)
{
    const MazeNode* const from = Maze_node(maze, node);
    f64 cosines = 0.0;
    f64 sines = 0.0;
    for (i32 slot = static_cast<i32>(from->nedges) - 1; slot >= 0; slot--) {
        const MazeNode* const to = Maze_node(maze, from->edges[slot]);
        const f64 dx = to->pos[0] - from->pos[0];
        const f64 dy = to->pos[1] - from->pos[1];
        if (dx != 0.0 || dy != 0.0) {
            const f64 t = std::atan2(dy, dx) * k;
            cosines += std::cos(t);
            sines += std::sin(t);
        }
    }
    return sines != 0.0 || cosines != 0.0 ? std::atan2(sines, cosines) / k : 0.0;
}

// Hangs a stencil; the draw spheres are the caller's.
static void plant(Maze* maze, i32 node, Maze* stencil)
{
    MazeNode* const holder = Maze_node(maze, node);
    f64 mean[3];
    Maze_centroid(mean, stencil);
    const f64 back[3] = {-mean[0], -mean[1], -mean[2]}; // adding it is subtracting the mean exactly
    Maze_translate(stencil, back, false);
    const f64 turn[3] = {0.0, 0.0, Maze_nodeangle(maze, node, 4)};
    Maze_rotate(stencil, turn);
    Maze_translate(stencil, holder->pos, false);
    stencil->parent = maze;
    stencil->parentnode = node;
    holder->sub = stencil;
    Maze_fixports(stencil);
}

void Maze_plantstencil(Maze* maze, i32 node, Maze* stencil)
{
    plant(maze, node, stencil);
    Maze_freeflags(maze, ATT_GEOMETRY, false);
}

// Radii grow too, unlike in Maze_scale.
static void enlarge(Maze* maze, f64 s)
{
    Maze_scale(maze, s);
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        Maze_node(maze, i)->radius *= s;
    }
}

// Gives the nodes of a leaf maze their stencils.
static void nest(Maze* maze, f64 p, f64 s, StencilFunction stencil)
{
    bool any = false;
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        const f64 u = rnd(1.0);
        if (!(u < p) || Pos_submaze_exit({maze, i}).maze != nullptr) { // a port holds no submaze
            continue;
        }
        plant(maze, i, stencil(s, {maze, i}));
        any = true;
    }
    if (any) {
        Maze_freeflags(maze, ATT_GEOMETRY, false);
    }
}

void recursify(Maze* maze, f64 p, f64 s, StencilFunction stencil)
{
    enlarge(maze, s);
    bool leaf = true;
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        Maze* const sub = Maze_node(maze, i)->sub;
        if (sub != nullptr) {
            recursify(sub, p, s, stencil);
            leaf = false;
        }
    }
    if (leaf) {
        nest(maze, p, s, stencil);
    }
}

// A block of about s squared nodes, flat to cubic. Two draws.
static Maze* blockstencil(f64 s)
{
    const f32 f = static_cast<f32>(rnd(1.0 / 3.0));
    const f32 g = f + f;
    const i32 w = static_cast<i32>(std::pow(s, 1.0 - static_cast<f64>(f)));
    const i32 d = static_cast<i32>(std::pow(s, static_cast<f64>(g)));
    return grid_maze(w, w, d);
}

// A hollow cube. Two draws.
static Maze* cubestencil(f64 s)
{
    const i32 n = irand(static_cast<i32>(s - 1.0)) + 1;
    return box_maze(n, n, n);
}

// A hollow box. Six draws.
static Maze* boxstencil(f64 s)
{
    const i32 n = static_cast<i32>(s - 1.0);
    const i32 a = irand(n);
    const i32 b = irand(n);
    const i32 c = irand(n);
    return box_maze(c + 1, b + 1, a + 1);
}

static Maze* stencil(i32 type, f64 s, f64 hs)
{
    const i32 n = static_cast<i32>(hs);
    const f64 major = hs * (2.0 / 3.0);
    const f64 minor = hs * (1.0 / 3.0);
    switch (type) {
    case 3: return ring_disc(n, 1);
    case 4: return trigrid_triangle(n);
    case 5: return trigrid_honeycomb(n);
    case 6: return sphere_maze(hs);
    case 7: return torus_maze(major, minor);
    case 8: return moebius_maze(major, minor);
    case 9: return cubestencil(s);
    case 10: return boxstencil(s);
    case 11: return trigrid_hexagon(n);
    case 12: return octagon_tiling(n);
    default: return blockstencil(s);
    }
}

Maze* recursify_stencil(f64 s, Pos where)
{
    static_cast<void>(where);
    const i32 type = irand(STENCIL_TYPES);
    s = s > 1.0 ? s : 1.0;
    const f64 half = (s - 1.0) * 0.5;
    const f64 hs = half > 1.0 ? half : 1.0;
    std::FILE* const out = stencil_progress_to_stderr ? stderr : stdout;
    std::fprintf(out, "recursify_stencil(s=%lg,hs=%lg,type=%d) ", s, hs, type);
    Maze* const maze = stencil(type, s, hs);
    std::fprintf(out, "DONE(%d nodes)\n", Maze_count(maze));
    if (Maze_count(maze) == 0) {
        report_inner("makemaze", 49, REPORT_FATAL,
                     "recursify_stencil generated a maze with no nodes", 0);
    }
    return maze;
}

Maze* recursify_stencil_scaled(f64 s, Pos where)
{
    f64 k = 1.0;
    if (s >= 16.0) {
        const f64 exponent = rnd(1.0);
        k = 4.0 * std::pow(s * 0.0625, exponent);
    }
    Maze* const maze = recursify_stencil(s / k, where);
    Maze_scale(maze, k);
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        rnd(1.0); // the stream moves on for each node
        if (k > 1.0) {
            MazeNode_await(Maze_node(maze, i));
        }
    }
    if (where.maze != nullptr && where.maze->name != nullptr) {
        maze->name = Maze_subname(where.maze, where.node);
    }
    return maze;
}
