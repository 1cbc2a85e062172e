#include "scene/lighting.h"

static GLint location(GLuint program, const char* name)
{
    return gl_entry_points.GetUniformLocation(program, name);
}

void uniform_f32(GLuint program, const char* name, f32 value)
{
    if (program != 0) {
        gl_entry_points.Uniform1f(location(program, name), value);
    }
}

void uniform_i32(GLuint program, const char* name, i32 value)
{
    if (program != 0) {
        gl_entry_points.Uniform1i(location(program, name), value);
    }
}

void uniform_vec3(GLuint program, const char* name, const f64 value[3])
{
    if (program != 0) {
        gl_entry_points.Uniform3f(location(program, name), static_cast<f32>(value[0]),
                                  static_cast<f32>(value[1]), static_cast<f32>(value[2]));
    }
}

void projection_set(GLuint program)
{
    if (program != 0) {
        f32 projection[16];
        glGetFloatv(GL_PROJECTION_MATRIX, projection);
        gl_entry_points.UniformMatrix4fv(location(program, "proj"), 1, GL_FALSE, projection);
    }
}

void lights_set(GLuint program, const LightRec* light)
{
    if (program != 0) {
        const GlEntryPoints* const gl = &gl_entry_points;
        gl->Uniform3fv(location(program, "csun"), 1, light->sunrow[0]);
        gl->Uniform3fv(location(program, "nsun"), 1, light->nsun);
        gl->Uniform3fv(location(program, "csky"), 1, light->csky);
    }
}

void lamp_set(GLuint program, const f64 pos[3], bool lit)
{
    const f64 strength = lit ? 5.0 : 0.0;
    const f64 colour[3] = {strength, strength, strength};
    uniform_vec3(program, "lpos0", pos);
    uniform_vec3(program, "lcol0", colour);
}

void lit_begin(GLuint program, const f64 lamp[3], bool lit, const LightRec* light)
{
    program_use(program);
    projection_set(program);
    lamp_set(program, lamp, lit);
    lights_set(program, light);
}
