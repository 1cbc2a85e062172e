#include "generate/warps.h"

#include "generate/slots.h"

#include <cmath>

static f64 clamped(f64 v)
{
    if (!(v > 0.0)) {
        return 0.0;
    }
    return v < 1.0 ? v : 1.0;
}

static u32 channel(f64 v)
{
    const f64 raised = clamped(v) * 255.0 + 0.5;
    return static_cast<u32>(raised);
}

u32 rgb_pack(f64 r, f64 g, f64 b)
{
    return (channel(r) * 256 + channel(g)) * 256 + channel(b);
}

static f64 placechannel(f64 angle)
{
    return (1.0 + std::sin(angle)) * 0.25;
}

u32 place_colour(const f64 p[3])
{
    const f64 r = placechannel(p[0] * 0.1);
    const f64 g = placechannel(p[1] * 0.1);
    const f64 b = placechannel(p[2] * 0.1);
    return rgb_pack(r, g, b);
}

// place_colour of the middle between two nodes, of which `a` has its colour. Most edges run along an
// axis, and the middle shares two channels with the ends then: 2 c / 20 is c / 10 to the last bit.
static u32 edgecolour(const MazeNode* a, const MazeNode* b)
{
    u32 colour = 0;
    for (i32 k = 2; k >= 0; k--) {
        const i32 shift = 16 - 8 * k;
        const u32 own = a->rec.colour >> shift & 0xFF;
        const bool same = a->pos[k] == b->pos[k];
        colour |= (same ? own : channel(placechannel((a->pos[k] + b->pos[k]) * 0.05))) << shift;
    }
    return colour;
}

void Maze_setcolourdeep(Maze* maze, u32 colour, bool recursive)
{
    Maze_setcolour(maze, colour);
    if (!recursive) {
        return;
    }
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        Maze* const sub = Maze_node(maze, i)->sub;
        if (sub != nullptr) {
            Maze_setcolourdeep(sub, colour, true);
        }
    }
}

// Colours the edges of node i to lower nodes, in both directions, which have one colour.
static void paintedges(Maze* maze, i32 i)
{
    MazeNode* const node = Maze_node(maze, i);
    for (i32 slot = static_cast<i32>(node->nedges) - 1; slot >= 0; slot--) {
        const i32 target = node->edges[slot];
        if (target <= i) {
            MazeNode* const end = Maze_node(maze, target);
            node->edgerec[slot].colour = edgecolour(node, end);
            slots_colour(end, i, node->edgerec[slot].colour);
        }
    }
}

void Maze_paintbyplace(Maze* maze)
{
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        MazeNode* const node = Maze_node(maze, i);
        node->rec.colour = place_colour(node->pos);
        if (node->sub != nullptr) {
            Maze_paintbyplace(node->sub);
        }
    }
    // the nodes were read in a row, and are at hand now in whatever order the edges want them
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        paintedges(maze, i);
    }
}

static void warpheight(f64 out[3], const f64 p[3])
{
    const f64 rise = 4.0 * (std::sin(p[0] * 0.25) + std::sin(p[1] * 0.25));
    out[0] = p[0];
    out[1] = p[1];
    out[2] = p[2] + rise;
}

void Maze_warpheight(Maze* maze, bool recursive)
{
    Maze_mapnodes(maze, warpheight, recursive);
}

void warp_sine(f64 out[3], const f64 p[3])
{
    for (i32 k = 2; k >= 0; k--) {
        out[k] = (4.0 * p[k] + 3.0 * std::sin(p[k])) * 0.5;
    }
}

void Maze_mapnodes(Maze* maze, void (*f)(f64 out[3], const f64 p[3]), bool recursive)
{
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        MazeNode* const node = Maze_node(maze, i);
        f(node->pos, node->pos);
        if (recursive && node->sub != nullptr) {
            Maze_mapnodes(node->sub, f, true);
        }
    }
}

void Maze_invert(Maze* maze, f64 radius, const f64 centre[3], bool recursive)
{
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        MazeNode* const node = Maze_node(maze, i);
        const f64 dx = node->pos[0] - centre[0];
        const f64 dy = node->pos[1] - centre[1];
        const f64 dz = node->pos[2] - centre[2];
        const f64 k = radius * radius / (dx * dx + dy * dy + dz * dz);
        node->pos[0] = centre[0] + k * dx;
        node->pos[1] = centre[1] + k * dy;
        node->pos[2] = centre[2] + k * dz;
        node->radius = k * node->radius;
        if (recursive && node->sub != nullptr) {
            Maze_invert(node->sub, radius, centre, true);
        }
    }
}

void Maze_spread(Maze* maze)
{
    Maze_scale(maze, 2.5);
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        Maze* const sub = Maze_node(maze, i)->sub;
        if (sub != nullptr) {
            Maze_spread(sub);
        }
    }
}
