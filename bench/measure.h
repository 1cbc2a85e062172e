// What the benchmarks share: a window without a display, clocks, the median.
#pragma once

#include "gfx/gfx_opengl.h"
#include "gfx/platform/scripted.h"
#include "gfx/projection.h"
#include "scene/view.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <vector>

/// Opens a window of the scripted back end, once.
inline void open_window()
{
    if (!gfx_alive) {
        platform = &platform_scripted;
        scripted_reset();
        gfx_ortho_mode = 0;
        windowed = true;
        gfx_open(864, 648, "benchmark");
        view_install();
    }
}

inline f64 seconds()
{
    return std::chrono::duration<f64>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// Time that this thread has computed, without waits for others.
inline f64 own_seconds()
{
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<f64>(time.tv_sec) + static_cast<f64>(time.tv_nsec) * 1e-9;
}

/// The middle one of the values; there must be one.
inline f64 median(std::vector<f64> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}
