// The textures that the stereo modes copy the window into.
#include "base/report.h"
#include "tests/fakes/gl_textures.h"
#include "tests/stereo_scene.h"

#include <cstdio>
#include <cstdlib>

// Every mode that copies the window.
static const i32 copying_modes[] = {STEREO_INTERLACE, STEREO_RED_CYAN, STEREO_RED_GREEN,
                                    STEREO_MAGENTA_GREEN};

static void paint_eyes(i32 call)
{
    flood(call == 0 ? 0x204060 : 0x8090A0);
}

static Pixels draw_mode(i32 mode)
{
    return draw_stereo({.mode = mode, .swap = 0, .depth = 0.05, .distance = 1});
}

static size_t draw_all_modes()
{
    for (i32 mode = 0; mode < STEREO_MODES; mode++) {
        draw_mode(mode);
    }
    return gl_textures.living.size();
}

static bool power_of_two(i32 size)
{
    return size > 0 && (size & (size - 1)) == 0;
}

// Another power of two than any test begins with, so that textures are made anew.
static void begin_anew()
{
    scripted_begin();
    const StereoWindow window(5, 5, paint_eyes);
    draw_all_modes();
    gl_textures.forget();
}

TEST(stereo_textures, are_powers_of_two_around_the_window)
{
    for (const i32 mode : copying_modes) {
        begin_anew();
        scripted_begin();
        const StereoWindow window(130, 100, paint_eyes);
        draw_mode(mode);
        EXPECT_EQ(gl_textures.copies.size(), mode == STEREO_INTERLACE ? 1U : 2U);
        for (const GlCopy& copy : gl_textures.copies) {
            EXPECT_EQ(copy.width, 256);
            EXPECT_EQ(copy.height, 128);
        }
    }
}

TEST(stereo_textures, are_copies_of_the_frame_buffer_in_rgb_and_not_filtered)
{
    begin_anew();
    scripted_begin();
    const StereoWindow window(130, 100, paint_eyes);
    draw_all_modes();
    ASSERT_EQ(gl_textures.copies.size(), 3U);
    for (const GlCopy& copy : gl_textures.copies) {
        GLint smaller = 0;
        GLint larger = 0;
        GLint format = 0;
        glBindTexture(GL_TEXTURE_2D, copy.name);
        glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &smaller);
        glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, &larger);
        glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT, &format);
        EXPECT_EQ(copy.format, static_cast<GLenum>(GL_RGB8));
        EXPECT_EQ(format, GL_RGB8);
        EXPECT_EQ(smaller, GL_NEAREST);
        EXPECT_EQ(larger, GL_NEAREST);
    }
    glBindTexture(GL_TEXTURE_2D, 0);
}

TEST(stereo_textures, fit_a_window_of_powers_of_two_exactly)
{
    begin_anew();
    scripted_begin();
    const StereoWindow window(128, 64, paint_eyes);
    for (const i32 mode : {STEREO_RED_CYAN, STEREO_RED_GREEN, STEREO_MAGENTA_GREEN}) {
        gl_textures.coordinates.clear();
        draw_mode(mode);
        const std::vector<f32> corners = {0, 0, 1, 0, 1, 1, 0, 1, 0, 0, 1, 0, 1, 1, 0, 1};
        EXPECT_EQ(gl_textures.coordinates, corners);
    }
    for (const GlCopy& copy : gl_textures.copies) {
        EXPECT_EQ(copy.width, 128);
        EXPECT_EQ(copy.height, 64);
    }
}

TEST(stereo_textures, are_shown_as_far_as_the_window_reaches)
{
    begin_anew();
    scripted_begin();
    const StereoWindow window(160, 48, paint_eyes);
    draw_mode(STEREO_RED_CYAN);
    const f32 s = 160.0F / 256;
    const f32 t = 48.0F / 64;
    const std::vector<f32> corners = {0, 0, s, 0, s, t, 0, t, 0, 0, s, 0, s, t, 0, t};
    EXPECT_EQ(gl_textures.coordinates, corners);
}

TEST(stereo_textures, are_made_once_for_a_size)
{
    begin_anew();
    scripted_begin();
    const StereoWindow window(130, 100, paint_eyes);
    draw_all_modes();
    EXPECT_EQ(gl_textures.copies.size(), 3U);
    const std::set<GLuint> living = gl_textures.living;
    draw_all_modes();
    gfx_resize(129, 65); // the same powers
    draw_all_modes();
    EXPECT_EQ(gl_textures.copies.size(), 3U);
    EXPECT_EQ(gl_textures.living, living);
    gfx_resize(130, 100);
}

TEST(stereo_textures, are_not_made_by_the_modes_that_need_none)
{
    begin_anew();
    scripted_begin();
    const StereoWindow window(130, 100, paint_eyes);
    for (const i32 mode : {-1, 0, 1, 2, 4, 5, 9}) {
        draw_mode(mode);
    }
    EXPECT_EQ(gl_textures.copies.size(), 0U);
    EXPECT_EQ(gl_textures.parts, 0);
}

// The window's own pixels, at every size.
static void expect_modes_right()
{
    const i32 x = gfx_width - 1;
    const i32 y = gfx_height - 1;
    EXPECT_EQ(draw_mode(STEREO_RED_CYAN).at(x, y), 0x2090A0U);
    EXPECT_EQ(draw_mode(STEREO_RED_GREEN).at(0, 0), 0x209000U);
    EXPECT_EQ(draw_mode(STEREO_MAGENTA_GREEN).at(x, 0), 0x209060U);
    if (gfx_height % 2 == 0) { // an odd height has a row that no eye reaches
        EXPECT_EQ(draw_mode(STEREO_INTERLACE).at(x, y), 0x8090A0U);
        EXPECT_EQ(draw_mode(STEREO_INTERLACE).at(x, y - 1), 0x204060U);
    }
}

struct SplitShape {
    i32 width, height;
};

TEST(stereo_textures, are_replaced_and_not_added_when_the_window_crosses_a_power_of_two)
{
    const SplitShape shapes[] = {{64, 64},  {65, 64},   {64, 65},   {128, 128}, {129, 127},
                                 {300, 20}, {512, 512}, {1, 300},   {300, 256}, {255, 257},
                                 {33, 31},  {2, 2},     {640, 480}, {63, 64}};
    begin_anew();
    scripted_begin();
    i32 frame = 1;
    for (const SplitShape& shape : shapes) {
        scripted_add(
            {.frame = frame++, .kind = SCRIPT_RESIZE, .a = shape.width, .b = shape.height});
    }
    const StereoWindow window(100, 100, paint_eyes);
    const size_t others = draw_all_modes() - 3;
    for (const SplitShape& shape : shapes) {
        SCOPED_TRACE(testing::PrintToString(shape.width) + "x" +
                     testing::PrintToString(shape.height));
        gfx_pump();
        ASSERT_EQ(gfx_width, shape.width);
        expect_modes_right();
        EXPECT_EQ(draw_all_modes() - others, 3U);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    }
    for (const GlCopy& copy : gl_textures.copies) {
        EXPECT_TRUE(power_of_two(copy.width) && power_of_two(copy.height));
    }
}

TEST(stereo_textures, live_only_in_the_newest_size)
{
    begin_anew();
    scripted_begin();
    const StereoWindow window(100, 100, paint_eyes);
    draw_all_modes();
    const std::vector<GlCopy> before = gl_textures.copies;
    gl_textures.copies.clear();
    gfx_resize(60, 100);
    draw_all_modes();
    EXPECT_EQ(gl_textures.copies.size(), 3U);
    for (const GlCopy& copy : gl_textures.copies) {
        EXPECT_EQ(copy.width, 64);
        EXPECT_EQ(glIsTexture(copy.name), GL_TRUE);
    }
    GLint width = 0;
    for (const GlCopy& copy : before) { // a name may have been given again
        if (gl_textures.living.contains(copy.name)) {
            glBindTexture(GL_TEXTURE_2D, copy.name);
            glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
            EXPECT_EQ(width, 64);
        }
    }
    glBindTexture(GL_TEXTURE_2D, 0);
    gfx_resize(100, 100);
}

// A wide window whose width or height is none.
TEST(stereo_textures, make_no_error_in_a_window_without_width)
{
    begin_anew();
    scripted_begin();
    scripted_add({.frame = 1, .kind = SCRIPT_RESIZE, .a = 0, .b = 0});
    const StereoWindow window(100, 100, paint_eyes);
    gfx_pump();
    EXPECT_EQ(gfx_width, 0);
    for (i32 mode = -1; mode <= STEREO_MODES; mode++) {
        const StereoView view = {.mode = mode, .swap = 0, .depth = 0.05, .distance = 1};
        stereo_draw(scene_test, nullptr, &view);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR)) << mode;
    }
}

// A driver without a texture of the window's size.

static void expect_plain(i32 mode)
{
    SCOPED_TRACE(mode);
    const Pixels picture = draw_mode(mode);
    EXPECT_EQ(scene_calls.size(), 1U);
    for (i32 i = 0; i < picture.width * picture.height; i++) {
        ASSERT_EQ(picture.at(i % picture.width, i / picture.width), 0x204060U);
    }
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

// Notices of the stereo modes go here, and not to the test's folder.
static i32 notices;
static void count_notice(ReportRec* rec)
{
    notices++;
    std::fprintf(stderr, "<%s: %s>", rec->file, rec->message);
}
struct QuietNotices {
    void (*handler)(ReportRec*) = report_handler;
    i32 to_file = warnings_to_file;
    QuietNotices()
    {
        report_handler = count_notice;
        warnings_to_file = 0;
        notices = 0;
    }
    ~QuietNotices()
    {
        report_handler = handler;
        warnings_to_file = to_file;
    }
    QuietNotices(const QuietNotices&) = delete;
    QuietNotices& operator=(const QuietNotices&) = delete;
};

TEST(stereo_textures, give_way_to_a_plain_picture_in_a_window_larger_than_any)
{
    const QuietNotices quiet;
    begin_anew();
    gl_textures.limit = 128;
    scripted_begin();
    const StereoWindow window(129, 100, paint_eyes);
    for (const i32 mode : copying_modes) {
        expect_plain(mode);
    }
    EXPECT_EQ(gl_textures.copies.size(), 0U); // none is asked for
    gfx_resize(128, 100);
    EXPECT_EQ(draw_mode(STEREO_RED_CYAN).at(127, 99), 0x2090A0U);
    gfx_resize(129, 100);
    gl_textures.forget();
}

TEST(stereo_textures, leave_the_other_modes_in_a_window_larger_than_any)
{
    begin_anew();
    gl_textures.limit = 128;
    scripted_begin();
    const StereoWindow window(200, 100, paint_eyes);
    for (const i32 mode : {STEREO_TOPBOTTOM, STEREO_SIDEBYSIDE, STEREO_SCREENS}) {
        const Pixels picture = draw_mode(mode);
        EXPECT_EQ(picture.at(0, 0), 0x204060U);
        EXPECT_EQ(picture.at(199, 99), 0x8090A0U);
    }
    gl_textures.forget();
}

TEST(stereo_textures, give_way_to_a_plain_picture_if_the_driver_refuses_one)
{
    const QuietNotices quiet;
    for (const i32 made : {0, 1}) { // before the refusal
        begin_anew();
        scripted_begin();
        const StereoWindow window(129, 100, paint_eyes);
        const size_t living = gl_textures.living.size();
        if (made == 1) {
            draw_mode(STEREO_INTERLACE);
        }
        gl_textures.refusals = 2;
        expect_plain(STEREO_RED_CYAN);
        EXPECT_LE(gl_textures.living.size(), living);
        const size_t asked = gl_textures.copies.size();
        expect_plain(STEREO_RED_GREEN); // not asked again in each frame
        EXPECT_EQ(gl_textures.copies.size(), asked);
        gl_textures.forget();
        gfx_resize(100, 129);
        EXPECT_EQ(draw_mode(STEREO_RED_CYAN).at(50, 50), 0x2090A0U);
    }
}

static void show_a_refused_window()
{
    report_handler = count_notice;
    warnings_to_file = 0;
    gl_textures.limit = 64;
    scripted_begin();
    const StereoWindow window(100, 80, paint_eyes);
    for (i32 i = 0; i < 3; i++) {
        draw_all_modes();
    }
    gfx_resize(70, 70);
    draw_all_modes();
    std::fprintf(stderr, "%d", notices);
    std::exit(notices);
}

TEST(stereo_textures, that_the_driver_lacks_are_told_once)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        show_a_refused_window(), testing::ExitedWithCode(1),
        "<stereo: The graphics driver has no texture for a window of 100x80: stereo modes 3 "
        "and 6 to 8 show a plain picture\\.>1");
}
