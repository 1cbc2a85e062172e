// The settings file as the program itself treats it, and the window that it asks for.
#include "tests/window/session.h"

using Settings = WindowTest;
using Window_size = WindowTest;

static const char* const first_settings =
    "Windowed (Y/N): Y\n"
    "Resolution (XxY, 'auto', 'span', 'windowed', 'display N' or 'span N,M...'): auto\n"
    "Stereo mode (0=none,1=top/bottom,2=side-by-side,3=interlace,4=two screen SBS,"
    "5=two screen vertical,6-8=coloured): 0\n"
    "Swap stereo (Y/N): N\n"
    "Stereo Depth: 0.05\n";

TEST_F(Settings, are_complete_when_the_window_of_a_first_run_comes)
{
    Session run(desktop, folder);
    run.wait_for_window();
    EXPECT_EQ(file_text(path("config.txt")), first_settings);
}

TEST_F(Settings, of_a_first_run_are_written_even_if_no_window_can_be_made)
{
    const pid_t process = spawn({.words = {CORVANE_BIN_DIR "/Corvane"},
                                 .folder = folder,
                                 .display = ":9999",
                                 .out = path("out.txt"),
                                 .err = path("err.txt")});
    EXPECT_EQ(wait_for_end(process, 30), 1);
    EXPECT_EQ(file_text(path("config.txt")), first_settings);
    EXPECT_FALSE(file_exists(path("maze_save.dat")));
}

TEST_F(Settings, of_a_first_run_are_the_same_after_it)
{
    Session run(desktop, folder);
    run.start();
    EXPECT_EQ(run.escape(), 0);
    EXPECT_EQ(file_text(path("config.txt")), first_settings);
    EXPECT_TRUE(file_exists(path("maze_save.dat")));
}

TEST_F(Settings, with_a_seed_bring_the_world_of_that_seed)
{
    settings("Seed: 4711\n");
    Session run(desktop, folder);
    run.start();
    EXPECT_EQ(run.escape(), 0);
    EXPECT_EQ(Save(path("maze_save.dat")).world(), world_of_seed(4711));
}

TEST_F(Window_size, is_the_resolution_given)
{
    settings("Resolution: 640x480\n");
    Session run(desktop, folder);
    run.start();
    EXPECT_EQ(desktop.client_size(run.window()), (Size{640, 480}));
}

// 0.6 times the height of the screen, and four thirds of that.
TEST_F(Window_size, follows_the_screen_if_none_is_given)
{
    Session run(desktop, folder);
    run.start();
    EXPECT_EQ(desktop.client_size(run.window()), (Size{800, 600}));
}

TEST_F(Window_size, is_the_whole_screen_without_a_frame)
{
    settings("Windowed: N\n");
    Session run(desktop, folder);
    run.start();
    EXPECT_EQ(desktop.client_size(run.window()), Desktop::screen);
    EXPECT_EQ(run.escape(), 0);
}
