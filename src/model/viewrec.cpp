#include "model/viewrec.h"

#include <cmath>
#include <cstring>

static void capturenothing(ViewRec* out)
{
    *out = {};
}

void (*viewrec_capture)(ViewRec* out) = capturenothing;

// The eye is minus the transposed rotation part applied to the translation.
static void deriveeye(f64 eye[3], const f64 m[16])
{
    for (i32 i = 2; i >= 0; i--) {
        const f64* const column = m + i * 4;
        eye[i] = -(column[0] * m[12] + column[1] * m[13] + column[2] * m[14]);
    }
}

static void deriveclip(f64 clip[4][4], const f64 p[16], const f64 m[16])
{
    for (i32 row = 3; row >= 0; row--) {
        for (i32 col = 3; col >= 0; col--) {
            const f64* const column = m + col * 4;
            clip[row][col] = p[row] * column[0] + p[4 + row] * column[1] + p[8 + row] * column[2] +
                             p[12 + row] * column[3];
        }
    }
}

void ViewRec_derive(ViewRec* out, const f64 modelview[16], const f64 projection[16],
                    const i32 viewport[4], i32 windowwidth)
{
    const f64* const p = projection;
    std::memcpy(out->modelview, modelview, sizeof out->modelview);
    deriveeye(out->eye, modelview);
    out->tanx = 1.0 / p[0];
    out->tany = 1.0 / p[5];
    out->pixelscale = (windowwidth * 0.5) / out->tanx;
    out->secx = std::sqrt(out->tanx * out->tanx + 1.0) / out->tanx;
    out->secy = std::sqrt(out->tany * out->tany + 1.0) / out->tany;
    out->near = p[14] / (p[10] - 1.0);
    out->far = p[14] / (p[10] + 1.0);
    deriveclip(out->clip, p, modelview);
    out->viewport[0] = viewport[0];
    out->viewport[1] = viewport[0] + viewport[2];
    out->viewport[2] = viewport[1];
    out->viewport[3] = viewport[1] + viewport[3];
    out->pixelsize = 2.0 / (viewport[2] * p[0]);
}

i32 ViewRec_sphereout(const ViewRec* view, const f64 centre[3], f64 radius, f64 pixelsize)
{
    const f64* const m = view->modelview;
    const f64* const c = centre;
    const f64 ex = m[0] * c[0] + m[4] * c[1] + m[8] * c[2] + m[12];
    const f64 ey = m[1] * c[0] + m[5] * c[1] + m[9] * c[2] + m[13];
    const f64 ez = m[2] * c[0] + m[6] * c[1] + m[10] * c[2] + m[14];
    // r / cos(half angle) - ez tan(half angle) is where the side plane leaves the sphere
    const bool out = std::fabs(ex) > (view->secx * radius - ez) * view->tanx ||
                     std::fabs(ey) > (view->secy * radius - ez) * view->tany ||
                     radius - ez < view->near || -ez - radius > view->far ||
                     radius < -ez * pixelsize;
    return out ? 1 : 0;
}
