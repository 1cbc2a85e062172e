#include "tests/fakes/gl_count.h"

#include <dlfcn.h>

static void note(f32* to, f32 x, f32 y, f32 z, f32 w)
{
    to[0] = x;
    to[1] = y;
    to[2] = z;
    to[3] = w;
}

static void notevertex(f32 x, f32 y, f32 z, f32 w)
{
    note(gl_count.now.pos, x, y, z, w);
    if (gl_count.record) {
        gl_count.vertices.push_back(gl_count.now);
    }
}

// A type can't stand in parentheses.
// NOLINTBEGIN(bugprone-macro-parentheses)
#define GL_COUNTED(result, name, parameters, arguments, before)                                    \
    static const bool counted_##name = gl_counted.insert(#name).second;                            \
    extern "C" result name parameters                                                              \
    {                                                                                              \
        using Routine = decltype(&name);                                                           \
        static const Routine next = reinterpret_cast<Routine>(dlsym(RTLD_NEXT, #name));            \
        const GlCall call(#name);                                                                  \
        (void)counted_##name;                                                                      \
        before;                                                                                    \
        return gl_count.forward ? next arguments : result();                                       \
    }
// NOLINTEND(bugprone-macro-parentheses)

GL_COUNTED(void, glBegin, (GLenum kind), (kind), {
    gl_count.openbatches++;
    if (gl_count.record) {
        gl_count.kinds.push_back(kind);
    }
})
GL_COUNTED(void, glEnd, (), (), gl_count.openbatches--)
GL_COUNTED(void, glVertex2f, (GLfloat x, GLfloat y), (x, y), notevertex(x, y, 0, 1))
GL_COUNTED(void, glVertex3f, (GLfloat x, GLfloat y, GLfloat z), (x, y, z), notevertex(x, y, z, 1))
GL_COUNTED(void, glVertex4f, (GLfloat x, GLfloat y, GLfloat z, GLfloat w), (x, y, z, w),
           notevertex(x, y, z, w))
GL_COUNTED(void, glColor3fv, (const GLfloat* v), (v),
           note(gl_count.now.colour, v[0], v[1], v[2], 1))
GL_COUNTED(void, glColor4fv, (const GLfloat* v), (v),
           note(gl_count.now.colour, v[0], v[1], v[2], v[3]))
GL_COUNTED(void, glColor4ub, (GLubyte r, GLubyte g, GLubyte b, GLubyte a), (r, g, b, a),
           note(gl_count.now.colour, r / 255.0F, g / 255.0F, b / 255.0F, a / 255.0F))
GL_COUNTED(void, glTexCoord2f, (GLfloat x, GLfloat y), (x, y), note(gl_count.now.tex, x, y, 0, 1))
GL_COUNTED(void, glTexCoord3f, (GLfloat x, GLfloat y, GLfloat z), (x, y, z),
           note(gl_count.now.tex, x, y, z, 1))
GL_COUNTED(void, glTexCoord4f, (GLfloat x, GLfloat y, GLfloat z, GLfloat w), (x, y, z, w),
           note(gl_count.now.tex, x, y, z, w))
GL_COUNTED(void, glNormal3f, (GLfloat x, GLfloat y, GLfloat z), (x, y, z), {
    gl_count.now.normal[0] = x;
    gl_count.now.normal[1] = y;
    gl_count.now.normal[2] = z;
})
GL_COUNTED(void, glCallList, (GLuint list), (list), )
GL_COUNTED(void, glNewList, (GLuint list, GLenum mode), (list, mode), )
GL_COUNTED(void, glEndList, (), (), )
GL_COUNTED(GLuint, glGenLists, (GLsizei n), (n), )
GL_COUNTED(void, glDeleteLists, (GLuint list, GLsizei n), (list, n), )
GL_COUNTED(void, glGetFloatv, (GLenum what, GLfloat* out), (what, out), )
GL_COUNTED(void, glGetDoublev, (GLenum what, GLdouble* out), (what, out), )
GL_COUNTED(void, glGetIntegerv, (GLenum what, GLint* out), (what, out), )
GL_COUNTED(void, glLoadMatrixf, (const GLfloat* m), (m), )
GL_COUNTED(void, glMultMatrixd, (const GLdouble* m), (m), )
GL_COUNTED(void, glTranslated, (GLdouble x, GLdouble y, GLdouble z), (x, y, z), )
GL_COUNTED(void, glMatrixMode, (GLenum mode), (mode), )
GL_COUNTED(void, glClear, (GLbitfield mask), (mask), )
GL_COUNTED(void, glColor3f, (GLfloat r, GLfloat g, GLfloat b), (r, g, b),
           note(gl_count.now.colour, r, g, b, 1))
GL_COUNTED(void, glBindTexture, (GLenum target, GLuint name), (target, name), )
GL_COUNTED(void, glEnable, (GLenum what), (what), )
GL_COUNTED(void, glDisable, (GLenum what), (what), )
GL_COUNTED(void, glBlendFunc, (GLenum source, GLenum target), (source, target), )
GL_COUNTED(void, glGetTexImage,
           (GLenum target, GLint level, GLenum format, GLenum type, GLvoid* out),
           (target, level, format, type, out), )
