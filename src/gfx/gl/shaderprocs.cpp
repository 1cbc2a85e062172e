#include "gfx/gl/shaderprocs.h"

#include "base/report.h"
#include "base/str.h"
#include "gfx/platform.h"

#include <cstdio>
#include <cstdlib>

// Written by shaders_load, once.
GlEntryPoints gl_entry_points;
i32 shaders_loaded;

// Written by shaders_can, once.
i32 shaders_checked;
i32 shaders_available;

const char* shader_log_path = "shader_error.log";

template <typename T> static void load(T* entry, const char* name)
{
    *entry = reinterpret_cast<T>(platform->glproc(name));
}

f32 gl_version()
{
    const GLubyte* text = glGetString(GL_VERSION);
    if (text == nullptr) {
        return 0.0F;
    }
    return static_cast<f32>(std::atof(reinterpret_cast<const char*>(text)));
}

static void loadentries(GlEntryPoints* gl)
{
    load(&gl->CreateShader, "glCreateShader");
    load(&gl->ShaderSource, "glShaderSource");
    load(&gl->CompileShader, "glCompileShader");
    load(&gl->CreateProgram, "glCreateProgram");
    load(&gl->AttachShader, "glAttachShader");
    load(&gl->LinkProgram, "glLinkProgram");
    load(&gl->UseProgram, "glUseProgram");
    load(&gl->GetUniformLocation, "glGetUniformLocation");
    load(&gl->Uniform1f, "glUniform1f");
    load(&gl->Uniform2f, "glUniform2f");
    load(&gl->Uniform3f, "glUniform3f");
    load(&gl->Uniform1i, "glUniform1i");
    load(&gl->Uniform1ui, "glUniform1ui");
    load(&gl->Uniform2i, "glUniform2i");
    load(&gl->Uniform1fv, "glUniform1fv");
    load(&gl->Uniform2fv, "glUniform2fv");
    load(&gl->Uniform3fv, "glUniform3fv");
    load(&gl->Uniform1iv, "glUniform1iv");
    load(&gl->UniformMatrix4fv, "glUniformMatrix4fv");
    load(&gl->GetShaderiv, "glGetShaderiv");
    load(&gl->GetShaderInfoLog, "glGetShaderInfoLog");
    load(&gl->GetProgramiv, "glGetProgramiv");
    load(&gl->GetProgramInfoLog, "glGetProgramInfoLog");
    load(&gl->ActiveTexture, "glActiveTexture");
}

void shaders_load()
{
    if (shaders_loaded != 0) {
        return;
    }
    const f32 version = gl_version();
    if (version < 2.0F) {
        char text[200];
        std::snprintf(text, sizeof text,
                      "OpenGL version 2.0 or higher required for shaders; you have version %g",
                      static_cast<f64>(version));
        report_inner("shaderprocs", 46, REPORT_FATAL, text, 1);
        return;
    }
    loadentries(&gl_entry_points);
    shaders_loaded = 1;
}

// A driver may claim 2.0 in its version text and lack what it takes. Only glUniform1ui is newer.
static bool programspossible(const GlEntryPoints* gl)
{
    return gl->CreateShader != nullptr && gl->ShaderSource != nullptr &&
           gl->CompileShader != nullptr && gl->CreateProgram != nullptr &&
           gl->AttachShader != nullptr && gl->LinkProgram != nullptr && gl->UseProgram != nullptr &&
           gl->GetUniformLocation != nullptr && gl->Uniform1f != nullptr &&
           gl->Uniform2f != nullptr && gl->Uniform3f != nullptr && gl->Uniform1i != nullptr &&
           gl->Uniform2i != nullptr && gl->Uniform1fv != nullptr && gl->Uniform2fv != nullptr &&
           gl->Uniform3fv != nullptr && gl->Uniform1iv != nullptr &&
           gl->UniformMatrix4fv != nullptr && gl->GetShaderiv != nullptr &&
           gl->GetShaderInfoLog != nullptr && gl->GetProgramiv != nullptr &&
           gl->GetProgramInfoLog != nullptr && gl->ActiveTexture != nullptr;
}

bool shaders_can()
{
    if (shaders_checked != 0) {
        return shaders_available != 0;
    }
    shaders_checked = 1;
    shaders_available = 0;
    if (gl_version() < 2.0F) {
        return false;
    }
    shaders_load();
    shaders_available = programspossible(&gl_entry_points) ? 1 : 0;
    return shaders_available != 0;
}

static GLuint compilelist(GLenum kind, const char* const* texts, i32 n)
{
    const GlEntryPoints* gl = &gl_entry_points;
    const GLuint shader = gl->CreateShader(kind);
    gl->ShaderSource(shader, n, texts, nullptr);
    gl->CompileShader(shader);
    return shader;
}

GLuint shader_compile(GLenum kind, const char* source)
{
    return compilelist(kind, &source, 1);
}

char* shader_log(GLuint name, bool is_program)
{
    const GlEntryPoints* gl = &gl_entry_points;
    GLint length = 0;
    if (is_program) {
        gl->GetProgramiv(name, GL_INFO_LOG_LENGTH, &length);
    } else {
        gl->GetShaderiv(name, GL_INFO_LOG_LENGTH, &length);
    }
    char* text = nullptr;
    if (length <= 0) {
        str_new(&text, "No information log");
        return text;
    }
    text = static_cast<char*>(std::calloc(static_cast<size_t>(length), 1));
    if (is_program) {
        gl->GetProgramInfoLog(name, length, nullptr, text);
    } else {
        gl->GetShaderInfoLog(name, length, nullptr, text);
    }
    return text;
}

static bool failed(GLuint name, bool is_program)
{
    GLint good = 0;
    if (is_program) {
        gl_entry_points.GetProgramiv(name, GL_LINK_STATUS, &good);
    } else {
        gl_entry_points.GetShaderiv(name, GL_COMPILE_STATUS, &good);
    }
    return good == 0;
}

void shader_check(GLuint name, bool is_program)
{
    if (shader_log_path == nullptr || !failed(name, is_program)) {
        return;
    }
    std::FILE* file = std::fopen(shader_log_path, "a");
    if (file == nullptr) {
        return;
    }
    char* text = shader_log(name, is_program);
    std::fprintf(file, "%s\n", text);
    std::fclose(file);
    std::free(text);
}

static void addstage(GLuint program, GLenum kind, const char* const* texts, i32 n, char** log)
{
    if (texts == nullptr) {
        return;
    }
    const GLuint shader = compilelist(kind, texts, n);
    if (log != nullptr) {
        *log = shader_log(shader, false);
    }
    shader_check(shader, false);
    gl_entry_points.AttachShader(program, shader);
}

static void link(GLuint program, char** log)
{
    gl_entry_points.LinkProgram(program);
    if (log != nullptr) {
        *log = shader_log(program, true);
    }
    shader_check(program, true);
}

GLuint program_make_lists(const char* const* vertex, i32 nvertex, const char* const* fragment,
                          i32 nfragment)
{
    if (!shaders_can()) {
        return 0;
    }
    const GLuint program = gl_entry_points.CreateProgram();
    addstage(program, GL_VERTEX_SHADER, vertex, nvertex, nullptr);
    addstage(program, GL_FRAGMENT_SHADER, fragment, nfragment, nullptr);
    link(program, nullptr);
    return program;
}

GLuint program_make(const char* vertex, const char* fragment, char** vertexlog, char** fragmentlog,
                    char** programlog)
{
    if (!shaders_can()) {
        return 0;
    }
    const GLuint program = gl_entry_points.CreateProgram();
    addstage(program, GL_VERTEX_SHADER, vertex == nullptr ? nullptr : &vertex, 1, vertexlog);
    addstage(program, GL_FRAGMENT_SHADER, fragment == nullptr ? nullptr : &fragment, 1,
             fragmentlog);
    link(program, programlog);
    return program;
}

GLuint program_make_fragment(const char* fragment, char** fragmentlog, char** programlog)
{
    return program_make(nullptr, fragment, nullptr, fragmentlog, programlog);
}

void program_use(GLuint program)
{
    if (shaders_can()) {
        gl_entry_points.UseProgram(program);
    }
}
