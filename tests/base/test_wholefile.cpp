// The whole-file module, as far as it is the same on every system.
#include "base/wholefile.h"
#include "tests/tempfolder.h"
#include "tests/wholereplace.h"

using Names = std::vector<std::string>;

TEST(wholefile, leaves_a_new_file_and_nothing_else)
{
    const TempFolder folder;
    EXPECT_EQ(replace(folder.file("data"), "some text"), "");
    EXPECT_EQ(read_text(folder.file("data")), "some text");
    EXPECT_EQ(folder.names(), Names{"data"});
}

TEST(wholefile, replaces_what_was_there)
{
    const TempFolder folder;
    write_text(folder.file("data"), "a much longer old text");
    EXPECT_EQ(replace(folder.file("data"), "new"), "");
    EXPECT_EQ(read_text(folder.file("data")), "new");
    EXPECT_EQ(folder.names(), Names{"data"});
}

TEST(wholefile, makes_an_empty_file_of_nothing)
{
    const TempFolder folder;
    EXPECT_EQ(replace(folder.file("data"), ""), "");
    EXPECT_EQ(read_text(folder.file("data")), "");
}
