// The ball-and-stick plot in the plainest way: the formulas of the shapes as they stand, every list of
// every level called in both depth slices. What the program draws is compared with it.
#pragma once

#include "gfx/gl/shaderprocs.h"
#include "model/mazegame.h"
#include "scene/ballstick.h"
#include "scene/impostors.h"
#include "scene/light.h"
#include "scene/lighting.h"

#include <map>

extern const char glsl_lighting[];

inline const char plain_sphere_vs[] = R"(#version 120
varying vec3 ex;
varying float r;
varying vec3 epos;
void main()
{
    ex = (gl_ModelViewMatrix * vec4(gl_MultiTexCoord0.xyz, 1.0)).xyz;
    r = gl_MultiTexCoord0.w;
    vec2 corner = gl_Vertex.xy;
    float zback = ex.z - r;
    float zfront = min(-0.001, ex.z + r);
    vec2 pback = ex.xy + corner * r;
    vec2 pfront = pback * zback / zfront;
    pback = min(vec2(-3.0 * zback), max(pback * corner, pfront * corner)) * corner;
    epos = vec3(pback, zback);
    gl_Position = gl_ProjectionMatrix * vec4(epos, 1.0);
    gl_FrontColor = gl_Color;
}
)";

inline const char plain_sphere_fs[] = R"(
uniform mat4 proj;
varying vec3 ex;
varying float r;
varying vec3 epos;
void main()
{
    float a = dot(epos, epos);
    float b = -2.0 * dot(ex, epos);
    float c = dot(ex, ex) - r * r;
    float d = b * b - 4.0 * a * c;
    if (d < 0.0) discard;
    float k = (-b - sqrt(d)) / (2.0 * a);
    if (k <= 0.0) discard;
    vec3 ecpos = epos * k;
    vec3 norm = normalize(((ecpos - ex) * mat3(gl_ModelViewMatrix)));
    vec3 pos = (ecpos - gl_ModelViewMatrix[3].xyz) * mat3(gl_ModelViewMatrix);
    vec4 col = gl_Color * vec4(lighting(norm, pos), 1.0);
    float z = ecpos.z;
    float dd = (proj[2][2] * z + proj[3][2]) / (proj[2][3] * z);
    gl_FragDepth = ((gl_DepthRange.diff * dd) + gl_DepthRange.near + gl_DepthRange.far) * 0.5;
    gl_FragColor = fog(col, z);
}
)";

inline const char plain_cylinder_vs[] = R"(#version 120
varying vec3 ex;
varying vec3 ea;
varying float r;
varying vec3 epos;
void main()
{
    ex = (gl_ModelViewMatrix * vec4(gl_MultiTexCoord0.xyz, 1.0)).xyz;
    ea = (gl_ModelViewMatrix * vec4(gl_Normal, 0.0)).xyz;
    r = gl_MultiTexCoord0.w;
    vec3 b = normalize(cross(ex, ea));
    vec3 c = normalize(cross(ea, b));
    float xa = dot(ex, ea) / dot(ea, ea);
    float xc = dot(ex, c);
    vec2 corner = gl_Vertex.xy;
    vec2 abf = vec2(corner.x * 0.5 + 0.5, corner.y * r);
    float lambda = (xc + r) / (xc - r);
    vec2 abr = vec2(lambda * (abf.x + xa) - xa, lambda * abf.y);
    vec2 ab = max(abf * corner, abr * corner) * corner;
    epos = ex + ab.x * ea + ab.y * b + r * c;
    gl_Position = gl_ProjectionMatrix * vec4(epos, 1.0);
    gl_FrontColor = gl_Color;
}
)";

inline const char plain_cylinder_fs[] = R"(
uniform mat4 proj;
varying vec3 ex;
varying vec3 ea;
varying float r;
varying vec3 epos;
void main()
{
    float aa = dot(ea, ea);
    vec3 ey = ex - (dot(ex, ea) / aa) * ea;
    float pa = dot(epos, ea);
    float a = dot(epos, epos) - pa * pa / aa;
    float b = -2.0 * dot(ey, epos);
    float c = dot(ey, ey) - r * r;
    float d = b * b - 4.0 * a * c;
    if (d < 0.0) discard;
    float k = (-b - sqrt(d)) / (2.0 * a);
    if (k <= 0.0) discard;
    vec3 ecpos = epos * k;
    vec3 u = ecpos - ex;
    float p = dot(u, ea) / aa;
    if (p < 0.0 || p > 1.0) discard;
    vec3 norm = normalize((u - p * ea) * mat3(gl_ModelViewMatrix));
    vec3 pos = (ecpos - gl_ModelViewMatrix[3].xyz) * mat3(gl_ModelViewMatrix);
    vec4 col = gl_Color * vec4(lighting(norm, pos), 1.0);
    float z = ecpos.z;
    float dd = (proj[2][2] * z + proj[3][2]) / (proj[2][3] * z);
    gl_FragDepth = ((gl_DepthRange.diff * dd) + gl_DepthRange.near + gl_DepthRange.far) * 0.5;
    gl_FragColor = fog(col, z);
}
)";

inline GLuint plain_program(const char* vertex, const char* fragment)
{
    const char* const fragments[] = {glsl_lighting, fragment};
    return program_make_lists(&vertex, 1, fragments, 2);
}

/// Lists of all levels, made once for a world and never left out.
struct PlainLists {
    std::map<Maze*, GLuint> balls, sticks;

    void make(Maze* maze)
    {
        balls[maze] = list_of(maze, ballstick_balllist);
        sticks[maze] = list_of(maze, ballstick_sticklist);
        for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
            if (Maze_node(maze, n)->sub != nullptr) {
                make(Maze_node(maze, n)->sub);
            }
        }
    }
    static GLuint list_of(Maze* maze, void (*builder)(Maze*))
    {
        const GLuint list = glGenLists(1);
        glNewList(list, GL_COMPILE);
        builder(maze);
        glEndList();
        return list;
    }
    static void call(Maze* maze, const std::map<Maze*, GLuint>& lists)
    {
        glCallList(lists.at(maze));
        for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
            if (Maze_node(maze, n)->sub != nullptr) {
                call(Maze_node(maze, n)->sub, lists);
            }
        }
    }
    void free()
    {
        for (const auto* lists : {&balls, &sticks}) {
            for (const auto& [maze, list] : *lists) {
                glDeleteLists(list, 1);
            }
        }
    }
};

struct PlainSolids {
    GLuint sphere, cylinder; // programs
};

inline void plain_begin(GLuint program, const f64 lamp[3], bool lit, const LightRec* light)
{
    program_use(program);
    projection_set(program);
    lamp_set(program, lamp, lit);
    lights_set(program, light);
}

/// One run of the plot, with an unlit cursor or (lit) one drawn by the program's own.
inline void plain_plot(const PlainSolids& programs, const PlainLists& lists, MazeGame* game,
                       bool lit, const LightRec* light)
{
    f64 cursor[3];
    f64 radius;
    MazeGame_viewpos_radius(cursor, game, &radius);
    plain_begin(programs.sphere, cursor, lit, light);
    PlainLists::call(game->root, lists.balls);
    if (lit) {
        program_use(sphere_program_unlit());
        projection_set(sphere_program_unlit());
    }
    impostors_begin();
    impostor_sphere(0xFFFFFF, cursor, 1.5 * radius);
    impostors_end();
    plain_begin(programs.cylinder, cursor, lit, light);
    PlainLists::call(game->root, lists.sticks);
    program_use(0);
}

/// The whole scene: both depth slices, as scene_draw makes them.
inline void plain_scene(const PlainSolids& programs, const PlainLists& lists, MazeGame* game,
                        bool lit)
{
    LightRec light;
    light_compute(game->time, &light);
    for (const f32 offset : {-2000.199707F, -0.2000199705F}) {
        f32 projection[16];
        glGetFloatv(GL_PROJECTION_MATRIX, projection);
        projection[10] = -1.000199676F;
        projection[14] = offset;
        glMatrixMode(GL_PROJECTION);
        glLoadMatrixf(projection);
        glMatrixMode(GL_MODELVIEW);
        glClear(GL_DEPTH_BUFFER_BIT);
        plain_plot(programs, lists, game, lit, &light);
    }
    glClear(GL_DEPTH_BUFFER_BIT);
}
