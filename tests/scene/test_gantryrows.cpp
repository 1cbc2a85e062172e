// Levels of gantries that are drawn from their stretches, since they have long ways or look small: the
// pictures are those of their lists.
#include "model/pos.h"
#include "scene/gantry.h"
#include "scene/gantryrows.h"
#include "scene/gantrystretch.h"
#include "tests/fakes/gl_count.h"
#include "tests/gantries.h"
#include "tests/world.h"

#include <algorithm>
#include <random>

// Nine nodes around a place, joined as a grid, in all colours, with a maze of the same kind in every
// second one, down to the lowest level. Some ways are steep.
static void fill_grid(Maze* maze, const f64 at[3], f64 size, i32 levels, std::mt19937* random)
{
    std::uniform_real_distribution<f64> part(-0.3, 0.3);
    for (i32 i = 0; i < 9; i++) {
        const i32 n = add_node(maze, at[0] + size * (i % 3 - 1 + part(*random)),
                               at[1] + size * (i / 3 - 1 + part(*random)),
                               at[2] + size * 2 * part(*random), 1 + size / 500);
        Maze_node(maze, n)->rec.colour = (*random)() % 0x1000000;
    }
    join_square(maze);
    for (i32 i = 0; i < 9; i++) { // each end its own
        for (VisitRec& rec : Maze_node(maze, i)->edgerec) {
            rec.colour = (*random)() % 0x1000000;
        }
    }
    for (i32 i = 0; levels > 1 && i < 9; i += 2) {
        Maze* const sub = add_sub(maze, i);
        fill_grid(sub, Maze_node(maze, i)->pos, size / 6, levels - 1, random);
        Maze_fixports(sub);
    }
}

// A world of three levels: ways of 3000 units, of 500, and of 83.
struct LongNest : GantryNest {
    explicit LongNest(u32 seed, i32 levels = 3)
        : GantryNest(96, 72, [seed, levels](Maze* root) {
              std::mt19937 random(seed);
              const f64 middle[3] = {0, 0, 0};
              fill_grid(root, middle, 3000, levels, &random);
          })
    {
    }

    // The same view for the same number: along a way, from beside it, or from far off.
    void look(u32 n)
    {
        std::mt19937 random(n);
        std::uniform_real_distribution<f64> part(-1, 1);
        const Maze* const maze = mazes[random() % mazes.size()];
        const MazeNode* const node = Maze_node(maze, static_cast<i32>(random() % 9));
        const f64* const p = node->pos;
        const f64* const q = Maze_node(maze, node->edges[0])->pos;
        const f64 weight = 0.4 * std::fabs(part(random));
        const f64 off = n % 3 == 0 ? 1.0 : n % 3 == 1 ? 60.0 : 2000.0;
        f64 eye[3];
        f64 target[3];
        for (i32 k = 0; k < 3; k++) {
            eye[k] = p[k] + weight * (q[k] - p[k]) + off * part(random) + (k == 2 ? 1 : 0);
            target[k] = q[k] + (k == 2 ? 1 : 0);
        }
        look_at(&game, eye, target);
    }
    i32 kept(const char* name) const
    {
        return static_cast<i32>(std::count_if(mazes.begin(), mazes.end(), [name](const Maze* maze) {
            return Maze_attachment(maze, name) != nullptr;
        }));
    }
};

// The first picture is drawn before the levels have tables of their exits.
static void expect_same_pictures(u32 seed)
{
    LongNest nest(seed);
    i32 painted = 0;
    for (u32 view = 0; view < 20; view++) {
        nest.look(view);
        const Picture drawn = picture_draw(&nest.game);
        gantry_everylevel = true;
        const Picture whole = picture_draw(&nest.game);
        gantry_everylevel = false;
        EXPECT_TRUE(drawn.bytes == whole.bytes) << seed << " " << view;
        painted += whole.painted();
    }
    EXPECT_GT(painted, 2000);
}

TEST(gantry_rows, show_what_lists_of_everything_show_in_world_0)
{
    expect_same_pictures(0);
}

TEST(gantry_rows, show_what_lists_of_everything_show_in_world_1)
{
    expect_same_pictures(1);
}

TEST(gantry_rows, show_what_lists_of_everything_show_in_world_2)
{
    expect_same_pictures(2);
}

TEST(gantry_rows, show_what_lists_of_everything_show_in_world_3)
{
    expect_same_pictures(3);
}

TEST(gantry_rows, show_what_lists_of_everything_show_in_world_4)
{
    expect_same_pictures(4);
}

static i32 posts_of_stretches(Maze* maze, GantryKind kind)
{
    i32 sum = 0;
    struct Count {
        GantryKind kind;
        i32* sum;
    } count = {kind, &sum};
    gantry_eachstretch(
        maze, nullptr, false,
        [](const GantryStretch* stretch, void* to) {
            const Count* const c = static_cast<Count*>(to);
            *c->sum += stretch->kind == c->kind ? stretch->parts : 0;
        },
        &count);
    return sum;
}

TEST(gantry_rows, of_these_worlds_are_walkways_and_ladders_of_thousands_of_parts)
{
    i32 spans = 0;
    i32 rungs = 0;
    for (u32 seed = 0; seed < 5; seed++) {
        const LongNest nest(seed);
        spans += posts_of_stretches(nest.game.root, GANTRY_WALKWAY);
        rungs += posts_of_stretches(nest.game.root, GANTRY_LADDER);
    }
    EXPECT_GT(spans, 8000);
    EXPECT_GT(rungs, 2000);
}

// The vertices that a frame of this view sends, lists that are kept apart.
static i32 vertices_of(LongNest* nest, u32 view)
{
    nest->look(view);
    picture_draw(&nest->game);
    gl_count.calls.clear();
    picture_draw(&nest->game);
    return gl_count.calls["glVertex2f"];
}

TEST(gantry_rows, send_no_more_than_a_view_shows)
{
    LongNest nest(0, 1);
    const i32 all = posts_of_stretches(nest.game.root, GANTRY_WALKWAY) * 4 * 4; // posts and balls
    ASSERT_GT(all, 20000);
    for (u32 view = 0; view < 10; view++) {
        EXPECT_LT(vertices_of(&nest, view), all / 2) << view;
    }
}

TEST(gantry_rows, are_kept_until_the_graph_or_the_exits_used_change)
{
    LongNest nest(0, 1);
    nest.look(0);
    picture_draw(&nest.game);
    for (const u32 flag : {ATT_GEOMETRY, ATT_EXITS}) {
        picture_draw(&nest.game);
        EXPECT_EQ(nest.kept("gantryrows_railings"), 1);
        EXPECT_EQ(nest.kept("gantryrows_railballs"), 1);
        Maze_freeflags(nest.game.root, ATT_VISITS, true);
        EXPECT_EQ(nest.kept("gantryrows_railings"), 1);
        Maze_freeflags(nest.game.root, flag, true);
        EXPECT_EQ(nest.kept("gantryrows_railings"), 0);
        EXPECT_EQ(nest.kept("gantryrows_railballs"), 0);
    }
}

TEST(gantry_rows, are_not_built_anew_for_another_view)
{
    LongNest nest(0, 1);
    nest.look(0);
    picture_draw(&nest.game);
    const void* const rows = Maze_attachment(nest.game.root, "gantryrows_railings");
    nest.look(3);
    picture_draw(&nest.game);
    EXPECT_EQ(Maze_attachment(nest.game.root, "gantryrows_railings"), rows);
    EXPECT_EQ(Maze_attachment(nest.game.root, "gantrylist_railings"), nullptr);
}

// A chain of short ways with a long one in its middle.
static void fill_chain(World* world)
{
    f64 x = -100;
    i32 last = 0;
    for (i32 i = 0; i < 40; i++) {
        x += i == 20 ? 700 : 4;
        const i32 n = world->node(x, 6, -40, 0.5);
        if (i > 0) {
            Maze_join(world->root, last, n);
        }
        last = n;
    }
}

TEST(gantry_rows, have_lists_of_the_short_ways_among_which_a_long_one_stands)
{
    const LongNest settings(0, 1);
    World world;
    fill_chain(&world);
    const Picture drawn = world.draw();
    EXPECT_NE(Maze_attachment(world.root, "gantryrows_railings"), nullptr);
    gl_count.calls.clear();
    picture_draw(&world.game);
    EXPECT_GE(gl_count.calls["glCallList"], 5); // of what both chains are in the near slice
    EXPECT_LT(gl_count.calls["glVertex2f"], 2 * 400 * 4);
    gantry_everylevel = true;
    const Picture whole = picture_draw(&world.game);
    gantry_everylevel = false;
    EXPECT_GT(whole.painted(), 50);
    EXPECT_TRUE(drawn.bytes == whole.bytes);
}

TEST(gantry_rows, delete_the_lists_that_they_make)
{
    const LongNest settings(0, 1);
    gl_count.calls.clear();
    {
        World world;
        fill_chain(&world);
        world.draw();
        picture_draw(&world.game);
        EXPECT_GE(gl_count.calls["glNewList"], 5);
        EXPECT_GT(gl_count.calls["glNewList"], gl_count.calls["glDeleteLists"]);
    }
    EXPECT_EQ(gl_count.calls["glNewList"], gl_count.calls["glDeleteLists"]);
}

TEST(gantry_rows, stand_a_way_to_a_place_that_cant_be_reached)
{
    const LongNest settings(0, 1);
    for (const f64 far : {1e8, 1e30, 1e300, HUGE_VAL, std::nan("")}) {
        World world;
        const i32 a = world.node(0, 0, -5, 0.5);
        const i32 b = world.node(far, 0, -5, 0.5);
        const i32 c = world.node(0, 0, -far, 0.5);
        Maze_join(world.root, a, b);
        Maze_join(world.root, a, c);
        world.draw();
        gl_count.calls.clear();
        picture_draw(&world.game);
        EXPECT_LT(gl_count.calls["glVertex2f"], 100000) << far;
    }
}

TEST(gantry_rows, of_a_side_without_extent_send_one_of_its_posts)
{
    GantryStretch stretch = {};
    stretch.kind = GANTRY_WALKWAY;
    stretch.parts = 1000;
    stretch.length = 5000;
    for (i32 side = 0; side < 2; side++) {
        stretch.start[side][0] = side;
        stretch.start[side][2] = -5;
        stretch.end[side][0] = side;
        stretch.end[side][2] = -5;
        stretch.first[side] = 2500;
        stretch.last[side] = 2500;
    }
    picture_open();
    MazeGame game;
    MazeGame_setup(&game);
    const f64 eye[3] = {0, 3, -4};
    const f64 target[3] = {0, 0, -4};
    look_at(&game, eye, target);
    picture_begin(&game);
    Sight sight;
    Sight_make(&sight, &game.view);
    std::vector<GantryBall> balls;
    gantry_stretchballs(&stretch, &sight, gantry_keep<GantryBall>, &balls);
    EXPECT_EQ(balls.size(), 2U);
    MazeGame_free(&game);
}

TEST(gantry_speck, keeps_nothing_of_a_level_that_looks_smaller_than_two_pixels)
{
    LongNest nest(0, 1);
    const f64 eye[3] = {0, -300000, 300}; // 6000 wide is 1 pixel
    const f64 target[3] = {0, 0, 0};
    for (i32 i = 0; i < 25; i++) {
        const f64 moved[3] = {eye[0] + 100 * i, eye[1], eye[2]};
        const f64 ahead[3] = {target[0] + 160 * i, target[1], target[2] + 90 * i};
        look_at(&nest.game, moved, ahead);
        picture_draw(&nest.game);
        EXPECT_EQ(nest.game.root->attachments.count, 1U); // the extent
    }
}

TEST(gantry_haslongway, takes_the_longest_way_that_a_level_draws)
{
    World world;
    Maze_join(world.root, world.node(0, 0, 0, 0.5), world.node(159, 0, 0, 0.5));
    finish_world(world.root);
    EXPECT_FALSE(gantry_haslongway(world.root));
    Maze_join(world.root, 2, world.node(159, 160, 0, 0.5));
    finish_world(world.root);
    EXPECT_TRUE(gantry_haslongway(world.root));
}

TEST(ListOnce, draws_what_it_is_given_in_lists_of_a_bounded_size)
{
    picture_open();
    gl_count.calls.clear();
    ListOnce once = {};
    ListOnce_draw(&once);
    EXPECT_EQ(gl_count.calls["glNewList"], 0);
    for (i32 i = 0; i < 45000; i++) {
        ListOnce_part(&once, GL_POINTS);
        glVertex2f(0, 0);
    }
    ListOnce_part(&once, GL_LINES);
    EXPECT_EQ(gl_count.calls["glCallList"], 2);
    ListOnce_draw(&once);
    EXPECT_EQ(gl_count.calls["glBegin"], 4);
    EXPECT_EQ(gl_count.calls["glEnd"], 4);
    EXPECT_EQ(gl_count.calls["glNewList"], 3);
    EXPECT_EQ(gl_count.calls["glCallList"], 3);
    EXPECT_EQ(gl_count.calls["glDeleteLists"], 3);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}
