// 3-vectors as three consecutive f64 (x, y, z), frames and rotation vectors. A rotation vector is
// an axis whose length is the angle in radians.
#pragma once

#include "base/types.h"

/// The Euclidean length.
f64 vec3_length(const f64 v[3]);

/// The unit vector of `v`; the zero vector for zero. `out` may be `v`.
void vec3_unit(f64 out[3], const f64 v[3]);

/// The scalar product.
f64 vec3_dot(const f64 a[3], const f64 b[3]);

/// `a` - `b`; `out` may be either.
void vec3_sub(f64 out[3], const f64 a[3], const f64 b[3]);

/// `a` + `b` * `k`; `out` may be either.
void vec3_addscaled(f64 out[3], const f64 a[3], const f64 b[3], f64 k);

/// Two vectors square to `v`, for drawing around a direction: `a` is a unit vector, `b` the unit
/// vector of `v` x `a`. The zero vector gives (0, 1, 0) and (0, 0, 1).
void vec3_frame(const f64 v[3], f64 a[3], f64 b[3]);

/// The matrix of a rotation vector, three rows of three (Rodrigues' formula). The zero vector gives
/// the identity.
void vec3_rotation(f64 matrix[9], const f64 r[3]);

/// `matrix` times `v`, products summed x, y, z; `out` may be `v`.
void vec3_transform(f64 out[3], const f64 matrix[9], const f64 v[3]);

/// Rotates `v` by the rotation vector `r`; a zero `r` gives `v` exactly. `out` may be `v`.
void vec3_rotate(f64 out[3], const f64 v[3], const f64 r[3]);

/// A random point on a sphere of radius `r` about the origin, uniform by rejection (Marsaglia 1972,
/// von Neumann's cube method); six draws for each attempt. The zero vector is taken to be
/// impossible.
void vec3_random_sphere(f64 out[3], f64 r);
