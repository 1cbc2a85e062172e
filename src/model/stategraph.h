// State graphs: a maze whose nodes are the states of some system, and which grows while it is walked.
// The description hangs on the maze as its attachment "rep"; its maker gives it its meaning.
#pragma once

#include "model/maze.h"

struct StateGraph {
    // Opaque records, one a node of the maze, in step with the node numbers. Nothing but growth may add
    // to or renumber the maze: it holds no ports whose edges change, as at the root.
    GrowArray states;
    void* startstate; // owned; the first state, filled in by the maker
    void* scratch;    // owned spare state, or null
    void* context;    // owned data of the maker, or null
    void (*neighbours)(GrowArray* out, const void* state,
                       void* context);                          // makes a new list of states
    bool (*equal)(const void* a, const void* b, void* context); // null: equal bytes
    void (*release)(void* state, void* context);                // frees what a state owns, or null
    // Paints a state at x, y in a size, all in pixels, or null. Called in the scene between
    // gfx_overlay_begin and gfx_overlay_end, once in each depth slice.
    void (*label)(const void* state, void* context, f32 x, f32 y, f32 size);
};

/// An empty description with zero-filled start state and context; the maker fills in the functions.
/// What it owns goes with Maze_statenew.
///
/// A state that owns something is released as often as it is held: the start state stands in
/// `startstate` and again, byte for byte, as the first of `states`, and `release` is called for both.
void StateGraph_new(StateGraph* out, u32 statesize, u32 contextsize);

/// A maze of one node for the start state at the origin, of radius 0.5, which takes over what the
/// description owns: it goes with the attachment.
Maze* Maze_statenew(const StateGraph* graph);

/// Adds the neighbours of the state of node n, beside it at random, and edges to all of them as far as
/// they fit. A neighbour equal to the state itself gets no edge. Six draws for each new node. Frees
/// what hangs on the geometry if anything was added. Does nothing in a maze without "rep".
void Maze_stategrow(Maze* maze, i32 n);

/// The closed graph of all that can be reached; doesn't end if that is without end.
Maze* Maze_statefill(const StateGraph* graph);
