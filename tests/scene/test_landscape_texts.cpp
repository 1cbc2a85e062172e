// The programs of the landscape before the reference compiler and the driver.
#include "tests/scene_picture.h"

#include <cctype>
#include <cstdio>
#include <fstream>
#include <set>
#include <sys/wait.h>

extern const char glsl_lighting[];
extern const char glsl_waves[];
extern const char glsl_sea_fs[];
extern const char glsl_bed[];
extern const char glsl_bed_fs[];
extern const char glsl_mesh_vs[];
extern const char glsl_sky_fs[];
extern const char glsl_clouds_fs[];

// A frame with the landscape makes them; the texts are those that the driver was given.
static void make_programs()
{
    picture_open();
    gfx_resize(16, 12);
    landscape_on = 1;
    static bool made; // by an earlier test
    if (!made) {
        World world;
        world.draw();
    }
    made = true;
    landscape_on = 0;
}

// The stages of the landscape, each as its pieces; other tests may have made stages of texts of theirs.
static std::vector<ShaderText> landscape_stages()
{
    make_programs();
    const std::set<std::string> own = {glsl_lighting, glsl_waves,   glsl_sea_fs, glsl_bed,
                                       glsl_bed_fs,   glsl_mesh_vs, glsl_sky_fs, glsl_clouds_fs};
    const std::set<std::string> last = {glsl_mesh_vs, glsl_sea_fs, glsl_bed_fs, glsl_sky_fs,
                                        glsl_clouds_fs};
    std::map<std::vector<std::string>, ShaderText> stages;
    for (const auto& [name, shader] : shader_texts) {
        bool known = last.count(shader.pieces.back()) > 0;
        for (const std::string& piece : shader.pieces) {
            known = known && own.count(piece) > 0;
        }
        if (known) {
            stages[shader.pieces] = shader;
        }
    }
    EXPECT_EQ(stages.size(), 6U);
    std::vector<ShaderText> out;
    for (const auto& [pieces, shader] : stages) {
        out.push_back(shader);
    }
    return out;
}

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

TEST(landscape_texts, pass_the_reference_compiler_without_a_message)
{
    i32 number = 0;
    for (const ShaderText& shader : landscape_stages()) {
        const std::string path = "landscape_" + std::to_string(number++) +
                                 (shader.kind == GL_VERTEX_SHADER ? ".vert" : ".frag");
        std::ofstream(path) << shader.text;
        i32 status = -1;
        const std::string text = output_of("glslangValidator -d " + path, &status);
        EXPECT_EQ(status, 0) << text;
        EXPECT_EQ(text, "") << shader.text;
        std::remove(path.c_str());
    }
}

TEST(landscape_texts, pass_the_driver_without_a_message)
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

TEST(landscape_texts, are_the_oldest_language_but_behind_the_light)
{
    for (const ShaderText& shader : landscape_stages()) {
        const bool lit = shader.pieces[0] == glsl_lighting;
        EXPECT_EQ(shader.text.find("#version 120\n") == 0, lit);
        EXPECT_EQ(shader.text.rfind("#version"), lit ? 0 : std::string::npos);
    }
}

TEST(landscape_texts, are_joined_in_their_order)
{
    const std::vector<std::vector<std::string>> expected = {
        {glsl_waves, glsl_mesh_vs},
        {glsl_lighting, glsl_waves, glsl_sea_fs},
        {glsl_bed, glsl_mesh_vs},
        {glsl_lighting, glsl_bed, glsl_bed_fs},
        {glsl_sky_fs},
        {glsl_clouds_fs}};
    const std::vector<ShaderText> stages = landscape_stages();
    for (const std::vector<std::string>& pieces : expected) {
        i32 found = 0;
        for (const ShaderText& shader : stages) {
            found += shader.pieces == pieces ? 1 : 0;
        }
        EXPECT_EQ(found, 1) << pieces.back();
    }
}

// Whether a number carries the suffix of a C float.
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

TEST(landscape_texts, keep_to_what_strict_compilers_take)
{
    for (const char* const piece : {glsl_waves, glsl_sea_fs, glsl_bed, glsl_bed_fs, glsl_mesh_vs,
                                    glsl_sky_fs, glsl_clouds_fs}) {
        const std::string text = piece;
        EXPECT_LT(text.size(), 16000U);
        EXPECT_FALSE(has_suffixed_number(text));
        EXPECT_EQ(text.find('%'), std::string::npos);
    }
}
