#include "base/rnd.h"

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

TEST(rnd_draw, is_the_known_stream_of_15_bits)
{
    rnd_seed(1);
    const std::vector<i32> known = {41,    18467, 6334,  26500, 19169,
                                    15724, 11478, 29358, 26962, 24464};
    for (const i32 draw : known) {
        EXPECT_EQ(rnd_draw(), draw);
    }
}

TEST(rnd_draw, follows_the_recurrence_for_any_seed)
{
    for (const u32 seed : {0U, 1U, 12345U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        rnd_seed(seed);
        std::uint64_t state = seed;
        for (i32 i = 0; i < 1000; i++) {
            state = (state * 214013 + 2531011) % 4294967296;
            ASSERT_EQ(rnd_draw(), static_cast<i32>(state / 65536 % 32768));
            ASSERT_EQ(rnd_state(), state);
        }
    }
}

TEST(rnd_seed, starts_the_stream_again)
{
    rnd_seed(77);
    EXPECT_EQ(rnd_state(), 77U);
    const i32 first = rnd_draw();
    rnd_draw();
    rnd_seed(77);
    EXPECT_EQ(rnd_count(), 0U);
    EXPECT_EQ(rnd_draw(), first);
}

TEST(rnd_count, counts_single_draws)
{
    rnd_seed(3);
    rnd_draw();
    EXPECT_EQ(rnd_count(), 1U);
    rnd(1.0);
    EXPECT_EQ(rnd_count(), 3U);
    irand(10);
    EXPECT_EQ(rnd_count(), 5U);
}

TEST(rnd_skip, is_as_many_draws)
{
    for (const u32 n : {0U, 1U, 2U, 3U, 7U, 1000U, 4097U, 65536U}) {
        rnd_seed(5);
        for (u32 i = 0; i < n; i++) {
            rnd_draw();
        }
        const u32 state = rnd_state();
        rnd_seed(5);
        rnd_skip(n);
        EXPECT_EQ(rnd_state(), state) << n;
        EXPECT_EQ(rnd_count(), n);
    }
}

TEST(rnd_skip, adds_up_and_comes_round_after_all_states)
{
    rnd_seed(5);
    rnd_skip(0x12345678U);
    EXPECT_NE(rnd_state(), 5U);
    rnd_skip(0U - 0x12345678U);
    EXPECT_EQ(rnd_state(), 5U);
    EXPECT_EQ(rnd_count(), 0U);
}

TEST(rnd_next, leads_to_the_state_of_the_next_draw)
{
    rnd_seed(9);
    const u32 state = rnd_next(rnd_state());
    EXPECT_EQ(rnd_draw(), rnd_drawn(state));
    EXPECT_EQ(rnd_state(), state);
}

TEST(rnd, takes_the_low_bits_from_the_first_draw)
{
    rnd_seed(1); // draws 41, then 18467
    EXPECT_EQ(rnd(1.0), (41.0 / 32768.0 + 18467.0) / 32768.0);
}

TEST(rnd, multiplies_from_left_to_right)
{
    rnd_seed(1);
    const f64 x = 0.1;
    EXPECT_EQ(rnd(x), x * 0x1p-15 * (41 * 0x1p-15 + 18467));
}

TEST(rnd, stays_below_its_bound)
{
    rnd_seed(8);
    for (i32 i = 0; i < 100000; i++) {
        const f64 value = rnd(3.0);
        ASSERT_GE(value, 0.0);
        ASSERT_LT(value, 3.0);
    }
}

TEST(rnd, of_a_negative_bound_mirrors_the_positive)
{
    rnd_seed(8);
    const f64 positive = rnd(3.0);
    rnd_seed(8);
    EXPECT_EQ(rnd(-3.0), -positive);
}

TEST(irand, of_1_is_always_0_and_takes_two_draws)
{
    rnd_seed(2);
    for (u32 i = 1; i <= 1000; i++) {
        ASSERT_EQ(irand(1), 0);
        ASSERT_EQ(rnd_count(), 2 * i);
    }
}

TEST(irand, of_0_and_below_is_0_and_takes_two_draws)
{
    rnd_seed(2);
    u32 draws = 0;
    for (const i32 n : {0, -1, -13, -2147483647 - 1}) {
        EXPECT_EQ(irand(n), 0);
        draws += 2;
        EXPECT_EQ(rnd_count(), draws);
    }
}

TEST(irand, is_the_floor_of_the_same_real_draw)
{
    for (const i32 n : {2, 13, 1000, 32768, 1 << 30, 2147483647}) {
        for (u32 seed = 0; seed < 500; seed++) {
            rnd_seed(seed);
            const f64 real = rnd(n);
            rnd_seed(seed);
            ASSERT_EQ(irand(n), static_cast<i32>(std::floor(real)));
        }
    }
}

TEST(irand, reaches_each_number_about_equally_often)
{
    rnd_seed(4);
    std::vector<i32> hits(13);
    for (i32 i = 0; i < 130000; i++) {
        hits.at(static_cast<size_t>(irand(13)))++;
    }
    for (const i32 n : hits) { // six standard deviations
        EXPECT_NEAR(n, 10000, 580);
    }
}
