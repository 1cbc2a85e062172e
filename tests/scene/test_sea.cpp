// Mesh, uniforms, blending and fragments of sea and land.
#include "model/mazegame.h"
#include "scene/sea.h"
#include "tests/fakes/gl_count.h"
#include "tests/surfaces.h"

#include <algorithm>
#include <random>

extern const char glsl_lighting[];
extern const char glsl_waves[];
extern const char glsl_sea_fs[];
extern const char glsl_bed[];
extern const char glsl_bed_fs[];

static std::vector<GlVertex> mesh_of(f64 step)
{
    picture_open();
    gl_count = {};
    gl_count.record = true;
    const u32 list = mesh_make(step);
    gl_count.record = false;
    glDeleteLists(list, 1);
    EXPECT_EQ(gl_count.calls["glBegin"], 1);
    EXPECT_EQ(gl_count.openbatches, 0);
    return std::move(gl_count.vertices);
}

static f64 twice_area(const std::vector<GlVertex>& corners, size_t quad)
{
    f64 sum = 0;
    for (size_t k = 0; k < 4; k++) {
        const GlVertex& a = corners[quad + k];
        const GlVertex& b = corners[quad + (k + 1) % 4];
        sum += static_cast<f64>(a.pos[0]) * static_cast<f64>(b.pos[1]) -
               static_cast<f64>(a.pos[1]) * static_cast<f64>(b.pos[0]);
    }
    return sum;
}

static f64 reach(const std::vector<GlVertex>& corners)
{
    f64 most = 0;
    for (const GlVertex& v : corners) {
        most = std::fmax(most, std::fabs(static_cast<f64>(v.pos[0])));
    }
    return most;
}

TEST(mesh_make, has_a_square_of_100_by_100_and_466_rings_in_steps_of_a_fiftieth)
{
    // 1.02^466 is the first power above 10000
    EXPECT_EQ(mesh_of(0.02).size(), 4U * (100 * 100 + 466 * 400));
}

TEST(mesh_make, has_a_square_of_20_by_20_and_97_rings_in_steps_of_a_tenth)
{
    EXPECT_EQ(mesh_of(0.1).size(), 4U * (20 * 20 + 97 * 80));
}

TEST(mesh_make, crosses_10000_with_its_last_ring)
{
    EXPECT_NEAR(reach(mesh_of(0.02)), std::pow(1.02, 466), 0.01);
    EXPECT_GT(reach(mesh_of(0.02)), 10000);
    EXPECT_LT(reach(mesh_of(0.02)) / 1.02, 10000);
    EXPECT_GT(reach(mesh_of(0.1)), 10000);
    EXPECT_LT(reach(mesh_of(0.1)) / 1.1, 10000);
    EXPECT_EQ(reach(mesh_of(2)), 19683); // the ring is made first, the test follows
}

TEST(mesh_make, covers_its_square_once_with_quads_that_face_up)
{
    const std::vector<GlVertex> corners = mesh_of(0.1);
    f64 area = 0;
    for (size_t i = 0; i < corners.size(); i += 4) {
        EXPECT_GT(twice_area(corners, i), 0) << i;
        area += twice_area(corners, i) / 2;
    }
    const f64 r = reach(corners);
    EXPECT_NEAR(area, 4 * r * r, 1e-5 * area);
}

TEST(mesh_make, begins_in_the_lower_left_corner_and_runs_along_y_first)
{
    const std::vector<GlVertex> corners = mesh_of(0.5);
    const f32 expected[8][2] = {{-1, -1},    {-0.5F, -1},    {-0.5F, -0.5F}, {-1, -0.5F},
                                {-1, -0.5F}, {-0.5F, -0.5F}, {-0.5F, 0},     {-1, 0}};
    for (size_t i = 0; i < 8; i++) {
        EXPECT_EQ(corners[i].pos[0], expected[i][0]) << i;
        EXPECT_EQ(corners[i].pos[1], expected[i][1]) << i;
        EXPECT_EQ(corners[i].pos[2], 0);
    }
}

TEST(mesh_make, makes_the_parts_of_a_ring_top_bottom_right_left)
{
    const std::vector<GlVertex> corners = mesh_of(0.5);
    const f32 expected[16][2] = {{-1, 1},  {-0.5F, 1},     {-0.75F, 1.5F},  {-1.5F, 1.5F},
                                 {-1, -1}, {-1.5F, -1.5F}, {-0.75F, -1.5F}, {-0.5F, -1},
                                 {1, -1},  {1.5F, -1.5F},  {1.5F, -0.75F},  {1, -0.5F},
                                 {-1, -1}, {-1, -0.5F},    {-1.5F, -0.75F}, {-1.5F, -1.5F}};
    const size_t start = 4 * 4 * 4;
    for (size_t i = 0; i < 16; i++) {
        EXPECT_EQ(corners[start + i].pos[0], expected[i][0]) << i;
        EXPECT_EQ(corners[start + i].pos[1], expected[i][1]) << i;
    }
    // the next step, then the next ring
    EXPECT_EQ(corners[start + 16].pos[0], -0.5F);
    EXPECT_EQ(corners[start + 4 * 16].pos[0], -1.5F);
    EXPECT_EQ(corners[start + 4 * 16].pos[1], 1.5F);
}

// The programs of sea and land in a small window over a world.
struct Shore {
    World world;
    LightRec light;

    Shore()
    {
        picture_open();
        gfx_resize(32, 24);
        light_compute(0, &light);
        world.game.campos[0] = 4;
        world.game.campos[1] = 5;
        world.game.campos[2] = 20;
        world.game.time = 33;
        finish_world(world.root);
        picture_begin(&world.game);
    }
    void sea(i32 lit = 0, i32 coarse = 1)
    {
        sea_draw(&world.game, lit, &light, coarse);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    }
    void bed(i32 lit = 0)
    {
        seabed_draw(&world.game, lit, &light);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    }
};

// The program whose fragment stage has a certain text.
static GLuint program_with(const char* text)
{
    const auto attached = probe_proc<PFNGLGETATTACHEDSHADERSPROC>("glGetAttachedShaders");
    for (const GLuint program : made_programs) {
        GLuint shaders[4];
        GLsizei n = 0;
        attached(program, 4, &n, shaders);
        for (GLsizei i = 0; i < n; i++) {
            if (!shader_texts[shaders[i]].pieces.empty() &&
                shader_texts[shaders[i]].pieces.back() == text &&
                shader_texts[shaders[0]].pieces[0] != probe_surface_vs) {
                return program;
            }
        }
    }
    ADD_FAILURE() << "no such program";
    return 0;
}

static Vec3 uniform_of(GLuint program, const char* name)
{
    f32 v[3] = {};
    probe_proc<PFNGLGETUNIFORMFVPROC>("glGetUniformfv")(
        program, gl_entry_points.GetUniformLocation(program, name), v);
    return {static_cast<f64>(v[0]), static_cast<f64>(v[1]), static_cast<f64>(v[2])};
}

TEST(sea_draw, tells_its_program_where_and_when_it_is)
{
    Shore shore;
    shore.sea();
    const GLuint program = program_with(glsl_sea_fs);
    EXPECT_EQ(uniform_of(program, "t")[0], 33);
    EXPECT_EQ(uniform_of(program, "orig"), (Vec3{4, 5, -5}));
    EXPECT_EQ(uniform_of(program, "o"), (Vec3{4, 5, 20}));
    EXPECT_EQ(uniform_of(program, "reflectivity")[0], 0.5);
    for (size_t i = 0; i < 3; i++) {
        EXPECT_EQ(uniform_of(program, "csun")[i], static_cast<f64>(shore.light.sunrow[0][i]));
        EXPECT_EQ(uniform_of(program, "nsun")[i], static_cast<f64>(shore.light.nsun[i]));
        EXPECT_EQ(uniform_of(program, "csky")[i], static_cast<f64>(shore.light.csky[i]));
    }
}

TEST(seabed_draw, tells_its_program_where_it_is)
{
    Shore shore;
    shore.bed();
    const GLuint program = program_with(glsl_bed_fs);
    EXPECT_EQ(uniform_of(program, "orig"), (Vec3{4, 5, -15}));
    EXPECT_EQ(uniform_of(program, "o"), (Vec3{4, 5, 20}));
    EXPECT_NEAR(uniform_of(program, "reflectivity")[0], 0.1, 1e-7);
    EXPECT_EQ(uniform_of(program, "nsun")[2], static_cast<f64>(shore.light.nsun[2]));
}

static void expect_lamp(const Shore& shore, GLuint program, f64 strength)
{
    f64 place[3];
    MazeGame_viewpos(place, &shore.world.game);
    const Vec3 expected = {place[0], place[1], place[2]};
    EXPECT_LT(greatest(uniform_of(program, "lpos0") - expected), 1e-5);
    EXPECT_EQ(uniform_of(program, "lcol0"), (Vec3{strength, strength, strength}));
}

TEST(sea_draw, has_the_lamp_where_the_player_is_seen)
{
    Shore shore;
    shore.sea(1);
    expect_lamp(shore, program_with(glsl_sea_fs), 5);
    shore.sea(0);
    expect_lamp(shore, program_with(glsl_sea_fs), 0);
}

TEST(seabed_draw, has_the_lamp_where_the_player_is_seen)
{
    Shore shore;
    shore.bed(1);
    expect_lamp(shore, program_with(glsl_bed_fs), 5);
    shore.bed(0);
    expect_lamp(shore, program_with(glsl_bed_fs), 0);
}

static void expect_factors(GLint source, GLint destination)
{
    GLint value = 0;
    glGetIntegerv(GL_BLEND_SRC, &value);
    EXPECT_EQ(value, source);
    glGetIntegerv(GL_BLEND_DST, &value);
    EXPECT_EQ(value, destination);
}

TEST(blend_factors, are_refused_with_alpha_as_the_source)
{
    picture_open();
    glBlendFunc(GL_ONE, GL_ZERO);
    glBlendFunc(GL_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_INVALID_ENUM));
    expect_factors(GL_ONE, GL_ZERO);
}

TEST(sea_draw, asks_for_factors_that_are_refused_and_clears_the_error)
{
    Shore shore;
    shore.sea();
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_COLOR);
    gl_count = {};
    sea_draw(&shore.world.game, 0, &shore.light, 1);
    EXPECT_EQ(gl_count.calls["glBlendFunc"], 1);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    expect_factors(GL_ONE, GL_ONE_MINUS_SRC_COLOR);
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
}

TEST(sea_draw, blends_by_the_factors_that_it_finds)
{
    Shore shore;
    glBlendFunc(GL_ONE, GL_ZERO);
    shore.sea();
    const Picture whole = picture_take();
    picture_clear();
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    shore.sea();
    const Picture part = picture_take();
    i32 tested = 0;
    for (i32 i = 0; i < 32 * 24; i++) {
        const Rgb a = whole.at(i % 32, i / 32);
        const Rgb b = part.at(i % 32, i / 32);
        if (a.b > 0.05 && a.b < 1) { // one layer of sea
            EXPECT_NEAR(b.b, 0.6 * a.b, 1.6 / 255);
            tested++;
        }
    }
    EXPECT_GT(tested, 200);
}

TEST(sea_draw, binds_its_cube_map_and_ends_with_program_0)
{
    Shore shore;
    shore.sea();
    GLint name = 0;
    glGetIntegerv(GL_TEXTURE_BINDING_CUBE_MAP, &name);
    EXPECT_NE(name, 0);
    glGetIntegerv(GL_CURRENT_PROGRAM, &name);
    EXPECT_EQ(name, 0);
}

TEST(sea_draw, has_a_cube_map_with_the_best_filters_that_the_renderer_is_fit_for)
{
    Shore shore;
    shore.sea();
    GLint filter = 0;
    glGetTexParameteriv(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MIN_FILTER, &filter);
    EXPECT_EQ(filter, GL_LINEAR_MIPMAP_LINEAR);
    glGetTexParameteriv(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAG_FILTER, &filter);
    EXPECT_EQ(filter, GL_LINEAR);
    f32 anisotropy = 0;
    f32 best = 0;
    glGetTexParameterfv(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAX_ANISOTROPY_EXT, &anisotropy);
    glGetFloatv(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, &best);
    const char* const renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
    EXPECT_EQ(anisotropy, std::strstr(renderer, "llvmpipe") != nullptr ? 1.0F : best);
    GLint width = 0;
    glGetTexLevelParameteriv(GL_TEXTURE_CUBE_MAP_NEGATIVE_Z, 9, GL_TEXTURE_WIDTH, &width);
    EXPECT_EQ(width, 1);
}

TEST(seabed_draw, binds_no_cube_map_and_ends_with_program_0)
{
    Shore shore;
    shore.sea();
    shore.bed();
    GLint name = -1;
    glGetIntegerv(GL_TEXTURE_BINDING_CUBE_MAP, &name);
    EXPECT_EQ(name, 0);
    glGetIntegerv(GL_CURRENT_PROGRAM, &name);
    EXPECT_EQ(name, 0);
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
}

TEST(cube_map_0, reads_as_black_and_opaque)
{
    picture_open();
    glBindTexture(GL_TEXTURE_CUBE_MAP, 0);
    const GLuint program = probe_program(
        {}, {"uniform samplerCube cubemap;\n"
             "void main() { gl_FragColor = textureCube(cubemap, gl_TexCoord[0].xyz); }"});
    program_use(program);
    std::vector<ProbeSample> samples(3);
    samples[0].tex[0] = {1, 2, 3};
    samples[1].tex[0] = {-3, 2, 1};
    samples[2].tex[0] = {0, -1, 0};
    for (const ProbeResult& result : probe_run(samples)) {
        EXPECT_EQ(result, (ProbeResult{0, 0, 0, 1}));
    }
    program_use(0);
}

TEST(sea_draw, draws_the_fine_mesh_unless_asked_for_the_coarse_one)
{
    Shore shore;
    glBlendFunc(GL_ONE, GL_ZERO);
    shore.sea(0, 0);
    const Picture fine = picture_take();
    picture_clear();
    shore.sea(0, 1);
    EXPECT_NE(fine.bytes, picture_take().bytes);
}

// The fragment stages, with places and eye of the test's choice.
struct Fragments {
    LightRec light;
    Vec3 eye = {1, 2, 30};
    Vec3 lamp = {0, 0, 0};
    f64 lampcolour = 0;
    f64 time = 12.25;
    f64 mirrored = 0; // the share of the cube map

    Fragments()
    {
        picture_open();
        light_compute(40, &light);
    }
    std::vector<ProbeResult> run(GLuint program, const std::vector<ProbeSample>& samples) const
    {
        program_use(program);
        probe_f32(program, "t", time);
        probe_vec3(program, "o", eye);
        probe_vec3(program, "lpos0", lamp);
        probe_vec3(program, "lcol0", {lampcolour, lampcolour, lampcolour});
        probe_vec3(program, "csun", of(light.sunrow[0]));
        probe_vec3(program, "nsun", of(light.nsun));
        probe_vec3(program, "csky", of(light.csky));
        probe_f32(program, "reflectivity", mirrored);
        const std::vector<ProbeResult> out = probe_run(samples);
        program_use(0);
        return out;
    }
    static Vec3 of(const f32 v[3])
    {
        return {static_cast<f64>(v[0]), static_cast<f64>(v[1]), static_cast<f64>(v[2])};
    }
    Vec3 lighting(Vec3 n, Vec3 p) const
    {
        const f64 pi = 3.14159265358979323846;
        const Vec3 ld = lamp - p;
        const f64 l = std::sqrt(dot(ld, ld));
        const f64 glow = lampcolour * std::fmax(0.1, dot(n, ld) / l) / l;
        const Vec3 above = std::fmax(0.0, dot(n, of(light.nsun))) * of(light.sunrow[0]) +
                           (pi - std::acos(std::clamp(n[2], -1.0, 1.0))) / pi * of(light.csky);
        const f64 wa = std::exp(std::fmin(0.0, 0.2 * (p[2] + 5)));
        return {glow + above[0] * wa * wa * wa, glow + above[1] * wa * wa, glow + above[2] * wa};
    }
    Vec3 fog(Vec3 c, f64 z) const
    {
        const Vec3 air = 0.3 * of(light.csky) + 0.5 * of(light.sunrow[0]);
        Vec3 out;
        for (size_t i = 0; i < 3; i++) {
            const f64 p = std::exp((0.5 + 0.1 * static_cast<f64>(i)) * z / 3000);
            out[i] = p * c[i] + (1 - p) * air[i];
        }
        return out;
    }
    // The sea without its mirrored half.
    Vec3 sea_colour(Vec3 n, Vec3 p, f64 z) const
    {
        const f64 spume = std::clamp(3 - 6 * std::fabs(n[2]), 0.0, 1.0);
        const Vec3 own = Vec3{0.1, 0.3, 0.2} + spume * (Vec3{1, 1, 1} - Vec3{0.1, 0.3, 0.2});
        const Vec3 light_here = lighting(n + spume * (of(light.nsun) - n), p);
        const Vec3 c = {own[0] * light_here[0], own[1] * light_here[1], own[2] * light_here[2]};
        return fog((1 - mirrored) * c, z);
    }
    Vec3 land_colour(Vec3 n, Vec3 p, f64 z) const
    {
        const Vec3 light_here = lighting(n, p);
        const Vec3 c = {0.7 * light_here[0], 0.55 * light_here[1], 0.4 * light_here[2]};
        return fog((1 - mirrored) * c, z);
    }
};

static const std::array<f32, 4> sea_own = {0.1F, 0.3F, 0.2F, 1};
static const std::array<f32, 4> land_own = {0.7F, 0.55F, 0.4F, 1};

static GLuint real_sea()
{
    static const GLuint program =
        probe_program({probe_surface_vs}, {glsl_lighting, glsl_waves, glsl_sea_fs});
    return program;
}

static GLuint real_land()
{
    static const GLuint program =
        probe_program({probe_surface_vs}, {glsl_lighting, glsl_bed, glsl_bed_fs});
    return program;
}

// A sea whose slope along x is the x of the undisplaced point, so that a test sets the normal.
static GLuint sloping_sea()
{
    static const char* const slope =
        "uniform vec3 o; uniform samplerCube cubemap; varying vec3 pos; varying vec3 spos;\n"
        "mat3 surface(vec3 p) { return mat3(p, vec3(1.0, 0.0, p.x), vec3(0.0, 1.0, 0.0)); }\n";
    static const GLuint program =
        probe_program({probe_surface_vs}, {glsl_lighting, slope, glsl_sea_fs});
    return program;
}

// A sample of that sea with a normal of a given height, leaning to -x.
static ProbeSample leaning(f64 nz, Vec3 pos, f64 z, bool front = true)
{
    ProbeSample sample;
    sample.tex[0] = {std::sqrt(1 / (nz * nz) - 1), 0, 0};
    sample.tex[1] = pos;
    sample.tex[2] = {z, 0, 0};
    sample.colour = sea_own;
    sample.front = front;
    return sample;
}

static Vec3 leaning_normal(f64 nz)
{
    return {-std::sqrt(1 - nz * nz), 0, nz};
}

TEST(sea_fragment, is_white_with_foam_from_a_third_and_free_of_it_from_a_half)
{
    const Fragments f;
    const f64 heights[6] = {1, 0.8, 0.5, 5.0 / 12, 1.0 / 3, 0.1};
    std::vector<ProbeSample> samples;
    for (const f64 nz : heights) {
        samples.push_back(leaning(nz, {0, 0, -5}, 0));
    }
    const std::vector<ProbeResult> got = f.run(sloping_sea(), samples);
    for (size_t i = 0; i < 6; i++) {
        const Vec3 n = leaning_normal(heights[i]);
        EXPECT_LT(greatest(probe_rgb(got[i]) - f.sea_colour(n, {0, 0, -5}, 0)), 1e-4) << i;
    }
    const Vec3 foam = f.lighting(Fragments::of(f.light.nsun), {0, 0, -5});
    EXPECT_LT(greatest(probe_rgb(got[4]) - foam), 1e-4); // lit as if it faced the sun
    EXPECT_LT(greatest(probe_rgb(got[5]) - foam), 1e-4);
    const Vec3 half = f.lighting(leaning_normal(0.5), {0, 0, -5});
    EXPECT_NEAR(got[2][1], 0.3 * half[1], 1e-4); // none
}

TEST(sea_fragment, is_six_tenths_opaque_in_any_fog)
{
    const Fragments f;
    const std::vector<ProbeResult> got =
        f.run(sloping_sea(), {leaning(1, {0, 0, -5}, 0), leaning(0.2, {0, 0, -5}, -9000)});
    EXPECT_FLOAT_EQ(got[0][3], 0.6F);
    EXPECT_FLOAT_EQ(got[1][3], 0.6F);
}

TEST(sea_fragment, turns_its_normal_round_on_a_back_face)
{
    const Fragments f;
    const Vec3 p = {3, 4, -6};
    const std::vector<ProbeResult> got =
        f.run(sloping_sea(), {leaning(0.9, p, -10, true), leaning(0.9, p, -10, false)});
    const Vec3 n = leaning_normal(0.9);
    EXPECT_LT(greatest(probe_rgb(got[0]) - f.sea_colour(n, p, -10)), 1e-4);
    EXPECT_LT(greatest(probe_rgb(got[1]) - f.sea_colour(-1 * n, p, -10)), 1e-4);
    EXPECT_GT(greatest(probe_rgb(got[0]) - probe_rgb(got[1])), 0.05);
}

TEST(sea_fragment, is_lit_by_the_lamp)
{
    Fragments f;
    f.lamp = {2, 1, -3};
    f.lampcolour = 5;
    const Vec3 p = {1, 1, -5};
    const std::vector<ProbeResult> got = f.run(sloping_sea(), {leaning(0.95, p, -4)});
    EXPECT_LT(greatest(probe_rgb(got[0]) - f.sea_colour(leaning_normal(0.95), p, -4)), 1e-4);
    const Vec3 lit = f.lighting(leaning_normal(0.95), p);
    f.lampcolour = 0;
    EXPECT_GT(lit[0], f.lighting(leaning_normal(0.95), p)[0] + 1);
}

static std::vector<ProbeSample> places_on(Surface (*surface)(Vec3), f64 z,
                                          std::array<f32, 4> colour)
{
    std::mt19937 engine(31);
    std::uniform_real_distribution<f64> along(-150, 150);
    std::vector<ProbeSample> samples(200);
    for (size_t i = 0; i < samples.size(); i++) {
        samples[i].tex[0] = {static_cast<f64>(static_cast<f32>(along(engine))),
                             static_cast<f64>(static_cast<f32>(along(engine))), z};
        samples[i].tex[1] = surface(samples[i].tex[0]).point;
        samples[i].tex[2] = {-10.0 * static_cast<f64>(i), 0, 0};
        samples[i].colour = colour;
        samples[i].front = i % 4 != 0;
    }
    return samples;
}

static Surface sea_now(Vec3 p)
{
    return sea_surface(p, 12.25);
}

static Surface land_now(Vec3 p)
{
    return land_surface(p);
}

static Vec3 seen_normal(const Surface& s, bool front)
{
    return (front ? 1.0 : -1.0) * s.normal();
}

TEST(sea_fragment, follows_its_formula_on_the_waves)
{
    const Fragments f;
    const std::vector<ProbeSample> samples = places_on(sea_now, -5, sea_own);
    const std::vector<ProbeResult> got = f.run(real_sea(), samples);
    for (size_t i = 0; i < samples.size(); i++) {
        const ProbeSample& s = samples[i];
        const Vec3 n = seen_normal(sea_now(s.tex[0]), s.front);
        EXPECT_LT(greatest(probe_rgb(got[i]) - f.sea_colour(n, s.tex[1], s.tex[2][0])), 0.03);
    }
}

TEST(land_fragment, follows_its_formula_darkened_by_a_tenth_of_black)
{
    glBindTexture(GL_TEXTURE_CUBE_MAP, 0);
    Fragments f;
    f.mirrored = 0.1;
    f.lamp = {10, 10, 0};
    f.lampcolour = 5;
    const std::vector<ProbeSample> samples = places_on(land_now, -15, land_own);
    const std::vector<ProbeResult> got = f.run(real_land(), samples);
    for (size_t i = 0; i < samples.size(); i++) {
        const ProbeSample& s = samples[i];
        f64 kink;
        const Surface surface = land_surface(s.tex[0], &kink);
        if (kink > 1e-3) {
            const Vec3 n = seen_normal(surface, s.front);
            EXPECT_LT(greatest(probe_rgb(got[i]) - f.land_colour(n, s.tex[1], s.tex[2][0])), 0.01);
        }
        EXPECT_NEAR(got[i][3], 1, 1e-6);
    }
}

// What the sea's cube map shows in some directions.
static std::vector<ProbeResult> mirrored_colours(const std::vector<Vec3>& directions)
{
    static const GLuint program = probe_program(
        {}, {"uniform samplerCube cubemap;\n"
             "void main() { gl_FragColor = textureCube(cubemap, gl_TexCoord[0].xyz); }"});
    std::vector<ProbeSample> samples(directions.size());
    for (size_t i = 0; i < directions.size(); i++) {
        samples[i].tex[0] = directions[i];
    }
    program_use(program);
    const std::vector<ProbeResult> out = probe_run(samples);
    program_use(0);
    return out;
}

TEST(sea_fragment, mirrors_the_cube_map_by_half_in_the_direction_of_reflection)
{
    Shore shore;
    shore.sea(); // leaves it bound
    Fragments f;
    f.mirrored = 0.5;
    std::vector<ProbeSample> samples;
    std::vector<Vec3> directions;
    for (i32 i = 0; i < 40; i++) {
        const f64 nz = 0.7 + 0.0075 * i;
        const Vec3 p = {40 - 2.1 * i, 0.7 * i, -5};
        const Vec3 n = (i % 5 == 0 ? -1 : 1) * leaning_normal(nz);
        samples.push_back(leaning(nz, p, -20, i % 5 != 0));
        const Vec3 d = p - f.eye;
        directions.push_back(d - 2 * dot(n, d) * n);
    }
    const std::vector<ProbeResult> cube = mirrored_colours(directions);
    const std::vector<ProbeResult> got = f.run(sloping_sea(), samples);
    for (size_t i = 0; i < samples.size(); i++) {
        const Vec3 n =
            (samples[i].front ? 1 : -1) * leaning_normal(0.7 + 0.0075 * static_cast<f64>(i));
        Fragments half = f;
        const Vec3 own = half.sea_colour(n, samples[i].tex[1], -20);
        // fog takes off the mirrored half as it does the rest
        const Vec3 none = half.fog({0, 0, 0}, -20);
        const Vec3 expected = own + half.fog(0.5 * probe_rgb(cube[i]), -20) - none;
        EXPECT_LT(greatest(probe_rgb(got[i]) - expected), 0.01) << i;
    }
}

TEST(water, takes_the_light_off_by_colour_below_the_sea)
{
    const Fragments f;
    std::vector<ProbeSample> samples = {leaning(1, {0, 0, -5}, 0), leaning(1, {0, 0, -10}, 0)};
    const std::vector<ProbeResult> got = f.run(sloping_sea(), samples);
    EXPECT_NEAR(got[1][0] / got[0][0], std::exp(-3), 1e-4);
    EXPECT_NEAR(got[1][1] / got[0][1], std::exp(-2), 1e-4);
    EXPECT_NEAR(got[1][2] / got[0][2], std::exp(-1), 1e-4);
}
