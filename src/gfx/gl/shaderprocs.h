// OpenGL's entry points above 1.1 and GLSL programs. A program is a plain GL name, kept by the code
// that uses it and made on first use. Compile and link failures are appended to shader_error.log and
// stop nothing: the picture shows them.
#pragma once

#include "base/types.h"

#include <GL/gl.h>
#include <GL/glext.h>

/// The entry points in the order of loading; null until loaded, and where the driver lacks one.
struct GlEntryPoints {
    PFNGLCREATESHADERPROC CreateShader;
    PFNGLSHADERSOURCEPROC ShaderSource;
    PFNGLCOMPILESHADERPROC CompileShader;
    PFNGLCREATEPROGRAMPROC CreateProgram;
    PFNGLATTACHSHADERPROC AttachShader;
    PFNGLLINKPROGRAMPROC LinkProgram;
    PFNGLUSEPROGRAMPROC UseProgram;
    PFNGLGETUNIFORMLOCATIONPROC GetUniformLocation;
    PFNGLUNIFORM1FPROC Uniform1f;
    PFNGLUNIFORM2FPROC Uniform2f;
    PFNGLUNIFORM3FPROC Uniform3f;
    PFNGLUNIFORM1IPROC Uniform1i;
    PFNGLUNIFORM1UIPROC Uniform1ui;
    PFNGLUNIFORM2IPROC Uniform2i;
    PFNGLUNIFORM1FVPROC Uniform1fv;
    PFNGLUNIFORM2FVPROC Uniform2fv;
    PFNGLUNIFORM3FVPROC Uniform3fv;
    PFNGLUNIFORM1IVPROC Uniform1iv;
    PFNGLUNIFORMMATRIX4FVPROC UniformMatrix4fv;
    PFNGLGETSHADERIVPROC GetShaderiv;
    PFNGLGETSHADERINFOLOGPROC GetShaderInfoLog;
    PFNGLGETPROGRAMIVPROC GetProgramiv;
    PFNGLGETPROGRAMINFOLOGPROC GetProgramInfoLog;
    PFNGLACTIVETEXTUREPROC ActiveTexture;
};
extern GlEntryPoints gl_entry_points;

extern i32 shaders_loaded;          // the entry points are there
extern i32 shaders_checked;         // shaders_can has been asked
extern i32 shaders_available;       // its answer
extern const char* shader_log_path; // "shader_error.log"; null turns logging off

/// Loads the entry points once. Fatal if OpenGL is older than 2.0.
void shaders_load();

/// The number at the start of the driver's version text, as 2.1 of "2.1 Mesa 22"; 0 without a context.
f32 gl_version();

/// Whether programs can be made: OpenGL is 2.0 or newer by its version text, and has what that takes.
/// Tests once.
bool shaders_can();

/// Makes and compiles a shader from one text; its state is not looked at.
GLuint shader_compile(GLenum kind, const char* source);

/// The info log of a shader or program, owned by the caller, freed with free; "No information log" if
/// there is none.
char* shader_log(GLuint name, bool is_program);

/// Appends the info log to shader_log_path if the shader or program has failed and the path isn't
/// null.
void shader_check(GLuint name, bool is_program);

/// A program from lists of texts, each list one shader; a null list leaves its stage to the fixed
/// pipeline. 0 if programs can't be made; a program that failed is returned all the same.
GLuint program_make_lists(const char* const* vertex, i32 nvertex, const char* const* fragment,
                          i32 nfragment);

/// The same from one text each. A log pointer that isn't null receives an owned text, freed with free.
GLuint program_make(const char* vertex, const char* fragment, char** vertexlog, char** fragmentlog,
                    char** programlog);

/// The same with a fragment stage only.
GLuint program_make_fragment(const char* fragment, char** fragmentlog, char** programlog);

/// Makes a program current, 0 for the fixed pipeline. Does nothing where programs can't be made.
void program_use(GLuint program);
