// Walking and turning, and what a run leaves of them in its save. The table of all keys has tests of its
// own.
#include "tests/window/session.h"

using Walking = WindowTest;
using Turning = WindowTest;

TEST_F(Walking, upward_visits_more_nodes)
{
    const StartSeed start = seed_with_an_exit_upward();
    settings("Seed: " + std::to_string(start.seed) + "\n");
    Session run(desktop, folder);
    run.start();
    run.hold("Up", 0.5);
    EXPECT_EQ(run.escape(), 0);
    EXPECT_GT(Save(path("maze_save.dat")).visits(), start.visits);
}

TEST_F(Walking, needs_a_key)
{
    const StartSeed start = seed_with_an_exit_upward();
    settings("Seed: " + std::to_string(start.seed) + "\n");
    Session run(desktop, folder);
    run.start();
    EXPECT_EQ(run.escape(), 0);
    EXPECT_EQ(Save(path("maze_save.dat")).visits(), start.visits);
}

TEST_F(Turning, leaves_the_view_alone_while_no_button_is_held)
{
    Session run(desktop, folder);
    run.start();
    desktop.run("xdotool mousemove_relative -- 40 0");
    run.show_frame();
    desktop.run("xdotool mousemove_relative -- 0 -40");
    run.show_frame();
    EXPECT_EQ(run.escape(), 0);
    const Save save(path("maze_save.dat"));
    EXPECT_DOUBLE_EQ(save.orient[0], 1);
    EXPECT_DOUBLE_EQ(save.orient[8], 1);
}
