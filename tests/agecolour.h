// The light that an age adds, by the shader's formula in double precision.
#pragma once

#include "base/types.h"

#include <algorithm>
#include <cmath>

struct AgeLight {
    f64 c[3];
};

inline AgeLight age_light(f64 age)
{
    const f64 decade = std::log10(std::max(1.0, 100 * age));
    const f64 grey = 0.0667 + 0.0627 * std::max(6.6388889 - decade, 0.0);
    const f64 full = 0.1412;
    const f64 i = (decade - std::floor(decade)) * full;
    const f64 h = 0.5 * i;
    const f64 added[10][3] = {
        {full, full, full},  {full, full - i, full}, {full, 0, full - i},
        {full, i, 0},        {full - i, full, 0},    {0, full, i},
        {0, full - i, full}, {h, h, full - h},       {0.0706 - h, 0.0706 - h, 0.0706 - h},
        {0, 0, 0},
    };
    const i32 band = decade > 9 ? 9 : std::max(0, static_cast<i32>(std::ceil(decade)) - 1);
    return {{grey + added[band][0], grey + added[band][1], grey + added[band][2]}};
}
