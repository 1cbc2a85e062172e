#include "scene/spatialgrid.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

struct Buckets {
    SpatialGrid grid;

    Buckets(f64 x, f64 y, f64 z, i32 n)
    {
        const f64 lo[3] = {0, 0, 0};
        const f64 hi[3] = {x, y, z};
        SpatialGrid_new(&grid, lo, hi, n);
    }
    ~Buckets()
    {
        SpatialGrid_free(&grid);
    }
    Buckets(const Buckets&) = delete;
    Buckets& operator=(const Buckets&) = delete;

    void add(f64 x, f64 y, f64 z, i32 index)
    {
        const f64 p[3] = {x, y, z};
        SpatialGrid_add(&grid, p, p, index);
    }
    std::vector<i32> query(f64 x, f64 y, f64 z, f64 r) const
    {
        GrowArray found;
        GrowArray_init(&found, sizeof(i32));
        const f64 p[3] = {x, y, z};
        SpatialGrid_query(&found, &grid, p, r);
        std::vector<i32> out(items<i32>(&found), items<i32>(&found) + found.count);
        GrowArray_free(&found);
        std::sort(out.begin(), out.end());
        return out;
    }
    std::vector<i32> size() const
    {
        return {grid.nx, grid.ny, grid.nz};
    }
    std::vector<i32> cell(f64 x, f64 y, f64 z) const
    {
        const f64 p[3] = {x, y, z};
        i32 ix = -1;
        i32 iy = -1;
        i32 iz = -1;
        SpatialGrid_cell(&grid, p, &ix, &iy, &iz);
        return {ix, iy, iz};
    }
};

using Numbers = std::vector<i32>;

TEST(SpatialGrid_new, makes_one_bucket_for_one_item)
{
    EXPECT_EQ(Buckets(7, 5, 3, 1).size(), (Numbers{1, 1, 1}));
}

TEST(SpatialGrid_new, makes_one_bucket_for_a_box_without_extent)
{
    EXPECT_EQ(Buckets(0, 0, 0, 100).size(), (Numbers{1, 1, 1}));
}

TEST(SpatialGrid_new, makes_one_bucket_for_a_box_that_is_no_number)
{
    EXPECT_EQ(Buckets(std::numeric_limits<f64>::infinity(), 1, 1, 100).size(), (Numbers{1, 1, 1}));
    EXPECT_EQ(Buckets(std::nan(""), 1, 1, 100).size(), (Numbers{1, 1, 1}));
}

TEST(SpatialGrid_new, takes_the_coarsest_grid_of_at_least_n_buckets)
{
    EXPECT_EQ(Buckets(10, 5, 0, 8).size(), (Numbers{4, 2, 1}));
    EXPECT_EQ(Buckets(10, 5, 0, 9).size(), (Numbers{5, 2, 1}));
    EXPECT_EQ(Buckets(1, 1, 1, 27).size(), (Numbers{3, 3, 3}));
    EXPECT_EQ(Buckets(1, 1, 1, 28).size(), (Numbers{4, 4, 4}));
}

TEST(SpatialGrid_new, cuts_a_line_into_n)
{
    EXPECT_EQ(Buckets(0, 0, 3, 50).size(), (Numbers{1, 1, 50}));
}

TEST(SpatialGrid_cell, tells_the_bucket_on_each_axis)
{
    EXPECT_EQ(Buckets(4, 2, 0, 8).cell(2.5, 1.5, 0), (Numbers{2, 1, 0}));
}

TEST(SpatialGrid_cell, holds_a_point_beyond_the_box_to_its_border)
{
    EXPECT_EQ(Buckets(4, 2, 0, 8).cell(-1e300, 1e300, 5), (Numbers{0, 1, 0}));
}

TEST(SpatialGrid_cell, puts_the_upper_border_into_the_last_bucket)
{
    EXPECT_EQ(Buckets(4, 2, 0, 8).cell(4, 2, 0), (Numbers{3, 1, 0}));
}

TEST(SpatialGrid_cell, puts_what_is_no_number_into_the_first)
{
    EXPECT_EQ(Buckets(4, 2, 0, 8).cell(std::nan(""), 1.5, 0), (Numbers{0, 1, 0}));
}

TEST(SpatialGrid_add, puts_a_box_into_every_bucket_that_it_meets)
{
    Buckets grid(4, 4, 0, 16);
    const f64 lo[3] = {0.5, 1.5, 0};
    const f64 hi[3] = {2.5, 2.5, 0};
    SpatialGrid_add(&grid.grid, lo, hi, 7);
    for (i32 y = 0; y < 4; y++) {
        for (i32 x = 0; x < 4; x++) {
            const bool in = x <= 2 && (y == 1 || y == 2);
            EXPECT_EQ(SpatialGrid_bucket(&grid.grid, x, y, 0)->count, in ? 1U : 0U);
        }
    }
}

TEST(SpatialGrid_query, tells_an_item_once_that_stands_in_several_buckets)
{
    Buckets grid(4, 4, 0, 16);
    const f64 lo[3] = {0.5, 1.5, 0};
    const f64 hi[3] = {2.5, 2.5, 0};
    SpatialGrid_add(&grid.grid, lo, hi, 7);
    EXPECT_EQ(grid.query(2, 2, 0, 3), (Numbers{7}));
}

TEST(SpatialGrid_query, measures_to_the_box)
{
    Buckets grid(4, 4, 0, 16);
    const f64 lo[3] = {1, 1, 0};
    const f64 hi[3] = {2, 2, 0};
    SpatialGrid_add(&grid.grid, lo, hi, 7);
    EXPECT_EQ(grid.query(3, 1.5, 0, 1), (Numbers{7}));
    EXPECT_EQ(grid.query(3, 1.5, 0, 0.999), Numbers{});
    EXPECT_EQ(grid.query(1.5, 1.5, 0, 0), (Numbers{7}));
}

TEST(SpatialGrid_query, takes_an_item_at_exactly_that_distance)
{
    Buckets grid(4, 4, 0, 16);
    grid.add(3, 4, 0, 1);
    EXPECT_EQ(grid.query(0, 0, 0, 5), (Numbers{1}));
}

TEST(SpatialGrid_query, walks_the_buckets_with_x_fastest)
{
    Buckets grid(2, 2, 2, 8);
    i32 index = 7; // in the opposite order
    for (i32 z = 1; z >= 0; z--) {
        for (i32 y = 1; y >= 0; y--) {
            for (i32 x = 1; x >= 0; x--) {
                grid.add(x + 0.5, y + 0.5, z + 0.5, index--);
            }
        }
    }
    for (i32 i = 0; i < 8; i++) {
        const GrowArray* const bucket = grid.grid.cells + i;
        ASSERT_EQ(bucket->count, 1U);
        EXPECT_EQ(items<GridEntry>(bucket)->index, i);
    }
}

TEST(SpatialGrid_query, leaves_out_what_stands_nowhere)
{
    Buckets grid(4, 4, 0, 16);
    grid.add(std::nan(""), 1, 0, 1);
    grid.add(1, 1, 0, 2);
    EXPECT_EQ(grid.query(1, 1, 0, 10), (Numbers{2}));
}

TEST(SpatialGrid_query, finds_what_a_look_at_all_finds)
{
    std::mt19937 dice(5);
    std::uniform_real_distribution<f64> place(0, 10);
    Buckets grid(10, 10, 10, 300);
    std::vector<std::vector<f64>> points;
    for (i32 i = 0; i < 300; i++) {
        points.push_back({place(dice), place(dice), place(dice) * 0.3});
        grid.add(points[i][0], points[i][1], points[i][2], i);
    }
    for (i32 round = 0; round < 100; round++) {
        const f64 x = place(dice);
        const f64 y = place(dice);
        const f64 z = place(dice);
        const f64 r = place(dice) * 0.4;
        Numbers expected;
        for (i32 i = 0; i < 300; i++) {
            if (std::hypot(points[i][0] - x, points[i][1] - y, points[i][2] - z) <= r) {
                expected.push_back(i);
            }
        }
        EXPECT_EQ(grid.query(x, y, z, r), expected);
    }
}
