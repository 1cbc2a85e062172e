#include "scene/grid.h"

#include "scene/flat.h"
#include "scene/scene.h"

#include <GL/gl.h>

#include <cmath>

static constexpr i32 decades = 7;
static constexpr i32 squares = 20; // on each side of a decade

// Three blues, three greens and a red, each lighter than the one before.
static void setdecade(i32 decade)
{
    const f64 c = (decade % 3) * 0.1;
    f64 rgb[3] = {c, c, c};
    rgb[2 - decade / 3] += 0.5;
    glColor3dv(rgb);
}

// The largest multiple of `step` that leaves `x` within the first half of the grid's width.
static f64 gridstart(f64 x, f64 step)
{
    return std::floor(x / step - 0.5) * step;
}

static void drawdecade(const f64 node[3], f64 square)
{
    const f64 x = gridstart(node[0], 10 * square);
    const f64 y = gridstart(node[1], 10 * square);
    const f64 width = squares * square;
    for (i32 j = squares; j >= 0; j--) {
        glVertex3d(x + j * square, y, node[2]);
        glVertex3d(x + j * square, y + width, node[2]);
        glVertex3d(x, y + j * square, node[2]);
        glVertex3d(x + width, y + j * square, node[2]);
    }
}

void grid_draw(const MazeGame* game)
{
    if (smooth_lines != 0) {
        gfx_smooth_on(true, 1.5F);
    } else {
        glEnable(GL_BLEND);
        glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_COLOR);
    }
    glDepthMask(GL_FALSE);
    glBegin(GL_LINES);
    f64 square = 1;
    for (i32 decade = 0; decade < decades; decade++) { // from the smallest up
        setdecade(decade);
        drawdecade(Pos_node(game->pos)->pos, square);
        square *= 10;
    }
    glEnd();
    glDepthMask(GL_TRUE);
    glDisable(GL_BLEND);
    if (smooth_lines != 0) {
        gfx_smooth_off();
    }
}
