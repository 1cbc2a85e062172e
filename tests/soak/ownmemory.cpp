#include "tests/soak/ownmemory.h"

#include <cstdio>
#include <unistd.h>

OwnMemory own_memory;

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
void __real_free(void* block);
char* __real_strdup(const char* text);
void* __wrap_malloc(size_t size);
void* __wrap_calloc(size_t count, size_t size);
void* __wrap_realloc(void* block, size_t size);
void __wrap_free(void* block);
char* __wrap_strdup(const char* text);
}

static void take(void* block)
{
    if (block != nullptr) {
        own_memory.blocks++;
    }
}

static void give(void* block)
{
    if (block != nullptr) {
        own_memory.blocks--;
    }
}

void* __wrap_malloc(size_t size)
{
    void* const block = __real_malloc(size);
    take(block);
    return block;
}

void* __wrap_calloc(size_t count, size_t size)
{
    void* const block = __real_calloc(count, size);
    take(block);
    return block;
}

void* __wrap_realloc(void* block, size_t size)
{
    give(block);
    void* const larger = __real_realloc(block, size);
    take(larger != nullptr ? larger : block);
    return larger;
}

void __wrap_free(void* block)
{
    give(block);
    __real_free(block);
}

char* __wrap_strdup(const char* text)
{
    char* const copy = __real_strdup(text);
    take(copy);
    return copy;
}

size_t resident_bytes()
{
    long pages = 0;
    std::FILE* const in = std::fopen("/proc/self/statm", "r");
    if (in != nullptr) {
        if (std::fscanf(in, "%*s %ld", &pages) != 1) {
            pages = 0;
        }
        std::fclose(in);
    }
    return static_cast<size_t>(pages) * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}
