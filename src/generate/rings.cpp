#include "generate/rings.h"

#include "generate/slots.h"

#include <cmath>
#include <numbers>

static constexpr f64 ringfactor = 4.1887902047863905; // 4 pi / 3
static constexpr f64 twopi = 2 * std::numbers::pi;

// The power of two above `v`, which is none itself.
static u32 next_pow2(u32 v)
{
    v |= v >> 1;
    v |= v >> 2;
    v |= v >> 4;
    v |= v >> 8;
    v |= v >> 16;
    return v + 1;
}

// The number of nodes of a ring: 0 or a power of two, so that the spacing stays near 1.
static i32 ringsize(f64 radius)
{
    if (!(radius > 0.0)) {
        return 0;
    }
    const u32 v = static_cast<u32>(radius * ringfactor);
    return static_cast<i32>((v & (v - 1)) == 0 ? v : next_pow2(v));
}

struct Ring {
    f64 radius;
    f64 z;
    i32 before; // size of the ring whose nodes precede these and are linked with them, or 0
    i32 size;
    i32 after; // size of the ring whose nodes follow, or 0
};

// The slot that leads from node j of a ring of n to a ring of `other` nodes, of which `first` is the
// first. The sizes are powers of two, so one divides the other.
static void addlink(MazeNode* node, i32 j, i32 n, i32 first, i32 other)
{
    if (other >= n) {
        slots_add(node, first + j * (other / n));
    } else if (other > 0) {
        const i32 stride = n / other;
        slots_addif(node, j % stride == 0, first + j / stride);
    }
}

// Appends a ring; its links name nodes of the next one, which must follow at once.
static void addring(Maze* maze, const Ring* ring)
{
    const i32 n = ring->size;
    const i32 base = Maze_count(maze);
    const f64 d = twopi / n;      // not used if there are no nodes
    for (i32 j = 0; j < n; j++) { // forward, in the order of the numbers
        const f64 x = std::cos(j * d) * ring->radius;
        const f64 y = std::sin(j * d) * ring->radius;
        MazeNode node = MazeNode_fresh(x, y, ring->z, 0.5);
        slots_add(&node, base + (n - 1 + j) % n);
        slots_add(&node, base + (j + 1) % n);
        addlink(&node, j, n, base - ring->before, ring->before);
        addlink(&node, j, n, base + n, ring->after);
        Maze_addnode(maze, &node);
    }
}

Maze* ring_disc(i32 outer, i32 inner)
{
    const i32 last = outer > inner ? outer : inner;
    u32 total = 0;
    for (i32 k = last; k >= inner; k--) {
        total += static_cast<u32>(ringsize(k));
    }
    Maze* const maze = Maze_new();
    GrowArray_reserve(&maze->nodes, total);
    for (i32 k = inner; k <= last; k++) { // forward: from the inside out
        const Ring ring = {.radius = static_cast<f64>(k),
                           .z = 0.0,
                           .before = k > inner ? ringsize(k - 1) : 0,
                           .size = ringsize(k),
                           .after = k < last ? ringsize(k + 1) : 0};
        addring(maze, &ring);
    }
    return maze;
}

Maze* sphere_maze(f64 radius)
{
    i32 n = static_cast<i32>(radius * std::numbers::pi);
    n = n <= 1 ? 2 : n;
    const f64 step = std::numbers::pi / n;
    u32 total = 0;
    for (i32 i = n - 1; i >= 1; i--) {
        total += static_cast<u32>(ringsize(radius * std::sin(i * step)));
    }
    Maze* const maze = Maze_new();
    GrowArray_reserve(&maze->nodes, total);
    for (i32 i = 1; i < n; i++) { // forward: from north to south
        const f64 t = i * step;
        const f64 rho = radius * std::sin(t);
        const Ring ring = {.radius = rho,
                           .z = radius * std::cos(t),
                           .before = i > 1 ? ringsize(radius * std::sin((i - 1) * step)) : 0,
                           .size = ringsize(rho),
                           .after = i < n - 1 ? ringsize(radius * std::sin((i + 1) * step)) : 0};
        addring(maze, &ring);
    }
    return maze;
}

static i32 circumference(f64 radius)
{
    const i32 n = static_cast<i32>(radius * twopi);
    return n < 1 ? 1 : n;
}

static void appendat(Maze* maze, f64 x, f64 y, f64 z)
{
    const MazeNode node = MazeNode_fresh(x, y, z, 0.5);
    Maze_addnode(maze, &node);
}

// Gives the last number to the node on the far side of a mesh of n1 by n2, so that a way from the first
// node to the last leads around.
static void farsidelast(Maze* maze, i32 n1, i32 n2)
{
    const i32 last = Maze_count(maze) - 1;
    const i32 middle = n1 / 2 * n2 + n2 / 2;
    if (last >= 0 && middle != last) {
        Maze_swapnodes(maze, last, middle);
    }
}

Maze* torus_maze(f64 major, f64 minor)
{
    const i32 n1 = circumference(major);
    const i32 n2 = circumference(minor);
    Maze* const maze = Maze_new();
    GrowArray_reserve(&maze->nodes, static_cast<u32>(n1 * n2));
    // forward, in the order of the numbers and of the slots
    for (i32 i = 0; i < n1; i++) {
        const f64 phi = i * twopi / n1;
        for (i32 j = 0; j < n2; j++) {
            const f64 theta = j * twopi / n2;
            const f64 reach = major + minor * std::cos(theta);
            appendat(maze, reach * std::cos(phi), reach * std::sin(phi), minor * std::sin(theta));
        }
    }
    for (i32 i = 0; i < n1; i++) {
        for (i32 j = 0; j < n2; j++) {
            const i32 node = i * n2 + j;
            Maze_join(maze, node, (i + 1) % n1 * n2 + j);
            Maze_join(maze, node, i * n2 + (j + 1) % n2);
        }
    }
    farsidelast(maze, n1, n2);
    return maze;
}

static void joinstrip(Maze* maze, i32 n1, i32 n2)
{
    for (i32 i = 0; i < n1; i++) { // forward: the order of joins is that of the slots
        for (i32 j = 0; j < n2; j++) {
            const i32 node = i * n2 + j;
            // the last row meets the first one in reverse, which is the twist
            Maze_join(maze, node, i < n1 - 1 ? node + n2 : n2 - 1 - j);
            if (j < n2 - 1) {
                Maze_join(maze, node, node + 1);
            }
        }
    }
}

Maze* moebius_maze(f64 radius, f64 halfwidth)
{
    const i32 n1 = circumference(radius);
    const i32 n2 = static_cast<i32>(2 * halfwidth + 1);
    Maze* const maze = Maze_new();
    if (n2 < 1) {
        return maze;
    }
    GrowArray_reserve(&maze->nodes, static_cast<u32>(n1 * n2));
    // forward, in the order of the numbers
    for (i32 i = 0; i < n1; i++) {
        const f64 phi = i * twopi / n1;
        for (i32 j = 0; j < n2; j++) {
            const f64 t = j - (n2 - 1) * 0.5;
            const f64 reach = radius + t * std::cos(phi / 2);
            appendat(maze, reach * std::cos(phi), reach * std::sin(phi), t * std::sin(phi / 2));
        }
    }
    joinstrip(maze, n1, n2);
    farsidelast(maze, n1, n2);
    return maze;
}
