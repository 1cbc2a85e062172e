// Save files made to do harm: they are told apart from good ones in little memory, and little stack.
#include "tests/childpeak.h"
#include "tests/fakes/alloc_bytes.h"
#include "tests/hostile.h"

#include <pthread.h>
#include <sys/stat.h>

static constexpr size_t MEBIBYTE = 1U << 20U;

/// The most memory that a refusal may take, the file included.
static size_t most_memory(size_t size)
{
    return 4 * size + 16 * MEBIBYTE;
}

// Loads as the game does at its start. `peak` receives the most that was allocated on the way.
static SaveLoad load_file(const std::string& path, std::string* why, size_t* peak)
{
    static char text[SAVE_WHY];
    MazeGame game = {};
    const std::ptrdiff_t before = alloc_peak_begin();
    const SaveLoad outcome = MazeGame_load(&game, path.c_str(), text);
    *peak = static_cast<size_t>(alloc_peak - before);
    *why = text;
    if (outcome == SAVE_LOADED) {
        MazeGame_free(&game);
    }
    return outcome;
}

static void expect_refused_in_little(const Folder& folder, size_t size, const std::string& name)
{
    std::string why;
    size_t peak = 0;
    EXPECT_EQ(load_file(folder.file("save"), &why, &peak), SAVE_REFUSED) << name;
    EXPECT_NE(why.find("can't be used: "), std::string::npos) << name << ": " << why;
    EXPECT_NE(why.find("It is now " + folder.file("save.bad")), std::string::npos) << why;
    EXPECT_GE(peak, size) << name; // it was read
    EXPECT_LE(peak, most_memory(size)) << name;
    EXPECT_EQ(folder.names(), std::vector<std::string>{"save.bad"}) << name;
}

TEST(savefile_hostile, are_refused_set_aside_as_they_are_and_take_little_memory)
{
    const std::vector<Hostile> files = hostile_files();
    EXPECT_GT(files.size(), 700U);
    for (const Hostile& file : files) {
        const Folder folder;
        write_bytes(folder.file("save"), file.bytes);
        expect_refused_in_little(folder, file.bytes.size(), file.name);
        EXPECT_EQ(read_bytes(folder.file("save.bad")), file.bytes) << file.name;
    }
}

TEST(savefile_hostile, numbers_at_the_ends_of_the_range_are_refused_or_do_no_harm)
{
    for (const size_t at : hand_places(8)) {
        for (const f64 value : {5e-324, -5e-324, 1e-310, -1e-310, 2.3e-308, 1e308, -1e308,
                                1.7976931348623157e308, -1.7976931348623157e308, -0.0}) {
            SCOPED_TRACE(hand_field(at) + " " + std::to_string(value));
            expect_sound_or_refused(changed_hand_file(at, value).bytes);
        }
    }
}

TEST(savefile_hostile, numbers_all_at_the_ends_of_the_range_do_no_harm)
{
    for (const f64 value : {5e-324, 1e-310, 1e308, 1.7976931348623157e308}) {
        Bytes bytes = hand_file();
        for (const size_t at : hand_places(8)) {
            const std::string field = hand_field(at);
            if (!field.ends_with("walked")) {
                set_at(&bytes, at, field.ends_with(" x") ? -value : value);
            }
        }
        EXPECT_EQ(fault_of(bytes), "");
        expect_sound_or_refused(bytes);
    }
}

TEST(savefile_hostile, names_of_megabytes_load)
{
    const std::string name(8 * MEBIBYTE, 'n');
    HeldGame held;
    build(&held, line_file(2, name));
    EXPECT_EQ(name, held->root->name);
}

TEST(savefile_hostile, what_is_no_file_is_refused)
{
    for (const char* const kind : {"folder", "pipe", "device"}) {
        const Folder folder;
        const std::string path = folder.file("save");
        if (std::string(kind) == "folder") {
            fs::create_directory(path);
        } else if (std::string(kind) == "pipe") {
            ASSERT_EQ(mkfifo(path.c_str(), 0666), 0);
        } else {
            fs::create_symlink("/dev/zero", path);
        }
        expect_refused_in_little(folder, 0, kind);
    }
}

/// A file on the disk that is too large to be held here as well.
struct LargeFile {
    TempFolder folder;
    size_t size = 0;
    std::ofstream file{folder.file("save"), std::ios::binary};

    void add(const Bytes& bytes, size_t times = 1)
    {
        for (size_t i = 0; i < times; i++) {
            file.write(reinterpret_cast<const char*>(bytes.data()),
                       static_cast<std::streamsize>(bytes.size()));
        }
        size += bytes.size() * times;
    }
};

static constexpr size_t LARGE = 200 * MEBIBYTE;

// Judged by the command and refused by the game, each within its memory.
static void expect_large_refused(LargeFile* large, int code, const std::string& fault)
{
    large->file.close();
    ASSERT_EQ(fs::file_size(large->folder.file("save")), large->size);
    const Folder side;
    const ChildPeak check =
        child_peak(large->folder.path, side.path, "'" CORVANE_BIN_DIR "/corvane-world' check save");
    EXPECT_EQ(check.code, code);
    const std::string said = read_text(side.file(code == 2 ? "err" : "out"));
    EXPECT_NE(said.find(fault), std::string::npos) << said;
    EXPECT_GE(check.memory, large->size);
    if (!sanitized) {
        EXPECT_LE(check.memory, most_memory(large->size));
    }
    std::string why;
    size_t peak = 0;
    EXPECT_EQ(load_file(large->folder.file("save"), &why, &peak), SAVE_REFUSED);
    EXPECT_NE(why.find(fault), std::string::npos) << why;
    EXPECT_LE(peak, most_memory(large->size));
    EXPECT_EQ(large->folder.names(), std::vector<std::string>{"save.bad"});
}

TEST(savefile_hostile, of_200_megabytes_of_zeros_are_refused)
{
    LargeFile large;
    large.file.close();
    fs::resize_file(large.folder.file("save"), LARGE);
    large.size = LARGE;
    expect_large_refused(&large, 1, "root maze: 0 nodes");
}

static Bytes level(u8 mark)
{
    Bytes bytes;
    put_head(&bytes, mark, 1);
    put_node(&bytes, 0.0, 0.0, 0.0, 0.5, {}, 1);
    return bytes;
}

TEST(savefile_hostile, of_200_megabytes_of_nested_levels_are_refused)
{
    LargeFile open;
    open.add(level(0), LARGE / 4 / 66);
    expect_large_refused(&open, 2, ": the file ends in it");
    LargeFile whole;
    const size_t levels = LARGE / 75;
    whole.add(level(0), levels - 1);
    Bytes middle = level(1);
    middle.back() = 0;
    whole.add(middle);
    Bytes end;
    put_end(&end);
    whole.add(end, levels);
    Bytes game;
    put_game(&game, 0);
    whole.add(game);
    expect_large_refused(&whole, 1, "more than 1000 levels");
}

// The fault is in the very last number, behind all that has been passed.
TEST(savefile_hostile, of_200_megabytes_of_nodes_are_refused)
{
    LargeFile large;
    const size_t nodes = LARGE / 61;
    Bytes head;
    put_head(&head, 1, static_cast<i32>(nodes));
    Bytes node;
    put_node(&node, 0.0, 0.0, 0.0, 0.5, {});
    Bytes tail;
    put_end(&tail);
    put_game(&tail, 0);
    set_at(&tail, tail.size() - GAME_TAIL + 464, std::numeric_limits<f64>::infinity());
    large.add(head);
    large.add(node, nodes);
    large.add(tail);
    expect_large_refused(&large, 1, "game: number 58 is not finite");
}

TEST(savefile_hostile, of_a_name_of_200_megabytes_are_refused)
{
    LargeFile large;
    Bytes head;
    put_head(&head, 1, 1);
    put_node(&head, 0.0, 0.0, 0.0, 0.5, {});
    put(&head, i32{0});
    put(&head, u32{0});
    large.add(head);
    large.add(Bytes(MEBIBYTE, 'n'), LARGE / MEBIBYTE);
    expect_large_refused(&large, 2, "root maze: a name without an end");
}

// Ports that nothing joins are found without a world being built.
TEST(savefile_hostile, of_many_mazes_that_cannot_be_crossed_take_little_memory_to_judge)
{
    LargeFile large;
    const size_t mazes = LARGE / 8 / 319;
    Bytes head;
    put_head(&head, 1, static_cast<i32>(3 * mazes));
    large.add(head);
    for (size_t i = 0; i < mazes; i++) { // lines of three with a maze in the middle
        const i32 first = static_cast<i32>(3 * i);
        Bytes part;
        put_node(&part, 0.0, 0.0, 0.0, 0.5, {first + 1});
        put_node(&part, 1.0, 0.0, 0.0, 0.5, {first, first + 2}, 1);
        put_head(&part, 0, 2);
        put_node(&part, 1.0, 0.0, 0.0, 0.1, {});
        put_node(&part, 1.0, 0.1, 0.0, 0.1, {});
        put_end(&part);
        put_node(&part, 2.0, 0.0, 0.0, 0.5, {first + 1});
        large.add(part);
    }
    Bytes tail;
    put_end(&tail);
    put_game(&tail, 0);
    large.add(tail);
    large.file.close();
    const Folder side;
    const ChildPeak check =
        child_peak(large.folder.path, side.path, "'" CORVANE_BIN_DIR "/corvane-world' check save");
    EXPECT_EQ(check.code, 1);
    EXPECT_EQ(read_text(side.file("out")), "save: unsound: maze 1: no way from port to port\n");
    if (!sanitized) {
        EXPECT_LE(check.memory, most_memory(large.size));
    }
}

TEST(savefile_hostile, are_judged_by_the_command_in_little_memory_too)
{
    const Folder folder;
    const Folder side;
    const std::vector<Hostile> files = hostile_files();
    for (size_t i = 0; i < files.size(); i += sanitized ? 20 : 4) { // a start each
        const Hostile& file = files[i];
        write_bytes(folder.file("save"), file.bytes);
        const ChildPeak check =
            child_peak(folder.path, side.path, "'" CORVANE_BIN_DIR "/corvane-world' check save");
        const std::string said = read_text(side.file(check.code == 2 ? "err" : "out"));
        EXPECT_TRUE(check.code == 1 || check.code == 2) << file.name << ": " << check.code;
        EXPECT_GT(said.size(), 20U) << file.name;
        if (!sanitized) {
            EXPECT_LE(check.memory, most_memory(file.bytes.size())) << file.name;
            EXPECT_GT(check.memory, MEBIBYTE / 2) << file.name; // it was measured
        }
    }
}

TEST(savefile_hostile, what_is_no_file_is_refused_by_the_command)
{
    const Folder folder;
    const Folder side;
    ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0666), 0);
    fs::create_directory(folder.file("folder"));
    for (const char* const name : {"pipe", "folder", "/dev/zero", "/dev/null", "/dev/full"}) {
        const ChildPeak check =
            child_peak(folder.path, side.path,
                       "'" CORVANE_BIN_DIR "/corvane-world' check " + std::string(name));
        EXPECT_EQ(check.code, 2) << name;
        EXPECT_EQ(read_text(side.file("err")),
                  "corvane-world: " + std::string(name) + ": Could not read " + name + ": " +
                      (std::string(name) == "folder" ? "Is a directory\n"
                                                     : "It is not an ordinary file\n"));
        if (!sanitized) {
            EXPECT_LE(check.memory, most_memory(0)) << name;
        }
    }
}

TEST(savefile_hostile, of_1000_levels_are_judged_on_a_stack_of_a_megabyte)
{
    const Folder folder;
    const Folder side;
    write_bytes(folder.file("save"), tower_file(1000));
    const ChildPeak check = child_peak(folder.path, side.path,
                                       "'" CORVANE_BIN_DIR "/corvane-world' check save", MEBIBYTE);
    EXPECT_EQ(check.code, 0) << read_text(side.file("err"));
}

static void* live_on_1000_levels(void*)
{
    HeldGame held;
    build(&held, tower_file(1000));
    walk_about(&held.game);
    EXPECT_EQ(fault_of(saved(&held.game)), "");
    return nullptr;
}

TEST(savefile_hostile, of_1000_levels_load_walk_save_and_end_on_a_small_stack)
{
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    // the sanitizers make frames several times as large
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, (sanitized ? 8 : 1) * MEBIBYTE), 0);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attributes, live_on_1000_levels, nullptr), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
}
