#include "base/rnd.h"
#include "generate/tilings.h"
#include "tests/meshes.h"
#include "tests/sound.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>

using Tiling = Maze* (*)(i32 n);

static const std::vector<Tiling> trigrids = {trigrid_triangle, trigrid_hexagon, trigrid_honeycomb};

// A cut of the rhombus as it is described: lists of neighbours that keep the numbers of the rhombus
// while nodes go, and beside them the order in which the nodes that are left stand.
struct PlainCut {
    i32 n;
    std::vector<i32> order; // numbers in the rhombus
    Slots slots;            // by number in the rhombus
};

static PlainCut plain_rhombus(i32 n)
{
    PlainCut cut = {n, {}, {}};
    const i32 w = 2 * n + 1;
    const i32 steps[6][2] = {{0, -1}, {0, 1}, {-1, 0}, {1, 0}, {-1, -1}, {1, 1}};
    for (i32 i = 0; i < w; i++) {
        for (i32 j = 0; j < w; j++) {
            cut.order.push_back(i * w + j);
            cut.slots.emplace_back();
            for (const auto& step : steps) {
                const i32 row = i + step[0];
                const i32 column = j + step[1];
                if (row >= 0 && row < w && column >= 0 && column < w) {
                    cut.slots.back().push_back(row * w + column);
                }
            }
        }
    }
    return cut;
}

static void plain_drop(std::vector<i32>* list, i32 value)
{
    *std::find(list->begin(), list->end(), value) = list->back();
    list->pop_back();
}

template <typename Rule> static PlainCut plain_cut(i32 n, Rule goes)
{
    PlainCut cut = plain_rhombus(n);
    const i32 w = 2 * n + 1;
    for (i32 number = w * w - 1; number >= 0; number--) {
        if (goes(number / w, number % w)) {
            for (const i32 t : cut.slots[number]) {
                plain_drop(&cut.slots[t], number);
            }
            plain_drop(&cut.order, number);
        }
    }
    return cut;
}

static PlainCut plain_triangle(i32 n)
{
    return plain_cut(n, [](i32 i, i32 j) { return j < i; });
}

static PlainCut plain_hexagon(i32 n)
{
    return plain_cut(n, [n](i32 i, i32 j) { return std::abs(j - i) > n; });
}

static PlainCut plain_honeycomb(i32 n)
{
    return plain_cut(n,
                     [n](i32 i, i32 j) { return std::abs(j - i) > n || (i + j - 2 * n) % 3 == 0; });
}

// The neighbours in the numbers of what is left.
static Slots renumbered(const PlainCut& cut)
{
    std::map<i32, i32> number;
    for (size_t k = 0; k < cut.order.size(); k++) {
        number[cut.order[k]] = static_cast<i32>(k);
    }
    Slots all;
    for (const i32 old : cut.order) {
        all.emplace_back();
        for (const i32 t : cut.slots[old]) {
            all.back().push_back(number.at(t));
        }
    }
    return all;
}

static std::array<f64, 3> lattice_place(const PlainCut& cut, size_t k)
{
    const i32 w = 2 * cut.n + 1;
    const i32 i = cut.order[k] / w;
    const i32 j = cut.order[k] % w;
    const f32 y = static_cast<f32>(i) * 0.8660254F;
    return {j - i * 0.5, static_cast<f64>(y), 0.0};
}

static void expect_cut(const Maze* maze, const PlainCut& cut)
{
    EXPECT_EQ(slots_of(maze), renumbered(cut)) << "n " << cut.n;
    ASSERT_EQ(Maze_count(maze), static_cast<i32>(cut.order.size()));
    for (size_t k = 0; k < cut.order.size(); k++) {
        EXPECT_EQ(place_of(maze, static_cast<i32>(k)), lattice_place(cut, k)) << "node " << k;
    }
}

// Pairs at distance 1, less rounding, that aren't joined, and joined pairs at another distance.
static i32 wrong_pairs(const Maze* maze, f64 tolerance)
{
    i32 wrong = 0;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        const std::vector<i32> joined = neighbours(maze, i);
        for (i32 j = 0; j < Maze_count(maze); j++) {
            const bool near = std::fabs(distance_of(maze, i, j) - 1.0) < tolerance;
            wrong += near == (std::count(joined.begin(), joined.end(), j) == 1) ? 0 : 1;
        }
    }
    return wrong;
}

TEST(trigrid_triangle, is_numbered_and_slotted_by_the_cut_of_the_rhombus)
{
    for (i32 n = 0; n <= 9; n++) {
        const World maze(trigrid_triangle(n));
        EXPECT_SOUND(maze.get());
        expect_cut(maze.get(), plain_triangle(n));
    }
}

TEST(trigrid_hexagon, is_numbered_and_slotted_by_the_cut_of_the_rhombus)
{
    for (i32 n = 0; n <= 9; n++) {
        const World maze(trigrid_hexagon(n));
        EXPECT_SOUND(maze.get());
        expect_cut(maze.get(), plain_hexagon(n));
    }
}

TEST(trigrid_honeycomb, is_numbered_and_slotted_by_the_cut_of_the_rhombus)
{
    for (i32 n = 0; n <= 9; n++) {
        const World maze(trigrid_honeycomb(n));
        EXPECT_SOUND(maze.get());
        expect_cut(maze.get(), plain_honeycomb(n));
    }
}

TEST(trigrid_honeycomb, of_the_largest_size_in_use_is_the_same_cut)
{
    const World maze(trigrid_honeycomb(50));
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(Maze_count(maze.get()), 5100);
    expect_cut(maze.get(), plain_honeycomb(50));
}

TEST(trigrid_triangle, of_size_nought_is_one_node_at_the_origin)
{
    const World maze(trigrid_triangle(0));
    EXPECT_EQ(slots_of(maze.get()), (Slots{{}}));
    EXPECT_EQ(place_of(maze.get(), 0), (std::array<f64, 3>{0, 0, 0}));
}

TEST(trigrid_hexagon, of_size_nought_is_one_node_at_the_origin)
{
    const World maze(trigrid_hexagon(0));
    EXPECT_EQ(slots_of(maze.get()), (Slots{{}}));
    EXPECT_EQ(place_of(maze.get(), 0), (std::array<f64, 3>{0, 0, 0}));
}

TEST(trigrid_honeycomb, of_size_nought_is_empty)
{
    const World maze(trigrid_honeycomb(0));
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(Maze_count(maze.get()), 0);
}

TEST(trigrid_hexagon, of_size_one_is_a_centre_with_six_neighbours)
{
    const World maze(trigrid_hexagon(1));
    EXPECT_EQ(edge_counts(maze.get()), (std::map<u32, i32>{{3, 6}, {6, 1}}));
}

TEST(trigrid_honeycomb, of_size_one_is_a_ring_of_six)
{
    const World maze(trigrid_honeycomb(1));
    EXPECT_EQ(edge_counts(maze.get()), (std::map<u32, i32>{{2, 6}}));
    EXPECT_TRUE(is_connected(maze.get()));
}

TEST(trigrid_triangle, has_a_triangular_number_of_nodes)
{
    const i32 expected[] = {1, 6, 15, 28};
    for (i32 n = 0; n < 4; n++) {
        const World maze(trigrid_triangle(n));
        EXPECT_EQ(Maze_count(maze.get()), expected[n]);
    }
    const World large(trigrid_triangle(25));
    EXPECT_SOUND(large.get());
    EXPECT_EQ(Maze_count(large.get()), 1326);
}

TEST(trigrid_triangle, has_its_corners_at_the_ends_of_the_base_and_above_its_middle)
{
    const World maze(trigrid_triangle(5));
    std::set<std::array<f64, 3>> corners;
    for (i32 i = 0; i < Maze_count(maze.get()); i++) {
        if (Maze_node(maze.get(), i)->nedges == 2) {
            corners.insert(place_of(maze.get(), i));
        }
    }
    const f64 top = static_cast<f64>(10.0F * 0.8660254F);
    EXPECT_EQ(corners, (std::set<std::array<f64, 3>>{{0, 0, 0}, {10, 0, 0}, {5, top, 0}}));
}

TEST(trigrid_hexagon, has_the_number_of_nodes_of_its_formula)
{
    for (i32 n = 1; n <= 12; n++) {
        const World maze(trigrid_hexagon(n));
        EXPECT_EQ(Maze_count(maze.get()), 3 * n * n + 3 * n + 1);
        EXPECT_EQ(edge_counts(maze.get())[6], 3 * n * n - 3 * n + 1); // all but the rim
    }
}

TEST(trigrid_honeycomb, has_two_or_three_edges_at_every_node)
{
    for (i32 n = 2; n <= 20; n++) {
        const World maze(trigrid_honeycomb(n));
        EXPECT_LE(edge_counts(maze.get()).rbegin()->first, 3U) << n;
        EXPECT_GE(edge_counts(maze.get()).begin()->first, 1U) << n;
    }
}

TEST(trigrids, are_connected_for_every_size_from_one_up)
{
    for (const Tiling tiling : trigrids) {
        for (i32 n = 1; n <= 25; n++) {
            const World maze(tiling(n));
            EXPECT_TRUE(is_connected(maze.get())) << n;
        }
    }
}

TEST(trigrids, join_just_the_nodes_at_distance_one)
{
    for (const Tiling tiling : trigrids) {
        const World maze(tiling(8));
        EXPECT_EQ(wrong_pairs(maze.get(), 1e-6), 0);
    }
}

TEST(trigrids, take_a_negative_size_as_nought)
{
    for (const Tiling tiling : trigrids) {
        for (const i32 n : {-1, -2, -1000000, INT32_MIN}) {
            const World negative(tiling(n));
            const World nought(tiling(0));
            EXPECT_EQ(slots_of(negative.get()), slots_of(nought.get()));
        }
    }
}

TEST(trigrids, keep_the_origin_at_number_nought_where_no_rule_of_threes_takes_it)
{
    for (i32 n = 1; n <= 10; n++) {
        for (const Tiling tiling : trigrids) {
            const World maze(tiling(n));
            const bool origin = place_of(maze.get(), 0) == std::array<f64, 3>{0, 0, 0};
            EXPECT_EQ(origin, tiling != trigrid_honeycomb || n % 3 != 0) << n;
        }
    }
}

TEST(trigrids, compute_heights_in_single_precision)
{
    const World maze(trigrid_triangle(5));
    f64 top = 0.0;
    for (i32 i = 0; i < Maze_count(maze.get()); i++) {
        top = std::max(top, place_of(maze.get(), i)[1]);
    }
    EXPECT_EQ(top, static_cast<f64>(10.0F * 0.8660254F));
    EXPECT_NE(top, 10 * 0.8660254);
}

// Slots and places of the octagons, from the lists of sides and diagonals.
static void plain_octagons(i32 n, Slots* slots, std::vector<std::array<f64, 3>>* places)
{
    const f64 p = 2.414213562373095;
    const f64 q = 0.7071067811865476;
    std::vector<std::pair<i32, i32>> joins;
    std::map<std::pair<i32, i32>, i32> h; // by column and row
    std::map<std::pair<i32, i32>, i32> v;
    for (i32 c = 0; c < n; c++) {
        for (i32 r = 0; r <= n; r++) {
            const i32 first = static_cast<i32>(places->size());
            h[{c, r}] = first;
            places->push_back({c * p + q, r * p, 0});
            places->push_back({c * p + q + 1, r * p, 0});
            joins.emplace_back(first, first + 1);
        }
    }
    for (i32 c = 0; c <= n; c++) {
        for (i32 r = 0; r < n; r++) {
            const i32 first = static_cast<i32>(places->size());
            v[{c, r}] = first;
            places->push_back({c * p, r * p + q, 0});
            places->push_back({c * p, r * p + q + 1, 0});
            joins.emplace_back(first, first + 1);
        }
    }
    for (i32 c = 0; c < n; c++) {
        for (i32 r = 0; r < n; r++) {
            joins.emplace_back(h[{c, r}], v[{c, r}]);
            joins.emplace_back(h[{c, r}] + 1, v[{c + 1, r}]);
            joins.emplace_back(h[{c, r + 1}], v[{c, r}] + 1);
            joins.emplace_back(h[{c, r + 1}] + 1, v[{c + 1, r}] + 1);
        }
    }
    slots->resize(places->size());
    for (const auto& [a, b] : joins) {
        (*slots)[a].push_back(b);
        (*slots)[b].push_back(a);
    }
}

TEST(octagon_tiling, is_numbered_by_columns_of_sides_along_x_then_along_y)
{
    for (i32 n = 1; n <= 7; n++) {
        const World maze(octagon_tiling(n));
        EXPECT_SOUND(maze.get());
        Slots slots;
        std::vector<std::array<f64, 3>> places;
        plain_octagons(n, &slots, &places);
        EXPECT_EQ(slots_of(maze.get()), slots) << n;
        for (size_t k = 0; k < places.size(); k++) {
            EXPECT_EQ(place_of(maze.get(), static_cast<i32>(k)), places[k]) << n;
        }
    }
}

TEST(octagon_tiling, gives_sides_the_numbers_of_their_formulas)
{
    const World maze(octagon_tiling(3));
    const f64 p = 2.414213562373095;
    const f64 q = 0.7071067811865476;
    const i32 h = 2 * (2 * 4 + 1);             // column 2, row 1
    const i32 v = 2 * 3 * 4 + 2 * (2 * 3 + 1); // the same
    EXPECT_EQ(place_of(maze.get(), h), (std::array<f64, 3>{2 * p + q, p, 0}));
    EXPECT_EQ(place_of(maze.get(), h + 1), (std::array<f64, 3>{2 * p + q + 1, p, 0}));
    EXPECT_EQ(place_of(maze.get(), v), (std::array<f64, 3>{2 * p, p + q, 0}));
    EXPECT_EQ(place_of(maze.get(), v + 1), (std::array<f64, 3>{2 * p, p + q + 1, 0}));
}

TEST(octagon_tiling, of_size_one_is_a_ring_of_eight)
{
    const World maze(octagon_tiling(1));
    EXPECT_EQ(edge_counts(maze.get()), (std::map<u32, i32>{{2, 8}}));
    EXPECT_TRUE(is_connected(maze.get()));
}

TEST(octagon_tiling, takes_sizes_below_one_as_one)
{
    const World one(octagon_tiling(1));
    for (const i32 n : {0, -1, -50, INT32_MIN}) {
        const World maze(octagon_tiling(n));
        EXPECT_EQ(slots_of(maze.get()), slots_of(one.get())) << n;
    }
}

TEST(octagon_tiling, of_size_two_is_four_octagons_around_a_square)
{
    const World maze(octagon_tiling(2));
    EXPECT_EQ(Maze_count(maze.get()), 24);
    EXPECT_TRUE(is_connected(maze.get()));
    EXPECT_EQ(Maze_edgecount(maze.get()) - Maze_count(maze.get()) + 1, 4 + 1); // Euler: inner faces
}

TEST(octagon_tiling, has_the_number_of_nodes_of_its_formula_each_with_two_or_three_edges)
{
    for (i32 n = 2; n <= 12; n++) {
        const World maze(octagon_tiling(n));
        std::map<u32, i32> counts = edge_counts(maze.get());
        EXPECT_EQ(counts.size(), 2U) << n;
        EXPECT_EQ(counts[2] + counts[3], 4 * n * (n + 1)) << n;
        EXPECT_TRUE(is_connected(maze.get())) << n;
    }
}

TEST(octagon_tiling, joins_just_the_nodes_at_distance_one)
{
    const World maze(octagon_tiling(5));
    EXPECT_EQ(wrong_pairs(maze.get(), 1e-12), 0);
}

TEST(tilings, consist_of_fresh_nodes_of_radius_one_half)
{
    for (const Tiling tiling :
         {trigrid_triangle, trigrid_hexagon, trigrid_honeycomb, octagon_tiling}) {
        const World maze(tiling(4));
        EXPECT_EQ(stale_nodes(maze.get()), "");
    }
}

TEST(tilings, draw_nothing)
{
    rnd_seed(3);
    for (const Tiling tiling :
         {trigrid_triangle, trigrid_hexagon, trigrid_honeycomb, octagon_tiling}) {
        const World maze(tiling(4));
    }
    EXPECT_EQ(rnd_count(), 0U);
}
