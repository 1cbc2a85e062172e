#include "base/wholefile.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

static_assert(WHOLEFILE_PATH >= PATH_MAX, "a path as realpath gives it fits");

enum {
    BUFFER_SIZE = 65536,
    MAXTEMPS = 1000,     // names tried for the new file
    MAXSETASIDE = 99999, // names tried for a file that goes out of the way
    MAXNUMBER = 99999,   // names tried for a file that replaces none
};

static const char* const nowhere = "It is a link to a file that is not there";
static const char* const nonameleft = "No name is left for it";
static const char* const special = "It is not an ordinary file";

[[gnu::format(printf, 2, 3)]] static void tell(char* why, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    std::vsnprintf(why, WHOLEFILE_WHY, format, args);
    va_end(args);
}

// The first failure is the one that is told.
static void failfor(WholeFile* file, const char* what, const char* name, const char* reason)
{
    if (!file->failed) {
        tell(file->why, "%s %s: %s", what, name, reason);
        file->failed = true;
    }
}

static void fail(WholeFile* file, const char* what, const char* name, int error)
{
    failfor(file, what, name, std::strerror(error));
}

static bool copypath(char* out, const char* path)
{
    return std::snprintf(out, WHOLEFILE_PATH, "%s", path) < WHOLEFILE_PATH;
}

static bool joinpath(char* out, const char* folder, const char* name)
{
    const char* const between = std::strcmp(folder, "/") == 0 ? "" : "/";
    const int size = std::snprintf(out, WHOLEFILE_PATH, "%s%s%s", folder, between, name);
    return size < WHOLEFILE_PATH;
}

// Splits a path at its last slash; the folder of a bare name is ".".
static void splitpath(const char* path, char* folder, const char** name)
{
    const char* const slash = std::strrchr(path, '/');
    if (slash == nullptr) {
        copypath(folder, ".");
        *name = path;
        return;
    }
    const size_t size = slash == path ? 1 : static_cast<size_t>(slash - path);
    std::memcpy(folder, path, size);
    folder[size] = 0;
    *name = slash + 1;
}

static bool isdangling(const char* path)
{
    struct stat link;
    struct stat target;
    return lstat(path, &link) == 0 && S_ISLNK(link.st_mode) && stat(path, &target) != 0 &&
           errno == ENOENT;
}

// Full path of a file that isn't there yet, in a folder that must be.
static void resolvenew(WholeFile* file, const char* path)
{
    char folder[WHOLEFILE_PATH];
    char full[WHOLEFILE_PATH];
    const char* name;
    splitpath(path, folder, &name);
    if (*name == 0) {
        failfor(file, "Could not write", path, "It does not name a file");
    } else if (realpath(folder, full) == nullptr) {
        fail(file, "Could not find the folder", folder, errno);
    } else if (!joinpath(file->path, full, name)) {
        fail(file, "Could not write", path, ENAMETOOLONG);
    }
}

// Full path of the file that is replaced, links followed, and its record in `old` if it is there.
static bool resolve(WholeFile* file, const char* path, struct stat* old)
{
    if (!copypath(file->path, path)) {
        fail(file, "Could not write", path, ENAMETOOLONG);
        return false;
    }
    if (isdangling(path)) {
        failfor(file, "Could not write", path, nowhere);
        return false;
    }
    if (realpath(path, file->path) == nullptr) {
        const int error = errno;
        copypath(file->path, path); // realpath leaves what it has found so far
        if (error == ENOENT) {
            resolvenew(file, path);
        } else {
            fail(file, "Could not write", path, error);
        }
        return false;
    }
    if (stat(file->path, old) != 0) {
        fail(file, "Could not look at", file->path, errno);
        return false;
    }
    return true;
}

// A write-protected file is not replaced, although its folder would allow it.
static void checkold(WholeFile* file, const struct stat* old)
{
    if (S_ISDIR(old->st_mode)) {
        fail(file, "Could not write", file->path, EISDIR);
    } else if (!S_ISREG(old->st_mode)) {
        failfor(file, "Could not write", file->path, special);
    } else if (faccessat(AT_FDCWD, file->path, W_OK, AT_EACCESS) != 0) {
        fail(file, "Could not write", file->path, errno);
    }
}

// Takes a lock without waiting. Gives 0 or the number of the error, EWOULDBLOCK if another has it.
static int takelock(int handle)
{
    while (flock(handle, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

// Removes a new file that nobody writes any more: its writer would hold its lock.
static void removestale(const char* path)
{
    const int handle = open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (handle < 0) {
        return;
    }
    struct stat opened;
    struct stat named; // it may have got another name before it was locked here
    if (fstat(handle, &opened) == 0 && S_ISREG(opened.st_mode) && takelock(handle) == 0 &&
        lstat(path, &named) == 0 && named.st_dev == opened.st_dev &&
        named.st_ino == opened.st_ino) {
        unlink(path);
    }
    close(handle);
}

// The beginning that the names of all new files for `name` share; 300 chars have room for the rest.
static int tempname(char* out, const char* name)
{
    return std::snprintf(out, 300, ".%.200s.new-", name);
}

// Removes what runs that were cut off have left, which also makes room on a full disk. What can't be
// removed stays.
static void clearstale(const WholeFile* file)
{
    char folder[WHOLEFILE_PATH];
    const char* name;
    char beginning[300];
    splitpath(file->path, folder, &name);
    const size_t size = static_cast<size_t>(tempname(beginning, name));
    DIR* const list = opendir(folder);
    if (list == nullptr) {
        return;
    }
    for (const dirent* entry = readdir(list); entry != nullptr; entry = readdir(list)) {
        char path[WHOLEFILE_PATH];
        if (std::strncmp(entry->d_name, beginning, size) == 0 && entry->d_name[size] != 0 &&
            entry->d_name[size + std::strspn(entry->d_name + size, "-0123456789")] == 0 &&
            joinpath(path, folder, entry->d_name)) {
            removestale(path);
        }
    }
    closedir(list);
}

static int opennew(const char* path)
{
    int handle;
    do {
        handle = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (handle < 0 && errno == EINTR);
    return handle;
}

// Locks a new file, so that no other process takes it for one that was left behind. False if one has
// done so already. Where there are no locks nobody removes anything.
static bool claim(int handle)
{
    struct stat now;
    return takelock(handle) != EWOULDBLOCK && (fstat(handle, &now) != 0 || now.st_nlink > 0);
}

// Makes a new file of its own. Gives its handle, or -1 and errno: EEXIST if the name is another's.
static int maketemp(const char* path)
{
    const int handle = opennew(path);
    if (handle >= 0 && !claim(handle)) {
        close(handle);
        errno = EEXIST;
        return -1;
    }
    return handle;
}

// Makes the new file. A name that is in use, or was left behind and can't be removed, is passed over.
static void opentemp(WholeFile* file)
{
    char folder[WHOLEFILE_PATH];
    const char* name;
    splitpath(file->path, folder, &name);
    for (i32 i = 1; i <= MAXTEMPS; i++) { // upward, the plain name first
        char temp[300];
        char* const end = temp + tempname(temp, name);
        const size_t room = sizeof temp - static_cast<size_t>(end - temp);
        const long process = getpid();
        std::snprintf(end, room, i > 1 ? "%ld-%d" : "%ld", process, i);
        if (!joinpath(file->temp, folder, temp)) {
            errno = ENAMETOOLONG;
            break;
        }
        file->handle = maketemp(file->temp);
        if (file->handle >= 0 || errno != EEXIST) {
            break;
        }
    }
    if (file->handle < 0) {
        fail(file, "Could not make a file in", folder, errno);
        file->temp[0] = 0;
    }
}

// The new file takes over the permission bits, and the owner where the system lets it.
static void takeover(WholeFile* file, const struct stat* old)
{
    struct stat now;
    if (fstat(file->handle, &now) != 0) {
        fail(file, "Could not look at", file->temp, errno);
        return;
    }
    const bool ours = now.st_uid == old->st_uid && now.st_gid == old->st_gid;
    const bool owned = ours || fchown(file->handle, old->st_uid, old->st_gid) == 0;
    // bits that lend an owner's rights mean nothing on a file of another owner
    const mode_t bits = old->st_mode & (owned ? 07777U : 0777U);
    if (bits != (now.st_mode & 07777U) && fchmod(file->handle, bits) != 0) {
        fail(file, "Could not set the permissions of", file->temp, errno);
    }
}

static void startfile(WholeFile* file)
{
    // a write beyond the limit of a file's size is to fail like any other, not to end the process
    std::signal(SIGXFSZ, SIG_IGN);
    *file = {};
    file->handle = -1;
    file->guard = -1;
}

static void makefile(WholeFile* file)
{
    if (file->failed) {
        return;
    }
    clearstale(file);
    opentemp(file);
    if (file->failed) {
        return;
    }
    file->guard = fcntl(file->handle, F_DUPFD_CLOEXEC, 0);
    file->buf = static_cast<u8*>(std::malloc(BUFFER_SIZE));
    if (file->buf == nullptr) {
        fail(file, "Could not write", file->path, ENOMEM);
    }
}

void wholefile_begin(WholeFile* file, const char* path)
{
    startfile(file);
    struct stat old;
    const bool replaces = resolve(file, path, &old);
    if (replaces) {
        checkold(file, &old);
    }
    makefile(file);
    if (!file->failed && replaces) {
        takeover(file, &old);
    }
}

void wholefile_begin_numbered(WholeFile* file, const char* path)
{
    startfile(file);
    file->numbered = true;
    copypath(file->path, path);
    resolvenew(file, path);
    makefile(file);
}

static void writeout(WholeFile* file, const u8* bytes, size_t size)
{
    while (size > 0 && !file->failed) {
        const ssize_t n = write(file->handle, bytes, size);
        if (n > 0) {
            bytes += n;
            size -= static_cast<size_t>(n);
        } else if (n == 0) {
            fail(file, "Could not write", file->path, ENOSPC);
        } else if (errno != EINTR) {
            fail(file, "Could not write", file->path, errno);
        }
    }
}

void wholefile_put(WholeFile* file, const void* bytes, size_t size)
{
    if (file->failed || size == 0) {
        return;
    }
    if (size > BUFFER_SIZE - file->used) {
        writeout(file, file->buf, file->used);
        file->used = 0;
    }
    if (size > BUFFER_SIZE) {
        writeout(file, static_cast<const u8*>(bytes), size);
        return;
    }
    std::memcpy(file->buf + file->used, bytes, size);
    file->used += size;
}

static int sync(int handle)
{
    int result;
    do {
        result = fsync(handle);
    } while (result != 0 && errno == EINTR);
    return result;
}

static void closefile(WholeFile* file)
{
    // an interrupted close has closed the file all the same
    if (close(file->handle) != 0 && errno != EINTR) {
        fail(file, "Could not write", file->path, errno);
    }
    file->handle = -1;
}

static int openfolder(const char* folder)
{
    int handle;
    do {
        handle = open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    } while (handle < 0 && errno == EINTR);
    return handle;
}

// Makes the rename safe. A folder that the user may not read can't be synced, and some file systems
// have no such thing as a sync of a folder; neither is told.
static void syncfolder(WholeFile* file)
{
    char folder[WHOLEFILE_PATH];
    const char* name;
    splitpath(file->path, folder, &name);
    const int handle = openfolder(folder);
    const int error = handle >= 0 && sync(handle) == 0 ? 0 : errno;
    const bool harmless = handle < 0 ? error == EACCES : error == EINVAL;
    if (error != 0 && !harmless) {
        tell(file->why, "The disk may not have all yet of the new %s: %s", file->path,
             std::strerror(error));
    }
    if (handle >= 0) {
        close(handle);
    }
}

// Puts a number before the ending of the file's name: maze_save-2.dat.
static bool numberpath(char* out, const char* path, i32 number)
{
    const char* const slash = std::strrchr(path, '/');
    const char* const name = slash != nullptr ? slash + 1 : path;
    const char* const dot = std::strrchr(name, '.');
    const char* const ending = dot != nullptr && dot != name ? dot : name + std::strlen(name);
    const int size = std::snprintf(out, WHOLEFILE_PATH, "%.*s-%d%s",
                                   static_cast<int>(ending - path), path, number, ending);
    return size < WHOLEFILE_PATH;
}

// Gives a file a name that nothing has yet. Gives 0 or the number of the error, EEXIST if something
// has it.
static int renameto(const char* temp, const char* path)
{
    if (renameat2(AT_FDCWD, temp, AT_FDCWD, path, RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return errno;
    }
    // Not on this file system: an empty file takes the name, and only its maker replaces it.
    const int handle = opennew(path);
    if (handle < 0) {
        return errno;
    }
    close(handle);
    if (rename(temp, path) == 0) {
        return 0;
    }
    const int error = errno;
    unlink(path);
    return error;
}

static void renamenumbered(WholeFile* file)
{
    for (i32 i = 2; i <= MAXNUMBER; i++) { // upward, for the lowest free number
        char path[WHOLEFILE_PATH];
        const int error =
            numberpath(path, file->path, i) ? renameto(file->temp, path) : ENAMETOOLONG;
        if (error == 0) {
            copypath(file->path, path);
            return;
        }
        if (error != EEXIST) {
            fail(file, "Could not make", path, error);
            return;
        }
    }
    failfor(file, "Could not write a file beside", file->path, nonameleft);
}

static void replace(WholeFile* file)
{
    writeout(file, file->buf, file->used);
    if (!file->failed && sync(file->handle) != 0) {
        fail(file, "Could not write", file->path, errno);
    }
    closefile(file);
    if (!file->failed && file->numbered) {
        renamenumbered(file);
    } else if (!file->failed && rename(file->temp, file->path) != 0) {
        fail(file, "Could not replace", file->path, errno);
    }
    if (file->failed) {
        unlink(file->temp);
    }
    if (file->guard >= 0) {
        close(file->guard);
        file->guard = -1;
    }
    if (!file->failed) {
        syncfolder(file);
    }
}

bool wholefile_end(WholeFile* file)
{
    if (file->handle >= 0) {
        replace(file);
    }
    std::free(file->buf);
    file->buf = nullptr;
    file->used = 0;
    return !file->failed;
}

// Reads on from `handle` into a buffer that grows, since the size that a file claims need not be
// true. Gives 0 or the number of the error, EFBIG for more than `most` bytes.
static int readall(int handle, size_t expected, size_t most, u8** bytes, size_t* size)
{
    size_t capacity = expected + 2; // the byte behind, and one for seeing the end
    u8* buf = expected <= most ? static_cast<u8*>(std::malloc(capacity)) : nullptr;
    size_t used = 0;
    int error = buf != nullptr ? 0 : ENOMEM;
    error = expected <= most ? error : EFBIG;
    ssize_t n = 1;
    while (n != 0 && error == 0) {
        n = read(handle, buf + used, capacity - 1 - used);
        if (n < 0) {
            error = errno == EINTR ? 0 : errno;
            continue;
        }
        used += static_cast<size_t>(n);
        if (used > most) {
            error = EFBIG;
        } else if (used == capacity - 1) {
            capacity *= 2;
            u8* const larger = static_cast<u8*>(std::realloc(buf, capacity));
            error = larger != nullptr ? 0 : ENOMEM;
            buf = larger != nullptr ? larger : buf;
        }
    }
    if (error != 0) {
        std::free(buf);
        return error;
    }
    buf[used] = 0;
    *bytes = buf;
    *size = used;
    return 0;
}

static int openold(const char* path)
{
    int handle;
    do {
        // without waiting for a writer, should it be a pipe
        handle = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    } while (handle < 0 && errno == EINTR);
    return handle;
}

static WholeFileRead unreadable(const char* path, const char* reason, char* why)
{
    tell(why, "Could not read %s: %s", path, reason);
    return WHOLEFILE_UNREADABLE;
}

WholeFileRead wholefile_readmost(const char* path, size_t most, u8** bytes, size_t* size, char* why)
{
    *bytes = nullptr;
    *size = 0;
    const int handle = openold(path);
    if (handle < 0) {
        const int error = errno;
        if (error != ENOENT) {
            return unreadable(path, std::strerror(error), why);
        }
        return isdangling(path) ? unreadable(path, nowhere, why) : WHOLEFILE_MISSING;
    }
    struct stat now;
    int error = fstat(handle, &now) == 0 ? 0 : errno;
    const bool ordinary = error != 0 || S_ISREG(now.st_mode) || S_ISDIR(now.st_mode);
    if (error == 0 && ordinary) { // of a folder the first read fails
        error = readall(handle, static_cast<size_t>(now.st_size), most, bytes, size);
    }
    close(handle);
    if (error != 0 || !ordinary) {
        return unreadable(path, ordinary ? std::strerror(error) : special, why);
    }
    return WHOLEFILE_READ;
}

WholeFileRead wholefile_read(const char* path, u8** bytes, size_t* size, char* why)
{
    return wholefile_readmost(path, SIZE_MAX, bytes, size, why);
}

bool wholefile_setaside(const char* path, char* newname, char* why)
{
    for (i32 i = 1; i <= MAXSETASIDE; i++) { // upward, the plain name first
        const int size = i == 1 ? std::snprintf(newname, WHOLEFILE_PATH, "%s.bad", path)
                                : std::snprintf(newname, WHOLEFILE_PATH, "%s.bad-%d", path, i);
        if (size >= WHOLEFILE_PATH) {
            break;
        }
        struct stat taken;
        if (lstat(newname, &taken) == 0) {
            continue;
        }
        if (rename(path, newname) == 0) {
            return true;
        }
        tell(why, "Could not rename %s: %s", path, std::strerror(errno));
        return false;
    }
    tell(why, "Could not rename %s: %s", path, nonameleft);
    return false;
}

void wholefile_remove(const char* path)
{
    unlink(path); // a folder refuses
}

WholeFileLock wholefile_lock(const char* folder, int* handle)
{
    *handle = -1;
    const int opened = openfolder(folder);
    if (opened < 0) {
        return WHOLEFILE_LOCKLESS;
    }
    const int error = takelock(opened);
    if (error == 0) {
        *handle = opened;
        return WHOLEFILE_LOCKED;
    }
    close(opened);
    return error == EWOULDBLOCK ? WHOLEFILE_TAKEN : WHOLEFILE_LOCKLESS;
}

void wholefile_unlock(int handle)
{
    if (handle >= 0) {
        close(handle);
    }
}
