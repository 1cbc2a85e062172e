// Three layers of cloud, each 400 deep, about the heights 1000, 3000 and 9000, that drift with the wind
// and can be flown through. A layer is a flat sheet at its far side, or, while the eye is inside, two that
// trade weight with height. The cloud itself is made in the fragment stage from an image of noise.
//
// Single precision shows: a place of the noise is as fine as a float, so from a wind offset of about 1e6
// on (a clock of half a day) the drift goes in steps of 1/16 of a texel and more.
#pragma once

#include "scene/light.h"

/// A sheet that is to be drawn.
struct CloudSheet {
    i32 layer;    // 0 to 2, the lowest first
    f32 height;   // its z
    f32 distance; // from the eye's height
    f32 alpha;    // its weight
};

enum { CLOUD_LAYERS = 3, CLOUD_MAXSHEETS = 2 * CLOUD_LAYERS };

/// Lists what an eye at height `z` sees, farthest first, equal ones in any order. `out` has room for
/// CLOUD_MAXSHEETS. Returns how many: 3, or 4 with the eye inside a layer.
i32 cloud_sheets(f64 z, CloudSheet* out);

/// Draws all sheets over what is there, without writing depth. The wind offsets and the noise are in
/// texels, 10 units of the world each; above `dewpoint`, 0 to 255, the noise is cloud. The noise image
/// is made on first use with `noisescale` and then kept, which draws numbers from the random stream.
/// Leaves the blend factors at source alpha and its complement; depth writing on, blending and texturing
/// off.
void clouds_draw(const f64 eye[3], f32 offx, f32 offy, f32 dewpoint, f32 noisescale,
                 const LightRec* light);

/// Emits one sheet at `height`: a square above or below the eye, its half-width its distance but at
/// least 10, and 14 frames around it, each twice as wide as the one before: 57 quads. Texture coordinates
/// are `texoff` plus `texscale` times the absolute place. Between glBegin and glEnd of quads.
void cloud_sheet(const f64 eye[3], f32 height, const f64 texoff[2], f32 texscale);
