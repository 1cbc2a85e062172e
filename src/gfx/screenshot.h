// Pictures of the window as files: PNG, and the Windows bitmap where a PNG can't be written.
//
// A file is replaced whole or not at all. What can't be written is told by a notice (base/report.h) and
// ends nothing.
#pragma once

#include "base/types.h"

/// Reads the back buffer (glReadPixels, rows from the bottom) as 3 bytes a pixel, red first, rows from
/// the top, without padding. Owned by the caller, freed with free.
u8* picture_read(i32 width, i32 height);

/// Writes 8-bit RGB pixels (rows from the top, no padding) as a PNG that replaces a file at `path`
/// whole. False if that failed, with `why` (WHOLEFILE_WHY chars) telling what happened; an old file then
/// stands.
bool picture_write_png(const char* path, const u8* rgb, i32 width, i32 height, char* why);

/// Writes a bitmap of 24 bits. `pixels` are rows from the bottom up, 3 bytes a pixel, blue first, each row
/// padded to bitmap_stride(width) bytes.
///
/// With `convert` the same picture becomes a PNG, and the bitmap stays only if that fails: what follows
/// the last point of `path`, not counting its first character, becomes "png", or ".png" is added if there
/// is none. No converter is run and no bitmap is written on the way: the PNG is made from the pixels, the
/// bitmap after it has failed. Once there is a PNG an older bitmap at `path` is gone, as if it had been
/// written over and converted.
///
/// A picture that could not be written, or only as a bitmap instead of the PNG, is told by a notice.
void bitmap_write(const u8* pixels, i32 width, i32 height, const char* path, i32 convert);

/// Bytes of a row: 3 a pixel, padded to a multiple of 4.
i32 bitmap_stride(i32 width);

/// Writes what the back buffer shows, the whole window, in the present folder: PREFIX_NNNNN.png, or .bmp
/// if that fails. The number is that of timer_now in steps of 0.3 seconds, its last five digits; it comes
/// again after about 8 hours, and a picture of that name is replaced. Told as above; returns when the file
/// is on the disk.
void screenshot_save(const char* prefix);
