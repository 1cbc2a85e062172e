// The texts of the impostors as their programs join them, by two compilers.
#include "scene/impostors.h"
#include "tests/scene_picture.h"

#include <cstdio>
#include <fstream>

extern const char glsl_lighting[];
extern const char glsl_sphere_vs[];
extern const char glsl_sphere_fs[];
extern const char glsl_sphere_unlit_fs[];
extern const char glsl_cylinder_vs[];
extern const char glsl_cylinder_fs[];

struct Stage {
    const char* extension;
    std::string text;
};

static std::vector<Stage> stages()
{
    const std::string light = glsl_lighting;
    return {{"vert", glsl_sphere_vs},
            {"frag", light + glsl_sphere_fs},
            {"frag", light + glsl_sphere_unlit_fs},
            {"vert", glsl_cylinder_vs},
            {"frag", light + glsl_cylinder_fs}};
}

TEST(impostor_shaders, pass_the_reference_compiler_without_a_message)
{
    for (const Stage& stage : stages()) {
        const std::string path = std::string("impostor_shader.") + stage.extension;
        std::ofstream(path) << stage.text;
        FILE* const pipe = popen(("glslangValidator -d " + path + " 2>&1").c_str(), "r");
        char said[500] = "";
        EXPECT_EQ(fgets(said, sizeof said, pipe), nullptr) << said << stage.text;
        EXPECT_EQ(pclose(pipe), 0);
        std::remove(path.c_str());
    }
}

static void expect_silent_program(GLuint program)
{
    GLint linked = 0;
    GLint length = -1;
    gl_entry_points.GetProgramiv(program, GL_LINK_STATUS, &linked);
    gl_entry_points.GetProgramiv(program, GL_INFO_LOG_LENGTH, &length);
    EXPECT_EQ(linked, GL_TRUE);
    EXPECT_LE(length, 1);
}

TEST(impostor_shaders, pass_the_driver_without_a_message)
{
    picture_open();
    for (const Stage& stage : stages()) {
        const bool vertex = stage.extension[0] == 'v';
        const GLuint name =
            shader_compile(vertex ? GL_VERTEX_SHADER : GL_FRAGMENT_SHADER, stage.text.c_str());
        GLint compiled = 0;
        GLint length = -1;
        gl_entry_points.GetShaderiv(name, GL_COMPILE_STATUS, &compiled);
        gl_entry_points.GetShaderiv(name, GL_INFO_LOG_LENGTH, &length);
        EXPECT_EQ(compiled, GL_TRUE);
        EXPECT_LE(length, 1) << stage.text;
    }
    expect_silent_program(sphere_program());
    expect_silent_program(sphere_program_unlit());
    expect_silent_program(cylinder_program());
}

TEST(impostor_shaders, name_their_version_in_the_first_byte_of_a_stage_and_nowhere_else)
{
    for (const Stage& stage : stages()) {
        EXPECT_EQ(stage.text.find("#version 120\n"), 0U);
        EXPECT_EQ(stage.text.rfind("#version"), 0U);
        EXPECT_EQ(stage.text.find('%'), std::string::npos);
    }
}

TEST(impostor_shaders, are_made_once)
{
    picture_open();
    EXPECT_NE(sphere_program(), 0U);
    EXPECT_EQ(sphere_program(), sphere_program());
    EXPECT_EQ(sphere_program_unlit(), sphere_program_unlit());
    EXPECT_EQ(cylinder_program(), cylinder_program());
}
