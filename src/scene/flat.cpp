#include "scene/flat.h"

#include "base/vec3.h"
#include "gfx/gfx_opengl.h"
#include "gfx/gl/shaderprocs.h"
#include "scene/colours.h"
#include "scene/exits.h"
#include "scene/labels.h"
#include "scene/scene.h"
#include "scene/view.h"

#include <algorithm>
#include <cmath>

extern const char glsl_flatball_vs[];
extern const char glsl_flatball_fs[];

static GLuint flatprogram; // 0 until first use of drawballs

enum { FLAT_SHADE = 0x40 }; // how much lighter the rim is and how much darker the core

void gfx_smooth_on(bool additive, f32 width)
{
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, additive ? GL_ONE : GL_ONE_MINUS_SRC_ALPHA);
    glHint(GL_LINE_SMOOTH_HINT, GL_NICEST);
    glHint(GL_POINT_SMOOTH_HINT, GL_NICEST);
    glEnable(GL_LINE_SMOOTH);
    glLineWidth(width);
    glEnable(GL_POINT_SMOOTH);
    glPointSize(width);
}

void gfx_smooth_off()
{
    glDisable(GL_BLEND);
    glDisable(GL_LINE_SMOOTH);
    glDisable(GL_POINT_SMOOTH);
    glLineWidth(1);
    glPointSize(1);
}

static void setcolour(u32 colour)
{
    glColor3ub(static_cast<u8>(colour >> 16), static_cast<u8>(colour >> 8),
               static_cast<u8>(colour));
}

static u32 shaded(u32 colour, i32 by)
{
    return colour_add(colour, by, by, by);
}

// Receives the vector from a node to the eye; returns its length.
static f64 towardeye(f64 out[3], const MazeNode* node, const MazeGame* game)
{
    vec3_sub(out, game->campos, node->pos);
    return vec3_length(out);
}

// Whether a node is large enough on the screen for a ball.
static bool isnear(const MazeNode* node, const MazeGame* game)
{
    f64 away[3];
    const i32 half = gfx_height / 2; // in whole pixels
    return towardeye(away, node, game) / node->radius < half;
}

// The six sides of what this depth slice shows, as planes with unit normals that point inward. A view
// without sides has none that are numbers, and nothing is beyond those.
struct Sides {
    f64 plane[6][4];
    f64 eyesize; // how large the numbers are that the eye brings into the card's sums
};

static void setside(f64 plane[4], const f64 ahead[4], f64 widened, const f64 across[4], f64 sign)
{
    for (i32 i = 3; i >= 0; i--) {
        plane[i] = widened * ahead[i] + sign * across[i];
    }
    const f64 length = vec3_length(plane);
    for (i32 i = 3; i >= 0; i--) {
        plane[i] /= length;
    }
}

// Four pixels are left free about the picture: a line's width reaches into it from beyond. So is a
// hundredth of the depth behind: that far the card's single precision moves the far end of a slice.
static Sides sidesof(const ViewRec* view)
{
    Sides sides;
    const f64 free = 8.0; // the picture is 2 wide
    const f64 widened[3] = {1.0 + free / (view->viewport[1] - view->viewport[0]),
                            1.0 + free / (view->viewport[3] - view->viewport[2]), 1.0 + 2e-6};
    for (i32 i = 2; i >= 0; i--) {
        setside(sides.plane[2 * i], view->clip[3], widened[i], view->clip[i], 1.0);
        setside(sides.plane[2 * i + 1], view->clip[3], widened[i], view->clip[i], -1.0);
    }
    sides.eyesize = std::fabs(view->eye[0]) + std::fabs(view->eye[1]) + std::fabs(view->eye[2]);
    return sides;
}

// Whether nothing of a ball can be painted. The card's single precision moves what it draws by some
// millionths of the numbers that go into it.
static bool unseen(const Sides* sides, const f64 c[3], f64 radius)
{
    const f64 size = sides->eyesize + std::fabs(c[0]) + std::fabs(c[1]) + std::fabs(c[2]) + radius;
    const f64 reach = radius + 1e-5 * size;
    for (i32 i = 5; i >= 0; i--) {
        const f64* const plane = sides->plane[i];
        if (vec3_dot(plane, c) + plane[3] < -reach) {
            return true;
        }
    }
    return false;
}

// All that is drawn of a node, its bands left aside, is within 1.74 radii of its middle.
static bool ballunseen(const Sides* sides, const MazeNode* node)
{
    return unseen(sides, node->pos, 1.75 * std::fabs(node->radius));
}

// The corners of a band are a radius before or behind its ends and at most one aside.
static bool bandunseen(const Sides* sides, const MazeNode* a, const MazeNode* b)
{
    f64 middle[3];
    f64 along[3];
    vec3_sub(along, b->pos, a->pos);
    for (i32 i = 2; i >= 0; i--) {
        middle[i] = a->pos[i] + 0.5 * along[i];
    }
    const f64 wide = std::max(std::fabs(a->radius), std::fabs(b->radius));
    return unseen(sides, middle, 0.5 * vec3_length(along) + 1.5 * wide);
}

// The bands of an edge have three strips, between these parts of the radius; the middle one stands
// toward the viewer, the outer two behind.
static const f64 breaks[4] = {-1, -0.6, 0.6, 1};

struct Band {
    const f64* p; // this node
    const f64* q; // the target
    f64 r, rq;
    f64 toeye[3]; // unit vector from this node to the eye
    f64 across[3];
};

static void bandcorner(const f64 end[3], const Band* band, f64 ahead, f64 aside)
{
    f64 v[3];
    for (i32 i = 2; i >= 0; i--) {
        v[i] = end[i] + ahead * band->toeye[i] + aside * band->across[i];
    }
    glVertex3dv(v);
}

static void strip(const Band* band, i32 i)
{
    const f64 front = i == 1 ? 1.0 : -1.0;
    const f64 k0 = breaks[i];
    const f64 k1 = breaks[i + 1];
    bandcorner(band->q, band, front * band->rq, band->rq * k1);
    bandcorner(band->p, band, front * band->r, band->r * k1);
    bandcorner(band->p, band, front * band->r, band->r * k0);
    bandcorner(band->q, band, front * band->rq, band->rq * k0);
}

static void drawband(const MazeNode* node, const MazeNode* target, const MazeGame* game, u32 colour)
{
    Band band = {node->pos, target->pos, node->radius, target->radius, {}, {}};
    towardeye(band.toeye, node, game);
    f64 along[3];
    vec3_sub(along, target->pos, node->pos);
    for (i32 i = 2; i >= 0; i--) {
        const i32 j = (i + 1) % 3;
        const i32 k = (i + 2) % 3;
        band.across[i] = along[j] * band.toeye[k] - along[k] * band.toeye[j];
    }
    vec3_unit(band.across, band.across);
    vec3_unit(band.toeye, band.toeye);
    for (i32 i = 0; i < 3; i++) { // from one side to the other
        setcolour(shaded(colour, i == 1 ? -FLAT_SHADE : FLAT_SHADE));
        strip(&band, i);
    }
}

// Draws what an edge of a node is drawn as.
using EdgeDrawing = void (*)(const MazeNode* node, const MazeNode* target, const MazeGame* game,
                             u32 colour);

static void drawline(const MazeNode* node, const MazeNode* target, const MazeGame* /*game*/,
                     u32 colour)
{
    setcolour(shaded(colour, FLAT_SHADE));
    glVertex3dv(node->pos);
    glVertex3dv(target->pos);
}

static void drawexits(Pos at, const MazeGame* game, const Sides* sides, bool alledges,
                      EdgeDrawing draw)
{
    Pos exits[POS_MAXEDGES];
    VisitRec recs[POS_MAXEDGES];
    for (i32 i = exits_list(at, alledges, exits, recs) - 1; i >= 0; i--) {
        if (exits_drawn(at.maze, exits[i].maze) &&
            !bandunseen(sides, Pos_node(at), Pos_node(exits[i]))) {
            draw(Pos_node(at), Pos_node(exits[i]), game, rec_colour(&recs[i], at, exits[i], game));
        }
    }
}

// Draws the edges of the near nodes, or those of the far ones.
static void drawedges(Maze* maze, const MazeGame* game, const Sides* sides, bool alledges,
                      bool near)
{
    glBegin(near ? GL_QUADS : GL_LINES);
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        const MazeNode* const node = Maze_node(maze, n);
        if (node->sub == nullptr && isnear(node, game) == near) {
            drawexits({maze, n}, game, sides, alledges, near ? drawband : drawline);
        }
    }
    glEnd();
}

void flat_ball(const f64 p[3], f64 r, u32 colour, const f64 eye[3])
{
    f64 away[3];
    f64 u[3];
    f64 v[3];
    vec3_sub(away, p, eye);
    vec3_frame(away, u, v);
    setcolour(colour);
    glTexCoord4d(p[0], p[1], p[2], r);
    static const f64 corners[4][2] = {{-1, -1}, {-1, 1}, {1, 1}, {1, -1}};
    for (i32 corner = 0; corner < 4; corner++) { // round the disc
        f64 at[3];
        for (i32 i = 2; i >= 0; i--) {
            at[i] = p[i] + r * (corners[corner][0] * u[i] + corners[corner][1] * v[i]);
        }
        glVertex3dv(at);
    }
}

// A node is two discs: the rim behind it and the core in front of it.
static void drawball(Pos at, const MazeGame* game)
{
    const MazeNode* const node = Pos_node(at);
    const bool here = at.maze == game->pos.maze && at.node == game->pos.node;
    const u32 colour = rec_colour(&node->rec, at, Pos_null, game);
    f64 toeye[3];
    towardeye(toeye, node, game);
    vec3_unit(toeye, toeye);
    f64 rim[3];
    f64 core[3];
    for (i32 i = 2; i >= 0; i--) {
        rim[i] = node->pos[i] - node->radius * toeye[i];
        core[i] = node->pos[i] + 1.5 * node->radius * toeye[i];
    }
    flat_ball(rim, node->radius, here ? 0xFFFFFF : shaded(colour, FLAT_SHADE), game->campos);
    flat_ball(core, 0.6 * node->radius, here ? 0xFFFFFF : shaded(colour, -FLAT_SHADE),
              game->campos);
}

static void drawballs(Maze* maze, const MazeGame* game, const Sides* sides)
{
    if (flatprogram == 0) {
        flatprogram = program_make(glsl_flatball_vs, glsl_flatball_fs, nullptr, nullptr, nullptr);
    }
    program_use(flatprogram);
    glBegin(GL_QUADS);
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        const MazeNode* const node = Maze_node(maze, n);
        if (node->sub == nullptr && !ballunseen(sides, node) && isnear(node, game)) {
            drawball({maze, n}, game);
        }
    }
    glEnd();
    program_use(0);
}

static void drawfar(Maze* maze, const MazeGame* game, const Sides* sides, bool alledges)
{
    if (smooth_lines != 0) {
        gfx_smooth_on(false, 1.5F);
    }
    drawedges(maze, game, sides, alledges, false);
    if (smooth_lines != 0) {
        gfx_smooth_off();
    }
}

void flat_plot(Maze* maze, MazeGame* game, bool recursive)
{
    if (Maze_outofview(maze, &game->view)) {
        return;
    }
    labels_draw_font(maze, game, false);
    const Sides sides = sidesof(&game->view);
    drawedges(maze, game, &sides, recursive, true);
    drawballs(maze, game, &sides);
    drawfar(maze, game, &sides, recursive);
    if (!recursive) {
        return;
    }
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        Maze* const sub = Maze_node(maze, n)->sub;
        if (sub != nullptr) {
            flat_plot(sub, game, true);
        }
    }
}
