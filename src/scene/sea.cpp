#include "scene/sea.h"

#include "gfx/textures.h"
#include "model/mazegame.h"
#include "scene/lighting.h"
#include "scene/skymap.h"
#include "scene/view.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <cstdlib>

extern const char glsl_lighting[];
extern const char glsl_waves[];
extern const char glsl_sea_fs[];
extern const char glsl_bed[];
extern const char glsl_bed_fs[];
extern const char glsl_mesh_vs[];

static const f64 sea_level = -5;
static const f64 bed_level = -15;
static const f64 inner_end = 0.999999; // running sums stop before 1
static const f64 mesh_end = 10000;

// Each 0 until first use: of sea_draw, of seabed_draw for those of the land.
static GLuint sea_mesh;
static GLuint sea_mesh_coarse;
static GLuint bed_mesh;
static GLuint sea_cubemap;
static GLuint sea_program;
static GLuint bed_program;

static const GLuint dyn_cubemap = 0; // a map that would replace sea_cubemap; nothing makes one

// The texts of each program, stage by stage.
static const char* const seavertex[] = {glsl_waves, glsl_mesh_vs};
static const char* const seafragment[] = {glsl_lighting, glsl_waves, glsl_sea_fs};
static const char* const bedvertex[] = {glsl_bed, glsl_mesh_vs};
static const char* const bedfragment[] = {glsl_lighting, glsl_bed, glsl_bed_fs};

static void vertex(f64 x, f64 y)
{
    glVertex2f(static_cast<f32>(x), static_cast<f32>(y));
}

static void emitcolumn(f64 x, f64 step)
{
    f64 y = -1;
    while (y < inner_end) { // a running sum
        vertex(x, y);
        vertex(x + step, y);
        vertex(x + step, y + step);
        vertex(x, y + step);
        y += step;
    }
}

static void emitinner(f64 step)
{
    f64 x = -1;
    while (x < inner_end) {
        emitcolumn(x, step);
        x += step;
    }
}

// The parts of the four sides from u to v between the squares of half-widths s and t.
static void emitsides(f64 s, f64 t, f64 u, f64 v)
{
    vertex(s * u, s); // top
    vertex(s * v, s);
    vertex(t * v, t);
    vertex(t * u, t);
    vertex(s * u, -s); // bottom
    vertex(t * u, -t);
    vertex(t * v, -t);
    vertex(s * v, -s);
    vertex(s, s * u); // right
    vertex(t, t * u);
    vertex(t, t * v);
    vertex(s, s * v);
    vertex(-s, s * u); // left
    vertex(-s, s * v);
    vertex(-t, t * v);
    vertex(-t, t * u);
}

static void emitring(f64 inner, f64 outer, f64 step)
{
    f64 u = -1;
    while (u < inner_end) {
        emitsides(inner, outer, u, u + step);
        u += step;
    }
}

static void emitrings(f64 step)
{
    f64 outer = 1;
    do { // the last ring crosses the end
        const f64 inner = outer;
        outer = (1 + step) * inner;
        emitring(inner, outer, step);
    } while (outer < mesh_end);
}

u32 mesh_make(f64 step)
{
    const GLuint list = glGenLists(1);
    glNewList(list, GL_COMPILE);
    glBegin(GL_QUADS);
    emitinner(step);
    emitrings(step);
    glEnd();
    glEndList();
    return list;
}

static GLuint makecubemap()
{
    GLuint name = 0;
    glGenTextures(1, &name);
    glBindTexture(GL_TEXTURE_CUBE_MAP, name);
    u8* const bytes = static_cast<u8*>(std::malloc(SKYMAP_BYTES));
    for (i32 face = SKYMAP_FACES - 1; face >= 0; face--) {
        skymap_face(face, bytes);
        glTexImage2D(GL_TEXTURE_CUBE_MAP_POSITIVE_X + static_cast<GLenum>(face), 0, GL_RGB,
                     SKYMAP_SIZE, SKYMAP_SIZE, 0, GL_RGB, GL_UNSIGNED_BYTE, bytes);
    }
    std::free(bytes);
    tex_make_mipmaps(GL_TEXTURE_CUBE_MAP);
    glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    tex_set_anisotropy(GL_TEXTURE_CUBE_MAP);
    return name;
}

// Makes a program current and tells it where and when it is, and its light.
static void begin(GLuint program, const MazeGame* game, f64 level, f32 reflectivity)
{
    program_use(program);
    f64 eye[3];
    MazeGame_eye(eye, game);
    const f64 origin[3] = {eye[0], eye[1], level};
    uniform_f32(program, "t", static_cast<f32>(clock_held(game->time)));
    uniform_vec3(program, "orig", origin);
    uniform_vec3(program, "o", eye);
    uniform_i32(program, "cubemap", 0);
    uniform_f32(program, "reflectivity", reflectivity);
}

static void setlights(GLuint program, const MazeGame* game, bool lit, const LightRec* light)
{
    f64 lamp[3];
    MazeGame_viewpos(lamp, game);
    lamp_set(program, lamp, lit);
    lights_set(program, light);
}

// Asks for a source factor that is none: OpenGL refuses the call, and this is meant. The factors in force
// stay, which in steady running are those that the clouds of the slice before have left, source alpha and
// its complement; on the first frame of the landscape, and after something else has set its own, the sea
// blends by those. The error that the refusal leaves is cleared here.
static void setblendfactors()
{
    glBlendFunc(GL_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glGetError();
}

void sea_draw(MazeGame* game, i32 light_on, const LightRec* light, i32 coarse)
{
    if (sea_cubemap == 0) {
        sea_cubemap = makecubemap();
    }
    glBindTexture(GL_TEXTURE_CUBE_MAP, dyn_cubemap != 0 ? dyn_cubemap : sea_cubemap);
    if (sea_program == 0) {
        sea_program = program_make_lists(seavertex, 2, seafragment, 3);
    }
    begin(sea_program, game, sea_level, 0.5F);
    setlights(sea_program, game, light_on != 0, light);
    glColor3f(0.1F, 0.3F, 0.2F);
    glEnable(GL_BLEND);
    setblendfactors();
    if (sea_mesh == 0) {
        sea_mesh = mesh_make(0.02);
        sea_mesh_coarse = mesh_make(0.1);
    }
    glCallList(coarse != 0 ? sea_mesh_coarse : sea_mesh);
    glDisable(GL_BLEND);
    program_use(0);
}

void seabed_draw(MazeGame* game, i32 light_on, const LightRec* light)
{
    // That is texture 0, which has no image and reads as black: what the land mirrors only darkens it, to
    // nine tenths of its colour. This is meant.
    glBindTexture(GL_TEXTURE_CUBE_MAP, dyn_cubemap);
    if (bed_program == 0) {
        bed_program = program_make_lists(bedvertex, 2, bedfragment, 3);
    }
    begin(bed_program, game, bed_level, 0.1F);
    setlights(bed_program, game, light_on != 0, light);
    glColor3f(0.7F, 0.55F, 0.4F);
    if (bed_mesh == 0) {
        bed_mesh = mesh_make(0.02);
    }
    glCallList(bed_mesh);
    program_use(0);
}
