// The linker puts these in the places of the C runtime's: --wrap.
#include "tests/fakes/alloc_count.h"

#include <windows.h>

// The thread whose allocations are counted, the first; 0 until its counts stand in memory. That memory is
// allocated at their first use, under a lock that a count at this moment would wait for.
static DWORD counted;

[[gnu::constructor]] static void begin()
{
    alloc_count = 0;
    gl_depth = 0;
    counted = GetCurrentThreadId();
}

static void note()
{
    if (GetCurrentThreadId() == counted) {
        alloc_note();
    }
}

extern "C" void* __real_malloc(size_t size);
extern "C" void* __real_calloc(size_t nmemb, size_t size);
extern "C" void* __real_realloc(void* ptr, size_t size);
extern "C" void* __wrap_malloc(size_t size);
extern "C" void* __wrap_calloc(size_t nmemb, size_t size);
extern "C" void* __wrap_realloc(void* ptr, size_t size);

void* __wrap_malloc(size_t size)
{
    note();
    return __real_malloc(size);
}

void* __wrap_calloc(size_t nmemb, size_t size)
{
    note();
    return __real_calloc(nmemb, size);
}

void* __wrap_realloc(void* ptr, size_t size)
{
    note();
    return __real_realloc(ptr, size);
}
