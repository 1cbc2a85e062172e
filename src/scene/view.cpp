#include "scene/view.h"

#include "base/vec3.h"
#include "gfx/gfx_opengl.h"
#include "model/drawsphere.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>

void ViewRec_get(ViewRec* out)
{
    f64 modelview[16] = {};
    f64 projection[16] = {};
    i32 viewport[4] = {};
    glGetDoublev(GL_MODELVIEW_MATRIX, modelview);
    glGetDoublev(GL_PROJECTION_MATRIX, projection);
    glGetIntegerv(GL_VIEWPORT, viewport);
    if (viewport[2] < 1) { // no width, no size of a pixel
        return;
    }
    ViewRec_derive(out, modelview, projection, viewport, gfx_width);
}

void view_install()
{
    viewrec_capture = ViewRec_get;
}

// A coordinate of the eye as the matrix takes it. The limit leaves room for the sums of a product of
// matrices in single precision.
static f64 heldcoordinate(f64 c)
{
    const f64 limit = 1e30;
    if (std::isnan(c)) {
        return 0.0;
    }
    return static_cast<f64>(static_cast<f32>(std::clamp(c, -limit, limit)));
}

void MazeGame_eye(f64 out[3], const MazeGame* game)
{
    for (i32 i = 2; i >= 0; i--) {
        out[i] = heldcoordinate(game->campos[i]);
    }
}

void MazeGame_applyview(MazeGame* game)
{
    f64 rotation[16] = {};
    for (i32 row = 2; row >= 0; row--) {
        for (i32 column = 2; column >= 0; column--) {
            rotation[column * 4 + row] = game->orient[row * 3 + column];
        }
    }
    rotation[15] = 1.0;
    glMultMatrixd(rotation);
    f64 eye[3];
    MazeGame_eye(eye, game);
    glTranslated(-eye[0], -eye[1], -eye[2]);
    ViewRec_get(&game->view);
}

// Whether a sphere lies wholly beyond the side of the view where the clip coordinate of `row` is -w, or w
// for a `sign` of -1.
static bool beyondside(const ViewRec* view, i32 row, f64 sign, const f64 centre[3], f64 radius)
{
    f64 side[4];
    for (i32 i = 3; i >= 0; i--) {
        side[i] = view->clip[3][i] + sign * view->clip[row][i];
    }
    return vec3_dot(side, centre) + side[3] < -radius * vec3_length(side);
}

// The test of ViewRec_sphereout by the frustum as it is.
static bool outsidefrustum(const ViewRec* view, const f64 centre[3], f64 radius)
{
    const f64* const m = view->modelview;
    const f64 ahead = -(m[2] * centre[0] + m[6] * centre[1] + m[10] * centre[2] + m[14]);
    if (ahead + radius < view->near || ahead - radius > view->far ||
        radius < ahead * view->pixelsize) {
        return true;
    }
    return beyondside(view, 0, 1.0, centre, radius) || beyondside(view, 0, -1.0, centre, radius) ||
           beyondside(view, 1, 1.0, centre, radius) || beyondside(view, 1, -1.0, centre, radius);
}

bool view_sphereout(const ViewRec* view, const f64 centre[3], f64 radius)
{
    return ViewRec_sphereout(view, centre, radius, view->pixelsize) != 0 &&
           outsidefrustum(view, centre, radius);
}

bool Maze_outofview(Maze* maze, const ViewRec* view)
{
    f64 centre[3];
    f64 radius;
    Maze_drawsphere(maze, centre, &radius);
    return view_sphereout(view, centre, radius);
}
