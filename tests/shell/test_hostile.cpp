// Starts of the program with saves that are made to do harm.
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
