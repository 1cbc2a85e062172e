// A file is replaced whole or not at all, and read whole. The only module that calls the operating
// system's file routines.
//
// A replacement is written to a new file in the same folder, synced, renamed over the old one, and
// the folder is synced; until the rename the old file stands untouched. A path that is a symbolic
// link to a file is kept as a link: what it points to is replaced. A link that leads nowhere, a folder,
// a device and a write-protected file are refused. The permission bits of the old file are kept, and
// its owner where the system lets it. Failures are told by a text, never by ending the process: from
// the first replacement on SIGXFSZ is ignored, so that the limit of a file's size is one of them.
//
// On Windows what is kept is who may use the old file and whether it is hidden, and the rename itself waits
// for the disk. There a file that another program has open can't be renamed or replaced: that is tried for
// about a second.
//
// Until it has its name the new file is called .NAME.new-PROCESS and is locked by its writer. A run that
// is killed meanwhile leaves it behind, without the lock; the next replacement of the same file removes
// it. What another process is writing is never removed. Where there are no locks such files stay.
//
// A folder can be locked against other processes, so that one of them alone replaces its files.
#pragma once

#include "base/types.h"

#include <cstddef>

enum { WHOLEFILE_PATH = 4096, WHOLEFILE_WHY = 5000 };

struct WholeFile {
    int handle;                // of the new file, -1 if there is none
    int guard;                 // keeps the lock of the new file until it has its name, or -1
    bool failed;               // a step has failed; later steps do nothing
    bool numbered;             // it gets a free name, and replaces nothing
    u8* buf;                   // owned, bytes not yet written
    size_t used;               // bytes in buf
    char path[WHOLEFILE_PATH]; // the file that is replaced, or the new one by its number
    char temp[WHOLEFILE_PATH]; // the new file
    char why[WHOLEFILE_WHY];   // what failed, in a sentence; empty if nothing has
};

/// Begins a replacement of the file at `path`. A failure is remembered and told by the end.
void wholefile_begin(WholeFile* file, const char* path);

/// Begins a new file beside the one at `path` that never replaces another: at the end it gets the first
/// free name in the manner of maze_save-2.dat, maze_save-3.dat and so on, which stands in `path` then.
/// Of several processes that end one at the same time each gets a name of its own.
void wholefile_begin_numbered(WholeFile* file, const char* path);

/// Appends bytes. Does nothing if a step has failed.
void wholefile_put(WholeFile* file, const void* bytes, size_t size);

/// Ends the replacement: true if the file at `path` is now the new one. It is safe on the disk if `why`
/// is empty; otherwise the very last step has failed, the sync of the folder, and after a loss of power
/// the old one may be back. False if the old one is whole and the new one is gone; `why` tells what
/// happened. A new file by its number ends the same way, but for the old one.
bool wholefile_end(WholeFile* file);

enum WholeFileRead { WHOLEFILE_READ, WHOLEFILE_MISSING, WHOLEFILE_UNREADABLE };

/// Reads a file whole into `*bytes`, owned by the caller and freed with free, with a 0 byte behind
/// the `*size` bytes. A missing file and one that can't be read (a folder, a device and a link that
/// leads nowhere among them) give a null `*bytes`; for the latter `why` (WHOLEFILE_WHY chars) tells
/// what happened.
WholeFileRead wholefile_read(const char* path, u8** bytes, size_t* size, char* why);

/// The same, but a file of more than `most` bytes can't be read. Takes memory for twice `most` at most.
WholeFileRead wholefile_readmost(const char* path, size_t most, u8** bytes, size_t* size,
                                 char* why);

/// Renames a file out of the way: to path.bad, or path.bad-2 and so on if that exists. `newname`
/// (WHOLEFILE_PATH chars) receives the name. False if the file could not be renamed, with `why` as
/// above; the file is then where it was.
bool wholefile_setaside(const char* path, char* newname, char* why);

/// Removes a file, or the link that `path` is. Does nothing if it isn't there, can't be removed, or is a
/// folder.
void wholefile_remove(const char* path);

enum WholeFileLock {
    WHOLEFILE_LOCKED,   // this process holds the lock
    WHOLEFILE_TAKEN,    // another holder has it
    WHOLEFILE_LOCKLESS, // neither: the folder can't be read, or its file system knows no locks
};

/// Takes the lock of a folder without waiting. The lock is on the folder itself: it leaves no file
/// behind, needs a folder that can be read and not one that can be written, and holds whatever path
/// led there. The system frees it when the process ends, however it ends; a process that is forked
/// off while it is held shares it. On Windows it is seen by the processes of this machine only. `handle`
/// receives what wholefile_unlock wants, -1 if not LOCKED.
WholeFileLock wholefile_lock(const char* folder, int* handle);

/// Frees the lock. Does nothing for -1.
void wholefile_unlock(int handle);
