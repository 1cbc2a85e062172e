#include "scene/voronoistyles.h"

#include "base/vec3.h"
#include "scene/colours.h"

#include <GL/gl.h>

#include <algorithm>

enum { SHADE = 0x40 }; // how much lighter or darker the parts of a cell are

static const f64 shortest_wall = 0.05;
static const f64 wall_height = 0.5;
static const f64 wall_half = 0.1;  // half the thickness of a solid wall
static const f64 wall_inset = 0.1; // how far a thin wall stands toward its node
static const f64 wall_rise = 0.5;  // height of a thin wall, in longest ways

static const MazeNode* nodeat(const VoronoiLevel* level, i32 i)
{
    return Maze_node(level->maze, i);
}

static i32 cornercount(const VoronoiLevel* level, i32 i)
{
    return static_cast<i32>(level->cells->cell[i].count);
}

// Corner k of cell i; k from -1 to the number of corners.
static const VoronoiVertex* corner(const VoronoiLevel* level, i32 i, i32 k)
{
    const i32 n = cornercount(level, i);
    return items<VoronoiVertex>(level->cells->cell + i) + (k + n) % n;
}

// The node across side k, -1 if there is none or it has gone.
static i32 across(const VoronoiLevel* level, i32 i, i32 k)
{
    const i32 other = corner(level, i, k)->neighbour;
    return other < Maze_count(level->maze) ? other : -1;
}

// Whether side k is there: it has a length, and its neighbour hasn't gone.
static bool hasside(const VoronoiLevel* level, i32 i, i32 k)
{
    const VoronoiVertex* const a = corner(level, i, k);
    const VoronoiVertex* const b = corner(level, i, k + 1);
    return a->neighbour < Maze_count(level->maze) && (a->x != b->x || a->y != b->y);
}

// The number of cells that have a node.
static i32 cellcount(const VoronoiLevel* level)
{
    return std::min(level->cells->count, Maze_count(level->maze));
}

static bool isdrawn(const VoronoiLevel* level, i32 i)
{
    return cornercount(level, i) > 0 && nodeat(level, i)->sub == nullptr;
}

static u32 nodecolour(const VoronoiLevel* level, i32 i)
{
    return rec_colour(&nodeat(level, i)->rec, {level->maze, i}, Pos_null, level->game);
}

static void setcolour(u32 colour, i32 shade)
{
    f32 channels[3];
    colour_channels(colour_add(colour, shade, shade, shade), channels);
    glColor3fv(channels);
}

static void setnormal(f64 x, f64 y, f64 z)
{
    glNormal3f(static_cast<f32>(x), static_cast<f32>(y), static_cast<f32>(z));
}

f64 voronoi_longest(const VoronoiLevel* level, i32 i)
{
    f64 most = 0;
    for (i32 k = cornercount(level, i) - 1; k >= 0; k--) {
        const i32 other = across(level, i, k);
        if (other >= 0) {
            f64 way[3];
            vec3_sub(way, nodeat(level, other)->pos, nodeat(level, i)->pos);
            most = std::max(most, vec3_length(way));
        }
    }
    return most;
}

static void outline(const VoronoiLevel* level, i32 i)
{
    const u32 colour = nodecolour(level, i);
    const f64 z = nodeat(level, i)->pos[2];
    for (i32 k = cornercount(level, i) - 1; k >= 0; k--) {
        if (hasside(level, i, k)) {
            const VoronoiVertex* const a = corner(level, i, k);
            const VoronoiVertex* const b = corner(level, i, k + 1);
            setcolour(colour, a->linked == 0 ? 0 : -SHADE);
            glVertex3d(a->x, a->y, z);
            glVertex3d(b->x, b->y, z);
        }
    }
}

void voronoi_outline(const VoronoiLevel* level)
{
    glBegin(GL_LINES);
    for (i32 i = cellcount(level) - 1; i >= 0; i--) {
        if (isdrawn(level, i)) {
            outline(level, i);
        }
    }
    glEnd();
}

// An upright rectangle over the way from a to b, as two triangles.
static void upright(const f64 a[2], const f64 b[2], f64 z, f64 end, bool lit)
{
    if (lit) {
        const f64 way[3] = {b[0] - a[0], b[1] - a[1], 0};
        f64 unit[3];
        vec3_unit(unit, way);
        setnormal(unit[1], -unit[0], 0);
    }
    glVertex3d(a[0], a[1], z);
    glVertex3d(b[0], b[1], z);
    glVertex3d(b[0], b[1], end);
    glVertex3d(a[0], a[1], z);
    glVertex3d(a[0], a[1], end);
    glVertex3d(b[0], b[1], end);
}

// The triangles of corner 0 with each other side; those with its own two sides would have no area.
static void fan(const VoronoiLevel* level, i32 i, bool lit)
{
    const f64 z = nodeat(level, i)->pos[2];
    if (lit) {
        setnormal(0, 0, 1);
    }
    for (i32 k = cornercount(level, i) - 2; k >= 1; k--) {
        const VoronoiVertex* const corners[3] = {corner(level, i, 0), corner(level, i, k),
                                                 corner(level, i, k + 1)};
        if (corners[1]->x == corners[2]->x && corners[1]->y == corners[2]->y) {
            continue;
        }
        for (const VoronoiVertex* const at : corners) {
            glVertex3d(at->x, at->y, z);
        }
    }
}

static void thinwall(const VoronoiLevel* level, i32 i, i32 k, f64 rise, bool lit)
{
    const f64* const site = nodeat(level, i)->pos;
    const VoronoiVertex* const a = corner(level, i, k);
    const VoronoiVertex* const b = corner(level, i, k + 1);
    const f64 keep = 1 - wall_inset;
    const f64 from[2] = {keep * a->x + wall_inset * site[0], keep * a->y + wall_inset * site[1]};
    const f64 to[2] = {keep * b->x + wall_inset * site[0], keep * b->y + wall_inset * site[1]};
    upright(from, to, site[2], site[2] + rise, lit);
}

static void terrace(const VoronoiLevel* level, i32 i, bool lit)
{
    const u32 colour = nodecolour(level, i);
    const f64 z = nodeat(level, i)->pos[2];
    const f64 longest = voronoi_longest(level, i);
    setcolour(colour, 0);
    fan(level, i, lit);
    setcolour(colour, SHADE);
    for (i32 k = cornercount(level, i) - 1; k >= 0; k--) {
        if (corner(level, i, k)->linked == 0 && hasside(level, i, k)) {
            thinwall(level, i, k, wall_rise * longest, lit);
        }
    }
    setcolour(colour, -SHADE);
    for (i32 k = cornercount(level, i) - 1; k >= 0; k--) {
        if (hasside(level, i, k)) {
            const VoronoiVertex* const a = corner(level, i, k);
            const VoronoiVertex* const b = corner(level, i, k + 1);
            const f64 from[2] = {a->x, a->y};
            const f64 to[2] = {b->x, b->y};
            upright(from, to, z, z - longest, lit);
        }
    }
}

void voronoi_terraces(const VoronoiLevel* level, bool lit)
{
    glBegin(GL_TRIANGLES);
    for (i32 i = cellcount(level) - 1; i >= 0; i--) {
        if (isdrawn(level, i)) {
            terrace(level, i, lit);
        }
    }
    glEnd();
}

// The unit normal of the triangle a b c, on the side from which it is seen clockwise.
static void clockwisenormal(f64 out[3], const f64 a[3], const f64 b[3], const f64 c[3])
{
    f64 u[3];
    f64 v[3];
    vec3_sub(u, c, a);
    vec3_sub(v, b, a);
    for (i32 i = 2; i >= 0; i--) {
        out[i] = u[(i + 1) % 3] * v[(i + 2) % 3] - u[(i + 2) % 3] * v[(i + 1) % 3];
    }
    vec3_unit(out, out);
}

static f64 heightacross(const VoronoiLevel* level, i32 i, i32 k)
{
    const i32 n = cornercount(level, i);
    const i32 other = across(level, i, (k + n) % n);
    return nodeat(level, other >= 0 ? other : i)->pos[2];
}

// The height of the corner where side k ends: the mean of the nodes that meet there. Where they can't
// all be found these are the node itself and those across the two sides.
static f64 meanheight(const VoronoiLevel* level, i32 i, i32 k)
{
    const i32 side = k >= 0 ? k : cornercount(level, i) - 1;
    i32 ring[VORONOI_MOSTRING];
    const i32 count = voronoi_ring(level->cells, Maze_count(level->maze), i, side, ring);
    if (count <= 3) {
        return (heightacross(level, i, k) + heightacross(level, i, k + 1) +
                nodeat(level, i)->pos[2]) /
               3;
    }
    f64 sum = 0;
    for (i32 j = count - 1; j >= 0; j--) {
        sum += nodeat(level, ring[j])->pos[2];
    }
    return sum / count;
}

static void slope(const VoronoiLevel* level, i32 i, i32 k)
{
    const f64* const site = nodeat(level, i)->pos;
    const VoronoiVertex* const from = corner(level, i, k);
    const VoronoiVertex* const to = corner(level, i, k + 1);
    const f64 a[3] = {from->x, from->y, meanheight(level, i, k - 1)};
    const f64 b[3] = {to->x, to->y, meanheight(level, i, k)};
    f64 normal[3];
    clockwisenormal(normal, site, a, b);
    const f64 up = normal[2] < 0 ? -1 : 1;
    setnormal(up * normal[0], up * normal[1], up * normal[2]);
    glVertex3dv(site);
    glVertex3dv(a);
    glVertex3dv(b);
}

void voronoi_relief(const VoronoiLevel* level)
{
    glBegin(GL_TRIANGLES);
    for (i32 i = cellcount(level) - 1; i >= 0; i--) {
        if (!isdrawn(level, i)) {
            continue;
        }
        setcolour(nodecolour(level, i), 0);
        for (i32 k = cornercount(level, i) - 1; k >= 0; k--) {
            if (hasside(level, i, k)) {
                slope(level, i, k);
            }
        }
    }
    glEnd();
}

static void triangle(const VoronoiLevel* level, i32 i, i32 a, i32 b)
{
    const f64* const pi = nodeat(level, i)->pos;
    const f64* const pa = nodeat(level, a)->pos;
    const f64* const pb = nodeat(level, b)->pos;
    f64 normal[3];
    clockwisenormal(normal, pi, pa, pb);
    setnormal(normal[0], normal[1], normal[2]);
    glVertex3dv(pi);
    glVertex3dv(pa);
    glVertex3dv(pb);
}

// The triangles at the end of side k of cell i, if they are this cell's: those of its lowest node.
static void dual(const VoronoiLevel* level, i32 i, i32 k)
{
    i32 ring[VORONOI_MOSTRING];
    i32 count = voronoi_ring(level->cells, Maze_count(level->maze), i, k, ring);
    if (count == 0) { // what this cell knows
        const i32 n = cornercount(level, i);
        ring[1] = across(level, i, k);
        ring[2] = across(level, i, (k + 1) % n);
        count = 3;
    }
    for (i32 j = count - 1; j >= 1; j--) {
        if (ring[j] <= i) {
            return;
        }
    }
    for (i32 j = count - 2; j >= 1; j--) {
        triangle(level, i, ring[j], ring[j + 1]);
    }
}

void voronoi_delaunay(const VoronoiLevel* level)
{
    glBegin(GL_TRIANGLES);
    for (i32 i = cellcount(level) - 1; i >= 0; i--) {
        if (!isdrawn(level, i)) {
            continue;
        }
        setcolour(nodecolour(level, i), 0);
        for (i32 k = cornercount(level, i) - 1; k >= 0; k--) {
            dual(level, i, k);
        }
    }
    glEnd();
}

// A solid wall: a box round the way from foot a to foot b.
struct SolidWall {
    f64 a[3], b[3]; // on the ground
    f64 along[3];   // unit vector from a to b in plan
    f64 over[3];    // unit vector from node to node
};

// A corner of the box: at end a or b, `side` 1 or -1 of the middle, so high above the foot.
static void boxcorner(const f64 foot[3], const SolidWall* wall, f64 side, f64 height)
{
    const f64 o = side * wall_half;
    glVertex3d(foot[0] + o * wall->over[0], foot[1] + o * wall->over[1],
               foot[2] + o * wall->over[2] + height);
}

static void boxtop(const SolidWall* wall)
{
    setnormal(0, 0, 1);
    boxcorner(wall->a, wall, 1, wall_height);
    boxcorner(wall->b, wall, 1, wall_height);
    boxcorner(wall->b, wall, -1, wall_height);
    boxcorner(wall->a, wall, -1, wall_height);
}

static void boxface(const SolidWall* wall, f64 side)
{
    setnormal(side * wall->over[0], side * wall->over[1], side * wall->over[2]);
    boxcorner(wall->a, wall, side, 0);
    boxcorner(wall->b, wall, side, 0);
    boxcorner(wall->b, wall, side, wall_height);
    boxcorner(wall->a, wall, side, wall_height);
}

static void boxend(const SolidWall* wall, const f64 foot[3], f64 sign)
{
    setnormal(sign * wall->along[0], sign * wall->along[1], sign * wall->along[2]);
    boxcorner(foot, wall, 1, 0);
    boxcorner(foot, wall, 1, wall_height);
    boxcorner(foot, wall, -1, wall_height);
    boxcorner(foot, wall, -1, 0);
}

// The height of the ground between nodes i and q at a corner of their side, where `third` meets them.
static f64 footheight(const VoronoiLevel* level, i32 i, i32 q, i32 third, const f64 at[2])
{
    const f64* const pi = nodeat(level, i)->pos;
    const f64* const pq = nodeat(level, q)->pos;
    if (third < 0) {
        return pi[2] * 0.5 + pq[2] * 0.5;
    }
    return plane_z(pi, nodeat(level, third)->pos, pq, at);
}

static void solidwall(const VoronoiLevel* level, i32 i, i32 k)
{
    const i32 n = cornercount(level, i);
    const i32 q = across(level, i, k);
    const VoronoiVertex* const from = corner(level, i, k);
    const VoronoiVertex* const to = corner(level, i, k + 1);
    const f64 a[2] = {from->x, from->y};
    const f64 b[2] = {to->x, to->y};
    SolidWall wall = {
        .a = {a[0], a[1], footheight(level, i, q, across(level, i, (k + n - 1) % n), a)},
        .b = {b[0], b[1], footheight(level, i, q, across(level, i, (k + 1) % n), b)},
        .along = {b[0] - a[0], b[1] - a[1], 0},
        .over = {}};
    if (!(vec3_length(wall.along) >= shortest_wall)) {
        return;
    }
    vec3_unit(wall.along, wall.along);
    vec3_sub(wall.over, nodeat(level, q)->pos, nodeat(level, i)->pos);
    vec3_unit(wall.over, wall.over);
    boxtop(&wall);
    boxface(&wall, 1);
    boxface(&wall, -1);
    boxend(&wall, wall.b, 1);
    boxend(&wall, wall.a, -1);
}

void voronoi_walls(const VoronoiLevel* level)
{
    voronoi_delaunay(level);
    glBegin(GL_QUADS);
    for (i32 i = cellcount(level) - 1; i >= 0; i--) {
        if (!isdrawn(level, i)) {
            continue;
        }
        setcolour(nodecolour(level, i), SHADE);
        for (i32 k = cornercount(level, i) - 1; k >= 0; k--) { // each wall from its lower node
            if (corner(level, i, k)->linked == 0 && across(level, i, k) > i) {
                solidwall(level, i, k);
            }
        }
    }
    glEnd();
}
