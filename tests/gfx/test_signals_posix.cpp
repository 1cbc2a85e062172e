// Signals as requests to close.
#include "tests/scripted_window.h"

#include <csignal>
#include <gtest/gtest.h>

static bool closes_on(int signal)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    const bool before = gfx_pump() != 0;
    platform->takesignals();
    std::raise(signal);
    return !before && gfx_pump() == 1 && !gfx_alive;
}

TEST(gfx_pump, closes_on_a_signal_to_end)
{
    EXPECT_TRUE(closes_on(SIGTERM));
    EXPECT_TRUE(closes_on(SIGINT));
    EXPECT_TRUE(closes_on(SIGHUP));
}
