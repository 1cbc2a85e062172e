// Light and fog through a program, read back in floating point, against the formulas.
#include "gfx/platform.h"
#include "tests/scene/tracer.h"

extern const char glsl_lighting[];

// Shows one value of the shared routines.
static const char showing[] = R"(
uniform vec3 nv;
uniform vec3 ps;
uniform vec3 c;
uniform float z;
uniform int what;
void main()
{
    if (what == 0) {
        gl_FragColor = vec4(lighting(nv, ps), 1.0);
    } else if (what == 1) {
        gl_FragColor = fog(vec4(c, 0.25), z);
    } else if (what == 2) {
        gl_FragColor = vec4(lightrep(ps, nv, lpos0, lcol0, c), 1.0);
    } else {
        gl_FragColor = vec4(lightrepcone(ps, nv, lpos0, lcol0, c), 1.0);
    }
}
)";

static const char passing[] = R"(#version 120
void main()
{
    gl_Position = gl_Vertex;
}
)";

template <typename T> static T entry(const char* name)
{
    return reinterpret_cast<T>(platform->glproc(name));
}

// A framebuffer of one pixel that keeps any number.
static void bind_floats(bool on)
{
    static GLuint buffer;
    const auto bind = entry<PFNGLBINDFRAMEBUFFERPROC>("glBindFramebuffer");
    if (buffer == 0) {
        GLuint texture = 0;
        glGenTextures(1, &texture);
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA32F, 1, 1, 0, GL_RGBA, GL_FLOAT, nullptr);
        glBindTexture(GL_TEXTURE_2D, 0);
        entry<PFNGLGENFRAMEBUFFERSPROC>("glGenFramebuffers")(1, &buffer);
        bind(GL_FRAMEBUFFER, buffer);
        entry<PFNGLFRAMEBUFFERTEXTURE2DPROC>("glFramebufferTexture2D")(
            GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    }
    bind(GL_FRAMEBUFFER, on ? buffer : 0);
}

struct Setting {
    LightRec light = {};
    Lamp lamp = {};
    Vec normal = {0, 0, 1};
    Vec at = {0, 0, 100};
    Vec c = {}; // a colour for the fog, periods for the lattice
    f64 z = 0;
};

struct Value {
    f32 v[4];
    f64 operator[](i32 i) const
    {
        return static_cast<f64>(v[i]);
    }
};

static Value show(const Setting& s, i32 what)
{
    picture_open();
    static GLuint program;
    if (program == 0) {
        const char* const vertex[] = {passing};
        const char* const fragment[] = {glsl_lighting, showing};
        program = program_make_lists(vertex, 1, fragment, 2);
    }
    bind_floats(true);
    program_use(program);
    lights_set(program, &s.light);
    lamp_set(program, &s.lamp.at.x, s.lamp.lit);
    uniform_vec3(program, "nv", &s.normal.x);
    uniform_vec3(program, "ps", &s.at.x);
    uniform_vec3(program, "c", &s.c.x);
    uniform_f32(program, "z", static_cast<f32>(s.z));
    uniform_i32(program, "what", what);
    glDisable(GL_DEPTH_TEST);
    glRectf(-1, -1, 1, 1);
    glEnable(GL_DEPTH_TEST);
    program_use(0);
    Value out;
    glReadPixels(0, 0, 1, 1, GL_RGBA, GL_FLOAT, out.v);
    bind_floats(false);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    return out;
}

static void expect_near(const Value& got, f64 r, f64 g, f64 b, f64 tolerance = 1e-5)
{
    EXPECT_NEAR(got[0], r, tolerance);
    EXPECT_NEAR(got[1], g, tolerance);
    EXPECT_NEAR(got[2], b, tolerance);
}

// Sun overhead and sky, all of strength 1.
static Setting full_light()
{
    Setting s;
    for (i32 i = 0; i < 3; i++) {
        s.light.sunrow[0][i] = 1;
        s.light.csky[i] = 1;
    }
    s.light.nsun[2] = 1;
    return s;
}

TEST(lighting, of_an_upward_face_sums_sun_and_sky)
{
    expect_near(show(full_light(), 0), 2, 2, 2, 2e-3);
}

TEST(lighting, of_an_upward_face_adds_the_lamp)
{
    Setting s = full_light();
    s.lamp = {{0, 0, 104}, true};
    expect_near(show(s, 0), 2 + 5.0 / 4, 2 + 5.0 / 4, 2 + 5.0 / 4, 2e-3);
}

TEST(lighting, of_a_downward_face_is_none)
{
    Setting s = full_light();
    s.normal = {0, 0, -1};
    expect_near(show(s, 0), 0, 0, 0, 2e-3);
}

TEST(lighting, of_an_upright_face_has_half_the_sky)
{
    Setting s = full_light();
    s.normal = {1, 0, 0};
    expect_near(show(s, 0), 0.5, 0.5, 0.5, 2e-3);
}

TEST(lighting, below_the_sea_loses_red_before_green_before_blue)
{
    Setting s = full_light();
    s.at.z = -10;
    expect_near(show(s, 0), 2 * 0.0498, 2 * 0.1353, 2 * 0.368, 3e-3);
}

TEST(lighting, at_the_level_of_the_sea_is_whole)
{
    Setting s = full_light();
    s.at.z = -5;
    expect_near(show(s, 0), 2, 2, 2, 2e-3);
}

TEST(lighting, of_the_lamp_is_not_subject_to_water)
{
    Setting s;
    s.at = {0, 0, -30};
    s.lamp = {{0, 0, -28}, true};
    expect_near(show(s, 0), 2.5, 2.5, 2.5);
}

TEST(lighting, of_a_face_turned_from_the_lamp_is_a_tenth)
{
    Setting s;
    s.lamp = {{0, 0, 98}, true};
    expect_near(show(s, 0), 0.25, 0.25, 0.25);
}

TEST(lighting, on_the_lamp_itself_is_bounded)
{
    Setting s;
    s.lamp = {s.at, true};
    const Value got = show(s, 0);
    EXPECT_TRUE(std::isfinite(got[0]));
    EXPECT_GT(got[0], 1);
}

TEST(lighting, of_a_normal_a_little_too_long_is_a_number)
{
    Setting s = full_light();
    s.normal.z = 1 + 1e-6;
    expect_near(show(s, 0), 2, 2, 2, 2e-3);
    s.normal.z = -1 - 1e-6;
    expect_near(show(s, 0), 0, 0, 0, 2e-3);
}

// Draws of a place, a normal, a time of day and a lamp.
static Setting random_setting(std::mt19937* draws)
{
    std::uniform_real_distribution<f64> any(-1, 1);
    Setting s;
    light_compute(1000 * any(*draws), &s.light);
    s.normal = unit({any(*draws), any(*draws), any(*draws)});
    s.at = {50 * any(*draws), 50 * any(*draws), 20 * any(*draws)};
    s.lamp.at = s.at + 6.0 * Vec{any(*draws), any(*draws), any(*draws)};
    s.lamp.lit = any(*draws) > 0;
    s.c = {0.5 + 0.5 * any(*draws), 0.5 + 0.5 * any(*draws), 0.5 + 0.5 * any(*draws)};
    s.z = -6000 * std::fabs(any(*draws));
    return s;
}

TEST(lighting, follows_its_formula_at_50_random_places)
{
    std::mt19937 draws(5);
    for (i32 i = 0; i < 50; i++) {
        const Setting s = random_setting(&draws);
        const Value got = show(s, 0);
        for (i32 k = 0; k < 3; k++) {
            const f64 expected = light_formula(&s.light, &s.lamp, s.normal, s.at, k);
            EXPECT_NEAR(got[k], expected, 5e-4) << i;
        }
    }
}

TEST(fog, follows_its_formula_at_50_random_places)
{
    std::mt19937 draws(6);
    for (i32 i = 0; i < 50; i++) {
        const Setting s = random_setting(&draws);
        const Value got = show(s, 1);
        const f64 colour[3] = {s.c.x, s.c.y, s.c.z};
        for (i32 k = 0; k < 3; k++) {
            EXPECT_NEAR(got[k], fog_formula(&s.light, colour[k], -s.z, k), 1e-5) << i;
        }
    }
}

TEST(fog, at_no_distance_changes_nothing)
{
    Setting s = full_light();
    s.c = {0.25, 0.5, 0.75};
    const Value got = show(s, 1);
    expect_near(got, 0.25, 0.5, 0.75, 0);
    EXPECT_EQ(got[3], 0.25);
}

TEST(fog, keeps_more_red_than_green_than_blue)
{
    Setting s;
    s.c = {1, 1, 1};
    s.z = -3000;
    expect_near(show(s, 1), std::exp(-0.5), std::exp(-0.6), std::exp(-0.7));
}

TEST(fog, keeps_alpha)
{
    Setting s = full_light();
    s.z = -5000;
    EXPECT_EQ(show(s, 1)[3], 0.25);
}

TEST(fog, far_away_is_the_colour_of_the_daylight)
{
    Setting s = full_light();
    s.z = -1e6;
    expect_near(show(s, 1), 0.8, 0.8, 0.8);
}

// The nearest copy of the lamp, and its light, written out.
static f64 lattice_formula(const Setting& s, bool cone)
{
    const f64 period[3] = {s.c.x, s.c.y, s.c.z};
    const Vec away = s.lamp.at - s.at;
    f64 d[3] = {away.x, away.y, away.z};
    f64 falling = 1;
    for (i32 k = 0; k < 3; k++) {
        d[k] -= period[k] * std::floor(d[k] / period[k] + 0.5);
        falling *= 1 - std::pow(d[k] / (0.5 * period[k]), 2);
    }
    const Vec ld = {d[0], d[1], d[2]};
    const f64 rings = cone ? 0.8 + 0.2 * std::sin(30 * unit(ld).z) : 1;
    return rings * falling * 5 * std::max(0.0, dot(s.normal, ld) / dot(ld, ld));
}

TEST(lightrep, follows_its_formula_with_and_without_rings)
{
    std::mt19937 draws(7);
    for (i32 i = 0; i < 50; i++) {
        Setting s = random_setting(&draws);
        s.lamp.lit = true;
        s.c = {20, 20, 10};
        EXPECT_NEAR(show(s, 2)[0], lattice_formula(s, false), 2e-4) << i;
        EXPECT_NEAR(show(s, 3)[1], lattice_formula(s, true), 2e-4) << i;
    }
}
