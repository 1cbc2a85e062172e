#include "base/rnd.h"
#include "generate/chains.h"
#include "generate/grids.h"
#include "generate/warps.h"
#include "tests/digest.h"
#include "tests/mazes.h"
#include "tests/sound.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

static const f64 pi = 3.14159265358979323846;

// Three levels: a line, a grid in its middle, a small grid in an inner node of that.
static Maze* make_tree()
{
    Maze* const grid = grid_maze(7, 5, 2);
    Maze* const line = Maze_wrapends(grid);
    hang(grid, 20, grid_maze(4, 4, 3));
    return line;
}

static void collect(std::vector<Maze*>* out, Maze* maze)
{
    out->push_back(maze);
    for (i32 i = 0; i < Maze_count(maze); i++) {
        if (Maze_node(maze, i)->sub != nullptr) {
            collect(out, Maze_node(maze, i)->sub);
        }
    }
}

static std::vector<Maze*> levels(Maze* root)
{
    std::vector<Maze*> all;
    collect(&all, root);
    return all;
}

// x, y, z and radius of all nodes of a tree
static std::vector<std::array<f64, 4>> geometry(Maze* root)
{
    std::vector<std::array<f64, 4>> all;
    for (const Maze* const maze : levels(root)) {
        for (i32 i = 0; i < Maze_count(maze); i++) {
            const MazeNode* const node = Maze_node(maze, i);
            all.push_back({node->pos[0], node->pos[1], node->pos[2], node->radius});
        }
    }
    return all;
}

static std::vector<u32> colours(const Maze* maze)
{
    std::vector<u32> all;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        const MazeNode* const node = Maze_node(maze, i);
        all.push_back(node->rec.colour);
        for (u32 slot = 0; slot < node->nedges; slot++) {
            all.push_back(node->edgerec[slot].colour);
        }
    }
    return all;
}

static void expect_colour_near(u32 colour, u32 expected)
{
    for (int shift = 0; shift < 24; shift += 8) {
        const i32 got = static_cast<i32>((colour >> shift) & 0xFF);
        const i32 want = static_cast<i32>((expected >> shift) & 0xFF);
        EXPECT_NEAR(got, want, 1);
    }
}

TEST(rgb_pack, rounds_each_channel)
{
    EXPECT_EQ(rgb_pack(1.0, 0.5, 0.0), 0xFF8000U);
    EXPECT_EQ(rgb_pack(0.25, 0.75, 0.125), 0x40BF20U);
}

TEST(rgb_pack, clamps_what_lies_outside)
{
    const f64 nan = std::numeric_limits<f64>::quiet_NaN();
    const f64 inf = std::numeric_limits<f64>::infinity();
    EXPECT_EQ(rgb_pack(1.5, -0.5, 2e9), 0xFF00FFU);
    EXPECT_EQ(rgb_pack(-1e300, inf, -inf), 0x00FF00U);
    EXPECT_EQ(rgb_pack(nan, 1.0, nan), 0x00FF00U);
}

TEST(place_colour, is_a_dark_grey_at_the_origin)
{
    const f64 origin[3] = {0, 0, 0};
    EXPECT_EQ(place_colour(origin), 0x404040U);
}

TEST(place_colour, takes_a_channel_from_each_axis)
{
    const f64 x[3] = {15.707963, 0, 0};
    const f64 y[3] = {0, -15.707963, 0};
    const f64 z[3] = {0, 0, 15.707963};
    expect_colour_near(place_colour(x), 0x804040);
    expect_colour_near(place_colour(y), 0x400040);
    expect_colour_near(place_colour(z), 0x404080);
}

TEST(place_colour, repeats_after_twenty_pi)
{
    const f64 p[3] = {3.3, -7.7, 20.5};
    const f64 q[3] = {3.3 + 20 * pi, -7.7 - 20 * pi, 20.5 + 40 * pi};
    EXPECT_EQ(place_colour(p), place_colour(q));
}

TEST(Maze_setcolourdeep, colours_all_levels)
{
    Maze* const root = make_tree();
    Maze_setcolourdeep(root, 0x123456, true);
    for (const Maze* const maze : levels(root)) {
        for (const u32 colour : colours(maze)) {
            EXPECT_EQ(colour, 0x123456U);
        }
    }
    Maze_free(root, true);
}

TEST(Maze_setcolourdeep, colours_one_level_if_not_recursive)
{
    Maze* const root = make_tree();
    Maze_setcolourdeep(root, 0x123456, false);
    for (const u32 colour : colours(root)) {
        EXPECT_EQ(colour, 0x123456U);
    }
    for (const u32 colour : colours(levels(root)[1])) {
        EXPECT_EQ(colour, 0x808080U);
    }
    Maze_free(root, true);
}

TEST(Maze_paintbyplace, colours_an_edge_as_its_middle)
{
    Maze* const maze = grid_maze(2, 1, 1);
    Maze_node(maze, 1)->pos[0] = 10.0;
    Maze_paintbyplace(maze);
    const f64 middle[3] = {5, 0, 0};
    EXPECT_EQ(Maze_node(maze, 0)->edgerec[0].colour, place_colour(middle));
    EXPECT_EQ(Maze_node(maze, 1)->edgerec[0].colour, place_colour(middle));
    Maze_free(maze, true);
}

// The channels of a sum of two coordinates, each by itself.
static u32 middle_colour(const f64 a[3], const f64 b[3])
{
    f64 v[3];
    for (i32 k = 0; k < 3; k++) {
        v[k] = (1.0 + std::sin((a[k] + b[k]) * 0.05)) * 0.25;
    }
    return rgb_pack(v[0], v[1], v[2]);
}

TEST(Maze_paintbyplace, colours_both_directions_of_every_edge_by_its_ends)
{
    rnd_seed(1);
    for (i32 round = 0; round < 50; round++) {
        Maze* const maze = grid_maze(4, 4, 4);
        const f64 turn[3] = {0.0, 0.0,
                             round % 2 == 0 ? 0.0 : rnd(2.0)}; // else most ends share a height
        const f64 way[3] = {rnd(100.0), -7.0, 0.3};
        Maze_rotate(maze, turn);
        Maze_translate(maze, way, false);
        Maze_paintbyplace(maze);
        for (i32 i = 0; i < Maze_count(maze); i++) {
            const MazeNode* const node = Maze_node(maze, i);
            for (u32 slot = 0; slot < node->nedges; slot++) {
                const MazeNode* const end = Maze_node(maze, node->edges[slot]);
                EXPECT_EQ(node->edgerec[slot].colour, middle_colour(node->pos, end->pos));
            }
        }
        Maze_free(maze, true);
    }
}

TEST(Maze_paintbyplace, colours_nodes_of_all_levels_by_their_place)
{
    Maze* const root = make_tree();
    Maze_paintbyplace(root);
    EXPECT_EQ(levels(root).size(), 3U);
    for (const Maze* const maze : levels(root)) {
        for (i32 i = 0; i < Maze_count(maze); i++) {
            const MazeNode* const node = Maze_node(maze, i);
            EXPECT_EQ(node->rec.colour, place_colour(node->pos));
        }
    }
    Maze_free(root, true);
}

TEST(Maze_warpheight, raises_z_and_leaves_x_and_y)
{
    Maze* const root = make_tree();
    const auto before = geometry(root);
    Maze_warpheight(root, true);
    const auto after = geometry(root);
    f64 most = 0.0;
    for (size_t i = 0; i < before.size(); i++) {
        EXPECT_EQ(after[i][0], before[i][0]);
        EXPECT_EQ(after[i][1], before[i][1]);
        EXPECT_EQ(after[i][3], before[i][3]);
        const f64 rise = 4.0 * (std::sin(before[i][0] / 4) + std::sin(before[i][1] / 4));
        EXPECT_NEAR(after[i][2], before[i][2] + rise, 1e-12);
        most = std::max(most, std::fabs(rise));
    }
    EXPECT_GT(most, 1.0);
    Maze_free(root, true);
}

TEST(Maze_warpheight, stays_on_its_level_if_not_recursive)
{
    Maze* const root = make_tree();
    const f64 before = Maze_node(levels(root)[1], 5)->pos[2];
    Maze_warpheight(root, false);
    EXPECT_EQ(Maze_node(levels(root)[1], 5)->pos[2], before);
    EXPECT_NE(Maze_node(root, 2)->pos[2], 0.5); // the line is at half the grid's height
    Maze_free(root, true);
}

TEST(warp_sine, keeps_the_origin)
{
    f64 p[3] = {0, 0, 0};
    warp_sine(p, p);
    EXPECT_EQ(p[0], 0.0);
    EXPECT_EQ(p[1], 0.0);
    EXPECT_EQ(p[2], 0.0);
}

TEST(warp_sine, takes_a_quarter_turn_to_pi_and_a_half)
{
    const f64 p[3] = {pi / 2, -pi / 2, pi};
    f64 out[3];
    warp_sine(out, p);
    EXPECT_NEAR(out[0], pi + 1.5, 1e-12);
    EXPECT_NEAR(out[1], -pi - 1.5, 1e-12);
    EXPECT_NEAR(out[2], 2 * pi, 1e-12);
}

TEST(warp_sine, keeps_the_order_along_an_axis)
{
    f64 last = -1e9;
    for (i32 i = -1000; i <= 1000; i++) {
        const f64 p[3] = {0.03 * i, 0, 0};
        f64 out[3];
        warp_sine(out, p);
        EXPECT_GT(out[0], last);
        last = out[0];
    }
}

static void addone(f64 out[3], const f64 p[3])
{
    out[0] = p[0] + 1;
    out[1] = p[1];
    out[2] = p[2];
}

TEST(Maze_mapnodes, moves_every_node_of_all_levels_once)
{
    Maze* const root = make_tree();
    const auto before = geometry(root);
    Maze_mapnodes(root, addone, true);
    const auto after = geometry(root);
    for (size_t i = 0; i < before.size(); i++) {
        EXPECT_EQ(after[i][0], before[i][0] + 1);
        EXPECT_EQ(after[i][3], before[i][3]);
    }
    Maze_free(root, true);
}

TEST(Maze_mapnodes, moves_one_level_if_not_recursive)
{
    Maze* const root = make_tree();
    Maze* const grid = levels(root)[1];
    const f64 before = Maze_node(grid, 0)->pos[0];
    const f64 end = Maze_node(root, 2)->pos[0];
    Maze_mapnodes(root, addone, false);
    EXPECT_EQ(Maze_node(grid, 0)->pos[0], before);
    EXPECT_EQ(Maze_node(root, 2)->pos[0], end + 1);
    Maze_free(root, true);
}

TEST(Maze_invert, twice_gives_positions_and_radii_back)
{
    Maze* const root = make_tree();
    const auto before = geometry(root);
    const f64 centre[3] = {10.5, 10.5, 0};
    Maze_invert(root, 20.0, centre, true);
    const auto between = geometry(root);
    Maze_invert(root, 20.0, centre, true);
    const auto after = geometry(root);
    for (size_t i = 0; i < before.size(); i++) {
        EXPECT_GT(std::fabs(between[i][0] - before[i][0]), 1e-3);
        for (size_t k = 0; k < 4; k++) {
            EXPECT_NEAR(after[i][k], before[i][k], 1e-9);
        }
    }
    Maze_free(root, true);
}

TEST(Maze_invert, takes_a_node_to_the_inverse_distance_on_the_same_ray)
{
    Maze* const maze = grid_maze(1, 1, 1);
    const f64 centre[3] = {-3, -4, 0}; // at distance 5
    Maze_invert(maze, 10.0, centre, false);
    const MazeNode* const node = Maze_node(maze, 0);
    EXPECT_NEAR(node->pos[0], -3 + 12, 1e-12);
    EXPECT_NEAR(node->pos[1], -4 + 16, 1e-12);
    EXPECT_NEAR(node->pos[2], 0, 1e-12);
    EXPECT_NEAR(node->radius, 0.5 * 4, 1e-12);
    Maze_free(maze, true);
}

TEST(Maze_invert, stays_on_its_level_if_not_recursive)
{
    Maze* const root = make_tree();
    Maze* const grid = levels(root)[1];
    const f64 before = Maze_node(grid, 0)->radius;
    const f64 centre[3] = {10.5, 10.5, 0};
    Maze_invert(root, 20.0, centre, false);
    EXPECT_EQ(Maze_node(grid, 0)->radius, before);
    EXPECT_NE(Maze_node(root, 0)->radius, 0.5);
    Maze_free(root, true);
}

TEST(Maze_spread, makes_the_pitch_two_and_a_half_and_keeps_radii_at_all_levels)
{
    Maze* const root = make_tree();
    const auto before = geometry(root);
    Maze_spread(root);
    const auto after = geometry(root);
    for (size_t i = 0; i < before.size(); i++) {
        for (size_t k = 0; k < 3; k++) {
            EXPECT_EQ(after[i][k], 2.5 * before[i][k]);
        }
        EXPECT_EQ(after[i][3], 0.5);
    }
    const Maze* const sub = levels(root)[2];
    EXPECT_EQ(Maze_node(sub, 1)->pos[0] - Maze_node(sub, 0)->pos[0], 2.5);
    Maze_free(root, true);
}

TEST(Maze_spread, scales_the_bounds_of_all_levels)
{
    Maze* const root = make_tree();
    Maze_bounds(root, true);
    std::vector<std::array<f64, 4>> before;
    for (const Maze* const maze : levels(root)) {
        before.push_back({maze->centre[0], maze->centre[1], maze->centre[2], maze->boundradius});
    }
    Maze_spread(root);
    size_t i = 0;
    for (const Maze* const maze : levels(root)) {
        for (size_t k = 0; k < 3; k++) {
            EXPECT_EQ(maze->centre[k], 2.5 * before[i][k]);
        }
        EXPECT_EQ(maze->boundradius, 2.5 * before[i][3]);
        i++;
    }
    Maze_free(root, true);
}

TEST(warps, change_no_graph_and_draw_nothing)
{
    rnd_seed(7);
    Maze* const root = make_tree();
    const std::uint64_t before = Maze_digestgraph(DIGEST_START, root);
    const f64 centre[3] = {10.5, 10.5, 0};
    Maze_warpheight(root, true);
    Maze_mapnodes(root, warp_sine, true);
    Maze_invert(root, 20.0, centre, true);
    Maze_spread(root);
    EXPECT_SOUND(root);
    EXPECT_EQ(Maze_digestgraph(DIGEST_START, root), before);
    Maze_paintbyplace(root);
    Maze_setcolourdeep(root, 1, true);
    EXPECT_SOUND(root);
    EXPECT_EQ(rnd_count(), 0U);
    Maze_free(root, true);
}
