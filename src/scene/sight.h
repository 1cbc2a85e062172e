// What a view certainly doesn't paint. A pixel is painted where its middle lies in what is drawn, so
// besides all that is beside, before or behind the view, nothing is painted of what lies between the
// middles of two rows or columns of pixels, and most small and distant things lie so. Leaving out what
// these tests tell changes no pixel, and nothing else is left out for being small.
//
// The matrix is taken as it is, so that the skewed frustum of a stereo pair is no exception. Bodies are
// taken to be wider by what single precision can move them: some millionths of the places and of the
// eye's.
#pragma once

#include "model/viewrec.h"

/// A view of one depth slice, ready for many tests. Rows are those of its clip matrix, each with the
/// length of its first three elements behind.
struct Sight {
    f64 ahead[5];     // gives the distance before the eye
    f64 across[2][5]; // gives that to the right and that upward, 1 at the side of the view
    f64 sides[4][5];  // each is positive within one side of the view
    f64 near;
    f64 far;
    f64 pixels[2]; // in a row, and in a column
    f64 eye[3];
    f64 eyesize; // sum of its coordinates, without signs
};

enum { SIGHT_MOST = 4 };

void Sight_make(Sight* out, const ViewRec* view);

/// Whether nothing is painted of the hull of `n` balls, 1 to SIGHT_MOST, of one radius. Never true of
/// places that aren't finite, nor of a radius that is not.
bool Sight_unpainted(const Sight* sight, const f64 (*centres)[3], i32 n, f64 radius);

/// How many pixels wide a ball may look at most, infinite with the eye in it. An estimate.
f64 Sight_pixels(const Sight* sight, const f64 centre[3], f64 radius);
