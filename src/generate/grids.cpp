#include "generate/grids.h"

#include "generate/nodehash.h"
#include "generate/slots.h"

#include <cstdlib>

static const f64 weldlimit2 = 0.5625; // square of 0.75

static i32 atleast1(i32 size)
{
    return size < 1 ? 1 : size;
}

Maze* grid_maze(i32 nx, i32 ny, i32 nz)
{
    nx = atleast1(nx);
    ny = atleast1(ny);
    nz = atleast1(nz);
    Maze* const maze = Maze_new();
    GrowArray_reserve(&maze->nodes, static_cast<u32>(nx * ny * nz));
    // forward: nodes are appended in the order of their numbers
    for (i32 z = 0; z < nz; z++) {
        for (i32 y = 0; y < ny; y++) {
            for (i32 x = 0; x < nx; x++) {
                const i32 n = x + nx * (y + ny * z);
                MazeNode node = MazeNode_fresh(x, y, z, 0.5);
                slots_addif(&node, x > 0, n - 1);
                slots_addif(&node, x < nx - 1, n + 1);
                slots_addif(&node, y > 0, n - nx);
                slots_addif(&node, y < ny - 1, n + nx);
                slots_addif(&node, z > 0, n - nx * ny);
                slots_addif(&node, z < nz - 1, n + nx * ny);
                Maze_addnode(maze, &node);
            }
        }
    }
    return maze;
}

Maze* grid_square(f64 s, Pos where)
{
    static_cast<void>(where);
    const i32 n = static_cast<i32>(s);
    return grid_maze(n, n, 1);
}

Maze* grid_red(i32 i)
{
    const i32 n = 4 * i + 1;
    Maze* const maze = grid_maze(n, n, 1);
    Maze_setcolour(maze, 0xC04040);
    return maze;
}

// Removes a node's edges to a target, which is left alone. The submaze isn't told.
static void forget(MazeNode* node, i32 target)
{
    for (i32 i = static_cast<i32>(node->nedges) - 1; i >= 0; i--) {
        if (node->edges[i] == target) {
            node->nedges--;
            node->edges[i] = node->edges[node->nedges];
            node->edgerec[i] = node->edgerec[node->nedges];
        }
    }
}

// Lets an edge of node i that led to a node which goes lead to `target` instead. It must have room.
static void redirect(Maze* maze, i32 i, i32 slot, i32 target)
{
    MazeNode* const node = Maze_node(maze, i);
    MazeNode* const end = Maze_node(maze, target);
    // the old end goes later, when node i may have another number
    forget(Maze_node(maze, node->edges[slot]), i);
    node->edges[slot] = target;
    slots_add(end, i);
    const u32 colour = node->edgerec[slot].colour;
    slots_colour(node, target, colour);
    slots_colour(end, i, colour);
}

// Moves the edges of a kept node i from the nodes that go to those that replace them. `map` holds the
// replacement of each of the first `na` nodes, -1 for a kept one.
static void moveedges(Maze* maze, i32 i, const i32* map, i32 na)
{
    const MazeNode* const node = Maze_node(maze, i);
    for (i32 slot = static_cast<i32>(node->nedges) - 1; slot >= 0; slot--) {
        if (slot >= static_cast<i32>(node->nedges)) {
            continue; // a deletion has emptied it
        }
        const i32 old = node->edges[slot];
        if (old >= na || map[old] < 0) {
            continue;
        }
        if (Maze_node(maze, map[old])->nedges < MAZE_MAXEDGES) {
            redirect(maze, i, slot, map[old]);
        } else {
            Maze_unjoin(maze, i, old, true);
        }
    }
}

// For each of the first `na` nodes of the merged maze, which were those before `b` came, the number of
// the node of `b` that replaces it, or -1.
static i32* newmap(const Maze* maze, i32 na, const Maze* b)
{
    i32* const map = static_cast<i32*>(std::calloc(static_cast<size_t>(na), sizeof(i32)));
    NodeHash* const hash = NodeHash_new(b);
    for (i32 i = na - 1; i >= 0; i--) {
        const i32 found = NodeHash_nearest(hash, Maze_node(maze, i)->pos, weldlimit2);
        map[i] = found >= 0 ? found + na : -1;
    }
    NodeHash_free(hash);
    return map;
}

// Makes one graph of the first `na` nodes of a maze and those behind them, which are those of `b`.
static void weld(Maze* maze, i32 na, const Maze* b)
{
    if (na == 0) {
        return;
    }
    i32* const map = newmap(maze, na, b);
    // forward, as room for edges goes to the lowest numbers first
    for (i32 i = 0; i < na; i++) {
        if (map[i] < 0) {
            moveedges(maze, i, map, na);
        }
    }
    for (i32 i = na - 1; i >= 0; i--) {
        if (map[i] >= 0) {
            Maze_delnode(maze, i, true);
        }
    }
    std::free(map);
}

Maze* Maze_welded(const Maze* a, const Maze* b)
{
    Maze* const maze = Maze_merged(a, b);
    weld(maze, Maze_count(a), b);
    return maze;
}

// Moves a face, handed over, and welds it to a box.
static void addface(Maze* box, Maze* face, f64 x, f64 y, f64 z)
{
    const f64 v[3] = {x, y, z};
    Maze_translate(face, v, true);
    weld(box, Maze_append(box, face), face);
    Maze_free(face, true);
}

Maze* box_maze(i32 a, i32 b, i32 c)
{
    Maze* const box = Maze_new();
    addface(box, grid_maze(a + 1, b + 1, 1), 0, 0, 0);
    addface(box, grid_maze(a + 1, b + 1, 1), 0, 0, c);
    addface(box, grid_maze(a + 1, 1, c + 1), 0, 0, 0);
    addface(box, grid_maze(a + 1, 1, c + 1), 0, b, 0);
    addface(box, grid_maze(1, b + 1, c + 1), 0, 0, 0);
    addface(box, grid_maze(1, b + 1, c + 1), a, 0, 0);
    return box;
}
