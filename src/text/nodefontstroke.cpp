// Strokes of a glyph as quads with a ramp across their edges. Every piece is drawn on its own and the
// greatest value wins where pieces overlap, so a texel comes to hold how near the stroke is.
#include "gfx/textures.h"
#include "text/nodefont.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <cmath>
#include <numbers>

static const f32 pi = std::numbers::pi_v<f32>;
static const f32 straightcorner =
    1.5393804002589986F;               // half of a corner too wide for an arc, 88.2 degrees
static const f32 jointreach = 1.0001F; // of a mitred corner, in half strokes
static const f32 tooshort = 1e-5F;     // letter heights; has no direction

enum { ARCSTEPS = 30, MOSTPOINTS = 16 };

struct Point {
    f32 x, y;
};

// A point of a line and the direction across it there.
struct Station {
    Point at, across;
};

struct Pen {
    f32 full[4]; // colour of the value 1
    f32 half;    // of the stroke
    f32 inner;   // distance from the centre line where the ramp begins, 0 in a hairline
    f32 outer;   // where the ramp ends with the value 0
    f32 top;     // value at `inner` and within
};

// An open or closed line around a convex piece, counterclockwise.
struct Outline {
    Point points[MOSTPOINTS];
    i32 n;
    bool closed;
};

static Point direction(f32 angle)
{
    return {.x = std::cos(angle), .y = std::sin(angle)};
}

static Point along(Point from, Point way, f32 distance)
{
    return {.x = from.x + way.x * distance, .y = from.y + way.y * distance};
}

static f32 distance(Point a, Point b)
{
    return std::hypot(b.x - a.x, b.y - a.y);
}

static Point unit(Point from, Point to)
{
    const f32 length = distance(from, to);
    return {.x = (to.x - from.x) / length, .y = (to.y - from.y) / length};
}

// What lies to the right of a way, which is the outside of a counterclockwise outline.
static Point rightof(Point way)
{
    return {.x = way.y, .y = -way.x};
}

static Pen makepen(f32 stroke, f32 fade)
{
    Pen pen = {};
    glGetFloatv(GL_CURRENT_COLOR, pen.full);
    pen.half = stroke / 2;
    pen.inner = std::fmax((stroke - fade) / 2, 0.0F);
    pen.outer = (stroke + fade) / 2;
    const bool hairline = stroke <= fade && fade > 0;
    pen.top = hairline ? pen.half / fade + 0.5F : 1.0F;
    return pen;
}

static void putvertex(const Pen* pen, Point p, f32 value)
{
    glColor4f(pen->full[0] * value, pen->full[1] * value, pen->full[2] * value,
              pen->full[3] * value);
    glVertex2f(p.x, p.y);
}

// A quad from one station to the next, between two distances across them, each with its value.
static void putband(const Pen* pen, const Station* a, const Station* b, f32 from, f32 fromvalue,
                    f32 to, f32 tovalue)
{
    putvertex(pen, along(a->at, a->across, from), fromvalue);
    putvertex(pen, along(b->at, b->across, from), fromvalue);
    putvertex(pen, along(b->at, b->across, to), tovalue);
    putvertex(pen, along(a->at, a->across, to), tovalue);
}

// The whole width of a stroke from one station to the next.
static void putstrip(const Pen* pen, const Station* a, const Station* b)
{
    if (pen->inner > 0) {
        putband(pen, a, b, -pen->inner, pen->top, pen->inner, pen->top);
    }
    if (pen->outer > pen->inner) {
        putband(pen, a, b, pen->inner, pen->top, pen->outer, 0);
        putband(pen, a, b, -pen->inner, pen->top, -pen->outer, 0);
    }
}

// Rounded corners may leave nothing of an edge, which then has no direction either.
static void stroke_segment(const Pen* pen, Point a, Point b)
{
    if (distance(a, b) < tooshort) {
        return;
    }
    const Point across = rightof(unit(a, b));
    const Station start = {.at = a, .across = across};
    const Station end = {.at = b, .across = across};
    putstrip(pen, &start, &end);
}

static Station arcstation(Point centre, f32 radius, f32 angle)
{
    const Point across = direction(angle);
    return {.at = along(centre, across, radius), .across = across};
}

static void stroke_arc(const Pen* pen, Point centre, f32 radius, f32 start, f32 end)
{
    Station last = arcstation(centre, radius, start);
    for (i32 i = 1; i <= ARCSTEPS; i++) { // in the direction of the arc
        const f32 part = static_cast<f32>(i) / static_cast<f32>(ARCSTEPS);
        const Station next = arcstation(centre, radius, start + (end - start) * part);
        putstrip(pen, &last, &next);
        last = next;
    }
}

// The outside of edge `i`, which runs from point i to the next one.
static Point edgenormal(const Outline* outline, i32 i)
{
    return rightof(unit(outline->points[i], outline->points[(i + 1) % outline->n]));
}

// Point i with its mitre: (n1 + n2) / (1 + n1 n2) of the normals of its two edges. That is the same as
// (u1 - u2) / sqrt(1 - (u1 u2)^2) of their directions, but has a value where both are in one line. The
// ends of an open outline have one edge.
static Station outlinestation(const Outline* outline, i32 i)
{
    const i32 last = outline->n - 1;
    const Point at = outline->points[i];
    if (!outline->closed && i == 0) {
        return {.at = at, .across = edgenormal(outline, 0)};
    }
    if (!outline->closed && i == last) {
        return {.at = at, .across = edgenormal(outline, last - 1)};
    }
    const Point n1 = edgenormal(outline, i > 0 ? i - 1 : last);
    const Point n2 = edgenormal(outline, i);
    const f32 size = std::fmax(1 + n1.x * n2.x + n1.y * n2.y, 0.01F);
    return {.at = at, .across = {.x = (n1.x + n2.x) / size, .y = (n1.y + n2.y) / size}};
}

static void stroke_polygon(const Pen* pen, const Outline* outline, Point centre)
{
    const f32 inset = pen->half - pen->inner; // half of the ramp, or less in a hairline
    const f32 outset = pen->outer - pen->half;
    const i32 edges = outline->closed ? outline->n : outline->n - 1;
    for (i32 i = edges - 1; i >= 0; i--) {
        const Station a = outlinestation(outline, i);
        const Station b = outlinestation(outline, (i + 1) % outline->n);
        putvertex(pen, centre, pen->top);
        putvertex(pen, along(a.at, a.across, -inset), pen->top);
        putvertex(pen, along(b.at, b.across, -inset), pen->top);
        putvertex(pen, centre, pen->top);
        if (outset > 0) {
            putband(pen, &a, &b, -inset, pen->top, outset, 0);
        }
    }
}

static void addpoint(Outline* outline, Point p)
{
    if (outline->n > 0 && distance(outline->points[outline->n - 1], p) < tooshort) {
        return; // the edge would have no direction
    }
    outline->points[outline->n] = p;
    outline->n++;
}

static void drawdot(const Pen* pen, Point at)
{
    const f32 h = pen->half;
    const Outline square = {.points = {{.x = at.x + h, .y = at.y + h},
                                       {.x = at.x - h, .y = at.y + h},
                                       {.x = at.x - h, .y = at.y - h},
                                       {.x = at.x + h, .y = at.y - h}},
                            .n = 4,
                            .closed = true};
    stroke_polygon(pen, &square, at);
}

// Ends a stroke half its width behind the node; open toward the neighbour, where the stroke goes on.
static void drawcap(const Pen* pen, Point at, f32 angle)
{
    const Point d = direction(angle);
    const Point p = {.x = -d.y, .y = d.x};
    const f32 h = pen->half;
    const Point back = along(at, d, -h);
    Outline cap = {};
    addpoint(&cap, along(at, p, h));
    addpoint(&cap, along(back, p, h));
    addpoint(&cap, along(back, p, -h));
    addpoint(&cap, along(at, p, -h));
    if (cap.n > 1) {
        stroke_polygon(pen, &cap, at);
    }
}

// Keeps what lies within `reach` of `at` along an axis, with a new point at each crossing.
static Outline cliphalf(const Outline* outline, Point at, Point axis, f32 reach)
{
    Outline kept = {};
    f32 lastroom = 0;
    for (i32 i = 0; i < outline->n; i++) { // along the outline
        const Point p = outline->points[i];
        const f32 room = reach - ((p.x - at.x) * axis.x + (p.y - at.y) * axis.y);
        if (i > 0 && (room < 0) != (lastroom < 0)) {
            const Point last = outline->points[i - 1];
            const f32 part = lastroom / (lastroom - room);
            addpoint(&kept,
                     {.x = last.x + (p.x - last.x) * part, .y = last.y + (p.y - last.y) * part});
        }
        if (room >= 0) {
            addpoint(&kept, p);
        }
        lastroom = room;
    }
    return kept;
}

// The outside of a sharp corner, from the neighbour at a1 by twice `half` to the next one. Both ends lie
// within the square that it is clipped to.
static void drawmitre(const Pen* pen, Point at, f32 a1, f32 half)
{
    const f32 h = pen->half;
    const f32 a2 = a1 + 2 * half;
    // the tip of a spike may lie at any distance
    const f32 tip = h / std::fmax(std::sin(half), 1e-4F);
    Outline corner = {};
    addpoint(&corner, along(at, direction(a1 + pi / 2), h));
    addpoint(&corner, along(at, direction(a1 + half), tip));
    addpoint(&corner, along(at, direction(a2 - pi / 2), h));
    const Point axes[4] = {
        {.x = 1, .y = 0}, {.x = -1, .y = 0}, {.x = 0, .y = 1}, {.x = 0, .y = -1}};
    for (i32 i = 0; i < 4; i++) { // x, -x, y, -y
        corner = cliphalf(&corner, at, axes[i], jointreach * h);
    }
    if (corner.n > 1) {
        stroke_polygon(pen, &corner, at);
    }
}

static void drawround(const Pen* pen, Point at, f32 trim, f32 a1, f32 half)
{
    const Point centre = along(at, direction(a1 + half), trim / std::cos(half));
    stroke_arc(pen, centre, trim * std::tan(half), a1 - pi / 2, a1 + 2 * half - 3 * pi / 2);
}

static Point place(const NodeFontNode* node)
{
    return {.x = node->x, .y = node->y};
}

// The directions of a node's neighbours, rising. `angles` has room for one an edge.
static i32 neighbourangles(f32* angles, const NodeFontNode* nodes, const GrowArray* edges, i32 node)
{
    i32 n = 0;
    for (i32 i = static_cast<i32>(edges->count) - 1; i >= 0; i--) {
        const NodeFontEdge edge = items<NodeFontEdge>(edges)[i];
        if (edge.a != node && edge.b != node) {
            continue;
        }
        const NodeFontNode* other = &nodes[edge.a == node ? edge.b : edge.a];
        const f32 angle = std::atan2(other->y - nodes[node].y, other->x - nodes[node].x);
        i32 at = n;
        for (; at > 0 && angles[at - 1] > angle; at--) {
            angles[at] = angles[at - 1];
        }
        angles[at] = angle;
        n++;
    }
    return n;
}

// `shaped` is a glyph whose nodes are, `trims` has one a node.
static void drawjoint(const Pen* pen, const NodeFontChar* shaped, const f32* trims, i32 node)
{
    const NodeFontNode* nodes = items<NodeFontNode>(&shaped->nodes);
    const Point at = place(&nodes[node]);
    const bool sharp = nodes[node].kind == NODEFONT_SHARP;
    f32 angles[255]; // as many as a glyph can have edges
    const i32 n = neighbourangles(angles, nodes, &shaped->edges, node);
    if (n == 0) {
        drawdot(pen, at);
        return;
    }
    if (sharp && n == 1) {
        drawcap(pen, at, angles[0]);
        return;
    }
    for (i32 i = n - 1; i >= 0; i--) {
        const f32 a1 = angles[i];
        const f32 next = angles[(i + 1) % n];
        const f32 half = (next < a1 ? next + 2 * pi - a1 : next - a1) / 2;
        if (sharp && half > pi / 2) {
            drawmitre(pen, at, a1, half);
        } else if (!sharp && half < straightcorner) {
            drawround(pen, at, trims[node], a1, half); // of one neighbour alone: a half disc
        }
    }
}

static void drawedge(const Pen* pen, const NodeFontChar* shaped, const f32* trims,
                     NodeFontEdge edge)
{
    const NodeFontNode* nodes = items<NodeFontNode>(&shaped->nodes);
    const Point a = place(&nodes[edge.a]);
    const Point b = place(&nodes[edge.b]);
    const f32 room = distance(a, b) - trims[edge.a] - trims[edge.b];
    if (room < tooshort) {
        return;
    }
    const Point u = unit(a, b);
    stroke_segment(pen, along(a, u, trims[edge.a]), along(b, u, -trims[edge.b]));
}

static void drawpieces(const Pen* pen, const NodeFontChar* shaped, const NodeFontParams* params)
{
    f32 trims[255]; // as many as a glyph can have nodes
    const i32 nnodes = static_cast<i32>(shaped->nodes.count);
    for (i32 i = nnodes - 1; i >= 0; i--) {
        trims[i] =
            NodeFont_cornertrim(items<NodeFontNode>(&shaped->nodes), &shaped->edges, i, params);
    }
    for (i32 i = static_cast<i32>(shaped->edges.count) - 1; i >= 0; i--) {
        drawedge(pen, shaped, trims, items<NodeFontEdge>(&shaped->edges)[i]);
    }
    for (i32 i = nnodes - 1; i >= 0; i--) {
        drawjoint(pen, shaped, trims, i);
    }
}

// Without the greatest value, d + s - d s comes nearest to it: it is full where one piece is, and at
// an edge where two pieces meet it bulges less than their sum would.
static void begingreatest()
{
    glEnable(GL_BLEND);
    if (tex_blend_equation(GL_MAX)) {
        glBlendFunc(GL_ONE, GL_ONE);
    } else {
        glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_COLOR);
    }
}

void NodeFont_stroke(const NodeFontChar* glyph, i32 code, const NodeFontParams* params, f32 fade)
{
    const Pen pen = makepen(params->stroke, fade);
    NodeFontChar shaped = {.nodes = {}, .edges = glyph->edges};
    GrowArray_init(&shaped.nodes, sizeof(NodeFontNode));
    for (u32 i = 0; i < glyph->nodes.count; i++) { // edges count the nodes in their order
        const NodeFontNode node =
            NodeFont_shapenode(items<NodeFontNode>(&glyph->nodes)[i], code, params);
        GrowArray_push(&shaped.nodes, &node);
    }
    begingreatest();
    glBegin(GL_QUADS);
    drawpieces(&pen, &shaped, params);
    glEnd();
    tex_blend_equation(GL_FUNC_ADD);
    glDisable(GL_BLEND);
    glColor4fv(pen.full);
    GrowArray_free(&shaped.nodes);
}
