// The one random stream: the same numbers on every platform, 15 bits a draw.
//
// state = state * 214013 + 2531011, and the draw is (state >> 16) & 0x7fff. Worlds are reproduced
// from a seed only while every draw is made in its order, so a statement makes one draw at most:
// the language leaves the order of two draws in one expression open.
#pragma once

#include "base/types.h"

enum { RND_MAX = 0x7fff };

enum : u32 { RND_FACTOR = 214013U, RND_STEP = 2531011U };

/// The state after one more draw. With rnd_drawn it lets a loop keep the state in a variable of its
/// own; rnd_skip then takes the stream itself to where the loop has come.
inline u32 rnd_next(u32 state)
{
    return state * RND_FACTOR + RND_STEP;
}

/// The draw that leads to a state: 0 to RND_MAX.
inline i32 rnd_drawn(u32 state)
{
    return static_cast<i32>((state >> 16) & RND_MAX);
}

/// Seeds the stream: the state becomes `seed`.
void rnd_seed(u32 seed);

/// The present state of the stream.
u32 rnd_state();

/// Draws taken by the process since the last seeding, modulo 2^32.
u32 rnd_count();

/// One draw: 0 to RND_MAX.
i32 rnd_draw();

/// Moves the stream on as `n` draws do, n modulo 2^32, in about 32 steps at most.
void rnd_skip(u32 n);

/// Uniform in [0, x); two draws, the first gives the low bits.
f64 rnd(f64 x);

/// Uniform integer from 0 to n - 1, or 0 for n of 0 or below; two draws always.
i32 irand(i32 n);
