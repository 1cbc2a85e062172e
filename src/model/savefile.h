// The save file: the tree of mazes by recursion, the player's node, and an image of the game record
// from the clock on. Little-endian, no header.
//
// Not kept: attachments, `expandable`, bounds, the player's step, the roamers. The padding of a visit
// record and the header of the roamer array are written as zeros and never read.
// What is written can be loaded: a number that isn't finite is written as 0, or as -1 for a time of
// passage, and a negative clock as 0; visitednodes is counted anew, and exitsused keeps the bits of
// ports only.
// Loading trusts nothing in the file: it is checked whole before anything is built.
#pragma once

#include "base/wholefile.h"
#include "model/gamerec.h"

enum { SAVE_MAXLEVELS = 1000, SAVE_WHY = 6000 };

/// Appends the block of one maze and of all below it; `current` is the maze that carries the mark.
/// Recursive by level.
void Maze_save(const Maze* maze, WholeFile* file, const Maze* current);

/// Writes the game to `path`, replacing a file there whole. False if that failed: the old file is then
/// as it was, and `why` (SAVE_WHY chars) tells what happened. True with a text in `why` if the new file
/// is in place, but may not outlast a loss of power.
bool MazeGame_save(const MazeGame* game, const char* path, char* why);

/// Writes the game beside `path`, in a file that replaces none: maze_save-2.dat for maze_save.dat, or
/// with the next number that is free. `newname` (WHOLEFILE_PATH chars) receives its full path. False
/// if that failed; `why` as above.
bool MazeGame_savebeside(const MazeGame* game, const char* path, char* newname, char* why);

enum SaveVerdict {
    SAVE_SOUND,
    SAVE_UNSOUND,    // the blocks can be told apart, but what they hold is wrong
    SAVE_UNREADABLE, // the bytes end before the blocks do, or are no blocks
};

/// Judges `size` bytes as a save file. If they are not sound, `why` (SAVE_WHY chars) tells the first
/// fault and where it is, as "maze 1/17, node 3: edge to 12 of 10" with the path of node numbers from
/// the root. Counts are checked against the bytes that are left before anything is allocated; memory
/// stays below the size of the file, and time linear in it.
///
/// Sound is: nothing missing or left over; marks and submaze bytes 0 or 1; one maze marked, and the
/// player on a node of it that holds none; at most SAVE_MAXLEVELS levels; each maze with a node, and
/// with as many as it has ports; no submaze in a port; at most 8 edges to a node, in range, none to
/// itself, as often there as back; all numbers finite, and the clock not negative; visitednodes the
/// count of nodes walked on, and no bit of exitsused above the ports. That the ports of a maze are
/// joined is not asked for: a world can be played without, and must not be lost for it.
SaveVerdict savefile_check(const u8* bytes, size_t size, char* why);

/// The same, and asks as well that the ports of each maze are joined on its own level, as they are in
/// every world that is generated: what loads and can't be crossed is SAVE_UNSOUND.
SaveVerdict savefile_checkcrossed(const u8* bytes, size_t size, char* why);

/// Builds a game from bytes that savefile_check has found sound. `out` is overwritten unread.
void savefile_build(MazeGame* out, const u8* bytes, size_t size);

enum SaveLoad {
    SAVE_LOADED,
    SAVE_MISSING,
    SAVE_REFUSED, // and out of the way
    SAVE_STUCK,   // refused, but still at its place: nothing may be written over it
};

/// Loads the game at `path`. A file that can't be read or isn't sound is renamed out of the way, if it
/// can be; `why` (SAVE_WHY chars) then tells what was wrong and where the file is now. `out` is written
/// only with SAVE_LOADED.
SaveLoad MazeGame_load(MazeGame* out, const char* path, char* why);

/// As MazeGame_load, but the file at `path` is another's and is only read: one that is refused stays
/// where it is, with SAVE_STUCK.
SaveLoad MazeGame_loadshared(MazeGame* out, const char* path, char* why);
