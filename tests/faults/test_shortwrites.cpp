// Writes that take fewer bytes than they were given, truly: the bytes that they claim are in the file.
#include "tests/faults/faultrun.h"

static const Expected& usual()
{
    static const Expected expected = expect_of(usual_stage());
    return expected;
}

// A run with one short write: what it was, and what it has left.
struct ShortRun {
    Folder folder;
    RunLeft run;
    bool met = false; // there was such a write

    explicit ShortRun(const std::string& wish)
    {
        const Folder side;
        set_up(usual().stage, folder);
        run = run_plain(folder, "env LD_PRELOAD=" + program("libshortwrite.so") + " SHORTWRITE=" +
                                    wish + " SHORTWRITE_TOLD=" + side.file("told"));
        met = side.has("told");
    }
};

static void expect_untouched(const ShortRun& trial)
{
    EXPECT_EQ(trial.run.code, 0);
    EXPECT_EQ(trial.run.told, usual().told);
    EXPECT_TRUE(content(trial.folder, "maze_save.dat") == usual().new_save);
    EXPECT_EQ(content(trial.folder, "config.txt"), usual().settings[2]);
}

static void expect_killed_whole(const ShortRun& trial)
{
    EXPECT_EQ(trial.run.code, 128 + SIGKILL);
    const Content save = content(trial.folder, "maze_save.dat");
    const Content settings = content(trial.folder, "config.txt");
    EXPECT_TRUE(save == usual().old_save || save == usual().new_save);
    EXPECT_TRUE(settings == usual().settings[0] || settings == usual().settings[1]);
    const RunLeft next = run_again(trial.folder);
    EXPECT_EQ(next.code, 0);
    EXPECT_EQ(next.told, std::vector<std::string>());
    EXPECT_EQ(leftovers(trial.folder), std::vector<std::string>());
}

// Tries each write of a run to its new files with some numbers of bytes, and returns how many there
// were.
static int try_writes(const std::string& then, const std::vector<int>& bytes,
                      const std::function<void(const ShortRun&)>& judge)
{
    int points = 0;
    for (const int most : bytes) {
        for (int turn = 1; turn < 100; turn++) {
            const std::string wish = std::to_string(turn) + ":" + std::to_string(most) + ":" + then;
            SCOPED_TRACE("SHORTWRITE=" + wish);
            const ShortRun trial(wish);
            if (!trial.met) {
                expect_untouched(trial); // no write of that number
                break;
            }
            judge(trial);
            points++;
        }
    }
    return points;
}

TEST(short_write, is_gone_on_with)
{
    const int points = try_writes("go", {1, 200}, expect_untouched);
    count_points("short writes", points);
    EXPECT_GE(points, 10);
}

TEST(short_write, of_few_bytes_each_time_is_gone_on_with)
{
    const ShortRun trial("0:100:go");
    EXPECT_TRUE(trial.met);
    expect_untouched(trial);
    count_points("short writes throughout", 1);
}

TEST(short_write, of_nothing_is_a_failure_that_is_told)
{
    const int points = try_writes(
        "go", {0}, [](const ShortRun& trial) { judge_claims(usual(), trial.folder, trial.run); });
    count_points("writes that take nothing", points);
    EXPECT_GE(points, 5);
}

TEST(short_write, with_a_full_disk_or_an_error_behind_leaves_whole_files_and_is_told_truly)
{
    int points = 0;
    for (const char* const then : {"full", "error"}) {
        points += try_writes(then, {1, 200}, [](const ShortRun& trial) {
            EXPECT_EQ(trial.run.code, 1);
            judge_claims(usual(), trial.folder, trial.run);
        });
    }
    count_points("short writes and no more", points);
    EXPECT_GE(points, 20);
}

TEST(short_write, with_a_kill_behind_leaves_whole_files)
{
    const int points = try_writes("kill", {200}, expect_killed_whole);
    count_points("short writes and a kill", points);
    EXPECT_GE(points, 5);
}
