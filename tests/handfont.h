// A table of fonts for the length of a scope, with base fonts made by hand, whose cells and scales are
// plain numbers. Nothing of it needs a window, since the textures are none.
#pragma once

#include "base/str.h"
#include "gfx/textures.h"
#include "text/bitmapfonts.h"
#include "text/drawtext.h"
#include "text/nodefont.h"

#include <cstdlib>

struct FontTable {
    FontTable()
    {
        empty();
    }
    FontTable(const FontTable&) = delete;
    FontTable& operator=(const FontTable&) = delete;
    ~FontTable()
    {
        empty();
    }

    /// Cells of 54 pixels' height with a margin of 3, in a texture of 512 by 256: of `width` pixels for
    /// all letters but "C", which has 31, and "i", which has 16; 10 for the space. Codes above 255 have
    /// none. Cell c begins at (c, 2 c modulo 256).
    Font* base(const char* name, u32 texture = 0, u32 width = 26) const
    {
        Font* const font = static_cast<Font*>(std::calloc(1, sizeof(Font)));
        const auto setwidth = [font](u8 c, u32 pixels) { font->cellw[c] = pixels; };
        for (u32 c = 0; c < FONT_CODES; c++) {
            font->cellx[c] = c;
            font->celly[c] = 2 * c % 256;
            font->cellw[c] = c < 256 ? width : 0;
        }
        setwidth('C', 31);
        setwidth('i', 16);
        setwidth(' ', 10);
        font->texture = texture;
        font->texw = 512;
        font->texh = 256;
        font->margin = 3.0F;
        font->maxw = width > 31 ? width : 31;
        font->height = 54;
        font->fixedw = 32;
        str_new(&font->name, name);
        font->base = font;
        font->xscale = 1.0F;
        font->yscale = 1.0F;
        font->basemark = FONT_BASEMARK;
        GrowArray_push(fonts_table(), &font);
        return font;
    }

    u32 count() const
    {
        return fonts_table()->count;
    }

  private:
    static void empty()
    {
        for (u32 i = fonts_table()->count; i > 0; i--) {
            std::free(fonts_first[i - 1]->name);
            std::free(fonts_first[i - 1]);
        }
        GrowArray_clear(&fonts);
        font_current = nullptr;
        font_spec = {};
        font_maxw = 0;
        font_height = 0;
        font_fixedw = 0;
        text_program = 0;
        text_overlay = 1;
        text_scalex = 1.0F;
        text_scaley = 1.0F;
        text_blend = 3;
        text_spacing = 0.1F;
        text_fixedpitch = 0;
        have_generate_mipmap = -1; // asked without a window it would stay "no"
    }
};

/// Whether the typeface has a glyph for a code.
inline bool has_glyph(i32 code)
{
    return (code >= 33 && code <= 126) || code == 163 || code == 166 || code == 172;
}

inline FontSpec parsed_spec(const char* description)
{
    FontSpec spec;
    FontSpec_parse(&spec, description);
    return spec;
}
