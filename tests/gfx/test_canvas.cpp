// Which of a driver's formats the scripted back end takes.
#include "gfx/platform/scripted_canvas.h"
#include "tests/gl_state.h"
#include "tests/scripted_window.h"

#include <gtest/gtest.h>

static const CanvasFormat plain = {
    .red = 8, .green = 8, .blue = 8, .alpha = 0, .depth = 24, .stencil = 0, .samples = 0};

TEST(canvas_suitability, refuses_colours_of_other_than_eight_bits)
{
    CanvasFormat ten = plain;
    ten.red = 10;
    EXPECT_GT(canvas_suitability(&plain), 0);
    EXPECT_EQ(canvas_suitability(&ten), 0);
}

TEST(canvas_suitability, refuses_a_depth_of_below_16_bits_and_above_32)
{
    for (const i32 depth : {0, 15, 33, 64}) {
        CanvasFormat other = plain;
        other.depth = depth;
        EXPECT_EQ(canvas_suitability(&other), 0) << depth;
    }
}

TEST(canvas_suitability, refuses_several_samples)
{
    CanvasFormat one = plain;
    CanvasFormat four = plain;
    one.samples = 1;
    four.samples = 4;
    EXPECT_EQ(canvas_suitability(&one), canvas_suitability(&plain));
    EXPECT_EQ(canvas_suitability(&four), 0);
}

TEST(canvas_suitability, puts_no_alpha_before_no_stencil_before_depth)
{
    CanvasFormat deep = plain;
    CanvasFormat stencil = plain;
    CanvasFormat alpha = plain;
    deep.depth = 32;
    stencil.depth = 32;
    stencil.stencil = 8;
    alpha.depth = 32;
    alpha.alpha = 8;
    EXPECT_GT(canvas_suitability(&deep), canvas_suitability(&plain));
    EXPECT_GT(canvas_suitability(&plain), canvas_suitability(&stencil));
    EXPECT_GT(canvas_suitability(&stencil), canvas_suitability(&alpha));
}

TEST(canvas_open, gives_a_format_that_suits)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    GLint bits[4] = {};
    glGetIntegerv(GL_RED_BITS, &bits[0]);
    glGetIntegerv(GL_ALPHA_BITS, &bits[1]);
    glGetIntegerv(GL_DEPTH_BITS, &bits[2]);
    glGetIntegerv(GL_STENCIL_BITS, &bits[3]);
    EXPECT_EQ(bits[0], 8);
    EXPECT_EQ(bits[1], 0);
    EXPECT_GE(bits[2], 24);
    EXPECT_EQ(bits[3], 0);
}

TEST(canvas_resize, keeps_the_context_and_its_lists)
{
    scripted_begin();
    scripted_add({.frame = 1, .kind = SCRIPT_RESIZE, .a = 90, .b = 70});
    const ScriptedWindow window(64, 48);
    const GLuint list = glGenLists(1);
    glNewList(list, GL_COMPILE);
    glEndList();
    gfx_pump();
    EXPECT_EQ(gfx_width, 90);
    EXPECT_EQ(glIsList(list), GL_TRUE);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST(canvas_open, shares_lists_with_the_window_before)
{
    scripted_begin();
    GLuint list = 0;
    {
        const ScriptedWindow first(64, 48);
        list = glGenLists(1);
        glNewList(list, GL_COMPILE);
        glEndList();
    }
    EXPECT_FALSE(gl_current());
    const ScriptedWindow second(64, 48);
    EXPECT_EQ(glIsList(list), GL_TRUE);
    glDeleteLists(list, 1);
}
