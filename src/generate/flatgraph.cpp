#include "generate/flatgraph.h"

#include "generate/stream.h"

#include <cstdlib>
#include <cstring>
#include <utility>

enum : size_t { ROOM_SIZE = 65536, ALIGNMENT = 16 };

// Lent to one carving at a time; written by whoever holds the Scratch.
alignas(ALIGNMENT) static u8 room[ROOM_SIZE];

void* Scratch_take(Scratch* scratch, size_t bytes)
{
    const size_t size = (bytes + ALIGNMENT - 1) & ~(ALIGNMENT - 1);
    if (size <= ROOM_SIZE - scratch->used) {
        u8* const taken = room + scratch->used;
        scratch->used += size;
        return taken;
    }
    u8* const block = static_cast<u8*>(std::malloc(ALIGNMENT + size));
    std::memcpy(block, &scratch->blocks, sizeof scratch->blocks);
    scratch->blocks = block;
    return block + ALIGNMENT;
}

void Scratch_free(Scratch* scratch)
{
    while (scratch->blocks != nullptr) {
        void* const block = scratch->blocks;
        std::memcpy(&scratch->blocks, block, sizeof scratch->blocks);
        std::free(block);
    }
    scratch->used = 0;
}

// The edges of node i whose other end is higher are counted, and the last node that listed each end
// is kept, so that a second edge between two nodes shows.
static void readnode(FlatGraph* out, const MazeNode* node, i32 i, i32* lister)
{
    out->nedges[i] = static_cast<u8>(node->nedges);
    std::memcpy(out->edges[i], node->edges, sizeof node->edges);
    u32 own = 0;
    for (i32 slot = static_cast<i32>(node->nedges) - 1; slot >= 0; slot--) {
        const i32 target = node->edges[slot];
        own |= static_cast<u32>(target == i) << slot;
        if (target > i) {
            out->doubled = out->doubled || lister[target] == i;
            lister[target] = i;
            out->npairs++;
        }
    }
    out->keep[i] = static_cast<u8>(own);
    out->nested = out->nested || node->sub != nullptr;
}

void FlatGraph_init(FlatGraph* out, const Maze* maze, Scratch* scratch)
{
    const i32 n = Maze_count(maze);
    *out = {.count = n,
            .npairs = 0,
            .doubled = false,
            .nested = false,
            .nedges = Scratch_array<u8>(scratch, n),
            .keep = Scratch_array<u8>(scratch, n),
            .edges = Scratch_array<i32[MAZE_MAXEDGES]>(scratch, n)};
    i32* const lister = Scratch_array<i32>(scratch, n);
    std::memset(lister, 0xFF, static_cast<size_t>(n) * sizeof(i32));
    for (i32 i = n - 1; i >= 0; i--) {
        readnode(out, Maze_node(maze, i), i, lister);
    }
}

static void listpairs(EdgePair* out, const FlatGraph* graph)
{
    for (i32 i = 0; i < graph->count; i++) { // the list rises in its first index
        for (i32 slot = graph->nedges[i] - 1; slot >= 0; slot--) {
            if (graph->edges[i][slot] > i) {
                *out++ = {.a = i, .b = graph->edges[i][slot]};
            }
        }
    }
}

EdgePair* FlatGraph_shuffledpairs(const FlatGraph* graph, Scratch* scratch)
{
    EdgePair* const pairs = Scratch_array<EdgePair>(scratch, graph->npairs);
    listpairs(pairs, graph);
    u32 state = rnd_state();
    for (i32 i = graph->npairs - 1; i >= 0; i--) {
        std::swap(pairs[i], pairs[stream_index(&state, i + 1)]);
    }
    rnd_skip(2 * static_cast<u32>(graph->npairs));
    return pairs;
}

void FlatGraph_keepall(FlatGraph* graph)
{
    std::memset(graph->keep, 0xFF, static_cast<size_t>(graph->count));
}

// A maze with submazes is left to Maze_unjoin, in the order of Maze_keepedges.
static void carvenested(const FlatGraph* graph, Maze* maze)
{
    for (i32 i = graph->count - 1; i >= 0; i--) {
        const MazeNode* const node = Maze_node(maze, i);
        for (i32 slot = static_cast<i32>(node->nedges) - 1; slot >= 0; slot--) {
            if (slot < static_cast<i32>(node->nedges) &&
                (FlatGraph_slots(graph, i, node->edges[slot]) & graph->keep[i]) == 0) {
                Maze_unjoin(maze, i, node->edges[slot], true);
            }
        }
    }
}

// Takes all edges to `target` out of a node; the bits of `gone` move with the slots.
static u32 dropedges(MazeNode* node, u32 gone, i32 target)
{
    for (i32 slot = static_cast<i32>(node->nedges) - 1; slot >= 0; slot--) {
        if (node->edges[slot] == target) {
            node->nedges--;
            const u32 last = node->nedges;
            node->edges[slot] = node->edges[last]; // the last edge moves into the hole
            node->edgerec[slot] = node->edgerec[last];
            gone = (gone & ~(1U << slot)) | ((gone >> last & 1U) << slot);
            gone &= ~(1U << last);
        }
    }
    return gone;
}

static i32 highest(const MazeNode* node, u32 gone)
{
    i32 target = -1;
    for (i32 slot = static_cast<i32>(node->nedges) - 1; slot >= 0; slot--) {
        if ((gone >> slot & 1U) != 0 && node->edges[slot] > target) {
            target = node->edges[slot];
        }
    }
    return target;
}

// What the deletions of Maze_keepedges do to node i, without those to other nodes: edges to higher
// nodes go when those are looked at, from the highest on, the others when node i is, from its last
// slot on.
static void carvenode(MazeNode* node, i32 i, u32 gone)
{
    for (;;) {
        const i32 target = highest(node, gone);
        if (target <= i) {
            break;
        }
        gone = dropedges(node, gone, target);
    }
    for (i32 slot = static_cast<i32>(node->nedges) - 1; slot >= 0 && gone != 0; slot--) {
        if ((gone >> slot & 1U) != 0) {
            gone = dropedges(node, gone, node->edges[slot]);
        }
    }
}

void FlatGraph_carve(const FlatGraph* graph, Maze* maze)
{
    if (graph->nested) {
        carvenested(graph, maze);
        return;
    }
    for (i32 i = graph->count - 1; i >= 0; i--) {
        const u32 gone = ~static_cast<u32>(graph->keep[i]) & ((1U << graph->nedges[i]) - 1);
        if (gone != 0) {
            carvenode(Maze_node(maze, i), i, gone);
        }
    }
}
