// The end of a process that a test has forked off.
#pragma once

#include <unistd.h>

extern "C" void __gcov_dump() __attribute__((weak)); // there while lines are counted

/// Ends the process without what its parent has registered for its own exit, but keeps the count of the
/// lines that ran.
[[noreturn]] inline void end_child(int code)
{
    if (__gcov_dump != nullptr) {
        __gcov_dump();
    }
    _exit(code);
}
