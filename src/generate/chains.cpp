#include "generate/chains.h"

#include "generate/grids.h"

#include <cstring>

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

static void placeend(MazeNode* node, f64 x, f64 y, f64 z, f64 radius)
{
    node->pos[0] = x;
    node->pos[1] = y;
    node->pos[2] = z;
    node->radius = radius;
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
