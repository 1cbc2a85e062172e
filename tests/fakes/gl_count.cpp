#include "tests/fakes/gl_count.h"

#include "tests/system.h"

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

// The error that is there, by a call that isn't counted.
static GLenum takeerror()
{
    static const auto next =
        reinterpret_cast<decltype(&glGetError)>(system_libraryroutine("glGetError"));
    return gl_count.forward ? next() : static_cast<GLenum>(GL_NO_ERROR);
}

static f32 single(f64 x)
{
    return static_cast<f32>(x);
}

// A test may put a routine of its own in one's place: the linker takes the first. A type can't stand in
// parentheses.
// NOLINTBEGIN(bugprone-macro-parentheses)
#define GL_COUNTED(result, name, parameters, arguments, before)                                    \
    static const bool counted_##name = gl_counted.insert(#name).second;                            \
    extern "C" result name parameters                                                              \
    {                                                                                              \
        using Routine = decltype(&name);                                                           \
        static const Routine next = reinterpret_cast<Routine>(system_libraryroutine(#name));       \
        const GlCall call(#name);                                                                  \
        (void)counted_##name;                                                                      \
        before;                                                                                    \
        return gl_count.forward ? next arguments : result();                                       \
    }
// NOLINTEND(bugprone-macro-parentheses)

static void tell(const char* routine)
{
    if (gl_count.drawing != nullptr) {
        gl_count.drawing(routine);
    }
}

GL_COUNTED(void, glBegin, (GLenum kind), (kind), {
    tell("glBegin");
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
GL_COUNTED(void, glVertex3d, (GLdouble x, GLdouble y, GLdouble z), (x, y, z),
           notevertex(single(x), single(y), single(z), 1))
GL_COUNTED(void, glVertex3dv, (const GLdouble* v), (v),
           notevertex(single(v[0]), single(v[1]), single(v[2]), 1))
GL_COUNTED(void, glTexCoord2d, (GLdouble x, GLdouble y), (x, y),
           note(gl_count.now.tex, single(x), single(y), 0, 1))
GL_COUNTED(void, glTexCoord4d, (GLdouble x, GLdouble y, GLdouble z, GLdouble w), (x, y, z, w),
           note(gl_count.now.tex, single(x), single(y), single(z), single(w)))
GL_COUNTED(void, glColor3ub, (GLubyte r, GLubyte g, GLubyte b), (r, g, b),
           note(gl_count.now.colour, r / 255.0F, g / 255.0F, b / 255.0F, 1))
GL_COUNTED(void, glColor3d, (GLdouble r, GLdouble g, GLdouble b), (r, g, b),
           note(gl_count.now.colour, single(r), single(g), single(b), 1))
GL_COUNTED(void, glColor3dv, (const GLdouble* v), (v),
           note(gl_count.now.colour, single(v[0]), single(v[1]), single(v[2]), 1))
GL_COUNTED(void, glEnable, (GLenum what), (what), )
GL_COUNTED(void, glDisable, (GLenum what), (what), )
GL_COUNTED(void, glBlendFunc, (GLenum from, GLenum to), (from, to), {
    if (from == GL_ALPHA) { // refused: whoever asks clears the error, and an earlier one with it
        const GLenum earlier = takeerror();
        gl_count.hiddenerror = earlier != GL_NO_ERROR ? earlier : gl_count.hiddenerror;
    }
})
GL_COUNTED(void, glDepthMask, (GLboolean on), (on), )
GL_COUNTED(void, glHint, (GLenum what, GLenum how), (what, how), )
GL_COUNTED(void, glPointSize, (GLfloat size), (size), )
GL_COUNTED(void, glLineWidth, (GLfloat width), (width), )
GL_COUNTED(void, glNormal3fv, (const GLfloat* v), (v), {
    gl_count.now.normal[0] = v[0];
    gl_count.now.normal[1] = v[1];
    gl_count.now.normal[2] = v[2];
})
GL_COUNTED(void, glLightfv, (GLenum light, GLenum what, const GLfloat* v), (light, what, v), )
GL_COUNTED(void, glGenTextures, (GLsizei n, GLuint* names), (n, names), )
GL_COUNTED(void, glTexParameteri, (GLenum target, GLenum what, GLint value),
           (target, what, value), )
GL_COUNTED(void, glTexImage2D,
           (GLenum target, GLint level, GLint form, GLsizei width, GLsizei height, GLint border,
            GLenum pixels, GLenum type, const void* data),
           (target, level, form, width, height, border, pixels, type, data), )
GL_COUNTED(void, glGetTexImage,
           (GLenum target, GLint level, GLenum pixels, GLenum type, void* data),
           (target, level, pixels, type, data), )
GL_COUNTED(void, glCallList, (GLuint list), (list), tell("glCallList"))
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
GL_COUNTED(void, glColor4f, (GLfloat r, GLfloat g, GLfloat b, GLfloat a), (r, g, b, a),
           note(gl_count.now.colour, r, g, b, a))
GL_COUNTED(void, glBindTexture, (GLenum target, GLuint name), (target, name), )
GL_COUNTED(void, glPushMatrix, (), (), )
GL_COUNTED(void, glPopMatrix, (), (), )
GL_COUNTED(void, glAlphaFunc, (GLenum test, GLclampf value), (test, value), )
GL_COUNTED(void, glClearColor, (GLclampf r, GLclampf g, GLclampf b, GLclampf a), (r, g, b, a), )
GL_COUNTED(void, glColorMask, (GLboolean r, GLboolean g, GLboolean b, GLboolean a), (r, g, b, a), )
GL_COUNTED(void, glLoadIdentity, (), (), )
GL_COUNTED(void, glOrtho, (GLdouble l, GLdouble r, GLdouble b, GLdouble t, GLdouble n, GLdouble f),
           (l, r, b, t, n, f), )
GL_COUNTED(void, glPolygonMode, (GLenum face, GLenum mode), (face, mode), )
GL_COUNTED(void, glPopAttrib, (), (), )
GL_COUNTED(void, glPushAttrib, (GLbitfield mask), (mask), )
GL_COUNTED(void, glScalef, (GLfloat x, GLfloat y, GLfloat z), (x, y, z), )
GL_COUNTED(void, glScissor, (GLint x, GLint y, GLsizei width, GLsizei height),
           (x, y, width, height), )
GL_COUNTED(void, glTranslatef, (GLfloat x, GLfloat y, GLfloat z), (x, y, z), )
GL_COUNTED(void, glViewport, (GLint x, GLint y, GLsizei width, GLsizei height),
           (x, y, width, height), )
using GlText = const GLubyte*;
GL_COUNTED(GlText, glGetString, (GLenum what), (what), )
GL_COUNTED(GLenum, glGetError, (), (), )
