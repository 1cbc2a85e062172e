// The two runs of the soak. Both go in the present folder, which should be empty, and end with
// everything freed.
#pragma once

#include "base/types.h"

/// Runs of the program, one after the other, under hands that play at random, until `seconds` of the
/// clock on the wall have passed. With `nested` the world of millions of nodes comes once, half way.
void run_hands(i32 seed, i32 seconds, bool nested);

/// The same 20 worlds again and again, made with the key N in one run of the program, each drawn in all
/// styles. A round that isn't counted comes first. After each world the program's own blocks are as many as
/// in the first round, and at the end of each round the process takes as much memory as after the first,
/// within a tenth.
void run_rounds(i32 seed, i32 rounds);
