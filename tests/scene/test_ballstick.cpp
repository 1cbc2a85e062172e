#include "generate/grids.h"
#include "gfx/stereo.h"
#include "model/pos.h"
#include "scene/ballstick.h"
#include "scene/lists.h"
#include "tests/emitted.h"
#include "tests/fakes/alloc_count.h"
#include "tests/scene_picture.h"

#include <cstdio>
#include <cstdlib>

static std::vector<GlVertex> discs_of(Maze* maze, const MazeGame* game)
{
    return emitted([=] { sphere_balllist(maze, game); });
}

static std::vector<GlVertex> bands_of(Maze* maze, const MazeGame* game, bool alledges = true)
{
    return emitted([=] { sphere_sticklist(maze, game, alledges); });
}

static void expect_floats(const f32* got, std::vector<f32> expected)
{
    for (size_t i = 0; i < expected.size(); i++) {
        EXPECT_EQ(got[i], expected[i]) << i;
    }
}

// A line a - A - B - b in which A and B hold submazes of as many nodes as they have ports, and one
// inner node; the player stands on a.
struct Line {
    MazeGame game = {};
    Maze* root = Maze_new();
    Maze* subA;
    Maze* subB;

    Line()
    {
        MazeGame_setup(&game);
        game.root = root;
        game.pos = {root, 0};
        for (i32 i = 0; i < 4; i++) {
            add_node(root, 10 * i, 0, 0, 1);
        }
        Maze_join(root, 0, 1);
        Maze_join(root, 1, 2);
        Maze_join(root, 2, 3);
        subA = fill(1);
        subB = fill(2);
        finish_world(root);
    }
    ~Line()
    {
        MazeGame_free(&game);
    }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    Maze* fill(i32 node)
    {
        Maze* const sub = add_sub(root, node);
        add_node(sub, 10 * node - 0.5, 0, 0, 0.25);
        add_node(sub, 10 * node + 0.5, 0, 0, 0.25);
        add_node(sub, 10 * node, 0.5, 0, 0.25);
        Maze_join(sub, 0, 2);
        Maze_join(sub, 2, 1);
        return sub;
    }
};

TEST(sphere_balllist, emits_four_corners_with_centre_radius_colour_and_time)
{
    World world;
    Maze_node(world.root, 0)->rec.colour = 0xFF8000;
    Maze_node(world.root, 0)->rec.walked = 1e6 + 0.0625;
    const std::vector<GlVertex> v = discs_of(world.root, &world.game);
    ASSERT_EQ(v.size(), 4U);
    const f32 corners[4][2] = {{-1, -1}, {-1, 1}, {1, 1}, {1, -1}};
    for (i32 i = 0; i < 4; i++) {
        expect_floats(v[i].pos, {corners[i][0], corners[i][1]});
        expect_floats(v[i].tex, {0, 0, 40, 0.5F});
        expect_floats(v[i].colour, {1, 128.0F / 255.0F, 0, 1e6F + 0.0625F});
    }
}

TEST(sphere_balllist, gives_a_node_that_was_never_walked_the_time_minus_1)
{
    const World world;
    EXPECT_EQ(discs_of(world.root, &world.game)[0].colour[3], -1.0F);
}

TEST(sphere_balllist, goes_from_the_last_node_to_the_first)
{
    World world;
    world.node(1, 2, 3, 4);
    const std::vector<GlVertex> v = discs_of(world.root, &world.game);
    ASSERT_EQ(v.size(), 8U);
    expect_floats(v[0].tex, {1, 2, 3, 4});
    expect_floats(v[4].tex, {0, 0, 40, 0.5F});
}

TEST(sphere_balllist, leaves_out_a_node_with_a_submaze)
{
    const Line line;
    const std::vector<GlVertex> v = discs_of(line.root, &line.game);
    ASSERT_EQ(v.size(), 8U);
    EXPECT_EQ(v[0].tex[0], 30);
    EXPECT_EQ(v[4].tex[0], 0);
}

TEST(sphere_balllist, colours_a_submaze_by_its_exits_if_the_game_shows_them)
{
    Line line;
    line.subA->exitsused = 1;
    line.game.showexits = 1;
    expect_floats(discs_of(line.subA, &line.game)[0].colour,
                  {0xC0 / 255.0F, 0xA0 / 255.0F, 0x40 / 255.0F});
    line.subA->exitsused = 3;
    expect_floats(discs_of(line.subA, &line.game)[0].colour,
                  {0x40 / 255.0F, 0x80 / 255.0F, 0x40 / 255.0F});
}

TEST(sphere_balllist, keeps_the_records_colours_if_the_game_does_not_show_exits)
{
    Line line;
    line.subA->exitsused = 1;
    EXPECT_EQ(discs_of(line.subA, &line.game)[0].colour[0], 128.0F / 255.0F);
}

TEST(sphere_balllist, colours_by_exits_if_no_game_is_given)
{
    const Line line;
    line.subA->exitsused = 1;
    EXPECT_EQ(discs_of(line.subA, nullptr)[0].colour[0], 0xC0 / 255.0F);
}

TEST(sphere_sticklist, emits_target_node_node_target_with_their_codes)
{
    World world;
    world.node(5, 6, 7, 0.25);
    Maze_join(world.root, 0, 1);
    Maze_node(world.root, 1)->edgerec[0].walked = 12.5;
    Maze_node(world.root, 1)->edgerec[0].colour = 0xFFFFFF;
    const std::vector<GlVertex> v = bands_of(world.root, &world.game);
    ASSERT_EQ(v.size(), 8U); // node 1 first
    expect_floats(v[0].pos, {0, 0, 40, 0});
    expect_floats(v[1].pos, {5, 6, 7, 2});
    expect_floats(v[2].pos, {5, 6, 7, 3});
    expect_floats(v[3].pos, {0, 0, 40, 1});
    for (i32 i = 0; i < 4; i++) {
        expect_floats(v[i].normal, {5, 6, -33});
        expect_floats(v[i].tex, {12.5F, i == 1 || i == 2 ? 0.25F : 0.5F});
        expect_floats(v[i].colour, {254 / 255.0F, 254 / 255.0F, 254 / 255.0F});
    }
}

TEST(sphere_sticklist, draws_an_edge_from_both_ends_each_with_its_own_record)
{
    World world;
    world.node(5, 6, 7, 0.25);
    Maze_join(world.root, 0, 1);
    Maze_node(world.root, 0)->edgerec[0] = {.colour = 0xFF0000, .walked = 3, .trailed = -1};
    Maze_node(world.root, 1)->edgerec[0] = {.colour = 0x0000FF, .walked = 8, .trailed = -1};
    const std::vector<GlVertex> v = bands_of(world.root, &world.game);
    ASSERT_EQ(v.size(), 8U);
    expect_floats(v[0].colour, {0, 0, 1});
    EXPECT_EQ(v[0].tex[0], 8);
    expect_floats(v[4].colour, {1, 0, 0});
    EXPECT_EQ(v[4].tex[0], 3);
    expect_floats(v[4].normal, {-5, -6, 33});
}

TEST(sphere_sticklist, emits_nothing_for_a_node_without_edges)
{
    const World world;
    EXPECT_EQ(bands_of(world.root, &world.game).size(), 0U);
    EXPECT_EQ(discs_of(world.root, &world.game).size(), 4U);
}

TEST(sphere_sticklist, draws_into_a_submaze_from_the_level_above)
{
    const Line line;
    const std::vector<GlVertex> v = bands_of(line.root, &line.game);
    ASSERT_EQ(v.size(), 8U); // b to B's port 1, a to A's port 0
    expect_floats(v[0].pos, {20.5F, 0, 0, 0});
    expect_floats(v[1].pos, {30, 0, 0, 2});
    expect_floats(v[4].pos, {9.5F, 0, 0, 0});
    expect_floats(v[5].pos, {0, 0, 0, 2});
}

TEST(sphere_sticklist, draws_between_submazes_side_by_side_and_not_upward)
{
    const Line line;
    const std::vector<GlVertex> v = bands_of(line.subA, &line.game);
    // node 2 to both ports, port 1 to node 2 and to B's port 0, port 0 to node 2
    ASSERT_EQ(v.size(), 5U * 4);
    i32 across = 0;
    for (size_t i = 0; i < v.size(); i += 4) {
        EXPECT_GE(v[i].pos[0], 9.5F) << "a stick to node a is drawn from above";
        if (v[i].pos[0] == 19.5F) {
            across++;
            expect_floats(v[i + 1].pos, {10.5F, 0, 0, 2});
        }
    }
    EXPECT_EQ(across, 1);
}

TEST(sphere_sticklist, takes_the_plain_edges_without_alledges)
{
    const Line line;
    const std::vector<GlVertex> v = bands_of(line.root, &line.game, false);
    ASSERT_EQ(v.size(), 8U);
    expect_floats(v[0].pos, {20, 0, 0, 0});
    expect_floats(v[4].pos, {10, 0, 0, 0});
    EXPECT_EQ(bands_of(line.subA, &line.game, false).size(), 4U * 4);
}

TEST(sphere_sticklist, colours_by_exits_only_what_stays_inside_the_submaze)
{
    Line line;
    line.game.showexits = 1;
    line.subA->exitsused = 1;
    for (const GlVertex& v : bands_of(line.subA, &line.game)) {
        const bool across = v.normal[0] == -9;
        EXPECT_EQ(v.colour[0], across ? 128.0F / 255.0F : 0xC0 / 255.0F);
    }
}

// Draws and returns the calls of one name.
static i32 calls_in_draw(MazeGame* game, const char* name)
{
    picture_begin(game);
    gl_count.calls.clear();
    scene_draw(game);
    return gl_count.calls[name];
}

// The line before a camera that has all of it in view.
static void see_line(Line* line)
{
    picture_open();
    gfx_resize(200, 150);
    const f64 eye[3] = {15, -30, 5};
    const f64 target[3] = {15, 0, 0};
    look_at(&line->game, eye, target);
}

TEST(sphere_lists, keeps_a_pair_of_lists_as_the_attachment_lists_with_flags_7)
{
    Line line;
    see_line(&line);
    calls_in_draw(&line.game, "glNewList");
    const ListPair* const pair = static_cast<ListPair*>(Maze_attachment(line.subA, "LISTS"));
    ASSERT_NE(pair, nullptr);
    EXPECT_TRUE(glIsList(pair->sticks));
    EXPECT_TRUE(glIsList(pair->balls));
    ASSERT_EQ(line.subA->attachments.count, 1U);
    EXPECT_EQ(items<Attachment>(&line.subA->attachments)->flags, 7U);
}

TEST(sphere_lists, builds_two_lists_a_level_once)
{
    Line line;
    see_line(&line);
    EXPECT_EQ(calls_in_draw(&line.game, "glNewList"), 6);
    EXPECT_EQ(calls_in_draw(&line.game, "glNewList"), 0);
    EXPECT_EQ(calls_in_draw(&line.game, "glCallList"), 6); // the near slice alone
}

TEST(sphere_lists, draws_one_level_alone_unless_recursive)
{
    Line line;
    see_line(&line);
    picture_begin(&line.game);
    gl_count.calls.clear();
    sphere_lists(line.root, &line.game, SPHERE_STICKS, false);
    EXPECT_EQ(gl_count.calls["glCallList"], 1);
}

TEST(sphere_lists, calls_the_sticks_before_the_discs_and_submazes_last_first)
{
    Line line;
    see_line(&line);
    calls_in_draw(&line.game, "glNewList");
    const auto list = [](const Maze* maze) {
        return static_cast<ListPair*>(Maze_attachment(maze, "lists"));
    };
    // names are given in the order in which lists are made
    EXPECT_LT(list(line.root)->sticks, list(line.root)->balls);
    EXPECT_LT(list(line.root)->balls, list(line.subB)->sticks);
    EXPECT_LT(list(line.subB)->balls, list(line.subA)->sticks);
}

TEST(sphere_lists, rebuilds_the_walked_maze_and_no_other)
{
    Line line;
    see_line(&line);
    calls_in_draw(&line.game, "glNewList");
    Pos_markwalked({line.subA, 0}, {line.subA, 2}, 1);
    EXPECT_NE(Maze_attachment(line.root, "lists"), nullptr);
    EXPECT_EQ(Maze_attachment(line.subA, "lists"), nullptr);
    EXPECT_NE(Maze_attachment(line.subB, "lists"), nullptr);
    EXPECT_EQ(calls_in_draw(&line.game, "glNewList"), 2);
}

TEST(sphere_lists, rebuilds_after_each_step_though_the_edge_was_walked_before)
{
    Line line;
    see_line(&line);
    for (i32 step = 1; step < 4; step++) {
        Pos_markwalked({line.subA, 0}, {line.subA, 2}, step);
        calls_in_draw(&line.game, "glNewList");
        Pos_markwalked({line.subA, 2}, {line.subA, 0}, step);
        EXPECT_EQ(calls_in_draw(&line.game, "glNewList"), 2);
    }
}

TEST(sphere_lists, rebuilds_the_level_above_and_a_newly_used_submaze_when_it_is_entered)
{
    Line line;
    see_line(&line);
    calls_in_draw(&line.game, "glNewList");
    Pos_markwalked({line.root, 0}, {line.subA, 0}, 1);
    EXPECT_EQ(calls_in_draw(&line.game, "glNewList"), 4);
    Pos_markwalked({line.root, 0}, {line.subA, 0}, 2); // the exit is known by now
    EXPECT_EQ(Maze_attachment(line.root, "lists"), nullptr);
    EXPECT_EQ(calls_in_draw(&line.game, "glNewList"), 2);
}

TEST(sphere_lists, rebuilds_what_has_changed_its_shape)
{
    Line line;
    see_line(&line);
    calls_in_draw(&line.game, "glNewList");
    Maze_freeflags(line.root, ATT_GEOMETRY, true);
    EXPECT_EQ(calls_in_draw(&line.game, "glNewList"), 6);
}

TEST(sphere_lists, neither_builds_nor_calls_a_level_that_is_out_of_view)
{
    Line line;
    see_line(&line);
    const f64 eye[3] = {15, -30, 5};
    const f64 away[3] = {15, -60, 5};
    look_at(&line.game, eye, away);
    EXPECT_EQ(calls_in_draw(&line.game, "glNewList"), 0);
    EXPECT_EQ(gl_count.calls["glCallList"], 0);
    EXPECT_EQ(Maze_attachment(line.root, "lists"), nullptr);
}

TEST(sphere_lists, leaves_out_submazes_under_a_pixel_with_all_inside_while_the_parent_stays)
{
    Line line;
    see_line(&line);
    Maze* const deep = add_sub(line.subA, 2);
    for (i32 i = 0; i < 3; i++) {
        add_node(deep, 10 + 0.01 * i, 0.5, 0, 0.01);
    }
    finish_world(line.root);
    // a pixel at distance 1200 is 2 / 200 * 1200 = 12: the line of radius 16 is larger, its parts not
    const f64 eye[3] = {15, -1200, 0};
    const f64 target[3] = {15, 0, 0};
    look_at(&line.game, eye, target);
    EXPECT_EQ(calls_in_draw(&line.game, "glCallList"), 2);
    EXPECT_NE(Maze_attachment(line.root, "lists"), nullptr);
    EXPECT_EQ(Maze_attachment(line.subA, "lists"), nullptr);
    EXPECT_EQ(Maze_attachment(deep, "lists"), nullptr);
}

TEST(sphere_lists, goes_by_the_draw_sphere_and_not_by_the_bounds_of_the_nodes)
{
    Line line;
    see_line(&line);
    line.root->boundradius = 1e-9; // what the bounds say of a level with far-flung submazes
    line.root->centre[0] = 1e6;
    EXPECT_EQ(calls_in_draw(&line.game, "glCallList"), 6);
}

TEST(sphere_lists, takes_the_pixel_test_by_the_draw_sphere_too)
{
    Line line;
    see_line(&line);
    for (i32 i = Maze_count(line.subA) - 1; i >= 0; i--) { // a submaze far from its node
        Maze_node(line.subA, i)->pos[1] += 200;
    }
    finish_world(line.root);
    for (i32 i = 3; i >= 0; i--) {
        Maze_node(line.root, i)->radius = 1e-4;
    }
    line.root->boundradius = 15;
    const f64 eye[3] = {10, 0, 3000}; // a pixel is 30
    const f64 target[3] = {10, 100, 0};
    look_at(&line.game, eye, target);
    EXPECT_EQ(calls_in_draw(&line.game, "glCallList"), 6);
}

TEST(sphere_lists, leaves_out_nothing_that_a_skewed_frustum_shows_beside_the_even_one)
{
    picture_open();
    gfx_resize(200, 150);
    World world;
    for (const f64 x : {-11.0, 11.0}) { // the even view ends at 10
        Maze* const sub = add_sub(world.root, world.node(x, 0, -10, 0.3));
        add_node(sub, x, 0, -10, 0.3);
    }
    finish_world(world.root);
    picture_begin(&world.game);
    stereo_draw_split(scene_draw, &world.game, 0, 0, -0.2, STEREO_SIDEBYSIDE);
    const Picture picture = picture_take();
    EXPECT_FALSE(picture.black(5, 75));   // of the left eye's half, from 0 to 99
    EXPECT_FALSE(picture.black(194, 75)); // of the right eye's
    gfx_resize(640, 480);
}

TEST(sphere_balls, end_with_a_white_disc_of_age_0_where_the_player_is_seen)
{
    Line line;
    see_line(&line);
    line.game.time = 77.5;
    line.game.step[0] = 2.375; // a quarter of the way to port 0 of A
    calls_in_draw(&line.game, "glNewList");
    gl_count.vertices.clear();
    gl_count.record = true;
    sphere_balls(line.root, &line.game, true); // the lists stand
    gl_count.record = false;
    ASSERT_EQ(gl_count.vertices.size(), 4U);
    for (const GlVertex& v : gl_count.vertices) {
        expect_floats(v.colour, {1, 1, 1, 77.5F});
        expect_floats(v.tex, {2.375F, 0, 0, 0.8125F});
    }
}

TEST(ListPair_delete, deletes_both_lists)
{
    picture_open();
    ListPair* const pair = static_cast<ListPair*>(std::malloc(sizeof(ListPair)));
    *pair = {glGenLists(1), glGenLists(1)};
    const ListPair copy = *pair;
    for (const u32 list : {copy.sticks, copy.balls}) {
        glNewList(list, GL_COMPILE);
        glEndList();
        ASSERT_TRUE(glIsList(list));
    }
    ListPair_delete(pair, nullptr);
    EXPECT_FALSE(glIsList(copy.sticks));
    EXPECT_FALSE(glIsList(copy.balls));
}

TEST(ListPair_delete, calls_nothing_once_the_context_is_gone)
{
    picture_open();
    ListPair* const pair = static_cast<ListPair*>(std::malloc(sizeof(ListPair)));
    *pair = {1234567, 1234568};
    gl_count.calls.clear();
    gfx_alive = false;
    ListPair_delete(pair, nullptr);
    gfx_alive = true;
    EXPECT_EQ(gl_count.total(), 0);
}

// A game on a grid, seen whole.
struct Grid {
    MazeGame game = {};

    Grid(i32 nx, i32 ny)
    {
        picture_open();
        gfx_resize(200, 150);
        gl_count_entries();
        MazeGame_setup(&game);
        game.root = grid_maze(nx, ny, 1);
        game.pos = {game.root, 0};
        finish_world(game.root);
        const f64 eye[3] = {nx * 0.5, ny * 0.5, 1.0 * nx};
        const f64 target[3] = {nx * 0.5, ny * 0.5, 0};
        look_at(&game, eye, target);
    }
    ~Grid()
    {
        MazeGame_free(&game);
    }
    Grid(const Grid&) = delete;
    Grid& operator=(const Grid&) = delete;
};

static i32 calls_of_a_standing_frame(Grid* grid)
{
    calls_in_draw(&grid->game, "glNewList");
    calls_in_draw(&grid->game, "glNewList");
    return gl_count.total();
}

TEST(scene_frame, makes_as_many_calls_for_2500_nodes_as_for_4)
{
    Grid small(2, 2);
    const i32 few = calls_of_a_standing_frame(&small);
    Grid large(50, 50);
    EXPECT_EQ(calls_of_a_standing_frame(&large), few);
    EXPECT_LT(few, 110);
    EXPECT_GT(few, 10);
}

TEST(scene_frame, allocates_nothing_of_its_own_while_the_lists_stand)
{
    Grid grid(20, 20);
    calls_of_a_standing_frame(&grid);
    picture_begin(&grid.game);
    const i32 before = alloc_count;
    scene_draw(&grid.game);
    EXPECT_EQ(alloc_count - before, 0);
    void* volatile block = std::malloc(1);
    std::free(block);
    EXPECT_EQ(alloc_count - before, 1); // the counter counts
}

TEST(scene_frame, allocates_an_attachment_and_no_more_for_a_rebuilt_list)
{
    Grid grid(20, 20);
    calls_of_a_standing_frame(&grid);
    Maze_markwalked(grid.game.root, 0, 1, 1);
    const i32 before = alloc_count;
    scene_draw(&grid.game);
    EXPECT_LE(alloc_count - before, 4); // the pair, its name, the array of attachments
    EXPECT_GT(alloc_count - before, 0);
}

TEST(scene_frame, leaves_no_error_and_no_program_behind)
{
    Grid grid(5, 5);
    calls_of_a_standing_frame(&grid);
    GLint program = -1;
    glGetIntegerv(GL_CURRENT_PROGRAM, &program);
    EXPECT_EQ(program, 0);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}
