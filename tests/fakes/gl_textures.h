// A layer between the program and OpenGL that follows textures: those that live, and those made from the
// frame buffer. The routines in gl_textures.cpp take the place of the library's by their names and hand
// each call on, but where a test has them refuse.
#pragma once

#include "base/types.h"

#include <GL/gl.h>

#include <set>
#include <vector>

struct GlCopy { // of one glCopyTexImage2D
    GLuint name;
    GLenum format;
    i32 width, height;
};

struct GlTextures {
    std::set<GLuint> living;
    std::vector<GlCopy> copies;
    std::vector<f32> coordinates;   // of glTexCoord2f, in pairs
    i32 parts = 0;                  // calls of glCopyTexSubImage2D
    GLint limit = 0;                // what GL_MAX_TEXTURE_SIZE tells; 0: the driver's own
    i32 refusals = 0;               // how many glCopyTexImage2D to come make nothing
    const char* renderer = nullptr; // what GL_RENDERER tells; null: the driver's own

    void forget() // all but the textures that live
    {
        copies.clear();
        coordinates.clear();
        parts = 0;
        limit = 0;
        refusals = 0;
        renderer = nullptr;
    }
};
inline GlTextures gl_textures;
