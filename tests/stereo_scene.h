// A scene of markers for the stereo drivers: what they draw, what they draw it with, and the picture.
#pragma once

#include "gfx/stereo.h"
#include "tests/scripted_window.h"

#include <GL/gl.h>

#include <functional>
#include <gtest/gtest.h>
#include <vector>

/// What one call of the scene found.
struct SceneCall {
    i32 width, height; // gfx_width and gfx_height
    i32 viewport[4];
    f64 projection[16], modelview[16];
};
inline std::vector<SceneCall> scene_calls;
inline std::function<void(i32)> scene_paints; // given the number of the call, from 0

/// The scene: notes what it finds and paints.
inline void scene_test(MazeGame* /*game*/)
{
    SceneCall call = {.width = gfx_width,
                      .height = gfx_height,
                      .viewport = {},
                      .projection = {},
                      .modelview = {}};
    glGetIntegerv(GL_VIEWPORT, call.viewport);
    glGetDoublev(GL_PROJECTION_MATRIX, call.projection);
    glGetDoublev(GL_MODELVIEW_MATRIX, call.modelview);
    scene_calls.push_back(call);
    scene_paints(static_cast<i32>(scene_calls.size()) - 1);
}

/// Rows from the bottom, as OpenGL numbers them.
struct Pixels {
    i32 width, height;
    std::vector<u8> bytes;

    /// 0xRRGGBB
    u32 at(i32 x, i32 y) const
    {
        const u8* const pixel = bytes.data() + (static_cast<size_t>(y) * width + x) * 3;
        return static_cast<u32>(pixel[0] << 16 | pixel[1] << 8 | pixel[2]);
    }
    bool operator==(const Pixels&) const = default;
};

inline Pixels take_pixels()
{
    Pixels out = {gfx_width, gfx_height, {}};
    out.bytes.resize(static_cast<size_t>(gfx_width) * gfx_height * 3);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, gfx_width, gfx_height, GL_RGB, GL_UNSIGNED_BYTE, out.bytes.data());
    return out;
}

/// One frame of a view, from a clear window, with the matrices that are loaded.
inline Pixels draw_stereo(const StereoView& view)
{
    scene_calls.clear();
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    stereo_draw(scene_test, nullptr, &view);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    return take_pixels();
}

/// Fills the viewport with a colour, 0xRRGGBB, whatever the matrices.
inline void flood(u32 colour)
{
    glPushMatrix();
    glLoadIdentity();
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    glColor3ub(colour >> 16 & 0xFF, colour >> 8 & 0xFF, colour & 0xFF);
    glRectf(-1, -1, 1, 1);
    glPopMatrix();
    glMatrixMode(GL_MODELVIEW);
    glPopMatrix();
}

/// The window of a test, full screen at the upper left corner of the desktop, with a scene.
struct StereoWindow {
    ScriptedWindow window;
    StereoWindow(i32 width, i32 height, std::function<void(i32)> paints) : window(width, height)
    {
        scene_paints = std::move(paints);
        scene_calls.clear();
    }
};
