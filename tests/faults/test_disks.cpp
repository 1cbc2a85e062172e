// Disks as they can be: full, almost full, protected. Each is a small file system in memory, mounted for
// one run where nobody else sees it.
#include "tests/faults/faultrun.h"

#include <cerrno>
#include <cstring>

static const Expected& usual()
{
    static const Expected expected = expect_of(usual_stage());
    return expected;
}

// One run on such a disk.
struct Disk {
    std::string room;          // its size, as mount takes it
    std::string after_filling; // a command in its folder before the run
};

// A command that runs another where it may mount, and where nobody else sees what it mounts. A folder
// that serves as the root can't be kept from being seen, as in a chroot; there is nobody else in there.
static std::string find_way()
{
    const Folder point;
    const Folder side;
    side.write("probe", "set -e\nmount -t tmpfs corvane '" + point.path + "'\numount '" +
                            point.path + "'\n");
    std::string reasons;
    for (const char* const user : {"unshare -m", "unshare -rm"}) {
        for (const char* const seen : {" --propagation private", " --propagation unchanged"}) {
            std::string way = std::string(user) + seen;
            const Outcome outcome = run_in(side, way + " sh " + side.file("probe"));
            if (outcome.code == 0) {
                return way;
            }
            reasons += "\n" + way + ": " + outcome.err;
        }
    }
    ADD_FAILURE()
        << "No file system can be mounted here, neither as the user who runs the tests nor "
           "in a user namespace of its own, so that full disks can't be tried:"
        << reasons;
    return "false";
}

static const std::string& way()
{
    static const std::string found = find_way();
    return found;
}

// Runs on a disk that holds what `setup` holds, and copies what is left into `result`.
static RunLeft run_on(const Disk& disk, const Folder& setup, const Folder& result)
{
    const Folder point;
    const Folder side;
    side.write("mounted", "set -e\n"
                          "mount -t tmpfs -o mode=777,size=" +
                              disk.room + " corvane '" + point.path +
                              "'\n"
                              "cp -a '" +
                              setup.path + "/.' '" + point.path +
                              "'\n"
                              "cd '" +
                              point.path + "'\n" + disk.after_filling +
                              "\n"
                              "set +e\n"
                              "\"$@\"\n"
                              "code=$?\n"
                              "cd /\n"
                              "cp -a '" +
                              point.path + "/.' '" + result.path +
                              "'\n"
                              "umount '" +
                              point.path +
                              "'\n"
                              "exit $code\n");
    return run_plain(point, way() + " sh " + side.file("mounted"));
}

static RunLeft run_usual_on(const Disk& disk, const Folder& result)
{
    const Folder setup;
    set_up(usual().stage, setup);
    return run_on(disk, setup, result);
}

static void expect_told(const RunLeft& run, size_t line, const char* claim, int error)
{
    ASSERT_LT(line, run.told.size());
    EXPECT_EQ(run.told[line].rfind(claim, 0), 0U) << run.told[line];
    EXPECT_NE(run.told[line].find(std::strerror(error)), std::string::npos) << run.told[line];
}

static const char* const game_unsaved = "The game is not saved in maze_save.dat. ";
static const char* const beside_unsaved = "The game is not saved beside maze_save.dat. ";
static const char* const settings_unsaved = "The settings are not saved in config.txt. ";

TEST(disk, with_room_takes_the_new_files)
{
    const Folder result;
    const RunLeft run = run_usual_on({.room = "1m", .after_filling = ""}, result);
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.told, std::vector<std::string>());
    EXPECT_TRUE(content(result, "maze_save.dat") == usual().new_save);
    EXPECT_EQ(content(result, "config.txt"), usual().settings[2]);
}

TEST(disk, without_room_for_a_second_save_keeps_the_old_one_and_takes_the_settings)
{
    const Folder result;
    const RunLeft run = run_usual_on({.room = "280k", .after_filling = ""}, result);
    ASSERT_GT(2 * usual().old_save->size(), 280U * 1024);
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.told.size(), 2U);
    expect_told(run, 0, game_unsaved, ENOSPC);
    expect_told(run, 1, beside_unsaved, ENOSPC);
    EXPECT_TRUE(content(result, "maze_save.dat") == usual().old_save);
    EXPECT_EQ(content(result, "config.txt"), usual().settings[2]);
    EXPECT_EQ(leftovers(result), std::vector<std::string>());
}

TEST(disk, that_is_full_keeps_both_old_files)
{
    const Folder result;
    const RunLeft run = run_usual_on(
        {.room = "280k", .after_filling = "cat /dev/zero >filler 2>/dev/null || true"}, result);
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.told.size(), 4U);
    expect_told(run, 0, settings_unsaved, ENOSPC);
    expect_told(run, 1, game_unsaved, ENOSPC);
    expect_told(run, 2, beside_unsaved, ENOSPC);
    expect_told(run, 3, settings_unsaved, ENOSPC);
    EXPECT_TRUE(content(result, "maze_save.dat") == usual().old_save);
    EXPECT_EQ(content(result, "config.txt"), usual().settings[0]);
    EXPECT_EQ(leftovers(result), std::vector<std::string>());
}

TEST(disk, that_is_full_leaves_nothing_of_a_first_run)
{
    const Folder setup;
    const Folder result;
    const RunLeft run =
        run_on({.room = "64k", .after_filling = "cat /dev/zero >filler 2>/dev/null || true"}, setup,
               result);
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.told.size(), 4U);
    expect_told(run, 1, game_unsaved, ENOSPC);
    expect_told(run, 2, beside_unsaved, ENOSPC);
    EXPECT_EQ(content(result, "maze_save.dat"), std::nullopt);
    EXPECT_EQ(content(result, "config.txt"), std::nullopt);
    EXPECT_EQ(leftovers(result), std::vector<std::string>());
}

TEST(disk, that_is_full_behind_a_link_keeps_link_and_file)
{
    const Folder setup;
    const Folder result;
    set_up(usual().stage, setup);
    std::filesystem::create_directory(setup.file("real"));
    std::filesystem::rename(setup.file("maze_save.dat"), setup.file("real/world"));
    std::filesystem::create_symlink("real/world", setup.file("maze_save.dat"));
    const RunLeft run = run_on({.room = "280k", .after_filling = ""}, setup, result);
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.told.size(), 2U);
    expect_told(run, 0, game_unsaved, ENOSPC);
    expect_told(run, 1, beside_unsaved, ENOSPC);
    EXPECT_TRUE(std::filesystem::is_symlink(result.file("maze_save.dat")));
    EXPECT_TRUE(content(result, "real/world") == usual().old_save);
    EXPECT_EQ(leftovers(result), std::vector<std::string>());
}

// From none at all to more than the new files take, so that writing ends at many places.
TEST(disk, with_any_room_left_keeps_old_files_or_takes_new_ones_whole)
{
    int saved = 0;
    const std::vector<int> rooms = {0,  1,  2,  3,  8,  15, 16, 17, 30,
                                    31, 32, 33, 34, 40, 42, 43, 44, 48};
    const size_t page = 4096;
    const size_t used = (usual().old_save->size() + page - 1) / page + 1; // and the settings'
    for (const int room : rooms) {
        SCOPED_TRACE(std::to_string(room) + " pages");
        const std::string size = std::to_string((used + static_cast<size_t>(room)) * 4) + "k";
        const Folder result;
        const RunLeft run = run_usual_on({.room = size, .after_filling = ""}, result);
        judge_claims(usual(), result, run);
        saved += content(result, "maze_save.dat") == usual().new_save ? 1 : 0;
    }
    count_points("disks with some room left", static_cast<int>(rooms.size()));
    EXPECT_GT(saved, 0);
    EXPECT_LT(saved, static_cast<int>(rooms.size()));
}

TEST(disk, without_a_name_left_keeps_both_old_files)
{
    const Folder result;
    const RunLeft run = run_usual_on({.room = "1m,nr_inodes=3", .after_filling = ""}, result);
    EXPECT_EQ(run.code, 1);
    judge_claims(usual(), result, run);
    EXPECT_TRUE(content(result, "maze_save.dat") == usual().old_save);
    EXPECT_EQ(content(result, "config.txt"), usual().settings[0]);
}

TEST(disk, that_is_protected_keeps_both_old_files)
{
    const Folder result;
    const RunLeft run =
        run_usual_on({.room = "1m", .after_filling = "mount -o remount,bind,ro \"$PWD\""}, result);
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.told.size(), 4U);
    expect_told(run, 0, settings_unsaved, EROFS);
    expect_told(run, 1, game_unsaved, EROFS);
    expect_told(run, 2, beside_unsaved, EROFS);
    expect_told(run, 3, settings_unsaved, EROFS);
    EXPECT_TRUE(content(result, "maze_save.dat") == usual().old_save);
    EXPECT_EQ(content(result, "config.txt"), usual().settings[0]);
}
