// corvane-world info, digest and dump: what is told of a saved world.
#include "base/rnd.h"
#include "tests/worldtool.h"

#include <set>

// Runs a command that must not fail on a file "world" in a folder of its own.
static std::string told_by(const std::string& command, const Bytes& bytes)
{
    const Folder folder;
    write_bytes(folder.file("world"), bytes);
    const Outcome outcome = world_in(folder, command + " world");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"world"});
    EXPECT_EQ(read_bytes(folder.file("world")), bytes);
    return outcome.out;
}

TEST(corvane_world_info, tells_of_a_world_in_aligned_columns)
{
    EXPECT_EQ(told_by("info", line_file(3, "the line")),
              "file    world: 841 bytes, 280.3 a node\n"
              "clock   0.000 s\n"
              "player  root maze, node 0, at 0 0 0\n"
              "box     x 0 to 2, y 0 to 0, z 0 to 0\n"
              "sphere  about 1 0 0, radius 1.5: the nodes of the root\n"
              "depth   1 level\n"
              "\n"
              "level       mazes      named      nodes    visited      edges     walked\n"
              "    0           1          1          3          0          2          0\n"
              "  all           1          1          3          0          2          0\n"
              "\n"
              "level  names\n"
              "    0  the line\n");
}

TEST(corvane_world_info, tells_where_the_player_is_and_the_clock)
{
    const std::string told = told_by("info", nest_file());
    HeldGame held;
    make_walked_nest(&held);
    ASSERT_NE(held->pos.maze->parent, nullptr) << "the walk has led into a submaze";
    const f64* const at = Pos_node(held->pos)->pos;
    char text[200];
    std::snprintf(text, sizeof text, "player  maze %d, node %d, at %.6g %.6g %.6g\n",
                  held->pos.maze->parentnode, held->pos.node, at[0], at[1], at[2]);
    EXPECT_NE(told.find(text), std::string::npos) << told;
    EXPECT_NE(told.find("clock   104.500 s\n"), std::string::npos) << told;
}

TEST(corvane_world_info, tells_the_way_to_a_player_two_levels_down)
{
    HeldGame held;
    Maze* const root = make_nest();
    stand(&held, root, Maze_node(Maze_node(root, 1)->sub, 3)->sub, 2);
    const std::string told = told_by("info", saved(&held.game));
    EXPECT_NE(told.find("player  maze 1/3, node 2, at "), std::string::npos) << told;
}

// The figures of the table, a row to a level and the last for all.
static std::vector<std::vector<i32>> table_of(const std::string& told)
{
    std::vector<std::vector<i32>> rows;
    std::istringstream lines(told.substr(told.find("\nlevel  ")));
    std::string line;
    std::getline(lines, line);
    std::getline(lines, line); // the heading
    while (std::getline(lines, line) && !line.empty()) {
        std::istringstream words(line);
        std::string first;
        words >> first;
        const std::string expected = std::to_string(rows.size());
        EXPECT_TRUE(first == expected || first == "all") << line;
        rows.push_back(std::vector<i32>(std::istream_iterator<i32>(words), {}));
    }
    return rows;
}

// The same by another way of counting: edges as pairs.
static void count_tree(std::vector<std::vector<i32>>* rows, const Maze* maze, size_t level)
{
    if (rows->size() <= level) {
        rows->resize(level + 1, std::vector<i32>(6));
    }
    std::multiset<std::pair<i32, i32>> edges;
    std::set<std::pair<i32, i32>> walked;
    std::vector<i32> row = {1, maze->name != nullptr ? 1 : 0, 0, 0, 0, 0};
    for (i32 n = 0; n < Maze_count(maze); n++) {
        const MazeNode* const node = Maze_node(maze, n);
        row[2]++;
        row[3] += node->rec.walked < 0.0 ? 0 : 1;
        for (u32 i = 0; i < node->nedges; i++) {
            const std::pair<i32, i32> edge = std::minmax(n, i32{node->edges[i]});
            edges.insert(edge);
            if (node->edgerec[i].walked >= 0.0) {
                walked.insert(edge);
            }
        }
        if (node->sub != nullptr) {
            count_tree(rows, node->sub, level + 1);
        }
    }
    row[4] = static_cast<i32>(edges.size()) / 2;
    row[5] = static_cast<i32>(walked.size());
    for (size_t i = 0; i < row.size(); i++) {
        (*rows)[level][i] += row[i];
    }
}

static void expect_figures(const Bytes& bytes)
{
    HeldGame held;
    build(&held, bytes);
    std::vector<std::vector<i32>> rows;
    count_tree(&rows, held->root, 0);
    std::vector<i32> sum(6);
    for (const std::vector<i32>& row : rows) {
        for (size_t i = 0; i < row.size(); i++) {
            sum[i] += row[i];
        }
    }
    rows.push_back(sum);
    const std::string told = told_by("info", bytes);
    EXPECT_EQ(table_of(told), rows) << told;
    const std::string depth = "depth   " + std::to_string(rows.size() - 1) + " level";
    EXPECT_NE(told.find(depth), std::string::npos) << told;
    char size[100];
    std::snprintf(size, sizeof size, "file    world: %zu bytes, %.1f a node\n", bytes.size(),
                  static_cast<f64>(bytes.size()) / sum[2]);
    EXPECT_EQ(told.rfind(size, 0), 0U) << told;
}

TEST(corvane_world_info, agrees_with_a_count_of_a_golden_world)
{
    expect_figures(read_bytes(CORVANE_SOURCE_DIR "/tests/golden/kind12_seed3141592653.dat"));
}

// Walks on and on along exits that are drawn.
static void wander(MazeGame* game, i32 steps)
{
    for (i32 i = 0; i < steps; i++) {
        Pos exits[POS_MAXEDGES];
        const i32 n = Pos_alledges(game->pos, exits, nullptr);
        const f64* const to = Pos_node(exits[irand(n)])->pos;
        const f64* const from = Pos_node(game->pos)->pos;
        const f64 delta[3] = {1.001 * (to[0] - from[0]), 1.001 * (to[1] - from[1]),
                              1.001 * (to[2] - from[2])};
        game->time += 1.0;
        MazeGame_move(game, delta);
    }
}

TEST(corvane_world_info, agrees_with_a_count_of_a_walked_world)
{
    for (const i32 kind : {5, 12}) {
        HeldGame held;
        build(&held,
              read_bytes(kind == 5 ? CORVANE_SOURCE_DIR "/tests/golden/kind5_seed1.dat"
                                   : CORVANE_SOURCE_DIR "/tests/golden/kind12_seed3141592653.dat"));
        rnd_seed(8);
        wander(&held.game, 300);
        ASSERT_GT(held->pos.maze->visitednodes, 5);
        expect_figures(saved(&held.game));
    }
    expect_figures(nest_file());
}

TEST(corvane_world_info, counts_an_edge_that_one_side_alone_remembers_once)
{
    HeldGame held;
    Maze* const root = make_line(4);
    stand(&held, root, root, 0);
    Maze_node(root, 1)->edgerec[0].walked = 2.0; // back to node 0
    Maze_node(root, 2)->edgerec[1].walked = 3.0; // on to node 3
    expect_figures(saved(&held.game));
    EXPECT_EQ(table_of(told_by("info", saved(&held.game)))[0][5], 2);
}

TEST(corvane_world_info, tells_1000_levels)
{
    expect_figures(tower_file(1000));
}

TEST(corvane_world_info, tells_the_box_of_all_levels_and_the_sphere_of_the_root)
{
    HeldGame held;
    Maze* const root = make_nest();
    stand(&held, root, root, 0);
    MazeNode* const deep = Maze_node(Maze_node(Maze_node(root, 1)->sub, 3)->sub, 0);
    deep->pos[0] = -40.5;
    deep->pos[2] = 7.25;
    const std::string told = told_by("info", saved(&held.game));
    EXPECT_NE(told.find("box     x -40.5 to 30, y -2 to 2.21, z 0 to 7.25\n"), std::string::npos)
        << told;
    EXPECT_NE(told.find("sphere  about 15 0 0, radius 15.5: the nodes of the root\n"),
              std::string::npos)
        << told;
}

// A line whose nodes hold mazes of the given names.
static std::string names_told(const std::vector<std::string>& names)
{
    HeldGame held;
    Maze* const root = make_nodes(static_cast<i32>(names.size()) + 1);
    for (size_t i = 0; i < names.size(); i++) {
        str_set(&hang(root, static_cast<i32>(i) + 1, make_nodes(1))->name, names[i].c_str());
    }
    stand(&held, root, root, 0);
    const std::string told = told_by("info", saved(&held.game));
    const size_t at = told.find("\nlevel  names\n");
    return at != std::string::npos ? told.substr(at + 14) : "";
}

TEST(corvane_world_info, shows_the_first_names_of_a_level)
{
    EXPECT_EQ(names_told({}), "");
    EXPECT_EQ(names_told({"a"}), "    1  a\n");
    EXPECT_EQ(names_told({"a", "b", "c", "d"}), "    1  a, b, c, d\n");
    EXPECT_EQ(names_told({"a", "b", "c", "d", "e"}), "    1  a, b, c, d, and 1 more\n");
}

TEST(corvane_world_info, shows_the_beginning_of_long_names)
{
    const std::string forty(40, 'n');
    EXPECT_EQ(names_told({forty}), "    1  " + forty + "\n");
    EXPECT_EQ(names_told({forty + "n", "b"}), "    1  " + forty + "..., b\n");
    EXPECT_EQ(names_told({std::string(100000, 'n')}), "    1  " + forty + "...\n");
}

TEST(corvane_world_info, shows_no_control_characters_of_names)
{
    EXPECT_EQ(names_told({"a\x1b[2J\n~ \x7f\xc3\xa4"}), "    1  a?[2J?~ ???\n");
}

TEST(corvane_world_digest, tells_the_digests_of_a_golden_world)
{
    EXPECT_EQ(
        told_by("digest", read_bytes(CORVANE_SOURCE_DIR "/tests/golden/kind12_seed3141592653.dat")),
        "graph=dffa0252daf6326c place=66a732cd7d946f44\n");
    EXPECT_EQ(told_by("digest", read_bytes(CORVANE_SOURCE_DIR "/tests/golden/kind5_seed1.dat")),
              "graph=a65dfc8673c4c149 place=0cd8ef39abaffd0c\n");
}

TEST(corvane_world_digest, agrees_with_that_of_the_world_just_made)
{
    const Folder folder;
    for (const std::string world : {"--mode 0 --kind 4", "--mode 0 --kind 12", "--mode 2"}) {
        const std::string made =
            world_in(folder, "make --seed 12 --digest --out world " + world).out;
        EXPECT_EQ(world_in(folder, "digest world").out,
                  made.substr(0, made.find(" draws=")) + "\n");
    }
}

TEST(corvane_world_digest, is_the_same_after_a_walk)
{
    HeldGame held;
    build(&held, read_bytes(CORVANE_SOURCE_DIR "/tests/golden/kind12_seed3141592653.dat"));
    const std::string before = told_by("digest", saved(&held.game));
    rnd_seed(3);
    wander(&held.game, 50);
    EXPECT_EQ(told_by("digest", saved(&held.game)), before);
}

// The length of a place in memory as it is printed, 0 if `text` doesn't begin with one.
static size_t placelength(const char* text)
{
    if (std::strncmp(text, "(nil)", 5) == 0) {
        return 5;
    }
    return std::strncmp(text, "0x", 2) == 0 ? std::strspn(text, "x0123456789abcdef") : 0;
}

// A dump without the places that it names.
static std::string without_places(const std::string& dump)
{
    std::string result;
    for (size_t at = 0; at < dump.size();) {
        const size_t place = placelength(dump.c_str() + at);
        result += place > 0 ? "PLACE" : dump.substr(at, 1);
        at += std::max<size_t>(place, 1);
    }
    return result;
}

TEST(corvane_world_dump, writes_the_dump_of_all_levels)
{
    const Folder folder;
    const Bytes bytes = nest_file();
    write_bytes(folder.file("world"), bytes);
    const Outcome outcome = world_in(folder, "dump world out");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.out + outcome.err, "");
    HeldGame held;
    build(&held, bytes);
    ASSERT_EQ(Maze_dump(held->root, folder.file("mine").c_str(), "world", MAZE_DUMP_ALL), 0);
    const std::string dump = without_places(read_text(folder.file("out")));
    EXPECT_EQ(dump, without_places(read_text(folder.file("mine"))));
    EXPECT_EQ(dump.rfind("---------- world\nMaze PLACE'root of it': 4 nodes, ", 0), 0U) << dump;
    EXPECT_EQ(std::count(dump.begin(), dump.end(), '{'), 3);
}

TEST(corvane_world_dump, leaves_what_is_there_alone)
{
    const Folder folder;
    write_bytes(folder.file("world"), nest_file());
    write_text(folder.file("out"), "what was there");
    fs::create_directory(folder.file("folder"));
    fs::create_symlink("nowhere", folder.file("link"));
    for (const std::string out : {"out", "folder", "link", "world", "/dev/full"}) {
        expect_bad(world_in(folder, "dump world " + out),
                   out + ": it is there already, and is left as it is");
    }
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"folder", "link", "out", "world"}));
    EXPECT_EQ(read_text(folder.file("out")), "what was there");
    EXPECT_EQ(read_bytes(folder.file("world")), nest_file());
}

TEST(corvane_world_dump, leaves_nothing_half_written)
{
    const Folder folder;
    write_bytes(folder.file("world"), line_file(1000));
    expect_bad(world_in(folder, "dump world out", smalldisk),
               "out: it could not be written whole, and is removed");
    expect_bad(world_in(folder, "dump world absent/out"), "absent/out: No such file or directory");
    expect_bad(world_in(folder, "dump world ''"), ": No such file or directory");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"world"});
}
