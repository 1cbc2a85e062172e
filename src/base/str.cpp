#include "base/str.h"

#include <cstdlib>
#include <cstring>

i32 str_new(char** out, const char* text)
{
    const size_t length = std::strlen(text);
    *out = static_cast<char*>(std::malloc(length + 1));
    std::memcpy(*out, text, length + 1);
    return static_cast<i32>(length);
}

i32 str_set(char** text_holder, const char* text)
{
    std::free(*text_holder);
    return str_new(text_holder, text);
}

static char folded(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool str_same_folded(const char* a, const char* b)
{
    return str_begins_folded(a, b) && std::strlen(a) == std::strlen(b);
}

bool str_begins_folded(const char* text, const char* prefix)
{
    for (; *prefix != 0; text++, prefix++) {
        if (folded(*text) != folded(*prefix)) {
            return false;
        }
    }
    return true;
}
