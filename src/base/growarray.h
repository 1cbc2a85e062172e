// The one list type: elements of one byte size in one buffer, embedded by value in its owner.
//
// A grown array is 80 % full, and one less than 60 % full is made smaller, so any push or removal
// may move the buffer: pointers into the array are good only until the next of either. Allocation
// failure is not handled.
#pragma once

#include "base/types.h"

struct GrowArray {
    u8* buf;         // the elements, owned, never null while the array lives
    void** backptr;  // null, or a pointer variable that always equals buf
    u32 count;       // elements in use
    u32 capacity;    // elements allocated
    u32 mincapacity; // capacity floor, and the capacity of a cleared array
    u32 elemsize;    // bytes of an element
    f32 growth;      // a percentage, 60.0 everywhere
};

/// Capacity and floor of every array that is set up; never changed at run time.
extern i32 array_defaultcap;

/// Sets an array up: empty, of capacity `array_defaultcap`, without a back-pointer. The buffer is
/// owned by the array.
void GrowArray_init(GrowArray* array, u32 elemsize);

/// Appends a copy of `element`, which must not lie in the buffer, and returns its index.
u32 GrowArray_push(GrowArray* array, const void* element);

/// Appends `n` copied elements by the bulk rule: a needed capacity is (count + n) / 0.8.
/// `elements` must not lie in the buffer.
void GrowArray_append(GrowArray* array, const void* elements, u32 n);

/// Makes room for exactly `capacity` elements if fewer fit; a capacity never falls here.
void GrowArray_reserve(GrowArray* array, u32 capacity);

/// Deletes element `index` by moving the last element into the hole. Does nothing if `index` is
/// not below the count.
void GrowArray_remove(GrowArray* array, u32 index);

/// Orders the elements bytewise and drops duplicates; removal may leave the rest out of order.
void GrowArray_sortunique(GrowArray* array);

/// Empties the array and gives it its minimum capacity.
void GrowArray_clear(GrowArray* array);

/// Clears what `backptr` points to and frees the buffer. What the elements own stays the caller's.
/// The record must be set up again before any other use.
void GrowArray_free(GrowArray* array);

/// The elements as what they are; good until the next push or removal.
template <typename T> T* items(const GrowArray* array)
{
    return reinterpret_cast<T*>(array->buf);
}
