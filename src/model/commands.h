// The maze commands of a frame: what the keys of the frame loop do to the world. They take which keys
// act as plain values, so that they run without a window.
#pragma once

#include "model/gamerec.h"

/// The kind of new game that N asks for: 0, 1 with either of Shift and Ctrl held, 2 with both.
i32 newgame_kind(bool shift, bool ctrl);

/// Frees the game and makes a new one of `kind` in its place.
void newgame(MazeGame* game, i32 kind);

/// Which keys reshape the current maze in a frame.
struct ReshapeKeys {
    bool simplify; // R held
    bool relax;    // E held
    bool contract; // K pressed
    bool shift;
    bool ctrl;
};

/// Growth factor of the simplify key: 1 while R is up, larger the longer it is held.
extern f64 simplify_rate;

/// Simplifies, relaxes or contracts the current maze; `dt` is the frame's length in seconds. Called in
/// every frame, also without a key, since a state graph is relaxed in each.
void MazeGame_reshape(MazeGame* game, const ReshapeKeys* keys, f64 dt);

/// Grows a state graph at all nodes of the current maze; does nothing in any other maze.
void MazeGame_growall(MazeGame* game);

/// Gives submazes to the expandable nodes near the player, nearest first, until 10 ms have passed.
void MazeGame_expand(MazeGame* game);
