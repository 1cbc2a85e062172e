#include "base/rnd.h"
#include "tests/savebytes.h"

#include <limits>

TEST(savefile_check, takes_a_sound_file)
{
    EXPECT_EQ(fault_of(line_file(10)), "");
}

TEST(savefile_check, refuses_a_file_without_bytes)
{
    EXPECT_EQ(fault_of({}), "root maze: the file ends in it");
}

TEST(savefile_check, refuses_every_truncation)
{
    HeldGame held;
    make_walked_nest(&held);
    const Bytes whole = saved(&held.game);
    ASSERT_EQ(fault_of(whole), "");
    for (size_t size = 0; size < whole.size(); size++) {
        EXPECT_NE(fault_of(Bytes(whole.begin(), whole.begin() + static_cast<i32>(size))), "")
            << size;
    }
}

TEST(savefile_check, refuses_what_is_left_over)
{
    Bytes bytes = line_file(2);
    bytes.push_back(0);
    EXPECT_NE(fault_of(bytes), "");
    Bytes between = line_file(2);
    between.insert(between.end() - GAME_TAIL - 4, 3, 0);
    EXPECT_EQ(fault_of(between), "3 bytes are left over");
}

TEST(savefile_check, finds_unreadable_what_ends_before_the_game_and_unsound_what_ends_in_it)
{
    HeldGame held;
    make_walked_nest(&held);
    const Bytes whole = saved(&held.game);
    const size_t game = whole.size() - GAME_TAIL;
    for (size_t size = 0; size < whole.size(); size++) {
        EXPECT_EQ(verdict_of(Bytes(whole.begin(), whole.begin() + static_cast<i32>(size))),
                  size < game ? SAVE_UNREADABLE : SAVE_UNSOUND)
            << size;
    }
}

TEST(savefile_check, tells_what_is_missing_of_the_game)
{
    Bytes bytes = line_file(2);
    bytes.resize(bytes.size() - 9);
    EXPECT_EQ(fault_of(bytes), "game: the last 9 bytes are missing");
    bytes.resize(bytes.size() + 9 - GAME_TAIL - 1);
    EXPECT_EQ(fault_of(bytes), "the file ends before the player's node");
}

TEST(savefile_check, finds_unreadable_blocks_behind_an_unsound_one)
{
    Bytes bytes = line_file(3);
    const i32 bad = -1;
    std::memcpy(bytes.data() + 5 + 36, &bad, 4);
    EXPECT_EQ(verdict_of(bytes), SAVE_UNSOUND);
    bytes[5 + 61 + 28 + 32] = 9;
    EXPECT_EQ(verdict_of(bytes), SAVE_UNREADABLE);
}

TEST(savefile_check, finds_unreadable_a_name_without_an_end_and_too_many_edges)
{
    Bytes bytes = line_file(1);
    for (size_t i = 5 + 61 + 8; i < bytes.size(); i++) {
        bytes[i] = 'x';
    }
    EXPECT_EQ(verdict_of(bytes), SAVE_UNREADABLE);
    bytes = line_file(1);
    bytes[5 + 32] = 9;
    EXPECT_EQ(verdict_of(bytes), SAVE_UNREADABLE);
}

TEST(savefile_check, lets_no_changed_byte_do_harm)
{
    HeldGame held;
    make_walked_nest(&held);
    const Bytes whole = saved(&held.game);
    i32 refused = 0;
    for (size_t i = 0; i < whole.size(); i++) {
        for (const u8 change : {0x01, 0x02, 0x10, 0x7F, 0x80, 0xFF}) {
            Bytes bytes = whole;
            bytes[i] = static_cast<u8>(bytes[i] ^ change);
            refused += fault_of(bytes).empty() ? 0 : 1;
            expect_sound_or_refused(bytes);
            ASSERT_FALSE(HasFailure()) << "byte " << i << " changed by " << i32{change};
        }
    }
    EXPECT_GT(refused, 500);
}

TEST(savefile_check, lets_no_changed_number_do_harm)
{
    HeldGame held;
    make_walked_nest(&held);
    const Bytes whole = saved(&held.game);
    for (size_t i = 0; i + 8 <= whole.size(); i++) {
        for (const f64 value : {1e308, -1e308, 5e-324, 1e-160, 1e200}) {
            Bytes bytes = whole;
            std::memcpy(bytes.data() + i, &value, sizeof value);
            expect_sound_or_refused(bytes);
            ASSERT_FALSE(HasFailure()) << "byte " << i << " from " << value;
        }
    }
}

TEST(savefile_check, names_maze_and_node_of_an_edge_out_of_range)
{
    HeldGame held;
    Maze* const root = make_nest();
    stand(&held, root, root, 0);
    Maze_node(Maze_node(Maze_node(root, 1)->sub, 3)->sub, 2)->edges[0] = 12;
    EXPECT_EQ(fault_of(saved(&held.game)), "maze 1/3, node 2: edge to 12 of 3");
    Maze_node(Maze_node(Maze_node(root, 1)->sub, 3)->sub, 2)->edges[0] = 1;
}

TEST(savefile_check, names_the_root)
{
    Bytes bytes = line_file(3);
    const i32 bad = -1;
    std::memcpy(bytes.data() + 5 + 36, &bad, 4);
    EXPECT_EQ(fault_of(bytes), "root maze, node 0: edge to -1 of 3");
}

/// A file of two nodes whose edges are given.
static Bytes pair_file(const std::vector<i32>& first, const std::vector<i32>& second)
{
    Bytes out;
    put_head(&out, 1, 2);
    put_node(&out, 0.0, 0.0, 0.0, 0.5, first);
    put_node(&out, 1.0, 0.0, 0.0, 0.5, second);
    put_end(&out);
    put_game(&out, 0);
    return out;
}

TEST(savefile_check, refuses_an_edge_to_itself)
{
    EXPECT_EQ(fault_of(pair_file({0}, {})), "root maze, node 0: edge to itself");
}

TEST(savefile_check, refuses_an_edge_without_a_way_back)
{
    EXPECT_EQ(fault_of(pair_file({1}, {})),
              "root maze, node 0: 1 times joined to 1, and 0 times back");
    EXPECT_EQ(fault_of(pair_file({}, {0})),
              "root maze, node 1: 1 times joined to 0, and 0 times back");
}

TEST(savefile_check, refuses_a_doubled_edge_with_one_way_back)
{
    EXPECT_EQ(fault_of(pair_file({1, 1}, {0})),
              "root maze, node 0: 2 times joined to 1, and 1 times back");
}

TEST(savefile_check, takes_doubled_edges)
{
    EXPECT_EQ(fault_of(pair_file({1, 1}, {0, 0})), "");
}

TEST(savefile_check, takes_8_edges_and_refuses_9)
{
    EXPECT_EQ(fault_of(pair_file(std::vector<i32>(8, 1), std::vector<i32>(8, 0))), "");
    EXPECT_EQ(fault_of(pair_file(std::vector<i32>(9, 1), std::vector<i32>(9, 0))),
              "root maze, node 0: 9 edges, 8 at most");
}

TEST(savefile_check, refuses_billions_of_edges)
{
    for (const u32 nedges : {0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU, 0x09249249U, 153391689U}) {
        Bytes bytes = line_file(3);
        std::memcpy(bytes.data() + 5 + 32, &nedges, 4);
        EXPECT_EQ(fault_of(bytes),
                  "root maze, node 0: " + std::to_string(nedges) + " edges, 8 at most");
    }
}

TEST(savefile_check, refuses_counts_of_nodes_that_the_file_cannot_hold)
{
    for (const u32 count : {0x80000000U, 0xFFFFFFFFU, 0U}) {
        Bytes bytes = line_file(3);
        std::memcpy(bytes.data() + 1, &count, 4);
        EXPECT_EQ(fault_of(bytes),
                  "root maze: " + std::to_string(static_cast<i32>(count)) + " nodes");
    }
    for (const i32 count : {0x7FFFFFFF, 1000000, 14}) {
        Bytes bytes = line_file(3);
        std::memcpy(bytes.data() + 1, &count, 4);
        EXPECT_EQ(fault_of(bytes), "root maze: " + std::to_string(count) + " nodes in the " +
                                       std::to_string(bytes.size() - 5) + " bytes that are left");
    }
}

TEST(savefile_check, refuses_a_count_one_off)
{
    for (const i32 count : {2, 4}) {
        Bytes bytes = line_file(3);
        std::memcpy(bytes.data() + 1, &count, 4);
        EXPECT_NE(fault_of(bytes), "");
    }
}

TEST(savefile_check, takes_1000_levels)
{
    HeldGame held;
    const Bytes bytes = tower_file(1000);
    build(&held, bytes);
    expect_good(&held.game);
    i32 levels = 1;
    for (const Maze* maze = held->pos.maze; maze->parent != nullptr; maze = maze->parent) {
        levels++;
    }
    EXPECT_EQ(levels, 1000);
    MazeGame_startcamera(&held.game);
    EXPECT_EQ(fault_of(saved(&held.game)), "");
}

TEST(savefile_check, refuses_1001_levels)
{
    const std::string fault = fault_of(tower_file(1001));
    EXPECT_NE(fault.find("more than 1000 levels"), std::string::npos) << fault;
    EXPECT_NE(fault.find("..."), std::string::npos) << fault;
}

TEST(savefile_check, refuses_a_hundred_thousand_levels)
{
    EXPECT_NE(fault_of(tower_file(100000)), "");
}

TEST(savefile_check, refuses_a_name_without_an_end)
{
    Bytes bytes;
    put_head(&bytes, 1, 1);
    put_node(&bytes, 0.0, 0.0, 0.0, 0.5, {});
    put(&bytes, i32{0});
    put(&bytes, u32{0});
    bytes.insert(bytes.end(), 100000, 'x');
    EXPECT_EQ(fault_of(bytes), "root maze: a name without an end");
    put_game(&bytes, 0); // a name that ends in the game
    EXPECT_NE(fault_of(bytes), "");
}

TEST(savefile_check, takes_a_long_name)
{
    HeldGame held;
    const std::string name(100000, 'x');
    build(&held, line_file(2, name));
    EXPECT_EQ(name, held->root->name);
}

TEST(savefile_check, refuses_each_number_that_is_not_finite)
{
    HeldGame held;
    make_walked_nest(&held);
    const Bytes whole = saved(&held.game);
    const f64 bad[] = {std::numeric_limits<f64>::infinity(), -std::numeric_limits<f64>::infinity(),
                       std::numeric_limits<f64>::quiet_NaN()};
    std::vector<size_t> places;
    for (size_t i = 0; i < 4; i++) {
        places.push_back(5 + 8 * i); // x, y, z, radius of node 0
    }
    for (size_t i = 0; i < 4; i++) {
        places.push_back(5 + 40 + 8 + 8 * (i % 2) + 24 * (i / 2)); // its edge's times, and its own
    }
    for (size_t i = 0; i < 57; i++) { // the tail's up to the viewport and behind it
        const size_t at = 8 * i;
        if (at != 448 && at != 456) {
            places.push_back(whole.size() - GAME_TAIL + at);
        }
    }
    for (const size_t at : places) {
        for (const f64 value : bad) {
            Bytes bytes = whole;
            std::memcpy(bytes.data() + at, &value, sizeof value);
            EXPECT_NE(fault_of(bytes), "") << "byte " << at;
        }
    }
}

TEST(savefile_check, refuses_a_clock_before_0)
{
    Bytes bytes = line_file(2);
    const f64 time = -0.5;
    std::memcpy(bytes.data() + bytes.size() - GAME_TAIL, &time, sizeof time);
    EXPECT_EQ(fault_of(bytes), "game: the clock is before 0");
}

TEST(savefile_check, takes_any_viewport_and_switches)
{
    Bytes bytes = line_file(2);
    u8* const tail = bytes.data() + bytes.size() - GAME_TAIL;
    std::fill(tail + 448, tail + 464, 0xFF);
    std::fill(tail + 472, tail + 480, 0xFF);
    EXPECT_EQ(fault_of(bytes), "");
}

TEST(savefile_check, refuses_a_file_without_a_mark)
{
    Bytes bytes = line_file(2);
    bytes[0] = 0;
    EXPECT_EQ(fault_of(bytes), "no maze is marked as the player's");
}

/// A root of one node that holds a maze of one node.
static Bytes nest_file(u8 rootmark, u8 submark, u8 flag)
{
    Bytes out;
    put_head(&out, rootmark, 1);
    put_node(&out, 0.0, 0.0, 0.0, 0.5, {}, flag);
    put_head(&out, submark, 1);
    put_node(&out, 0.0, 0.0, 0.0, 0.5, {});
    put_end(&out);
    put_end(&out);
    put_game(&out, 0);
    return out;
}

TEST(savefile_check, takes_a_maze_in_a_node)
{
    EXPECT_EQ(fault_of(nest_file(0, 1, 1)), "");
}

TEST(savefile_check, refuses_two_marks)
{
    Bytes two;
    put_head(&two, 1, 2);
    put_node(&two, 0.0, 0.0, 0.0, 0.5, {});
    put_node(&two, 0.0, 0.0, 0.0, 0.5, {}, 1);
    put_head(&two, 1, 1);
    put_node(&two, 0.0, 0.0, 0.0, 0.5, {});
    put_end(&two);
    put_end(&two);
    put_game(&two, 0);
    EXPECT_EQ(fault_of(two), "maze 1: a second maze that is marked as the player's");
}

TEST(savefile_check, refuses_marks_and_flags_that_are_neither_0_nor_1)
{
    EXPECT_EQ(fault_of(nest_file(2, 1, 1)), "root maze: mark byte 2");
    EXPECT_EQ(fault_of(nest_file(0, 255, 1)), "maze 0: mark byte 255");
    EXPECT_EQ(fault_of(nest_file(0, 1, 2)), "root maze, node 0: submaze byte 2");
}

TEST(savefile_check, refuses_a_player_on_a_node_that_holds_a_maze)
{
    EXPECT_EQ(fault_of(nest_file(1, 0, 1)), "root maze, node 0: the player's node holds a submaze");
}

TEST(savefile_check, refuses_a_player_outside_the_maze)
{
    for (const i32 node : {-1, 2, 0x7FFFFFFF}) {
        Bytes bytes = line_file(2);
        std::memcpy(bytes.data() + bytes.size() - GAME_TAIL - 4, &node, 4);
        EXPECT_EQ(fault_of(bytes),
                  "root maze: the player is on node " + std::to_string(node) + " of 2");
    }
}

/// A line of three whose middle node holds a maze of `n` nodes in a line, with `flag` for its node 0.
static Bytes port_file(i32 n, u8 flag, u32 exitsused = 0)
{
    Bytes out;
    put_head(&out, 1, 3);
    put_node(&out, 0.0, 0.0, 0.0, 0.5, {1});
    put_node(&out, 1.0, 0.0, 0.0, 0.5, {0, 2}, 1);
    put_head(&out, 0, n);
    for (i32 i = 0; i < n; i++) {
        put_node(&out, 1.0, 0.1 * i, 0.0, 0.05, {}, i == 0 ? flag : 0);
        if (i == 0 && flag == 1) {
            put_head(&out, 0, 1);
            put_node(&out, 1.0, 0.0, 0.0, 0.01, {});
            put_end(&out);
        }
    }
    put_end(&out, "", 0, exitsused);
    put_node(&out, 2.0, 0.0, 0.0, 0.5, {1});
    put_end(&out);
    put_game(&out, 0);
    return out;
}

TEST(savefile_check, refuses_a_submaze_with_fewer_nodes_than_ports)
{
    EXPECT_EQ(fault_of(port_file(1, 0)), "maze 1: 1 nodes for 2 ports");
    EXPECT_EQ(fault_of(port_file(2, 0)), "");
}

TEST(savefile_check, takes_ports_without_a_way_between_them)
{
    const Bytes bytes = port_file(3, 0); // no node of the maze has an edge
    HeldGame held;
    build(&held, bytes);
    expect_good(&held.game);
}

TEST(savefile_check, refuses_a_port_that_holds_a_maze)
{
    EXPECT_EQ(fault_of(port_file(3, 1)), "maze 1, node 0: a port that holds a submaze");
}

TEST(savefile_check, refuses_used_exits_that_are_no_ports)
{
    EXPECT_EQ(fault_of(port_file(2, 0, 3)), "");
    EXPECT_EQ(fault_of(port_file(2, 0, 4)), "maze 1: exits used are 0x4 of 2 ports");
}

TEST(savefile_check, refuses_a_wrong_count_of_visits)
{
    HeldGame held;
    make_walked_nest(&held);
    Bytes bytes = saved(&held.game);
    const size_t name = std::strlen("root of it") + 1;
    const size_t at = bytes.size() - GAME_TAIL - 4 - name - 8;
    const i32 right = held->root->visitednodes;
    for (const i32 count : {right + 1, -1, 0x7FFFFFFF}) {
        std::memcpy(bytes.data() + at, &count, 4);
        EXPECT_EQ(fault_of(bytes), "root maze: " + std::to_string(count) + " nodes visited, but " +
                                       std::to_string(right) + " walked on");
    }
}

TEST(savefile_check, bears_random_bytes)
{
    rnd_seed(99);
    for (i32 i = 0; i < 20000; i++) {
        Bytes bytes(static_cast<size_t>(524 + irand(300)));
        for (u8& byte : bytes) {
            byte = static_cast<u8>(irand(4) > 0 ? 0 : irand(256));
        }
        bytes[0] = 1;
        bytes[1] = static_cast<u8>(1 + irand(4));
        bytes[2] = bytes[3] = bytes[4] = 0;
        expect_sound_or_refused(bytes);
    }
}
