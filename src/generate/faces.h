// Bridges without searching, for graphs that lie on a surface.
//
// Take cycles of a graph of which no edge has more than two on it: faces, such as the squares of a
// grid. A further node stands for the outside, which an edge with less than two has on its other
// sides. Deleting an edge unites its two sides. As long as the sides are different, the deleted edges
// hold no cut of the graph: each cut meets each cycle an even number of times, so that it would unite
// its sides in a ring. A set of deleted edges leaves the graph as connected as it was if and only if
// the rows of all cycles tell it apart from such rings. Where the faces make up all cycles, as in a
// plane, this is all: an edge with one region on both sides is a bridge. Where a few cycles are
// missing, two on a torus, each of these has a bit in the labels of its edges, and a ring may go whose
// label is no sum of those of earlier rings.
//
// All of this is checked and nothing taken on trust: a graph of which too many cycles are missing is
// refused.
#pragma once

#include "generate/flatgraph.h"

enum { FACES_MAXMISSING = 8 };

struct Faces {
    const FlatGraph* graph;        // lent
    u8* higher;                    // bit i: slot i of the node leads to a higher one
    i32 (*numbers)[MAZE_MAXEDGES]; // of the edges in those slots
    i32 (*sides)[2];               // of each edge: faces, 0 is the outside
    u8* labels;                    // of each edge: bits of the missing cycles that it lies on
    i32 nsides;                    // faces and the outside
    i32* leaders;                  // of each face: towards the one that stands for its region
    u8* offsets;                   // the label of the way to that leader
    u8 rings[FACES_MAXMISSING];    // labels of the rings so far, no two with the same highest bit
    i32 left;                      // edges that can still be deleted
};

/// Finds the squares of a graph without doubled edges. False if they leave more than
/// FACES_MAXMISSING cycles missing. Nearly linear. `out` is overwritten unread; its arrays are lent by
/// `scratch`, and `graph` as long.
bool Faces_init(Faces* out, const FlatGraph* graph, Scratch* scratch);

/// Deletes the edge between two joined nodes, a below b, unless it is a bridge of what is left of the
/// graph. Whether it has gone. Each edge may be asked for once.
bool Faces_delete(Faces* faces, i32 a, i32 b);
