// The keys that reshape worlds, on worlds of each kind, and what they leave in the save.
#include "model/mazegame.h"
#include "model/pos.h"
#include "model/savefile.h"
#include "model/surgery.h"
#include "tests/window/basemaze.h"
#include "tests/window/session.h"

#include <cmath>
#include <sstream>

static std::string graph(const Maze* maze)
{
    std::ostringstream out;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        const MazeNode* const node = Maze_node(maze, i);
        for (u32 k = 0; k < node->nedges; k++) {
            out << node->edges[k] << " ";
        }
        out << (node->sub != nullptr ? "(" + graph(node->sub) + ")\n" : "\n");
    }
    return out.str();
}

static i32 nodes_of_colour(const Maze* maze, u32 colour)
{
    i32 count = 0;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        count += Maze_node(maze, i)->rec.colour == colour ? 1 : 0;
    }
    return count;
}

static f64 way(const MazeNode* from, const MazeNode* to)
{
    return std::hypot(to->pos[0] - from->pos[0], to->pos[1] - from->pos[1],
                      to->pos[2] - from->pos[2]);
}

static i32 moved(const Maze* before, const Maze* after)
{
    i32 count = 0;
    for (i32 i = 0; i < Maze_count(before); i++) {
        count += way(Maze_node(before, i), Maze_node(after, i)) > 1e-9 ? 1 : 0;
    }
    return count;
}

// What is wrong with a save of which also the ports are asked to be joined, with its place cut off.
static std::string fault(const std::string& path)
{
    const std::string bytes = file_text(path);
    std::string why(SAVE_WHY, 0);
    if (savefile_checkcrossed(reinterpret_cast<const u8*>(bytes.data()), bytes.size(),
                              why.data()) == SAVE_SOUND) {
        return "";
    }
    why.resize(why.find('\0'));
    return why.substr(why.find(": ") + 2);
}

class Keys_on_worlds : public WindowTest
{
  protected:
    std::string save() const
    {
        return path("maze_save.dat");
    }

    // Leaves a world with the player inside its base maze as the save that the program loads.
    void leave_world(i32 kind) const
    {
        settings("Resolution: 320x240\n");
        leave_base_maze(save(), kind);
    }

    // Runs the program, gives it keys, and quits.
    void play(const std::function<void(const Session& run)>& keys) const
    {
        Session run(desktop, folder);
        run.start();
        keys(run);
        EXPECT_GT(desktop.colours(run.window()), 8U);
        EXPECT_EQ(run.escape(), 0);
        EXPECT_EQ(run.errors(), "");
    }
};

static void simplify(const Session& run)
{
    run.hold("r", 0.2);
}

static void relax(const Session& run)
{
    run.hold("e", 0.2);
}

static void contract_simplify_relax(const Session& run)
{
    for (const char* const keys : {"k", "shift+k", "ctrl+k", "shift+ctrl+k"}) {
        run.tap(keys);
    }
    simplify(run);
    relax(run);
}

// The same contractions without a window.
static void contract(MazeGame* game)
{
    contract_base(game, false, false);
    contract_base(game, true, false);
    contract_base(game, false, true);
    contract_base(game, true, true);
}

// Kinds 1 and 2 are kind 0 by other numbers.
TEST_F(Keys_on_worlds, K_R_and_E_reshape_each_kind)
{
    for (const i32 kind : {0, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}) {
        SCOPED_TRACE(kind);
        ASSERT_NO_FATAL_FAILURE(leave_world(kind));
        Save before(save());
        contract(&before.game);
        play(contract_simplify_relax);
        const Save after(save());
        const Maze* const level = level_of(after.game);
        EXPECT_EQ(graph(after.game.root), graph(before.game.root));
        EXPECT_GT(moved(level_of(before.game), level), 0);
        EXPECT_EQ(nodes_of_colour(level, 0xC04040), Maze_count(level));
        const std::string found = fault(save());
        EXPECT_TRUE(found.empty() || found == "no way from port to port") << found;
    }
}

TEST_F(Keys_on_worlds, R_draws_a_level_together_and_carries_what_lies_in_it)
{
    ASSERT_NO_FATAL_FAILURE(leave_world(12));
    const Save before(save());
    play(simplify);
    const Save after(save());
    const Maze* const was = level_of(before.game);
    const Maze* const now = level_of(after.game);
    EXPECT_EQ(graph(after.game.root), graph(before.game.root));
    EXPECT_GT(moved(was, now), 0);
    EXPECT_LT(Maze_extent(now), Maze_extent(was));
    for (i32 i = 0; i < Maze_count(was); i++) {
        const MazeNode* const node = Maze_node(was, i);
        if (node->sub != nullptr) {
            const MazeNode* const held = Maze_node(Maze_node(now, i)->sub, 0);
            EXPECT_NEAR(way(Maze_node(node->sub, 0), held), way(node, Maze_node(now, i)), 1e-6);
        }
    }
    EXPECT_EQ(fault(save()), "");
}

TEST_F(Keys_on_worlds, E_reddens_a_level_and_leaves_what_lies_in_it_behind)
{
    ASSERT_NO_FATAL_FAILURE(leave_world(12));
    const Save before(save());
    play(relax);
    const Save after(save());
    const Maze* const was = level_of(before.game);
    const Maze* const now = level_of(after.game);
    EXPECT_EQ(graph(after.game.root), graph(before.game.root));
    EXPECT_GT(moved(was, now), 0);
    EXPECT_EQ(nodes_of_colour(now, 0xC04040), Maze_count(now));
    for (i32 i = 0; i < Maze_count(was); i++) {
        const MazeNode* const node = Maze_node(was, i);
        if (node->sub != nullptr) {
            const Maze* const sub = Maze_node(now, i)->sub;
            EXPECT_EQ(nodes_of_colour(sub, 0xC04040), 0);
            EXPECT_NEAR(way(Maze_node(node->sub, 0), Maze_node(sub, 0)),
                        0.4 * way(node, Maze_node(now, i)), 1e-6);
        }
    }
    EXPECT_EQ(fault(save()), "");
}
