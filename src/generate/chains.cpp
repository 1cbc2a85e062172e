#include "generate/chains.h"

#include "base/str.h"
#include "generate/grids.h"
#include "generate/rings.h"
#include "generate/tilings.h"

#include <cstdio>
#include <cstring>
#include <numbers>

enum : u32 { SHAPE_COLOUR = 0xC08040 };

static const f64 chaingap = 10.0; // clear space between two mazes of a chain

static void extend(f64 low[3], f64 high[3], const f64 p[3], f64 margin)
{
    for (i32 k = 2; k >= 0; k--) {
        if (p[k] - margin < low[k]) {
            low[k] = p[k] - margin;
        }
        if (p[k] + margin > high[k]) {
            high[k] = p[k] + margin;
        }
    }
}

// The box of the node positions of one level.
static void levelbox(const Maze* maze, f64 low[3], f64 high[3])
{
    std::memcpy(low, Maze_node(maze, 0)->pos, 3 * sizeof(f64));
    std::memcpy(high, Maze_node(maze, 0)->pos, 3 * sizeof(f64));
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        extend(low, high, Maze_node(maze, i)->pos, 0.0);
    }
}

// Moves a maze so that its box begins at x and is centred on the axis. Returns the box's extent in x.
static f64 moveontoaxis(Maze* maze, f64 x)
{
    f64 low[3];
    f64 high[3];
    levelbox(maze, low, high);
    const f64 v[3] = {x - low[0], -(low[1] + high[1]) / 2, -(low[2] + high[2]) / 2};
    Maze_translate(maze, v, true);
    return high[0] - low[0];
}

static void placeend(MazeNode* node, f64 x, f64 y, f64 z, f64 radius)
{
    node->pos[0] = x;
    node->pos[1] = y;
    node->pos[2] = z;
    node->radius = radius;
}

// Makes the maze at place i of a line and puts it and its node where x is. Returns the maze's extent.
static f64 fillplace(Maze* line, i32 i, ChainFunction f, f64 x)
{
    Maze* const sub = f(i);
    MazeNode* const node = Maze_node(line, i);
    const f64 width = moveontoaxis(sub, x);
    node->sub = sub;
    node->rec.colour = Maze_node(sub, 0)->rec.colour;
    placeend(node, x + width / 2, 0.0, 0.0, node->radius);
    return width;
}

// Hangs the maze at place i, which has its place in space, on its node.
static void hangplace(Maze* line, i32 i)
{
    Maze* const sub = Maze_node(line, i)->sub;
    sub->parent = line;
    sub->parentnode = i;
    Maze_fixports(sub);
    char name[16];
    std::snprintf(name, sizeof name, "%d", i);
    str_set(&sub->name, name);
}

Maze* chain_maze(i32 n, ChainFunction f)
{
    Maze* const line = grid_maze(n + 2, 1, 1);
    f64 x = 0.0;
    for (i32 i = 1; i <= n; i++) { // along the line
        x += chaingap;
        x += fillplace(line, i, f, x);
    }
    placeend(Maze_node(line, n + 1), x + chaingap, 0.0, 0.0, Maze_node(line, n + 1)->radius);
    for (i32 i = 1; i <= n; i++) { // a port that is added makes draws
        hangplace(line, i);
    }
    Maze_blendedges(line, false);
    return line;
}

Maze* chain_top(i32 i)
{
    switch (i) {
    case 3: return chain_maze(5, grid_red);
    case 6: return chain_maze(5, gallery_shape);
    default: return chain_maze(2, chain_middle);
    }
}

Maze* chain_middle(i32 i)
{
    return chain_maze(5, i == 2 ? gallery_shape : grid_red);
}

// The triangle with a corner turned ahead.
static Maze* turnedtriangle()
{
    Maze* const maze = trigrid_triangle(10);
    const f64 turn[3] = {0.0, 0.0, -std::numbers::pi / 2};
    Maze_rotate(maze, turn);
    return maze;
}

static Maze* shape(i32 i)
{
    switch (i % 5) {
    case 1: return turnedtriangle();
    case 2: return trigrid_honeycomb(10);
    case 3: return trigrid_hexagon(10);
    case 4: return octagon_tiling(10);
    default: return ring_disc(10, 1);
    }
}

Maze* gallery_shape(i32 i)
{
    Maze* const maze = shape(i);
    Maze_setcolour(maze, SHAPE_COLOUR);
    return maze;
}

// The box of the node positions, and of the spheres of the submazes where a node holds one.
static void outerbox(const Maze* maze, f64 low[3], f64 high[3])
{
    std::memcpy(low, Maze_node(maze, 0)->pos, 3 * sizeof(f64));
    std::memcpy(high, Maze_node(maze, 0)->pos, 3 * sizeof(f64));
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        const MazeNode* const node = Maze_node(maze, i);
        if (node->sub != nullptr) {
            extend(low, high, node->sub->centre, node->sub->boundradius);
        } else {
            extend(low, high, node->pos, 0.0);
        }
    }
}

Maze* Maze_wrapends(Maze* maze)
{
    Maze* const line = grid_maze(3, 1, 1);
    Maze_bounds(maze, true);
    f64 low[3];
    f64 high[3];
    outerbox(maze, low, high);
    const f64 radius = Maze_node(maze, 0)->radius;
    const f64 y = (low[1] + high[1]) / 2;
    const f64 z = (low[2] + high[2]) / 2;
    placeend(Maze_node(line, 0), low[0] - 2.5 * radius, y, z, radius);
    placeend(Maze_node(line, 2), high[0] + 2.5 * radius, y, z, radius);
    Maze_node(line, 1)->sub = maze;
    maze->parent = line;
    maze->parentnode = 1;
    Maze_fixports(maze);
    return line;
}

static u32 meanchannel(u32 a, u32 b, u32 shift)
{
    const u32 ca = (a >> shift) & 0xFF;
    const u32 cb = (b >> shift) & 0xFF;
    return static_cast<u32>(0.5 * ca + 0.5 * cb) << shift; // never above 255
}

static u32 meancolour(u32 a, u32 b)
{
    return meanchannel(a, b, 16) | meanchannel(a, b, 8) | meanchannel(a, b, 0);
}

void Maze_blendedges(Maze* maze, bool recursive)
{
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        MazeNode* const node = Maze_node(maze, i);
        for (i32 slot = static_cast<i32>(node->nedges) - 1; slot >= 0; slot--) {
            const u32 other = Maze_node(maze, node->edges[slot])->rec.colour;
            node->edgerec[slot].colour = meancolour(node->rec.colour, other);
        }
        if (recursive && node->sub != nullptr) {
            Maze_blendedges(node->sub, true);
        }
    }
}
