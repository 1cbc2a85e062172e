#include "scene/light.h"

#include <algorithm>
#include <cmath>

static constexpr f64 PI = 3.14159265358979323846;

// Light of unit strength that has passed `s` times the air above an observer.
static void sunlight(f32 out[3], f64 s)
{
    out[0] = static_cast<f32>(std::exp(-0.02 * s));
    out[1] = static_cast<f32>(std::exp(-0.1 * s));
    out[2] = static_cast<f32>(std::exp(-0.2 * s));
}

// Strength of the light from the whole sky. The bound keeps the divisor above zero.
static f32 skylight(f64 height)
{
    return height < -0.249 ? 0.0F : static_cast<f32>(std::exp(-0.15 / (height + 0.25)));
}

f64 clock_held(f64 t)
{
    return std::clamp(t, -1e30, 1e30);
}

void light_compute(f64 t, LightRec* out)
{
    const f32 phase = static_cast<f32>(clock_held(t) * 0.001 + 0.5);
    const f64 angle = 2 * PI * static_cast<f64>(phase);
    const f64 slant = -std::cos(angle) * 0.7071067811865475;
    out->nsun[0] = static_cast<f32>(std::sin(angle));
    out->nsun[1] = static_cast<f32>(slant);
    out->nsun[2] = static_cast<f32>(slant);
    const f64 height = static_cast<f64>(out->nsun[2]);
    sunlight(out->sunrow[0], 1.0 / std::max(height, 0.001));
    sunlight(out->sunrow[1], 1.0 / std::max(height + 0.05, 0.001));
    sunlight(out->sunrow[2], 1.0 / std::max(height + 0.1, 0.001));
    const f32 v = skylight(height);
    for (i32 i = 2; i >= 0; i--) {
        out->skygrey[i] = v;
    }
    out->csky[0] = 0.25F * v;
    out->csky[1] = 0.625F * v;
    out->csky[2] = v;
}
