// Drivers that lack something, or are old: the environment tells the driver so, each time in a process
// of its own.
#include "base/report.h"
#include "base/rnd.h"
#include "gfx/gl/shaderprocs.h"
#include "gfx/offscreen.h"
#include "gfx/textures.h"
#include "tests/fakes/gl_textures.h"
#include "tests/mipmaps.h"
#include "tests/scripted_window.h"

#include <GL/glext.h>

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>

// On a driver of OpenGL 2.1 without seamless cube maps; exits with the error that is left.
static void open_without_seamless()
{
    setenv("MESA_GL_VERSION_OVERRIDE", "2.1", 1);
    setenv("MESA_EXTENSION_OVERRIDE", "-GL_ARB_seamless_cube_map", 1);
    scripted_begin();
    gfx_open(64, 48, "test");
    std::fprintf(stderr, "version %.3s error %x", glGetString(GL_VERSION), glGetError());
    std::exit(0);
}

TEST(gfx_open, leaves_no_error_on_a_driver_without_seamless_cube_maps)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(open_without_seamless(), testing::ExitedWithCode(0), "version 2.1 error 0");
}

static void tell_way()
{
    i32 bottom = -1;
    offscreen_begin(20, 10, &bottom);
    std::fprintf(stderr, "framebuffers %d bottom %d error %x", have_framebuffers, bottom,
                 glGetError());
    offscreen_end();
    std::exit(0);
}

static void draw_without_extension()
{
    setenv("MESA_EXTENSION_OVERRIDE", "-GL_ARB_framebuffer_object", 1);
    scripted_begin();
    windowed = true;
    gfx_open(64, 48, "test");
    tell_way();
}

TEST(offscreen_begin, takes_the_back_buffer_without_the_extension)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(draw_without_extension(), testing::ExitedWithCode(0),
                "framebuffers 0 bottom 38 error 0");
}

static const char good_vertex[] = "void main() { gl_Position = ftransform(); }";
static const char good_fragment[] = "void main() { gl_FragColor = vec4(1.0, 0.5, 0.0, 1.0); }";

// In a process of its own with a driver that claims a version.
static void claim_version(const char* version)
{
    setenv("MESA_GL_VERSION_OVERRIDE", version, 1);
    report_fatal_wait = 0;
    scripted_begin();
    gfx_open(16, 12, "test");
}

static void make_programs(const char* version)
{
    claim_version(version);
    const char* const texts[] = {good_fragment};
    const GLuint first = program_make(good_vertex, good_fragment, nullptr, nullptr, nullptr);
    const GLuint second = program_make_fragment(good_fragment, nullptr, nullptr);
    const GLuint third = program_make_lists(nullptr, 0, texts, 1);
    program_use(1);
    std::fprintf(stderr, "%.3s: %d %d %d, error %x, loaded %d", glGetString(GL_VERSION), first != 0,
                 second != 0, third != 0, glGetError(), shaders_loaded);
    std::exit(0);
}

TEST(program_make, returns_zero_below_version_two)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(make_programs("1.5"), testing::ExitedWithCode(0), "1.5: 0 0 0, error 0, loaded 0");
}

TEST(program_make, takes_a_version_text_with_words_behind_the_number)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(make_programs("2.1"), testing::ExitedWithCode(0), "2.1: 1 1 1, error 0, loaded 1");
}

TEST(program_make, takes_version_two_itself)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(make_programs("2.0"), testing::ExitedWithCode(0), "2.0: 1 1 1, error 0, loaded 1");
}

static void load_below_two()
{
    claim_version("1.5");
    report_to_stderr();
    shaders_load();
}

TEST(shaders_load, is_fatal_below_version_two)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(load_below_two(), testing::ExitedWithCode(1),
                "<shaderprocs 46 5 OpenGL version 2\\.0 or higher required for shaders; you have "
                "version 1\\.5>");
}

// In a process of its own with a driver that lacks some extensions.
static void make_without(const char* lacked)
{
    setenv("MESA_EXTENSION_OVERRIDE", lacked, 1);
    gl_textures.renderer = "a card";
    scripted_begin();
    windowed = true;
    gfx_open(64, 48, "test");
    const GLuint name = tex_noise(32, 16);
    glBindTexture(GL_TEXTURE_2D, name);
    std::fprintf(stderr, "mipmaps %d off by %d, anisotropy %d of %g, error %x",
                 have_generate_mipmap, chain_difference(3), have_anisotropy,
                 static_cast<f64>(max_anisotropy), glGetError());
    std::exit(0);
}

TEST(tex_noise, is_complete_without_the_drivers_mipmaps)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(make_without("-GL_SGIS_generate_mipmap"), testing::ExitedWithCode(0),
                "mipmaps 0 off by 0, anisotropy 1 of 16, error 0");
}

TEST(tex_noise, is_complete_without_anisotropy)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(make_without("-GL_EXT_texture_filter_anisotropic"), testing::ExitedWithCode(0),
                "mipmaps 1 off by [01], anisotropy 0 of 0, error 0");
}

TEST(tex_noise, is_complete_without_both)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(make_without("-GL_SGIS_generate_mipmap -GL_EXT_texture_filter_anisotropic"),
                testing::ExitedWithCode(0), "mipmaps 0 off by 0, anisotropy 0 of 0, error 0");
}
