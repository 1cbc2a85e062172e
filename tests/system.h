// What tests ask of the system: system_posix.cpp and system_win32.cpp answer.
#pragma once

#include <string>

/// A new empty folder in the folder `in`; full path, without a slash at the end.
std::string system_newfolder(const std::string& in);

/// A folder in memory where the system has a place for that, or else that of temporary files.
std::string system_quickfolder();

/// The number of this process.
long system_process();

/// The OpenGL routine of the library, where the test program has put one of its own in its place.
void* system_libraryroutine(const char* name);

/// Runs a command in a folder, with files that take what it prints. On Windows it is a program and its
/// arguments, elsewhere the shell takes it. Returns the exit code, or 128 and the signal.
int system_run(const std::string& folder, const std::string& command, const std::string& out,
               const std::string& err);

/// The golden worlds that this system makes otherwise; empty: none.
std::string system_otherworlds();
