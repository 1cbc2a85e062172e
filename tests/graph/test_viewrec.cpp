#include "model/viewrec.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>

static constexpr f64 identity[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

struct Lens {
    f64 tanx = 1.0;
    f64 tany = 1.0;
    f64 near = 0.1;
    f64 far = 1000.0;
    i32 width = 1000; // of the viewport; the window has 1000
};

static ViewRec makeview(const Lens& lens, const f64 modelview[16] = identity)
{
    f64 p[16] = {};
    p[0] = 1.0 / lens.tanx;
    p[5] = 1.0 / lens.tany;
    p[10] = (lens.near + lens.far) / (lens.near - lens.far);
    p[11] = -1.0;
    p[14] = 2.0 * lens.near * lens.far / (lens.near - lens.far);
    const i32 viewport[4] = {10, 20, lens.width, 500};
    ViewRec view = {};
    ViewRec_derive(&view, modelview, p, viewport, 1000);
    return view;
}

static i32 sphereout(const ViewRec& view, f64 x, f64 y, f64 z, f64 radius)
{
    const f64 centre[3] = {x, y, z};
    return ViewRec_sphereout(&view, centre, radius, view.pixelsize);
}

TEST(viewrec_capture, fills_with_zeros_while_there_is_no_window)
{
    ViewRec view;
    std::memset(&view, 0x55, sizeof view);
    viewrec_capture(&view);
    const ViewRec zero = {};
    EXPECT_EQ(0, std::memcmp(&zero, &view, sizeof view));
}

// Turned by 90 degrees about z, then moved by (1, 2, 3).
static constexpr f64 turned[16] = {0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 1, 2, 3, 1};

TEST(ViewRec_derive, puts_the_eye_where_the_modelview_gives_the_origin)
{
    const ViewRec view = makeview({}, turned);
    const f64* const m = view.modelview;
    const f64* const e = view.eye;
    EXPECT_DOUBLE_EQ(-2.0, e[0]);
    EXPECT_DOUBLE_EQ(1.0, e[1]);
    EXPECT_DOUBLE_EQ(-3.0, e[2]);
    EXPECT_DOUBLE_EQ(0.0, m[0] * e[0] + m[4] * e[1] + m[8] * e[2] + m[12]);
    EXPECT_DOUBLE_EQ(0.0, m[1] * e[0] + m[5] * e[1] + m[9] * e[2] + m[13]);
}

TEST(ViewRec_derive, finds_tangents_and_limits_in_the_projection)
{
    const ViewRec view = makeview({.tanx = 0.75, .tany = 0.5, .near = 0.25, .far = 64.0});
    EXPECT_DOUBLE_EQ(0.75, view.tanx);
    EXPECT_DOUBLE_EQ(0.5, view.tany);
    EXPECT_NEAR(0.25, view.near, 1e-12);
    EXPECT_NEAR(64.0, view.far, 1e-9);
    EXPECT_DOUBLE_EQ(1.25 / 0.75, view.secx);
    EXPECT_DOUBLE_EQ(std::sqrt(1.25) / 0.5, view.secy);
}

TEST(ViewRec_derive, keeps_the_edges_of_the_viewport)
{
    const ViewRec view = makeview({.width = 300});
    EXPECT_EQ(10, view.viewport[0]);
    EXPECT_EQ(310, view.viewport[1]);
    EXPECT_EQ(20, view.viewport[2]);
    EXPECT_EQ(520, view.viewport[3]);
}

TEST(ViewRec_derive, takes_the_pixel_from_the_viewport_and_its_scale_from_the_window)
{
    const ViewRec whole = makeview({.tanx = 0.5, .width = 1000});
    const ViewRec half = makeview({.tanx = 0.5, .width = 500});
    EXPECT_DOUBLE_EQ(2.0 * whole.pixelsize, half.pixelsize);
    EXPECT_DOUBLE_EQ(1000.0, whole.pixelscale);
    EXPECT_DOUBLE_EQ(1000.0, half.pixelscale);
    EXPECT_DOUBLE_EQ(0.001, whole.pixelsize);
}

TEST(ViewRec_derive, multiplies_projection_and_modelview_into_rows)
{
    const ViewRec view = makeview({.tanx = 0.5, .tany = 0.25, .near = 1.0, .far = 3.0}, turned);
    // eye space (x, y, z) = (1 - Y, X + 2, Z + 3); clip (2 x, 4 y, -2 z - 3, -z)
    const f64 expected[4][4] = {{0, -2, 0, 2}, {4, 0, 0, 8}, {0, 0, -2, -9}, {0, 0, -1, -3}};
    for (i32 row = 0; row < 4; row++) {
        for (i32 col = 0; col < 4; col++) {
            EXPECT_DOUBLE_EQ(expected[row][col], view.clip[row][col]) << row << " " << col;
        }
    }
}

TEST(ViewRec_sphereout, keeps_a_sphere_about_the_eye)
{
    const ViewRec view = makeview({});
    EXPECT_EQ(0, sphereout(view, 0, 0, 0, 0.1));
    EXPECT_EQ(0, sphereout(view, 0, 0, 0, 5.0));
    EXPECT_NE(0, sphereout(view, 0, 0, 0, 0.05));
}

TEST(ViewRec_sphereout, measures_the_distance_to_the_side_planes)
{
    const ViewRec view = makeview({.tanx = 0.75, .tany = 0.5});
    // the plane x = 0.75 d has the normal (0.8, 0.6): at depth 10 a radius of 2 reaches 7.5 + 2.5
    EXPECT_EQ(0, sphereout(view, 9.999999, 0, -10, 2.0));
    EXPECT_NE(0, sphereout(view, 10.000001, 0, -10, 2.0));
    EXPECT_EQ(0, sphereout(view, -9.999999, 0, -10, 2.0));
    EXPECT_NE(0, sphereout(view, -10.000001, 0, -10, 2.0));
    const f64 y = 5.0 + 2.0 * std::sqrt(1.25);
    EXPECT_EQ(0, sphereout(view, 0, y - 1e-6, -10, 2.0));
    EXPECT_NE(0, sphereout(view, 0, y + 1e-6, -10, 2.0));
    EXPECT_EQ(0, sphereout(view, 0, -y + 1e-6, -10, 2.0));
    EXPECT_NE(0, sphereout(view, 0, -y - 1e-6, -10, 2.0));
}

TEST(ViewRec_sphereout, keeps_what_just_touches_a_limit)
{
    ViewRec view = makeview({});
    view.near = 4.0; // the derived values are rounded
    view.far = 64.0;
    view.tanx = 0.75;
    view.secx = 1.25 / 0.75;
    view.pixelsize = 0.125;
    EXPECT_EQ(0, sphereout(view, 0, 0, -2, 2.0));
    EXPECT_NE(0, sphereout(view, 0, 0, -2, 1.999));
    EXPECT_EQ(0, sphereout(view, 0, 0, -80, 16.0));
    EXPECT_NE(0, sphereout(view, 0, 0, -80.001, 16.0));
    EXPECT_EQ(0, sphereout(view, 0, 0, -32, 4.0));
    EXPECT_NE(0, sphereout(view, 0, 0, -32, 3.999));
    const f64 edge = (view.secx * 3.0 + 12.0) * view.tanx;
    EXPECT_EQ(0, sphereout(view, edge, 0, -12, 3.0));
    EXPECT_NE(0, sphereout(view, std::nextafter(edge, 99.0), 0, -12, 3.0));
}

TEST(ViewRec_sphereout, leaves_near_things_to_the_near_slice)
{
    const ViewRec view = makeview({.near = 1000.0, .far = 10000000.0});
    EXPECT_NEAR(1000.0, view.near, 1e-6);
    EXPECT_NE(0, sphereout(view, 0, 0, -10, 1.0));
    EXPECT_EQ(0, sphereout(view, 0, 0, -2000, 10.0));
}

TEST(ViewRec_sphereout, leaves_out_what_is_below_a_pixel)
{
    const ViewRec view = makeview({});
    EXPECT_DOUBLE_EQ(0.002, view.pixelsize);
    EXPECT_NE(0, sphereout(view, 0, 0, -10, 0.001));
    EXPECT_EQ(0, sphereout(view, 0, 0, -10, 0.021));
}

TEST(ViewRec_sphereout, sees_through_the_modelview)
{
    const ViewRec view = makeview({}, turned);
    EXPECT_EQ(0, sphereout(view, -2, 1, -13, 1.0));
    EXPECT_NE(0, sphereout(view, -2, 1, 7, 1.0));
    EXPECT_NE(0, sphereout(view, 40, 1, -13, 1.0));
}

TEST(ViewRec_sphereout, keeps_a_sphere_without_bounds)
{
    const ViewRec view = makeview({});
    EXPECT_EQ(0, sphereout(view, 0, 0, 0, HUGE_VAL));
}

TEST(ViewRec, has_the_size_that_the_save_file_relies_on)
{
    EXPECT_EQ(360U, sizeof(ViewRec));
}
