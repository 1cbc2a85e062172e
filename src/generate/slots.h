// Filling the slots of a node before it is appended to its maze, with the numbers that its neighbours
// will have.
#pragma once

#include "model/maze.h"

/// Appends an edge of a fresh record to a node's slots. The node must have room, and the caller lists
/// the edge at both ends.
inline void slots_add(MazeNode* node, i32 neighbour)
{
    node->edges[node->nedges] = neighbour;
    node->edgerec[node->nedges] = VisitRec_fresh();
    node->nedges++;
}

/// Appends an edge if its neighbour exists.
inline void slots_addif(MazeNode* node, bool exists, i32 neighbour)
{
    if (exists) {
        slots_add(node, neighbour);
    }
}
