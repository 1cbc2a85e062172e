#include "generate/stream.h"

#include <gtest/gtest.h>

TEST(stream_index, is_what_irand_draws)
{
    for (const i32 n : {1, 2, 13, 15500, (1 << 23) - 1, 1 << 23, (1 << 23) + 1, 2147483647}) {
        rnd_seed(77);
        u32 state = 77;
        for (i32 i = 0; i < 20000; i++) {
            ASSERT_EQ(stream_index(&state, n), irand(n)) << n;
            ASSERT_EQ(state, rnd_state());
        }
    }
}

TEST(stream_bits, are_those_of_rnd)
{
    rnd_seed(3);
    u32 state = 3;
    for (i32 i = 0; i < 1000; i++) {
        const u32 bits = stream_bits(&state);
        ASSERT_EQ(bits * 0x1p-30, rnd(1.0));
    }
}
