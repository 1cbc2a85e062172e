#include "base/rnd.h"
#include "model/commands.h"
#include "model/mazegame.h"
#include "tests/gameworlds.h"

#include <gtest/gtest.h>

TEST(newgame_kind, is_0_without_shift_and_ctrl)
{
    EXPECT_EQ(newgame_kind(false, false), 0);
}

TEST(newgame_kind, is_1_with_either)
{
    EXPECT_EQ(newgame_kind(true, false), 1);
    EXPECT_EQ(newgame_kind(false, true), 1);
}

TEST(newgame_kind, is_2_with_both)
{
    EXPECT_EQ(newgame_kind(true, true), 2);
}

static u32 draws_of_new(i32 kind)
{
    HeldGame held;
    rnd_seed(7);
    MazeGame_new(&held.game, kind);
    return rnd_count();
}

static u32 draws_of_newgame(i32 kind)
{
    HeldGame held;
    Maze* const root = make_nest();
    stand(&held, root, root, 0);
    rnd_seed(7);
    newgame(&held.game, kind);
    return rnd_count();
}

TEST(newgame, makes_the_world_that_a_start_with_the_same_stream_makes)
{
    for (i32 kind = 0; kind <= 2; kind++) {
        const u32 draws = draws_of_new(kind);
        EXPECT_EQ(draws_of_newgame(kind), draws) << "kind " << kind;
    }
}

TEST(newgame, leaves_nothing_of_the_old_game)
{
    HeldGame held;
    Maze* const root = make_nest();
    stand(&held, root, root, 3);
    held->time = 77.0;
    held->step[0] = 1.0;
    Roamer roamer;
    Roamer_make(&roamer, root);
    GrowArray_push(&held->roamers, &roamer);
    rnd_seed(3);
    newgame(&held.game, 0);
    EXPECT_EQ(held->time, 0.0);
    EXPECT_EQ(held->step[0], 0.0);
    EXPECT_EQ(held->roamers.count, 0U);
    EXPECT_EQ(held->pos.node, 0);
    EXPECT_EQ(held->zoom, 50.0 * Maze_node(held->root, 0)->radius);
}
