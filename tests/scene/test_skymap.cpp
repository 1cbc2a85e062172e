// The sky that the sea mirrors: its colours by direction, and the cube map as a shader reads it.
#include "base/rnd.h"
#include "scene/sea.h"
#include "scene/skymap.h"
#include "tests/shader_probe.h"

#include <random>

static const Vec3 glare_axis = {1 / std::sqrt(3.0), 1 / std::sqrt(3.0), 1 / std::sqrt(3.0)};

static Vec3 sampled(Vec3 direction)
{
    u8 out[3];
    sky_sample(direction[0], direction[1], direction[2], out);
    return {f64(out[0]), f64(out[1]), f64(out[2])};
}

// The sky without dither.
static Vec3 sky_formula(Vec3 d)
{
    const f64 x = d[0];
    const f64 y = d[1];
    const f64 z = d[2];
    const f64 s = 0.5 / ((x - z) * (x - z) + (z - y) * (z - y) + (y - x) * (y - x));
    return {(3.84 / (z + 0.02) + 255 * s) / (s + 1), (12.75 / (z + 0.05) + 255 * s) / (s + 1),
            (192 - 64 * z + 255 * s) / (s + 1)};
}

static bool white_square(Vec3 d)
{
    const f64 sum = std::floor(3 * d[0] / -d[2]) + std::floor(3 * d[1] / -d[2]);
    return std::fmod(std::fabs(sum), 2) == 1;
}

static std::vector<Vec3> random_directions(i32 n)
{
    std::mt19937 engine(5);
    std::uniform_real_distribution<f64> along(-1, 1);
    std::vector<Vec3> out;
    while (static_cast<i32>(out.size()) < n) {
        const Vec3 d = {along(engine), along(engine), along(engine)};
        if (dot(d, d) > 0.01 && dot(d, d) < 1) {
            out.push_back(unit(d));
        }
    }
    return out;
}

TEST(sky_sample, shows_white_and_black_squares_for_the_ground)
{
    i32 white = 0;
    for (const Vec3& d : random_directions(1000)) {
        if (d[2] < 0) {
            const f64 shade = white_square(d) ? 255 : 0;
            EXPECT_EQ(sampled(d), (Vec3{shade, shade, shade}));
            white += white_square(d) ? 1 : 0;
        }
    }
    EXPECT_GT(white, 150);
    EXPECT_LT(white, 350);
}

TEST(sky_sample, shows_the_sky_by_its_formula_with_less_than_a_step_of_dither)
{
    for (const Vec3& d : random_directions(1000)) {
        if (d[2] >= 0) {
            const Vec3 got = sampled(d);
            const Vec3 expected = sky_formula(d);
            for (size_t i = 0; i < 3; i++) {
                EXPECT_GE(got[i], std::floor(expected[i] - 1e-3));
                EXPECT_LE(got[i], std::floor(expected[i] + 1e-3) + 1);
            }
        }
    }
}

TEST(sky_sample, dithers_so_that_the_mean_is_the_formula)
{
    for (const Vec3& d : {Vec3{0, 0, 1}, unit({1, 2, 0.3}), unit({-3, 1, 0.5})}) {
        Vec3 sum = {0, 0, 0};
        for (i32 i = 0; i < 20000; i++) {
            sum = sum + sampled(d);
        }
        EXPECT_LT(greatest(1.0 / 20000 * sum - sky_formula(d)), 0.02);
    }
}

TEST(sky_sample, is_white_on_the_axis_of_the_glare_and_beside_it)
{
    EXPECT_EQ(sampled(glare_axis), (Vec3{255, 255, 255}));
    const f64 third = glare_axis[0];
    EXPECT_EQ(sampled({third, third, third}), (Vec3{255, 255, 255}));
    EXPECT_EQ(sampled(unit({1, 1, 1.00001})), (Vec3{255, 255, 255}));
}

TEST(sky_sample, is_sky_at_the_height_of_the_eye_and_ground_just_below)
{
    const Vec3 level = sampled({-1, 0, 0});
    const Vec3 expected = sky_formula({-1, 0, 0});
    EXPECT_LT(greatest(level - expected), 1.01);
    const Vec3 below = sampled(unit({-1, 0, -1e-9}));
    EXPECT_EQ(below[0], below[1]);
    EXPECT_TRUE(below[0] == 0 || below[0] == 255);
}

TEST(sky_sample, never_wraps_a_channel_above_white)
{
    for (i32 i = 0; i < 2000; i++) { // green begins at 255 there
        EXPECT_GT(sampled({1, 0, 0})[1], 200);
        EXPECT_GT(sampled({-std::sqrt(0.5), std::sqrt(0.5), 0})[1], 200);
    }
}

TEST(sky_sample, takes_six_draws_for_the_sky_and_none_for_the_ground)
{
    rnd_seed(3);
    sampled({0, 0, 1});
    EXPECT_EQ(rnd_count(), 6U);
    sampled({0, 0, -1});
    EXPECT_EQ(rnd_count(), 6U);
}

TEST(sky_sample, goes_on_in_the_stream_as_single_draws_do)
{
    rnd_seed(3);
    sampled({0, 0, 1});
    const i32 next = rnd_draw();
    rnd_seed(3);
    for (i32 i = 0; i < 6; i++) {
        rnd_draw();
    }
    EXPECT_EQ(rnd_draw(), next);
}

// One image, slowly: all samples by the routine for one direction.
static std::vector<u8> slow_rows(i32 face, i32 from, i32 to)
{
    std::vector<u8> out;
    for (i32 j = from; j < to; j++) {
        for (i32 i = 0; i < SKYMAP_SIZE; i++) {
            Vec3 sum = {0, 0, 0};
            for (i32 q = 0; q < 4; q++) {
                const f64 w = 2 * (q % 2) - q / 2 + 1;
                const f64 u = (i - 256 + (q + 0.5) / 4) / 256;
                const f64 v = (j - 256 + (w + 0.5) / 4) / 256;
                const f64 n = 1 / std::sqrt(1 + u * u + v * v);
                const f64 a = u * n;
                const f64 b = v * n;
                const Vec3 directions[6] = {{n, -b, -a}, {-n, -b, a}, {a, n, b},
                                            {a, -n, -b}, {a, -b, n},  {-a, -b, -n}};
                sum = sum + sampled(directions[face]);
            }
            for (size_t c = 0; c < 3; c++) {
                out.push_back(static_cast<u8>(sum[c] * 0.25));
            }
        }
    }
    return out;
}

TEST(skymap_face, is_the_mean_of_four_samples_a_pixel)
{
    std::vector<u8> bytes(SKYMAP_BYTES);
    for (i32 face = 0; face < SKYMAP_FACES; face++) {
        skymap_face(face, bytes.data());
        for (const i32 row : {0, 200, 255, 256, 257, 511}) {
            const std::vector<u8> slow = slow_rows(face, row, row + 1);
            for (size_t i = 0; i < slow.size(); i++) {
                // the dither of four samples differs, and moves their mean by less than a step
                const i32 fast = bytes[static_cast<size_t>(row) * SKYMAP_SIZE * 3 + i];
                ASSERT_LE(std::abs(fast - slow[i]), 1) << face << " " << row << " " << i;
            }
        }
    }
}

TEST(skymap_face, is_all_ground_below)
{
    std::vector<u8> bytes(SKYMAP_BYTES);
    rnd_seed(1);
    skymap_face(5, bytes.data());
    EXPECT_EQ(rnd_count(), 0U);
    skymap_face(4, bytes.data());
    EXPECT_EQ(rnd_count(), 512U * 512 * 4 * 6);
}

// The cube map that the sea has left bound, read by direction.
static std::vector<Vec3> mirrored(const std::vector<Vec3>& directions, f64 time = 0)
{
    picture_open();
    gfx_resize(16, 12);
    World world;
    LightRec light;
    light_compute(time, &light);
    picture_begin(&world.game);
    sea_draw(&world.game, 0, &light, 1);
    static GLuint program;
    if (program == 0) {
        program = probe_program({}, {"uniform samplerCube cubemap;\n"
                                     "void main() { gl_FragColor = textureCube(cubemap, "
                                     "gl_TexCoord[0].xyz); }"});
    }
    program_use(program);
    std::vector<ProbeSample> samples(directions.size());
    for (size_t i = 0; i < directions.size(); i++) {
        samples[i].tex[0] = directions[i];
    }
    std::vector<Vec3> out;
    for (const ProbeResult& result : probe_run(samples)) {
        out.push_back(255.0 * probe_rgb(result));
    }
    program_use(0);
    return out;
}

// Whether the direction has the same square of the ground, or the sky, all around it.
static bool plain(Vec3 d)
{
    for (i32 i = 0; i < 8; i++) {
        const Vec3 off = {i & 1 ? 0.006 : -0.006, i & 2 ? 0.006 : -0.006, i & 4 ? 0.006 : -0.006};
        const Vec3 near = unit(d + off);
        if ((near[2] < 0) != (d[2] < 0) || (d[2] < 0 && white_square(near) != white_square(d))) {
            return false;
        }
    }
    return dot(d, glare_axis) < 0.98 && (d[2] < -0.25 || d[2] > 0.05);
}

TEST(sea_cubemap, shows_each_direction_as_it_is_sampled)
{
    const std::vector<Vec3> directions = random_directions(2000);
    const std::vector<Vec3> got = mirrored(directions);
    i32 tested[6] = {};
    for (size_t i = 0; i < directions.size(); i++) {
        const Vec3 d = directions[i];
        if (!plain(d)) {
            continue;
        }
        const f64 shade = white_square(d) ? 255 : 0;
        const Vec3 expected = d[2] < 0 ? Vec3{shade, shade, shade} : sky_formula(d);
        EXPECT_LT(greatest(got[i] - expected), 3) << d[0] << " " << d[1] << " " << d[2];
        for (size_t axis = 0; axis < 3; axis++) {
            if (std::fabs(d[axis]) == greatest(d)) {
                tested[2 * axis + (d[axis] < 0 ? 1 : 0)]++;
            }
        }
    }
    for (const i32 n : tested) {
        EXPECT_GT(n, 30); // on each face
    }
}

TEST(sea_cubemap, is_whitest_toward_the_glare_whatever_the_sun)
{
    const std::vector<Vec3> directions = {glare_axis, {-1, 0, 1}, {0, 0, 1}, {0, 1, 1}};
    const std::vector<Vec3> got = mirrored(directions);
    EXPECT_GT(got[0][0], 250);
    EXPECT_LT(got[1][0], 100);
    EXPECT_LT(got[2][0], 120);
    EXPECT_LT(got[3][0], 120); // where the sun stands at noon
    EXPECT_EQ(got, mirrored(directions, 500));
}
