#include "shell/config.h"

#include "base/report.h"
#include "base/str.h"
#include "base/wholefile.h"
#include "gfx/gfx_opengl.h"

#include <cctype>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

static const char* const resolution_key =
    "Resolution (XxY, 'auto', 'span', 'windowed', 'display N' or 'span N,M...')";
static const char* const stereo_mode_key =
    "Stereo mode (0=none,1=top/bottom,2=side-by-side,3=interlace,4=two screen SBS,"
    "5=two screen vertical,6-8=coloured)";
static const char* const swap_stereo_key = "Swap stereo (Y/N)";

static ConfigEntry* entryat(const ConfigList* list, i32 index)
{
    return items<ConfigEntry>(&list->entries) + index;
}

static i32 entrycount(const ConfigList* list)
{
    return static_cast<i32>(list->entries.count);
}

static char* copied(const char* text)
{
    char* copy = nullptr;
    if (text != nullptr) {
        str_new(&copy, text);
    }
    return copy;
}

static void addentry(ConfigList* list, char* key, char* value)
{
    const ConfigEntry entry = {.key = key, .value = value};
    GrowArray_push(&list->entries, &entry);
}

// An owned copy of a piece of text without the white space at its ends.
static char* trimmed(const char* begin, const char* end)
{
    while (begin < end && std::isspace(static_cast<unsigned char>(*begin)) != 0) {
        begin++;
    }
    while (begin < end && std::isspace(static_cast<unsigned char>(end[-1])) != 0) {
        end--;
    }
    const size_t size = static_cast<size_t>(end - begin);
    char* const text = static_cast<char*>(std::malloc(size + 1));
    std::memcpy(text, begin, size);
    text[size] = 0;
    return text;
}

static void addline(ConfigList* list, const char* line, const char* end, char separator)
{
    const size_t size = static_cast<size_t>(end - line);
    const void* const found = size > 0 ? std::memchr(line, separator, size) : nullptr;
    const char* const split = static_cast<const char*>(found);
    if (split != nullptr) {
        addentry(list, trimmed(line, split), trimmed(split + 1, end));
    }
}

// A CR LF ends a line and then an empty one, which is dropped as every line without a separator is.
static bool endsline(char c)
{
    return c == '\n' || c == '\r' || c == 0;
}

void config_parse(ConfigList* out, const char* text, size_t size, char separator)
{
    GrowArray_init(&out->entries, sizeof(ConfigEntry));
    out->unreadable = false;
    size_t line = 0;
    for (size_t at = 0; at <= size; at++) { // forward: the order of the list is that of the text
        if (at == size || endsline(text[at])) {
            addline(out, text + line, text + at, separator);
            line = at + 1;
        }
    }
}

void config_load(ConfigList* out, const char* path, char separator)
{
    u8* bytes;
    size_t size;
    char why[WHOLEFILE_WHY];
    const WholeFileRead read = wholefile_readmost(path, CONFIG_MAXBYTES, &bytes, &size, why);
    const bool unreadable = read == WHOLEFILE_UNREADABLE;
    if (unreadable) {
        report_notice("config", 0, why);
    }
    config_parse(out, bytes != nullptr ? reinterpret_cast<const char*>(bytes) : "", size,
                 separator);
    out->unreadable = unreadable;
    std::free(bytes);
}

const char* config_get(const ConfigList* list, const char* name, const char* fallback)
{
    const ConfigEntry* best = nullptr;
    for (i32 i = entrycount(list) - 1; i >= 0; i--) {
        const ConfigEntry* const entry = entryat(list, i);
        if (str_begins_folded(entry->key, name) &&
            (best == nullptr || std::strlen(entry->key) < std::strlen(best->key))) {
            best = entry;
        }
    }
    return best != nullptr && best->value != nullptr ? best->value : fallback;
}

bool config_get_bool(const ConfigList* list, const char* name)
{
    const char* const value = config_get(list, name, "");
    return str_begins_folded(value, "t") || str_begins_folded(value, "y") || value[0] == '1';
}

void config_default(ConfigList* list, const char* key, const char* value)
{
    for (i32 i = entrycount(list) - 1; i >= 0; i--) {
        if (str_same_folded(entryat(list, i)->key, key)) {
            return;
        }
    }
    addentry(list, copied(key), copied(value));
}

void config_set(ConfigList* list, const char* name, const char* value)
{
    char* const copy = copied(value); // the value may be the one that is replaced
    for (i32 i = entrycount(list) - 1; i >= 0; i--) {
        ConfigEntry* const entry = entryat(list, i);
        if (str_begins_folded(entry->key, name)) {
            std::free(entry->value);
            entry->value = copy;
            return;
        }
    }
    addentry(list, copied(name), copy);
}

void config_set_bool(ConfigList* list, const char* name, i32 value)
{
    static const char ending[] = " (Y/N)";
    const size_t size = std::strlen(name) + sizeof ending;
    char* const key = static_cast<char*>(std::malloc(size));
    std::snprintf(key, size, "%s%s", name, ending);
    config_set(list, key, value != 0 ? "Y" : "N");
    std::free(key);
}

static size_t textsize(const ConfigList* list)
{
    size_t size = 0;
    for (i32 i = entrycount(list) - 1; i >= 0; i--) {
        const ConfigEntry* const entry = entryat(list, i);
        size += std::strlen(entry->key) + 3; // separator, blank, line end
        size += entry->value != nullptr ? std::strlen(entry->value) : 0;
    }
    return size;
}

bool config_save(const ConfigList* list, const char* path, char separator, char* why)
{
    if (list->unreadable) {
        std::snprintf(why, WHOLEFILE_WHY, "%s is left as it is, since it could not be read", path);
        return false;
    }
    if (textsize(list) > CONFIG_MAXBYTES) { // of which nothing could be read at the next start
        std::snprintf(why, WHOLEFILE_WHY, "There are more settings than %s may hold", path);
        return false;
    }
    const char between[] = {separator, ' '};
    WholeFile file;
    wholefile_begin(&file, path);
    const i32 n = entrycount(list);
    for (i32 i = 0; i < n; i++) { // forward: the order of the list is that of the file
        const ConfigEntry* const entry = entryat(list, i);
        wholefile_put(&file, entry->key, std::strlen(entry->key));
        wholefile_put(&file, between, sizeof between);
        if (entry->value != nullptr) {
            wholefile_put(&file, entry->value, std::strlen(entry->value));
        }
        wholefile_put(&file, "\n", 1);
    }
    const bool saved = wholefile_end(&file);
    std::memcpy(why, file.why, WHOLEFILE_WHY);
    return saved;
}

void config_free(ConfigList* list)
{
    for (i32 i = entrycount(list) - 1; i >= 0; i--) {
        std::free(entryat(list, i)->key);
        std::free(entryat(list, i)->value);
    }
    GrowArray_free(&list->entries);
}

// A decimal integer as atoi reads it, but held within an i32. `end`, unless null, receives the place
// behind it, which is `text` if there is none.
static i32 readinteger(const char* text, const char** end)
{
    char* behind;
    const long value = std::strtol(text, &behind, 10);
    if (end != nullptr) {
        *end = behind;
    }
    if (value > INT_MAX) {
        return INT_MAX;
    }
    return value < INT_MIN ? INT_MIN : static_cast<i32>(value);
}

// Reads a number of pixels if there is one, held so that sums of places and sizes stay in an i32.
// Returns the place behind it.
static const char* readpixels(const char* text, i32* out)
{
    const char* end;
    const i32 value = readinteger(text, &end);
    if (end != text) {
        const i32 below = value < CONFIG_MAXPIXELS ? value : CONFIG_MAXPIXELS;
        *out = below > -CONFIG_MAXPIXELS ? below : -CONFIG_MAXPIXELS;
    }
    return end;
}

// Reads "X<separator>Y", with the separator right behind X; what can't be read stays as it was.
static void readpair(const char* text, const char* separator, i32* x, i32* y)
{
    const char* const end = readpixels(text, x);
    if (end != text && str_begins_folded(end, separator)) {
        readpixels(end + std::strlen(separator), y);
    }
}

static bool isdecimal(char c)
{
    return c >= '0' && c <= '9';
}

static const char* skipdigits(const char* text)
{
    while (isdecimal(*text)) {
        text++;
    }
    return text;
}

// The place behind a decimal number that begins with a digit, fraction and exponent included.
static const char* skipnumber(const char* text)
{
    text = skipdigits(text);
    if (*text == '.') {
        text = skipdigits(text + 1);
    }
    if (*text == 'e' || *text == 'E') {
        const char* const exponent = text[1] == '+' || text[1] == '-' ? text + 2 : text + 1;
        text = isdecimal(*exponent) ? skipdigits(exponent) : text;
    }
    return text;
}

// The displays of a list of numbers as a mask; whatever is no digit separates.
static i32 readmask(const char* text)
{
    u32 mask = 0;
    while (*text != 0) {
        if (isdecimal(*text)) {
            const u32 bit = static_cast<u32>(readinteger(text, nullptr)) - 1U;
            mask |= 1U << (bit % 32U);
            text = skipnumber(text);
        } else {
            text++;
        }
    }
    return static_cast<i32>(mask);
}

static void readresolution(const char* value)
{
    if (str_same_folded(value, "auto")) {
        gfx_width = 0;
        gfx_height = 0;
    } else if (str_begins_folded(value, "display")) {
        gfx_width = 0;
        gfx_height = readinteger(value + std::strlen("display"), nullptr);
    } else if (str_same_folded(value, "span")) {
        gfx_width = -1;
        gfx_height = -1;
    } else if (str_begins_folded(value, "span")) {
        gfx_width = -1;
        gfx_height = readmask(value + std::strlen("span"));
    } else if (str_same_folded(value, "windowed")) {
        windowed = true;
    } else {
        readpair(value, "x", &gfx_width, &gfx_height);
    }
}

void config_read_display_and_stereo(ConfigList* list, i32* mode, i32* swap)
{
    if (config_get(list, "Resolution", nullptr) == nullptr) {
        config_default(list, resolution_key, "auto");
    }
    readresolution(config_get(list, "Resolution", ""));
    readpair(config_get(list, "Fullscreen offset", ""), ",", &fullscreen_x, &fullscreen_y);
    config_default(list, stereo_mode_key, "0");
    *mode = readinteger(config_get(list, "Stereo mode", "0"), nullptr);
    config_default(list, swap_stereo_key, "N");
    *swap = config_get_bool(list, "Swap stereo") ? 1 : 0;
}
