#include "base/growarray.h"

#include <cstdlib>
#include <cstring>

i32 array_defaultcap = 1;

static u32 sortsize; // element size for comparebytes; written by GrowArray_sortunique only

static f64 targetfill(const GrowArray* array)
{
    return static_cast<f64>(array->growth) * 0.005 + 0.5;
}

static void setcapacity(GrowArray* array, u32 capacity)
{
    const size_t size = static_cast<size_t>(capacity) * array->elemsize;
    u8* const buf = static_cast<u8*>(std::malloc(size > 0 ? size : 1));
    std::memcpy(buf, array->buf, static_cast<size_t>(array->count) * array->elemsize);
    std::free(array->buf);
    array->buf = buf;
    array->capacity = capacity;
    if (array->backptr != nullptr) {
        *array->backptr = buf;
    }
}

void GrowArray_init(GrowArray* array, u32 elemsize)
{
    const u32 capacity = static_cast<u32>(array_defaultcap);
    *array = {.buf = static_cast<u8*>(std::malloc(static_cast<size_t>(capacity) * elemsize)),
              .backptr = nullptr,
              .count = 0,
              .capacity = capacity,
              .mincapacity = capacity,
              .elemsize = elemsize,
              .growth = 60.0F};
}

u32 GrowArray_push(GrowArray* array, const void* element)
{
    if (array->count >= array->capacity) {
        setcapacity(array, static_cast<u32>((array->count + 1.0) / targetfill(array)));
    }
    std::memcpy(array->buf + static_cast<size_t>(array->count) * array->elemsize, element,
                array->elemsize);
    return array->count++;
}

void GrowArray_append(GrowArray* array, const void* elements, u32 n)
{
    if (n == 0) {
        return;
    }
    const u32 count = array->count + n;
    if (count > array->capacity) {
        // the sum in single precision, the quotient in double
        const f64 sum = static_cast<f64>(static_cast<f32>(count));
        setcapacity(array, static_cast<u32>(sum / targetfill(array)));
    }
    std::memcpy(array->buf + static_cast<size_t>(array->count) * array->elemsize, elements,
                static_cast<size_t>(n) * array->elemsize);
    array->count = count;
}

void GrowArray_reserve(GrowArray* array, u32 capacity)
{
    if (capacity > array->capacity) {
        setcapacity(array, capacity);
    }
}

void GrowArray_remove(GrowArray* array, u32 index)
{
    const u32 n = array->count - 1;
    if (array->count == 0 || index > n) {
        return;
    }
    if (index < n) {
        std::memcpy(array->buf + static_cast<size_t>(index) * array->elemsize,
                    array->buf + static_cast<size_t>(n) * array->elemsize, array->elemsize);
    }
    array->count = n;
    const f32 fill = static_cast<f32>(n) / static_cast<f32>(array->capacity);
    if (static_cast<f64>(array->growth) * 0.01 > static_cast<f64>(fill) &&
        array->capacity > array->mincapacity) {
        const u32 wanted = static_cast<u32>(n / targetfill(array));
        setcapacity(array, wanted > array->mincapacity ? wanted : array->mincapacity);
    }
}

static int comparebytes(const void* a, const void* b)
{
    return std::memcmp(a, b, sortsize);
}

void GrowArray_sortunique(GrowArray* array)
{
    sortsize = array->elemsize;
    std::qsort(array->buf, array->count, array->elemsize, comparebytes);
    for (i32 i = static_cast<i32>(array->count) - 1; i >= 1; i--) {
        const u8* const element = array->buf + static_cast<size_t>(i) * array->elemsize;
        if (std::memcmp(element, element - array->elemsize, array->elemsize) == 0) {
            GrowArray_remove(array, static_cast<u32>(i));
        }
    }
}

void GrowArray_clear(GrowArray* array)
{
    array->count = 0;
    if (array->capacity != array->mincapacity) {
        setcapacity(array, array->mincapacity);
    }
}

void GrowArray_free(GrowArray* array)
{
    if (array->backptr != nullptr) {
        *array->backptr = nullptr;
    }
    std::free(array->buf);
    array->buf = nullptr;
}
