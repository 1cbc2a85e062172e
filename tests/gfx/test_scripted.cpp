#include "base/clock.h"
#include "gfx/gl/shaderprocs.h"
#include "gfx/platform/scripted.h"
#include "gfx/screenshot.h"
#include "tests/gl_state.h"
#include "tests/scripted_window.h"

#include <GL/gl.h>

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

static void add(i32 frame, ScriptedKind kind, i32 a = 0, i32 b = 0)
{
    scripted_add({.frame = frame, .kind = kind, .a = a, .b = b});
}

// What the pumps of a script deliver: a line a frame.
static std::string frame_line()
{
    std::string keys;
    for (i32 key = 0; key < PLATFORM_KEYS; key++) {
        if (key_held(key)) {
            keys += static_cast<char>(key);
        }
    }
    i32 dx = 0;
    i32 dy = 0;
    gfx_mouse_delta(&dx, &dy);
    char line[200];
    std::snprintf(line, sizeof line, "%.17g %s %u %d,%d %dx%d\n", timer_now(), keys.c_str(),
                  mouse_buttons, dx, dy, gfx_width, gfx_height);
    return line;
}

static std::string played(i32 frames)
{
    const ScriptedWindow window(64, 48);
    std::string out;
    for (i32 i = 0; i < frames && gfx_pump() == 0; i++) {
        out += frame_line();
        platform->swap();
    }
    return out;
}

static void script_of_all_kinds()
{
    scripted_begin();
    add(1, SCRIPT_KEY_DOWN, 'W');
    add(2, SCRIPT_KEY_PRESS, 'G');
    add(3, SCRIPT_KEY_UP, 'W');
    add(3, SCRIPT_BUTTON_DOWN, MOUSE_RIGHT);
    add(4, SCRIPT_MOUSE, 10, -4);
    add(5, SCRIPT_BUTTON_UP, MOUSE_RIGHT);
    add(5, SCRIPT_WHEEL, 1);
    add(6, SCRIPT_RESIZE, 80, 60);
    add(8, SCRIPT_CLOSE);
}

TEST(scripted, delivers_each_frame_its_actions)
{
    script_of_all_kinds();
    scripted_step(0.5);
    EXPECT_EQ(played(20), "0.5 W 0 0,0 64x48\n"
                          "1 GW 0 0,0 64x48\n"
                          "1.5  2 0,0 64x48\n"
                          "2  2 10,-4 64x48\n"
                          "2.5  4 0,0 64x48\n"
                          "3  0 0,0 80x60\n"
                          "3.5  0 0,0 80x60\n");
}

TEST(scripted, plays_a_script_twice_alike)
{
    script_of_all_kinds();
    const std::string first = played(20);
    script_of_all_kinds();
    EXPECT_EQ(played(20), first);
}

TEST(scripted, draws_the_same_pixels_twice)
{
    std::vector<u8> pictures[2];
    for (std::vector<u8>& picture : pictures) {
        scripted_begin();
        const ScriptedWindow window(64, 48);
        glTranslatef(0.1F, 0.2F, -3.0F);
        glColor3f(0.3F, 0.7F, 0.9F);
        glRectf(-1.0F, -0.5F, 1.3F, 0.7F);
        u8* rgb = picture_read(64, 48);
        picture.assign(rgb, rgb + 64 * 48 * 3);
        std::free(rgb);
    }
    EXPECT_EQ(pictures[0], pictures[1]);
}

TEST(scripted, steps_a_sixtieth_of_a_second_in_each_pump)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    EXPECT_EQ(timer_now(), 0.0);
    gfx_pump();
    EXPECT_EQ(timer_now(), 1.0 / 60.0);
    gfx_pump();
    EXPECT_EQ(timer_now(), 1.0 / 60.0 + 1.0 / 60.0);
}

TEST(scripted, stands_still_between_pumps)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    gfx_pump();
    const f64 before = timer_now();
    platform->swap();
    EXPECT_EQ(timer_now(), before);
}

TEST(scripted, begins_its_clock_anew_at_a_reset)
{
    scripted_begin();
    {
        const ScriptedWindow window(64, 48);
        gfx_pump();
    }
    scripted_reset();
    EXPECT_EQ(timer_now(), 0.0);
}

TEST(scripted, goes_on_with_script_and_clock_in_a_second_window)
{
    scripted_begin();
    add(2, SCRIPT_KEY_PRESS, 'A');
    {
        const ScriptedWindow window(64, 48);
        gfx_pump();
    }
    const ScriptedWindow window(64, 48);
    gfx_pump();
    EXPECT_TRUE(key_held('A'));
    EXPECT_EQ(timer_now(), 1.0 / 60.0 + 1.0 / 60.0);
}

TEST(scripted, opens_with_a_pointer_event_without_a_button)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    gfx_pump();
    EXPECT_EQ(buttons_ignored, 0);
}

TEST(scripted, orders_actions_by_frame_and_then_as_they_were_added)
{
    scripted_begin();
    add(3, SCRIPT_TYPE, 'd');
    add(2, SCRIPT_TYPE, 'b');
    add(3, SCRIPT_TYPE, 'e');
    add(2, SCRIPT_TYPE, 'c');
    add(1, SCRIPT_TYPE, 'a');
    const ScriptedWindow window(64, 48);
    gfx_pump();
    EXPECT_STREQ(typed_text, "a");
    gfx_pump();
    EXPECT_STREQ(typed_text, "abc");
    gfx_pump();
    EXPECT_STREQ(typed_text, "abcde");
}

TEST(scripted, delivers_a_late_action_in_the_next_pump)
{
    scripted_begin();
    add(1, SCRIPT_TYPE, 'a');
    add(4, SCRIPT_TYPE, 'c');
    const ScriptedWindow window(64, 48);
    gfx_pump();
    gfx_pump();
    add(1, SCRIPT_TYPE, 'b');
    gfx_pump();
    EXPECT_STREQ(typed_text, "ab");
    gfx_pump();
    EXPECT_STREQ(typed_text, "abc");
}

TEST(scripted, loses_a_movement_in_a_frame_that_does_not_read_it)
{
    scripted_begin();
    add(1, SCRIPT_MOUSE, 10, 20);
    const ScriptedWindow window(64, 48);
    gfx_pump();
    gfx_pump();
    i32 dx = 0;
    i32 dy = 0;
    gfx_mouse_delta(&dx, &dy);
    EXPECT_EQ(dx, 0);
    EXPECT_EQ(dy, 0);
}

TEST(scripted, adds_the_movements_of_a_frame)
{
    scripted_begin();
    add(1, SCRIPT_MOUSE, 10, 20);
    add(1, SCRIPT_MOUSE, -3, 1);
    const ScriptedWindow window(64, 48);
    gfx_pump();
    i32 dx = 0;
    i32 dy = 0;
    gfx_mouse_delta(&dx, &dy);
    EXPECT_EQ(dx, 7);
    EXPECT_EQ(dy, 21);
}

TEST(scripted, tells_a_movement_as_a_place_in_the_window)
{
    scripted_begin();
    add(1, SCRIPT_MOUSE, 10, -5);
    const ScriptedWindow window(64, 48);
    gfx_pump();
    EXPECT_EQ(mouse_x, 42);
    EXPECT_EQ(mouse_y, 19);
}

TEST(scripted, counts_the_frame_into_the_place_of_the_pointer)
{
    scripted_begin();
    windowed = true;
    add(1, SCRIPT_MOUSE, 0, 0);
    const ScriptedWindow window(64, 48);
    gfx_pump();
    EXPECT_EQ(mouse_x, 32);
    EXPECT_EQ(mouse_y, 24 - 12); // the centre is that of the whole window with its caption
}

TEST(scripted, moves_the_window)
{
    scripted_begin();
    windowed = true;
    add(1, SCRIPT_MOVE, 30, 40);
    const ScriptedWindow window(64, 48);
    gfx_pump();
    const PlatformRect rect = platform->windowrect();
    EXPECT_EQ(rect.left, 30);
    EXPECT_EQ(rect.top, 40);
    EXPECT_EQ(rect.right, 30 + 64 + 8);
    EXPECT_EQ(rect.bottom, 40 + 48 + 8 + 24);
}

TEST(scripted, has_one_display_of_1920_by_1080_if_none_is_claimed)
{
    scripted_begin();
    PlatformRect rects[PLATFORM_MAXDISPLAYS];
    EXPECT_EQ(platform->displays(rects, PLATFORM_MAXDISPLAYS), 1);
    EXPECT_EQ(rects[0].right, 1920);
    EXPECT_EQ(rects[0].bottom, 1080);
}

TEST(scripted, claims_31_displays_at_most)
{
    scripted_begin();
    for (i32 i = 0; i < 40; i++) {
        scripted_display({.left = i, .top = 0, .right = i + 1, .bottom = 1});
    }
    PlatformRect rects[PLATFORM_MAXDISPLAYS];
    EXPECT_EQ(platform->displays(rects, PLATFORM_MAXDISPLAYS), 31);
    EXPECT_EQ(rects[30].left, 30);
}

TEST(scripted, gives_no_more_displays_than_are_asked_for)
{
    scripted_begin();
    scripted_display({.left = 0, .top = 0, .right = 10, .bottom = 10});
    scripted_display({.left = 10, .top = 0, .right = 20, .bottom = 10});
    PlatformRect rects[2] = {{}, {.left = 7, .top = 7, .right = 7, .bottom = 7}};
    EXPECT_EQ(platform->displays(rects, 1), 1);
    EXPECT_EQ(rects[1].left, 7);
}

static std::vector<i32> hooked;
static void hook(i32 frame)
{
    hooked.push_back(frame);
}

TEST(scripted, calls_the_hook_in_each_swap_with_the_frame)
{
    scripted_begin();
    hooked.clear();
    scripted_atswap(hook);
    played(3);
    EXPECT_EQ(hooked, (std::vector<i32>{1, 2, 3}));
    EXPECT_EQ(scripted_counts.swaps, 3);
}

static u8 seen_in_hook;
static void look(i32)
{
    u8* rgb = picture_read(64, 48);
    seen_in_hook = rgb[0];
    std::free(rgb);
}

TEST(scripted, lets_the_hook_see_what_the_frame_shows)
{
    scripted_begin();
    scripted_atswap(look);
    const ScriptedWindow window(64, 48);
    gfx_pump();
    glClearColor(1.0F, 0.0F, 0.0F, 0.0F);
    glClear(GL_COLOR_BUFFER_BIT);
    seen_in_hook = 0;
    platform->swap();
    EXPECT_EQ(seen_in_hook, 255);
}

TEST(scripted, forgets_the_hook_at_a_reset)
{
    scripted_begin();
    scripted_atswap(hook);
    scripted_reset();
    hooked.clear();
    played(2);
    EXPECT_TRUE(hooked.empty());
}

TEST(scripted, draws_with_eight_bits_a_channel_no_alpha_and_no_stencil)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    i32 red = 0;
    i32 alpha = 0;
    i32 stencil = 0;
    i32 depth = 0;
    glGetIntegerv(GL_RED_BITS, &red);
    glGetIntegerv(GL_ALPHA_BITS, &alpha);
    glGetIntegerv(GL_STENCIL_BITS, &stencil);
    glGetIntegerv(GL_DEPTH_BITS, &depth);
    EXPECT_EQ(red, 8);
    EXPECT_EQ(alpha, 0);
    EXPECT_EQ(stencil, 0);
    EXPECT_GE(depth, 24);
}

TEST(scripted, keeps_display_lists_and_state_over_a_resize)
{
    scripted_begin();
    add(2, SCRIPT_RESIZE, 100, 80);
    const ScriptedWindow window(64, 48);
    const GLuint list = glGenLists(1);
    glNewList(list, GL_COMPILE);
    glColor3f(0.0F, 1.0F, 0.0F);
    glEndList();
    gfx_pump();
    gfx_pump();
    glCallList(list);
    GLfloat colour[4] = {};
    glGetFloatv(GL_CURRENT_COLOR, colour);
    EXPECT_EQ(colour[1], 1.0F);
    EXPECT_EQ(colour[0], 0.0F);
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
}

TEST(scripted, draws_in_the_whole_of_a_window_that_has_grown)
{
    scripted_begin();
    add(1, SCRIPT_RESIZE, 100, 80);
    const ScriptedWindow window(64, 48);
    gfx_pump();
    glClearColor(0.0F, 0.0F, 1.0F, 0.0F);
    glClear(GL_COLOR_BUFFER_BIT);
    u8* rgb = picture_read(100, 80);
    EXPECT_EQ(rgb[2], 255);
    EXPECT_EQ(rgb[100 * 80 * 3 - 1], 255);
    std::free(rgb);
}

TEST(scripted, keeps_the_old_size_if_the_new_one_cannot_be_had)
{
    scripted_begin();
    add(1, SCRIPT_RESIZE, 10000000, 10000000);
    const ScriptedWindow window(64, 48);
    gfx_pump();
    EXPECT_EQ(gfx_width, 64);
    EXPECT_EQ(gfx_height, 48);
    EXPECT_TRUE(gl_current());
}

TEST(scripted, refuses_a_window_that_no_surface_can_hold)
{
    scripted_begin();
    const WindowRequest want = {.title = "test", .width = 10000000, .height = 10000000};
    EXPECT_EQ(platform_scripted.open(&want), PLATFORM_NO_WINDOW);
}

TEST(scripted, opens_and_closes_again_and_again)
{
    scripted_begin();
    for (i32 i = 50; i > 0; i--) {
        const ScriptedWindow window(64, 48);
        ASSERT_EQ(window.opened, 1);
        gfx_pump();
        glClear(GL_COLOR_BUFFER_BIT);
        platform->swap();
        ASSERT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    }
}

TEST(scripted, begins_each_window_with_fresh_state)
{
    scripted_begin();
    {
        const ScriptedWindow window(64, 48);
        glEnable(GL_BLEND);
        glTranslatef(1.0F, 2.0F, 3.0F);
    }
    const ScriptedWindow window(64, 48);
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
}

TEST(scripted, shares_programs_among_the_windows_of_a_process)
{
    scripted_begin();
    GLuint program = 0;
    {
        const ScriptedWindow window(64, 48);
        program =
            program_make_fragment("void main() { gl_FragColor = vec4(1.0); }", nullptr, nullptr);
    }
    const ScriptedWindow window(64, 48);
    program_use(program);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    program_use(0);
}

TEST(virtualkey, knows_letters_and_digits_in_either_case)
{
    EXPECT_EQ(virtualkey("A"), 'A');
    EXPECT_EQ(virtualkey("z"), 'Z');
    EXPECT_EQ(virtualkey("0"), '0');
    EXPECT_EQ(virtualkey("9"), '9');
}

TEST(virtualkey, knows_the_named_keys)
{
    EXPECT_EQ(virtualkey("Tab"), KEY_TAB);
    EXPECT_EQ(virtualkey("shift"), KEY_SHIFT);
    EXPECT_EQ(virtualkey("CTRL"), KEY_CTRL);
    EXPECT_EQ(virtualkey("Alt"), KEY_ALT);
    EXPECT_EQ(virtualkey("Escape"), KEY_ESCAPE);
    EXPECT_EQ(virtualkey("Space"), KEY_SPACE);
    EXPECT_EQ(virtualkey("Left"), KEY_LEFT);
    EXPECT_EQ(virtualkey("Up"), KEY_UP);
    EXPECT_EQ(virtualkey("Right"), KEY_RIGHT);
    EXPECT_EQ(virtualkey("Down"), KEY_DOWN);
}

TEST(virtualkey, knows_the_function_keys)
{
    for (i32 n = 12; n >= 1; n--) {
        EXPECT_EQ(virtualkey(("F" + std::to_string(n)).c_str()), 0x70 + n - 1);
    }
    EXPECT_EQ(virtualkey("f8"), KEY_F8);
}

TEST(virtualkey, gives_zero_for_any_other_text)
{
    EXPECT_EQ(virtualkey(""), 0);
    EXPECT_EQ(virtualkey("F13"), 0);
    EXPECT_EQ(virtualkey("F0"), 0);
    EXPECT_EQ(virtualkey("Upp"), 0);
    EXPECT_EQ(virtualkey(";"), 0);
    EXPECT_EQ(virtualkey("AB"), 0);
}

TEST(scripted, lets_a_millisecond_pass_at_each_further_reading_in_a_frame)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    gfx_pump();
    EXPECT_EQ(timer_now(), 1.0 / 60.0);
    EXPECT_EQ(timer_now(), 1.0 / 60.0 + 0.001);
    EXPECT_EQ(timer_now(), 1.0 / 60.0 + 0.001 * 2);
}

TEST(scripted, is_back_on_its_steps_in_the_next_frame)
{
    scripted_begin();
    const ScriptedWindow window(64, 48);
    gfx_pump();
    timer_now();
    timer_now();
    platform->swap();
    EXPECT_EQ(timer_now(), 1.0 / 60.0);
    gfx_pump();
    EXPECT_EQ(timer_now(), 1.0 / 60.0 + 1.0 / 60.0);
}
