// The atlas of the typeface: where its cells lie, how they are drawn, and the program that shows them.
#include "base/report.h"
#include "base/str.h"
#include "gfx/gfx_opengl.h"
#include "gfx/gl/shaderprocs.h"
#include "gfx/offscreen.h"
#include "gfx/projection.h"
#include "gfx/textures.h"
#include "text/nodefont.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

extern const char glsl_text_vs[];
extern const char glsl_text_fs[];

u32 text_program;

// More than this is drawn in several pictures: every driver takes a picture of this size.
enum { MOSTPICTURE = 1024 };

static const f32 subpixel = 0.3F; // how far the shader looks aside for red and blue, screen pixels

// What the cells are made from.
struct Atlas {
    Font* font;
    const NodeFontCharSet* set;
    const NodeFontParams* params;
    f32 scale; // pixels a letter height
    f32 fade;  // width of the ramp, letter heights
    f32 ymin;  // of all glyphs: so they stand on one baseline, however deep each one goes
};

struct Rect {
    i32 x, y, w, h;
};

// Without area if the two don't meet.
static Rect overlap(Rect a, Rect b)
{
    const i32 x = std::max(a.x, b.x);
    const i32 y = std::max(a.y, b.y);
    return {.x = x,
            .y = y,
            .w = std::max(std::min(a.x + a.w, b.x + b.w) - x, 0),
            .h = std::max(std::min(a.y + a.h, b.y + b.h) - y, 0)};
}

static i32 cellpixels(const Atlas* atlas, f32 least, f32 most)
{
    return static_cast<i32>((most + atlas->fade - (least - atlas->fade)) * atlas->scale);
}

// Lays the cells out in rows no longer than `maxsize` and takes the size of the texture from them.
static void layout(const Atlas* atlas, i32 height, i32 maxsize)
{
    Font* const font = atlas->font;
    const i32 gap = height / 4;
    i32 pen = 0;
    i32 row = 0;
    i32 maxx = 1;
    for (i32 code = 0; code < FONT_CODES; code++) { // the pen runs with the codes
        font->cellx[code] = static_cast<u32>(pen);
        font->celly[code] = static_cast<u32>(row);
        if (code >= NODEFONT_CODES) {
            continue;
        }
        f32 box[4];
        NodeFont_glyphbox(box, &atlas->set->chars[code], code, atlas->params);
        const i32 width = cellpixels(atlas, box[0], box[1]);
        pen += width + gap;
        if (pen > maxsize) {
            row += height + gap;
            font->cellx[code] = 0;
            font->celly[code] = static_cast<u32>(row);
            pen = width + gap;
        }
        font->cellw[code] = static_cast<u32>(width);
        maxx = std::max(maxx, static_cast<i32>(font->cellx[code]) + width);
    }
    font->texw = tex_powerabove(maxx);
    font->texh = tex_powerabove(row + height);
    font->height = static_cast<u32>(height);
}

static void maketexture(Font* font)
{
    glGenTextures(1, &font->texture);
    glBindTexture(GL_TEXTURE_2D, font->texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_LOD_BIAS, -1.0F);
    const size_t pixels = static_cast<size_t>(font->texw) * static_cast<size_t>(font->texh);
    void* const blank = std::calloc(pixels, 4);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, font->texw, font->texh, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                 blank);
    std::free(blank);
}

static Rect cellof(const Font* font, i32 code)
{
    return {.x = static_cast<i32>(font->cellx[code]),
            .y = static_cast<i32>(font->celly[code]),
            .w = static_cast<i32>(font->cellw[code]),
            .h = static_cast<i32>(font->height)};
}

// Strokes the part of a glyph that lies in a part of the texture. A glyph's y rises, the overlay's
// falls: so it stands on its head in the picture, its lowest row on top. But the copy takes rows from
// the bottom of the framebuffer and puts them into the texture from `celly` on: there the glyph's top
// is on row `celly`, which is where text looks for it.
static void drawcell(const Atlas* atlas, i32 code, Rect part)
{
    const NodeFontChar* const glyph = &atlas->set->chars[code];
    const Rect cell = cellof(atlas->font, code);
    const Rect seen = overlap(cell, part);
    if (glyph->nodes.count == 0 || seen.w == 0 || seen.h == 0) {
        return;
    }
    f32 box[4];
    NodeFont_glyphbox(box, glyph, code, atlas->params);
    const f32 left = static_cast<f32>(cell.x - part.x);
    const f32 top = static_cast<f32>(part.h - (cell.y - part.y) - cell.h);
    glScissor(seen.x - part.x, gfx_height - part.h + seen.y - part.y, seen.w, seen.h);
    glColor4f(1, 1, 1, 1);
    glPushMatrix();
    glTranslatef(left - (box[0] - atlas->fade) * atlas->scale,
                 top - (atlas->ymin - atlas->fade) * atlas->scale, 0);
    glScalef(atlas->scale, atlas->scale, 1);
    NodeFont_stroke(glyph, code, atlas->params, atlas->fade);
    glPopMatrix();
}

// Draws a part of the texture into the upper left corner of the framebuffer and copies it.
static void drawpart(const Atlas* atlas, Rect part)
{
    const i32 bottom = gfx_height - part.h;
    glScissor(0, bottom, part.w, part.h);
    glClear(GL_COLOR_BUFFER_BIT);
    for (i32 code = NODEFONT_CODES - 1; code >= 0; code--) {
        drawcell(atlas, code, part);
    }
    glCopyTexSubImage2D(GL_TEXTURE_2D, 0, part.x, part.y, 0, bottom, part.w, part.h);
}

// In the back buffer the parts are as small as the window: a cell may be cut, and its pieces come
// together again in the texture.
static void drawparts(const Atlas* atlas)
{
    const Rect whole = {.x = 0, .y = 0, .w = atlas->font->texw, .h = atlas->font->texh};
    const i32 width = std::min<i32>(whole.w, MOSTPICTURE);
    const i32 height = std::min<i32>(whole.h, MOSTPICTURE);
    i32 bottom;
    offscreen_begin(width, height, &bottom);
    gfx_overlay_begin();
    glEnable(GL_SCISSOR_TEST);
    const i32 stepx = std::min(width, gfx_width);
    const i32 stepy = std::min(height, gfx_height);
    for (i32 y = 0; y < whole.h; y += stepy) { // any order; parts don't meet
        for (i32 x = 0; x < whole.w; x += stepx) {
            drawpart(atlas, overlap(whole, {.x = x, .y = y, .w = stepx, .h = stepy}));
        }
    }
    gfx_overlay_end();
    offscreen_end();
}

static void makeatlas(const Atlas* atlas)
{
    f32 colour[4]; // a driver has been seen to keep the new one when the attributes are restored
    glGetFloatv(GL_CURRENT_COLOR, colour);
    glPushAttrib(GL_ENABLE_BIT | GL_LIGHTING_BIT | GL_TEXTURE_BIT);
    glDisable(GL_LIGHTING);
    glDisable(GL_FOG);
    glDisable(GL_CULL_FACE);
    glDisable(GL_ALPHA_TEST);
    glDisable(GL_TEXTURE_2D);
    glShadeModel(GL_SMOOTH);
    maketexture(atlas->font);
    drawparts(atlas);
    tex_make_mipmaps_plainly(GL_TEXTURE_2D); // at start-up, when the driver's way takes longest
    glPopAttrib();
    glColor4fv(colour);
}

static Font* newfont(const char* name, f32 margin)
{
    Font* const font = static_cast<Font*>(std::calloc(1, sizeof(Font)));
    str_new(&font->name, name);
    font->margin = margin;
    font->base = font;
    font->xscale = 1;
    font->yscale = 1;
    font->basemark = FONT_BASEMARK;
    return font;
}

static void freefont(Font* font)
{
    std::free(font->name);
    std::free(font);
}

// False after a fatal report.
static bool checksize(const Font* font, i32 maxsize)
{
    if (font->texw <= maxsize && font->texh <= maxsize) {
        return true;
    }
    char text[500];
    std::snprintf(text, sizeof text,
                  "Font '%s' required texture of size %dx%d but maxtx=%d (nodefontdata)",
                  font->name, font->texw, font->texh, maxsize);
    report_inner("nodefont", 0, REPORT_FATAL, text, 1);
    return false;
}

static NodeFontCharSet* readtable(const u8* data, u32 length, const char* name)
{
    const u8* cursor = data;
    NodeFontCharSet* const set = NodeFontCharSet_parse(&cursor, data + length);
    if (set == nullptr) {
        char text[500];
        std::snprintf(text, sizeof text,
                      "Font '%s' has a damaged table: byte %d of %u (nodefontdata)", name,
                      static_cast<i32>(cursor - data), length);
        report_inner("nodefont", 0, REPORT_FATAL, text, 1);
    }
    return set;
}

// False after a fatal report.
static bool fillfont(Font* font, const NodeFontCharSet* set, const NodeFontParams* params,
                     f32 scale, f32 margin)
{
    f32 box[4];
    NodeFont_setbox(box, set, params);
    const Atlas atlas = {.font = font,
                         .set = set,
                         .params = params,
                         .scale = scale,
                         .fade = margin / scale,
                         .ymin = box[2]};
    GLint maxsize = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &maxsize);
    layout(&atlas, cellpixels(&atlas, box[2], box[3]), maxsize);
    if (!checksize(font, maxsize)) {
        return false;
    }
    makeatlas(&atlas);
    Font_measurecells(font);
    return true;
}

Font* NodeFontCharSet_load(const u8* data, u32 length, const char* name,
                           const NodeFontParams* params, f32 scale, f32 margin)
{
    NodeFontCharSet* const set = readtable(data, length, name);
    if (set == nullptr) {
        return nullptr;
    }
    Font* const font = newfont(name, margin / scale * scale);
    const bool good = fillfont(font, set, params, scale, margin);
    NodeFontCharSet_free(set);
    if (!good) {
        freefont(font);
        return nullptr;
    }
    GrowArray_push(fonts_table(), &font);
    if (font_current == nullptr) {
        Font_use(font);
    }
    NodeFont_program(font, margin);
    return font;
}

static GLint uniform(const char* name)
{
    return gl_entry_points.GetUniformLocation(text_program, name);
}

void NodeFont_program(const Font* font, f32 margin)
{
    static GLuint made; // 0 until first use, and where there are no programs
    if (made == 0) {
        made = program_make(glsl_text_vs, glsl_text_fs, nullptr, nullptr, nullptr);
    }
    text_program = made;
    if (made == 0) {
        return;
    }
    program_use(made);
    gl_entry_points.Uniform1i(uniform("tex"), 0);
    gl_entry_points.Uniform2i(uniform("sz"), font->texw, font->texh);
    gl_entry_points.Uniform1f(uniform("aapix"), margin);
    gl_entry_points.Uniform1f(uniform("dcx"), subpixel);
    program_use(0);
}
