#include "base/numbers.h"

#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

enum { SIZE_MAX_PIXELS = 16384 };

static bool isdigitchar(char c)
{
    return c >= '0' && c <= '9';
}

bool number_u32(const char* text, u32* out)
{
    std::uint64_t value = 0;
    const char* at = text;
    while (isdigitchar(*at)) { // from the first digit on
        value = value * 10 + static_cast<u32>(*at - '0');
        if (value > UINT32_MAX) {
            return false;
        }
        at++;
    }
    if (at == text || *at != 0) {
        return false;
    }
    *out = static_cast<u32>(value);
    return true;
}

bool number_i32(const char* text, i32 low, i32 high, i32* out)
{
    const bool negative = *text == '-';
    const char* const digits = negative || *text == '+' ? text + 1 : text;
    u32 size = 0;
    if (!number_u32(digits, &size)) {
        return false;
    }
    const std::int64_t value = negative ? -static_cast<std::int64_t>(size) : size;
    if (value < low || value > high) {
        return false;
    }
    *out = static_cast<i32>(value);
    return true;
}

bool number_f64(const char* text, f64* out)
{
    if (std::isspace(static_cast<unsigned char>(*text)) != 0) {
        return false; // strtod would pass over it
    }
    char* end = nullptr;
    const f64 value = std::strtod(text, &end);
    if (end == text || *end != 0 || !std::isfinite(value)) {
        return false;
    }
    *out = value;
    return true;
}

bool number_size(const char* text, i32* width, i32* height)
{
    char first[8];
    const size_t length = std::strcspn(text, "xX");
    if (length >= sizeof first || text[length] == 0) {
        return false;
    }
    std::memcpy(first, text, length);
    first[length] = 0;
    i32 w = 0;
    i32 h = 0;
    if (!number_i32(first, 1, SIZE_MAX_PIXELS, &w) ||
        !number_i32(text + length + 1, 1, SIZE_MAX_PIXELS, &h)) {
        return false;
    }
    *width = w;
    *height = h;
    return true;
}
