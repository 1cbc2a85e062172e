// The view record: a snapshot of what is being looked through, with everything derived that a
// visibility test needs, so that a test costs a few multiplications and no graphics call.
#pragma once

#include "base/types.h"

/// Matrix elements are numbered as OpenGL stores them, m[column * 4 + row]. P is the projection.
struct ViewRec {
    f64 modelview[16];
    f64 eye[3];     // in world coordinates
    f64 tanx;       // 1 / P[0]: tangent of half the horizontal field of view
    f64 tany;       // 1 / P[5]
    f64 pixelscale; // pixels per unit of x at distance 1, by the window's width
    f64 secx;       // sqrt(tanx^2 + 1) / tanx
    f64 secy;
    f64 near;        // P[14] / (P[10] - 1)
    f64 far;         // P[14] / (P[10] + 1)
    f64 clip[4][4];  // P times modelview, by rows: clip x, y, z, w
    i32 viewport[4]; // left, left + width, bottom, bottom + height
    f64 pixelsize;   // width of one pixel at distance 1, by the viewport's width
};

/// Captures the view from the graphics state. Starts at a routine that fills the record with zeros;
/// the graphics side puts its own in its place when the window opens.
extern void (*viewrec_capture)(ViewRec* out);

/// Fills the record from the two matrices, the viewport (x, y, width, height) and the window's width.
/// A singular projection is not guarded.
void ViewRec_derive(ViewRec* out, const f64 modelview[16], const f64 projection[16],
                    const i32 viewport[4], i32 windowwidth);

/// Non-zero if a sphere need not be drawn: outside one of the four sides, wholly before `near` or
/// beyond `far`, or of a radius below one pixel at its distance. The comparisons are strict, so a
/// sphere that touches a limit is drawn.
i32 ViewRec_sphereout(const ViewRec* view, const f64 centre[3], f64 radius, f64 pixelsize);
