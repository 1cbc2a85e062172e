// The bare graph of one level, for carving: neighbours and marks of the edges that stay. It is a
// tenth of the maze's size, so that a method works in the nearest caches and touches the records of
// the maze twice only, to read the graph and to take the edges out.
//
// The graph itself never changes: a method marks the slots that stay, and FlatGraph_carve deletes the
// others from the maze. Nodes are trusted to exist, edges to be symmetric.
#pragma once

#include "model/maze.h"

#include <cstddef>

/// Memory of one carving: the first 64 KiB come from one buffer of the process, which serves each
/// carving in turn, so that small mazes allocate nothing; what doesn't fit there is allocated, and
/// freed when the carving ends. One at a time.
struct Scratch {
    size_t used;  // bytes of the buffer
    void* blocks; // owned; the allocated blocks, the first bytes of each lead to the next
};

/// Memory for `bytes` bytes, aligned for any of the basic types, not cleared. Lent until
/// Scratch_free.
void* Scratch_take(Scratch* scratch, size_t bytes);

/// The same for `n` elements of one type.
template <typename T> T* Scratch_array(Scratch* scratch, i32 n)
{
    return static_cast<T*>(Scratch_take(scratch, static_cast<size_t>(n) * sizeof(T)));
}

/// Ends the carving: frees what was allocated. The record is ready for the next one.
void Scratch_free(Scratch* scratch);

struct EdgePair {
    i32 a; // below b in a list of edges
    i32 b;
};

struct FlatGraph {
    i32 count;                   // nodes
    i32 npairs;                  // edges as Maze_edgelist lists them, each entry of a doubled one
    bool doubled;                // two nodes are joined more than once
    bool nested;                 // a node holds a submaze
    u8* nedges;                  // of each node
    u8* keep;                    // bit i: the edge in slot i stays
    i32 (*edges)[MAZE_MAXEDGES]; // neighbours, slots 0 to nedges - 1
};

/// The graph of a maze. Nothing is marked to stay but the edges from a node to itself, which no
/// method takes out. `out` is overwritten unread; its arrays are lent by `scratch`.
void FlatGraph_init(FlatGraph* out, const Maze* maze, Scratch* scratch);

/// The edge list of the graph, as Maze_edgelist has it, in random order by Fisher and Yates: two draws
/// for each pair, and for the last of them too.
EdgePair* FlatGraph_shuffledpairs(const FlatGraph* graph, Scratch* scratch);

/// Bit i for each slot i of `a` that leads to `b`.
inline u32 FlatGraph_slots(const FlatGraph* graph, i32 a, i32 b)
{
    const i32* const edges = graph->edges[a];
    u32 bits = 0;
    for (i32 i = MAZE_MAXEDGES - 1; i >= 0; i--) { // all slots, used or not, take no branches
        bits |= static_cast<u32>(edges[i] == b) << i;
    }
    return bits & ((1U << graph->nedges[a]) - 1);
}

/// Marks all edges between two nodes to stay.
inline void FlatGraph_keep(FlatGraph* graph, i32 a, i32 b)
{
    graph->keep[a] = static_cast<u8>(graph->keep[a] | FlatGraph_slots(graph, a, b));
    graph->keep[b] = static_cast<u8>(graph->keep[b] | FlatGraph_slots(graph, b, a));
}

/// Marks all edges to stay.
void FlatGraph_keepall(FlatGraph* graph);

/// Deletes the edges that aren't marked from the maze that the graph was made of, which has not
/// changed since. Leaves slots, visit records and ports of submazes as Maze_keepedges does.
void FlatGraph_carve(const FlatGraph* graph, Maze* maze);
