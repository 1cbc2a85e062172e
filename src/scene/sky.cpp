#include "scene/sky.h"

#include "gfx/gl/shaderprocs.h"

#include <GL/gl.h>

extern const char glsl_sky_fs[];

static GLuint sky_program; // 0 until first use

// A corner of the cube, which tells the fragment stage its direction.
static void emitcorner(f32 x, f32 y, f32 z)
{
    glTexCoord3f(x, y, z);
    glVertex3f(x, y, z);
}

// The faces of the cube of side 2 about the origin.
static void emitcube()
{
    for (i32 i = 1; i >= 0; i--) {
        const f32 s = i == 1 ? 1.0F : -1.0F;
        emitcorner(s, -1, -1);
        emitcorner(s, 1, -1);
        emitcorner(s, 1, 1);
        emitcorner(s, -1, 1);
        emitcorner(-1, s, -1);
        emitcorner(1, s, -1);
        emitcorner(1, s, 1);
        emitcorner(-1, s, 1);
        emitcorner(-1, -1, s);
        emitcorner(1, -1, s);
        emitcorner(1, 1, s);
        emitcorner(-1, 1, s);
    }
}

// Moves the world so that the eye of this view is its origin, whatever single precision has lost of the
// eye's place, and however far the eyes of a pair stand apart: the dome is far behind all.
static void centre()
{
    f32 modelview[16];
    glGetFloatv(GL_MODELVIEW_MATRIX, modelview);
    for (i32 i = 14; i >= 12; i--) {
        modelview[i] = 0.0F;
    }
    glLoadMatrixf(modelview);
}

void sky_draw(MazeGame* /*game*/, const LightRec* light)
{
    if (sky_program == 0) {
        sky_program = program_make_fragment(glsl_sky_fs, nullptr, nullptr);
    }
    program_use(sky_program);
    glPushMatrix();
    centre();
    glDisable(GL_DEPTH_TEST);
    glDepthMask(GL_FALSE);
    glColor3fv(light->skygrey);
    glBegin(GL_QUADS);
    emitcube();
    glEnd();
    glEnable(GL_DEPTH_TEST);
    glDepthMask(GL_TRUE);
    glPopMatrix();
    program_use(0);
}
