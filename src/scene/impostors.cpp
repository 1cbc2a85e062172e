#include "scene/impostors.h"

#include "gfx/gl/shaderprocs.h"
#include "scene/colours.h"

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

// All but the corners of a cylinder. False if there is nothing to draw.
static bool cylinder(u32 colour, const f64 start[3], const f64 axis[3], f64 radius)
{
    f32 at[3];
    f32 along[3];
    const f32 r = static_cast<f32>(std::fabs(radius));
    if (!single(at, start) || !single(along, axis) || !std::isfinite(r)) {
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
