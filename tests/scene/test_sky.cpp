// The dome of the sky, pixel by pixel against its formula.
#include "scene/sky.h"
#include "tests/shader_probe.h"

#include <algorithm>

// What a direction shows: skygrey times the blue mixed with haze.
static Vec3 dome_formula(Vec3 d, const LightRec& light)
{
    const f64 az = std::fabs(d[2]);
    const f64 haze = 1 - std::exp(-0.04 / az);
    const Vec3 blue = {0.25, 1 - 0.75 * az, 1};
    const Vec3 warm = {0xB0 / 255.0, 0xA8 / 255.0, 0x90 / 255.0};
    const Vec3 c = blue + haze * (warm - blue);
    Vec3 out;
    for (size_t i = 0; i < 3; i++) {
        out[i] = std::clamp(static_cast<f64>(light.skygrey[i]) * c[i], 0.0, 1.0);
    }
    return out;
}

static LightRec light_at(f64 t)
{
    LightRec light;
    light_compute(t, &light);
    return light;
}

// The direction that the middle of a pixel shows.
static Vec3 pixel_direction(const MazeGame* game, i32 x, i32 y)
{
    const f64 right = ((x + 0.5) / gfx_width * 2 - 1) * game->view.tanx;
    const f64 up = ((y + 0.5) / gfx_height * 2 - 1) * game->view.tany;
    const f64* const m = game->orient;
    return unit({right * m[0] + up * m[3] - m[6], right * m[1] + up * m[4] - m[7],
                 right * m[2] + up * m[5] - m[8]});
}

struct SkyView {
    World world;
    f32 aside = 0; // how far the scene is moved for one eye of a pair

    SkyView(Vec3 eye, Vec3 direction)
    {
        picture_open();
        gfx_resize(16, 12);
        const Vec3 target = eye + 10.0 * direction;
        look_at(&world.game, eye.data(), target.data());
    }
    Picture draw(const LightRec& light)
    {
        picture_begin(&world.game);
        f32 modelview[16];
        glGetFloatv(GL_MODELVIEW_MATRIX, modelview);
        modelview[12] += aside;
        glLoadMatrixf(modelview);
        sky_draw(&world.game, &light);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        return picture_take();
    }
    f64 difference(const LightRec& light)
    {
        const Picture picture = draw(light);
        f64 most = 0;
        for (i32 y = 0; y < 12; y++) {
            for (i32 x = 0; x < 16; x++) {
                const Rgb got = picture.at(x, y);
                const Vec3 expected = dome_formula(pixel_direction(&world.game, x, y), light);
                most = std::fmax(most, greatest(Vec3{got.r, got.g, got.b} - expected));
            }
        }
        return most;
    }
};

TEST(sky_draw, has_the_colours_of_its_formula_at_20_elevations_and_6_times_of_day)
{
    for (const f64 time : {0.0, 150.0, 230.0, 255.0, 262.0, 900.0}) {
        const LightRec light = light_at(time);
        for (i32 i = 0; i < 20; i++) {
            const f64 elevation = -1.5 + i * 3.0 / 19;
            SkyView view({0, 0, 0}, {std::cos(elevation) * 0.6, std::cos(elevation) * 0.8,
                                     std::sin(elevation)});
            EXPECT_LT(view.difference(light), 1.6 / 255) << time << " " << elevation;
        }
    }
}

TEST(sky_draw, follows_the_eye_wherever_it_is)
{
    for (const Vec3& eye :
         {Vec3{5000, -7000, 300}, Vec3{1e5, 1e5, 2e4}, Vec3{8.1e6, -6.3e6, 2.2e6}}) {
        SkyView view(eye, unit({1, 2, 1}));
        EXPECT_LT(view.difference(light_at(0)), 1.6 / 255);
    }
}

TEST(sky_draw, is_the_same_for_both_eyes_of_a_pair_however_far_they_stand_apart)
{
    for (const f32 aside : {-0.5F, 5.0F}) {
        SkyView view({30, 40, 50}, unit({1, 2, 1}));
        view.aside = aside;
        EXPECT_LT(view.difference(light_at(0)), 1.6 / 255) << aside;
    }
}

TEST(sky_draw, is_all_haze_at_the_horizon)
{
    SkyView view({0, 0, 0}, {1, 0, 0});
    gfx_resize(17, 13); // the row in the middle looks exactly along the horizon
    const LightRec light = light_at(0);
    const Picture picture = view.draw(light);
    const f64 v = static_cast<f64>(light.skygrey[0]);
    EXPECT_NEAR(picture.at(8, 6).r, v * 0xB0 / 255, 1.1 / 255);
    EXPECT_NEAR(picture.at(8, 6).g, v * 0xA8 / 255, 1.1 / 255);
    EXPECT_NEAR(picture.at(8, 6).b, v * 0x90 / 255, 1.1 / 255);
}

TEST(sky_draw, mirrors_the_upper_half_below)
{
    SkyView up({0, 0, 0}, {0, 0.6, 0.8});
    const Picture above = up.draw(light_at(0));
    SkyView down({0, 0, 0}, {0, 0.6, -0.8});
    const Picture below = down.draw(light_at(0));
    for (i32 y = 0; y < 12; y++) {
        EXPECT_NEAR(above.at(7, y).g, below.at(7, 11 - y).g, 1.1 / 255);
    }
    EXPECT_GT(std::fabs(above.at(7, 0).g - above.at(7, 11).g), 0.1);
}

TEST(sky_draw, is_black_at_midnight)
{
    SkyView view({0, 0, 0}, {0, 0.6, 0.8});
    EXPECT_EQ(view.draw(light_at(500)).painted(), 0);
}

TEST(sky_draw, has_no_tint_of_sunset)
{
    const LightRec light = light_at(250);
    EXPECT_EQ(light.skygrey[0], light.skygrey[2]);
    SkyView view({0, 0, 0}, {0, 0, 1});
    const Rgb zenith = view.draw(light).at(8, 6);
    EXPECT_GT(zenith.b, 2 * zenith.r);
}

TEST(sky_draw, touches_no_depth_and_leaves_depth_on)
{
    SkyView view({0, 0, 0}, {0, 0.6, 0.8});
    view.draw(light_at(0));
    f32 depth = 0;
    glReadPixels(8, 6, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
    EXPECT_EQ(depth, 1);
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
    GLboolean writing = GL_FALSE;
    glGetBooleanv(GL_DEPTH_WRITEMASK, &writing);
    EXPECT_TRUE(writing);
    GLint program = -1;
    glGetIntegerv(GL_CURRENT_PROGRAM, &program);
    EXPECT_EQ(program, 0);
}

TEST(sky_draw, leaves_the_matrix_as_it_was)
{
    SkyView view({3, 4, 5}, {0, 0.6, 0.8});
    picture_begin(&view.world.game);
    f32 before[16];
    glGetFloatv(GL_MODELVIEW_MATRIX, before);
    const LightRec light = light_at(0);
    sky_draw(&view.world.game, &light);
    f32 after[16];
    glGetFloatv(GL_MODELVIEW_MATRIX, after);
    EXPECT_EQ(std::memcmp(before, after, sizeof before), 0);
}

TEST(sky_draw, covers_every_direction)
{
    const LightRec light = light_at(0);
    for (const Vec3& d : {Vec3{1, 0, 0}, Vec3{-1, 0, 0}, Vec3{0, 1, 0}, Vec3{0, -1, 0},
                          Vec3{0, 0, 1}, Vec3{0, 0, -1}, unit({1, 1, 1}), unit({-1, -1, -1})}) {
        SkyView view({0, 0, 0}, d);
        EXPECT_EQ(view.draw(light).painted(), 16 * 12);
    }
}
