// The typeface's atlas in tests: loading it in a window, its texels, and what they come to by a plain
// formula on straight strokes.
#pragma once

#include "gfx/offscreen.h"
#include "tests/scripted_window.h"
#include "text/nodefont.h"

#include <GL/gl.h>

#include <cmath>
#include <string>
#include <vector>

inline const NodeFontParams typeface_params = {
    .stroke = 0.125F, .cornerradius = 0.25F, .xscale = 1.0F, .xheight = 0.625F};
inline const f32 typeface_scale = 32.0F;
inline const f32 typeface_margin = 3.0F;

inline void atlas_window(i32 width, i32 height)
{
    scripted_begin();
    windowed = true; // of any size, the display's mode isn't changed
    gfx_open(width, height, "test");
}

inline Font* atlas_load(const std::string& name = "fmod", f32 scale = typeface_scale,
                        f32 margin = typeface_margin)
{
    return NodeFontCharSet_load(nodefont_data, sizeof nodefont_data, name.c_str(), &typeface_params,
                                scale, margin);
}

/// A level of a texture, rows in the texture's order.
struct Texels {
    i32 w = 0, h = 0;
    std::vector<u8> rgba;

    i32 at(i32 x, i32 y, i32 channel = 1) const
    {
        return rgba.at((static_cast<size_t>(y) * static_cast<size_t>(w) + static_cast<size_t>(x)) *
                           4 +
                       static_cast<size_t>(channel));
    }
};

inline Texels texels_of(GLuint texture, i32 level = 0)
{
    Texels texels;
    glBindTexture(GL_TEXTURE_2D, texture);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, level, GL_TEXTURE_WIDTH, &texels.w);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, level, GL_TEXTURE_HEIGHT, &texels.h);
    texels.rgba.resize(static_cast<size_t>(texels.w) * static_cast<size_t>(texels.h) * 4);
    glGetTexImage(GL_TEXTURE_2D, level, GL_RGBA, GL_UNSIGNED_BYTE, texels.rgba.data());
    glBindTexture(GL_TEXTURE_2D, 0);
    return texels;
}

/// The greatest difference of red, green or blue.
inline i32 most_difference(const Texels& a, const Texels& b)
{
    i32 most = a.w == b.w && a.h == b.h ? 0 : 256;
    for (size_t i = 0; i < a.rgba.size() && i < b.rgba.size(); i++) {
        const i32 difference = std::abs(a.rgba[i] - b.rgba[i]);
        most = i % 4 != 3 && difference > most ? difference : most;
    }
    return most;
}

struct GlyphPoint {
    f64 x, y; // letter heights
};

/// A glyph as it is drawn: shaped nodes, their trims, and edges.
struct PlainGlyph {
    std::vector<NodeFontNode> nodes;
    std::vector<NodeFontEdge> edges;
    std::vector<f64> trims;

    GlyphPoint node(i32 i) const
    {
        const NodeFontNode& n = nodes.at(static_cast<size_t>(i));
        return {n.x, n.y};
    }
};

inline PlainGlyph plain_glyph(const NodeFontCharSet* set, i32 code)
{
    const NodeFontChar& from = set->chars[code];
    PlainGlyph glyph;
    for (u32 i = 0; i < from.nodes.count; i++) {
        glyph.nodes.push_back(
            NodeFont_shapenode(items<NodeFontNode>(&from.nodes)[i], code, &typeface_params));
    }
    for (u32 i = 0; i < from.edges.count; i++) {
        glyph.edges.push_back(items<NodeFontEdge>(&from.edges)[i]);
    }
    for (u32 i = 0; i < from.nodes.count; i++) {
        glyph.trims.push_back(static_cast<f64>(NodeFont_cornertrim(
            glyph.nodes.data(), &from.edges, static_cast<i32>(i), &typeface_params)));
    }
    return glyph;
}

inline NodeFontCharSet* typeface_set()
{
    const u8* cursor = nodefont_data;
    return NodeFontCharSet_parse(&cursor, nodefont_data + sizeof nodefont_data);
}

/// Where `p` lies beside the line from a to b: along it from a, and away from it.
struct Beside {
    f64 along, away, length;
};
inline Beside beside(GlyphPoint p, GlyphPoint a, GlyphPoint b)
{
    const f64 length = std::hypot(b.x - a.x, b.y - a.y);
    const f64 ux = (b.x - a.x) / length;
    const f64 uy = (b.y - a.y) / length;
    return {(p.x - a.x) * ux + (p.y - a.y) * uy, std::fabs((p.y - a.y) * ux - (p.x - a.x) * uy),
            length};
}

/// Distance of a point from the whole stroke of an edge.
inline f64 edge_distance(const PlainGlyph& glyph, const NodeFontEdge& edge, GlyphPoint p)
{
    const GlyphPoint a = glyph.node(edge.a);
    const Beside at = beside(p, a, glyph.node(edge.b));
    const f64 over = std::fmax(0.0, std::fmax(-at.along, at.along - at.length));
    return std::hypot(over, at.away);
}

/// Whether only the straight part of edge `edge` can reach a point.
inline bool alone(const PlainGlyph& glyph, size_t edge, GlyphPoint p)
{
    const f64 clear = 0.25;
    const NodeFontEdge own = glyph.edges[edge];
    for (size_t i = 0; i < glyph.edges.size(); i++) {
        if (i != edge && edge_distance(glyph, glyph.edges[i], p) < clear) {
            return false;
        }
    }
    for (size_t i = 0; i < glyph.nodes.size(); i++) {
        const GlyphPoint n = glyph.node(static_cast<i32>(i));
        if (std::hypot(n.x - p.x, n.y - p.y) < clear) {
            return false;
        }
    }
    const Beside at = beside(p, glyph.node(own.a), glyph.node(own.b));
    return at.along > glyph.trims[static_cast<size_t>(own.a)] &&
           at.along < at.length - glyph.trims[static_cast<size_t>(own.b)];
}

/// The ramp of a straight stroke, 0 to 255: half on its edge, full half a ramp inside.
inline f64 ramp_value(f64 away, f64 stroke, f64 fade)
{
    return 255 * std::fmin(1.0, std::fmax(0.0, 0.5 + (stroke / 2 - away) / fade));
}

/// Texels beside straight strokes alone, and how many of them are as the formula has them.
struct StraightCheck {
    i32 texels = 0, wrong = 0;
    i32 edges = 0, full = 0,
        outside = 0; // texels within half a pixel of the edge, full ones and empty ones
    std::vector<bool> glyphs = std::vector<bool>(256);
};

inline GlyphPoint texel_point(const Font* font, const f32 box[4], f32 setymin, f64 x, f64 row)
{
    const f64 fade = static_cast<f64>(typeface_margin / typeface_scale);
    const f64 scale = static_cast<f64>(typeface_scale);
    return {(x + 0.5) / scale + static_cast<f64>(box[0]) - fade,
            (static_cast<f64>(font->height) - row - 0.5) / scale + static_cast<f64>(setymin) -
                fade};
}

inline void check_texel(StraightCheck* check, const PlainGlyph& glyph, i32 code, GlyphPoint p,
                        i32 value)
{
    const f64 fade = static_cast<f64>(typeface_margin / typeface_scale);
    for (size_t edge = 0; edge < glyph.edges.size(); edge++) {
        const f64 away = edge_distance(glyph, glyph.edges[edge], p);
        if (away > 0.2 || !alone(glyph, edge, p)) {
            continue;
        }
        const f64 want = ramp_value(away, 0.125, fade);
        check->texels++;
        check->wrong += std::fabs(want - value) > 1.5 ? 1 : 0;
        check->edges += want > 80 && want < 175 ? 1 : 0;
        check->full += want == 255 ? 1 : 0;
        check->outside += want == 0 ? 1 : 0;
        check->glyphs.at(static_cast<size_t>(code)) = true;
    }
}

inline StraightCheck check_straight(const Font* font)
{
    StraightCheck check;
    NodeFontCharSet* const set = typeface_set();
    const Texels texels = texels_of(font->texture);
    f32 whole[4];
    NodeFont_setbox(whole, set, &typeface_params);
    for (i32 code = 0; code < 256; code++) {
        const PlainGlyph glyph = plain_glyph(set, code);
        f32 box[4];
        NodeFont_glyphbox(box, &set->chars[code], code, &typeface_params);
        for (i32 y = 0; y < static_cast<i32>(font->height); y++) {
            for (i32 x = 0; x < static_cast<i32>(font->cellw[code]); x++) {
                const i32 value = texels.at(static_cast<i32>(font->cellx[code]) + x,
                                            static_cast<i32>(font->celly[code]) + y);
                check_texel(&check, glyph, code, texel_point(font, box, whole[2], x, y), value);
            }
        }
    }
    NodeFontCharSet_free(set);
    return check;
}
