#include "scene/sight.h"

#include "base/vec3.h"

#include <cmath>
#include <cstring>

// The least and the greatest value of something in a body.
struct Span {
    f64 low;
    f64 high;
};

static void setlength(f64 row[5])
{
    row[4] = std::sqrt(row[0] * row[0] + row[1] * row[1] + row[2] * row[2]);
}

void Sight_make(Sight* out, const ViewRec* view)
{
    for (i32 i = 3; i >= 0; i--) {
        const f64 w = view->clip[3][i];
        out->ahead[i] = w;
        for (i32 k = 1; k >= 0; k--) {
            const f64 v = view->clip[k][i];
            out->across[k][i] = v;
            out->sides[2 * k][i] = w - v;
            out->sides[2 * k + 1][i] = w + v;
        }
    }
    setlength(out->ahead);
    for (i32 i = 3; i >= 0; i--) {
        setlength(out->across[i / 2]);
        setlength(out->sides[i]);
    }
    out->near = view->near;
    out->far = view->far;
    out->pixels[0] = view->viewport[1] - view->viewport[0];
    out->pixels[1] = view->viewport[3] - view->viewport[2];
    std::memcpy(out->eye, view->eye, sizeof out->eye);
    out->eyesize = std::fabs(view->eye[0]) + std::fabs(view->eye[1]) + std::fabs(view->eye[2]);
}

static Span spanof(const f64 row[5], const f64 c[3], f64 radius)
{
    const f64 middle = row[0] * c[0] + row[1] * c[1] + row[2] * c[2] + row[3];
    const f64 reach = radius * row[4];
    return {middle - reach, middle + reach};
}

// How far single precision moves what lies at these places; not finite for places that aren't.
static f64 roundingof(const Sight* sight, const f64 (*centres)[3], i32 n, f64 radius)
{
    f64 most = 0.0;
    for (i32 i = n - 1; i >= 0; i--) {
        const f64* const c = centres[i];
        const f64 size = std::fabs(c[0]) + std::fabs(c[1]) + std::fabs(c[2]);
        if (!std::isfinite(size)) {
            return size;
        }
        most = std::fmax(most, size);
    }
    return 1e-6 * (most + sight->eyesize + radius);
}

// Whether all lies outside one of the sides.
static bool besideview(const Sight* sight, const f64 (*centres)[3], i32 n, f64 radius)
{
    for (i32 side = 3; side >= 0; side--) {
        i32 inside = 0;
        for (i32 i = n - 1; i >= 0 && inside == 0; i--) {
            inside += spanof(sight->sides[side], centres[i], radius).high < 0.0 ? 0 : 1;
        }
        if (inside == 0) {
            return true;
        }
    }
    return false;
}

// Whether what lies before the eye, of the given distances, lies between the middles of two rows or
// columns of pixels. The hull of what several balls show is what their hull shows.
static bool betweenmiddles(const Sight* sight, i32 axis, const f64 (*centres)[3], const Span* ahead,
                           i32 n, f64 radius)
{
    f64 low = HUGE_VAL;
    f64 high = -HUGE_VAL;
    for (i32 i = n - 1; i >= 0; i--) {
        const Span across = spanof(sight->across[axis], centres[i], radius);
        low = std::fmin(low, across.low / (across.low < 0.0 ? ahead[i].low : ahead[i].high));
        high = std::fmax(high, across.high / (across.high > 0.0 ? ahead[i].low : ahead[i].high));
    }
    const f64 slack = 0.05; // of a pixel, for the rounding of corners
    const f64 pixels = sight->pixels[axis];
    const f64 first = std::ceil((low + 1.0) * 0.5 * pixels - 0.5 - slack);
    const f64 last = std::floor((high + 1.0) * 0.5 * pixels - 0.5 + slack);
    return first > last;
}

bool Sight_unpainted(const Sight* sight, const f64 (*centres)[3], i32 n, f64 radius)
{
    const f64 wide = radius + roundingof(sight, centres, n, radius);
    if (!std::isfinite(wide)) {
        return false;
    }
    Span ahead[SIGHT_MOST];
    Span all = {HUGE_VAL, -HUGE_VAL};
    for (i32 i = n - 1; i >= 0; i--) {
        ahead[i] = spanof(sight->ahead, centres[i], wide);
        all.low = std::fmin(all.low, ahead[i].low);
        all.high = std::fmax(all.high, ahead[i].high);
    }
    if (all.high < sight->near || all.low > sight->far || besideview(sight, centres, n, wide)) {
        return true;
    }
    return all.low > 0.0 && (betweenmiddles(sight, 1, centres, ahead, n, wide) ||
                             betweenmiddles(sight, 0, centres, ahead, n, wide));
}

f64 Sight_pixels(const Sight* sight, const f64 centre[3], f64 radius)
{
    f64 d[3];
    vec3_sub(d, centre, sight->eye);
    const f64 nearest = vec3_length(d) - radius;
    return nearest > 0.0 ? radius * sight->across[0][4] * sight->pixels[0] / nearest : HUGE_VAL;
}
