// The displays and the screenshot key within whole frames.
#include "gfx/screenshot.h"
#include "gfx/stereo.h"
#include "gfx/textures.h"
#include "shell/hud.h"
#include "tests/fakes/gl_count.h"
#include "tests/shell_session.h"
#include "tests/textreader.h"

#include <GL/gl.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

// What the back buffer shows.
static Picture back_buffer()
{
    Picture picture;
    picture.width = static_cast<u32>(gfx_width);
    picture.height = static_cast<u32>(gfx_height);
    u8* const rgb = picture_read(gfx_width, gfx_height);
    picture.rgb.assign(rgb, rgb + gfx_width * gfx_height * 3);
    std::free(rgb);
    return picture;
}

// A run over the line world that keeps what each frame shows, and any error of OpenGL.
struct Watched {
    Session session;
    std::vector<Picture> frames;

    bool start(const char* settings = "", i32 width = 640, i32 height = 480)
    {
        leave_line(session.folder);
        session.folder.write("config.txt", settings);
        const bool done = session.start_framed(width, height);
        session.atswap([this](i32) { frames.push_back(back_buffer()); });
        return done;
    }
    void run(i32 n)
    {
        for (i32 i = n; i > 0; i--) {
            session.frames(1);
            EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        }
    }
    std::vector<std::string> shots() const
    {
        std::vector<std::string> found;
        for (const std::string& name : session.folder.names()) {
            if (name.rfind("Corvane_", 0) == 0) {
                found.push_back(name);
            }
        }
        return found;
    }
};

TEST(hud_at_the_start, sets_the_plain_formats_before_the_window_opens)
{
    Platform backend = platform_scripted;
    static i32 seen;
    seen = -1;
    tex_plain_format = 0;
    backend.open = [](const WindowRequest* want) {
        seen = tex_plain_format;
        return platform_scripted.open(want);
    };
    Session session(&backend);
    ASSERT_TRUE(session.start_framed());
    EXPECT_EQ(seen, 1);
}

TEST(hud_at_the_start, has_the_normal_font_selected)
{
    Session session;
    ASSERT_TRUE(session.start_framed());
    EXPECT_STREQ(font_current->name, "normal");
}

TEST(hud_in_frames, goes_round_by_Space)
{
    Watched watched;
    for (const i32 frame : {2, 4, 6, 8}) {
        watched.session.at(frame, SCRIPT_KEY_PRESS, KEY_SPACE);
    }
    ASSERT_TRUE(watched.start());
    watched.run(9);
    const char* const lines[] = {"Press Space for controls", "Q/Escape = Quit", "0:00:00", "",
                                 "Press Space for controls"};
    for (i32 i = 0; i < 5; i++) { // the key acts in its own frame
        const size_t at = i == 0 ? 0 : static_cast<size_t>(2 * i - 1);
        EXPECT_EQ(read_line(watched.frames.at(at), 0, 0, 300), lines[i]) << i;
    }
}

TEST(hud_in_frames, moves_on_once_while_Space_is_held)
{
    Watched watched;
    watched.session.at(1, SCRIPT_KEY_DOWN, KEY_SPACE);
    ASSERT_TRUE(watched.start("", 64, 48));
    watched.run(6);
    EXPECT_EQ(watched.session.driver.hud_mode, HUD_HELP);
}

TEST(hud_in_frames, is_drawn_once_over_the_whole_window_in_every_stereo_mode)
{
    for (i32 mode = 0; mode <= 9; mode++) {
        Watched watched;
        ASSERT_TRUE(watched.start(("Stereo mode: " + std::to_string(mode) + "\n").c_str()));
        watched.run(2);
        watched.session.driver.hud_mode = HUD_NOTHING;
        watched.run(1);
        const Picture& with = watched.frames.at(1);
        const Picture& without = watched.frames.at(2);
        EXPECT_EQ(read_line(with, 0, 0, 300), "Press Space for controls") << mode;
        EXPECT_EQ(read_line(without, 0, 0, 300), "") << mode;
        const size_t below = 18 * 640 * 3; // the first row that no letter reaches
        EXPECT_TRUE(
            std::equal(with.rgb.begin() + below, with.rgb.end(), without.rgb.begin() + below))
            << mode;
    }
}

// The quads of letters become lines like every other, and their edges lie where the atlas is empty.
TEST(hud_in_frames, is_back_once_I_is_up_again_in_every_stereo_mode)
{
    for (i32 mode = 0; mode <= 9; mode++) {
        Watched watched;
        watched.session.at(1, SCRIPT_KEY_DOWN, 'I');
        watched.session.at(3, SCRIPT_KEY_UP, 'I');
        ASSERT_TRUE(watched.start(("Stereo mode: " + std::to_string(mode) + "\n").c_str()));
        watched.run(3);
        EXPECT_EQ(read_line(watched.frames.at(1), 0, 0, 300), "") << mode;
        EXPECT_EQ(read_line(watched.frames.at(2), 0, 0, 300), "Press Space for controls") << mode;
    }
}

// What a scene shows.
struct Style {
    const char* name;
    i32 plot, voronoi, landscape, light, grid;
};
static constexpr Style styles[] = {
    {"discs", 0, 0, 0, 0, 0},     {"gantries", 1, 0, 0, 0, 0},  {"lit gantries", 1, 0, 0, 1, 0},
    {"balls", 2, 0, 0, 0, 0},     {"lit balls", 2, 0, 0, 1, 0}, {"cells", 0, 1, 0, 0, 0},
    {"landscape", 0, 0, 1, 1, 0}, {"grid", 0, 0, 0, 0, 1},
};

static void show_style(const Style& style)
{
    plot_type = style.plot;
    voronoi_on = style.voronoi;
    landscape_on = style.landscape;
    light_on = style.light;
    grid_on = style.grid;
}

TEST(hud_in_frames, bears_what_every_style_leaves_in_every_stereo_mode)
{
    Session session;
    leave_line(session.folder);
    session.at(2, SCRIPT_KEY_DOWN, 'F');
    ASSERT_TRUE(session.start_framed(160, 120));
    Picture help; // on black, with whatever state a frame has left
    session.atswap([&](i32) {
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        glClear(GL_COLOR_BUFFER_BIT);
        hud_draw(&session.driver.game, HUD_HELP, 1.0 / 60);
        help = back_buffer();
    });
    session.driver.stereo_mode = STEREO_MODES; // no scene at all
    session.frames(1);
    const Picture alone = help;
    EXPECT_GT(alone.lit(), 1000);
    for (const Style& style : styles) {
        for (const i32 mode : {0, 1, 3, 5, 6}) {
            show_style(style);
            session.driver.stereo_mode = mode;
            session.frames(1);
            EXPECT_TRUE(help.rgb == alone.rgb) << style.name << " in mode " << mode;
        }
    }
}

TEST(hud_in_frames, shows_the_numbers_of_the_frame)
{
    Watched watched;
    ASSERT_TRUE(watched.start());
    watched.session.driver.hud_mode = HUD_STATISTICS;
    watched.run(2);
    char place[64];
    const Pos pos = watched.session.driver.game.pos;
    std::snprintf(place, sizeof place, "Maze %p node %d", static_cast<void*>(pos.maze), pos.node);
    const Picture& shown = watched.frames.at(1);
    EXPECT_EQ(read_line(shown, 0, 2 * 16), place);
    EXPECT_EQ(read_line(shown, 0, 3 * 16, 250), place);
    EXPECT_EQ(read_line(shown, 0, 4 * 16), "0 / 20 nodes visited (0.00%)");
    const char* const rate = "60.0 FPS";
    const TextPainter painter(640, 480);
    const f32 x = 639 - text_width(rate);
    const std::vector<u8> expected = painter.paint(x, 0, rate);
    for (size_t i = 400 * 3; i < 640 * 3; i++) {
        EXPECT_NEAR(shown.rgb[8 * 640 * 3 + i], expected[8 * 640 * 3 + i], 2) << i;
    }
}

TEST(hud_in_frames, makes_the_same_calls_in_every_frame)
{
    for (const i32 mode : {HUD_PROMPT, HUD_HELP, HUD_STATISTICS, HUD_NOTHING}) {
        Session session;
        leave_line(session.folder);
        ASSERT_TRUE(session.start_framed());
        session.driver.hud_mode = mode;
        session.frames(3);
        gl_count_entries();
        std::vector<std::map<std::string, i32>> calls;
        for (i32 i = 3; i > 0; i--) {
            gl_count = {};
            session.frames(1);
            gl_count.calls.erase("glVertex2f"); // letters are as many as the numbers have digits
            gl_count.calls.erase("glTexCoord2f");
            calls.push_back(gl_count.calls);
        }
        EXPECT_EQ(calls[0], calls[1]);
        EXPECT_EQ(calls[0], calls[2]);
    }
}

TEST(screenshot_key, writes_what_its_frame_shows)
{
    Watched watched;
    watched.session.at(2, SCRIPT_KEY_DOWN, KEY_CTRL);
    watched.session.at(3, SCRIPT_KEY_PRESS, 'S');
    ASSERT_TRUE(watched.start());
    watched.run(4);
    ASSERT_EQ(watched.shots(), std::vector<std::string>{"Corvane_00000.png"});
    const Picture shot = read_png(watched.session.folder.file("Corvane_00000.png"));
    EXPECT_EQ(shot.width, 640U);
    EXPECT_EQ(shot.height, 480U);
    EXPECT_EQ(shot.rgb, watched.frames.at(2).rgb);
    EXPECT_EQ(read_line(shot, 0, 0, 300), "Press Space for controls");
    EXPECT_GT(shot.lit(), 2000);
}

TEST(screenshot_key, shows_the_display_that_its_frame_has_turned_to)
{
    Watched watched;
    watched.session.at(2, SCRIPT_KEY_DOWN, KEY_CTRL);
    watched.session.at(2, SCRIPT_KEY_PRESS, 'S');
    watched.session.at(2, SCRIPT_KEY_PRESS, KEY_SPACE);
    ASSERT_TRUE(watched.start());
    watched.run(3);
    const Picture shot = read_png(watched.session.folder.file("Corvane_00000.png"));
    EXPECT_EQ(read_line(shot, 0, 0, 300), "Q/Escape = Quit");
}

TEST(screenshot_key, shows_the_old_world_when_N_is_pressed_with_it)
{
    Watched watched;
    watched.session.at(2, SCRIPT_KEY_DOWN, KEY_CTRL);
    watched.session.at(2, SCRIPT_KEY_PRESS, 'S');
    watched.session.at(2, SCRIPT_KEY_PRESS, 'N');
    ASSERT_TRUE(watched.start("Seed: 1\n", 64, 48));
    testing::internal::CaptureStdout(); // the new world is told line by line
    watched.run(2);
    testing::internal::GetCapturedStdout();
    EXPECT_NE(Maze_count(watched.session.driver.game.root), 20);
    EXPECT_EQ(read_png(watched.session.folder.file("Corvane_00000.png")).rgb,
              watched.frames.at(1).rgb);
}

TEST(screenshot_key, holds_the_picture_for_two_eyes_with_its_text)
{
    for (const i32 mode : {1, 2, 3, 6}) {
        Watched watched;
        watched.session.at(2, SCRIPT_KEY_DOWN, KEY_CTRL);
        watched.session.at(2, SCRIPT_KEY_PRESS, 'S');
        ASSERT_TRUE(watched.start(("Stereo mode: " + std::to_string(mode) + "\n").c_str()));
        watched.run(2);
        const Picture shot = read_png(watched.session.folder.file("Corvane_00000.png"));
        EXPECT_EQ(shot.rgb, watched.frames.at(1).rgb) << mode;
        EXPECT_EQ(read_line(shot, 0, 0, 300), "Press Space for controls") << mode;
    }
}

TEST(screenshot_key, needs_Ctrl)
{
    Watched watched;
    watched.session.at(2, SCRIPT_KEY_PRESS, 'S');
    ASSERT_TRUE(watched.start("", 64, 48));
    watched.run(4);
    EXPECT_TRUE(watched.shots().empty());
}

TEST(screenshot_key, needs_S_to_go_down)
{
    Watched watched;
    watched.session.at(1, SCRIPT_KEY_DOWN, 'S');
    watched.session.at(3, SCRIPT_KEY_DOWN, KEY_CTRL);
    ASSERT_TRUE(watched.start("", 64, 48));
    watched.run(5);
    EXPECT_TRUE(watched.shots().empty());
}

TEST(screenshot_key, takes_one_picture_however_long_it_is_held)
{
    Watched watched;
    watched.session.at(1, SCRIPT_KEY_DOWN, KEY_CTRL);
    watched.session.at(1, SCRIPT_KEY_DOWN, 'S');
    ASSERT_TRUE(watched.start("", 64, 48));
    watched.run(60); // more than three steps of the number
    EXPECT_EQ(watched.shots().size(), 1U);
}

TEST(screenshot_key, counts_by_the_clock)
{
    Watched watched;
    watched.session.at(1, SCRIPT_KEY_DOWN, KEY_CTRL);
    watched.session.at(2, SCRIPT_KEY_PRESS, 'S');
    watched.session.at(50, SCRIPT_KEY_PRESS, 'S');
    ASSERT_TRUE(watched.start("", 64, 48));
    watched.run(51);
    EXPECT_EQ(watched.shots(),
              (std::vector<std::string>{"Corvane_00000.png", "Corvane_00002.png"}));
}

TEST(screenshot_key, goes_on_where_no_picture_can_be_written)
{
    Watched watched;
    watched.session.at(1, SCRIPT_KEY_DOWN, KEY_CTRL);
    watched.session.at(2, SCRIPT_KEY_PRESS, 'S');
    ASSERT_TRUE(watched.start("", 64, 48));
    std::filesystem::create_directory(watched.session.folder.file("Corvane_00000.png"));
    std::filesystem::create_directory(watched.session.folder.file("Corvane_00000.bmp"));
    testing::internal::CaptureStdout();
    watched.run(4);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(watched.frames.size(), 4U);
    EXPECT_NE(out.find("The picture is not saved in Corvane_00000.bmp. "), std::string::npos)
        << out;
    EXPECT_EQ(watched.session.stop(), 0);
}
