#include "generate/nodehash.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

// Buckets of a power of two, each a chain of the nodes whose cells have its hash. Nodes of other cells
// in a chain do no harm, since the distance decides.
struct NodeHash {
    const Maze* maze;
    u32 mask;   // number of buckets less 1
    i32* heads; // of each bucket, -1 for an empty one
    i32* nexts; // of each node, -1 at the end of a chain
};

// A cell is the whole-number coordinates of its low corner, as f64 since they may be of any size.
static u32 bucket(const NodeHash* hash, const f64 cell[3])
{
    u32 words[6];
    static_assert(sizeof words == 3 * sizeof(f64));
    std::memcpy(words, cell, sizeof words);
    u32 h = 2166136261U;
    for (i32 k = 5; k >= 0; k--) {
        h = (h ^ words[k]) * 16777619U;
        h ^= h >> 15; // small whole numbers differ in high bits alone
    }
    return h & hash->mask;
}

// The cell of a point, moved by whole steps. The sum also makes one zero of the two.
static void cellat(f64 cell[3], const f64 p[3], i32 dx, i32 dy, i32 dz)
{
    cell[0] = std::floor(p[0]) + dx;
    cell[1] = std::floor(p[1]) + dy;
    cell[2] = std::floor(p[2]) + dz;
}

static i32* newnumbers(u32 n)
{
    i32* const numbers = static_cast<i32*>(std::malloc((static_cast<size_t>(n) + 1) * sizeof(i32)));
    std::memset(numbers, 0xFF, static_cast<size_t>(n) * sizeof(i32)); // -1 each
    return numbers;
}

NodeHash* NodeHash_new(const Maze* maze)
{
    const u32 n = maze->nodes.count;
    u32 buckets = 1;
    while (buckets < n) {
        buckets *= 2;
    }
    NodeHash* const hash = static_cast<NodeHash*>(std::malloc(sizeof(NodeHash)));
    *hash = {
        .maze = maze, .mask = buckets - 1, .heads = newnumbers(buckets), .nexts = newnumbers(n)};
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        f64 cell[3];
        cellat(cell, Maze_node(maze, i)->pos, 0, 0, 0);
        i32* const head = hash->heads + bucket(hash, cell);
        hash->nexts[i] = *head;
        *head = i;
    }
    return hash;
}

void NodeHash_free(NodeHash* hash)
{
    std::free(hash->heads);
    std::free(hash->nexts);
    std::free(hash);
}

static const f64 reach = 0.95; // no search goes further, and a bit for rounding

// Whether the cells that lie `step` cells from that of a coordinate hold nothing within reach.
static bool outofreach(f64 c, i32 step)
{
    const f64 low = std::floor(c) + step;
    return low > c + reach || low + 1.0 < c - reach;
}

struct Nearest {
    f64 distance2;
    i32 node;
};

static void searchcell(const NodeHash* hash, const f64 cell[3], const f64 p[3], Nearest* best)
{
    for (i32 i = hash->heads[bucket(hash, cell)]; i >= 0; i = hash->nexts[i]) {
        const f64* const q = Maze_node(hash->maze, i)->pos;
        const f64 dx = q[0] - p[0];
        const f64 dy = q[1] - p[1];
        const f64 dz = q[2] - p[2];
        const f64 distance2 = dx * dx + dy * dy + dz * dz;
        if (distance2 < best->distance2 || (distance2 == best->distance2 && i > best->node)) {
            *best = {.distance2 = distance2, .node = i};
        }
    }
}

i32 NodeHash_nearest(const NodeHash* hash, const f64 p[3], f64 limit2)
{
    // node -1 at the limit: whatever stands there goes before it
    Nearest best = {.distance2 = limit2, .node = -1};
    for (i32 i = 26; i >= 0; i--) { // three steps on each axis
        const i32 dx = i / 9 - 1;
        const i32 dy = i / 3 % 3 - 1;
        const i32 dz = i % 3 - 1;
        if (outofreach(p[0], dx) || outofreach(p[1], dy) || outofreach(p[2], dz)) {
            continue;
        }
        f64 cell[3];
        cellat(cell, p, dx, dy, dz);
        searchcell(hash, cell, p, &best);
    }
    return best.node;
}
