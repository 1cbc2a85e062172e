// The sheets of cloud: which there are, what they are made of, and what a fragment shows.
#include "scene/clouds.h"
#include "tests/fakes/gl_count.h"
#include "tests/shader_probe.h"

#include <random>

extern const char glsl_clouds_fs[];

static std::vector<CloudSheet> sheets_at(f64 z)
{
    std::vector<CloudSheet> out(CLOUD_MAXSHEETS);
    out.resize(static_cast<size_t>(cloud_sheets(z, out.data())));
    return out;
}

static void expect_sheet(const CloudSheet& sheet, i32 layer, f64 height, f64 distance, f64 alpha)
{
    EXPECT_EQ(sheet.layer, layer);
    EXPECT_EQ(sheet.height, static_cast<f32>(height));
    EXPECT_NEAR(sheet.distance, distance, 1e-3);
    EXPECT_NEAR(sheet.alpha, alpha, 1e-6);
}

TEST(cloud_sheets, shows_the_top_of_each_layer_from_the_ground)
{
    const std::vector<CloudSheet> sheets = sheets_at(0);
    ASSERT_EQ(sheets.size(), 3U);
    expect_sheet(sheets[0], 2, 9200, 9200, 1);
    expect_sheet(sheets[1], 1, 3200, 3200, 1);
    expect_sheet(sheets[2], 0, 1200, 1200, 1);
}

TEST(cloud_sheets, shows_the_bottom_of_each_layer_from_high_above)
{
    const std::vector<CloudSheet> sheets = sheets_at(20000);
    ASSERT_EQ(sheets.size(), 3U);
    expect_sheet(sheets[0], 0, 800, 19200, 1);
    expect_sheet(sheets[1], 1, 2800, 17200, 1);
    expect_sheet(sheets[2], 2, 8800, 11200, 1);
}

TEST(cloud_sheets, shows_both_faces_of_a_layer_at_half_weight_in_its_middle)
{
    const std::vector<CloudSheet> sheets = sheets_at(1000);
    ASSERT_EQ(sheets.size(), 4U);
    expect_sheet(sheets[0], 2, 9200, 8200, 1);
    expect_sheet(sheets[1], 1, 3200, 2200, 1);
    EXPECT_EQ(sheets[2].layer, 0);
    EXPECT_EQ(sheets[3].layer, 0);
    EXPECT_FLOAT_EQ(sheets[2].alpha, 0.5F);
    EXPECT_FLOAT_EQ(sheets[3].alpha, 0.5F);
    EXPECT_EQ(sheets[2].height + sheets[3].height, 2000);
    EXPECT_EQ(sheets[2].distance, 200);
    EXPECT_EQ(sheets[3].distance, 200);
}

TEST(cloud_sheets, draws_the_nearest_last_from_between_the_layers)
{
    const std::vector<CloudSheet> sheets = sheets_at(5000);
    ASSERT_EQ(sheets.size(), 3U);
    EXPECT_EQ(sheets[0].distance, 4200);
    EXPECT_EQ(sheets[1].distance, 4200);
    EXPECT_EQ(sheets[0].height + sheets[1].height, 800 + 9200);
    expect_sheet(sheets[2], 1, 2800, 2200, 1);
}

TEST(cloud_sheets, trades_weight_between_the_faces_with_height)
{
    for (const f64 z : {8801.0, 8900.0, 9100.0, 9199.0}) {
        i32 found = 0;
        for (const CloudSheet& sheet : sheets_at(z)) {
            if (sheet.layer == 2) {
                const f64 weight = sheet.height == 8800 ? (z - 8800) / 400 : (9200 - z) / 400;
                EXPECT_NEAR(sheet.alpha, weight, 1e-6);
                EXPECT_NEAR(sheet.distance, std::fabs(z - static_cast<f64>(sheet.height)), 1e-3);
                found++;
            }
        }
        EXPECT_EQ(found, 2) << z;
    }
}

TEST(cloud_sheets, counts_the_faces_themselves_as_outside)
{
    EXPECT_EQ(sheets_at(800).size(), 3U);
    EXPECT_EQ(sheets_at(1200).size(), 3U);
    EXPECT_EQ(sheets_at(800.001).size(), 4U);
    EXPECT_EQ(sheets_at(1199.999).size(), 4U);
    expect_sheet(sheets_at(800)[2], 0, 1200, 400, 1);
    expect_sheet(sheets_at(1200)[2], 0, 800, 400, 1);
}

// The weight of a face of the lowest layer, 0 if it isn't listed.
static f64 weight_of(f64 z, f32 height)
{
    for (const CloudSheet& sheet : sheets_at(z)) {
        if (sheet.height == height) {
            return static_cast<f64>(sheet.alpha);
        }
    }
    return 0;
}

TEST(cloud_sheets, changes_without_a_jump_on_the_way_through_a_layer)
{
    for (f64 z = 700; z < 1300; z += 0.5) {
        EXPECT_NEAR(weight_of(z, 800), weight_of(z + 0.5, 800), 0.002) << z;
        EXPECT_NEAR(weight_of(z, 1200), weight_of(z + 0.5, 1200), 0.002) << z;
    }
}

TEST(cloud_sheets, are_farthest_first_at_every_height)
{
    for (f64 z = -20000; z < 30000; z += 37) {
        const std::vector<CloudSheet> sheets = sheets_at(z);
        for (size_t i = 1; i < sheets.size(); i++) {
            EXPECT_GE(sheets[i - 1].distance, sheets[i].distance) << z;
        }
    }
}

TEST(cloud_sheets, has_equal_ones_on_either_side_of_the_eye_where_their_order_isnt_seen)
{
    i32 found = 0;
    for (f64 z = 0; z < 12000; z += 50) {
        const std::vector<CloudSheet> sheets = sheets_at(z);
        for (size_t i = 1; i < sheets.size(); i++) {
            if (sheets[i - 1].distance == sheets[i].distance) {
                EXPECT_EQ(static_cast<f64>(sheets[i - 1].height + sheets[i].height), 2 * z);
                EXPECT_NE(sheets[i - 1].height, sheets[i].height);
                found++;
            }
        }
    }
    EXPECT_GT(found, 3); // the middle of each layer, and between layers
}

// The corners that a sheet is made of.
static std::vector<GlVertex> sheet_corners(const f64 eye[3], f32 height, f64 offx, f64 offy)
{
    const f64 offset[2] = {offx, offy};
    gl_count = {};
    gl_count.record = true;
    gl_count.forward = false;
    cloud_sheet(eye, height, offset, 0.1F);
    gl_count.forward = true;
    gl_count.record = false;
    return gl_count.vertices;
}

TEST(cloud_sheet, has_57_quads_whatever_the_height)
{
    for (const f64 z : {0.0, 1199.0, 1200.0, 1200.001, 5000.0, 1e5}) {
        const f64 eye[3] = {3, 4, z};
        EXPECT_EQ(sheet_corners(eye, 1200, 0, 0).size(), 4U * 57) << z;
    }
}

TEST(cloud_sheet, begins_with_a_square_as_wide_as_it_is_far)
{
    const f64 eye[3] = {100, 200, 700};
    const std::vector<GlVertex> corners = sheet_corners(eye, 1200, 0, 0);
    const f32 expected[4][2] = {{-400, -300}, {600, -300}, {600, 700}, {-400, 700}};
    for (size_t i = 0; i < 4; i++) {
        EXPECT_EQ(corners[i].pos[0], expected[i][0]);
        EXPECT_EQ(corners[i].pos[1], expected[i][1]);
        EXPECT_EQ(corners[i].pos[2], 1200);
    }
}

TEST(cloud_sheet, is_never_finer_than_a_square_of_20)
{
    const f64 eye[3] = {0, 0, 1199};
    EXPECT_EQ(sheet_corners(eye, 1200, 0, 0)[1].pos[0], 10);
}

// Twice the area of a quad, positive if its corners run counterclockwise.
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

TEST(cloud_sheet, covers_its_square_once)
{
    const f64 eye[3] = {0, 0, 700};
    const std::vector<GlVertex> corners = sheet_corners(eye, 1200, 0, 0);
    f64 area = 0;
    f64 widest = 0;
    for (size_t i = 0; i < corners.size(); i += 4) {
        area += std::fabs(twice_area(corners, i)) / 2;
        widest = std::fmax(widest, std::fabs(static_cast<f64>(corners[i + 2].pos[0])));
    }
    EXPECT_EQ(widest, 500 * 16384);
    EXPECT_NEAR(area, 4 * widest * widest, 1e-6 * area);
}

TEST(cloud_sheet, turns_the_corners_of_all_frames_in_the_same_sense)
{
    const f64 eye[3] = {0, 0, 700};
    const std::vector<GlVertex> corners = sheet_corners(eye, 1200, 0, 0);
    for (size_t i = 4; i < corners.size(); i += 4) {
        EXPECT_EQ(twice_area(corners, i) > 0, twice_area(corners, 4) > 0) << i;
    }
}

TEST(cloud_sheet, puts_the_sides_in_the_order_top_right_bottom_left)
{
    const f64 eye[3] = {0, 0, 700};
    const std::vector<GlVertex> corners = sheet_corners(eye, 1200, 0, 0);
    const f32 side[4][2] = {{0, 1}, {1, 0}, {0, -1}, {-1, 0}};
    for (size_t quad = 1; quad < 57; quad++) {
        f64 x = 0;
        f64 y = 0;
        for (size_t k = 0; k < 4; k++) {
            x += static_cast<f64>(corners[4 * quad + k].pos[0]);
            y += static_cast<f64>(corners[4 * quad + k].pos[1]);
        }
        const f32* const expected = side[(quad - 1) % 4];
        EXPECT_EQ(x > 1, expected[0] > 0);
        EXPECT_EQ(x < -1, expected[0] < 0);
        EXPECT_EQ(y > 1, expected[1] > 0);
        EXPECT_EQ(y < -1, expected[1] < 0);
    }
}

TEST(cloud_sheet, has_texture_coordinates_by_the_place_in_the_world)
{
    for (const f64 x : {0.0, 700.0}) { // the clouds stay where they are as the eye moves
        const f64 eye[3] = {x, -300, 700};
        for (const GlVertex& corner : sheet_corners(eye, 1200, 500, 900)) {
            const f64 u = 500 + 0.1 * static_cast<f64>(corner.pos[0]);
            const f64 v = 900 + 0.1 * static_cast<f64>(corner.pos[1]);
            EXPECT_NEAR(corner.tex[0], u, 1e-6 * std::fabs(u) + 1e-3);
            EXPECT_NEAR(corner.tex[1], v, 1e-6 * std::fabs(v) + 1e-3);
        }
    }
}

// The colours of the quads that a frame of clouds is made of, sheet by sheet.
static std::vector<GlVertex> drawn_corners(f64 z, f64 time, f32 offy)
{
    picture_open();
    const f64 eye[3] = {0, 0, z};
    LightRec light;
    light_compute(time, &light);
    clouds_draw(eye, 0, 0, 128, 1.5F, &light); // makes the image
    gl_count = {};
    gl_count.record = true;
    clouds_draw(eye, 0, offy, 128, 1.5F, &light);
    gl_count.record = false;
    EXPECT_EQ(gl_count.openbatches, 0);
    EXPECT_EQ(gl_count.calls["glBegin"], 1);
    return gl_count.vertices;
}

TEST(clouds_draw, colours_each_sheet_by_the_sunlight_at_its_height_at_noon)
{
    const std::vector<GlVertex> corners = drawn_corners(0, 0, 0);
    ASSERT_EQ(corners.size(), 3U * 57 * 4);
    const f64 h = 0.7071067811865475;
    for (size_t i = 0; i < 3; i++) {
        const f64 layer = 2.0 - static_cast<f64>(i);
        const f64 s = 1 / (h + 0.05 * layer);
        const f32* const colour = corners[i * 57 * 4].colour;
        EXPECT_NEAR(colour[0], (std::exp(-0.02 * s) * 0.8 + 0.1) * 0.5, 1e-5);
        EXPECT_NEAR(colour[1], (std::exp(-0.1 * s) + 0.1) * 0.5, 1e-5);
        EXPECT_NEAR(colour[2], (std::exp(-0.2 * s) * 1.2 + 0.1) * 0.5, 1e-5);
        EXPECT_EQ(colour[3], 1);
    }
    EXPECT_NEAR(corners[2 * 57 * 4].colour[0], (std::exp(-0.028284) * 0.8 + 0.1) / 2, 1e-4);
}

TEST(clouds_draw, is_never_black_at_night)
{
    for (const GlVertex& corner : drawn_corners(0, 500, 0)) {
        for (i32 c = 0; c < 3; c++) {
            EXPECT_NEAR(corner.colour[c], 0.05, 1e-6);
        }
    }
}

TEST(clouds_draw, gives_both_faces_their_weights_as_alpha)
{
    const std::vector<GlVertex> corners = drawn_corners(1100, 0, 0);
    ASSERT_EQ(corners.size(), 4U * 57 * 4);
    EXPECT_NEAR(corners[2 * 57 * 4].colour[3], 0.75, 1e-6); // 800, the farther face
    EXPECT_EQ(corners[2 * 57 * 4].pos[2], 800);
    EXPECT_NEAR(corners[3 * 57 * 4].colour[3], 0.25, 1e-6);
    EXPECT_EQ(corners[3 * 57 * 4].pos[2], 1200);
}

TEST(clouds_draw, shows_each_layer_another_part_of_the_noise_moved_by_the_wind)
{
    const std::vector<GlVertex> corners = drawn_corners(0, 0, 777);
    for (size_t i = 0; i < 3; i++) {
        const f64 layer = 2.0 - static_cast<f64>(i);
        const GlVertex& corner = corners[i * 57 * 4];
        EXPECT_NEAR(corner.tex[0], 54679 * layer + 0.1 * static_cast<f64>(corner.pos[0]), 0.02);
        EXPECT_NEAR(corner.tex[1], 777 + 13567 * layer + 0.1 * static_cast<f64>(corner.pos[1]),
                    0.02);
    }
}

TEST(clouds_draw, leaves_blending_and_texturing_off_and_depth_writing_on)
{
    drawn_corners(0, 0, 0);
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
    EXPECT_FALSE(glIsEnabled(GL_TEXTURE_2D));
    GLboolean writing = GL_FALSE;
    glGetBooleanv(GL_DEPTH_WRITEMASK, &writing);
    EXPECT_TRUE(writing);
    GLint source = 0;
    GLint destination = 0;
    glGetIntegerv(GL_BLEND_SRC, &source);
    glGetIntegerv(GL_BLEND_DST, &destination);
    EXPECT_EQ(source, GL_SRC_ALPHA);
    EXPECT_EQ(destination, GL_ONE_MINUS_SRC_ALPHA);
    GLint program = -1;
    glGetIntegerv(GL_CURRENT_PROGRAM, &program);
    EXPECT_EQ(program, 0);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

// The image of the noise, bound as a texture of floats, since drivers blend bytes roughly.
struct Noise {
    std::vector<u8> bytes;
    GLuint exact = 0;

    Noise() : bytes(128 * 128)
    {
        drawn_corners(0, 0, 0); // leaves it bound
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glGetTexImage(GL_TEXTURE_2D, 0, GL_LUMINANCE, GL_UNSIGNED_BYTE, bytes.data());
        glGenTextures(1, &exact);
        glBindTexture(GL_TEXTURE_2D, exact);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_LUMINANCE32F_ARB, 128, 128, 0, GL_LUMINANCE,
                     GL_UNSIGNED_BYTE, bytes.data());
    }
    ~Noise()
    {
        glDeleteTextures(1, &exact);
    }
    Noise(const Noise&) = delete;
    Noise& operator=(const Noise&) = delete;
    f64 texel(i32 x, i32 y) const
    {
        return bytes[static_cast<size_t>((y & 127) * 128 + (x & 127))] / 255.0;
    }
    // N of the formula; a texel's middle is half a texel beyond its number.
    f64 at(f64 u, f64 v) const
    {
        const f64 x = (u + 0.5 / 128) * 128 - 0.5;
        const f64 y = (v + 0.5 / 128) * 128 - 0.5;
        const i32 i = static_cast<i32>(std::floor(x));
        const i32 j = static_cast<i32>(std::floor(y));
        const f64 a = x - i;
        const f64 b = y - j;
        return (1 - b) * ((1 - a) * texel(i, j) + a * texel(i + 1, j)) +
               b * ((1 - a) * texel(i, j + 1) + a * texel(i + 1, j + 1));
    }
    f64 cloudf(f64 x, f64 y) const
    {
        const f64 k1 = 0.5 + at(0.003 * x, 0.003 * y);
        const f64 k2 = 0.05 + 0.1 * at(0.003 * y, 0.003 * x);
        f64 t = 0;
        f64 denom = 0;
        f64 sc = 1;
        for (i32 n = 13; n >= 1; n--) {
            t += at(x, y) * sc;
            denom += sc;
            const f64 old = x;
            x = 0.5 * x + 0.3 * y;
            y = -0.3 * old + 0.5 * y;
            sc *= k1 + k2 * n;
        }
        return t / denom;
    }
};

static std::vector<ProbeSample> cloud_samples()
{
    std::mt19937 engine(21);
    std::uniform_real_distribution<f64> along(-2000, 2000);
    std::vector<ProbeSample> samples(200);
    for (ProbeSample& sample : samples) {
        sample.tex[0] = {static_cast<f64>(static_cast<f32>(along(engine))),
                         static_cast<f64>(static_cast<f32>(along(engine))), 0};
    }
    return samples;
}

TEST(cloud_function, agrees_with_double_precision)
{
    const Noise noise;
    const GLuint program =
        probe_program({}, {"#define main fragment_main\n", glsl_clouds_fs, "#undef main\n",
                           "void main() { gl_FragColor = vec4(cloudf(gl_TexCoord[0].x / 128.0, "
                           "gl_TexCoord[0].y / 128.0)); }"});
    program_use(program);
    const std::vector<ProbeSample> samples = cloud_samples();
    const std::vector<ProbeResult> got = probe_run(samples);
    program_use(0);
    f64 least = 1;
    f64 most = 0;
    for (size_t i = 0; i < samples.size(); i++) {
        const f64 expected = noise.cloudf(samples[i].tex[0][0] / 128, samples[i].tex[0][1] / 128);
        EXPECT_NEAR(got[i][0], expected, 1e-4);
        least = std::fmin(least, expected);
        most = std::fmax(most, expected);
    }
    EXPECT_LT(least, 0.47);
    EXPECT_GT(most, 0.53);
}

TEST(cloud_fragment, is_a_steep_step_at_the_dew_point_and_darker_where_thick)
{
    const Noise noise;
    const GLuint program = probe_program({}, {glsl_clouds_fs});
    program_use(program);
    const f64 d = 0.5;
    probe_f32(program, "dewpoint", d);
    std::vector<ProbeSample> samples = cloud_samples();
    for (ProbeSample& sample : samples) {
        sample.colour = {0.25F, 0.5F, 0.375F, 0.75F};
    }
    const std::vector<ProbeResult> got = probe_run(samples);
    program_use(0);
    i32 clear = 0;
    i32 cloudy = 0;
    for (size_t i = 0; i < samples.size(); i++) {
        const f64 v = noise.cloudf(samples[i].tex[0][0] / 128, samples[i].tex[0][1] / 128);
        const f64 b = 2 * (d + 145.0 / 255 - v);
        const f64 x = 25.5 * (v - d);
        const f64 a = std::exp(x) / (std::exp(-x) + std::exp(x));
        EXPECT_NEAR(got[i][0], 2 * 0.25 * b, 1e-3);
        EXPECT_NEAR(got[i][1], 2 * 0.5 * b, 1e-3);
        EXPECT_NEAR(got[i][2], 2 * 0.375 * b, 1e-3);
        EXPECT_NEAR(got[i][3], 2 * 0.75 * a, 5e-3);
        clear += a < 0.2 ? 1 : 0;
        cloudy += a > 0.8 ? 1 : 0;
    }
    EXPECT_GT(clear, 5);
    EXPECT_GT(cloudy, 5);
}

TEST(clouds_draw, is_hidden_by_what_stands_in_front_and_hides_nothing_itself)
{
    picture_open();
    gfx_resize(64, 48);
    World world;
    const f64 up[3] = {0, 0, 100};
    const f64 origin[3] = {0, 0.01, 0};
    look_at(&world.game, origin, up);
    picture_begin(&world.game);
    glClearColor(0, 0, 1, 0); // thick cloud comes out black
    picture_clear();
    glClearColor(0, 0, 0, 0);
    LightRec light;
    light_compute(0, &light);
    gfx_set_fov(90, 1, 1e5F);
    glColor3f(1, 0, 0); // a square that hides the left half
    glBegin(GL_QUADS);
    glVertex3d(-100, -100, 20);
    glVertex3d(0, -100, 20);
    glVertex3d(0, 100, 20);
    glVertex3d(-100, 100, 20);
    glEnd();
    const Picture before = picture_take();
    clouds_draw(origin, 0, 0, 0, 1.5F, &light); // a dew point at which all is cloud
    const Picture after = picture_take();
    i32 changed = 0;
    for (i32 y = 0; y < 48; y++) {
        for (i32 x = 0; x < 64; x++) {
            const bool hidden = before.at(x, y).r == 1;
            const bool same =
                std::memcmp(&before.bytes[static_cast<size_t>(3 * (y * 64 + x))],
                            &after.bytes[static_cast<size_t>(3 * (y * 64 + x))], 3) == 0;
            EXPECT_EQ(hidden, same) << x << " " << y;
            changed += same ? 0 : 1;
        }
    }
    EXPECT_GT(changed, 1000);
    const i32 free = before.at(60, 24).r == 1 ? 4 : 60;
    ASSERT_EQ(before.at(free, 24).r, 0);
    f32 depth = 0;
    glReadPixels(free, 24, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
    EXPECT_EQ(depth, 1);
    gfx_resize(64, 48);
}
