#include "base/rnd.h"
#include "base/str.h"
#include "generate/chains.h"
#include "generate/grids.h"
#include "generate/tilings.h"
#include "model/connect.h"
#include "tests/mazes.h"
#include "tests/sound.h"

#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

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

// The box of the nodes of one level in x.
static void extentx(const Maze* maze, f64* low, f64* high)
{
    *low = *high = Maze_node(maze, 0)->pos[0];
    for (i32 i = 0; i < Maze_count(maze); i++) {
        const f64 x = Maze_node(maze, i)->pos[0];
        *low = x < *low ? x : *low;
        *high = x > *high ? x : *high;
    }
}

static i32 calls; // of the chain functions of this file

static Maze* sevenlong(i32 i)
{
    calls += i;
    return grid_maze(7, 3, 2);
}

TEST(chain_maze, is_a_line_of_two_without_mazes)
{
    calls = 0;
    rnd_seed(1);
    const World line(chain_maze(0, sevenlong));
    EXPECT_SOUND(line.get());
    EXPECT_EQ(calls, 0);
    ASSERT_EQ(Maze_count(line.get()), 2);
    expect_at(line.get(), 0, 0.0, 0.0, 0.0);
    expect_at(line.get(), 1, 10.0, 0.0, 0.0);
    EXPECT_EQ(neighbours(line.get(), 0), std::vector<i32>{1});
    EXPECT_EQ(Maze_node(line.get(), 0)->edgerec[0].colour, COLOUR_DEFAULT);
    EXPECT_EQ(rnd_count(), 0U);
}

TEST(chain_maze, puts_the_node_in_the_middle_of_its_maze_with_room_on_both_sides)
{
    const World line(chain_maze(1, sevenlong));
    EXPECT_SOUND(line.get());
    ASSERT_EQ(Maze_count(line.get()), 3);
    expect_at(line.get(), 0, 0.0, 0.0, 0.0);
    expect_at(line.get(), 1, 13.0, 0.0, 0.0);
    expect_at(line.get(), 2, 26.0, 0.0, 0.0);
    EXPECT_EQ(Maze_node(line.get(), 1)->radius, 0.5);
}

TEST(chain_maze, centres_its_mazes_on_the_axis)
{
    const World line(chain_maze(1, sevenlong));
    const Maze* const sub = Maze_node(line.get(), 1)->sub;
    f64 mean[3];
    Maze_centroid(mean, sub);
    EXPECT_DOUBLE_EQ(mean[0], 13.0);
    EXPECT_DOUBLE_EQ(mean[1], 0.0);
    EXPECT_DOUBLE_EQ(mean[2], 0.0);
    f64 low = 0.0;
    f64 high = 0.0;
    extentx(sub, &low, &high);
    EXPECT_EQ(low, 10.0);
    EXPECT_EQ(high, 16.0);
}

TEST(chain_maze, asks_for_the_places_from_1_on)
{
    calls = 0;
    const World line(chain_maze(4, sevenlong));
    EXPECT_EQ(calls, 1 + 2 + 3 + 4);
}

TEST(chain_maze, leaves_ten_units_between_neighbours)
{
    const World line(chain_maze(5, grid_red));
    EXPECT_SOUND(line.get());
    f64 end = 0.0; // of what stands before
    for (i32 i = 1; i <= 5; i++) {
        f64 low = 0.0;
        f64 high = 0.0;
        extentx(Maze_node(line.get(), i)->sub, &low, &high);
        EXPECT_DOUBLE_EQ(low, end + 10.0);
        EXPECT_DOUBLE_EQ(high, low + 4 * i);
        expect_at(line.get(), i, low + 2.0 * i, 0.0, 0.0);
        end = high;
    }
    expect_at(line.get(), 6, end + 10.0, 0.0, 0.0);
}

TEST(chain_maze, gives_each_maze_two_ports_beside_its_neighbours)
{
    rnd_seed(1);
    const World line(chain_maze(5, grid_red));
    for (i32 i = 1; i <= 5; i++) {
        const Maze* const sub = Maze_node(line.get(), i)->sub;
        EXPECT_EQ(sub->parent, line.get());
        EXPECT_EQ(sub->parentnode, i);
        EXPECT_EQ(Maze_ports(sub), 2);
        f64 low = 0.0;
        f64 high = 0.0;
        extentx(sub, &low, &high);
        expect_at(sub, 0, low, 0.0, 0.0);
        expect_at(sub, 1, high, 0.0, 0.0);
    }
    EXPECT_EQ(rnd_count(), 0U);
}

static Maze* lonelynode(i32 i)
{
    static_cast<void>(i);
    return grid_maze(1, 1, 1);
}

TEST(chain_maze, adds_a_port_to_a_single_node)
{
    rnd_seed(5);
    const World line(chain_maze(2, lonelynode));
    EXPECT_SOUND(line.get());
    EXPECT_EQ(Maze_count(Maze_node(line.get(), 1)->sub), 2);
    EXPECT_EQ(Maze_count(Maze_node(line.get(), 2)->sub), 2);
    EXPECT_GE(rnd_count(), 12U);
}

static Maze* namedandcoloured(i32 i)
{
    Maze* const maze = grid_maze(5, 1, 1);
    str_set(&maze->name, "an earlier name");
    Maze_setcolour(maze, 0x101010);
    Maze_node(maze, 0)->rec.colour = 0x200000U * static_cast<u32>(i);
    return maze;
}

TEST(chain_maze, names_its_mazes_by_their_places)
{
    const World line(chain_maze(12, namedandcoloured));
    EXPECT_EQ(line->name, nullptr);
    EXPECT_STREQ(Maze_node(line.get(), 1)->sub->name, "1");
    EXPECT_STREQ(Maze_node(line.get(), 12)->sub->name, "12");
}

TEST(chain_maze, colours_its_nodes_as_node_0_of_their_mazes_and_its_edges_between)
{
    const World line(chain_maze(2, namedandcoloured));
    EXPECT_EQ(Maze_node(line.get(), 0)->rec.colour, COLOUR_DEFAULT);
    EXPECT_EQ(Maze_node(line.get(), 1)->rec.colour, 0x200000U);
    EXPECT_EQ(Maze_node(line.get(), 2)->rec.colour, 0x400000U);
    EXPECT_EQ(Maze_node(line.get(), 1)->edgerec[0].colour, 0x504040U);
    EXPECT_EQ(Maze_node(line.get(), 1)->edgerec[1].colour, 0x300000U);
    EXPECT_EQ(Maze_node(line.get(), 2)->edgerec[0].colour, 0x300000U);
    const Maze* const sub = Maze_node(line.get(), 1)->sub;
    EXPECT_EQ(Maze_node(sub, 2)->edgerec[0].colour, 0x101010U); // only its own level is blended
}

TEST(chain_maze, gives_a_chain_in_a_chain_the_colour_of_its_end)
{
    const World line(chain_maze(2, chain_middle));
    EXPECT_SOUND(line.get());
    EXPECT_EQ(Maze_node(line.get(), 1)->rec.colour, COLOUR_DEFAULT);
    const Maze* const chain = Maze_node(line.get(), 1)->sub;
    EXPECT_EQ(Maze_node(chain, 3)->rec.colour, 0xC04040U);
}

// The sizes of the mazes of a chain by their places, which their names tell: the nodes of a chain that
// hangs in another one have been renumbered.
static std::vector<i32> sizes(const Maze* chain, u32 colour)
{
    std::map<i32, i32> byplace;
    for (i32 i = 0; i < Maze_count(chain); i++) {
        const Maze* const sub = Maze_node(chain, i)->sub;
        if (sub == nullptr) {
            continue;
        }
        byplace[std::stoi(sub->name)] = Maze_count(sub);
        for (i32 j = 0; j < Maze_count(sub); j++) {
            EXPECT_EQ(Maze_node(sub, j)->rec.colour, colour);
            EXPECT_EQ(Maze_node(sub, j)->edgerec[0].colour, colour);
        }
    }
    std::vector<i32> list;
    for (const auto& [place, size] : byplace) {
        list.push_back(size);
    }
    return list;
}

static const std::vector<i32> gridsizes = {25, 81, 169, 289, 441};
static const std::vector<i32> shapesizes = {231, 222, 331, 440, 332};

TEST(gallery_shape, makes_five_shapes_in_turn)
{
    const World chain(chain_maze(5, gallery_shape));
    EXPECT_SOUND(chain.get());
    EXPECT_EQ(sizes(chain.get(), 0xC08040), shapesizes);
    const World again(gallery_shape(6));
    EXPECT_EQ(Maze_count(again.get()), 231);
    const World rings(gallery_shape(10));
    EXPECT_EQ(Maze_count(rings.get()), 332);
}

TEST(gallery_shape, turns_the_triangle_a_quarter_to_the_right)
{
    const World plain(trigrid_triangle(10));
    const World turned(gallery_shape(1));
    ASSERT_EQ(Maze_count(turned.get()), Maze_count(plain.get()));
    for (i32 i = 0; i < Maze_count(plain.get()); i++) {
        const f64* const p = Maze_node(plain.get(), i)->pos;
        const f64 expected[3] = {p[1], -p[0], 0.0};
        EXPECT_LT(distance(turned.get(), i, expected), 1e-12);
    }
}

TEST(chain_middle, has_grids_first_and_then_shapes)
{
    const World grids(chain_middle(1));
    const World shapes(chain_middle(2));
    EXPECT_EQ(sizes(grids.get(), 0xC04040), gridsizes);
    EXPECT_EQ(sizes(shapes.get(), 0xC08040), shapesizes);
}

TEST(chain_top, has_single_chains_at_the_places_3_and_6)
{
    const World third(chain_top(3));
    const World sixth(chain_top(6));
    const World other(chain_top(4));
    EXPECT_EQ(sizes(third.get(), 0xC04040), gridsizes);
    EXPECT_EQ(sizes(sixth.get(), 0xC08040), shapesizes);
    ASSERT_EQ(Maze_count(other.get()), 4);
    EXPECT_EQ(sizes(Maze_node(other.get(), 1)->sub, 0xC04040), gridsizes);
    EXPECT_EQ(sizes(Maze_node(other.get(), 2)->sub, 0xC08040), shapesizes);
}

// Counts the mazes without submazes in a tree, by colour of node 2 and depth.
static void countleaves(const Maze* maze, i32 depth, std::map<std::pair<u32, i32>, i32>* counts)
{
    bool leaf = true;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        if (Maze_node(maze, i)->sub != nullptr) {
            countleaves(Maze_node(maze, i)->sub, depth + 1, counts);
            leaf = false;
        }
    }
    if (leaf) {
        (*counts)[{Maze_node(maze, 2)->rec.colour, depth}]++;
    }
}

TEST(chain_top, makes_a_gallery_of_45_grids_and_45_shapes)
{
    rnd_seed(1);
    const World gallery(chain_maze(10, chain_top));
    EXPECT_SOUND(gallery.get());
    EXPECT_EQ(Maze_count(gallery.get()), 12);
    std::map<std::pair<u32, i32>, i32> counts;
    countleaves(gallery.get(), 0, &counts);
    // a chain lies above those of the places 3 and 6, two chains above the others
    const std::map<std::pair<u32, i32>, i32> expected = {
        {{0xC04040, 2}, 5}, {{0xC08040, 2}, 5}, {{0xC04040, 3}, 40}, {{0xC08040, 3}, 40}};
    EXPECT_EQ(counts, expected);
    EXPECT_EQ(rnd_count(), 0U);
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
