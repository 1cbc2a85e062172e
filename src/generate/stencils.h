// Nesting: stencils, small complete graphs at unit spacing, are dropped into the nodes of a world that
// is blown up to make room for them.
#pragma once

#include "model/pos.h"

/// A stencil function: makes a graph of about size `s` for the place `where` (Pos_null if there is
/// none yet). It has at least one node, no parent and no submazes; owned by the caller.
using StencilFunction = Maze* (*)(f64 s, Pos where);

/// One nesting pass: makes the tree s times larger, radii included, and gives each node of its leaf
/// mazes, but their ports, a stencil with chance p. Two draws a node of a leaf maze, besides those of
/// the stencils and of added ports.
void recursify(Maze* maze, f64 p, f64 s, StencilFunction stencil);

/// A random stencil of size s, of one of 13 types; tells of it in a line of progress. Two draws for
/// the type, and those of the type. Fatal if it comes out without nodes.
Maze* recursify_stencil(f64 s, Pos where);

/// A random stencil of span s for a node that expands late, in steps of its own spacing; its nodes are
/// expandable unless s is below 16. Named by its place where the maze there has a name. Two draws from 16
/// on, those of recursify_stencil, and two a node.
Maze* recursify_stencil_scaled(f64 s, Pos where);

/// Direction of a node's edges in the plane, radians, taken modulo a k-fold symmetry (the circular
/// mean with period 2 pi / k). 0 where there is none.
f64 Maze_nodeangle(const Maze* maze, i32 node, i32 k);

/// Hangs a fresh stencil, handed over, on a node: centred on the node, turned to its edges, with its
/// ports in order. Draws only where a port must be added.
void Maze_plantstencil(Maze* maze, i32 node, Maze* stencil);

/// Whether the lines of progress go to standard error instead of standard output; written by tools.
extern bool stencil_progress_to_stderr;
