// The whole-file module on the files of Windows.
#include "base/wholefile.h"
#include "tests/tempfolder.h"
#include "tests/wholereplace.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

using Names = std::vector<std::string>;

// The text of a file as the module reads it, or why it can't.
static std::string read(const std::string& path)
{
    u8* bytes = nullptr;
    size_t size = 0;
    char why[WHOLEFILE_WHY] = "";
    switch (wholefile_read(path.c_str(), &bytes, &size, why)) {
    case WHOLEFILE_READ: break;
    case WHOLEFILE_MISSING: return "(missing)";
    default: return why;
    }
    std::string text(reinterpret_cast<const char*>(bytes), size);
    EXPECT_EQ(bytes[size], 0);
    std::free(bytes);
    return text;
}

// A file that is open elsewhere for the length of a scope.
struct Held {
    HANDLE handle;
    Held(const std::string& path, DWORD access, DWORD share)
        : handle(CreateFileA(path.c_str(), access, share, nullptr, OPEN_EXISTING,
                             FILE_FLAG_BACKUP_SEMANTICS, nullptr))
    {
        EXPECT_NE(handle, INVALID_HANDLE_VALUE);
    }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ~Held()
    {
        close();
    }
    void close()
    {
        if (handle != INVALID_HANDLE_VALUE) {
            CloseHandle(handle);
        }
        handle = INVALID_HANDLE_VALUE;
    }
};

TEST(wholefile_end, takes_a_bare_name_and_either_slash)
{
    const TempFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path);
    std::filesystem::create_directory("sub");
    EXPECT_EQ(replace("data", "bare"), "");
    EXPECT_EQ(replace("sub/data", "slash"), "");
    EXPECT_EQ(replace("sub\\more", "backslash"), "");
    std::filesystem::current_path(before);
    EXPECT_EQ(read_text(folder.file("data")), "bare");
    EXPECT_EQ(read_text(folder.file("sub/data")), "slash");
    EXPECT_EQ(read_text(folder.file("sub/more")), "backslash");
}

TEST(wholefile_end, takes_names_in_utf8)
{
    const TempFolder folder;
    const std::string path = folder.path + "\\\xc3\xa4\xe6\x97\xa5";
    EXPECT_EQ(replace(path, "text"), "");
    EXPECT_EQ(read(path), "text");
    EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(folder.path) / L"\u00e4\u65e5"));
}

TEST(wholefile_end, takes_a_path_beyond_the_systems_plain_limit)
{
    const TempFolder folder;
    const std::string inner = folder.path + "\\" + std::string(150, 'a');
    ASSERT_TRUE(
        CreateDirectoryW((L"\\\\?\\" + std::filesystem::path(inner).wstring()).c_str(), nullptr));
    const std::string path = inner + "\\" + std::string(150, 'b');
    EXPECT_EQ(replace(path, "text"), "");
    EXPECT_EQ(read(path), "text");
    wholefile_remove(path.c_str());
    EXPECT_EQ(read(path), "(missing)");
}

TEST(wholefile_end, keeps_a_hidden_file_hidden)
{
    const TempFolder folder;
    write_text(folder.file("data"), "old");
    ASSERT_TRUE(SetFileAttributesA(folder.file("data").c_str(), FILE_ATTRIBUTE_HIDDEN));
    EXPECT_EQ(replace(folder.file("data"), "new"), "");
    EXPECT_NE(GetFileAttributesA(folder.file("data").c_str()) & FILE_ATTRIBUTE_HIDDEN, 0U);
}

TEST(wholefile_end, waits_for_a_program_that_has_the_old_file_open)
{
    const TempFolder folder;
    write_text(folder.file("data"), "old");
    Held held(folder.file("data"), GENERIC_READ, FILE_SHARE_READ);
    std::thread later([&] {
        Sleep(200);
        held.close();
    });
    EXPECT_EQ(replace(folder.file("data"), "new"), "");
    later.join();
    EXPECT_EQ(read_text(folder.file("data")), "new");
}

TEST(wholefile_failure, of_a_file_that_stays_open_elsewhere_leaves_it)
{
    const TempFolder folder;
    write_text(folder.file("data"), "old");
    Held held(folder.file("data"), GENERIC_READ, FILE_SHARE_READ);
    const std::string why = replace(folder.file("data"), "new");
    EXPECT_NE(why.find("Could not replace " + folder.file("data") + ": "), std::string::npos)
        << why;
    held.close();
    EXPECT_EQ(read_text(folder.file("data")), "old");
    EXPECT_EQ(folder.names(), Names{"data"});
}

TEST(wholefile_failure, of_a_write_protected_file_leaves_it)
{
    const TempFolder folder;
    write_text(folder.file("data"), "old");
    ASSERT_TRUE(SetFileAttributesA(folder.file("data").c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(replace(folder.file("data"), "new"),
              "Could not write " + folder.file("data") + ": Permission denied");
    EXPECT_EQ(read_text(folder.file("data")), "old");
    SetFileAttributesA(folder.file("data").c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(folder.names(), Names{"data"});
}

TEST(wholefile_failure, of_a_folder_in_its_place_and_of_a_missing_one_is_told)
{
    const TempFolder folder;
    std::filesystem::create_directory(folder.file("data"));
    EXPECT_EQ(replace(folder.file("data"), "new"),
              "Could not write " + folder.file("data") + ": Is a directory");
    EXPECT_EQ(replace(folder.file("none") + "\\data", "new"),
              "Could not find the folder " + folder.file("none") + ": No such file or directory");
    EXPECT_EQ(replace(folder.path + "\\", "new").substr(0, 15), "Could not write");
}

TEST(wholefile_failure, of_a_device_is_told)
{
    EXPECT_NE(replace("NUL", "new"), "");
    EXPECT_NE(read("NUL"), "");
}

TEST(wholefile_leftovers, of_processes_that_have_ended_are_removed)
{
    const TempFolder folder;
    for (const char* const name :
         {".data.new-1", ".data.new-77-3", ".other.new-1", ".data.new-x"}) {
        write_text(folder.file(name), "half a file");
    }
    EXPECT_EQ(replace(folder.file("data"), "text"), "");
    EXPECT_EQ(folder.names(), (Names{".data.new-x", ".other.new-1", "data"}));
}

TEST(wholefile_leftovers, that_are_being_written_stay)
{
    const TempFolder folder;
    WholeFile first;
    wholefile_begin(&first, folder.file("data").c_str());
    wholefile_put(&first, "first", 5);
    EXPECT_EQ(replace(folder.file("data"), "second"), "");
    EXPECT_EQ(folder.names().size(), 2U);
    EXPECT_TRUE(wholefile_end(&first)) << first.why;
    EXPECT_EQ(folder.names(), Names{"data"});
    EXPECT_EQ(read_text(folder.file("data")), "first");
}

TEST(wholefile_begin_numbered, takes_the_first_free_number_before_the_ending)
{
    const TempFolder folder;
    write_text(folder.file("maze_save.dat"), "old");
    write_text(folder.file("maze_save-2.dat"), "older");
    WholeFile file;
    wholefile_begin_numbered(&file, folder.file("maze_save.dat").c_str());
    wholefile_put(&file, "new", 3);
    EXPECT_TRUE(wholefile_end(&file)) << file.why;
    EXPECT_EQ(file.path, folder.file("maze_save-3.dat"));
    EXPECT_EQ(folder.names(), (Names{"maze_save-2.dat", "maze_save-3.dat", "maze_save.dat"}));
    EXPECT_EQ(read_text(folder.file("maze_save-3.dat")), "new");
    EXPECT_EQ(read_text(folder.file("maze_save-2.dat")), "older");
}

TEST(wholefile_read, tells_a_missing_file_from_others)
{
    const TempFolder folder;
    EXPECT_EQ(read(folder.file("none")), "(missing)");
    EXPECT_EQ(read(folder.file("none") + "\\data"), "(missing)");
    EXPECT_EQ(read(folder.path), "Could not read " + folder.path + ": Is a directory");
    write_text(folder.file("data"), std::string("a\r\n\0b\x1a c", 8));
    EXPECT_EQ(read(folder.file("data")), std::string("a\r\n\0b\x1a c", 8));
}

TEST(wholefile_readmost, reads_no_larger_file)
{
    const TempFolder folder;
    write_text(folder.file("data"), "12345");
    u8* bytes = nullptr;
    size_t size = 0;
    char why[WHOLEFILE_WHY] = "";
    EXPECT_EQ(wholefile_readmost(folder.file("data").c_str(), 5, &bytes, &size, why),
              WHOLEFILE_READ);
    std::free(bytes);
    EXPECT_EQ(wholefile_readmost(folder.file("data").c_str(), 4, &bytes, &size, why),
              WHOLEFILE_UNREADABLE);
    EXPECT_EQ(bytes, nullptr);
}

TEST(wholefile_setaside, renames_to_the_first_name_that_is_free)
{
    const TempFolder folder;
    write_text(folder.file("data.bad"), "older");
    write_text(folder.file("data"), "bad");
    char newname[WHOLEFILE_PATH];
    char why[WHOLEFILE_WHY] = "";
    EXPECT_TRUE(wholefile_setaside(folder.file("data").c_str(), newname, why)) << why;
    EXPECT_EQ(newname, folder.file("data.bad-2"));
    EXPECT_EQ(read_text(folder.file("data.bad")), "older");
    EXPECT_EQ(read_text(folder.file("data.bad-2")), "bad");
    EXPECT_FALSE(wholefile_setaside(folder.file("data").c_str(), newname, why));
    EXPECT_NE(std::string(why), "");
}

TEST(wholefile_lock, is_held_once_by_whatever_path_and_leaves_no_file)
{
    const TempFolder folder;
    int first = -1;
    int second = -1;
    ASSERT_EQ(wholefile_lock(folder.path.c_str(), &first), WHOLEFILE_LOCKED);
    EXPECT_EQ(wholefile_lock((folder.path + "\\.").c_str(), &second), WHOLEFILE_TAKEN);
    EXPECT_EQ(second, -1);
    EXPECT_EQ(folder.names(), Names{});
    wholefile_unlock(first);
    EXPECT_EQ(wholefile_lock(folder.path.c_str(), &second), WHOLEFILE_LOCKED);
    wholefile_unlock(second);
}

TEST(wholefile_lock, is_of_one_folder_only)
{
    const TempFolder folder;
    const TempFolder other;
    int first = -1;
    int second = -1;
    EXPECT_EQ(wholefile_lock(folder.path.c_str(), &first), WHOLEFILE_LOCKED);
    EXPECT_EQ(wholefile_lock(other.path.c_str(), &second), WHOLEFILE_LOCKED);
    wholefile_unlock(first);
    wholefile_unlock(second);
    EXPECT_EQ(wholefile_lock(folder.file("none").c_str(), &first), WHOLEFILE_LOCKLESS);
}
