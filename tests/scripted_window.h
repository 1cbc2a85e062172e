// Windows on the scripted back end, for tests that draw or press keys.
#pragma once

#include "base/report.h"
#include "gfx/gfx_opengl.h"
#include "gfx/platform/scripted.h"
#include "gfx/projection.h"

#include <cstdio>
#include <cstring>

/// The scripted back end with nothing claimed or scripted, in perspective, full screen.
inline void scripted_begin()
{
    platform_use(&platform_scripted);
    scripted_reset();
    gfx_ortho_mode = 0;
    windowed = false;
    fullscreen_x = 0;
    fullscreen_y = 0;
}

/// A window for the length of a scope; what is scripted before it is made plays in it.
struct ScriptedWindow {
    i32 opened;
    ScriptedWindow(i32 width, i32 height) : opened(gfx_open(width, height, "test"))
    {
    }
    ScriptedWindow(const ScriptedWindow&) = delete;
    ScriptedWindow& operator=(const ScriptedWindow&) = delete;
    ~ScriptedWindow()
    {
        gfx_close();
    }
};

// For processes of their own, as EXPECT_EXIT makes them.

/// Lets reports go to standard error, each as <source line type message>.
inline void report_to_stderr()
{
    report_handler = [](ReportRec* rec) {
        std::fprintf(stderr, "<%s %d %d %s>", rec->file, rec->line, rec->type, rec->message);
    };
}

/// Uses the scripted back end on a driver that lacks glBlendEquation.
inline void lack_equation()
{
    static Platform lacking = platform_scripted;
    lacking.glproc = [](const char* name) {
        return std::strcmp(name, "glBlendEquation") == 0 ? nullptr : platform_scripted.glproc(name);
    };
    platform_use(&lacking);
}
