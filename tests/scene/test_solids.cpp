// The ball-and-stick plot: what its lists hold and when they live, and that what is left out of them
// and of a depth slice changes no picture.
#include "base/rnd.h"
#include "generate/makemaze.h"
#include "scene/colours.h"
#include "scene/lists.h"
#include "tests/fakes/gl_count.h"
#include "tests/plain_solids.h"
#include "tests/scene_picture.h"

#include <random>

extern const char glsl_sphere_vs[];
extern const char glsl_sphere_fs[];
extern const char glsl_cylinder_vs[];
extern const char glsl_cylinder_fs[];

static void open_window(i32 width = 160, i32 height = 120)
{
    picture_open();
    gfx_resize(width, height);
}

// Draws balls and sticks to the end of the scope.
struct Style {
    Style()
    {
        plot_type = 2;
    }
    ~Style()
    {
        plot_type = 0;
        light_on = 0;
    }
    Style(const Style&) = delete;
    Style& operator=(const Style&) = delete;
};

// What a builder emits, caught before it reaches OpenGL.
static std::vector<GlVertex> emitted(void (*builder)(Maze*), Maze* maze)
{
    gl_count.forward = false;
    gl_count.record = true;
    gl_count.vertices.clear();
    builder(maze);
    gl_count.forward = true;
    gl_count.record = false;
    EXPECT_EQ(gl_count.openbatches, 0);
    return gl_count.vertices;
}

static void expect_floats(const f32* got, std::vector<f32> expected)
{
    for (size_t i = 0; i < expected.size(); i++) {
        EXPECT_EQ(got[i], expected[i]) << i;
    }
}

static void expect_colour(const GlVertex& v, u32 colour)
{
    expect_floats(v.colour, {static_cast<f32>(colour >> 16) / 255.0F,
                             static_cast<f32>((colour >> 8) & 255) / 255.0F,
                             static_cast<f32>(colour & 255) / 255.0F, 1});
}

// A pair of nodes behind the player, joined.
struct Pair : World {
    i32 a, b;
    Pair()
    {
        a = node(1, 2, 3, 0.5);
        b = node(1, 6, 3, 0.25);
        Maze_join(root, a, b);
    }
};

TEST(ballstick_balllist, emits_four_corners_with_centre_radius_and_colour)
{
    open_window();
    World world;
    Maze_node(world.root, 0)->rec.colour = 0xFF8000;
    const std::vector<GlVertex> v = emitted(ballstick_balllist, world.root);
    ASSERT_EQ(v.size(), 4U);
    const f32 corners[4][2] = {{-1, -1}, {-1, 1}, {1, 1}, {1, -1}};
    for (i32 i = 0; i < 4; i++) {
        expect_floats(v[i].pos, {corners[i][0], corners[i][1], 0});
        expect_floats(v[i].tex, {0, 0, 40, 0.5F});
        expect_colour(v[i], 0xFF8000);
    }
}

TEST(ballstick_balllist, draws_white_as_a_shade_below)
{
    open_window();
    World world;
    Maze_node(world.root, 0)->rec.colour = 0xFFFFFF;
    expect_colour(emitted(ballstick_balllist, world.root)[0], 0xFEFEFE);
}

TEST(ballstick_balllist, leaves_out_a_node_with_a_submaze_and_goes_last_first)
{
    open_window();
    World world;
    world.node(1, 2, 3, 4);
    world.node(5, 6, 7, 8);
    add_node(add_sub(world.root, 1), 0, 0, 0, 1);
    const std::vector<GlVertex> v = emitted(ballstick_balllist, world.root);
    ASSERT_EQ(v.size(), 8U);
    expect_floats(v[0].tex, {5, 6, 7, 8});
    expect_floats(v[4].tex, {0, 0, 40, 0.5F});
}

TEST(ballstick_sticklist, emits_this_node_the_way_to_the_target_and_the_smaller_radius)
{
    open_window();
    Pair pair;
    const std::vector<GlVertex> v = emitted(ballstick_sticklist, pair.root);
    ASSERT_EQ(v.size(), 8U);
    for (i32 i = 0; i < 4; i++) {
        expect_floats(v[i].tex, {1, 6, 3, 0.25F});
        expect_floats(v[i].normal, {0, -4, 0});
        expect_floats(v[4 + i].tex, {1, 2, 3, 0.25F});
        expect_floats(v[4 + i].normal, {0, 4, 0});
    }
}

TEST(ballstick_sticklist, draws_an_edge_from_both_ends_each_in_the_colour_of_its_record)
{
    open_window();
    Pair pair;
    Maze_node(pair.root, pair.b)->edgerec[0].colour = 0x102030;
    Maze_node(pair.root, pair.a)->edgerec[0].colour = 0x405060;
    const std::vector<GlVertex> v = emitted(ballstick_sticklist, pair.root);
    ASSERT_EQ(v.size(), 8U);
    expect_colour(v[0], 0x102030);
    expect_colour(v[4], 0x405060);
    EXPECT_EQ(v[0].pos[2], 0); // both are painted
    EXPECT_EQ(v[4].pos[2], 0);
}

TEST(ballstick_sticklist, marks_the_first_of_two_that_look_the_same)
{
    open_window();
    Pair pair;
    const std::vector<GlVertex> v = emitted(ballstick_sticklist, pair.root);
    for (i32 i = 0; i < 4; i++) {
        EXPECT_EQ(v[i].pos[2], 1);
        EXPECT_EQ(v[4 + i].pos[2], 0);
    }
}

TEST(ballstick_sticklist, emits_nothing_for_a_node_without_edges)
{
    open_window();
    World world;
    EXPECT_EQ(emitted(ballstick_sticklist, world.root).size(), 0U);
}

// A line of two nodes joined to a submaze of two ports, in the middle of the way.
struct Nest : World {
    Maze* sub;
    Nest()
    {
        const i32 west = node(-10, 0, -20, 1);
        const i32 middle = node(0, 0, -20, 3);
        const i32 east = node(10, 0, -20, 1);
        Maze_join(root, west, middle);
        Maze_join(root, middle, east);
        sub = add_sub(root, middle);
        add_node(sub, -1, 0, -20, 0.5);
        add_node(sub, 1, 0, -20, 0.5);
        Maze_join(sub, 0, 1);
        finish_world(root);
    }
};

TEST(ballstick_sticklist, draws_into_a_submaze_from_the_level_above_alone)
{
    open_window();
    const Nest nest;
    EXPECT_EQ(emitted(ballstick_sticklist, nest.root).size(), 8U); // to either port
    EXPECT_EQ(emitted(ballstick_sticklist, nest.sub).size(), 8U);  // within, from both ends
}

TEST(ballstick_balllist, colours_a_submaze_by_its_exits_whatever_the_game_shows)
{
    open_window();
    Nest nest;
    nest.game.showexits = 0;
    expect_colour(emitted(ballstick_balllist, nest.sub)[0], COLOUR_DEFAULT);
    nest.sub->exitsused = 1;
    expect_colour(emitted(ballstick_balllist, nest.sub)[0], 0xC0A040);
    expect_colour(emitted(ballstick_sticklist, nest.sub)[0], 0xC0A040);
    nest.sub->exitsused = 3;
    expect_colour(emitted(ballstick_balllist, nest.sub)[0], 0x408040);
    expect_colour(emitted(ballstick_sticklist, nest.root)[0], COLOUR_DEFAULT); // leaves its level
}

TEST(Maze_calllist, keeps_a_list_a_level_with_flags_3)
{
    open_window();
    const Style style;
    Nest nest;
    picture_draw(&nest.game);
    for (Maze* maze : {nest.root, nest.sub}) {
        for (const char* name : {"ballstick_ballslist", "ballstick_stickslist"}) {
            EXPECT_NE(Maze_attachment(maze, name), nullptr) << name;
        }
        Maze_freeflags(maze, ATT_VISITS, false);
        EXPECT_NE(Maze_attachment(maze, "ballstick_ballslist"), nullptr);
        Maze_freeflags(maze, ATT_EXITS, false);
        EXPECT_EQ(Maze_attachment(maze, "ballstick_ballslist"), nullptr);
        EXPECT_EQ(Maze_attachment(maze, "ballstick_stickslist"), nullptr);
    }
    picture_draw(&nest.game);
    Maze_freeflags(nest.root, ATT_GEOMETRY, false);
    EXPECT_EQ(Maze_attachment(nest.root, "ballstick_stickslist"), nullptr);
}

TEST(Maze_calllist, builds_each_list_once_and_deletes_it_with_the_world)
{
    open_window();
    const Style style;
    gl_count.calls.clear();
    {
        Nest nest;
        picture_draw(&nest.game);
        EXPECT_EQ(gl_count.calls["glNewList"], 4);
        picture_draw(&nest.game);
        EXPECT_EQ(gl_count.calls["glNewList"], 4);
        EXPECT_EQ(gl_count.calls["glDeleteLists"], 0);
    }
    EXPECT_EQ(gl_count.calls["glDeleteLists"], 4);
}

static i32 calls_of(Maze* maze, const ViewRec* view, bool recursive)
{
    gl_count.calls.clear();
    Maze_calllist(maze, "ballstick_ballslist", ballstick_balllist, recursive, view);
    return gl_count.calls["glCallList"];
}

TEST(Maze_calllist, calls_one_level_alone_unless_recursive)
{
    open_window();
    const Nest nest;
    EXPECT_EQ(calls_of(nest.root, nullptr, false), 1);
    EXPECT_EQ(calls_of(nest.root, nullptr, true), 2);
}

TEST(Maze_calllist, neither_builds_nor_calls_what_is_out_of_the_view)
{
    open_window();
    Nest nest;
    picture_begin(&nest.game);
    ViewRec* const view = &nest.game.view;
    EXPECT_EQ(calls_of(nest.root, view, true), 2);
    view->far = 10; // the submaze begins at 17, the player's node stands behind the eye
    EXPECT_EQ(calls_of(nest.root, view, true), 1);
    Maze_freeflags(nest.sub, ATT_GEOMETRY, false);
    EXPECT_EQ(calls_of(nest.root, view, true), 1);
    EXPECT_EQ(Maze_attachment(nest.sub, "ballstick_ballslist"), nullptr);
}

TEST(Maze_unpainted, goes_by_the_draw_sphere_and_how_far_is_drawn_beyond_it)
{
    open_window();
    Nest nest;
    picture_begin(&nest.game);
    nest.game.view.far = 10; // the submaze begins at 17
    Sight sight;
    Sight_make(&sight, &nest.game.view);
    EXPECT_TRUE(Maze_unpainted(nest.sub, &sight, 0));
    EXPECT_FALSE(Maze_unpainted(nest.sub, &sight, 10));
}

// A level far ahead, a fifth of a pixel large, whose middle is seen `part` of a pixel right of the
// corner between four pixels.
static i32 calls_of_a_speck(f64 part)
{
    World world;
    const f64 pixel = 1000 / 80.0; // at this distance
    const f64 x = part * pixel;
    Maze* const sub = add_sub(world.root, world.node(x, x, -1000, 1));
    add_node(sub, x, x, -1000, 0.1 * pixel);
    finish_world(world.root);
    picture_begin(&world.game);
    return calls_of(world.root, &world.game.view, true);
}

TEST(Maze_calllist, leaves_out_what_is_small_only_between_the_middles_of_pixels)
{
    open_window();
    gfx_set_fov(90, 0.1F, 1e5F);
    EXPECT_EQ(calls_of_a_speck(0.0), 1);
    EXPECT_EQ(calls_of_a_speck(0.3), 1);
    EXPECT_EQ(calls_of_a_speck(0.45), 2);
    EXPECT_EQ(calls_of_a_speck(0.5), 2);
    EXPECT_EQ(calls_of_a_speck(0.55), 2);
    EXPECT_EQ(calls_of_a_speck(0.7), 1);
    open_window();
}

TEST(ballstick_plot, draws_the_cursor_half_as_large_again_as_a_node)
{
    open_window();
    const Style style;
    World world;
    Maze_node(world.root, 0)->pos[2] = -10;
    Maze_node(world.root, 0)->radius = 2;
    // a sphere of radius 3 at distance 10 is seen at the tangent of asin(0.3)
    const f64 tangent = std::tan(std::asin(0.3)) * 80;
    EXPECT_NEAR(world.draw().painted(), M_PI * tangent * tangent, 30);
}

TEST(ballstick_plot, shows_a_white_cursor_at_night_if_it_is_a_lamp_and_a_black_one_if_not)
{
    open_window();
    const Style style;
    World world;
    Maze_node(world.root, 0)->pos[2] = -10;
    world.game.time = 500;
    EXPECT_EQ(world.draw().painted(), 0);
    light_on = 1;
    const Rgb c = world.draw().at(80, 60);
    EXPECT_GE(c.r, 254 / 255.0);
    EXPECT_GE(c.b, 254 / 255.0);
}

TEST(ballstick_plot, leaves_no_program_no_error_and_no_state_behind)
{
    open_window();
    const Style style;
    Nest nest;
    for (light_on = 0; light_on < 2; light_on++) {
        picture_draw(&nest.game);
        GLint program = -1;
        glGetIntegerv(GL_CURRENT_PROGRAM, &program);
        EXPECT_EQ(program, 0);
        EXPECT_EQ(glIsEnabled(GL_BLEND), GL_FALSE);
        EXPECT_EQ(glIsEnabled(GL_DEPTH_TEST), GL_TRUE);
    }
}

TEST(ballstick_plot, has_no_seam_where_the_slices_meet)
{
    open_window();
    const Style style;
    World world;
    const i32 from = world.node(-300, -20, -900, 30);
    const i32 to = world.node(300, 20, -1100, 30);
    Maze_join(world.root, from, to);
    world.node(0, -60, -1001, 30); // a ball across the border
    const Picture picture = world.draw();
    i32 lit = 0;
    for (i32 i = 0; i <= 200; i++) {
        const f64 part = i / 200.0;
        const f64 p[3] = {-300 + 600 * part, -20 + 40 * part, -900 - 200 * part};
        const Place place = picture_place(&world.game, p);
        lit += picture.black(static_cast<i32>(place.x), static_cast<i32>(place.y)) ? 0 : 1;
    }
    EXPECT_EQ(lit, 201);
    const f64 radius = 80 * 30 / 1001.0; // pixels
    const Place middle = {80, 60 - 80 * 60 / 1001.0};
    for (i32 y = 0; y < 120; y++) {
        for (i32 x = 0; x < 160; x++) {
            if (std::hypot(x + 0.5 - middle.x, y + 0.5 - middle.y) < radius - 1) {
                EXPECT_FALSE(picture.black(x, y)) << x << " " << y;
            }
        }
    }
}

// Pixels of two pictures.
struct Difference {
    i32 pixels = 0; // that differ
    i32 much = 0;   // by more than two steps
    i32 painted = 0;
};

static void compare(const Picture& a, const Picture& b, Difference* out)
{
    for (size_t i = 0; i < a.bytes.size(); i += 3) {
        i32 most = 0;
        i32 light = 0;
        for (size_t k = i; k < i + 3; k++) {
            most = std::max(most, std::abs(a.bytes[k] - b.bytes[k]));
            light += b.bytes[k];
        }
        out->pixels += most > 0 ? 1 : 0;
        out->much += most > 2 ? 1 : 0;
        out->painted += light > 0 ? 1 : 0;
    }
}

static std::string without(std::string text, const std::string& piece)
{
    const size_t at = text.find(piece);
    EXPECT_NE(at, std::string::npos) << piece;
    return text.replace(at, piece.size(), "");
}

// The program's own texts, less what throws a quad away for its depth.
static PlainSolids undivided_programs()
{
    static PlainSolids programs;
    if (programs.sphere == 0) {
        const std::string sphere = without(glsl_sphere_vs, " || ex.z + r < -far");
        const std::string cylinder =
            without(glsl_cylinder_vs, " || !(bottom < -near) || top < -far");
        programs = {plain_program(sphere.c_str(), glsl_sphere_fs),
                    plain_program(cylinder.c_str(), glsl_cylinder_fs)};
    }
    return programs;
}

// The same, and twins are painted.
static PlainSolids doubled_programs()
{
    static PlainSolids programs;
    if (programs.sphere == 0) {
        const std::string cylinder = without(glsl_cylinder_vs, "gl_Vertex.z < 0.5 && ");
        programs = {sphere_program(), plain_program(cylinder.c_str(), glsl_cylinder_fs)};
    }
    return programs;
}

static PlainSolids told_programs()
{
    static PlainSolids programs;
    if (programs.sphere == 0) {
        programs = {plain_program(plain_sphere_vs, plain_sphere_fs),
                    plain_program(plain_cylinder_vs, plain_cylinder_fs)};
    }
    return programs;
}

static PlainSolids own_programs()
{
    return {sphere_program(), cylinder_program()};
}

static Picture plain_picture(const PlainSolids& programs, const PlainLists& lists, MazeGame* game)
{
    picture_begin(game);
    plain_scene(programs, lists, game, light_on != 0);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    return picture_take();
}

static MazeGame make_world(i32 kind, u32 seed)
{
    rnd_seed(seed);
    makemaze_forced_kind = kind;
    MazeGame game;
    MazeGame_new(&game, 0);
    makemaze_forced_kind = -1;
    return game;
}

static void list_mazes(Maze* maze, std::vector<Maze*>* out)
{
    out->push_back(maze);
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        if (Maze_node(maze, i)->sub != nullptr) {
            list_mazes(Maze_node(maze, i)->sub, out);
        }
    }
}

// A camera inside of a world: beside a random node of a random level, at a distance between its radius
// and a thousand times that, turned anywhere.
static void stand_inside(MazeGame* game, const std::vector<Maze*>& mazes, std::mt19937* draws)
{
    std::uniform_real_distribution<f64> any(-1, 1);
    const Maze* const maze = mazes[(*draws)() % mazes.size()];
    const MazeNode* const node = Maze_node(maze, static_cast<i32>((*draws)() % maze->nodes.count));
    const f64 distance = node->radius * std::pow(10, 1.5 + 1.5 * any(*draws));
    f64 eye[3];
    f64 target[3];
    for (i32 i = 0; i < 3; i++) {
        eye[i] = node->pos[i] + distance * any(*draws);
        target[i] = node->pos[i] + 0.5 * distance * any(*draws);
    }
    look_at(game, eye, target);
}

// Twenty views from inside of five worlds, by the program and by other programs with every list.
static Difference compare_worlds(const std::vector<i32>& kinds, const PlainSolids& programs)
{
    Difference sum;
    for (u32 seed = 1; seed <= 5; seed++) {
        MazeGame game = make_world(kinds[seed % kinds.size()], seed);
        std::vector<Maze*> mazes;
        list_mazes(game.root, &mazes);
        PlainLists lists;
        lists.make(game.root);
        std::mt19937 draws(seed);
        for (i32 i = 0; i < 20; i++) {
            stand_inside(&game, mazes, &draws);
            game.time = 10 * i;
            const Picture ours = picture_draw(&game);
            compare(ours, plain_picture(programs, lists, &game), &sum);
        }
        lists.free();
        MazeGame_free(&game);
    }
    return sum;
}

TEST(ballstick_plot, leaves_out_only_levels_that_paint_nothing)
{
    open_window();
    const Style style;
    const Difference d = compare_worlds({0, 5}, own_programs());
    EXPECT_EQ(d.pixels, 0);
    EXPECT_GT(d.painted, 100 * 1000);
}

TEST(ballstick_plot, leaves_out_only_levels_that_paint_nothing_in_a_skewed_frustum)
{
    open_window();
    const Style style;
    f32 projection[16];
    glGetFloatv(GL_PROJECTION_MATRIX, projection);
    projection[8] = 0.4F;
    glMatrixMode(GL_PROJECTION);
    glLoadMatrixf(projection);
    glMatrixMode(GL_MODELVIEW);
    const Difference d = compare_worlds({0, 5}, own_programs());
    gfx_resize(160, 120);
    EXPECT_EQ(d.pixels, 0);
    EXPECT_GT(d.painted, 100 * 1000);
}

TEST(ballstick_plot, leaves_out_only_quads_of_a_slice_that_paint_nothing)
{
    open_window();
    const Style style;
    const Difference d = compare_worlds({1, 0, 5}, undivided_programs());
    EXPECT_EQ(d.pixels, 0);
    EXPECT_GT(d.painted, 100 * 1000);
}

TEST(ballstick_plot, looks_the_same_with_the_twins_of_its_sticks)
{
    open_window();
    const Style style;
    const Difference d = compare_worlds({1, 0, 5}, doubled_programs());
    EXPECT_EQ(d.pixels, 0);
    EXPECT_GT(d.painted, 100 * 1000);
}

TEST(ballstick_plot, looks_like_its_plain_formulas)
{
    open_window();
    const Style style;
    const Difference d = compare_worlds({1, 5}, told_programs());
    std::printf("of %d pixels %d differ, %d by more than 2 steps\n", d.painted, d.pixels, d.much);
    EXPECT_LT(d.much, d.painted / 100);
}
