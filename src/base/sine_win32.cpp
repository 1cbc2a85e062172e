// Sine and cosine in place of those of the C runtime, which know a quarter turn by 66 bits only: near its
// multiples few digits are right, and worlds of some seeds would be others than elsewhere. Here the
// result is found with 64 bits and rounded once.
#include "base/types.h"

#include <cmath>

// A quarter turn in three parts. The first two have 33 bits, so that their products with a number of
// quarters are exact.
static const long double part1 = 0x1.921fb544p+0L;
static const long double part2 = 0x1.0b4611a6p-34L;
static const long double part3 = 0x98cc51701b839a25p-132L;
static const f64 most = 1 << 30; // quarters, beyond that the runtime's own routine has to do

// Takes off whole quarters; `quarters` receives how many. The rest is at most an eighth of a turn.
static long double reduce(f64 angle, i32* quarters)
{
    const long double n = std::nearbyint(static_cast<long double>(angle) / part1);
    *quarters = static_cast<i32>(n);
    return ((static_cast<long double>(angle) - n * part1) - n * part2) - n * part3;
}

static long double turned(long double rest, i32 quarters)
{
    switch (quarters & 3) {
    case 0: return std::sin(rest);
    case 1: return std::cos(rest);
    case 2: return -std::sin(rest);
    default: return -std::cos(rest);
    }
}

static f64 wave(f64 angle, i32 ahead)
{
    if (!(std::fabs(angle) < most)) {
        const long double same = angle;
        return static_cast<f64>(ahead == 0 ? std::sin(same) : std::cos(same));
    }
    i32 quarters = 0;
    const long double rest = reduce(angle, &quarters);
    return static_cast<f64>(turned(rest, quarters + ahead));
}

extern "C" f64 sin(f64 angle)
{
    return wave(angle, 0);
}

extern "C" f64 cos(f64 angle)
{
    return wave(angle, 1);
}
