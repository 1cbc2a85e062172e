#include "tests/scripted_window.h"

#include <gtest/gtest.h>

TEST(gfx_mouse_delta, gives_the_offset_from_the_centre_once)
{
    scripted_begin();
    scripted_add({.frame = 1, .kind = SCRIPT_MOUSE, .a = 12, .b = -7});
    const ScriptedWindow window(64, 48);
    gfx_pump();
    i32 dx = 0;
    i32 dy = 0;
    gfx_mouse_delta(&dx, &dy);
    EXPECT_EQ(dx, 12);
    EXPECT_EQ(dy, -7);
    gfx_mouse_delta(&dx, &dy);
    EXPECT_EQ(dx, 0);
    EXPECT_EQ(dy, 0);
}

TEST(gfx_mouse_delta, takes_null_for_either_value)
{
    scripted_begin();
    scripted_add({.frame = 1, .kind = SCRIPT_MOUSE, .a = 12, .b = -7});
    scripted_add({.frame = 2, .kind = SCRIPT_MOUSE, .a = 3, .b = 4});
    const ScriptedWindow window(64, 48);
    i32 dx = 0;
    i32 dy = 0;
    gfx_mouse_delta(nullptr, nullptr);
    gfx_pump();
    gfx_mouse_delta(&dx, nullptr);
    gfx_pump();
    gfx_mouse_delta(nullptr, &dy);
    EXPECT_EQ(dx, 12);
    EXPECT_EQ(dy, 4);
}

TEST(gfx_mouse_delta, gives_zero_after_a_close)
{
    scripted_begin();
    {
        const ScriptedWindow window(64, 48);
    }
    i32 dx = 5;
    i32 dy = 5;
    gfx_mouse_delta(&dx, &dy);
    EXPECT_EQ(dx, 0);
    EXPECT_EQ(dy, 0);
}
