// What the scripted back end draws into: an off-screen surface with an OpenGL context, by the means
// of the system.
//
// All contexts of a process share their objects with one that stays until the process ends.
#pragma once

#include "gfx/platform.h"

/// Makes a surface of a size, at least one pixel, and makes its context current. Anything but
/// PLATFORM_OPEN leaves nothing behind.
PlatformOpen canvas_open(i32 width, i32 height);

/// Ends context and surface. Does nothing if there are none.
void canvas_close();

/// Gives the same context a new surface. False if there is none of that size; the old one stays then.
bool canvas_resize(i32 width, i32 height);

/// The end of a frame; nothing of it has to be seen any more.
void canvas_swap();

/// Finds a GL function, null if the driver lacks it.
void* canvas_proc(const char* symbol);

/// What a driver offers, in bits.
struct CanvasFormat {
    i32 red, green, blue, alpha, depth, stencil;
    i32 samples; // of a pixel; 0 and 1 are both one
};

/// How well a format suits, 0: not at all. The first that is offered may have 10 bits of red.
i32 canvas_suitability(const CanvasFormat* format);
