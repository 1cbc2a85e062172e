#include "base/clock.h"
#include "base/report.h"
#include "gfx/gfx_opengl.h"
#include "tests/gl_state.h"
#include "tests/scripted_window.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

// Three displays: the first at the origin, one to its right, one to its left and higher.
static void claim_three()
{
    scripted_begin();
    scripted_display({.left = 0, .top = 0, .right = 320, .bottom = 200});
    scripted_display({.left = 320, .top = 0, .right = 520, .bottom = 150});
    scripted_display({.left = -160, .top = -40, .right = 0, .bottom = 60});
}

static void claim_one(i32 width, i32 height)
{
    scripted_begin();
    scripted_display({.left = 0, .top = 0, .right = width, .bottom = height});
}

static std::string place(const WindowRequest& want)
{
    return std::to_string(want.width) + "x" + std::to_string(want.height) + " at " +
           std::to_string(want.x) + "," + std::to_string(want.y);
}

// Where a request in full screen or in a window ends up, or "none".
static std::string opened_at(i32 width, i32 height)
{
    const ScriptedWindow window(width, height);
    return window.opened != 0 ? place(scripted_counts.request) : "none";
}

// A back end that is told its events, and never gets out of the way.
static std::vector<PlatformEvent> fed;
static bool feed_next(PlatformEvent* out)
{
    if (fed.empty()) {
        return false;
    }
    *out = fed.front();
    fed.erase(fed.begin());
    return true;
}
static bool never_minimised()
{
    return false;
}
static Platform fed_platform()
{
    Platform made = platform_scripted;
    made.nextevent = feed_next;
    return made;
}
static const Platform platform_fed = fed_platform();

static PlatformEvent pointer(i32 x, i32 y, u32 buttons)
{
    return {.kind = EVENT_POINTER, .x = x, .y = y, .buttons = buttons};
}

static PlatformEvent wheel(i32 turn)
{
    return {.kind = EVENT_WHEEL, .wheel = turn};
}

static void pump_with(const std::vector<PlatformEvent>& events)
{
    fed = events;
    gfx_pump();
}

static void pumps(i32 n)
{
    for (i32 i = 0; i < n; i++) {
        gfx_pump();
    }
}

TEST(gfx_open, puts_an_explicit_size_at_the_origin_in_full_screen)
{
    claim_three();
    EXPECT_EQ(opened_at(300, 100), "300x100 at 0,0");
}

TEST(gfx_open, spans_all_displays_for_minus_one_and_a_height_below_one)
{
    claim_three();
    EXPECT_EQ(opened_at(-1, -1), "680x240 at -160,-40");
    EXPECT_EQ(opened_at(-1, 0), "680x240 at -160,-40");
}

TEST(gfx_open, spans_the_displays_of_a_mask)
{
    claim_three();
    EXPECT_EQ(opened_at(-1, 1), "320x200 at 0,0");
    EXPECT_EQ(opened_at(-1, 2), "200x150 at 320,0");
    EXPECT_EQ(opened_at(-1, 4), "160x100 at -160,-40");
    EXPECT_EQ(opened_at(-1, 3), "520x200 at 0,0");
    EXPECT_EQ(opened_at(-1, 5), "480x240 at -160,-40");
    EXPECT_EQ(opened_at(-1, 7), "680x240 at -160,-40");
}

TEST(gfx_open, passes_over_bits_of_a_mask_without_a_display)
{
    claim_three();
    EXPECT_EQ(opened_at(-1, 2 + 64), "200x150 at 320,0");
}

TEST(gfx_open, opens_nothing_for_a_mask_that_names_no_display)
{
    claim_three();
    EXPECT_EQ(opened_at(-1, 64), "none");
}

TEST(gfx_open, takes_a_display_by_its_number)
{
    claim_three();
    EXPECT_EQ(opened_at(0, 1), "320x200 at 0,0");
    EXPECT_EQ(opened_at(0, 2), "200x150 at 320,0");
    EXPECT_EQ(opened_at(0, 3), "160x100 at -160,-40");
}

TEST(gfx_open, takes_the_first_display_for_a_number_out_of_range)
{
    scripted_begin();
    scripted_display({.left = 0, .top = 0, .right = 320, .bottom = 200});
    scripted_display({.left = 320, .top = 0, .right = 520, .bottom = 150});
    EXPECT_EQ(opened_at(0, 5), "320x200 at 0,0");
    EXPECT_EQ(opened_at(0, 3), "320x200 at 0,0");
    EXPECT_EQ(opened_at(0, -2), "320x200 at 0,0");
}

TEST(gfx_open, takes_the_primary_display_for_two_zeros)
{
    claim_three();
    EXPECT_EQ(opened_at(0, 0), "320x200 at 0,0");
}

TEST(gfx_open, adds_the_offset_in_full_screen)
{
    claim_three();
    fullscreen_x = 7;
    fullscreen_y = -9;
    EXPECT_EQ(opened_at(0, 2), "200x150 at 327,-9");
    EXPECT_EQ(opened_at(300, 100), "300x100 at 7,-9");
}

TEST(gfx_open, stores_the_size_in_full_screen)
{
    claim_three();
    const ScriptedWindow window(0, 2);
    EXPECT_EQ(gfx_width, 200);
    EXPECT_EQ(gfx_height, 150);
}

TEST(gfx_open, asks_for_no_frame_in_full_screen)
{
    claim_three();
    opened_at(0, 0);
    EXPECT_FALSE(scripted_counts.request.framed);
}

TEST(gfx_open, asks_for_a_frame_in_a_window)
{
    claim_three();
    windowed = true;
    opened_at(0, 0);
    EXPECT_TRUE(scripted_counts.request.framed);
}

TEST(gfx_open, changes_the_display_mode_for_an_explicit_size_in_full_screen)
{
    claim_three();
    const ScriptedWindow window(300, 100);
    EXPECT_EQ(scripted_counts.modechanges, 1);
    EXPECT_EQ(scripted_counts.modewidth, 300);
    EXPECT_EQ(scripted_counts.modeheight, 100);
}

TEST(gfx_open, keeps_the_display_mode_with_an_offset)
{
    claim_three();
    fullscreen_y = 1;
    opened_at(300, 100);
    EXPECT_EQ(scripted_counts.modechanges, 0);
}

TEST(gfx_open, keeps_the_display_mode_for_whole_displays)
{
    claim_three();
    opened_at(0, 0);
    opened_at(0, 2);
    opened_at(-1, -1);
    opened_at(-1, 3);
    EXPECT_EQ(scripted_counts.modechanges, 0);
}

TEST(gfx_open, keeps_the_display_mode_in_a_window)
{
    claim_three();
    windowed = true;
    opened_at(300, 100);
    EXPECT_EQ(scripted_counts.modechanges, 0);
}

TEST(gfx_open, hides_the_cursor_once_in_full_screen)
{
    claim_three();
    const ScriptedWindow window(0, 0);
    EXPECT_EQ(scripted_counts.cursorshown, -1);
}

TEST(gfx_open, leaves_the_cursor_shown_in_a_window)
{
    claim_three();
    windowed = true;
    const ScriptedWindow window(0, 0);
    EXPECT_EQ(scripted_counts.cursorshown, 0);
}

TEST(gfx_open, takes_an_explicit_size_as_the_client_size_of_a_window)
{
    claim_three();
    windowed = true;
    const ScriptedWindow window(300, 100);
    EXPECT_EQ(gfx_width, 300);
    EXPECT_EQ(gfx_height, 100);
}

TEST(gfx_open, makes_a_spanning_window_as_large_as_the_desktop_with_its_frame_beyond)
{
    claim_three();
    windowed = true;
    const ScriptedWindow window(-1, -1);
    const PlatformRect outer = platform->windowrect();
    EXPECT_EQ(place(scripted_counts.request), "680x240 at -160,-40");
    EXPECT_GT(outer.right, 520);
    EXPECT_GT(outer.bottom, 200);
}

TEST(gfx_open, takes_the_union_of_a_mask_as_the_client_size_of_a_window)
{
    claim_three();
    windowed = true;
    const ScriptedWindow window(-1, 3);
    EXPECT_EQ(gfx_width, 520);
    EXPECT_EQ(gfx_height, 200);
}

TEST(gfx_open, takes_six_tenths_of_the_height_and_four_thirds_of_that_for_a_display_in_a_window)
{
    claim_three();
    windowed = true;
    const ScriptedWindow window(0, 2);
    EXPECT_EQ(gfx_height, 90);
    EXPECT_EQ(gfx_width, 120);
}

TEST(gfx_open, makes_a_window_of_864_by_648_on_a_display_of_1920_by_1080)
{
    scripted_begin();
    windowed = true;
    const ScriptedWindow window(0, 0);
    EXPECT_EQ(gfx_width, 864);
    EXPECT_EQ(gfx_height, 648);
}

TEST(gfx_open, truncates_height_and_width_of_a_window)
{
    claim_one(400, 187); // 112.2, and 149.33 of 112
    windowed = true;
    const ScriptedWindow window(0, 0);
    EXPECT_EQ(gfx_height, 112);
    EXPECT_EQ(gfx_width, 149);
}

TEST(gfx_open, centres_a_window_on_the_pointer)
{
    claim_one(1000, 800);
    windowed = true;
    scripted_cursor(600, 300);
    EXPECT_EQ(opened_at(200, 100), "200x100 at 496,234"); // outer size 208 by 132
}

TEST(gfx_open, keeps_a_window_on_the_desktop)
{
    claim_three();
    windowed = true;
    scripted_cursor(-160, -40);
    EXPECT_EQ(opened_at(200, 100), "200x100 at -160,-40");
    scripted_cursor(519, 149);
    EXPECT_EQ(opened_at(200, 100), "200x100 at 312,68");
}

TEST(gfx_open, lets_the_left_and_upper_edge_win_for_a_window_larger_than_the_desktop)
{
    claim_one(320, 200);
    windowed = true;
    scripted_cursor(319, 199);
    EXPECT_EQ(opened_at(500, 400), "500x400 at 0,0");
}

TEST(gfx_open, uses_no_offset_in_a_window)
{
    claim_one(1000, 800);
    windowed = true;
    fullscreen_x = 50;
    fullscreen_y = 60;
    scripted_cursor(600, 300);
    EXPECT_EQ(opened_at(200, 100), "200x100 at 496,234");
}

TEST(gfx_open, opens_nothing_without_a_size)
{
    claim_three();
    EXPECT_EQ(gfx_open(640, 0, "test"), 0);
    EXPECT_FALSE(gfx_alive);
    EXPECT_FALSE(gl_current());
}

TEST(gfx_open, opens_nothing_for_sizes_below_zero)
{
    claim_three();
    EXPECT_EQ(opened_at(640, -3), "none");
    EXPECT_EQ(opened_at(-2, 100), "none");
}

TEST(gfx_open, hands_the_title_over)
{
    scripted_begin();
    gfx_open(64, 48, "a title");
    gfx_close();
    EXPECT_STREQ(scripted_counts.request.title, "a title");
}

TEST(gfx_open, clears_both_key_snapshots)
{
    scripted_begin();
    key_now[u8{'Q'}] = 0x80;
    key_before[u8{'Q'}] = 0x80;
    const ScriptedWindow window(64, 48);
    EXPECT_EQ(key_now[u8{'Q'}], 0);
    EXPECT_EQ(key_before[u8{'Q'}], 0);
}

TEST(gfx_open, begins_anew_after_a_close)
{
    scripted_begin();
    opened_at(64, 48);
    EXPECT_EQ(gfx_quit, 1);
    const ScriptedWindow window(64, 48);
    EXPECT_EQ(gfx_quit, 0);
    EXPECT_EQ(buttons_ignored, 1);
    EXPECT_TRUE(gfx_alive);
}

TEST(gfx_open, sets_depth_test_shading_and_colour_material)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    GLint func = 0;
    GLint shading = 0;
    glGetIntegerv(GL_DEPTH_FUNC, &func);
    glGetIntegerv(GL_SHADE_MODEL, &shading);
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
    EXPECT_EQ(func, GL_LEQUAL);
    EXPECT_EQ(shading, GL_SMOOTH);
    EXPECT_TRUE(glIsEnabled(GL_COLOR_MATERIAL));
}

TEST(gfx_open, clears_to_black_and_the_farthest_depth)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    GLfloat depth = 0.0F;
    u8 pixel[4] = {9, 9, 9, 9};
    glReadPixels(30, 20, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
    glReadPixels(30, 20, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
    EXPECT_EQ(pixel[0] + pixel[1] + pixel[2], 0);
    EXPECT_EQ(depth, 1.0F);
}

TEST(gfx_open, turns_seamless_cube_maps_on)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    EXPECT_TRUE(glIsEnabled(GL_TEXTURE_CUBE_MAP_SEAMLESS));
}

TEST(gfx_open, leaves_no_error_behind)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST(gfx_open, applies_the_default_projection_and_an_identity_model_view)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    f32 m[16];
    glGetFloatv(GL_MODELVIEW_MATRIX, m);
    for (i32 i = 15; i >= 0; i--) {
        EXPECT_EQ(m[i], i % 5 == 0 ? 1.0F : 0.0F);
    }
    glGetFloatv(GL_PROJECTION_MATRIX, m);
    EXPECT_EQ(m[0], 1.0F);
}

static PlatformOpen refused;
static PlatformOpen refuse(const WindowRequest*)
{
    return refused;
}

// Opens on a back end whose opening goes so.
static void open_refused(PlatformOpen how)
{
    static Platform refusing = platform_scripted;
    refusing.open = refuse;
    scripted_begin();
    platform_use(&refusing);
    refused = how;
    report_to_stderr();
    gfx_open(64, 48, "test");
}

static void expect_fatal(PlatformOpen how, const char* text)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(open_refused(how), testing::ExitedWithCode(1), text);
}

TEST(gfx_open, is_fatal_without_a_window_system)
{
    expect_fatal(PLATFORM_NO_CLASS, "<gfx_opengl 588 5 Failed To Register The Window Class\\.>");
}

TEST(gfx_open, is_fatal_without_a_window)
{
    expect_fatal(PLATFORM_NO_WINDOW, "<gfx_opengl 593 5 Window Creation Error\\.>");
}

TEST(gfx_open, is_fatal_without_a_pixel_format)
{
    expect_fatal(PLATFORM_NO_FORMAT, "<gfx_opengl 619 5 Can't Find A Suitable PixelFormat\\.>");
}

TEST(gfx_open, is_fatal_if_the_pixel_format_cannot_be_set)
{
    expect_fatal(PLATFORM_FORMAT_UNSET, "<gfx_opengl 620 5 Can't Set The PixelFormat\\.>");
}

TEST(gfx_open, is_fatal_without_a_context)
{
    expect_fatal(PLATFORM_NO_CONTEXT, "<gfx_opengl 622 5 Can't Create A GL Rendering Context\\.>");
}

TEST(gfx_open, is_fatal_if_the_context_cannot_be_made_current)
{
    expect_fatal(PLATFORM_NOT_CURRENT, "<gfx_opengl 623 5 Can't activate GLRC\\.>");
}

TEST(platform_use, makes_the_clock_of_the_back_end_that_of_the_process)
{
    scripted_begin();
    EXPECT_EQ(timer_now, platform_scripted.seconds);
}

TEST(gfx_pump, takes_the_keyboard_into_two_snapshots)
{
    scripted_begin();
    scripted_add({.frame = 1, .kind = SCRIPT_KEY_DOWN, .a = 'W', .b = 0});
    scripted_add({.frame = 3, .kind = SCRIPT_KEY_UP, .a = 'W', .b = 0});
    const ScriptedWindow window(64, 48);
    gfx_pump();
    EXPECT_TRUE(key_held('W'));
    EXPECT_TRUE(key_pressed('W'));
    gfx_pump();
    EXPECT_TRUE(key_held('W'));
    EXPECT_FALSE(key_pressed('W'));
    gfx_pump();
    EXPECT_FALSE(key_held('W'));
    EXPECT_FALSE(key_pressed('W'));
    EXPECT_NE(key_before[u8{'W'}] & 0x80, 0);
}

TEST(gfx_pump, reads_a_tap_between_two_snapshots_as_down_in_the_later_one)
{
    scripted_begin();
    scripted_add({.frame = 2, .kind = SCRIPT_KEY_DOWN, .a = 'G', .b = 0});
    scripted_add({.frame = 2, .kind = SCRIPT_KEY_UP, .a = 'G', .b = 0});
    const ScriptedWindow window(64, 48);
    gfx_pump();
    EXPECT_FALSE(key_held('G'));
    gfx_pump();
    EXPECT_TRUE(key_pressed('G'));
    gfx_pump();
    EXPECT_FALSE(key_held('G'));
}

TEST(gfx_pump, writes_only_the_first_256_key_bytes)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    std::memset(key_now + 256, 0x11, 256);
    pumps(1);
    for (i32 i = 511; i >= 256; i--) {
        EXPECT_EQ(key_now[i], 0x11);
    }
}

TEST(gfx_pump, notes_the_place_of_the_pointer)
{
    scripted_begin();
    platform_use(&platform_fed);
    const ScriptedWindow window(64, 48);
    pump_with({pointer(10, 11, 0), pointer(12, 13, 0)});
    EXPECT_EQ(mouse_x, 12);
    EXPECT_EQ(mouse_y, 13);
}

TEST(gfx_pump, keeps_left_right_and_middle_of_the_buttons)
{
    scripted_begin();
    platform_use(&platform_fed);
    const ScriptedWindow window(64, 48);
    pump_with({pointer(1, 1, 0), pointer(1, 1, 0xFFFFFFFF)});
    EXPECT_EQ(mouse_buttons, 19U);
    pump_with({pointer(1, 1, MOUSE_MIDDLE)});
    EXPECT_EQ(mouse_buttons, 16U);
}

TEST(gfx_pump, keeps_the_buttons_of_the_frame_before)
{
    scripted_begin();
    platform_use(&platform_fed);
    const ScriptedWindow window(64, 48);
    pump_with({pointer(1, 1, 0), pointer(1, 1, MOUSE_LEFT)});
    EXPECT_EQ(mouse_buttons_before, 0U);
    pump_with({pointer(1, 1, MOUSE_RIGHT)});
    EXPECT_EQ(mouse_buttons_before, 1U);
    EXPECT_EQ(mouse_buttons, 2U);
}

TEST(gfx_pump, ignores_buttons_until_an_event_with_none_held)
{
    scripted_begin();
    platform_use(&platform_fed);
    const ScriptedWindow window(64, 48);
    pump_with({pointer(5, 6, MOUSE_LEFT)});
    EXPECT_EQ(mouse_buttons, 0U);
    EXPECT_EQ(buttons_ignored, 1);
    EXPECT_EQ(mouse_x, 5); // the place counts all the same
    pump_with({pointer(5, 6, 0), pointer(5, 6, MOUSE_LEFT)});
    EXPECT_EQ(buttons_ignored, 0);
    EXPECT_EQ(mouse_buttons, 1U);
}

TEST(gfx_pump, tells_the_wheel_for_one_frame)
{
    scripted_begin();
    platform_use(&platform_fed);
    const ScriptedWindow window(64, 48);
    pump_with({wheel(1)});
    EXPECT_EQ(mouse_buttons, 4U);
    pump_with({});
    EXPECT_EQ(mouse_buttons, 0U);
    EXPECT_EQ(mouse_buttons_before, 4U);
}

TEST(gfx_pump, takes_a_wheel_value_below_one_as_back)
{
    scripted_begin();
    platform_use(&platform_fed);
    const ScriptedWindow window(64, 48);
    pump_with({wheel(-1)});
    EXPECT_EQ(mouse_buttons, 8U);
    pump_with({wheel(0)});
    EXPECT_EQ(mouse_buttons, 8U);
}

TEST(gfx_pump, tells_two_notches_in_a_frame_as_one)
{
    scripted_begin();
    platform_use(&platform_fed);
    const ScriptedWindow window(64, 48);
    pump_with({wheel(1), wheel(1)});
    EXPECT_EQ(mouse_buttons, 4U);
}

TEST(gfx_pump, tells_both_directions_of_the_wheel_in_one_frame)
{
    scripted_begin();
    platform_use(&platform_fed);
    const ScriptedWindow window(64, 48);
    pump_with({wheel(1), wheel(-1)});
    EXPECT_EQ(mouse_buttons, 12U);
}

TEST(gfx_pump, keeps_the_wheel_when_a_button_changes_in_the_same_frame)
{
    scripted_begin();
    platform_use(&platform_fed);
    const ScriptedWindow window(64, 48);
    pump_with({pointer(1, 1, 0), wheel(1), pointer(1, 1, MOUSE_RIGHT)});
    EXPECT_EQ(mouse_buttons, 6U);
}

TEST(gfx_pump, keeps_held_buttons_while_the_wheel_turns)
{
    scripted_begin();
    platform_use(&platform_fed);
    const ScriptedWindow window(64, 48);
    pump_with({pointer(1, 1, 0), pointer(1, 1, MOUSE_RIGHT)});
    pump_with({wheel(-1)});
    EXPECT_EQ(mouse_buttons, 10U);
}

TEST(gfx_pump, applies_a_new_size)
{
    scripted_begin();
    scripted_add({.frame = 2, .kind = SCRIPT_RESIZE, .a = 100, .b = 30});
    const ScriptedWindow window(64, 48);
    pumps(2);
    i32 view[4];
    glGetIntegerv(GL_VIEWPORT, view);
    EXPECT_EQ(gfx_width, 100);
    EXPECT_EQ(gfx_height, 30);
    EXPECT_EQ(view[2], 100);
    EXPECT_EQ(view[3], 30);
}

TEST(gfx_pump, clears_what_a_new_size_begins_with)
{
    scripted_begin();
    scripted_add({.frame = 2, .kind = SCRIPT_RESIZE, .a = 100, .b = 80});
    const ScriptedWindow window(64, 48);
    pumps(1);
    glClearColor(1.0F, 0.0F, 0.0F, 0.0F);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    pumps(1);
    u8 corner[4] = {};
    GLfloat depth = 0.0F;
    glReadPixels(99, 79, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, corner);
    glReadPixels(99, 79, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
    EXPECT_EQ(corner[0], 255);
    EXPECT_EQ(depth, 1.0F);
}

TEST(gfx_pump, takes_a_height_of_zero_as_one_and_keeps_a_width_of_zero)
{
    scripted_begin();
    scripted_add({.frame = 1, .kind = SCRIPT_RESIZE, .a = 0, .b = 0});
    const ScriptedWindow window(64, 48);
    pumps(1);
    EXPECT_EQ(gfx_width, 0);
    EXPECT_EQ(gfx_height, 1);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST(gfx_pump, appends_typed_characters)
{
    scripted_begin();
    scripted_add({.frame = 1, .kind = SCRIPT_TYPE, .a = 'h', .b = 0});
    scripted_add({.frame = 1, .kind = SCRIPT_TYPE, .a = 0xE9, .b = 0});
    const ScriptedWindow window(64, 48);
    pumps(1);
    EXPECT_STREQ(typed_text, "h\xE9");
}

TEST(gfx_pump, leaves_out_characters_that_latin_1_lacks)
{
    scripted_begin();
    scripted_add({.frame = 1, .kind = SCRIPT_TYPE, .a = 0x416, .b = 0});
    const ScriptedWindow window(64, 48);
    pumps(1);
    EXPECT_STREQ(typed_text, "");
}

TEST(gfx_pump, appends_up_to_499_characters)
{
    scripted_begin();
    for (i32 i = 600; i > 0; i--) {
        scripted_add({.frame = 1, .kind = SCRIPT_TYPE, .a = 'x', .b = 0});
    }
    const ScriptedWindow window(64, 48);
    pumps(1);
    EXPECT_EQ(std::strlen(typed_text), 499U);
}

TEST(gfx_pump, keeps_the_key_snapshots_while_minimised)
{
    scripted_begin();
    scripted_add({.frame = 1, .kind = SCRIPT_KEY_DOWN, .a = 'Q', .b = 0});
    scripted_add({.frame = 2, .kind = SCRIPT_MINIMISE, .a = 0, .b = 0});
    scripted_add({.frame = 2, .kind = SCRIPT_KEY_UP, .a = 'Q', .b = 0});
    scripted_add({.frame = 4, .kind = SCRIPT_RESTORE, .a = 0, .b = 0});
    const ScriptedWindow window(64, 48);
    pumps(3);
    EXPECT_TRUE(key_held('Q'));
    EXPECT_TRUE(key_pressed('Q')); // the edge is frozen too
    gfx_pump();
    EXPECT_FALSE(key_held('Q'));
}

TEST(gfx_pump, takes_no_key_that_goes_down_while_minimised)
{
    scripted_begin();
    scripted_add({.frame = 1, .kind = SCRIPT_MINIMISE, .a = 0, .b = 0});
    scripted_add({.frame = 2, .kind = SCRIPT_KEY_PRESS, .a = 'Q', .b = 0});
    const ScriptedWindow window(64, 48);
    pumps(2);
    EXPECT_FALSE(key_held('Q'));
}

TEST(gfx_pump, takes_a_close_while_minimised)
{
    scripted_begin();
    scripted_add({.frame = 1, .kind = SCRIPT_MINIMISE, .a = 0, .b = 0});
    scripted_add({.frame = 2, .kind = SCRIPT_CLOSE, .a = 0, .b = 0});
    const ScriptedWindow window(64, 48);
    EXPECT_EQ(gfx_pump(), 0);
    EXPECT_EQ(gfx_pump(), 1);
}

TEST(gfx_pump, places_a_full_screen_on_top)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    pumps(2);
    EXPECT_EQ(scripted_counts.placedontop, 2);
}

TEST(gfx_pump, leaves_a_window_where_it_is)
{
    scripted_begin();
    windowed = true;
    const ScriptedWindow window(64, 48);
    pumps(2);
    EXPECT_EQ(scripted_counts.placedontop, 0);
}

TEST(gfx_pump, minimises_on_alt_and_tab)
{
    scripted_begin();
    scripted_add({.frame = 2, .kind = SCRIPT_KEY_DOWN, .a = KEY_ALT, .b = 0});
    scripted_add({.frame = 3, .kind = SCRIPT_KEY_DOWN, .a = KEY_TAB, .b = 0});
    const ScriptedWindow window(64, 48);
    pumps(2);
    EXPECT_EQ(scripted_counts.minimises, 0);
    gfx_pump();
    EXPECT_EQ(scripted_counts.minimises, 1);
    EXPECT_EQ(minimising, 1);
    gfx_pump();
    EXPECT_EQ(scripted_counts.minimises, 1);
    EXPECT_EQ(minimising, 0);
}

TEST(gfx_pump, minimises_again_and_stays_below_until_the_window_has_gone)
{
    static Platform stubborn = platform_scripted;
    stubborn.isminimised = never_minimised;
    scripted_begin();
    platform_use(&stubborn);
    scripted_add({.frame = 2, .kind = SCRIPT_KEY_PRESS, .a = KEY_ALT, .b = 0});
    scripted_add({.frame = 2, .kind = SCRIPT_KEY_PRESS, .a = KEY_TAB, .b = 0});
    const ScriptedWindow window(64, 48);
    pumps(4);
    EXPECT_EQ(scripted_counts.minimises, 3);
    EXPECT_EQ(scripted_counts.placedontop, 2); // before the keys were read
    EXPECT_EQ(minimising, 1);
}

TEST(gfx_pump, ends_the_context_at_a_close)
{
    scripted_begin();
    scripted_add({.frame = 2, .kind = SCRIPT_CLOSE, .a = 0, .b = 0});
    const ScriptedWindow window(64, 48);
    EXPECT_EQ(gfx_pump(), 0);
    EXPECT_TRUE(gl_current());
    EXPECT_EQ(gfx_pump(), 1);
    EXPECT_FALSE(gl_current());
    EXPECT_FALSE(gfx_alive);
    EXPECT_EQ(gfx_quit, 1);
}

TEST(gfx_pump, leaves_what_comes_behind_a_close)
{
    scripted_begin();
    platform_use(&platform_fed);
    const ScriptedWindow window(64, 48);
    pump_with({{.kind = EVENT_CLOSE}, {.kind = EVENT_SIZE, .x = 9, .y = 9}, wheel(1)});
    EXPECT_EQ(gfx_width, 64);
    EXPECT_EQ(mouse_buttons, 0U);
}

TEST(gfx_pump, goes_on_answering_one_after_a_close)
{
    scripted_begin();
    scripted_add({.frame = 1, .kind = SCRIPT_CLOSE, .a = 0, .b = 0});
    const ScriptedWindow window(64, 48);
    pumps(1);
    EXPECT_EQ(gfx_pump(), 1);
}

TEST(gfx_pump, restores_the_display_mode_at_a_close_in_full_screen)
{
    scripted_begin();
    scripted_add({.frame = 1, .kind = SCRIPT_CLOSE, .a = 0, .b = 0});
    const ScriptedWindow window(64, 48);
    pumps(1);
    EXPECT_EQ(scripted_counts.moderestores, 1);
}

TEST(gfx_pump, lets_the_display_mode_be_at_a_close_of_a_window)
{
    scripted_begin();
    windowed = true;
    scripted_add({.frame = 1, .kind = SCRIPT_CLOSE, .a = 0, .b = 0});
    const ScriptedWindow window(64, 48);
    pumps(1);
    EXPECT_EQ(scripted_counts.moderestores, 0);
}

TEST(gfx_close, does_nothing_without_a_window)
{
    scripted_begin();
    opened_at(64, 48);
    gfx_close();
    EXPECT_EQ(scripted_counts.moderestores, 1); // that of the window's own close
}
