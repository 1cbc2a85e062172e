// The dispatcher: makes the whole world of a game, in one order of steps and draws.
#pragma once

#include "model/gamerec.h"

/// Builds a finished tree of mazes into `game->root` (owned by the record; an earlier one must have
/// been freed), puts the player at its start with a zero step, and sets `showtrail` and `showexits`.
///
/// `mode` 0, and any value without a world of its own, is a random world: a base maze of a random
/// kind inside the middle node of a line of three, carved, coloured and perhaps warped.
/// Takes every number from the stream of base/rnd.h; the same state gives the same world.
void MazeGame_generate(MazeGame* game, i32 mode);

/// Kinds of base maze that a random world draws from.
enum { MAKEMAZE_KINDS = 13 };

/// Replaces the kind that the next random worlds draw, after its draw has been made; -1 (as at the
/// start): the drawn kind stands. A number that no kind has counts as 0. For tools and tests.
extern i32 makemaze_forced_kind;
