// The program built for Windows, in a window under Wine, beside the one built here.
#include "tests/window/session.h"
#include "tests/window/settled.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

// The folders in which the two programs run, and the words that start them.
class WindowsTest : public WindowTest
{
  protected:
    explicit WindowsTest(Screens screens = ONE_SCREEN) : WindowTest(screens)
    {
    }
    void SetUp() override
    {
        WindowTest::SetUp();
        end_wine(); // what goes on from the last test has the display of that
        other = desktop.folder() + "/here";
        std::filesystem::create_directory(other);
    }
    void TearDown() override
    {
        end_wine();
    }
    void end_wine() const
    {
        desktop.run("wineserver -k || true; wineserver -w");
    }
    void both(const std::string& text) const // settings
    {
        settings(text);
        std::ofstream(other + "/config.txt") << text;
    }

    // The world and the place that one program has left are gone on with by the other.
    void expect_goes_on(const Save& left, const std::vector<std::string>& words) const
    {
        Session next(desktop, folder, words);
        next.start();
        EXPECT_EQ(next.escape(), 0);
        const Save continued(path("maze_save.dat"));
        EXPECT_EQ(continued.place(), left.place());
        EXPECT_EQ(continued.world(), left.world());
        EXPECT_GT(continued.time, left.time);
    }

    const std::vector<std::string> windows = {"wine", CORVANE_WINDOWS_DIR "/Corvane.exe"};
    const std::vector<std::string> here = {CORVANE_BIN_DIR "/Corvane"};
    std::string other; // where the program of this system runs
};

using On_Windows = WindowsTest;

TEST_F(On_Windows, a_first_run_writes_the_settings_that_it_writes_here)
{
    Session run(desktop, folder, windows);
    run.start();
    EXPECT_EQ(run.escape(), 0);
    Session same(desktop, other, here);
    same.start();
    EXPECT_EQ(same.escape(), 0);
    EXPECT_NE(file_text(path("config.txt")), "");
    EXPECT_EQ(file_text(path("config.txt")), file_text(other + "/config.txt"));
}

TEST_F(On_Windows, a_seed_brings_the_world_that_it_brings_here)
{
    settings("Seed: 4711\n");
    Session run(desktop, folder, windows);
    run.start();
    EXPECT_EQ(run.escape(), 0);
    EXPECT_EQ(Save(path("maze_save.dat")).world(), world_of_seed(4711));
}

TEST_F(On_Windows, keys_walk)
{
    const StartSeed start = seed_with_an_exit_upward();
    settings("Seed: " + std::to_string(start.seed) + "\n");
    Session run(desktop, folder, windows);
    run.start();
    run.hold("Up", 0.8);
    EXPECT_EQ(run.escape(), 0);
    EXPECT_GT(Save(path("maze_save.dat")).visits(), start.visits);
}

TEST_F(On_Windows, a_tap_changes_a_setting)
{
    Session run(desktop, folder, windows);
    run.start();
    run.tap("F6");
    EXPECT_EQ(run.escape(), 0);
    EXPECT_NE(file_text(path("config.txt")).find("\nStereo Depth: 0.055\n"), std::string::npos);
}

TEST_F(On_Windows, closing_the_window_saves_and_the_program_here_goes_on_with_it)
{
    settings("Seed: 4711\n");
    Session run(desktop, folder, windows);
    run.start();
    run.close();
    EXPECT_EQ(run.finish(), 0);
    expect_goes_on(Save(path("maze_save.dat")), here);
}

TEST_F(On_Windows, the_end_of_the_session_saves)
{
    settings("Seed: 4711\n");
    Session run(desktop, folder, windows);
    run.start();
    desktop.run("wine wineboot --end-session");
    EXPECT_EQ(run.finish(), 0);
    EXPECT_EQ(Save(path("maze_save.dat")).world(), world_of_seed(4711));
    EXPECT_NE(file_text(path("warnings.log")).find("The session ends, so Corvane ends."),
              std::string::npos);
}

TEST_F(On_Windows, a_save_of_the_program_here_is_gone_on_with)
{
    settings("Seed: 4711\n");
    Session run(desktop, folder, here);
    run.start();
    EXPECT_EQ(run.escape(), 0);
    expect_goes_on(Save(path("maze_save.dat")), windows);
}

// The window of a run once it has come to rest.
static Pixels shown(const Desktop& desktop, const std::string& folder,
                    const std::vector<std::string>& words)
{
    Session run(desktop, folder, words);
    run.start();
    desktop.run("xdotool windowmove --sync " + run.window() + " 100 100"); // wholly on the screen
    settled(desktop, run);
    const Pixels picture = desktop.bare_pixels(run.window());
    EXPECT_EQ(run.escape(), 0);
    return picture;
}

// The greatest difference of two colours in a channel.
static int apart(std::uint32_t a, std::uint32_t b)
{
    int most = 0;
    for (int shift = 0; shift < 24; shift += 8) {
        const int one = static_cast<int>(a >> shift & 255);
        const int two = static_cast<int>(b >> shift & 255);
        most = std::max(most, std::abs(one - two));
    }
    return most;
}

TEST_F(On_Windows, a_window_shows_what_it_shows_here)
{
    both("Seed: 4711\nResolution: 640x480\n");
    const Pixels picture = shown(desktop, folder, windows);
    const Pixels wanted = shown(desktop, other, here);
    ASSERT_EQ(picture.size(), 640U * 480U);
    ASSERT_EQ(wanted.size(), picture.size());
    int most = 0;
    for (size_t i = 0; i < wanted.size(); i++) {
        most = std::max(most, apart(picture[i], wanted[i]));
    }
    EXPECT_LE(most, 2);
}

TEST_F(On_Windows, full_screen_is_the_whole_screen)
{
    settings("Windowed: N\n");
    Session run(desktop, folder, windows);
    run.start();
    EXPECT_EQ(desktop.client_size(run.window()), Desktop::screen);
    EXPECT_EQ(run.escape(), 0);
}

class On_Windows_screens : public WindowsTest
{
  protected:
    On_Windows_screens() : WindowsTest(TWO_SCREENS)
    {
    }
    // The first screen's size, as "800x600".
    std::string mode() const
    {
        return desktop.run(
            "xrandr --query | sed -n 's/^DUMMY0 connected primary \\([0-9x]*\\).*/\\1/p'");
    }
};

// Wine has the window manager lay a full screen over several screens, which this one can't.
TEST_F(On_Windows_screens, are_taken_one_by_one_in_full_screen)
{
    const std::string full = "Windowed: N\nResolution: ";
    expect_opened(full + "display 1\n", "800x600 at 0,0", windows);
    expect_opened(full + "display 2\n", "640x480 at 800,60", windows);
    expect_opened(full + "display 5\n", "800x600 at 0,0", windows);
    expect_opened(full + "span 2\n", "640x480 at 800,60", windows);
}

TEST_F(On_Windows_screens, give_a_window_the_size_of_a_part_of_the_one_named)
{
    expect_opened("Resolution: display 2\n", "384x288 ", windows);
}

TEST_F(On_Windows_screens, a_mode_of_full_screen_is_taken_back)
{
    settings("Windowed: N\nResolution: 640x480\n");
    ASSERT_EQ(mode(), "800x600\n");
    Session run(desktop, folder, windows);
    run.wait_for_window();
    EXPECT_TRUE(wait_until(20, [&] { return mode() == "640x480\n"; })) << mode();
    run.wait_for_keys();
    EXPECT_EQ(run.escape(), 0);
    EXPECT_TRUE(wait_until(20, [&] { return mode() == "800x600\n"; })) << mode();
}
