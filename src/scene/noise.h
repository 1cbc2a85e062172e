// Noise as an image: a sum of random plane waves, made in whole numbers.
#pragma once

#include "base/types.h"

/// A periodic noise image of `w` by `h` bytes, row after row without padding, owned by the caller, freed
/// with free. It is the sum of 100 waves times `scale`, about 128, held to 0 to 255; it tiles without a
/// seam where `w` and `h` are powers of two, at most 65536. Low frequencies weigh most. Trusts `w` and
/// `h` to be above 0. Takes draws from the random stream, as many as it needs; 128 by 128 takes about
/// 5 ms.
u8* noise_make(i32 w, i32 h, f32 scale);
