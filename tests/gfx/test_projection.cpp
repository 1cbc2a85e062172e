#include "gfx/projection.h"
#include "gfx/screenshot.h"
#include "tests/scripted_window.h"

#include <GL/gl.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>

struct Matrix {
    f32 m[16];
};

static Matrix projection()
{
    Matrix out;
    glGetFloatv(GL_PROJECTION_MATRIX, out.m);
    return out;
}

static i32 matrix_mode()
{
    i32 mode = 0;
    glGetIntegerv(GL_MATRIX_MODE, &mode);
    return mode;
}

static void expect_zero_elsewhere(const Matrix& of)
{
    for (const i32 i : {1, 2, 3, 4, 6, 7, 8, 9, 12, 13, 15}) {
        EXPECT_EQ(of.m[i], 0.0F) << "element " << i;
    }
}

// Whether the pixel counted from the upper left is the colour 0xRRGGBB.
static u32 pixel(const u8* rgb, i32 x, i32 y)
{
    const u8* at =
        rgb +
        (static_cast<size_t>(y) * static_cast<size_t>(gfx_width) + static_cast<size_t>(x)) * 3;
    return static_cast<u32>(at[0]) << 16 | static_cast<u32>(at[1]) << 8 | at[2];
}

// Pixels of the window that aren't black, and the box around them (left, top, right, bottom, the
// last two exclusive).
struct Drawn {
    i32 count, left, top, right, bottom;
};

static Drawn drawn()
{
    u8* rgb = picture_read(gfx_width, gfx_height);
    Drawn out = {.count = 0, .left = gfx_width, .top = gfx_height, .right = 0, .bottom = 0};
    for (i32 y = gfx_height - 1; y >= 0; y--) {
        for (i32 x = gfx_width - 1; x >= 0; x--) {
            if (pixel(rgb, x, y) != 0) {
                out.count++;
                out.left = x < out.left ? x : out.left;
                out.top = y < out.top ? y : out.top;
                out.right = x + 1 > out.right ? x + 1 : out.right;
                out.bottom = y + 1 > out.bottom ? y + 1 : out.bottom;
            }
        }
    }
    std::free(rgb);
    return out;
}

TEST(gfx_resize, loads_ninety_degrees_over_the_central_region_of_a_wide_window)
{
    scripted_begin();
    const ScriptedWindow window(160, 90);
    const Matrix got = projection();
    EXPECT_EQ(got.m[0], 1.0F / (0.75F * 160.0F / 90.0F));
    EXPECT_EQ(got.m[5], 1.3333334F);
    EXPECT_EQ(got.m[11], -1.0F);
    expect_zero_elsewhere(got);
}

TEST(gfx_resize, keeps_m0_at_one_and_m5_at_width_over_height_in_a_tall_window)
{
    scripted_begin();
    const ScriptedWindow window(60, 90);
    const Matrix got = projection();
    EXPECT_EQ(got.m[0], 1.0F);
    EXPECT_EQ(got.m[5], 1.0F / 1.5F);
    expect_zero_elsewhere(got);
}

TEST(gfx_resize, takes_four_to_three_itself_as_not_wide)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    const Matrix got = projection();
    EXPECT_EQ(got.m[0], 1.0F);
    EXPECT_EQ(got.m[5], 1.0F / 0.75F);
}

TEST(gfx_resize, uses_the_constants_of_near_and_far)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    const Matrix got = projection();
    EXPECT_EQ(std::bit_cast<u32>(got.m[10]), 0xBF80068DU);
    EXPECT_EQ(std::bit_cast<u32>(got.m[14]), 0xBE4CD20BU);
}

TEST(gfx_resize, discards_a_field_of_view_that_was_set)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    gfx_set_fov(40.0F, 0.1F, 1000.0F);
    gfx_resize(64, 48);
    EXPECT_EQ(projection().m[0], 1.0F);
}

TEST(gfx_resize, leaves_the_model_view_mode_selected)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    gfx_resize(30, 40);
    EXPECT_EQ(matrix_mode(), GL_MODELVIEW);
}

TEST(gfx_resize, makes_numbers_of_any_size)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    gfx_resize(0, 0);
    const Matrix got = projection();
    EXPECT_EQ(got.m[0], 1.0F);
    EXPECT_EQ(got.m[5], 0.0F);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST(gfx_resize, loads_pixels_with_the_origin_at_the_upper_left_in_orthographic_mode)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    gfx_ortho_mode = 1;
    gfx_resize(64, 48);
    gfx_ortho_mode = 0;
    const Matrix got = projection();
    EXPECT_FLOAT_EQ(got.m[0], 2.0F / 64.0F);
    EXPECT_FLOAT_EQ(got.m[5], -2.0F / 48.0F);
    EXPECT_FLOAT_EQ(got.m[10], 1.0F / 24.0F); // near 24, far -24
    EXPECT_FLOAT_EQ(got.m[12], -1.0F);
    EXPECT_FLOAT_EQ(got.m[13], 1.0F);
    EXPECT_FLOAT_EQ(got.m[14], 0.0F);
}

static f32 default_fov(i32 width, i32 height)
{
    scripted_begin();
    const ScriptedWindow window(width, height);
    return gfx_get_fov();
}

TEST(gfx_get_fov, reads_ninety_on_the_default_projection_of_a_four_to_three_window)
{
    EXPECT_NEAR(default_fov(320, 240), 90.0F, 1e-4F);
}

TEST(gfx_get_fov, reads_ninety_on_the_default_projection_of_a_sixteen_to_nine_window)
{
    EXPECT_NEAR(default_fov(320, 180), 90.0F, 1e-4F);
}

TEST(gfx_get_fov, reads_ninety_on_the_default_projection_of_a_tall_window)
{
    EXPECT_NEAR(default_fov(100, 240), 90.0F, 1e-4F);
}

TEST(gfx_get_fov, reads_what_was_set)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    const i32 sizes[][2] = {{320, 240}, {320, 180}, {1000, 90}, {100, 240}};
    for (const auto& size : sizes) {
        gfx_resize(size[0], size[1]);
        for (f32 angle = 10.0F; angle < 170.0F; angle += 20.0F) {
            gfx_set_fov(angle, 0.1F, 1000.0F);
            EXPECT_NEAR(gfx_get_fov(), angle, 2e-3F) << size[0] << "x" << size[1];
        }
    }
}

TEST(gfx_set_fov, takes_the_angle_across_a_window_that_is_not_wide)
{
    scripted_begin();
    const ScriptedWindow window(60, 90);
    gfx_set_fov(70.0F, 0.5F, 200.0F);
    const Matrix got = projection();
    const f64 t = std::tan(35.0 * M_PI / 180.0);
    EXPECT_NEAR(static_cast<f64>(got.m[0]), 1.0 / t, 1e-5);
    EXPECT_NEAR(static_cast<f64>(got.m[5]), 1.0 / (t * 90.0 / 60.0), 1e-5);
}

TEST(gfx_set_fov, grows_the_angle_of_a_wide_window_to_fit)
{
    scripted_begin();
    const ScriptedWindow window(160, 80);
    gfx_set_fov(70.0F, 0.5F, 200.0F);
    const Matrix got = projection();
    const f64 t = std::tan(35.0 * M_PI / 180.0);
    EXPECT_NEAR(static_cast<f64>(got.m[5]), 1.0 / (0.75 * t), 1e-5);
    EXPECT_NEAR(static_cast<f64>(got.m[0]), 1.0 / (0.75 * t * 2.0), 1e-5);
}

TEST(gfx_set_fov, sets_the_terms_of_near_and_far)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    gfx_set_fov(70.0F, 0.5F, 200.0F);
    const Matrix got = projection();
    EXPECT_EQ(got.m[10], 200.5F / -199.5F);
    EXPECT_EQ(got.m[14], 200.0F / -199.5F);
    EXPECT_EQ(got.m[11], -1.0F);
    expect_zero_elsewhere(got);
}

TEST(gfx_set_fov, leaves_the_model_view_mode_selected)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    gfx_set_fov(70.0F, 0.5F, 200.0F);
    EXPECT_EQ(matrix_mode(), GL_MODELVIEW);
}

TEST(gfx_overlay_begin, draws_at_window_pixels_with_y_down)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    gfx_overlay_begin();
    glRecti(10, 5, 30, 12);
    gfx_overlay_end();
    const Drawn got = drawn();
    EXPECT_EQ(got.left, 10);
    EXPECT_EQ(got.top, 5);
    EXPECT_EQ(got.right, 30);
    EXPECT_EQ(got.bottom, 12);
    EXPECT_EQ(got.count, 20 * 7);
}

TEST(gfx_overlay_begin, keeps_the_windows_coordinates_in_a_part_of_it)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    glViewport(32, 0, 32, 24); // the lower right quarter
    gfx_overlay_begin();
    glRecti(20, 10, 40, 30);
    gfx_overlay_end();
    const Drawn got = drawn();
    EXPECT_EQ(got.left, 32);
    EXPECT_EQ(got.top, 24);
    EXPECT_EQ(got.right, 40);
    EXPECT_EQ(got.bottom, 30);
    EXPECT_EQ(got.count, 8 * 6);
}

TEST(gfx_overlay_begin, draws_over_what_is_nearer)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    glClearDepth(0.0);
    glClear(GL_DEPTH_BUFFER_BIT);
    gfx_overlay_begin();
    glRecti(0, 0, 64, 48);
    gfx_overlay_end();
    EXPECT_EQ(drawn().count, 64 * 48);
}

TEST(gfx_overlay_begin, writes_no_depth)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    gfx_overlay_begin();
    glRecti(0, 0, 64, 48);
    gfx_overlay_end();
    GLfloat depth = 0.0F;
    glReadPixels(10, 10, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
    EXPECT_EQ(depth, 1.0F);
}

TEST(gfx_overlay_begin, ignores_the_model_view)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    glTranslatef(5.0F, 6.0F, 7.0F);
    gfx_overlay_begin();
    glRecti(1, 2, 3, 4);
    gfx_overlay_end();
    EXPECT_EQ(drawn().left, 1);
    EXPECT_EQ(drawn().top, 2);
}

TEST(gfx_overlay_begin, leaves_no_error_in_a_window_of_one_pixel)
{
    scripted_begin();
    const ScriptedWindow window(1, 1);
    gfx_overlay_begin();
    gfx_overlay_end();
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST(gfx_overlay_end, takes_both_matrices_back)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    gfx_set_fov(70.0F, 0.5F, 200.0F);
    glTranslatef(5.0F, 6.0F, 7.0F);
    const Matrix before = projection();
    gfx_overlay_begin();
    gfx_overlay_end();
    const Matrix after = projection();
    Matrix view;
    glGetFloatv(GL_MODELVIEW_MATRIX, view.m);
    for (i32 i = 15; i >= 0; i--) {
        EXPECT_EQ(after.m[i], before.m[i]);
    }
    EXPECT_EQ(view.m[12], 5.0F);
    EXPECT_EQ(matrix_mode(), GL_MODELVIEW);
}

TEST(gfx_overlay_end, turns_depth_test_and_depth_writing_on)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    gfx_overlay_begin();
    EXPECT_FALSE(glIsEnabled(GL_DEPTH_TEST));
    gfx_overlay_end();
    GLboolean writing = GL_FALSE;
    glGetBooleanv(GL_DEPTH_WRITEMASK, &writing);
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
    EXPECT_EQ(writing, GL_TRUE);
}

// The camera of the tests below: turned, moved, behind a viewport with an offset.
static void look(f64 modelview[16], f64 projected[16], i32 viewport[4])
{
    glLoadIdentity();
    glRotatef(20.0F, 0.3F, 1.0F, 0.1F);
    glTranslatef(0.5F, -0.25F, -6.0F);
    glGetDoublev(GL_MODELVIEW_MATRIX, modelview);
    glGetDoublev(GL_PROJECTION_MATRIX, projected);
    glGetIntegerv(GL_VIEWPORT, viewport);
}

TEST(gfx_project, gives_the_pixel_where_a_point_is_drawn)
{
    scripted_begin();
    const ScriptedWindow window(160, 90);
    f64 modelview[16];
    f64 projected[16];
    i32 viewport[4];
    look(modelview, projected, viewport);
    const f64 points[][3] = {{0, 0, 0}, {1.5, 0.5, -1}, {-2, 1, 0.5}, {0.3, -1.7, -3}};
    for (const auto& at : points) {
        f64 x = 0;
        f64 y = 0;
        gfx_project(at[0], at[1], at[2], &x, &y, nullptr, modelview, projected, viewport);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glBegin(GL_POINTS);
        glVertex3dv(at);
        glEnd();
        const Drawn got = drawn();
        EXPECT_EQ(got.count, 1);
        EXPECT_EQ(got.left, static_cast<i32>(std::floor(x)));
        EXPECT_EQ(got.top, static_cast<i32>(std::floor(y)));
    }
}

TEST(gfx_project, gives_the_eye_space_z)
{
    scripted_begin();
    const ScriptedWindow window(160, 90);
    f64 modelview[16];
    f64 projected[16];
    i32 viewport[4];
    look(modelview, projected, viewport);
    f64 x = 0;
    f64 y = 0;
    f64 z = 0;
    gfx_project(1.5, 0.5, -1, &x, &y, &z, modelview, projected, viewport);
    EXPECT_NEAR(z, modelview[2] * 1.5 + modelview[6] * 0.5 - modelview[10] + modelview[14], 1e-12);
    EXPECT_LT(z, -5.0);
}

TEST(gfx_project, adds_the_viewports_corner)
{
    const f64 identity[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const i32 viewport[4] = {30, 40, 100, 50};
    f64 x = 0;
    f64 y = 0;
    gfx_project(0.5, 0.2, 0, &x, &y, nullptr, identity, identity, viewport);
    EXPECT_DOUBLE_EQ(x, 0.75 * 100 + 30);
    EXPECT_DOUBLE_EQ(y, 0.4 * 50 + 40);
}
