// Vectors of three doubles, for tests that reckon for themselves.
#pragma once

#include "base/types.h"

#include <cmath>

struct Vec {
    f64 x = 0, y = 0, z = 0;
};

inline Vec operator+(Vec a, Vec b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

inline Vec operator-(Vec a, Vec b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

inline Vec operator*(f64 k, Vec a)
{
    return {k * a.x, k * a.y, k * a.z};
}

inline f64 dot(Vec a, Vec b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

inline Vec cross(Vec a, Vec b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline f64 length(Vec a)
{
    return std::sqrt(dot(a, a));
}

inline Vec unit(Vec a)
{
    return (1 / length(a)) * a;
}

inline Vec vec(const f64* v)
{
    return {v[0], v[1], v[2]};
}
