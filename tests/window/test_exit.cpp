// Every way to end a run leaves a save that the next start goes on with.
#include "tests/window/session.h"

#include <chrono>
#include <csignal>
#include <fstream>

using Leaving = WindowTest;
using Starting = WindowTest;

// Walks a little, ends by `leave`, starts again, quits at once, and compares the two saves.
static void expect_continued(const Desktop& desktop, const std::string& folder,
                             void (*leave)(const Session& run))
{
    const std::string save_path = folder + "/maze_save.dat";
    Session first(desktop, folder);
    first.start();
    first.hold("Up", 0.3);
    leave(first);
    EXPECT_EQ(first.finish(), 0);
    ASSERT_TRUE(file_exists(save_path)) << first.printed() << first.errors();
    const Save left(save_path);

    const auto begin = std::chrono::steady_clock::now();
    Session second(desktop, folder);
    second.start();
    EXPECT_EQ(second.escape(), 0);
    const std::chrono::duration<f64> lasted = std::chrono::steady_clock::now() - begin;
    const Save continued(save_path);
    EXPECT_EQ(continued.place(), left.place());
    EXPECT_EQ(continued.world(), left.world());
    EXPECT_EQ(continued.visits(), left.visits());
    EXPECT_GT(left.time, 0.3);
    EXPECT_GT(continued.time, left.time);
    EXPECT_LT(continued.time, left.time + lasted.count());
}

TEST_F(Leaving, with_Q_is_continued_by_the_next_start)
{
    settings("Seed: " + std::to_string(seed_with_an_exit_upward().seed) + "\n");
    expect_continued(desktop, folder, [](const Session& run) { run.tap("q"); });
}

TEST_F(Leaving, with_Escape_is_continued_by_the_next_start)
{
    settings("Seed: " + std::to_string(seed_with_an_exit_upward().seed) + "\n");
    expect_continued(desktop, folder, [](const Session& run) { run.tap("Escape"); });
}

TEST_F(Leaving, by_closing_the_window_is_continued_by_the_next_start)
{
    settings("Seed: " + std::to_string(seed_with_an_exit_upward().seed) + "\n");
    expect_continued(desktop, folder, [](const Session& run) { run.close(); });
}

TEST_F(Leaving, by_SIGTERM_is_continued_by_the_next_start)
{
    settings("Seed: " + std::to_string(seed_with_an_exit_upward().seed) + "\n");
    expect_continued(desktop, folder, [](const Session& run) { run.signal(SIGTERM); });
}

TEST_F(Leaving, by_SIGINT_is_continued_by_the_next_start)
{
    settings("Seed: " + std::to_string(seed_with_an_exit_upward().seed) + "\n");
    expect_continued(desktop, folder, [](const Session& run) { run.signal(SIGINT); });
}

TEST_F(Leaving, by_SIGHUP_is_continued_by_the_next_start)
{
    settings("Seed: " + std::to_string(seed_with_an_exit_upward().seed) + "\n");
    expect_continued(desktop, folder, [](const Session& run) { run.signal(SIGHUP); });
}

TEST_F(Starting, over_a_file_that_is_no_save_sets_it_aside_and_tells)
{
    std::ofstream(path("maze_save.dat")) << "this is no save";
    Session run(desktop, folder);
    run.start();
    EXPECT_EQ(file_text(path("maze_save.dat.bad")), "this is no save");
    EXPECT_EQ(run.escape(), 0);
    EXPECT_NE(run.printed().find("maze_save.dat.bad"), std::string::npos) << run.printed();
    EXPECT_GT(Save(path("maze_save.dat")).time, 0);
}
