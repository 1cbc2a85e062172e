// Daylight: a day of 1000 seconds, noon at 0.
#pragma once

#include "base/types.h"

/// 18 floats, in this order.
struct LightRec {
    f32 sunrow[3][3]; // sunlight (red, green, blue) at three heights of the air, ground first
    f32 nsun[3];      // unit vector toward the sun
    f32 skygrey[3];   // grey multiplier of the sky dome
    f32 csky[3];      // light from the whole sky
};

static_assert(sizeof(LightRec) == 18 * sizeof(f32));

/// The game clock held to what single precision takes.
f64 clock_held(f64 t);

/// The daylight at game time `t` in seconds. The phase goes through single precision, so it coarsens
/// as the clock grows.
void light_compute(f64 t, LightRec* out);
