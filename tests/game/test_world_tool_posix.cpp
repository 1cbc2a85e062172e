// The command corvane-world as its users see it: messages and exit codes.
#include "tests/worldtool.h"

static Outcome check_of(const Bytes& bytes)
{
    const Folder folder;
    write_bytes(folder.file("world"), bytes);
    Outcome outcome = world_in(folder, "check world");
    EXPECT_EQ(read_bytes(folder.file("world")), bytes) << "the file is left alone";
    EXPECT_EQ(folder.names(), std::vector<std::string>{"world"}) << "nothing else is left";
    return outcome;
}

static void expect_sound_file(const Bytes& bytes)
{
    const Outcome outcome = check_of(bytes);
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.out, "world: sound\n");
    EXPECT_EQ(outcome.err, "");
}

static void expect_unsound(const Bytes& bytes, const std::string& fault)
{
    const Outcome outcome = check_of(bytes);
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.out, "world: unsound: " + fault + "\n");
    EXPECT_EQ(outcome.err, "");
}

TEST(corvane_world, prints_its_help)
{
    const Folder folder;
    for (const char* const arguments : {"--help", "check --help", "make --out --help"}) {
        const Outcome outcome = world_in(folder, arguments);
        EXPECT_EQ(outcome.code, 0);
        EXPECT_EQ(outcome.err, "");
        for (const char* const form : {"make --seed S --mode M [--kind K] [--out FILE] [--digest]",
                                       "check FILE", "info FILE", "digest FILE", "dump FILE OUT"}) {
            EXPECT_NE(outcome.out.find(form), std::string::npos) << form;
        }
    }
    EXPECT_TRUE(folder.names().empty());
}

TEST(corvane_world, keeps_its_help_within_100_columns)
{
    const Folder folder;
    std::istringstream help(world_in(folder, "--help").out);
    i32 lines = 0;
    for (std::string line; std::getline(help, line); lines++) {
        EXPECT_LE(line.size(), 100U) << line;
    }
    EXPECT_GT(lines, 20);
}

TEST(corvane_world, refuses_bad_arguments_in_one_line)
{
    const Folder folder;
    expect_bad(world_in(folder, ""),
               "what to do? make, check, info, digest or dump (--help tells more)");
    expect_bad(world_in(folder, "fly"), "unknown command fly (--help lists them)");
    expect_bad(world_in(folder, "fly --seed 1"), "unknown command fly (--help lists them)");
    expect_bad(world_in(folder, "'fly\nhigh'"), "unknown command fly?high (--help lists them)");
    for (const std::string command : {"check", "info", "digest"}) {
        const std::string said = command + " takes one file (--help tells more)";
        expect_bad(world_in(folder, command), said);
        expect_bad(world_in(folder, command + " a b"), said);
    }
    for (const char* const arguments : {"dump", "dump a", "dump a b c"}) {
        expect_bad(world_in(folder, arguments),
                   "dump takes a saved world and a new file (--help tells more)");
    }
    EXPECT_TRUE(folder.names().empty());
}

TEST(corvane_world, tells_that_its_output_goes_nowhere)
{
    const Folder folder;
    write_bytes(folder.file("world"), nest_file());
    for (const char* const arguments : {"--help", "check world", "info world", "digest world",
                                        "make --seed 1 --mode 0 --digest"}) {
        const Outcome outcome = world_in(folder, std::string(arguments) + " >/dev/full");
        EXPECT_EQ(outcome.code, 2) << arguments;
        EXPECT_NE(outcome.err.find("corvane-world: standard output can't be written\n"),
                  std::string::npos)
            << outcome.err;
    }
}

// Bytes that no command takes for a world, and what is said of them.
static std::vector<std::pair<Bytes, std::string>> bad_files()
{
    Bytes cut = nest_file();
    cut.resize(100);
    Bytes early = line_file(3);
    const f64 before = -1.0;
    std::memcpy(early.data() + early.size() - GAME_TAIL, &before, sizeof before);
    return {{{}, "world: root maze: the file ends in it"},
            {cut, "world: root maze: 4 nodes in the 95 bytes that are left"},
            {early, "world: game: the clock is before 0"}};
}

TEST(corvane_world, refuses_files_that_are_no_saved_worlds)
{
    for (const auto& [bytes, said] : bad_files()) {
        const Folder folder;
        write_bytes(folder.file("world"), bytes);
        for (const char* const arguments : {"info world", "digest world", "dump world out"}) {
            expect_bad(world_in(folder, arguments), said);
        }
        EXPECT_EQ(folder.names(), std::vector<std::string>{"world"});
        EXPECT_EQ(read_bytes(folder.file("world")), bytes);
    }
}

TEST(corvane_world, refuses_what_is_no_file)
{
    const Folder folder;
    fs::create_directory(folder.file("folder"));
    for (const std::string command : {"info", "digest", "dump"}) {
        const std::string out = command == "dump" ? " out" : "";
        expect_bad(world_in(folder, command + " absent" + out), "absent: there is no such file");
        expect_bad(world_in(folder, command + " folder" + out),
                   "folder: Could not read folder: Is a directory");
        expect_bad(world_in(folder, command + " ''" + out), "the name of the file is empty");
    }
    EXPECT_EQ(folder.names(), std::vector<std::string>{"folder"});
}

TEST(corvane_world_check, finds_a_save_of_the_game_sound)
{
    expect_sound_file(nest_file());
}

TEST(corvane_world_check, finds_1000_levels_sound)
{
    expect_sound_file(tower_file(1000));
}

TEST(corvane_world_check, tells_maze_and_node_of_a_fault)
{
    HeldGame held;
    Maze* const root = make_nest();
    stand(&held, root, root, 0);
    MazeNode* const deep = Maze_node(Maze_node(Maze_node(root, 1)->sub, 3)->sub, 2);
    const i32 right = deep->edges[0];
    deep->edges[0] = 12;
    const Bytes bytes = saved(&held.game);
    deep->edges[0] = right;
    expect_unsound(bytes, "maze 1/3, node 2: edge to 12 of 3");
}

TEST(corvane_world_check, tells_a_fault_of_the_game)
{
    Bytes bytes = line_file(3);
    const f64 before = -1.0;
    std::memcpy(bytes.data() + bytes.size() - GAME_TAIL, &before, sizeof before);
    expect_unsound(bytes, "game: the clock is before 0");
}

TEST(corvane_world_check, finds_1001_levels_unsound)
{
    const Outcome outcome = check_of(tower_file(1001));
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.out.find("more than 1000 levels"), std::string::npos) << outcome.out;
}

TEST(corvane_world_check, finds_a_file_without_all_of_the_game_unsound)
{
    Bytes bytes = line_file(3);
    bytes.resize(bytes.size() - 20);
    expect_unsound(bytes, "game: the last 20 bytes are missing");
    bytes.resize(bytes.size() + 23);
    expect_unsound(bytes, "3 bytes are left over");
}

TEST(corvane_world_check, cannot_read_a_file_that_ends_before_its_mazes_do)
{
    const Bytes bytes = nest_file();
    const size_t game = bytes.size() - GAME_TAIL;
    for (size_t size = 0; size < game; size += 97) {
        const Outcome outcome =
            check_of(Bytes(bytes.begin(), bytes.begin() + static_cast<i32>(size)));
        EXPECT_EQ(outcome.code, 2) << size;
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err.rfind("corvane-world: world: ", 0), 0U) << outcome.err;
    }
    expect_bad(check_of({}), "world: root maze: the file ends in it");
}

TEST(corvane_world_check, cannot_read_blocks_that_are_none)
{
    Bytes bytes = line_file(3);
    bytes[5 + 32] = 9;
    expect_bad(check_of(bytes), "world: root maze, node 0: 9 edges, 8 at most");
}

TEST(corvane_world_check, cannot_read_what_is_no_file)
{
    const Folder folder;
    expect_bad(world_in(folder, "check absent"), "absent: there is no such file");
    fs::create_directory(folder.file("folder"));
    expect_bad(world_in(folder, "check folder"), "folder: Could not read folder: Is a directory");
    fs::create_symlink("nowhere", folder.file("link"));
    expect_bad(world_in(folder, "check link"),
               "link: Could not read link: It is a link to a file that is not there");
}

// A maze of three ports, joined or not, in the middle of a star in node 1 of the root.
static Maze* make_severed(bool joined)
{
    Maze* const root = Maze_new();
    add_node(root, 0.0, 0.0);
    add_node(root, 10.0, 0.0);
    Maze* const star = make_spokes({{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {-1.0, 0.0, 0.0}});
    Maze* const ports = Maze_new();
    for (i32 i = 0; i < 5; i++) {
        add_node(ports, 0.1 * i, 0.0);
    }
    if (joined) { // by way of an inner node; the last node may be an island
        for (i32 i = 0; i < 3; i++) {
            Maze_join(ports, i, 3);
        }
    } else {
        Maze_join(ports, 0, 1);
        Maze_join(ports, 3, 4);
    }
    hang(root, 1, star);
    hang(star, 0, ports);
    return root;
}

static Bytes severed_file(bool joined)
{
    HeldGame held;
    Maze* const root = make_severed(joined);
    stand(&held, root, root, 0);
    return saved(&held.game);
}

TEST(corvane_world_check, finds_ports_without_a_way_between_them_unsound)
{
    expect_unsound(severed_file(false), "maze 1/0: no way from port to port");
    expect_sound_file(severed_file(true));
}
