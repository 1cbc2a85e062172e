// What is written in a real window, and the pictures that its screenshot key leaves.
#include "model/mazegame.h"
#include "model/savefile.h"
#include "tests/mazes.h"
#include "tests/textreader.h"
#include "tests/window/session.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>

// A world in which nothing moves and the text stands on black: five nodes in a line, the player at the
// end of it.
static void leave_world(const std::string& path, f64 time, i32 walked)
{
    Maze* const maze = Maze_new();
    for (i32 i = 0; i < 5; i++) {
        add_node(maze, 0, 2.5 * i, 0, 0.5);
        if (i > 0) {
            Maze_join(maze, i - 1, i);
        }
    }
    Maze_bounds(maze, false);
    for (i32 i = 0; i < walked; i++) {
        Pos_markwalked({.maze = maze, .node = i}, {.maze = maze, .node = i + 1}, 1);
    }
    MazeGame game = {};
    MazeGame_setup(&game);
    game.root = maze;
    game.pos = {.maze = maze, .node = 0};
    game.time = time;
    MazeGame_startcamera(&game);
    std::string why(SAVE_WHY, 0);
    EXPECT_TRUE(MazeGame_save(&game, path.c_str(), why.data())) << why;
    MazeGame_free(&game);
}

struct Head_up_display : WindowTest {
    void leave(f64 time = 3600, i32 walked = 0) const
    {
        settings("Seed: 1\n");
        leave_world(path("maze_save.dat"), time, walked);
    }
    // What the window shows.
    Picture shown(const Session& run) const
    {
        const Size size = desktop.client_size(run.window());
        Picture picture;
        picture.width = static_cast<u32>(size.width);
        picture.height = static_cast<u32>(size.height);
        for (const std::uint32_t pixel : desktop.bare_pixels(run.window())) {
            picture.rgb.push_back(static_cast<u8>(pixel >> 16));
            picture.rgb.push_back(static_cast<u8>(pixel >> 8));
            picture.rgb.push_back(static_cast<u8>(pixel));
        }
        return picture;
    }
    std::string first_line(const Session& run) const
    {
        return read_line(shown(run), 0, 0, 300);
    }
    std::vector<std::string> shots() const
    {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            const std::string name = entry.path().filename().string();
            if (name.rfind("Corvane_", 0) == 0) {
                found.push_back(name);
            }
        }
        return found;
    }
    // Presses Ctrl+S and reads the one picture that comes of it.
    Picture take_shot(const Session& run) const
    {
        run.tap("ctrl+s");
        const std::vector<std::string> found = shots();
        EXPECT_EQ(found.size(), 1U);
        return found.empty() ? Picture() : read_png(path(found[0]));
    }
};

TEST_F(Head_up_display, goes_round_by_Space)
{
    leave();
    Session run(desktop, folder);
    run.start();
    EXPECT_EQ(first_line(run), "Press Space for controls");
    run.tap("space");
    EXPECT_EQ(first_line(run), "Q/Escape = Quit");
    run.tap("space");
    EXPECT_EQ(first_line(run).substr(0, 5), "1:00:");
    run.tap("space");
    EXPECT_EQ(first_line(run), "");
    run.tap("space");
    EXPECT_EQ(first_line(run), "Press Space for controls");
    EXPECT_EQ(run.escape(), 0);
}

TEST_F(Head_up_display, is_in_the_screenshot_as_in_the_window)
{
    leave();
    Session run(desktop, folder);
    run.start();
    sleep_for(1);
    const Picture before = shown(run);
    const Picture shot = take_shot(run);
    sleep_for(0.5);
    const Picture after = shown(run);
    EXPECT_EQ(before.rgb, after.rgb) << "the frame isn't still";
    EXPECT_EQ(shot.width, before.width);
    EXPECT_EQ(shot.height, before.height);
    EXPECT_EQ(shot.rgb, before.rgb);
    EXPECT_EQ(read_line(shot, 0, 0, 300), "Press Space for controls");
    EXPECT_GT(shot.lit(), 3000);
    EXPECT_EQ(run.escape(), 0);
    EXPECT_EQ(run.printed(), "");
}

TEST_F(Head_up_display, gives_the_screenshot_a_name_of_five_digits)
{
    leave();
    Session run(desktop, folder);
    run.start();
    take_shot(run);
    const std::vector<std::string> found = shots();
    ASSERT_EQ(found.size(), 1U);
    ASSERT_EQ(found[0].size(), std::string("Corvane_NNNNN.png").size());
    EXPECT_EQ(found[0].substr(13), ".png");
    EXPECT_EQ(found[0].substr(8, 5).find_first_not_of("0123456789"), std::string::npos);
    EXPECT_EQ(run.escape(), 0);
}

TEST_F(Head_up_display, is_as_large_in_the_screenshot_as_the_window_has_become)
{
    leave();
    Session run(desktop, folder);
    run.start();
    desktop.run("xdotool windowsize " + run.window() + " 641 403");
    ASSERT_TRUE(wait_until(20, [&] {
        return desktop.client_size(run.window()) == Size{641, 403};
    }));
    run.show_frame();
    const Picture shot = take_shot(run);
    EXPECT_EQ(shot.width, 641U);
    EXPECT_EQ(shot.height, 403U);
    EXPECT_EQ(read_line(shot, 0, 0, 300), "Press Space for controls");
    EXPECT_EQ(run.escape(), 0);
}

// Whether a text ends a pixel before the right edge of a picture, in a row of the statistics.
static bool ends_at_the_right(const Picture& picture, i32 row, const std::string& text)
{
    const i32 width = static_cast<i32>(picture.width);
    const TextPainter painter(width, 120);
    const f32 length = text_width(text.c_str());
    const std::vector<u8> expected =
        painter.paint(static_cast<f32>(width - 1) - length, static_cast<f32>(16 * row), text);
    for (i32 y = 16 * row + 1; y < 16 * row + 15; y++) {
        for (i32 x = 3 * (width - 1 - static_cast<i32>(length)); x < 3 * width; x++) {
            const size_t at = static_cast<size_t>(y * width * 3 + x);
            if (std::abs(picture.rgb.at(at) - expected.at(at)) > 4) {
                return false;
            }
        }
    }
    return true;
}

TEST_F(Head_up_display, tells_true_numbers)
{
    leave(7322, 2);
    Session run(desktop, folder);
    run.start();
    run.tap("space");
    run.tap("space");
    const Picture shot = take_shot(run);
    EXPECT_EQ(run.escape(), 0);
    const f64 end = Save(path("maze_save.dat")).time;
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    const std::string time = read_line(shot, 0, 0, 300);
    ASSERT_EQ(std::sscanf(time.c_str(), "%d:%2d:%2d", &hours, &minutes, &seconds), 3) << time;
    EXPECT_GE(3600 * hours + 60 * minutes + seconds, 7322);
    EXPECT_LE(3600 * hours + 60 * minutes + seconds, end);
    const std::string place = read_line(shot, 0, 2 * 16, 300);
    EXPECT_EQ(place.substr(0, 7), "Maze 0x");
    EXPECT_EQ(place.substr(place.find(" node")), " node 0");
    EXPECT_EQ(read_line(shot, 0, 3 * 16, 300), place);
    EXPECT_EQ(read_line(shot, 0, 4 * 16, 300), "2 / 5 nodes visited (40.00%)");
    EXPECT_EQ(read_line(shot, 0, 5 * 16, 60).substr(0, 8), "Attachme");
    EXPECT_TRUE(ends_at_the_right(shot, 3, "FOV = 90 deg (90 deg 4:3 central region)"));
    EXPECT_FALSE(ends_at_the_right(shot, 3, "FOV = 91 deg (90 deg 4:3 central region)"));
}
