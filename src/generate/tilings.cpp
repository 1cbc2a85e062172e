#include "generate/tilings.h"

#include "generate/slots.h"

#include <cstdlib>

static constexpr f32 rowheight = 0.8660254F;             // square root of 3/4
static constexpr f64 octagonspacing = 2.414213562373095; // 1 plus the square root of 2
static constexpr f64 octagoncorner = 0.7071067811865476; // square root of 1/2

// A rhombus of triangular lattice with 2 n + 1 rows and columns, of which (i, j) has the number
// i (2 n + 1) + j.
static Maze* makerhombus(i32 n)
{
    const i32 last = 2 * n;
    const i32 width = last + 1;
    Maze* const maze = Maze_new();
    GrowArray_reserve(&maze->nodes, static_cast<u32>(width * width));
    // forward: nodes are appended in the order of their numbers
    for (i32 i = 0; i <= last; i++) {
        const f64 y = static_cast<f64>(static_cast<f32>(i) * rowheight);
        for (i32 j = 0; j <= last; j++) {
            const i32 number = i * width + j;
            MazeNode node = MazeNode_fresh(j - i * 0.5, y, 0.0, 0.5);
            slots_addif(&node, j > 0, number - 1);
            slots_addif(&node, j < last, number + 1);
            slots_addif(&node, i > 0, number - width);
            slots_addif(&node, i < last, number + width);
            slots_addif(&node, i > 0 && j > 0, number - width - 1);
            slots_addif(&node, i < last && j < last, number + width + 1);
            Maze_addnode(maze, &node);
        }
    }
    return maze;
}

// Whether node (i, j) of the rhombus of parameter n goes.
using CutRule = bool (*)(i32 i, i32 j, i32 n);

// From the highest number down, so that nodes still to be visited keep theirs.
static Maze* cutrhombus(i32 n, CutRule goes)
{
    n = n < 0 ? 0 : n;
    Maze* const maze = makerhombus(n);
    for (i32 i = 2 * n; i >= 0; i--) {
        for (i32 j = 2 * n; j >= 0; j--) {
            if (goes(i, j, n)) {
                Maze_delnode(maze, i * (2 * n + 1) + j, true);
            }
        }
    }
    return maze;
}

static bool offtriangle(i32 i, i32 j, i32 n)
{
    static_cast<void>(n);
    return j < i;
}

static bool offhexagon(i32 i, i32 j, i32 n)
{
    return std::abs(j - i) > n;
}

// Every third node of a triangular lattice is the middle of a cell of honeycomb.
static bool offhoneycomb(i32 i, i32 j, i32 n)
{
    return offhexagon(i, j, n) || (i + j - 2 * n) % 3 == 0;
}

Maze* trigrid_triangle(i32 n)
{
    return cutrhombus(n, offtriangle);
}

Maze* trigrid_hexagon(i32 n)
{
    return cutrhombus(n, offhexagon);
}

Maze* trigrid_honeycomb(i32 n)
{
    return cutrhombus(n, offhoneycomb);
}

// Appends the two ends of an octagon's side, joined.
static void addside(Maze* maze, f64 x0, f64 y0, f64 x1, f64 y1)
{
    const MazeNode start = MazeNode_fresh(x0, y0, 0.0, 0.5);
    const MazeNode end = MazeNode_fresh(x1, y1, 0.0, 0.5);
    const i32 first = Maze_addnode(maze, &start);
    const i32 second = Maze_addnode(maze, &end);
    Maze_join(maze, first, second);
}

// The sides along x, then those along y, column by column: the numbering runs forward.
static void addsides(Maze* maze, i32 n)
{
    for (i32 c = 0; c < n; c++) {
        const f64 x = c * octagonspacing + octagoncorner;
        for (i32 r = 0; r <= n; r++) {
            const f64 y = r * octagonspacing;
            addside(maze, x, y, x + 1.0, y);
        }
    }
    for (i32 c = 0; c <= n; c++) {
        const f64 x = c * octagonspacing;
        for (i32 r = 0; r < n; r++) {
            const f64 y = r * octagonspacing + octagoncorner;
            addside(maze, x, y, x, y + 1.0);
        }
    }
}

Maze* octagon_tiling(i32 n)
{
    n = n < 1 ? 1 : n;
    Maze* const maze = Maze_new();
    GrowArray_reserve(&maze->nodes, static_cast<u32>(4 * n * (n + 1)));
    addsides(maze, n);
    const i32 upright = 2 * n * (n + 1); // the first node of the sides along y
    // forward, as the order of joins is that of the slots
    for (i32 c = 0; c < n; c++) {
        for (i32 r = 0; r < n; r++) {
            const i32 h = 2 * (c * (n + 1) + r);
            const i32 v = upright + 2 * (c * n + r);
            const i32 w = upright + 2 * ((c + 1) * n + r);
            Maze_join(maze, h, v);
            Maze_join(maze, h + 1, w);
            Maze_join(maze, h + 2, v + 1);
            Maze_join(maze, h + 3, w + 1);
        }
    }
    return maze;
}
