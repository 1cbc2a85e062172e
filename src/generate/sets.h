// Disjoint sets of numbers: a forest in which each number points towards the one that stands for its
// set. Finding it halves the path (Tarjan and van Leeuwen 1984), so that the sets are nearly free to
// ask even without ranks.
#pragma once

#include "base/types.h"

/// Makes each of the numbers 0 to n - 1 a set of its own.
inline void sets_init(i32* leaders, i32 n)
{
    for (i32 i = n - 1; i >= 0; i--) {
        leaders[i] = i;
    }
}

/// The number that stands for the set of `i`.
inline i32 sets_leader(i32* leaders, i32 i)
{
    while (leaders[i] != i) {
        leaders[i] = leaders[leaders[i]];
        i = leaders[i];
    }
    return i;
}

/// Makes one set of those of `a` and `b`. Whether they were different.
inline bool sets_unite(i32* leaders, i32 a, i32 b)
{
    const i32 first = sets_leader(leaders, a);
    const i32 second = sets_leader(leaders, b);
    leaders[first] = second;
    return first != second;
}
