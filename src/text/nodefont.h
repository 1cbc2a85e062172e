// The one typeface: a small graph for each glyph, from a table that is built into the program.
//
// A glyph's nodes stand on a coarse grid, x to the right and y up, the baseline at y = 0 and the top
// of the letters at y = 1; its edges are stroked with a pen whose width and corners are parameters.
// Lower-case letters are drawn with their x-height at 0.5 and get the x-height of the parameters when
// they are shaped. The font that comes of it is an atlas of distance ramps, which a program turns into
// sharp text of any size.
#pragma once

#include "base/growarray.h"
#include "base/types.h"
#include "text/bitmapfonts.h"

enum { NODEFONT_CODES = 256, NODEFONT_LENGTH = 2520 };

enum NodeFontKind {
    NODEFONT_SHARP = 0,
    NODEFONT_ROUNDED = 1,
};

/// The table: 256 blocks, one a code, and nothing between them. A block is u8 n, the number of nodes,
/// u8 e, the number of edges, n times i8 x, i8 y in 1/32 of the letter height and u8 kind, and e times
/// u8, u8, the nodes that the edge joins. 97 codes have a glyph: 33 to 126, 163, 166 and 172.
extern const u8 (&nodefont_data)[NODEFONT_LENGTH];

struct NodeFontNode {
    f32 x, y; // in letter heights
    i32 kind; // a NodeFontKind
};

struct NodeFontEdge {
    i32 a, b; // numbers of nodes
};

struct NodeFontChar {
    GrowArray nodes; // of NodeFontNode, owned
    GrowArray edges; // of NodeFontEdge, owned
};

struct NodeFontCharSet {
    NodeFontChar chars[NODEFONT_CODES]; // by character code
};

struct NodeFontParams {
    f32 stroke;       // width of a stroke, in letter heights
    f32 cornerradius; // of rounded corners, in letter heights
    f32 xscale;       // horizontal stretch of all glyphs
    f32 xheight;      // height of lower-case letters, in letter heights
};

/// Reads 256 blocks from `*cursor` on and moves it behind the last one. The result is owned by the
/// caller and freed with NodeFontCharSet_free.
///
/// Never reads at `end` or behind it. Null if the table ends too early, or if an edge has no length,
/// since it names one node twice or two nodes at one place, or names a node that the glyph lacks; then
/// `*cursor` is left at the block at fault. Coordinates and kinds may be any.
NodeFontCharSet* NodeFontCharSet_parse(const u8** cursor, const u8* end);

/// Frees a set with its glyphs. Does nothing if `set` is null.
void NodeFontCharSet_free(NodeFontCharSet* set);

/// A node as it is drawn: x is stretched, and in the codes of a to z what lies between two whole heights
/// is moved so that 0.5 comes to the x-height. 0 and 1 stay where they are, and -0.5 comes to the x-height
/// less 1.
NodeFontNode NodeFont_shapenode(NodeFontNode node, i32 code, const NodeFontParams* params);

/// How far from node `node` its edges end, so that a rounded corner fits between them: the corner radius,
/// but no more than half of an edge to another rounded node and the whole of any other one. 0 for a sharp
/// node. `nodes` are all nodes of the glyph, shaped; `edges` are the glyph's.
f32 NodeFont_cornertrim(const NodeFontNode* nodes, const GrowArray* edges, i32 node,
                        const NodeFontParams* params);

/// Receives xmin, xmax, ymin and ymax of a glyph with its stroke, in letter heights. The box always
/// holds the origin: a glyph without nodes gives half a stroke to each side.
void NodeFont_glyphbox(f32 box[4], const NodeFontChar* glyph, i32 code,
                       const NodeFontParams* params);

/// Receives the box that holds those of all glyphs.
void NodeFont_setbox(f32 box[4], const NodeFontCharSet* set, const NodeFontParams* params);

/// Builds a font from a table: strokes every glyph into a texture, adds the font to the table of fonts
/// and prepares text_program. `scale` is pixels a letter height, `margin` the width of the distance ramp
/// in pixels. The atlas is drawn offscreen, or in the back buffer, which is black where it was drawn
/// afterwards; a small window makes it slower, no worse. OpenGL's state is as before, but program 0 is
/// current. The font becomes current if none is. Lent.
///
/// Fatal if the atlas doesn't fit in a texture, or if the table is damaged. Null where fatal reports
/// return. Trusts the numbers to be positive and of a size whose pixels an i32 can count.
Font* NodeFontCharSet_load(const u8* data, u32 length, const char* name,
                           const NodeFontParams* params, f32 scale, f32 margin);

/// Draws one glyph into the current framebuffer, in letter heights, with the greatest value kept where
/// pieces overlap: 0.5 on the edge of a stroke, the current colour `fade` / 2 inside, 0 `fade` / 2
/// outside. Where the driver can't keep the greatest value, joints bulge a little at their edges. Leaves
/// blending off and the current colour as it is.
void NodeFont_stroke(const NodeFontChar* glyph, i32 code, const NodeFontParams* params, f32 fade);

/// The program that draws glyphs sharply; 0 for none. Written by NodeFont_program.
extern u32 text_program;

/// Prepares text_program for a font. Leaves program 0 current.
void NodeFont_program(const Font* font, f32 margin);
