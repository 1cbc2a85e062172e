// The back end of Windows in a real window, fed with the system's messages.
#include "gfx/gfx_opengl.h"
#include "gfx/platform.h"

#include <GL/gl.h>
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

// A window for the length of a scope, with what its opening has brought taken.
struct Window {
    HWND handle;

    explicit Window(i32 width = 200, i32 height = 150, bool framed = true)
    {
        const WindowRequest want = {.title = "Gänge ∞",
                                    .x = 40,
                                    .y = 30,
                                    .width = width,
                                    .height = height,
                                    .framed = framed};
        EXPECT_EQ(platform_win32.open(&want), PLATFORM_OPEN);
        handle = FindWindowW(L"OpenGL WinClass", nullptr);
        EXPECT_NE(handle, nullptr);
        SetForegroundWindow(handle);
        settle();
    }
    ~Window()
    {
        platform_win32.close();
    }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    // Takes all events that come until none has come for a while.
    std::vector<PlatformEvent> settle() const
    {
        std::vector<PlatformEvent> all;
        for (i32 quiet = 0; quiet < 20; quiet++) {
            PlatformEvent event;
            while (platform_win32.nextevent(&event)) {
                all.push_back(event);
                quiet = 0;
            }
            Sleep(10);
        }
        return all;
    }

    void post(UINT message, WPARAM word, LPARAM parameter) const
    {
        EXPECT_NE(PostMessageW(handle, message, word, parameter), 0);
    }

    // The events of one kind among those that one message brings.
    std::vector<PlatformEvent> told(UINT message, WPARAM word, LPARAM parameter,
                                    PlatformEventKind kind) const
    {
        post(message, word, parameter);
        std::vector<PlatformEvent> found;
        for (const PlatformEvent& event : settle()) {
            if (event.kind == kind) {
                found.push_back(event);
            }
        }
        return found;
    }

    RECT client() const
    {
        RECT rect = {};
        EXPECT_NE(GetClientRect(handle, &rect), 0);
        return rect;
    }
};

static bool reads_down(i32 key)
{
    u8 keys[PLATFORM_KEYS];
    platform_win32.readkeys(keys);
    return (keys[key] & 0x80) != 0;
}

static LPARAM at(int x, int y)
{
    return MAKELPARAM(static_cast<WORD>(x), static_cast<WORD>(y));
}

TEST(win32_clock, advances_by_what_the_system_waits)
{
    const f64 before = platform_win32.seconds();
    Sleep(50);
    const f64 waited = platform_win32.seconds() - before;
    EXPECT_GT(waited, 0.045);
    EXPECT_LT(waited, 5.0);
}

TEST(win32_clock, tells_less_than_a_millisecond)
{
    const f64 before = platform_win32.seconds();
    f64 after = before;
    while (after <= before) {
        after = platform_win32.seconds();
    }
    EXPECT_LT(after - before, 0.001);
}

TEST(win32_displays, lie_on_the_desktop)
{
    PlatformRect all[PLATFORM_MAXDISPLAYS];
    const i32 n = platform_win32.displays(all, PLATFORM_MAXDISPLAYS);
    const PlatformRect desktop = platform_win32.desktop();
    ASSERT_GE(n, 1);
    for (i32 i = 0; i < n; i++) {
        EXPECT_LT(all[i].left, all[i].right);
        EXPECT_LT(all[i].top, all[i].bottom);
        EXPECT_GE(all[i].left, desktop.left);
        EXPECT_GE(all[i].top, desktop.top);
        EXPECT_LE(all[i].right, desktop.right);
        EXPECT_LE(all[i].bottom, desktop.bottom);
    }
}

TEST(win32_displays, are_no_more_than_asked_for)
{
    PlatformRect none = {.left = -7, .top = -7, .right = -7, .bottom = -7};
    EXPECT_EQ(platform_win32.displays(&none, 0), 0);
    EXPECT_EQ(none.left, -7);
}

TEST(win32_primary, is_the_display_at_the_origin)
{
    PlatformRect all[PLATFORM_MAXDISPLAYS];
    const PlatformRect primary = platform_win32.primary();
    bool found = false;
    for (i32 i = platform_win32.displays(all, PLATFORM_MAXDISPLAYS) - 1; i >= 0; i--) {
        found = found || (all[i].left == 0 && all[i].top == 0 && all[i].right == primary.right &&
                          all[i].bottom == primary.bottom);
    }
    EXPECT_TRUE(found);
}

TEST(win32_open, gives_the_client_area_its_size)
{
    const Window window(233, 177);
    EXPECT_EQ(window.client().right, 233);
    EXPECT_EQ(window.client().bottom, 177);
}

TEST(win32_open, gives_a_window_larger_than_the_desktop_its_size)
{
    const PlatformRect desktop = platform_win32.desktop();
    const i32 width = desktop.right - desktop.left + 100;
    const i32 height = desktop.bottom - desktop.top + 100;
    const Window window(width, height);
    EXPECT_EQ(window.client().right, width);
    EXPECT_EQ(window.client().bottom, height);
}

TEST(win32_open, has_no_frame_in_full_screen)
{
    const Window window(160, 120, false);
    const PlatformRect outer = platform_win32.windowrect();
    EXPECT_EQ(outer.left, 40);
    EXPECT_EQ(outer.top, 30);
    EXPECT_EQ(outer.right - outer.left, 160);
    EXPECT_EQ(outer.bottom - outer.top, 120);
}

TEST(win32_open, frames_by_the_size_that_is_told)
{
    i32 side = 0;
    i32 caption = 0;
    platform_win32.framesize(&side, &caption);
    const Window window(160, 120);
    const PlatformRect outer = platform_win32.windowrect();
    EXPECT_GT(caption, 0);
    EXPECT_EQ(outer.right - outer.left, 160 + 2 * side);
    EXPECT_EQ(outer.bottom - outer.top, 120 + 2 * side + caption);
}

TEST(win32_open, takes_a_title_in_utf8)
{
    const Window window;
    wchar_t title[40] = L"";
    GetWindowTextW(window.handle, title, 40);
    EXPECT_EQ(std::wstring(title), L"G\u00e4nge \u221e");
}

TEST(win32_open, makes_a_context_of_opengl_2)
{
    const Window window;
    const char* const version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
    ASSERT_NE(version, nullptr);
    EXPECT_GE(std::atof(version), 2.0);
}

TEST(win32_open, makes_a_format_of_the_bits_that_are_asked_for)
{
    const Window window;
    GLint red = 0;
    GLint depth = 0;
    GLboolean doubled = GL_FALSE;
    glGetIntegerv(GL_RED_BITS, &red);
    glGetIntegerv(GL_DEPTH_BITS, &depth);
    glGetBooleanv(GL_DOUBLEBUFFER, &doubled);
    EXPECT_EQ(red, 8);
    EXPECT_GE(depth, 24);
    EXPECT_EQ(doubled, GL_TRUE);
}

TEST(win32_open, can_open_again_after_a_close)
{
    {
        const Window first;
    }
    EXPECT_EQ(wglGetCurrentContext(), nullptr);
    const Window second;
    EXPECT_NE(wglGetCurrentContext(), nullptr);
}

TEST(win32_open, tells_a_class_that_is_taken_and_can_open_after_that)
{
    WNDCLASSW taken = {};
    taken.lpfnWndProc = DefWindowProcW;
    taken.hInstance = GetModuleHandleW(nullptr);
    taken.lpszClassName = L"OpenGL WinClass";
    ASSERT_NE(RegisterClassW(&taken), 0);
    const WindowRequest want = {.title = "", .width = 100, .height = 100};
    EXPECT_EQ(platform_win32.open(&want), PLATFORM_NO_CLASS);
    const Window window;
    EXPECT_NE(wglGetCurrentContext(), nullptr);
}

TEST(win32_open, refuses_what_no_window_can_be)
{
    for (const bool framed : {false, true}) {
        for (const i32 side : {32768, 1000000000}) {
            const WindowRequest wide = {
                .title = "", .width = side, .height = 100, .framed = framed};
            const WindowRequest high = {
                .title = "", .width = 100, .height = side, .framed = framed};
            EXPECT_EQ(platform_win32.open(&wide), PLATFORM_NO_WINDOW);
            EXPECT_EQ(platform_win32.open(&high), PLATFORM_NO_WINDOW);
            EXPECT_EQ(FindWindowW(L"OpenGL WinClass", nullptr), nullptr);
        }
    }
}

TEST(win32_glproc, finds_functions_old_and_new)
{
    const Window window;
    EXPECT_NE(platform_win32.glproc("glBegin"), nullptr);
    EXPECT_NE(platform_win32.glproc("glCreateShader"), nullptr);
}

TEST(win32_glproc, finds_nothing_that_is_not_there)
{
    const Window window;
    EXPECT_EQ(platform_win32.glproc("corvaneHasNoSuchName"), nullptr);
}

TEST(win32_keys, read_a_tap_between_two_readings_as_down_once)
{
    const Window window;
    window.post(WM_KEYDOWN, 'G', 1);
    window.post(WM_KEYUP, 'G', static_cast<LPARAM>(0xC0000001));
    window.settle();
    EXPECT_TRUE(reads_down('G'));
    EXPECT_FALSE(reads_down('G'));
}

TEST(win32_keys, do_not_take_a_repetition_for_a_tap)
{
    const Window window;
    window.post(WM_KEYDOWN, 'G', 1 | 1 << 30);
    window.settle();
    EXPECT_FALSE(reads_down('G'));
}

TEST(win32_keys, read_those_that_come_as_the_systems_own)
{
    const Window window;
    window.post(WM_SYSKEYDOWN, VK_F10, 1);
    window.settle();
    EXPECT_TRUE(reads_down(KEY_F1 + 9));
}

// Presses or releases a key as the keyboard does.
static void press(WORD key, bool down)
{
    INPUT input = {};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = key;
    input.ki.dwFlags = down ? 0 : KEYEVENTF_KEYUP;
    EXPECT_EQ(SendInput(1, &input, sizeof input), 1U);
}

TEST(win32_keys, are_down_as_long_as_they_are_held)
{
    const Window window;
    press('W', true);
    window.settle();
    const bool first = reads_down('W');
    const bool second = reads_down('W');
    press('W', false);
    window.settle();
    EXPECT_TRUE(first);
    EXPECT_TRUE(second);
    EXPECT_FALSE(reads_down('W'));
}

TEST(win32_keys, read_either_shift_as_shift)
{
    const Window window;
    press(VK_RSHIFT, true);
    window.settle();
    const bool down = reads_down(KEY_SHIFT);
    press(VK_RSHIFT, false);
    window.settle();
    EXPECT_TRUE(down);
    EXPECT_FALSE(reads_down(KEY_SHIFT));
}

TEST(win32_keys, are_up_when_another_window_has_them)
{
    const Window window;
    press('W', true);
    window.settle();
    EXPECT_TRUE(reads_down('W'));
    SetFocus(nullptr);
    window.settle();
    const bool away = reads_down('W');
    SetFocus(window.handle);
    window.settle();
    const bool back = reads_down('W');
    press('W', false);
    window.settle();
    EXPECT_FALSE(away);
    EXPECT_FALSE(back);
}

TEST(win32_events, tell_a_close)
{
    const Window window;
    EXPECT_EQ(window.told(WM_CLOSE, 0, 0, EVENT_CLOSE).size(), 1U);
    EXPECT_NE(IsWindow(window.handle), 0);
}

TEST(win32_events, tell_the_pointer_and_its_buttons)
{
    const Window window;
    const auto told =
        window.told(WM_RBUTTONDOWN, MK_RBUTTON | MK_MBUTTON | MK_SHIFT, at(-3, 70), EVENT_POINTER);
    ASSERT_GE(told.size(), 1U);
    EXPECT_EQ(told[0].x, -3);
    EXPECT_EQ(told[0].y, 70);
    EXPECT_EQ(told[0].buttons, static_cast<u32>(MOUSE_RIGHT | MOUSE_MIDDLE));
    window.told(WM_RBUTTONUP, 0, at(0, 0), EVENT_POINTER);
}

TEST(win32_events, hold_the_pointer_while_a_button_is_down)
{
    const Window window;
    window.told(WM_LBUTTONDOWN, MK_LBUTTON, at(5, 5), EVENT_POINTER);
    EXPECT_EQ(GetCapture(), window.handle);
    window.told(WM_LBUTTONUP, 0, at(5, 5), EVENT_POINTER);
    EXPECT_EQ(GetCapture(), nullptr);
}

TEST(win32_events, tell_which_way_the_wheel_turned)
{
    const Window window;
    const auto away = window.told(WM_MOUSEWHEEL, MAKEWPARAM(0, 120), 0, EVENT_WHEEL);
    const auto towards =
        window.told(WM_MOUSEWHEEL, MAKEWPARAM(MK_LBUTTON, static_cast<WORD>(-30)), 0, EVENT_WHEEL);
    ASSERT_EQ(away.size(), 1U);
    ASSERT_EQ(towards.size(), 1U);
    EXPECT_GT(away[0].wheel, 0);
    EXPECT_LT(towards[0].wheel, 0);
}

TEST(win32_events, tell_a_typed_character)
{
    const Window window;
    const auto told = window.told(WM_CHAR, 0xE4, 1, EVENT_CHARACTER);
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].character, 0xE4U);
}

TEST(win32_events, tell_a_new_size_once)
{
    const Window window(200, 150);
    RECT outer = {};
    GetWindowRect(window.handle, &outer);
    SetWindowPos(window.handle, nullptr, 0, 0, outer.right - outer.left + 60,
                 outer.bottom - outer.top + 20, SWP_NOMOVE | SWP_NOZORDER);
    std::vector<PlatformEvent> sizes;
    for (const PlatformEvent& event : window.settle()) {
        if (event.kind == EVENT_SIZE) {
            sizes.push_back(event);
        }
    }
    ASSERT_EQ(sizes.size(), 1U);
    EXPECT_EQ(sizes[0].x, 260);
    EXPECT_EQ(sizes[0].y, 170);
}

TEST(win32_events, tell_no_size_of_a_minimised_window)
{
    const Window window;
    platform_win32.minimise();
    for (const PlatformEvent& event : window.settle()) {
        EXPECT_NE(event.kind, EVENT_SIZE);
    }
    EXPECT_TRUE(platform_win32.isminimised());
    ShowWindow(window.handle, SW_RESTORE);
    window.settle();
    EXPECT_FALSE(platform_win32.isminimised());
}

static bool has(const std::vector<PlatformEvent>& events, PlatformEventKind kind)
{
    return std::any_of(events.begin(), events.end(),
                       [kind](const PlatformEvent& event) { return event.kind == kind; });
}

// Sends what is told at once, as while the user drags the frame.
static void type(HWND to, i32 count)
{
    for (i32 i = count; i > 0; i--) {
        SendMessageW(to, WM_CHAR, 'x', 1);
    }
}

TEST(win32_events, tell_the_last_of_more_than_have_room)
{
    const Window window;
    type(window.handle, 500);
    SendMessageW(window.handle, WM_MOUSEWHEEL, MAKEWPARAM(0, 120), 0);
    EXPECT_TRUE(has(window.settle(), EVENT_WHEEL));
}

TEST(win32_events, tell_a_close_among_more_than_have_room)
{
    for (const i32 before : {0, 63, 200}) {
        const Window window;
        type(window.handle, before);
        SendMessageW(window.handle, WM_CLOSE, 0, 0);
        type(window.handle, 200);
        EXPECT_TRUE(has(window.settle(), EVENT_CLOSE)) << before;
    }
}

TEST(win32_events, open_no_menu)
{
    const Window window;
    EXPECT_EQ(SendMessageW(window.handle, WM_SYSCOMMAND, SC_KEYMENU, ' '), 0);
    GUITHREADINFO info = {};
    info.cbSize = sizeof info;
    ASSERT_NE(GetGUIThreadInfo(GetCurrentThreadId(), &info), 0);
    EXPECT_EQ(info.flags & (GUI_INMENUMODE | GUI_SYSTEMMENUMODE), 0U);
}

TEST(win32_pointeroffset, tells_the_way_from_the_centre_and_goes_back_there)
{
    const Window window;
    const PlatformRect rect = platform_win32.windowrect();
    i32 dx = 0;
    i32 dy = 0;
    platform_win32.pointeroffset(&dx, &dy); // from wherever it was
    SetCursorPos((rect.left + rect.right) / 2 + 11, (rect.top + rect.bottom) / 2 - 6);
    platform_win32.pointeroffset(&dx, &dy);
    EXPECT_EQ(dx, 11);
    EXPECT_EQ(dy, -6);
    platform_win32.pointeroffset(&dx, &dy);
    EXPECT_EQ(dx, 0);
    EXPECT_EQ(dy, 0);
}

TEST(win32_pointeroffset, lets_the_pointer_be_while_another_window_has_the_keys)
{
    const Window window;
    i32 dx = 0;
    i32 dy = 0;
    platform_win32.pointeroffset(&dx, &dy);
    SetFocus(nullptr);
    SetCursorPos(7, 9);
    platform_win32.pointeroffset(&dx, &dy);
    i32 x = 0;
    i32 y = 0;
    platform_win32.cursor(&x, &y);
    EXPECT_EQ(dx, 0);
    EXPECT_EQ(x, 7);
    EXPECT_EQ(y, 9);
}

// A window of somebody else's.
struct Other {
    HWND handle;

    explicit Other(DWORD styles)
        : handle(CreateWindowExW(styles, L"Static", L"", WS_POPUP | WS_VISIBLE, 10, 10, 50, 50,
                                 nullptr, nullptr, GetModuleHandleW(nullptr), nullptr))
    {
        EXPECT_NE(handle, nullptr);
    }
    ~Other()
    {
        DestroyWindow(handle);
    }
    Other(const Other&) = delete;
    Other& operator=(const Other&) = delete;
};

static bool is_on_top(HWND window)
{
    return (GetWindowLongPtrW(window, GWL_EXSTYLE) & WS_EX_TOPMOST) != 0;
}

static bool is_above(HWND window, HWND lower)
{
    HWND next = window;
    while (next != nullptr && next != lower) {
        next = GetWindow(next, GW_HWNDNEXT);
    }
    return next == lower;
}

// Gives a window the keys and lets ours take its place.
static void give_keys(const Window& window, HWND to)
{
    SetForegroundWindow(to);
    window.settle();
    platform_win32.placeontop();
}

TEST(win32_placeontop, keeps_the_window_above_others_while_it_has_the_keys)
{
    const Window window(160, 120, false);
    const Other other(0);
    give_keys(window, window.handle);
    EXPECT_TRUE(is_on_top(window.handle));
    EXPECT_TRUE(is_above(window.handle, other.handle));
}

TEST(win32_placeontop, steps_behind_the_window_that_gets_the_keys)
{
    const Window window(160, 120, false);
    const Other other(0);
    give_keys(window, window.handle);
    give_keys(window, other.handle);
    EXPECT_FALSE(is_on_top(window.handle));
    EXPECT_TRUE(is_above(other.handle, window.handle));
}

TEST(win32_placeontop, waits_for_the_window_that_comes_after_one_on_top)
{
    const Window window(160, 120, false);
    const Other other(0);
    const Other list(WS_EX_TOPMOST);
    give_keys(window, window.handle);
    give_keys(window, list.handle);
    give_keys(window, other.handle);
    EXPECT_TRUE(is_above(other.handle, window.handle));
}

TEST(win32_placeontop, puts_it_back_when_the_keys_come_back_from_one_on_top)
{
    const Window window(160, 120, false);
    const Other list(WS_EX_TOPMOST);
    give_keys(window, window.handle);
    give_keys(window, list.handle);
    EXPECT_FALSE(is_on_top(window.handle));
    give_keys(window, window.handle);
    EXPECT_TRUE(is_on_top(window.handle));
}

TEST(win32_cursor, is_shown_again_by_a_close)
{
    const i32 before = ShowCursor(TRUE);
    {
        const Window window;
        platform_win32.hidecursor();
        platform_win32.hidecursor();
        platform_win32.showcursor();
    }
    EXPECT_EQ(ShowCursor(FALSE), before - 1);
}

TEST(win32_setmode, refuses_a_size_that_no_display_has)
{
    const Window window(160, 120, false);
    EXPECT_FALSE(platform_win32.setmode(31, 17));
}

static void tell_end()
{
    const char* const what = platform_win32.ended();
    std::fprintf(stderr, "At the exit: %s\n", what != nullptr ? what : "nothing");
}

static void end_session(bool ends)
{
    std::atexit(tell_end);
    const Window window;
    SendMessageW(window.handle, WM_ENDSESSION, ends ? TRUE : FALSE, 0);
    std::exit(3);
}

TEST(win32_session, ends_the_process_by_its_exit)
{
    EXPECT_EXIT(end_session(true), testing::ExitedWithCode(0), "At the exit: The session ends");
}

TEST(win32_session, that_goes_on_ends_nothing)
{
    EXPECT_EXIT(end_session(false), testing::ExitedWithCode(3), "At the exit: nothing");
}
