// Owned texts: NUL-terminated, made by malloc, freed by their holder with free.
#pragma once

#include "base/types.h"

/// Stores an owned copy of `text` in `*out`, which is overwritten unread. Returns the length.
i32 str_new(char** out, const char* text);

/// The same, but frees what `*text_holder` holds first, if anything. `text` must not lie in the old
/// text.
i32 str_set(char** text_holder, const char* text);

/// Whether two texts are equal when A to Z are folded to lower case and nothing else is.
bool str_same_folded(const char* a, const char* b);

/// Whether `text` begins with `prefix`, folded in the same way.
bool str_begins_folded(const char* text, const char* prefix);
