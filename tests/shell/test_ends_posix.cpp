// Whatever ends a run, at whatever moment: a whole save is left, and the next start goes on with it.
#include "base/report.h"
#include "model/commands.h"
#include "shell/lastsave.h"
#include "tests/moments.h"
#include "tests/shell_session.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <thread>

enum { MOMENTS = 20, NEVER = 100000000 };

static void wait_for(double seconds)
{
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

// What a save file holds, as far as a run that doesn't walk leaves it alone.
struct Left {
    f64 time = -1;
    i32 nodes = 0, node = 0;
    i32 visited = 0; // of the player's maze
    i32 visits = 0;  // of all

    bool operator==(const Left& other) const // but for the clock
    {
        return nodes == other.nodes && node == other.node && visited == other.visited &&
               visits == other.visits;
    }
};

static void count_below(const Maze* maze, Left* left)
{
    left->nodes += Maze_count(maze);
    left->visits += maze->visitednodes;
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        if (Maze_node(maze, i)->sub != nullptr) {
            count_below(Maze_node(maze, i)->sub, left);
        }
    }
}

static Left left_in(const Folder& folder, const std::string& name = "maze_save.dat")
{
    std::string why(SAVE_WHY, 0);
    MazeGame game = {};
    Left left;
    if (MazeGame_loadshared(&game, folder.file(name).c_str(), why.data()) != SAVE_LOADED) {
        ADD_FAILURE() << name << ": " << why.c_str();
        return left;
    }
    left.time = game.time;
    left.node = game.pos.node;
    left.visited = game.pos.maze->visitednodes;
    count_below(game.root, &left);
    MazeGame_free(&game);
    return left;
}

static void expect_sound(const Folder& folder)
{
    const Outcome check = run_in(folder, program("corvane-world") + " check maze_save.dat");
    EXPECT_EQ(check.code, 0) << check.out << check.err;
}

// A process of corvane-play in a folder, for as many frames as it is let.
struct Playing {
    Folder side; // for its script, its log and what it prints
    pid_t process = -1;

    Playing(const Folder& folder, const std::string& script)
    {
        side.write("script", script);
        process = fork();
        if (process == 0) {
            become(folder);
        }
    }
    ~Playing()
    {
        if (process > 0) {
            kill(process, SIGKILL);
            waitpid(process, nullptr, 0);
        }
    }
    Playing(const Playing&) = delete;
    Playing& operator=(const Playing&) = delete;

    [[noreturn]] void become(const Folder& folder) const
    {
        const std::string tool = program("corvane-play");
        const std::string script = side.file("script");
        const std::string log = side.file("log");
        const std::string frames = std::to_string(NEVER);
        setenv("LP_NUM_THREADS", "0", 1); // a tiny picture is drawn sooner by one thread
        const int out = open(side.file("out").c_str(), O_WRONLY | O_CREAT, 0600);
        if (out >= 0 && dup2(out, 1) >= 0 && dup2(out, 2) >= 0 && chdir(folder.path.c_str()) == 0) {
            execl(tool.c_str(), tool.c_str(), script.c_str(), "--log", log.c_str(), "--size",
                  "16x12", "--frames", frames.c_str(), nullptr);
        }
        _exit(127);
    }
    // The exit code, or 128 and the signal; a run that doesn't end in a minute is killed.
    int end()
    {
        int status = -1;
        for (i32 tries = 0; waitpid(process, &status, WNOHANG) == 0; tries++) {
            if (tries == 60000) {
                kill(process, SIGKILL);
            }
            wait_for(0.001);
        }
        process = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    std::string out() const
    {
        return side.read("out");
    }
    // The first `count` frames.
    Log frames(size_t count) const
    {
        const std::string text = side.read("log");
        size_t end = 0;
        for (size_t i = 0; i <= count && end != std::string::npos; i++) {
            end = text.find('\n', end);
            end = end == std::string::npos ? end : end + 1;
        }
        return text.empty() ? Log() : parse_log(text.substr(0, end));
    }
};

// A run that has gone on with a save shows it in its first frame, before anything moves.
static void expect_goes_on(const Log& log, const Left& before)
{
    ASSERT_FALSE(log.rows.empty());
    EXPECT_EQ(log.integer(0, "node"), before.node);
    EXPECT_EQ(log.integer(0, "visited"), before.visited);
    EXPECT_GE(log.real(0, "time"), before.time);
}

// How long it takes from the start to the end of the second frame, as things are now.
static double start_time(const Folder& folder)
{
    const auto begin = std::chrono::steady_clock::now();
    Playing run(folder, "at 2 hold Q\n");
    EXPECT_EQ(run.end(), 0) << run.out();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

// Moments of a run: a third of them in its start, the others in its frames.
static double moment_of(Moments* moments, int i, double start)
{
    return i % 3 == 0 ? moments->within(0, start) : moments->within(start, 2 * start + 0.1);
}

// What was told but for the lines of progress of worlds that nest.
static std::string without_progress(const std::string& out)
{
    std::string told;
    for (const std::string& line : cut(out, '\n')) {
        told += line.rfind("recursify_stencil(", 0) == 0 ? "" : line;
    }
    return told;
}

// The end of one run of a chain in one folder, by a signal at a moment.
struct Ended {
    bool early; // the signal came before the program looked, and ended it with nothing written
    Left before, after;
    Log log;
};

static Ended end_by_signal(const Folder& folder, const std::string& script, int signal,
                           double moment, double second_after = -1, int second = 0)
{
    Ended ended = {.early = false, .before = left_in(folder), .after = {}, .log = {}};
    const std::string save = folder.read("maze_save.dat");
    const std::string settings = folder.read("config.txt");
    Playing run(folder, script);
    wait_for(moment);
    const bool caught = catches(run.process, signal);
    kill(run.process, signal);
    if (second_after >= 0) {
        wait_for(second_after);
        kill(run.process, second);
    }
    const int code = run.end();
    ended.early = code >= 128 && !caught;
    if (ended.early) {
        EXPECT_TRUE(code == 128 + signal || code == 128 + second) << code;
        EXPECT_EQ(folder.read("maze_save.dat"), save);
        EXPECT_EQ(folder.read("config.txt"), settings);
    } else {
        EXPECT_EQ(code, 0) << run.out();
    }
    EXPECT_EQ(without_progress(run.out()), "");
    expect_sound(folder);
    ended.after = left_in(folder);
    ended.log = run.frames(1);
    EXPECT_EQ(folder.listing(), "config.txt maze_save.dat");
    return ended;
}

static const char* const walking = "at 2 hold Right\n";

// Each run is the next start of the one before; every other one walks. On a machine that gets slower
// meanwhile there are more of them, later and later, until some have come to their frames and walked.
static void expect_signal_saves(int signal, const char* name)
{
    const Folder folder;
    leave_line(folder, 300, 10);
    Moments moments(name);
    double start = start_time(folder);
    i32 shown = 0;
    i32 walked = 0;
    for (int i = 0; i < MOMENTS || (i < 5 * MOMENTS && (shown < MOMENTS / 3 || walked == 0)); i++) {
        const double moment = moment_of(&moments, i, start);
        SCOPED_TRACE("moment " + std::to_string(moment));
        const bool walks = i % 2 != 0;
        const Ended ended = end_by_signal(folder, walks ? walking : "", signal, moment);
        if (!ended.log.rows.empty()) {
            shown++;
            expect_goes_on(ended.log, ended.before);
        }
        start *= i >= MOMENTS ? 1.2 : 1.0;
        walked += ended.after.visits > ended.before.visits ? 1 : 0;
        EXPECT_GE(ended.after.time, ended.before.time);
        EXPECT_GE(ended.after.visits, ended.before.visits);
        EXPECT_TRUE(walks || ended.after == ended.before);
    }
    EXPECT_GE(shown, MOMENTS / 3);
    EXPECT_GT(walked, 0) << "nothing was walked";
}

TEST(an_end_by_signal, SIGINT_at_random_moments_is_gone_on_with)
{
    expect_signal_saves(SIGINT, "SIGINT");
}

TEST(an_end_by_signal, SIGTERM_at_random_moments_is_gone_on_with)
{
    expect_signal_saves(SIGTERM, "SIGTERM");
}

TEST(an_end_by_signal, SIGHUP_at_random_moments_is_gone_on_with)
{
    expect_signal_saves(SIGHUP, "SIGHUP");
}

TEST(an_end_by_signal, of_a_first_start_leaves_the_world_that_it_has_made)
{
    double start = 0;
    {
        const Folder folder;
        start = start_time(folder);
    }
    Moments moments("first starts");
    i32 saved = 0;
    for (int i = 0; i < MOMENTS || (i < 5 * MOMENTS && saved < MOMENTS / 2); i++) {
        start *= i >= MOMENTS ? 1.2 : 1.0;
        const double moment = moments.within(0.2 * start, 1.2 * start);
        SCOPED_TRACE("moment " + std::to_string(moment));
        const Folder folder;
        Playing run(folder, "");
        wait_for(moment);
        const bool caught = catches(run.process, SIGTERM);
        kill(run.process, SIGTERM);
        const int code = run.end();
        if (code == 128 + SIGTERM && !caught) {
            EXPECT_EQ(folder.listing(), "");
            continue;
        }
        saved++;
        EXPECT_EQ(code, 0) << run.out();
        EXPECT_EQ(folder.listing(), "config.txt maze_save.dat");
        expect_sound(folder);
        const Left left = left_in(folder);
        Playing next(folder, "at 2 hold Q\n");
        EXPECT_EQ(next.end(), 0) << next.out();
        expect_goes_on(next.frames(1), left);
    }
    EXPECT_GE(saved, MOMENTS / 2);
}

// N in every other frame: nearly all of the time goes into making worlds.
static std::string always_making()
{
    std::string script;
    for (int i = 2; i < 4000; i += 2) {
        script += "at " + std::to_string(i) + " press N\n";
    }
    return script;
}

TEST(an_end_by_signal, while_worlds_are_made_leaves_a_whole_one)
{
    const Folder folder;
    leave_line(folder);
    Moments moments("making worlds");
    double start = start_time(folder);
    const std::string script = always_making();
    static const int signals[] = {SIGINT, SIGTERM, SIGHUP};
    for (int i = 0; i < MOMENTS || (i < 5 * MOMENTS && left_in(folder).nodes == 20); i++) {
        start *= i >= MOMENTS ? 1.2 : 1.0;
        const double moment = moments.within(start, 2 * start + 0.2);
        SCOPED_TRACE("moment " + std::to_string(moment));
        const Ended ended = end_by_signal(folder, script, signals[i % 3], moment);
        if (!ended.log.rows.empty()) {
            expect_goes_on(ended.log, ended.before);
        }
    }
    EXPECT_NE(left_in(folder).nodes, 20) << "no world was made";
}

TEST(an_end_by_signal, while_minimised_is_gone_on_with)
{
    const Folder folder;
    leave_line(folder);
    Moments moments("the minimised window");
    const double start = start_time(folder);
    for (int i = 0; i < MOMENTS; i++) {
        const double moment = moments.within(start, 2 * start);
        SCOPED_TRACE("moment " + std::to_string(moment));
        const Ended ended = end_by_signal(folder, "at 2 minimise\n", SIGTERM, moment);
        EXPECT_TRUE(ended.after == ended.before);
        EXPECT_GE(ended.after.time, ended.before.time);
    }
}

TEST(an_end_by_signal, is_not_disturbed_by_a_second_one_soon_after)
{
    const Folder folder;
    leave_line(folder);
    Moments moments("two signals");
    const double start = start_time(folder);
    static const int pairs[][2] = {{SIGTERM, SIGTERM}, {SIGINT, SIGTERM}, {SIGINT, SIGINT},
                                   {SIGHUP, SIGTERM},  {SIGHUP, SIGHUP},  {SIGTERM, SIGINT}};
    for (int i = 0; i < MOMENTS; i++) {
        const double moment = moment_of(&moments, i, start);
        const double after = i % 4 == 0 ? 0 : moments.within(0, 0.02);
        SCOPED_TRACE("moments " + std::to_string(moment) + " and " + std::to_string(after));
        const int* const pair = pairs[i % 6];
        const Ended ended = end_by_signal(folder, "", pair[0], moment, after, pair[1]);
        EXPECT_TRUE(ended.after == ended.before);
        EXPECT_GE(ended.after.time, ended.before.time);
    }
}

// Whether a save is being written just now.
static bool is_saving(const Folder& folder)
{
    for (const std::string& name : folder.names()) {
        if (name.rfind(".maze_save.dat.new-", 0) == 0) {
            return true;
        }
    }
    return false;
}

TEST(an_end_by_signal, is_not_disturbed_by_signals_while_the_save_is_written)
{
    const Folder folder;
    leave_line(folder, 8000, 10);
    const Left before = left_in(folder);
    i32 during = 0;
    for (int i = 0; i < 5 || (i < 60 && during == 0); i++) { // until one has met the writing
        Playing run(folder, "");
        while (!catches(run.process, SIGTERM)) {
            wait_for(0.001);
        }
        siginfo_t ended = {};
        while (waitid(P_PID, static_cast<id_t>(run.process), &ended, WEXITED | WNOHANG | WNOWAIT) ==
                   0 &&
               ended.si_pid == 0) {
            during += is_saving(folder) ? 1 : 0;
            kill(run.process, during % 2 == 0 ? SIGTERM : SIGINT);
            wait_for(0.0002);
        }
        EXPECT_EQ(run.end(), 0) << run.out();
        EXPECT_EQ(folder.listing(), "config.txt maze_save.dat");
        EXPECT_TRUE(left_in(folder) == before);
        expect_sound(folder);
    }
    EXPECT_GT(during, 0) << "no signal came while the save was written";
}

TEST(an_end_by_signal, before_the_window_is_open_saves_the_game_once_it_is)
{
    Platform backend = platform_scripted;
    backend.open = [](const WindowRequest* want) {
        std::raise(SIGTERM);
        return platform_scripted.open(want);
    };
    Session session(&backend);
    leave_line(session.folder);
    ASSERT_TRUE(session.start_framed());
    EXPECT_FALSE(driver_frame(&session.driver));
    EXPECT_EQ(session.stop(), 0);
    EXPECT_EQ(left_in(session.folder).nodes, 20);
    EXPECT_EQ(scripted_counts.swaps, 0);
}

TEST(an_end_by_signal, in_the_middle_of_a_frame_ends_with_that_frame)
{
    Session session;
    leave_line(session.folder);
    session.atswap([](i32 frame) {
        if (frame == 3) {
            std::raise(SIGHUP);
            std::raise(SIGHUP);
        }
    });
    ASSERT_TRUE(session.start_framed());
    session.frames(10);
    EXPECT_EQ(scripted_counts.swaps, 3);
    const f64 time = session.driver.game.time;
    EXPECT_EQ(session.stop(), 0);
    EXPECT_EQ(left_in(session.folder).time, time);
}

TEST(an_end_by_signal, that_the_parent_has_left_blocked_comes_through)
{
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigprocmask(SIG_BLOCK, &blocked, &before);
    const Folder folder;
    leave_line(folder);
    {
        Playing run(folder, "");
        while (!catches(run.process, SIGTERM)) {
            wait_for(0.001);
        }
        kill(run.process, SIGTERM);
        EXPECT_EQ(run.end(), 0) << run.out();
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
    expect_sound(folder);
}

// Keys and the close button, at random frames of one chain of runs.
static void expect_script_saves(const char* action, const char* name)
{
    const Folder folder;
    leave_line(folder, 300, 10);
    Moments moments(name);
    for (int i = 0; i < MOMENTS; i++) {
        const int frame = moments.among(2, 150);
        SCOPED_TRACE("frame " + std::to_string(frame));
        const Left before = left_in(folder);
        Playing run(folder, (i % 2 != 0 ? walking : "") + ("at " + std::to_string(frame)) + " " +
                                action + "\n");
        EXPECT_EQ(run.end(), 0) << run.out();
        const Log log = run.frames(NEVER);
        EXPECT_EQ(log.rows.size(), static_cast<size_t>(frame - 1));
        expect_goes_on(log, before);
        expect_sound(folder);
        const Left after = left_in(folder);
        EXPECT_EQ(after.time, log.real(log.rows.size() - 1, "time"));
        EXPECT_EQ(after.visited, log.integer(log.rows.size() - 1, "visited"));
        EXPECT_EQ(folder.listing(), "config.txt maze_save.dat");
    }
    EXPECT_GT(left_in(folder).visits, 1) << "nothing was walked";
}

TEST(an_end_by_script, Q_at_random_frames_is_gone_on_with)
{
    expect_script_saves("press Q", "Q");
}

TEST(an_end_by_script, Escape_at_random_frames_is_gone_on_with)
{
    expect_script_saves("press Escape", "Escape");
}

TEST(an_end_by_script, a_close_at_random_frames_is_gone_on_with)
{
    expect_script_saves("close", "the close button");
}

TEST(an_end_by_script, Q_held_from_the_start_lets_one_frame_run)
{
    const Folder folder;
    leave_line(folder);
    Playing run(folder, "at 1 hold Q\n");
    EXPECT_EQ(run.end(), 0) << run.out();
    EXPECT_EQ(run.frames(NEVER).rows.size(), 1U);
    expect_sound(folder);
}

// A run that has something to tell, with its standard streams as `streams` says.
static void expect_saves_with_streams(const std::string& streams)
{
    SCOPED_TRACE(streams);
    const Folder folder;
    folder.write("maze_save.dat", "this is no save");
    const Played played = play(folder, "at 5 press Q\n", "--size 16x12 " + streams);
    EXPECT_EQ(played.outcome.code, 0);
    EXPECT_EQ(played.log.rows.size(), 4U);
    EXPECT_EQ(folder.listing(), "config.txt maze_save.dat maze_save.dat.bad warnings.log");
    EXPECT_EQ(folder.read("maze_save.dat.bad"), "this is no save");
    EXPECT_EQ(cut(folder.read("config.txt"), '\n').size(), 6U);
    EXPECT_NE(folder.read("warnings.log").find("It is now maze_save.dat.bad."), std::string::npos);
    expect_sound(folder);
}

TEST(an_end, saves_with_closed_streams_and_prints_into_no_file)
{
    expect_saves_with_streams(">&-");
    expect_saves_with_streams("2>&-");
    expect_saves_with_streams("<&- >&-");
    expect_saves_with_streams("<&- >&- 2>&-");
}

TEST(an_end, saves_when_what_it_prints_goes_to_a_full_disk)
{
    expect_saves_with_streams(">/dev/full 2>/dev/full");
}

TEST(an_end, saves_when_nobody_reads_what_it_prints_any_more)
{
    const Folder folder;
    folder.write("maze_save.dat", "this is no save");
    folder.write("script", "at 5 press Q\n");
    const Outcome outcome =
        run_in(folder, "{ " + program("corvane-play") +
                           " script --size 16x12; echo code $? >code; } 2>&1 | exec true");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(folder.read("code"), "code 0\n");
    expect_sound(folder);
}

// Ends by a library's call of exit. The run is made in a process of its own: the test program starts
// itself again, and finds the folder by the environment.
struct SharedFolder {
    static constexpr const char* name = "CORVANE_ENDS_FOLDER";
    Folder folder;

    SharedFolder()
    {
        testing::GTEST_FLAG(death_test_style) = "threadsafe";
        leave_line(folder);
        setenv(name, folder.path.c_str(), 0); // that of the first process stays
    }
    ~SharedFolder()
    {
        unsetenv(name);
    }
    SharedFolder(const SharedFolder&) = delete;
    SharedFolder& operator=(const SharedFolder&) = delete;

    bool told(const std::string& text) const
    {
        return folder.read("warnings.log").find(text) != std::string::npos;
    }
};

static const char* const told_saved = "The game is saved in maze_save.dat.";

// Plays five frames and ends in one way or another.
static void play_and(void (*finish)(Session* session), const Platform* backend = &platform_scripted)
{
    Session session(backend);
    std::filesystem::current_path(std::getenv(SharedFolder::name));
    session.at(6, SCRIPT_KEY_PRESS, 'N');
    ASSERT_TRUE(session.start_framed(16, 12));
    session.frames(5);
    finish(&session);
}

static void call_exit(Session* /*session*/)
{
    std::exit(7);
}

TEST(a_library_that_calls_exit, leaves_the_game_and_the_settings_saved_and_told)
{
    const SharedFolder shared;
    const Left before = left_in(shared.folder);
    EXPECT_EXIT(play_and([](Session* session) {
                    session->driver.stereo_swap = 1;
                    std::exit(7);
                }),
                testing::ExitedWithCode(7), "");
    EXPECT_EQ(shared.folder.listing(), "config.txt maze_save.dat warnings.log");
    EXPECT_TRUE(shared.told("Corvane is ended by a library that it uses."));
    EXPECT_TRUE(shared.told(told_saved));
    EXPECT_TRUE(left_in(shared.folder) == before);
    EXPECT_GT(left_in(shared.folder).time, before.time);
    EXPECT_EQ(setting(shared.folder, "Swap stereo"), "Y");
    expect_sound(shared.folder);
}

TEST(a_library_that_calls_exit, because_the_display_is_lost_is_told_as_that)
{
    const SharedFolder shared;
    Platform backend = platform_scripted;
    backend.ended = [] { return "The connection to the display is lost"; };
    EXPECT_EXIT(play_and(call_exit, &backend), testing::ExitedWithCode(7), "");
    EXPECT_TRUE(shared.told("The connection to the display is lost, so Corvane ends."));
    EXPECT_TRUE(shared.told(told_saved));
}

TEST(a_library_that_calls_exit, in_a_second_copy_leaves_a_save_beside)
{
    const SharedFolder shared;
    int lock;
    wholefile_lock(shared.folder.path.c_str(), &lock);
    const std::string save = shared.folder.read("maze_save.dat");
    EXPECT_EXIT(play_and(call_exit), testing::ExitedWithCode(7), "");
    wholefile_unlock(lock);
    EXPECT_EQ(shared.folder.read("maze_save.dat"), save);
    EXPECT_EQ(left_in(shared.folder, "maze_save-2.dat").nodes, 20);
    EXPECT_TRUE(shared.told("maze_save-2.dat. To go on with it"));
    EXPECT_FALSE(shared.told(told_saved));
}

TEST(a_library_that_calls_exit, before_there_is_a_game_changes_nothing)
{
    const SharedFolder shared;
    const std::string save = shared.folder.read("maze_save.dat");
    Platform backend = platform_scripted;
    backend.open = [](const WindowRequest*) -> PlatformOpen { std::exit(7); };
    EXPECT_EXIT(play_and(call_exit, &backend), testing::ExitedWithCode(7), "");
    EXPECT_EQ(shared.folder.listing(), "config.txt maze_save.dat");
    EXPECT_EQ(shared.folder.read("maze_save.dat"), save);
}

TEST(a_library_that_calls_exit, in_the_middle_of_N_leaves_the_save_before_and_tells_it)
{
    const SharedFolder shared;
    const std::string save = shared.folder.read("maze_save.dat");
    EXPECT_EXIT(play_and([](Session* session) {
                    Maze_attach(
                        session->driver.game.root, "ends", nullptr,
                        [](void*, Maze*) { std::exit(7); }, 0);
                    session->frames(1);
                }),
                testing::ExitedWithCode(7), "");
    EXPECT_EQ(shared.folder.read("maze_save.dat"), save);
    EXPECT_TRUE(shared.told("The game is not saved in maze_save.dat. The end came while the world "
                            "was being changed"));
    EXPECT_FALSE(shared.told(told_saved));
}

TEST(a_library_that_calls_exit, at_the_close_of_the_window_saves_nothing_twice)
{
    const SharedFolder shared;
    Platform backend = platform_scripted;
    backend.close = [] { std::exit(7); };
    EXPECT_EXIT(play_and([](Session* session) { session->stop(); }, &backend),
                testing::ExitedWithCode(7), "");
    EXPECT_EQ(shared.folder.listing(), "config.txt maze_save.dat");
    EXPECT_GT(left_in(shared.folder).time, 0);
}

TEST(a_library_that_calls_exit, at_a_close_request_leaves_the_game_saved)
{
    const SharedFolder shared;
    Platform backend = platform_scripted;
    backend.close = [] { std::exit(7); };
    EXPECT_EXIT(play_and([](Session*) { gfx_close(); }, &backend), testing::ExitedWithCode(7), "");
    EXPECT_TRUE(shared.told(told_saved));
    EXPECT_GT(left_in(shared.folder).time, 0);
}

TEST(a_library_that_calls_exit, on_a_thread_of_its_own_waits_until_the_world_is_whole)
{
    const SharedFolder shared;
    EXPECT_EXIT(play_and([](Session* session) {
                    std::thread([] {
                        wait_for(0.02);
                        std::exit(7);
                    }).detach();
                    for (;;) { // ends in the call of hold once the other thread saves
                        lastsave_hold();
                        newgame(&session->driver.game, 0);
                        lastsave_release();
                    }
                }),
                testing::ExitedWithCode(7), "");
    EXPECT_TRUE(shared.told(told_saved));
    EXPECT_NE(left_in(shared.folder).nodes, 20);
    expect_sound(shared.folder);
}

TEST(a_library_that_calls_exit, in_the_middle_of_the_end_leaves_both_files_saved)
{
    const SharedFolder shared;
    const Left before = left_in(shared.folder);
    EXPECT_EXIT(play_and([](Session* session) {
                    session->driver.stereo_swap = 1;
                    Maze_attach(
                        session->driver.game.root, "ends", nullptr,
                        [](void*, Maze*) { std::exit(7); }, 0);
                    session->stop();
                }),
                testing::ExitedWithCode(7), "");
    EXPECT_GT(left_in(shared.folder).time, before.time);
    EXPECT_EQ(setting(shared.folder, "Swap stereo"), "Y");
    EXPECT_FALSE(shared.told("The game is"));
    EXPECT_EQ(shared.folder.listing(), "config.txt maze_save.dat warnings.log");
}

TEST(a_library_that_calls_exit, on_two_threads_at_once_does_not_cut_off_the_save)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    const auto both = [] {
        lastsave_begin([](bool whole) {
            wait_for(0.5);
            std::fputs(whole ? "the save has ended" : "no save", stderr);
        });
        std::thread([] { std::exit(7); }).detach();
        wait_for(0.2);
        std::exit(8);
    };
    EXPECT_EXIT(both(), testing::ExitedWithCode(7), "the save has ended"); // of the one that saves
}

TEST(a_fatal_report, while_another_thread_saves_does_not_wait)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    const auto begin = std::chrono::steady_clock::now();
    const auto both = [] {
        report_fatal_wait = 0;
        lastsave_begin([](bool) { std::fputs("it has been saved", stderr); });
        lastsave_hold(); // in the midst of a change
        std::thread([] { std::exit(7); }).detach();
        wait_for(0.2);
        report_inner("ends", 0, REPORT_FATAL, "for a test", 0);
    };
    EXPECT_EXIT(both(), testing::ExitedWithCode(1), "for a test\n$");
    const std::chrono::duration<double> lasted = std::chrono::steady_clock::now() - begin;
    EXPECT_LT(lasted.count(), 30);
}

TEST(a_fatal_report, ends_the_process_without_saving)
{
    const SharedFolder shared;
    const std::string save = shared.folder.read("maze_save.dat");
    EXPECT_EXIT(play_and([](Session*) {
                    report_fatal_wait = 0;
                    report_inner("ends", 0, REPORT_FATAL, "for a test", 0);
                }),
                testing::ExitedWithCode(1), "FATAL ERROR. for a test");
    EXPECT_EQ(shared.folder.read("maze_save.dat"), save);
    EXPECT_EQ(shared.folder.listing(), "config.txt maze_save.dat");
}
