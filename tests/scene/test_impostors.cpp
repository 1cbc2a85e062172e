// Spheres and cylinders on the card against a ray tracer: outline, depth, normal, light.
#include "scene/impostors.h"
#include "tests/scene/tracer.h"

#include <algorithm>
#include <functional>

extern const char glsl_sphere_vs[];
extern const char glsl_sphere_fs[];
extern const char glsl_cylinder_vs[];
extern const char glsl_cylinder_fs[];

// In place of the light: the colour of a surface tells its normal, and no fog hides it.
static const char telltale[] = R"(#version 120
vec3 lighting(vec3 nv, vec3 ps)
{
    return 0.5 + 0.5 * nv;
}
vec4 fog(vec4 c, float z)
{
    return c;
}
)";

static GLuint normals_program(bool sphere)
{
    static GLuint programs[2];
    const char* const vertex[] = {sphere ? glsl_sphere_vs : glsl_cylinder_vs};
    const char* const fragment[] = {telltale, sphere ? glsl_sphere_fs : glsl_cylinder_fs};
    if (programs[sphere] == 0) {
        programs[sphere] = program_make_lists(vertex, 1, fragment, 2);
    }
    return programs[sphere];
}

// One shape as it is seen from one place.
struct Shot {
    Camera camera;
    bool sphere;
    Vec at, axis;
    f64 radius;
    u32 colour = 0x808080;
    LightRec light = {};
    Lamp lamp = {};

    Hit trace(f64 x, f64 y) const
    {
        const Vec ray = camera.ray(x, y);
        return sphere ? trace_sphere(camera.eye, ray, at, radius)
                      : trace_cylinder(camera.eye, ray, at, axis, radius);
    }
};

struct Buffers {
    Picture picture;
    std::vector<f32> depth;
    f64 deep(i32 x, i32 y) const
    {
        return static_cast<f64>(depth[static_cast<size_t>(y) * picture.width + x]);
    }
    bool painted(i32 x, i32 y) const // over a ground of pure magenta
    {
        const Rgb c = picture.at(x, y);
        return c.r != 1 || c.g != 0 || c.b != 1;
    }
};

static void emit(const Shot& shot)
{
    impostors_begin();
    if (shot.sphere) {
        impostor_sphere(shot.colour, &shot.at.x, shot.radius);
    } else {
        impostor_cylinder(shot.colour, &shot.at.x, &shot.axis.x, shot.radius);
    }
    impostors_end();
}

static Buffers paint(const Shot& shot, GLuint program)
{
    picture_open();
    gfx_resize(160, 120);
    shot.camera.load();
    glClearColor(1, 0, 1, 1);
    picture_clear();
    glClearColor(0, 0, 0, 0);
    program_use(program);
    projection_set(program);
    lights_set(program, &shot.light);
    lamp_set(program, &shot.lamp.at.x, shot.lamp.lit);
    emit(shot);
    program_use(0);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    Buffers out = {picture_take(), {}};
    out.depth.resize(160 * 120);
    glReadPixels(0, 0, 160, 120, GL_DEPTH_COMPONENT, GL_FLOAT, out.depth.data());
    glLoadIdentity();
    return out;
}

static GLuint lit_program(const Shot& shot)
{
    return shot.sphere ? sphere_program() : cylinder_program();
}

// Whether the outline passes within one pixel.
static bool at_outline(const Shot& shot, i32 x, i32 y)
{
    const bool here = shot.trace(x, y).any;
    for (i32 dy = -1; dy <= 1; dy++) {
        for (i32 dx = -1; dx <= 1; dx++) {
            if (shot.trace(x + dx, y + dy).any != here) {
                return true;
            }
        }
    }
    return false;
}

using Check = std::function<void(i32 x, i32 y, const Hit& hit)>;

// Calls back for the pixels that are wholly inside; the outline may be off by one pixel. A hit before
// the near plane has its depth held, and one beyond the far plane isn't drawn. Returns their number.
static i32 check_pixels(const Shot& shot, const Buffers& got, const Check& check)
{
    i32 n = 0;
    for (i32 y = 0; y < got.picture.height; y++) {
        for (i32 x = 0; x < got.picture.width; x++) {
            if (at_outline(shot, x, y)) {
                continue;
            }
            const Hit hit = shot.trace(x, y);
            EXPECT_EQ(got.painted(x, y), hit.any) << x << " " << y;
            if (got.painted(x, y) && hit.any) {
                check(x, y, hit);
                n++;
            }
        }
    }
    return n;
}

// Thirty places: ten with the eye near, ten further off, ten in the far slice.
static Shot make_shot(i32 i, bool sphere)
{
    std::mt19937 draws(static_cast<u32>(100 + i));
    std::uniform_real_distribution<f64> any(-1, 1);
    const bool far = i >= 20;
    const Vec eye = {20 * any(draws), 20 * any(draws), 20 * any(draws)};
    Shot shot = {turned_camera(&draws, eye, far), sphere, {}, {}, 0};
    const f64 span = 0.5 + 0.5 * any(draws);
    const f64 ahead = far       ? 1300 * std::pow(50, span)
                      : i >= 10 ? 10 * std::pow(70, span)
                                : 1 + span;
    const Camera& c = shot.camera;
    shot.at = eye + ahead * (0.5 * any(draws) * c.right + 0.4 * any(draws) * c.up - c.back);
    shot.radius = ahead * (0.05 + 0.15 * std::fabs(any(draws)));
    if (!sphere) {
        shot.axis = 0.8 * ahead * Vec{any(draws), any(draws), any(draws)};
        shot.at = shot.at - 0.5 * shot.axis;
        shot.radius *= 0.5;
    }
    shot.lamp.at = shot.at + 2 * shot.radius * Vec{any(draws), any(draws), any(draws)};
    shot.lamp.lit = i % 3 == 0 && !far;
    light_compute(310 * any(draws), &shot.light);
    shot.colour = 0x406080 + static_cast<u32>(i) * 0x020100;
    return shot;
}

static std::vector<Shot> shots()
{
    picture_open();
    gfx_resize(160, 120);
    std::vector<Shot> all;
    for (const bool sphere : {true, false}) {
        for (i32 i = 0; i < 30; i++) {
            all.push_back(make_shot(i, sphere));
        }
    }
    return all;
}

TEST(impostor, has_the_outline_and_the_normals_of_the_ray_tracer)
{
    i32 n = 0;
    for (Shot& shot : shots()) {
        shot.colour = 0xFFFFFF;
        const Buffers got = paint(shot, normals_program(shot.sphere));
        n += check_pixels(shot, got, [&](i32 x, i32 y, const Hit& hit) {
            const Rgb c = got.picture.at(x, y);
            ASSERT_NEAR(c.r, 0.5 + 0.5 * hit.normal.x, 2.0 / 255);
            ASSERT_NEAR(c.g, 0.5 + 0.5 * hit.normal.y, 2.0 / 255);
            ASSERT_NEAR(c.b, 0.5 + 0.5 * hit.normal.z, 2.0 / 255);
        });
    }
    EXPECT_GT(n, 60 * 100);
}

// How far the depth changes within a pixel: near the outline, without bounds.
static f64 depth_slope(const Shot& shot, i32 x, i32 y)
{
    const f64 here = shot.camera.depth(shot.trace(x, y).t);
    f64 slope = 0;
    for (const f64 d : {-1.0, 1.0}) {
        slope = std::max(slope, std::fabs(shot.camera.depth(shot.trace(x + d, y).t) - here));
        slope = std::max(slope, std::fabs(shot.camera.depth(shot.trace(x, y + d).t) - here));
    }
    return slope;
}

// Besides the buffer's step two ten-thousandths of a pixel are allowed, by which single precision moves a
// ray; most pixels have to do without.
TEST(impostor, has_the_depth_of_the_ray_tracer)
{
    i32 n = 0;
    i32 within = 0;
    for (const Shot& shot : shots()) {
        const Buffers got = paint(shot, lit_program(shot));
        GLint bits = 0;
        glGetIntegerv(GL_DEPTH_BITS, &bits);
        const f64 step =
            std::exp2(-std::min(bits, 24)); // 32 bits hold no more than single precision
        n += check_pixels(shot, got, [&](i32 x, i32 y, const Hit& hit) {
            const f64 expected = shot.camera.depth(hit.t);
            ASSERT_NEAR(got.deep(x, y), expected, 1.5 * step + 2e-4 * depth_slope(shot, x, y));
            within += std::fabs(got.deep(x, y) - expected) <= step ? 1 : 0;
        });
    }
    EXPECT_GT(n, 60 * 100);
    EXPECT_GT(within, 0.8 * n);
}

static f64 channel_of(u32 colour, i32 channel)
{
    return ((colour >> (16 - 8 * channel)) & 255) / 255.0;
}

static f64 lit_colour(const Shot& shot, const Hit& hit, const Vec& at, i32 channel)
{
    const f64 lit = light_formula(&shot.light, &shot.lamp, hit.normal, at, channel);
    const f64 out =
        fog_formula(&shot.light, channel_of(shot.colour, channel) * lit, hit.t, channel);
    return std::clamp(out, 0.0, 1.0);
}

TEST(impostor, has_the_lit_colour_of_the_ray_tracer)
{
    i32 n = 0;
    for (const Shot& shot : shots()) {
        const Buffers got = paint(shot, lit_program(shot));
        n += check_pixels(shot, got, [&](i32 x, i32 y, const Hit& hit) {
            const Vec at = shot.camera.eye + hit.t * shot.camera.ray(x, y);
            const Rgb c = got.picture.at(x, y);
            ASSERT_NEAR(c.r, lit_colour(shot, hit, at, 0), 2.0 / 255);
            ASSERT_NEAR(c.g, lit_colour(shot, hit, at, 1), 2.0 / 255);
            ASSERT_NEAR(c.b, lit_colour(shot, hit, at, 2), 2.0 / 255);
        });
    }
    EXPECT_GT(n, 60 * 100);
}

// A camera at the origin that looks along -z.
static Shot plain_shot(bool sphere, Vec at, Vec axis, f64 radius, bool far = false)
{
    picture_open(); // before a program is asked for
    return {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, far}, sphere, at, axis, radius};
}

static i32 painted_of(const Buffers& got)
{
    i32 n = 0;
    for (i32 i = 0; i < got.picture.width * got.picture.height; i++) {
        n += got.painted(i % got.picture.width, i / got.picture.width) ? 1 : 0;
    }
    return n;
}

static i32 painted(const Shot& shot)
{
    return painted_of(paint(shot, lit_program(shot)));
}

TEST(impostor_sphere, draws_nothing_around_an_eye_inside)
{
    EXPECT_EQ(painted(plain_shot(true, {0, 0, -0.5}, {}, 1)), 0);
    EXPECT_EQ(painted(plain_shot(true, {0, 0, 0.5}, {}, 1)), 0);
    EXPECT_EQ(painted(plain_shot(true, {0, 0, 0}, {}, 1)), 0);
    EXPECT_EQ(painted(plain_shot(true, {0, 0, 0}, {}, 1e6)), 0);
    EXPECT_GT(painted(plain_shot(true, {0, 0, -1.5}, {}, 1)), 1000);
}

TEST(impostor_sphere, covers_the_whole_view_just_outside_its_surface)
{
    EXPECT_EQ(painted(plain_shot(true, {0, 0, -100.01}, {}, 100)), 160 * 120);
}

TEST(impostor_sphere, is_round_beside_the_eye)
{
    for (const f64 z : {-0.3, -0.01, 0.0, 0.01, 0.3}) {
        const Shot shot = plain_shot(true, {1.1, 0.1, z}, {}, 1);
        const Buffers got = paint(shot, lit_program(shot));
        check_pixels(shot, got, [](i32, i32, const Hit&) {});
        EXPECT_GT(painted_of(got), 0) << z;
    }
}

TEST(impostor_sphere, stays_a_whole_sphere_across_the_border_of_the_slices)
{
    for (const bool far : {false, true}) {
        for (const f64 z : {-995.0, -1000.86, -1010.0}) {
            const Shot shot = plain_shot(true, {0, 0, z}, {}, 300, far);
            const Buffers got = paint(shot, lit_program(shot));
            // what lies beyond the near slice is missing there, and only there
            for (i32 x = 0; x < 160; x++) {
                const Hit hit = shot.trace(x, 60);
                const bool here = hit.any && (far || hit.t < 1001.5);
                if (!at_outline(shot, x, 60) && std::fabs(hit.t - 1001.72) > 1) {
                    EXPECT_EQ(got.painted(x, 60), here) << x << " " << z << " " << far;
                }
            }
        }
    }
}

TEST(impostor_sphere, of_no_radius_draws_nothing)
{
    EXPECT_EQ(painted(plain_shot(true, {0, 0, -5}, {}, 0)), 0);
    EXPECT_EQ(painted(plain_shot(true, {0.03, 0.03, -5}, {}, 0)), 0);
}

TEST(impostor_sphere, takes_a_negative_radius_as_its_size)
{
    EXPECT_EQ(painted(plain_shot(true, {0, 0, -5}, {}, -1)),
              painted(plain_shot(true, {0, 0, -5}, {}, 1)));
}

TEST(impostor_sphere, at_no_finite_place_draws_nothing)
{
    EXPECT_EQ(painted(plain_shot(true, {NAN, 0, -5}, {}, 1)), 0);
    EXPECT_EQ(painted(plain_shot(true, {0, 1e300, -5}, {}, 1)), 0);
    EXPECT_EQ(painted(plain_shot(true, {0, 0, -5}, {}, INFINITY)), 0);
}

TEST(impostor_cylinder, has_open_ends)
{
    Shot shot = plain_shot(false, {0, 0, -5}, {0, 0, -5}, 1);
    EXPECT_EQ(painted(shot), 0); // seen along its axis from within the tube
    shot.at = {3, 0, -5};
    const Buffers got = paint(shot, cylinder_program());
    i32 holes = 0; // rays that would meet a lid
    for (i32 x = 0; x < 160; x++) {
        const Vec ray = shot.camera.ray(x, 60);
        const Vec front = 5.0 * ray - shot.at;
        if (dot(front, front) < 0.8 && !shot.trace(x, 60).any) {
            EXPECT_FALSE(got.painted(x, 60));
            holes++;
        }
    }
    EXPECT_GT(holes, 5);
}

TEST(impostor_cylinder, with_its_axis_through_the_eye_draws_nothing)
{
    EXPECT_EQ(painted(plain_shot(false, {0, 0, -2}, {0, 0, -5}, 0.5)), 0);
    EXPECT_EQ(painted(plain_shot(false, {-2, -2, -2}, {4, 4, 4}, 0.5)), 0);
    EXPECT_EQ(painted(plain_shot(false, {0, 0, 0}, {0, 0, -5}, 0.5)), 0);
}

TEST(impostor_cylinder, draws_nothing_around_an_eye_inside)
{
    EXPECT_EQ(painted(plain_shot(false, {-5, 0.2, -0.3}, {10, 0, 0}, 0.5)), 0);
    EXPECT_EQ(painted(plain_shot(false, {-5, 0.2, 0.3}, {10, 0, 1}, 1)), 0);
    EXPECT_GT(painted(plain_shot(false, {-5, 0.2, -0.3}, {10, 0, 0}, 0.2)), 1000);
}

TEST(impostor_cylinder, of_no_length_or_radius_draws_nothing)
{
    EXPECT_EQ(painted(plain_shot(false, {0, 0, -5}, {0, 0, 0}, 1)), 0);
    EXPECT_EQ(painted(plain_shot(false, {0, 0, -5}, {1e-30, 0, 0}, 1)), 0);
    EXPECT_EQ(painted(plain_shot(false, {-1, 0, -5}, {2, 0, 0}, 0)), 0);
    EXPECT_EQ(painted(plain_shot(false, {-1, 0, -5}, {NAN, 0, 0}, 1)), 0);
    EXPECT_EQ(painted(plain_shot(false, {-1, 0, -5}, {INFINITY, 0, 0}, 1)), 0);
}

TEST(impostor_cylinder, follows_the_ray_tracer_when_the_eye_all_but_touches_it)
{
    for (const f64 gap : {0.2, 0.02, 0.002}) {
        const Shot shot = plain_shot(false, {-4, 0.3, -1 - gap}, {9, -0.5, -0.2}, 0.9);
        const Buffers got = paint(shot, cylinder_program());
        EXPECT_GT(check_pixels(shot, got, [](i32, i32, const Hit&) {}), 1000);
    }
}

TEST(impostor_cylinder, that_passes_the_eye_is_whole_before_it)
{
    for (const f64 y : {-0.6, 0.7, 2.0}) {
        const Shot shot = plain_shot(false, {0.1, y, 30}, {0.2, 0.1, -90}, 0.5);
        const Buffers got = paint(shot, cylinder_program());
        EXPECT_GT(check_pixels(shot, got, [](i32, i32, const Hit&) {}), 300) << y;
    }
}

TEST(impostor_cylinder_twin, is_never_painted)
{
    Shot shot = plain_shot(false, {-1, 0, -5}, {2, 0, 0}, 1);
    const i32 without = painted(shot);
    EXPECT_GT(without, 100);
    picture_clear();
    program_use(cylinder_program());
    impostors_begin();
    impostor_cylinder_twin(shot.colour, &shot.at.x, &shot.axis.x, shot.radius);
    impostors_end();
    program_use(0);
    EXPECT_EQ(picture_take().painted(), 0);
}

TEST(impostor_cylinder, draws_what_all_but_lies_in_an_axis_of_the_world)
{
    const i32 n = painted(plain_shot(false, {-1, 0, -5}, {2, 0, 0}, 1));
    EXPECT_GT(n, 100);
    EXPECT_EQ(painted(plain_shot(false, {-1, 1e-320, -5}, {2, 0, 0}, 1)), n);
    EXPECT_EQ(painted(plain_shot(false, {-1, -1e-320, -5}, {2, 1e-310, 0}, 1)), n);
}

// A stick from either end: its places have as few bits in common as can be.
TEST(impostor_cylinder, is_the_same_to_the_last_bit_from_either_end)
{
    std::mt19937 draws(7);
    std::uniform_real_distribution<f64> any(-1, 1);
    i32 n = 0;
    for (i32 i = 0; i < 40; i++) {
        Vec from = {3 * any(draws), std::pow(10, -(i % 5)) * any(draws), -6 + any(draws)};
        const Vec to = {3 * any(draws), 2 * any(draws), i % 4 == 0 ? from.z : -6 + 3 * any(draws)};
        from.y = i % 7 == 0 ? -0.0 : from.y;
        const Shot there = plain_shot(false, from, to - from, 0.4);
        const Shot back = plain_shot(false, to, from - to, 0.4);
        const Buffers a = paint(there, cylinder_program());
        const Buffers b = paint(back, cylinder_program());
        EXPECT_TRUE(a.picture.bytes == b.picture.bytes) << i;
        EXPECT_TRUE(a.depth == b.depth) << i;
        n += painted_of(a);
    }
    EXPECT_GT(n, 40 * 100);
}

TEST(impostor, on_the_lamp_itself_has_bounded_light)
{
    for (const bool sphere : {true, false}) {
        Shot shot = plain_shot(sphere, {sphere ? 0.0 : -2.0, 0, -2}, {4, 0, 0}, 1);
        shot.lamp = {{0, 0, -1}, true}; // on the surface, in the middle of the view
        const Buffers got = paint(shot, lit_program(shot));
        const Rgb c = got.picture.at(80, 60);
        EXPECT_EQ(c.r, 1);
        EXPECT_EQ(c.g, 1);
        EXPECT_EQ(c.b, 1);
    }
}

TEST(sphere_program_unlit, shows_its_own_colour_and_fogs_to_black)
{
    Shot shot = plain_shot(true, {0, 0, -2}, {}, 1);
    shot.colour = 0x8040FF;
    const Rgb near = paint(shot, sphere_program_unlit()).picture.at(80, 60);
    EXPECT_NEAR(near.r, 128 / 255.0, 1.0 / 255);
    EXPECT_NEAR(near.g, 64 / 255.0, 1.0 / 255);
    EXPECT_NEAR(near.b, 1.0, 1.0 / 255);
    shot = plain_shot(true, {0, 0, -4000}, {}, 1000, true);
    const Rgb deep = paint(shot, sphere_program_unlit()).picture.at(80, 60);
    EXPECT_NEAR(deep.r, 128 / 255.0 * std::exp(-0.5), 1.5 / 255);
    EXPECT_NEAR(deep.b, 128 / 255.0 * std::exp(-0.7), 1.5 / 255);
}
