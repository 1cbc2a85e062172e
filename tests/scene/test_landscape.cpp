// Whole frames with the landscape: the order of its pieces, what they leave behind, and where they reach.
#include "scene/clouds.h"
#include "scene/sea.h"
#include "scene/sky.h"
#include "tests/fakes/gl_count.h"
#include "tests/surfaces.h"

#include <bit>
#include <limits>

struct Landscape {
    World world;

    explicit Landscape(f64 z = 20, i32 width = 32, i32 height = 24)
    {
        picture_open();
        gfx_resize(width, height);
        landscape_on = 1;
        look({0, 0, z}, {0, 1, 0});
    }
    ~Landscape()
    {
        landscape_on = 0;
        light_on = 0;
    }
    Landscape(const Landscape&) = delete;
    Landscape& operator=(const Landscape&) = delete;

    void look(Vec3 eye, Vec3 direction)
    {
        const Vec3 target = eye + 10.0 * direction;
        look_at(&world.game, eye.data(), target.data());
    }
    Picture draw()
    {
        return world.draw();
    }
};

// The order in which programs are used in a frame, each told by a word of its text.
static PFNGLUSEPROGRAMPROC next_useprogram;
static std::vector<GLuint> used_programs;

static void record_useprogram(GLuint program)
{
    used_programs.push_back(program);
    next_useprogram(program);
}

static std::string piece_of(GLuint program)
{
    GLuint shaders[4];
    GLsizei n = 0;
    probe_proc<PFNGLGETATTACHEDSHADERSPROC>("glGetAttachedShaders")(program, 4, &n, shaders);
    for (GLsizei i = 0; i < n; i++) {
        const std::string& text = shader_texts[shaders[i]].text;
        for (const auto& [word, piece] : std::map<std::string, std::string>{{"ahaze", "sky"},
                                                                            {"ridgephase", "land"},
                                                                            {"wavephase", "sea"},
                                                                            {"cloudf", "clouds"},
                                                                            {"rpix", "plot"}}) {
            if (text.find(word) != std::string::npos) {
                return piece;
            }
        }
    }
    return "plot";
}

static std::string order_of_frame(Landscape* landscape)
{
    landscape->draw(); // makes everything
    next_useprogram = gl_entry_points.UseProgram;
    gl_entry_points.UseProgram = record_useprogram;
    used_programs.clear();
    landscape->draw();
    gl_entry_points.UseProgram = next_useprogram;
    std::string order;
    std::string last;
    for (const GLuint program : used_programs) {
        const std::string piece = program == 0 ? last : piece_of(program);
        if (piece != last) {
            order += (order.empty() ? "" : " ") + piece;
        }
        last = piece;
    }
    return order;
}

TEST(landscape, is_drawn_around_the_plot_in_each_of_the_two_slices)
{
    Landscape landscape;
    EXPECT_EQ(order_of_frame(&landscape), "sky land plot sea clouds land plot sea clouds");
}

TEST(landscape, isnt_drawn_while_it_is_off)
{
    Landscape landscape;
    landscape_on = 0;
    EXPECT_EQ(order_of_frame(&landscape), "plot");
    EXPECT_EQ(landscape.draw().painted(), 0);
}

TEST(landscape, fills_every_pixel_by_day)
{
    Landscape landscape;
    EXPECT_EQ(landscape.draw().painted(), 32 * 24);
}

TEST(landscape, leaves_no_error_no_blending_and_a_clear_depth_buffer)
{
    Landscape landscape;
    landscape.draw();
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
    std::vector<f32> depth(32 * 24);
    glReadPixels(0, 0, 32, 24, GL_DEPTH_COMPONENT, GL_FLOAT, depth.data());
    for (const f32 d : depth) {
        EXPECT_EQ(d, 1);
    }
}

TEST(landscape, hides_no_error_behind_the_one_of_its_refused_factors)
{
    Landscape landscape;
    landscape.world.node(0, 30, 18, 1);
    gl_count = {};
    for (plot_type = 2; plot_type > 0; plot_type--) {
        landscape.draw();
    }
    landscape.draw();
    EXPECT_GT(gl_count.calls["glBlendFunc"], 6);
    EXPECT_EQ(gl_count.hiddenerror, static_cast<GLenum>(GL_NO_ERROR));
    glEnable(GL_NONE); // an error of someone else's
    landscape.draw();
    EXPECT_EQ(gl_count.hiddenerror, static_cast<GLenum>(GL_INVALID_ENUM));
}

TEST(landscape, leaves_the_factors_of_the_clouds_for_the_sea_of_the_next_slice)
{
    Landscape landscape;
    glBlendFunc(GL_ONE, GL_ZERO);
    landscape.draw();
    GLint source = 0;
    glGetIntegerv(GL_BLEND_SRC, &source);
    EXPECT_EQ(source, GL_SRC_ALPHA);
    const Picture second = landscape.draw();
    EXPECT_EQ(second.bytes, landscape.draw().bytes); // steady running
}

TEST(landscape, blends_the_sea_of_its_first_frame_by_what_was_there_before)
{
    Landscape landscape(3000); // the sea is seen in the far slice
    landscape.look({0, 0, 3000}, unit({0, 1, -1}));
    glBlendFunc(GL_ONE, GL_ONE);
    const Picture first = landscape.draw();
    const Picture second = landscape.draw();
    EXPECT_NE(first.bytes, second.bytes);
}

TEST(landscape, makes_a_fixed_number_of_calls_a_frame)
{
    Landscape landscape;
    landscape.world.node(0, 30, 18, 1);
    landscape.draw();
    gl_count_entries();
    i32 counts[3];
    for (i32 i = 0; i < 3; i++) {
        landscape.world.game.time += 0.1;
        landscape_on = i < 2 ? 1 : 0;
        gl_count = {};
        landscape.draw();
        counts[i] = gl_count.total();
    }
    EXPECT_EQ(counts[0], counts[1]);
    const i32 corners = 2 * (24 + 2 * 3 * 57 * 4); // with their texture coordinates
    EXPECT_LT(counts[1] - counts[2] - corners, 180);
    EXPECT_GT(counts[1] - counts[2] - corners, 50);
}

TEST(landscape, calls_the_lists_of_land_and_sea_once_a_slice)
{
    Landscape landscape;
    landscape_on = 0;
    landscape.draw();
    gl_count = {};
    landscape.draw();
    const i32 without = gl_count.calls["glCallList"];
    landscape_on = 1;
    landscape.draw();
    gl_count = {};
    landscape.draw();
    EXPECT_EQ(gl_count.calls["glCallList"] - without, 4);
    EXPECT_EQ(gl_count.calls["glNewList"], 0);
}

// Loads the depth terms of a slice.
static void load_slice(u32 offset)
{
    f32 p[16];
    glGetFloatv(GL_PROJECTION_MATRIX, p);
    p[10] = std::bit_cast<f32>(0xBF80068BU);
    p[14] = std::bit_cast<f32>(offset);
    glMatrixMode(GL_PROJECTION);
    glLoadMatrixf(p);
    glMatrixMode(GL_MODELVIEW);
    glClear(GL_DEPTH_BUFFER_BIT);
}

// Pixels that a surface leaves unpainted below the horizon, with two rows of grace.
template <typename Draw> static i32 gaps_below_the_horizon(Landscape* landscape, Draw draw)
{
    finish_world(landscape->world.root);
    picture_begin(&landscape->world.game);
    glClearColor(1, 0, 1, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    glClearColor(0, 0, 0, 0);
    for (const u32 offset : {0xC4FA0664U, 0xBE4CD209U}) {
        load_slice(offset);
        draw(&landscape->world.game);
    }
    const Picture picture = picture_take();
    i32 gaps = 0;
    for (i32 y = 0; y < picture.height / 2 - 2; y++) {
        for (i32 x = 0; x < picture.width; x++) {
            const Rgb c = picture.at(x, y);
            gaps += c.r == 1 && c.g == 0 && c.b == 1 ? 1 : 0;
        }
    }
    gfx_resize(picture.width, picture.height);
    return gaps;
}

TEST(landscape, has_no_gap_between_the_slices_up_to_the_horizon)
{
    LightRec light;
    light_compute(0, &light);
    for (const f64 z : {5.0, 1100.0, 20000.0}) {
        Landscape landscape(z, 64, 48);
        EXPECT_EQ(gaps_below_the_horizon(&landscape,
                                         [&](MazeGame* game) { seabed_draw(game, 0, &light); }),
                  0)
            << z;
        glBlendFunc(GL_ONE, GL_ZERO);
        EXPECT_EQ(gaps_below_the_horizon(&landscape,
                                         [&](MazeGame* game) { sea_draw(game, 0, &light, 0); }),
                  0)
            << z;
    }
}

TEST(landscape, is_black_but_for_the_clouds_at_midnight)
{
    Landscape landscape;
    landscape.world.game.time = 500;
    landscape.look({0, 0, 20}, unit({0, 1, 0.3}));
    const Picture picture = landscape.draw();
    for (i32 i = 12 * 32; i < 32 * 24; i++) { // clouds alone have a tenth of their colour left
        EXPECT_LT(picture.at(i % 32, i / 32).r, 0.22);
    }
    landscape.look({0, 0, 20}, unit({0, 1, -1}));
    const Picture below = landscape.draw();
    f64 most = 0;
    for (i32 i = 0; i < 32 * 24; i++) {
        most = std::fmax(most, below.at(i % 32, i / 32).r);
    }
    EXPECT_LT(most, 0.65); // what the sea mirrors isn't dark at night
}

TEST(landscape, is_lit_by_the_lamp_at_night)
{
    Landscape landscape;
    landscape.world.game.time = 500;
    landscape.look({0, 10, 50}, {0, 0.1, -1}); // the player stands at 40
    landscape.draw();
    const Picture dark = landscape.draw();
    light_on = 1;
    const Picture lit = landscape.draw();
    f64 brighter = 0;
    for (i32 i = 0; i < 32 * 24; i++) {
        brighter += lit.at(i % 32, i / 32).g - dark.at(i % 32, i / 32).g;
    }
    EXPECT_GT(brighter / (32 * 24), 0.005);
}

TEST(landscape, shows_the_sea_from_below)
{
    Landscape landscape(-7);
    landscape.look({0, 0, -10}, unit({0, 1, 1}));
    EXPECT_EQ(landscape.draw().painted(), 32 * 24);
}

TEST(landscape, hides_what_lies_under_the_land)
{
    // A ball far below the lowest land, seen from above.
    Landscape landscape(400);
    landscape.world.node(0, 0, -40000, 4000, 0xFF0000);
    landscape.look({0, 0.01, 400}, {0, 0, -1});
    const Picture picture = landscape.draw();
    EXPECT_LT(picture.at(16, 12).r, 0.8);
    landscape_on = 0;
    EXPECT_GT(landscape.draw().at(16, 12).r, 0.8);
}

TEST(landscape, paints_the_sea_over_what_lies_in_it)
{
    Landscape landscape(30);
    f64 place[3] = {0, 0, -12};
    for (i32 i = 0; i < 200 && land_surface({place[0], 0, -15}).point[2] > -20; i++) {
        place[0] += 10; // out to where the land is deep
    }
    landscape.world.node(place[0], 0, -12, 4, 0xFF0000);
    landscape.look({place[0], 0.01, 30}, {0, 0, -1});
    landscape.draw();
    const Rgb through = landscape.draw().at(16, 12);
    landscape_on = 0;
    const Rgb plain = landscape.draw().at(16, 12);
    EXPECT_GT(plain.r, 0.7);
    EXPECT_LT(through.r, 0.8 * plain.r);
    EXPECT_GT(through.b, plain.b);
    EXPECT_GT(through.r, through.g); // it shines through
}

TEST(landscape, draws_for_an_eye_at_any_place_and_any_clock)
{
    const f64 nan = std::numeric_limits<f64>::quiet_NaN();
    for (const f64 far : {1e12, -1e300, nan}) {
        Landscape landscape;
        landscape.world.game.campos[0] = far;
        landscape.world.game.campos[2] = far;
        landscape.draw(); // looks for errors
    }
    for (const f64 time : {1e6, 1e308}) {
        Landscape landscape;
        landscape.world.game.time = time;
        const Picture picture = landscape.draw();
        EXPECT_GT(picture.painted(), 0) << time;
    }
}

TEST(landscape, goes_on_as_before_after_a_resize)
{
    Landscape landscape;
    landscape.draw();
    const Picture before = landscape.draw();
    gfx_resize(20, 15);
    landscape.draw();
    gfx_resize(32, 24);
    EXPECT_EQ(landscape.draw().bytes, before.bytes);
}
