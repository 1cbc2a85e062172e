#include "scene/ballstick.h"
#include "tests/reference_compiler.h"
#include "tests/scene_picture.h"

#include <cctype>
#include <set>

extern const char glsl_agecolour[];
extern const char glsl_disc_vs[];
extern const char glsl_disc_fs[];
extern const char glsl_band_vs[];
extern const char glsl_band_fs[];
extern const char glsl_flatball_vs[];
extern const char glsl_flatball_fs[];
extern const char glsl_lighting[];
extern const char glsl_sphere_vs[];
extern const char glsl_sphere_fs[];
extern const char glsl_sphere_unlit_fs[];
extern const char glsl_cylinder_vs[];
extern const char glsl_cylinder_fs[];
extern const char glsl_plate_vs[];
extern const char glsl_plate_fs[];
extern const char glsl_hextile_fs[];
extern const char glsl_waves[];
extern const char glsl_sea_fs[];
extern const char glsl_bed[];
extern const char glsl_bed_fs[];
extern const char glsl_mesh_vs[];
extern const char glsl_sky_fs[];
extern const char glsl_clouds_fs[];

// What each program is made of, stage by stage; a stage without texts is the fixed pipeline's.
struct ProgramTexts {
    const char* name;
    std::vector<const char*> vertex;
    std::vector<const char*> fragment;
};
static const ProgramTexts program_texts[] = {
    {"sphere sticks", {glsl_agecolour, glsl_band_vs}, {glsl_band_fs}},
    {"sphere balls", {glsl_agecolour, glsl_disc_vs}, {glsl_disc_fs}},
    {"lit sphere", {glsl_sphere_vs}, {glsl_lighting, glsl_sphere_fs}},
    {"unlit sphere", {glsl_sphere_vs}, {glsl_lighting, glsl_sphere_unlit_fs}},
    {"lit cylinder", {glsl_cylinder_vs}, {glsl_lighting, glsl_cylinder_fs}},
    {"plate", {glsl_plate_vs}, {glsl_lighting, glsl_plate_fs}},
    {"sea", {glsl_waves, glsl_mesh_vs}, {glsl_lighting, glsl_waves, glsl_sea_fs}},
    {"seabed", {glsl_bed, glsl_mesh_vs}, {glsl_lighting, glsl_bed, glsl_bed_fs}},
    {"flat ball", {glsl_flatball_vs}, {glsl_flatball_fs}},
    {"sky", {}, {glsl_sky_fs}},
    {"clouds", {}, {glsl_clouds_fs}},
    {"hex tile", {}, {glsl_hextile_fs}},
};

// Draws in every style, so that every program is made; the texts are those that the driver got.
static void make_programs()
{
    picture_open();
    gfx_resize(32, 24);
    World world;
    const i32 near = world.node(0, 0, -5, 1);
    const i32 far = world.node(10, 0, -5, 1);
    Maze_join(world.root, near, far);
    light_on = 1;
    for (plot_type = 2; plot_type > 0; plot_type--) {
        world.draw();
    }
    landscape_on = 1;
    world.draw();
    key_now['J'] = 0x80;
    world.draw();
    key_now['J'] = 0;
    landscape_on = 0;
    light_on = 0;
}

static std::multiset<std::string> expected_texts()
{
    std::multiset<std::string> texts;
    for (const ProgramTexts& program : program_texts) {
        for (const auto* const stage : {&program.vertex, &program.fragment}) {
            std::string text;
            for (const char* const piece : *stage) {
                text += piece;
            }
            if (!text.empty()) {
                texts.insert(text);
            }
        }
    }
    return texts;
}

TEST(shader_texts, are_those_of_the_programs)
{
    make_programs();
    std::multiset<std::string> made;
    for (const auto& [name, shader] : shader_texts) {
        made.insert(shader.text);
    }
    EXPECT_EQ(made_programs.size(), std::size(program_texts));
    EXPECT_EQ(made, expected_texts());
}

TEST(shader_programs, are_made_once)
{
    make_programs();
    const size_t made = made_programs.size();
    make_programs();
    EXPECT_EQ(made_programs.size(), made);
}

TEST(shader_texts, pass_the_reference_compiler_without_a_message)
{
    make_programs();
    for (const auto& [name, shader] : shader_texts) {
        expect_no_message(shader.kind == GL_VERTEX_SHADER ? "vert" : "frag", shader.text);
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

TEST(shader_texts, name_their_version_in_the_first_byte_of_a_stage_or_nowhere)
{
    make_programs();
    i32 versions = 0;
    for (const auto& [name, shader] : shader_texts) {
        const size_t last = shader.text.rfind("#version");
        EXPECT_TRUE(last == 0 || last == std::string::npos) << shader.text;
        EXPECT_TRUE(last != 0 || shader.text.find("#version 120\n") == 0) << shader.text;
        versions += last == 0 ? 1 : 0;
    }
    EXPECT_GT(versions, 0);
}

TEST(shader_texts, take_what_is_newer_than_the_oldest_language_only_after_their_version)
{
    make_programs();
    for (const auto& [name, shader] : shader_texts) {
        if (shader.text.rfind("#version") == std::string::npos) {
            EXPECT_EQ(shader.text.find("transpose("), std::string::npos);
            EXPECT_EQ(shader.text.find("[]"), std::string::npos);
        }
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
        if (shader.text.find("dFdy") != std::string::npos) {
            const size_t start = shader.text.find("void main");
            EXPECT_LT(shader.text.rfind("dFdy"), shader.text.find("if (", start));
        }
    }
}
