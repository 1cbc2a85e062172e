// The state in which each step of the plot draws (depth test, depth writing, blending and its factors), and
// what it leaves behind.
#include "base/str.h"
#include "scene/ballstick.h"
#include "scene/clouds.h"
#include "scene/flat.h"
#include "scene/gantry.h"
#include "scene/grid.h"
#include "scene/sea.h"
#include "scene/sky.h"
#include "scene/voronoi.h"
#include "tests/fakes/gl_count.h"
#include "tests/scene_picture.h"

#include <algorithm>

static bool enabled(GLenum what)
{
    return glIsEnabled(what) != GL_FALSE;
}

static i32 number(GLenum what)
{
    GLint value = 0;
    glGetIntegerv(what, &value);
    return value;
}

static const char* factor(GLenum what)
{
    switch (number(what)) {
    case GL_ONE: return "one";
    case GL_SRC_ALPHA: return "alpha";
    case GL_ONE_MINUS_SRC_ALPHA: return "1-alpha";
    case GL_ONE_MINUS_SRC_COLOR: return "1-colour";
    default: return "other";
    }
}

// As a line of text: what of depth test and depth writing is on, and how it blends.
static std::string drawstate()
{
    std::string text = enabled(GL_DEPTH_TEST) ? "test" : "";
    text += number(GL_DEPTH_WRITEMASK) != 0 ? "+write" : "";
    if (enabled(GL_BLEND)) {
        text += std::string(" ") + factor(GL_BLEND_SRC) + "," + factor(GL_BLEND_DST);
    }
    return text;
}

static std::vector<std::string> batches;

static void notestate(const char* /*routine*/)
{
    if (number(GL_LIST_INDEX) == 0) { // nothing is drawn while a list is made
        batches.push_back(drawstate());
    }
}

// The state of each batch that a routine draws.
template <typename Routine> static std::vector<std::string> states_of(Routine routine)
{
    batches.clear();
    gl_count.drawing = notestate;
    routine();
    gl_count.drawing = nullptr;
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    return batches;
}

// What a step may not leave on or otherwise than it was, but for the factors of blending and what the
// lamp of the map of cells leaves: the light itself and colours as materials.
static std::string leftstate()
{
    std::string text;
    for (const GLenum what :
         {GL_DEPTH_TEST, GL_BLEND, GL_LIGHTING, GL_TEXTURE_2D, GL_ALPHA_TEST, GL_LINE_SMOOTH,
          GL_POINT_SMOOTH, GL_CULL_FACE, GL_FOG, GL_SCISSOR_TEST, GL_STENCIL_TEST, GL_NORMALIZE}) {
        text += enabled(what) ? "1 " : "0 ";
    }
    for (const GLenum what :
         {GL_DEPTH_WRITEMASK, GL_DEPTH_FUNC, GL_CURRENT_PROGRAM, GL_MATRIX_MODE, GL_LINE_WIDTH,
          GL_POINT_SIZE, GL_ATTRIB_STACK_DEPTH, GL_MODELVIEW_STACK_DEPTH, GL_PROJECTION_STACK_DEPTH,
          GL_LIST_INDEX, GL_ACTIVE_TEXTURE, GL_SHADE_MODEL, GL_DRAW_BUFFER}) {
        text += std::to_string(number(what)) + " ";
    }
    return text;
}

using States = std::vector<std::string>;

// A world with a name, of nodes near and far, in a window so small that nothing takes time.
struct Steps : testing::Test, World {
    LightRec light = {};

    void SetUp() override
    {
        picture_open();
        gfx_resize(64, 48);
        const i32 a = node(-2, 0, -12, 1);
        const i32 b = node(2, 1, -12, 1);
        const i32 c = node(0, 3, -300, 1);
        Maze_join(root, a, b);
        Maze_join(root, b, c);
        game.pos.node = a;
        str_set(&root->name, "HH");
        finish_world(root);
        light_compute(0, &light);
        gantry_everylevel = true; // a batch of each part, whether or not a pixel shows it
        picture_draw(&game);      // makes what is made on first use
        picture_begin(&game);
    }
    void TearDown() override
    {
        std::memset(key_now, 0, 256);
        plot_type = 0;
        voronoi_on = 0;
        voronoi_mode = 5;
        landscape_on = 0;
        grid_on = 0;
        smooth_lines = 1;
        gantry_everylevel = false;
        gfx_resize(640, 480);
    }
    // The state of each batch of a run of the plot, in the near slice.
    States plot()
    {
        return states_of([this] { scene_plot(&game); });
    }
    // The same for the overlay alone, which comes last, with nothing after it switched on.
    States overlay()
    {
        const States without = plot();
        key_now[static_cast<u8>('F')] = 0x80;
        const States with = plot();
        key_now[static_cast<u8>('F')] = 0;
        EXPECT_GT(with.size(), without.size());
        EXPECT_TRUE(std::equal(without.begin(), without.end(), with.begin()));
        return {with.begin() + static_cast<std::ptrdiff_t>(without.size()), with.end()};
    }
    void style(i32 i)
    {
        plot_type = i < 3 ? i : 0;
        voronoi_on = i >= 3 && i < 9 ? 1 : 0;
        voronoi_mode = i >= 3 && i < 9 ? i - 3 : 5;
        key_now[static_cast<u8>('J')] = i == 9 ? 0x80 : 0;
        Maze_detach(root, "voronoilist", true);
        plot(); // makes what is made on first use
    }
};
enum { STYLES = 10 }; // three of plot_type, six of cells, the flat plot

static const char solid[] = "test+write";
static const char covering[] = "test+write alpha,1-alpha";
static const char adding[] = "test+write one,1-colour";
static const char lighting[] = "test+write alpha,one"; // text in space

using state_of_steps = Steps;

TEST_F(state_of_steps, sky_neither_tests_nor_writes_depth)
{
    EXPECT_EQ(states_of([this] { sky_draw(&game, &light); }), States{""});
}

TEST_F(state_of_steps, seabed_tests_and_writes_depth_and_lets_blending_be)
{
    seabed_draw(&game, 0, &light);
    EXPECT_EQ(states_of([this] { seabed_draw(&game, 0, &light); }), States{solid});
    EXPECT_FALSE(enabled(GL_BLEND));
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_COLOR);
    EXPECT_EQ(states_of([this] { seabed_draw(&game, 0, &light); }), States{adding});
    EXPECT_TRUE(enabled(GL_BLEND));
    glDisable(GL_BLEND);
}

TEST_F(state_of_steps, discs_and_ribbons_cover_and_only_names_are_blended)
{
    const States found = plot();
    ASSERT_GE(found.size(), 4U); // names, ribbons, discs, cursor
    EXPECT_EQ(found[0], lighting);
    EXPECT_EQ(States(found.begin() + 1, found.end()), States(found.size() - 1, solid));
}

TEST_F(state_of_steps, walkways_are_blended_and_their_railings_not)
{
    style(1);
    EXPECT_EQ(plot(), (States{covering, solid, solid}));
}

TEST_F(state_of_steps, balls_and_sticks_cover)
{
    style(2);
    const States found = plot();
    EXPECT_EQ(found, States(3, solid)); // balls, the cursor, sticks
}

TEST_F(state_of_steps, cells_of_every_style_cover)
{
    for (i32 i = 3; i < 9; i++) {
        style(i);
        EXPECT_EQ(plot(), States(2, solid)) << i; // the level and the cursor
    }
}

TEST_F(state_of_steps, overlay_adds_by_what_its_colour_leaves_over_every_style)
{
    for (i32 i = 0; i < STYLES; i++) {
        SCOPED_TRACE(i);
        style(i);
        EXPECT_EQ(overlay(), (States{lighting, adding, adding, covering})); // lines are smooth
        smooth_lines = 0;
        EXPECT_EQ(overlay(), (States{lighting, adding, adding, adding}));
        smooth_lines = 1;
    }
}

TEST_F(state_of_steps, sea_writes_depth_and_blends)
{
    sea_draw(&game, 0, &light, 0);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    EXPECT_EQ(states_of([this] { sea_draw(&game, 0, &light, 0); }), States{covering});
}

TEST_F(state_of_steps, clouds_test_depth_and_write_none)
{
    clouds_draw(game.campos, 0, 0, 128, 1.5F, &light);
    EXPECT_EQ(states_of([this] { clouds_draw(game.campos, 0, 0, 128, 1.5F, &light); }),
              States{"test alpha,1-alpha"});
}

TEST_F(state_of_steps, grid_tests_depth_and_writes_none)
{
    EXPECT_EQ(states_of([this] { grid_draw(&game); }), States{"test alpha,one"});
    smooth_lines = 0;
    EXPECT_EQ(states_of([this] { grid_draw(&game); }), States{"test one,1-colour"});
}

TEST_F(state_of_steps, is_left_as_it_was_by_every_step)
{
    const std::string before = leftstate();
    const auto expectleft = [&](const char* step, auto draw) {
        draw();
        EXPECT_EQ(leftstate(), before) << step;
    };
    expectleft("sky", [this] { sky_draw(&game, &light); });
    expectleft("seabed", [this] { seabed_draw(&game, 1, &light); });
    expectleft("sea", [this] { sea_draw(&game, 1, &light, 0); });
    expectleft("clouds", [this] { clouds_draw(game.campos, 0, 0, 128, 1.5F, &light); });
    for (const i32 smooth : {0, 1}) {
        smooth_lines = smooth;
        expectleft("grid", [this] { grid_draw(&game); });
        expectleft("flat plot", [this] { flat_plot(root, &game, true); });
        for (i32 i = 0; i < STYLES; i++) {
            SCOPED_TRACE(i);
            style(i);
            EXPECT_EQ(leftstate(), before) << "style";
            overlay();
            EXPECT_EQ(leftstate(), before) << "overlay";
        }
    }
}

TEST_F(state_of_steps, come_as_land_maze_overlay_sea_clouds_and_grid)
{
    landscape_on = 1;
    grid_on = 1;
    style(1);
    key_now[static_cast<u8>('F')] = 0x80;
    plot();
    EXPECT_EQ(plot(), (States{solid,                              // land
                              covering, solid, solid,             // gantries
                              lighting, adding, adding, covering, // what can be reached
                              covering,                           // sea
                              "test alpha,1-alpha",               // clouds
                              "test alpha,one"}));                // grid
}
