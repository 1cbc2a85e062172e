#include "model/connect.h"
#include "tests/savebytes.h"

#include <limits>

TEST(Maze_save, writes_75_bytes_for_one_node_without_edges_and_name)
{
    HeldGame held;
    Maze* const maze = make_spokes({});
    stand(&held, maze, maze, 0);
    EXPECT_EQ(saved(&held.game).size(), 75U + 4 + GAME_TAIL);
}

TEST(Maze_save, writes_each_field_in_its_place)
{
    HeldGame held;
    Maze* const maze = Maze_new();
    add_node(maze, 1.5, -2.5, 3.5, 0.75);
    add_node(maze, 4.0, 5.0, 6.0, 0.25);
    Maze_join(maze, 0, 1);
    MazeNode* const first = Maze_node(maze, 0);
    first->edgerec[0] = {.colour = 0x010203, .walked = 7.0, .trailed = 8.0};
    first->rec = {.colour = 0x040506, .walked = 9.0, .trailed = 10.0};
    MazeNode_await(first);
    maze->visitednodes = 1;
    stand(&held, maze, maze, 1);
    Bytes want;
    put_head(&want, 1, 2);
    for (const f64 value : {1.5, -2.5, 3.5, 0.75}) {
        put(&want, value);
    }
    put(&want, u32{1});
    put(&want, i32{1});
    put_visit(&want, 0x010203, 7.0, 8.0);
    put_visit(&want, 0x040506, 9.0, 10.0);
    put(&want, u8{0});
    put_node(&want, 4.0, 5.0, 6.0, 0.25, {0});
    put_end(&want, "", 1);
    put(&want, i32{1});
    Bytes got = saved(&held.game);
    ASSERT_EQ(got.size(), want.size() + GAME_TAIL);
    got.resize(want.size());
    EXPECT_EQ(got, want);
}

TEST(Maze_save, ends_the_block_of_a_named_maze_with_the_name_and_a_0)
{
    HeldGame held;
    Maze* const maze = make_spokes({});
    str_set(&maze->name, "ab");
    stand(&held, maze, maze, 0);
    const Bytes got = saved(&held.game);
    ASSERT_EQ(got.size(), 77U + 4 + GAME_TAIL);
    EXPECT_EQ(got[74], 0x61);
    EXPECT_EQ(got[75], 0x62);
    EXPECT_EQ(got[76], 0x00);
}

TEST(Maze_save, puts_a_submaze_right_behind_its_node)
{
    HeldGame held;
    Maze* const root = Maze_new();
    for (i32 i = 0; i < 4; i++) {
        add_node(root, i, 0.0);
    }
    Maze* const sub = make_spokes({});
    hang(root, 2, sub);
    str_set(&sub->name, "in");
    stand(&held, root, sub, 0);
    Bytes want;
    put_head(&want, 0, 4);
    put_node(&want, 0.0, 0.0, 0.0, 0.5, {});
    put_node(&want, 1.0, 0.0, 0.0, 0.5, {});
    put_node(&want, 2.0, 0.0, 0.0, 0.5, {}, 1);
    put_head(&want, 1, 1);
    put_node(&want, 0.0, 0.0, 0.0, 0.5, {});
    put_end(&want, "in");
    put_node(&want, 3.0, 0.0, 0.0, 0.5, {});
    put_end(&want);
    put(&want, i32{0});
    Bytes got = saved(&held.game);
    ASSERT_EQ(got.size(), want.size() + GAME_TAIL);
    got.resize(want.size());
    EXPECT_EQ(got, want);
}

static void expect_bytes(const u8* at, const void* value, size_t n)
{
    EXPECT_EQ(std::memcmp(at, value, n), 0);
}

TEST(MazeGame_save, writes_the_record_from_the_clock_on)
{
    HeldGame held;
    make_walked_nest(&held);
    const Bytes got = saved(&held.game);
    const u8* const tail = got.data() + got.size() - GAME_TAIL;
    expect_bytes(tail, &held->time, 8);
    expect_bytes(tail + 8, held->orient, 72);
    expect_bytes(tail + 80, held->campos, 24);
    expect_bytes(tail + 104, &held->zoom, 8);
    expect_bytes(tail + 112, &held->view, 360);
    expect_bytes(tail + 472, &held->showtrail, 4);
    expect_bytes(tail + 476, &held->showexits, 4);
}

TEST(MazeGame_save, writes_zeros_for_the_array_header)
{
    HeldGame held;
    make_walked_nest(&held);
    const Bytes got = saved(&held.game);
    EXPECT_EQ(Bytes(got.end() - 40, got.end()), Bytes(40, 0));
}

TEST(MazeGame_save, writes_zeros_for_the_padding_of_a_record)
{
    HeldGame held;
    Maze* const maze = make_spokes({});
    stand(&held, maze, maze, 0);
    std::memset(&Maze_node(maze, 0)->rec, 0xAB, sizeof(VisitRec));
    Maze_node(maze, 0)->rec.walked = -1.0;
    const Bytes got = saved(&held.game);
    EXPECT_EQ(Bytes(got.begin() + 45, got.begin() + 49), Bytes(4, 0));
}

TEST(MazeGame_save, never_writes_a_number_that_is_not_finite)
{
    const f64 bad[] = {std::numeric_limits<f64>::infinity(), -std::numeric_limits<f64>::infinity(),
                       std::numeric_limits<f64>::quiet_NaN()};
    for (const f64 value : bad) {
        HeldGame held;
        make_walked_nest(&held);
        MazeNode* const node = Maze_node(held->root, 0);
        node->pos[1] = value;
        node->radius = value;
        node->rec.walked = value;
        node->edgerec[0].trailed = value;
        held->time = value;
        held->campos[2] = value;
        held->zoom = value;
        held->view.modelview[3] = value;
        held->view.far = value;
        held->view.pixelsize = value;
        HeldGame again;
        build(&again, saved(&held.game));
        expect_good(&again.game);
    }
}

TEST(MazeGame_save, counts_the_visited_nodes_anew)
{
    HeldGame held;
    make_walked_nest(&held);
    const i32 counted = held->root->visitednodes;
    ASSERT_GT(counted, 0);
    held->root->visitednodes = 77;
    HeldGame again;
    build(&again, saved(&held.game));
    EXPECT_EQ(again->root->visitednodes, counted);
}

TEST(MazeGame_save, drops_used_exits_that_are_no_ports)
{
    HeldGame held;
    make_walked_nest(&held);
    Maze_node(held->root, 1)->sub->exitsused = 0xFFFFFFF1;
    HeldGame again;
    build(&again, saved(&held.game));
    EXPECT_EQ(Maze_node(again->root, 1)->sub->exitsused, 1U);
}

TEST(MazeGame_save, leaves_the_old_file_where_the_new_one_cannot_be_made)
{
    const Folder folder;
    HeldGame held;
    make_walked_nest(&held);
    char why[SAVE_WHY] = "";
    EXPECT_FALSE(MazeGame_save(&held.game, folder.file("none/save").c_str(), why));
    EXPECT_NE(std::string(why), "");
    EXPECT_TRUE(fs::is_empty(folder.path));
}

TEST(savefile_build, makes_null_of_an_empty_name)
{
    HeldGame held;
    build(&held, line_file(2));
    EXPECT_EQ(held->root->name, nullptr);
}

TEST(savefile_build, keeps_a_name)
{
    HeldGame held;
    build(&held, line_file(2, "ab"));
    EXPECT_STREQ(held->root->name, "ab");
}

TEST(savefile_build, tells_each_submaze_its_place)
{
    HeldGame held;
    make_walked_nest(&held);
    HeldGame again;
    build(&again, saved(&held.game));
    Maze* const root = again->root;
    Maze* const west = Maze_node(root, 1)->sub;
    EXPECT_EQ(root->parent, nullptr);
    EXPECT_EQ(west->parent, root);
    EXPECT_EQ(west->parentnode, 1);
    EXPECT_EQ(Maze_node(root, 2)->sub->parentnode, 2);
    EXPECT_EQ(Maze_node(west, 3)->sub->parent, west);
    EXPECT_EQ(Maze_node(west, 3)->sub->parentnode, 3);
    const Folder folder;
    EXPECT_EQ(Maze_dump(root, folder.file("dump").c_str(), "loaded", MAZE_DUMP_ALL), 0);
    const Bytes dump = read_bytes(folder.file("dump"));
    EXPECT_EQ(std::string(dump.begin(), dump.end()).find("ERROR"), std::string::npos);
}

TEST(savefile_build, keeps_what_has_been_walked_and_the_clock)
{
    HeldGame held;
    make_walked_nest(&held);
    HeldGame again;
    build(&again, saved(&held.game));
    EXPECT_EQ(again->time, held->time);
    EXPECT_EQ(again->pos.node, held->pos.node);
    EXPECT_EQ(again->root->visitednodes, held->root->visitednodes);
    EXPECT_EQ(Maze_node(again->root, 2)->sub->exitsused, Maze_node(held->root, 2)->sub->exitsused);
    EXPECT_EQ(Maze_node(again->root, 0)->rec.trailed, 4.5);
    EXPECT_EQ(Maze_node(again->root, 0)->rec.colour, 0x123456U);
    EXPECT_EQ(again->view.pixelsize, 0.5);
    EXPECT_EQ(again->showexits, -4);
}

TEST(savefile_build, does_not_take_over_the_saved_zoom)
{
    HeldGame held;
    make_walked_nest(&held);
    held->zoom = 12345.0;
    HeldGame again;
    build(&again, saved(&held.game));
    EXPECT_EQ(again->zoom, 50.0 * Maze_node(held->root, 0)->radius);
    EXPECT_EQ(again->campos[2], Pos_node(again->pos)->pos[2] + again->zoom * again->orient[8]);
}

TEST(savefile_build, clears_expandable)
{
    HeldGame held;
    make_walked_nest(&held);
    for (i32 i = 3; i >= 0; i--) {
        MazeNode_await(Maze_node(held->root, i));
    }
    HeldGame again;
    build(&again, saved(&held.game));
    for (i32 i = 3; i >= 0; i--) {
        EXPECT_EQ(Maze_node(again->root, i)->expandable, 0U);
    }
}

TEST(savefile_build, leaves_step_and_roamers_behind)
{
    HeldGame held;
    make_walked_nest(&held);
    held->step[0] = 1.0;
    Roamer roamer;
    Roamer_make(&roamer, held->root);
    GrowArray_push(&held->roamers, &roamer);
    HeldGame again;
    build(&again, saved(&held.game));
    EXPECT_EQ(again->step[0], 0.0);
    EXPECT_EQ(again->roamers.count, 0U);
    EXPECT_EQ(again->roamers.elemsize, sizeof(Roamer));
    EXPECT_NE(again->roamers.buf, held->roamers.buf);
}

TEST(savefile_build, computes_the_bounds_of_each_level)
{
    HeldGame held;
    make_walked_nest(&held);
    HeldGame again;
    build(&again, saved(&held.game));
    EXPECT_EQ(again->root->centre[0], held->root->centre[0]);
    EXPECT_EQ(again->root->boundradius, held->root->boundradius);
    const Maze* const deep = Maze_node(Maze_node(again->root, 1)->sub, 3)->sub;
    EXPECT_EQ(deep->boundradius, Maze_node(Maze_node(held->root, 1)->sub, 3)->sub->boundradius);
    EXPECT_LT(deep->boundradius, 1.0);
}

TEST(savefile_build, allocates_a_node_array_to_its_size)
{
    HeldGame held;
    build(&held, line_file(37));
    EXPECT_EQ(held->root->nodes.capacity, 37U);
    EXPECT_EQ(held->root->nodes.count, 37U);
}

TEST(savefile_build, never_looks_at_padding_and_array_header)
{
    HeldGame held;
    make_walked_nest(&held);
    const Bytes clean = saved(&held.game);
    Bytes junk = clean;
    std::fill(junk.end() - 40, junk.end(), 0xFF);
    std::fill(junk.begin() + 5 + 36 + 4 + 4, junk.begin() + 5 + 36 + 4 + 8, 0xFF);
    ASSERT_NE(junk, clean);
    HeldGame again;
    build(&again, junk);
    EXPECT_EQ(saved(&again.game), clean);
}

static void count_levels(const Maze* maze, size_t level, std::vector<i32>* counts)
{
    if (counts->size() < 3 * level + 3) {
        counts->resize(3 * level + 3);
    }
    (*counts)[3 * level] += 1;
    (*counts)[3 * level + 1] += Maze_count(maze);
    (*counts)[3 * level + 2] += Maze_edgecount(maze);
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        if (Maze_node(maze, i)->sub != nullptr) {
            count_levels(Maze_node(maze, i)->sub, level + 1, counts);
        }
    }
}

static void expect_golden(const char* name, const std::vector<i32>& counts)
{
    const Bytes bytes = read_bytes(std::string(CORVANE_SOURCE_DIR "/tests/golden/") + name);
    HeldGame held;
    build(&held, bytes);
    expect_good(&held.game);
    std::vector<i32> got;
    count_levels(held->root, 0, &got);
    EXPECT_EQ(got, counts); // mazes, nodes and edges of each level
    EXPECT_TRUE(saved(&held.game) == bytes);
}

TEST(savefile_build, takes_a_file_of_another_writer)
{
    expect_golden("kind5_seed1.dat", {1, 3, 2, 1, 480, 479});
}

TEST(savefile_build, takes_a_nested_file_of_another_writer)
{
    expect_golden("kind12_seed3141592653.dat",
                  {1, 3, 2, 1, 19, 18, 1, 16, 15, 3, 68, 64, 6, 92, 86});
}

TEST(MazeGame_save, writes_no_clock_before_0)
{
    HeldGame held;
    make_walked_nest(&held);
    held->time = -0.5;
    HeldGame again;
    build(&again, saved(&held.game));
    EXPECT_EQ(again->time, 0.0);
}

TEST(MazeGame_load, finds_no_file)
{
    const Folder folder;
    MazeGame game;
    char why[SAVE_WHY];
    EXPECT_EQ(MazeGame_load(&game, folder.file("save").c_str(), why), SAVE_MISSING);
    EXPECT_TRUE(fs::is_empty(folder.path));
}

TEST(MazeGame_load, goes_on_with_what_was_saved)
{
    const Folder folder;
    HeldGame held;
    make_walked_nest(&held);
    char why[SAVE_WHY];
    ASSERT_TRUE(MazeGame_save(&held.game, folder.file("save").c_str(), why)) << why;
    HeldGame again;
    ASSERT_EQ(MazeGame_load(&again.game, folder.file("save").c_str(), why), SAVE_LOADED) << why;
    expect_good(&again.game);
    EXPECT_EQ(again->time, held->time);
    EXPECT_TRUE(fs::exists(folder.file("save")));
}

TEST(MazeGame_load, sets_an_unsound_file_aside)
{
    const Folder folder;
    Bytes bytes = line_file(3);
    bytes[5 + 36] = 7;
    write_bytes(folder.file("save"), bytes);
    MazeGame game = {};
    char why[SAVE_WHY];
    EXPECT_EQ(MazeGame_load(&game, folder.file("save").c_str(), why), SAVE_REFUSED);
    EXPECT_EQ(game.root, nullptr);
    EXPECT_FALSE(fs::exists(folder.file("save")));
    EXPECT_EQ(read_bytes(folder.file("save.bad")), bytes);
    EXPECT_EQ(std::string(why),
              "The saved game " + folder.file("save") +
                  " can't be used: root maze, node 0: edge to 7 of 3. It is now " +
                  folder.file("save.bad") + ".");
}

TEST(MazeGame_load, keeps_the_files_that_were_set_aside_before)
{
    const Folder folder;
    char why[SAVE_WHY];
    MazeGame game = {};
    const char* const names[] = {"save.bad", "save.bad-2", "save.bad-3"};
    for (u8 i = 0; i < 3; i++) {
        write_bytes(folder.file("save"), Bytes(3, i));
        EXPECT_EQ(MazeGame_load(&game, folder.file("save").c_str(), why), SAVE_REFUSED);
        EXPECT_NE(std::string(why).find(folder.file(names[i])), std::string::npos) << why;
        EXPECT_NE(std::string(why).find(folder.file("save") + " "), std::string::npos) << why;
    }
    for (u8 i = 0; i < 3; i++) {
        EXPECT_EQ(read_bytes(folder.file(names[i])), Bytes(3, i));
    }
}

TEST(MazeGame_load, sets_a_folder_of_that_name_aside)
{
    const Folder folder;
    fs::create_directory(folder.file("save"));
    MazeGame game = {};
    char why[SAVE_WHY];
    EXPECT_EQ(MazeGame_load(&game, folder.file("save").c_str(), why), SAVE_REFUSED);
    EXPECT_TRUE(fs::is_directory(folder.file("save.bad")));
}

TEST(MazeGame_load, tells_that_a_file_could_not_be_set_aside)
{
    const Folder folder;
    const std::string path = folder.file(std::string(253, 'x')); // no room for an ending
    write_bytes(path, Bytes(3, 1));
    MazeGame game = {};
    char why[SAVE_WHY];
    EXPECT_EQ(MazeGame_load(&game, path.c_str(), why), SAVE_STUCK);
    EXPECT_NE(std::string(why).find("Could not rename"), std::string::npos) << why;
    EXPECT_EQ(read_bytes(path), Bytes(3, 1));
}

TEST(MazeGame_load, refuses_an_empty_file)
{
    const Folder folder;
    write_bytes(folder.file("save"), {});
    MazeGame game = {};
    char why[SAVE_WHY];
    EXPECT_EQ(MazeGame_load(&game, folder.file("save").c_str(), why), SAVE_REFUSED);
    EXPECT_TRUE(fs::exists(folder.file("save.bad")));
}

TEST(MazeGame_savebeside, writes_what_a_save_writes_in_a_file_of_its_own)
{
    const Folder folder;
    HeldGame held;
    make_walked_nest(&held);
    write_bytes(folder.file("save.dat"), Bytes(3, 1));
    char newname[WHOLEFILE_PATH];
    char why[SAVE_WHY];
    ASSERT_TRUE(MazeGame_savebeside(&held.game, folder.file("save.dat").c_str(), newname, why))
        << why;
    EXPECT_EQ(std::string(newname), folder.file("save-2.dat"));
    EXPECT_EQ(read_bytes(folder.file("save-2.dat")), saved(&held.game));
    EXPECT_EQ(read_bytes(folder.file("save.dat")), Bytes(3, 1));
}

TEST(MazeGame_savebeside, tells_why_it_failed)
{
    const Folder folder;
    HeldGame held;
    make_walked_nest(&held);
    char newname[WHOLEFILE_PATH];
    char why[SAVE_WHY];
    EXPECT_FALSE(
        MazeGame_savebeside(&held.game, folder.file("nowhere/save.dat").c_str(), newname, why));
    EXPECT_NE(std::string(why).find(folder.file("nowhere")), std::string::npos) << why;
}

TEST(MazeGame_loadshared, loads_a_sound_file)
{
    const Folder folder;
    HeldGame held;
    make_walked_nest(&held);
    char why[SAVE_WHY];
    ASSERT_TRUE(MazeGame_save(&held.game, folder.file("save").c_str(), why)) << why;
    HeldGame again;
    ASSERT_EQ(MazeGame_loadshared(&again.game, folder.file("save").c_str(), why), SAVE_LOADED);
    expect_good(&again.game);
    EXPECT_STREQ(why, "");
}

TEST(MazeGame_loadshared, leaves_a_refused_file_where_it_is)
{
    const Folder folder;
    Bytes bytes = line_file(3);
    bytes[5 + 36] = 7;
    write_bytes(folder.file("save"), bytes);
    MazeGame game = {};
    char why[SAVE_WHY];
    EXPECT_EQ(MazeGame_loadshared(&game, folder.file("save").c_str(), why), SAVE_STUCK);
    EXPECT_EQ(game.root, nullptr);
    EXPECT_EQ(read_bytes(folder.file("save")), bytes);
    EXPECT_FALSE(fs::exists(folder.file("save.bad")));
    EXPECT_EQ(
        std::string(why),
        "The saved game " + folder.file("save") +
            " can't be used: root maze, node 0: edge to 7 of 3. It is left to the other copy.");
}

TEST(MazeGame_loadshared, leaves_a_folder_of_that_name_where_it_is)
{
    const Folder folder;
    fs::create_directory(folder.file("save"));
    MazeGame game = {};
    char why[SAVE_WHY];
    EXPECT_EQ(MazeGame_loadshared(&game, folder.file("save").c_str(), why), SAVE_STUCK);
    EXPECT_TRUE(fs::is_directory(folder.file("save")));
}

TEST(MazeGame_loadshared, tells_a_missing_file)
{
    const Folder folder;
    MazeGame game = {};
    char why[SAVE_WHY];
    EXPECT_EQ(MazeGame_loadshared(&game, folder.file("save").c_str(), why), SAVE_MISSING);
    EXPECT_STREQ(why, "");
}
