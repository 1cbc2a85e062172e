// An error at each system call that a run makes on its files.
#include "tests/faults/faultrun.h"

static const std::vector<Phase> all_phases = {Phase::READ_SETTINGS, Phase::WRITE_SETTINGS,
                                              Phase::LOAD, Phase::SAVE, Phase::LAST_SETTINGS};
static const std::vector<Phase> writing = {Phase::WRITE_SETTINGS, Phase::SAVE,
                                           Phase::LAST_SETTINGS};

static const Expected& usual()
{
    static const Expected expected = expect_of(usual_stage());
    return expected;
}

// Whether a full disk can be told at this call.
static bool takes_room(const Call& call)
{
    const bool fresh = call.file.size() > 4 && call.file.substr(call.file.size() - 4) == ".new";
    return fresh && (call.name == "openat" || call.name == "write" || call.name == "fsync" ||
                     call.name == "close" || call.name == "rename" || call.name == "renameat2");
}

static bool waits(const Call& call)
{
    return call.name == "openat" || call.name == "read" || call.name == "write" ||
           call.name == "fsync" || call.name == "close" || call.name == "flock";
}

TEST(error, of_the_disk_at_any_call_leaves_whole_files_and_is_told_truly)
{
    const int points = sweep(usual(), all_phases, {"EIO"});
    count_points("I/O errors in a run", points);
    EXPECT_GE(points, 80);
}

TEST(error, of_a_full_disk_leaves_whole_files_and_is_told_truly)
{
    const int points = sweep(usual(), writing, {"ENOSPC", "EDQUOT", "EROFS"}, takes_room);
    count_points("full and protected disks in a run", points);
    EXPECT_GE(points, 45);
}

TEST(error, at_any_call_of_a_first_run_is_told_truly)
{
    const Expected first = expect_of(first_stage());
    const int points = sweep(first, {Phase::WRITE_SETTINGS, Phase::SAVE}, {"EIO"});
    count_points("I/O errors in a first run", points);
    EXPECT_GE(points, 40);
}

// The errors that are not the disk's.
TEST(error, of_too_many_open_files_is_told_truly)
{
    const int points = sweep(usual(), writing, {"EMFILE"}, [](const Call& call) {
        return call.name == "openat" || call.name == "fcntl";
    });
    count_points("too many open files in a run", points);
    EXPECT_GE(points, 12);
}

TEST(interruption, of_a_call_that_may_wait_changes_nothing)
{
    int points = 0;
    for (const Call& call : usual().calls) {
        if (waits(call)) {
            SCOPED_TRACE("EINTR at " + call.text());
            const Trial trial(usual(), call, "EINTR");
            trial.judge_untouched();
            points++;
        }
    }
    count_points("interrupted calls in a run", points);
    EXPECT_GE(points, 40);
}
