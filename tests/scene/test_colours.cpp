#include "scene/colours.h"
#include "tests/agecolour.h"
#include "tests/scene_picture.h"

#include <gtest/gtest.h>

// A maze whose node 0 has `ports` edges and holds a submaze.
struct DyedNest {
    Maze* root = Maze_new();
    Maze* sub;

    explicit DyedNest(i32 ports)
    {
        add_node(root, 0, 0, 0, 0.5);
        for (i32 i = 1; i <= ports; i++) {
            add_node(root, i, 0, 0, 0.5);
            Maze_join(root, 0, i);
        }
        sub = add_sub(root, 0);
        for (i32 i = 0; i < ports; i++) {
            add_node(sub, 0, i, 0, 0.1);
        }
    }
    ~DyedNest()
    {
        Maze_free(root, true);
    }
    DyedNest(const DyedNest&) = delete;
    DyedNest& operator=(const DyedNest&) = delete;
};

TEST(exit_colour, leaves_the_root_as_it_is)
{
    DyedNest nest(3);
    nest.root->exitsused = 1;
    EXPECT_EQ(exit_colour(nest.root, 0x123456), 0x123456U);
}

TEST(exit_colour, leaves_a_maze_of_which_no_exit_has_been_used)
{
    const DyedNest nest(3);
    EXPECT_EQ(exit_colour(nest.sub, 0x123456), 0x123456U);
}

TEST(exit_colour, tells_one_used_exit)
{
    const DyedNest nest(3);
    nest.sub->exitsused = 4;
    EXPECT_EQ(exit_colour(nest.sub, 0x123456), 0xC0A040U);
}

TEST(exit_colour, tells_several_used_exits)
{
    const DyedNest nest(3);
    nest.sub->exitsused = 5;
    EXPECT_EQ(exit_colour(nest.sub, 0x123456), 0x80C040U);
}

TEST(exit_colour, tells_that_all_exits_have_been_used)
{
    const DyedNest nest(3);
    nest.sub->exitsused = 7;
    EXPECT_EQ(exit_colour(nest.sub, 0x123456), 0x408040U);
}

TEST(exit_colour, is_dark_green_for_the_one_exit_of_a_dead_end)
{
    const DyedNest nest(1);
    nest.sub->exitsused = 1;
    EXPECT_EQ(exit_colour(nest.sub, 0x123456), 0x408040U);
}

TEST(colour_channels, draws_white_a_step_darker)
{
    f32 rgb[3];
    colour_channels(0xFFFFFF, rgb);
    EXPECT_EQ(rgb[0], 254.0F / 255.0F);
    EXPECT_EQ(rgb[1], 254.0F / 255.0F);
    EXPECT_EQ(rgb[2], 254.0F / 255.0F);
}

TEST(colour_channels, keeps_any_other_colour)
{
    f32 rgb[3];
    colour_channels(0xFF8001, rgb);
    EXPECT_EQ(rgb[0], 1.0F);
    EXPECT_EQ(rgb[1], 128.0F / 255.0F);
    EXPECT_EQ(rgb[2], 1.0F / 255.0F);
}

TEST(colour_channels, looks_at_the_low_24_bits_alone)
{
    f32 rgb[3];
    colour_channels(0x12FFFFFF, rgb);
    EXPECT_EQ(rgb[0], 254.0F / 255.0F);
}

TEST(age_colour_cpu, is_a_light_grey_at_age_0)
{
    EXPECT_EQ(age_colour_cpu(0), 0x9F9F9FU); // 123 + 36
}

TEST(age_colour_cpu, keeps_ages_below_a_hundredth_of_a_second_at_that_of_0)
{
    EXPECT_EQ(age_colour_cpu(0.005), age_colour_cpu(0));
    EXPECT_EQ(age_colour_cpu(-3), age_colour_cpu(0));
    EXPECT_EQ(age_colour_cpu(std::nan("")), age_colour_cpu(0));
}

TEST(age_colour_cpu, has_a_colour_for_each_decade)
{
    // in the middle of each decade: i = 18 and h = 9 of 36; the grey falls by 16 a decade
    const struct {
        f64 decade;
        i32 r, g, b;
    } table[] = {
        {0.5, 36, 36, 36}, {1.5, 36, 18, 36}, {2.5, 36, 0, 18}, {3.5, 36, 18, 0}, {4.5, 18, 36, 0},
        {5.5, 0, 36, 18},  {6.5, 0, 18, 36},  {7.5, 9, 9, 27},  {8.5, 9, 9, 9},   {9.5, 0, 0, 0},
    };
    for (const auto& row : table) {
        const f64 decade = row.decade + 1e-9; // not a hair below
        const i32 grey = static_cast<i32>(std::fmax(6.638888888888889 - decade, 0) * 16 + 17);
        const u32 want = static_cast<u32>(grey + row.r) << 16 |
                         static_cast<u32>(grey + row.g) << 8 | static_cast<u32>(grey + row.b);
        EXPECT_EQ(age_colour_cpu(std::pow(10, decade) / 100), want) << row.decade;
    }
}

TEST(age_colour_cpu, is_the_shaders_formula_within_rounding)
{
    for (f64 decade = -0.5; decade < 10; decade += 0.0103) {
        const f64 age = std::pow(10, decade) / 100;
        const AgeLight light = age_light(age);
        const u32 c = age_colour_cpu(age);
        EXPECT_NEAR(((c >> 16) & 0xFF) / 255.0, light.c[0], 2.1 / 255) << age;
        EXPECT_NEAR(((c >> 8) & 0xFF) / 255.0, light.c[1], 2.1 / 255) << age;
        EXPECT_NEAR((c & 0xFF) / 255.0, light.c[2], 2.1 / 255) << age;
    }
}

TEST(age_colour_cpu, takes_any_age)
{
    EXPECT_EQ(age_colour_cpu(1e300), 0x111111U);
    EXPECT_EQ(age_colour_cpu(HUGE_VAL), 0x111111U);
}

TEST(colour_add, holds_each_channel_between_0_and_255)
{
    EXPECT_EQ(colour_add(0x10F080, -0x40, 0x40, 1), 0x00FF81U);
}

static VisitRec visited(u32 colour, f64 walked, f64 trailed)
{
    return {colour, walked, trailed};
}

// The colour of the first node of a flat maze.
static u32 node_colour(const VisitRec& rec, const MazeGame* game)
{
    Maze* const maze = Maze_new();
    const u32 colour = rec_colour(&rec, {maze, 0}, Pos_null, game);
    Maze_free(maze, false);
    return colour;
}

TEST(rec_colour, is_the_records_own_where_nobody_has_walked)
{
    EXPECT_EQ(node_colour(visited(0x123456, -1, -1), nullptr), 0x123456U);
}

TEST(rec_colour, draws_white_a_step_darker)
{
    EXPECT_EQ(node_colour(visited(0xFFFFFF, -1, -1), nullptr), 0xFEFEFEU);
}

TEST(rec_colour, adds_the_age_of_the_players_passage)
{
    MazeGame game = {};
    game.showtrail = 1;
    game.time = 10;
    EXPECT_EQ(node_colour(visited(0x010203, 10, -1), &game), 0xA0A1A2U);
}

TEST(rec_colour, adds_the_age_of_a_roamers_passage_in_green)
{
    MazeGame game = {};
    game.showtrail = 1;
    game.time = 10;
    // 159 * 64 / 255 = 39, 159, 159 * 128 / 255 = 79
    EXPECT_EQ(node_colour(visited(0, -1, 10), &game), 0x279F4FU);
}

TEST(rec_colour, adds_both_passages_and_is_never_white)
{
    MazeGame game = {};
    game.showtrail = 1;
    EXPECT_EQ(node_colour(visited(0xF0F0F0, 0, 0), &game), 0xFEFEFEU);
}

TEST(rec_colour, adds_nothing_while_trails_are_not_shown)
{
    MazeGame game = {};
    EXPECT_EQ(node_colour(visited(0x123456, 0, 0), &game), 0x123456U);
}

TEST(rec_colour, takes_the_time_0_without_a_game)
{
    EXPECT_EQ(node_colour(visited(0, 0, -1), nullptr), 0x9F9F9FU);
}

TEST(rec_colour, is_the_exit_colour_inside_a_level_of_which_an_exit_has_been_used)
{
    const DyedNest nest(3);
    nest.sub->exitsused = 1;
    const VisitRec rec = visited(0x123456, -1, -1);
    EXPECT_EQ(rec_colour(&rec, {nest.sub, 0}, Pos_null, nullptr), 0xC0A040U);
    EXPECT_EQ(rec_colour(&rec, {nest.sub, 0}, {nest.sub, 0}, nullptr), 0xC0A040U);
}

TEST(rec_colour, is_the_records_own_for_an_edge_that_leaves_the_level)
{
    const DyedNest nest(3);
    nest.sub->exitsused = 1;
    const VisitRec rec = visited(0x123456, -1, -1);
    EXPECT_EQ(rec_colour(&rec, {nest.sub, 0}, {nest.sub->parent, 0}, nullptr), 0x123456U);
}
