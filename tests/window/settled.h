// Pictures of a window and how they differ.
#pragma once

#include "tests/window/session.h"

/// The share of pixels in which two pictures differ.
inline double difference(const Pixels& a, const Pixels& b)
{
    size_t n = 0;
    for (size_t i = 0; i < a.size() && i < b.size(); i++) {
        n += a[i] != b[i] ? 1 : 0;
    }
    return static_cast<double>(n) / static_cast<double>(a.size());
}

/// The picture once two in a row are nearly the same: the eye has come to rest.
inline Pixels settled(const Desktop& desktop, const Session& session)
{
    Pixels now = desktop.pixels(session.window());
    wait_until(10, [&] {
        sleep_for(0.3);
        session.show_frame();
        const Pixels before = now;
        now = desktop.pixels(session.window());
        return difference(before, now) < 0.001;
    });
    return now;
}
