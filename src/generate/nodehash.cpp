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
    f64 low[3]; // the box of all nodes, with room for what lies in reach of one
    f64 high[3];
};

static constexpr f64 reach = 0.95; // of a search: its square is above any limit

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

// Puts a node into the chain of its cell and widens the box.
static void sortin(NodeHash* hash, i32 i)
{
    const f64* const p = Maze_node(hash->maze, i)->pos;
    f64 cell[3];
    cellat(cell, p, 0, 0, 0);
    i32* const head = hash->heads + bucket(hash, cell);
    hash->nexts[i] = *head;
    *head = i;
    for (i32 k = 2; k >= 0; k--) {
        hash->low[k] = p[k] - reach < hash->low[k] ? p[k] - reach : hash->low[k];
        hash->high[k] = p[k] + reach > hash->high[k] ? p[k] + reach : hash->high[k];
    }
}

NodeHash* NodeHash_new(const Maze* maze)
{
    const u32 n = maze->nodes.count;
    u32 buckets = 1;
    while (buckets < n) {
        buckets *= 2;
    }
    NodeHash* const hash = static_cast<NodeHash*>(std::malloc(sizeof(NodeHash)));
    *hash = {.maze = maze,
             .mask = buckets - 1,
             .heads = newnumbers(buckets),
             .nexts = newnumbers(n),
             .low = {HUGE_VAL, HUGE_VAL, HUGE_VAL},
             .high = {-HUGE_VAL, -HUGE_VAL, -HUGE_VAL}};
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        sortin(hash, i);
    }
    return hash;
}

void NodeHash_free(NodeHash* hash)
{
    std::free(hash->heads);
    std::free(hash->nexts);
    std::free(hash);
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

static bool outside(const NodeHash* hash, const f64 p[3])
{
    return p[0] < hash->low[0] || p[0] > hash->high[0] || p[1] < hash->low[1] ||
           p[1] > hash->high[1] || p[2] < hash->low[2] || p[2] > hash->high[2];
}

// The first and the last step from the cell of a coordinate to one in reach.
static void steps(f64 c, i32* first, i32* last)
{
    const f64 in = c - std::floor(c);
    *first = in > reach ? 0 : -1;
    *last = 1.0 - in > reach ? 0 : 1;
}

i32 NodeHash_nearest(const NodeHash* hash, const f64 p[3], f64 limit2)
{
    if (outside(hash, p)) {
        return -1;
    }
    i32 first[3];
    i32 last[3];
    for (i32 k = 2; k >= 0; k--) {
        steps(p[k], first + k, last + k);
    }
    // node -1 at the limit: whatever stands there goes before it
    Nearest best = {.distance2 = limit2, .node = -1};
    for (i32 dx = last[0]; dx >= first[0]; dx--) {
        for (i32 dy = last[1]; dy >= first[1]; dy--) {
            for (i32 dz = last[2]; dz >= first[2]; dz--) {
                f64 cell[3];
                cellat(cell, p, dx, dy, dz);
                searchcell(hash, cell, p, &best);
            }
        }
    }
    return best.node;
}
