// The tools built for Windows beside those built here: worlds, saves, pictures and runs.
#include "model/mazegame.h"
#include "model/savefile.h"
#include "tests/shell_run.h"
#include "tests/window/desktop.h"

#include <algorithm>
#include <cstdlib>

// Their windows are hidden, but they want a display.
static std::string windows_program(const std::string& name)
{
    static const Desktop desktop(false);
    return "DISPLAY=" + desktop.display() + " wine '" CORVANE_WINDOWS_DIR "/" + name + ".exe'";
}

// Makes a world by either tool, as `file` in the folder. What it prints.
static std::string made(const Folder& folder, const std::string& tool, i32 kind,
                        const std::string& file)
{
    const Outcome outcome = run_in(folder, tool + " make --seed 1 --mode 0 --kind " +
                                               std::to_string(kind) + " --digest --out " + file);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    return outcome.out;
}

// Loads a save and saves it again.
static void save_again(const std::string& from, const std::string& to)
{
    MazeGame game = {};
    char why[SAVE_WHY] = "";
    ASSERT_EQ(MazeGame_load(&game, from.c_str(), why), SAVE_LOADED) << why;
    EXPECT_TRUE(MazeGame_save(&game, to.c_str(), why)) << why;
    MazeGame_free(&game);
}

TEST(Windows_worlds, have_the_digests_of_those_made_here)
{
    for (i32 kind = 0; kind < 13; kind++) {
        const Folder folder;
        const std::string told = made(folder, windows_program("corvane-world"), kind, "windows");
        EXPECT_EQ(told, made(folder, program("corvane-world"), kind, "here"));
    }
}

TEST(Windows_saves, of_a_grid_have_the_bytes_of_those_made_here)
{
    const Folder folder;
    made(folder, windows_program("corvane-world"), 0, "windows");
    made(folder, program("corvane-world"), 0, "here");
    EXPECT_TRUE(folder.read("windows") == folder.read("here"));
}

TEST(Windows_saves, load_here_and_are_saved_again_by_the_same_bytes)
{
    for (const i32 kind : {0, 5, 9}) {
        const Folder folder;
        made(folder, windows_program("corvane-world"), kind, "windows");
        save_again(folder.file("windows"), folder.file("here"));
        EXPECT_TRUE(folder.read("windows") == folder.read("here")) << kind;
    }
}

// A walk with keys and the wheel, and a picture.
static const char* const walk = "at 1 wheel +1\n"
                                "at 3 hold Up\n"
                                "at 40 release Up\n"
                                "at 50 hold Right\n"
                                "at 70 release Right\n"
                                "at 80 shot walk.png\n"
                                "at 90 close\n";

struct Walked {
    std::string log, save;
    Picture picture;
};

// Walks by a program in a folder of its own that begins with a save made here.
static Walked walked(const std::string& player)
{
    const Folder folder;
    made(folder, program("corvane-world"), 0, "maze_save.dat");
    folder.write("script", walk);
    const Outcome outcome = run_in(folder, player + " script --log log --size 160x120");
    EXPECT_EQ(outcome.code, 0) << outcome.out << outcome.err;
    return {folder.read("log"), folder.read("maze_save.dat"), read_png(folder.file("walk.png"))};
}

TEST(Windows_runs, from_a_save_of_this_system_leave_the_same_save)
{
    const Walked windows = walked(windows_program("corvane-play"));
    const Walked here = walked(program("corvane-play"));
    EXPECT_NE(here.save, "");
    EXPECT_TRUE(windows.save == here.save);
    EXPECT_EQ(windows.log, here.log);
}

// The greatest difference of two pictures in a channel of a pixel.
static i32 apart(const Picture& a, const Picture& b)
{
    EXPECT_EQ(a.width, b.width);
    EXPECT_EQ(a.height, b.height);
    EXPECT_EQ(a.rgb.size(), b.rgb.size());
    i32 most = 0;
    for (size_t i = 0; i < std::min(a.rgb.size(), b.rgb.size()); i++) {
        most = std::max(most, std::abs(a.rgb[i] - b.rgb[i]));
    }
    return most;
}

TEST(Windows_pictures, of_a_run_are_those_made_here)
{
    const Walked windows = walked(windows_program("corvane-play"));
    const Walked here = walked(program("corvane-play"));
    EXPECT_GT(here.picture.lit(), 1000);
    EXPECT_LE(apart(windows.picture, here.picture), 2);
}

TEST(Windows_pictures, of_every_plot_are_those_made_here)
{
    for (const char* const plot : {"discs", "gantries", "balls", "flat"}) {
        const Folder folder;
        const std::string rest = " --seed 3 --mode 0 --size 160x120 --first-person --plot " +
                                 std::string(plot) + " --out ";
        EXPECT_EQ(run_in(folder, windows_program("corvane-shot") + rest + "windows.png").code, 0);
        EXPECT_EQ(run_in(folder, program("corvane-shot") + rest + "here.png").code, 0);
        const Picture here = read_png(folder.file("here.png"));
        EXPECT_GT(here.lit(), 200) << plot;
        EXPECT_LE(apart(read_png(folder.file("windows.png")), here), 2) << plot;
    }
}
