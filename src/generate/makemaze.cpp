#include "generate/makemaze.h"

#include "base/rnd.h"
#include "generate/carve.h"
#include "generate/chains.h"
#include "generate/grids.h"
#include "generate/warps.h"

#include <cmath>

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

// Builders of the base mazes by kind; a null one is replaced by that of kind 0.
static Maze* (*const builders[MAKEMAZE_KINDS])() = {flatgrid, flatgrid, flatgrid, nullptr, nullptr,
                                                    block,    nullptr,  nullptr,  nullptr, nullptr,
                                                    nullptr,  nullptr,  nullptr};

static Maze* makebase()
{
    const i32 drawn = irand(MAKEMAZE_KINDS);
    const i32 kind = makemaze_forced_kind >= 0 ? makemaze_forced_kind : drawn;
    if (kind >= MAKEMAZE_KINDS || builders[kind] == nullptr) {
        return builders[0]();
    }
    return builders[kind]();
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

static Maze* randomworld()
{
    rnd(0.5); // density of the kinds that nest, drawn for all
    Maze* const root = Maze_wrapends(makebase());
    makemaze_all(root);
    colourworld(root);
    warpworld(root);
    return root;
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
    static_cast<void>(mode); // every mode is a random world
    game->root = randomworld();
    game->showtrail = 1;
    game->showexits = 0;
    Maze_spread(game->root);
    game->pos = startpos(game->root);
    for (i32 k = 2; k >= 0; k--) {
        game->step[k] = 0.0;
    }
    Maze_bounds(game->root, true);
}
