// A save that is a link.
#include "tests/savebytes.h"

#include <gtest/gtest.h>

TEST(MazeGame_load, sets_a_link_to_nowhere_aside)
{
    const Folder folder;
    fs::create_symlink(folder.file("nowhere"), folder.file("save"));
    MazeGame game = {};
    char why[SAVE_WHY];
    EXPECT_EQ(MazeGame_load(&game, folder.file("save").c_str(), why), SAVE_REFUSED);
    EXPECT_TRUE(fs::is_symlink(folder.file("save.bad")));
}

TEST(MazeGame_load, sets_a_link_to_a_bad_file_aside_and_not_the_file)
{
    const Folder folder;
    write_bytes(folder.file("elsewhere"), Bytes(3, 1));
    fs::create_symlink("elsewhere", folder.file("save"));
    MazeGame game = {};
    char why[SAVE_WHY];
    EXPECT_EQ(MazeGame_load(&game, folder.file("save").c_str(), why), SAVE_REFUSED);
    EXPECT_EQ(fs::read_symlink(folder.file("save.bad")), "elsewhere");
    EXPECT_EQ(read_bytes(folder.file("elsewhere")), Bytes(3, 1));
    EXPECT_FALSE(fs::exists(fs::symlink_status(folder.file("save"))));
}
