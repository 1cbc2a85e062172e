#include "gfx/offscreen.h"
#include "gfx/textures.h"
#include "tests/gl_state.h"
#include "tests/scripted_window.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace
{

// A window painted in one colour, and the way to draw pictures.
struct PaintedWindow {
    explicit PaintedWindow(i32 framebuffers)
    {
        scripted_begin();
        windowed = true;
        gfx_open(64, 48, "test");
        have_framebuffers = framebuffers;
        paint();
    }
    PaintedWindow(const PaintedWindow&) = delete;
    PaintedWindow& operator=(const PaintedWindow&) = delete;
    ~PaintedWindow()
    {
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        have_framebuffers = -1;
        gfx_close();
    }
    static void paint()
    {
        glClearColor(0.2F, 0.4F, 0.6F, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glClearColor(0, 0, 0, 0);
    }
};

const u32 painted = 0x336699;

u32 pixel(i32 x, i32 y)
{
    u8 rgb[3] = {1, 2, 3};
    glReadPixels(x, y, 1, 1, GL_RGB, GL_UNSIGNED_BYTE, rgb);
    return static_cast<u32>(rgb[0]) << 16 | static_cast<u32>(rgb[1]) << 8 | rgb[2];
}

// How many pixels of a part of the framebuffer have a colour.
i32 count(u32 colour, i32 left, i32 bottom, i32 width, i32 height)
{
    i32 found = 0;
    for (i32 y = bottom; y < bottom + height; y++) {
        for (i32 x = left; x < left + width; x++) {
            found += pixel(x, y) == colour ? 1 : 0;
        }
    }
    return found;
}

} // namespace

TEST(offscreen_begin, finds_out_whether_the_driver_has_framebuffer_objects)
{
    const PaintedWindow window(-1);
    i32 bottom = -1;
    offscreen_begin(10, 10, &bottom);
    offscreen_end();
    EXPECT_EQ(have_framebuffers, gl_hasextension("GL_ARB_framebuffer_object") ? 1 : 0);
    EXPECT_EQ(have_framebuffers, 1);
}

TEST(offscreen_begin, makes_a_picture_of_its_own_size)
{
    const PaintedWindow window(1);
    i32 bottom = -1;
    offscreen_begin(100, 80, &bottom); // larger than the window
    GLint view[4];
    glGetIntegerv(GL_VIEWPORT, view);
    EXPECT_EQ(bottom, 0);
    EXPECT_EQ(gfx_width, 100);
    EXPECT_EQ(gfx_height, 80);
    EXPECT_EQ(view[2], 100);
    EXPECT_EQ(view[3], 80);
    EXPECT_EQ(count(0, 0, 0, 100, 80), 8000);
    glClearColor(1, 1, 1, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    EXPECT_EQ(pixel(99, 79), 0xFFFFFFU);
    offscreen_end();
}

TEST(offscreen_begin, puts_the_picture_into_the_upper_left_corner_of_the_back_buffer)
{
    const PaintedWindow window(0);
    i32 bottom = -1;
    offscreen_begin(20, 10, &bottom);
    EXPECT_EQ(bottom, 38);
    EXPECT_EQ(gfx_width, 64);
    EXPECT_EQ(gfx_height, 48);
    EXPECT_EQ(count(0, 0, 38, 20, 10), 200);
    EXPECT_EQ(count(painted, 0, 0, 64, 48), 64 * 48 - 200);
    offscreen_end();
}

TEST(offscreen_begin, makes_the_picture_that_fits_where_it_is_larger_than_the_back_buffer)
{
    const PaintedWindow window(0);
    i32 bottom = -1;
    offscreen_begin(100, 80, &bottom);
    EXPECT_EQ(bottom, -32);
    EXPECT_EQ(count(0, 0, 0, 64, 48), 64 * 48);
    offscreen_end();
}

TEST(offscreen_begin, falls_back_to_the_back_buffer_at_a_size_that_the_driver_refuses)
{
    const PaintedWindow window(1);
    i32 bottom = -1;
    offscreen_begin(1000000, 10, &bottom);
    EXPECT_EQ(bottom, 38);
    EXPECT_EQ(gfx_width, 64);
    EXPECT_EQ(count(0, 0, 38, 64, 10), 640);
    offscreen_end();
    EXPECT_EQ(pixel(5, 5), painted);
}

TEST(offscreen_begin, clears_whatever_masks_are_set)
{
    for (const i32 framebuffers : {0, 1}) {
        const PaintedWindow window(framebuffers);
        gl_disturb();
        i32 bottom = -1;
        offscreen_begin(20, 10, &bottom);
        EXPECT_EQ(count(0, 0, bottom, 20, 10), 200) << framebuffers;
        f32 depth = 0;
        glReadPixels(3, bottom + 3, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
        EXPECT_EQ(depth, 1.0F);
        offscreen_end();
    }
}

TEST(offscreen_begin, fills_polygons_all_over_the_picture)
{
    for (const i32 framebuffers : {0, 1}) {
        const PaintedWindow window(framebuffers);
        glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
        glEnable(GL_SCISSOR_TEST);
        glScissor(0, 0, 1, 1);
        glViewport(3, 4, 5, 6);
        i32 bottom = -1;
        offscreen_begin(20, 10, &bottom);
        gfx_overlay_begin();
        glColor3f(1, 1, 1);
        glRecti(0, 0, 20, 10);
        gfx_overlay_end();
        EXPECT_EQ(count(0xFFFFFF, 0, bottom, 20, 10), 200) << framebuffers;
        offscreen_end();
    }
}

TEST(offscreen_end, leaves_the_state_as_it_was)
{
    for (const i32 framebuffers : {0, 1}) {
        const PaintedWindow window(framebuffers);
        gl_disturb();
        const std::string before = gl_state();
        i32 bottom = -1;
        offscreen_begin(20, 10, &bottom);
        EXPECT_NE(gl_state(), before);
        offscreen_end();
        EXPECT_EQ(gl_state(), before);
    }
}

TEST(offscreen_end, leaves_the_window_as_it_was_where_there_are_framebuffer_objects)
{
    const PaintedWindow window(1);
    i32 bottom = -1;
    offscreen_begin(20, 10, &bottom);
    offscreen_end();
    EXPECT_EQ(count(painted, 0, 0, 64, 48), 64 * 48);
}

TEST(offscreen_end, clears_the_back_buffers_part_whatever_the_drawing_has_set)
{
    const PaintedWindow window(0);
    i32 bottom = -1;
    offscreen_begin(20, 10, &bottom);
    glClearColor(1, 1, 1, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    PaintedWindow::paint();
    gl_disturb();
    offscreen_end();
    EXPECT_EQ(count(0, 0, 38, 20, 10), 200);
    EXPECT_EQ(count(painted, 0, 0, 64, 48), 64 * 48 - 200);
}

TEST(offscreen_end, returns_to_the_framebuffer_that_was_current)
{
    const PaintedWindow window(1);
    const auto generate =
        reinterpret_cast<PFNGLGENFRAMEBUFFERSPROC>(platform->glproc("glGenFramebuffers"));
    const auto bind =
        reinterpret_cast<PFNGLBINDFRAMEBUFFERPROC>(platform->glproc("glBindFramebuffer"));
    GLuint mine = 0;
    generate(1, &mine);
    bind(GL_FRAMEBUFFER, mine);
    i32 bottom = -1;
    offscreen_begin(20, 10, &bottom);
    offscreen_end();
    GLint now = 0;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &now);
    EXPECT_EQ(now, static_cast<GLint>(mine));
    bind(GL_FRAMEBUFFER, 0);
}

TEST(offscreen_begin, can_be_called_many_times)
{
    const PaintedWindow window(1);
    for (i32 i = 1; i < 200; i++) {
        i32 bottom = -1;
        offscreen_begin(i, 200 - i, &bottom);
        offscreen_end();
    }
    EXPECT_EQ(pixel(5, 5), painted);
}

// In a process of its own: a driver that lacks a routine.
static void tell_way()
{
    i32 bottom = -1;
    offscreen_begin(20, 10, &bottom);
    std::fprintf(stderr, "framebuffers %d bottom %d error %x", have_framebuffers, bottom,
                 glGetError());
    offscreen_end();
    std::exit(0);
}

static void* lack_renderbuffers(const char* name)
{
    return std::strstr(name, "Renderbuffer") != nullptr ? nullptr : platform_scripted.glproc(name);
}

static void draw_without_routine()
{
    static Platform lacking = platform_scripted;
    lacking.glproc = lack_renderbuffers;
    scripted_begin();
    windowed = true;
    gfx_open(64, 48, "test");
    platform_use(&lacking);
    tell_way();
}

TEST(offscreen_begin, takes_the_back_buffer_where_a_routine_is_missing)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(draw_without_routine(), testing::ExitedWithCode(0),
                "framebuffers 0 bottom 38 error 0");
}
