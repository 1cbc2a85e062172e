// A minute of reshaping keys and steps at random, frame by frame, in worlds of several kinds. The save
// that is left is sound, and nothing was said on the way: under the sanitizers, that covers what they
// say.
#include "base/rnd.h"
#include "generate/makemaze.h"
#include "tests/shell_session.h"

#include <random>
#include <set>
#include <sstream>

enum { FRAMES = 3600 };

// Keys go down and come up at random; K is pressed. Each frame at most one key changes.
static std::string random_script(u32 seed)
{
    static const char* const names[] = {"R",  "E",    "C",    "Shift", "Ctrl",
                                        "Up", "Down", "Left", "Right"};
    std::mt19937 random(seed);
    std::set<std::string> down;
    std::ostringstream script;
    for (i32 frame = 1; frame <= FRAMES; frame++) {
        const std::string key = names[random() % 9];
        const u32 chance = random() % 24;
        if (chance == 0) {
            script << "at " << frame << " press K\n";
        } else if (chance < (down.count(key) != 0 ? 8U : 3U)) {
            const bool held = down.erase(key) != 0;
            script << "at " << frame << (held ? " release " : " hold ") << key << "\n";
            if (!held) {
                down.insert(key);
            }
        }
    }
    return script.str();
}

// Leaves a world of a kind, with the player at a place in the submazes of the root's middle node.
static void leave_kind(const Folder& folder, u32 seed, i32 kind, i32 depth)
{
    MazeGame game;
    rnd_seed(seed);
    makemaze_forced_kind = kind;
    MazeGame_new(&game, 0);
    makemaze_forced_kind = -1;
    Maze* maze = Maze_node(game.root, 1)->sub;
    for (i32 level = 1; level < depth; level++) {
        i32 holder = Maze_count(maze) - 1;
        while (Maze_node(maze, holder)->sub == nullptr) {
            holder--;
            ASSERT_GE(holder, 0) << "no level " << level + 1;
        }
        maze = Maze_node(maze, holder)->sub;
    }
    game.pos = {maze, 0}; // a port
    std::string why(SAVE_WHY, 0);
    const bool done = MazeGame_save(&game, folder.file("maze_save.dat").c_str(), why.data());
    MazeGame_free(&game);
    ASSERT_TRUE(done) << why;
}

// The fault of a save of which also the ports are asked to be joined, from its place on.
static std::string fault(const std::string& bytes, SaveVerdict* verdict)
{
    std::string why(SAVE_WHY, 0);
    const u8* const start = reinterpret_cast<const u8*>(bytes.data());
    *verdict = savefile_check(start, bytes.size(), why.data());
    if (savefile_checkcrossed(start, bytes.size(), why.data()) == SAVE_SOUND) {
        return "";
    }
    return why.c_str();
}

// Contraction may part the ports of a level, when a node has no room for all the edges that come to
// it. That is the one fault there may be, and the game doesn't mind it.
static void expect_reshaped_soundly(u32 seed, i32 kind, i32 depth)
{
    const Folder folder;
    ASSERT_NO_FATAL_FAILURE(leave_kind(folder, seed, kind, depth));
    const std::string before = folder.read("maze_save.dat");
    const Played played = play(folder, random_script(seed), "--size 160x120 --frames 3600");
    EXPECT_EQ(played.outcome.code, 0);
    EXPECT_EQ(played.outcome.err, "");
    ASSERT_EQ(played.log.rows.size(), static_cast<size_t>(FRAMES));
    std::set<std::string> mazes;
    for (const auto& row : played.log.rows) {
        mazes.insert(row.at("maze"));
    }
    SaveVerdict verdict;
    const std::string after = folder.read("maze_save.dat");
    const std::string why = fault(after, &verdict);
    EXPECT_EQ(verdict, SAVE_SOUND) << why;
    EXPECT_TRUE(why.empty() || why.ends_with(": no way from port to port")) << why;
    EXPECT_NE(after, before);
    EXPECT_GT(mazes.size(), 1U) << "the player never left the first maze";
}

TEST(A_minute_of_reshaping, leaves_a_block_sound)
{
    expect_reshaped_soundly(7, 5, 1);
}

TEST(A_minute_of_reshaping, leaves_four_levels_sound)
{
    expect_reshaped_soundly(6, 9, 2);
}

TEST(A_minute_of_reshaping, leaves_five_levels_sound)
{
    expect_reshaped_soundly(7, 12, 1);
}

TEST(A_minute_of_reshaping, leaves_a_nest_sound_from_within)
{
    expect_reshaped_soundly(8, 12, 3);
}
