// The record of a game in progress, of a walker, of a roamer. Routines: mazegame.h; the generator
// that fills it: generate/makemaze.h.
#pragma once

#include "base/growarray.h"
#include "model/pos.h"
#include "model/viewrec.h"

#include <cstddef>

/// A mover: a node, and how far it has moved from there.
struct Walker {
    Pos pos;
    f64 step[3]; // world units
};

/// A mover without a will, which leaves a trail.
struct Roamer {
    f64 timer;  // seconds until the next step
    f64 period; // seconds between steps
    Pos pos;
    Pos prev; // where it stood before
};

/// The fields from `time` on are saved as one image of GAME_TAIL bytes; their order is a file format.
struct MazeGame {
    Maze* root;        // owned
    Pos pos;           // with step, the player as a Walker
    f64 step[3];       // how far the player has moved from that node, world units
    f64 time;          // game clock, seconds
    f64 orient[9];     // view rotation, rows: right, up, back
    f64 campos[3];     // the eye
    f64 zoom;          // distance of the eye from the focus in third person
    ViewRec view;      // as last captured
    i32 showtrail;     // not 0: what has been walked is shaded by its age
    i32 showexits;     // not 0: a submaze is coloured by how many of its exits have been used
    GrowArray roamers; // of Roamer
};

enum { GAME_TAIL = 520 };

static_assert(sizeof(ViewRec) == 360);
static_assert(sizeof(GrowArray) == 40);
static_assert(sizeof(MazeGame) - offsetof(MazeGame, time) == GAME_TAIL);
static_assert(offsetof(MazeGame, showtrail) - offsetof(MazeGame, time) == 472);
