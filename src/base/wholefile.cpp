#include "base/wholeparts.h"

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

enum {
    MAXSETASIDE = 99999, // names tried for a file that goes out of the way
    MAXNUMBER = 99999,   // names tried for a file that replaces none
};

const char* const wholefile_nowhere = "It is a link to a file that is not there";
const char* const wholefile_special = "It is not an ordinary file";
const char* const wholefile_unnaming = "It does not name a file";
static const char* const nonameleft = "No name is left for it";

[[gnu::format(printf, 2, 3)]] static void tell(char* why, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    std::vsnprintf(why, WHOLEFILE_WHY, format, args);
    va_end(args);
}

void wholefile_fail(WholeFile* file, const char* what, const char* name, const char* reason)
{
    if (!file->failed) {
        tell(file->why, "%s %s: %s", what, name, reason);
        file->failed = true;
    }
}

void wholefile_unsafe(WholeFile* file, const char* reason)
{
    tell(file->why, "The disk may not have all yet of the new %s: %s", file->path, reason);
}

bool wholefile_copypath(char* out, const char* path)
{
    return std::snprintf(out, WHOLEFILE_PATH, "%s", path) < WHOLEFILE_PATH;
}

int wholefile_tempstart(char* out, const char* name)
{
    return std::snprintf(out, WHOLEFILE_TEMPNAME, ".%.200s.new-", name);
}

void wholefile_tempname(char* out, const char* name, u32 process, i32 trial)
{
    char* const end = out + wholefile_tempstart(out, name);
    const size_t room = WHOLEFILE_TEMPNAME - static_cast<size_t>(end - out);
    std::snprintf(end, room, trial > 1 ? "%u-%d" : "%u", process, trial);
}

bool wholefile_istempname(const char* name, const char* start)
{
    const size_t size = std::strlen(start);
    return std::strncmp(name, start, size) == 0 && name[size] != 0 &&
           name[size + std::strspn(name + size, "-0123456789")] == 0;
}

// The buffer of a file that has been opened.
static void makebuffer(WholeFile* file)
{
    if (file->handle < 0 || file->failed) {
        return;
    }
    file->buf = static_cast<u8*>(std::malloc(WHOLEFILE_BUFFER));
    if (file->buf == nullptr) {
        wholefile_fail(file, "Could not write", file->path, std::strerror(ENOMEM));
    }
}

// False if the path has no room.
static bool startfile(WholeFile* file, const char* path)
{
    *file = {};
    file->handle = -1;
    file->guard = -1;
    if (!wholefile_copypath(file->path, path)) {
        wholefile_fail(file, "Could not write", path, std::strerror(ENAMETOOLONG));
    }
    return !file->failed;
}

void wholefile_begin(WholeFile* file, const char* path)
{
    if (startfile(file, path)) {
        wholefile_open(file, path);
        makebuffer(file);
    }
}

void wholefile_begin_numbered(WholeFile* file, const char* path)
{
    if (startfile(file, path)) {
        file->numbered = true;
        wholefile_open_numbered(file, path);
        makebuffer(file);
    }
}

void wholefile_put(WholeFile* file, const void* bytes, size_t size)
{
    if (file->failed || size == 0) {
        return;
    }
    if (size > WHOLEFILE_BUFFER - file->used) {
        wholefile_write(file, file->buf, file->used);
        file->used = 0;
    }
    if (size > WHOLEFILE_BUFFER) {
        wholefile_write(file, static_cast<const u8*>(bytes), size);
        return;
    }
    std::memcpy(file->buf + file->used, bytes, size);
    file->used += size;
}

// Puts a number before the ending of the file's name: maze_save-2.dat.
static bool numberpath(char* out, const char* path, i32 number)
{
    const char* const name = wholefile_name(path);
    const char* const dot = std::strrchr(name, '.');
    const char* const ending = dot != nullptr && dot != name ? dot : name + std::strlen(name);
    const int size = std::snprintf(out, WHOLEFILE_PATH, "%.*s-%d%s",
                                   static_cast<int>(ending - path), path, number, ending);
    return size < WHOLEFILE_PATH;
}

static void renamenumbered(WholeFile* file)
{
    for (i32 i = 2; i <= MAXNUMBER; i++) { // upward, for the lowest free number
        char path[WHOLEFILE_PATH];
        const char* reason = std::strerror(ENAMETOOLONG);
        const WholeFileMove moved = numberpath(path, file->path, i)
                                        ? wholefile_take(file->temp, path, &reason)
                                        : WHOLEFILE_UNMOVED;
        if (moved == WHOLEFILE_MOVED) {
            wholefile_copypath(file->path, path);
            return;
        }
        if (moved == WHOLEFILE_UNMOVED) {
            wholefile_fail(file, "Could not make", path, reason);
            return;
        }
    }
    wholefile_fail(file, "Could not write a file beside", file->path, nonameleft);
}

static void replace(WholeFile* file)
{
    wholefile_write(file, file->buf, file->used);
    wholefile_seal(file);
    if (!file->failed && file->numbered) {
        renamenumbered(file);
    } else if (!file->failed) {
        wholefile_rename(file);
    }
    wholefile_settle(file);
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

const char* wholefile_readall(int handle, size_t expected, size_t most, u8** bytes, size_t* size)
{
    if (expected > most) {
        return std::strerror(EFBIG);
    }
    size_t capacity = expected + 2; // the byte behind, and one for seeing the end
    u8* buf = static_cast<u8*>(std::malloc(capacity));
    if (buf == nullptr) {
        return std::strerror(ENOMEM);
    }
    size_t used = 0;
    const char* reason = nullptr;
    for (size_t n = 1; n != 0 && reason == nullptr;) {
        n = wholefile_readsome(handle, buf + used, capacity - 1 - used, &reason);
        used += n;
        if (used > most) {
            reason = std::strerror(EFBIG);
        } else if (used == capacity - 1) {
            capacity *= 2;
            u8* const larger = static_cast<u8*>(std::realloc(buf, capacity));
            reason = larger != nullptr ? reason : std::strerror(ENOMEM);
            buf = larger != nullptr ? larger : buf;
        }
    }
    if (reason != nullptr) {
        std::free(buf);
        return reason;
    }
    buf[used] = 0;
    *bytes = buf;
    *size = used;
    return nullptr;
}

WholeFileRead wholefile_readmost(const char* path, size_t most, u8** bytes, size_t* size, char* why)
{
    *bytes = nullptr;
    *size = 0;
    const char* reason = nullptr;
    const WholeFileRead outcome = wholefile_readopen(path, most, bytes, size, &reason);
    if (outcome == WHOLEFILE_UNREADABLE) {
        tell(why, "Could not read %s: %s", path, reason);
    }
    return outcome;
}

WholeFileRead wholefile_read(const char* path, u8** bytes, size_t* size, char* why)
{
    return wholefile_readmost(path, SIZE_MAX, bytes, size, why);
}

bool wholefile_setaside(const char* path, char* newname, char* why)
{
    const char* reason = nonameleft;
    for (i32 i = 1; i <= MAXSETASIDE; i++) { // upward, the plain name first
        const int size = i == 1 ? std::snprintf(newname, WHOLEFILE_PATH, "%s.bad", path)
                                : std::snprintf(newname, WHOLEFILE_PATH, "%s.bad-%d", path, i);
        if (size >= WHOLEFILE_PATH) {
            break;
        }
        const WholeFileMove moved = wholefile_moveaside(path, newname, &reason);
        if (moved == WHOLEFILE_MOVED) {
            return true;
        }
        if (moved == WHOLEFILE_UNMOVED) {
            break;
        }
    }
    tell(why, "Could not rename %s: %s", path, reason);
    return false;
}
