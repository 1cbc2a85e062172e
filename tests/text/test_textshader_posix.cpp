#include "gfx/gl/shaderprocs.h"
#include "tests/atlas.h"
#include "tests/reference_compiler.h"

#include <GL/glext.h>

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>

extern const char glsl_text_vs[];
extern const char glsl_text_fs[];

namespace
{

struct ProgramWindow {
    ProgramWindow()
    {
        atlas_window(320, 64);
    }
    ProgramWindow(const ProgramWindow&) = delete;
    ProgramWindow& operator=(const ProgramWindow&) = delete;
    ~ProgramWindow()
    {
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        gfx_close();
    }
};

template <typename T> T entry(const char* name)
{
    return reinterpret_cast<T>(platform->glproc(name));
}

f32 uniform_float(const char* name)
{
    f32 value = -1;
    entry<PFNGLGETUNIFORMFVPROC>("glGetUniformfv")(
        text_program, gl_entry_points.GetUniformLocation(text_program, name), &value);
    return value;
}

std::vector<i32> uniform_ints(const char* name)
{
    std::vector<i32> values(2, -1);
    entry<PFNGLGETUNIFORMIVPROC>("glGetUniformiv")(
        text_program, gl_entry_points.GetUniformLocation(text_program, name), values.data());
    return values;
}

// An atlas whose texels rise from 0 to 255 in x, each 8 more than the one before; green is 40 behind and
// blue 80.
Font ramp_font()
{
    Font font = {};
    font.texw = 32;
    font.texh = 4;
    std::vector<u8> texels;
    for (i32 y = 0; y < 4; y++) {
        for (i32 x = 0; x < 32; x++) {
            const i32 value = 8 * x;
            texels.push_back(static_cast<u8>(value));
            texels.push_back(static_cast<u8>(std::max(0, value - 40)));
            texels.push_back(static_cast<u8>(std::max(0, value - 80)));
            texels.push_back(255);
        }
    }
    glGenTextures(1, &font.texture);
    glBindTexture(GL_TEXTURE_2D, font.texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 32, 4, 0, GL_RGBA, GL_UNSIGNED_BYTE, texels.data());
    return font;
}

// A channel of that atlas between its texels.
f64 ramp_at(f64 texel, i32 channel)
{
    const f64 x = std::clamp(texel - 0.5, 0.0, 31.0);
    const i32 left = std::min(30, static_cast<i32>(x));
    const f64 part = x - left;
    const f64 a = std::max(0, 8 * left - 40 * channel);
    const f64 b = std::max(0, 8 * (left + 1) - 40 * channel);
    return (a + (b - a) * part) / 255;
}

// What the program makes of a sample and a part of the colour, 0 to 255. Above the ramp a darker colour
// comes out brighter than it is.
f64 shown(f64 c, f64 steep, f64 part)
{
    return 255 * std::fmin(1.0, part * std::pow(std::fmax(0.0, 0.5 + (c - 0.5) * steep), 1 / 2.2));
}

// One row of the window, on which the whole width of the atlas takes `pixels` pixels.
std::vector<u8> drawn_row(const Font& font, i32 pixels)
{
    glClear(GL_COLOR_BUFFER_BIT);
    gfx_overlay_begin();
    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, font.texture);
    program_use(text_program);
    glColor4f(1, 0.8F, 0.6F, 1);
    glBegin(GL_QUADS);
    glTexCoord2f(0, 0);
    glVertex2i(0, 0);
    glTexCoord2f(1, 0);
    glVertex2i(pixels, 0);
    glTexCoord2f(1, 1);
    glVertex2i(pixels, 64);
    glTexCoord2f(0, 1);
    glVertex2i(0, 64);
    glEnd();
    program_use(0);
    glDisable(GL_TEXTURE_2D);
    gfx_overlay_end();
    std::vector<u8> row(static_cast<size_t>(pixels) * 4);
    glReadPixels(0, 30, pixels, 1, GL_RGBA, GL_UNSIGNED_BYTE, row.data());
    return row;
}

} // namespace

TEST(NodeFont_program, sets_the_uniforms_of_a_font)
{
    const ProgramWindow window;
    Font font = {};
    font.texw = 8192;
    font.texh = 64;
    NodeFont_program(&font, 3);
    ASSERT_NE(text_program, 0U);
    EXPECT_EQ(uniform_ints("tex").at(0), 0);
    EXPECT_EQ(uniform_ints("sz"), (std::vector<i32>{8192, 64}));
    EXPECT_EQ(uniform_float("aapix"), 3.0F);
    EXPECT_EQ(uniform_float("dcx"), 0.3F);
}

TEST(NodeFont_program, keeps_its_program_for_the_next_font)
{
    const ProgramWindow window;
    Font font = {};
    NodeFont_program(&font, 3);
    const u32 first = text_program;
    font.texw = 128;
    NodeFont_program(&font, 5);
    EXPECT_EQ(text_program, first);
    EXPECT_EQ(uniform_ints("sz").at(0), 128);
    EXPECT_EQ(uniform_float("aapix"), 5.0F);
}

TEST(NodeFont_program, leaves_the_fixed_pipeline_current)
{
    const ProgramWindow window;
    Font font = {};
    NodeFont_program(&font, 3);
    GLint current = -1;
    glGetIntegerv(GL_CURRENT_PROGRAM, &current);
    EXPECT_EQ(current, 0);
}

TEST(NodeFont_program, is_ready_when_a_font_is_loaded)
{
    const ProgramWindow window;
    const Font* const font = atlas_load();
    EXPECT_NE(text_program, 0U);
    EXPECT_EQ(uniform_ints("sz"), (std::vector<i32>{font->texw, font->texh}));
}

// In a process of its own with a driver too old for programs.
static void load_on_old_driver()
{
    setenv("MESA_GL_VERSION_OVERRIDE", "1.5", 1);
    atlas_window(320, 240);
    const Font* const font = atlas_load();
    std::fprintf(stderr, "program %u, wrong %d, error %x", text_program, check_straight(font).wrong,
                 glGetError());
    std::exit(0);
}

TEST(NodeFont_program, is_none_where_the_driver_has_no_programs)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(load_on_old_driver(), testing::ExitedWithCode(0), "program 0, wrong 0, error 0");
}

TEST(glsl_text, passes_the_reference_compiler_without_a_message)
{
    expect_no_message("vert", glsl_text_vs);
    expect_no_message("frag", glsl_text_fs);
}

TEST(glsl_text, passes_the_driver_without_a_message)
{
    const ProgramWindow window;
    char* vertex = nullptr;
    char* fragment = nullptr;
    char* link = nullptr;
    EXPECT_NE(program_make(glsl_text_vs, glsl_text_fs, &vertex, &fragment, &link), 0U);
    EXPECT_STREQ(vertex, "No information log");
    EXPECT_STREQ(fragment, "No information log");
    EXPECT_TRUE(std::string(link).empty() || std::string(link) == "No information log") << link;
    free(vertex);
    free(fragment);
    free(link);
}

TEST(glsl_text, names_its_version_in_the_first_byte)
{
    EXPECT_EQ(std::string(glsl_text_vs).rfind("#version 120\n"), 0U);
    EXPECT_EQ(std::string(glsl_text_fs).rfind("#version 120\n"), 0U);
}

TEST(glsl_text, keeps_to_what_strict_compilers_take)
{
    for (const std::string text : {glsl_text_vs, glsl_text_fs}) {
        EXPECT_EQ(text.find('%'), std::string::npos);
        EXPECT_EQ(text.find(".0f"), std::string::npos);
        EXPECT_LT(text.size(), 16000U);
    }
}

// Each pixel by the plain formula, at sizes from ten times the atlas down to a quarter of it: red looks
// 0.3 pixels to the left, blue 0.3 to the right, and the ramp is 1.5 pixels wide or its own width.
TEST(glsl_text, steepens_the_ramp_to_a_pixel_and_a_half_with_fringes_of_a_third)
{
    const ProgramWindow window;
    const Font font = ramp_font();
    NodeFont_program(&font, 3);
    for (const i32 pixels : {320, 128, 64, 32, 16, 8}) {
        const std::vector<u8> row = drawn_row(font, pixels);
        const f64 size = 32.0 / pixels; // of a pixel, in texels
        const f64 steep = std::fmax(1.0, 1.5 * 3 / size);
        for (i32 x = 0; x < pixels; x++) {
            for (i32 channel = 0; channel < 3; channel++) {
                const f64 c = ramp_at((x + 0.5 + 0.3 * (channel - 1)) * size, channel);
                const f64 slack = 1.0 / 255;        // filters may work in bytes
                const f64 part = 1 - 0.2 * channel; // of the colour
                const i32 got = row.at(static_cast<size_t>(4 * x + channel));
                EXPECT_GE(got, shown(c - slack, steep, part) - 1) << pixels << " " << x;
                EXPECT_LE(got, shown(c + slack, steep, part) + 1) << pixels << " " << x;
            }
        }
    }
}

TEST(glsl_text, is_white_inside_and_black_outside_where_the_texture_coordinate_stands_still)
{
    const ProgramWindow window;
    const Font* const font = atlas_load();
    for (const bool inside : {true, false}) {
        const f32 s = (static_cast<f32>(font->cellx['I']) + (inside ? 9.0F : 1.0F)) /
                      static_cast<f32>(font->texw);
        const f32 t = 20.5F / static_cast<f32>(font->texh);
        glClear(GL_COLOR_BUFFER_BIT);
        glEnable(GL_TEXTURE_2D);
        glBindTexture(GL_TEXTURE_2D, font->texture);
        program_use(text_program);
        gfx_overlay_begin();
        glColor4f(1, 1, 1, 1);
        glTexCoord2f(s, t);
        glRectf(0, 0, 320, 64);
        gfx_overlay_end();
        program_use(0);
        glDisable(GL_TEXTURE_2D);
        u8 pixel[4];
        glReadPixels(100, 30, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
        for (i32 channel = 0; channel < 3; channel++) {
            EXPECT_EQ(pixel[channel], inside ? 255 : 0);
        }
    }
}
