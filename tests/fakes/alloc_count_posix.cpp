#include "tests/fakes/alloc_count.h"

#ifdef __SANITIZE_ADDRESS__

extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*onmalloc)(const volatile void*,
                                                                          size_t),
                                                         void (*onfree)(const volatile void*));
[[maybe_unused]] static const int hooks = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, size_t) { alloc_note(); }, [](const volatile void*) {});

#else

extern "C" void* __libc_malloc(size_t size);
extern "C" void* __libc_calloc(size_t nmemb, size_t size);
extern "C" void* __libc_realloc(void* ptr, size_t size);

extern "C" void* malloc(size_t size) noexcept
{
    alloc_note();
    return __libc_malloc(size);
}

extern "C" void* calloc(size_t nmemb, size_t size) noexcept
{
    alloc_note();
    return __libc_calloc(nmemb, size);
}

extern "C" void* realloc(void* ptr, size_t size) noexcept
{
    alloc_note();
    return __libc_realloc(ptr, size);
}

#endif
