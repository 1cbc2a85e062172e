// The linker puts these in the places of the C runtime's: --wrap.
#include "tests/fakes/alloc_count.h"

// The count of a thread lies in memory that is allocated at its first use, which isn't counted.
static bool counting;

static void note()
{
    if (!counting) {
        counting = true;
        alloc_note();
        counting = false;
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
