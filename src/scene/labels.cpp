#include "scene/labels.h"

#include "base/str.h"
#include "scene/view.h"
#include "text/bitmapfonts.h"
#include "text/drawtext.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

static void moveby(f64 point[3], f64 times, const f64 step[3])
{
    for (i32 i = 2; i >= 0; i--) {
        point[i] += times * step[i];
    }
}

static void corner(f64 u, f64 v, const f64 point[3])
{
    glTexCoord2d(u, v);
    glVertex3dv(point);
}

// The quad of one glyph `cells` wide, its upper left corner at `at`.
static void glyphquad(const Font* font, u32 code, f64 cells, const f64 at[3], const f64 a[3],
                      const f64 b[3])
{
    const f64 left = static_cast<f64>(font->cellx[code]) / font->texw;
    const f64 right = static_cast<f64>(font->cellx[code] + font->cellw[code]) / font->texw;
    const f64 top = static_cast<f64>(font->celly[code]) / font->texh;
    const f64 bottom = static_cast<f64>(font->celly[code] + font->height) / font->texh;
    f64 point[3] = {at[0], at[1], at[2]};
    corner(left, top, point);
    moveby(point, cells, b);
    corner(right, top, point);
    moveby(point, 1, a);
    corner(right, bottom, point);
    moveby(point, -cells, b);
    corner(left, bottom, point);
}

void text3d(const char* text, const f64 base[3], const f64 a[3], const f64 b[3])
{
    const Font* const font = font_current;
    if (font == nullptr || font->height == 0) {
        return;
    }
    const f64 gap = 1.0 / font->height; // a pixel of the font
    f64 line[3] = {base[0], base[1], base[2]};
    f64 at[3] = {base[0], base[1], base[2]};
    for (const char* next = text; *next != 0; next++) { // as it is read
        const u32 code = static_cast<u8>(*next);
        if (code == '\n') {
            moveby(line, 1, a);
            std::copy(line, line + 3, at);
        } else if (code == '\t') {
            moveby(at, 1, b);
        } else {
            const f64 cells = static_cast<f64>(font->cellw[code]) / font->height;
            glyphquad(font, code, cells, at, a, b);
            moveby(at, cells + gap, b);
        }
    }
}

// What of a level's box its name is laid out by.
struct LabelBox {
    f64 minx, miny, maxy, minz;
};

static LabelBox labelbox(const Maze* maze)
{
    LabelBox box = {HUGE_VAL, HUGE_VAL, -HUGE_VAL, HUGE_VAL};
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        const f64* const pos = Maze_node(maze, n)->pos;
        box.minx = std::min(box.minx, pos[0]);
        box.miny = std::min(box.miny, pos[1]);
        box.maxy = std::max(box.maxy, pos[1]);
        box.minz = std::min(box.minz, pos[2]);
    }
    return box;
}

// The second dot of a name; null if it has fewer.
static char* seconddot(char* name)
{
    char* const first = std::strchr(name, '.');
    return first == nullptr ? nullptr : std::strchr(first + 1, '.');
}

// A line of text, `size` high, whose upper left corner lies in the plane of the level.
static void labelline(const char* text, f64 x, f64 y, f64 z, f64 size)
{
    const f64 base[3] = {x, y, z};
    const f64 down[3] = {0, -size, 0};
    const f64 right[3] = {size, 0, 0};
    text3d(text, base, down, right);
}

static void drawname(const Maze* maze)
{
    const LabelBox box = labelbox(maze);
    const f64 s = (box.maxy - box.miny) * 0.1;
    if (!(s > 0) || !std::isfinite(s)) {
        return; // a level of one row has text of no size
    }
    glColor3d(0.8, 0.9, 0.8);
    char* name;
    str_new(&name, maze->name);
    char* const tail = seconddot(name);
    if (tail != nullptr) {
        *tail = 0;
    }
    labelline(name, box.minx, box.maxy + 1.5 * s, box.minz, s);
    if (tail != nullptr && font_current != nullptr && font_current->height != 0) {
        // with its length: a name of a damaged file may end within a control sequence
        const f32 width = text_width_bytes(name, std::strlen(name));
        const f64 cells = static_cast<f64>(width) / font_current->height;
        *tail = '.';
        labelline(tail, box.minx + cells * s, box.maxy + 1.45 * s, box.minz, 0.5 * s);
    }
    std::free(name);
}

void labels_draw(Maze* maze, const MazeGame* game, bool recursive)
{
    if (Maze_outofview(maze, &game->view)) {
        return;
    }
    if (maze->name != nullptr) {
        drawname(maze);
    }
    if (!recursive) {
        return;
    }
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        Maze* const sub = Maze_node(maze, n)->sub;
        if (sub != nullptr) {
            labels_draw(sub, game, true);
        }
    }
}

void labels_draw_font(Maze* maze, const MazeGame* game, bool recursive)
{
    Font_select("fmod");
    text3d_begin();
    labels_draw(maze, game, recursive);
    text3d_end();
    Font_select("normal");
}
