#include "scene/sky.h"

#include "gfx/gl/shaderprocs.h"
#include "scene/view.h"

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

void sky_draw(MazeGame* game, const LightRec* light)
{
    if (sky_program == 0) {
        sky_program = program_make_fragment(glsl_sky_fs, nullptr, nullptr);
    }
    program_use(sky_program);
    f64 eye[3];
    MazeGame_eye(eye, game);
    glPushMatrix();
    glTranslated(eye[0], eye[1], eye[2]);
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
