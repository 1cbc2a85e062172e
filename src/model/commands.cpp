#include "model/commands.h"

#include "base/clock.h"
#include "generate/carve.h"
#include "generate/stencils.h"
#include "model/attachment.h"
#include "model/connect.h"
#include "model/mazegame.h"
#include "model/stategraph.h"
#include "model/surgery.h"

#include <cmath>

static constexpr f64 longest_step = 0.05; // of R, in seconds
static constexpr f64 most_rate = 1e6;
static constexpr f64 relax_scale = 0.4;
static constexpr f64 relax_back = 2.5;
static constexpr f64 relax_reach = 1e300;
static constexpr u32 relax_colour = 0xC04040;

static constexpr f64 expand_time = 0.01;    // seconds of a frame
static constexpr f64 expand_range = 1000.0; // maze units
static constexpr f64 expand_share = 0.4;    // of the way to the nearest neighbour
static constexpr f64 expand_scale = 2.5;
static constexpr f64 most_size = 1600.0;

f64 simplify_rate = 1.0;

// The level that R is held in, null while it is up, and its size when the key went down. Written by
// simplify and newgame.
static const Maze* simplified;
static f64 simplified_extent;

i32 newgame_kind(bool shift, bool ctrl)
{
    return (shift ? 1 : 0) + (ctrl ? 1 : 0);
}

void newgame(MazeGame* game, i32 kind)
{
    simplified = nullptr; // it goes, and its address may come again
    MazeGame_free(game);
    MazeGame_new(game, kind);
}

static bool grows(const Maze* maze)
{
    return Maze_attachment(maze, "rep") != nullptr;
}

static f64 lesser(f64 a, f64 b)
{
    return a < b ? a : b;
}

static void simplify(Maze* maze, bool held, f64 dt)
{
    if (!held) {
        simplify_rate = 1.0;
        simplified = nullptr;
        return;
    }
    if (simplified != maze) {
        simplified = maze;
        simplified_extent = Maze_extent(maze);
    }
    const f64 strength = lesser(lesser(longest_step, dt) * simplify_rate, 1.0);
    Maze_simplify_within(maze, strength, simplified_extent);
    simplify_rate = lesser(simplify_rate * (dt + 1.0), most_rate);
}

// Whether scaling back can't overflow.
static bool bounded(const Maze* maze)
{
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        for (i32 k = 2; k >= 0; k--) {
            if (!(std::fabs(Maze_node(maze, i)->pos[k]) < relax_reach)) {
                return false;
            }
        }
    }
    return true;
}

static void relax(Maze* maze)
{
    if (!bounded(maze)) {
        return;
    }
    Maze_scale(maze, relax_scale);
    Maze_spring(maze);
    Maze_repel(maze);
    Maze_scale(maze, relax_back);
    Maze_setcolour(maze, relax_colour);
}

static bool leadson(Pos pos)
{
    Pos exits[POS_MAXEDGES];
    return Pos_alledges(MazeGame_place(pos), exits, nullptr) > 0;
}

// Node 0, or the first from which something leads on; what is merged is left without edges.
static i32 firststand(Maze* maze)
{
    for (i32 i = 0; i < Maze_count(maze); i++) { // the lowest number
        if (leadson({maze, i})) {
            return i;
        }
    }
    return 0;
}

static void growall(Maze* maze)
{
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        Maze_stategrow(maze, i);
    }
}

static void contract(MazeGame* game, const ReshapeKeys* keys)
{
    Maze* const maze = game->pos.maze;
    if (grows(maze)) {
        growall(maze);
    } else {
        Maze_contract(maze, (keys->shift ? 1U : 0U) + (keys->ctrl ? 2U : 0U) + 1U);
        game->pos.node = firststand(maze);
    }
    MazeGame_settle(game);
}

// Ways to the ports of a level are drawn by the level above it and by the mazes beside it.
static void freegeometry(Maze* maze)
{
    Maze_freeflags(maze, ATT_GEOMETRY, true);
    if (maze->parent == nullptr) {
        return;
    }
    Maze_freeflags(maze->parent, ATT_GEOMETRY, false);
    for (i32 i = Maze_ports(maze) - 1; i >= 0; i--) {
        const Pos exit = Pos_submaze_exit({maze, i});
        if (exit.maze != nullptr && exit.maze != maze->parent) {
            Maze_freeflags(exit.maze, ATT_GEOMETRY, false);
        }
    }
}

void MazeGame_reshape(MazeGame* game, const ReshapeKeys* keys, f64 dt)
{
    Maze* const maze = game->pos.maze;
    const bool relaxes = keys->relax || grows(maze);
    simplify(maze, keys->simplify, dt);
    if (relaxes) {
        relax(maze);
    }
    if (keys->contract) {
        contract(game, keys);
    }
    if (keys->simplify || relaxes || keys->contract) {
        freegeometry(maze);
    }
}

void MazeGame_growall(MazeGame* game)
{
    if (grows(game->pos.maze)) {
        growall(game->pos.maze);
        MazeGame_settle(game);
    }
}

// Square of the distance to the nearest neighbour.
static f64 nearestsquare(const Maze* maze, const MazeNode* node)
{
    f64 nearest = 1e20;
    for (i32 i = static_cast<i32>(node->nedges) - 1; i >= 0; i--) {
        const f64* const pos = Maze_node(maze, node->edges[i])->pos;
        const f64 dx = pos[0] - node->pos[0];
        const f64 dy = pos[1] - node->pos[1];
        const f64 dz = pos[2] - node->pos[2];
        nearest = lesser(dx * dx + dy * dy + dz * dz, nearest);
    }
    return nearest;
}

// Gives a node its submaze: a spanning tree, whatever the node asks for.
static void expandnode(MazeGame* game, Pos pos)
{
    MazeNode* const node = Pos_node(pos);
    if (Pos_submaze_exit(pos).maze != nullptr || node->nedges == 0) {
        node->expandable = 0; // a port holds no submaze; one without edges would never be entered
        return;
    }
    const f64 size = lesser(expand_share * std::sqrt(nearestsquare(pos.maze, node)), most_size);
    Maze* const sub = recursify_stencil_scaled(size, pos);
    Maze_scale(sub, expand_scale);
    Maze_plantstencil(pos.maze, pos.node, sub);
    makemaze_spanning(sub);
    Maze_bounds(sub, false);
    MazeGame_settle(game);
    Maze_freeflags(pos.maze, ATT_GEOMETRY, true);
}

void MazeGame_expand(MazeGame* game)
{
    static GrowArray found; // of Pos, kept from frame to frame
    if (found.buf == nullptr) {
        GrowArray_init(&found, sizeof(Pos));
    }
    const f64 deadline = timer_now() + expand_time;
    do {
        f64 point[3];
        MazeGame_viewpos(point, game);
        found.count = 0;
        Maze_nearexpandable(game->root, point, expand_range, &found, 1);
        for (i32 i = static_cast<i32>(found.count) - 1; i >= 0; i--) {
            expandnode(game, items<Pos>(&found)[i]);
        }
    } while (found.count > 0 && timer_now() < deadline);
}
