// What the tools share: one line for each fault, the help, the version, the reading of saved games.
#pragma once

#include "model/gamerec.h"

/// Exit codes of every tool; the others are its own.
enum { EXIT_DONE = 0, EXIT_BAD = 2 };

/// What its messages begin with: each tool gives its own name.
extern const char tool_name[];

/// Tells on standard error, behind the tool's name, what is wrong: in one line, whatever the names of
/// files hold. Always false, for the caller to pass on.
[[gnu::format(printf, 1, 2)]] bool tool_bad(const char* format, ...);

/// Prints what --help or --version asks for, wherever it stands among the arguments, which are not
/// read any further then; false without either.
bool tool_answer(const char* help, int argc, char** argv);

/// The exit code at the tool's end: `code`, or EXIT_BAD if standard output could not be written, which
/// it tells.
int tool_end(int code);

/// Reads a file whole into `*bytes`, owned by the caller and freed with free, with a 0 byte behind the
/// `*size` bytes; false if it can't be read, which it tells.
bool tool_readfile(const char* path, u8** bytes, size_t* size);

/// Loads a save file, which stays where it is even if it is no good; false if it can't be used, which
/// it tells. `out` is overwritten unread and freed by the caller with MazeGame_free. `size` receives
/// the size of the file.
bool tool_readworld(const char* path, MazeGame* out, size_t* size);
