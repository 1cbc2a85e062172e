// Fonts: a texture of 512 glyph cells with a table of where each lies, and variants of it at other
// scales.
//
// A variant is asked for by a description such as "fmod:scale=30%" or by a FontSpec; a font near enough
// is taken before a new variant is made. Fonts live to the end of the process unless a placeholder takes
// their name.
#pragma once

#include "base/growarray.h"
#include "base/types.h"

enum { FONT_CODES = 512, FONT_BASEMARK = 512, FONT_FIXEDLETTER = 'C' };

/// Greatest magnitude that an option of a description gives a scale, skew or boldness.
static constexpr f64 FONTSPEC_MAX = 1e6;

struct Font {
    u32 texture;           // shared by a base font and its variants
    u32 cellx[FONT_CODES]; // left pixel of each cell, by character code
    u32 celly[FONT_CODES]; // top pixel
    u32 cellw[FONT_CODES]; // width in pixels; 0 above 255
    i32 texw, texh;        // texture size in pixels
    f32 margin;            // pixels of distance ramp around each glyph, inside its cell
    u32 maxw;              // greatest cellw
    u32 height;            // of every cell, in pixels
    u32 fixedw;            // cell width of FONT_FIXEDLETTER plus 1, the advance of fixed pitch text
    char* name;            // owned; lookup ignores case
    Font* base;            // the font that owns the texture; itself for a base font
    f32 xscale, yscale;    // against the base
    f32 skew;              // shear
    f32 boldness;
    i32 basemark; // FONT_BASEMARK in a font that can serve as a base, 0 in a variant
};

/// What picks a variant. Two specs are the same if all fields are.
struct FontSpec {
    Font* base; // lent
    f32 xscale, yscale;
    f32 skew;
    f32 boldness;
};

extern GrowArray fonts;    // of Font*, owned; set up at the first need by fonts_table
extern Font** fonts_first; // always fonts' buffer
extern Font* font_current; // null until a font is chosen
extern FontSpec font_spec; // its spec as it was asked for
extern i32 font_maxw;      // metrics of the current font in pixels, cut to whole numbers
extern i32 font_height;
extern i32 font_fixedw;

/// The table, set up at the first need.
GrowArray* fonts_table();

/// Reads a description into `spec`: a font name, then options, each after a colon, which add up from left
/// to right. A name that isn't in the table takes the current font's base, or that of a random font if
/// none is current (two draws), or, while the table is empty, a placeholder that the whole description
/// names. Unknown options, and options that want a number and have none, change nothing; neither does a
/// number that isn't finite. A field that an option would take beyond FONTSPEC_MAX stays as it is. Any
/// text is taken.
void FontSpec_parse(FontSpec* spec, const char* description);

/// The spec that a font's own fields give.
FontSpec Font_spec(const Font* font);

/// Sets maxw and fixedw from the widths of the cells.
void Font_measurecells(Font* font);

/// The font that is near enough to a spec, else a new variant of its base. Lent. Trusts `spec` to have a
/// base and finite numbers.
Font* Font_variant(const FontSpec* spec);

/// A new entry of the table: a copy of the whole record with a name of its own. Lent.
Font* Font_clone(Font* source);

/// Makes a copy of a described font under the name `newname`, and does not make it current.
void Font_make(const char* description, const char* newname);

/// Makes a described font current. At once if it is.
void Font_select(const char* description);

/// Makes a font current, with the spec that its own fields give. Does nothing if `font` is null.
void Font_use(Font* font);

/// Makes the font of a spec current. At once if font_spec equals it.
void Font_usespec(const FontSpec* spec);

/// A font with a blank texture of 1 by 1, which takes the place of one that has its name; it becomes
/// current if that was. Where the lost font was the base of others, one of them becomes their base, and
/// the texture goes with the last font that shares it. Lent.
Font* Font_placeholder(const char* name);
