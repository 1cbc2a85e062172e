// The commands of corvane-world, and what they share. Each gives the exit code of the program.
#pragma once

#include "model/gamerec.h"
#include "model/savelayout.h"
#include "tool.h"

enum { EXIT_UNSOUND = 1 };

/// What its messages begin with.
inline const char tool_name[] = "corvane-world";

/// Tells in one line on standard error what is wrong. Gives EXIT_BAD for the caller to pass on.
[[gnu::format(printf, 1, 2)]] int bad(const char* format, ...);

/// Reads a file whole into `*bytes`, owned by the caller and freed with free; false if it can't be
/// read, which it tells.
bool readfile(const char* path, u8** bytes, size_t* size);

/// Loads a save file, which stays where it is even if it is no good; false if it can't be used, which
/// it tells. `out` is overwritten unread and freed by the caller with MazeGame_free. `size` receives
/// the size of the file.
bool readworld(const char* path, MazeGame* out, size_t* size);

/// Names a maze by the node numbers that lead to it from the root: "root maze", "maze 1/17".
void nameplace(const Maze* maze, char out[SAVE_PLACE]);

/// Writes graph=HEX place=HEX to standard output, without ending the line.
void printdigest(const Maze* root);

/// Makes a world as the options in `words` say, of which there are `count`.
int command_make(char** words, int count);

/// The other commands take one file, and dump the one that it makes.
int command_check(char** words, int count);
int command_info(char** words, int count);
int command_digest(char** words, int count);
int command_dump(char** words, int count);
