#include "base/clock.h"

#include <chrono>

static f64 steadyseconds()
{
    using seconds = std::chrono::duration<f64>;
    return seconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

static f64 setup()
{
    timer_now = steadyseconds;
    return timer_now();
}

f64 (*timer_now)() = setup;
