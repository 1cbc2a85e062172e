// A walker goes twenty thousand steps through a world of every kind, by the same road as the keys of
// the game; all that the world then says about where he has been is compared with a plain account of
// his steps.
#include "base/rnd.h"
#include "generate/carve.h"
#include "generate/grids.h"
#include "generate/makemaze.h"
#include "generate/names.h"
#include "generate/stencils.h"
#include "generate/warps.h"
#include "tests/savebytes.h"

#include <map>
#include <set>
#include <utility>

using Path = std::vector<i32>; // node numbers from the root down to a maze
using Edge = std::pair<i32, i32>;

static Path path_of(const Maze* maze)
{
    Path path;
    for (; maze->parent != nullptr; maze = maze->parent) {
        path.insert(path.begin(), maze->parentnode);
    }
    return path;
}

static Edge edge_of(i32 a, i32 b)
{
    return {std::min(a, b), std::max(a, b)};
}

// What the account knows of one maze.
struct Level {
    std::map<i32, f64> nodes;  // times of the last arrival
    std::map<Edge, f64> edges; // times of the last passage
    std::set<i32> exits;       // neighbours of the parent node that have been walked to or from
};

// An edge of one maze, walked from a to b.
struct Passage {
    Path maze;
    i32 a, b;
};

// A passage between two places is one along an edge of the deepest maze that holds them both. Each
// place lies in it on a node, or in the submaze of one.
static Passage passage_of(const Path& from, i32 a, const Path& to, i32 b)
{
    const auto [end, unused] = std::mismatch(from.begin(), from.end(), to.begin(), to.end());
    const Path maze(from.begin(), end);
    const size_t depth = maze.size();
    EXPECT_LE(from.size(), depth + 1) << "out of more than one level";
    EXPECT_LE(to.size(), depth + 1) << "into more than one level";
    return {maze, from.size() > depth ? from[depth] : a, to.size() > depth ? to[depth] : b};
}

// The account: all steps, by paths and numbers alone.
struct Account {
    std::map<Path, Level> levels;
    i32 within = 0, inward = 0, outward = 0, across = 0;
    size_t deepest = 0;

    void walked(const Path& from, i32 a, const Path& to, i32 b, f64 time)
    {
        const Passage passage = passage_of(from, a, to, b);
        Level& level = levels[passage.maze];
        level.nodes[passage.b] = time;
        level.edges[edge_of(passage.a, passage.b)] = time;
        const bool out = from != passage.maze;
        const bool in = to != passage.maze;
        if (out) {
            levels[from].exits.insert(passage.b);
        }
        if (in) {
            levels[to].exits.insert(passage.a);
        }
        i32& count = out && in ? across : (out ? outward : (in ? inward : within));
        count++;
        deepest = std::max(deepest, to.size());
    }

    f64 time_of(const Path& maze, i32 a, i32 b) const
    {
        const auto level = levels.find(maze);
        if (level == levels.end()) {
            return -1.0;
        }
        const auto edge = level->second.edges.find(edge_of(a, b));
        return edge != level->second.edges.end() ? edge->second : -1.0;
    }
};

struct Walk {
    HeldGame held;
    Account account;

    Pos pos() const
    {
        return held.game.pos;
    }

    // The time at which the edge to an exit was walked last, by the account.
    f64 walked(Pos exit) const
    {
        const Passage way =
            passage_of(path_of(pos().maze), pos().node, path_of(exit.maze), exit.node);
        return account.time_of(way.maze, way.a, way.b);
    }

    // Half of the way to a place and then a little more than the rest of it, at two moments.
    void go_to(Pos exit)
    {
        const Pos from = pos();
        f64 delta[3];
        for (size_t k = 0; k < 3; k++) {
            delta[k] = (Pos_node(exit)->pos[k] - Pos_node(from)->pos[k]) * 0.6;
        }
        held.game.time += 0.25;
        MazeGame_move(&held.game, delta);
        ASSERT_TRUE(Pos_same(pos(), from)) << "half of the way was enough";
        held.game.time += 0.25;
        MazeGame_move(&held.game, delta);
        ASSERT_TRUE(Pos_same(pos(), exit)) << "the way led elsewhere";
        account.walked(path_of(from.maze), from.node, path_of(pos().maze), pos().node,
                       held.game.time);
    }

    // Goes to an exit that was never walked, if there is one, or else the one walked longest ago.
    void step()
    {
        Pos exits[POS_MAXEDGES];
        VisitRec recs[POS_MAXEDGES];
        const i32 n = Pos_alledges(pos(), exits, recs);
        ASSERT_GT(n, 0);
        i32 best = 0;
        for (i32 i = 0; i < n; i++) {
            ASSERT_EQ(Pos_node(exits[i])->sub, nullptr);
            ASSERT_EQ(recs[i].walked, walked(exits[i]));
            best = recs[i].walked < recs[best].walked ? i : best;
        }
        go_to(exits[best]);
    }

    void steps(i32 count)
    {
        for (i32 i = 0; i < count && !testing::Test::HasFatalFailure(); i++) {
            step();
        }
    }

    void save_and_load()
    {
        const Folder folder;
        const std::string file = folder.file("maze_save.dat");
        const Path maze = path_of(pos().maze);
        const i32 node = pos().node;
        char why[SAVE_WHY];
        ASSERT_TRUE(MazeGame_save(&held.game, file.c_str(), why)) << why;
        MazeGame_free(&held.game);
        held.game = {};
        ASSERT_EQ(MazeGame_load(&held.game, file.c_str(), why), SAVE_LOADED) << why;
        ASSERT_EQ(path_of(pos().maze), maze);
        ASSERT_EQ(pos().node, node);
    }
};

// Compares a maze and all below it with the account. Faults are told once a maze.
static void expect_accounted(const Account& account, const Maze* maze)
{
    const auto found = account.levels.find(path_of(maze));
    const Level level = found != account.levels.end() ? found->second : Level();
    i32 wrongnodes = 0;
    i32 wrongedges = 0;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        const MazeNode* const node = Maze_node(maze, i);
        const auto arrival = level.nodes.find(i);
        wrongnodes +=
            node->rec.walked == (arrival != level.nodes.end() ? arrival->second : -1.0) ? 0 : 1;
        for (u32 k = 0; k < node->nedges; k++) {
            const auto edge = level.edges.find(edge_of(i, node->edges[k]));
            const f64 time = edge != level.edges.end() ? edge->second : -1.0;
            wrongedges += node->edgerec[k].walked == time ? 0 : 1;
        }
        if (node->sub != nullptr) {
            expect_accounted(account, node->sub);
        }
    }
    u32 used = 0;
    for (i32 i = 0; i < Maze_ports(maze); i++) {
        used |= level.exits.count(Maze_parentnode(maze)->edges[i]) != 0 ? 1U << i : 0U;
    }
    EXPECT_EQ(wrongnodes, 0) << testing::PrintToString(path_of(maze));
    EXPECT_EQ(wrongedges, 0) << testing::PrintToString(path_of(maze));
    EXPECT_EQ(maze->visitednodes, static_cast<i32>(level.nodes.size()))
        << testing::PrintToString(path_of(maze));
    EXPECT_EQ(maze->exitsused, used) << testing::PrintToString(path_of(maze));
}

static void make_kind(Walk* walk, u32 seed, i32 kind)
{
    rnd_seed(seed);
    makemaze_forced_kind = kind;
    MazeGame_new(&walk->held.game, 0);
    makemaze_forced_kind = -1;
}

static void make_mode(Walk* walk, u32 seed, i32 mode)
{
    rnd_seed(seed);
    MazeGame_new(&walk->held.game, mode);
}

static size_t depth_of(const Maze* maze)
{
    size_t depth = 0;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        const Maze* const sub = Maze_node(maze, i)->sub;
        depth = std::max(depth, sub != nullptr ? 1 + depth_of(sub) : 0);
    }
    return depth;
}

enum { STEPS = 20000 };

// Walks, with a save and a load halfway, and compares.
static void walk_and_recount(Walk* walk)
{
    walk->steps(STEPS / 2);
    expect_accounted(walk->account, walk->held->root); // what is saved isn't all that was counted
    ASSERT_NO_FATAL_FAILURE(walk->save_and_load());
    walk->steps(STEPS / 2);
    expect_accounted(walk->account, walk->held->root);
    EXPECT_SOUND(walk->held->root);
}

// Levels are walked into and out of, the deepest too, and the way from one submaze straight into the
// next is taken.
static void expect_crossed(const Walk* walk)
{
    const Account& account = walk->account;
    EXPECT_EQ(account.within + account.inward + account.outward + account.across, STEPS);
    EXPECT_EQ(account.deepest, depth_of(walk->held.game.root));
    EXPECT_GT(account.inward, 0);
    EXPECT_GT(account.outward, 0);
    EXPECT_GT(account.across, 0);
}

static void walk_kind(i32 kind)
{
    SCOPED_TRACE(kind);
    Walk walk;
    make_kind(&walk, 1, kind);
    walk_and_recount(&walk);
    if (walk.held.game.showexits != 0) { // it nests
        expect_crossed(&walk);
    }
}

TEST(Walk_of_20000_steps, through_grids_is_accounted_for)
{
    walk_kind(0);
    walk_kind(1);
    walk_kind(2);
    walk_kind(5);
}

TEST(Walk_of_20000_steps, through_tilings_and_rings_is_accounted_for)
{
    walk_kind(3);
    walk_kind(4);
    walk_kind(6);
}

TEST(Walk_of_20000_steps, on_curved_surfaces_is_accounted_for)
{
    walk_kind(7);
    walk_kind(10);
    walk_kind(11);
}

TEST(Walk_of_20000_steps, crosses_a_world_of_three_levels)
{
    walk_kind(8);
}

TEST(Walk_of_20000_steps, crosses_a_world_of_four_levels)
{
    walk_kind(9);
}

TEST(Walk_of_20000_steps, crosses_a_world_of_five_levels)
{
    walk_kind(12);
}

TEST(Walk_of_20000_steps, crosses_the_gallery)
{
    Walk walk;
    make_mode(&walk, 1, 2);
    walk_and_recount(&walk);
    expect_crossed(&walk);
}

// The nested grid, on a smaller square and with fewer nodes in a nest.
TEST(Walk_of_20000_steps, crosses_grids_in_grids)
{
    rnd_seed(1);
    Walk walk;
    MazeGame* const game = &walk.held.game;
    MazeGame_setup(game);
    game->root = grid_maze(8, 8, 1);
    for (i32 i = 0; i < 4; i++) {
        recursify(game->root, 0.1, 4.0, grid_square);
    }
    Maze_foreach(game->root, makemaze_corridors);
    Maze_numbersubs(game->root);
    Maze_spread(game->root);
    game->pos = MazeGame_place({game->root, 0});
    Maze_bounds(game->root, true);
    MazeGame_startcamera(game);
    walk_and_recount(&walk);
    expect_crossed(&walk);
}

#ifdef NDEBUG // four million nodes: seconds in a build for use, and many of them in others
TEST(Walk_of_20000_steps, crosses_the_nested_grid)
{
    Walk walk;
    make_mode(&walk, 1, 1);
    walk.steps(STEPS);
    expect_accounted(walk.account, walk.held->root);
    expect_crossed(&walk);
}
#endif
