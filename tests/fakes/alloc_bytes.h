// How much memory the program's own allocations hold, and have held at most. Link alloc_bytes.cpp; the
// tests that ask run one thread.
#pragma once

#include <cstddef>

inline std::ptrdiff_t alloc_held; // by allocations since the start, less what has been freed
inline std::ptrdiff_t alloc_peak; // the most since the last call of alloc_peak_begin

/// Starts a measurement: alloc_peak then counts what is held beyond this moment.
inline std::ptrdiff_t alloc_peak_begin()
{
    alloc_peak = alloc_held;
    return alloc_held;
}

inline void alloc_took(size_t size)
{
    alloc_held += static_cast<std::ptrdiff_t>(size);
    alloc_peak = alloc_held > alloc_peak ? alloc_held : alloc_peak;
}

inline void alloc_gave(size_t size)
{
    alloc_held -= static_cast<std::ptrdiff_t>(size);
}
