// The bare graph of one level, for carving: neighbours only, an eighth of a maze's size, so that
// copies, deletions and searches are cheap.
//
// Edges lie in the slots that the same operations on the maze would leave them in, since draws follow
// the slots. Nodes are trusted to exist.
#pragma once

#include "model/maze.h"

struct FlatNode {
    u32 nedges;
    i32 edges[MAZE_MAXEDGES]; // neighbours, slots 0 to nedges - 1
};

struct FlatGraph {
    i32 count;
    FlatNode* nodes; // owned
    i32* queue; // owned; the nodes of a search: of one end from the front, of the other from behind
    u32* stamps; // owned; the search and the end that last met each node
    u32 stamp;   // of the latest search
};

/// The graph of a maze, without what its submazes hold. `out` is overwritten unread.
void FlatGraph_init(FlatGraph* out, const Maze* maze);

/// Frees what the graph owns.
void FlatGraph_free(FlatGraph* graph);

/// Makes `graph` equal to another of the same number of nodes.
void FlatGraph_copy(FlatGraph* graph, const FlatGraph* source);

/// Whether `a` lists `b`.
bool FlatGraph_joined(const FlatGraph* graph, i32 a, i32 b);

/// As Maze_join.
void FlatGraph_join(FlatGraph* graph, i32 a, i32 b);

/// As Maze_unjoin. Whether `a` had listed `b`.
bool FlatGraph_unjoin(FlatGraph* graph, i32 a, i32 b);

/// As Maze_thinedges, with the same draws.
void FlatGraph_thin(FlatGraph* graph, f64 keep);

/// Whether there is a way between two nodes; a node has a way to itself. Searches from both ends, a
/// node at a time, so it costs about twice the smaller side where there is none.
bool FlatGraph_connected(FlatGraph* graph, i32 a, i32 b);

/// Whether the graph is usable as a level with that many ports: Maze_isconnected. Trusts that there
/// is a node.
bool FlatGraph_usable(FlatGraph* graph, i32 ports);
