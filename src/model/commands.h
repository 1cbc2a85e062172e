// The maze commands of a frame: what the keys of the frame loop do to the world. They take which keys
// act as plain values, so that they run without a window.
//
// Whatever they do, the world stays sound and every position stands on a node without a submaze: the
// player and the roamers go down from one that has got a submaze to node 0 of it.
#pragma once

#include "model/gamerec.h"

/// The kind of new game that N asks for: 0, 1 with either of Shift and Ctrl held, 2 with both.
i32 newgame_kind(bool shift, bool ctrl);

/// Frees the game and makes a new one of `kind` in its place.
void newgame(MazeGame* game, i32 kind);

/// Which keys reshape the current maze in a frame.
struct ReshapeKeys {
    bool simplify = false; // R held
    bool relax = false;    // E held
    bool contract = false; // K pressed
    bool shift = false;
    bool ctrl = false;
};

/// Growth factor of the simplify key: 1 while R is up, larger the longer it is held.
extern f64 simplify_rate;

/// Simplifies, relaxes or contracts the current maze; `dt` is the frame's length in seconds. Called in
/// every frame, also without a key, since a state graph is relaxed in each.
///
/// A step of R isn't taken if it would make the level larger than it was when the key went down, or
/// when the player came to the level with the key held; so holding R ends in rest. A level with a node
/// beyond 1e300 isn't relaxed. K puts the player on node 0 of the level, or, if nothing leads on from
/// there when it is done, on the first node from which something does. Geometry is freed in the
/// level, below it, and in the mazes whose ways end in its ports.
void MazeGame_reshape(MazeGame* game, const ReshapeKeys* keys, f64 dt);

/// Grows a state graph at all nodes of the current maze; does nothing in any other maze.
void MazeGame_growall(MazeGame* game);

/// Gives submazes to the expandable nodes near the player, nearest first, until 10 ms have passed. The
/// time is looked at after each, so one always comes. A node whose flag can't be met, a port or one
/// without edges, loses it. The size asked for is 1600 at most: about a million nodes.
void MazeGame_expand(MazeGame* game);
