#include "base/rnd.h"
#include "base/str.h"
#include "text/bitmapfonts.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numbers>

// A piece of a description.
struct Span {
    const char* at;
    size_t length;
};

static Span spanto(const char* at, const char* stops)
{
    return {.at = at, .length = std::strcspn(at, stops)};
}

static bool spanis(Span span, const char* word)
{
    return std::strlen(word) == span.length && str_begins_folded(span.at, word);
}

static bool spanhas(Span span, char c)
{
    return std::memchr(span.at, c, span.length) != nullptr;
}

static bool spanhaspx(Span span)
{
    for (size_t i = 1; i < span.length; i++) { // any order finds it
        if (span.at[i - 1] == 'p' && span.at[i] == 'x') {
            return true;
        }
    }
    return false;
}

// A number with what its unit says.
struct Amount {
    f64 value;
    bool pixels, percent, degrees;
};

// False if there is no number at the start of the value.
static bool readamount(Amount* out, Span value)
{
    char* end = nullptr;
    out->value = std::strtod(value.at, &end);
    if (end == value.at || !std::isfinite(out->value)) {
        return false;
    }
    out->pixels = spanhaspx(value);
    out->percent = spanhas(value, '%');
    out->degrees = spanhas(value, '\xB0');
    return true;
}

static f64 fraction(const Amount* amount)
{
    return amount->percent ? amount->value * 0.01 : amount->value;
}

// What is no number or beyond the limit leaves the field as it is.
static void store(f32* field, f64 value)
{
    if (std::fabs(value) <= FONTSPEC_MAX) {
        *field = static_cast<f32>(value);
    }
}

static void multiply(f32* field, f64 by)
{
    store(field, static_cast<f64>(*field) * by);
}

static void add(f32* field, f64 by)
{
    store(field, static_cast<f64>(*field) + by);
}

// Both scales are counted against the height of the base.
static void resize(f32* scale, const Font* base, const Amount* amount)
{
    if (amount->pixels) {
        store(scale, amount->value / base->height);
    } else {
        multiply(scale, fraction(amount));
    }
}

static void embolden(FontSpec* spec, const Amount* amount)
{
    add(&spec->boldness, amount->pixels ? amount->value / spec->base->maxw : fraction(amount));
}

static void slant(FontSpec* spec, const Amount* amount)
{
    if (amount->pixels) {
        add(&spec->skew, amount->value / spec->base->height);
    } else if (amount->degrees) {
        store(&spec->skew, std::tan(amount->value * (std::numbers::pi / 180.0)));
    } else {
        add(&spec->skew, fraction(amount));
    }
}

static void applyamount(FontSpec* spec, Span key, const Amount* amount)
{
    const bool both = spanis(key, "scale") || spanis(key, "size");
    if (both || spanis(key, "width")) {
        resize(&spec->xscale, spec->base, amount);
    }
    if (both || spanis(key, "height")) {
        resize(&spec->yscale, spec->base, amount);
    }
    if (spanis(key, "boldness")) {
        embolden(spec, amount);
    }
    if (spanis(key, "skew") || spanis(key, "angle")) {
        slant(spec, amount);
    }
}

// Options without a number.
struct Style {
    const char* key;
    f64 width, height;  // factors
    f64 boldness, skew; // added
};
static const Style styles[] = {
    {"big", 1.5, 1.5, 0.0, 0.0},       {"small", 0.6666666666666666, 0.6666666666666666, 0.0, 0.0},
    {"demibold", 1.0, 1.0, 0.03, 0.0}, {"bold", 1.1, 1.0, 0.05, 0.0},
    {"black", 1.2, 1.0, 0.08, 0.0},    {"italic", 1.0, 1.0, 0.0, 0.4}};

static void applystyle(FontSpec* spec, Span key)
{
    for (const Style& style : styles) {
        if (spanis(key, style.key)) {
            multiply(&spec->xscale, style.width);
            multiply(&spec->yscale, style.height);
            add(&spec->boldness, style.boldness);
            add(&spec->skew, style.skew);
        }
    }
    if (spanis(key, "normal")) {
        *spec = {
            .base = spec->base, .xscale = 1.0F, .yscale = 1.0F, .skew = 0.0F, .boldness = 0.0F};
    }
}

static void applyoption(FontSpec* spec, Span option)
{
    const Span key = spanto(option.at, "=:");
    applystyle(spec, key);
    if (key.length == option.length) {
        return;
    }
    const char* const value = key.at + key.length + 1;
    Amount amount;
    if (readamount(&amount, {.at = value, .length = option.length - key.length - 1})) {
        applyamount(spec, key, &amount);
    }
}

static Font* findname(Span name)
{
    const u32 n = fonts_table()->count;
    for (u32 i = 0; i < n; i++) { // the first of a name counts
        if (spanis(name, fonts_first[i]->name)) {
            return fonts_first[i];
        }
    }
    return nullptr;
}

static Font* otherbase(const char* description)
{
    if (font_current != nullptr) {
        return font_current->base;
    }
    const u32 n = fonts_table()->count;
    if (n == 0) {
        return Font_placeholder(description);
    }
    return fonts_first[irand(static_cast<i32>(n))]->base;
}

void FontSpec_parse(FontSpec* spec, const char* description)
{
    const Span name = spanto(description, ":");
    const Font* const found = name.length > 0 ? findname(name) : nullptr;
    *spec = {.base = nullptr, .xscale = 1.0F, .yscale = 1.0F, .skew = 0.0F, .boldness = 0.0F};
    if (found != nullptr) {
        *spec = Font_spec(found);
    } else {
        spec->base = otherbase(description);
    }
    const char* at = name.at + name.length;
    while (*at == ':') {
        const Span option = spanto(at + 1, ":");
        applyoption(spec, option);
        at = option.at + option.length;
    }
}
