#include "generate/grids.h"
#include "generate/nodehash.h"
#include "tests/mazes.h"
#include "tests/meshes.h"
#include "tests/sound.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

static constexpr f64 infinity = std::numeric_limits<f64>::infinity();
static constexpr f64 nan_value = std::numeric_limits<f64>::quiet_NaN();

// The search as it is described: every node, from the last to the first, a strictly nearer one taken.
static i32 plain_nearest(const Maze* maze, const f64 p[3], f64 limit2)
{
    f64 best = 9e99;
    i32 found = -1;
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        const f64* const q = Maze_node(maze, i)->pos;
        const f64 d[3] = {q[0] - p[0], q[1] - p[1], q[2] - p[2]};
        const f64 distance2 = d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
        if (distance2 < best) {
            best = distance2;
            found = i;
        }
    }
    return best <= limit2 ? found : -1;
}

static i32 nearest(const Maze* maze, std::array<f64, 3> p, f64 limit2 = 0.5625)
{
    NodeHash* const hash = NodeHash_new(maze);
    const i32 found = NodeHash_nearest(hash, p.data(), limit2);
    NodeHash_free(hash);
    return found;
}

// Nodes in a box about the origin at multiples of `grain`, so that ties and equal places are frequent;
// a few edges, no two alike.
static Maze* random_nodes(std::mt19937* random, i32 n, f64 grain)
{
    Maze* const maze = Maze_new();
    std::uniform_int_distribution<i32> step(-3, 3);
    for (i32 i = 0; i < n; i++) {
        const i32 x = step(*random);
        const i32 y = step(*random);
        const i32 z = step(*random);
        add_node(maze, x * grain, y * grain, z * grain);
        Maze_node(maze, i)->rec.colour = static_cast<u32>(i);
    }
    std::uniform_int_distribution<i32> any(0, n > 0 ? n - 1 : 0);
    for (i32 k = 0; k < 2 * n; k++) {
        const i32 a = any(*random);
        const i32 b = any(*random);
        const std::vector<i32> joined = neighbours(maze, a);
        if (a != b && std::count(joined.begin(), joined.end(), b) == 0) {
            Maze_join(maze, a, b);
        }
    }
    return maze;
}

TEST(NodeHash_nearest, finds_what_a_search_of_all_nodes_finds)
{
    std::mt19937 random(1);
    i32 hits = 0;
    for (i32 round = 0; round < 200; round++) {
        const f64 grain = round % 2 == 0 ? 0.25 : 0.37;
        const World a(random_nodes(&random, round % 40 + 1, grain));
        const World b(random_nodes(&random, round % 31, grain));
        NodeHash* const hash = NodeHash_new(b.get());
        for (i32 i = 0; i < Maze_count(a.get()); i++) {
            const f64* const p = Maze_node(a.get(), i)->pos;
            const i32 found = NodeHash_nearest(hash, p, 0.5625);
            EXPECT_EQ(found, plain_nearest(b.get(), p, 0.5625)) << "round " << round;
            hits += found >= 0 ? 1 : 0;
        }
        NodeHash_free(hash);
    }
    EXPECT_GT(hits, 1000); // the comparison isn't one of misses alone
}

TEST(NodeHash_nearest, finds_it_across_the_borders_of_cells)
{
    const World maze(make_nodes(1));
    for (const f64 d : {-0.75, -0.5, 0.5, 0.75}) {
        EXPECT_EQ(nearest(maze.get(), {d, 0, 0}), 0) << d;
        EXPECT_EQ(nearest(maze.get(), {0, d, 0}), 0) << d;
        EXPECT_EQ(nearest(maze.get(), {0, 0, d}), 0) << d;
    }
    EXPECT_EQ(nearest(maze.get(), {-0.4, -0.4, -0.4}), 0);
}

TEST(NodeHash_nearest, reaches_as_far_as_the_largest_limit_on_all_sides)
{
    std::mt19937 random(2);
    std::uniform_real_distribution<f64> any(-1.0, 1.0);
    const World maze(make_nodes(1));
    i32 hits = 0;
    for (i32 round = 0; round < 20000; round++) {
        f64* const at = Maze_node(maze.get(), 0)->pos;
        for (i32 k = 0; k < 3; k++) {
            at[k] = any(random);
        }
        const f64 p[3] = {at[0] + any(random), at[1] + any(random), at[2] + any(random)};
        const i32 found = nearest(maze.get(), {p[0], p[1], p[2]}, 0.9);
        EXPECT_EQ(found, plain_nearest(maze.get(), p, 0.9)) << "round " << round;
        hits += found >= 0 ? 1 : 0;
    }
    EXPECT_GT(hits, 5000);
    EXPECT_LT(hits, 15000);
}

TEST(NodeHash_nearest, finds_nothing_among_no_nodes)
{
    const World maze(Maze_new());
    EXPECT_EQ(nearest(maze.get(), {0, 0, 0}), -1);
}

TEST(NodeHash_nearest, takes_a_node_at_the_limit_and_none_beyond)
{
    const World maze(make_nodes(1));
    EXPECT_EQ(nearest(maze.get(), {0.75, 0, 0}), 0);
    EXPECT_EQ(nearest(maze.get(), {std::nextafter(0.75, 1.0), 0, 0}), -1);
}

TEST(NodeHash_nearest, takes_the_highest_number_of_a_tie)
{
    const World maze(Maze_new());
    for (const f64 x : {0.5, -0.5, 0.5, -0.5, 0.6}) {
        add_node(maze.get(), x, 0);
    }
    EXPECT_EQ(nearest(maze.get(), {0, 0, 0}), 3);
}

TEST(NodeHash_nearest, knows_one_zero)
{
    const World maze(Maze_new());
    add_node(maze.get(), -0.0, -0.0, -0.0);
    EXPECT_EQ(nearest(maze.get(), {0.0, 0.0, 0.0}), 0);
    EXPECT_EQ(nearest(maze.get(), {-0.0, 0.0, -0.0}), 0);
}

TEST(NodeHash_nearest, of_no_nodes_is_none)
{
    const World maze(Maze_new());
    EXPECT_EQ(nearest(maze.get(), {0, 0, 0}), -1);
}

TEST(NodeHash_nearest, stands_coordinates_of_any_size)
{
    const World maze(Maze_new());
    for (const f64 x : {1e15, 1e300, infinity, -infinity, nan_value}) {
        add_node(maze.get(), x, 0);
    }
    EXPECT_EQ(nearest(maze.get(), {1e15 + 0.5, 0, 0}), 0);
    EXPECT_EQ(nearest(maze.get(), {1e300, 0, 0}), 1);
    EXPECT_EQ(nearest(maze.get(), {infinity, 0, 0}), -1);
    EXPECT_EQ(nearest(maze.get(), {nan_value, 0, 0}), -1);
}

// The weld with its search over all nodes; the rest in the same steps, on the public operations.
static void plain_redirect(Maze* maze, i32 i, i32 slot, i32 w)
{
    MazeNode* const node = Maze_node(maze, i);
    MazeNode* const old = Maze_node(maze, node->edges[slot]);
    for (i32 k = static_cast<i32>(old->nedges) - 1; k >= 0; k--) {
        if (old->edges[k] == i) { // the old end goes, and must not look for i then
            old->nedges--;
            old->edges[k] = old->edges[old->nedges];
        }
    }
    MazeNode* const end = Maze_node(maze, w);
    const u32 colour = node->edgerec[slot].colour;
    node->edges[slot] = w;
    end->edgerec[end->nedges] = VisitRec_fresh();
    end->edges[end->nedges++] = i;
    for (u32 k = 0; k < 8; k++) {
        if (k < node->nedges && node->edges[k] == w) {
            node->edgerec[k].colour = colour;
        }
        if (k < end->nedges && end->edges[k] == i) {
            end->edgerec[k].colour = colour;
        }
    }
}

static Maze* plain_welded(const Maze* a, const Maze* b)
{
    Maze* const maze = Maze_merged(a, b);
    const i32 na = Maze_count(a);
    std::vector<i32> map;
    for (i32 i = 0; i < na; i++) {
        const i32 found = plain_nearest(b, Maze_node(a, i)->pos, 0.5625);
        map.push_back(found < 0 ? -1 : found + na);
    }
    for (i32 i = 0; i < na; i++) {
        for (i32 slot = MAZE_MAXEDGES - 1; slot >= 0 && map[i] < 0; slot--) {
            const MazeNode* const node = Maze_node(maze, i);
            const i32 t = slot < static_cast<i32>(node->nedges) ? node->edges[slot] : na;
            if (t >= na || map[t] < 0) {
                continue;
            }
            if (Maze_node(maze, map[t])->nedges < MAZE_MAXEDGES) {
                plain_redirect(maze, i, slot, map[t]);
            } else {
                Maze_unjoin(maze, i, t, true);
            }
        }
    }
    for (i32 i = na - 1; i >= 0; i--) {
        if (map[i] >= 0) {
            Maze_delnode(maze, i, true);
        }
    }
    return maze;
}

static std::vector<u32> colours_of(const Maze* maze)
{
    std::vector<u32> all;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        const MazeNode* const node = Maze_node(maze, i);
        all.push_back(node->rec.colour);
        for (u32 k = 0; k < node->nedges; k++) {
            all.push_back(node->edgerec[k].colour);
        }
    }
    return all;
}

static void expect_same(const Maze* a, const Maze* b, i32 round)
{
    EXPECT_EQ(slots_of(a), slots_of(b)) << "round " << round;
    EXPECT_EQ(colours_of(a), colours_of(b)) << "round " << round;
    ASSERT_EQ(Maze_count(a), Maze_count(b)) << "round " << round;
    for (i32 i = 0; i < Maze_count(a); i++) {
        EXPECT_EQ(place_of(a, i), place_of(b, i)) << "round " << round;
    }
}

TEST(Maze_welded, makes_of_random_pairs_what_a_search_of_all_nodes_makes)
{
    std::mt19937 random(2);
    i32 gone = 0;
    i32 kept = 0;
    for (i32 round = 0; round < 200; round++) {
        const f64 grain = round % 2 == 0 ? 0.5 : 0.37;
        const World a(random_nodes(&random, round % 50, grain));
        const World b(random_nodes(&random, round * 7 % 30, grain));
        const World welded(Maze_welded(a.get(), b.get()));
        const World plain(plain_welded(a.get(), b.get()));
        EXPECT_SOUND_BUT_DOUBLED(welded.get());
        expect_same(welded.get(), plain.get(), round);
        const i32 rest = Maze_count(welded.get()) - Maze_count(b.get());
        kept += rest;
        gone += Maze_count(a.get()) - rest;
    }
    EXPECT_GT(gone, 500);
    EXPECT_GT(kept, 500);
}

TEST(box_maze, of_a_large_size_has_the_number_of_nodes_of_its_formula)
{
    const World maze(box_maze(40, 40, 40));
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(Maze_count(maze.get()), 6 * 40 * 40 + 2);
    EXPECT_TRUE(is_connected(maze.get()));
}
