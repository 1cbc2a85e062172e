// Positions: where something stands, whatever level of the nest it is on.
//
// A node that holds a submaze is no place of its own: who walks along one of its edges arrives inside
// the submaze, at the port that stands for that edge. Node i of a submaze, for i below the number of
// edges of its parent node, is port i: it has one exit more than its own edges, which leads out along
// edge i of the parent node and whose record is that edge's. Ports hold no submaze, and a position
// always stands on a node without one. One step never crosses more than one level.
//
// A Pos is a plain value. It stays good until its maze is freed or renumbered.
#pragma once

#include "model/maze.h"

struct Pos {
    Maze* maze; // null in Pos_null
    i32 node;   // index in maze->nodes
};

inline constexpr Pos Pos_null = {nullptr, 0};

enum { POS_MAXEDGES = 9 };

/// Whether two positions are the same node of the same maze.
inline bool Pos_same(Pos a, Pos b)
{
    return a.maze == b.maze && a.node == b.node;
}

/// The node of a position, trusted to exist; good until a node is added or deleted.
inline MazeNode* Pos_node(Pos pos)
{
    return Maze_node(pos.maze, pos.node);
}

/// The port of `sub` by which one arrives from the neighbouring position `from` of the parent level;
/// Pos_null if `from` is no neighbour of the node that holds `sub`. The highest slot wins.
Pos Pos_submaze_enter(Pos from, Maze* sub);

/// Where the port under `pos` leads: a node of the parent level, or the port of a neighbouring
/// submaze. Pos_null if `pos` is no port, or if the edge lists of the level above aren't symmetric.
Pos Pos_submaze_exit(Pos pos);

/// Lists the exits of `pos`: the edges of its node in slot order, then the way out of the port, if it
/// is one.
///
/// `out`      caller's array of POS_MAXEDGES. Its entry behind the last edge is written in any case.
/// `outrecs`  caller's array of POS_MAXEDGES that receives copies of the near side's records, or null.
/// Returns the number of exits, 0 for a node without any.
/// Trusts `pos` to be a node that exists. Fatal when a neighbour's submaze has no port for this edge.
/// Allocates nothing.
i32 Pos_alledges(Pos pos, Pos* out, VisitRec* outrecs);

/// Records a passage of the player between two adjacent positions: stamps the edge on both sides and
/// the node arrived at, counts a first visit, marks the exits used, and frees the attachments that
/// these changes make stale. A port crossed through is not stamped: the node of the level above is.
/// Does nothing if the two are neither in one maze, nor parent and child, nor siblings.
void Pos_markwalked(Pos from, Pos to, f64 time);

/// Records a passage of a roamer: the same edges and node, in `trailed`; nothing else is touched.
void Pos_marktrailed(Pos from, Pos to, f64 time);

/// Stamps every edge between `a` and `b` on both sides and node `b`, inside one maze; counts `b` in
/// `visitednodes` at its first visit and frees the maze's ATT_VISITS attachments.
void Maze_markwalked(Maze* maze, i32 a, i32 b, f64 time);

/// Makes the first nodes of a fresh submaze its ports: for each edge of the parent node in slot
/// order, the nearest remaining node to the neighbour there. Missing nodes are added at random beside
/// node 0 and joined to it. Leaves a root and an empty submaze alone. Six draws for each attempt at a
/// place of a node that it adds, none otherwise.
void Maze_fixports(Maze* sub);

/// One exit of a node, as walkways see it.
struct EdgeAngleRec {
    i32 exit;           // number in the order of Pos_alledges
    i32 backexit;       // number of the exit of the target that leads back, -1 if there is none
    f64 angle;          // compass angle in radians, atan2(dy, dx); EDGEANGLE_STEEP for a steep exit
    f64 cornerdist;     // distance along the exit of the walkway's left-hand corner
    f64 prevcornerdist; // the same for the right-hand corner
    f64 corner[3];      // left-hand corner, from the node's centre
    f64 prevcorner[3];  // right-hand corner
};

inline constexpr f64 EDGEANGLE_STEEP = 99.0;

/// Builds the table of all exits of a level, POS_MAXEDGES records a node, and attaches it as
/// "EdgeAngleRecs" with ATT_GEOMETRY; the records of exit e of node n stand at 9 n + e. Records of
/// nodes with a submaze, and those behind a node's exits, are zero. Returns the table, lent until
/// the attachment goes.
EdgeAngleRec* Maze_edgeanglerecs(Maze* maze);

/// The records of one position alone, which must not hold a submaze; those behind its exits are zero.
/// Attaches nothing.
void Pos_edgeanglerecs(Pos pos, EdgeAngleRec out[POS_MAXEDGES]);
