#include "gfx/projection.h"

#include "gfx/gfx_opengl.h"

#include <GL/gl.h>

#include <bit>
#include <cmath>

u8 gfx_ortho_mode = 1;

// (far + near) / (near - far) and 2 far near / (near - far) of near 0.1 and far 1000
static const f32 default_m10 = std::bit_cast<f32>(0xBF80068DU);
static const f32 default_m14 = std::bit_cast<f32>(0xBE4CD20BU);

static f32 heightoverwidth()
{
    return static_cast<f32>(gfx_height) / static_cast<f32>(gfx_width);
}

static void loadperspective(f32 m0, f32 m5, f32 m10, f32 m14)
{
    f32 m[16] = {};
    m[0] = m0;
    m[5] = m5;
    m[10] = m10;
    m[11] = -1.0F;
    m[14] = m14;
    glMatrixMode(GL_PROJECTION);
    glLoadMatrixf(m);
    glMatrixMode(GL_MODELVIEW);
}

// Puts pixel coordinates on the selected stack. A window without area keeps the identity: OpenGL
// takes no empty volume.
static void multiplypixels(i32 left, i32 right, i32 bottom, i32 top)
{
    const i32 depth = gfx_height / 2;
    if (left == right || bottom == top || depth == 0) {
        return;
    }
    glOrtho(left, right, bottom, top, depth, -depth);
}

static void loadpixels()
{
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    multiplypixels(0, gfx_width, gfx_height, 0);
    glMatrixMode(GL_MODELVIEW);
}

static void loaddefault()
{
    const f32 aspect = heightoverwidth();
    if (aspect < 0.75F) {
        const f32 w = static_cast<f32>(gfx_width);
        const f32 h = static_cast<f32>(gfx_height);
        loadperspective(1.0F / (0.75F * w / h), 1.3333334F, default_m10, default_m14);
    } else {
        loadperspective(1.0F, 1.0F / aspect, default_m10, default_m14);
    }
}

void gfx_resize(i32 width, i32 height)
{
    gfx_width = width;
    gfx_height = height < 1 ? 1 : height;
    glViewport(0, 0, gfx_width, gfx_height);
    if (gfx_ortho_mode != 0) {
        loadpixels();
    } else {
        loaddefault();
    }
}

void gfx_set_fov(f32 angle, f32 near, f32 far)
{
    const f32 w = static_cast<f32>(gfx_width);
    const f32 h = static_cast<f32>(gfx_height);
    f32 t = std::tan(angle * 0.008726646259971648F); // pi / 360
    f32 tv = t * h / w;
    const f32 tm = 0.75F * t;
    if (tm > tv) { // wider than 4:3: the angle is that of the central region
        tv = tm;
        t = w * tm / h;
    }
    loadperspective(1.0F / t, 1.0F / tv, (near + far) / (near - far),
                    2.0F * far * near / (near - far));
}

f32 gfx_get_fov()
{
    f32 m[16];
    glGetFloatv(GL_PROJECTION_MATRIX, m);
    f32 v = 1.0F / m[0];
    const f32 aspect = heightoverwidth();
    if (aspect < 0.75F) {
        v = v * aspect * 1.3333333333333333F;
    }
    return std::atan(v) * 114.59155902616465F; // 360 / pi
}

void gfx_overlay_begin()
{
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadIdentity();
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    i32 view[4];
    glGetIntegerv(GL_VIEWPORT, view);
    const i32 x = view[0];
    const i32 y = view[1];
    const i32 w = view[2];
    const i32 h = view[3];
    multiplypixels(x, x + w, gfx_height - y, gfx_height - (h + y));
    glMatrixMode(GL_MODELVIEW);
    glDisable(GL_DEPTH_TEST);
    glDepthMask(GL_FALSE);
}

void gfx_overlay_end()
{
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
    glMatrixMode(GL_MODELVIEW);
    glPopMatrix();
    glEnable(GL_DEPTH_TEST);
    glDepthMask(GL_TRUE);
}

// out = m (x, y, z, w), with m in OpenGL's column order
static void transform(f64 out[4], const f64 m[16], const f64 v[4])
{
    for (i32 i = 3; i >= 0; i--) {
        out[i] = m[i] * v[0] + m[4 + i] * v[1] + m[8 + i] * v[2] + m[12 + i] * v[3];
    }
}

// NOLINTNEXTLINE(readability-function-size): nine parameters, as those of OpenGL's own routine
void gfx_project(f64 x, f64 y, f64 z, f64* screenx, f64* screeny, f64* eyez,
                 const f64 modelview[16], const f64 projection[16], const i32 viewport[4])
{
    const f64 point[4] = {x, y, z, 1.0};
    f64 eye[4];
    f64 clip[4];
    transform(eye, modelview, point);
    transform(clip, projection, eye);
    if (eyez != nullptr) {
        *eyez = eye[2];
    }
    *screenx = (clip[0] / clip[3] + 1.0) * 0.5 * viewport[2] + viewport[0];
    *screeny = viewport[3] * (0.5 - 0.5 * clip[1] / clip[3]) + viewport[1];
}
