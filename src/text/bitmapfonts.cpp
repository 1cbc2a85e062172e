#include "text/bitmapfonts.h"

#include "base/str.h"
#include "gfx/textures.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

GrowArray fonts;
Font** fonts_first;
Font* font_current;
FontSpec font_spec;
i32 font_maxw;
i32 font_height;
i32 font_fixedw;

// Greatest magnitude of a metric: below it single precision counts every pixel.
static const f32 greatestmetric = 16777216.0F;

GrowArray* fonts_table()
{
    if (fonts.buf == nullptr) {
        GrowArray_init(&fonts, sizeof(void*)); // pointers
        fonts.backptr = reinterpret_cast<void**>(&fonts_first);
        fonts_first = items<Font*>(&fonts);
    }
    return &fonts;
}

FontSpec Font_spec(const Font* font)
{
    return {.base = font->base,
            .xscale = font->xscale,
            .yscale = font->yscale,
            .skew = font->skew,
            .boldness = font->boldness};
}

// Steps of 5 % between two scales, or twice the pixels of their difference if those are fewer. Scales
// without a logarithm of their ratio (zero, or of different signs) leave the pixels.
static f64 scaledistance(f32 a, f32 b, u32 pixels)
{
    const f64 ratio = static_cast<f64>(a) / static_cast<f64>(b);
    const f64 steps = std::fabs(std::log(ratio)) * 20.49593431428785; // 1 / ln 1.05
    const f64 px = std::fabs(2.0 * (static_cast<f64>(a) - static_cast<f64>(b)) * pixels);
    return steps < px ? steps : px;
}

static f64 distance(f32 a, f32 b)
{
    return std::fabs(static_cast<f64>(a) - static_cast<f64>(b));
}

static f64 score(const FontSpec* spec, const Font* font)
{
    const Font* const base = spec->base;
    if (font->base != base) {
        return -1000.0;
    }
    const f64 style =
        50.0 * distance(spec->boldness, font->boldness) + 20.0 * distance(spec->skew, font->skew);
    const f64 width = scaledistance(spec->xscale, font->xscale, base->maxw);
    const f64 height = scaledistance(spec->yscale, font->yscale, base->height);
    return 1.0 - style - (height + width) * 0.5;
}

static Font* nearenough(const FontSpec* spec)
{
    Font* best = nullptr;
    f64 bestscore = 0.0;
    for (i32 i = static_cast<i32>(fonts_table()->count) - 1; i >= 0; i--) {
        const f64 now = score(spec, fonts_first[i]);
        if (now > bestscore) {
            bestscore = now;
            best = fonts_first[i];
        }
    }
    return best;
}

// Hangs ":key=value" on a name.
static void addtoname(Font* font, const char* key, f32 value)
{
    const size_t room = std::strlen(font->name) + std::strlen(key) + 32;
    char* const name = static_cast<char*>(std::malloc(room));
    std::snprintf(name, room, "%s:%s=%g", font->name, key, static_cast<f64>(value));
    std::free(font->name);
    font->name = name;
}

static void namevariant(Font* font)
{
    if (font->xscale != 1.0F) {
        addtoname(font, "width", font->xscale);
    }
    if (font->yscale != 1.0F) {
        addtoname(font, "height", font->yscale);
    }
    if (font->boldness != 0.0F) {
        addtoname(font, "boldness", font->boldness);
    }
    if (font->skew != 0.0F) {
        addtoname(font, "skew", font->skew);
    }
}

void Font_measurecells(Font* font)
{
    font->maxw = 0;
    for (i32 i = FONT_CODES - 1; i >= 0; i--) {
        font->maxw = font->cellw[i] > font->maxw ? font->cellw[i] : font->maxw;
    }
    font->fixedw = font->cellw[FONT_FIXEDLETTER] + 1;
}

// The size of the texture comes with the copy.
static Font* newvariant(const FontSpec* spec)
{
    Font* const font = Font_clone(spec->base);
    font->base = spec->base;
    font->xscale = spec->xscale;
    font->yscale = spec->yscale;
    font->skew = spec->skew;
    font->boldness = spec->boldness;
    font->basemark = 0;
    namevariant(font);
    Font_measurecells(font);
    return font;
}

Font* Font_variant(const FontSpec* spec)
{
    Font* const found = nearenough(spec);
    return found != nullptr ? found : newvariant(spec);
}

Font* Font_clone(Font* source)
{
    Font* const font = static_cast<Font*>(std::malloc(sizeof(Font)));
    *font = *source;
    str_new(&font->name, source->name);
    GrowArray_push(fonts_table(), &font);
    return font;
}

void Font_make(const char* description, const char* newname)
{
    FontSpec spec;
    FontSpec_parse(&spec, description);
    Font* const font = Font_clone(Font_variant(&spec));
    str_set(&font->name, newname);
}

// trunc(pixels * scale), held where it can't be drawn any more.
static i32 metric(u32 pixels, f32 scale)
{
    const f32 value = static_cast<f32>(pixels) * scale;
    if (std::fabs(value) <= greatestmetric) {
        return static_cast<i32>(value);
    }
    return static_cast<i32>(value > 0.0F ? greatestmetric : -greatestmetric);
}

static void makecurrent(Font* font)
{
    font_current = font;
    font_maxw = metric(font->maxw, font->xscale);
    font_height = metric(font->height, font->yscale);
    font_fixedw = metric(font->fixedw, font->xscale);
}

static bool samespec(const FontSpec* a, const FontSpec* b)
{
    return a->base == b->base && a->xscale == b->xscale && a->yscale == b->yscale &&
           a->skew == b->skew && a->boldness == b->boldness;
}

void Font_select(const char* description)
{
    if (font_current != nullptr && str_same_folded(font_current->name, description)) {
        return;
    }
    FontSpec spec;
    FontSpec_parse(&spec, description);
    Font_usespec(&spec);
}

void Font_use(Font* font)
{
    if (font != nullptr) {
        makecurrent(font);
        font_spec = Font_spec(font);
    }
}

void Font_usespec(const FontSpec* spec)
{
    if (samespec(spec, &font_spec)) {
        return;
    }
    Font* const font = Font_variant(spec);
    if (font != font_current) {
        makecurrent(font);
    }
    font_spec = *spec;
}

// Null if no font of the table has the texture.
static Font* sharer(u32 texture)
{
    for (i32 i = static_cast<i32>(fonts.count) - 1; i >= 0; i--) {
        if (fonts_first[i]->texture == texture) {
            return fonts_first[i];
        }
    }
    return nullptr;
}

// A font that shares the texture takes over for those that have `old` as their base.
static void handover(const Font* old, Font* heir)
{
    for (i32 i = static_cast<i32>(fonts.count) - 1; i >= 0; i--) {
        Font* const font = fonts_first[i];
        if (font->base == old) {
            font->base = heir != nullptr ? heir : font;
            font->base->basemark = FONT_BASEMARK;
        }
    }
    font_spec.base = font_spec.base == old ? heir : font_spec.base;
}

static void deletefont(u32 index)
{
    Font* const old = fonts_first[index];
    GrowArray_remove(&fonts, index);
    Font* const heir = sharer(old->texture);
    if (heir == nullptr) {
        glDeleteTextures(1, &old->texture);
    }
    handover(old, heir);
    font_current = font_current == old ? nullptr : font_current;
    std::free(old->name);
    std::free(old);
}

static GLuint blanktexture()
{
    const u8 pixel[4] = {};
    GLuint name = 0;
    glGenTextures(1, &name);
    glBindTexture(GL_TEXTURE_2D, name);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_LOD_BIAS, -0.5F);
    tex_upload(GL_TEXTURE_2D, 4, 1, 1, pixel);
    return name;
}

Font* Font_placeholder(const char* name)
{
    Font* const font = static_cast<Font*>(std::calloc(1, sizeof(Font)));
    str_new(&font->name, name);
    const bool hadcurrent = font_current != nullptr;
    for (i32 i = static_cast<i32>(fonts_table()->count) - 1; i >= 0; i--) {
        if (str_same_folded(fonts_first[i]->name, font->name)) {
            deletefont(static_cast<u32>(i));
        }
    }
    font->texture = blanktexture();
    font->texw = 1;
    font->texh = 1;
    font->base = font;
    font->xscale = 1.0F;
    font->yscale = 1.0F;
    font->basemark = FONT_BASEMARK;
    Font_measurecells(font);
    GrowArray_push(&fonts, &font);
    if (hadcurrent && font_current == nullptr) {
        Font_use(font);
    }
    return font;
}
