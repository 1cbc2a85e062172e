// The stereo modes in the frame loop.
#include "tests/shell_session.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <functional>

// What the window shows at a swap, rows from the bottom.
struct Shown {
    i32 width, height;
    std::vector<u8> bytes;

    // 0 to 765
    i32 light(i32 x, i32 y) const
    {
        const u8* const pixel = bytes.data() + (static_cast<size_t>(y) * width + x) * 3;
        return pixel[0] + pixel[1] + pixel[2];
    }
    i32 lit() const
    {
        i32 count = 0;
        for (i32 i = 0; i < width * height; i++) {
            count += light(i % width, i / width) > 0 ? 1 : 0;
        }
        return count;
    }
    bool operator==(const Shown&) const = default;
};

static Shown take_shown()
{
    Shown out = {gfx_width, gfx_height, {}};
    out.bytes.resize(static_cast<size_t>(gfx_width) * gfx_height * 3);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, gfx_width, gfx_height, GL_RGB, GL_UNSIGNED_BYTE, out.bytes.data());
    return out;
}

// Frames of a session, one picture each; no frame may leave an error of OpenGL.
static std::vector<Shown> shown_frames(Session* session, i32 n)
{
    std::vector<Shown> frames;
    session->atswap([&](i32) {
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        frames.push_back(take_shown());
    });
    session->frames(n);
    return frames;
}

// A window of a size, with nothing written over the scene.
static bool start_bare(Session* session, i32 width, i32 height)
{
    const bool started = session->start_framed(width, height);
    session->driver.hud_mode = 3;
    return started;
}

// The player at the origin, seen from straight above, and one node that stands `height` nearer to the eye,
// with no way between.
static void leave_two(const Folder& folder, f64 height)
{
    Maze* const maze = make_line(1, 1, 0.5);
    add_node(maze, 0, 6, height, 0.5);
    Maze_bounds(maze, false);
    leave_world(folder, maze, {maze, 0});
}

// The middle column of what is lit in a part of the picture.
static f64 middle_column(const Shown& shown, i32 left, i32 right, i32 bottom, i32 top)
{
    i32 first = right;
    i32 last = left;
    for (i32 y = bottom; y < top; y++) {
        for (i32 x = left; x < right; x++) {
            if (shown.light(x, y) > 0) {
                first = std::min(first, x);
                last = std::max(last, x + 1);
            }
        }
    }
    EXPECT_LT(first, last);
    return (first + last) / 2.0;
}

// Side by side, 400 by 240: the distance from eye 0's picture to eye 1's of what is lit in some rows.
static f64 parallax(const Shown& shown, i32 bottom, i32 top)
{
    return middle_column(shown, 200, 400, bottom, top) - 200 -
           middle_column(shown, 0, 200, bottom, top);
}

// The rows of the player's node and of the other one.
static f64 parallax_of_player(const Shown& shown)
{
    return parallax(shown, 100, 140);
}
static f64 parallax_of_other(const Shown& shown)
{
    return parallax(shown, 150, 240);
}

// The eye is straight above the player, so that all at the player's height is at the focus.
TEST(stereo_frames, show_both_eyes_the_same_at_the_distance_of_the_player)
{
    Session session;
    leave_two(session.folder, 0);
    session.folder.write("config.txt", "Stereo mode: 2\nStereo Depth: 0.1\n");
    ASSERT_TRUE(start_bare(&session, 400, 240));
    const Shown shown = shown_frames(&session, 1).at(0);
    EXPECT_NEAR(parallax_of_player(shown), 0, 0.6);
    EXPECT_NEAR(parallax_of_other(shown), 0, 0.6);
}

// At the distance z an eye's shift is that at the focus times focus / z, less the skew, which is what the
// shift at the focus is: the depth, as a part of half the picture's width.
TEST(stereo_frames, set_the_eyes_apart_by_the_distance_of_the_player)
{
    Session session;
    leave_two(session.folder, 10);
    session.folder.write("config.txt", "Stereo mode: 2\nStereo Depth: 0.1\n");
    ASSERT_TRUE(start_bare(&session, 400, 240));
    const Shown shown = shown_frames(&session, 1).at(0);
    const f64 focus = session.driver.game.campos[2] - session.driver.focus[2];
    EXPECT_GT(focus, 20);
    EXPECT_NEAR(parallax_of_player(shown), 0, 0.6);
    EXPECT_NEAR(parallax_of_other(shown), 2 * 0.1 * (focus / (focus - 10) - 1) * 100, 1.1);
}

TEST(stereo_frames, take_the_depth_below_zero_by_f5)
{
    Session session;
    leave_two(session.folder, 10);
    session.folder.write("config.txt", "Stereo mode: 2\nStereo Depth: 0.0325\n");
    for (i32 press = 0; press < 13; press++) {
        session.at(2 + 2 * press, SCRIPT_KEY_PRESS, KEY_F5);
    }
    ASSERT_TRUE(start_bare(&session, 400, 240));
    const std::vector<Shown> frames = shown_frames(&session, 28);
    const f64 first = parallax_of_other(frames.front());
    EXPECT_GT(first, 3);
    EXPECT_NEAR(parallax_of_other(frames.back()), -first, 1.1);
    session.stop();
    EXPECT_EQ(setting(session.folder, "Stereo Depth"), "-0.0325");
}

TEST(stereo_frames, change_the_depth_in_the_very_frame_of_the_key)
{
    Session session;
    leave_two(session.folder, 10);
    session.folder.write("config.txt", "Stereo mode: 2\nStereo Depth: 0.3\n");
    session.at(2, SCRIPT_KEY_PRESS, KEY_F6);
    session.at(3, SCRIPT_KEY_PRESS, KEY_F5);
    ASSERT_TRUE(start_bare(&session, 400, 240));
    const std::vector<Shown> frames = shown_frames(&session, 3);
    ASSERT_EQ(frames.size(), 3U);
    EXPECT_FALSE(frames[0] == frames[1]);
    EXPECT_GT(parallax_of_other(frames[1]), parallax_of_other(frames[0]));
    EXPECT_TRUE(frames[0] == frames[2]);
}

TEST(stereo_frames, exchange_the_halves_in_the_very_frame_of_f4)
{
    Session session;
    leave_two(session.folder, 10);
    session.folder.write("config.txt", "Stereo mode: 2\nStereo Depth: 0.1\n");
    session.at(2, SCRIPT_KEY_PRESS, KEY_F4);
    session.at(4, SCRIPT_KEY_PRESS, KEY_F4); // once more, after it was up
    ASSERT_TRUE(start_bare(&session, 400, 240));
    const std::vector<Shown> frames = shown_frames(&session, 4);
    ASSERT_EQ(frames.size(), 4U);
    i32 differing = 0;
    for (i32 y = 0; y < 240; y++) {
        for (i32 x = 0; x < 400; x++) {
            differing += frames[0].light(x, y) != frames[1].light((x + 200) % 400, y) ? 1 : 0;
        }
    }
    EXPECT_EQ(differing, 0);
    EXPECT_FALSE(frames[0] == frames[1]);
    EXPECT_TRUE(frames[1] == frames[2]);
    EXPECT_TRUE(frames[0] == frames[3]);
}

// The first frame of a session with these settings, in a window of 160 by 120.
static Shown first_frame(const std::string& settings, bool lines = false)
{
    Session session;
    leave_line(session.folder);
    session.folder.write("config.txt", settings);
    if (lines) {
        session.at(1, SCRIPT_KEY_DOWN, 'I');
    }
    EXPECT_TRUE(start_bare(&session, 160, 120));
    return shown_frames(&session, 1).at(0);
}

TEST(stereo_frames, draw_mode_minus_1_like_mode_1)
{
    const Shown halves = first_frame("Stereo mode: 1\n");
    EXPECT_TRUE(first_frame("Stereo mode: -1\n") == halves);
    EXPECT_FALSE(first_frame("Stereo mode: 0\n") == halves);
}

TEST(stereo_frames, differ_in_every_mode)
{
    std::vector<Shown> all;
    for (i32 mode = 0; mode <= 8; mode++) {
        all.push_back(first_frame("Stereo mode: " + std::to_string(mode) + "\n"));
        EXPECT_GT(all.back().lit(), 20) << mode;
        for (i32 other = 0; other < mode; other++) {
            EXPECT_FALSE(all[static_cast<size_t>(other)] == all.back()) << mode << " " << other;
        }
    }
}

// With nothing between the eyes, red and cyan add up to the plain picture.
TEST(stereo_frames, are_composed_whole_while_i_is_held)
{
    const std::string settings = "Stereo Depth: 0\nStereo mode: ";
    for (const bool lines : {false, true}) {
        const Shown plain = first_frame(settings + "0\n", lines);
        EXPECT_TRUE(first_frame(settings + "6\n", lines) == plain) << lines;
        EXPECT_GT(plain.lit(), 20);
    }
    EXPECT_FALSE(first_frame(settings + "6\n", true) == first_frame(settings + "6\n", false));
}

TEST(stereo_frames, keep_the_size_of_the_window_after_each_draw)
{
    for (i32 mode = 0; mode <= 8; mode++) {
        Session session;
        leave_line(session.folder);
        session.folder.write("config.txt", "Stereo mode: " + std::to_string(mode) + "\n");
        ASSERT_TRUE(start_bare(&session, 161, 121));
        const std::vector<Shown> frames = shown_frames(&session, 2);
        EXPECT_EQ(frames.at(1).width, 161);
        EXPECT_EQ(frames.at(1).height, 121);
        EXPECT_TRUE(frames[0] == frames[1]) << mode;
    }
}

// The names below a limit that textures have.
static i32 textures_there()
{
    i32 count = 0;
    for (GLuint name = 1; name < 1000; name++) {
        count += glIsTexture(name) == GL_TRUE ? 1 : 0;
    }
    return count;
}

TEST(stereo_frames, bear_every_size_of_the_window_in_every_mode)
{
    const i32 sizes[][2] = {{64, 64}, {65, 63},  {63, 65},  {128, 32}, {127, 129}, {257, 31},
                            {1, 1},   {200, 90}, {90, 200}, {0, 0},    {33, 256},  {64, 48}};
    Session session;
    leave_line(session.folder);
    session.folder.write("config.txt", "Stereo mode: 8\n");
    i32 frame = 1;
    for (const auto& size : sizes) {
        session.at(frame, SCRIPT_RESIZE, size[0], size[1]);
        for (i32 mode = 0; mode < 9; mode++) { // down for one frame, up for one
            session.at(frame, SCRIPT_KEY_PRESS, KEY_F3);
            frame += 2;
        }
    }
    ASSERT_TRUE(start_bare(&session, 80, 60));
    shown_frames(&session, 18);
    const i32 textures = textures_there();
    shown_frames(&session, frame - 1 - 18);
    EXPECT_EQ(session.driver.stereo_mode, 8);
    EXPECT_EQ(gfx_width, 64);
    EXPECT_EQ(textures_there(), textures);
}

TEST(stereo_frames, are_numbers_whatever_depth_the_settings_name)
{
    for (const char* const depth : {"1e308", "-1e308", "1e30", "nan", "inf"}) {
        for (i32 mode = 1; mode <= 8; mode++) {
            Session session;
            leave_line(session.folder);
            session.folder.write("config.txt", std::string("Stereo Depth: ") + depth +
                                                   "\nStereo mode: " + std::to_string(mode) + "\n");
            ASSERT_TRUE(start_bare(&session, 64, 48));
            shown_frames(&session, 2);
            for (const f64 number : session.driver.game.view.modelview) {
                EXPECT_TRUE(std::isfinite(number)) << depth << " " << mode;
            }
        }
    }
}

// The mode that a run leaves in settings which began with another, after F3 was pressed some times.
static std::string mode_left(const std::string& mode, i32 presses)
{
    const std::string key = "Stereo mode (0=none,1=top/bottom,2=side-by-side,3=interlace,4=two "
                            "screen SBS,5=two screen vertical,6-8=coloured)";
    Session session;
    leave_line(session.folder);
    session.folder.write("config.txt", key + ": " + mode + "\n");
    for (i32 press = 0; press < presses; press++) {
        session.at(2 + 2 * press, SCRIPT_KEY_PRESS, KEY_F3);
    }
    EXPECT_TRUE(start_bare(&session, 64, 48));
    session.frames(3 + 2 * presses);
    session.stop();
    return setting(session.folder, key);
}

TEST(stereo_frames, leave_a_mode_that_is_none_in_the_settings_until_f3)
{
    EXPECT_EQ(mode_left("9", 0), "9");
    EXPECT_EQ(mode_left("-1", 0), "-1");
    EXPECT_EQ(mode_left("9", 1), "1");
    EXPECT_EQ(mode_left("-1", 1), "0");
    EXPECT_EQ(mode_left("0", 8), "8");
    EXPECT_EQ(mode_left("0", 9), "0");
}
