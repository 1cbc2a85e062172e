#include "base/rnd.h"
#include "generate/makemaze.h"
#include "model/connect.h"
#include "tests/digest.h"
#include "tests/sound.h"
#include "tests/world.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

enum { SEEDS = 100 };

static void collect(std::vector<const Maze*>* out, const Maze* maze)
{
    out->push_back(maze);
    for (i32 i = 0; i < Maze_count(maze); i++) {
        if (Maze_node(maze, i)->sub != nullptr) {
            collect(out, Maze_node(maze, i)->sub);
        }
    }
}

// The worlds of the seeds 1 to 100, made once.
static const std::vector<std::unique_ptr<GameWorld>>& hundredworlds()
{
    static std::vector<std::unique_ptr<GameWorld>> worlds;
    for (u32 seed = static_cast<u32>(worlds.size()) + 1; seed <= SEEDS; seed++) {
        worlds.push_back(std::make_unique<GameWorld>(seed));
    }
    return worlds;
}

static std::vector<const Maze*> mazes(const GameWorld& world)
{
    std::vector<const Maze*> all;
    collect(&all, world.game.root);
    return all;
}

// One world in the form of a line of tests/golden/worlds.txt.
static std::string told(const GameWorld& world, i32 kind, u32 seed)
{
    char text[200];
    std::snprintf(text, sizeof text, "0 %d %u | %u | %u |", kind, seed, rnd_count(), rnd_state());
    std::string line = text;
    std::vector<LevelCounts> levels;
    count_levels(&levels, world.game.root);
    for (const LevelCounts& level : levels) {
        std::snprintf(text, sizeof text, " %d/%d/%d", level.mazes, level.nodes, level.edges);
        line += text;
    }
    Digest graph;
    Digest place;
    digest_graph(&graph, world.game.root);
    digest_place(&place, world.game.root);
    std::snprintf(text, sizeof text, " | %016llx | %016llx",
                  static_cast<unsigned long long>(graph.hash),
                  static_cast<unsigned long long>(place.hash));
    return line + text;
}

static std::vector<std::string> goldenworlds()
{
    std::ifstream file(CORVANE_SOURCE_DIR "/tests/golden/worlds.txt");
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line[0] != '#') {
            lines.push_back(line);
        }
    }
    return lines;
}

TEST(MazeGame_generate, makes_the_golden_worlds)
{
    const std::vector<std::string> lines = goldenworlds();
    EXPECT_EQ(lines.size(), 6U);
    for (const std::string& line : lines) {
        i32 mode = -1;
        i32 kind = -1;
        u32 seed = 0;
        std::istringstream(line) >> mode >> kind >> seed;
        const GameWorld world(seed, kind, mode);
        EXPECT_SOUND(world.game.root);
        EXPECT_EQ(told(world, kind, seed), line);
    }
}

TEST(MazeGame_generate, makes_the_same_world_from_the_same_seed)
{
    const GameWorld first(77);
    const std::string line = told(first, 0, 77);
    const GameWorld second(77);
    EXPECT_EQ(told(second, 0, 77), line);
    const GameWorld other(78);
    EXPECT_NE(told(other, 0, 77), line);
}

TEST(MazeGame_generate, takes_an_unknown_mode_as_a_random_world)
{
    const GameWorld plain(9, -1, 0);
    const std::string line = told(plain, 0, 9);
    for (const i32 mode : {3, -1, 1000}) {
        const GameWorld world(9, -1, mode);
        EXPECT_EQ(told(world, 0, 9), line);
        EXPECT_EQ(world.game.showtrail, 1);
    }
}

TEST(MazeGame_generate, draws_the_density_and_the_kind_first_and_then_the_sides)
{
    for (u32 seed = 1; seed <= 20; seed++) {
        const GameWorld world(seed, 5);
        const Maze* const base = Maze_node(world.game.root, 1)->sub;
        rnd_seed(seed);
        rnd(0.5);
        irand(13);
        const i32 a = irand(9);
        const i32 b = irand(9);
        const i32 c = irand(9);
        if (irand(3) != 0) { // no node is dropped by the two methods that make trees
            EXPECT_EQ(Maze_count(base), (a + 2) * (b + 2) * (c + 2));
        }
    }
}

TEST(MazeGame_generate, replaces_a_kind_that_isnt_there_after_its_draw)
{
    const GameWorld plain(12, 0);
    const std::string line = told(plain, 0, 12);
    for (const i32 kind : {1, 2, 3, 4, 6, 7, 8, 9, 10, 11, 12, 13, 1000}) {
        const GameWorld world(12, kind);
        EXPECT_EQ(told(world, 0, 12), line) << "kind " << kind;
    }
}

TEST(MazeGame_generate, lets_the_drawn_kind_stand_if_none_is_forced)
{
    bool blocks = false;
    for (u32 seed = 1; seed <= 25; seed++) {
        rnd_seed(seed);
        rnd(0.5);
        const i32 kind = irand(13);
        const GameWorld drawn(seed);
        const std::string line = told(drawn, 0, seed);
        const GameWorld forced(seed, kind == 5 ? 5 : 0);
        EXPECT_EQ(told(forced, 0, seed), line);
        blocks = blocks || kind == 5;
    }
    EXPECT_TRUE(blocks);
}

TEST(MazeGame_generate, makes_a_line_of_three_with_the_base_maze_in_the_middle)
{
    for (const auto& made : hundredworlds()) {
        const GameWorld& world = *made;
        const Maze* const root = world.game.root;
        ASSERT_EQ(Maze_count(root), 3);
        EXPECT_EQ(Maze_edgecount(root), 2);
        EXPECT_EQ(Maze_node(root, 0)->sub, nullptr);
        EXPECT_EQ(Maze_node(root, 2)->sub, nullptr);
        EXPECT_EQ(mazes(world).size(), 2U);
        EXPECT_EQ(root->parent, nullptr);
        EXPECT_EQ(root->name, nullptr);
    }
}

TEST(MazeGame_generate, puts_the_player_on_the_entrance)
{
    MazeGame game = {};
    game.step[0] = game.step[1] = game.step[2] = 5.0;
    rnd_seed(3);
    MazeGame_generate(&game, 0);
    EXPECT_TRUE(Pos_same(game.pos, {game.root, 0}));
    EXPECT_EQ(game.step[0], 0.0);
    EXPECT_EQ(game.step[1], 0.0);
    EXPECT_EQ(game.step[2], 0.0);
    Maze_free(game.root, true);
}

TEST(MazeGame_generate, shows_trails_but_no_exits)
{
    for (const auto& made : hundredworlds()) {
        const GameWorld& world = *made;
        EXPECT_EQ(world.game.showtrail, 1);
        EXPECT_EQ(world.game.showexits, 0);
    }
}

TEST(MazeGame_generate, leaves_a_sound_tree_with_nodes_and_no_more_than_six_edges)
{
    for (const auto& made : hundredworlds()) {
        const GameWorld& world = *made;
        EXPECT_SOUND(world.game.root);
        for (const Maze* const maze : mazes(world)) {
            EXPECT_GE(Maze_count(maze), 1);
            for (i32 i = 0; i < Maze_count(maze); i++) {
                EXPECT_LE(Maze_node(maze, i)->nedges, 6U);
            }
        }
    }
}

TEST(MazeGame_generate, puts_no_submaze_into_a_port)
{
    for (const auto& made : hundredworlds()) {
        const GameWorld& world = *made;
        for (const Maze* const maze : mazes(world)) {
            ASSERT_GE(Maze_count(maze), Maze_ports(maze));
            for (i32 i = 0; i < Maze_ports(maze); i++) {
                EXPECT_EQ(Maze_node(maze, i)->sub, nullptr);
            }
        }
    }
}

// Whether one can walk from one position to another, through all levels.
static bool canwalk(Pos from, Pos to)
{
    std::map<std::pair<Maze*, i32>, bool> seen;
    std::vector<Pos> queue = {from};
    seen[{from.maze, from.node}] = true;
    for (size_t q = 0; q < queue.size(); q++) {
        if (Pos_same(queue[q], to)) {
            return true;
        }
        Pos out[POS_MAXEDGES];
        const i32 n = Pos_alledges(queue[q], out, nullptr);
        for (i32 i = 0; i < n; i++) {
            bool* const mark = &seen[{out[i].maze, out[i].node}];
            if (!*mark) {
                *mark = true;
                queue.push_back(out[i]);
            }
        }
    }
    return false;
}

TEST(MazeGame_generate, leaves_a_way_from_the_entrance_to_the_exit_through_the_maze)
{
    for (const auto& made : hundredworlds()) {
        const GameWorld& world = *made;
        EXPECT_TRUE(canwalk({world.game.root, 0}, {world.game.root, 2}));
    }
}

TEST(MazeGame_generate, keeps_every_port_reachable_from_port_0)
{
    for (const auto& made : hundredworlds()) {
        const GameWorld& world = *made;
        for (const Maze* const maze : mazes(world)) {
            EXPECT_TRUE(Maze_isconnected(maze));
        }
    }
}

// The method that carves the base maze of a world without nesting, by the draws before it.
static i32 carvingmethod(u32 seed)
{
    rnd_seed(seed);
    rnd(0.5);
    if (irand(13) == 5) {
        irand(9);
        irand(9);
        irand(9);
    } else {
        rnd(2.0);
    }
    return irand(3);
}

TEST(MazeGame_generate, makes_trees_by_the_two_spanning_methods)
{
    i32 trees = 0;
    for (u32 seed = 1; seed <= SEEDS; seed++) {
        const GameWorld& world = *hundredworlds()[seed - 1];
        if (carvingmethod(seed) == 0) {
            continue;
        }
        const Maze* const base = Maze_node(world.game.root, 1)->sub;
        EXPECT_EQ(Maze_edgecount(base), Maze_count(base) - 1) << "seed " << seed;
        u8* const reached = Maze_reachable(base, 0);
        for (i32 i = 0; i < Maze_count(base); i++) {
            EXPECT_EQ(reached[i], 1);
        }
        std::free(reached);
        trees++;
    }
    EXPECT_GT(trees, 50);
}

TEST(MazeGame_generate, makes_flat_grids_of_about_2500_nodes_of_many_aspects)
{
    i32 wide = 0;
    i32 high = 0;
    for (u32 seed = 1; seed <= 60; seed++) {
        rnd_seed(seed);
        rnd(0.5);
        irand(13);
        const f32 e = static_cast<f32>(std::exp(rnd(2.0) - 1.0));
        const i32 w = static_cast<i32>(50.0F * e);
        const i32 h = static_cast<i32>(50.0F / e);
        if (irand(3) == 0) {
            continue; // the method that drops nodes
        }
        const GameWorld world(seed, 0);
        EXPECT_EQ(Maze_count(Maze_node(world.game.root, 1)->sub), w * h);
        EXPECT_GT(w * h, 2250);
        EXPECT_LE(w * h, 2500);
        wide += w > 100 ? 1 : 0;
        high += h > 100 ? 1 : 0;
    }
    EXPECT_GT(wide, 0);
    EXPECT_GT(high, 0);
}

TEST(MazeGame_generate, keeps_radii_while_it_spreads_unwarped_worlds)
{
    i32 unwarped = 0;
    for (u32 seed = 1; seed <= 40; seed++) {
        const GameWorld world(seed, 5);
        const Maze* const base = Maze_node(world.game.root, 1)->sub;
        bool whole = true; // all coordinates are whole multiples of the pitch
        for (i32 i = 0; i < Maze_count(base); i++) {
            for (const f64 c : Maze_node(base, i)->pos) {
                whole = whole && std::fmod(c, 2.5) == 0.0;
            }
        }
        if (!whole) {
            continue;
        }
        unwarped++;
        for (i32 i = 0; i < Maze_count(base); i++) {
            EXPECT_EQ(Maze_node(base, i)->radius, 0.5);
        }
    }
    EXPECT_GT(unwarped, 5);
}

TEST(MazeGame_generate, colours_a_world_evenly_or_by_place)
{
    i32 even = 0;
    for (u32 seed = 1; seed <= 40; seed++) {
        const GameWorld world(seed, 5);
        bool same = true;
        const u32 colour = Maze_node(world.game.root, 0)->rec.colour;
        for (const Maze* const maze : mazes(world)) {
            for (i32 i = 0; i < Maze_count(maze); i++) {
                same = same && Maze_node(maze, i)->rec.colour == colour;
            }
        }
        if (!same) {
            continue;
        }
        even++;
        for (int shift = 0; shift < 24; shift += 8) {
            EXPECT_GE((colour >> shift) & 0xFF, 64U);
            EXPECT_LE((colour >> shift) & 0xFF, 191U);
        }
    }
    EXPECT_GT(even, 8);
    EXPECT_LT(even, 32);
}

TEST(MazeGame_generate, leaves_the_bounds_of_all_levels_right)
{
    for (const auto& made : hundredworlds()) {
        const GameWorld& world = *made;
        for (const Maze* const maze : mazes(world)) {
            Maze* const copy = Maze_clone(maze, false);
            Maze_bounds(copy, false);
            EXPECT_EQ(copy->boundradius, maze->boundradius);
            for (i32 k = 0; k < 3; k++) {
                EXPECT_EQ(copy->centre[k], maze->centre[k]);
            }
            Maze_free(copy, true);
        }
    }
}

TEST(MazeGame_generate, leaves_only_finite_numbers)
{
    for (const auto& made : hundredworlds()) {
        const GameWorld& world = *made;
        for (const Maze* const maze : mazes(world)) {
            EXPECT_TRUE(std::isfinite(maze->boundradius));
            for (i32 i = 0; i < Maze_count(maze); i++) {
                const MazeNode* const node = Maze_node(maze, i);
                EXPECT_TRUE(std::isfinite(node->radius) && node->radius > 0.0);
                for (const f64 c : node->pos) {
                    EXPECT_TRUE(std::isfinite(c));
                }
            }
        }
    }
}
