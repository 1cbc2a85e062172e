// Starts of the program with saves and settings that are made to do harm.
#include "shell/config.h"
#include "tests/childpeak.h"
#include "tests/shell_run.h"

static constexpr size_t MEBIBYTE = 1U << 20U;

// Plays three frames and ends.
static ChildPeak play_in(const Folder& folder, const Folder& side, size_t stack = 0)
{
    side.write("script", "at 3 close\n");
    return child_peak(folder.path, side.path,
                      "'" + program("corvane-play") + "' '" + side.file("script") + "'", stack);
}

// What the program has in use without a save, drawing included, is its own.
TEST(hostile_start, of_a_save_of_200_megabytes_takes_little_memory)
{
    const size_t size = 200 * MEBIBYTE;
    const Folder empty;
    const Folder side;
    const ChildPeak plain = play_in(empty, side);
    ASSERT_EQ(plain.code, 0) << side.read("err");
    const Folder folder;
    folder.write("maze_save.dat", "");
    std::filesystem::resize_file(folder.file("maze_save.dat"), size);
    const ChildPeak start = play_in(folder, side);
    EXPECT_EQ(start.code, 0) << side.read("err");
    EXPECT_NE(side.read("out").find("can't be used: root maze: 0 nodes. It is now "
                                    "maze_save.dat.bad."),
              std::string::npos)
        << side.read("out");
    EXPECT_EQ(std::filesystem::file_size(folder.file("maze_save.dat.bad")), size);
    EXPECT_TRUE(folder.has("maze_save.dat")); // of the new game
    EXPECT_GE(start.memory, size);
    if (!sanitized) {
        EXPECT_LE(start.memory, plain.memory + 4 * size + 16 * MEBIBYTE);
    }
}

// A save of so many mazes of one node, each in the node of the one before.
static std::string tower(size_t levels)
{
    const std::string number(8, '\0');
    const std::string never("\0\0\0\0\0\0\xF0\xBF", 8); // -1.0
    const std::string record = number + never + never;
    const std::string node = number + number + number + std::string("\0\0\0\0\0\0\xE0\x3F", 8) +
                             std::string(4, '\0') + record;
    std::string text;
    for (size_t i = 1; i <= levels; i++) {
        const char last = i == levels ? 1 : 0;
        text += last;
        text.append("\1\0\0\0", 4).append(node);
        text += static_cast<char>(1 - last);
    }
    return text + std::string(9 * levels + 4 + 520, '\0');
}

TEST(hostile_start, of_1000_levels_is_played_and_saved_on_a_stack_of_a_megabyte)
{
    const Folder folder;
    const Folder side;
    folder.write("maze_save.dat", tower(1000));
    // the sanitizers make frames several times as large
    const ChildPeak start = play_in(folder, side, (sanitized ? 8 : 1) * MEBIBYTE);
    EXPECT_EQ(start.code, 0) << side.read("err");
    EXPECT_EQ(folder.listing(), "config.txt maze_save.dat");
    EXPECT_EQ(folder.read("maze_save.dat").size(), tower(1000).size());
    EXPECT_EQ(side.read("out").find("can't be used"), std::string::npos) << side.read("out");
}

TEST(hostile_start, of_1001_levels_sets_the_save_aside)
{
    const Folder folder;
    const Folder side;
    folder.write("maze_save.dat", tower(1001));
    const ChildPeak start = play_in(folder, side, (sanitized ? 8 : 1) * MEBIBYTE);
    EXPECT_EQ(start.code, 0) << side.read("err");
    EXPECT_NE(side.read("out").find("more than 1000 levels. It is now maze_save.dat.bad."),
              std::string::npos)
        << side.read("out");
    EXPECT_EQ(folder.read("maze_save.dat.bad"), tower(1001));
}

// Lets the program start with settings; gives what it has in use beyond a start without any.
static size_t extra_memory(const Folder& folder, const Folder& side, int code)
{
    const Folder empty;
    const ChildPeak plain = play_in(empty, side);
    EXPECT_EQ(plain.code, 0) << side.read("err");
    const ChildPeak start = play_in(folder, side);
    EXPECT_EQ(start.code, code) << side.read("err");
    EXPECT_TRUE(folder.has("maze_save.dat"));
    return start.memory - std::min(plain.memory, start.memory);
}

TEST(hostile_start, of_settings_of_200_megabytes_in_one_line_leaves_them_and_takes_no_memory)
{
    const Folder folder;
    const Folder side;
    folder.write("config.txt", "Windowed: " + std::string(200 * MEBIBYTE, 'y'));
    const size_t extra = extra_memory(folder, side, 1); // since the settings are not saved
    EXPECT_NE(side.read("out").find("Could not read config.txt: File too large"), std::string::npos)
        << side.read("out");
    EXPECT_EQ(std::filesystem::file_size(folder.file("config.txt")), 200 * MEBIBYTE + 10);
    if (!sanitized) {
        EXPECT_LE(extra, 16 * MEBIBYTE);
    }
}

// The most entries that settings can have.
TEST(hostile_start, of_settings_of_colons_takes_bounded_memory)
{
    const Folder folder;
    const Folder side;
    std::string colons;
    for (size_t i = 0; i < CONFIG_MAXBYTES / 2; i++) {
        colons += ":\n";
    }
    folder.write("config.txt", colons);
    const size_t extra = extra_memory(folder, side, 1); // since a blank to each line is too much
    EXPECT_TRUE(folder.read("config.txt") == colons);
    if (!sanitized) {
        EXPECT_LE(extra, 80 * MEBIBYTE);
    }
}

TEST(hostile_start, of_settings_of_a_megabyte_of_nothing_completes_them)
{
    const Folder folder;
    const Folder side;
    folder.write("config.txt", std::string(CONFIG_MAXBYTES, '\0'));
    extra_memory(folder, side, 0);
    EXPECT_EQ(cut(folder.read("config.txt"), '\n').size(), 6U);
}
