#include "base/rnd.h"
#include "generate/carve.h"
#include "generate/grids.h"
#include "generate/makemaze.h"
#include "generate/stencils.h"
#include "scene/colours.h"
#include "scene/voronoistyles.h"
#include "tests/emitted.h"
#include "tests/scene_picture.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <set>

using Vertices = std::vector<GlVertex>;
using Point = std::array<f64, 3>;

// Three nodes of which the first has a cell, given by hand: a square of half-width 1, open in the west
// and south, with an edge to node 2 in the north and none to node 1 in the east.
struct ByHand {
    MazeGame game = {};
    Maze* maze = Maze_new();
    GrowArray cell[3];
    VoronoiCells cells = {3, cell, {}, 0};

    ByHand()
    {
        game.showtrail = 1;
        add_node(maze, 0, 0, 1, 0.5);
        add_node(maze, 2, 0, 3, 0.5);
        add_node(maze, 0, 2, 2, 0.5);
        for (GrowArray& one : cell) {
            GrowArray_init(&one, sizeof(VoronoiVertex));
        }
        const VoronoiVertex square[4] = {
            {-1, -1, -1, -1}, {-1, 1, 2, 1}, {1, 1, 1, 0}, {1, -1, -1, -1}};
        GrowArray_append(cell, square, 4);
    }
    ~ByHand()
    {
        for (GrowArray& one : cell) {
            GrowArray_free(&one);
        }
        Maze_free(maze, true);
    }
    ByHand(const ByHand&) = delete;
    ByHand& operator=(const ByHand&) = delete;

    VoronoiLevel level() const
    {
        return {maze, &cells, &game};
    }
    // Node 2 goes.
    void lose()
    {
        Maze_delnode(maze, 2, true);
    }
};

static Vertices outline(const ByHand& hand)
{
    const VoronoiLevel level = hand.level();
    return emitted([&] { voronoi_outline(&level); });
}
static Vertices terraces(const ByHand& hand, bool lit)
{
    const VoronoiLevel level = hand.level();
    return emitted([&] { voronoi_terraces(&level, lit); });
}
static Vertices relief(const ByHand& hand)
{
    const VoronoiLevel level = hand.level();
    return emitted([&] { voronoi_relief(&level); });
}
static Vertices delaunay(const ByHand& hand)
{
    const VoronoiLevel level = hand.level();
    return emitted([&] { voronoi_delaunay(&level); });
}
static Vertices walls(const ByHand& hand)
{
    const VoronoiLevel level = hand.level();
    return emitted([&] { voronoi_walls(&level); });
}

static void expectplaces(const Vertices& found, size_t from, const std::vector<Point>& expected)
{
    ASSERT_GE(found.size(), from + expected.size());
    for (size_t i = 0; i < expected.size(); i++) {
        SCOPED_TRACE(i);
        expect_place(found[from + i], expected[i][0], expected[i][1], expected[i][2]);
    }
}

static void expectnormal(const GlVertex& vertex, f64 x, f64 y, f64 z)
{
    EXPECT_NEAR(static_cast<f64>(vertex.normal[0]), x, 1e-6);
    EXPECT_NEAR(static_cast<f64>(vertex.normal[1]), y, 1e-6);
    EXPECT_NEAR(static_cast<f64>(vertex.normal[2]), z, 1e-6);
}

static void expectcolours(const Vertices& found, size_t from, size_t end, u32 colour)
{
    for (size_t i = from; i < end; i++) {
        EXPECT_EQ(colour_of(found[i]), colour) << i;
    }
}

static const f64 longest = std::sqrt(8.0); // from node 0 to node 1

TEST(voronoi_longest, is_taken_over_the_sides_in_three_dimensions)
{
    const ByHand hand;
    const VoronoiLevel level = hand.level();
    EXPECT_DOUBLE_EQ(voronoi_longest(&level, 0), longest);
}

TEST(voronoi_outline, is_a_line_a_side_from_the_last)
{
    const Vertices found = outline(ByHand());
    ASSERT_EQ(found.size(), 8U);
    expectplaces(found, 0,
                 {{1, -1, 1},
                  {-1, -1, 1},
                  {1, 1, 1},
                  {1, -1, 1},
                  {-1, 1, 1},
                  {1, 1, 1},
                  {-1, -1, 1},
                  {-1, 1, 1}});
}

TEST(voronoi_outline, is_darker_but_where_a_wall_would_stand)
{
    const Vertices found = outline(ByHand());
    expectcolours(found, 0, 2, 0x404040); // open country
    expectcolours(found, 2, 4, 0x808080); // no edge
    expectcolours(found, 4, 6, 0x404040); // an edge
    expectcolours(found, 6, 8, 0x404040);
}

TEST(voronoi_outline, leaves_out_a_side_whose_neighbour_has_gone)
{
    ByHand hand;
    hand.lose();
    const Vertices found = outline(hand);
    ASSERT_EQ(found.size(), 6U);
    expectplaces(found, 4, {{-1, -1, 1}, {-1, 1, 1}});
}

TEST(voronoi_terraces, begin_with_a_flat_fan)
{
    const Vertices found = terraces(ByHand(), false);
    ASSERT_EQ(found.size(), 6U + 6U + 24U);
    expectplaces(found, 0,
                 {{-1, -1, 1}, {1, 1, 1}, {1, -1, 1}, {-1, -1, 1}, {-1, 1, 1}, {1, 1, 1}});
    expectcolours(found, 0, 6, 0x808080);
}

TEST(voronoi_terraces, have_a_thin_wall_where_no_edge_leads)
{
    const Vertices found = terraces(ByHand(), false);
    const f64 top = 1 + longest / 2;
    expectplaces(found, 6,
                 {{0.9, 0.9, 1},
                  {0.9, -0.9, 1},
                  {0.9, -0.9, top},
                  {0.9, 0.9, 1},
                  {0.9, 0.9, top},
                  {0.9, -0.9, top}});
    expectcolours(found, 6, 12, 0xC0C0C0);
}

TEST(voronoi_terraces, stand_on_blocks)
{
    const Vertices found = terraces(ByHand(), false);
    const f64 bottom = 1 - longest;
    expectplaces(
        found, 12,
        {{1, -1, 1}, {-1, -1, 1}, {-1, -1, bottom}, {1, -1, 1}, {1, -1, bottom}, {-1, -1, bottom}});
    expectplaces(
        found, 30,
        {{-1, -1, 1}, {-1, 1, 1}, {-1, 1, bottom}, {-1, -1, 1}, {-1, -1, bottom}, {-1, 1, bottom}});
    expectcolours(found, 12, 36, 0x404040);
}

TEST(voronoi_terraces, are_the_same_where_lit)
{
    const Vertices lit = terraces(ByHand(), true);
    const Vertices unlit = terraces(ByHand(), false);
    ASSERT_EQ(lit.size(), unlit.size());
    for (size_t i = 0; i < lit.size(); i++) {
        EXPECT_TRUE(std::equal(lit[i].pos, lit[i].pos + 4, unlit[i].pos));
        EXPECT_EQ(colour_of(lit[i]), colour_of(unlit[i]));
    }
}

TEST(voronoi_terraces, have_upward_and_sideways_normals)
{
    const Vertices found = terraces(ByHand(), true);
    expectnormal(found[0], 0, 0, 1);
    expectnormal(found[5], 0, 0, 1);
    expectnormal(found[6], -1, 0, 0); // the wall in the east runs southward
    expectnormal(found[12], 0, 1, 0); // the skirt in the south westward
    expectnormal(found[30], 1, 0, 0); // that in the west northward
}

TEST(voronoi_terraces, leave_out_a_side_whose_neighbour_has_gone)
{
    ByHand hand;
    hand.lose();
    EXPECT_EQ(terraces(hand, false).size(), 6U + 6U + 18U);
    Maze_delnode(hand.maze, 1, true);
    EXPECT_EQ(terraces(hand, false).size(), 6U + 12U); // the wall went with its side
}

TEST(voronoi_relief, raises_corners_to_the_mean_of_three_heights)
{
    const Vertices found = relief(ByHand());
    ASSERT_EQ(found.size(), 12U);
    const f64 third = 1.0 / 3;
    expectplaces(found, 0, {{0, 0, 1}, {1, -1, 5 * third}, {-1, -1, 1}});
    expectplaces(found, 3, {{0, 0, 1}, {1, 1, 2}, {1, -1, 5 * third}});
    expectplaces(found, 6, {{0, 0, 1}, {-1, 1, 4 * third}, {1, 1, 2}});
    expectplaces(found, 9, {{0, 0, 1}, {-1, -1, 1}, {-1, 1, 4 * third}});
    expectcolours(found, 0, 12, 0x808080);
}

TEST(voronoi_relief, has_the_normals_of_its_triangles)
{
    const Vertices found = relief(ByHand());
    const f64 k = 1 / std::sqrt(44.0 / 9 - 0.0);
    expectnormal(found[0], -2.0 / 3 * k, 2.0 / 3 * k, 2 * k);
    for (const GlVertex& vertex : found) {
        EXPECT_GT(vertex.normal[2], 0.0F);
    }
}

TEST(voronoi_relief, leaves_out_a_side_whose_neighbour_has_gone)
{
    ByHand hand;
    hand.lose();
    const Vertices found = relief(hand);
    ASSERT_EQ(found.size(), 9U);
    expectplaces(found, 3, {{0, 0, 1}, {1, 1, 5.0 / 3}, {1, -1, 5.0 / 3}}); // not read: its own
}

TEST(voronoi_delaunay, spans_a_triangle_over_three_nodes)
{
    const Vertices found = delaunay(ByHand());
    ASSERT_EQ(found.size(), 3U);
    expectplaces(found, 0, {{0, 0, 1}, {0, 2, 2}, {2, 0, 3}});
    expectnormal(found[0], -2.0 / 3, -1.0 / 3, 2.0 / 3);
    expectcolours(found, 0, 3, 0x808080);
}

TEST(voronoi_delaunay, leaves_the_triangle_to_its_lowest_node)
{
    ByHand hand;
    std::swap(hand.cell[0], hand.cell[1]);
    for (i32 k = 0; k < 4; k++) { // the cell is node 1's now
        VoronoiVertex& corner = items<VoronoiVertex>(hand.cell + 1)[k];
        corner.neighbour = corner.neighbour == 1 ? 0 : corner.neighbour;
    }
    EXPECT_EQ(delaunay(hand).size(), 0U);
}

TEST(voronoi_delaunay, leaves_out_a_triangle_whose_node_has_gone)
{
    ByHand hand;
    hand.lose();
    EXPECT_EQ(delaunay(hand).size(), 0U);
}

TEST(voronoi_walls, follow_the_triangles_as_five_quads_each)
{
    const Vertices found = walls(ByHand());
    ASSERT_EQ(found.size(), 3U + 20U);
    expectcolours(found, 3, 23, 0xC0C0C0);
}

TEST(voronoi_walls, stand_on_the_surface_a_tenth_to_either_side)
{
    const Vertices found = walls(ByHand());
    const f64 o = 0.1 / std::sqrt(2.0);
    const f64 za = 2.5; // on the plane of the three nodes
    const f64 zb = 2;   // nobody beyond: halfway
    const Point ap = {1 + o, 1, za + o};
    const Point am = {1 - o, 1, za - o};
    const Point bp = {1 + o, -1, zb + o};
    const Point bm = {1 - o, -1, zb - o};
    const auto raised = [](Point p) { return Point{p[0], p[1], p[2] + 0.5}; };
    expectplaces(found, 3, {raised(ap), raised(bp), raised(bm), raised(am)});
    expectplaces(found, 7, {ap, bp, raised(bp), raised(ap)});
    expectplaces(found, 11, {am, bm, raised(bm), raised(am)});
    expectplaces(found, 15, {bp, raised(bp), raised(bm), bm});
    expectplaces(found, 19, {ap, raised(ap), raised(am), am});
}

TEST(voronoi_walls, have_a_normal_a_face)
{
    const Vertices found = walls(ByHand());
    const f64 w = 1 / std::sqrt(2.0);
    expectnormal(found[3], 0, 0, 1);
    expectnormal(found[7], w, 0, w);
    expectnormal(found[11], -w, 0, -w);
    expectnormal(found[15], 0, -1, 0);
    expectnormal(found[19], 0, 1, 0);
}

TEST(voronoi_walls, are_left_out_on_a_side_shorter_than_a_twentieth)
{
    ByHand hand;
    VoronoiVertex* const corner = items<VoronoiVertex>(hand.cell);
    corner[3].y = 1 - 0.049;
    EXPECT_EQ(walls(hand).size(), 3U);
    corner[3].y = 1 - 0.051;
    EXPECT_EQ(walls(hand).size(), 23U);
}

TEST(voronoi_walls, are_drawn_from_the_lower_node_alone)
{
    ByHand hand;
    std::swap(hand.cell[0], hand.cell[1]);
    for (i32 k = 0; k < 4; k++) {
        VoronoiVertex& corner = items<VoronoiVertex>(hand.cell + 1)[k];
        corner.neighbour = corner.neighbour == 1 ? 0 : corner.neighbour;
    }
    EXPECT_EQ(walls(hand).size(), 0U);
}

TEST(voronoi_walls, are_not_where_the_neighbour_has_gone)
{
    ByHand hand;
    hand.lose();
    Maze_delnode(hand.maze, 1, true);
    EXPECT_EQ(walls(hand).size(), 0U);
}

TEST(voronoi_walls, stand_halfway_where_the_third_node_has_gone)
{
    ByHand hand;
    hand.lose();
    const Vertices found = walls(hand);
    ASSERT_EQ(found.size(), 20U);
    const f64 o = 0.1 / std::sqrt(2.0);
    expectplaces(found, 4, {{1 + o, 1, 2 + o}});
}

// All styles

static std::map<std::string, Vertices> allstyles(const ByHand& hand)
{
    return {{"outline", outline(hand)},    {"terraces", terraces(hand, false)},
            {"lit", terraces(hand, true)}, {"relief", relief(hand)},
            {"delaunay", delaunay(hand)},  {"walls", walls(hand)}};
}

TEST(voronoi_styles, leave_out_a_node_with_a_submaze)
{
    ByHand hand;
    add_sub(hand.maze, 0);
    for (const auto& [name, found] : allstyles(hand)) {
        EXPECT_EQ(found.size(), 0U) << name;
    }
}

TEST(voronoi_styles, draw_nothing_for_a_cell_without_corners)
{
    ByHand hand;
    hand.cell[0].count = 0;
    for (const auto& [name, found] : allstyles(hand)) {
        EXPECT_EQ(found.size(), 0U) << name;
    }
}

TEST(voronoi_styles, draw_nothing_for_a_point)
{
    ByHand hand;
    for (u32 k = 0; k < 4; k++) {
        items<VoronoiVertex>(hand.cell)[k] = {0, 0, -1, -1};
    }
    for (const auto& [name, found] : allstyles(hand)) {
        EXPECT_EQ(found.size(), 0U) << name;
    }
}

TEST(voronoi_styles, draw_nothing_of_a_node_that_has_gone)
{
    ByHand hand;
    while (Maze_count(hand.maze) > 0) {
        Maze_delnode(hand.maze, 0, true);
    }
    for (const auto& [name, found] : allstyles(hand)) {
        EXPECT_EQ(found.size(), 0U) << name;
    }
}

TEST(voronoi_styles, give_a_node_that_came_later_nothing)
{
    ByHand hand;
    const auto before = allstyles(hand);
    add_node(hand.maze, 9, 9, 9, 0.5);
    for (const auto& [name, found] : allstyles(hand)) {
        EXPECT_EQ(found.size(), before.at(name).size()) << name;
    }
}

TEST(voronoi_styles, take_the_colour_of_the_record_with_its_age)
{
    ByHand hand;
    hand.game.time = 50;
    Maze_node(hand.maze, 0)->rec = {0x102030, 40, -1};
    const u32 colour = colour_add(0x102030, 0, 0, 0);
    const u32 aged =
        rec_colour(&Maze_node(hand.maze, 0)->rec, {hand.maze, 0}, Pos_null, &hand.game);
    EXPECT_NE(aged, colour);
    EXPECT_EQ(colour_of(relief(hand)[0]), aged);
    hand.game.showtrail = 0;
    EXPECT_EQ(colour_of(relief(hand)[0]), 0x102030U);
}

TEST(voronoi_styles, draw_white_a_step_darker)
{
    ByHand hand;
    Maze_node(hand.maze, 0)->rec.colour = 0xE0E0E0;
    EXPECT_EQ(colour_of(terraces(hand, false)[6]), 0xFEFEFEU);
}

// Lattices

struct Lattice {
    Maze* maze;
    MazeGame game = {};

    Lattice(i32 nx, i32 ny) : maze(grid_maze(nx, ny, 1))
    {
    }
    ~Lattice()
    {
        Maze_free(maze, true);
    }
    Lattice(const Lattice&) = delete;
    Lattice& operator=(const Lattice&) = delete;

    VoronoiLevel level()
    {
        voronoi_build(maze, true);
        return {maze, static_cast<VoronoiCells*>(Maze_attachment(maze, "voronoi")), &game};
    }
};

static f64 planarea(const GlVertex* corners)
{
    const f64 ux = static_cast<f64>(corners[1].pos[0] - corners[0].pos[0]);
    const f64 uy = static_cast<f64>(corners[1].pos[1] - corners[0].pos[1]);
    const f64 vx = static_cast<f64>(corners[2].pos[0] - corners[0].pos[0]);
    const f64 vy = static_cast<f64>(corners[2].pos[1] - corners[0].pos[1]);
    return (vx * uy - vy * ux) / 2;
}

// The triangles of a lattice: each clockwise and of half a square, so that as many as fill the lattice can
// fill it only without overlap if each square holds two that make it up.
static void expectfilled(const Vertices& found, i32 squares, f64 side)
{
    ASSERT_EQ(found.size(), 6U * static_cast<size_t>(squares));
    std::map<std::pair<i32, i32>, f64> sums; // by the middle of each triangle's square
    for (size_t i = 0; i < found.size(); i += 3) {
        EXPECT_NEAR(planarea(&found[i]), side * side / 2, 1e-5);
        f64 low[2] = {1e9, 1e9};
        for (size_t k = 0; k < 3; k++) {
            for (i32 axis = 0; axis < 2; axis++) {
                low[axis] = std::min(low[axis], static_cast<f64>(found[i + k].pos[axis]));
            }
        }
        sums[{static_cast<i32>(std::lround(low[0] / side)),
              static_cast<i32>(std::lround(low[1] / side))}] += planarea(&found[i]);
    }
    EXPECT_EQ(sums.size(), static_cast<size_t>(squares));
    for (const auto& [at, sum] : sums) {
        EXPECT_NEAR(sum, side * side, 1e-5);
    }
}

TEST(voronoi_delaunay, fills_a_square_lattice_without_overlap)
{
    Lattice lattice(6, 5);
    const VoronoiLevel level = lattice.level();
    expectfilled(emitted([&] { voronoi_delaunay(&level); }), 20, 1);
}

TEST(voronoi_delaunay, fills_a_lattice_in_any_order_of_numbers)
{
    Lattice lattice(6, 5);
    rnd_seed(3);
    for (i32 round = 0; round < 20; round++) {
        for (i32 i = 29; i > 0; i--) {
            const i32 other = irand(i + 1);
            Maze_swapnodes(lattice.maze, i, other);
        }
        const VoronoiLevel level = lattice.level();
        expectfilled(emitted([&] { voronoi_delaunay(&level); }), 20, 1);
    }
}

TEST(voronoi_delaunay, splits_each_square_along_one_diagonal)
{
    Lattice lattice(2, 2);
    const VoronoiLevel level = lattice.level();
    const Vertices found = emitted([&] { voronoi_delaunay(&level); });
    std::map<std::pair<f32, f32>, i32> uses;
    for (const GlVertex& vertex : found) {
        uses[{vertex.pos[0], vertex.pos[1]}]++;
    }
    EXPECT_EQ((uses[{0.0F, 0.0F}]), 2); // from the lowest node
    EXPECT_EQ((uses[{1.0F, 1.0F}]), 2);
}

TEST(voronoi_delaunay, has_no_triangle_of_no_area_on_a_lattice_of_two_and_a_half)
{
    Lattice lattice(6, 5);
    rnd_seed(9);
    makemaze_spanning(lattice.maze);
    Maze_scale(lattice.maze, 2.5);
    const VoronoiLevel level = lattice.level();
    expectfilled(emitted([&] { voronoi_delaunay(&level); }), 20, 2.5);
}

TEST(voronoi_walls, stand_on_a_lattice_where_edges_were_taken_out_and_nowhere_else)
{
    Lattice lattice(6, 5);
    rnd_seed(9);
    const i32 full = Maze_edgecount(lattice.maze);
    makemaze_spanning(lattice.maze);
    const VoronoiLevel level = lattice.level();
    const size_t triangles = emitted([&] { voronoi_delaunay(&level); }).size();
    const size_t all = emitted([&] { voronoi_walls(&level); }).size();
    EXPECT_EQ(all - triangles, 20U * static_cast<size_t>(full - Maze_edgecount(lattice.maze)));
}

TEST(voronoi_relief, joins_without_a_step_where_four_cells_meet)
{
    Lattice lattice(6, 5);
    rnd_seed(4);
    for (i32 i = 29; i >= 0; i--) {
        Maze_node(lattice.maze, i)->pos[2] = rnd(1);
    }
    const VoronoiLevel level = lattice.level();
    std::map<std::pair<i32, i32>, std::set<i32>> heights; // of inner corners
    for (const GlVertex& vertex : emitted([&] { voronoi_relief(&level); })) {
        const i32 x = static_cast<i32>(std::lround(vertex.pos[0] * 2));
        const i32 y = static_cast<i32>(std::lround(vertex.pos[1] * 2));
        if (x % 2 != 0 && y % 2 != 0 && x > 0 && x < 10 && y > 0 && y < 8) {
            heights[{x, y}].insert(static_cast<i32>(std::lround(vertex.pos[2] * 1e5F)));
        }
    }
    EXPECT_EQ(heights.size(), 20U);
    for (const auto& [at, values] : heights) {
        EXPECT_EQ(values.size(), 1U) << at.first << " " << at.second;
    }
}

// Worlds as the game makes them

static void expectfinite(const Vertices& found)
{
    i32 bad = 0;
    for (const GlVertex& vertex : found) {
        for (i32 k = 0; k < 3; k++) {
            bad += std::isfinite(vertex.pos[k]) && std::isfinite(vertex.normal[k]) ? 0 : 1;
        }
    }
    EXPECT_EQ(bad, 0);
}

// Every style of a level and of some of those below; returns how many vertices that took.
static size_t drawlevels(Maze* maze, const MazeGame* game, i32* budget)
{
    voronoi_build(maze, true);
    const VoronoiLevel level = {maze, static_cast<VoronoiCells*>(Maze_attachment(maze, "voronoi")),
                                game};
    size_t sum = 0;
    const auto draw = [&](auto style) {
        const Vertices found = emitted(style);
        expectfinite(found);
        sum += found.size();
    };
    draw([&] { voronoi_outline(&level); });
    draw([&] { voronoi_terraces(&level, true); });
    draw([&] { voronoi_relief(&level); });
    draw([&] { voronoi_walls(&level); });
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        Maze* const sub = Maze_node(maze, n)->sub;
        if (sub != nullptr && *budget > 0) {
            *budget -= Maze_count(sub);
            sum += drawlevels(sub, game, budget);
        }
    }
    return sum;
}

TEST(voronoi_styles, give_nothing_but_numbers_in_worlds_of_every_kind)
{
    stencil_progress_to_stderr = true;
    for (i32 kind = 0; kind < MAKEMAZE_KINDS; kind++) {
        MazeGame game = {};
        rnd_seed(static_cast<u32>(kind) + 40);
        makemaze_forced_kind = kind;
        MazeGame_new(&game, 0);
        i32 budget = 300;
        EXPECT_GT(drawlevels(game.root, &game, &budget), 0U) << kind;
        MazeGame_free(&game);
    }
    makemaze_forced_kind = -1;
}
