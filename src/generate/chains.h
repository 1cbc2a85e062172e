// Constructions that put mazes into the nodes of a line: the chains of the gallery, and the wrapper
// that gives a random world its entrance and its exit.
#pragma once

#include "model/maze.h"

/// A chain function: makes the maze at place i of a chain, counted from 1; owned by the caller.
using ChainFunction = Maze* (*)(i32 i);

/// A line of n + 2 nodes of which the inner n hold the mazes f(1) to f(n), laid along the x axis with
/// 10 units between them and named by their places. Draws only where a port must be added.
Maze* chain_maze(i32 n, ChainFunction f);

/// Chain function of the gallery's outer chain.
Maze* chain_top(i32 i);

/// Chain function of its chains of two.
Maze* chain_middle(i32 i);

/// Chain function of five flat shapes in turn, in 0xC08040.
Maze* gallery_shape(i32 i);

/// Wraps `maze`, handed over, into the middle node of a line of three, so that a world has an
/// entrance and an exit: nodes 0 and 2 stand outside the maze's box, and its ports are the nodes
/// nearest to them. Returns the line, owned by the caller. Draws only where a port must be added.
/// Trusts that the maze has a node.
Maze* Maze_wrapends(Maze* maze);

/// Colours each edge as the mean of its two nodes; with `recursive` on all levels.
void Maze_blendedges(Maze* maze, bool recursive);
