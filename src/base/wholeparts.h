// What the two halves of the whole-file module ask of each other: wholefile.cpp, the same everywhere,
// and wholefile_posix.cpp or wholefile_win32.cpp, which alone call the system's file routines. Nothing
// else includes this.
#pragma once

#include "base/wholefile.h"

enum {
    WHOLEFILE_BUFFER = 65536,
    WHOLEFILE_MAXTEMPS = 1000, // names tried for the new file
    WHOLEFILE_TEMPNAME = 300,  // chars that the name of a new file takes at most
};

// Reasons of our own.
extern const char* const wholefile_nowhere;  // a link that leads nowhere
extern const char* const wholefile_special;  // not a file in the plain sense
extern const char* const wholefile_unnaming; // a path that ends with its folder

// ---- wholefile.cpp

/// Remembers a failure in the sentence "WHAT NAME: REASON". The first one is the one that is told.
void wholefile_fail(WholeFile* file, const char* what, const char* name, const char* reason);

/// Tells in `why` of a file that was replaced, but may not be safe on the disk.
void wholefile_unsafe(WholeFile* file, const char* reason);

/// False if the path has no room in the WHOLEFILE_PATH chars of `out`, which has its beginning then.
bool wholefile_copypath(char* out, const char* path);

/// The beginning that the names of all new files for `name` share, .NAME.new-; `out` has
/// WHOLEFILE_TEMPNAME chars, with room for the rest. Returns its length.
int wholefile_tempstart(char* out, const char* name);

/// The whole name of a new file: with the number of its process behind, and that of the try from the
/// second try on.
void wholefile_tempname(char* out, const char* name, u32 process, i32 trial);

/// Whether `name` is one of those names; `start` is the beginning.
bool wholefile_istempname(const char* name, const char* start);

/// Reads on from `handle` into a buffer that grows, since the size that a file claims need not be
/// true. Gives null, or why not: also if there are more than `most` bytes.
const char* wholefile_readall(int handle, size_t expected, size_t most, u8** bytes, size_t* size);

// ---- wholefile_posix.cpp, wholefile_win32.cpp

/// Finds the full path of the file that is replaced and makes the new file. `path` has room in `file->path`,
/// where it stands before.
void wholefile_open(WholeFile* file, const char* path);

/// The same for a new file that gets a number.
void wholefile_open_numbered(WholeFile* file, const char* path);

/// Writes to the new file. Does nothing if a step has failed.
void wholefile_write(WholeFile* file, const u8* bytes, size_t size);

/// Makes the new file safe on the disk, unless a step has failed, and closes it.
void wholefile_seal(WholeFile* file);

/// Gives the new file the name of the one that it replaces.
void wholefile_rename(WholeFile* file);

/// Gives up what is left of making it: the new file itself if a step has failed. Else its name is made
/// safe on the disk.
void wholefile_settle(WholeFile* file);

/// Opens a file and reads it by wholefile_readall. `*reason` is told only of an unreadable one.
WholeFileRead wholefile_readopen(const char* path, size_t most, u8** bytes, size_t* size,
                                 const char** reason);

/// Reads at most `size` bytes and returns how many: 0 at the end. On an error it gives 0 and `*reason`.
size_t wholefile_readsome(int handle, u8* bytes, size_t size, const char** reason);

/// The part of a path behind its last folder.
const char* wholefile_name(const char* path);

enum WholeFileMove { WHOLEFILE_MOVED, WHOLEFILE_OCCUPIED, WHOLEFILE_UNMOVED };

/// Gives a new file a name that nothing has. OCCUPIED if something has it, with `*reason` if UNMOVED. Of
/// several processes that try the same name only one gets it.
WholeFileMove wholefile_take(const char* temp, const char* path, const char** reason);

/// The same for a file that goes out of the way.
WholeFileMove wholefile_moveaside(const char* path, const char* newname, const char** reason);
