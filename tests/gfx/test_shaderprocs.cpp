#include "base/report.h"
#include "gfx/gl/shaderprocs.h"
#include "tests/scripted_window.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>

static const char good_vertex[] = "void main() { gl_Position = ftransform(); }";
static const char good_fragment[] = "void main() { gl_FragColor = vec4(1.0, 0.5, 0.0, 1.0); }";
static const char broken[] = "void main() { gl_FragColor = nosuchname; }";

// A log file of its own for the length of a test, gone at first.
struct LogFile {
    std::string path = "shader_error_test.log";
    LogFile()
    {
        std::filesystem::remove(path);
        shader_log_path = path.c_str();
    }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;
    ~LogFile()
    {
        shader_log_path = "shader_error.log";
        std::filesystem::remove(path);
    }
    bool exists() const
    {
        return std::filesystem::exists(path);
    }
    std::string text() const
    {
        std::ostringstream all;
        all << std::ifstream(path).rdbuf();
        return all.str();
    }
};

// A text that was handed over, freed here.
static std::string taken(char* text)
{
    const std::string copy = text != nullptr ? text : "(null)";
    std::free(text);
    return copy;
}

// The colour 0xRRGGBB of a window that a program fills.
static u32 filled(GLuint program)
{
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    program_use(program);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glRectf(-1.0F, -1.0F, 1.0F, 1.0F);
    program_use(0);
    u8 pixel[4] = {};
    glReadPixels(5, 5, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
    return static_cast<u32>(pixel[0]) << 16 | static_cast<u32>(pixel[1]) << 8 | pixel[2];
}

TEST(program_make, makes_a_program_that_draws)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    const LogFile log;
    const GLuint program = program_make(good_vertex, good_fragment, nullptr, nullptr, nullptr);
    EXPECT_NE(program, 0U);
    EXPECT_EQ(filled(program), 0xFF8000U);
    EXPECT_FALSE(log.exists());
}

TEST(program_make, returns_a_program_that_failed_all_the_same)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    const LogFile log;
    EXPECT_NE(program_make(good_vertex, broken, nullptr, nullptr, nullptr), 0U);
}

TEST(program_make, writes_the_drivers_text_about_a_broken_shader)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    const LogFile log;
    program_make(good_vertex, broken, nullptr, nullptr, nullptr);
    EXPECT_NE(log.text().find("nosuchname"), std::string::npos);
}

TEST(program_make, writes_the_text_of_the_link_behind_that_of_the_shader)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    const LogFile log;
    char* shader = nullptr;
    char* link = nullptr;
    program_make(good_vertex, broken, nullptr, &shader, &link);
    EXPECT_EQ(log.text(), taken(shader) + "\n" + taken(link) + "\n");
}

TEST(program_make, appends_to_the_log)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    const LogFile log;
    program_make(good_vertex, broken, nullptr, nullptr, nullptr);
    const std::string first = log.text();
    program_make(good_vertex, broken, nullptr, nullptr, nullptr);
    EXPECT_EQ(log.text(), first + first);
}

TEST(program_make, writes_no_file_with_a_null_path)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    const LogFile log;
    std::filesystem::remove("shader_error.log");
    shader_log_path = nullptr;
    EXPECT_NE(program_make(good_vertex, broken, nullptr, nullptr, nullptr), 0U);
    EXPECT_FALSE(log.exists());
    EXPECT_FALSE(std::filesystem::exists("shader_error.log"));
}

TEST(program_make, goes_on_if_the_log_cannot_be_written)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    shader_log_path = "no/such/folder/x.log";
    EXPECT_NE(program_make(good_vertex, broken, nullptr, nullptr, nullptr), 0U);
    shader_log_path = "shader_error.log";
}

TEST(program_make, hands_out_the_logs_that_are_asked_for)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    const LogFile log;
    char* vertex = nullptr;
    char* fragment = nullptr;
    char* link = nullptr;
    program_make(good_vertex, broken, &vertex, &fragment, &link);
    EXPECT_EQ(taken(vertex), "No information log");
    EXPECT_NE(taken(fragment).find("nosuchname"), std::string::npos);
    EXPECT_NE(taken(link), "(null)");
}

TEST(program_make, leaves_a_stage_without_text_to_the_fixed_pipeline)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    const LogFile log;
    const char vertex[] =
        "void main() { gl_Position = ftransform(); gl_FrontColor = vec4(0.0, 1.0, "
        "0.0, 1.0); }";
    const GLuint program = program_make(vertex, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(filled(program), 0x00FF00U);
    EXPECT_FALSE(log.exists());
}

TEST(program_make_fragment, runs_behind_the_fixed_vertex_stage)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    const LogFile log;
    EXPECT_EQ(filled(program_make_fragment(good_fragment, nullptr, nullptr)), 0xFF8000U);
    EXPECT_FALSE(log.exists());
}

TEST(program_make_fragment, hands_out_the_logs_that_are_asked_for)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    const LogFile log;
    char* fragment = nullptr;
    char* link = nullptr;
    program_make_fragment(broken, &fragment, &link);
    EXPECT_NE(taken(fragment).find("nosuchname"), std::string::npos);
    EXPECT_NE(taken(link), "(null)");
}

TEST(program_make_lists, joins_the_texts_of_a_list_into_one_shader)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    const LogFile log;
    const char* const vertex[] = {good_vertex};
    const char* const fragment[] = {"vec4 shared() { return vec4(0.0, 0.0, 1.0, 1.0); }\n",
                                    "void main() { gl_FragColor = shared(); }"};
    EXPECT_EQ(filled(program_make_lists(vertex, 1, fragment, 2)), 0x0000FFU);
    EXPECT_FALSE(log.exists());
}

TEST(program_make_lists, leaves_a_null_list_to_the_fixed_pipeline)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    const LogFile log;
    const char* const fragment[] = {good_fragment};
    EXPECT_EQ(filled(program_make_lists(nullptr, 0, fragment, 1)), 0xFF8000U);
    EXPECT_FALSE(log.exists());
}

TEST(program_make_lists, writes_the_drivers_text_about_a_broken_list)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    const LogFile log;
    const char* const fragment[] = {broken};
    EXPECT_NE(program_make_lists(nullptr, 0, fragment, 1), 0U);
    EXPECT_NE(log.text().find("nosuchname"), std::string::npos);
}

TEST(shader_log, says_that_there_is_none_for_a_good_shader)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    shaders_load();
    const GLuint shader = shader_compile(GL_VERTEX_SHADER, good_vertex);
    EXPECT_EQ(taken(shader_log(shader, false)), "No information log");
}

TEST(shader_check, writes_nothing_about_a_good_shader)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    const LogFile log;
    shaders_load();
    shader_check(shader_compile(GL_FRAGMENT_SHADER, good_fragment), false);
    EXPECT_FALSE(log.exists());
}

TEST(shader_check, writes_about_a_broken_shader)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    const LogFile log;
    shaders_load();
    const GLuint shader = shader_compile(GL_FRAGMENT_SHADER, broken);
    EXPECT_NE(shader, 0U);
    shader_check(shader, false);
    EXPECT_EQ(log.text(), taken(shader_log(shader, false)) + "\n");
}

// The order of loading, as a back end is asked.
static std::string asked;
static void* ask(const char* symbol)
{
    asked += asked.empty() ? symbol : std::string(" ") + symbol;
    return platform_scripted.glproc(symbol);
}

TEST(shaders_load, asks_for_the_entry_points_in_their_order_and_once)
{
    static Platform asking = platform_scripted;
    asking.glproc = ask;
    scripted_begin();
    const ScriptedWindow window(16, 12);
    shaders_loaded = 0;
    asked.clear();
    platform_use(&asking);
    shaders_load();
    shaders_load();
    platform_use(&platform_scripted);
    EXPECT_EQ(asked, "glCreateShader glShaderSource glCompileShader glCreateProgram "
                     "glAttachShader glLinkProgram glUseProgram glGetUniformLocation glUniform1f "
                     "glUniform2f glUniform3f glUniform1i glUniform1ui glUniform2i glUniform1fv "
                     "glUniform2fv glUniform3fv glUniform1iv glUniformMatrix4fv glGetShaderiv "
                     "glGetShaderInfoLog glGetProgramiv glGetProgramInfoLog glActiveTexture");
    EXPECT_EQ(shaders_loaded, 1);
}

TEST(shaders_load, fills_the_entry_points)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    shaders_load();
    EXPECT_NE(gl_entry_points.CreateShader, nullptr);
    EXPECT_NE(gl_entry_points.UniformMatrix4fv, nullptr);
    EXPECT_NE(gl_entry_points.ActiveTexture, nullptr);
}

TEST(shaders_can, holds_on_this_driver)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    EXPECT_TRUE(shaders_can());
    EXPECT_EQ(shaders_checked, 1);
    EXPECT_EQ(shaders_available, 1);
}

// The entry point that a driver lacks; null: it lacks all.
static const char* lacked;
static void* lack(const char* name)
{
    const bool lacks = lacked == nullptr || std::strcmp(name, lacked) == 0;
    return lacks ? nullptr : platform_scripted.glproc(name);
}

static Platform lacking_platform()
{
    Platform made = platform_scripted;
    made.glproc = lack;
    return made;
}
static const Platform platform_lacking = lacking_platform();

// A driver that has loaded nothing yet, for the length of a scope.
struct LackingDriver {
    GlEntryPoints kept = gl_entry_points;
    explicit LackingDriver(const char* name)
    {
        lacked = name;
        shaders_loaded = 0;
        shaders_checked = 0;
        platform_use(&platform_lacking);
    }
    LackingDriver(const LackingDriver&) = delete;
    LackingDriver& operator=(const LackingDriver&) = delete;
    ~LackingDriver()
    {
        platform_use(&platform_scripted);
        gl_entry_points = kept;
        shaders_loaded = 0;
        shaders_checked = 0;
    }
};

TEST(shaders_can, does_not_hold_where_the_driver_lacks_the_entry_points)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    {
        const LackingDriver driver(nullptr);
        EXPECT_FALSE(shaders_can());
        EXPECT_EQ(program_make(good_vertex, good_fragment, nullptr, nullptr, nullptr), 0U);
        program_use(3); // does nothing, without a crash
    }
    EXPECT_TRUE(shaders_can());
}

TEST(shaders_can, does_not_hold_where_a_uniform_cannot_be_set)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    for (const char* const name :
         {"glUniform1f", "glUniform3f", "glUniform1i", "glUniformMatrix4fv"}) {
        const LackingDriver driver(name);
        EXPECT_FALSE(shaders_can()) << name;
    }
}

TEST(shaders_can, holds_without_the_unsigned_uniforms_of_a_newer_version)
{
    scripted_begin();
    const ScriptedWindow window(16, 12);
    const LackingDriver driver("glUniform1ui");
    EXPECT_TRUE(shaders_can());
}

// In a process of its own with a driver that claims a version.
static void claim_version(const char* version)
{
    setenv("MESA_GL_VERSION_OVERRIDE", version, 1);
    report_fatal_wait = 0;
    scripted_begin();
    gfx_open(16, 12, "test");
}

static void make_programs(const char* version)
{
    claim_version(version);
    const char* const texts[] = {good_fragment};
    const GLuint first = program_make(good_vertex, good_fragment, nullptr, nullptr, nullptr);
    const GLuint second = program_make_fragment(good_fragment, nullptr, nullptr);
    const GLuint third = program_make_lists(nullptr, 0, texts, 1);
    program_use(1);
    std::fprintf(stderr, "%.3s: %d %d %d, error %x, loaded %d", glGetString(GL_VERSION), first != 0,
                 second != 0, third != 0, glGetError(), shaders_loaded);
    std::exit(0);
}

TEST(program_make, returns_zero_below_version_two)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(make_programs("1.5"), testing::ExitedWithCode(0), "1.5: 0 0 0, error 0, loaded 0");
}

TEST(program_make, takes_a_version_text_with_words_behind_the_number)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(make_programs("2.1"), testing::ExitedWithCode(0), "2.1: 1 1 1, error 0, loaded 1");
}

TEST(program_make, takes_version_two_itself)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(make_programs("2.0"), testing::ExitedWithCode(0), "2.0: 1 1 1, error 0, loaded 1");
}

static void load_below_two()
{
    claim_version("1.5");
    report_to_stderr();
    shaders_load();
}

TEST(shaders_load, is_fatal_below_version_two)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(load_below_two(), testing::ExitedWithCode(1),
                "<shaderprocs 46 5 OpenGL version 2\\.0 or higher required for shaders; you have "
                "version 1\\.5>");
}
