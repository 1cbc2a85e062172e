#include "model/attachment.h"
#include "model/drawsphere.h"
#include "model/viewrec.h"
#include "tests/mazes.h"
#include "tests/randomworld.h"
#include "tests/sound.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <set>

struct Sphere {
    f64 centre[3];
    f64 radius;
};

static Sphere sphereof(Maze* maze)
{
    Sphere sphere;
    Maze_drawsphere(maze, sphere.centre, &sphere.radius);
    return sphere;
}

// How far the sphere falls short of a ball, negative if it holds the ball.
static f64 shortby(const Sphere& sphere, const MazeNode* node)
{
    const f64 distance =
        std::hypot(node->pos[0] - sphere.centre[0], node->pos[1] - sphere.centre[1],
                   node->pos[2] - sphere.centre[2]);
    return distance + node->radius - sphere.radius;
}

// Every ball that the lists of a level and of those below draw or end a stick in, found by the rule
// that the lists follow and by nothing that the spheres use.
static void drawnballs(Maze* maze, std::set<const MazeNode*>* balls)
{
    for (i32 i = 0; i < Maze_count(maze); i++) {
        const MazeNode* const node = Maze_node(maze, i);
        if (node->sub != nullptr) {
            drawnballs(node->sub, balls);
            continue;
        }
        balls->insert(node);
        for (const Pos exit : exits({maze, i})) {
            if (exit.maze->parent == maze || exit.maze->parent == maze->parent) {
                balls->insert(Pos_node(exit));
            }
        }
    }
}

static f64 worst(Maze* maze)
{
    std::set<const MazeNode*> balls;
    drawnballs(maze, &balls);
    const Sphere sphere = sphereof(maze);
    f64 shortage = -std::numeric_limits<f64>::infinity();
    for (const MazeNode* const node : balls) {
        shortage = std::max(shortage, shortby(sphere, node));
    }
    return shortage;
}

#define EXPECT_HELD(maze) EXPECT_LE(worst(maze), 1e-9)

static void place(Maze* maze, i32 n, f64 x, f64 y, f64 z = 0)
{
    f64* const pos = Maze_node(maze, n)->pos;
    pos[0] = x;
    pos[1] = y;
    pos[2] = z;
}

TEST(Maze_drawsphere, of_one_node_is_its_ball)
{
    const World maze(Maze_new());
    add_node(maze.get(), 3, 4, 5, 0.25);
    const Sphere sphere = sphereof(maze.get());
    EXPECT_EQ(3.0, sphere.centre[0]);
    EXPECT_EQ(4.0, sphere.centre[1]);
    EXPECT_EQ(5.0, sphere.centre[2]);
    EXPECT_EQ(0.25, sphere.radius);
}

TEST(Maze_drawsphere, of_a_line_is_no_larger_than_the_line)
{
    const World maze(make_line(11));
    const Sphere sphere = sphereof(maze.get());
    EXPECT_EQ(5.0, sphere.centre[0]);
    EXPECT_EQ(5.5, sphere.radius);
}

TEST(Maze_drawsphere, of_an_empty_maze_is_its_centre)
{
    const World maze(Maze_new());
    maze->centre[1] = 7.0;
    const Sphere sphere = sphereof(maze.get());
    EXPECT_EQ(7.0, sphere.centre[1]);
    EXPECT_EQ(0.0, sphere.radius);
}

TEST(Maze_drawsphere, isnt_widened_by_a_submaze_without_nodes)
{
    const World maze(make_nodes(3));
    place(maze.get(), 0, 50, 0);
    Maze* const sub = hang(maze.get(), 1, Maze_new());
    sub->centre[0] = -900.0;
    EXPECT_GT(30.0, sphereof(maze.get()).radius);
    EXPECT_HELD(maze.get());
}

TEST(Maze_drawsphere, holds_a_submaze_far_from_its_node)
{
    const World maze(make_line(3));
    Maze* const sub = hang(maze.get(), 1, make_line(4));
    for (i32 i = 0; i < 4; i++) {
        place(sub, i, 100, 10.0 * i);
    }
    Maze_bounds(sub, false);
    EXPECT_SOUND(maze.get());
    EXPECT_HELD(maze.get());
    EXPECT_HELD(sub);
}

TEST(Maze_drawsphere, leaves_out_the_ball_of_a_node_that_holds_a_maze)
{
    const World maze(make_nodes(2));
    place(maze.get(), 1, 1000, 0);
    hang(maze.get(), 1, make_line(2));
    EXPECT_GT(10.0, sphereof(maze.get()).radius);
}

// A line of four, nodes 1 and 2 of which hold mazes far apart from each other.
struct Apart {
    World root{make_line(4)};
    Maze* left = hang(root.get(), 1, make_line(3));
    Maze* right = hang(root.get(), 2, make_line(3));

    Apart()
    {
        const f64 v[3] = {0, 50, 0};
        Maze_translate(right, v, true);
    }
};

TEST(Maze_drawsphere, holds_the_far_end_of_a_stick_to_a_sibling)
{
    const Apart world;
    EXPECT_LT(20.0, sphereof(world.left).radius);
    EXPECT_HELD(world.left);
    EXPECT_HELD(world.right);
    EXPECT_HELD(world.root.get());
}

TEST(Maze_drawsphere, doesnt_reach_up_to_the_level_above)
{
    const World maze(make_line(2));
    place(maze.get(), 0, 400, 0);
    Maze* const sub = hang(maze.get(), 1, make_line(3));
    EXPECT_GT(3.0, sphereof(sub).radius);
}

TEST(Maze_drawsphere, follows_a_sibling_that_moves)
{
    const Apart world;
    const f64 before = sphereof(world.left).radius;
    const f64 v[3] = {0, 50, 0};
    Maze_translate(world.right, v, false);
    EXPECT_LT(before + 20.0, sphereof(world.left).radius);
    EXPECT_HELD(world.left);
}

TEST(Maze_drawsphere, follows_a_sibling_that_moves_twice)
{
    const Apart world;
    const f64 v[3] = {0, 50, 0};
    sphereof(world.root.get());
    Maze_translate(world.right, v, false);
    sphereof(world.left); // the right one and the root are still stale
    Maze_translate(world.right, v, false);
    EXPECT_HELD(world.left);
    EXPECT_HELD(world.root.get());
}

TEST(Maze_drawsphere, follows_an_edge_between_two_submazes)
{
    const World maze(make_nodes(2));
    Maze* const left = hang(maze.get(), 0, make_line(3));
    Maze* const right = hang(maze.get(), 1, make_line(3));
    const f64 v[3] = {0, 50, 0};
    Maze_translate(right, v, true);
    EXPECT_GT(3.0, sphereof(left).radius);
    EXPECT_GT(3.0, sphereof(right).radius);
    Maze_join(maze.get(), 0, 1);
    EXPECT_LT(20.0, sphereof(left).radius);
    EXPECT_HELD(right);
    Maze_unjoin(maze.get(), 0, 1, true);
    EXPECT_GT(3.0, sphereof(left).radius);
    EXPECT_GT(3.0, sphereof(right).radius);
    EXPECT_SOUND(maze.get());
}

TEST(Maze_drawsphere, follows_an_edge_to_a_submaze_that_has_changed_before)
{
    for (const i32 changed : {0, 1}) {
        const World maze(make_nodes(2));
        Maze* const subs[] = {hang(maze.get(), 0, make_line(3)), hang(maze.get(), 1, make_line(3))};
        const f64 v[3] = {0, 50, 0};
        Maze_translate(subs[changed], v, true);
        sphereof(subs[1 - changed]);
        Maze_join(maze.get(), 0, 1);
        EXPECT_HELD(subs[1 - changed]);
        EXPECT_HELD(subs[changed]);
    }
}

TEST(Maze_drawsphere, follows_a_node_moved_by_hand_once_bounds_are_taken)
{
    const World maze(make_line(3));
    Maze* const sub = hang(maze.get(), 1, make_line(3));
    Maze* const deep = hang(sub, 2, make_line(3));
    sphereof(maze.get());
    place(deep, 1, 0, 0, 77);
    Maze_bounds(deep, false);
    EXPECT_HELD(maze.get());
    EXPECT_HELD(sub);
    EXPECT_HELD(deep);
}

TEST(Maze_drawsphere, follows_a_maze_that_is_hung_and_one_that_is_taken_off)
{
    const World maze(make_line(3));
    sphereof(maze.get());
    Maze* const sub = hang(maze.get(), 1, make_line(3));
    place(sub, 2, 0, 500);
    Maze_bounds(sub, false);
    EXPECT_HELD(maze.get());
    Maze_free(sub, true);
    Maze_node(maze.get(), 1)->sub = nullptr;
    Maze_freeflags(maze.get(), ATT_GEOMETRY, false);
    EXPECT_GT(3.0, sphereof(maze.get()).radius);
    EXPECT_HELD(maze.get());
}

TEST(Maze_drawsphere, follows_a_maze_whose_nodes_come_after_it_was_hung)
{
    const World maze(make_nodes(2));
    Maze* const sub = hang(maze.get(), 1, Maze_new());
    EXPECT_EQ(0.5, sphereof(maze.get()).radius);
    add_node(sub, 300, 0, 0);
    EXPECT_HELD(maze.get());
    add_node(sub, 600, 0, 0);
    EXPECT_HELD(maze.get());
}

TEST(Maze_drawsphere, of_a_clone_is_its_own)
{
    const World maze(make_line(3));
    sphereof(maze.get());
    const World copy(Maze_clone(maze.get(), true));
    place(copy.get(), 0, 400, 0);
    EXPECT_HELD(copy.get());
    EXPECT_EQ(1.5, sphereof(maze.get()).radius);
}

TEST(Maze_drawsphere, stays_while_nothing_changes_but_visits_and_colours)
{
    const World maze(make_line(3));
    sphereof(maze.get());
    Maze_markwalked(maze.get(), 0, 1, 1.0);
    Maze_setcolour(maze.get(), 0x123456);
    Maze_freeflags(maze.get(), ATT_EXITS | ATT_VISITS, true);
    EXPECT_LE(0.0, maze->drawradius);
    Maze_freeflags(maze.get(), ATT_GEOMETRY, false);
    EXPECT_GT(0.0, maze->drawradius);
}

TEST(Maze_drawsphere_stale, leaves_levels_that_the_change_doesnt_reach)
{
    const World maze(make_line(5));
    Maze* const a = hang(maze.get(), 1, make_line(4));
    Maze* const far = hang(maze.get(), 3, make_line(3));
    Maze* const deep = hang(a, 3, make_line(2));
    EXPECT_SOUND(maze.get());
    sphereof(maze.get());
    Maze_drawsphere_stale(a, false);
    EXPECT_GT(0.0, maze->drawradius);
    EXPECT_GT(0.0, a->drawradius);
    EXPECT_LE(0.0, far->drawradius);
    EXPECT_LE(0.0, deep->drawradius);
    Maze_drawsphere_stale(a, true);
    EXPECT_GT(0.0, deep->drawradius);
}

TEST(Maze_drawsphere, leaves_out_nodes_that_are_nowhere)
{
    const f64 nan = std::numeric_limits<f64>::quiet_NaN();
    const f64 inf = std::numeric_limits<f64>::infinity();
    const World maze(make_nodes(6));
    place(maze.get(), 1, nan, 0);
    place(maze.get(), 2, 0, inf);
    place(maze.get(), 5, 0, 0, -inf);
    Maze_node(maze.get(), 4)->radius = nan;
    const Sphere sphere = sphereof(maze.get());
    EXPECT_EQ(1.5, sphere.centre[0]);
    EXPECT_EQ(2.0, sphere.radius);
}

TEST(Maze_drawsphere, of_nothing_but_nodes_that_are_nowhere_is_finite)
{
    const World maze(make_nodes(1));
    place(maze.get(), 0, std::numeric_limits<f64>::quiet_NaN(), 0);
    Maze_bounds(maze.get(), true);
    const Sphere sphere = sphereof(maze.get());
    EXPECT_EQ(0.0, sphere.centre[0]);
    EXPECT_EQ(0.0, sphere.radius);
}

TEST(Maze_drawsphere, too_large_for_its_numbers_is_never_left_out)
{
    const World maze(make_nodes(3));
    Maze* const sub = hang(maze.get(), 1, make_nodes(2));
    place(sub, 0, 1e308, 1e308, 1e308);
    place(sub, 1, -1e308, -1e308, -1e308);
    Maze_bounds(sub, false);
    f64 modelview[16] = {};
    f64 projection[16] = {};
    for (i32 i = 0; i < 4; i++) {
        modelview[5 * i] = 1.0;
    }
    projection[0] = projection[5] = 1.0;
    projection[10] = -1.0002;
    projection[14] = -0.20002;
    const i32 viewport[4] = {0, 0, 800, 600};
    ViewRec view = {};
    ViewRec_derive(&view, modelview, projection, viewport, 800);
    for (Maze* const level : {maze.get(), sub}) {
        const Sphere sphere = sphereof(level);
        EXPECT_EQ(0, ViewRec_sphereout(&view, sphere.centre, sphere.radius, view.pixelsize));
    }
}

// A root with a nest of two levels in node 0 and a maze beside it in node 1.
TEST(Maze_drawstamp, is_another_one_after_a_change_of_the_level_or_one_below_and_stays_otherwise)
{
    Maze* const maze = make_nodes(2);
    Maze* const sub = hang(maze, 0, make_nodes(2));
    Maze* const deep = hang(sub, 0, make_nodes(1));
    Maze* const other = hang(maze, 1, make_nodes(1));
    const u32 before[] = {Maze_drawstamp(maze), Maze_drawstamp(sub), Maze_drawstamp(deep),
                          Maze_drawstamp(other)};
    EXPECT_NE(0U, before[3]);
    Maze_freeflags(sub, ATT_VISITS, false);
    EXPECT_EQ(before[0], Maze_drawstamp(maze));
    Maze_freeflags(sub, ATT_GEOMETRY,
                   false); // nothing has moved, so all spheres stay what they are
    EXPECT_NE(before[0], Maze_drawstamp(maze));
    EXPECT_NE(before[1], Maze_drawstamp(sub));
    EXPECT_EQ(before[3], Maze_drawstamp(other));
    Maze_free(maze, true);
}

TEST(Maze_drawsphere, takes_a_negative_radius_by_its_size)
{
    const World maze(make_nodes(1));
    Maze_node(maze.get(), 0)->radius = -3.0;
    EXPECT_EQ(3.0, sphereof(maze.get()).radius);
}

// The maze of a copied tree that stands where `maze` stands in its own.
static Maze* counterpart(const Maze* maze, Maze* copyroot)
{
    if (maze->parent == nullptr) {
        return copyroot;
    }
    return Maze_node(counterpart(maze->parent, copyroot), maze->parentnode)->sub;
}

static bool samesphere(const Sphere& a, const Sphere& b)
{
    return a.centre[0] == b.centre[0] && a.centre[1] == b.centre[1] && a.centre[2] == b.centre[2] &&
           a.radius == b.radius;
}

TEST(Maze_drawsphere, follows_random_changes_of_random_worlds)
{
    for (u32 seed = 1; seed <= 40; seed++) {
        RandomWorld world(seed);
        for (i32 step = 0; step < 150; step++) {
            const std::string what = world.change();
            for (i32 asked = world.below(3); asked > 0; asked--) {
                Maze* const maze = world.anymaze();
                const World copy(Maze_clone(world.root.get(), true)); // everything stale
                const Sphere fresh = sphereof(counterpart(maze, copy.get()));
                ASSERT_TRUE(samesphere(fresh, sphereof(maze)))
                    << "seed " << seed << " step " << step << ": " << what;
                ASSERT_LE(worst(maze), 1e-9) << "seed " << seed << " step " << step;
            }
        }
        ASSERT_EQ("", sound_faults(world.root.get()));
    }
}
