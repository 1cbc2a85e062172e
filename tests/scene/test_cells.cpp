#include "base/rnd.h"
#include "generate/carve.h"
#include "generate/grids.h"
#include "generate/tilings.h"
#include "scene/cells.h"
#include "tests/cells.h"
#include "tests/mazes.h"

#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <random>

// The cells of a maze that stays the caller's.
static VoronoiCells* built(Maze* maze)
{
    voronoi_build(maze, true);
    return static_cast<VoronoiCells*>(Maze_attachment(maze, "voronoi"));
}

static std::vector<VoronoiVertex> corners(const VoronoiCells* cells, i32 i)
{
    const GrowArray* const cell = cells->cell + i;
    return {items<VoronoiVertex>(cell), items<VoronoiVertex>(cell) + cell->count};
}

// `linked` of the side that faces a node, -2 if there is none.
static i32 linkedto(const VoronoiCells* cells, i32 i, i32 other)
{
    for (const VoronoiVertex& corner : corners(cells, i)) {
        if (corner.neighbour == other) {
            return corner.linked;
        }
    }
    return -2;
}

// Polygons

struct Polygon {
    GrowArray array;

    explicit Polygon(const std::vector<VoronoiVertex>& corners)
    {
        GrowArray_init(&array, sizeof(VoronoiVertex));
        GrowArray_append(&array, corners.data(), static_cast<u32>(corners.size()));
    }
    ~Polygon()
    {
        GrowArray_free(&array);
    }
    Polygon(const Polygon&) = delete;
    Polygon& operator=(const Polygon&) = delete;

    void clip(f64 midx, f64 midy, f64 dirx, f64 diry)
    {
        const f64 mid[2] = {midx, midy};
        const f64 dir[2] = {dirx, diry};
        polygon_clip(&array, mid, dir, 9, 1);
    }
    void expect(const std::vector<VoronoiVertex>& corners) const
    {
        ASSERT_EQ(array.count, corners.size());
        for (size_t k = 0; k < corners.size(); k++) {
            const VoronoiVertex& corner = items<VoronoiVertex>(&array)[k];
            EXPECT_DOUBLE_EQ(corner.x, corners[k].x) << k;
            EXPECT_DOUBLE_EQ(corner.y, corners[k].y) << k;
            EXPECT_EQ(corner.neighbour, corners[k].neighbour) << k;
            EXPECT_EQ(corner.linked, corners[k].linked) << k;
        }
    }
};

static const std::vector<VoronoiVertex> square = {
    {-1, -1, 10, 0}, {-1, 1, 11, 0}, {1, 1, 12, 0}, {1, -1, 13, 0}};

TEST(polygon_clip, keeps_what_lies_behind_the_line)
{
    Polygon polygon(square);
    polygon.clip(0.5, 0, 1, 0);
    polygon.expect({{-1, -1, 10, 0}, {-1, 1, 11, 0}, {0.5, 1, 9, 1}, {0.5, -1, 13, 0}});
}

TEST(polygon_clip, starts_anew_behind_the_entry)
{
    Polygon polygon(square);
    polygon.clip(-0.5, 0, -1, 0);
    polygon.expect({{1, 1, 12, 0}, {1, -1, 13, 0}, {-0.5, -1, 9, 1}, {-0.5, 1, 11, 0}});
}

TEST(polygon_clip, cuts_one_corner_off)
{
    Polygon polygon(square);
    polygon.clip(0.75, 0.75, 1, 1);
    polygon.expect(
        {{1, -1, 13, 0}, {-1, -1, 10, 0}, {-1, 1, 11, 0}, {0.5, 1, 9, 1}, {1, 0.5, 12, 0}});
}

TEST(polygon_clip, leaves_a_polygon_that_lies_behind)
{
    Polygon polygon(square);
    const u8* const buffer = polygon.array.buf;
    polygon.clip(2, 0, 1, 0);
    polygon.expect(square);
    EXPECT_EQ(polygon.array.buf, buffer);
}

TEST(polygon_clip, empties_a_polygon_that_lies_beyond)
{
    Polygon polygon(square);
    polygon.clip(-2, 0, 1, 0);
    EXPECT_EQ(polygon.array.count, 0U);
}

TEST(polygon_clip, leaves_an_empty_polygon)
{
    Polygon polygon({});
    polygon.clip(0, 0, 1, 0);
    EXPECT_EQ(polygon.array.count, 0U);
}

TEST(polygon_clip, does_nothing_for_two_nodes_in_one_place)
{
    Polygon polygon(square);
    polygon.clip(0, 0, 0, 0);
    polygon.expect(square);
}

TEST(polygon_clip, takes_corners_within_the_tolerance_as_inside)
{
    Polygon polygon(square);
    polygon.clip(1 - 0.9e-6, 0, 1, 0);
    polygon.expect(square);
}

TEST(polygon_clip, cuts_at_the_tolerance)
{
    Polygon polygon(square);
    polygon.clip(1 - 1.1e-6, 0, 1, 0);
    EXPECT_DOUBLE_EQ(items<VoronoiVertex>(&polygon.array)[2].x, 1 - 1.1e-6);
}

TEST(polygon_clip, never_leaves_the_polygon)
{
    // one corner within the tolerance, the next hardly beyond it
    Polygon polygon({{-1, 0, 10, 0}, {0.99e-6, 1, 11, 0}, {1.01e-6, -1, 12, 0}});
    polygon.clip(0, 0, 1, 0);
    ASSERT_GE(polygon.array.count, 3U);
    for (u32 k = 0; k < polygon.array.count; k++) {
        EXPECT_LE(std::fabs(items<VoronoiVertex>(&polygon.array)[k].x), 1);
        EXPECT_LE(std::fabs(items<VoronoiVertex>(&polygon.array)[k].y), 1);
    }
}

// Planes

TEST(plane_z, is_the_height_of_the_plane_at_a_point)
{
    const f64 a[3] = {0, 0, 1};
    const f64 b[3] = {0, 2, 2};
    const f64 c[3] = {2, 0, 3};
    const f64 p[2] = {1, 1};
    EXPECT_DOUBLE_EQ(plane_z(a, b, c, p), 2.5);
}

TEST(plane_z, meets_its_three_points)
{
    const f64 points[3][3] = {{0.3, -2, 1.5}, {4, 1, -7}, {2, 5, 0.25}};
    for (const auto& p : points) {
        EXPECT_NEAR(plane_z(points[0], points[1], points[2], p), p[2], 1e-12);
    }
}

TEST(plane_z, goes_on_beyond_the_triangle)
{
    const f64 a[3] = {0, 0, 0};
    const f64 b[3] = {0, 1, 0};
    const f64 c[3] = {1, 0, 1};
    const f64 p[2] = {-10, 3};
    EXPECT_DOUBLE_EQ(plane_z(a, b, c, p), -10);
}

TEST(plane_z, is_the_mean_of_the_outer_two_for_points_in_line)
{
    const f64 a[3] = {0, 0, 1};
    const f64 b[3] = {1, 1, 50};
    const f64 c[3] = {2, 2, 3};
    const f64 p[2] = {1, 0};
    EXPECT_EQ(plane_z(a, b, c, p), 2);
}

TEST(plane_z, is_a_number_for_three_points_in_one_place)
{
    const f64 a[3] = {1, 1, 1};
    const f64 b[3] = {1, 1, 2};
    const f64 c[3] = {1, 1, 5};
    EXPECT_EQ(plane_z(a, b, c, a), 3);
}

// Cells

TEST(voronoi_build, gives_one_node_a_point)
{
    const World maze(make_nodes(1));
    Maze_node(maze.get(), 0)->pos[1] = 7;
    const auto cell = corners(built(maze.get()), 0);
    ASSERT_EQ(cell.size(), 4U);
    for (const VoronoiVertex& corner : cell) {
        EXPECT_EQ(corner.x, 0);
        EXPECT_EQ(corner.y, 7);
        EXPECT_EQ(corner.neighbour, -1);
        EXPECT_EQ(corner.linked, -1);
    }
}

TEST(voronoi_build, takes_a_maze_without_nodes)
{
    const World maze(make_nodes(0));
    EXPECT_EQ(built(maze.get())->count, 0);
}

TEST(voronoi_build, gives_two_linked_nodes_a_rectangle_each)
{
    const World maze(make_line(2));
    const VoronoiCells* const cells = built(maze.get());
    const auto cell = corners(cells, 0);
    ASSERT_EQ(cell.size(), 4U);
    const VoronoiVertex expected[4] = {
        {-3, -3, -1, -1}, {-3, 3, -1, -1}, {0.5, 3, 1, 1}, {0.5, -3, -1, -1}};
    for (size_t k = 0; k < 4; k++) {
        EXPECT_DOUBLE_EQ(cell[k].x, expected[k].x);
        EXPECT_DOUBLE_EQ(cell[k].y, expected[k].y);
        EXPECT_EQ(cell[k].neighbour, expected[k].neighbour);
        EXPECT_EQ(cell[k].linked, expected[k].linked);
    }
    EXPECT_EQ(linkedto(cells, 1, 0), 1);
    EXPECT_DOUBLE_EQ(area_of(corners_of(cells->cell + 1, Maze_node(maze.get(), 1))), 3.5 * 6);
}

TEST(voronoi_build, lets_two_nodes_above_each_other_be)
{
    const World maze(make_graph(2, {{0, 1}}));
    Maze_node(maze.get(), 1)->pos[0] = 0;
    Maze_node(maze.get(), 1)->pos[2] = 2;
    const VoronoiCells* const cells = built(maze.get());
    EXPECT_DOUBLE_EQ(area_of(corners_of(cells->cell, Maze_node(maze.get(), 0))), 144);
    EXPECT_EQ(linkedto(cells, 0, 1), -2);
}

TEST(voronoi_build, tells_a_side_without_an_edge)
{
    const World maze(make_graph(3, {{0, 1}}));
    EXPECT_EQ(linkedto(built(maze.get()), 1, 2), 0);
}

TEST(voronoi_build, goes_clockwise)
{
    const World maze(grid_maze(5, 5, 1));
    const VoronoiCells* const cells = built(maze.get());
    for (i32 i = 0; i < cells->count; i++) {
        EXPECT_GT(area_of(corners_of(cells->cell + i, Maze_node(maze.get(), i))), 0);
    }
}

TEST(voronoi_build, looks_no_farther_than_five_longest_links)
{
    const World maze(make_graph(4, {{0, 1}, {2, 3}}));
    const f64 places[4][3] = {{0, 0, 0}, {0, 1, 0}, {5.001, 0, 0}, {5.001, 1, 0}};
    for (i32 i = 0; i < 4; i++) {
        std::copy(places[i], places[i] + 3, Maze_node(maze.get(), i)->pos);
    }
    EXPECT_EQ(linkedto(built(maze.get()), 0, 2), -2);
    Maze_node(maze.get(), 2)->pos[0] = 5;
    EXPECT_EQ(linkedto(built(maze.get()), 0, 2), 0);
}

TEST(voronoi_build, counts_edges_by_the_exits_inside_the_level)
{
    // a port whose way out is long: only its edge inside counts
    const World root(make_line(2));
    Maze* const sub = hang(root.get(), 0, make_line(2));
    const VoronoiCells* const cells = built(sub);
    EXPECT_DOUBLE_EQ(area_of(corners_of(cells->cell, Maze_node(sub, 0))), 3.5 * 6);
}

TEST(voronoi_build, takes_plain_edges_on_demand)
{
    const World maze(make_line(3));
    voronoi_build(maze.get(), false);
    const auto* const cells = static_cast<VoronoiCells*>(Maze_attachment(maze.get(), "voronoi"));
    EXPECT_EQ(linkedto(cells, 1, 0), 1);
    EXPECT_EQ(linkedto(cells, 1, 2), 1);
}

TEST(voronoi_build, replaces_the_old_cells)
{
    const World maze(make_line(2));
    built(maze.get());
    add_node(maze.get(), 5, 0);
    EXPECT_EQ(built(maze.get())->count, 3);
    EXPECT_EQ(maze->attachments.count, 1U);
}

TEST(voronoi_build, hangs_on_the_level_whatever_changes)
{
    const World maze(make_line(2));
    built(maze.get());
    Maze_freeflags(maze.get(), 7, false);
    EXPECT_NE(Maze_attachment(maze.get(), "voronoi"), nullptr);
}

TEST(voronoi_build, gives_nodes_that_stand_nowhere_no_corners)
{
    const World maze(make_line(4));
    Maze_node(maze.get(), 3)->pos[0] = std::nan("");
    const VoronoiCells* const cells = built(maze.get());
    EXPECT_EQ(cells->cell[3].count, 0U);
    EXPECT_EQ(cells->cell[2].count, 0U); // its longest link isn't a number
    EXPECT_EQ(corners(cells, 0).size(), 4U);
}

TEST(voronoi_build, is_as_exact_in_a_small_level_far_away)
{
    const World maze(grid_maze(3, 3, 1));
    for (i32 i = 0; i < 9; i++) {
        for (i32 k = 0; k < 2; k++) {
            f64* const x = Maze_node(maze.get(), i)->pos + k;
            *x = 100 + *x * 1e-5;
        }
    }
    const VoronoiCells* const cells = built(maze.get());
    EXPECT_NEAR(area_of(corners_of(cells->cell + 4, Maze_node(maze.get(), 4))), 1e-10, 1e-16);
    EXPECT_EQ(corners(cells, 4).size(), 4U);
}

TEST(voronoi_build, takes_cells_of_hundreds_of_corners)
{
    const World maze(make_nodes(301));
    for (i32 i = 1; i <= 300; i++) {
        const f64 angle = i * 2 * M_PI / 300;
        Maze_node(maze.get(), i)->pos[0] = std::cos(angle);
        Maze_node(maze.get(), i)->pos[1] = std::sin(angle);
    }
    Maze_join(maze.get(), 0, 1);
    EXPECT_EQ(corners(built(maze.get()), 0).size(), 300U);
}

TEST(voronoi_build, takes_the_nearest_of_nodes_above_each_other)
{
    const World maze(grid_maze(3, 3, 3));
    const VoronoiCells* const cells = built(maze.get());
    for (const VoronoiVertex& corner : corners(cells, 13)) {
        EXPECT_EQ(corner.linked, 1);
        EXPECT_EQ(Maze_node(maze.get(), corner.neighbour)->pos[2], 1);
    }
    EXPECT_EQ(corners(cells, 13).size(), 4U);
}

// A maze of random shape: points on a plane, in a slab or in a box, with links to some of the nearest.
static Maze* randommaze(std::mt19937& dice)
{
    const auto roll = [&](f64 most) { return std::uniform_real_distribution<f64>(0, most)(dice); };
    const i32 n = 1 + static_cast<i32>(roll(80));
    const f64 size = std::sqrt(n) * (0.01 + roll(3));
    const f64 tall = roll(3) < 1 ? 0 : roll(size);
    const f64 jitter = roll(2) < 1 ? 0.4 : 2; // 2: points anywhere
    const i32 row = static_cast<i32>(std::ceil(std::sqrt(n)));
    Maze* const maze = Maze_new();
    for (i32 i = 0; i < n; i++) {
        const f64 x = i % row + 0.5 + (roll(1) - 0.5) * 2 * jitter;
        const f64 y = i / row + 0.5 + (roll(1) - 0.5) * 2 * jitter;
        add_node(maze, x * size / row, y * size / row, roll(1) * tall);
    }
    for (i32 i = 0; i < 2 * n; i++) {
        const i32 a = static_cast<i32>(roll(n));
        const i32 b = (a + 1 + static_cast<i32>(roll(row))) % n;
        if (a != b && std::count(Maze_node(maze, a)->edges,
                                 Maze_node(maze, a)->edges + Maze_node(maze, a)->nedges, b) == 0) {
            Maze_join(maze, a, b);
        }
    }
    return maze;
}

TEST(voronoi_build, is_what_cuts_in_long_arithmetic_give_for_200_random_mazes)
{
    std::mt19937 dice(1);
    i32 compared = 0;
    for (i32 round = 0; round < 200; round++) {
        const World maze(randommaze(dice));
        const VoronoiCells* const cells = built(maze.get());
        for (i32 i = 0; i < cells->count; i++) {
            const f64 longest = plain_links(maze.get(), i).longest;
            if (longest == 0) {
                continue;
            }
            const LongCell expected = long_cell(maze.get(), i);
            const LongCell found = corners_of(cells->cell + i, Maze_node(maze.get(), i));
            ASSERT_NEAR(area_of(found), area_of(expected), 1e-4 * longest * longest)
                << "maze " << round << " node " << i;
            for (const i32 j : neighbours_of(expected, 1e-3 * longest)) {
                ASSERT_EQ(neighbours_of(found, 0).count(j), 1U)
                    << "maze " << round << " node " << i;
            }
            for (const i32 j : neighbours_of(found, 1e-3 * longest)) {
                ASSERT_EQ(neighbours_of(expected, 0).count(j), 1U)
                    << "maze " << round << " node " << i;
            }
            compared++;
        }
    }
    EXPECT_GT(compared, 5000);
}

// Compares with the plain version: areas, sides that have a length, and walls.
static void expectplain(Maze* maze)
{
    const VoronoiCells* const cells = built(maze);
    GrowArray* const plain = plain_cells(maze);
    for (i32 i = 0; i < cells->count; i++) {
        const f64 longest = plain_links(maze, i).longest;
        const MazeNode* const node = Maze_node(maze, i);
        const LongCell ours = corners_of(cells->cell + i, node);
        const LongCell theirs = corners_of(plain + i, node);
        EXPECT_NEAR(area_of(ours), area_of(theirs), 1e-5 * longest * longest) << i;
        EXPECT_EQ(neighbours_of(ours, 1e-5 * longest), neighbours_of(theirs, 1e-5 * longest)) << i;
        std::map<i32, i32> links;
        for (u32 k = 0; k < plain[i].count; k++) {
            const VoronoiVertex& corner = items<VoronoiVertex>(plain + i)[k];
            links[corner.neighbour] = corner.linked;
        }
        for (const VoronoiVertex& corner : corners(cells, i)) {
            EXPECT_EQ(corner.linked, links.at(corner.neighbour)) << i;
        }
    }
    plain_free(plain, cells->count);
}

TEST(voronoi_build, is_as_the_plain_version_for_a_carved_maze_of_jittered_points)
{
    rnd_seed(5);
    const World maze(grid_maze(30, 30, 1));
    for (i32 i = 899; i >= 0; i--) {
        for (i32 k = 0; k < 2; k++) {
            const f64 move = rnd(0.8);
            Maze_node(maze.get(), i)->pos[k] += move - 0.4;
        }
    }
    makemaze_spanning(maze.get());
    expectplain(maze.get());
}

TEST(voronoi_build, is_as_the_plain_version_on_a_square_lattice)
{
    rnd_seed(5);
    const World maze(grid_maze(12, 9, 1));
    makemaze_spanning(maze.get());
    expectplain(maze.get());
}

TEST(voronoi_build, is_as_the_plain_version_on_a_turned_lattice)
{
    rnd_seed(5);
    const World maze(grid_maze(12, 9, 1));
    makemaze_spanning(maze.get());
    const f64 turn[3] = {0, 0, 0.3};
    Maze_rotate(maze.get(), turn);
    Maze_scale(maze.get(), 2.5);
    expectplain(maze.get());
}

TEST(voronoi_build, is_as_the_plain_version_on_a_honeycomb)
{
    const World maze(trigrid_honeycomb(6));
    expectplain(maze.get());
}

TEST(voronoi_build, gives_inner_nodes_of_a_square_lattice_four_sides)
{
    const World maze(grid_maze(7, 7, 1));
    const VoronoiCells* const cells = built(maze.get());
    for (i32 y = 1; y < 6; y++) {
        for (i32 x = 1; x < 6; x++) {
            EXPECT_EQ(cells->cell[7 * y + x].count, 4U);
        }
    }
}

// Corners

TEST(voronoi_ring, goes_round_a_corner_of_three_cells)
{
    const World maze(make_graph(3, {{0, 1}, {1, 2}, {0, 2}}));
    Maze_node(maze.get(), 1)->pos[0] = 2;
    Maze_node(maze.get(), 2)->pos[0] = 1;
    Maze_node(maze.get(), 2)->pos[1] = 2;
    const VoronoiCells* const cells = built(maze.get());
    i32 closed = 0;
    for (i32 k = static_cast<i32>(cells->cell[0].count) - 1; k >= 0; k--) {
        i32 ring[VORONOI_MOSTRING];
        if (voronoi_ring(cells, 3, 0, k, ring) > 0) {
            EXPECT_EQ(voronoi_ring(cells, 3, 0, k, ring), 3);
            EXPECT_EQ(ring[0], 0);
            EXPECT_EQ(ring[1], 2);
            EXPECT_EQ(ring[2], 1);
            closed++;
        }
    }
    EXPECT_EQ(closed, 1);
}

TEST(voronoi_ring, goes_round_a_corner_of_four_cells)
{
    const World maze(grid_maze(2, 2, 1));
    const VoronoiCells* const cells = built(maze.get());
    i32 most = 0;
    for (i32 k = static_cast<i32>(cells->cell[0].count) - 1; k >= 0; k--) {
        i32 ring[VORONOI_MOSTRING];
        most = std::max(most, voronoi_ring(cells, 4, 0, k, ring));
        if (most == 4) {
            EXPECT_EQ(std::vector<i32>(ring, ring + 4), (std::vector<i32>{0, 2, 3, 1}));
            break;
        }
    }
    EXPECT_EQ(most, 4);
}

TEST(voronoi_ring, goes_round_a_corner_of_six_cells)
{
    const World maze(make_ring(6));
    for (i32 i = 0; i < 6; i++) {
        Maze_node(maze.get(), i)->pos[0] = std::cos(i * M_PI / 3);
        Maze_node(maze.get(), i)->pos[1] = std::sin(i * M_PI / 3);
    }
    const VoronoiCells* const cells = built(maze.get());
    i32 most = 0;
    for (i32 k = static_cast<i32>(cells->cell[0].count) - 1; k >= 0; k--) {
        i32 ring[VORONOI_MOSTRING];
        most = std::max(most, voronoi_ring(cells, 6, 0, k, ring));
    }
    EXPECT_EQ(most, 6);
}

TEST(voronoi_ring, is_open_where_a_node_has_gone)
{
    const World maze(grid_maze(2, 2, 1));
    const VoronoiCells* const cells = built(maze.get());
    for (i32 k = static_cast<i32>(cells->cell[0].count) - 1; k >= 0; k--) {
        i32 ring[VORONOI_MOSTRING];
        EXPECT_EQ(voronoi_ring(cells, 3, 0, k, ring), 0);
    }
}
