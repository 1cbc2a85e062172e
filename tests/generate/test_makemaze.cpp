#include "base/rnd.h"
#include "generate/makemaze.h"
#include "tests/goldenworld.h"
#include "tests/sound.h"

#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

// What tells one random world from another.
static std::string told(const GameWorld& world, i32 kind, u32 seed)
{
    return golden_told(world.game.root, 0, kind, seed);
}

TEST(MazeGame_generate, makes_the_same_world_from_the_same_seed)
{
    const GameWorld first(77);
    const std::string line = told(first, 0, 77);
    const GameWorld second(77);
    EXPECT_EQ(told(second, 0, 77), line);
    const GameWorld other(78);
    EXPECT_NE(told(other, 0, 77), line);
}

TEST(MazeGame_generate, takes_an_unknown_mode_as_a_random_world)
{
    const GameWorld plain(9, -1, 0);
    const std::string line = told(plain, 0, 9);
    for (const i32 mode : {3, -1, 1000}) {
        const GameWorld world(9, -1, mode);
        EXPECT_EQ(told(world, 0, 9), line);
        EXPECT_EQ(world.game.showtrail, 1);
    }
}

TEST(MazeGame_generate, draws_the_density_and_the_kind_first_and_then_the_sides)
{
    for (u32 seed = 1; seed <= 20; seed++) {
        const GameWorld world(seed, 5);
        const Maze* const base = Maze_node(world.game.root, 1)->sub;
        rnd_seed(seed);
        rnd(0.5);
        irand(13);
        const i32 a = irand(9);
        const i32 b = irand(9);
        const i32 c = irand(9);
        if (irand(3) != 0) { // no node is dropped by the two methods that make trees
            EXPECT_EQ(Maze_count(base), (a + 2) * (b + 2) * (c + 2));
        }
    }
}

TEST(MazeGame_generate, takes_the_kinds_1_and_2_and_those_that_arent_there_as_kind_0)
{
    const GameWorld plain(12, 0);
    const std::string line = told(plain, 0, 12);
    for (const i32 kind : {1, 2, 13, 1000}) {
        const GameWorld world(12, kind);
        EXPECT_EQ(told(world, 0, 12), line) << "kind " << kind;
    }
}

TEST(MazeGame_generate, lets_the_drawn_kind_stand_if_none_is_forced)
{
    i32 met[MAKEMAZE_KINDS] = {};
    for (u32 seed = 1; seed <= 60; seed++) {
        rnd_seed(seed);
        rnd(0.5);
        const i32 kind = irand(MAKEMAZE_KINDS);
        if (kind == 8 || kind == 9) {
            continue; // as kind 12, only larger
        }
        met[kind]++;
        const GameWorld drawn(seed);
        const std::string line = told(drawn, 0, seed);
        const GameWorld forced(seed, kind);
        EXPECT_EQ(told(forced, 0, seed), line);
    }
    EXPECT_GT(met[0] + met[1] + met[2], 0);
    for (const i32 kind : {3, 4, 5, 6, 7, 10, 11, 12}) {
        EXPECT_GT(met[kind], 0) << "kind " << kind;
    }
}

TEST(MazeGame_generate, makes_a_line_of_three_with_the_base_maze_in_the_middle)
{
    for (i32 kind = 0; kind < MAKEMAZE_KINDS; kind++) {
        const GameWorld world(3141592653U, kind);
        const Maze* const root = world.game.root;
        ASSERT_EQ(Maze_count(root), 3);
        EXPECT_EQ(Maze_edgecount(root), 2);
        EXPECT_EQ(Maze_node(root, 0)->sub, nullptr);
        EXPECT_NE(Maze_node(root, 1)->sub, nullptr);
        EXPECT_EQ(Maze_node(root, 2)->sub, nullptr);
        EXPECT_TRUE(Pos_same(world.game.pos, {world.game.root, 0}));
        EXPECT_EQ(root->name, nullptr);
    }
}

TEST(MazeGame_generate, nests_three_of_the_kinds_and_shows_exits_in_them_alone)
{
    const std::map<i32, size_t> levels = {{8, 3}, {9, 4}, {12, 5}};
    for (i32 kind = 0; kind < MAKEMAZE_KINDS; kind++) {
        const GameWorld world(3141592653U, kind);
        std::vector<LevelCounts> counts;
        count_levels(&counts, world.game.root);
        const bool nests = levels.contains(kind);
        EXPECT_EQ(counts.size(), nests ? levels.at(kind) : 2U) << "kind " << kind;
        EXPECT_EQ(world.game.showexits, nests ? 1 : 0) << "kind " << kind;
        EXPECT_EQ(world.game.showtrail, 1);
    }
}

TEST(MazeGame_generate, makes_the_gallery)
{
    const GameWorld world(7, -1, 2);
    const Maze* const root = world.game.root;
    ASSERT_EQ(Maze_count(root), 12);
    EXPECT_STREQ(root->name, "pg->root");
    EXPECT_STREQ(Maze_node(root, 3)->sub->name, "pg->root.3");
    EXPECT_STREQ(Maze_node(Maze_node(root, 3)->sub, 2)->sub->name, "pg->root.3.2");
    EXPECT_EQ(world.game.showtrail, 0);
    EXPECT_EQ(world.game.showexits, 0);
    EXPECT_TRUE(Pos_same(world.game.pos, {world.game.root, 0}));
}

TEST(MazeGame_generate, turns_the_display_flags_off_for_the_gallery)
{
    MazeGame game = {};
    game.showtrail = 1;
    game.showexits = 1;
    rnd_seed(7);
    MazeGame_generate(&game, 2);
    EXPECT_EQ(game.showtrail, 0);
    EXPECT_EQ(game.showexits, 0);
    Maze_free(game.root, true);
}

TEST(MazeGame_generate, puts_the_player_on_the_entrance)
{
    MazeGame game = {};
    game.step[0] = game.step[1] = game.step[2] = 5.0;
    rnd_seed(3);
    MazeGame_generate(&game, 0);
    EXPECT_TRUE(Pos_same(game.pos, {game.root, 0}));
    EXPECT_EQ(game.step[0], 0.0);
    EXPECT_EQ(game.step[1], 0.0);
    EXPECT_EQ(game.step[2], 0.0);
    Maze_free(game.root, true);
}

TEST(MazeGame_generate, makes_flat_grids_of_about_2500_nodes_of_many_aspects)
{
    i32 wide = 0;
    i32 high = 0;
    for (u32 seed = 1; seed <= 60; seed++) {
        rnd_seed(seed);
        rnd(0.5);
        irand(13);
        const f32 e = static_cast<f32>(std::exp(rnd(2.0) - 1.0));
        const i32 w = static_cast<i32>(50.0F * e);
        const i32 h = static_cast<i32>(50.0F / e);
        if (irand(3) == 0) {
            continue; // the method that drops nodes
        }
        const GameWorld world(seed, 0);
        EXPECT_EQ(Maze_count(Maze_node(world.game.root, 1)->sub), w * h);
        EXPECT_GT(w * h, 2250);
        EXPECT_LE(w * h, 2500);
        wide += w > 100 ? 1 : 0;
        high += h > 100 ? 1 : 0;
    }
    EXPECT_GT(wide, 0);
    EXPECT_GT(high, 0);
}

TEST(MazeGame_generate, keeps_radii_while_it_spreads_unwarped_worlds)
{
    i32 unwarped = 0;
    for (u32 seed = 1; seed <= 40; seed++) {
        const GameWorld world(seed, 5);
        const Maze* const base = Maze_node(world.game.root, 1)->sub;
        bool whole = true; // all coordinates are whole multiples of the pitch
        for (i32 i = 0; i < Maze_count(base); i++) {
            for (const f64 c : Maze_node(base, i)->pos) {
                whole = whole && std::fmod(c, 2.5) == 0.0;
            }
        }
        if (!whole) {
            continue;
        }
        unwarped++;
        for (i32 i = 0; i < Maze_count(base); i++) {
            EXPECT_EQ(Maze_node(base, i)->radius, 0.5);
        }
    }
    EXPECT_GT(unwarped, 5);
}

TEST(MazeGame_generate, keeps_the_balls_of_a_honeycomb_small_beside_its_pitch)
{
    i32 unwarped = 0;
    for (u32 seed = 1; seed <= 12; seed++) {
        const GameWorld world(seed, 4);
        const Maze* const base = Maze_node(world.game.root, 1)->sub;
        const MazeNode* const node = Maze_node(base, 100);
        const MazeNode* const next = Maze_node(base, node->edges[0]);
        const f64 pitch = std::hypot(node->pos[0] - next->pos[0], node->pos[1] - next->pos[1],
                                     node->pos[2] - next->pos[2]);
        if (std::fabs(pitch - 2.5) > 1e-5) {
            continue;
        }
        unwarped++;
        for (i32 i = 0; i < Maze_count(base); i++) {
            EXPECT_EQ(Maze_node(base, i)->radius, 0.5);
        }
    }
    EXPECT_GT(unwarped, 2);
}

TEST(MazeGame_generate, colours_a_world_evenly_or_by_place)
{
    i32 even = 0;
    for (u32 seed = 1; seed <= 40; seed++) {
        const GameWorld world(seed, 5);
        bool same = true;
        const u32 colour = Maze_node(world.game.root, 0)->rec.colour;
        for (const Maze* const maze : all_mazes(world.game.root)) {
            for (i32 i = 0; i < Maze_count(maze); i++) {
                same = same && Maze_node(maze, i)->rec.colour == colour;
            }
        }
        if (!same) {
            continue;
        }
        even++;
        for (int shift = 0; shift < 24; shift += 8) {
            EXPECT_GE((colour >> shift) & 0xFF, 64U);
            EXPECT_LE((colour >> shift) & 0xFF, 191U);
        }
    }
    EXPECT_GT(even, 8);
    EXPECT_LT(even, 32);
}
