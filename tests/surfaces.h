// Sea and land in double precision, written from their formulas, as a yardstick for the shaders.
#pragma once

#include "tests/shader_probe.h"

struct Surface {
    Vec3 point, dx, dy;

    Vec3 normal() const
    {
        return unit(cross(dx, dy));
    }
};

struct Wave2 {
    f64 x, y;

    /// Turned by `rot`, and longer by 1 / `scale`.
    Wave2 next(f64 rot, f64 scale) const
    {
        return {(std::cos(rot) * x - std::sin(rot) * y) / scale,
                (std::sin(rot) * x + std::cos(rot) * y) / scale};
    }
};

/// The factor by which the swell lets the waves rise.
inline f64 sea_swell(f64 x, f64 y, f64 t)
{
    f64 afac = 0;
    Wave2 k = {0.1, 0};
    f64 a = 1;
    for (i32 n = 0; n < 25; n++) {
        const f64 lk = std::hypot(k.x, k.y);
        const f64 ph = k.x * x + k.y * y + t * std::sqrt(9.80665 * lk);
        afac += 0.7 * a * std::sin(ph / 50);
        k = k.next(0.1, 0.7);
        a *= 0.7;
    }
    return afac;
}

/// The sea where its waves rise by `afac`.
inline Surface sea_surface_of(Vec3 p, f64 t, f64 afac)
{
    Surface s = {p, {1, 0, 0}, {0, 1, 0}};
    Wave2 k = {0.1, 0};
    f64 a = 1;
    for (i32 n = 0; n < 25; n++) {
        const f64 lk = std::hypot(k.x, k.y);
        const f64 ph = k.x * p[0] + k.y * p[1] + t * std::sqrt(9.80665 * lk);
        const Vec3 nk = {k.x / lk, k.y / lk, 0};
        const Vec3 up = {0, 0, 1};
        s.point = s.point + afac * a * (std::sin(ph) * up + std::cos(ph) * nk);
        const Vec3 dph = afac * a * (std::cos(ph) * up - std::sin(ph) * nk);
        s.dx = s.dx + k.x * dph;
        s.dy = s.dy + k.y * dph;
        k = k.next(0.1, 0.7);
        a *= 0.7;
    }
    return s;
}

inline Surface sea_surface(Vec3 p, f64 t)
{
    return sea_surface_of(p, t, sea_swell(p[0], p[1], t));
}

inline f64 ridge_mod(f64 x)
{
    return x - 6 * std::floor(x / 6);
}

inline f64 ridge(f64 x)
{
    const f64 m = ridge_mod(x);
    return m < 3 ? 0 : std::sin((m - 3) / 3 * 6.283);
}

inline f64 ridge_der(f64 x)
{
    const f64 m = ridge_mod(x);
    return m < 3 ? 0 : std::cos((m - 3) / 3 * 6.283) / 3 * 6.283;
}

/// The factor by which the ridges rise.
inline f64 land_relief(f64 x, f64 y)
{
    Wave2 k = {0.0001, 0};
    f64 a = 0.45;
    f64 afac = 0.3;
    for (i32 n = 0; n < 60; n++) {
        afac += a * ridge((k.x * x + k.y * y) / 5);
        a *= 0.85 * std::fmin(1.0, 4 - n / 15.0);
        k = k.next(34, 0.85);
    }
    return afac;
}

/// The land where its ridges rise by `afac`. `kink`, if not null, receives how near the closest of its
/// layers is to an end of its flat part, in units of the phase.
inline Surface land_surface_of(Vec3 p, f64 afac, f64* kink = nullptr)
{
    Surface s = {p, {1, 0, 0}, {0, 1, 0}};
    Wave2 k = {0.0001, 0};
    f64 a = 0.5 * afac / 0.0001;
    f64 nearest = 3;
    for (i32 n = 0; n < 60; n++) {
        const f64 ph = k.x * p[0] + k.y * p[1];
        const Vec3 dir = {std::sin(2 + 3.0 * n), std::sin(4 + 5.0 * n), std::sin(6 + 7.0 * n)};
        s.point = s.point + a * ridge(ph) * dir;
        s.dx = s.dx + k.x * a * ridge_der(ph) * dir;
        s.dy = s.dy + k.y * a * ridge_der(ph) * dir;
        const f64 m = ridge_mod(ph);
        nearest = std::fmin(nearest, std::fmin(std::fabs(m - 3), std::fmin(m, 6 - m)));
        a *= 0.85 * std::fmin(1.0, 4 - n / 15.0);
        k = k.next(34, 0.85);
    }
    if (kink != nullptr) {
        *kink = nearest;
    }
    return s;
}

inline Surface land_surface(Vec3 p, f64* kink = nullptr)
{
    return land_surface_of(p, land_relief(p[0], p[1]), kink);
}
