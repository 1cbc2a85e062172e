#include "scene/light.h"

#include <cmath>
#include <gtest/gtest.h>

static LightRec light_at(f64 t)
{
    LightRec light;
    light_compute(t, &light);
    return light;
}

TEST(light_compute, stands_the_sun_halfway_up_the_y_axis_at_noon)
{
    const LightRec light = light_at(0);
    EXPECT_NEAR(light.nsun[0], 0, 1e-7);
    EXPECT_FLOAT_EQ(light.nsun[1], 0.70710677F);
    EXPECT_FLOAT_EQ(light.nsun[2], 0.70710677F);
}

TEST(light_compute, lights_by_the_way_through_the_air_at_noon)
{
    const LightRec light = light_at(0);
    const f64 h = static_cast<f64>(light.nsun[2]);
    for (i32 row = 0; row < 3; row++) {
        const f64 s = 1 / (h + 0.05 * row);
        EXPECT_NEAR(light.sunrow[row][0], std::exp(-0.02 * s), 1e-7) << row;
        EXPECT_NEAR(light.sunrow[row][1], std::exp(-0.1 * s), 1e-7) << row;
        EXPECT_NEAR(light.sunrow[row][2], std::exp(-0.2 * s), 1e-7) << row;
    }
    const f64 v = std::exp(-0.15 / (h + 0.25));
    EXPECT_NEAR(light.skygrey[0], v, 1e-7);
    EXPECT_NEAR(light.skygrey[1], v, 1e-7);
    EXPECT_NEAR(light.skygrey[2], v, 1e-7);
}

TEST(light_compute, caps_the_way_through_the_air_at_sunset)
{
    const LightRec light = light_at(250);
    EXPECT_NEAR(light.nsun[2], 0, 1e-7);
    EXPECT_FLOAT_EQ(light.sunrow[0][0], static_cast<f32>(std::exp(-20.0)));
    EXPECT_FLOAT_EQ(light.sunrow[0][1], static_cast<f32>(std::exp(-100.0)));
    EXPECT_FLOAT_EQ(light.sunrow[0][2], static_cast<f32>(std::exp(-200.0)));
}

TEST(light_compute, keeps_the_sky_lit_at_sunset)
{
    const LightRec light = light_at(250);
    const f64 v = std::exp(-0.6);
    EXPECT_NEAR(light.csky[0], 0.25 * v, 1e-6);
    EXPECT_NEAR(light.csky[1], 0.625 * v, 1e-6);
    EXPECT_NEAR(light.csky[2], v, 1e-6);
}

TEST(light_compute, keeps_the_higher_air_lit_at_sunset)
{
    const LightRec light = light_at(250);
    EXPECT_NEAR(light.sunrow[1][0], std::exp(-0.02 / 0.05), 1e-6);
    EXPECT_NEAR(light.sunrow[2][2], std::exp(-0.2 / 0.1), 1e-6);
}

TEST(light_compute, has_no_light_from_the_sky_at_midnight)
{
    const LightRec light = light_at(500);
    EXPECT_FLOAT_EQ(light.nsun[2], -0.70710677F);
    for (i32 i = 0; i < 3; i++) {
        EXPECT_EQ(light.csky[i], 0.0F);
        EXPECT_EQ(light.skygrey[i], 0.0F);
    }
}

TEST(light_compute, has_next_to_no_sunlight_at_any_height_at_midnight)
{
    const LightRec light = light_at(500);
    for (i32 row = 0; row < 3; row++) {
        EXPECT_FLOAT_EQ(light.sunrow[row][0], static_cast<f32>(std::exp(-20.0))) << row;
        EXPECT_FLOAT_EQ(light.sunrow[row][1], static_cast<f32>(std::exp(-100.0))) << row;
        EXPECT_FLOAT_EQ(light.sunrow[row][2], static_cast<f32>(std::exp(-200.0))) << row;
    }
}

TEST(light_compute, is_finite_and_not_negative_at_every_second_of_the_day)
{
    for (i32 t = 0; t < 1000; t++) {
        const LightRec light = light_at(t);
        for (i32 i = 0; i < 3; i++) {
            EXPECT_TRUE(std::isfinite(light.csky[i]) && light.csky[i] >= 0) << t;
            EXPECT_TRUE(std::isfinite(light.skygrey[i]) && light.skygrey[i] >= 0) << t;
            EXPECT_TRUE(light.sunrow[0][i] >= 0 && light.sunrow[0][i] <= 1) << t;
        }
    }
}

TEST(light_compute, raises_the_sun_again_after_three_quarters_of_the_day)
{
    EXPECT_LT(light_at(740).nsun[2], 0);
    EXPECT_GT(light_at(760).nsun[2], 0);
    EXPECT_LT(light_at(240).nsun[0], -0.9F);
    EXPECT_GT(light_at(760).nsun[0], 0.9F);
}

TEST(light_compute, takes_the_phase_in_single_precision)
{
    // at a clock of 2^24 days the phase steps by whole days, so the half day is lost
    const f64 t = 1000.0 * (1 << 25);
    EXPECT_EQ(light_at(t).nsun[2], light_at(t + 400).nsun[2]);
    EXPECT_NE(light_at(0).nsun[2], light_at(400).nsun[2]);
}
