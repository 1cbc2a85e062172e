#include "base/rnd.h"
#include "generate/rings.h"
#include "tests/meshes.h"
#include "tests/sound.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <numbers>

static constexpr f64 pi = std::numbers::pi;
static constexpr f64 twopi = 2 * std::numbers::pi;

// Slots and places of a graph, made without a maze.
struct Plain {
    Slots slots;
    std::vector<std::array<f64, 3>> places;
};

// The lowest power of two that isn't below trunc(4 pi / 3 radius), and 0 for none.
static i32 plain_size(f64 radius)
{
    const i32 wanted = static_cast<i32>(radius * 4.1887902047863905);
    i32 size = wanted > 0 ? 1 : 0;
    while (size < wanted) {
        size *= 2;
    }
    return size;
}

struct PlainRing {
    f64 radius;
    f64 z;
};

// Appends ring k of a list, linked with those before and after it wherever the division is exact.
static void plain_ring(Plain* plain, const std::vector<PlainRing>& rings, size_t k)
{
    const i32 base = static_cast<i32>(plain->places.size());
    const i32 n = plain_size(rings[k].radius);
    for (i32 j = 0; j < n; j++) {
        const f64 d = twopi / n;
        plain->places.push_back(
            {std::cos(j * d) * rings[k].radius, std::sin(j * d) * rings[k].radius, rings[k].z});
        std::vector<i32> slots = {base + (n - 1 + j) % n, base + (j + 1) % n};
        if (k > 0) {
            const i32 before = plain_size(rings[k - 1].radius);
            if (j * before % n == 0) {
                slots.push_back(base - before + j * before / n);
            }
        }
        if (k + 1 < rings.size()) {
            const i32 after = plain_size(rings[k + 1].radius);
            if (j * after % n == 0) {
                slots.push_back(base + n + j * after / n);
            }
        }
        plain->slots.push_back(slots);
    }
}

static Plain plain_rings(const std::vector<PlainRing>& rings)
{
    Plain plain;
    for (size_t k = 0; k < rings.size(); k++) {
        plain_ring(&plain, rings, k);
    }
    return plain;
}

static Plain plain_disc(i32 outer, i32 inner)
{
    std::vector<PlainRing> rings;
    for (i32 k = inner; k <= outer; k++) {
        rings.push_back({static_cast<f64>(k), 0.0});
    }
    return plain_rings(rings);
}

static Plain plain_sphere(f64 radius)
{
    const i32 n = std::max(static_cast<i32>(radius * pi), 2);
    std::vector<PlainRing> rings;
    for (i32 i = 1; i < n; i++) {
        const f64 t = i * (pi / n);
        rings.push_back({radius * std::sin(t), radius * std::cos(t)});
    }
    return plain_rings(rings);
}

static void plain_join(Plain* plain, i32 a, i32 b)
{
    if (plain->slots[a].size() < 8 && plain->slots[b].size() < 8) {
        plain->slots[a].push_back(b);
        plain->slots[b].push_back(a);
    }
}

static void plain_swap(Plain* plain, i32 a, i32 b)
{
    for (std::vector<i32>& slots : plain->slots) {
        for (i32& t : slots) {
            t = t == a ? b : t == b ? a : t;
        }
    }
    std::swap(plain->slots[a], plain->slots[b]);
    std::swap(plain->places[a], plain->places[b]);
}

static Plain plain_torus(f64 major, f64 minor)
{
    const i32 n1 = std::max(static_cast<i32>(major * twopi), 1);
    const i32 n2 = std::max(static_cast<i32>(minor * twopi), 1);
    Plain plain;
    plain.slots.resize(static_cast<size_t>(n1) * static_cast<size_t>(n2));
    for (i32 k = 0; k < n1 * n2; k++) {
        const i32 i = k / n2;
        const f64 phi = i * twopi / n1;
        const f64 theta = k % n2 * twopi / n2;
        plain.places.push_back({(major + minor * std::cos(theta)) * std::cos(phi),
                                (major + minor * std::cos(theta)) * std::sin(phi),
                                minor * std::sin(theta)});
    }
    for (i32 k = 0; k < n1 * n2; k++) {
        const i32 i = k / n2;
        const i32 j = k % n2;
        plain_join(&plain, k, (i + 1) % n1 * n2 + j);
        plain_join(&plain, k, i * n2 + (j + 1) % n2);
    }
    plain_swap(&plain, n1 * n2 - 1, n1 / 2 * n2 + n2 / 2);
    return plain;
}

static Plain plain_moebius(f64 radius, f64 halfwidth)
{
    const i32 n1 = std::max(static_cast<i32>(radius * twopi), 1);
    const i32 n2 = static_cast<i32>(2 * halfwidth + 1);
    Plain plain;
    plain.slots.resize(static_cast<size_t>(n1) * static_cast<size_t>(n2));
    for (i32 k = 0; k < n1 * n2; k++) {
        const i32 i = k / n2;
        const f64 phi = i * twopi / n1;
        const f64 t = k % n2 - (n2 - 1) * 0.5;
        plain.places.push_back({(radius + t * std::cos(phi / 2)) * std::cos(phi),
                                (radius + t * std::cos(phi / 2)) * std::sin(phi),
                                t * std::sin(phi / 2)});
    }
    for (i32 k = 0; k < n1 * n2; k++) {
        if (k / n2 < n1 - 1) {
            plain_join(&plain, k, k + n2);
        } else {
            plain_join(&plain, k, n2 - 1 - k % n2);
        }
        if (k % n2 < n2 - 1) {
            plain_join(&plain, k, k + 1);
        }
    }
    plain_swap(&plain, n1 * n2 - 1, n1 / 2 * n2 + n2 / 2);
    return plain;
}

static void expect_plain(const Maze* maze, const Plain& plain, const std::string& which)
{
    EXPECT_EQ(slots_of(maze), plain.slots) << which;
    ASSERT_EQ(static_cast<size_t>(Maze_count(maze)), plain.places.size()) << which;
    for (i32 k = 0; k < Maze_count(maze); k++) {
        EXPECT_EQ(place_of(maze, k), plain.places[k]) << which << " node " << k;
    }
}

static f64 axis_distance(const Maze* maze, i32 n)
{
    return std::hypot(place_of(maze, n)[0], place_of(maze, n)[1]);
}

TEST(ring_disc, is_numbered_and_slotted_from_the_inside_out)
{
    for (i32 inner = 1; inner <= 6; inner++) {
        for (i32 outer = inner; outer <= 17; outer++) {
            const World maze(ring_disc(outer, inner));
            EXPECT_SOUND(maze.get());
            expect_plain(maze.get(), plain_disc(outer, inner),
                         std::to_string(inner) + " to " + std::to_string(outer));
        }
    }
}

TEST(ring_disc, of_one_ring_of_radius_one_has_four_nodes)
{
    const World maze(ring_disc(1, 1));
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(edge_counts(maze.get()), (std::map<u32, i32>{{2, 4}}));
    for (i32 i = 0; i < 4; i++) {
        EXPECT_DOUBLE_EQ(axis_distance(maze.get(), i), 1.0);
    }
}

TEST(ring_disc, links_every_second_node_of_a_ring_twice_as_large_inward)
{
    const World maze(ring_disc(2, 1));
    ASSERT_EQ(Maze_count(maze.get()), 12);
    EXPECT_EQ(neighbours(maze.get(), 0), (std::vector<i32>{3, 1, 4}));
    EXPECT_EQ(neighbours(maze.get(), 3), (std::vector<i32>{2, 0, 10}));
    EXPECT_EQ(neighbours(maze.get(), 4), (std::vector<i32>{11, 5, 0}));
    EXPECT_EQ(neighbours(maze.get(), 5), (std::vector<i32>{4, 6}));
    for (i32 i = 0; i < 12; i++) {
        EXPECT_EQ(Maze_node(maze.get(), i)->nedges, i < 4 || i % 2 == 0 ? 3U : 2U) << i;
    }
}

TEST(ring_disc, has_rings_of_powers_of_two)
{
    const i32 expected[] = {4, 8, 16, 16, 32};
    for (i32 k = 1; k <= 5; k++) {
        const World maze(ring_disc(k, k));
        EXPECT_EQ(Maze_count(maze.get()), expected[k - 1]);
    }
}

TEST(ring_disc, of_fifty_rings_has_7692_nodes)
{
    const World maze(ring_disc(50, 1));
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(Maze_count(maze.get()), 7692);
    EXPECT_TRUE(is_connected(maze.get()));
    expect_plain(maze.get(), plain_disc(50, 1), "1 to 50");
}

TEST(ring_disc, with_outer_below_inner_is_one_ring_of_the_inner_radius)
{
    for (const i32 outer : {2, 0, -7}) {
        const World maze(ring_disc(outer, 3));
        expect_plain(maze.get(), plain_disc(3, 3), std::to_string(outer));
    }
}

TEST(ring_disc, skips_rings_without_a_radius)
{
    const World one(ring_disc(3, 1));
    for (const i32 inner : {0, -1, -20}) {
        const World maze(ring_disc(3, inner));
        EXPECT_SOUND(maze.get());
        EXPECT_EQ(slots_of(maze.get()), slots_of(one.get())) << inner;
    }
    const World none(ring_disc(0, 0));
    EXPECT_EQ(Maze_count(none.get()), 0);
}

TEST(ring_disc, stands_its_first_node_at_angle_nought_and_its_last_just_below)
{
    const World maze(ring_disc(9, 2));
    EXPECT_EQ(place_of(maze.get(), 0), (std::array<f64, 3>{2, 0, 0}));
    const i32 last = Maze_count(maze.get()) - 1;
    EXPECT_NEAR(axis_distance(maze.get(), last), 9.0, 1e-12);
    EXPECT_NEAR(std::atan2(place_of(maze.get(), last)[1], place_of(maze.get(), last)[0]),
                -twopi / plain_size(9), 1e-12);
}

TEST(ring_disc, keeps_the_spacing_along_its_rings)
{
    for (i32 k = 1; k <= 300; k++) {
        const World maze(ring_disc(k, k));
        const f64 spacing = twopi * k / Maze_count(maze.get());
        EXPECT_GE(spacing, 0.75) << k;
        EXPECT_LE(spacing, 1.6) << k;
    }
}

TEST(ring_disc, has_a_link_outward_at_each_node_but_those_of_the_outer_ring)
{
    const World maze(ring_disc(20, 1));
    for (i32 i = 0; i < Maze_count(maze.get()); i++) {
        const f64 radius = axis_distance(maze.get(), i);
        i32 outward = 0;
        for (const i32 t : neighbours(maze.get(), i)) {
            outward += axis_distance(maze.get(), t) > radius + 0.5 ? 1 : 0;
        }
        EXPECT_EQ(outward, radius < 19.5 ? 1 : 0) << i;
    }
}

TEST(sphere_maze, is_numbered_and_slotted_from_north_to_south)
{
    for (i32 quarter = 4; quarter <= 40; quarter++) {
        const World maze(sphere_maze(quarter * 0.25));
        EXPECT_SOUND(maze.get());
        expect_plain(maze.get(), plain_sphere(quarter * 0.25), std::to_string(quarter));
    }
}

TEST(sphere_maze, of_radius_one_is_two_rings_of_four)
{
    const World maze(sphere_maze(1.0));
    ASSERT_EQ(Maze_count(maze.get()), 8);
    for (i32 i = 0; i < 8; i++) {
        EXPECT_NEAR(place_of(maze.get(), i)[2], i < 4 ? 0.5 : -0.5, 1e-12);
    }
}

TEST(sphere_maze, of_radius_a_tenth_is_empty)
{
    const World maze(sphere_maze(0.1));
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(Maze_count(maze.get()), 0);
}

TEST(sphere_maze, without_a_radius_is_empty)
{
    for (const f64 radius : {0.0, -0.5, -30.0}) {
        const World maze(sphere_maze(radius));
        EXPECT_EQ(Maze_count(maze.get()), 0) << radius;
    }
}

TEST(sphere_maze, of_a_radius_below_one_is_one_ring_at_the_equator)
{
    const World one(sphere_maze(0.3));
    EXPECT_EQ(slots_of(one.get()), (Slots{{0, 0}}));
    const World two(sphere_maze(0.5));
    EXPECT_EQ(slots_of(two.get()), (Slots{{1, 1}, {0, 0}}));
    const World four(sphere_maze(0.9));
    EXPECT_EQ(slots_of(four.get()), (Slots{{3, 1}, {0, 2}, {1, 3}, {2, 0}}));
    EXPECT_NEAR(place_of(four.get(), 0)[2], 0.0, 1e-12);
}

TEST(sphere_maze, of_radius_twenty_has_61_rings_and_5016_nodes)
{
    const World maze(sphere_maze(20.0));
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(Maze_count(maze.get()), 5016);
    std::set<f64> heights;
    for (i32 i = 0; i < Maze_count(maze.get()); i++) {
        heights.insert(place_of(maze.get(), i)[2]);
    }
    EXPECT_EQ(heights.size(), 61U);
    EXPECT_TRUE(is_connected(maze.get()));
    expect_plain(maze.get(), plain_sphere(20.0), "20");
}

TEST(sphere_maze, leaves_holes_at_the_poles)
{
    for (i32 radius = 1; radius <= 30; radius++) {
        const World maze(sphere_maze(radius));
        for (i32 i = 0; i < Maze_count(maze.get()); i++) {
            EXPECT_GT(axis_distance(maze.get(), i), 0.5) << radius;
        }
    }
}

TEST(sphere_maze, holds_each_node_at_its_radius)
{
    const World maze(sphere_maze(7.5));
    for (i32 i = 0; i < Maze_count(maze.get()); i++) {
        EXPECT_NEAR(std::hypot(axis_distance(maze.get(), i), place_of(maze.get(), i)[2]), 7.5,
                    1e-12);
    }
}

TEST(sphere_maze, stands_its_first_node_near_the_north_pole_and_its_last_near_the_south_pole)
{
    for (i32 radius = 2; radius <= 30; radius++) {
        const World maze(sphere_maze(radius));
        const i32 last = Maze_count(maze.get()) - 1;
        EXPECT_LT(axis_distance(maze.get(), 0), 1.3) << radius;
        EXPECT_LT(axis_distance(maze.get(), last), 1.3) << radius;
        EXPECT_GT(place_of(maze.get(), 0)[2], 0.8 * radius);
        EXPECT_LT(place_of(maze.get(), last)[2], -0.8 * radius);
    }
}

TEST(sphere_maze, links_rings_of_eight_and_sixteen_at_even_nodes_in_both_directions)
{
    const World maze(sphere_maze(3.0)); // rings of 4, 8, 16, 16, 16, 16, 8 and 4
    ASSERT_EQ(Maze_count(maze.get()), 88);
    for (i32 j = 0; j < 8; j++) {
        EXPECT_EQ(neighbours(maze.get(), 4 + j).back(), 12 + 2 * j);
        EXPECT_EQ(neighbours(maze.get(), 76 + j)[2], 60 + 2 * j);
        EXPECT_EQ(neighbours(maze.get(), 12 + 2 * j)[2], 4 + j);
        EXPECT_EQ(neighbours(maze.get(), 60 + 2 * j).back(), 76 + j);
        // odd nodes have a link to the ring of their own size alone
        EXPECT_EQ(neighbours(maze.get(), 13 + 2 * j).size(), 3U);
        EXPECT_EQ(neighbours(maze.get(), 61 + 2 * j).size(), 3U);
    }
}

TEST(torus_maze, is_numbered_and_slotted_around_both_ways)
{
    for (i32 major = 1; major <= 5; major++) {
        for (i32 quarter = 2; quarter <= 8; quarter++) {
            const World maze(torus_maze(major, quarter * 0.25));
            EXPECT_SOUND(maze.get());
            expect_plain(maze.get(), plain_torus(major, quarter * 0.25),
                         std::to_string(major) + " " + std::to_string(quarter));
        }
    }
}

TEST(torus_maze, has_four_edges_at_each_node_if_both_sizes_are_above_two)
{
    for (const f64 minor : {0.5, 1.0, 1.7, 3.0}) {
        const World maze(torus_maze(4.0, minor));
        EXPECT_EQ(edge_counts(maze.get()), (std::map<u32, i32>{{4, Maze_count(maze.get())}}));
        EXPECT_TRUE(is_connected(maze.get()));
    }
}

TEST(torus_maze, of_the_largest_size_in_use_has_7750_nodes)
{
    const World maze(torus_maze(20.0, 10.0));
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(Maze_count(maze.get()), 125 * 62);
    expect_plain(maze.get(), plain_torus(20.0, 10.0), "20 10");
}

TEST(torus_maze, doubles_edges_where_a_size_is_two)
{
    const World maze(torus_maze(1.0, 0.35)); // 6 by 2
    ASSERT_EQ(Maze_count(maze.get()), 12);
    EXPECT_SOUND_BUT_DOUBLED(maze.get());
    expect_plain(maze.get(), plain_torus(1.0, 0.35), "6 by 2");
    const std::vector<i32> first = neighbours(maze.get(), 0);
    EXPECT_EQ(std::count(first.begin(), first.end(), 1), 2);
}

TEST(torus_maze, joins_a_node_to_itself_where_a_size_is_one)
{
    const World line(torus_maze(0.7, 0.0)); // 4 by 1
    expect_plain(line.get(), plain_torus(0.7, 0.0), "4 by 1");
    const std::vector<i32> first = neighbours(line.get(), 0);
    EXPECT_EQ(std::count(first.begin(), first.end(), 0), 2);
    const World column(torus_maze(0.0, 0.7)); // 1 by 4
    expect_plain(column.get(), plain_torus(0.0, 0.7), "1 by 4");
    const World one(torus_maze(-3.0, -3.0));
    EXPECT_EQ(slots_of(one.get()), (Slots{{0, 0, 0, 0}}));
}

TEST(torus_maze, stands_its_last_node_opposite_to_its_first)
{
    const World maze(torus_maze(4.0, 2.0)); // 25 by 12
    const i32 last = Maze_count(maze.get()) - 1;
    EXPECT_EQ(place_of(maze.get(), 0), (std::array<f64, 3>{6, 0, 0}));
    const std::array<f64, 3> p = place_of(maze.get(), last);
    const f64 phi = 12 * twopi / 25;
    EXPECT_NEAR(p[0], 2.0 * std::cos(phi), 1e-12);
    EXPECT_NEAR(p[1], 2.0 * std::sin(phi), 1e-12);
    EXPECT_NEAR(p[2], 0.0, 1e-12);
}

TEST(torus_maze, gives_the_number_of_the_antipode_to_the_last_node_of_the_mesh)
{
    const World maze(torus_maze(4.0, 2.0));
    const std::array<f64, 3> p = place_of(maze.get(), 12 * 12 + 6);
    const f64 phi = 24 * twopi / 25;
    const f64 theta = 11 * twopi / 12;
    EXPECT_NEAR(p[0], (4.0 + 2.0 * std::cos(theta)) * std::cos(phi), 1e-12);
    EXPECT_NEAR(p[2], 2.0 * std::sin(theta), 1e-12);
}

TEST(moebius_maze, is_numbered_and_slotted_row_by_row_with_a_twist)
{
    for (i32 radius = 1; radius <= 5; radius++) {
        for (i32 half = 0; half <= 6; half++) {
            const World maze(moebius_maze(radius, half * 0.5));
            EXPECT_SOUND(maze.get());
            expect_plain(maze.get(), plain_moebius(radius, half * 0.5),
                         std::to_string(radius) + " " + std::to_string(half));
        }
    }
}

TEST(moebius_maze, of_the_largest_size_in_use_has_2625_nodes)
{
    const World maze(moebius_maze(20.0, 10.0));
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(Maze_count(maze.get()), 125 * 21);
    expect_plain(maze.get(), plain_moebius(20.0, 10.0), "20 10");
}

TEST(moebius_maze, has_three_edges_at_the_rim_and_four_inside)
{
    const World maze(moebius_maze(4.0, 2.0)); // 25 by 5
    EXPECT_EQ(edge_counts(maze.get()), (std::map<u32, i32>{{3, 2 * 25}, {4, 3 * 25}}));
}

TEST(moebius_maze, has_one_rim_that_runs_around_twice)
{
    const World maze(moebius_maze(4.0, 2.0)); // 25 by 5
    i32 previous = -1;
    i32 n = 0; // in the rim
    i32 steps = 0;
    do {
        ASSERT_EQ(Maze_node(maze.get(), n)->nedges, 3U);
        i32 next = -1;
        for (const i32 t : neighbours(maze.get(), n)) {
            if (t != previous && Maze_node(maze.get(), t)->nedges == 3) {
                next = t;
            }
        }
        previous = n;
        n = next;
        steps++;
    } while (n != 0 && steps < 1000);
    EXPECT_EQ(steps, 2 * 25);
}

TEST(moebius_maze, of_one_row_is_a_closed_ring)
{
    for (const f64 halfwidth : {0.0, 0.3}) {
        const World maze(moebius_maze(4.0, halfwidth));
        EXPECT_EQ(edge_counts(maze.get()), (std::map<u32, i32>{{2, 25}}));
        EXPECT_TRUE(is_connected(maze.get()));
    }
}

TEST(moebius_maze, stands_its_last_node_on_the_opposite_side)
{
    const World maze(moebius_maze(4.0, 2.0)); // 25 by 5
    EXPECT_EQ(place_of(maze.get(), 0), (std::array<f64, 3>{2, 0, 0}));
    const std::array<f64, 3> p = place_of(maze.get(), Maze_count(maze.get()) - 1);
    const f64 phi = 12 * twopi / 25;
    EXPECT_NEAR(p[0], 4.0 * std::cos(phi), 1e-12); // in the middle row
    EXPECT_NEAR(p[1], 4.0 * std::sin(phi), 1e-12);
    EXPECT_NEAR(p[2], 0.0, 1e-12);
}

TEST(moebius_maze, of_a_single_column_is_joined_to_itself_in_reverse)
{
    const World maze(moebius_maze(0.0, 1.0)); // 1 by 3
    expect_plain(maze.get(), plain_moebius(0.0, 1.0), "1 by 3");
    ASSERT_EQ(Maze_count(maze.get()), 3);
}

TEST(moebius_maze, without_a_row_is_empty)
{
    for (const f64 halfwidth : {-0.5, -0.1, -1.0, -20.0}) {
        const World maze(moebius_maze(4.0, halfwidth));
        EXPECT_EQ(Maze_count(maze.get()), 0) << halfwidth;
    }
}

TEST(rings, consist_of_fresh_nodes_of_radius_one_half)
{
    for (Maze* const maze :
         {ring_disc(5, 1), sphere_maze(4.0), torus_maze(3.0, 1.0), moebius_maze(3.0, 1.0)}) {
        const World world(maze);
        EXPECT_EQ(stale_nodes(maze), "");
    }
}

TEST(rings, draw_nothing)
{
    rnd_seed(3);
    for (Maze* const maze :
         {ring_disc(5, 1), sphere_maze(4.0), torus_maze(3.0, 1.0), moebius_maze(3.0, 1.0)}) {
        const World world(maze);
    }
    EXPECT_EQ(rnd_count(), 0U);
}
