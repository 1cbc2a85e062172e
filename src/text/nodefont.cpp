#include "text/nodefont.h"

#include <cassert>
#include <cmath>
#include <cstdlib>

enum { NODEBYTES = 3, EDGEBYTES = 2 };

static const f32 unitsperheight = 32.0F;

static i32 signedbyte(u8 byte)
{
    return byte < 128 ? byte : byte - 256;
}

static NodeFontNode readnode(const u8* bytes)
{
    return {.x = static_cast<f32>(signedbyte(bytes[0])) / unitsperheight,
            .y = static_cast<f32>(signedbyte(bytes[1])) / unitsperheight,
            .kind = bytes[2]};
}

static bool edgehaslength(const NodeFontEdge* edge, const GrowArray* nodes)
{
    const i32 count = static_cast<i32>(nodes->count);
    if (edge->a >= count || edge->b >= count) {
        return false;
    }
    const NodeFontNode* a = &items<NodeFontNode>(nodes)[edge->a];
    const NodeFontNode* b = &items<NodeFontNode>(nodes)[edge->b];
    return a->x != b->x || a->y != b->y;
}

// False if the block is at fault; the cursor is then left where it was.
static bool readblock(NodeFontChar* glyph, const u8** cursor, const u8* end)
{
    const u8* at = *cursor;
    if (end - at < 2) {
        return false;
    }
    const i32 nnodes = at[0];
    const i32 nedges = at[1];
    at += 2;
    if (end - at < NODEBYTES * nnodes + EDGEBYTES * nedges) {
        return false;
    }
    for (i32 i = 0; i < nnodes; i++) { // edges count the nodes in the order of the table
        const NodeFontNode node = readnode(at);
        GrowArray_push(&glyph->nodes, &node);
        at += NODEBYTES;
    }
    for (i32 i = 0; i < nedges; i++) { // in the order of the table too: drawing keeps it
        const NodeFontEdge edge = {.a = at[0], .b = at[1]};
        if (!edgehaslength(&edge, &glyph->nodes)) {
            return false;
        }
        GrowArray_push(&glyph->edges, &edge);
        at += EDGEBYTES;
    }
    *cursor = at;
    return true;
}

static NodeFontCharSet* newset()
{
    NodeFontCharSet* set = static_cast<NodeFontCharSet*>(std::malloc(sizeof *set));
    for (i32 code = NODEFONT_CODES - 1; code >= 0; code--) {
        GrowArray_init(&set->chars[code].nodes, sizeof(NodeFontNode));
        GrowArray_init(&set->chars[code].edges, sizeof(NodeFontEdge));
    }
    return set;
}

NodeFontCharSet* NodeFontCharSet_parse(const u8** cursor, const u8* end)
{
    NodeFontCharSet* set = newset();
    for (i32 code = 0; code < NODEFONT_CODES; code++) { // blocks stand in the order of their codes
        if (!readblock(&set->chars[code], cursor, end)) {
            NodeFontCharSet_free(set);
            return nullptr;
        }
    }
    return set;
}

void NodeFontCharSet_free(NodeFontCharSet* set)
{
    if (set == nullptr) {
        return;
    }
    for (i32 code = NODEFONT_CODES - 1; code >= 0; code--) {
        GrowArray_free(&set->chars[code].nodes);
        GrowArray_free(&set->chars[code].edges);
    }
    std::free(set);
}

NodeFontNode NodeFont_shapenode(NodeFontNode node, i32 code, const NodeFontParams* params)
{
    node.x *= params->xscale;
    if (code < 'a' || code > 'z') {
        return node;
    }
    const f32 whole = std::floor(node.y);
    const f32 part = node.y - whole;
    if (part <= 0.5F) {
        node.y = whole + part * 2 * params->xheight;
    } else {
        node.y = whole + ((1 - part) * 2 * (params->xheight - 1) + 1);
    }
    return node;
}

f32 NodeFont_cornertrim(const NodeFontNode* nodes, const GrowArray* edges, i32 node,
                        const NodeFontParams* params)
{
    assert(node >= 0);
    if (nodes[node].kind == NODEFONT_SHARP) {
        return 0;
    }
    f32 trim = params->cornerradius;
    for (i32 i = static_cast<i32>(edges->count) - 1; i >= 0; i--) {
        const NodeFontEdge edge = items<NodeFontEdge>(edges)[i];
        if (edge.a != node && edge.b != node) {
            continue;
        }
        const NodeFontNode* other = &nodes[edge.a == node ? edge.b : edge.a];
        const f32 length = std::hypot(other->x - nodes[node].x, other->y - nodes[node].y);
        trim = std::fmin(trim, other->kind == NODEFONT_SHARP ? length : length / 2);
    }
    return trim;
}

static void widenbox(f32 box[4], const NodeFontChar* glyph, i32 code, const NodeFontParams* params)
{
    for (i32 i = static_cast<i32>(glyph->nodes.count) - 1; i >= 0; i--) {
        const NodeFontNode node =
            NodeFont_shapenode(items<NodeFontNode>(&glyph->nodes)[i], code, params);
        box[0] = std::fmin(box[0], node.x);
        box[1] = std::fmax(box[1], node.x);
        box[2] = std::fmin(box[2], node.y);
        box[3] = std::fmax(box[3], node.y);
    }
}

static void emptybox(f32 box[4])
{
    for (i32 i = 3; i >= 0; i--) {
        box[i] = 0;
    }
}

static void addstroke(f32 box[4], const NodeFontParams* params)
{
    box[0] -= params->stroke / 2;
    box[1] += params->stroke / 2;
    box[2] -= params->stroke / 2;
    box[3] += params->stroke / 2;
}

void NodeFont_glyphbox(f32 box[4], const NodeFontChar* glyph, i32 code,
                       const NodeFontParams* params)
{
    emptybox(box);
    widenbox(box, glyph, code, params);
    addstroke(box, params);
}

void NodeFont_setbox(f32 box[4], const NodeFontCharSet* set, const NodeFontParams* params)
{
    emptybox(box);
    for (i32 code = NODEFONT_CODES - 1; code >= 0; code--) {
        widenbox(box, &set->chars[code], code, params);
    }
    addstroke(box, params);
}
