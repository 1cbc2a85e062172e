// The sky that the sea mirrors: colours by direction, and the six images of a cube map made of them.
//
// It is a world of its own that never changes: a glare about (1, 1, 1) in a sky that is red and green at
// the horizon and blue above, and a checkerboard for the ground. It doesn't follow the sun.
#pragma once

#include "base/types.h"

#include <cstddef>

enum { SKYMAP_SIZE = 512, SKYMAP_FACES = 6 };

inline constexpr size_t SKYMAP_BYTES = size_t{3} * SKYMAP_SIZE * SKYMAP_SIZE; // of one face

/// The colour (red, green, blue) in the direction (x, y, z), of unit length. With s = 0.5 / ((x - z)^2 +
/// (z - y)^2 + (y - x)^2) a channel of the sky is floor((base + 255 s) / (s + 1) + dither), base being
/// 3.84 / (z + 0.02), 12.75 / (z + 0.05) and 192 - 64 z, at most 255. The dither is random, from 0 to
/// just under 1, and breaks up the bands. White on the glare's own axis. Draws six numbers where z is 0
/// or above, none below.
void sky_sample(f64 x, f64 y, f64 z, u8 out[3]);

/// Fills one image of the cube map: SKYMAP_BYTES bytes, RGB, rows as OpenGL takes them. `face` counts
/// from GL_TEXTURE_CUBE_MAP_POSITIVE_X on: +X, -X, +Y, -Y, +Z, -Z. A pixel is the mean, cut down, of four
/// samples on a turned grid. Takes the draws of its samples; about 20 ms.
void skymap_face(i32 face, u8* out);
