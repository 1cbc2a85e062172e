// What the program's own code holds in memory, the driver's and other libraries' blocks left out. The
// program that links ownmemory.cpp is linked with --wrap for malloc, calloc, realloc, free and strdup:
// calls from the objects linked into it come here, those inside shared libraries don't.
#pragma once

#include <cstddef>

struct OwnMemory {
    std::ptrdiff_t blocks; // allocated and not yet freed
};
extern OwnMemory own_memory;

/// Bytes of the process that are in memory now, as the system counts them.
size_t resident_bytes();
