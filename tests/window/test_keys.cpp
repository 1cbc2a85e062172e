// Keys, wheel and pointer, and what a run that took them leaves in its save.
#include "tests/window/session.h"

#include <cmath>

using Walking = WindowTest;
using Zooming = WindowTest;
using Turning = WindowTest;
using Camera_modes = WindowTest;
using New_world = WindowTest;

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

TEST_F(Zooming, forward_with_the_wheel_is_one_factor)
{
    Session run(desktop, folder);
    run.start();
    run.click(4);
    EXPECT_EQ(run.escape(), 0);
    const Save save(path("maze_save.dat"));
    EXPECT_NEAR(save.zoom / save.start_zoom(), 1 / 1.2, 1e-9);
}

TEST_F(Zooming, back_with_the_wheel_is_a_factor_a_notch)
{
    Session run(desktop, folder);
    run.start();
    run.click(5);
    run.click(5);
    EXPECT_EQ(run.escape(), 0);
    const Save save(path("maze_save.dat"));
    EXPECT_NEAR(save.zoom / save.start_zoom(), 1.44, 1e-9);
}

TEST_F(Zooming, with_Z_held_comes_nearer)
{
    Session run(desktop, folder);
    run.start();
    run.hold("z", 0.4);
    EXPECT_EQ(run.escape(), 0);
    const Save save(path("maze_save.dat"));
    EXPECT_LT(save.zoom / save.start_zoom(), 0.8);
}

TEST_F(Zooming, with_X_held_goes_away)
{
    Session run(desktop, folder);
    run.start();
    run.hold("x", 0.4);
    EXPECT_EQ(run.escape(), 0);
    const Save save(path("maze_save.dat"));
    EXPECT_GT(save.zoom / save.start_zoom(), 1.25);
}

// orient holds cos(yaw) and -sin(yaw) in its first row and cos(pitch) last.
TEST_F(Turning, sideways_takes_Ctrl_and_an_arrow)
{
    Session run(desktop, folder);
    run.start();
    run.hold("ctrl+Left", 0.3);
    EXPECT_EQ(run.escape(), 0);
    const Save save(path("maze_save.dat"));
    EXPECT_LT(save.orient[0], 0.95);
    EXPECT_DOUBLE_EQ(save.orient[8], 1);
}

TEST_F(Turning, upward_takes_Ctrl_and_an_arrow)
{
    Session run(desktop, folder);
    run.start();
    run.hold("ctrl+Up", 0.3);
    EXPECT_EQ(run.escape(), 0);
    const Save save(path("maze_save.dat"));
    EXPECT_DOUBLE_EQ(save.orient[0], 1);
    EXPECT_LT(save.orient[8], 0.95);
}

TEST_F(Turning, follows_the_pointer_while_the_right_button_is_held)
{
    Session run(desktop, folder);
    run.start();
    for (const char* const step : {"mousedown 3", "mousemove_relative -- 40 0",
                                   "mousemove_relative -- 0 -40", "mouseup 3"}) {
        desktop.run(std::string("xdotool ") + step);
        run.show_frame();
    }
    EXPECT_EQ(run.escape(), 0);
    const Save save(path("maze_save.dat"));
    EXPECT_NEAR(save.orient[0], std::cos(400.0 / 800), 0.05);
    EXPECT_NEAR(save.orient[8], std::cos(400.0 / 800), 0.05);
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

TEST_F(Camera_modes, with_1_stand_at_the_player)
{
    Session run(desktop, folder);
    run.start();
    run.tap("1");
    EXPECT_EQ(run.escape(), 0);
    const Save save(path("maze_save.dat"));
    const std::vector<f64> node = save.position();
    EXPECT_NEAR(save.campos[0], node[0], 1e-6);
    EXPECT_NEAR(save.campos[1], node[1], 1e-6);
    EXPECT_NEAR(save.campos[2], node[2] + 1.6, 1e-6);
}

TEST_F(Camera_modes, with_3_step_back_from_the_player)
{
    Session run(desktop, folder);
    run.start();
    run.tap("1");
    run.tap("3");
    sleep_for(1.5); // the eye follows with a lag
    EXPECT_EQ(run.escape(), 0);
    const Save save(path("maze_save.dat"));
    const std::vector<f64> node = save.position();
    for (size_t i = 0; i < 3; i++) {
        EXPECT_NEAR(save.campos[i], node[i] + save.zoom * save.orient[6 + i], 0.01 * save.zoom);
    }
}

TEST_F(New_world, comes_with_N)
{
    settings("Seed: 4711\n");
    Session run(desktop, folder);
    run.start();
    run.tap("n");
    EXPECT_EQ(run.escape(), 0);
    EXPECT_NE(Save(path("maze_save.dat")).world(), world_of_seed(4711));
}
