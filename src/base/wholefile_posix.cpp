#include "base/wholeparts.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

static_assert(WHOLEFILE_PATH >= PATH_MAX, "a path as realpath gives it fits");

static void fail(WholeFile* file, const char* what, const char* name, int error)
{
    wholefile_fail(file, what, name, std::strerror(error));
}

static bool joinpath(char* out, const char* folder, const char* name)
{
    const char* const between = std::strcmp(folder, "/") == 0 ? "" : "/";
    const int size = std::snprintf(out, WHOLEFILE_PATH, "%s%s%s", folder, between, name);
    return size < WHOLEFILE_PATH;
}

const char* wholefile_name(const char* path)
{
    const char* const slash = std::strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

// The folder of a bare name is ".".
static void splitpath(const char* path, char* folder, const char** name)
{
    *name = wholefile_name(path);
    if (*name == path) {
        wholefile_copypath(folder, ".");
        return;
    }
    const size_t slash = static_cast<size_t>(*name - 1 - path);
    const size_t size = slash == 0 ? 1 : slash;
    std::memcpy(folder, path, size);
    folder[size] = 0;
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
        wholefile_fail(file, "Could not write", path, wholefile_unnaming);
    } else if (realpath(folder, full) == nullptr) {
        fail(file, "Could not find the folder", folder, errno);
    } else if (!joinpath(file->path, full, name)) {
        fail(file, "Could not write", path, ENAMETOOLONG);
    }
}

// Full path of the file that is replaced, links followed, and its record in `old` if it is there.
static bool resolve(WholeFile* file, const char* path, struct stat* old)
{
    if (isdangling(path)) {
        wholefile_fail(file, "Could not write", path, wholefile_nowhere);
        return false;
    }
    if (realpath(path, file->path) == nullptr) {
        const int error = errno;
        wholefile_copypath(file->path, path); // realpath leaves what it has found so far
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
        wholefile_fail(file, "Could not write", file->path, wholefile_special);
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

// Removes what runs that were cut off have left, which also makes room on a full disk. What can't be
// removed stays.
static void clearstale(const WholeFile* file)
{
    char folder[WHOLEFILE_PATH];
    const char* name;
    char start[WHOLEFILE_TEMPNAME];
    splitpath(file->path, folder, &name);
    wholefile_tempstart(start, name);
    DIR* const list = opendir(folder);
    if (list == nullptr) {
        return;
    }
    for (const dirent* entry = readdir(list); entry != nullptr; entry = readdir(list)) {
        char path[WHOLEFILE_PATH];
        if (wholefile_istempname(entry->d_name, start) && joinpath(path, folder, entry->d_name)) {
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
    for (i32 i = 1; i <= WHOLEFILE_MAXTEMPS; i++) { // upward, the plain name first
        char temp[WHOLEFILE_TEMPNAME];
        wholefile_tempname(temp, name, static_cast<u32>(getpid()), i);
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

static void makefile(WholeFile* file)
{
    if (file->failed) {
        return;
    }
    clearstale(file);
    opentemp(file);
    if (!file->failed) {
        file->guard = fcntl(file->handle, F_DUPFD_CLOEXEC, 0);
    }
}

// A write beyond the limit of a file's size is to fail like any other, not to end the process.
static void ignorelimit()
{
    std::signal(SIGXFSZ, SIG_IGN);
}

void wholefile_open(WholeFile* file, const char* path)
{
    ignorelimit();
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

void wholefile_open_numbered(WholeFile* file, const char* path)
{
    ignorelimit();
    resolvenew(file, path);
    makefile(file);
}

void wholefile_write(WholeFile* file, const u8* bytes, size_t size)
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

static int sync(int handle)
{
    int result;
    do {
        result = fsync(handle);
    } while (result != 0 && errno == EINTR);
    return result;
}

void wholefile_seal(WholeFile* file)
{
    if (!file->failed && sync(file->handle) != 0) {
        fail(file, "Could not write", file->path, errno);
    }
    // an interrupted close has closed the file all the same
    if (close(file->handle) != 0 && errno != EINTR) {
        fail(file, "Could not write", file->path, errno);
    }
    file->handle = -1;
}

void wholefile_rename(WholeFile* file)
{
    if (rename(file->temp, file->path) != 0) {
        fail(file, "Could not replace", file->path, errno);
    }
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
        wholefile_unsafe(file, std::strerror(error));
    }
    if (handle >= 0) {
        close(handle);
    }
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

WholeFileMove wholefile_take(const char* temp, const char* path, const char** reason)
{
    const int error = renameto(temp, path);
    if (error == 0) {
        return WHOLEFILE_MOVED;
    }
    *reason = std::strerror(error);
    return error == EEXIST ? WHOLEFILE_OCCUPIED : WHOLEFILE_UNMOVED;
}

WholeFileMove wholefile_moveaside(const char* path, const char* newname, const char** reason)
{
    struct stat taken;
    if (lstat(newname, &taken) == 0) {
        return WHOLEFILE_OCCUPIED;
    }
    if (rename(path, newname) == 0) {
        return WHOLEFILE_MOVED;
    }
    *reason = std::strerror(errno);
    return WHOLEFILE_UNMOVED;
}

void wholefile_settle(WholeFile* file)
{
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

size_t wholefile_readsome(int handle, u8* bytes, size_t size, const char** reason)
{
    ssize_t n;
    do {
        n = read(handle, bytes, size);
    } while (n < 0 && errno == EINTR);
    if (n < 0) {
        *reason = std::strerror(errno);
        return 0;
    }
    return static_cast<size_t>(n);
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

WholeFileRead wholefile_readopen(const char* path, size_t most, u8** bytes, size_t* size,
                                 const char** reason)
{
    const int handle = openold(path);
    if (handle < 0) {
        const int error = errno;
        if (error == ENOENT && !isdangling(path)) {
            return WHOLEFILE_MISSING;
        }
        *reason = error == ENOENT ? wholefile_nowhere : std::strerror(error);
        return WHOLEFILE_UNREADABLE;
    }
    struct stat now;
    if (fstat(handle, &now) != 0) {
        *reason = std::strerror(errno);
    } else if (S_ISREG(now.st_mode) || S_ISDIR(now.st_mode)) { // of a folder the first read fails
        *reason = wholefile_readall(handle, static_cast<size_t>(now.st_size), most, bytes, size);
    } else {
        *reason = wholefile_special;
    }
    close(handle);
    return *reason == nullptr ? WHOLEFILE_READ : WHOLEFILE_UNREADABLE;
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
