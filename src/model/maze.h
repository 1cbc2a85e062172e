// The maze: an undirected graph of nodes in space, at most 8 edges to a node, any of which may hold
// a further maze, its submaze, so that a world is a tree of graphs in one coordinate space.
//
// Invariants, kept by every operation and checked by Maze_dump:
//   1. Edges are symmetric: if a lists b, b lists a, with the same number of entries.
//   2. A node is not joined to itself, and not joined to the same node twice.
//   3. No node has more than MAZE_MAXEDGES edges.
//   4. The submaze of node n of maze m has m as `parent` and n as `parentnode`.
//   5. A submaze has at least as many nodes as its parent node has edges, and its node i stands for
//      edge i of the parent node. So whoever reorders the edges of a node reorders the first nodes
//      of its submaze in the same way.
//
// References inside a maze are node indices. A Maze has a stable address for its whole life; a
// MazeNode pointer is good until the next node is added to or deleted from its maze. Loops run from
// the last element to the first unless told otherwise, and that order is behaviour: deletion moves
// the last element into the hole. Nothing here reports a failure: indices are trusted.
//
// Lengths are maze units, times are seconds of the game clock, colours 0xRRGGBB.
#pragma once

#include "base/growarray.h"

enum { MAZE_MAXEDGES = 8 };

enum : u32 { COLOUR_DEFAULT = 0x808080 };

/// Appearance and history of one node, or of one direction of one edge.
struct VisitRec {
    u32 colour;  // 0xRRGGBB, COLOUR_DEFAULT at first
    f64 walked;  // time of the player's last passage; negative: never
    f64 trailed; // time of a roamer's last passage; negative: never
};

struct Maze;

struct MazeNode {
    f64 pos[3]; // z is up
    f64 radius;
    u32 nedges;
    i32 edges[MAZE_MAXEDGES];        // neighbours, slots 0 to nedges - 1
    VisitRec edgerec[MAZE_MAXEDGES]; // in step with edges
    VisitRec rec;                    // of the node itself
    u32 expandable;                  // not 0: waits for a submaze, by MazeNode_await; never saved
    Maze* sub;                       // owned, or null
};

struct Maze {
    GrowArray nodes; // of MazeNode
    Maze* parent;    // lent; null at the root
    i32 parentnode;  // index of the node of `parent` that holds this maze; 0 at the root
    i32 visitednodes;
    u32 exitsused;         // bit i: edge i of the parent node has been walked to or from this maze
    char* name;            // owned, or null
    f64 centre[3];         // mean of the node positions, by Maze_bounds
    f64 boundradius;       // of a sphere about centre that holds all nodes; 1e20 until computed
    GrowArray attachments; // of Attachment
    f64 drawcentre[3];     // sphere of all that is drawn of this level and below: drawsphere.h
    f64 drawradius;        // negative while stale
    u32 drawstamp;         // another one each time that the sphere is computed
};

/// Node `n`, trusted to exist; good until the next node is added or deleted.
inline MazeNode* Maze_node(const Maze* maze, i32 n)
{
    return items<MazeNode>(&maze->nodes) + n;
}

/// The number of nodes.
inline i32 Maze_count(const Maze* maze)
{
    return static_cast<i32>(maze->nodes.count);
}

/// The parent node that holds this maze, or null at the root.
inline MazeNode* Maze_parentnode(const Maze* maze)
{
    return maze->parent != nullptr ? Maze_node(maze->parent, maze->parentnode) : nullptr;
}

/// The number of ports: edges of the parent node, 0 at the root.
inline i32 Maze_ports(const Maze* maze)
{
    const MazeNode* const holder = Maze_parentnode(maze);
    return holder != nullptr ? static_cast<i32>(holder->nedges) : 0;
}

/// A fresh visit record: default colour, never walked, never trailed.
VisitRec VisitRec_fresh();

/// A fresh node record at a place: no edges, no submaze, not expandable, radius as given.
MazeNode MazeNode_fresh(f64 x, f64 y, f64 z, f64 radius);

/// An empty maze without parent, name or attachments; `boundradius` is 1e20. Owned by the caller.
Maze* Maze_new();

/// Destroys a maze: its name, its attachments (destructors run, last first) and its nodes, and if
/// `recursive` the submazes of all levels, last node first.
void Maze_free(Maze* maze, bool recursive);

/// A copy, owned by the caller, that keeps parent, counters and bounds but has no attachments. With
/// `recursive` the submazes are cloned too, otherwise the copy has none.
Maze* Maze_clone(const Maze* maze, bool recursive);

/// Appends clones of the nodes of another maze, with clones of their submazes. Returns the number of
/// the first.
i32 Maze_append(Maze* maze, const Maze* b);

/// The disjoint union, owned by the caller: a recursive clone of `a`, then clones of the nodes of
/// `b`, numbered from the node count of `a`.
Maze* Maze_merged(const Maze* a, const Maze* b);

/// Appends a copy of a node record and returns its index. `node` must not lie in the maze.
i32 Maze_addnode(Maze* maze, const MazeNode* node);

/// Adds an edge of fresh records at the end of both nodes' slots. Does nothing if either node has 8
/// edges. Repetitions are not looked for.
void Maze_join(Maze* maze, i32 a, i32 b);

/// Removes all edges between two nodes; the last edge moves into the hole. With `syncports` the ports
/// of the nodes' submazes are renumbered in step, and the port of the removed edge becomes an inner
/// node; without it submazes are not touched, which is meant for mazes without any.
void Maze_unjoin(Maze* maze, i32 a, i32 b, bool syncports);

/// Exchanges two node numbers; the graph stays as it is. Submazes are told of their new numbers.
void Maze_swapnodes(Maze* maze, i32 a, i32 b);

/// Deletes a node with its edges; the last node takes its number. With `syncports` the submaze of
/// the node is freed, and that of the renumbered node is told of its number.
void Maze_delnode(Maze* maze, i32 n, bool syncports);

/// Sets the colour of all nodes and edges of this level.
void Maze_setcolour(Maze* maze, u32 colour);

/// Multiplies positions, `centre` and `boundradius`; node radii stay as they are.
void Maze_scale(Maze* maze, f64 factor);

/// Moves all positions and `centre` by `v`; with `recursive` all levels below too.
void Maze_translate(Maze* maze, const f64 v[3], bool recursive);

/// Rotates `centre` and the positions of this level about the origin by a rotation vector.
void Maze_rotate(Maze* maze, const f64 r[3]);

/// Mean of the node positions, summed from the last to the first; not stored. Trusts that there is a
/// node.
void Maze_centroid(f64 out[3], const Maze* maze);

/// Computes `centre` and `boundradius`, both 0 for an empty maze; with `recursive` of all levels.
void Maze_bounds(Maze* maze, bool recursive);

/// The number of undirected edges.
i32 Maze_edgecount(const Maze* maze);

/// Owned array of `*count` index pairs (a, b), a below b, for a rising and slots from last to first.
/// Freed with free.
i32* Maze_edgelist(const Maze* maze, i32* count);

enum MazeDumpMode { MAZE_DUMP_LEVEL = 0, MAZE_DUMP_ALL = 1, MAZE_DUMP_DESCENT = 2 };

/// Appends a description of the maze to the text file at `path`, with an ERROR line for each broken
/// invariant. Returns the status of the last error of this level: 0 sound, 1 a node joined to itself,
/// 2 two nodes joined twice, 101 a submaze with the wrong parent, 102 one with too few nodes; -1 if
/// the file can't be opened, in which case nothing is checked, or can't be written, when what was
/// written before stays.
i32 Maze_dump(const Maze* maze, const char* path, const char* heading, MazeDumpMode mode);
