// A ray tracer in double precision: what the pictures of spheres and cylinders are compared with.
#pragma once

#include "scene/light.h"
#include "scene/lighting.h"
#include "tests/scene_picture.h"
#include "tests/vec.h"

#include <random>

/// A place from which pictures are taken, and the depth slice.
struct Camera {
    Vec eye, right, up, back;
    bool far;

    /// Loads both matrices as OpenGL and the program have them.
    void load() const
    {
        const f64 m[16] = {right.x, up.x, back.x, 0, right.y, up.y, back.y, 0,
                           right.z, up.z, back.z, 0, 0,       0,    0,      1};
        f32 p[16];
        glGetFloatv(GL_PROJECTION_MATRIX, p);
        p[10] = -1.000199676F;
        p[14] = far ? -2000.199707F : -0.2000199705F;
        glMatrixMode(GL_PROJECTION);
        glLoadMatrixf(p);
        glMatrixMode(GL_MODELVIEW);
        glLoadMatrixd(m);
        glTranslated(-eye.x, -eye.y, -eye.z);
    }
    /// Direction through the middle of a pixel, of length 1 in depth.
    Vec ray(f64 x, f64 y) const
    {
        f32 p[16];
        glGetFloatv(GL_PROJECTION_MATRIX, p);
        const f64 ex = ((x + 0.5) / gfx_width * 2 - 1) / static_cast<f64>(p[0]);
        const f64 ey = ((y + 0.5) / gfx_height * 2 - 1) / static_cast<f64>(p[5]);
        return ex * right + ey * up - back;
    }
    /// Depth in the buffer at a distance ahead.
    f64 depth(f64 ahead) const
    {
        const f64 scale = static_cast<f64>(-1.000199676F);
        const f64 offset = static_cast<f64>(far ? -2000.199707F : -0.2000199705F);
        return std::clamp(0.5 + 0.5 * (-scale + offset / ahead), 0.0, 1.0);
    }
};

/// A camera at `eye` turned by three draws.
inline Camera turned_camera(std::mt19937* draws, Vec eye, bool far)
{
    std::normal_distribution<f64> bell;
    const Vec back = unit({bell(*draws), bell(*draws), bell(*draws)});
    const Vec other = {bell(*draws), bell(*draws), bell(*draws)};
    const Vec right = unit(cross(other, back));
    return {eye, right, cross(back, right), back, far};
}

struct Hit {
    bool any;
    f64 t; // in lengths of the ray
    Vec normal;
};

/// The first meeting with the outside of a sphere.
inline Hit trace_sphere(Vec eye, Vec ray, Vec centre, f64 r)
{
    const Vec o = eye - centre;
    const f64 a = dot(ray, ray);
    const f64 b = dot(o, ray);
    const Vec h = o - (b / a) * ray;
    const f64 c = r * r - dot(h, h);
    if (c < 0) {
        return {};
    }
    const f64 t = -b / a - std::sqrt(c / a);
    return {t > 0, t, (1 / r) * (o + t * ray)};
}

/// The first meeting with the outside of an open cylinder.
inline Hit trace_cylinder(Vec eye, Vec ray, Vec start, Vec axis, f64 r)
{
    const f64 aa = dot(axis, axis);
    const Vec o = eye - start;
    const Vec os = o - (dot(o, axis) / aa) * axis;
    const Vec rs = ray - (dot(ray, axis) / aa) * axis;
    const f64 a = dot(rs, rs);
    const f64 b = dot(os, rs);
    const Vec h = os - (b / a) * rs;
    const f64 c = r * r - dot(h, h);
    if (c < 0) {
        return {};
    }
    const f64 t = -b / a - std::sqrt(c / a);
    const f64 p = dot(o + t * ray, axis) / aa;
    return {t > 0 && p >= 0 && p <= 1, t, (1 / r) * (os + t * rs)};
}

struct Lamp {
    Vec at;
    bool lit;
};

inline f64 row(const f32 v[3], i32 i)
{
    return static_cast<f64>(v[i]);
}

/// The formula of light, a channel at a time.
inline f64 light_formula(const LightRec* light, const Lamp* lamp, Vec n, Vec at, i32 channel)
{
    const Vec sun = {row(light->nsun, 0), row(light->nsun, 1), row(light->nsun, 2)};
    const Vec away = lamp->at - at;
    const f64 l = std::max(std::sqrt(dot(away, away)), 1e-6);
    const f64 glow = (lamp->lit ? 5.0 : 0.0) * std::max(0.1, dot(n, away) / l) / l;
    f64 above = row(light->sunrow[0], channel) * std::max(0.0, dot(n, sun));
    above += row(light->csky, channel) * (M_PI - std::acos(std::clamp(n.z, -1.0, 1.0))) / M_PI;
    const f64 wa = std::exp(std::min(0.0, 0.2 * (at.z + 5)));
    return glow + above * std::pow(wa, 3 - channel);
}

/// The fog of a colour at a distance ahead.
inline f64 fog_formula(const LightRec* light, f64 colour, f64 ahead, i32 channel)
{
    const f64 p = std::exp(-(0.5 + 0.1 * channel) * ahead / 3000);
    return p * colour +
           (1 - p) * (0.3 * row(light->csky, channel) + 0.5 * row(light->sunrow[0], channel));
}
