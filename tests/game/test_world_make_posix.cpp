// corvane-world make: worlds from a seed, saved and told by their digests.
#include "tests/digest.h"
#include "tests/world.h"
#include "tests/worldtool.h"

#include <cinttypes>

static Outcome make_in(const Folder& folder, const std::string& options)
{
    return world_in(folder, "make " + options);
}

static std::string digests_of(const Maze* root)
{
    char text[100];
    std::snprintf(text, sizeof text, "graph=%016" PRIx64 " place=%016" PRIx64,
                  Maze_digestgraph(DIGEST_START, root), Maze_digestplace(DIGEST_START, root));
    return text;
}

// What make --digest must print of a world that has just been made in this process.
static std::string told_of(const GameWorld& world)
{
    return digests_of(world.game.root) + " draws=" + std::to_string(rnd_count()) +
           " rand_state=" + std::to_string(rnd_state()) + "\n";
}

struct GoldenWorld {
    std::string options, told;
};

// The worlds of tests/golden/worlds.txt: how to make them, and what is told of them.
static std::vector<GoldenWorld> golden_worlds()
{
    std::vector<GoldenWorld> all;
    std::ifstream file(CORVANE_SOURCE_DIR "/tests/golden/worlds.txt");
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        std::replace(line.begin(), line.end(), '|', ' ');
        std::istringstream words(line);
        std::vector<std::string> list(std::istream_iterator<std::string>(words), {});
        const std::string kind = list[1] == "-" ? "" : " --kind " + list[1];
        all.push_back({"--seed " + list[2] + " --mode " + list[0] + kind + " --digest",
                       "graph=" + list[list.size() - 2] + " place=" + list.back() +
                           " draws=" + list[3] + " rand_state=" + list[4] + "\n"});
    }
    return all;
}

TEST(corvane_world_make, tells_the_digests_draws_and_state_of_the_golden_worlds)
{
    const Folder folder;
    i32 told = 0;
    for (const GoldenWorld& golden : golden_worlds()) {
        if (golden.options.find("--mode 0 --kind 5 ") == std::string::npos &&
            golden.options.find("--mode 2 ") == std::string::npos) {
            continue; // all of them are made elsewhere, without the command
        }
        const Outcome outcome = make_in(folder, golden.options);
        EXPECT_EQ(outcome.code, 0);
        EXPECT_EQ(outcome.out, golden.told) << golden.options;
        told++;
    }
    EXPECT_GE(told, 3);
    EXPECT_TRUE(folder.names().empty());
}

TEST(corvane_world_make, makes_the_world_that_the_game_makes_from_the_same_state)
{
    const Folder folder;
    for (const u32 seed : {0U, 2U, 3U, 4U, 4294967295U}) {
        const GameWorld world(seed);
        const std::string told = told_of(world);
        EXPECT_EQ(make_in(folder, "--mode 0 --digest --seed " + std::to_string(seed)).out, told);
    }
}

TEST(corvane_world_make, replaces_the_kind_after_it_has_been_drawn)
{
    const Folder folder;
    const GameWorld world(9, 7);
    const std::string told = told_of(world);
    EXPECT_EQ(make_in(folder, "--seed 9 --mode 0 --kind 7 --digest").out, told);
    EXPECT_NE(make_in(folder, "--seed 9 --mode 0 --kind 10 --digest").out, told);
}

TEST(corvane_world_make, saves_the_golden_world_to_the_byte)
{
    const Folder folder;
    const Outcome outcome = make_in(folder, "--seed 1 --mode 0 --kind 5 --out world");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"world"});
    EXPECT_EQ(read_bytes(folder.file("world")),
              read_bytes(CORVANE_SOURCE_DIR "/tests/golden/kind5_seed1.dat"));
}

TEST(corvane_world_make, saves_what_the_game_loads)
{
    const Folder folder;
    make_in(folder, "--seed 12 --mode 0 --kind 12 --out world");
    HeldGame held;
    char why[SAVE_WHY];
    ASSERT_EQ(MazeGame_load(&held.game, folder.file("world").c_str(), why), SAVE_LOADED) << why;
    expect_good(&held.game);
    EXPECT_EQ(held->time, 0.0);
    EXPECT_TRUE(Pos_same(held->pos, Pos{held->root, 0}));
    EXPECT_EQ(held->showtrail, 1);
    EXPECT_EQ(held->showexits, 1);
    const GameWorld world(12, 12);
    EXPECT_EQ(digests_of(held->root), digests_of(world.game.root));
}

TEST(corvane_world_make, saves_and_tells_the_same_world)
{
    const Folder folder;
    const std::string world = "--seed 44444 --mode 0 --kind 3";
    const std::string told = make_in(folder, world + " --out world --digest").out;
    EXPECT_EQ(make_in(folder, world + " --digest").out, told);
    const std::string digests = world_in(folder, "digest world").out;
    EXPECT_EQ(told.substr(0, digests.size() - 1) + "\n", digests);
    EXPECT_EQ(told.compare(digests.size() - 1, 7, " draws="), 0);
    EXPECT_EQ(world_in(folder, "check world").out, "world: sound\n");
}

TEST(corvane_world_make, takes_its_options_in_any_order)
{
    const Folder folder;
    const std::string told = make_in(folder, "--seed 3 --mode 0 --kind 5 --digest").out;
    EXPECT_EQ(told.rfind("graph=", 0), 0U);
    EXPECT_EQ(make_in(folder, "--digest --kind 5 --mode 0 --seed 3").out, told);
    EXPECT_EQ(make_in(folder, "--kind 05 --seed 0003 --digest --mode 0").out, told);
}

TEST(corvane_world_make, keeps_progress_off_standard_output)
{
    const Folder folder;
    const Outcome outcome = make_in(folder, "--seed 12 --mode 0 --kind 12 --digest");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 1);
    EXPECT_EQ(outcome.out.rfind("graph=", 0), 0U);
    EXPECT_NE(outcome.err.find("recursify_stencil("), std::string::npos);
}

TEST(corvane_world_make, refuses_bad_options_in_one_line)
{
    const Folder folder;
    const std::vector<std::pair<std::string, std::string>> faults = {
        {"", "make needs --seed (--help tells more)"},
        {"--mode 0 --digest", "make needs --seed (--help tells more)"},
        {"--seed 1 --digest", "make needs --mode (--help tells more)"},
        {"--seed 1 --mode 0", "make needs --out, --digest or both (--help tells more)"},
        {"--seed", "--seed needs a value"},
        {"--mode 0 --digest --seed 1 --out", "--out needs a value"},
        {"--mode 0 --seed 1 --out --digest", "--out needs a value"},
        {"--mode 0 --seed 1 --out ''", "--out takes the name of a file"},
        {"--mode 0 --seed 1 --digest --kind", "--kind needs a value"},
        {"--seed 1 --mode 3 --digest", "--mode takes 0, 1 or 2, not '3'"},
        {"--seed 1 --mode -1 --digest", "--mode takes 0, 1 or 2, not '-1'"},
        {"--seed 1 --mode grid --digest", "--mode takes 0, 1 or 2, not 'grid'"},
        {"--seed 1 --mode 0 --kind 13 --digest",
         "--kind takes a whole number from 0 to 12, not '13'"},
        {"--seed 1 --mode 0 --kind -1 --digest",
         "--kind takes a whole number from 0 to 12, not '-1'"},
        {"--seed 1 --mode 0 --kind '' --digest",
         "--kind takes a whole number from 0 to 12, not ''"},
        {"--seed 1 --mode 2 --kind 3 --digest",
         "--kind goes with --mode 0 only: the other modes have no kinds"},
        {"--seed 1 --mode 0 --digest --seed 1", "--seed is given twice"},
        {"--seed 1 --mode 0 --mode 1", "--mode is given twice"},
        {"--kind 1 --kind 1", "--kind is given twice"},
        {"--out a --out b", "--out is given twice"},
        {"--digest --digest", "--digest is given twice"},
        {"--seed 1 --mode 0 --sead 2", "make knows no --sead (--help tells more)"},
        {"--seed 1 --mode 0 world", "make knows no world (--help tells more)"},
        {"--seed=1 --mode 0 --digest", "make knows no --seed=1 (--help tells more)"},
        {"--seed x --kind 99 --mode 9",
         "--seed takes a whole number from 0 to 4294967295, not 'x'"}};
    for (const auto& [options, said] : faults) {
        expect_bad(make_in(folder, options), said);
    }
    EXPECT_TRUE(folder.names().empty());
}

TEST(corvane_world_make, refuses_seeds_that_are_no_numbers_of_32_bits)
{
    const Folder folder;
    for (const std::string seed : {"4294967296", "-1", "+1", "1.0", "1e3", "0x10", "", " 1", "1 ",
                                   "12a", "99999999999999999999999999"}) {
        expect_bad(make_in(folder, "--mode 0 --kind 5 --digest --seed '" + seed + "'"),
                   "--seed takes a whole number from 0 to 4294967295, not '" + seed + "'");
    }
}

TEST(corvane_world_make, replaces_a_file_whole)
{
    const Folder folder;
    write_text(folder.file("world"), std::string(1000000, 'x'));
    EXPECT_EQ(make_in(folder, "--seed 1 --mode 0 --kind 5 --out world").code, 0);
    EXPECT_EQ(read_bytes(folder.file("world")).size(), 56951U);
    EXPECT_EQ(folder.names(), std::vector<std::string>{"world"});
}

TEST(corvane_world_make, tells_where_it_cannot_write)
{
    const Folder folder;
    fs::create_directory(folder.file("folder"));
    fs::create_symlink("nowhere", folder.file("link"));
    const std::string world = "--seed 1 --mode 0 --kind 5 --digest --out ";
    expect_bad(make_in(folder, world + "folder"),
               "folder: Could not write " + folder.file("folder") + ": Is a directory");
    expect_bad(make_in(folder, world + "absent/world"),
               "absent/world: Could not find the folder absent: No such file or directory");
    expect_bad(make_in(folder, world + "link"),
               "link: Could not write link: It is a link to a file that is not there");
    expect_bad(make_in(folder, world + "/dev/full"),
               "/dev/full: Could not write /dev/full: It is not an ordinary file");
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"folder", "link"}));
}

TEST(corvane_world_make, leaves_nothing_half_written_where_the_disk_is_full)
{
    const Folder folder;
    const std::string arguments = "make --seed 1 --mode 0 --kind 5 --digest --out world";
    const std::string said = "world: Could not write " + folder.file("world") + ": File too large";
    expect_bad(world_in(folder, arguments, smalldisk), said);
    EXPECT_TRUE(folder.names().empty());
    write_text(folder.file("world"), "what was there");
    expect_bad(world_in(folder, arguments, smalldisk), said);
    EXPECT_EQ(folder.names(), std::vector<std::string>{"world"});
    EXPECT_EQ(read_text(folder.file("world")), "what was there");
}
