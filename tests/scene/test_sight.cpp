// What a view certainly doesn't paint: never something that holds the middle of a pixel.
#include "scene/sight.h"
#include "tests/scene_picture.h"

#include <limits>
#include <random>

// A view from the origin along -z, 160 x 120 pixels, 90 degrees wide, from 0.1 to 1000; skewed by
// `skew` of its width.
static ViewRec view_of(f64 skew)
{
    const f64 n = 0.1;
    const f64 f = 1000;
    const f64 modelview[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const f64 projection[16] = {
        1, 0, 0, 0, 0, 4 / 3.0, 0, 0, skew, 0, (f + n) / (n - f), -1, 0, 0, 2 * f * n / (n - f), 0};
    const i32 viewport[4] = {0, 0, 160, 120};
    ViewRec view;
    ViewRec_derive(&view, modelview, projection, viewport, 160);
    return view;
}

static Sight sight_of(f64 skew = 0)
{
    const ViewRec view = view_of(skew);
    Sight sight;
    Sight_make(&sight, &view);
    return sight;
}

static bool ball_unpainted(f64 x, f64 y, f64 z, f64 radius, f64 skew = 0)
{
    const Sight sight = sight_of(skew);
    const f64 centre[1][3] = {{x, y, z}};
    return Sight_unpainted(&sight, centre, 1, radius);
}

TEST(Sight_unpainted, keeps_what_lies_before_the_eye)
{
    EXPECT_FALSE(ball_unpainted(0, 0, -10, 1));
    EXPECT_FALSE(ball_unpainted(0, 0, 0, 1)); // about the eye
}

TEST(Sight_unpainted, tells_what_is_beside_behind_and_beyond)
{
    EXPECT_TRUE(ball_unpainted(0, 0, 10, 1));
    EXPECT_TRUE(ball_unpainted(0, 0, -1010, 1));
    EXPECT_TRUE(ball_unpainted(13, 0, -10, 1));
    EXPECT_TRUE(ball_unpainted(-13, 0, -10, 1));
    EXPECT_TRUE(ball_unpainted(0, 10, -10, 1));
    EXPECT_TRUE(ball_unpainted(0, -10, -10, 1));
}

TEST(Sight_unpainted, follows_a_skewed_frustum)
{
    EXPECT_FALSE(ball_unpainted(13, 0, -10, 1, 0.4));
    EXPECT_TRUE(ball_unpainted(-8, 0, -10, 1, 0.4));
}

TEST(Sight_unpainted, tells_what_lies_between_the_middles_of_columns_or_rows)
{
    const f64 pixel = 100 / 80.0;                         // at this distance
    EXPECT_TRUE(ball_unpainted(0, 0, -100, 0.3 * pixel)); // about a corner of pixels
    EXPECT_FALSE(ball_unpainted(0.5 * pixel, 0.5 * pixel, -100, 0.01 * pixel));
    EXPECT_TRUE(ball_unpainted(0.5 * pixel, 0, -100, 0.3 * pixel));
    EXPECT_TRUE(ball_unpainted(0, 0.5 * pixel, -100, 0.3 * pixel));
    EXPECT_FALSE(ball_unpainted(0, 0, -100, 0.6 * pixel));
}

TEST(Sight_unpainted, takes_balls_as_one_body)
{
    const Sight sight = sight_of();
    const f64 ends[2][3] = {{-50, 0.6, -10}, {50, 0.6, -10}}; // both outside
    EXPECT_FALSE(Sight_unpainted(&sight, ends, 2, 0.1));
    const f64 beside[2][3] = {{50, 0, -10}, {50, 0, 90}}; // both on one side, one behind the eye
    EXPECT_TRUE(Sight_unpainted(&sight, beside, 2, 0.1));
    const f64 through[2][3] = {{0, 0, -10}, {0, 0, 90}}; // the eye
    EXPECT_FALSE(Sight_unpainted(&sight, through, 2, 0.1));
}

TEST(Sight_unpainted, is_never_true_of_what_is_not_finite)
{
    const f64 nan = std::numeric_limits<f64>::quiet_NaN();
    const f64 inf = std::numeric_limits<f64>::infinity();
    EXPECT_FALSE(ball_unpainted(nan, 0, 10, 1));
    EXPECT_FALSE(ball_unpainted(0, -inf, 10, 1));
    EXPECT_FALSE(ball_unpainted(0, 0, 10, nan));
    EXPECT_FALSE(ball_unpainted(0, 0, 10, inf));
}

// Bodies about a point on the ray through the middle of a pixel: this pixel is painted.
TEST(Sight_unpainted, is_never_true_of_a_body_that_holds_a_point_on_the_ray_of_a_pixel)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<f64> part(0, 1);
    for (i32 i = 0; i < 100000; i++) {
        const f64 skew = part(random) < 0.5 ? 0.0 : part(random);
        const Sight sight = sight_of(skew);
        const f64 x = ((static_cast<i32>(160 * part(random)) + 0.5) / 80 - 1 + skew);
        const f64 y = ((static_cast<i32>(120 * part(random)) + 0.5) / 60 - 1) * 0.75;
        const f64 distance = std::pow(10, 3.9 * part(random) - 0.95);
        const f64 radius = std::pow(10, 4 * part(random) - 4);
        const i32 n = 1 + static_cast<i32>(4 * part(random)) % SIGHT_MOST;
        f64 centres[SIGHT_MOST][3];
        f64 sum[3] = {0, 0, 0};
        for (i32 k = 0; k < n; k++) { // weights of 1 / n: their mean is the point
            for (i32 axis = 0; axis < 3; axis++) {
                centres[k][axis] = distance * (part(random) - 0.5) * (k % 2 == 0 ? 1 : 0.01);
                sum[axis] += centres[k][axis];
            }
        }
        const f64 point[3] = {x * distance, y * distance, -distance};
        for (i32 k = 0; k < n; k++) {
            for (i32 axis = 0; axis < 3; axis++) {
                const f64 aside = 0.5 * radius * (part(random) - 0.5);
                centres[k][axis] += point[axis] - sum[axis] / n + aside;
            }
        }
        ASSERT_FALSE(Sight_unpainted(&sight, centres, n, radius)) << i;
    }
}

TEST(Sight_pixels, estimates_how_wide_a_ball_looks)
{
    const Sight sight = sight_of();
    const f64 centre[3] = {0, 0, -101};
    EXPECT_NEAR(Sight_pixels(&sight, centre, 1), 1.6, 1e-9);
    EXPECT_EQ(Sight_pixels(&sight, centre, 101), HUGE_VAL);
}
