// Counts the allocations of the program's own code, those inside calls of OpenGL left out. Link
// alloc_count_posix.cpp or alloc_count_win32.cpp, and gl_count.cpp.
#pragma once

#include "tests/fakes/gl_count.h"

#include <cstddef>

inline thread_local i32 alloc_count; // of this thread

inline void alloc_note()
{
    alloc_count += gl_depth == 0 ? 1 : 0;
}
