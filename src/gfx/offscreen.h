// Pictures that are drawn to become textures: into a framebuffer object of their own where the driver
// has them, else into the back buffer, whose upper left corner then holds the picture.
#pragma once

#include "base/types.h"

/// -1 not yet known; else whether the driver has framebuffer objects. 0 takes the back buffer.
extern i32 have_framebuffers;

/// Begins a picture of the given size: clears it to black, and from here to offscreen_end the viewport,
/// gfx_width and gfx_height are those of the picture, polygons are filled, and the current framebuffer
/// is the one to copy from. In the back buffer gfx_width and gfx_height stay the window's, and what
/// doesn't fit in the window is missing from the picture.
///
/// Receives in `*bottom` the row of the framebuffer at which the picture begins, as
/// glCopyTexSubImage2D counts; its left edge is column 0. Not to be nested.
void offscreen_begin(i32 width, i32 height, i32* bottom);

/// Ends it: the back buffer's part is cleared again, and all that offscreen_begin has set is as before.
void offscreen_end();
