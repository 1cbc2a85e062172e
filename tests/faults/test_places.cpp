// What stands where the save and the settings belong, and folders in which nothing can be written.
#include "tests/faults/faultrun.h"

#include <algorithm>
#include <unistd.h>

static const Expected& usual()
{
    static const Expected expected = expect_of(usual_stage());
    return expected;
}

static const Expected& refused()
{
    static const Expected expected = expect_of(refused_stage());
    return expected;
}

static bool begins(const std::string& text, const std::string& part)
{
    return text.rfind(part, 0) == 0;
}

static bool holds(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

// Whether the file is a whole save, as the command tells.
static bool is_sound_file(const Folder& folder, const std::string& name)
{
    return run_in(folder, program("corvane-world") + " check " + name).code == 0;
}

// The files that hold what is no world.
static std::vector<std::string> kept(const Folder& folder)
{
    std::vector<std::string> names;
    for (const std::string& name : folder.names()) {
        if (content(folder, name) == no_world) {
            names.push_back(name);
        }
    }
    return names;
}

// The game is in maze_save.dat, or beside it and the user knows.
static void expect_game_somewhere(const Trial& trial)
{
    const Claims claims = claims_of(trial.run.told);
    EXPECT_EQ(claims.beside_unsaved, 0);
    EXPECT_EQ(claims.settings_unsaved + claims.settings_unsure, 0);
    if (is_sound_file(trial.folder, "maze_save.dat")) {
        EXPECT_EQ(claims.unsaved + claims.beside, 0);
        EXPECT_EQ(trial.run.code, claims.unsure);
    } else {
        EXPECT_EQ(claims.unsaved, 1);
        EXPECT_EQ(claims.beside, 1);
        EXPECT_TRUE(is_sound_file(trial.folder, "maze_save-2.dat"));
        EXPECT_EQ(trial.run.code, 0);
    }
}

TEST(refused_save, is_kept_whole_in_one_file_whatever_call_fails)
{
    int points = 0;
    for (const Call& call : refused().calls) {
        if (call.phase != Phase::LOAD && call.phase != Phase::SAVE) {
            continue;
        }
        SCOPED_TRACE("EIO at " + call.text());
        const Trial trial(refused(), call, "EIO");
        EXPECT_EQ(kept(trial.folder).size(), 1U);
        EXPECT_EQ(leftovers(trial.folder), std::vector<std::string>());
        expect_game_somewhere(trial);
        points++;
    }
    count_points("I/O errors with a refused save", points);
    EXPECT_GE(points, 30);
}

TEST(refused_save, is_kept_whole_in_one_file_after_a_kill_at_any_call)
{
    int points = 0;
    for (const Call& call : refused().calls) {
        if (call.phase != Phase::LOAD && call.phase != Phase::SAVE) {
            continue;
        }
        SCOPED_TRACE("KILL at " + call.text());
        const Trial trial(refused(), call, "KILL");
        EXPECT_EQ(kept(trial.folder).size(), 1U);
        EXPECT_EQ(run_again(trial.folder).code, 0);
        EXPECT_EQ(kept(trial.folder), std::vector<std::string>{"maze_save.dat.bad"});
        EXPECT_TRUE(is_sound_file(trial.folder, "maze_save.dat"));
        EXPECT_EQ(leftovers(trial.folder), std::vector<std::string>());
        points++;
    }
    count_points("kills with a refused save", points);
    EXPECT_GE(points, 30);
}

TEST(refused_save, that_cannot_be_renamed_is_not_written_over)
{
    const Folder folder;
    set_up(refused().stage, folder);
    const RunLeft run = run_traced(folder, {"inject=rename:error=EIO"}); // of the settings too
    const Claims claims = claims_of(run.told);
    EXPECT_EQ(kept(folder), std::vector<std::string>{"maze_save.dat"});
    EXPECT_EQ(claims.unsaved, 1);
    EXPECT_EQ(claims.beside, 1);
    EXPECT_EQ(claims.settings_unsaved, 2);
    EXPECT_TRUE(is_sound_file(folder, "maze_save-2.dat"));
    EXPECT_EQ(run.code, 1);
}

// A run in the usual folder after something else has taken the place of a file.
struct Odd {
    Folder folder;
    RunLeft run;

    explicit Odd(const std::function<void(const Folder&)>& change)
    {
        set_up(usual().stage, folder);
        change(folder);
        run = run_plain(folder);
    }
};

static void expect_set_aside(const Odd& odd)
{
    EXPECT_EQ(odd.run.code, 0);
    ASSERT_EQ(odd.run.told.size(), 1U);
    EXPECT_TRUE(begins(odd.run.told[0], "The saved game maze_save.dat can't be used: "));
    EXPECT_TRUE(holds(odd.run.told[0], "It is now maze_save.dat.bad.")) << odd.run.told[0];
    EXPECT_TRUE(is_sound_file(odd.folder, "maze_save.dat"));
}

TEST(save_place, held_by_a_folder_is_taken_and_the_folder_kept_with_all_in_it)
{
    const Odd odd([](const Folder& folder) {
        std::filesystem::remove(folder.file("maze_save.dat"));
        std::filesystem::create_directory(folder.file("maze_save.dat"));
        folder.write("maze_save.dat/mine", "text");
    });
    expect_set_aside(odd);
    EXPECT_EQ(odd.folder.read("maze_save.dat.bad/mine"), "text");
}

TEST(save_place, held_by_a_link_that_leads_nowhere_is_taken_and_the_link_kept)
{
    const Odd odd([](const Folder& folder) {
        std::filesystem::remove(folder.file("maze_save.dat"));
        std::filesystem::create_symlink("nowhere/world", folder.file("maze_save.dat"));
    });
    expect_set_aside(odd);
    EXPECT_EQ(std::filesystem::read_symlink(odd.folder.file("maze_save.dat.bad")), "nowhere/world");
}

static void expect_settings_left(const Odd& odd)
{
    EXPECT_EQ(odd.run.code, 1);
    EXPECT_EQ(claims_of(odd.run.told).settings_unsaved, 2);
    EXPECT_EQ(odd.run.told.size(), 3U);
    EXPECT_TRUE(begins(odd.run.told.at(0), "Could not read config.txt: "));
    EXPECT_TRUE(content(odd.folder, "maze_save.dat") == usual().new_save);
}

TEST(settings_place, held_by_a_folder_is_left_and_told)
{
    const Odd odd([](const Folder& folder) {
        std::filesystem::remove(folder.file("config.txt"));
        std::filesystem::create_directory(folder.file("config.txt"));
        folder.write("config.txt/mine", "text");
    });
    expect_settings_left(odd);
    EXPECT_EQ(odd.folder.read("config.txt/mine"), "text");
}

TEST(settings_place, held_by_a_link_that_leads_nowhere_is_left_and_told)
{
    const Odd odd([](const Folder& folder) {
        std::filesystem::remove(folder.file("config.txt"));
        std::filesystem::create_symlink("nowhere/settings", folder.file("config.txt"));
    });
    expect_settings_left(odd);
    EXPECT_EQ(std::filesystem::read_symlink(odd.folder.file("config.txt")), "nowhere/settings");
}

// A folder in which all may be read and nothing made; the superuser becomes somebody else.
TEST(folder_of_another_user, keeps_its_files_and_the_user_is_told)
{
    const Folder folder;
    set_up(usual().stage, folder);
    ASSERT_EQ(chmod(folder.path.c_str(), 0555), 0);
    for (const std::string& name : folder.names()) {
        ASSERT_EQ(chmod(folder.file(name).c_str(), 0644), 0);
    }
    const Folder tools; // which the other user may read, unlike the folder of the build, perhaps
    ASSERT_EQ(chmod(tools.path.c_str(), 0777), 0);
    std::filesystem::copy_file(program("corvane-play"), tools.file("play"));
    tools.write("script", "at 2 press F6\n");
    ASSERT_EQ(chmod(tools.file("play").c_str(), 0755), 0);
    const std::string user =
        geteuid() == 0 ? "setpriv --reuid=65534 --regid=65534 --clear-groups " : "";
    const Outcome outcome = run_in(
        folder, user + "env LP_NUM_THREADS=0 MESA_SHADER_CACHE_DIR=" + tools.path + " " +
                    tools.file("play") + " " + tools.file("script") + " --size 16x12 --frames 3");
    EXPECT_EQ(outcome.err, "");
    std::vector<std::string> told = cut(outcome.out, '\n');
    told.erase(std::remove(told.begin(), told.end(), ""), told.end());
    const Claims claims = claims_of(told);
    EXPECT_EQ(claims.unsaved, 1);
    EXPECT_EQ(claims.beside_unsaved, 1);
    EXPECT_EQ(claims.settings_unsaved, 2);
    EXPECT_EQ(claims.others, std::vector<std::string>());
    EXPECT_EQ(outcome.code, 1);
    EXPECT_TRUE(content(folder, "maze_save.dat") == usual().old_save);
    EXPECT_EQ(content(folder, "config.txt"), usual().settings[0]);
    EXPECT_EQ(folder.listing(), "config.txt maze_save.dat");
}
