#include "base/clock.h"

#include <chrono>
#include <gtest/gtest.h>
#include <thread>

TEST(timer_now, never_runs_backward)
{
    f64 before = timer_now();
    for (i32 i = 0; i < 100000; i++) {
        const f64 now = timer_now();
        ASSERT_GE(now, before);
        before = now;
    }
}

TEST(timer_now, counts_seconds)
{
    const f64 before = timer_now();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const f64 passed = timer_now() - before;
    EXPECT_GE(passed, 0.049);
    EXPECT_LT(passed, 20.0);
}

TEST(timer_now, puts_the_steady_clock_in_its_own_place)
{
    timer_now();
    f64 (*const found)() = timer_now;
    timer_now();
    EXPECT_EQ(timer_now, found);
}

static f64 noon()
{
    return 12.0;
}

TEST(timer_now, can_be_replaced)
{
    f64 (*const before)() = timer_now;
    timer_now = noon;
    EXPECT_EQ(timer_now(), 12.0);
    timer_now = before;
}
