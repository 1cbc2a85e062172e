#include "generate/makemaze.h"

#include "base/rnd.h"
#include "base/str.h"
#include "generate/carve.h"
#include "generate/chains.h"
#include "generate/grids.h"
#include "generate/names.h"
#include "generate/rings.h"
#include "generate/stencils.h"
#include "generate/tilings.h"
#include "generate/warps.h"

#include <cmath>

enum { MODE_GRID = 1, MODE_GALLERY = 2, GRID_PASSES = 4 };

i32 makemaze_forced_kind = -1; // written by tools and tests only

// A flat grid of about 2500 nodes, of a random aspect. Two draws.
static Maze* flatgrid()
{
    const f32 e = static_cast<f32>(std::exp(rnd(2.0) - 1.0));
    const i32 w = static_cast<i32>(50.0F * e);
    const i32 h = static_cast<i32>(50.0F / e);
    return grid_maze(w, h, 1);
}

// A solid block of 2 to 10 nodes on each side. Six draws.
static Maze* block()
{
    const i32 a = irand(9);
    const i32 b = irand(9);
    const i32 c = irand(9);
    return grid_maze(c + 2, b + 2, a + 2);
}

static Maze* triangle()
{
    return trigrid_triangle(25);
}

static Maze* honeycomb()
{
    return trigrid_honeycomb(50);
}

static Maze* disc()
{
    return ring_disc(50, 1);
}

static Maze* sphere()
{
    return sphere_maze(20.0);
}

static Maze* torus()
{
    return torus_maze(20.0, 10.0);
}

static Maze* moebius()
{
    return moebius_maze(20.0, 10.0);
}

// A kind of base maze. A kind that nests has no builder: its base maze is a stencil of the size.
struct Kind {
    Maze* (*build)();
    i32 passes; // of nesting
    f64 size;   // of its stencils, and the step of scale from level to level
};

static const Kind kinds[MAKEMAZE_KINDS] = {
    {flatgrid, 0, 0.0},  {flatgrid, 0, 0.0}, {flatgrid, 0, 0.0}, {triangle, 0, 0.0},
    {honeycomb, 0, 0.0}, {block, 0, 0.0},    {disc, 0, 0.0},     {sphere, 0, 0.0},
    {nullptr, 1, 20.0},  {nullptr, 2, 10.0}, {torus, 0, 0.0},    {moebius, 0, 0.0},
    {nullptr, 3, 5.0},
};

static const Kind* choosekind()
{
    const i32 drawn = irand(MAKEMAZE_KINDS);
    const i32 kind = makemaze_forced_kind >= 0 ? makemaze_forced_kind : drawn;
    return &kinds[kind < MAKEMAZE_KINDS ? kind : 0];
}

static Maze* buildbase(const Kind* kind)
{
    return kind->passes > 0 ? recursify_stencil(kind->size, Pos_null) : kind->build();
}

// One colour with each channel between a quarter and three quarters, or colours by place.
static void colourworld(Maze* root)
{
    if (irand(2) != 0) {
        Maze_paintbyplace(root);
        return;
    }
    const f64 d1 = rnd(0.5);
    const f64 d2 = rnd(0.5);
    const f64 d3 = rnd(0.5);
    Maze_setcolourdeep(root, rgb_pack(d3 + 0.25, d2 + 0.25, d1 + 0.25), true);
}

static void warpworld(Maze* root)
{
    if (irand(6) == 0) {
        Maze_warpheight(root, true);
    }
    if (irand(3) == 0) {
        Maze_mapnodes(root, warp_sine, true);
    }
    if (irand(10) == 0) {
        // whole-number coordinates and the ends of the line keep off this centre
        const f64 centre[3] = {10.5, 10.5, 0.0};
        Maze_invert(root, 20.0, centre, true);
    }
}

// A base maze of a random kind in a line of three, perhaps nested.
static void randomworld(MazeGame* game)
{
    const f64 density = rnd(0.5); // drawn for all kinds
    const Kind* const kind = choosekind();
    game->root = Maze_wrapends(buildbase(kind));
    for (i32 i = kind->passes - 1; i >= 0; i--) {
        recursify(game->root, density, kind->size, recursify_stencil);
    }
    makemaze_all(game->root);
    colourworld(game->root);
    warpworld(game->root);
    game->showexits = kind->passes > 0 ? 1 : 0;
    game->showtrail = 1;
}

// A grid of grids of grids, each node of which holds another with chance 0.1.
static void nestedgrid(MazeGame* game)
{
    game->root = grid_maze(20, 20, 1);
    for (i32 i = GRID_PASSES - 1; i >= 0; i--) {
        recursify(game->root, 0.1, 10.0, grid_square);
    }
    Maze_foreach(game->root, makemaze_corridors);
    Maze_numbersubs(game->root);
}

// Chains of chains. No draws but those of carving.
static void gallery(MazeGame* game)
{
    game->root = chain_maze(10, chain_top);
    Maze_foreach(game->root, makemaze_corridors);
    str_set(&game->root->name, "pg->root");
    Maze_pathnames(game->root);
}

// The player stands at node 0 of the root, or of the innermost submaze there.
static Pos startpos(Maze* root)
{
    Pos pos = {root, 0};
    while (Pos_node(pos)->sub != nullptr) {
        pos.maze = Pos_node(pos)->sub;
    }
    return pos;
}

void MazeGame_generate(MazeGame* game, i32 mode)
{
    game->showtrail = 0;
    game->showexits = 0;
    switch (mode) {
    case MODE_GRID: nestedgrid(game); break;
    case MODE_GALLERY: gallery(game); break;
    default: randomworld(game); break;
    }
    Maze_spread(game->root);
    game->pos = startpos(game->root);
    for (i32 k = 2; k >= 0; k--) {
        game->step[k] = 0.0;
    }
    Maze_bounds(game->root, true);
}
