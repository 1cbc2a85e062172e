// The slots of a node as they stand: filled before it is appended to its maze, with the numbers that its
// neighbours will have, and coloured.
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

/// Gives all edges from a node to `neighbour` a colour, in this direction alone.
inline void slots_colour(MazeNode* node, i32 neighbour, u32 colour)
{
    for (i32 i = static_cast<i32>(node->nedges) - 1; i >= 0; i--) {
        if (node->edges[i] == neighbour) {
            node->edgerec[i].colour = colour;
        }
    }
}
