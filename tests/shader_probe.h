// What a GLSL text computes, number by number: it is drawn into a framebuffer of floats, a pixel a sample,
// and read back.
#pragma once

#include "gfx/platform.h"
#include "tests/scene_picture.h"

#include <GL/glext.h>

#include <array>

using Vec3 = std::array<f64, 3>;

inline Vec3 operator+(Vec3 a, Vec3 b)
{
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

inline Vec3 operator-(Vec3 a, Vec3 b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

inline Vec3 operator*(f64 k, Vec3 a)
{
    return {k * a[0], k * a[1], k * a[2]};
}

inline f64 dot(Vec3 a, Vec3 b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

inline Vec3 cross(Vec3 a, Vec3 b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

inline Vec3 unit(Vec3 a)
{
    return (1 / std::sqrt(dot(a, a))) * a;
}

inline f64 greatest(Vec3 a)
{
    return std::fmax(std::fabs(a[0]), std::fmax(std::fabs(a[1]), std::fabs(a[2])));
}

/// A sample: three texture coordinates, a colour, and whether its quad turns its face to the viewer.
struct ProbeSample {
    Vec3 tex[3] = {};
    std::array<f32, 4> colour = {1, 1, 1, 1};
    bool front = true;
};

using ProbeResult = std::array<f32, 4>;

template <typename Routine> Routine probe_proc(const char* name)
{
    return reinterpret_cast<Routine>(platform->glproc(name));
}

/// A vertex stage that hands the three texture coordinates to the varyings `spos`, `pos` and `oz`.
inline constexpr const char* probe_surface_vs = "varying vec3 spos;\n"
                                                "varying vec3 pos;\n"
                                                "varying float oz;\n"
                                                "void main()\n"
                                                "{\n"
                                                "    gl_Position = gl_Vertex;\n"
                                                "    spos = gl_MultiTexCoord0.xyz;\n"
                                                "    pos = gl_MultiTexCoord1.xyz;\n"
                                                "    oz = gl_MultiTexCoord2.x;\n"
                                                "    gl_FrontColor = gl_Color;\n"
                                                "}\n";

/// A program from texts; an empty vertex list is the fixed pipeline.
inline GLuint probe_program(const std::vector<const char*>& vertex,
                            const std::vector<const char*>& fragment)
{
    const GLuint program = program_make_lists(vertex.empty() ? nullptr : vertex.data(),
                                              static_cast<i32>(vertex.size()), fragment.data(),
                                              static_cast<i32>(fragment.size()));
    GLint linked = 0;
    gl_entry_points.GetProgramiv(program, GL_LINK_STATUS, &linked);
    char* const log = shader_log(program, true);
    EXPECT_EQ(linked, GL_TRUE) << log;
    std::free(log);
    return program;
}

/// A framebuffer of floats, current for the length of a scope, with matrices that change nothing.
struct ProbeTarget {
    i32 width, height;
    GLuint texture = 0, framebuffer = 0;

    ProbeTarget(i32 w, i32 h) : width(w), height(h)
    {
        glGenTextures(1, &texture);
        GLint bound = 0;
        glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA32F_ARB, w, h, 0, GL_RGBA, GL_FLOAT, nullptr);
        glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(bound));
        probe_proc<PFNGLGENFRAMEBUFFERSPROC>("glGenFramebuffers")(1, &framebuffer);
        bind(framebuffer);
        probe_proc<PFNGLFRAMEBUFFERTEXTURE2DPROC>("glFramebufferTexture2D")(
            GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
        glPushAttrib(GL_VIEWPORT_BIT);
        glViewport(0, 0, w, h);
        for (const GLenum mode : {GL_PROJECTION, GL_MODELVIEW}) {
            glMatrixMode(mode);
            glPushMatrix();
            glLoadIdentity();
        }
    }
    ~ProbeTarget()
    {
        for (const GLenum mode : {GL_PROJECTION, GL_MODELVIEW}) {
            glMatrixMode(mode);
            glPopMatrix();
        }
        glPopAttrib();
        bind(0);
        probe_proc<PFNGLDELETEFRAMEBUFFERSPROC>("glDeleteFramebuffers")(1, &framebuffer);
        glDeleteTextures(1, &texture);
    }
    ProbeTarget(const ProbeTarget&) = delete;
    ProbeTarget& operator=(const ProbeTarget&) = delete;

    static void bind(GLuint name)
    {
        probe_proc<PFNGLBINDFRAMEBUFFERPROC>("glBindFramebuffer")(GL_FRAMEBUFFER, name);
    }
    std::vector<ProbeResult> read() const
    {
        std::vector<ProbeResult> out(static_cast<size_t>(width) * height);
        glReadPixels(0, 0, width, height, GL_RGBA, GL_FLOAT, out.data());
        return out;
    }
};

inline void probe_corner(const ProbeSample& sample, f32 x, f32 y)
{
    using MultiTexCoord3d = void(APIENTRY*)(GLenum unit, f64 s, f64 t, f64 r);
    const auto coord = reinterpret_cast<MultiTexCoord3d>(platform->glproc("glMultiTexCoord3dARB"));
    for (GLenum i = 0; i < 3; i++) {
        coord(GL_TEXTURE0 + i, sample.tex[i][0], sample.tex[i][1], sample.tex[i][2]);
    }
    glColor4fv(sample.colour.data());
    glVertex2f(x, y);
}

/// Draws the samples by the current program and returns what it wrote. All corners of a sample's quad are
/// alike, so that derivatives are zero and textures are read at their full size.
inline std::vector<ProbeResult> probe_run(const std::vector<ProbeSample>& samples)
{
    const ProbeTarget target(static_cast<i32>(samples.size()), 1);
    const f32 w = 2.0F / static_cast<f32>(samples.size());
    glBegin(GL_QUADS);
    for (size_t i = 0; i < samples.size(); i++) {
        const f32 left = -1 + w * static_cast<f32>(i);
        const f32 a = samples[i].front ? left : left + w;
        const f32 b = samples[i].front ? left + w : left;
        probe_corner(samples[i], a, -1);
        probe_corner(samples[i], b, -1);
        probe_corner(samples[i], b, 1);
        probe_corner(samples[i], a, 1);
    }
    glEnd();
    return target.read();
}

inline Vec3 probe_rgb(const ProbeResult& result)
{
    return {static_cast<f64>(result[0]), static_cast<f64>(result[1]), static_cast<f64>(result[2])};
}

inline void probe_f32(GLuint program, const char* name, f64 value)
{
    gl_entry_points.Uniform1f(gl_entry_points.GetUniformLocation(program, name),
                              static_cast<f32>(value));
}

inline void probe_vec3(GLuint program, const char* name, Vec3 v)
{
    gl_entry_points.Uniform3f(gl_entry_points.GetUniformLocation(program, name),
                              static_cast<f32>(v[0]), static_cast<f32>(v[1]),
                              static_cast<f32>(v[2]));
}
