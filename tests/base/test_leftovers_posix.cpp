// New files that a run which was cut off has left behind: the next replacement of the same file removes
// them, and never what is being written.
#include "base/wholefile.h"
#include "tests/endchild.h"
#include "tests/tempfolder.h"

#include <csignal>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using Names = std::vector<std::string>;

// Begins a replacement by some bytes.
static void begin(WholeFile* file, const TempFolder& folder, const std::string& text)
{
    wholefile_begin(file, folder.file("data").c_str());
    wholefile_put(file, text.data(), text.size());
}

static void replace(const TempFolder& folder, const std::string& text)
{
    WholeFile file;
    begin(&file, folder, text);
    EXPECT_TRUE(wholefile_end(&file)) << file.why;
    EXPECT_STREQ(file.why, "");
}

TEST(wholefile_leftovers, of_any_process_are_removed)
{
    const TempFolder folder;
    for (const char* const name : {".data.new-1", ".data.new-77-3", ".data.new-4194304"}) {
        write_text(folder.file(name), "half a file");
    }
    replace(folder, "text");
    EXPECT_EQ(folder.names(), Names{"data"});
    EXPECT_EQ(read_text(folder.file("data")), "text");
}

TEST(wholefile_leftovers, of_a_killed_process_are_removed)
{
    const TempFolder folder;
    write_text(folder.file("data"), "old");
    const pid_t child = fork();
    if (child == 0) {
        WholeFile file;
        begin(&file, folder, std::string(200000, 'x'));
        kill(getpid(), SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
    EXPECT_EQ(folder.names(), (Names{".data.new-" + std::to_string(child), "data"}));
    EXPECT_EQ(read_text(folder.file("data")), "old");
    replace(folder, "new");
    EXPECT_EQ(folder.names(), Names{"data"});
}

TEST(wholefile_leftovers, are_removed_by_a_file_with_a_number_too)
{
    const TempFolder folder;
    write_text(folder.file(".save.dat.new-1"), "half a file");
    WholeFile file;
    wholefile_begin_numbered(&file, folder.file("save.dat").c_str());
    EXPECT_TRUE(wholefile_end(&file)) << file.why;
    EXPECT_EQ(folder.names(), Names{"save-2.dat"});
}

TEST(wholefile_leftovers, are_removed_before_the_new_file_is_made)
{
    const TempFolder folder;
    const std::string name = ".data.new-" + std::to_string(getpid());
    write_text(folder.file(name), "half a file");
    WholeFile file;
    begin(&file, folder, "");
    EXPECT_EQ(file.temp, folder.file(name)); // so the plain name was free
    EXPECT_TRUE(wholefile_end(&file)) << file.why;
}

TEST(wholefile_leftovers, are_no_files_that_are_being_written)
{
    const TempFolder folder;
    WholeFile file;
    begin(&file, folder, "slow");
    replace(folder, "quick");
    EXPECT_TRUE(wholefile_end(&file)) << file.why;
    EXPECT_EQ(read_text(folder.file("data")), "slow");
    EXPECT_EQ(folder.names(), Names{"data"});
}

TEST(wholefile_leftovers, are_ordinary_files_with_a_name_of_their_own)
{
    const TempFolder folder;
    const Names names = {".data.new-", ".data.new-1.txt", ".data.new-x", ".dats.new-1",
                         "data.new-1"};
    for (const std::string& name : names) {
        write_text(folder.file(name), "mine");
    }
    std::filesystem::create_directory(folder.file(".data.new-5"));
    std::filesystem::create_symlink("data.new-1", folder.file(".data.new-6"));
    replace(folder, "text");
    EXPECT_EQ(folder.names(), (Names{".data.new-", ".data.new-1.txt", ".data.new-5", ".data.new-6",
                                     ".data.new-x", ".dats.new-1", "data", "data.new-1"}));
    EXPECT_EQ(read_text(folder.file("data.new-1")), "mine");
}

TEST(wholefile_leftovers, of_another_file_stay)
{
    const TempFolder folder;
    write_text(folder.file(".other.new-1"), "half a file");
    replace(folder, "text");
    EXPECT_EQ(folder.names(), (Names{".other.new-1", "data"}));
}

// Replaces the file again and again; the exit code is 0 if no attempt has failed.
[[noreturn]] static void replace_often(const TempFolder& folder, char letter)
{
    for (i32 i = 0; i < 60; i++) {
        WholeFile file;
        begin(&file, folder, std::string(70000, letter));
        if (!wholefile_end(&file) || file.why[0] != 0) {
            end_child(1);
        }
    }
    end_child(0);
}

TEST(wholefile_leftovers, are_not_mistaken_when_many_processes_write_at_once)
{
    const TempFolder folder;
    std::vector<pid_t> children;
    for (const char letter : {'a', 'b', 'c', 'd', 'e', 'f'}) {
        children.push_back(fork());
        if (children.back() == 0) {
            replace_often(folder, letter);
        }
    }
    for (const pid_t child : children) {
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    const std::string text = read_text(folder.file("data"));
    ASSERT_EQ(text.size(), 70000U);
    EXPECT_EQ(text, std::string(70000, text[0]));
    EXPECT_EQ(folder.names(), Names{"data"});
}
