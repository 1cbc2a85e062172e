// What a window manager does to the window: another size, out of sight and back.
#include "tests/window/session.h"

#include <cstdio>

using Resizing = WindowTest;
using Minimising = WindowTest;

static bool minimised(const Desktop& desktop, const std::string& window)
{
    const std::string all = desktop.run("xdotool search --onlyvisible --name '^Corvane$' || true");
    return all.find(window) == std::string::npos;
}

struct Place {
    int x, y;
    bool operator==(const Place&) const = default;
};

static Place pointer(const Desktop& desktop)
{
    Place out = {-1, -1};
    const std::string text = desktop.run("xdotool getmouselocation --shell");
    EXPECT_EQ(std::sscanf(text.c_str(), "X=%d\nY=%d", &out.x, &out.y), 2) << text;
    return out;
}

TEST_F(Resizing, draws_the_new_size)
{
    Session run(desktop, folder);
    run.start();
    desktop.run("wmctrl -r Corvane -e 0,-1,-1,700,500");
    ASSERT_TRUE(wait_until(10, [&] {
        return desktop.client_size(run.window()) == Size{700, 500};
    }));
    EXPECT_TRUE(wait_until(10, [&] { return desktop.colours(run.window()) > 8; }));
    run.show_frame();
    EXPECT_EQ(run.escape(), 0);
    const Save save(path("maze_save.dat"));
    EXPECT_EQ(save.view.viewport[1] - save.view.viewport[0], 700);
    EXPECT_EQ(save.view.viewport[3] - save.view.viewport[2], 500);
}

TEST_F(Minimising, and_coming_back_shows_the_picture_again)
{
    Session run(desktop, folder);
    run.start();
    desktop.run("xdotool windowminimize " + run.window());
    ASSERT_TRUE(wait_until(10, [&] { return minimised(desktop, run.window()); }));
    sleep_for(0.3);
    desktop.run("wmctrl -a Corvane");
    ASSERT_TRUE(wait_until(10, [&] { return !minimised(desktop, run.window()); }));
    EXPECT_TRUE(wait_until(10, [&] { return desktop.colours(run.window()) > 8; }));
    run.show_frame();
    EXPECT_EQ(run.escape(), 0);
}

TEST_F(Minimising, stops_neither_the_clock_nor_closing)
{
    Session run(desktop, folder);
    run.start();
    desktop.run("xdotool windowminimize " + run.window());
    ASSERT_TRUE(wait_until(10, [&] { return minimised(desktop, run.window()); }));
    sleep_for(1);
    run.close();
    EXPECT_EQ(run.finish(), 0);
    EXPECT_GT(Save(path("maze_save.dat")).time, 1);
}

// In full screen the pointer is put back to the centre in each frame.
TEST_F(Minimising, sets_the_pointer_free)
{
    settings("Windowed: N\n");
    Session run(desktop, folder);
    run.start();
    desktop.run("xdotool windowminimize " + run.window());
    ASSERT_TRUE(wait_until(10, [&] { return minimised(desktop, run.window()); }));
    sleep_for(0.3);
    run.take_input();
    const Place before = pointer(desktop);
    desktop.run("xdotool mousemove_relative -- -150 -100 sleep 0.3");
    run.take_input();
    EXPECT_EQ(pointer(desktop), (Place{before.x - 150, before.y - 100}));
    run.close();
    EXPECT_EQ(run.finish(), 0);
}

TEST_F(Minimising, takes_no_Q)
{
    Session run(desktop, folder);
    run.start();
    desktop.run("xdotool windowminimize " + run.window());
    ASSERT_TRUE(wait_until(10, [&] { return minimised(desktop, run.window()); }));
    desktop.run("xdotool key q sleep 0.3");
    run.take_input();
    EXPECT_TRUE(run.running());
    run.close();
    EXPECT_EQ(run.finish(), 0);
}
