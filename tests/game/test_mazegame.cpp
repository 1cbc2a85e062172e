#include "base/rnd.h"
#include "generate/makemaze.h"
#include "model/mazegame.h"
#include "tests/gameworlds.h"
#include "tests/sound.h"

#include <cfloat>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

constexpr f64 inf = std::numeric_limits<f64>::infinity();
constexpr f64 nan_value = std::numeric_limits<f64>::quiet_NaN();

struct Best {
    i32 exit;
    f64 fraction;
};

static Best best_of(const Maze* maze, f64 x, f64 y, f64 z)
{
    const Walker walker = {.pos = {const_cast<Maze*>(maze), 0}, .step = {x, y, z}};
    Pos exits[POS_MAXEDGES];
    const i32 n = Pos_alledges(walker.pos, exits, nullptr);
    Best best = {};
    best.exit = Walker_bestexit(&walker, exits, n, &best.fraction);
    return best;
}

static void step_to(HeldGame* held, f64 x, f64 y, f64 z)
{
    held->game.step[0] = x;
    held->game.step[1] = y;
    held->game.step[2] = z;
}

static void move_by(HeldGame* held, f64 x, f64 y, f64 z)
{
    const f64 delta[3] = {x, y, z};
    MazeGame_move(&held->game, delta);
}

static bool all_finite(const f64* values, i32 n)
{
    for (i32 i = 0; i < n; i++) {
        if (!std::isfinite(values[i])) {
            return false;
        }
    }
    return true;
}

TEST(Walker_bestexit, gives_the_share_of_the_way_where_there_is_one_exit)
{
    Maze* const maze = make_spokes({{4.0, 0.0, 0.0}});
    const Best best = best_of(maze, 1.0, 0.5, 0.0);
    EXPECT_EQ(best.exit, 0);
    EXPECT_DOUBLE_EQ(best.fraction, 0.25);
    Maze_free(maze, true);
}

TEST(Walker_bestexit, sees_a_walker_halfway_between_two_exits_on_the_node)
{
    Maze* const maze = make_spokes({{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}});
    for (const f64 length : {1e-6, 0.25, 0.5, 1.0, 7.0, 1e6}) {
        EXPECT_EQ(best_of(maze, length, length, 0.0).fraction, 0.0) << length;
    }
    Maze_free(maze, true);
}

TEST(Walker_bestexit, lets_the_higher_number_win_a_tie)
{
    Maze* const maze = make_spokes({{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}});
    EXPECT_EQ(best_of(maze, 0.5, 0.5, 0.0).exit, 1);
    Maze_free(maze, true);
}

TEST(Walker_bestexit, has_none_for_a_zero_step)
{
    Maze* const maze = make_spokes({{1.0, 0.0, 0.0}});
    const Best best = best_of(maze, 0.0, 0.0, 0.0);
    EXPECT_EQ(best.exit, -1);
    EXPECT_EQ(best.fraction, 0.0);
    Maze_free(maze, true);
}

TEST(Walker_bestexit, has_none_where_every_exit_lies_behind)
{
    Maze* const maze = make_spokes({{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}});
    const Best best = best_of(maze, -1.0, -0.1, 0.0);
    EXPECT_EQ(best.exit, -1);
    EXPECT_EQ(best.fraction, 0.0);
    Maze_free(maze, true);
}

TEST(Walker_bestexit, has_none_square_to_the_step)
{
    Maze* const maze = make_spokes({{1.0, 0.0, 0.0}});
    EXPECT_EQ(best_of(maze, 0.0, 3.0, 0.0).exit, -1);
    Maze_free(maze, true);
}

TEST(Walker_bestexit, slides_toward_the_node_by_the_two_angles)
{
    Maze* const maze = make_spokes({{2.0, 0.0, 0.0}, {0.0, 1.0, 0.0}});
    const f64 angle = 0.3; // from the first exit
    const Best best = best_of(maze, std::cos(angle), std::sin(angle), 0.0);
    EXPECT_EQ(best.exit, 0);
    const f64 share = std::cos(angle) / 2.0;
    EXPECT_NEAR(best.fraction, (1.0 - angle / (M_PI / 2 - angle)) * share, 1e-12);
    Maze_free(maze, true);
}

TEST(Walker_bestexit, gives_0_for_two_exits_dead_ahead)
{
    Maze* const maze = make_spokes({{1.0, 0.0, 0.0}, {2.0, 0.0, 0.0}});
    const Best best = best_of(maze, 0.5, 0.0, 0.0);
    EXPECT_EQ(best.exit, 1);
    EXPECT_EQ(best.fraction, 0.0);
    Maze_free(maze, true);
}

TEST(Walker_bestexit, holds_a_cosine_that_rounding_raises_above_1)
{
    rnd_seed(5);
    i32 raised = 0;
    for (i32 i = 0; i < 3000; i++) {
        const f64 x = rnd(2.0) - 1.0;
        const f64 y = rnd(2.0) - 1.0;
        const f64 z = rnd(2.0) - 1.0;
        Maze* const maze = make_spokes({{x, y, z}, {2.0 * x, 2.0 * y, 2.0 * z}, {-y, x, 0.01}});
        const f64 length = std::sqrt(x * x + y * y + z * z);
        const f64 k = 1.0 / length;
        raised += (x * (x * k) + y * (y * k) + z * (z * k)) / length > 1.0 ? 1 : 0;
        const Best best = best_of(maze, 0.5 * x, 0.5 * y, 0.5 * z);
        EXPECT_TRUE(best.fraction >= 0.0 && best.fraction <= 0.5) << best.fraction;
        Maze_free(maze, true);
    }
    EXPECT_GT(raised, 0); // else this has tested nothing
}

TEST(Walker_bestexit, never_takes_an_exit_of_no_length)
{
    Maze* const maze = make_spokes({{0.0, 0.0, 0.0}});
    EXPECT_EQ(best_of(maze, 1.0, 1.0, 1.0).exit, -1);
    Maze_free(maze, true);
}

TEST(Walker_bestexit, works_without_a_fraction)
{
    Maze* const maze = make_spokes({{1.0, 0.0, 0.0}});
    const Walker walker = {.pos = {maze, 0}, .step = {1.0, 0.0, 0.0}};
    const Pos exits[1] = {{maze, 1}};
    EXPECT_EQ(Walker_bestexit(&walker, exits, 1, nullptr), 0);
    Maze_free(maze, true);
}

TEST(Walker_bestexit, has_none_without_exits)
{
    Maze* const maze = make_spokes({});
    EXPECT_EQ(best_of(maze, 1.0, 0.0, 0.0).exit, -1);
    Maze_free(maze, true);
}

TEST(MazeGame_viewpos, is_the_node_for_a_zero_step)
{
    HeldGame held;
    Maze* const maze = make_spokes({{1.0, 0.0, 0.0}});
    stand(&held, maze, maze, 1);
    f64 seen[3];
    MazeGame_viewpos(seen, &held.game);
    EXPECT_EQ(seen[0], 1.0);
    EXPECT_EQ(seen[1], 0.0);
    EXPECT_EQ(seen[2], 0.0);
}

TEST(MazeGame_viewpos, lies_on_the_way_to_the_best_exit)
{
    HeldGame held;
    Maze* const maze = make_spokes({{4.0, 0.0, 8.0}});
    stand(&held, maze, maze, 0);
    step_to(&held, 1.0, 0.0, 2.0);
    f64 seen[3];
    MazeGame_viewpos(seen, &held.game);
    EXPECT_DOUBLE_EQ(seen[0], 1.0);
    EXPECT_EQ(seen[1], 0.0);
    EXPECT_DOUBLE_EQ(seen[2], 2.0);
}

TEST(MazeGame_viewpos, is_the_node_where_every_exit_lies_behind)
{
    HeldGame held;
    Maze* const maze = make_spokes({{4.0, 0.0, 0.0}});
    stand(&held, maze, maze, 0);
    step_to(&held, -1.0, 0.0, 0.0);
    f64 seen[3];
    MazeGame_viewpos(seen, &held.game);
    EXPECT_EQ(seen[0], 0.0);
}

TEST(MazeGame_viewpos, goes_on_into_a_submaze)
{
    HeldGame held;
    Maze* const root = make_nest();
    stand(&held, root, root, 0);
    step_to(&held, 4.0, 0.0, 0.0); // half of the way to the port at x = 8
    f64 seen[3];
    MazeGame_viewpos(seen, &held.game);
    EXPECT_DOUBLE_EQ(seen[0], 4.0);
}

TEST(MazeGame_viewpos, stays_finite_on_any_places_and_steps)
{
    const f64 values[] = {0.0,   4.9e-324, 1e-200,  1e-160,   1e-154,  1.0,  1e150,  1e155,
                          1e200, 1e300,    DBL_MAX, -DBL_MAX, -1e-160, -1.0, -1e155, 3.0};
    rnd_seed(11);
    for (i32 i = 0; i < 20000; i++) {
        f64 v[12];
        for (f64& value : v) {
            value = values[irand(16)];
        }
        HeldGame held;
        Maze* const maze = make_spokes({{v[0], v[1], v[2]}, {v[3], v[4], v[5]}});
        stand(&held, maze, maze, 0);
        Maze_node(maze, 0)->pos[0] = v[6];
        Maze_node(maze, 0)->pos[1] = v[7];
        Maze_node(maze, 1)->radius = v[8];
        step_to(&held, v[9], v[10], v[11]);
        f64 seen[4];
        MazeGame_viewpos_radius(seen, &held.game, &seen[3]);
        ASSERT_TRUE(all_finite(seen, 4)) << "try " << i;
    }
}

TEST(MazeGame_viewpos_radius, gives_the_radius_between_the_two_nodes)
{
    HeldGame held;
    Maze* const maze = make_spokes({{4.0, 0.0, 0.0}});
    Maze_node(maze, 1)->radius = 0.1;
    stand(&held, maze, maze, 0);
    step_to(&held, 3.0, 0.0, 0.0);
    f64 seen[3];
    f64 radius = 0.0;
    MazeGame_viewpos_radius(seen, &held.game, &radius);
    EXPECT_DOUBLE_EQ(radius, 0.25 * 0.5 + 0.75 * 0.1);
    EXPECT_DOUBLE_EQ(seen[0], 3.0);
}

TEST(MazeGame_viewpos_radius, gives_the_radius_of_the_node_for_a_zero_step)
{
    HeldGame held;
    Maze* const maze = make_spokes({{4.0, 0.0, 0.0}});
    Maze_node(maze, 1)->radius = 0.1;
    stand(&held, maze, maze, 1);
    f64 seen[3];
    f64 radius = 0.0;
    MazeGame_viewpos_radius(seen, &held.game, &radius);
    EXPECT_EQ(radius, 0.1);
}

TEST(MazeGame_move, adds_to_the_step)
{
    HeldGame held;
    Maze* const maze = make_spokes({{4.0, 0.0, 0.0}});
    stand(&held, maze, maze, 0);
    move_by(&held, 1.0, 0.5, 0.0);
    move_by(&held, 1.0, 0.25, -1.0);
    EXPECT_EQ(held->step[0], 2.0);
    EXPECT_EQ(held->step[1], 0.75);
    EXPECT_EQ(held->step[2], -1.0);
    EXPECT_EQ(held->pos.node, 0);
}

TEST(MazeGame_move, changes_the_node_once_the_whole_length_is_passed)
{
    HeldGame held;
    Maze* const maze = make_spokes({{4.0, 0.0, 0.0}});
    stand(&held, maze, maze, 0);
    held->time = 12.5;
    move_by(&held, 4.25, 0.5, 0.0);
    EXPECT_EQ(held->pos.node, 1);
    for (const f64 left : held->step) {
        EXPECT_EQ(left, 0.0);
    }
    EXPECT_EQ(Maze_node(maze, 1)->rec.walked, 12.5);
    EXPECT_EQ(Maze_node(maze, 1)->edgerec[0].walked, 12.5);
    EXPECT_EQ(Maze_node(maze, 0)->edgerec[0].walked, 12.5);
    EXPECT_EQ(Maze_node(maze, 0)->rec.walked, -1.0);
    EXPECT_EQ(maze->visitednodes, 1);
    EXPECT_SOUND(maze);
}

TEST(MazeGame_move, stays_at_exactly_the_whole_length)
{
    HeldGame held;
    Maze* const maze = make_spokes({{4.0, 0.0, 0.0}});
    stand(&held, maze, maze, 0);
    move_by(&held, 4.0, 0.0, 0.0);
    EXPECT_EQ(held->pos.node, 0);
    EXPECT_EQ(held->step[0], 4.0);
    EXPECT_EQ(maze->visitednodes, 0);
}

TEST(MazeGame_move, moves_one_node_at_most_and_keeps_nothing_of_the_rest)
{
    HeldGame held;
    Maze* const maze = make_spokes({{1.0, 0.0, 0.0}});
    Maze_join(maze, 1, add_node(maze, 2.0, 0.0));
    stand(&held, maze, maze, 0);
    move_by(&held, 1000.0, 0.0, 0.0);
    EXPECT_EQ(held->pos.node, 1);
    EXPECT_EQ(held->step[0], 0.0);
    EXPECT_EQ(maze->visitednodes, 1);
}

TEST(MazeGame_move, drops_a_step_with_all_exits_behind_it)
{
    HeldGame held;
    Maze* const maze = make_spokes({{4.0, 0.0, 0.0}, {0.0, 4.0, 0.0}});
    stand(&held, maze, maze, 0);
    move_by(&held, -0.5, -0.5, 0.0);
    for (const f64 left : held->step) {
        EXPECT_EQ(left, 0.0);
    }
}

TEST(MazeGame_move, drops_a_step_on_a_node_without_exits)
{
    HeldGame held;
    Maze* const maze = make_spokes({});
    stand(&held, maze, maze, 0);
    move_by(&held, 0.5, 0.5, 0.0);
    EXPECT_EQ(held->step[0], 0.0);
    EXPECT_EQ(held->pos.node, 0);
}

TEST(MazeGame_move, never_takes_an_exit_of_no_length)
{
    HeldGame held;
    Maze* const maze = make_spokes({{0.0, 0.0, 0.0}});
    stand(&held, maze, maze, 0);
    move_by(&held, 5.0, 5.0, 5.0);
    EXPECT_EQ(held->pos.node, 0);
    EXPECT_EQ(held->step[0], 0.0);
}

TEST(MazeGame_move, enters_a_submaze_at_its_port)
{
    HeldGame held;
    Maze* const root = make_nest();
    stand(&held, root, root, 0);
    held->time = 3.0;
    move_by(&held, 8.5, 0.0, 0.0);
    Maze* const west = Maze_node(root, 1)->sub;
    EXPECT_TRUE(Pos_same(held->pos, Pos{west, 0}));
    EXPECT_EQ(west->exitsused, 1U);
    EXPECT_EQ(Maze_node(root, 1)->rec.walked, 3.0);
    EXPECT_EQ(root->visitednodes, 1);
    EXPECT_SOUND(root);
}

TEST(MazeGame_move, crosses_from_a_submaze_into_its_neighbour)
{
    HeldGame held;
    Maze* const root = make_nest();
    Maze* const west = Maze_node(root, 1)->sub;
    Maze* const east = Maze_node(root, 2)->sub;
    stand(&held, root, west, 1);
    move_by(&held, 6.5, 0.0, 0.0); // from x = 12 to the port at x = 18
    EXPECT_TRUE(Pos_same(held->pos, Pos{east, 0}));
    EXPECT_EQ(west->exitsused, 2U);
    EXPECT_EQ(east->exitsused, 1U);
    EXPECT_SOUND(root);
}

TEST(MazeGame_move, keeps_the_step_finite)
{
    for (const f64 bad : {nan_value, inf, -inf, DBL_MAX}) {
        HeldGame held;
        Maze* const maze = make_spokes({{4.0, 0.0, 0.0}});
        stand(&held, maze, maze, 0);
        move_by(&held, bad, 1.0, 0.0);
        move_by(&held, bad, 1.0, 0.0);
        EXPECT_TRUE(all_finite(held->step, 3)) << bad;
        move_by(&held, 4.5, 0.0, 0.0);
        EXPECT_EQ(held->pos.node, 1) << bad;
    }
}

static Roamer* add_roamer(HeldGame* held, Maze* maze, i32 node, f64 timer, f64 period)
{
    const Roamer roamer = {
        .timer = timer, .period = period, .pos = {maze, node}, .prev = {maze, node}};
    GrowArray_push(&held->game.roamers, &roamer);
    return items<Roamer>(&held->game.roamers) + held->game.roamers.count - 1;
}

TEST(MazeGame_moveroamers, waits_until_the_timer_has_run_down)
{
    HeldGame held;
    Maze* const maze = make_spokes({{1.0, 0.0, 0.0}});
    stand(&held, maze, maze, 0);
    const Roamer* const roamer = add_roamer(&held, maze, 0, 0.5, 0.25);
    rnd_seed(1);
    MazeGame_moveroamers(&held.game, 0.375);
    EXPECT_EQ(roamer->timer, 0.125);
    EXPECT_EQ(roamer->pos.node, 0);
    EXPECT_EQ(rnd_count(), 0U);
}

TEST(MazeGame_moveroamers, steps_when_the_timer_reaches_0)
{
    HeldGame held;
    Maze* const maze = make_spokes({{1.0, 0.0, 0.0}});
    stand(&held, maze, maze, 0);
    const Roamer* const roamer = add_roamer(&held, maze, 0, 0.5, 0.25);
    MazeGame_moveroamers(&held.game, 0.5);
    EXPECT_EQ(roamer->timer, 0.25);
    EXPECT_EQ(roamer->pos.node, 1);
    EXPECT_EQ(roamer->prev.node, 0);
}

TEST(MazeGame_moveroamers, stamps_a_trail_and_no_visit)
{
    HeldGame held;
    Maze* const maze = make_spokes({{1.0, 0.0, 0.0}});
    stand(&held, maze, maze, 0);
    held->time = 9.0;
    add_roamer(&held, maze, 0, 0.0, 0.25);
    MazeGame_moveroamers(&held.game, 0.125);
    EXPECT_EQ(Maze_node(maze, 1)->rec.trailed, 9.0);
    EXPECT_EQ(Maze_node(maze, 0)->edgerec[0].trailed, 9.0);
    EXPECT_EQ(Maze_node(maze, 1)->edgerec[0].trailed, 9.0);
    EXPECT_EQ(Maze_node(maze, 1)->rec.walked, -1.0);
    EXPECT_EQ(maze->visitednodes, 0);
}

TEST(MazeGame_moveroamers, turns_round_in_a_dead_end_after_50_tries)
{
    HeldGame held;
    Maze* const maze = make_spokes({{1.0, 0.0, 0.0}});
    stand(&held, maze, maze, 0);
    Roamer* const roamer = add_roamer(&held, maze, 1, 0.0, 0.25);
    roamer->prev = {maze, 0};
    rnd_seed(1);
    MazeGame_moveroamers(&held.game, 0.125);
    EXPECT_EQ(roamer->pos.node, 0);
    EXPECT_EQ(roamer->prev.node, 1);
    EXPECT_EQ(rnd_count(), 100U); // two a try
}

TEST(MazeGame_moveroamers, goes_on_where_there_is_a_way_on)
{
    rnd_seed(4);
    for (i32 i = 0; i < 100; i++) {
        HeldGame held;
        Maze* const maze = make_spokes({{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {-1.0, 0.0, 0.0}});
        stand(&held, maze, maze, 0);
        Roamer* const roamer = add_roamer(&held, maze, 0, 0.0, 0.25);
        roamer->prev = {maze, 2};
        MazeGame_moveroamers(&held.game, 0.125);
        EXPECT_NE(roamer->pos.node, 2);
        EXPECT_NE(roamer->pos.node, 0);
    }
}

TEST(MazeGame_moveroamers, does_not_take_the_same_number_in_another_maze_for_the_way_back)
{
    HeldGame held;
    Maze* const root = make_nest();
    stand(&held, root, root, 0);
    Roamer* const roamer = add_roamer(&held, root, 0, 0.0, 0.25);
    roamer->prev = {root, 0}; // the only exit is node 0 of the ring
    rnd_seed(1);
    MazeGame_moveroamers(&held.game, 0.125);
    EXPECT_EQ(rnd_count(), 2U);
    EXPECT_TRUE(Pos_same(roamer->pos, Pos{Maze_node(root, 1)->sub, 0}));
}

TEST(MazeGame_moveroamers, stays_on_a_node_without_exits)
{
    HeldGame held;
    Maze* const maze = make_spokes({});
    stand(&held, maze, maze, 0);
    const Roamer* const roamer = add_roamer(&held, maze, 0, 0.0, 0.25);
    MazeGame_moveroamers(&held.game, 0.125);
    EXPECT_EQ(roamer->pos.node, 0);
    EXPECT_EQ(roamer->timer, 0.25);
}

TEST(MazeGame_moveroamers, lets_the_last_draw_first)
{
    HeldGame held;
    Maze* const maze = make_spokes({{1.0, 0.0, 0.0},
                                    {0.0, 1.0, 0.0},
                                    {-1.0, 0.0, 0.0},
                                    {0.0, -1.0, 0.0},
                                    {0.0, 0.0, 1.0},
                                    {0.0, 0.0, -1.0},
                                    {1.0, 1.0, 0.0}});
    stand(&held, maze, maze, 0);
    for (i32 i = 0; i < 5; i++) {
        add_roamer(&held, maze, 0, 0.0, 0.25);
    }
    rnd_seed(21);
    i32 drawn[5];
    for (i32 i = 4; i >= 0; i--) {
        drawn[i] = irand(7);
    }
    rnd_seed(21);
    MazeGame_moveroamers(&held.game, 0.125);
    for (i32 i = 0; i < 5; i++) {
        EXPECT_EQ(items<Roamer>(&held->roamers)[i].pos.node, drawn[i] + 1) << i;
    }
}

TEST(Roamer_make, takes_two_draws_for_the_node_and_two_for_the_time)
{
    Maze* const maze = make_ring(8, 0.0, 0.0, 1.0);
    rnd_seed(9);
    const i32 node = irand(8);
    const f64 period = rnd(1.0) * 0.3;
    rnd_seed(9);
    Roamer roamer;
    Roamer_make(&roamer, maze);
    EXPECT_EQ(rnd_count(), 4U);
    EXPECT_TRUE(Pos_same(roamer.pos, Pos{maze, node}));
    EXPECT_TRUE(Pos_same(roamer.prev, Pos{maze, node}));
    EXPECT_EQ(roamer.period, period);
    EXPECT_EQ(roamer.timer, period);
    Maze_free(maze, true);
}

TEST(Roamer_make, waits_less_than_a_third_of_a_second_anywhere_in_the_maze)
{
    Maze* const maze = make_ring(5, 0.0, 0.0, 1.0);
    rnd_seed(2);
    bool seen[5] = {};
    for (i32 i = 0; i < 300; i++) {
        Roamer roamer;
        Roamer_make(&roamer, maze);
        ASSERT_TRUE(roamer.pos.node >= 0 && roamer.pos.node < 5);
        seen[roamer.pos.node] = true;
        EXPECT_TRUE(roamer.period >= 0.0 && roamer.period < 0.3);
    }
    for (const bool one : seen) {
        EXPECT_TRUE(one);
    }
    Maze_free(maze, true);
}

TEST(MazeGame_setup, starts_without_a_world)
{
    HeldGame held;
    MazeGame_setup(&held.game);
    EXPECT_EQ(held->root, nullptr);
    EXPECT_EQ(held->pos.maze, nullptr);
    EXPECT_EQ(held->time, 0.0);
    EXPECT_EQ(held->zoom, 20.0);
    EXPECT_EQ(held->showtrail, 0);
    EXPECT_EQ(held->showexits, 0);
    for (i32 i = 0; i < 9; i++) {
        EXPECT_EQ(held->orient[i], i % 4 == 0 ? 1.0 : 0.0);
    }
    for (i32 i = 0; i < 3; i++) {
        EXPECT_EQ(held->step[i], 0.0);
        EXPECT_EQ(held->campos[i], 0.0);
    }
}

TEST(MazeGame_setup, makes_an_empty_roamer_array)
{
    HeldGame held;
    MazeGame_setup(&held.game);
    EXPECT_EQ(held->roamers.count, 0U);
    EXPECT_EQ(held->roamers.capacity, static_cast<u32>(array_defaultcap));
    EXPECT_EQ(held->roamers.elemsize, sizeof(Roamer));
    EXPECT_EQ(held->roamers.growth, 60.0F);
    EXPECT_EQ(held->roamers.backptr, nullptr);
}

static void capture_marked(ViewRec* out)
{
    *out = {};
    out->tanx = 42.0;
}

TEST(MazeGame_setup, captures_the_view)
{
    void (*const before)(ViewRec*) = viewrec_capture;
    viewrec_capture = capture_marked;
    HeldGame held;
    MazeGame_setup(&held.game);
    viewrec_capture = before;
    EXPECT_EQ(held->view.tanx, 42.0);
}

TEST(MazeGame_new, starts_on_the_entrance_of_a_sound_world)
{
    rnd_seed(1);
    for (const i32 kind : {0, 1, 2}) {
        HeldGame one;
        MazeGame_new(&one.game, kind);
        EXPECT_TRUE(Pos_same(one->pos, Pos{one->root, 0})) << kind;
        EXPECT_EQ(Pos_node(one->pos)->sub, nullptr) << kind;
        EXPECT_SOUND(one->root);
    }
}

TEST(MazeGame_new, puts_the_eye_50_radii_above_the_player)
{
    HeldGame held;
    rnd_seed(6);
    MazeGame_new(&held.game, 0);
    const f64* const at = Pos_node(held->pos)->pos;
    EXPECT_EQ(held->zoom, 50.0 * Maze_node(held->root, 0)->radius);
    EXPECT_EQ(held->campos[0], at[0]);
    EXPECT_EQ(held->campos[1], at[1]);
    EXPECT_EQ(held->campos[2], at[2] + held->zoom);
    EXPECT_EQ(held->showtrail, 1);
}

TEST(MazeGame_startcamera, follows_the_third_row_of_the_view)
{
    HeldGame held;
    Maze* const maze = make_spokes({{4.0, 0.0, 0.0}});
    stand(&held, maze, maze, 1);
    held->orient[6] = 0.0;
    held->orient[7] = 0.6;
    held->orient[8] = 0.8;
    MazeGame_startcamera(&held.game);
    EXPECT_EQ(held->zoom, 25.0);
    EXPECT_EQ(held->campos[0], 4.0);
    EXPECT_EQ(held->campos[1], 25.0 * 0.6);
    EXPECT_EQ(held->campos[2], 25.0 * 0.8);
}

TEST(MazeGame_startcamera, bears_any_radius_and_view)
{
    for (const f64 radius : {0.0, -1.0, 5e-324, DBL_MAX, -DBL_MAX}) {
        for (const f64 row : {0.0, 1.0, DBL_MAX, -DBL_MAX}) {
            HeldGame held;
            Maze* const maze = make_spokes({{4.0, DBL_MAX, 0.0}});
            stand(&held, maze, maze, 1);
            Maze_node(maze, 0)->radius = radius;
            held->orient[7] = row;
            MazeGame_startcamera(&held.game);
            EXPECT_GT(held->zoom, 0.0);
            EXPECT_TRUE(std::isfinite(held->zoom));
            EXPECT_TRUE(all_finite(held->campos, 3)) << radius << " " << row;
        }
    }
}

TEST(MazeGame_free, clears_what_the_back_pointer_of_the_roamers_points_to)
{
    MazeGame game;
    MazeGame_setup(&game);
    game.root = make_nest();
    void* seen = game.roamers.buf;
    game.roamers.backptr = &seen;
    MazeGame_free(&game);
    EXPECT_EQ(seen, nullptr);
}

TEST(MazeGame_free, bears_a_game_without_a_world)
{
    MazeGame game;
    MazeGame_setup(&game);
    MazeGame_free(&game);
    EXPECT_EQ(game.roamers.buf, nullptr);
}

TEST(MazeGame_walker, is_the_place_and_the_step)
{
    HeldGame held;
    Maze* const maze = make_spokes({{4.0, 0.0, 0.0}});
    stand(&held, maze, maze, 1);
    step_to(&held, 1.0, 2.0, 3.0);
    const Walker walker = MazeGame_walker(&held.game);
    EXPECT_TRUE(Pos_same(walker.pos, held->pos));
    EXPECT_EQ(walker.step[0], 1.0);
    EXPECT_EQ(walker.step[1], 2.0);
    EXPECT_EQ(walker.step[2], 3.0);
}

TEST(zoom_held, keeps_what_the_view_can_bear)
{
    for (const f64 zoom : {1e-18, 1e-3, 20.0, 1e18}) {
        EXPECT_EQ(zoom_held(zoom, 7.0), zoom);
    }
}

TEST(zoom_held, holds_what_is_too_small_or_too_large)
{
    EXPECT_EQ(zoom_held(1e-19, 7.0), 1e-18);
    EXPECT_EQ(zoom_held(0.0, 7.0), 1e-18);
    EXPECT_EQ(zoom_held(-5.0, 7.0), 1e-18);
    EXPECT_EQ(zoom_held(1.1e18, 7.0), 1e18);
}

TEST(zoom_held, takes_the_other_value_for_what_is_not_finite)
{
    EXPECT_EQ(zoom_held(nan_value, 7.0), 7.0);
    EXPECT_EQ(zoom_held(inf, 7.0), 7.0);
    EXPECT_EQ(zoom_held(-inf, 7.0), 7.0);
}
