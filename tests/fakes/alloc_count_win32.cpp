// The linker puts these in the places of the C runtime's: --wrap.
#include "tests/fakes/alloc_count.h"

extern "C" void* __real_malloc(size_t size);
extern "C" void* __real_calloc(size_t nmemb, size_t size);
extern "C" void* __real_realloc(void* ptr, size_t size);
extern "C" void* __wrap_malloc(size_t size);
extern "C" void* __wrap_calloc(size_t nmemb, size_t size);
extern "C" void* __wrap_realloc(void* ptr, size_t size);

void* __wrap_malloc(size_t size)
{
    alloc_note();
    return __real_malloc(size);
}

void* __wrap_calloc(size_t nmemb, size_t size)
{
    alloc_note();
    return __real_calloc(nmemb, size);
}

void* __wrap_realloc(void* ptr, size_t size)
{
    alloc_note();
    return __real_realloc(ptr, size);
}
