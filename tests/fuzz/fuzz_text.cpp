// Any description picks a font that is found again, and any bytes are measured and drawn in it: nothing
// is read past the end of the text, and every corner is at a finite place.
//
// An input is a byte of flags, a byte for the edge where words wrap, a description with a zero at its
// end, and a text.
#include "tests/fuzz/fuzz.h"
#include "tests/handfont.h"

#include <GL/gl.h>

#include <cmath>
#include <memory>
#include <string>

enum {
    NOFONTS = 1, // begins with an empty table
    PROGRAM = 2,
    FIXEDPITCH = 4,
    TWOFONTS = 8,
};

static size_t vertices; // since the last text began
static bool inquads;

// These take the place of the library's.
void glVertex2f(GLfloat x, GLfloat y)
{
    fuzz_claim(inquads, "corners stand in a batch");
    fuzz_claim(std::isfinite(x) && std::isfinite(y), "a corner is at a finite place");
    vertices++;
}

void glTexCoord2f(GLfloat u, GLfloat v)
{
    fuzz_claim(u >= 0 && u <= 2 && v >= 0 && v <= 2, "a cell lies in its texture");
}

void glBegin(GLenum)
{
    fuzz_claim(!inquads, "batches aren't nested");
    inquads = true;
}

void glEnd()
{
    fuzz_claim(inquads, "a batch ends once");
    inquads = false;
}

static bool held(f32 field)
{
    return std::fabs(field) <= static_cast<f32>(FONTSPEC_MAX); // false for what is no number
}

static void choose(const char* description)
{
    FontSpec spec;
    FontSpec_parse(&spec, description);
    fuzz_claim(spec.base != nullptr, "a spec has a base");
    fuzz_claim(held(spec.xscale) && held(spec.yscale), "scales are held");
    fuzz_claim(held(spec.skew) && held(spec.boldness), "skew and boldness are held");
    const Font* const made = Font_variant(&spec);
    const u32 count = fonts.count;
    fuzz_claim(Font_variant(&spec) == made && fonts.count == count, "a variant is found again");
    Font_select(description);
    fuzz_claim(font_current != nullptr, "a font is current");
    const i32 metrics[] = {font_maxw, font_height, font_fixedw};
    for (const i32 metric : metrics) {
        fuzz_claim(std::abs(metric) <= 1 << 24, "metrics are held");
    }
}

static void drawtext(const char* text, size_t length, f32 wrap)
{
    fuzz_claim(std::isfinite(text_width_bytes(text, length)), "a width is finite");
    const Font* const font = font_current;
    const FontSpec spec = font_spec;
    const f32 edges[] = {0.0F, wrap};
    for (const f32 edge : edges) {
        vertices = 0;
        text_begin();
        const f32 end = text_put_bytes(0.0F, 0.0F, edge, edge, text, length, 0xFFFFFF);
        text_end();
        fuzz_claim(std::isfinite(end), "a text ends at a finite place");
        fuzz_claim(vertices <= 4 * length, "a glyph takes a byte");
        fuzz_claim(font_current == font && font_spec.xscale == spec.xscale,
                   "the font is given back");
    }
}

static void setup(const FontTable* table, i32 flags)
{
    if ((flags & NOFONTS) == 0) {
        table->base("fmod");
    }
    if ((flags & TWOFONTS) != 0) {
        table->base("other", 1, 9);
    }
    text_program = (flags & PROGRAM) != 0 ? 1 : 0;
    text_fixedpitch = (flags & FIXEDPITCH) != 0 ? 1 : 0;
}

int LLVMFuzzerTestOneInput(const unsigned char* bytes, size_t size)
{
    if (size < 2) {
        return 0;
    }
    const FontTable table;
    setup(&table, bytes[0]);
    const std::string all(reinterpret_cast<const char*>(bytes) + 2, size - 2);
    const std::string description = all.substr(0, all.find('\0'));
    choose(description.c_str());
    // of an array of its own size, so that a read past the end is one past an allocation
    const size_t length = all.size() > description.size() ? all.size() - description.size() - 1 : 0;
    const std::unique_ptr<char[]> text(new char[length]);
    all.copy(text.get(), length, all.size() - length);
    drawtext(text.get(), length, static_cast<f32>(bytes[1]) * 4.0F);
    return 0;
}
