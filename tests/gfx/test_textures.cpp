#include "base/rnd.h"
#include "gfx/offscreen.h"
#include "gfx/platform.h"
#include "gfx/textures.h"
#include "tests/fakes/gl_textures.h"
#include "tests/gl_state.h"
#include "tests/mipmaps.h"
#include "tests/scripted_window.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

namespace
{

// A window and what is known of its driver, which the next test finds out anew.
struct TextureWindow {
    TextureWindow()
    {
        scripted_begin();
        windowed = true;
        gfx_open(64, 48, "test");
        forget();
    }
    TextureWindow(const TextureWindow&) = delete;
    TextureWindow& operator=(const TextureWindow&) = delete;
    ~TextureWindow()
    {
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        forget();
        gfx_close();
    }
    static void forget()
    {
        tex_plain_format = 1;
        have_generate_mipmap = -1;
        have_anisotropy = -1;
        have_framebuffers = -1;
        max_anisotropy = 0;
        gl_textures.renderer = "a card";
    }
};

struct Size {
    i32 width, height;
};

// What a small quad shows under the bound texture: the colour 0xRRGGBB of a pixel.
u32 shown()
{
    glEnable(GL_TEXTURE_2D);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    glClear(GL_COLOR_BUFFER_BIT);
    gfx_overlay_begin();
    glBegin(GL_QUADS);
    glTexCoord2i(0, 0);
    glVertex2i(0, 0);
    glTexCoord2i(1, 0);
    glVertex2i(2, 0);
    glTexCoord2i(1, 1);
    glVertex2i(2, 2);
    glTexCoord2i(0, 1);
    glVertex2i(0, 2);
    glEnd();
    gfx_overlay_end();
    glDisable(GL_TEXTURE_2D);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    u8 rgb[3];
    glReadPixels(0, 47, 1, 1, GL_RGB, GL_UNSIGNED_BYTE, rgb);
    return static_cast<u32>(rgb[0]) << 16 | static_cast<u32>(rgb[1]) << 8 | rgb[2];
}

f32 anisotropy()
{
    f32 value = -1;
    glGetTexParameterfv(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT, &value);
    return value;
}

f32 anisotropy_limit()
{
    f32 limit = -1;
    glGetFloatv(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, &limit);
    return limit;
}

i32 parameter(GLenum name)
{
    GLint value = 0;
    glGetTexParameteriv(GL_TEXTURE_2D, name, &value);
    return value;
}

} // namespace

TEST(gl_hasextension, finds_a_name_in_the_drivers_list)
{
    const TextureWindow window;
    EXPECT_TRUE(gl_hasextension("GL_EXT_texture_filter_anisotropic"));
    EXPECT_FALSE(gl_hasextension("GL_NO_such_thing"));
}

TEST(gl_hasextension, takes_a_part_of_a_name_as_found)
{
    const TextureWindow window;
    EXPECT_TRUE(gl_hasextension("GL_EXT_texture_filter_aniso"));
}

TEST(tex_powerabove, is_the_least_power_of_two_that_holds_a_size)
{
    EXPECT_EQ(tex_powerabove(0), 1);
    EXPECT_EQ(tex_powerabove(1), 1);
    EXPECT_EQ(tex_powerabove(3), 4);
    EXPECT_EQ(tex_powerabove(1024), 1024);
    EXPECT_EQ(tex_powerabove(1025), 2048);
}

TEST(tex_stride, pads_rows_to_multiples_of_4)
{
    EXPECT_EQ(tex_stride(1, 1), 4);
    EXPECT_EQ(tex_stride(4, 1), 4);
    EXPECT_EQ(tex_stride(5, 3), 16);
    EXPECT_EQ(tex_stride(3, 2), 8);
    EXPECT_EQ(tex_stride(7, 4), 28);
}

TEST(tex_internalformat, is_the_count_or_the_sized_format)
{
    const GLint sized[] = {GL_LUMINANCE8, GL_LUMINANCE8_ALPHA8, GL_RGB8, GL_RGBA8};
    for (i32 components = 1; components <= 4; components++) {
        tex_plain_format = 1;
        EXPECT_EQ(tex_internalformat(components), components);
        tex_plain_format = 0;
        EXPECT_EQ(tex_internalformat(components), sized[components - 1]);
    }
    tex_plain_format = 1;
}

TEST(tex_upload, keeps_the_bytes_as_level_0)
{
    const TextureWindow window;
    for (const i32 plain : {0, 1}) {
        for (i32 components = 1; components <= 4; components++) {
            tex_plain_format = plain;
            bound_texture();
            const Image image = random_image(components, 5, 3);
            upload(image);
            EXPECT_EQ(difference(level_of(0, components), image), 0) << components;
        }
    }
}

TEST(tex_upload, clears_an_error_that_stands_before)
{
    const TextureWindow window;
    bound_texture();
    glEnable(0xFFFF); // an error
    upload(random_image(3, 4, 4));
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST(tex_upload, makes_mipmaps_in_software_by_the_plain_formula)
{
    const TextureWindow window;
    have_generate_mipmap = 0;
    for (const i32 plain : {0, 1}) {
        for (const Size size : {Size{8, 8}, Size{16, 2}, Size{1, 32}, Size{64, 1}, Size{5, 3},
                                Size{7, 9}, Size{33, 17}, Size{2, 1}}) {
            for (i32 components = 1; components <= 4; components++) {
                tex_plain_format = plain;
                bound_texture();
                upload(random_image(components, size.width, size.height));
                EXPECT_EQ(chain_difference(components), 0)
                    << components << " " << size.width << " " << size.height;
            }
        }
    }
}

TEST(tex_upload, makes_the_same_mipmaps_by_the_driver)
{
    const TextureWindow window;
    for (i32 components = 1; components <= 4; components++) {
        bound_texture();
        upload(random_image(components, 32, 8));
        EXPECT_EQ(have_generate_mipmap, 1);
        EXPECT_LE(chain_difference(components), 1) << components; // it may round otherwise
    }
}

TEST(tex_upload, makes_textures_complete_in_both_ways)
{
    const TextureWindow window;
    for (const i32 driver : {0, 1}) {
        for (const i32 plain : {0, 1}) {
            have_generate_mipmap = driver;
            tex_plain_format = plain;
            bound_texture();
            Image image = blank_image(3, 32, 32);
            for (i32 i = 0; i < 32 * 32; i++) {
                image.at(i % 32, i / 32, 0) = 255;
                image.at(i % 32, i / 32, 1) = i % 2 == 0 ? 128 : 0; // 64 in the mean
            }
            upload(image);
            EXPECT_EQ(shown(), 0xFF4000U) << driver << plain;
        }
    }
}

TEST(tex_box_mipmaps, makes_none_below_an_image_of_1_by_1)
{
    const TextureWindow window;
    have_generate_mipmap = 0;
    bound_texture();
    upload(random_image(3, 1, 1));
    EXPECT_EQ(level_width(0), 1);
    EXPECT_EQ(level_width(1), 0);
}

TEST(tex_box_mipmaps, makes_2_by_1_and_1_by_1_below_5_by_3)
{
    const TextureWindow window;
    have_generate_mipmap = 0;
    bound_texture();
    upload(random_image(3, 5, 3));
    EXPECT_EQ(level_of(1, 3).width, 2);
    EXPECT_EQ(level_of(1, 3).height, 1);
    EXPECT_EQ(level_of(2, 3).width, 1);
    EXPECT_EQ(level_of(2, 3).height, 1);
    EXPECT_EQ(level_width(3), 0);
}

// The column 4 and the row 2 of 5 by 3 are white, all else black.
TEST(tex_box_mipmaps, leaves_the_last_row_and_column_of_an_odd_image_out)
{
    const TextureWindow window;
    have_generate_mipmap = 0;
    bound_texture();
    Image image = blank_image(1, 5, 3);
    for (i32 i = 0; i < 15; i++) {
        image.at(i % 5, i / 5, 0) = i % 5 == 4 || i / 5 == 2 ? 255 : 0;
    }
    upload(image);
    Image level = level_of(1, 1);
    EXPECT_EQ(level.at(0, 0, 0), 0);
    EXPECT_EQ(level.at(1, 0, 0), 0);
}

TEST(tex_box_mipmaps, rounds_halves_up)
{
    const TextureWindow window;
    have_generate_mipmap = 0;
    bound_texture();
    Image image = blank_image(1, 2, 2);
    image.bytes = {3, 0, 0, 0, 3, 0, 0, 0}; // 6 / 4
    upload(image);
    EXPECT_EQ(level_of(1, 1).at(0, 0, 0), 2);
}

TEST(tex_box_mipmaps, overwrites_only_the_image)
{
    const TextureWindow window;
    bound_texture();
    for (const Size size : {Size{5, 3}, Size{1, 9}, Size{9, 1}, Size{31, 6}}) {
        Image image = random_image(3, size.width, size.height);
        const size_t length = image.bytes.size();
        image.bytes.resize(length + 64, 0xA5);
        tex_box_mipmaps(GL_TEXTURE_2D, 3, size.width, size.height, image.bytes.data());
        EXPECT_EQ(Bytes(image.bytes.begin() + static_cast<i32>(length), image.bytes.end()),
                  Bytes(64, 0xA5));
    }
}

TEST(tex_make_mipmaps, asks_the_driver_for_the_extension_once)
{
    const TextureWindow window;
    bound_texture();
    upload(random_image(3, 4, 4));
    EXPECT_EQ(have_generate_mipmap, gl_hasextension("GL_SGIS_generate_mipmap") ? 1 : 0);
    have_generate_mipmap = 0;
    upload(random_image(3, 4, 4));
    EXPECT_EQ(have_generate_mipmap, 0);
}

TEST(tex_make_mipmaps_plainly, keeps_the_format_of_level_0)
{
    const TextureWindow window;
    for (const GLint format :
         {GL_RGBA8, 4, GL_RGB8, 3, GL_LUMINANCE8_ALPHA8, 2, GL_LUMINANCE8, 1}) {
        bound_texture();
        const i32 components = format <= 4                      ? format
                               : format == GL_RGBA8             ? 4
                               : format == GL_RGB8              ? 3
                               : format == GL_LUMINANCE8_ALPHA8 ? 2
                                                                : 1;
        const Image image = random_image(components, 16, 8);
        glTexImage2D(GL_TEXTURE_2D, 0, format, 16, 8, 0, pixel_format(components), GL_UNSIGNED_BYTE,
                     image.bytes.data());
        tex_make_mipmaps_plainly(GL_TEXTURE_2D);
        EXPECT_EQ(chain_difference(components), 0) << format;
        for (i32 level = 0; level <= 4; level++) {
            GLint has = 0;
            glGetTexLevelParameteriv(GL_TEXTURE_2D, level, GL_TEXTURE_INTERNAL_FORMAT, &has);
            EXPECT_EQ(has, format) << level;
        }
    }
}

TEST(tex_make_mipmaps_plainly, takes_any_other_format_as_three_components)
{
    const TextureWindow window;
    bound_texture();
    const Image image = random_image(3, 8, 8);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, 8, 8, 0, GL_RGB, GL_UNSIGNED_BYTE, image.bytes.data());
    tex_make_mipmaps_plainly(GL_TEXTURE_2D);
    EXPECT_EQ(chain_difference(3), 0);
}

TEST(tex_make_mipmaps, makes_those_of_all_faces_of_a_cube_in_both_ways)
{
    const TextureWindow window;
    for (const i32 driver : {0, 1}) {
        have_generate_mipmap = driver;
        bound_texture(GL_TEXTURE_CUBE_MAP);
        for (u32 face = 0; face < 6; face++) {
            const Image image = random_image(3, 16, 16, 100 + face);
            glTexImage2D(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, 0, GL_RGB8, 16, 16, 0, GL_RGB,
                         GL_UNSIGNED_BYTE, image.bytes.data());
        }
        tex_make_mipmaps(GL_TEXTURE_CUBE_MAP);
        for (u32 face = 0; face < 6; face++) {
            const GLenum target = GL_TEXTURE_CUBE_MAP_POSITIVE_X + face;
            EXPECT_EQ(difference(level_of(0, 3, target), random_image(3, 16, 16, 100 + face)), 0);
            EXPECT_LE(chain_difference(3, target), driver) << face;
        }
    }
}

TEST(tex_make_mipmaps_plainly, does_nothing_for_a_texture_without_an_image)
{
    const TextureWindow window;
    bound_texture();
    tex_make_mipmaps_plainly(GL_TEXTURE_2D);
    EXPECT_EQ(level_width(0), 0);
    EXPECT_EQ(level_width(1), 0);
}

TEST(tex_set_anisotropy, raises_it_to_the_cards_limit)
{
    const TextureWindow window;
    bound_texture();
    ASSERT_GT(anisotropy_limit(), 1.0F);
    EXPECT_EQ(anisotropy(), 1.0F);
    tex_set_anisotropy(GL_TEXTURE_2D);
    EXPECT_EQ(have_anisotropy, 1);
    EXPECT_EQ(max_anisotropy, anisotropy_limit());
    EXPECT_EQ(anisotropy(), anisotropy_limit());
}

TEST(tex_set_anisotropy, leaves_the_default_where_OpenGL_is_drawn_in_software)
{
    const TextureWindow window;
    bound_texture();
    gl_textures.renderer = "llvmpipe (LLVM 15.0.6, 256 bits)";
    tex_set_anisotropy(GL_TEXTURE_2D);
    EXPECT_EQ(have_anisotropy, 0);
    EXPECT_EQ(anisotropy(), 1.0F);
}

TEST(tex_set_anisotropy, reads_the_limit_once)
{
    const TextureWindow window;
    bound_texture();
    max_anisotropy = 2;
    tex_set_anisotropy(GL_TEXTURE_2D);
    EXPECT_EQ(anisotropy(), 2.0F);
}

TEST(tex_set_anisotropy, leaves_the_default_without_the_extension)
{
    const TextureWindow window;
    bound_texture();
    have_anisotropy = 0;
    tex_set_anisotropy(GL_TEXTURE_2D);
    EXPECT_EQ(anisotropy(), 1.0F);
    EXPECT_EQ(max_anisotropy, 0.0F);
}

TEST(tex_noise, draws_six_numbers_a_pixel_from_the_last_pixel_to_the_first)
{
    const TextureWindow window;
    rnd_seed(42);
    glBindTexture(GL_TEXTURE_2D, tex_noise(5, 3)); // rows have padding
    const u32 state = rnd_state();
    rnd_seed(42);
    Image want = blank_image(3, 5, 3);
    for (i32 pixel = 14; pixel >= 0; pixel--) {
        for (i32 c = 0; c < 3; c++) {
            const f64 fine = rnd_draw() * std::pow(2.0, -15);
            const f64 coarse = rnd_draw();
            const f64 value = std::floor((fine + coarse) * std::pow(2.0, -7));
            want.at(pixel % 5, pixel / 5, c) = static_cast<u8>(std::min(255.0, value));
        }
    }
    EXPECT_EQ(difference(level_of(0, 3), want), 0);
    EXPECT_EQ(rnd_state(), state);
}

TEST(tex_noise, takes_all_values_alike)
{
    const TextureWindow window;
    rnd_seed(1);
    glBindTexture(GL_TEXTURE_2D, tex_noise(256, 256));
    const Image image = level_of(0, 3);
    std::vector<i32> counts(256);
    for (const u8 byte : image.bytes) {
        counts.at(byte)++;
    }
    EXPECT_GT(*std::min_element(counts.begin(), counts.end()), 600); // 768 in the mean
    EXPECT_LT(*std::max_element(counts.begin(), counts.end()), 950);
}

TEST(tex_noise, repeats_and_filters)
{
    const TextureWindow window;
    glBindTexture(GL_TEXTURE_2D, tex_noise(16, 16));
    EXPECT_EQ(parameter(GL_TEXTURE_WRAP_S), GL_REPEAT);
    EXPECT_EQ(parameter(GL_TEXTURE_WRAP_T), GL_REPEAT);
    EXPECT_EQ(parameter(GL_TEXTURE_MIN_FILTER), GL_LINEAR_MIPMAP_LINEAR);
    EXPECT_EQ(parameter(GL_TEXTURE_MAG_FILTER), GL_LINEAR);
    EXPECT_EQ(anisotropy(), anisotropy_limit());
}

TEST(tex_noise, makes_another_texture_at_each_call)
{
    const TextureWindow window;
    const GLuint first = tex_noise(4, 4);
    EXPECT_NE(tex_noise(8, 8), first);
}

TEST(tex_blend_equation, sets_the_equation)
{
    const TextureWindow window;
    EXPECT_TRUE(tex_blend_equation(GL_MAX));
    GLint equation = 0;
    glGetIntegerv(GL_BLEND_EQUATION, &equation);
    EXPECT_EQ(equation, GL_MAX);
    tex_blend_equation(GL_FUNC_ADD);
}

static void blend_without_routine()
{
    scripted_begin();
    gfx_open(64, 48, "test");
    lack_equation();
    const bool set = tex_blend_equation(GL_MAX);
    GLint equation = 0;
    glGetIntegerv(GL_BLEND_EQUATION, &equation);
    std::fprintf(stderr, "set %d, sum %d, error %x", set, equation == GL_FUNC_ADD, glGetError());
    std::exit(0);
}

TEST(tex_blend_equation, does_nothing_where_the_driver_lacks_it)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(blend_without_routine(), testing::ExitedWithCode(0), "set 0, sum 1, error 0");
}

// Green, with a red rectangle of 10 by 4 in the upper left corner; notes what it is called with.
struct DrawCall {
    i32 width, height, a, calls;
};
static void draw_corner(i32 width, i32 height, i32 a, void* b)
{
    DrawCall* const call = static_cast<DrawCall*>(b);
    *call = {width, height, a, call->calls + 1};
    glColor3f(0, 1, 0);
    glRecti(0, 0, width, height);
    glColor3f(1, 0, 0);
    glRecti(0, 0, 10, 4);
}

static GLuint corner_texture(i32 width, i32 height)
{
    DrawCall call = {};
    return tex_from_drawing(draw_corner, 0, &call, width, height);
}

// Rows count from t = 0, which is the bottom of the drawing.
static i32 wrong_corner_pixels(i32 width, i32 height)
{
    Image image = level_of(0, 4);
    if (image.width != width || image.height != height) {
        return -1;
    }
    i32 wrong = 0;
    for (i32 y = 0; y < height; y++) {
        for (i32 x = 0; x < width; x++) {
            const bool red = x < 10 && y >= height - 4;
            wrong += image.at(x, y, 0) != (red ? 255 : 0) || image.at(x, y, 1) != (red ? 0 : 255);
        }
    }
    return wrong;
}

TEST(tex_from_drawing, shows_the_drawing_upright_in_both_ways)
{
    for (const i32 framebuffers : {0, 1}) {
        const TextureWindow window;
        have_framebuffers = framebuffers;
        glBindTexture(GL_TEXTURE_2D, corner_texture(32, 16));
        EXPECT_EQ(wrong_corner_pixels(32, 16), 0) << framebuffers;
    }
}

TEST(tex_from_drawing, makes_a_texture_of_the_windows_size_in_both_ways)
{
    for (const i32 framebuffers : {0, 1}) {
        const TextureWindow window;
        have_framebuffers = framebuffers;
        glBindTexture(GL_TEXTURE_2D, corner_texture(64, 48));
        EXPECT_EQ(wrong_corner_pixels(64, 48), 0) << framebuffers;
    }
}

TEST(tex_from_drawing, makes_a_texture_larger_than_the_window_where_there_are_framebuffer_objects)
{
    const TextureWindow window;
    glBindTexture(GL_TEXTURE_2D, corner_texture(512, 256));
    EXPECT_EQ(wrong_corner_pixels(512, 256), 0);
}

TEST(tex_from_drawing, does_not_fail_on_a_window_that_is_too_small)
{
    const TextureWindow window;
    have_framebuffers = 0;
    glBindTexture(GL_TEXTURE_2D, corner_texture(128, 128));
    Image image = level_of(0, 4);
    ASSERT_EQ(image.width, 128);
    EXPECT_EQ(image.at(5, 126, 0), 255); // what fits stands in its place
    EXPECT_EQ(image.at(40, 100, 1), 255);
}

TEST(tex_from_drawing, fills_polygons_while_the_polygon_mode_is_lines)
{
    for (const i32 framebuffers : {0, 1}) {
        const TextureWindow window;
        have_framebuffers = framebuffers;
        glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
        glBindTexture(GL_TEXTURE_2D, corner_texture(32, 16));
        EXPECT_EQ(wrong_corner_pixels(32, 16), 0) << framebuffers;
        GLint mode[2];
        glGetIntegerv(GL_POLYGON_MODE, mode);
        EXPECT_EQ(mode[0], GL_LINE);
        EXPECT_EQ(mode[1], GL_LINE);
    }
}

TEST(tex_from_drawing, draws_all_of_it_while_the_viewport_is_a_part_of_the_window)
{
    for (const i32 framebuffers : {0, 1}) {
        const TextureWindow window;
        have_framebuffers = framebuffers;
        glViewport(10, 10, 20, 20);
        glEnable(GL_SCISSOR_TEST);
        glScissor(0, 0, 3, 3);
        glColorMask(GL_FALSE, GL_TRUE, GL_TRUE, GL_TRUE); // as one eye's colours have it
        glBindTexture(GL_TEXTURE_2D, corner_texture(32, 16));
        EXPECT_EQ(wrong_corner_pixels(32, 16), 0) << framebuffers;
    }
}

TEST(tex_from_drawing, calls_the_drawing_once_with_size_and_arguments)
{
    const TextureWindow window;
    DrawCall call = {};
    tex_from_drawing(draw_corner, 17, &call, 32, 16);
    EXPECT_EQ(call.calls, 1);
    EXPECT_EQ(call.width, 32);
    EXPECT_EQ(call.height, 16);
    EXPECT_EQ(call.a, 17);
}

TEST(tex_from_drawing, repeats_and_filters_with_all_levels_in_both_ways)
{
    for (const i32 driver : {0, 1}) {
        const TextureWindow window;
        have_generate_mipmap = driver;
        glBindTexture(GL_TEXTURE_2D, corner_texture(32, 16));
        EXPECT_EQ(parameter(GL_TEXTURE_WRAP_S), GL_REPEAT);
        EXPECT_EQ(parameter(GL_TEXTURE_WRAP_T), GL_REPEAT);
        EXPECT_EQ(parameter(GL_TEXTURE_MIN_FILTER), GL_LINEAR_MIPMAP_LINEAR);
        EXPECT_EQ(parameter(GL_TEXTURE_MAG_FILTER), GL_LINEAR);
        EXPECT_EQ(anisotropy(), anisotropy_limit());
        EXPECT_LE(chain_difference(4), driver);
        EXPECT_NE(shown(), 0U); // a texture that isn't complete shows black
    }
}

TEST(tex_from_drawing, leaves_the_state_as_it_was_but_for_the_bound_texture_and_the_colour)
{
    for (const i32 framebuffers : {0, 1}) {
        const TextureWindow window;
        have_framebuffers = framebuffers;
        gl_disturb();
        glBindTexture(GL_TEXTURE_2D, 0);
        const std::string before = gl_state();
        corner_texture(32, 16);
        glBindTexture(GL_TEXTURE_2D, 0);
        glColor4f(0.1F, 0.2F, 0.3F, 0.4F);
        EXPECT_EQ(gl_state(), before);
    }
}

TEST(tex_from_drawing, clears_what_it_drew_in_the_back_buffer)
{
    const TextureWindow window;
    have_framebuffers = 0;
    corner_texture(32, 16);
    Bytes pixels(size_t{64} * 48 * 3, 1);
    glReadPixels(0, 0, 64, 48, GL_RGB, GL_UNSIGNED_BYTE, pixels.data());
    EXPECT_EQ(pixels, Bytes(size_t{64} * 48 * 3));
}
