#include "base/wholefile.h"
#include "tests/endchild.h"
#include "tests/ordinaryuser.h"
#include "tests/tempfolder.h"
#include "tests/wholereplace.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

// Faults of the system, given to the routines below while a record of them is alive. An error is an
// errno, 0 for none.
struct Faults {
    size_t chunk = SIZE_MAX; // the most bytes that one read or write takes
    int interrupts = 0;      // of each read, write and sync, before one goes on
    size_t room = SIZE_MAX;  // bytes that can be written before writing fails with ENOSPC
    int read_error = 0;
    int write_error = 0;
    int sync_error = 0;
    int foldersync_error = 0;
    int close_error = 0; // told after the file has been closed
    int rename_error = 0;
    int exclusive_error = 0; // of a rename that must replace nothing
    int lock_error = 0;
    std::vector<std::string> calls; // that were not interrupted

    Faults();
    ~Faults();
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;
};

static Faults* faults;      // the living record
static int interrupts_left; // of the call that is under way

Faults::Faults()
{
    faults = this;
}

Faults::~Faults()
{
    faults = nullptr;
    interrupts_left = 0;
}

static int failed_with(int error)
{
    errno = error;
    return -1;
}

static bool interrupted()
{
    if (interrupts_left == 0) {
        interrupts_left = faults->interrupts + 1;
    }
    interrupts_left--;
    return interrupts_left > 0;
}

static bool isfolder(int handle)
{
    struct stat now = {};
    return fstat(handle, &now) == 0 && S_ISDIR(now.st_mode);
}

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the system's names are reserved
ssize_t write(int handle, const void* bytes, size_t size)
{
    if (faults != nullptr) {
        if (interrupted()) {
            return failed_with(EINTR);
        }
        faults->calls.push_back("write");
        size = std::min({size, faults->chunk, faults->room});
        if (faults->write_error != 0 || size == 0) {
            return failed_with(faults->write_error != 0 ? faults->write_error : ENOSPC);
        }
        faults->room -= size;
    }
    return syscall(SYS_write, handle, bytes, size);
}

ssize_t read(int handle, void* bytes, size_t size)
{
    if (faults != nullptr) {
        if (interrupted()) {
            return failed_with(EINTR);
        }
        faults->calls.push_back("read");
        if (faults->read_error != 0) {
            return failed_with(faults->read_error);
        }
        size = std::min(size, faults->chunk);
    }
    return syscall(SYS_read, handle, bytes, size);
}

int fsync(int handle)
{
    if (faults != nullptr) {
        if (interrupted()) {
            return failed_with(EINTR);
        }
        const bool folder = isfolder(handle);
        faults->calls.push_back(folder ? "sync folder" : "sync file");
        const int error = folder ? faults->foldersync_error : faults->sync_error;
        if (error != 0) {
            return failed_with(error);
        }
    }
    return static_cast<int>(syscall(SYS_fsync, handle));
}

int close(int handle)
{
    const int result = static_cast<int>(syscall(SYS_close, handle));
    if (faults != nullptr) {
        faults->calls.push_back("close");
        return faults->close_error != 0 ? failed_with(faults->close_error) : result;
    }
    return result;
}

int rename(const char* before, const char* after) noexcept
{
    if (faults != nullptr) {
        faults->calls.push_back("rename");
        if (faults->rename_error != 0) {
            return failed_with(faults->rename_error);
        }
    }
    return renameat(AT_FDCWD, before, AT_FDCWD, after);
}

int renameat2(int from, const char* before, int to, const char* after, unsigned flags) noexcept
{
    if (faults != nullptr) {
        faults->calls.push_back("exclusive rename");
        if (faults->exclusive_error != 0) {
            return failed_with(faults->exclusive_error);
        }
    }
    return static_cast<int>(syscall(SYS_renameat2, from, before, to, after, flags));
}

int flock(int handle, int operation) noexcept
{
    if (faults != nullptr) {
        faults->calls.push_back("lock");
        if (faults->lock_error != 0) {
            return failed_with(faults->lock_error);
        }
    }
    return static_cast<int>(syscall(SYS_flock, handle, operation));
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

// A text in which a piece that is lost, doubled or moved shows.
static std::string long_text(size_t size)
{
    std::string text;
    for (i32 i = 0; text.size() < size; i++) {
        text += std::to_string(i) + " ";
    }
    text.resize(size);
    return text;
}

static mode_t bits_of(const std::string& path)
{
    struct stat now = {};
    EXPECT_EQ(stat(path.c_str(), &now), 0) << path;
    return now.st_mode & 07777U;
}

static void expect_says(const std::string& why, const std::string& path, int error)
{
    EXPECT_NE(why.find(path), std::string::npos) << why;
    EXPECT_NE(why.find(std::strerror(error)), std::string::npos) << why;
}

using Names = std::vector<std::string>;

TEST(wholefile_end, takes_a_bare_name_for_one_in_the_working_folder)
{
    const TempFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path);
    const std::string why = replace("data", "text");
    std::filesystem::current_path(before);
    EXPECT_EQ(why, "");
    EXPECT_EQ(read_text(folder.file("data")), "text");
}

TEST(wholefile_end, takes_a_name_of_the_greatest_length)
{
    const TempFolder folder;
    const std::string name(255, 'n');
    EXPECT_EQ(replace(folder.file(name), "text"), "");
    EXPECT_EQ(folder.names(), Names{name});
}

TEST(wholefile_end, keeps_the_permission_bits_of_the_old_file)
{
    for (const mode_t bits : {0600U, 0644U, 0666U, 0755U}) {
        const TempFolder folder;
        write_text(folder.file("data"), "old");
        ASSERT_EQ(chmod(folder.file("data").c_str(), bits), 0);
        EXPECT_EQ(replace(folder.file("data"), "new"), "");
        EXPECT_EQ(bits_of(folder.file("data")), bits);
    }
}

TEST(wholefile_end, gives_a_new_file_the_bits_that_the_mask_leaves)
{
    const TempFolder folder;
    const mode_t before = umask(027);
    const std::string why = replace(folder.file("data"), "new");
    umask(before);
    EXPECT_EQ(why, "");
    EXPECT_EQ(bits_of(folder.file("data")), 0640U);
}

TEST(wholefile_end, keeps_the_owner_of_the_old_file)
{
    const TempFolder folder;
    write_text(folder.file("data"), "old");
    if (geteuid() == 0) { // only the superuser meets a file of someone else that it can give away
        ASSERT_EQ(chown(folder.file("data").c_str(), 65534, 65533), 0);
    }
    struct stat before = {};
    struct stat after = {};
    ASSERT_EQ(stat(folder.file("data").c_str(), &before), 0);
    EXPECT_EQ(replace(folder.file("data"), "new"), "");
    ASSERT_EQ(stat(folder.file("data").c_str(), &after), 0);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
}

TEST(wholefile_end, keeps_a_link_to_a_file_as_a_link)
{
    const TempFolder folder;
    const TempFolder other;
    write_text(other.file("target"), "old");
    std::filesystem::create_symlink(other.file("target"), folder.file("data"));
    EXPECT_EQ(replace(folder.file("data"), "new"), "");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("data")));
    EXPECT_FALSE(std::filesystem::is_symlink(other.file("target")));
    EXPECT_EQ(read_text(other.file("target")), "new");
    EXPECT_EQ(folder.names(), Names{"data"});
    EXPECT_EQ(other.names(), Names{"target"});
}

TEST(wholefile_end, follows_a_relative_link_to_a_link)
{
    const TempFolder folder;
    std::filesystem::create_directory(folder.file("sub"));
    write_text(folder.file("target"), "old");
    std::filesystem::create_symlink("../target", folder.file("sub/second"));
    std::filesystem::create_symlink("sub/second", folder.file("first"));
    EXPECT_EQ(replace(folder.file("first"), "new"), "");
    EXPECT_EQ(read_text(folder.file("target")), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("first")));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("sub/second")));
}

TEST(wholefile_put, keeps_all_bytes_in_their_order_whatever_the_pieces)
{
    const TempFolder folder;
    const std::string text = long_text(300000);
    for (const size_t piece : {1UL, 7UL, 65535UL, 65536UL, 65537UL, 300000UL}) {
        EXPECT_EQ(replace(folder.file("data"), text, piece), "");
        EXPECT_TRUE(read_text(folder.file("data")) == text) << piece;
    }
}

TEST(wholefile_put, takes_bytes_of_any_value)
{
    const TempFolder folder;
    std::string text;
    for (i32 i = 0; i < 256; i++) {
        text += static_cast<char>(i);
    }
    EXPECT_EQ(replace(folder.file("data"), text), "");
    EXPECT_EQ(read_text(folder.file("data")), text);
}

TEST(wholefile_put, gathers_small_pieces_into_few_writes)
{
    const TempFolder folder;
    const std::string text = long_text(200000);
    const Faults counted;
    EXPECT_EQ(replace(folder.file("data"), text, 3), "");
    EXPECT_EQ(std::count(counted.calls.begin(), counted.calls.end(), "write"), 4);
}

TEST(wholefile_begin, leaves_the_old_file_until_the_end)
{
    const TempFolder folder;
    write_text(folder.file("data"), "old");
    const std::string text = long_text(200000);
    WholeFile file;
    wholefile_begin(&file, folder.file("data").c_str());
    wholefile_put(&file, text.data(), text.size());
    EXPECT_EQ(read_text(folder.file("data")), "old");
    EXPECT_TRUE(wholefile_end(&file));
    EXPECT_TRUE(read_text(folder.file("data")) == text);
}

TEST(wholefile_begin, makes_the_new_file_beside_the_target_of_a_link)
{
    const TempFolder folder;
    const TempFolder other;
    write_text(other.file("target"), "old");
    std::filesystem::create_symlink(other.file("target"), folder.file("data"));
    WholeFile file;
    wholefile_begin(&file, folder.file("data").c_str());
    const std::string temp = ".target.new-" + std::to_string(getpid());
    EXPECT_EQ(other.names(), (Names{temp, "target"}));
    EXPECT_EQ(folder.names(), Names{"data"});
    EXPECT_TRUE(wholefile_end(&file));
}

TEST(wholefile_begin, passes_over_what_a_run_left_behind_where_there_are_no_locks)
{
    const TempFolder folder;
    const std::string left = ".data.new-" + std::to_string(getpid());
    write_text(folder.file(left), "half a file");
    {
        Faults lockless;
        lockless.lock_error = ENOLCK;
        EXPECT_EQ(replace(folder.file("data"), "text"), "");
    }
    EXPECT_EQ(read_text(folder.file("data")), "text");
    EXPECT_EQ(read_text(folder.file(left)), "half a file");
    EXPECT_EQ(folder.names(), (Names{left, "data"}));
}

TEST(wholefile_end, syncs_the_file_before_the_rename_and_the_folder_after_it)
{
    const TempFolder folder;
    const Faults counted;
    EXPECT_EQ(replace(folder.file("data"), "text"), "");
    EXPECT_EQ(counted.calls, (Names{"lock", "write", "sync file", "close", "rename", "close",
                                    "sync folder", "close"}));
}

TEST(wholefile_end, goes_on_after_interruptions_and_short_writes)
{
    const TempFolder folder;
    const std::string text = long_text(150000);
    {
        Faults short_writes;
        short_writes.chunk = 4099;
        short_writes.interrupts = 2;
        EXPECT_EQ(replace(folder.file("data"), text), "");
    }
    EXPECT_TRUE(read_text(folder.file("data")) == text);
}

// A replacement under faults fails, tells of the file, and leaves the old file and nothing else.
static std::string fail_to_replace(void (*provoke)(Faults*), int error, size_t size = 200000)
{
    const TempFolder folder;
    write_text(folder.file("data"), "old");
    std::string why;
    {
        Faults provoked;
        provoke(&provoked);
        why = replace(folder.file("data"), long_text(size));
    }
    expect_says(why, folder.file("data"), error);
    EXPECT_EQ(read_text(folder.file("data")), "old");
    EXPECT_EQ(folder.names(), Names{"data"});
    return why;
}

TEST(wholefile_failure, of_a_full_disk_leaves_the_old_file)
{
    fail_to_replace([](Faults* provoked) { provoked->room = 100000; }, ENOSPC);
    fail_to_replace([](Faults* provoked) { provoked->room = 0; }, ENOSPC);
}

TEST(wholefile_failure, of_the_last_write_leaves_the_old_file)
{
    fail_to_replace([](Faults* provoked) { provoked->write_error = EIO; }, EIO, 10);
}

TEST(wholefile_failure, of_the_sync_leaves_the_old_file)
{
    fail_to_replace([](Faults* provoked) { provoked->sync_error = EIO; }, EIO);
}

TEST(wholefile_failure, of_the_close_leaves_the_old_file)
{
    fail_to_replace([](Faults* provoked) { provoked->close_error = ENOSPC; }, ENOSPC);
}

TEST(wholefile_failure, of_the_rename_leaves_the_old_file)
{
    fail_to_replace([](Faults* provoked) { provoked->rename_error = EACCES; }, EACCES);
}

TEST(wholefile_failure, tells_the_first_one)
{
    const std::string why = fail_to_replace(
        [](Faults* provoked) {
            provoked->room = 5;
            provoked->sync_error = EIO;
            provoked->close_error = EDQUOT;
        },
        ENOSPC);
    EXPECT_EQ(why.find(std::strerror(EDQUOT)), std::string::npos) << why;
}

TEST(wholefile_failure, stops_all_further_writing)
{
    const TempFolder folder;
    Faults provoked;
    provoked.write_error = EIO;
    EXPECT_NE(replace(folder.file("data"), long_text(1000000)), "");
    EXPECT_EQ(provoked.calls, (Names{"lock", "write", "close", "close"}));
}

TEST(wholefile_end, tells_of_a_sync_of_the_folder_that_failed_with_the_new_file_in_place)
{
    const TempFolder folder;
    write_text(folder.file("data"), "old");
    std::string why;
    {
        Faults provoked;
        provoked.foldersync_error = EIO;
        why = replace(folder.file("data"), "new", 1000, true);
    }
    expect_says(why, folder.file("data"), EIO);
    EXPECT_EQ(read_text(folder.file("data")), "new");
    EXPECT_EQ(folder.names(), Names{"data"});
}

TEST(wholefile_end, takes_a_file_system_that_syncs_no_folders)
{
    const TempFolder folder;
    Faults provoked;
    provoked.foldersync_error = EINVAL;
    EXPECT_EQ(replace(folder.file("data"), "new"), "");
}

TEST(wholefile_end, takes_an_interrupted_close_for_done)
{
    const TempFolder folder;
    {
        Faults provoked;
        provoked.close_error = EINTR;
        EXPECT_EQ(replace(folder.file("data"), "new"), "");
    }
    EXPECT_EQ(read_text(folder.file("data")), "new");
}

TEST(wholefile_failure, at_the_limit_of_a_file_size_leaves_the_old_file)
{
    const TempFolder folder;
    write_text(folder.file("data"), "old");
    rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit tiny = before;
    tiny.rlim_cur = 100000;
    void (*const handler)(int) = std::signal(SIGXFSZ, SIG_DFL); // which would end the process
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tiny), 0);
    const std::string why = replace(folder.file("data"), long_text(200000));
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    expect_says(why, folder.file("data"), EFBIG);
    EXPECT_EQ(read_text(folder.file("data")), "old");
    EXPECT_EQ(folder.names(), Names{"data"});
}

TEST(wholefile_failure, of_a_missing_folder_is_told)
{
    const TempFolder folder;
    expect_says(replace(folder.file("nowhere/data"), "text"), folder.file("nowhere"), ENOENT);
    EXPECT_EQ(folder.names(), Names{});
}

TEST(wholefile_failure, of_a_path_that_is_a_folder_is_told)
{
    const TempFolder folder;
    std::filesystem::create_directory(folder.file("data"));
    expect_says(replace(folder.file("data"), "text"), folder.file("data"), EISDIR);
    EXPECT_TRUE(std::filesystem::is_directory(folder.file("data")));
    EXPECT_EQ(folder.names(), Names{"data"});
}

TEST(wholefile_failure, of_a_path_through_a_file_is_told)
{
    const TempFolder folder;
    write_text(folder.file("plain"), "a file");
    expect_says(replace(folder.file("plain/data"), "text"), folder.file("plain"), ENOTDIR);
    EXPECT_EQ(read_text(folder.file("plain")), "a file");
}

TEST(wholefile_failure, of_a_path_without_a_name_is_told)
{
    const TempFolder folder;
    EXPECT_NE(replace("", "text"), "");
    EXPECT_NE(replace(folder.file("missing/"), "text"), "");
    EXPECT_EQ(folder.names(), Names{});
}

TEST(wholefile_failure, of_a_path_too_long_is_told)
{
    const TempFolder folder;
    EXPECT_NE(replace(folder.file(std::string(300, 'n')), "text"), "");
    EXPECT_NE(replace(folder.file(std::string(5000, 'n')), "text"), "");
    std::string deep = folder.path;
    while (deep.size() < 4090) {
        deep += "/.";
    }
    EXPECT_NE(replace(deep + "/data", "text"), "");
    EXPECT_EQ(folder.names(), Names{});
}

TEST(wholefile_failure, of_a_link_that_leads_nowhere_is_told)
{
    const TempFolder folder;
    std::filesystem::create_symlink(folder.file("gone"), folder.file("data"));
    const std::string why = replace(folder.file("data"), "text");
    EXPECT_EQ(why, "Could not write " + folder.file("data") +
                       ": It is a link to a file that is not there");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("data")));
    EXPECT_EQ(folder.names(), Names{"data"});
}

TEST(wholefile_failure, of_a_ring_of_links_is_told)
{
    const TempFolder folder;
    std::filesystem::create_symlink("b", folder.file("a"));
    std::filesystem::create_symlink("a", folder.file("b"));
    expect_says(replace(folder.file("a"), "text"), folder.file("a"), ELOOP);
    EXPECT_EQ(folder.names(), (Names{"a", "b"}));
}

TEST(wholefile_failure, of_a_pipe_is_told)
{
    const TempFolder folder;
    ASSERT_EQ(mkfifo(folder.file("data").c_str(), 0600), 0);
    EXPECT_NE(replace(folder.file("data"), "text"), "");
    EXPECT_TRUE(std::filesystem::is_fifo(folder.file("data")));
    EXPECT_EQ(folder.names(), Names{"data"});
}

TEST(wholefile_failure, of_a_folder_without_write_permission_leaves_the_old_file)
{
    const OpenFolder folder;
    write_text(folder.file("data"), "old");
    ASSERT_EQ(chmod(folder.file("data").c_str(), 0666), 0);
    ASSERT_EQ(chmod(folder.path.c_str(), 0555), 0);
    std::string why;
    {
        const OrdinaryUser user;
        why = replace(folder.file("data"), "text");
    }
    expect_says(why, folder.path, EACCES);
    EXPECT_EQ(read_text(folder.file("data")), "old");
    EXPECT_EQ(folder.names(), Names{"data"});
}

TEST(wholefile_failure, of_a_write_protected_file_leaves_it)
{
    const OpenFolder folder;
    write_text(folder.file("data"), "old");
    ASSERT_EQ(chmod(folder.file("data").c_str(), 0444), 0);
    std::string why;
    {
        const OrdinaryUser user;
        why = replace(folder.file("data"), "text");
    }
    expect_says(why, folder.file("data"), EACCES);
    EXPECT_EQ(read_text(folder.file("data")), "old");
    EXPECT_EQ(folder.names(), Names{"data"});
}

TEST(wholefile_end, replaces_a_file_of_someone_else_who_lets_it)
{
    const OpenFolder folder;
    write_text(folder.file("data"), "old");
    ASSERT_EQ(chmod(folder.file("data").c_str(), 0666), 0);
    std::string why;
    {
        const OrdinaryUser user;
        why = replace(folder.file("data"), "new");
    }
    EXPECT_EQ(why, "");
    EXPECT_EQ(read_text(folder.file("data")), "new");
    EXPECT_EQ(bits_of(folder.file("data")), 0666U);
}

TEST(wholefile_end, does_not_need_to_read_the_folder)
{
    const OpenFolder folder;
    ASSERT_EQ(chmod(folder.path.c_str(), 0333), 0);
    std::string why;
    {
        const OrdinaryUser user;
        why = replace(folder.file("data"), "new");
    }
    EXPECT_EQ(why, "");
    EXPECT_EQ(read_text(folder.file("data")), "new");
}

struct ReadRun {
    WholeFileRead result;
    bool null; // the bytes
    std::string text, why;
};

static ReadRun read_whole(const std::string& path)
{
    u8* bytes = nullptr;
    size_t size = 77;
    char why[WHOLEFILE_WHY] = "";
    const WholeFileRead result = wholefile_read(path.c_str(), &bytes, &size, why);
    ReadRun run = {result, bytes == nullptr, "", why};
    if (bytes != nullptr) {
        EXPECT_EQ(bytes[size], 0);
        run.text.assign(reinterpret_cast<const char*>(bytes), size);
        std::free(bytes);
    }
    return run;
}

TEST(wholefile_read, gives_all_bytes_with_a_0_behind)
{
    const TempFolder folder;
    for (const size_t size : {1UL, 2UL, 4096UL, 65536UL, 300001UL}) {
        const std::string text = long_text(size);
        write_text(folder.file("data"), text);
        const ReadRun run = read_whole(folder.file("data"));
        EXPECT_EQ(run.result, WHOLEFILE_READ);
        EXPECT_TRUE(run.text == text) << size;
    }
}

TEST(wholefile_read, gives_an_empty_text_for_an_empty_file)
{
    const TempFolder folder;
    write_text(folder.file("data"), "");
    const ReadRun run = read_whole(folder.file("data"));
    EXPECT_EQ(run.result, WHOLEFILE_READ);
    EXPECT_FALSE(run.null);
    EXPECT_EQ(run.text, "");
}

TEST(wholefile_read, keeps_0_bytes)
{
    const TempFolder folder;
    const std::string text("a\0b\0", 4);
    write_text(folder.file("data"), text);
    EXPECT_EQ(read_whole(folder.file("data")).text, text);
}

TEST(wholefile_read, does_not_count_on_the_size_that_a_file_claims)
{
    const ReadRun run = read_whole("/proc/self/status"); // claims to be empty
    EXPECT_EQ(run.result, WHOLEFILE_READ);
    EXPECT_NE(run.text.find("VmPeak"), std::string::npos);
}

TEST(wholefile_readmost, reads_a_file_of_the_most_bytes_and_no_larger_one)
{
    const TempFolder folder;
    write_text(folder.file("data"), long_text(1000));
    u8* bytes;
    size_t size;
    char why[WHOLEFILE_WHY];
    const std::string path = folder.file("data");
    ASSERT_EQ(wholefile_readmost(path.c_str(), 1000, &bytes, &size, why), WHOLEFILE_READ);
    EXPECT_EQ(size, 1000U);
    std::free(bytes);
    EXPECT_EQ(wholefile_readmost(path.c_str(), 999, &bytes, &size, why), WHOLEFILE_UNREADABLE);
    EXPECT_EQ(bytes, nullptr);
    EXPECT_EQ(why, "Could not read " + path + ": File too large");
}

TEST(wholefile_readmost, does_not_count_on_the_size_that_a_file_claims)
{
    u8* bytes;
    size_t size;
    char why[WHOLEFILE_WHY];
    EXPECT_EQ(
        wholefile_readmost("/proc/self/status", 100, &bytes, &size, why), // claims to be empty
        WHOLEFILE_UNREADABLE);
    EXPECT_EQ(bytes, nullptr);
}

TEST(wholefile_read, goes_on_after_interruptions_and_short_reads)
{
    const TempFolder folder;
    const std::string text = long_text(100000);
    write_text(folder.file("data"), text);
    Faults provoked;
    provoked.chunk = 777;
    provoked.interrupts = 2;
    const ReadRun run = read_whole(folder.file("data"));
    EXPECT_EQ(run.result, WHOLEFILE_READ);
    EXPECT_TRUE(run.text == text);
}

TEST(wholefile_read, reads_back_what_was_written)
{
    const TempFolder folder;
    const std::string text = long_text(123456);
    EXPECT_EQ(replace(folder.file("data"), text), "");
    EXPECT_TRUE(read_whole(folder.file("data")).text == text);
}

TEST(wholefile_read, tells_a_missing_file_from_others)
{
    const TempFolder folder;
    for (const char* name : {"data", "nowhere/data"}) {
        const ReadRun run = read_whole(folder.file(name));
        EXPECT_EQ(run.result, WHOLEFILE_MISSING);
        EXPECT_TRUE(run.null);
    }
}

static void expect_unreadable(const std::string& path, const std::string& reason)
{
    const ReadRun run = read_whole(path);
    EXPECT_EQ(run.result, WHOLEFILE_UNREADABLE);
    EXPECT_TRUE(run.null);
    EXPECT_EQ(run.why, "Could not read " + path + ": " + reason);
}

TEST(wholefile_read, cannot_read_a_folder)
{
    const TempFolder folder;
    expect_unreadable(folder.path, std::strerror(EISDIR));
}

TEST(wholefile_read, cannot_read_a_link_that_leads_nowhere)
{
    const TempFolder folder;
    std::filesystem::create_symlink(folder.file("gone"), folder.file("data"));
    expect_unreadable(folder.file("data"), "It is a link to a file that is not there");
}

TEST(wholefile_read, cannot_read_a_pipe_and_does_not_wait_for_it)
{
    const TempFolder folder;
    ASSERT_EQ(mkfifo(folder.file("data").c_str(), 0600), 0);
    expect_unreadable(folder.file("data"), "It is not an ordinary file");
}

TEST(wholefile_read, cannot_read_without_permission)
{
    const OpenFolder folder;
    write_text(folder.file("data"), "secret");
    ASSERT_EQ(chmod(folder.file("data").c_str(), 0200), 0);
    const OrdinaryUser user;
    expect_unreadable(folder.file("data"), std::strerror(EACCES));
}

TEST(wholefile_read, cannot_read_a_file_that_the_disk_does_not_give)
{
    const TempFolder folder;
    write_text(folder.file("data"), "text");
    Faults provoked;
    provoked.read_error = EIO;
    expect_unreadable(folder.file("data"), std::strerror(EIO));
}

TEST(wholefile_read, leaves_no_file_open)
{
    const TempFolder folder;
    write_text(folder.file("data"), "text");
    const int next = open("/dev/null", O_RDONLY);
    close(next);
    read_whole(folder.file("data"));
    read_whole(folder.path);
    replace(folder.file("data"), "new");
    replace(folder.path, "new");
    fail_to_replace([](Faults* provoked) { provoked->room = 1; }, ENOSPC);
    const int after = open("/dev/null", O_RDONLY);
    close(after);
    EXPECT_EQ(after, next);
}

struct AsideRun {
    bool done;
    std::string name, why;
};

static AsideRun set_aside(const std::string& path)
{
    char name[WHOLEFILE_PATH] = "";
    char why[WHOLEFILE_WHY] = "";
    const bool done = wholefile_setaside(path.c_str(), name, why);
    return {done, name, why};
}

TEST(wholefile_setaside, renames_to_the_first_name_that_is_free)
{
    const TempFolder folder;
    for (const char* ending : {".bad", ".bad-2", ".bad-3", ".bad-4"}) {
        write_text(folder.file("data"), ending);
        const AsideRun run = set_aside(folder.file("data"));
        EXPECT_TRUE(run.done);
        EXPECT_EQ(run.name, folder.file("data") + ending);
    }
    EXPECT_EQ(folder.names(), (Names{"data.bad", "data.bad-2", "data.bad-3", "data.bad-4"}));
    EXPECT_EQ(read_text(folder.file("data.bad")), ".bad");
    EXPECT_EQ(read_text(folder.file("data.bad-3")), ".bad-3");
}

TEST(wholefile_setaside, takes_a_link_that_leads_nowhere_for_a_name_in_use)
{
    const TempFolder folder;
    write_text(folder.file("data"), "text");
    std::filesystem::create_symlink(folder.file("gone"), folder.file("data.bad"));
    EXPECT_EQ(set_aside(folder.file("data")).name, folder.file("data.bad-2"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("data.bad")));
}

TEST(wholefile_setaside, renames_a_link_and_not_its_target)
{
    const TempFolder folder;
    write_text(folder.file("target"), "text");
    std::filesystem::create_symlink(folder.file("target"), folder.file("data"));
    EXPECT_TRUE(set_aside(folder.file("data")).done);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("data.bad")));
    EXPECT_EQ(read_text(folder.file("target")), "text");
}

TEST(wholefile_setaside, tells_why_a_file_could_not_be_renamed)
{
    const TempFolder folder;
    const AsideRun missing = set_aside(folder.file("data"));
    EXPECT_FALSE(missing.done);
    expect_says(missing.why, folder.file("data"), ENOENT);
    write_text(folder.file("data"), "text");
    Faults provoked;
    provoked.rename_error = EROFS;
    const AsideRun protected_run = set_aside(folder.file("data"));
    EXPECT_FALSE(protected_run.done);
    expect_says(protected_run.why, folder.file("data"), EROFS);
    EXPECT_EQ(folder.names(), Names{"data"});
}

TEST(wholefile_setaside, tells_of_a_path_that_leaves_no_room_for_a_name)
{
    const AsideRun run = set_aside(std::string(WHOLEFILE_PATH - 4, 'n'));
    EXPECT_FALSE(run.done);
    EXPECT_NE(run.why, "");
}

// Writes `text` beside `path`; the name that it got, without the folder, or "" if it failed, which
// `why` then tells.
static std::string write_beside(const std::string& path, const std::string& text,
                                std::string* why = nullptr)
{
    WholeFile file;
    wholefile_begin_numbered(&file, path.c_str());
    wholefile_put(&file, text.data(), text.size());
    const bool done = wholefile_end(&file);
    EXPECT_EQ(done, std::string(file.why).empty()) << file.why;
    if (why != nullptr) {
        *why = file.why;
    }
    return done ? std::filesystem::path(file.path).filename().string() : "";
}

TEST(wholefile_begin_numbered, puts_the_number_before_the_ending)
{
    const TempFolder folder;
    EXPECT_EQ(write_beside(folder.file("save.dat"), "a"), "save-2.dat");
    EXPECT_EQ(write_beside(folder.file("two.dots.dat"), "b"), "two.dots-2.dat");
    EXPECT_EQ(write_beside(folder.file("plain"), "c"), "plain-2");
    EXPECT_EQ(write_beside(folder.file(".hidden"), "d"), ".hidden-2");
    EXPECT_EQ(folder.names(), (Names{".hidden-2", "plain-2", "save-2.dat", "two.dots-2.dat"}));
    EXPECT_EQ(read_text(folder.file("save-2.dat")), "a");
}

TEST(wholefile_begin_numbered, tells_the_full_path_of_a_bare_name)
{
    const TempFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path);
    WholeFile file;
    wholefile_begin_numbered(&file, "save.dat");
    EXPECT_TRUE(wholefile_end(&file)) << file.why;
    std::filesystem::current_path(before);
    EXPECT_EQ(file.path, folder.file("save-2.dat"));
}

// Whatever has a name keeps it: a file, an empty file, a folder, a link that leads nowhere.
static void keep_all_names()
{
    const TempFolder folder;
    write_text(folder.file("save.dat"), "first");
    write_text(folder.file("save-2.dat"), "second");
    write_text(folder.file("save-3.dat"), "");
    std::filesystem::create_directory(folder.file("save-4.dat"));
    std::filesystem::create_symlink(folder.file("gone"), folder.file("save-5.dat"));
    EXPECT_EQ(write_beside(folder.file("save.dat"), "new"), "save-6.dat");
    EXPECT_EQ(read_text(folder.file("save.dat")), "first");
    EXPECT_EQ(read_text(folder.file("save-2.dat")), "second");
    EXPECT_EQ(read_text(folder.file("save-3.dat")), "");
    EXPECT_EQ(read_text(folder.file("save-6.dat")), "new");
    EXPECT_EQ(folder.names(), (Names{"save-2.dat", "save-3.dat", "save-4.dat", "save-5.dat",
                                     "save-6.dat", "save.dat"}));
}

TEST(wholefile_begin_numbered, never_replaces_anything)
{
    keep_all_names();
}

TEST(wholefile_begin_numbered, never_replaces_anything_on_a_file_system_without_such_renames)
{
    for (const int error : {EINVAL, ENOSYS}) {
        Faults provoked;
        provoked.exclusive_error = error;
        keep_all_names();
        EXPECT_EQ(std::count(provoked.calls.begin(), provoked.calls.end(), "rename"), 1);
    }
}

TEST(wholefile_begin_numbered, syncs_the_file_before_it_gets_its_name_and_the_folder_after_it)
{
    const TempFolder folder;
    const Faults counted;
    EXPECT_EQ(write_beside(folder.file("save.dat"), "text"), "save-2.dat");
    EXPECT_EQ(counted.calls, (Names{"lock", "write", "sync file", "close", "exclusive rename",
                                    "close", "sync folder", "close"}));
}

TEST(wholefile_begin_numbered, leaves_nothing_after_a_failure_and_tells_it)
{
    void (*const cases[])(Faults*) = {
        [](Faults* provoked) { provoked->write_error = EIO; },
        [](Faults* provoked) { provoked->sync_error = EIO; },
        [](Faults* provoked) { provoked->close_error = EIO; },
        [](Faults* provoked) { provoked->exclusive_error = EIO; },
        [](Faults* provoked) {
            provoked->exclusive_error = EINVAL;
            provoked->rename_error = EIO;
        },
    };
    for (const auto provoke : cases) {
        const TempFolder folder;
        write_text(folder.file("save.dat"), "first");
        std::string why;
        {
            Faults provoked;
            provoke(&provoked);
            EXPECT_EQ(write_beside(folder.file("save.dat"), "text", &why), "");
        }
        expect_says(why, folder.path, EIO);
        EXPECT_EQ(folder.names(), Names{"save.dat"});
    }
}

TEST(wholefile_begin_numbered, tells_a_missing_folder_and_a_name_without_room)
{
    const TempFolder folder;
    std::string why;
    EXPECT_EQ(write_beside(folder.file("nowhere/save.dat"), "text", &why), "");
    expect_says(why, folder.file("nowhere"), ENOENT);
    EXPECT_EQ(write_beside(folder.file(std::string(255, 'n')), "text", &why), "");
    expect_says(why, folder.path, ENAMETOOLONG);
    EXPECT_EQ(folder.names(), Names{});
}

// Runs `body` in a process of its own for each number below `count`, all let go at once. The exit
// codes that aren't 0.
static int race(int count, bool (*body)(const std::string& path, int number),
                const std::string& path)
{
    int gate[2];
    EXPECT_EQ(pipe(gate), 0);
    std::vector<pid_t> children;
    for (int i = 0; i < count; i++) {
        const pid_t child = fork();
        if (child == 0) {
            char end;
            close(gate[1]);
            read(gate[0], &end, 1); // until the parent closes the other end
            end_child(body(path, i) ? 0 : 1);
        }
        children.push_back(child);
    }
    close(gate[0]);
    close(gate[1]);
    int failures = 0;
    for (const pid_t child : children) {
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        failures += status != 0 ? 1 : 0;
    }
    return failures;
}

// What the numbered files of a folder hold, in the order of the alphabet.
static Names held(const TempFolder& folder)
{
    Names texts;
    for (const std::string& name : folder.names()) {
        texts.push_back(read_text(folder.file(name)));
    }
    std::sort(texts.begin(), texts.end());
    return texts;
}

static bool put_number(const std::string& path, int number)
{
    return !write_beside(path, std::to_string(number)).empty();
}

TEST(wholefile_begin_numbered, loses_nothing_when_many_processes_end_at_once)
{
    for (i32 i = 0; i < 50; i++) {
        const TempFolder folder;
        EXPECT_EQ(race(8, put_number, folder.file("save.dat")), 0);
        EXPECT_EQ(held(folder), (Names{"0", "1", "2", "3", "4", "5", "6", "7"}));
        EXPECT_EQ(folder.names(), (Names{"save-2.dat", "save-3.dat", "save-4.dat", "save-5.dat",
                                         "save-6.dat", "save-7.dat", "save-8.dat", "save-9.dat"}));
    }
}

TEST(wholefile_begin_numbered, loses_nothing_in_a_race_without_such_renames)
{
    Faults provoked; // the processes inherit it
    provoked.exclusive_error = EINVAL;
    for (i32 i = 0; i < 50; i++) {
        const TempFolder folder;
        EXPECT_EQ(race(8, put_number, folder.file("save.dat")), 0);
        EXPECT_EQ(held(folder), (Names{"0", "1", "2", "3", "4", "5", "6", "7"}));
    }
}

// The lock of a folder, freed at the end of the block.
struct HeldLock {
    int handle = -1;
    WholeFileLock outcome;

    explicit HeldLock(const std::string& folder) : outcome(wholefile_lock(folder.c_str(), &handle))
    {
    }
    ~HeldLock()
    {
        wholefile_unlock(handle);
    }
    HeldLock(const HeldLock&) = delete;
    HeldLock& operator=(const HeldLock&) = delete;
};

TEST(wholefile_lock, is_held_once_and_leaves_no_file)
{
    const TempFolder folder;
    const HeldLock first(folder.path);
    const HeldLock second(folder.path);
    EXPECT_EQ(first.outcome, WHOLEFILE_LOCKED);
    EXPECT_GE(first.handle, 0);
    EXPECT_EQ(second.outcome, WHOLEFILE_TAKEN);
    EXPECT_EQ(second.handle, -1);
    EXPECT_EQ(folder.names(), Names{});
}

TEST(wholefile_lock, is_of_one_folder_only)
{
    const TempFolder folder;
    const TempFolder other;
    const HeldLock first(folder.path);
    const HeldLock second(other.path);
    EXPECT_EQ(second.outcome, WHOLEFILE_LOCKED);
}

TEST(wholefile_lock, is_of_the_folder_and_not_of_its_path)
{
    const TempFolder folder;
    const TempFolder other;
    std::filesystem::create_symlink(folder.path, other.file("link"));
    const HeldLock first(folder.path);
    EXPECT_EQ(HeldLock(other.file("link")).outcome, WHOLEFILE_TAKEN);
    EXPECT_EQ(HeldLock(folder.path + "/.").outcome, WHOLEFILE_TAKEN);
}

TEST(wholefile_lock, can_be_taken_again_after_it_was_freed)
{
    const TempFolder folder;
    EXPECT_EQ(HeldLock(folder.path).outcome, WHOLEFILE_LOCKED);
    EXPECT_EQ(HeldLock(folder.path).outcome, WHOLEFILE_LOCKED);
    wholefile_unlock(-1);
}

TEST(wholefile_lock, is_freed_when_its_process_is_killed)
{
    const TempFolder folder;
    int gate[2];
    ASSERT_EQ(pipe(gate), 0);
    const pid_t child = fork();
    if (child == 0) {
        int handle;
        const char told = wholefile_lock(folder.path.c_str(), &handle) == WHOLEFILE_LOCKED ? 1 : 0;
        write(gate[1], &told, 1);
        pause();
        end_child(0);
    }
    char told = 0;
    EXPECT_EQ(read(gate[0], &told, 1), 1);
    EXPECT_EQ(told, 1);
    EXPECT_EQ(HeldLock(folder.path).outcome, WHOLEFILE_TAKEN);
    kill(child, SIGKILL);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
    EXPECT_EQ(HeldLock(folder.path).outcome, WHOLEFILE_LOCKED);
    close(gate[0]);
    close(gate[1]);
}

TEST(wholefile_lock, is_not_handed_to_a_program_that_is_started)
{
    const TempFolder folder;
    const HeldLock lock(folder.path);
    const int flags = fcntl(lock.handle, F_GETFD);
    ASSERT_GE(flags, 0);
    EXPECT_NE(static_cast<unsigned>(flags) & FD_CLOEXEC, 0U);
}

// Asks for the lock in as many processes as asked for, which live until all have an answer. How many
// hold it.
static int count_holders(const std::string& path, int processes)
{
    int answers[2];
    EXPECT_EQ(pipe(answers), 0);
    std::vector<pid_t> children;
    for (int i = 0; i < processes; i++) {
        const pid_t child = fork();
        if (child == 0) {
            int handle;
            const char held = wholefile_lock(path.c_str(), &handle) == WHOLEFILE_LOCKED ? 1 : 0;
            write(answers[1], &held, 1);
            pause();
            end_child(0);
        }
        children.push_back(child);
    }
    close(answers[1]);
    int holders = 0;
    for (int i = 0; i < processes; i++) {
        char held = 0;
        EXPECT_EQ(read(answers[0], &held, 1), 1);
        holders += held;
    }
    close(answers[0]);
    for (const pid_t child : children) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    return holders;
}

TEST(wholefile_lock, goes_to_one_of_many_that_ask_at_once)
{
    const TempFolder folder;
    for (i32 i = 0; i < 50; i++) {
        EXPECT_EQ(count_holders(folder.path, 8), 1);
    }
}

TEST(wholefile_lock, needs_no_folder_that_can_be_written)
{
    const OpenFolder folder;
    ASSERT_EQ(chmod(folder.path.c_str(), 0555), 0);
    const OrdinaryUser user;
    const HeldLock first(folder.path);
    const HeldLock second(folder.path);
    EXPECT_EQ(first.outcome, WHOLEFILE_LOCKED);
    EXPECT_EQ(second.outcome, WHOLEFILE_TAKEN);
}

TEST(wholefile_lock, says_that_there_is_none_where_it_cannot_be_taken)
{
    const OpenFolder folder;
    write_text(folder.file("plain"), "a file");
    EXPECT_EQ(HeldLock(folder.file("gone")).outcome, WHOLEFILE_LOCKLESS);
    EXPECT_EQ(HeldLock(folder.file("plain")).outcome, WHOLEFILE_LOCKLESS);
    ASSERT_EQ(chmod(folder.path.c_str(), 0333), 0);
    const OrdinaryUser user;
    EXPECT_EQ(HeldLock(folder.path).outcome, WHOLEFILE_LOCKLESS);
}

TEST(wholefile_lock, says_that_there_is_none_on_a_file_system_without_locks)
{
    const TempFolder folder;
    for (const int error : {EBADF, ENOLCK, EOPNOTSUPP, EINVAL}) {
        Faults provoked;
        provoked.lock_error = error;
        const HeldLock lock(folder.path);
        EXPECT_EQ(lock.outcome, WHOLEFILE_LOCKLESS);
        EXPECT_EQ(lock.handle, -1);
        EXPECT_EQ(provoked.calls, (Names{"lock", "close"}));
    }
}
