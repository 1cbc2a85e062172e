// Pictures of the window as files.
#pragma once

#include "base/types.h"

/// Reads the back buffer (glReadPixels, rows from the bottom) as 3 bytes a pixel, red first, rows from
/// the top, without padding. Owned by the caller, freed with free.
u8* picture_read(i32 width, i32 height);

/// Writes 8-bit RGB pixels (rows from the top, no padding) as a PNG that replaces a file at `path`
/// whole. False if that failed, with `why` (5000 chars) telling what happened; an old file then
/// stands.
bool picture_write_png(const char* path, const u8* rgb, i32 width, i32 height, char* why);
