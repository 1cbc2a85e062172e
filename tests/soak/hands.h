// Hands that play at random: keys with and without modifiers, buttons, motion, wheel, sizes and places
// of the window, minimising. The same seed plays the same.
#pragma once

#include "base/types.h"

#include <random>

struct Hands {
    std::mt19937 dice;
    bool nested;       // N with one of Shift and Ctrl, a world of millions of nodes, is wanted now
    i32 keyup[256];    // frame in which a held key is let go, 0: it isn't held
    i32 buttonup[17];  // the same, by the button's mask
    i32 restoring;     // frame in which the minimised window comes back, 0: it isn't minimised
    i32 modifiersince; // frame in which a modifier last went down
    i32 largeuntil;    // frame up to which the window is large
    i32 worlds, resizes; // asked for so far
};

/// A number from 0 to n - 1.
i32 hands_below(Hands* hands, i32 n);

/// Nothing is held any more, as at the start of a run of the program.
void hands_letgo(Hands* hands);

/// Adds the input of a frame to the script of the back end.
void hands_play(Hands* hands, i32 frame);
