// What the styles tell their programs: daylight, lamp, projection.
//
// Locations are looked up by name at each setting. All routines do nothing for program 0, the fixed
// pipeline of an old OpenGL.
#pragma once

#include "gfx/gl/shaderprocs.h"
#include "scene/light.h"

/// Sets `csun`, `nsun` and `csky` of the current program.
void lights_set(GLuint program, const LightRec* light);

/// Sets the lamp of the current program: `lpos0`, and `lcol0` of strength 5 if `lit`, else dark.
void lamp_set(GLuint program, const f64 pos[3], bool lit);

/// Sets `proj` of the current program to the projection of the moment.
void projection_set(GLuint program);

/// Makes a program current, and sets the projection of the moment, the lamp and the daylight.
void lit_begin(GLuint program, const f64 lamp[3], bool lit, const LightRec* light);

/// Set one uniform of the current program.
void uniform_f32(GLuint program, const char* name, f32 value);
void uniform_i32(GLuint program, const char* name, i32 value);
void uniform_vec3(GLuint program, const char* name, const f64 value[3]);
