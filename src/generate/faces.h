// Bridges without searching, for graphs that lie on a surface.
//
// A set of edges can be deleted without parting anything if and only if no cut of the graph lies in it
// (the cographic matroid, Whitney 1935). Counted modulo 2, cuts are what meets each cycle an even number
// of times. So, with a row for each of enough cycles to sum up to all, and in it a bit for each edge on
// the cycle, a set can go if and only if no sum of columns of its edges is nought.
//
// Take cycles of which no edge lies on more than two, as in the criterion of planarity by MacLane (1937):
// faces, such as the squares of a grid. A further node stands for the outside, which an edge with less
// than two has on its other sides. Then a column is an edge of the dual graph between two sides, and
// columns sum up to nought along rings of the dual. Deleting an edge unites its two sides; one with a
// single region on both sides closes a ring and is a bridge, if the faces make up all cycles, as in a
// plane. Where a few cycles are missing, two on a torus, each of these has a bit in the labels of its
// edges, and a ring may go whose label is no sum of those of earlier rings. Regions are disjoint sets that
// know the label of the way to their leader; the rings' labels are a basis by Gaussian elimination.
//
// So each answer is that of a search of what is left of the graph, and no plane or surface is taken on
// trust: any cycles will do as rows, and a graph of which too many are missing is refused.
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
