// The functions of sea and land, as the driver computes them, against double precision.
#include "tests/surfaces.h"

#include <random>

extern const char glsl_lighting[];
extern const char glsl_waves[];
extern const char glsl_bed[];
extern const char glsl_mesh_vs[];

static const char* const column_fs[3] = {
    "void main() { gl_FragColor = vec4(surface(spos)[0], 1.0); }",
    "void main() { gl_FragColor = vec4(surface(spos)[1], 1.0); }",
    "void main() { gl_FragColor = vec4(surface(spos)[2], 1.0); }",
};

// Programs are kept: making one takes the driver a while.
static GLuint column_program(const char* text, i32 column)
{
    static std::map<std::pair<const char*, i32>, GLuint> programs;
    GLuint& program = programs[{text, column}];
    if (program == 0) {
        program = probe_program({probe_surface_vs}, {glsl_lighting, text, column_fs[column]});
    }
    return program;
}

static std::vector<Vec3> random_places(f64 reach, f64 z)
{
    std::mt19937 engine(12);
    std::uniform_real_distribution<f64> along(-reach, reach);
    std::vector<Vec3> places(200);
    for (Vec3& p : places) {
        // single numbers, so that both sides are given the same
        p = {static_cast<f64>(static_cast<f32>(along(engine))),
             static_cast<f64>(static_cast<f32>(along(engine))), z};
    }
    return places;
}

// The three columns at each place, from the fragment stage.
static std::vector<Surface> driver_surfaces(const char* text, const std::vector<Vec3>& places,
                                            f64 t)
{
    picture_open();
    std::vector<ProbeSample> samples(places.size());
    for (size_t i = 0; i < places.size(); i++) {
        samples[i].tex[0] = places[i];
    }
    std::vector<ProbeResult> columns[3];
    for (i32 column = 0; column < 3; column++) {
        const GLuint program = column_program(text, column);
        program_use(program);
        probe_f32(program, "t", t);
        columns[column] = probe_run(samples);
        program_use(0);
    }
    std::vector<Surface> out(places.size());
    for (size_t i = 0; i < places.size(); i++) {
        out[i] = {probe_rgb(columns[0][i]), probe_rgb(columns[1][i]), probe_rgb(columns[2][i])};
    }
    return out;
}

struct Mismatch {
    f64 point = 0, slope = 0;
};

static Mismatch sea_difference(f64 reach, f64 t)
{
    Mismatch most;
    const std::vector<Vec3> places = random_places(reach, -5);
    const std::vector<Surface> got = driver_surfaces(glsl_waves, places, t);
    for (size_t i = 0; i < places.size(); i++) {
        const Surface expected = sea_surface(places[i], t);
        most.point = std::fmax(most.point, greatest(got[i].point - expected.point));
        most.slope = std::fmax(most.slope, greatest(got[i].dx - expected.dx));
        most.slope = std::fmax(most.slope, greatest(got[i].dy - expected.dy));
    }
    return most;
}

TEST(sea_surface, agrees_with_double_precision_near_the_origin)
{
    const Mismatch most = sea_difference(100, 12.25);
    EXPECT_LT(most.point, 1e-4);
    EXPECT_LT(most.slope, 0.01);
}

TEST(sea_surface, agrees_with_double_precision_at_a_thousand_units_and_seconds)
{
    const Mismatch most = sea_difference(1000, 1000);
    EXPECT_LT(most.point, 1e-3);
    EXPECT_LT(most.slope, 0.05); // of the shortest waves, 0.01 units long
}

TEST(sea_surface, agrees_roughly_at_ten_thousand_units)
{
    EXPECT_LT(sea_difference(10000, 1000).point, 0.02);
}

TEST(sea_surface, moves_points_by_more_than_the_differences_allowed)
{
    f64 most = 0;
    for (const Vec3& p : random_places(100, -5)) {
        most = std::fmax(most, greatest(sea_surface(p, 12.25).point - p));
    }
    EXPECT_GT(most, 0.5);
}

static Mismatch land_difference(f64 reach)
{
    Mismatch most;
    const std::vector<Vec3> places = random_places(reach, -15);
    const std::vector<Surface> got = driver_surfaces(glsl_bed, places, 0);
    i32 tested = 0;
    for (size_t i = 0; i < places.size(); i++) {
        f64 kink;
        const Surface expected = land_surface(places[i], &kink);
        most.point = std::fmax(most.point, greatest(got[i].point - expected.point));
        if (kink > 1e-5 * reach) { // at a kink the slope jumps
            tested++;
            most.slope = std::fmax(most.slope, greatest(got[i].dx - expected.dx));
            most.slope = std::fmax(most.slope, greatest(got[i].dy - expected.dy));
        }
    }
    EXPECT_GT(tested, 50);
    return most;
}

TEST(land_surface, agrees_with_double_precision_near_the_origin)
{
    const Mismatch most = land_difference(100);
    EXPECT_LT(most.point, 5e-3); // amplitudes reach thousands
    EXPECT_LT(most.slope, 5e-4);
}

TEST(land_surface, agrees_with_double_precision_at_a_thousand_units)
{
    const Mismatch most = land_difference(1000);
    EXPECT_LT(most.point, 5e-3);
    EXPECT_LT(most.slope, 5e-4);
}

TEST(land_surface, agrees_in_place_at_a_hundred_thousand_units)
{
    const std::vector<Vec3> places = random_places(100000, -15);
    const std::vector<Surface> got = driver_surfaces(glsl_bed, places, 0);
    for (size_t i = 0; i < places.size(); i++) {
        EXPECT_LT(greatest(got[i].point - land_surface(places[i]).point), 1);
    }
}

TEST(land_surface, rises_through_the_sea_and_sinks_below_it)
{
    i32 above = 0;
    i32 below = 0;
    for (const Vec3& p : random_places(100000, -15)) {
        const f64 z = land_surface(p).point[2];
        above += z > -5 ? 1 : 0;
        below += z < -5 ? 1 : 0;
    }
    EXPECT_GT(above, 20);
    EXPECT_GT(below, 20);
}

// Derivatives by differences.
template <typename Function> static Surface differences(Function f, Vec3 p, f64 h)
{
    const Vec3 east = {h, 0, 0};
    const Vec3 north = {0, h, 0};
    return {f(p), 0.5 / h * (f(p + east) - f(p - east)), 0.5 / h * (f(p + north) - f(p - north))};
}

TEST(land_surface, has_the_normal_of_its_finite_differences_but_for_the_relief)
{
    const std::vector<Vec3> places = random_places(500, -15);
    const std::vector<Surface> got = driver_surfaces(glsl_bed, places, 0);
    i32 tested = 0;
    for (size_t i = 0; i < places.size(); i++) {
        f64 kink;
        land_surface(places[i], &kink);
        if (kink < 0.005) {
            continue;
        }
        tested++;
        const f64 afac = land_relief(places[i][0], places[i][1]);
        const Surface expected =
            differences([afac](Vec3 p) { return land_surface_of(p, afac).point; }, places[i], 1e-4);
        EXPECT_LT(greatest(got[i].normal() - expected.normal()), 0.005);
    }
    EXPECT_GT(tested, 50);
}

TEST(sea_surface, has_the_normal_of_its_finite_differences_but_for_the_swell)
{
    const std::vector<Vec3> places = random_places(100, -5);
    const std::vector<Surface> got = driver_surfaces(glsl_waves, places, 12.25);
    for (size_t i = 0; i < places.size(); i++) {
        const f64 afac = sea_swell(places[i][0], places[i][1], 12.25);
        const Surface expected = differences(
            [afac](Vec3 p) { return sea_surface_of(p, 12.25, afac).point; }, places[i], 1e-6);
        EXPECT_LT(greatest(got[i].dx - expected.dx), 0.02);
        EXPECT_LT(greatest(got[i].dy - expected.dy), 0.02);
    }
}

TEST(sea_surface, leaves_the_swell_out_of_its_slopes)
{
    f64 most = 0;
    for (const Vec3& p : random_places(100, -5)) {
        const Surface expected =
            differences([](Vec3 q) { return sea_surface(q, 12.25).point; }, p, 1e-6);
        most = std::fmax(most, greatest(sea_surface(p, 12.25).dx - expected.dx));
    }
    EXPECT_GT(most, 0.02); // a little off
    EXPECT_LT(most, 1);
}

// What the vertex stage hands on, at mesh vertices: each is put on a pixel of its own by a matrix that
// forgets where the point is.
static std::vector<Vec3> vertex_stage(const char* text, const char* varying,
                                      const std::vector<Vec3>& vertices, Vec3 orig, Vec3 eye, f64 t)
{
    picture_open();
    const std::string fragment = std::string("varying vec3 pos; varying vec3 spos;") +
                                 "void main() { gl_FragColor = vec4(" + varying + ", 1.0); }";
    const GLuint program = probe_program({text, glsl_mesh_vs}, {fragment.c_str()});
    program_use(program);
    probe_f32(program, "t", t);
    probe_vec3(program, "orig", orig);
    probe_vec3(program, "o", eye);
    const i32 n = static_cast<i32>(vertices.size());
    const ProbeTarget target(n, 1);
    for (i32 i = 0; i < n; i++) {
        const f64 forgets[16] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, -1 + (2.0 * i + 1) / n,
                                 0, 0, 1};
        glLoadMatrixd(forgets);
        glBegin(GL_POINTS);
        glVertex2d(vertices[static_cast<size_t>(i)][0], vertices[static_cast<size_t>(i)][1]);
        glEnd();
    }
    program_use(0);
    std::vector<Vec3> out;
    for (const ProbeResult& result : target.read()) {
        out.push_back(probe_rgb(result));
    }
    return out;
}

TEST(mesh_stage, lays_the_mesh_as_wide_as_the_eye_is_high_around_the_point_below_it)
{
    const std::vector<Vec3> vertices = {{0, 0, 0}, {1, 0, 0}, {-0.5, 0.25, 0}};
    const std::vector<Vec3> got =
        vertex_stage(glsl_waves, "spos", vertices, {30, -20, -5}, {30, -20, 45}, 0);
    for (size_t i = 0; i < vertices.size(); i++) {
        const Vec3 expected = Vec3{30, -20, -5} + 50 * vertices[i];
        EXPECT_LT(greatest(got[i] - expected), 1e-4) << i;
    }
}

TEST(mesh_stage, is_as_wide_for_an_eye_as_far_below)
{
    const std::vector<Vec3> got =
        vertex_stage(glsl_waves, "spos", {{1, -1, 0}}, {0, 0, -5}, {0, 0, -55}, 0);
    EXPECT_LT(greatest(got[0] - Vec3{50, -50, -5}), 1e-4);
}

TEST(mesh_stage, spans_two_by_two_units_with_the_eye_in_the_surface)
{
    for (const f64 z : {-5.0, -4.5, -5.9}) { // never narrower
        const std::vector<Vec3> got =
            vertex_stage(glsl_waves, "spos", {{-1, -1, 0}, {1, 1, 0}}, {7, 8, -5}, {7, 8, z}, 0);
        EXPECT_LT(greatest(got[1] - got[0] - Vec3{2, 2, 0}), 1e-5) << z;
    }
}

TEST(mesh_stage, displaces_each_vertex_as_the_sea_does)
{
    std::vector<Vec3> vertices = random_places(1, 0);
    vertices.resize(50);
    const Vec3 orig = {12, 34, -5};
    const std::vector<Vec3> got = vertex_stage(glsl_waves, "pos", vertices, orig, {12, 34, 40}, 3);
    for (size_t i = 0; i < vertices.size(); i++) {
        EXPECT_LT(greatest(got[i] - sea_surface(orig + 45 * vertices[i], 3).point), 1e-3);
    }
}

TEST(mesh_stage, displaces_each_vertex_as_the_land_does)
{
    std::vector<Vec3> vertices = random_places(1, 0);
    vertices.resize(50);
    const Vec3 orig = {12, 34, -15};
    const std::vector<Vec3> got = vertex_stage(glsl_bed, "pos", vertices, orig, {12, 34, 85}, 3);
    for (size_t i = 0; i < vertices.size(); i++) {
        EXPECT_LT(greatest(got[i] - land_surface(orig + 100 * vertices[i]).point), 5e-3);
    }
}

TEST(sea_surface, stays_where_it_is_when_the_eye_moves_sideways)
{
    // the point (20, 10) of the world, from two eyes
    const Vec3 a = vertex_stage(glsl_waves, "pos", {{0.5, 0.25, 0}}, {0, 0, -5}, {0, 0, 35}, 9)[0];
    const Vec3 b =
        vertex_stage(glsl_waves, "pos", {{-0.25, 0.5, 0}}, {30, -10, -5}, {30, -10, 35}, 9)[0];
    EXPECT_LT(greatest(a - b), 1e-5);
    EXPECT_GT(greatest(a - Vec3{20, 10, -5}), 0.01);
}

TEST(land_surface, takes_no_notice_of_the_clock)
{
    const std::vector<Vec3> places = random_places(100, -15);
    const std::vector<Surface> early = driver_surfaces(glsl_bed, places, 0);
    const std::vector<Surface> late = driver_surfaces(glsl_bed, places, 12345);
    for (size_t i = 0; i < places.size(); i++) {
        EXPECT_EQ(early[i].point, late[i].point);
    }
}

// How rough the sea is along a line of a unit, in steps of 1/1024.
static f64 roughness(f64 t)
{
    std::vector<Vec3> places;
    for (i32 i = 0; i < 1024; i++) {
        places.push_back({3 + i / 1024.0, 2, -5});
    }
    const std::vector<Surface> got = driver_surfaces(glsl_waves, places, t);
    f64 most = 0;
    for (size_t i = 1; i < got.size(); i++) {
        most = std::fmax(most, greatest(got[i].point - got[i - 1].point - Vec3{1 / 1024.0, 0, 0}));
    }
    return most;
}

TEST(sea_surface, keeps_its_shape_at_a_clock_of_months)
{
    // no wave is steeper than 0.1, and the swell is 2.4 at most
    for (const f64 t : {10.0, 1e5, 1e6, 1e7}) {
        EXPECT_LT(roughness(t), 0.1 * 25 * 2.4 / 1024) << t;
        EXPECT_GT(roughness(t), 1e-6) << t;
    }
}

TEST(sea_surface, stays_bounded_at_any_place_and_time)
{
    for (const f64 reach : {1e6, 1e9, 1e20, 1e30}) {
        const std::vector<Vec3> places = random_places(reach, -5);
        const std::vector<Surface> got = driver_surfaces(glsl_waves, places, 1e9);
        for (size_t i = 0; i < got.size(); i++) {
            EXPECT_LT(std::fabs(got[i].point[2] + 5), 8); // 2.4 times the sum of amplitudes
            EXPECT_LT(greatest(got[i].dx), 8);
            EXPECT_LT(greatest(got[i].dy), 8);
        }
    }
}

TEST(land_surface, stays_bounded_at_any_place)
{
    for (const f64 reach : {1e6, 1e9, 1e20, 1e30}) {
        const std::vector<Surface> got = driver_surfaces(glsl_bed, random_places(reach, -15), 0);
        for (const Surface& s : got) {
            EXPECT_LT(std::fabs(s.point[2]), 110000); // 3.3 times the sum of amplitudes
            EXPECT_LT(greatest(s.dx), 1e3);
        }
    }
}
