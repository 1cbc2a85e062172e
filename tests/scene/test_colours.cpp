#include "scene/colours.h"
#include "tests/scene_picture.h"

#include <gtest/gtest.h>

// A maze whose node 0 has `ports` edges and holds a submaze.
struct Nest {
    Maze* root = Maze_new();
    Maze* sub;

    explicit Nest(i32 ports)
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
    ~Nest()
    {
        Maze_free(root, true);
    }
    Nest(const Nest&) = delete;
    Nest& operator=(const Nest&) = delete;
};

TEST(exit_colour, leaves_the_root_as_it_is)
{
    Nest nest(3);
    nest.root->exitsused = 1;
    EXPECT_EQ(exit_colour(nest.root, 0x123456), 0x123456U);
}

TEST(exit_colour, leaves_a_maze_of_which_no_exit_has_been_used)
{
    const Nest nest(3);
    EXPECT_EQ(exit_colour(nest.sub, 0x123456), 0x123456U);
}

TEST(exit_colour, tells_one_used_exit)
{
    const Nest nest(3);
    nest.sub->exitsused = 4;
    EXPECT_EQ(exit_colour(nest.sub, 0x123456), 0xC0A040U);
}

TEST(exit_colour, tells_several_used_exits)
{
    const Nest nest(3);
    nest.sub->exitsused = 5;
    EXPECT_EQ(exit_colour(nest.sub, 0x123456), 0x80C040U);
}

TEST(exit_colour, tells_that_all_exits_have_been_used)
{
    const Nest nest(3);
    nest.sub->exitsused = 7;
    EXPECT_EQ(exit_colour(nest.sub, 0x123456), 0x408040U);
}

TEST(exit_colour, is_dark_green_for_the_one_exit_of_a_dead_end)
{
    const Nest nest(1);
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

TEST(age_colour_cpu, has_a_colour_for_each_decade)
{
    const struct {
        f64 age, r, g, b;
    } table[] = {
        {0.05, 0.580333, 0.580333, 0.580333}, {0.5, 0.517633, 0.418938, 0.517633},
        {5, 0.454933, 0.313733, 0.356238},    {50, 0.392233, 0.349727, 0.251033},
        {500, 0.230838, 0.329533, 0.188333},  {5e3, 0.125633, 0.266833, 0.224327},
        {5e4, 0.0667, 0.109205, 0.2079},      {5e5, 0.116047, 0.116047, 0.158553},
        {5e6, 0.087953, 0.087953, 0.087953},
    };
    for (const auto& row : table) {
        f64 c[3];
        age_colour_cpu(row.age, c);
        EXPECT_NEAR(c[0], row.r, 2e-6) << row.age;
        EXPECT_NEAR(c[1], row.g, 2e-6) << row.age;
        EXPECT_NEAR(c[2], row.b, 2e-6) << row.age;
    }
}

TEST(age_colour_cpu, puts_ages_of_0_and_5_milliseconds_in_the_first_band)
{
    for (const f64 age : {0.0, 0.005}) {
        f64 c[3];
        age_colour_cpu(age, c);
        EXPECT_NEAR(c[0], 0.624158, 2e-6);
        EXPECT_NEAR(c[1], 0.624158, 2e-6);
        EXPECT_NEAR(c[2], 0.624158, 2e-6);
    }
}

TEST(age_colour_cpu, adds_nothing_but_a_faint_grey_beyond_116_days)
{
    f64 c[3];
    age_colour_cpu(5e7, c);
    EXPECT_NEAR(c[0], 0.0667, 1e-9);
    EXPECT_NEAR(c[1], 0.0667, 1e-9);
    EXPECT_NEAR(c[2], 0.0667, 1e-9);
}
