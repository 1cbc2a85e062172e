#include "base/rnd.h"
#include "generate/chains.h"
#include "generate/grids.h"
#include "model/connect.h"
#include "tests/mazes.h"
#include "tests/sound.h"

#include <cmath>
#include <gtest/gtest.h>

static f64 distance(const Maze* maze, i32 n, const f64 p[3])
{
    const f64* const q = Maze_node(maze, n)->pos;
    return std::hypot(q[0] - p[0], q[1] - p[1], q[2] - p[2]);
}

static void expect_at(const Maze* maze, i32 n, f64 x, f64 y, f64 z)
{
    const f64 p[3] = {x, y, z};
    EXPECT_EQ(distance(maze, n, p), 0.0);
}

TEST(Maze_wrapends, puts_the_maze_into_the_middle_of_a_line_of_three)
{
    Maze* const maze = grid_maze(5, 3, 1);
    Maze* const line = Maze_wrapends(maze);
    EXPECT_SOUND(line);
    ASSERT_EQ(Maze_count(line), 3);
    EXPECT_EQ(Maze_edgecount(line), 2);
    EXPECT_EQ(Maze_node(line, 0)->sub, nullptr);
    EXPECT_EQ(Maze_node(line, 1)->sub, maze);
    EXPECT_EQ(Maze_node(line, 2)->sub, nullptr);
    EXPECT_EQ(maze->parent, line);
    EXPECT_EQ(maze->parentnode, 1);
    Maze_free(line, true);
}

TEST(Maze_wrapends, puts_the_ends_beside_the_box_at_two_and_a_half_radii)
{
    Maze* const maze = grid_maze(5, 3, 4);
    Maze_node(maze, 0)->radius = 0.8;
    Maze* const line = Maze_wrapends(maze);
    expect_at(line, 0, -2.0, 1.0, 1.5);
    expect_at(line, 2, 6.0, 1.0, 1.5);
    EXPECT_EQ(Maze_node(line, 0)->radius, 0.8);
    EXPECT_EQ(Maze_node(line, 2)->radius, 0.8);
    Maze_free(line, true);
}

TEST(Maze_wrapends, leaves_the_middle_node_where_the_line_had_it)
{
    Maze* const line = Maze_wrapends(grid_maze(30, 30, 1));
    expect_at(line, 1, 1.0, 0.0, 0.0);
    EXPECT_EQ(Maze_node(line, 1)->radius, 0.5);
    Maze_free(line, true);
}

TEST(Maze_wrapends, makes_the_nodes_nearest_to_the_ends_the_ports)
{
    rnd_seed(1);
    Maze* const maze = grid_maze(5, 3, 1);
    Maze* const line = Maze_wrapends(maze);
    EXPECT_SOUND(line);
    expect_at(maze, 0, 0.0, 1.0, 0.0);
    expect_at(maze, 1, 4.0, 1.0, 0.0);
    EXPECT_EQ(rnd_count(), 0U);
    Maze_free(line, true);
}

TEST(Maze_wrapends, adds_a_port_to_a_single_node)
{
    rnd_seed(1);
    Maze* const maze = grid_maze(1, 1, 1);
    Maze* const line = Maze_wrapends(maze);
    EXPECT_SOUND(line);
    ASSERT_EQ(Maze_count(maze), 2);
    EXPECT_EQ(Maze_distance(maze, 0, 1), 1);
    const f64 origin[3] = {0, 0, 0};
    EXPECT_EQ(distance(maze, 0, origin), 0.0);
    EXPECT_NEAR(distance(maze, 1, origin), 1.0, 1e-12);
    EXPECT_GE(rnd_count(), 6U);
    Maze_free(line, true);
}

TEST(Maze_wrapends, keeps_its_ends_outside_the_spheres_of_submazes)
{
    Maze* const maze = grid_maze(5, 1, 1);
    Maze* const sub = grid_maze(9, 9, 1);
    const f64 v[3] = {0, -4, 0};
    Maze_translate(sub, v, true);
    hang(maze, 2, sub);
    Maze_fixports(sub);
    Maze* const line = Maze_wrapends(maze);
    EXPECT_SOUND(line);
    const f64 radius = std::sqrt(32.0) + 0.5; // about (4, 0, 0)
    EXPECT_NEAR(Maze_node(line, 0)->pos[0], 4.0 - radius - 1.25, 1e-12);
    EXPECT_NEAR(Maze_node(line, 2)->pos[0], 4.0 + radius + 1.25, 1e-12);
    EXPECT_GT(distance(line, 0, sub->centre), sub->boundradius);
    EXPECT_GT(distance(line, 2, sub->centre), sub->boundradius);
    Maze_free(line, true);
}

TEST(Maze_wrapends, gives_a_way_from_end_to_end)
{
    Maze* const maze = grid_maze(4, 4, 4);
    Maze* const line = Maze_wrapends(maze);
    Pos out[POS_MAXEDGES];
    ASSERT_EQ(Pos_alledges({line, 0}, out, nullptr), 1);
    EXPECT_TRUE(Pos_same(out[0], {maze, 0}));
    const i32 n = Pos_alledges({maze, 1}, out, nullptr);
    EXPECT_TRUE(Pos_same(out[n - 1], {line, 2}));
    EXPECT_TRUE(Maze_isconnected(maze));
    Maze_free(line, true);
}

TEST(Maze_blendedges, gives_an_edge_the_mean_of_its_nodes_on_both_sides)
{
    Maze* const maze = grid_maze(2, 1, 1);
    Maze_node(maze, 0)->rec.colour = 0xC04040;
    Maze_node(maze, 1)->rec.colour = 0x808080;
    Maze_blendedges(maze, false);
    EXPECT_EQ(Maze_node(maze, 0)->edgerec[0].colour, 0xA06060U);
    EXPECT_EQ(Maze_node(maze, 1)->edgerec[0].colour, 0xA06060U);
    EXPECT_EQ(Maze_node(maze, 0)->rec.colour, 0xC04040U);
    Maze_free(maze, true);
}

TEST(Maze_blendedges, truncates_each_channel_for_itself)
{
    Maze* const maze = grid_maze(2, 1, 1);
    Maze_node(maze, 0)->rec.colour = 0xFF0001;
    Maze_node(maze, 1)->rec.colour = 0xFF01FF;
    Maze_blendedges(maze, false);
    EXPECT_EQ(Maze_node(maze, 0)->edgerec[0].colour, 0xFF0080U);
    Maze_node(maze, 1)->rec.colour = 0xFF0100;
    Maze_blendedges(maze, false);
    EXPECT_EQ(Maze_node(maze, 0)->edgerec[0].colour, 0xFF0000U);
    Maze_free(maze, true);
}

TEST(Maze_blendedges, goes_down_only_where_asked)
{
    Maze* const maze = grid_maze(3, 1, 1);
    Maze* const line = Maze_wrapends(maze);
    for (i32 i = 0; i < 3; i++) {
        Maze_node(maze, i)->rec.colour = 0x202020;
    }
    Maze_blendedges(line, false);
    EXPECT_EQ(Maze_node(maze, 0)->edgerec[0].colour, 0x808080U);
    Maze_blendedges(line, true);
    EXPECT_EQ(Maze_node(maze, 0)->edgerec[0].colour, 0x202020U);
    EXPECT_EQ(Maze_node(line, 0)->edgerec[0].colour, 0x808080U);
    Maze_free(line, true);
}
