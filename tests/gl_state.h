// OpenGL's state in tests: set to what spoils a picture, and as one text to compare.
#pragma once

#include "gfx/gfx_opengl.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <string>

/// Whether there is a context: without one OpenGL has no version.
inline bool gl_current()
{
    return glGetString(GL_VERSION) != nullptr;
}

/// State that would spoil what is drawn.
inline void gl_disturb()
{
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    glEnable(GL_SCISSOR_TEST);
    glScissor(5, 5, 3, 3);
    glEnable(GL_LIGHTING);
    glEnable(GL_CULL_FACE);
    glCullFace(GL_FRONT);
    glEnable(GL_FOG);
    glEnable(GL_ALPHA_TEST);
    glAlphaFunc(GL_GREATER, 0.9F);
    glEnable(GL_TEXTURE_2D);
    glShadeModel(GL_FLAT);
    glColorMask(GL_FALSE, GL_TRUE, GL_FALSE, GL_TRUE);
    glColor4f(0.1F, 0.2F, 0.3F, 0.4F);
    glClearColor(1, 0.5F, 0, 1);
    glDisable(GL_DEPTH_TEST);
    glDepthMask(GL_FALSE);
    glViewport(7, 8, 30, 40);
    glTranslatef(3, 4, 5);
}

/// What a routine that draws a picture of its own should leave as it was.
inline std::string gl_state()
{
    std::string text;
    for (const GLenum name : {GL_SCISSOR_TEST, GL_LIGHTING, GL_CULL_FACE, GL_FOG, GL_ALPHA_TEST,
                              GL_TEXTURE_2D, GL_BLEND, GL_DEPTH_TEST}) {
        text += glIsEnabled(name) != 0 ? "1 " : "0 ";
    }
    for (const GLenum name : {GL_POLYGON_MODE,          GL_SCISSOR_BOX,
                              GL_SHADE_MODEL,           GL_COLOR_WRITEMASK,
                              GL_CURRENT_COLOR,         GL_COLOR_CLEAR_VALUE,
                              GL_DEPTH_WRITEMASK,       GL_VIEWPORT,
                              GL_MODELVIEW_MATRIX,      GL_PROJECTION_MATRIX,
                              GL_MATRIX_MODE,           GL_TEXTURE_BINDING_2D,
                              GL_BLEND_EQUATION,        GL_BLEND_SRC,
                              GL_CURRENT_PROGRAM,       GL_FRAMEBUFFER_BINDING,
                              GL_RENDERBUFFER_BINDING,  GL_ATTRIB_STACK_DEPTH,
                              GL_MODELVIEW_STACK_DEPTH, GL_PROJECTION_STACK_DEPTH}) {
        f32 values[16] = {};
        glGetFloatv(name, values);
        for (const f32 value : values) {
            text += std::to_string(value) + " ";
        }
    }
    return text + std::to_string(gfx_width) + " " + std::to_string(gfx_height);
}
