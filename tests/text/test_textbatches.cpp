// Text as OpenGL gets it: the state of a batch, what it leaves behind, and pixels of the typeface.
#include "gfx/gl/shaderprocs.h"
#include "gfx/screenshot.h"
#include "tests/fakes/gl_count.h"
#include "tests/handfont.h"
#include "tests/scripted_window.h"

#include <GL/gl.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

static const NodeFontParams typeface = {
    .stroke = 0.125F, .cornerradius = 0.25F, .xscale = 1.0F, .xheight = 0.625F};

// A window with the program's own fonts, of which "normal" is current.
struct TextWindow {
    ScriptedWindow window;
    FontTable table;

    TextWindow() : window(begin(), 240)
    {
        shaders_load();
        NodeFontCharSet_load(nodefont_data, NODEFONT_LENGTH, "fmod", &typeface, 32.0F, 3.0F);
        Font_make("fmod:scale=30%", "normal");
        Font_select("normal");
        glClearColor(0, 0, 0, 0);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    }
    TextWindow(const TextWindow&) = delete;
    TextWindow& operator=(const TextWindow&) = delete;
    ~TextWindow()
    {
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        glDeleteTextures(1, &fonts_first[0]->texture);
    }

  private:
    static i32 begin()
    {
        scripted_begin();
        windowed = true;
        return 320;
    }
};

static i32 state(GLenum name)
{
    GLint value = -1;
    glGetIntegerv(name, &value);
    return value;
}

static i32 current_program()
{
    return state(GL_CURRENT_PROGRAM);
}

using Matrix = std::array<f32, 16>;

static Matrix matrix(GLenum name)
{
    Matrix out;
    glGetFloatv(name, out.data());
    return out;
}

// What the batch has set, asked after the quads have ended: nothing may be asked inside them.
template <typename Ask> static void inside(void (*begin)(), void (*end)(), Ask ask)
{
    begin();
    glEnd();
    ask();
    glBegin(GL_QUADS);
    end();
}

// All that a batch may touch, as numbers.
static std::vector<f64> whole_state()
{
    std::vector<f64> out;
    for (const GLenum flag : {GL_BLEND, GL_TEXTURE_2D, GL_LIGHTING, GL_ALPHA_TEST}) {
        out.push_back(glIsEnabled(flag));
    }
    for (const GLenum name : {GL_BLEND_SRC, GL_BLEND_DST, GL_TEXTURE_BINDING_2D, GL_MATRIX_MODE,
                              GL_CURRENT_PROGRAM, GL_ALPHA_TEST_FUNC, GL_MODELVIEW_STACK_DEPTH,
                              GL_PROJECTION_STACK_DEPTH, GL_ATTRIB_STACK_DEPTH}) {
        out.push_back(state(static_cast<GLenum>(name)));
    }
    for (const GLenum name : {GL_MODELVIEW_MATRIX, GL_PROJECTION_MATRIX}) {
        for (const f32 element : matrix(name)) {
            out.push_back(static_cast<f64>(element));
        }
    }
    return out;
}

// State that a batch doesn't have by itself.
static void odd_state()
{
    glMatrixMode(GL_PROJECTION);
    glTranslatef(1, 2, 3);
    glMatrixMode(GL_MODELVIEW);
    glTranslatef(4, 5, 6);
    glMatrixMode(GL_PROJECTION);
    glEnable(GL_LIGHTING);
    glDisable(GL_BLEND);
    glDisable(GL_TEXTURE_2D);
    glBlendFunc(GL_ONE_MINUS_DST_COLOR, GL_SRC_ALPHA_SATURATE);
}

static void expect_blend(GLenum source, GLenum destination)
{
    EXPECT_EQ(glIsEnabled(GL_BLEND), GL_TRUE);
    EXPECT_EQ(state(GL_BLEND_SRC), static_cast<i32>(source));
    EXPECT_EQ(state(GL_BLEND_DST), static_cast<i32>(destination));
}

TEST(text_begin, blends_by_its_mode)
{
    const TextWindow window;
    const GLenum modes[5][2] = {{GL_ONE, GL_ONE_MINUS_SRC_COLOR}, // 0 is none: as 3
                                {GL_ONE, GL_ZERO},
                                {GL_DST_COLOR, GL_ONE_MINUS_SRC_ALPHA},
                                {GL_ONE, GL_ONE_MINUS_SRC_COLOR},
                                {GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA}};
    for (i32 mode = 0; mode < 5; mode++) {
        text_blend = mode;
        inside(text_begin, text_end, [&] { expect_blend(modes[mode][0], modes[mode][1]); });
    }
    text_blend = 5;
    inside(text_begin, text_end, [&] { expect_blend(GL_ONE, GL_ONE_MINUS_SRC_COLOR); });
}

TEST(text_begin, binds_the_texture_of_the_current_font_with_its_mipmaps)
{
    const TextWindow window;
    glBindTexture(GL_TEXTURE_2D, font_current->texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glBindTexture(GL_TEXTURE_2D, 0);
    inside(text_begin, text_end, [] {
        EXPECT_EQ(glIsEnabled(GL_TEXTURE_2D), GL_TRUE);
        EXPECT_EQ(state(GL_TEXTURE_BINDING_2D), static_cast<i32>(font_current->texture));
        GLint filter = 0;
        glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &filter);
        EXPECT_EQ(filter, GL_LINEAR_MIPMAP_LINEAR);
    });
}

TEST(text_begin, uses_the_program_if_there_is_one)
{
    const TextWindow window;
    ASSERT_NE(text_program, 0U);
    inside(text_begin, text_end,
           [] { EXPECT_EQ(current_program(), static_cast<i32>(text_program)); });
    EXPECT_EQ(current_program(), 0);
    text_program = 0;
    inside(text_begin, text_end, [] { EXPECT_EQ(current_program(), 0); });
}

TEST(text_begin, lights_nothing_and_tests_no_depth)
{
    const TextWindow window;
    glEnable(GL_LIGHTING);
    inside(text_begin, text_end, [] {
        EXPECT_EQ(glIsEnabled(GL_LIGHTING), GL_FALSE);
        EXPECT_EQ(glIsEnabled(GL_DEPTH_TEST), GL_FALSE);
        EXPECT_EQ(state(GL_DEPTH_WRITEMASK), GL_FALSE);
    });
    EXPECT_EQ(glIsEnabled(GL_LIGHTING), GL_TRUE);
}

TEST(text_begin, scales_the_overlay)
{
    const TextWindow window;
    text_scalex = 3;
    text_scaley = 5;
    inside(text_begin, text_end, [] {
        EXPECT_EQ(matrix(GL_MODELVIEW_MATRIX),
                  (Matrix{3, 0, 0, 0, 0, 5, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
        EXPECT_FLOAT_EQ(matrix(GL_PROJECTION_MATRIX)[0], 2.0F / 320); // pixels
    });
}

TEST(text_begin, keeps_the_matrices_without_an_overlay)
{
    const TextWindow window;
    glMatrixMode(GL_MODELVIEW);
    glTranslatef(4, 5, 6);
    const Matrix projection = matrix(GL_PROJECTION_MATRIX);
    text_overlay = 0;
    text_scalex = 3;
    inside(text_begin, text_end, [&] {
        EXPECT_EQ(matrix(GL_MODELVIEW_MATRIX),
                  (Matrix{3, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 4, 5, 6, 1}));
        EXPECT_EQ(matrix(GL_PROJECTION_MATRIX), projection);
    });
}

TEST(text_end, leaves_the_state_as_it_was)
{
    const TextWindow window;
    odd_state();
    const std::vector<f64> before = whole_state();
    for (const i32 overlay : {0, 1}) {
        text_overlay = overlay;
        text_scalex = 2;
        text_begin();
        text_put(0, 0, 0, 0, "text", 0xFFFFFF);
        text_end();
        EXPECT_EQ(whole_state(), before);
    }
}

TEST(text_end, turns_depth_writing_on)
{
    const TextWindow window;
    glDepthMask(GL_FALSE);
    text_begin();
    text_end();
    EXPECT_EQ(state(GL_DEPTH_WRITEMASK), GL_TRUE);
}

TEST(text_end, closes_what_its_begin_has_opened)
{
    const TextWindow window;
    const std::vector<f64> before = whole_state();
    for (const i32 overlay : {0, 1}) {
        text_overlay = overlay;
        text_begin();
        text_overlay = 1 - overlay; // from now on
        text_end();
        EXPECT_EQ(whole_state(), before);
    }
}

TEST(text3d_begin, blends_by_its_mode)
{
    const TextWindow window;
    const GLenum modes[5][2] = {{GL_SRC_ALPHA, GL_ONE}, // 0 is none: as 3
                                {GL_ONE, GL_ZERO},
                                {GL_ZERO, GL_ONE_MINUS_SRC_COLOR},
                                {GL_SRC_ALPHA, GL_ONE},
                                {GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA}};
    for (i32 mode = 0; mode < 5; mode++) {
        text_blend = mode;
        inside(text3d_begin, text3d_end, [&] { expect_blend(modes[mode][0], modes[mode][1]); });
    }
}

TEST(text3d_begin, draws_nothing_where_the_glyph_is_empty)
{
    const TextWindow window;
    inside(text3d_begin, text3d_end, [] {
        EXPECT_EQ(glIsEnabled(GL_ALPHA_TEST), GL_TRUE);
        EXPECT_EQ(state(GL_ALPHA_TEST_FUNC), GL_GREATER);
        GLfloat reference = -1;
        glGetFloatv(GL_ALPHA_TEST_REF, &reference);
        EXPECT_EQ(reference, 0);
    });
}

TEST(text3d_begin, keeps_matrices_and_depth)
{
    const TextWindow window;
    glEnable(GL_DEPTH_TEST);
    text_scalex = 3;
    const Matrix modelview = matrix(GL_MODELVIEW_MATRIX);
    const Matrix projection = matrix(GL_PROJECTION_MATRIX);
    inside(text3d_begin, text3d_end, [&] {
        EXPECT_EQ(matrix(GL_MODELVIEW_MATRIX), modelview);
        EXPECT_EQ(matrix(GL_PROJECTION_MATRIX), projection);
        EXPECT_EQ(glIsEnabled(GL_DEPTH_TEST), GL_TRUE);
        EXPECT_EQ(state(GL_TEXTURE_BINDING_2D), static_cast<i32>(font_current->texture));
        EXPECT_EQ(current_program(), static_cast<i32>(text_program));
    });
}

TEST(text3d_end, leaves_the_state_as_it_was)
{
    const TextWindow window;
    odd_state();
    const std::vector<f64> before = whole_state();
    text3d_begin();
    text3d_end();
    EXPECT_EQ(whole_state(), before);
}

TEST(text_draw, is_one_batch_however_long)
{
    const TextWindow window;
    gl_count = {};
    text_draw(0, 0, "one text", 0xFFFFFF);
    EXPECT_EQ(gl_count.calls["glBegin"], 1);
    EXPECT_EQ(gl_count.calls["glEnd"], 1);
    EXPECT_EQ(gl_count.calls["glVertex2f"], 4 * 7);
    EXPECT_EQ(gl_count.calls["glColor4ub"], 1);
    gl_count = {};
    text_draw(0, 0, std::string(1000, 'a').c_str(), 0xFFFFFF);
    EXPECT_EQ(gl_count.calls["glBegin"], 1);
    EXPECT_EQ(gl_count.calls["glColor4ub"], 1);
}

TEST(text_draw, draws_as_text_put_does_without_an_edge)
{
    const TextWindow window;
    EXPECT_EQ(text_draw(3, 4, "a\nb\nc", 0), 4 + 34);
}

// The box of what a text draws, in window pixels from the upper left, by the matrices of its batch.
struct Box {
    f64 left = 1e9, right = -1e9, top = 1e9, bottom = -1e9;
};

static Box window_box(f32 x, f32 y, const char* text)
{
    f64 modelview[16];
    f64 projection[16];
    i32 viewport[4];
    gl_count = {};
    gl_count.record = true;
    text_begin();
    text_put(x, y, 0, 0, text, 0xFFFFFF);
    glEnd();
    glGetDoublev(GL_MODELVIEW_MATRIX, modelview);
    glGetDoublev(GL_PROJECTION_MATRIX, projection);
    glGetIntegerv(GL_VIEWPORT, viewport);
    glBegin(GL_QUADS);
    text_end();
    gl_count.record = false;
    Box box;
    for (const GlVertex& v : gl_count.vertices) {
        f64 wx = 0;
        f64 wy = 0;
        gfx_project(static_cast<f64>(v.pos[0]), static_cast<f64>(v.pos[1]), 0, &wx, &wy, nullptr,
                    modelview, projection, viewport);
        box = {std::min(box.left, wx), std::max(box.right, wx), std::min(box.top, wy),
               std::max(box.bottom, wy)};
    }
    return box;
}

static void expect_box(const Box& box, f64 left, f64 right, f64 top, f64 bottom)
{
    EXPECT_NEAR(box.left, left, 0.01);
    EXPECT_NEAR(box.right, right, 0.01);
    EXPECT_NEAR(box.top, top, 0.01);
    EXPECT_NEAR(box.bottom, bottom, 0.01);
}

// "H" at 30 %: w = cellw - 6, height 48 within the margins, b = 54 * 3 / 48
TEST(text_draw, counts_window_pixels_from_the_upper_left)
{
    const TextWindow window;
    const Box box = window_box(40, 50, "H");
    const f64 w = 0.3 * (font_current->base->cellw['H'] - 6.0);
    const f64 b = 0.3 * 3.375;
    expect_box(box, 40 - b, 40 + w + b, 50 - b, 50 + 0.3 * 48 + b);
}

TEST(text_draw, scales_the_whole_batch)
{
    const TextWindow window;
    const Box plain = window_box(20, 10, "HH");
    text_scalex = 2;
    text_scaley = 3;
    const Box scaled = window_box(20, 10, "HH");
    expect_box(scaled, 2 * plain.left, 2 * plain.right, 3 * plain.top, 3 * plain.bottom);
}

// Pixels of the window from the upper left.
struct Pixels {
    std::unique_ptr<u8, void (*)(void*)> bytes;

    Pixels() : bytes(picture_read(gfx_width, gfx_height), std::free)
    {
    }
    const u8* at(i32 x, i32 y) const
    {
        return bytes.get() + 3 * (static_cast<size_t>(y) * static_cast<size_t>(gfx_width) +
                                  static_cast<size_t>(x));
    }
    i32 brightest(i32 x, i32 y) const
    {
        const u8* const p = at(x, y);
        return std::max({p[0], p[1], p[2]});
    }
    // painted ones of a rectangle, its right and lower end exclusive
    i32 painted(i32 x0, i32 y0, i32 x1, i32 y1) const
    {
        i32 n = 0;
        for (i32 y = y0; y < y1; y++) {
            for (i32 x = x0; x < x1; x++) {
                n += brightest(x, y) > 8 ? 1 : 0;
            }
        }
        return n;
    }
    i32 painted() const
    {
        return painted(0, 0, gfx_width, gfx_height);
    }
};

// Saves the picture if its folder is asked for.
static void keep(const Pixels& pixels, const std::string& name)
{
    const char* const folder = std::getenv("CORVANE_PICTURES");
    if (folder != nullptr) {
        static char why[5000];
        picture_write_png((std::string(folder) + "/" + name + ".png").c_str(), pixels.bytes.get(),
                          gfx_width, gfx_height, why);
    }
}

TEST(text_picture, stays_within_its_cells)
{
    const TextWindow window;
    text_draw(50, 60, "HAMBURGEFONTS", 0xFFFFFF);
    const Pixels pixels;
    keep(pixels, "line");
    const i32 right = 50 + static_cast<i32>(text_width("HAMBURGEFONTS"));
    EXPECT_GT(pixels.painted(50, 60, right, 60 + 15), 300);
    EXPECT_EQ(pixels.painted(), pixels.painted(48, 58, right + 2, 60 + 17));
}

TEST(text_picture, is_white_inside_strokes_and_black_inside_counters)
{
    const TextWindow window;
    Font_select("fmod:scale=2"); // 64 pixels the letter, 8 a stroke
    text_draw(20, 20, "O", 0xFFFFFF);
    const Pixels pixels;
    keep(pixels, "large");
    const i32 w = 2 * (static_cast<i32>(font_current->base->cellw['O']) - 6);
    i32 inked = 0;
    for (i32 y = 20; y < 20 + 96; y++) {
        inked += pixels.brightest(20 + 4, y) > 250 ? 1 : 0; // along its left stroke
    }
    // 32 straight, and its corners from there on, whose radius is 16 in the middle and 20 outside
    EXPECT_NEAR(inked, 32 + 2 * std::sqrt(20 * 20 - 15.2 * 15.2), 2);
    EXPECT_EQ(pixels.painted(20 + 12, 20 + 40, 20 + w - 12, 20 + 44), 0);
    EXPECT_EQ(pixels.brightest(20 + 4, 20 + 42), 255);
    EXPECT_EQ(pixels.brightest(20 + w - 4, 20 + 42), 255);
}

TEST(text_picture, has_the_colours_of_its_commands)
{
    const TextWindow window;
    Font_select("fmod:scale=2");
    const char text[] = "I\5\0\x00\xFF\x00\x00.I"; // 0x00FF00, low byte first
    text_draw(20, 20, text, 0xFF0000);
    const Pixels pixels;
    keep(pixels, "colours");
    i32 red = 0;
    i32 green = 0;
    for (i32 i = gfx_width * gfx_height - 1; i >= 0; i--) {
        const u8* const p = pixels.at(i % gfx_width, i / gfx_width);
        red += p[0] == 255 && p[1] == 0 && p[2] == 0 ? 1 : 0;
        green += p[0] == 0 && p[1] == 255 && p[2] == 0 ? 1 : 0;
    }
    EXPECT_GT(red, 300);
    EXPECT_NEAR(green, red, 20);
}

TEST(text_picture, shows_a_word_for_null_in_its_colour)
{
    const TextWindow window;
    text_draw(50, 60, nullptr, 0x00FF00);
    const Pixels shown;
    glClear(GL_COLOR_BUFFER_BIT);
    text_draw(50, 60, "NULL?", 0x00FF00);
    const Pixels wanted;
    EXPECT_GT(shown.painted(), 100);
    i32 wrong = 0;
    for (i32 i = gfx_width * gfx_height - 1; i >= 0; i--) {
        const u8* const p = shown.at(i % gfx_width, i / gfx_width);
        const u8* const q = wanted.at(i % gfx_width, i / gfx_width);
        wrong += p[0] != 0 || p[2] != 0 || p[1] != q[1] ? 1 : 0;
    }
    EXPECT_EQ(wrong, 0);
}

TEST(text_picture, wraps_left_of_its_edge)
{
    const TextWindow window;
    text_begin();
    const f32 end =
        text_put(10, 10, 150, 0, "The quick brown fox jumps over the lazy dog again", 0xFFFFFF);
    text_end();
    const Pixels pixels;
    keep(pixels, "wrapped");
    EXPECT_GT(end, 30);
    EXPECT_EQ(pixels.painted(152, 0, 320, 240), 0);
    EXPECT_GT(pixels.painted(10, static_cast<i32>(end), 150, static_cast<i32>(end) + 15), 30);
    EXPECT_EQ(pixels.painted(0, static_cast<i32>(end) + 17, 320, 240), 0);
}

TEST(text_picture, shows_large_and_raised_letters)
{
    const TextWindow window;
    const char text[] =
        "x\5\2\x80\x00\x80\x00.2\5\2\x00\x03\x00\x00.y"; // half, raised by half; three times
    text_draw(20, 60, text, 0xFFFFFF);
    const Pixels pixels;
    keep(pixels, "sizes");
    EXPECT_GT(pixels.painted(30, 50, 45, 59), 5);    // the exponent
    EXPECT_GT(pixels.painted(40, 76, 80, 110), 100); // the large letter
    EXPECT_EQ(pixels.painted(0, 0, 320, 49), 0);
    EXPECT_EQ(pixels.painted(0, 60, 28, 62), 0); // above the x-height of the first letter
}

TEST(text_picture, shows_without_a_program_too)
{
    const TextWindow window;
    text_draw(50, 60, "HAMBURGEFONTS", 0xFFFFFF);
    const i32 sharp = Pixels().painted();
    glClear(GL_COLOR_BUFFER_BIT);
    text_program = 0;
    text_draw(50, 60, "HAMBURGEFONTS", 0xFFFFFF);
    const Pixels pixels;
    keep(pixels, "fixed_pipeline");
    EXPECT_GT(pixels.painted(), sharp / 2);
    EXPECT_EQ(pixels.painted(), pixels.painted(48, 58, 250, 60 + 17));
}

TEST(text_picture, is_empty_before_there_is_a_font)
{
    scripted_begin();
    const ScriptedWindow opened(64, 64);
    const FontTable table;
    glClear(GL_COLOR_BUFFER_BIT);
    EXPECT_EQ(text_width("ghost"), 0);
    EXPECT_EQ(text_draw(0, 5, "ghost\n", 0xFFFFFF), 6);
    ASSERT_EQ(table.count(), 1U);
    EXPECT_EQ(font_current, fonts_first[0]);
    EXPECT_EQ(Pixels().painted(), 0);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST(text_picture, takes_any_scale)
{
    const TextWindow window;
    for (const char* const description : {"fmod:scale=0", "fmod:scale=-1", "fmod:scale=1e6",
                                          "fmod:scale=1e-30", "fmod:boldness=1e6"}) {
        Font_select(description);
        text_begin();
        text_put(10, 10, 100, 100, "any text", 0xFFFFFF);
        text_end();
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR)) << description;
    }
}
