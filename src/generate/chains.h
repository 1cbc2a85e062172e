// Constructions that put mazes into the nodes of a line.
#pragma once

#include "model/maze.h"

/// Wraps `maze`, handed over, into the middle node of a line of three, so that a world has an
/// entrance and an exit: nodes 0 and 2 stand outside the maze's box, and its ports are the nodes
/// nearest to them. Returns the line, owned by the caller. Draws only where a port must be added.
/// Trusts that the maze has a node.
Maze* Maze_wrapends(Maze* maze);

/// Colours each edge as the mean of its two nodes; with `recursive` on all levels.
void Maze_blendedges(Maze* maze, bool recursive);
