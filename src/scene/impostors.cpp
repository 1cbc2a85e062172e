#include "scene/impostors.h"

#include "base/vec3.h"
#include "gfx/gl/shaderprocs.h"
#include "scene/colours.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

extern const char glsl_lighting[];
extern const char glsl_sphere_vs[];
extern const char glsl_sphere_fs[];
extern const char glsl_sphere_unlit_fs[];
extern const char glsl_cylinder_vs[];
extern const char glsl_cylinder_fs[];

// Written by first use of each.
static GLuint litsphere;
static GLuint unlitsphere;
static GLuint litcylinder;

// The texts of each program, stage by stage.
static const char* const spherevertex[] = {glsl_sphere_vs};
static const char* const spherefragment[] = {glsl_lighting, glsl_sphere_fs};
static const char* const unlitfragment[] = {glsl_lighting, glsl_sphere_unlit_fs};
static const char* const cylindervertex[] = {glsl_cylinder_vs};
static const char* const cylinderfragment[] = {glsl_lighting, glsl_cylinder_fs};

u32 sphere_program()
{
    if (litsphere == 0) {
        litsphere = program_make_lists(spherevertex, 1, spherefragment, 2);
    }
    return litsphere;
}

u32 sphere_program_unlit()
{
    if (unlitsphere == 0) {
        unlitsphere = program_make_lists(spherevertex, 1, unlitfragment, 2);
    }
    return unlitsphere;
}

u32 cylinder_program()
{
    if (litcylinder == 0) {
        litcylinder = program_make_lists(cylindervertex, 1, cylinderfragment, 2);
    }
    return litcylinder;
}

void impostors_begin()
{
    glBegin(GL_QUADS);
}

void impostors_end()
{
    glEnd();
}

static void corners()
{
    glVertex2f(-1, -1);
    glVertex2f(-1, 1);
    glVertex2f(1, 1);
    glVertex2f(1, -1);
}

// The same corners for what isn't painted.
static void twincorners()
{
    glVertex3f(-1, -1, 1);
    glVertex3f(-1, 1, 1);
    glVertex3f(1, 1, 1);
    glVertex3f(1, -1, 1);
}

static void colour4(u32 colour)
{
    glColor4ub(static_cast<u8>(colour >> 16), static_cast<u8>(colour >> 8), static_cast<u8>(colour),
               255);
}

// Rounds to what the card takes. False for a place that isn't finite there, which can't be drawn.
static bool single(f32 out[3], const f64 v[3])
{
    bool fine = true;
    for (i32 i = 2; i >= 0; i--) {
        out[i] = static_cast<f32>(v[i]);
        fine = fine && std::isfinite(out[i]);
    }
    return fine;
}

void impostor_sphere(u32 colour, const f64 centre[3], f64 radius)
{
    f32 at[3];
    const f32 r = static_cast<f32>(std::fabs(radius));
    if (!single(at, centre) || !std::isfinite(r)) {
        return;
    }
    colour4(colour);
    glTexCoord4f(at[0], at[1], at[2], r);
    corners();
}

// Rounds both ends to numbers of which the card can take the difference and add it again without a
// rounding, so that an axis given from its other end is the same one there. Where both ends are about as
// far from 0 these are the nearest numbers in single precision.
static void roundends(f64 from[3], f64 to[3], const f64 start[3], const f64 axis[3])
{
    for (i32 i = 2; i >= 0; i--) {
        const f64 end = start[i] + axis[i];
        int exponent = 0;
        std::frexp(std::fmax(std::fabs(start[i]), std::fabs(end)), &exponent);
        const bool across = start[i] * end < 0.0; // one bit more lies between them
        const i32 last = std::max(exponent, FLT_MIN_EXP) - FLT_MANT_DIG + (across ? 1 : 0);
        const f64 step = std::ldexp(1.0, last);
        from[i] = std::round(start[i] / step) * step;
        to[i] = std::round(end / step) * step;
    }
}

// All but the corners of a cylinder. False if there is nothing to draw.
static bool cylinder(u32 colour, const f64 start[3], const f64 axis[3], f64 radius)
{
    f32 at[3];
    f32 along[3];
    const f32 r = static_cast<f32>(std::fabs(radius));
    f64 from[3];
    f64 to[3];
    f64 way[3];
    roundends(from, to, start, axis);
    vec3_sub(way, to, from);
    if (!single(at, from) || !single(along, way) || !std::isfinite(r)) {
        return false;
    }
    const f32 square = along[0] * along[0] + along[1] * along[1] + along[2] * along[2];
    if (square < FLT_MIN || !std::isfinite(square)) { // no length that the card can divide by
        return false;
    }
    colour4(colour);
    glTexCoord4f(at[0], at[1], at[2], r);
    glNormal3f(along[0], along[1], along[2]);
    return true;
}

void impostor_cylinder(u32 colour, const f64 start[3], const f64 axis[3], f64 radius)
{
    if (cylinder(colour, start, axis, radius)) {
        corners();
    }
}

void impostor_cylinder_twin(u32 colour, const f64 start[3], const f64 axis[3], f64 radius)
{
    if (cylinder(colour, start, axis, radius)) {
        twincorners();
    }
}
