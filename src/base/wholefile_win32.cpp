// Files on Windows. Paths are UTF-8 here and UTF-16 where the system is called, always in full, so that
// a long one can be marked as such. A handle is kept as the 32 bits of it that mean something.
#include "base/wholeparts.h"

#include <windows.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <fcntl.h>
#include <io.h>

enum {
    WIDEPATH = WHOLEFILE_PATH + 8, // with room for the mark of a long path
    MAXPLAIN = 240, // longer paths are marked; the system's own limit is a little above
    MAXMOVES = 20,  // how often a move is tried while another program has the file open
    PAUSE = 50,     // milliseconds between two tries
    SHAREALL = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
};

static const char* const held = "Another program has it open";
static const char* const unnamable = "The system takes no such name";
static const char* const untold = "It is a link, and the system does not tell to what";

// What the system has to say, for errors that are rare; written by errortext, good until its next call.
static char systemtext[512];

// Before main: what the C runtime prints, and the files that it opens for the logs, have the same bytes as
// elsewhere, without carriage returns.
[[gnu::constructor]] static void endlines()
{
    _fmode = _O_BINARY;
    for (int stream = 2; stream >= 0; stream--) {
        _setmode(stream, _O_BINARY);
    }
}

static HANDLE tohandle(int handle)
{
    return LongToHandle(handle);
}

static const char* systemerror(DWORD error)
{
    const DWORD how = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    wchar_t wide[256] = L"";
    FormatMessageW(how, nullptr, error, 0, wide, 256, nullptr);
    char text[400] = "";
    WideCharToMultiByte(CP_UTF8, 0, wide, -1, text, sizeof text, nullptr, nullptr);
    text[std::strcspn(text, "\r\n")] = 0;
    std::snprintf(systemtext, sizeof systemtext, "%s (error %lu)", text, error);
    return systemtext;
}

static const char* errortext(DWORD error)
{
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND: return std::strerror(ENOENT);
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT: return std::strerror(EACCES);
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION: return held;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL: return std::strerror(ENOSPC);
    case ERROR_FILENAME_EXCED_RANGE: return std::strerror(ENAMETOOLONG);
    case ERROR_INVALID_NAME: return unnamable;
    default: return systemerror(error);
    }
}

static void fail(WholeFile* file, const char* what, const char* name, DWORD error)
{
    wholefile_fail(file, what, name, errortext(error));
}

static bool isslash(wchar_t c)
{
    return c == L'/' || c == L'\\';
}

// The full path in the system's letters. False if it isn't UTF-8 or has no room.
static bool widen(wchar_t out[WIDEPATH], const char* path)
{
    wchar_t wide[WHOLEFILE_PATH];
    wchar_t full[WHOLEFILE_PATH];
    const int units =
        MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path, -1, wide, WHOLEFILE_PATH);
    const DWORD length = units > 0 ? GetFullPathNameW(wide, WHOLEFILE_PATH, full, nullptr) : 0;
    if (length == 0 || length >= WHOLEFILE_PATH) {
        return false;
    }
    const bool marked = wcsncmp(full, L"\\\\?\\", 4) == 0;
    const bool server = isslash(full[0]) && isslash(full[1]);
    const wchar_t* const mark = server ? L"\\\\?\\UNC" : L"\\\\?\\";
    const wchar_t* const rest = server ? full + 1 : full;
    out[0] = 0;
    if (length < MAXPLAIN || marked) {
        wcscpy(out, full);
    } else {
        wcscpy(out, mark);
        wcscat(out, rest);
    }
    return true;
}

// The way back, without the mark of a long path.
static bool narrow(char out[WHOLEFILE_PATH], wchar_t* wide)
{
    const wchar_t* from = wide;
    if (wcsncmp(wide, L"\\\\?\\UNC\\", 8) == 0) {
        wide[6] = L'\\';
        from = wide + 6;
    } else if (wcsncmp(wide, L"\\\\?\\", 4) == 0) {
        from = wide + 4;
    }
    return WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, from, -1, out, WHOLEFILE_PATH,
                               nullptr, nullptr) > 0;
}

const char* wholefile_name(const char* path)
{
    const char* name = path;
    for (const char* c = path; *c != 0; c++) { // upward, as text is read
        if (*c == '/' || *c == '\\' || *c == ':') {
            name = c + 1;
        }
    }
    return name;
}

// The folder of a bare name is "."; that of a drive keeps its slash.
static void splitpath(const char* path, char* folder, const char** name)
{
    *name = wholefile_name(path);
    size_t size = static_cast<size_t>(*name - path);
    if (size == 0) {
        wholefile_copypath(folder, ".");
        return;
    }
    if (size > 1 && path[size - 1] != ':' && path[size - 2] != ':') {
        size--;
    }
    std::memcpy(folder, path, size);
    folder[size] = 0;
}

static bool joinpath(char* out, const char* folder, const char* name)
{
    const bool slashed = *wholefile_name(folder) == 0;
    const int size =
        std::snprintf(out, WHOLEFILE_PATH, "%s%s%s", folder, slashed ? "" : "\\", name);
    return size < WHOLEFILE_PATH;
}

// Takes the full path, which stands for `path`, if it can be told.
static void takepath(WholeFile* file, const char* path, wchar_t* full)
{
    if (!narrow(file->path, full)) {
        wholefile_fail(file, "Could not write", path, unnamable);
    }
}

// A file that isn't there yet, in a folder that must be.
static void resolvenew(WholeFile* file, const char* path)
{
    char folder[WHOLEFILE_PATH];
    wchar_t wide[WIDEPATH];
    const char* name;
    splitpath(path, folder, &name);
    if (*name == 0) {
        wholefile_fail(file, "Could not write", path, wholefile_unnaming);
        return;
    }
    const DWORD attributes =
        widen(wide, folder) ? GetFileAttributesW(wide) : INVALID_FILE_ATTRIBUTES;
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        fail(file, "Could not find the folder", folder, GetLastError());
    } else if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        wholefile_fail(file, "Could not find the folder", folder, std::strerror(ENOTDIR));
    } else if (widen(wide, path)) {
        takepath(file, path, wide);
    } else {
        wholefile_fail(file, "Could not write", path, unnamable);
    }
}

// Opens what a path leads to, be it a folder, to look at it.
static HANDLE look(const wchar_t* wide)
{
    return CreateFileW(wide, FILE_READ_ATTRIBUTES, SHAREALL, nullptr, OPEN_EXISTING,
                       FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

static bool islink(const wchar_t* wide)
{
    const DWORD attributes = GetFileAttributesW(wide); // of the link, not of what it leads to
    return attributes != INVALID_FILE_ATTRIBUTES &&
           (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

// The path of what a link leads to. False if the system can't tell it, as for a drive without a letter.
static bool followed(wchar_t out[WIDEPATH], HANDLE handle)
{
    const DWORD length = GetFinalPathNameByHandleW(handle, out, WIDEPATH, FILE_NAME_NORMALIZED);
    return length > 0 && length < WIDEPATH;
}

// What is replaced must be a file that can be written. Its attributes go to `attributes`.
static void checkold(WholeFile* file, HANDLE handle, DWORD* attributes)
{
    BY_HANDLE_FILE_INFORMATION old;
    if (GetFileType(handle) != FILE_TYPE_DISK) {
        wholefile_fail(file, "Could not write", file->path, wholefile_special);
    } else if (GetFileInformationByHandle(handle, &old) == 0) {
        fail(file, "Could not look at", file->path, GetLastError());
    } else if ((old.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        wholefile_fail(file, "Could not write", file->path, std::strerror(EISDIR));
    } else if ((old.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0) {
        wholefile_fail(file, "Could not write", file->path, std::strerror(EACCES));
    } else {
        *attributes = old.dwFileAttributes;
    }
}

static bool ismissing(DWORD error)
{
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

// Finds the file that is replaced, links followed: true if it is there.
static bool resolve(WholeFile* file, const char* path, DWORD* attributes)
{
    wchar_t wide[WIDEPATH];
    if (!widen(wide, path)) {
        wholefile_fail(file, "Could not write", path, unnamable);
        return false;
    }
    HANDLE handle = look(wide);
    if (handle == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        if (ismissing(error) && islink(wide)) {
            wholefile_fail(file, "Could not write", path, wholefile_nowhere);
        } else if (ismissing(error)) {
            resolvenew(file, path);
        } else {
            fail(file, "Could not write", path, error);
        }
        return false;
    }
    if (islink(wide) && !followed(wide, handle)) {
        wholefile_fail(file, "Could not write", path, untold);
    } else {
        takepath(file, path, wide);
        checkold(file, handle, attributes);
    }
    CloseHandle(handle);
    return !file->failed;
}

// Takes a lock without waiting, far behind the bytes of the file: nobody is kept from reading it.
static bool takelock(HANDLE handle)
{
    OVERLAPPED where = {};
    where.OffsetHigh = 0x40000000;
    const DWORD how = LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY;
    return LockFileEx(handle, how, 0, 1, 0, &where) != 0;
}

// Removes a new file that nobody writes any more: its writer would have it open, or hold its lock.
static void removestale(const char* path)
{
    wchar_t wide[WIDEPATH];
    if (!widen(wide, path) || islink(wide)) {
        return;
    }
    HANDLE handle = CreateFileW(wide, GENERIC_READ, SHAREALL, nullptr, OPEN_EXISTING, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        return;
    }
    if (takelock(handle)) {
        DeleteFileW(wide);
    }
    CloseHandle(handle);
}

// Removes what runs that were cut off have left, which also makes room on a full disk. What can't be
// removed stays.
static void clearstale(const WholeFile* file)
{
    char folder[WHOLEFILE_PATH];
    char all[WHOLEFILE_PATH];
    char start[WHOLEFILE_TEMPNAME];
    wchar_t wide[WIDEPATH];
    const char* name;
    splitpath(file->path, folder, &name);
    wholefile_tempstart(start, name);
    WIN32_FIND_DATAW entry;
    const bool named = joinpath(all, folder, "*") && widen(wide, all);
    HANDLE list = named ? FindFirstFileW(wide, &entry) : INVALID_HANDLE_VALUE;
    if (list == INVALID_HANDLE_VALUE) {
        return;
    }
    do {
        char found[WHOLEFILE_PATH];
        char path[WHOLEFILE_PATH];
        if (narrow(found, entry.cFileName) && wholefile_istempname(found, start) &&
            joinpath(path, folder, found)) {
            removestale(path);
        }
    } while (FindNextFileW(list, &entry) != 0);
    FindClose(list);
}

// Makes a new file of its own: gives 0 or the error, ERROR_FILE_EXISTS if the name is another's. While
// it is open it can't be removed; its guard goes on locking it, and lets it be renamed.
static DWORD maketemp(WholeFile* file)
{
    wchar_t wide[WIDEPATH];
    if (!widen(wide, file->temp)) {
        return ERROR_INVALID_NAME;
    }
    HANDLE handle = CreateFileW(wide, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        return GetLastError();
    }
    HANDLE guard = CreateFileW(wide, GENERIC_READ, SHAREALL, nullptr, OPEN_EXISTING, 0, nullptr);
    if (guard != INVALID_HANDLE_VALUE && !takelock(guard)) { // of one who took it for a stale one
        CloseHandle(guard);
        CloseHandle(handle);
        DeleteFileW(wide);
        return ERROR_FILE_EXISTS;
    }
    file->handle = HandleToLong(handle);
    file->guard = HandleToLong(guard);
    return 0;
}

// Makes the new file. A name that is in use, or was left behind and can't be removed, is passed over.
static void opentemp(WholeFile* file)
{
    char folder[WHOLEFILE_PATH];
    const char* name;
    splitpath(file->path, folder, &name);
    DWORD error = ERROR_FILE_EXISTS;
    for (i32 i = 1; i <= WHOLEFILE_MAXTEMPS && error == ERROR_FILE_EXISTS; i++) { // upward
        char temp[WHOLEFILE_TEMPNAME];
        wholefile_tempname(temp, name, static_cast<u32>(GetCurrentProcessId()), i);
        error = joinpath(file->temp, folder, temp) ? maketemp(file) : ERROR_FILENAME_EXCED_RANGE;
    }
    if (error != 0) {
        fail(file, "Could not make a file in", folder, error);
        file->temp[0] = 0;
    }
}

static void makefile(WholeFile* file)
{
    if (file->failed) {
        return;
    }
    clearstale(file);
    opentemp(file);
}

// The new file takes over whether it is hidden, and who may use it, where the system lets it.
static void takeover(const WholeFile* file, DWORD attributes)
{
    wchar_t from[WIDEPATH];
    wchar_t to[WIDEPATH];
    if (!widen(from, file->path) || !widen(to, file->temp)) {
        return;
    }
    const DWORD kept = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE;
    SetFileAttributesW(to, (attributes & kept) | FILE_ATTRIBUTE_NORMAL);
    DWORD rights[4096];
    DWORD size;
    if (GetFileSecurityW(from, DACL_SECURITY_INFORMATION, rights, sizeof rights, &size) != 0) {
        SetFileSecurityW(to, DACL_SECURITY_INFORMATION, rights);
    }
}

void wholefile_open(WholeFile* file, const char* path)
{
    DWORD attributes = 0;
    const bool replaces = resolve(file, path, &attributes);
    makefile(file);
    if (!file->failed && replaces) {
        takeover(file, attributes);
    }
}

void wholefile_open_numbered(WholeFile* file, const char* path)
{
    resolvenew(file, path);
    makefile(file);
}

void wholefile_write(WholeFile* file, const u8* bytes, size_t size)
{
    const size_t most = 1 << 30; // in one call
    while (size > 0 && !file->failed) {
        const DWORD part = static_cast<DWORD>(size < most ? size : most);
        DWORD written = 0;
        if (WriteFile(tohandle(file->handle), bytes, part, &written, nullptr) == 0) {
            fail(file, "Could not write", file->path, GetLastError());
        } else if (written == 0) {
            fail(file, "Could not write", file->path, ERROR_DISK_FULL);
        }
        bytes += written;
        size -= written;
    }
}

void wholefile_seal(WholeFile* file)
{
    if (!file->failed && FlushFileBuffers(tohandle(file->handle)) == 0) {
        fail(file, "Could not write", file->path, GetLastError());
    }
    if (CloseHandle(tohandle(file->handle)) == 0) {
        fail(file, "Could not write", file->path, GetLastError());
    }
    file->handle = -1;
}

// Whether the error may pass: another program, be it one that looks for viruses, has a file open.
static bool ispassing(DWORD error)
{
    return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
           error == ERROR_ACCESS_DENIED;
}

// Moves a file and waits until the disk has it. Gives 0 or the error.
static DWORD move(const char* from, const char* to, DWORD how)
{
    wchar_t old[WIDEPATH];
    wchar_t now[WIDEPATH];
    if (!widen(old, from) || !widen(now, to)) {
        return ERROR_INVALID_NAME;
    }
    DWORD error = 0;
    for (i32 i = MAXMOVES - 1; i >= 0; i--) {
        error = MoveFileExW(old, now, how | MOVEFILE_WRITE_THROUGH) != 0 ? 0 : GetLastError();
        if (!ispassing(error)) {
            break;
        }
        Sleep(PAUSE);
    }
    return error;
}

void wholefile_rename(WholeFile* file)
{
    const DWORD error = move(file->temp, file->path, MOVEFILE_REPLACE_EXISTING);
    if (error != 0) {
        fail(file, "Could not replace", file->path, error);
    }
}

WholeFileMove wholefile_take(const char* temp, const char* path, const char** reason)
{
    const DWORD error = move(temp, path, 0);
    if (error == 0) {
        return WHOLEFILE_MOVED;
    }
    if (error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS) {
        return WHOLEFILE_OCCUPIED;
    }
    *reason = errortext(error);
    return WHOLEFILE_UNMOVED;
}

WholeFileMove wholefile_moveaside(const char* path, const char* newname, const char** reason)
{
    return wholefile_take(path, newname, reason);
}

// The name itself is safe: the move has waited for that.
void wholefile_settle(WholeFile* file)
{
    if (file->failed) {
        wholefile_remove(file->temp);
    }
    if (file->guard != -1) {
        CloseHandle(tohandle(file->guard));
        file->guard = -1;
    }
}

size_t wholefile_readsome(int handle, u8* bytes, size_t size, const char** reason)
{
    const size_t most = 1 << 30; // in one call
    DWORD count = 0;
    const DWORD part = static_cast<DWORD>(size < most ? size : most);
    if (ReadFile(tohandle(handle), bytes, part, &count, nullptr) == 0) {
        *reason = errortext(GetLastError());
        return 0;
    }
    return count;
}

// Opens a file, or a folder, to read it. A program that has it open alone is waited for.
static HANDLE openold(const wchar_t* wide)
{
    for (i32 i = MAXMOVES - 1;; i--) {
        HANDLE handle = CreateFileW(wide, GENERIC_READ, SHAREALL, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS, nullptr);
        if (handle != INVALID_HANDLE_VALUE || GetLastError() != ERROR_SHARING_VIOLATION || i == 0) {
            return handle;
        }
        Sleep(PAUSE);
    }
}

static const char* readopened(HANDLE handle, size_t most, u8** bytes, size_t* size)
{
    BY_HANDLE_FILE_INFORMATION now;
    if (GetFileType(handle) != FILE_TYPE_DISK) {
        return wholefile_special;
    }
    if (GetFileInformationByHandle(handle, &now) == 0) {
        return errortext(GetLastError());
    }
    if ((now.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return std::strerror(EISDIR);
    }
    const size_t expected = (static_cast<size_t>(now.nFileSizeHigh) << 32) + now.nFileSizeLow;
    return wholefile_readall(HandleToLong(handle), expected, most, bytes, size);
}

WholeFileRead wholefile_readopen(const char* path, size_t most, u8** bytes, size_t* size,
                                 const char** reason)
{
    wchar_t wide[WIDEPATH];
    if (!widen(wide, path)) {
        *reason = unnamable;
        return WHOLEFILE_UNREADABLE;
    }
    HANDLE handle = openold(wide);
    if (handle == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        if (ismissing(error) && !islink(wide)) {
            return WHOLEFILE_MISSING;
        }
        *reason = ismissing(error) ? wholefile_nowhere : errortext(error);
        return WHOLEFILE_UNREADABLE;
    }
    *reason = readopened(handle, most, bytes, size);
    CloseHandle(handle);
    return *reason == nullptr ? WHOLEFILE_READ : WHOLEFILE_UNREADABLE;
}

void wholefile_remove(const char* path)
{
    wchar_t wide[WIDEPATH];
    if (widen(wide, path)) {
        DeleteFileW(wide); // a folder refuses
    }
}

// A folder can't be locked as such: a mutex stands for it, named by the folder's number on its volume.
// It is gone with its last holder, and all users of the machine see it.
WholeFileLock wholefile_lock(const char* folder, int* handle)
{
    *handle = -1;
    wchar_t wide[WIDEPATH];
    BY_HANDLE_FILE_INFORMATION place = {};
    HANDLE opened = widen(wide, folder) ? look(wide) : INVALID_HANDLE_VALUE;
    if (opened == INVALID_HANDLE_VALUE) {
        return WHOLEFILE_LOCKLESS;
    }
    const bool known = GetFileInformationByHandle(opened, &place) != 0;
    CloseHandle(opened);
    if (!known || (place.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        return WHOLEFILE_LOCKLESS;
    }
    char name[64];
    std::snprintf(name, sizeof name, "Global\\Corvane-folder-%lx-%lx-%lx",
                  place.dwVolumeSerialNumber, place.nFileIndexHigh, place.nFileIndexLow);
    HANDLE mutex = CreateMutexA(nullptr, FALSE, name);
    const DWORD error = GetLastError();
    if (mutex != nullptr && error != ERROR_ALREADY_EXISTS) {
        *handle = HandleToLong(mutex);
        return WHOLEFILE_LOCKED;
    }
    if (mutex != nullptr) {
        CloseHandle(mutex);
        return WHOLEFILE_TAKEN;
    }
    return error == ERROR_ACCESS_DENIED ? WHOLEFILE_TAKEN : WHOLEFILE_LOCKLESS;
}

void wholefile_unlock(int handle)
{
    if (handle != -1) {
        CloseHandle(tohandle(handle));
    }
}
