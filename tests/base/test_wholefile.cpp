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

// The text is cut off behind the path.
static void expect_refused(WholeFile* file)
{
    EXPECT_EQ(std::string(file->why).substr(0, 18), "Could not write ./");
    wholefile_put(file, "text", 4);
    EXPECT_FALSE(wholefile_end(file));
}

TEST(wholefile_failure, of_folders_whose_path_has_no_room_is_told)
{
    std::string path = "./";
    while (path.size() < 2 * WHOLEFILE_PATH) {
        path += "folder/";
    }
    path += "data";
    WholeFile file;
    wholefile_begin(&file, path.c_str());
    expect_refused(&file);
    wholefile_begin_numbered(&file, path.c_str());
    expect_refused(&file);
}
