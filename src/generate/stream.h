// Indices from a copy of the random stream's state that a loop keeps in a variable of its own: the
// stream itself is not touched until rnd_skip takes it to where the loop has come.
#pragma once

#include "base/rnd.h"

/// The next two draws of the stream at `*state`, the first the low 15 bits: 0 to 2^30 - 1.
inline u32 stream_bits(u32* state)
{
    const u32 low = rnd_next(*state);
    // both draws in one step, so that a loop doesn't wait for one after the other
    *state = *state * (RND_FACTOR * RND_FACTOR) + (RND_STEP * RND_FACTOR + RND_STEP);
    return static_cast<u32>(rnd_drawn(low)) | static_cast<u32>(rnd_drawn(*state)) << 15;
}

/// What irand(n) draws, n above 0. Two draws.
inline i32 stream_index(u32* state, i32 n)
{
    const u32 bits = stream_bits(state);
    if (n > 1 << 23) { // the product of irand may be rounded
        const i32 drawn = static_cast<i32>(n * 0x1p-15 * (bits * 0x1p-15));
        return drawn < n ? drawn : n - 1;
    }
    return static_cast<i32>(std::uint64_t{bits} * static_cast<u32>(n) >> 30);
}
