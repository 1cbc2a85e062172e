// The perspective projection and the 2-D overlay, on the fixed-function matrix stacks.
//
// The field of view is defined on a central region of shape 4:3: a wide window shows more at the
// sides, a narrow one more above and below. Angles are degrees, sizes pixels.
#pragma once

#include "base/types.h"

/// 0: perspective; otherwise gfx_resize loads a pixel projection. Starts at 1; the driver sets it to 0
/// before the window opens.
extern u8 gfx_ortho_mode;

/// Stores the window's client size (a height below 1 is taken as 1), sets the viewport to it, and
/// loads the default projection: 90 degrees over the central region, near 0.1, far 1000. Leaves the
/// model-view mode selected.
void gfx_resize(i32 width, i32 height);

/// Loads a projection for an angle across the width of the central region. Leaves the model-view mode
/// selected.
void gfx_set_fov(f32 angle, f32 near, f32 far);

/// The angle of the current projection matrix.
f32 gfx_get_fov();

/// Begins drawing in window pixels, y down, without depth test and depth writing, for the part of the
/// window that the viewport covers. Both matrices are pushed.
void gfx_overlay_begin();

/// Takes the matrices back and turns depth test and depth writing on.
void gfx_overlay_end();

/// Takes a point to window coordinates with y down. `modelview` and `projection` are in OpenGL's
/// order, `viewport` is x, y, width, height. `eyez` receives the eye-space z and may be null.
void gfx_project(f64 x, f64 y, f64 z, f64* screenx, f64* screeny, f64* eyez,
                 const f64 modelview[16], const f64 projection[16], const i32 viewport[4]);
