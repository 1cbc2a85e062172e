// The routines of angles in place of those of the C runtime, which know a quarter turn by 66 bits only:
// near its multiples few digits are right, and worlds of some seeds would be others than elsewhere. Here
// a result is found with 64 bits and rounded once.
#include "base/types.h"

#include <cmath>
#include <numbers>

// A quarter turn in three parts. The first two have 33 bits, so that their products with a number of
// quarters are exact.
static const long double part1 = 0x1.921fb544p+0L;
static const long double part2 = 0x1.0b4611a6p-34L;
static const long double part3 = 0x98cc51701b839a25p-132L;
static const f64 most = 1 << 30; // beyond that angle the runtime's own routine has to do

struct Wave {
    long double sine, cosine;
};

// Where the compiler sees that both are of one angle, it asks sincosl below for them: so it doesn't see.
static Wave ask(long double angle)
{
    const volatile long double same = angle;
    return {std::sin(angle), std::cos(same)};
}

// Takes off whole quarters; the rest is at most an eighth of a turn.
static Wave wave(f64 angle)
{
    const long double exact = angle;
    if (!(std::fabs(angle) < most)) {
        return ask(exact);
    }
    const long double quarters = std::floor(angle / (std::numbers::pi / 2) + 0.5);
    const long double rest = ((exact - quarters * part1) - quarters * part2) - quarters * part3;
    const Wave near = ask(rest);
    const long double s = near.sine;
    const long double c = near.cosine;
    switch (static_cast<i32>(quarters) & 3) {
    case 0: return {s, c};
    case 1: return {c, -s};
    case 2: return {-s, -c};
    default: return {-c, s};
    }
}

extern "C" f64 sin(f64 angle)
{
    return static_cast<f64>(wave(angle).sine);
}

extern "C" f64 cos(f64 angle)
{
    return static_cast<f64>(wave(angle).cosine);
}

// What the compiler makes of both of one angle. The runtime's three routines for that stand in one piece,
// so all of them are replaced.
extern "C" void sincos(f64 angle, f64* sine, f64* cosine)
{
    const Wave both = wave(angle);
    *sine = static_cast<f64>(both.sine);
    *cosine = static_cast<f64>(both.cosine);
}

extern "C" void sincosf(f32 angle, f32* sine, f32* cosine)
{
    const Wave both = wave(static_cast<f64>(angle));
    *sine = static_cast<f32>(both.sine);
    *cosine = static_cast<f32>(both.cosine);
}

extern "C" void sincosl(long double angle, long double* sine, long double* cosine)
{
    const Wave both = ask(angle);
    *sine = both.sine;
    *cosine = both.cosine;
}

extern "C" f64 tan(f64 angle)
{
    const Wave both = wave(angle);
    return static_cast<f64>(both.sine / both.cosine);
}

extern "C" f64 atan(f64 slope)
{
    return static_cast<f64>(std::atan(static_cast<long double>(slope)));
}

extern "C" f64 acos(f64 cosine)
{
    return static_cast<f64>(std::acos(static_cast<long double>(cosine)));
}
