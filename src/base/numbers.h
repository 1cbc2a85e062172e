// Numbers in texts that people wrote: the whole text is the number, or there is none. A false result
// leaves what was to be written as it was.
#pragma once

#include "base/types.h"

/// Decimal digits only, up to 4294967295.
bool number_u32(const char* text, u32* out);

/// A decimal integer with an optional sign, from `low` to `high`.
bool number_i32(const char* text, i32 low, i32 high, i32* out);

/// A finite real.
bool number_f64(const char* text, f64* out);

/// "WIDTHxHEIGHT", each from 1 to 16384.
bool number_size(const char* text, i32* width, i32* height);
