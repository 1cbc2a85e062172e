// Routines of the game record: set-up, the player's and the roamers' movement, the point looked at.
//
// The player is not a point in space but a node and a step vector: input drives the vector, which is
// measured against the exits of the node. Only a passage of the whole length of an exit changes the
// node, at most one node a call, and nothing of the overshoot is kept.
#pragma once

#include "model/gamerec.h"

/// Sets a game up and generates its world; kind is the generator's mode. `out` is overwritten unread;
/// it owns its world until MazeGame_free.
void MazeGame_new(MazeGame* out, i32 kind);

/// Sets the record up without a world: root null, identity view, zoom 20, an empty roamer array, the
/// view captured. The first step of MazeGame_new and of loading.
void MazeGame_setup(MazeGame* out);

/// Puts the camera at its start: zoom 50 times the radius of node 0 of the root, and the eye at that
/// distance from the player's node along the third row of `orient`. Both are finite whatever the
/// record holds: the zoom by zoom_held, and an eye out of range is put on the node. Trusts that there
/// is a world.
void MazeGame_startcamera(MazeGame* game);

/// Frees the world with all levels, if there is one, and the roamer array; the record itself stays
/// with its owner.
void MazeGame_free(MazeGame* game);

/// The player as a walker.
Walker MazeGame_walker(const MazeGame* game);

/// The place of a position: itself, or, while its node holds a submaze, node 0 of that.
Pos MazeGame_place(Pos pos);

/// Puts the player and the roamers on their places; for whoever hangs or renumbers mazes.
void MazeGame_settle(MazeGame* game);

/// Adds `delta` (world units) to the player's step; passes an exit if the step covers its whole length,
/// and then stamps the passage with the game clock. The step becomes zero where no exit leads, and
/// where it would not be finite. A state graph then grows at the player's node, in every call.
void MazeGame_move(MazeGame* game, const f64 delta[3]);

/// Lets `dt` seconds pass for all roamers, last first. Two draws for each exit that one tries.
void MazeGame_moveroamers(MazeGame* game, f64 dt);

/// The point where the player is seen, on the way along its best exit. Where the arithmetic gives no
/// finite number, it is the node.
void MazeGame_viewpos(f64 out[3], const MazeGame* game);

/// The same, with the node radius interpolated alike; `radius` may be null.
void MazeGame_viewpos_radius(f64 out[3], const MazeGame* game, f64* radius);

/// Which of `n` exits fits the step best, -1 if every one lies behind it; the higher number wins a
/// tie. `fraction`, if not null, receives how far along it the walker is seen: the share of its
/// length, less the more the step turns toward the second best, and 0 halfway between the two.
i32 Walker_bestexit(const Walker* walker, const Pos* exits, i32 n, f64* fraction);

/// A roamer on a random node of a maze that has one, with a random period below 0.3 seconds.
void Roamer_make(Roamer* out, Maze* maze);

/// `zoom` held to what the view can bear: 1e-18 to 1e18; anything that isn't finite becomes `instead`.
f64 zoom_held(f64 zoom, f64 instead);
