#include "gfx/stereo.h"

#include "base/report.h"
#include "gfx/gfx_opengl.h"
#include "gfx/projection.h"
#include "gfx/textures.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

// Textures that take copies of the window: as large as it, rounded up to powers of two. Written by
// readycopies; they live until the process ends.
struct WindowCopies {
    GLuint names[2];
    i32 count;         // textures in use; 0 if the driver has refused this size
    i32 width, height; // 0 until first need
};
static WindowCopies eyepictures; // of the coloured driver, one an eye
static WindowCopies rowpicture;  // of the interlacer

static bool told; // that the window is too large; by tellrefused

// The two eyes of one picture, and what they have to leave as it was.
struct Eyes {
    SceneFn scene;
    MazeGame* game;
    f64 projection[16];
    f64 separation, negdepth;
    bool swapped;
};

// A number that the matrices of OpenGL bear. The stereo depth is the user's and has no limits.
static f64 held(f64 value)
{
    const f64 limit = 1e15;
    return std::isnan(value) ? 0.0 : std::clamp(value, -limit, limit);
}

static Eyes beginpair(SceneFn scene, MazeGame* game, f64 separation, f64 negdepth, bool swapped)
{
    Eyes eyes = {.scene = scene,
                 .game = game,
                 .projection = {},
                 .separation = held(separation),
                 .negdepth = held(negdepth),
                 .swapped = swapped};
    glGetDoublev(GL_PROJECTION_MATRIX, eyes.projection);
    return eyes;
}

static void loadprojection(const f64 m[16])
{
    glMatrixMode(GL_PROJECTION);
    glLoadMatrixd(m);
    glMatrixMode(GL_MODELVIEW);
}

static f64 eyesign(const Eyes* eyes, i32 eye)
{
    return eyes->swapped ? 0.5 - eye : eye - 0.5;
}

// Skews the frustum, so that what the eyes' distance moves apart meets again at the focus.
static void aimeye(const Eyes* eyes, i32 eye)
{
    f64 m[16];
    std::memcpy(m, eyes->projection, sizeof m);
    m[8] -= eyesign(eyes, eye) * 2.0 * eyes->negdepth;
    loadprojection(m);
}

static void draweye(const Eyes* eyes, i32 eye)
{
    const f64 d = eyesign(eyes, eye) * eyes->separation;
    f64 m[16];
    glPushMatrix();
    glGetDoublev(GL_MODELVIEW_MATRIX, m);
    for (i32 column = 3; column >= 0; column--) { // first row += d times the fourth
        m[4 * column] += m[4 * column + 3] * d;
    }
    glLoadMatrixd(m);
    eyes->scene(eyes->game);
    glPopMatrix();
}

static void endpair(const Eyes* eyes)
{
    glViewport(0, 0, gfx_width, gfx_height);
    loadprojection(eyes->projection);
}

// One view without stereo, where the driver can't hold two.
static void drawplain(SceneFn scene, MazeGame* game)
{
    const Eyes eyes = beginpair(scene, game, 0, 0, false);
    scene(game);
    endpair(&eyes);
}

// The copies of the window

static bool withinlimit(i32 width, i32 height)
{
    GLint limit = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &limit);
    return width <= limit && height <= limit;
}

static void tellrefused()
{
    if (told) {
        return;
    }
    told = true;
    char message[160];
    std::snprintf(
        message, sizeof message,
        "The graphics driver has no texture for a window of %dx%d: stereo modes 3 and 6 to "
        "8 show a plain picture.",
        gfx_width, gfx_height);
    report_notice("stereo", 0, message);
}

// Makes one texture of the frame buffer. What lies beyond the window is never shown.
static GLuint makecopy(i32 width, i32 height)
{
    GLuint name = 0;
    glGenTextures(1, &name);
    glBindTexture(GL_TEXTURE_2D, name);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glCopyTexImage2D(GL_TEXTURE_2D, 0, GL_RGB8, 0, 0, width, height, 0);
    GLint got = 0;
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &got);
    if (got != width) {
        glGetError(); // of memory; it has been seen to
        glDeleteTextures(1, &name);
        return 0;
    }
    return name;
}

static void dropcopies(WindowCopies* copies)
{
    glDeleteTextures(copies->count, copies->names);
    copies->count = 0;
}

static void makecopies(WindowCopies* copies, i32 n)
{
    if (!withinlimit(copies->width, copies->height)) {
        return;
    }
    while (copies->count < n) {
        copies->names[copies->count] = makecopy(copies->width, copies->height);
        if (copies->names[copies->count] == 0) {
            dropcopies(copies);
            return;
        }
        copies->count++;
    }
}

// Sees that `n` textures of the window's size are there. False if the driver can't have them.
static bool readycopies(WindowCopies* copies, i32 n)
{
    const i32 width = tex_powerabove(gfx_width);
    const i32 height = tex_powerabove(gfx_height);
    if (copies->width != width || copies->height != height) {
        dropcopies(copies);
        copies->width = width;
        copies->height = height;
        makecopies(copies, n);
    }
    if (copies->count != n) {
        tellrefused();
    }
    return copies->count == n;
}

static void copywindow(GLuint name)
{
    glBindTexture(GL_TEXTURE_2D, name);
    glCopyTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 0, 0, gfx_width, gfx_height);
}

// Compositing: pixels of the window, filled and one pixel wide whatever the scene is drawn with.
static void begincompositing()
{
    glPushAttrib(GL_POLYGON_BIT | GL_LINE_BIT);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    glDisable(GL_LINE_SMOOTH);
    glLineWidth(1.0F);
    gfx_overlay_begin();
    glEnable(GL_TEXTURE_2D);
    glDisable(GL_LIGHTING);
    glDisable(GL_BLEND);
}

static void endcompositing()
{
    glBindTexture(GL_TEXTURE_2D, 0);
    glDisable(GL_BLEND);
    glDisable(GL_TEXTURE_2D);
    gfx_overlay_end();
    glPopAttrib();
}

// Halves of the window

static void splitviewport(i32 eye, i32 mode)
{
    if (mode == STEREO_SIDEBYSIDE) {
        glViewport(gfx_width * eye / 2, 0, gfx_width / 2, gfx_height);
    } else {
        glViewport(0, gfx_height * eye / 2, gfx_width, gfx_height / 2);
    }
}

// One row of the window from the half of its eye. The row's parity counts from the top of the screen.
static void drawrow(i32 y, i32 windowtop)
{
    const i32 eye = ((y + (windowtop & 1)) & 1) ^ 1;
    const i32 source = (eye * gfx_height) / 2 + (gfx_height - 1 - y) / 2;
    const f32 right = static_cast<f32>(gfx_width);
    const f32 s = right / static_cast<f32>(rowpicture.width);
    // the middle of the texel: at its edge rounding could yield the row below
    const f32 t = (static_cast<f32>(source) + 0.5F) / static_cast<f32>(rowpicture.height);
    glTexCoord2f(0.0F, t);
    glVertex2f(0.0F, static_cast<f32>(y));
    glTexCoord2f(s, t);
    glVertex2f(right, static_cast<f32>(y));
}

static void interlace()
{
    const i32 windowtop = platform->windowrect().top;
    copywindow(rowpicture.names[0]);
    begincompositing();
    glColor3f(1.0F, 1.0F, 1.0F);
    glBegin(GL_LINES);
    for (i32 y = gfx_height - 1; y >= 0; y--) {
        drawrow(y, windowtop);
    }
    glEnd();
    endcompositing();
}

void stereo_draw_split(SceneFn scene, MazeGame* game, i32 swap, f64 separation, f64 negdepth,
                       i32 mode)
{
    if (mode == STEREO_INTERLACE && !readycopies(&rowpicture, 1)) {
        drawplain(scene, game);
        return;
    }
    const Eyes eyes = beginpair(scene, game, separation, negdepth, swap != 0);
    for (i32 eye = 0; eye < 2; eye++) { // eye 0 first
        aimeye(&eyes, eye);
        splitviewport(eye, mode);
        draweye(&eyes, eye);
    }
    endpair(&eyes);
    if (mode == STEREO_INTERLACE) {
        interlace();
    }
}

// Two screens

// The tangent of half the view's angle, cut to whole degrees. An angle below one is taken as one: there
// is no projection for none.
static f32 wholeangletangent()
{
    const f32 w = static_cast<f32>(gfx_width);
    const f32 h = static_cast<f32>(gfx_height);
    f32 m[16];
    glGetFloatv(GL_PROJECTION_MATRIX, m);
    f32 v = 1.0F / m[0];
    if (h / w < 0.75F) {
        v = v * h / w * 1.3333334F;
    }
    f32 angle = std::trunc(std::atan(v) * 114.59155902616465F); // 360 / pi
    if (std::fabs(angle) < 1.0F) {
        angle = std::copysign(1.0F, v);
    }
    return std::tan(angle * 0.008726646259971648F); // pi / 360
}

// Fits the projection that is loaded to the shape of one screen, with t as in gfx_set_fov.
static void fitscreen(f32 t)
{
    const f32 w = static_cast<f32>(std::max(gfx_width, 1));
    const f32 h = static_cast<f32>(std::max(gfx_height, 1));
    const f32 low = 0.75F * t;
    f32 tx = t;
    f32 tv = t * h / w;
    if (tv < low) {
        tv = low;
        tx = w * low / h;
    }
    f32 m[16];
    glGetFloatv(GL_PROJECTION_MATRIX, m);
    m[0] = 1.0F / tx;
    m[5] = 1.0F / tv;
    glMatrixMode(GL_PROJECTION);
    glLoadMatrixf(m);
    glMatrixMode(GL_MODELVIEW);
}

void stereo_draw_two_screens(SceneFn scene, MazeGame* game, i32 swap, i32 vertical, f64 separation,
                             f64 negdepth)
{
    const Eyes eyes = beginpair(scene, game, separation, negdepth, swap != 0);
    const i32 width = gfx_width;
    const i32 height = gfx_height;
    const f32 t = wholeangletangent();
    gfx_width = vertical != 0 ? width : width / 2;
    gfx_height = vertical != 0 ? height / 2 : height;
    for (i32 eye = 0; eye < 2; eye++) { // eye 0 first
        aimeye(&eyes, eye);
        fitscreen(t);
        glViewport(vertical != 0 ? 0 : eye * gfx_width, vertical != 0 ? eye * gfx_height : 0,
                   gfx_width, gfx_height);
        draweye(&eyes, eye);
    }
    gfx_width = width;
    gfx_height = height;
    endpair(&eyes);
}

// Two colours

static void drawfiltered(GLuint name, u32 colour)
{
    const f32 right = static_cast<f32>(gfx_width);
    const f32 bottom = static_cast<f32>(gfx_height);
    const f32 s = right / static_cast<f32>(eyepictures.width);
    const f32 t = bottom / static_cast<f32>(eyepictures.height);
    glBindTexture(GL_TEXTURE_2D, name);
    glColor3ub(static_cast<GLubyte>(colour >> 16 & 0xFF), static_cast<GLubyte>(colour >> 8 & 0xFF),
               static_cast<GLubyte>(colour & 0xFF));
    glBegin(GL_QUADS);
    glTexCoord2f(0.0F, 0.0F);
    glVertex2f(0.0F, bottom);
    glTexCoord2f(s, 0.0F);
    glVertex2f(right, bottom);
    glTexCoord2f(s, t);
    glVertex2f(right, 0.0F);
    glTexCoord2f(0.0F, t);
    glVertex2f(0.0F, 0.0F);
    glEnd();
}

void stereo_draw_coloured(SceneFn scene, MazeGame* game, u32 colour0, u32 colour1, f64 separation,
                          f64 negdepth)
{
    if (!readycopies(&eyepictures, 2)) {
        drawplain(scene, game);
        return;
    }
    const Eyes eyes = beginpair(scene, game, separation, negdepth, false);
    for (i32 eye = 0; eye < 2; eye++) { // eye 0 first
        aimeye(&eyes, eye);
        draweye(&eyes, eye);
        copywindow(eyepictures.names[eye]);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    }
    endpair(&eyes);
    begincompositing();
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE);
    drawfiltered(eyepictures.names[0], colour0);
    drawfiltered(eyepictures.names[1], colour1);
    endcompositing();
}

// All modes

static void drawanaglyph(SceneFn scene, MazeGame* game, const StereoView* view, f64 separation)
{
    static const u32 colours[3][2] = {
        {0xFF0000, 0x00FFFF}, {0xFF0000, 0x00FF00}, {0xFF00FF, 0x00FF00}};
    const u32* const pair = colours[view->mode - STEREO_RED_CYAN];
    const i32 first = view->swap != 0 ? 1 : 0;
    stereo_draw_coloured(scene, game, pair[first], pair[1 - first], separation, -view->depth);
}

void stereo_draw(SceneFn scene, MazeGame* game, const StereoView* view)
{
    const f64 separation = view->distance * 0.75 * (2.0 * gfx_width * view->depth / gfx_height);
    if (view->mode == STEREO_NONE) {
        scene(game);
    } else if (view->mode <= STEREO_INTERLACE) {
        stereo_draw_split(scene, game, view->swap, separation, -view->depth, view->mode);
    } else if (view->mode <= STEREO_SCREENS_VERTICAL) {
        stereo_draw_two_screens(scene, game, view->swap,
                                view->mode == STEREO_SCREENS_VERTICAL ? 1 : 0, separation,
                                -view->depth);
    } else if (view->mode < STEREO_MODES) {
        drawanaglyph(scene, game, view, separation);
    }
}
