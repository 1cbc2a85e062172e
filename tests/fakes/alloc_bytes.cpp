#include "tests/fakes/alloc_bytes.h"

#ifdef __SANITIZE_ADDRESS__

extern "C" size_t __sanitizer_get_allocated_size(const volatile void* ptr);
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*onmalloc)(const volatile void*,
                                                                          size_t),
                                                         void (*onfree)(const volatile void*));
[[maybe_unused]] static const int hooks = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, size_t size) { alloc_took(size); },
    [](const volatile void* ptr) { alloc_gave(__sanitizer_get_allocated_size(ptr)); });

#else

#    include <malloc.h>

extern "C" void* __libc_malloc(size_t size);
extern "C" void* __libc_calloc(size_t nmemb, size_t size);
extern "C" void* __libc_realloc(void* ptr, size_t size);
extern "C" void __libc_free(void* ptr);

extern "C" void* malloc(size_t size) noexcept
{
    void* const ptr = __libc_malloc(size);
    alloc_took(malloc_usable_size(ptr));
    return ptr;
}

extern "C" void* calloc(size_t nmemb, size_t size) noexcept
{
    void* const ptr = __libc_calloc(nmemb, size);
    alloc_took(malloc_usable_size(ptr));
    return ptr;
}

// Both blocks count while one is copied into the other.
extern "C" void* realloc(void* ptr, size_t size) noexcept
{
    const size_t before = malloc_usable_size(ptr);
    void* const larger = __libc_realloc(ptr, size);
    if (larger != nullptr) {
        alloc_took(malloc_usable_size(larger));
        alloc_gave(before);
    }
    return larger;
}

extern "C" void free(void* ptr) noexcept
{
    alloc_gave(malloc_usable_size(ptr));
    __libc_free(ptr);
}

#endif
