// The settings: a text file of key and value lines, kept in its order.
//
// A key as written may hold a long explanation in brackets; the program asks for it by the short word
// at its beginning. A line is key, separator, a blank, value. Lines without a separator are dropped on
// reading. Letters A to Z are folded in all comparisons, nothing else is.
#pragma once

#include "base/growarray.h"

#include <cstddef>

enum {
    CONFIG_MAXPIXELS = 1000000000, // on either side of 0
    CONFIG_MAXBYTES = 1 << 20,     // of a file
};

struct ConfigEntry {
    char* key;   // owned
    char* value; // owned, or null
};

struct ConfigList {
    GrowArray entries; // of ConfigEntry, in the order of the file
    bool unreadable;   // there is a file but it could not be read, so it is not written over
};

/// Reads text into a new list, owned by the caller. Lines end at LF, CR, CR LF or NUL; `text[size]` is
/// not read.
void config_parse(ConfigList* out, const char* text, size_t size, char separator);

/// Reads a file into a new list, owned by the caller. A missing file gives an empty list. A file that
/// can't be read, or is larger than CONFIG_MAXBYTES, gives an empty list too and is told as a notice.
void config_load(ConfigList* out, const char* path, char separator);

/// The value for a name: among the keys that begin with it the shortest wins, and of equal ones the
/// last. `fallback` (may be null) if none matches. Lent until the list changes.
const char* config_get(const ConfigList* list, const char* name, const char* fallback);

/// Whether the value for a name begins with t, y or 1; false if there is none.
bool config_get_bool(const ConfigList* list, const char* name);

/// Adds an entry at the end unless a key equal to `key` exists.
void config_default(ConfigList* list, const char* key, const char* value);

/// Replaces the value of the last key that begins with `name`, or adds an entry of that key.
void config_set(ConfigList* list, const char* name, const char* value);

/// Sets the key "NAME (Y/N)" to "Y" or "N".
void config_set_bool(ConfigList* list, const char* name, i32 value);

/// Writes all entries in order, replacing the file whole. False if that failed, if the list is of a
/// file that could not be read, or if the text would be larger than what is read; the old file then
/// stands, and `why` (WHOLEFILE_WHY chars) tells what happened. True with a text in `why` if the new
/// file is in place, but may not outlast a loss of power.
bool config_save(const ConfigList* list, const char* path, char separator, char* why);

/// Frees the list.
void config_free(ConfigList* list);

/// Reads the resolution into the window request (gfx_width, gfx_height, windowed), the offset into
/// fullscreen_x and fullscreen_y, and the two stereo keys; adds what is missing. What can't be read
/// as a number leaves the request as it was; a size or an offset is held within CONFIG_MAXPIXELS, any
/// other number within an i32.
void config_read_display_and_stereo(ConfigList* list, i32* mode, i32* swap);
