#include "text/drawtext.h"

#include "gfx/gl/shaderprocs.h"
#include "gfx/projection.h"
#include "text/bitmapfonts.h"
#include "text/nodefont.h"

#include <GL/gl.h>

#include <cmath>

i32 text_overlay = 1;
f32 text_scalex = 1.0F;
f32 text_scaley = 1.0F;
i32 text_blend = 3;
f32 text_spacing = 0.1F;
u8 text_fixedpitch = 0;

static bool overlaid; // the open batch has set the overlay up; written by text_begin

struct BlendFactors {
    GLenum source, destination;
};
static const BlendFactors flatblends[4] = {{GL_ONE, GL_ZERO},
                                           {GL_DST_COLOR, GL_ONE_MINUS_SRC_ALPHA},
                                           {GL_ONE, GL_ONE_MINUS_SRC_COLOR},
                                           {GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA}};
static const BlendFactors sceneblends[4] = {{GL_ONE, GL_ZERO},
                                            {GL_ZERO, GL_ONE_MINUS_SRC_COLOR},
                                            {GL_SRC_ALPHA, GL_ONE},
                                            {GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA}};

static const char* const nulltext = "NULL?";

// ---- what a string holds

enum {
    BYTE_CODE = 2,
    BYTE_COMMAND = 5,
    CODEBYTES = 3,
    COMMANDBYTES = 7,
};

enum PieceKind {
    PIECE_END,
    PIECE_CHAR,
    PIECE_COLOUR,
    PIECE_PEN,
    PIECE_SIZE,
    PIECE_UNKNOWN, // a command of no meaning
};

struct Piece {
    PieceKind kind;
    i32 code;          // of a character, below FONT_CODES
    const u8* payload; // of a command, 5 bytes
};

// What is still to be read. A string that is given without its length has no end but its zero.
struct Reader {
    const u8* at;
    size_t left;
};

static Reader readerof(const char* text, size_t length)
{
    if (text == nullptr) {
        return {.at = reinterpret_cast<const u8*>(nulltext), .left = TEXT_WHOLE};
    }
    return {.at = reinterpret_cast<const u8*>(text), .left = length};
}

static i32 nextbyte(const Reader* in)
{
    return in->left > 0 ? *in->at : 0;
}

static Piece commandof(const u8* bytes)
{
    const PieceKind kinds[] = {PIECE_COLOUR, PIECE_PEN, PIECE_SIZE};
    const PieceKind kind = bytes[1] < 3 ? kinds[bytes[1]] : PIECE_UNKNOWN;
    return {.kind = kind, .code = 0, .payload = bytes + 2};
}

// The next piece, and the reader behind it. At the end the reader stays.
static Piece nextpiece(Reader* in)
{
    const i32 first = nextbyte(in);
    const size_t length = first == BYTE_CODE ? CODEBYTES : first == BYTE_COMMAND ? COMMANDBYTES : 1;
    if (first == 0 || in->left < length) {
        return {.kind = PIECE_END, .code = 0, .payload = nullptr};
    }
    const u8* const bytes = in->at;
    in->at += length;
    in->left -= in->left == TEXT_WHOLE ? 0 : length;
    if (first == BYTE_COMMAND) {
        return commandof(bytes);
    }
    const i32 code = first == BYTE_CODE ? bytes[1] << 8 | bytes[2] : first;
    return {.kind = PIECE_CHAR, .code = code & (FONT_CODES - 1), .payload = nullptr};
}

static u32 payload32(const u8* p)
{
    return p[0] | static_cast<u32>(p[1]) << 8 | static_cast<u32>(p[2]) << 16 |
           static_cast<u32>(p[3]) << 24;
}

static f32 penposition(const Piece* piece)
{
    return static_cast<f32>(static_cast<i32>(payload32(piece->payload)));
}

static f32 sizefactor(const Piece* piece)
{
    return static_cast<f32>(payload32(piece->payload) & 0xffffU) / 256.0F;
}

static i32 shiftof(const Piece* piece)
{
    return static_cast<int16_t>(payload32(piece->payload) >> 16);
}

static bool iswhite(i32 code)
{
    return code == ' ' || (code >= '\t' && code <= '\r');
}

// ---- widths

// What a character takes inside its margins, in pixels of the base.
static f32 innerwidth(i32 code)
{
    const Font* const base = font_current->base;
    return static_cast<f32>(base->cellw[code]) - 2.0F * base->margin;
}

static f64 measuredchar(i32 code, f64 xscale)
{
    if (code == '\n') {
        return 0.0;
    }
    if (text_fixedpitch != 0) {
        return font_fixedw;
    }
    const f64 bold = static_cast<f64>(font_current->boldness) + 1.0;
    const f64 width = static_cast<f64>(innerwidth(code));
    const f64 a = font_height * static_cast<f64>(text_spacing) + xscale * width * bold;
    return text_program != 0 ? a : std::trunc(a + 0.5);
}

// The width up to the end, or up to the first white space if only a word is wanted.
static f64 measure(Reader in, bool word)
{
    f64 xscale = static_cast<f64>(font_current->xscale);
    f64 width = 0.0;
    for (Piece piece = nextpiece(&in); piece.kind != PIECE_END; piece = nextpiece(&in)) {
        if (piece.kind == PIECE_CHAR) {
            if (word && iswhite(piece.code)) {
                break;
            }
            width += measuredchar(piece.code, xscale);
        } else if (piece.kind == PIECE_PEN) {
            width = static_cast<f64>(penposition(&piece));
        } else if (piece.kind == PIECE_SIZE) {
            xscale = static_cast<f64>(font_current->xscale) * static_cast<f64>(sizefactor(&piece));
        }
    }
    return width;
}

// Text before any font is drawn in a blank one.
static void needfont()
{
    if (font_current == nullptr) {
        Font_select("");
    }
}

f32 text_width_bytes(const char* text, size_t length)
{
    needfont();
    return static_cast<f32>(measure(readerof(text, length), false));
}

f32 text_width(const char* text)
{
    return text_width_bytes(text, TEXT_WHOLE);
}

// ---- batches

static void blendby(const BlendFactors factors[4])
{
    const i32 mode = text_blend >= 1 && text_blend <= 4 ? text_blend : 3;
    glEnable(GL_BLEND);
    glBlendFunc(factors[mode - 1].source, factors[mode - 1].destination);
    glDisable(GL_LIGHTING);
}

static void beginglyphs()
{
    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, font_current->texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    if (text_program != 0) {
        program_use(text_program);
    }
    glBegin(GL_QUADS);
}

static void endglyphs()
{
    glEnd();
    if (text_program != 0) {
        program_use(0);
    }
}

void text_begin()
{
    needfont();
    glPushAttrib(GL_ENABLE_BIT | GL_COLOR_BUFFER_BIT | GL_TRANSFORM_BIT | GL_TEXTURE_BIT);
    overlaid = text_overlay != 0;
    if (overlaid) {
        gfx_overlay_begin();
    } else {
        glMatrixMode(GL_MODELVIEW);
        glPushMatrix(); // the scale of a batch ends with it
    }
    glScalef(text_scalex, text_scaley, 1.0F);
    blendby(flatblends);
    beginglyphs();
}

void text_end()
{
    endglyphs();
    if (overlaid) {
        gfx_overlay_end();
    } else {
        glMatrixMode(GL_MODELVIEW);
        glPopMatrix();
    }
    glPopAttrib();
}

void text3d_begin()
{
    needfont();
    glPushAttrib(GL_ENABLE_BIT | GL_COLOR_BUFFER_BIT | GL_TEXTURE_BIT);
    glEnable(GL_ALPHA_TEST);
    glAlphaFunc(GL_GREATER, 0.0F);
    blendby(sceneblends);
    beginglyphs();
}

void text3d_end()
{
    endglyphs();
    glPopAttrib();
}

// ---- drawing

// A call of text_put.
struct Pen {
    FontSpec spec; // of the font from before the call, by its own fields
    f32 left;      // where lines begin
    f32 wrap, maxy;
    f32 x, y;   // upper left corner of the next glyph, inside its margin
    f32 sx, sy; // the scales now
    f64 raised; // of the baseline, by the last size command
};

static void setcolour(u32 colour)
{
    glColor4ub(static_cast<u8>(colour >> 16), static_cast<u8>(colour >> 8), static_cast<u8>(colour),
               255);
}

// Height of a line inside the margins, in pixels of the base.
static f32 innerheight(const Font* base)
{
    return static_cast<f32>(base->height) - 2.0F * base->margin;
}

// The quad of a cell reaches beyond the glyph's box by the margin b, in which its ramp lies.
static void emitglyph(const Pen* pen, i32 code)
{
    const Font* const base = font_current->base;
    const f32 hh = innerheight(base);
    const f32 b = hh > 0.0F ? static_cast<f32>(base->height) * base->margin / hh : 0.0F;
    const f32 x0 = pen->x - b * pen->sx;
    const f32 x1 = pen->x + innerwidth(code) * pen->sx + b * pen->sx;
    const f32 y0 = pen->y - b * pen->sy;
    const f32 y1 = pen->y + hh * pen->sy + b * pen->sy;
    const f32 tw = 1.0F / static_cast<f32>(base->texw);
    const f32 th = 1.0F / static_cast<f32>(base->texh);
    const f32 u0 = static_cast<f32>(base->cellx[code]) * tw;
    const f32 u1 = u0 + static_cast<f32>(base->cellw[code]) * tw;
    const f32 v0 = static_cast<f32>(base->celly[code]) * th;
    const f32 v1 = v0 + static_cast<f32>(base->height) * th;
    glTexCoord2f(u0, v0);
    glVertex2f(x0, y0);
    glTexCoord2f(u1, v0);
    glVertex2f(x1, y0);
    glTexCoord2f(u1, v1);
    glVertex2f(x1, y1);
    glTexCoord2f(u0, v1);
    glVertex2f(x0, y1);
}

// The advance from letter to letter.
static f32 advanceof(i32 code, f32 sx)
{
    const f32 a = static_cast<f32>(font_height) * text_spacing +
                  sx * innerwidth(code) * (font_current->boldness + 1.0F);
    return text_program != 0 ? a : std::trunc(a + 0.5F);
}

// Moves down, and back to the start of the line. False where drawing stops.
static bool breakline(Pen* pen, f32 by, f32* next)
{
    pen->y += by;
    if (pen->maxy != 0.0F && pen->y > pen->maxy) {
        return false;
    }
    *next = pen->left;
    return true;
}

static bool wordpasses(const Pen* pen, const Reader* rest)
{
    const f32 width = static_cast<f32>(measure(*rest, true));
    return width + pen->x > pen->wrap;
}

// False where drawing stops.
static bool putglyph(Pen* pen, i32 code, const Reader* rest)
{
    const Font* const base = font_current->base;
    f32 next = pen->x + advanceof(code, pen->sx);
    if (text_fixedpitch != 0) {
        next = pen->x + static_cast<f32>(font_fixedw);
        pen->x += (static_cast<f32>(font_fixedw) - innerwidth(code)) / 2.0F;
    }
    bool goeson = true;
    if (code == ' ') {
        if (pen->wrap != 0.0F && wordpasses(pen, rest)) {
            goeson = breakline(pen, 1.0F + innerheight(base) * pen->sy, &next);
        }
    } else {
        emitglyph(pen, code);
        if (pen->wrap != 0.0F && nextbyte(rest) != ' ' && next > pen->wrap) {
            goeson = breakline(pen, static_cast<f32>(base->height) + 1.0F, &next);
        }
    }
    pen->x = next;
    return goeson;
}

static void putnewline(Pen* pen)
{
    const f32 height = static_cast<f32>(font_current->base->height) * pen->sy;
    pen->x = pen->left;
    pen->y += std::trunc(height + 0.5F) + 1.0F;
}

// Scales count against the font from before the call, and so does the shift of the baseline.
static void putsize(Pen* pen, const Piece* piece)
{
    const f32 factor = sizefactor(piece);
    pen->sx = pen->spec.xscale * factor;
    pen->sy = pen->spec.yscale * factor;
    const f64 height =
        static_cast<f64>(pen->spec.base->height) * static_cast<f64>(pen->spec.yscale);
    const f64 raised = std::trunc(std::trunc(height * shiftof(piece) + 128.0) / 256.0);
    pen->y += static_cast<f32>(pen->raised - raised);
    pen->raised = raised;
    FontSpec spec = pen->spec;
    spec.xscale = pen->sx;
    spec.yscale = pen->sy;
    glEnd();
    Font_usespec(&spec);
    glBegin(GL_QUADS);
}

// False where drawing stops.
static bool putpiece(Pen* pen, const Piece* piece, const Reader* rest)
{
    if (piece->kind == PIECE_COLOUR) {
        setcolour(payload32(piece->payload));
    } else if (piece->kind == PIECE_PEN) {
        pen->x = penposition(piece);
    } else if (piece->kind == PIECE_SIZE) {
        putsize(pen, piece);
    } else if (piece->kind == PIECE_CHAR && piece->code == '\n') {
        putnewline(pen);
    } else if (piece->kind == PIECE_CHAR) {
        return putglyph(pen, piece->code, rest);
    }
    return true;
}

f32 text_put_bytes(f32 x, f32 y, f32 wrap, f32 maxy, const char* text, size_t length, u32 colour)
{
    Font* const font = font_current;
    const FontSpec asked = font_spec;
    Pen pen = {.spec = Font_spec(font),
               .left = x,
               .wrap = wrap,
               .maxy = maxy,
               .x = x,
               .y = y,
               .sx = font->xscale,
               .sy = font->yscale,
               .raised = 0.0};
    setcolour(colour);
    Reader in = readerof(text, length);
    Piece piece = nextpiece(&in);
    while (piece.kind != PIECE_END && putpiece(&pen, &piece, &in)) {
        piece = nextpiece(&in);
    }
    Font_use(font); // asking for the spec again might find a variant that has been made since
    font_spec = asked;
    return pen.y;
}

f32 text_put(f32 x, f32 y, f32 wrap, f32 maxy, const char* text, u32 colour)
{
    return text_put_bytes(x, y, wrap, maxy, text, TEXT_WHOLE, colour);
}

f32 text_draw(f32 x, f32 y, const char* text, u32 colour)
{
    text_begin();
    const f32 end = text_put(x, y, 0.0F, 0.0F, text, colour);
    text_end();
    return end;
}
