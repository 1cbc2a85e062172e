// Whatever ends a run in a window, at whatever moment: a whole save is left, and the next start goes
// on with it. So it is when the display itself ends.
#include "base/wholefile.h"
#include "tests/moments.h"
#include "tests/tempfolder.h"
#include "tests/window/session.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>

enum { MOMENTS = 20 };

class Ends : public WindowTest
{
};

// What a run may not lose. The record of a save without the save.
struct Kept {
    f64 time;
    int visits;
    std::vector<int> place;
    std::string world;
};

static Kept kept_in(const std::string& folder)
{
    const Save save(folder + "/maze_save.dat");
    return {save.time, save.visits(), save.place(), save.world()};
}

static void expect_whole(const Desktop& desktop, const std::string& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    for (const std::string& name : names) {
        EXPECT_TRUE(name == "config.txt" || name == "maze_save.dat" || name == "out.txt" ||
                    name == "err.txt" || name == "warnings.log")
            << name;
    }
    EXPECT_EQ(std::count(names.begin(), names.end(), "maze_save.dat"), 1);
    EXPECT_TRUE(desktop.tried(CORVANE_BIN_DIR "/corvane-world check " + folder + "/maze_save.dat"));
    EXPECT_NE(file_text(folder + "/config.txt").find("Stereo Depth: 0.05\n"), std::string::npos);
}

// The first run of a chain: it walks, so that there is something to lose. A small window is soon read.
static void walk_first(const Desktop& desktop, const std::string& folder)
{
    write_text(folder + "/config.txt", "Resolution: 200x150\nSeed: " +
                                           std::to_string(seed_with_an_exit_upward().seed) + "\n");
    Session first(desktop, folder);
    first.start();
    first.hold("Up", 0.3);
    ASSERT_EQ(first.escape(), 0);
    ASSERT_GT(kept_in(folder).visits, seed_with_an_exit_upward().visits);
}

// A run that didn't walk has gone on with what the one before has left, and has left it again.
static void expect_gone_on(const Kept& before, const Kept& after, double lasted)
{
    EXPECT_EQ(after.visits, before.visits);
    EXPECT_EQ(after.place, before.place);
    EXPECT_TRUE(after.world == before.world);
    EXPECT_GE(after.time, before.time);
    EXPECT_LE(after.time, before.time + lasted);
}

static void wait_for_picture(const Desktop& desktop, Session* run)
{
    run->wait_for_window();
    ASSERT_TRUE(wait_until(20, [&] { return desktop.colours(run->window()) > 8; }));
}

// Ends a run, says whether it might end unsaved, as before the first line of the program.
using Leave = std::function<bool(const Session& run)>;

// One run of a chain. `moment` is counted from its start, or with `shown` from its first picture.
static void run_once(const Desktop& desktop, const std::string& folder, bool shown, double moment,
                     bool minimised, const Leave& leave)
{
    const Kept before = kept_in(folder);
    const auto begin = std::chrono::steady_clock::now();
    Session run(desktop, folder);
    if (shown) {
        ASSERT_NO_FATAL_FAILURE(wait_for_picture(desktop, &run));
    }
    if (minimised) {
        desktop.run("xdotool windowminimize " + run.window());
    }
    sleep_for(moment);
    const bool may_be_early = leave(run);
    const int code = run.finish();
    const std::chrono::duration<double> lasted = std::chrono::steady_clock::now() - begin;
    EXPECT_TRUE(code == 0 || (may_be_early && code > 128)) << code;
    EXPECT_EQ(run.printed(), "");
    expect_whole(desktop, folder);
    expect_gone_on(before, kept_in(folder), lasted.count());
}

static bool send(const Session& run, int signal)
{
    const bool early = !catches(run.id_of_process(), signal);
    run.signal(signal);
    return early;
}

// Signals come at any moment: a third of them in the start, a sixth while the window is minimised.
static void chain_of_signals(const Desktop& desktop, const std::string& folder, const Leave& leave,
                             const char* name)
{
    walk_first(desktop, folder);
    Moments moments(name);
    for (int i = 0; i < MOMENTS; i++) {
        const bool shown = i % 3 != 0;
        const double moment = moments.within(0, shown ? 0.2 : 0.15);
        SCOPED_TRACE("moment " + std::to_string(moment) + (shown ? " of the window" : ""));
        run_once(desktop, folder, shown, moment, i % 6 == 5, leave);
    }
}

// What goes through the display comes once there is a picture.
static void chain_of_input(const Desktop& desktop, const std::string& folder, bool minimises,
                           const Leave& leave, const char* name)
{
    walk_first(desktop, folder);
    Moments moments(name);
    for (int i = 0; i < MOMENTS; i++) {
        const double moment = moments.within(0, 0.2);
        SCOPED_TRACE("moment " + std::to_string(moment));
        run_once(desktop, folder, true, moment, minimises && i % 4 == 3, leave);
    }
}

// The window has the keys a little after its first picture.
static bool tap(const Desktop& desktop, const Session& run, const char* key)
{
    run.wait_for_keys();
    desktop.run(std::string("xdotool key ") + key);
    return false;
}

TEST_F(Ends, by_SIGINT_at_random_moments_are_gone_on_with)
{
    chain_of_signals(
        desktop, folder, [](const Session& run) { return send(run, SIGINT); }, "SIGINT");
}

TEST_F(Ends, by_SIGTERM_at_random_moments_are_gone_on_with)
{
    chain_of_signals(
        desktop, folder, [](const Session& run) { return send(run, SIGTERM); }, "SIGTERM");
}

TEST_F(Ends, by_SIGHUP_at_random_moments_are_gone_on_with)
{
    chain_of_signals(
        desktop, folder, [](const Session& run) { return send(run, SIGHUP); }, "SIGHUP");
}

TEST_F(Ends, by_SIGINT_and_SIGTERM_soon_after_are_gone_on_with)
{
    const auto both = [](const Session& run) {
        const bool early = send(run, SIGINT);
        sleep_for(0.002);
        run.signal(SIGTERM);
        sleep_for(0.005);
        run.signal(SIGTERM);
        return early;
    };
    chain_of_signals(desktop, folder, both, "two signals");
}

TEST_F(Ends, by_Q_at_random_moments_are_gone_on_with)
{
    chain_of_input(
        desktop, folder, false, [this](const Session& run) { return tap(desktop, run, "q"); }, "Q");
}

TEST_F(Ends, by_Escape_at_random_moments_are_gone_on_with)
{
    chain_of_input(
        desktop, folder, false, [this](const Session& run) { return tap(desktop, run, "Escape"); },
        "Escape");
}

TEST_F(Ends, by_closing_the_window_at_random_moments_are_gone_on_with)
{
    const auto close = [](const Session& run) {
        run.close();
        return false;
    };
    chain_of_input(desktop, folder, true, close, "the close button");
}

// The next start goes on with what such a run has left, and quits at once.
static void expect_next_goes_on(const Desktop& desktop, const std::string& folder)
{
    const Kept left = kept_in(folder);
    const auto begin = std::chrono::steady_clock::now();
    Session next(desktop, folder);
    next.wait_for_window();
    next.signal(SIGTERM);
    EXPECT_EQ(next.finish(), 0);
    const std::chrono::duration<double> lasted = std::chrono::steady_clock::now() - begin;
    expect_gone_on(left, kept_in(folder), lasted.count());
}

TEST_F(Ends, while_worlds_are_made_leave_a_whole_one)
{
    walk_first(desktop, folder);
    const int walked = kept_in(folder).visits;
    int made = 0;
    Moments moments("making worlds");
    for (int i = 0; i < MOMENTS; i++) {
        Session run(desktop, folder);
        run.start();
        const double moment = moments.within(0, 0.12);
        SCOPED_TRACE("moment " + std::to_string(moment));
        desktop.run("xdotool key --delay 10 n n n");
        sleep_for(moment);
        if (i % 4 == 3) {
            run.close();
        } else {
            run.signal(i % 2 == 0 ? SIGTERM : SIGHUP);
        }
        EXPECT_EQ(run.finish(), 0) << run.printed() << run.errors();
        expect_whole(desktop, folder);
        made += kept_in(folder).visits < walked ? 1 : 0; // nothing is walked in a new world
        if (i % 5 == 0) {
            expect_next_goes_on(desktop, folder);
        }
    }
    EXPECT_GT(made, 0);
}

// Runs on displays of their own, in a folder that outlives them.
class LostDisplay : public testing::Test
{
  protected:
    void SetUp() override
    {
        const Desktop desktop;
        walk_first(desktop, folder.path);
    }

    TempFolder folder;
};

static void expect_told_and_saved(const Session& run, int code)
{
    EXPECT_EQ(code, 1);
    EXPECT_EQ(run.printed(), "The connection to the display is lost, so Corvane ends.\n"
                             "The game is saved in maze_save.dat.\n");
}

// Drivers crash when the display ends while they make a window, before there is a game.
static void expect_crash_in_opening(const Session& run, int code)
{
    EXPECT_EQ(code, 128 + SIGSEGV);
    EXPECT_NE(run.errors().find("CORVANE_TIMES settings"), std::string::npos) << run.errors();
    EXPECT_EQ(run.errors().find("CORVANE_TIMES window"), std::string::npos) << run.errors();
}

TEST_F(LostDisplay, at_random_moments_leaves_a_save_that_is_gone_on_with)
{
    Moments moments("the end of the display");
    setenv("CORVANE_TIMES", "1", 1); // shows how far a start has come
    for (int i = 0; i < MOMENTS; i++) {
        const Kept before = kept_in(folder.path);
        const Desktop desktop(false);
        const auto begin = std::chrono::steady_clock::now();
        Session run(desktop, folder.path);
        const bool shown = i % 4 != 0;
        if (shown) {
            wait_for_picture(desktop, &run);
        }
        const double moment = moments.within(0, 0.15);
        SCOPED_TRACE("moment " + std::to_string(moment) + (shown ? " of the window" : ""));
        sleep_for(moment);
        desktop.signal_server(SIGKILL);
        const int code = run.finish();
        const std::chrono::duration<double> lasted = std::chrono::steady_clock::now() - begin;
        const Kept after = kept_in(folder.path);
        if (shown) {
            expect_told_and_saved(run, code);
            EXPECT_GT(after.time, before.time);
        } else if (code != 1) {
            expect_crash_in_opening(run, code);
        }
        expect_whole(desktop, folder.path);
        expect_gone_on(before, after, lasted.count());
    }
    unsetenv("CORVANE_TIMES");
    const Desktop desktop;
    expect_next_goes_on(desktop, folder.path);
}

TEST_F(LostDisplay, while_worlds_are_made_leaves_a_whole_one)
{
    Moments moments("the end of the display while worlds are made");
    for (int i = 0; i < 5; i++) {
        const Desktop desktop;
        Session run(desktop, folder.path);
        run.start();
        desktop.run("xdotool key --delay 10 n n n");
        const double moment = moments.within(0, 0.12);
        SCOPED_TRACE("moment " + std::to_string(moment));
        sleep_for(moment);
        desktop.signal_server(SIGKILL);
        const int code = run.finish();
        expect_told_and_saved(run, code);
        expect_whole(desktop, folder.path);
    }
    const Desktop desktop;
    expect_next_goes_on(desktop, folder.path);
}

TEST_F(LostDisplay, that_has_hung_before_leaves_a_save_after_a_signal_to_end)
{
    const Kept before = kept_in(folder.path);
    const Desktop desktop(false);
    Session run(desktop, folder.path);
    wait_for_picture(desktop, &run);
    desktop.signal_server(SIGSTOP);
    run.signal(SIGTERM);
    sleep_for(0.3);
    desktop.signal_server(SIGKILL);
    const int code = run.finish();
    EXPECT_TRUE(code == 0 || code == 1) << code;
    expect_whole(desktop, folder.path);
    EXPECT_GT(kept_in(folder.path).time, before.time);
}

TEST_F(LostDisplay, that_hangs_for_a_while_delays_the_end_only)
{
    const Kept before = kept_in(folder.path);
    const Desktop desktop(false);
    Session run(desktop, folder.path);
    wait_for_picture(desktop, &run);
    desktop.signal_server(SIGSTOP);
    run.signal(SIGTERM);
    sleep_for(0.3);
    desktop.signal_server(SIGCONT);
    EXPECT_EQ(run.finish(), 0);
    EXPECT_EQ(run.printed(), "");
    expect_whole(desktop, folder.path);
    EXPECT_GT(kept_in(folder.path).time, before.time);
}

TEST_F(LostDisplay, that_cuts_off_this_one_program_leaves_a_save)
{
    const Kept before = kept_in(folder.path);
    const Desktop desktop;
    Session run(desktop, folder.path);
    wait_for_picture(desktop, &run);
    desktop.run("xdotool windowkill " + run.window());
    const int code = run.finish();
    expect_told_and_saved(run, code);
    expect_whole(desktop, folder.path);
    EXPECT_GT(kept_in(folder.path).time, before.time);
    expect_next_goes_on(desktop, folder.path);
}

TEST_F(LostDisplay, in_a_second_copy_leaves_a_save_beside)
{
    const std::string save = file_text(folder.file("maze_save.dat"));
    int lock;
    ASSERT_EQ(wholefile_lock(folder.path.c_str(), &lock), WHOLEFILE_LOCKED);
    const Desktop desktop(false);
    Session run(desktop, folder.path);
    wait_for_picture(desktop, &run);
    desktop.signal_server(SIGKILL);
    EXPECT_EQ(run.finish(), 1);
    wholefile_unlock(lock);
    EXPECT_EQ(file_text(folder.file("maze_save.dat")), save);
    EXPECT_GT(Save(folder.file("maze_save-2.dat")).time, 0);
    EXPECT_NE(run.printed().find("The game is saved in " + folder.file("maze_save-2.dat")),
              std::string::npos)
        << run.printed();
}
