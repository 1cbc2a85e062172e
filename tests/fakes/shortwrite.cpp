// Loaded before the C library, it makes one write to a new file of the program true but short.
//
// SHORTWRITE=TURN:BYTES:THEN in the environment: the write of this number, from 1, to a file whose name
// holds ".new-" takes BYTES bytes and no more. THEN is what happens next: "go" nothing, "full" and
// "error" that every later write fails with ENOSPC or EIO, "kill" that the process is killed at once.
// TURN 0: every write takes BYTES bytes at most. SHORTWRITE_TOLD names a file that is made when a write
// was short.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

// Written by the first write: what the environment asks for.
static bool asked;
static int turn; // -1: nothing
static size_t most;
static char then[8];

static int writes; // to new files so far
static int error;  // of all later ones, 0 for none

static void ask()
{
    const char* const wish = std::getenv("SHORTWRITE");
    asked = true;
    turn = -1;
    if (wish != nullptr && std::sscanf(wish, "%d:%zu:%7s", &turn, &most, then) != 3) {
        std::abort();
    }
}

static bool isnew(int handle)
{
    char link[64];
    char path[4096] = "";
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", handle);
    return readlink(link, path, sizeof path - 1) > 0 && std::strstr(path, ".new-") != nullptr;
}

static void tell()
{
    const char* const told = std::getenv("SHORTWRITE_TOLD");
    if (told != nullptr) {
        syscall(SYS_close, open(told, O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    }
}

static long shortened(int handle, const void* bytes, size_t size)
{
    const long written = syscall(SYS_write, handle, bytes, size < most ? size : most);
    tell();
    if (std::strcmp(then, "kill") == 0) {
        kill(getpid(), SIGKILL);
    }
    error = std::strcmp(then, "full") == 0 ? ENOSPC : 0;
    error = std::strcmp(then, "error") == 0 ? EIO : error;
    return written;
}

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the system's are reserved
ssize_t write(int handle, const void* bytes, size_t size)
{
    if (!asked) {
        ask();
    }
    if (turn >= 0 && isnew(handle)) {
        writes++;
        if (error != 0) {
            errno = error;
            return -1;
        }
        if (turn == 0 || turn == writes) {
            return shortened(handle, bytes, size);
        }
    }
    return syscall(SYS_write, handle, bytes, size);
}
