// What the displays show: pictures of them against the same texts drawn one by one where they belong.
#include "gfx/screenshot.h"
#include "model/maze.h"
#include "shell/hud.h"
#include "tests/fakes/gl_count.h"
#include "tests/mazes.h"
#include "tests/scripted_window.h"
#include "tests/textreader.h"
#include "text/bitmapfonts.h"
#include "text/drawtext.h"

#include <GL/gl.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

// A window with the fonts, a game that is shown, and a ring that nothing has been stored in.
struct Display {
    ScriptedWindow window;
    MazeGame game = {};

    explicit Display(i32 width = 640, i32 height = 260) : window((scripted_begin(), width), height)
    {
        hud_makefonts();
        hud_rateindex = -1;
        game.root = Maze_new();
        for (i32 i = 2; i >= 0; i--) {
            add_node(game.root, i, 0, 0, 0.5);
        }
        game.pos = {.maze = game.root, .node = 1};
    }
    ~Display()
    {
        Maze_free(game.root, true);
    }
    Display(const Display&) = delete;
    Display& operator=(const Display&) = delete;

    void attach(const char* name, u32 flags) const
    {
        static int something;
        Maze_attach(game.root, name, &something, nullptr, flags);
    }
    std::string place() const
    {
        char text[64];
        std::snprintf(text, sizeof text, "Maze %p node %d", static_cast<void*>(game.root),
                      game.pos.node);
        return text;
    }
    void rates(i32 frames, f64 rate) const
    {
        for (i32 i = frames; i > 0; i--) {
            hud_draw(&game, HUD_STATISTICS, 1 / rate);
        }
    }
};

// What a drawing leaves on black.
static Picture picture_of(const std::function<void()>& draw)
{
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    draw();
    Picture picture;
    picture.width = static_cast<u32>(gfx_width);
    picture.height = static_cast<u32>(gfx_height);
    u8* const rgb = picture_read(gfx_width, gfx_height);
    picture.rgb.assign(rgb, rgb + gfx_width * gfx_height * 3);
    std::free(rgb);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    return picture;
}

static Picture shown(const Display& display, i32 mode, f64 dt = 0.5)
{
    return picture_of([&] { hud_draw(&display.game, mode, dt); });
}

// How many pixels differ, in the rows from `top` to before `bottom`.
static i32 differing(const Picture& a, const Picture& b, i32 top, i32 bottom)
{
    i32 count = 0;
    for (i32 i = top * gfx_width; i < bottom * gfx_width; i++) {
        const size_t at = static_cast<size_t>(3 * i);
        const bool same = a.rgb[at] == b.rgb[at] && a.rgb[at + 1] == b.rgb[at + 1] &&
                          a.rgb[at + 2] == b.rgb[at + 2];
        count += same ? 0 : 1;
    }
    return count;
}

static i32 differing(const Picture& a, const Picture& b)
{
    return differing(a, b, 0, gfx_height);
}

static void right(f32 y, const char* text)
{
    text_draw(static_cast<f32>(gfx_width - 1) - text_width(text), y, text, 0xFFFFFF);
}

struct Statistics {
    std::string time = "0:00:00";
    std::string place;
    std::string visits = "0 / 3 nodes visited (0.00%)";
    std::string freed = "freeflags counter: " + std::to_string(freeflags_counter);
    std::string rate = "2.0 FPS";
    std::string rates = "min 0.0 max 0.0 avg 0.0";
    std::string fov = "FOV = 90 deg (90 deg 4:3 central region)";
};

// The screen of a maze without attachments, text by text.
static void draw_expected(const Statistics& texts)
{
    const f32 h = static_cast<f32>(font_height);
    text_draw(0, 0, texts.time.c_str(), 0xFFFFFF);
    text_draw(0, 2 * h, texts.place.c_str(), 0xFFFFFF);
    text_draw(0, 3 * h, texts.place.c_str(), 0xFFFFFF);
    text_draw(0, 4 * h, texts.visits.c_str(), 0xFFFFFF);
    text_draw(0, 5 * h, "Attachments: ", 0xFFFFFF);
    text_draw(0, 6 * h, texts.freed.c_str(), 0xFFFFFF);
    right(0, texts.rate.c_str());
    right(h, texts.rates.c_str());
    right(3 * h, texts.fov.c_str());
}

// A window of the default projection's own shape, in which both angles are 90.
static constexpr i32 wide = 640, high = 480;

static void expect_screen(const Display& display, Statistics texts, f64 dt = 0.5)
{
    if (texts.place.empty()) {
        texts.place = display.place();
    }
    const Picture got = shown(display, HUD_STATISTICS, dt);
    const Picture expected = picture_of([&] { draw_expected(texts); });
    EXPECT_EQ(differing(got, expected), 0);
    EXPECT_GT(expected.lit(), 1000);
}

TEST(hud_makefonts, selects_the_font_at_thirty_in_a_hundred)
{
    const Display display;
    EXPECT_STREQ(font_current->name, "normal");
    EXPECT_EQ(font_height, 16);
    EXPECT_FLOAT_EQ(font_current->xscale, 0.3F);
    EXPECT_FLOAT_EQ(font_current->yscale, 0.3F);
}

TEST(hud_makefonts, makes_them_once)
{
    const Display display;
    const size_t before = static_cast<size_t>(fonts.count);
    hud_makefonts();
    EXPECT_EQ(static_cast<size_t>(fonts.count), before);
}

TEST(hud_draw, prompts_in_the_upper_left_corner)
{
    const Display display;
    const Picture expected =
        picture_of([] { text_draw(0, 0, "Press Space for controls", 0xFFFFFF); });
    EXPECT_EQ(differing(shown(display, HUD_PROMPT), expected), 0);
    EXPECT_GT(expected.lit(), 500);
}

TEST(hud_draw, helps_with_these_lines)
{
    const Display display;
    const Picture expected = picture_of([] {
        text_draw(0, 0,
                  "Q/Escape = Quit\nArrow keys, WASD or mouse = Move\n"
                  "Hold right mouse button or Ctrl+arrows = Rotate view\n"
                  "Mouse wheel or Z/X = Zoom in/out\nN = New maze\nF = Show connected area\n"
                  "R = Simplify maze\nSpace = Toggle help/statistics\nCtrl-S = Take screenshot\n"
                  "G = Change plotting type\nShift-G = Toggle grid\nL = Toggle landscape\n"
                  "Shift-L = Toggle light\nF3,F4,F5,F6 = Stereo mode, swap, depth",
                  0xFFFFFF);
    });
    EXPECT_EQ(differing(shown(display, HUD_HELP), expected), 0);
    EXPECT_GT(expected.lit(), 5000);
}

TEST(hud_draw, shows_nothing_in_the_last_mode_and_in_none)
{
    const Display display;
    for (const i32 mode : {3, 4, -1, 2000000000}) {
        EXPECT_EQ(shown(display, mode).lit(), 0) << mode;
    }
}

TEST(hud_draw, shows_the_statistics_of_a_game_line_by_line)
{
    Display display(wide, high);
    display.game.time = 3 * 3600 + 25 * 60 + 45.9;
    display.game.pos.node = 2;
    display.game.root->visitednodes = 1;
    Statistics texts;
    texts.time = "3:25:45";
    texts.visits = "1 / 3 nodes visited (33.33%)";
    expect_screen(display, texts);
}

TEST(hud_draw, can_be_read_in_its_picture)
{
    Display display(wide, high);
    display.game.time = 61;
    const Picture picture = shown(display, HUD_STATISTICS);
    EXPECT_EQ(read_line(picture, 0, 0), "0:01:01");
    EXPECT_EQ(read_line(picture, 0, 2 * 16), display.place());
    EXPECT_EQ(read_line(picture, 0, 3 * 16, 250), display.place()); // once more
    EXPECT_EQ(read_line(picture, 0, 4 * 16), "0 / 3 nodes visited (0.00%)");
}

static void expect_time(f64 time, const char* text)
{
    Display display(wide, high);
    display.game.time = time;
    Statistics texts;
    texts.time = text;
    SCOPED_TRACE(text);
    expect_screen(display, texts);
}

TEST(hud_draw, cuts_the_time_to_whole_seconds)
{
    expect_time(0.999, "0:00:00");
    expect_time(59.999, "0:00:59");
    expect_time(60, "0:01:00");
    expect_time(3599.5, "0:59:59");
    expect_time(3600, "1:00:00");
    expect_time(360000 + 3661, "101:01:01");
    expect_time(-0.9, "0:00:00");
}

TEST(hud_draw, holds_the_time_to_what_an_i32_takes)
{
    expect_time(2147483647.0, "596523:14:07");
    expect_time(1e300, "596523:14:07");
    expect_time(std::numeric_limits<f64>::infinity(), "596523:14:07");
    expect_time(-1e300, "-596523:-14:-8");
    expect_time(std::nan(""), "0:00:00");
}

TEST(hud_draw, counts_the_nodes_of_the_current_maze_alone)
{
    Display display(wide, high);
    Maze* const sub = Maze_new();
    for (i32 i = 6; i >= 0; i--) {
        add_node(sub, i, 0, 0, 0.1);
    }
    hang(display.game.root, 0, sub);
    display.game.root->visitednodes = 3;
    sub->visitednodes = 2;
    display.game.pos = {.maze = sub, .node = 5};
    Statistics texts;
    char place[64];
    std::snprintf(place, sizeof place, "Maze %p node 5", static_cast<void*>(sub));
    texts.place = place;
    texts.visits = "2 / 7 nodes visited (28.57%)";
    expect_screen(display, texts);
}

TEST(hud_draw, shows_a_maze_without_attachments_as_an_empty_list)
{
    const Display display(wide, high);
    const Picture got = shown(display, HUD_STATISTICS);
    const Picture expected = picture_of([] { text_draw(0, 5 * 16, "Attachments: ", 0xFFFFFF); });
    EXPECT_EQ(differing(got, expected, 5 * 16 + 1, 6 * 16 - 1), 0);
}

struct Piece {
    const char* text;
    u32 colour;
};

// Draws pieces one behind another, each from a whole pixel on.
static void draw_pieces(const std::vector<Piece>& pieces, f32 y)
{
    i32 x = 0;
    for (const Piece& piece : pieces) {
        text_draw(static_cast<f32>(x), y, piece.text, piece.colour);
        x = static_cast<i32>(static_cast<f32>(x) + text_width(piece.text));
    }
}

static void expect_list(const Display& display, const std::vector<Piece>& pieces)
{
    const Picture got = shown(display, HUD_STATISTICS);
    const Picture expected = picture_of([&] { draw_pieces(pieces, 5 * 16); });
    EXPECT_EQ(differing(got, expected, 5 * 16 + 1, 6 * 16 - 1), 0);
}

TEST(hud_draw, lists_the_attachments_in_the_colours_of_their_flags)
{
    const Display display(1200, high);
    display.attach("none", 0);
    display.attach("geometry", ATT_GEOMETRY);
    display.attach("exits", ATT_EXITS);
    display.attach("visits", ATT_VISITS);
    display.attach("all", ATT_GEOMETRY | ATT_EXITS | ATT_VISITS);
    display.attach("others", 0xFFFFFFF8U);
    expect_list(display, {{"Attachments: ", 0xFFFFFF},
                          {"none", 0x7F7F7F},
                          {", ", 0xFFFFFF},
                          {"geometry", 0x7F7FFF},
                          {", ", 0xFFFFFF},
                          {"exits", 0x7FFF7F},
                          {", ", 0xFFFFFF},
                          {"visits", 0xFF7F7F},
                          {", ", 0xFFFFFF},
                          {"all", 0xFFFFFF},
                          {", ", 0xFFFFFF},
                          {"others", 0x7F7F7F},
                          {" ", 0xFFFFFF}});
}

// A line has no fringes but at its ends, so what is drawn of it has the proportions of its colour.
TEST(hud_draw, colours_the_pixels_of_a_name)
{
    const Display display(wide, high);
    display.attach("-----", ATT_VISITS);
    const Picture picture = shown(display, HUD_STATISTICS);
    const size_t begin = static_cast<size_t>(text_width("Attachments: "));
    i32 red = 0;
    for (size_t y = 5 * 16 + 1; y < 6 * 16 - 1; y++) {
        for (size_t x = begin; x < begin + 30; x++) {
            const u8* const pixel = &picture.rgb[(y * wide + x) * 3];
            const bool alike = pixel[1] == pixel[2] && std::abs(pixel[0] - 2 * pixel[1]) < 16;
            red += pixel[0] > 80 && alike ? 1 : 0;
        }
    }
    EXPECT_GT(red, 10);
}

TEST(hud_draw, ends_the_right_hand_texts_a_pixel_before_the_edge)
{
    const Display display(wide, high);
    const Picture picture = shown(display, HUD_STATISTICS);
    for (const i32 row : {0, 1, 3}) {
        i32 last = -1;
        for (i32 y = row * 16 + 2; y < row * 16 + 13; y++) {
            for (i32 x = 0; x < wide; x++) {
                const size_t at = static_cast<size_t>(y * wide + x) * 3;
                last = picture.rgb[at + 1] > 127 ? std::max(last, x) : last;
            }
        }
        EXPECT_GE(last, wide - 7) << row; // a letter ends with the space between letters
        EXPECT_LT(last, wide - 1) << row;
    }
}

TEST(hud_draw, begins_the_ring_with_nothing_in_it)
{
    const Display display(wide, high);
    expect_screen(display, {});
    EXPECT_EQ(hud_rateindex, 0);
    for (const f64 rate : hud_rates) {
        EXPECT_EQ(rate, 0);
    }
}

TEST(hud_draw, stores_from_the_second_frame_on)
{
    const Display display(wide, high);
    display.rates(1, 77);
    Statistics texts;
    texts.rates = "min 0.0 max 2.0 avg 0.0"; // 2 of 100
    expect_screen(display, texts);
    texts.rate = "50.0 FPS";
    texts.rates = "min 0.0 max 50.0 avg 0.5";
    expect_screen(display, texts, 1 / 50.0);
    EXPECT_EQ(hud_rateindex, 2);
}

TEST(hud_draw, shows_no_true_least_rate_before_a_hundred_samples)
{
    const Display display(wide, high);
    display.rates(1 + 98, 4);
    Statistics texts;
    texts.rate = "4.0 FPS";
    texts.rates = "min 0.0 max 4.0 avg 4.0"; // 3.96
    expect_screen(display, texts, 0.25);
    texts.rates = "min 4.0 max 4.0 avg 4.0";
    expect_screen(display, texts, 0.25);
}

TEST(hud_draw, forgets_the_oldest_rate_first)
{
    const Display display(wide, high);
    display.rates(1, 4);
    display.rates(1, 1024);
    display.rates(99, 4);
    Statistics texts;
    texts.rate = "8.0 FPS";
    texts.rates = "min 4.0 max 8.0 avg 4.0"; // 4.04
    expect_screen(display, texts, 0.125);
    EXPECT_EQ(hud_rateindex, 1);
}

TEST(hud_draw, takes_no_rate_while_something_else_is_shown)
{
    const Display display(wide, high);
    display.rates(1, 4);
    display.rates(1, 50);
    for (i32 i = 30; i > 0; i--) {
        for (const i32 mode : {HUD_PROMPT, HUD_HELP, HUD_NOTHING}) {
            hud_draw(&display.game, mode, 0.001);
        }
    }
    Statistics texts;
    texts.rates = "min 0.0 max 50.0 avg 0.5"; // what was there, and this frame's 2
    expect_screen(display, texts);
    EXPECT_EQ(hud_rateindex, 2);
}

TEST(hud_draw, shows_an_infinite_rate_for_a_frame_of_no_length)
{
    const Display display(wide, high);
    display.rates(1, 4);
    Statistics texts;
    texts.rate = "inf FPS";
    texts.rates = "min 0.0 max inf avg inf";
    expect_screen(display, texts, 0);
}

TEST(hud_draw, starts_the_least_rate_at_a_great_number)
{
    const Display display(wide, high);
    display.rates(1, 4);
    for (f64& rate : hud_rates) {
        rate = std::numeric_limits<f64>::infinity();
    }
    Statistics texts;
    texts.rate = "inf FPS";
    texts.rates = "min 100000000000000000000.0 max inf avg inf";
    expect_screen(display, texts, 0);
}

TEST(hud_draw, has_room_for_the_longest_numbers)
{
    const Display display(wide, high);
    display.rates(1, 4);
    hud_draw(&display.game, HUD_STATISTICS, 1e-308);
    EXPECT_EQ(hud_rates[0], 1 / 1e-308);
    EXPECT_GT(shown(display, HUD_STATISTICS, 1e-308).lit(), 1000);
}

TEST(hud_draw, tells_the_angle_of_the_whole_window_first)
{
    const Display display(1280, 720);
    Statistics texts;
    char fov[80];
    const f32 m0 = 1.0F / (0.75F * 1280.0F / 720.0F);
    const f64 whole = 2 * std::atan(1.0 / static_cast<f64>(m0)) * 180 / M_PI;
    std::snprintf(fov, sizeof fov, "FOV = %g deg (90 deg 4:3 central region)", whole);
    EXPECT_STREQ(fov, "FOV = 106.26 deg (90 deg 4:3 central region)");
    texts.fov = fov;
    expect_screen(display, texts);
}

TEST(hud_draw, tells_ninety_degrees_in_a_window_taller_than_wide)
{
    const Display display(480, 640);
    expect_screen(display, {});
}

TEST(hud_draw, follows_the_keys_of_the_field_of_view)
{
    const Display display(1280, 720);
    gfx_set_fov(60, 0.1F, 1000);
    char fov[80];
    const f64 whole = 2 * std::atan(std::tan(M_PI / 6) * 0.75 * 1280 / 720) * 180 / M_PI; // 75.178
    std::snprintf(fov, sizeof fov, "FOV = %.4f deg (60 deg 4:3 central region)", whole);
    Statistics texts;
    texts.fov = fov;
    expect_screen(display, texts);
}

// States that a scene may leave, each enough to spoil or hide what is drawn after it.
static void leave_hostile_states()
{
    glEnable(GL_FOG);
    glFogi(GL_FOG_MODE, GL_LINEAR);
    glFogf(GL_FOG_START, -2);
    glFogf(GL_FOG_END, -1);
    glEnable(GL_LIGHTING);
    glEnable(GL_CULL_FACE);
    glEnable(GL_ALPHA_TEST);
    glAlphaFunc(GL_GREATER, 0.99F);
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_NEVER);
    glBlendFunc(GL_ZERO, GL_ZERO);
    glColor4f(0, 0, 0, 0);
    glMatrixMode(GL_MODELVIEW);
    glTranslatef(5, 5, 5);
}

static void restore_states()
{
    glPopMatrix();
    glPopAttrib();
}

TEST(hud_draw, looks_the_same_whatever_the_scene_has_left_on)
{
    const Display display(wide, high);
    for (const i32 mode : {HUD_PROMPT, HUD_HELP, HUD_STATISTICS}) {
        const Picture expected = shown(display, mode);
        hud_rateindex = -1;
        glPushAttrib(GL_ALL_ATTRIB_BITS);
        glPushMatrix();
        leave_hostile_states();
        const Picture got = shown(display, mode);
        restore_states();
        EXPECT_EQ(differing(got, expected), 0) << mode;
    }
}

TEST(hud_draw, is_hidden_by_nothing_that_stands_in_front)
{
    const Display display(wide, high);
    const Picture expected = shown(display, HUD_HELP);
    const Picture got = picture_of([&] {
        glClearDepth(0);
        glClear(GL_DEPTH_BUFFER_BIT);
        glClearDepth(1);
        hud_draw(&display.game, HUD_HELP, 0.5);
    });
    EXPECT_EQ(differing(got, expected), 0);
}

// All switches and matrices that drawing in a frame goes by.
static std::vector<f64> state_now()
{
    std::vector<f64> out;
    for (const GLenum what :
         {GL_FOG, GL_LIGHTING, GL_CULL_FACE, GL_ALPHA_TEST, GL_DEPTH_TEST, GL_BLEND, GL_TEXTURE_2D,
          GL_SCISSOR_TEST, GL_STENCIL_TEST, GL_NORMALIZE}) {
        out.push_back(glIsEnabled(what));
    }
    for (const GLenum what :
         {GL_MATRIX_MODE, GL_BLEND_SRC, GL_BLEND_DST, GL_CURRENT_PROGRAM, GL_TEXTURE_BINDING_2D,
          GL_ATTRIB_STACK_DEPTH, GL_MODELVIEW_STACK_DEPTH, GL_PROJECTION_STACK_DEPTH,
          GL_ACTIVE_TEXTURE, GL_DEPTH_WRITEMASK, GL_ALPHA_TEST_FUNC}) {
        GLint value = 0;
        glGetIntegerv(what, &value);
        out.push_back(value);
    }
    for (const GLenum what : {GL_MODELVIEW_MATRIX, GL_PROJECTION_MATRIX}) {
        GLdouble matrix[16];
        glGetDoublev(what, matrix);
        out.insert(out.end(), matrix, matrix + 16);
    }
    return out;
}

TEST(hud_draw, leaves_the_state_as_it_was)
{
    const Display display(wide, high);
    glPushAttrib(GL_ALL_ATTRIB_BITS);
    glPushMatrix();
    leave_hostile_states();
    const std::vector<f64> before = state_now();
    for (const i32 mode : {HUD_PROMPT, HUD_HELP, HUD_STATISTICS, HUD_NOTHING}) {
        hud_draw(&display.game, mode, 0.5);
        EXPECT_EQ(state_now(), before) << mode;
    }
    restore_states();
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

// The edges of a letter's quad lie where the atlas is empty, so nothing of it is left.
TEST(hud_draw, draws_letters_as_lines_too_while_polygons_are_lines)
{
    const Display display(wide, high);
    const Picture filled = shown(display, HUD_HELP);
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    const Picture lines = shown(display, HUD_HELP);
    GLint mode[2] = {};
    glGetIntegerv(GL_POLYGON_MODE, mode);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    EXPECT_EQ(mode[0], GL_LINE);
    EXPECT_GT(filled.lit(), 5000);
    EXPECT_EQ(lines.lit(), 0);
}

TEST(hud_draw, changes_no_font)
{
    const Display display(wide, high);
    const Font* const font = font_current;
    shown(display, HUD_STATISTICS);
    EXPECT_EQ(font_current, font);
    EXPECT_EQ(font_height, 16);
}

TEST(hud_draw, takes_a_window_of_no_size_without_an_error)
{
    const Display display(wide, high);
    gfx_resize(0, 1);
    for (const i32 mode : {HUD_PROMPT, HUD_HELP, HUD_STATISTICS}) {
        hud_draw(&display.game, mode, 0.5);
    }
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

// Calls of OpenGL in a display, but for what each letter costs.
static std::map<std::string, i32> calls_of(const Display& display, i32 mode)
{
    gl_count = {};
    gl_count_entries();
    hud_draw(&display.game, mode, 0.5);
    std::map<std::string, i32> calls = gl_count.calls;
    calls.erase("glVertex2f");
    calls.erase("glTexCoord2f");
    return calls;
}

TEST(hud_draw, is_one_batch_however_much_it_shows)
{
    const Display display(wide, high);
    const std::map<std::string, i32> few = calls_of(display, HUD_STATISTICS);
    EXPECT_EQ(few.at("glBegin"), 1);
    EXPECT_EQ(few.at("glEnd"), 1);
    for (const i32 mode : {HUD_PROMPT, HUD_HELP}) {
        EXPECT_EQ(calls_of(display, mode).at("glBegin"), 1) << mode;
    }
    for (i32 i = 40; i > 0; i--) {
        display.attach("attachment", ATT_EXITS);
    }
    std::map<std::string, i32> many = calls_of(display, HUD_STATISTICS);
    many.at("glColor4ub") -= 2 * 40; // a name and what separates it have a colour each
    EXPECT_EQ(many, few);
}

TEST(hud_draw, calls_nothing_of_a_letter_in_the_last_mode)
{
    const Display display(wide, high);
    gl_count = {};
    hud_draw(&display.game, HUD_NOTHING, 0.5);
    EXPECT_EQ(gl_count.total(), 0);
}
