// Text on the screen, from the current font, in window pixels with the origin at the upper left.
//
// Strings are bytes with a zero at the end. Byte 10 begins a new line, byte 2 and two bytes (high first)
// give a character code, of which the lowest nine bits count, and byte 5 begins a command of 7 bytes in
// all:
//
//   5, 0, u32 colour 0xRRGGBB, 1 byte      the colour of what follows
//   5, 1, i32 x, 1 byte                    the pen's position in pixels
//   5, 2, u16 size, i16 shift, 1 byte      the scales of the font from before the call times size / 256,
//                                          and the baseline raised by shift / 256 of its height
//
// with numbers low byte first. Another command is passed over. Zeros inside a sequence don't end the
// string, so one that is cut short can only be told where the length is given: there it ends the string.
// Texts that come from files take the routines with a length.
#pragma once

#include "base/types.h"

#include <cstddef>
#include <cstdint>

/// A length for a string that ends at its zero and has its sequences whole.
static constexpr size_t TEXT_WHOLE = SIZE_MAX;

/// The drawing state.
extern i32 text_overlay;             // a batch sets the 2-D overlay up; starts at 1
extern f32 text_scalex, text_scaley; // of a whole batch; start at 1
extern i32 text_blend;               // 1 to 4, starts at 3: add what the colour leaves
extern f32 text_spacing;             // between letters, a fraction of font_height; starts at 0.1
extern u8 text_fixedpitch;           // every character advances by font_fixedw

/// Begin and end a batch.
void text_begin();
void text_end();

/// The same for text placed in the scene: no overlay, no scale, and what is empty isn't drawn.
void text3d_begin();
void text3d_end();

/// Draws within a batch. `wrap` is the x that words stay left of, 0 for no wrapping; `maxy` the y past
/// which drawing stops, 0 for none. Null draws "NULL?". Returns the y of the last line. The current
/// font is as before afterwards.
f32 text_put(f32 x, f32 y, f32 wrap, f32 maxy, const char* text, u32 colour);

/// The same for the first `length` bytes, or up to the zero if that comes before.
f32 text_put_bytes(f32 x, f32 y, f32 wrap, f32 maxy, const char* text, size_t length, u32 colour);

/// A batch of its own, without wrapping.
f32 text_draw(f32 x, f32 y, const char* text, u32 colour);

/// Width in pixels; lines add up. Null measures "NULL?".
f32 text_width(const char* text);

/// The same for the first `length` bytes, or up to the zero if that comes before.
f32 text_width_bytes(const char* text, size_t length);
