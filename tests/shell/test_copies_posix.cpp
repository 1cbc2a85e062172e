// Several copies of the program in one folder: the first writes the save file, each later one a file of
// its own, and no walk is lost.
#include "base/wholefile.h"
#include "tests/shell_session.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/syscall.h>

static int lock_error;   // errno of each attempt to take a lock, 0 for none
static int rename_error; // of each rename that must replace nothing

static int system_call(int error, long number, long a, long b, long c, long d, long e)
{
    if (error != 0) {
        errno = error;
        return -1;
    }
    return static_cast<int>(syscall(number, a, b, c, d, e));
}

// In place of the C library's.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the system's names are reserved
int flock(int handle, int operation) noexcept
{
    return system_call(lock_error, SYS_flock, handle, operation, 0, 0, 0);
}

int renameat2(int from, const char* before, int to, const char* after, unsigned flags) noexcept
{
    return system_call(rename_error, SYS_renameat2, from, reinterpret_cast<long>(before), to,
                       reinterpret_cast<long>(after), flags);
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

static const char* const told_start =
    "Another copy of Corvane runs in this folder. This one does not "
    "write maze_save.dat";

static bool holds(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

// The clock of the game in a save file, -1 if that doesn't load.
static f64 saved_clock(const Folder& folder, const std::string& name)
{
    std::string why(SAVE_WHY, 0);
    MazeGame game = {};
    if (MazeGame_loadshared(&game, folder.file(name).c_str(), why.data()) != SAVE_LOADED) {
        ADD_FAILURE() << name << ": " << why.c_str();
        return -1;
    }
    const f64 time = game.time;
    MazeGame_free(&game);
    return time;
}

// A run in a folder whose lock the test holds in place of a first copy.
struct SecondRun {
    Session session;
    int lock = -1;
    std::string save; // as it was before the run

    explicit SecondRun(const std::string& text = "")
    {
        if (text.empty()) {
            leave_line(session.folder);
        } else {
            session.folder.write("maze_save.dat", text);
        }
        save = session.folder.read("maze_save.dat");
        EXPECT_EQ(wholefile_lock(session.folder.path.c_str(), &lock), WHOLEFILE_LOCKED);
    }
    ~SecondRun()
    {
        wholefile_unlock(lock);
        rename_error = 0;
    }
    SecondRun(const SecondRun&) = delete;
    SecondRun& operator=(const SecondRun&) = delete;

    // What the start tells.
    std::string start()
    {
        testing::internal::CaptureStdout();
        EXPECT_TRUE(session.start_framed());
        session.frames(3);
        return testing::internal::GetCapturedStdout();
    }
    // What the end tells.
    std::string stop()
    {
        testing::internal::CaptureStdout();
        session.stop();
        return testing::internal::GetCapturedStdout();
    }
};

TEST(second_copy, tells_at_its_start_that_it_does_not_write_the_save)
{
    SecondRun run;
    EXPECT_TRUE(holds(run.start(), told_start));
    EXPECT_TRUE(holds(run.session.folder.read("warnings.log"), told_start));
}

TEST(second_copy, goes_on_with_the_saved_game)
{
    SecondRun run;
    run.start();
    EXPECT_EQ(Maze_count(run.session.driver.game.root), 20);
    EXPECT_EQ(run.session.driver.game.pos.node, 10);
}

TEST(second_copy, saves_beside_the_save_and_tells_where)
{
    SecondRun run;
    run.start();
    const f64 time = run.session.driver.game.time;
    const std::string out = run.stop();
    const Folder& folder = run.session.folder;
    const std::string told = "The game is saved in " + folder.file("maze_save-2.dat") + ".";
    EXPECT_EQ(run.session.code, 0);
    EXPECT_EQ(folder.read("maze_save.dat"), run.save);
    EXPECT_EQ(saved_clock(folder, "maze_save-2.dat"), time);
    EXPECT_EQ(folder.listing(), "config.txt maze_save-2.dat maze_save.dat warnings.log");
    EXPECT_TRUE(holds(out, told)) << out;
    EXPECT_TRUE(holds(folder.read("warnings.log"), told));
}

TEST(second_copy, takes_the_next_number_that_is_free)
{
    SecondRun run;
    run.session.folder.write("maze_save-2.dat", "of an earlier run");
    run.start();
    const std::string out = run.stop();
    EXPECT_EQ(run.session.folder.read("maze_save-2.dat"), "of an earlier run");
    EXPECT_EQ(run.session.folder.read("maze_save.dat"), run.save);
    EXPECT_TRUE(holds(out, "maze_save-3.dat")) << out;
    EXPECT_GT(saved_clock(run.session.folder, "maze_save-3.dat"), 0);
}

TEST(second_copy, does_not_write_the_save_although_the_first_copy_has_ended)
{
    SecondRun run;
    run.start();
    wholefile_unlock(run.lock);
    run.lock = -1;
    run.stop();
    EXPECT_EQ(run.session.code, 0);
    EXPECT_EQ(run.session.folder.read("maze_save.dat"), run.save);
    EXPECT_GT(saved_clock(run.session.folder, "maze_save-2.dat"), 0);
}

TEST(second_copy, saves_by_its_number_where_there_is_no_save_yet)
{
    SecondRun run;
    std::filesystem::remove("maze_save.dat");
    run.start();
    run.stop();
    EXPECT_EQ(run.session.folder.listing(), "config.txt maze_save-2.dat warnings.log");
}

TEST(second_copy, leaves_a_bad_save_to_the_first_copy_and_tells_it)
{
    SecondRun run("this is no world");
    const std::string out = run.start();
    EXPECT_TRUE(
        holds(out, "The saved game maze_save.dat can't be used: root maze: 544434536 nodes in the "
                   "11 bytes that are left. It is left to the other copy."))
        << out;
    EXPECT_EQ(run.session.folder.read("maze_save.dat"), "this is no world");
    run.stop();
    EXPECT_EQ(run.session.code, 0);
    EXPECT_EQ(run.session.folder.read("maze_save.dat"), "this is no world");
    EXPECT_GT(saved_clock(run.session.folder, "maze_save-2.dat"), 0);
    EXPECT_EQ(run.session.folder.listing(),
              "config.txt maze_save-2.dat maze_save.dat warnings.log");
}

TEST(second_copy, writes_the_settings)
{
    SecondRun run;
    run.start();
    run.session.driver.stereo_swap = 1;
    run.stop();
    EXPECT_EQ(setting(run.session.folder, "Swap stereo"), "Y");
}

TEST(second_copy, ends_with_code_1_and_tells_it_if_its_game_cannot_be_saved)
{
    SecondRun run;
    run.start();
    rename_error = EIO;
    const std::string out = run.stop();
    EXPECT_EQ(run.session.code, 1);
    EXPECT_TRUE(holds(out, "The game is not saved beside maze_save.dat. Could not make")) << out;
    EXPECT_FALSE(holds(out, "The game is saved")) << out;
    EXPECT_EQ(run.session.folder.listing(), "config.txt maze_save.dat warnings.log");
    EXPECT_EQ(run.session.folder.read("maze_save.dat"), run.save);
}

TEST(first_copy, ends_with_code_1_and_tells_it_if_its_game_can_be_saved_nowhere)
{
    Session session;
    ASSERT_TRUE(session.start_framed());
    session.frames(2);
    std::filesystem::create_directory("maze_save.dat"); // nothing can be renamed over a folder
    rename_error = EIO;
    testing::internal::CaptureStdout();
    EXPECT_EQ(session.stop(), 1);
    const std::string out = testing::internal::GetCapturedStdout();
    rename_error = 0;
    EXPECT_TRUE(holds(out, "The game is not saved in maze_save.dat. Could not write")) << out;
    EXPECT_TRUE(holds(out, "The game is not saved beside maze_save.dat. Could not make")) << out;
    EXPECT_FALSE(holds(out, "The game is saved")) << out;
    EXPECT_EQ(session.folder.listing(), "config.txt maze_save.dat warnings.log");
}

// Whether nobody holds the lock of the working folder.
static bool is_free()
{
    int handle;
    const bool result = wholefile_lock(".", &handle) == WHOLEFILE_LOCKED;
    wholefile_unlock(handle);
    return result;
}

TEST(first_copy, holds_the_folder_from_its_start_to_its_end)
{
    Session session;
    leave_line(session.folder);
    EXPECT_TRUE(is_free());
    ASSERT_TRUE(session.start_framed());
    EXPECT_FALSE(is_free());
    session.frames(2);
    EXPECT_FALSE(is_free());
    session.stop();
    EXPECT_TRUE(is_free());
    EXPECT_EQ(session.folder.listing(), "config.txt maze_save.dat");
}

TEST(first_copy, holds_nothing_after_a_start_without_a_window)
{
    Session session;
    session.folder.write("config.txt", "Resolution: 640x\n");
    EXPECT_FALSE(session.start());
    EXPECT_TRUE(is_free());
}

TEST(first_copy, is_each_one_where_there_are_no_locks)
{
    SecondRun run;
    lock_error = ENOLCK;
    const std::string out = run.start();
    lock_error = 0;
    EXPECT_EQ(out, "");
    const f64 time = run.session.driver.game.time;
    EXPECT_EQ(run.stop(), "");
    EXPECT_EQ(run.session.code, 0);
    EXPECT_EQ(run.session.folder.listing(), "config.txt maze_save.dat");
    EXPECT_EQ(saved_clock(run.session.folder, "maze_save.dat"), time);
}

// A process of corvane-play that runs until a signal ends it.
struct Copy {
    Folder side; // for what it prints and logs
    pid_t process = -1;
    int code = -1; // exit code, or 128 and the signal

    Copy(const Folder& folder, const std::string& step)
    {
        side.write("script", "at 2 shot " + side.file("shown.png") + "\n");
        process = fork();
        if (process == 0) {
            run(folder, step);
        }
    }
    ~Copy()
    {
        if (process > 0) {
            end(SIGKILL);
        }
    }
    Copy(const Copy&) = delete;
    Copy& operator=(const Copy&) = delete;

    [[noreturn]] void run(const Folder& folder, const std::string& step) const
    {
        const std::string tool = program("corvane-play");
        const std::string script = side.file("script");
        const std::string log = side.file("log");
        setenv("LP_NUM_THREADS", "0", 1); // a tiny picture is drawn sooner by one thread
        const int out = open(side.file("out").c_str(), O_WRONLY | O_CREAT, 0600);
        if (out >= 0 && dup2(out, 1) >= 0 && chdir(folder.path.c_str()) == 0) {
            execl(tool.c_str(), tool.c_str(), script.c_str(), "--log", log.c_str(), "--size",
                  "16x12", "--dt", step.c_str(), "--frames", "100000000", nullptr);
        }
        _exit(127);
    }
    // Waits until its second frame is shown, a minute at most.
    void wait_shown() const
    {
        for (i32 tries = 0; tries < 30000 && !side.has("shown.png"); tries++) {
            usleep(2000);
        }
        EXPECT_TRUE(side.has("shown.png"));
    }
    void wait_end()
    {
        int status = -1;
        EXPECT_EQ(waitpid(process, &status, 0), process);
        code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        process = -1;
    }
    void end(int signal)
    {
        kill(process, signal);
        wait_end();
    }
    std::string out() const
    {
        return side.read("out");
    }
    // Of its last frame, which is the one that it saves.
    f64 clock() const
    {
        const Log log = parse_log(side.read("log"));
        return log.real(log.rows.size() - 1, "time");
    }
};

TEST(second_copy, of_two_processes_loses_no_walk_whichever_ends_first)
{
    for (const bool second_first : {false, true}) {
        const Folder folder;
        leave_line(folder);
        Copy first(folder, "0.010007");
        first.wait_shown();
        Copy second(folder, "0.020011");
        second.wait_shown();
        (second_first ? second : first).end(SIGTERM);
        (second_first ? first : second).end(SIGTERM);
        EXPECT_EQ(first.code, 0);
        EXPECT_EQ(second.code, 0);
        EXPECT_EQ(first.out(), "");
        EXPECT_TRUE(holds(second.out(), told_start)) << second.out();
        EXPECT_TRUE(holds(second.out(), "The game is saved in " + folder.file("maze_save-2.dat")))
            << second.out();
        EXPECT_EQ(saved_clock(folder, "maze_save.dat"), first.clock());
        EXPECT_EQ(saved_clock(folder, "maze_save-2.dat"), second.clock());
        EXPECT_EQ(folder.listing(), "config.txt maze_save-2.dat maze_save.dat warnings.log");
    }
}

TEST(second_copy, of_a_bad_save_leaves_what_the_first_copy_has_put_aside)
{
    const Folder folder;
    folder.write("maze_save.dat", "this is no world");
    Copy first(folder, "0.010007");
    first.wait_shown();
    Copy second(folder, "0.020011");
    second.wait_shown();
    second.end(SIGTERM);
    first.end(SIGTERM);
    EXPECT_TRUE(holds(first.out(), "It is now maze_save.dat.bad.")) << first.out();
    EXPECT_FALSE(holds(second.out(), "can't be used")) << second.out();
    EXPECT_EQ(folder.read("maze_save.dat.bad"), "this is no world");
    EXPECT_EQ(saved_clock(folder, "maze_save.dat"), first.clock());
    EXPECT_EQ(saved_clock(folder, "maze_save-2.dat"), second.clock());
}

TEST(first_copy, is_the_next_one_after_a_kill)
{
    const Folder folder;
    leave_line(folder);
    Copy killed(folder, "0.010007");
    killed.wait_shown();
    killed.end(SIGKILL);
    Copy next(folder, "0.020011");
    next.wait_shown();
    next.end(SIGTERM);
    EXPECT_EQ(next.out(), "");
    EXPECT_EQ(saved_clock(folder, "maze_save.dat"), next.clock());
    EXPECT_EQ(folder.listing(), "config.txt maze_save.dat");
}

// The names of the saves that `copies` processes leave.
static std::vector<std::string> save_names(size_t copies)
{
    std::vector<std::string> names = {"maze_save.dat"};
    for (size_t i = 2; i <= copies; i++) {
        names.push_back("maze_save-" + std::to_string(i) + ".dat");
    }
    return names;
}

static void race(size_t count)
{
    // whole numbers of different steps never add up to the same clock
    static const char* const steps[] = {"0.010007", "0.020011", "0.030011", "0.040009"};
    const Folder folder;
    leave_line(folder);
    std::vector<std::unique_ptr<Copy>> copies;
    copies.reserve(count);
    for (size_t i = 0; i < count; i++) {
        copies.push_back(std::make_unique<Copy>(folder, steps[i]));
    }
    for (const auto& copy : copies) { // all are held until the last one runs
        copy->wait_shown();
        kill(copy->process, SIGSTOP);
    }
    for (const int signal : {SIGTERM, SIGCONT}) { // the first is seen with the second
        for (const auto& copy : copies) {
            kill(copy->process, signal);
        }
    }
    std::vector<f64> walked;
    walked.reserve(count);
    size_t seconds = 0;
    for (const auto& copy : copies) {
        copy->wait_end();
        EXPECT_EQ(copy->code, 0) << copy->out();
        walked.push_back(copy->clock());
        seconds += holds(copy->out(), told_start) ? 1 : 0;
    }
    EXPECT_EQ(seconds, count - 1);
    std::vector<f64> saved;
    saved.reserve(count);
    std::vector<std::string> left = save_names(count);
    for (const std::string& name : left) {
        saved.push_back(saved_clock(folder, name));
    }
    std::sort(walked.begin(), walked.end());
    std::sort(saved.begin(), saved.end());
    EXPECT_EQ(saved, walked);
    left.insert(left.end(), {"config.txt", "warnings.log"});
    std::sort(left.begin(), left.end());
    EXPECT_EQ(folder.names(), left);
}

TEST(copies, that_end_at_the_same_time_leave_every_walk_in_one_file)
{
    for (size_t i = 0; i < 50; i++) {
        SCOPED_TRACE(i);
        race(2 + i % 3);
    }
}
