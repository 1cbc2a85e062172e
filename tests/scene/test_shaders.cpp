#include "scene/ballstick.h"
#include "tests/scene_picture.h"

#include <cctype>
#include <cstdio>
#include <fstream>
#include <sys/wait.h>

// The programs of the styles, made by drawing; the texts are those that the program gave the driver.
static void make_programs()
{
    picture_open();
    World world;
    world.node(0, 0, -5, 1);
    world.draw();
    ASSERT_EQ(shader_texts.size(), 4U);
    ASSERT_EQ(made_programs.size(), 2U);
}

static std::string stage_name(const ShaderText& shader)
{
    return shader.kind == GL_VERTEX_SHADER ? "vert" : "frag";
}

// What a shell command prints, with its exit status behind.
static std::string output_of(const std::string& command, i32* status)
{
    std::string text;
    FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
    char piece[500];
    while (fgets(piece, sizeof piece, pipe) != nullptr) {
        text += piece;
    }
    const i32 result = pclose(pipe);
    *status = WIFEXITED(result) ? WEXITSTATUS(result) : -1;
    return text;
}

TEST(shader_texts, pass_the_reference_compiler_without_a_message)
{
    make_programs();
    for (const auto& [name, shader] : shader_texts) {
        const std::string path = "shader_" + std::to_string(name) + "." + stage_name(shader);
        std::ofstream(path) << shader.text;
        i32 status = -1;
        const std::string text = output_of("glslangValidator -d " + path, &status);
        EXPECT_EQ(status, 0) << text;
        EXPECT_EQ(text, "") << shader.text;
        std::remove(path.c_str());
    }
}

TEST(shader_texts, pass_the_driver_without_a_message)
{
    make_programs();
    for (const auto& [name, shader] : shader_texts) {
        GLint compiled = 0;
        GLint length = -1;
        gl_entry_points.GetShaderiv(name, GL_COMPILE_STATUS, &compiled);
        gl_entry_points.GetShaderiv(name, GL_INFO_LOG_LENGTH, &length);
        EXPECT_EQ(compiled, GL_TRUE);
        EXPECT_LE(length, 1) << shader.text;
    }
    for (const GLuint name : made_programs) {
        GLint linked = 0;
        GLint length = -1;
        gl_entry_points.GetProgramiv(name, GL_LINK_STATUS, &linked);
        gl_entry_points.GetProgramiv(name, GL_INFO_LOG_LENGTH, &length);
        EXPECT_EQ(linked, GL_TRUE);
        EXPECT_LE(length, 1);
    }
}

TEST(shader_texts, name_their_version_in_the_first_byte_of_a_stage_and_nowhere_else)
{
    make_programs();
    for (const auto& [name, shader] : shader_texts) {
        EXPECT_EQ(shader.text.find("#version 120\n"), 0U);
        EXPECT_EQ(shader.text.rfind("#version"), 0U);
    }
}

TEST(shader_texts, join_the_age_colours_with_the_vertex_stage)
{
    make_programs();
    for (const auto& [name, shader] : shader_texts) {
        const bool vertex = shader.kind == GL_VERTEX_SHADER;
        EXPECT_EQ(shader.pieces.size(), vertex ? 2U : 1U);
        EXPECT_EQ(shader.text.find("vec3 agecolour(float") != std::string::npos, vertex);
    }
}

TEST(shader_texts, stay_below_16000_characters_each)
{
    make_programs();
    for (const auto& [name, shader] : shader_texts) {
        for (const std::string& piece : shader.pieces) {
            EXPECT_LT(piece.size(), 16000U);
        }
    }
}

// Whether a number carries the suffix of a C float, which GLSL doesn't have.
static bool has_suffixed_number(const std::string& text)
{
    for (size_t i = 2; i < text.size(); i++) {
        const bool number = std::isdigit(text[i - 1]) != 0 ||
                            (text[i - 1] == '.' && std::isdigit(text[i - 2]) != 0);
        if ((text[i] == 'f' || text[i] == 'F') && number) {
            return true;
        }
    }
    return false;
}

TEST(shader_texts, keep_to_what_strict_compilers_take)
{
    make_programs();
    EXPECT_TRUE(has_suffixed_number("x = 1.0f;"));
    for (const auto& [name, shader] : shader_texts) {
        EXPECT_FALSE(has_suffixed_number(shader.text));
        EXPECT_EQ(shader.text.find('%'), std::string::npos);
    }
}

TEST(shader_texts, take_derivatives_before_any_branch)
{
    make_programs();
    for (const auto& [name, shader] : shader_texts) {
        if (shader.kind == GL_FRAGMENT_SHADER) {
            const size_t start = shader.text.find("void main");
            EXPECT_LT(shader.text.rfind("dFdy"), shader.text.find("if (", start));
        }
    }
}
