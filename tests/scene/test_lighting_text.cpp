// The light and the fog that all lit surfaces share, as the driver computes them.
#include "tests/shader_probe.h"

extern const char glsl_lighting[];

struct Lit {
    Vec3 csun = {0, 0, 0}, csky = {0, 0, 0}, nsun = {0, 0, 1};
    Vec3 lpos = {0, 0, 1000}, lcol = {0, 0, 0};

    // What an expression of the normal n, the place p and the depth z comes to.
    ProbeResult value(const std::string& expression, Vec3 n, Vec3 p, f64 z = 0) const
    {
        picture_open();
        const std::string main = "void main()\n{\n    vec3 n = gl_TexCoord[0].xyz;\n"
                                 "    vec3 p = gl_TexCoord[1].xyz;\n"
                                 "    float z = gl_TexCoord[2].x;\n"
                                 "    gl_FragColor = " +
                                 expression + ";\n}\n";
        const GLuint program = probe_program({}, {glsl_lighting, main.c_str()});
        program_use(program);
        probe_vec3(program, "csun", csun);
        probe_vec3(program, "csky", csky);
        probe_vec3(program, "nsun", nsun);
        probe_vec3(program, "lpos0", lpos);
        probe_vec3(program, "lcol0", lcol);
        ProbeSample sample;
        sample.tex[0] = n;
        sample.tex[1] = p;
        sample.tex[2] = {z, 0, 0};
        const ProbeResult out = probe_run({sample})[0];
        program_use(0);
        return out;
    }
    Vec3 lighting(Vec3 n, Vec3 p) const
    {
        return probe_rgb(value("vec4(lighting(n, p), 1.0)", n, p));
    }
};

static void expect_near(Vec3 got, Vec3 expected, f64 within)
{
    EXPECT_LT(greatest(got - expected), within)
        << got[0] << " " << got[1] << " " << got[2] << " for " << expected[0] << " " << expected[1]
        << " " << expected[2];
}

TEST(glsl_lighting, adds_sun_and_sky_on_an_upward_face_in_the_open)
{
    const Lit lit = {.csun = {1, 1, 1}, .csky = {1, 1, 1}};
    expect_near(lit.lighting({0, 0, 1}, {0, 0, 100}), {2, 2, 2}, 1e-5);
}

TEST(glsl_lighting, adds_the_lamp_to_them)
{
    const Lit lit = {.csun = {1, 1, 1}, .csky = {1, 1, 1}, .lpos = {0, 0, 110}, .lcol = {5, 5, 5}};
    expect_near(lit.lighting({0, 0, 1}, {0, 0, 100}), {2.5, 2.5, 2.5}, 1e-5);
}

TEST(glsl_lighting, lets_the_sky_fall_with_the_angle)
{
    const Lit lit = {.csky = {0.25, 0.625, 1}};
    const Vec3 p = {0, 0, 0};
    expect_near(lit.lighting({0, 0, 1}, p), {0.25, 0.625, 1}, 1e-3);
    expect_near(lit.lighting({1, 0, 0}, p), {0.125, 0.3125, 0.5}, 1e-3);
    expect_near(lit.lighting({0, 0, -1}, p), {0, 0, 0}, 1e-3);
    const f64 third = 3.14159265358979 / 3;
    expect_near(lit.lighting({std::sin(third), 0, std::cos(third)}, p),
                {0.25 * 2 / 3, 0.625 * 2 / 3, 2.0 / 3}, 1e-3);
}

TEST(glsl_lighting, gives_no_sun_to_faces_turned_away)
{
    const Lit lit = {.csun = {1, 0.5, 0.25}, .nsun = {0.6, 0, 0.8}};
    expect_near(lit.lighting({0, 0, 1}, {0, 0, 0}), {0.8, 0.4, 0.2}, 1e-5);
    expect_near(lit.lighting({-0.8, 0, 0.6}, {0, 0, 0}), {0, 0, 0}, 1e-5);
    expect_near(lit.lighting({-1, 0, 0}, {0, 0, 0}), {0, 0, 0}, 1e-5);
}

TEST(glsl_lighting, dims_the_light_from_above_by_colour_under_water)
{
    const Lit lit = {.csun = {1, 1, 1}};
    expect_near(lit.lighting({0, 0, 1}, {0, 0, -10}), {0.0497871, 0.1353353, 0.3678794}, 1e-5);
    expect_near(lit.lighting({0, 0, 1}, {0, 0, -5}), {1, 1, 1}, 1e-5);
}

TEST(glsl_lighting, lets_the_lamp_shine_under_water)
{
    const Lit lit = {.csun = {1, 1, 1}, .lpos = {0, 0, -98}, .lcol = {5, 4, 3}};
    expect_near(lit.lighting({0, 0, 1}, {0, 0, -100}), {2.5, 2, 1.5}, 1e-5);
}

TEST(glsl_lighting, lets_the_lamp_fall_with_the_plain_distance_and_reach_faces_turned_away)
{
    const Lit lit = {.lpos = {0, 0, 4}, .lcol = {5, 5, 5}};
    expect_near(lit.lighting({0, 0, 1}, {0, 0, 0}), {1.25, 1.25, 1.25}, 1e-5);
    expect_near(lit.lighting({0, 0, 1}, {0, 0, 2}), {2.5, 2.5, 2.5}, 1e-5);
    expect_near(lit.lighting({0, 0, -1}, {0, 0, 0}), {0.125, 0.125, 0.125}, 1e-5);
}

TEST(glsl_lighting, is_bounded_on_the_lamp_itself)
{
    const Lit lit = {.lpos = {0, 0, 4}, .lcol = {5, 5, 5}};
    const Vec3 got = lit.lighting({0, 0, 1}, {0, 0, 4});
    EXPECT_TRUE(std::isfinite(got[0]) && std::isfinite(got[1]) && std::isfinite(got[2]));
}

TEST(glsl_lighting, fogs_blue_first_and_red_last)
{
    const Lit lit = {.csun = {0, 0, 0}, .csky = {0, 0, 0}};
    const ProbeResult got =
        lit.value("fog(vec4(1.0, 1.0, 1.0, 0.6), z)", {0, 0, 1}, {0, 0, 0}, -3000);
    expect_near(probe_rgb(got), {std::exp(-0.5), std::exp(-0.6), std::exp(-0.7)}, 1e-5);
    EXPECT_FLOAT_EQ(got[3], 0.6F);
}

TEST(glsl_lighting, fogs_nothing_at_the_eye)
{
    const Lit lit = {.csun = {1, 1, 1}, .csky = {1, 1, 1}};
    const ProbeResult got = lit.value("fog(vec4(0.1, 0.2, 0.3, 0.4), z)", {0, 0, 1}, {0, 0, 0}, 0);
    expect_near(probe_rgb(got), {0.1, 0.2, 0.3}, 1e-6);
    EXPECT_FLOAT_EQ(got[3], 0.4F);
}

TEST(glsl_lighting, fogs_toward_the_daylight)
{
    const Lit lit = {.csun = {1, 0.8, 0.6}, .csky = {0.2, 0.4, 0.9}};
    const ProbeResult got =
        lit.value("fog(vec4(0.0, 0.0, 0.0, 1.0), z)", {0, 0, 1}, {0, 0, 0}, -1e6);
    expect_near(probe_rgb(got), {0.06 + 0.5, 0.12 + 0.4, 0.27 + 0.3}, 1e-5);
    EXPECT_FLOAT_EQ(got[3], 1);
}

TEST(glsl_lighting, repeats_a_lamp_on_a_lattice_without_seams)
{
    const Lit lit;
    const std::string lamp = "vec4(lightrep(p, n, vec3(1.0, 2.0, 3.0), vec3(1.0), vec3(20.0, 20.0, "
                             "10.0)), 1.0)";
    const Vec3 n = {0, 0, -1};
    const Vec3 here = probe_rgb(lit.value(lamp, n, {3, 1, 5}));
    // (-2, 1, -2) from there to the lamp: nine square
    const f64 corr = (1 - 0.04) * (1 - 0.01) * (1 - 0.16);
    expect_near(here, corr * 2.0 / 9 * Vec3{1, 1, 1}, 1e-5);
    expect_near(probe_rgb(lit.value(lamp, n, {23, -39, 35})), here, 1e-5);
    expect_near(probe_rgb(lit.value(lamp, n, {11, 5, 5})), {0, 0, 0}, 1e-5); // a cell's edge
}

TEST(glsl_lighting, shades_a_repeated_lamp_with_rings)
{
    const Lit lit;
    const Vec3 n = {0, 0, -1};
    const std::string args = "(p, n, vec3(1.0, 2.0, 3.0), vec3(1.0), vec3(20.0, 20.0, 10.0)), 1.0)";
    const Vec3 p = {3, 1, 5};
    const f64 cone = 0.8 + 0.2 * std::sin(-2.0 / 3 * 30);
    expect_near(probe_rgb(lit.value("vec4(lightrepcone" + args, n, p)),
                cone * probe_rgb(lit.value("vec4(lightrep" + args, n, p)), 1e-5);
}
