#include "tests/fakes/gl_textures.h"

#include "tests/system.h"

// The library's own routine of a name.
template <typename Routine> static Routine next(const char* name)
{
    return reinterpret_cast<Routine>(system_libraryroutine(name));
}

extern "C" void glGenTextures(GLsizei n, GLuint* names)
{
    static const auto call = next<decltype(&glGenTextures)>("glGenTextures");
    call(n, names);
    gl_textures.living.insert(names, names + n);
}

extern "C" void glDeleteTextures(GLsizei n, const GLuint* names)
{
    static const auto call = next<decltype(&glDeleteTextures)>("glDeleteTextures");
    call(n, names);
    for (GLsizei i = 0; i < n; i++) {
        gl_textures.living.erase(names[i]);
    }
}

extern "C" void glCopyTexImage2D(GLenum target, GLint level, GLenum format, GLint x, GLint y,
                                 GLsizei width, GLsizei height, GLint border)
{
    static const auto call = next<decltype(&glCopyTexImage2D)>("glCopyTexImage2D");
    GLint name = 0;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &name);
    gl_textures.copies.push_back({static_cast<GLuint>(name), format, width, height});
    if (gl_textures.refusals > 0) {
        gl_textures.refusals--;
        call(target, level, format, x, y, -1, height, border); // an error, and no picture
        return;
    }
    call(target, level, format, x, y, width, height, border);
}

extern "C" void glCopyTexSubImage2D(GLenum target, GLint level, GLint xoffset, GLint yoffset,
                                    GLint x, GLint y, GLsizei width, GLsizei height)
{
    static const auto call = next<decltype(&glCopyTexSubImage2D)>("glCopyTexSubImage2D");
    gl_textures.parts++;
    call(target, level, xoffset, yoffset, x, y, width, height);
}

extern "C" void glTexCoord2f(GLfloat s, GLfloat t)
{
    static const auto call = next<decltype(&glTexCoord2f)>("glTexCoord2f");
    gl_textures.coordinates.push_back(s);
    gl_textures.coordinates.push_back(t);
    call(s, t);
}

extern "C" void glGetIntegerv(GLenum what, GLint* out)
{
    static const auto call = next<decltype(&glGetIntegerv)>("glGetIntegerv");
    call(what, out);
    if (what == GL_MAX_TEXTURE_SIZE && gl_textures.limit > 0) {
        *out = gl_textures.limit;
    }
}

extern "C" const GLubyte* glGetString(GLenum what)
{
    static const auto call = next<decltype(&glGetString)>("glGetString");
    if (what == GL_RENDERER && gl_textures.renderer != nullptr) {
        return reinterpret_cast<const GLubyte*>(gl_textures.renderer);
    }
    return call(what);
}
