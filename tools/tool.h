// What the tools share: one line for each fault, the help, the version.
#pragma once

#include <cstdarg>

/// Exit codes of every tool; the others are its own.
enum { EXIT_DONE = 0, EXIT_BAD = 2 };

/// Tells on standard error, behind the tool's name, what is wrong: in one line, whatever the names of
/// files hold.
void tool_tell(const char* name, const char* format, std::va_list arguments);

/// Prints what --help or --version asks for, wherever it stands among the arguments, which are not
/// read any further then; false without either.
bool tool_answer(const char* name, const char* help, int argc, char** argv);

/// The exit code at the tool's end: `code`, or EXIT_BAD if standard output could not be written, which
/// it tells.
int tool_end(const char* name, int code);
