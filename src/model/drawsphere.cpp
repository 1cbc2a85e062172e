// When a draw sphere is stale.
//
// The sphere of a maze M depends on three things: the places and radii of its own nodes; the spheres
// of its submazes; the ports of the mazes beside M to which a stick leads, that is of those whose
// nodes are joined to M's node in the level above. It doesn't depend on M's own edges: both ends of
// each of them are own nodes, or ports of submazes, which the submaze's sphere holds.
//
// `drawradius` of a stale maze is DRAWSPHERE_STALE or DRAWSPHERE_TOLD. Two invariants hold:
//   A. If a maze is stale, all mazes above it are stale.
//   B. If a maze is DRAWSPHERE_TOLD, the mazes joined to it are stale too (and by A those above).
// So a change of a told maze needs no work at all, which keeps marking at one comparison while a
// world is made. They are kept in these ways:
//   - Marking a maze makes the mazes joined to it stale, then all above, then itself told. A maze
//     that hangs nowhere is never told, so that its first change after it has been hung is passed on.
//   - A sphere is computed only after the spheres of all submazes (A), and takes "told" from the
//     stale mazes joined to it (B).
//   - An edge between two nodes with submazes marks both submazes (B).
//   - Whoever hangs a maze on a node by hand, or takes one off, calls Maze_freeflags with
//     ATT_GEOMETRY on the maze of that node, which marks it and its submazes (A and B).
#include "model/drawsphere.h"

#include "base/vec3.h"
#include "model/pos.h"

#include <cmath>
#include <cstring>

static u32 stamps; // how many spheres have been computed; written by compute

struct Gathered {
    f64 low[3]; // the box about all balls, if there are any
    f64 high[3];
    bool any;
    f64 centre[3]; // the middle of the box, once it is known
    f64 radius;
};

using BallVisitor = void (*)(Gathered* gathered, const f64 centre[3], f64 radius);

static bool finite(const f64 v[3])
{
    return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
}

static void widenbox(Gathered* gathered, const f64 centre[3], f64 radius)
{
    for (i32 k = 2; k >= 0; k--) {
        const f64 low = centre[k] - radius;
        const f64 high = centre[k] + radius;
        gathered->low[k] = !gathered->any || low < gathered->low[k] ? low : gathered->low[k];
        gathered->high[k] = !gathered->any || high > gathered->high[k] ? high : gathered->high[k];
    }
    gathered->any = true;
}

static void widensphere(Gathered* gathered, const f64 centre[3], f64 radius)
{
    f64 d[3];
    vec3_sub(d, centre, gathered->centre);
    const f64 reach = vec3_length(d) + radius;
    if (reach > gathered->radius) {
        gathered->radius = reach;
    }
}

// A place that isn't finite can't be drawn; a negative radius is drawn as its size.
static void visitnode(Gathered* gathered, const MazeNode* node, BallVisitor visit)
{
    if (finite(node->pos) && std::isfinite(node->radius)) {
        visit(gathered, node->pos, std::fabs(node->radius));
    }
}

// Visits balls that hold all that is drawn of the level and below, given the spheres of the submazes.
static void visitballs(Gathered* gathered, Maze* maze, BallVisitor visit)
{
    const i32 ports = Maze_ports(maze);
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        const MazeNode* const node = Maze_node(maze, i);
        if (node->sub != nullptr) {
            if (Maze_count(node->sub) > 0) {
                visit(gathered, node->sub->drawcentre, node->sub->drawradius);
            }
            continue;
        }
        visitnode(gathered, node, visit);
        if (i >= ports) {
            continue; // inner nodes lead nowhere else
        }
        const Pos exit = Pos_submaze_exit({maze, i});
        if (exit.maze != nullptr && exit.maze->parent == maze->parent) {
            visitnode(gathered, Pos_node(exit), visit);
        }
    }
}

// The maze beside `maze` that edge `slot` of its node leads to, or null. A grid that is being made may
// know its edges before it has the nodes.
static Maze* beside(const Maze* maze, i32 slot)
{
    const i32 target = Maze_parentnode(maze)->edges[slot];
    if (static_cast<u32>(target) >= maze->parent->nodes.count) {
        return nullptr;
    }
    Maze* const sub = Maze_node(maze->parent, target)->sub;
    return sub != nullptr && sub->parent == maze->parent ? sub : nullptr;
}

// Whether the maze hangs on a node of its parent. One that is being made may know its parent before
// the parent knows it.
static bool hangs(const Maze* maze)
{
    return maze->parent != nullptr &&
           static_cast<u32>(maze->parentnode) < maze->parent->nodes.count &&
           Maze_parentnode(maze)->sub == maze;
}

// The mazes joined to `maze` that are up to date become stale.
static void stalebeside(const Maze* maze)
{
    for (i32 i = Maze_ports(maze) - 1; i >= 0; i--) {
        Maze* const other = beside(maze, i);
        if (other != nullptr && other->drawradius >= 0.0) {
            other->drawradius = DRAWSPHERE_STALE;
        }
    }
}

// The mazes joined to `maze`, which is up to date now, are told no longer.
static void untellbeside(const Maze* maze)
{
    for (i32 i = Maze_ports(maze) - 1; i >= 0; i--) {
        Maze* const other = beside(maze, i);
        if (other != nullptr && other->drawradius == DRAWSPHERE_TOLD) {
            other->drawradius = DRAWSPHERE_STALE;
        }
    }
}

static void compute(Maze* maze)
{
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        Maze* const sub = Maze_node(maze, i)->sub;
        if (sub != nullptr && sub->drawradius < 0.0) {
            compute(sub);
        }
    }
    Gathered gathered = {};
    visitballs(&gathered, maze, widenbox);
    const f64* const from = gathered.any ? gathered.low : maze->centre;
    const f64* const to = gathered.any ? gathered.high : maze->centre;
    for (i32 k = 2; k >= 0; k--) {
        gathered.centre[k] = from[k] * 0.5 + to[k] * 0.5; // halves first: the sum may overflow
    }
    if (gathered.any) {
        visitballs(&gathered, maze, widensphere);
    }
    if (!finite(gathered.centre)) { // a sphere without bounds is never left out
        std::memset(gathered.centre, 0, sizeof gathered.centre);
        gathered.radius = gathered.any ? HUGE_VAL : 0.0;
    }
    std::memcpy(maze->drawcentre, gathered.centre, sizeof maze->drawcentre);
    maze->drawradius = gathered.radius;
    stamps += stamps == ~0U ? 2 : 1; // 0 is no stamp
    maze->drawstamp = stamps;
    if (hangs(maze)) {
        untellbeside(maze);
    }
}

void Maze_drawsphere(Maze* maze, f64 centre[3], f64* radius)
{
    if (maze->drawradius < 0.0) {
        compute(maze);
    }
    std::memcpy(centre, maze->drawcentre, sizeof maze->drawcentre);
    *radius = maze->drawradius;
}

u32 Maze_drawstamp(Maze* maze)
{
    if (maze->drawradius < 0.0) {
        compute(maze);
    }
    return maze->drawstamp;
}

static void markone(Maze* maze)
{
    if (maze->drawradius == DRAWSPHERE_TOLD) {
        return;
    }
    maze->drawradius = DRAWSPHERE_STALE;
    if (!hangs(maze)) {
        return;
    }
    stalebeside(maze);
    for (Maze* above = maze->parent; above != nullptr; above = above->parent) {
        if (above->drawradius >= 0.0) {
            above->drawradius = DRAWSPHERE_STALE;
        }
    }
    maze->drawradius = DRAWSPHERE_TOLD;
}

void Maze_drawsphere_stale(Maze* maze, bool recursive)
{
    markone(maze);
    for (i32 i = recursive ? Maze_count(maze) - 1 : -1; i >= 0; i--) {
        Maze* const sub = Maze_node(maze, i)->sub;
        if (sub != nullptr) {
            Maze_drawsphere_stale(sub, true);
        }
    }
}
