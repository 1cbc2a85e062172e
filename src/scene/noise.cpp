#include "scene/noise.h"

#include "base/rnd.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

enum { WAVES = 100, TURN = 65536, LEAST_AMPLITUDE = 500 };

// A plane wave: whole turns over 0x40000 pixels, strength, and where it begins, in parts of a turn.
struct Wave {
    i32 kx, ky, amplitude, phase;
};

// 0 to 0xFFFF.
static i32 rand16()
{
    const f64 fine = rnd_draw() * 0x1p-15;
    const f64 coarse = rnd_draw();
    return std::min(static_cast<i32>(2 * (fine + coarse)), 0xFFFF);
}

// A wave whose period divides the image: multiples of the steps.
static void drawwavevector(Wave* wave, i32 xstep, i32 ystep, f64* square)
{
    do {
        const i32 x = rand16() / xstep * xstep;
        const bool minus = (rnd_draw() & 1) != 0;
        wave->kx = minus ? -x : x;
        wave->ky = rand16() / ystep * ystep;
        *square = static_cast<f64>(wave->kx) * wave->kx + static_cast<f64>(wave->ky) * wave->ky;
    } while (*square > 0x1p32);
}

static Wave drawwave(i32 xstep, i32 ystep)
{
    Wave wave;
    do { // until it is strong enough to be seen
        f64 square;
        drawwavevector(&wave, xstep, ystep, &square);
        const f64 d = 1 - square * 0x1p-32;
        wave.amplitude = static_cast<i32>(d * d * 0.1 * (rand16() - 0x8000));
    } while (std::abs(wave.amplitude) < LEAST_AMPLITUDE);
    wave.phase = rand16();
    return wave;
}

// Two turns of a sine, so that a phase can be added to an angle without a test. Owned.
static i32* makesines()
{
    i32* const sines = static_cast<i32*>(std::malloc(2 * TURN * sizeof(i32)));
    for (i32 i = TURN - 1; i >= 0; i--) {
        sines[i] = static_cast<i32>(std::sin(i * 9.587379924285257e-05) * 32767);
        sines[TURN + i] = sines[i];
    }
    return sines;
}

static void addrow(i32* sums, i32 w, i32 y, const Wave* wave, const i32* sines)
{
    const i32* const from = sines + wave->phase;
    const u32 step = static_cast<u32>(wave->kx) * 0x4000U; // the angle wraps, and is meant to
    u32 angle = static_cast<u32>(wave->ky) * static_cast<u32>(y) * 0x4000U;
    for (i32 x = 0; x < w; x++) { // forward: the angle is a running sum
        sums[x] += (from[angle >> 16] * wave->amplitude) >> 16;
        angle += step;
    }
}

static u8 noisebyte(i32 sum, f32 scale)
{
    const f32 value = static_cast<f32>(sum) * scale + 128.0F;
    return static_cast<u8>(std::clamp(value, 0.0F, 255.0F));
}

u8* noise_make(i32 w, i32 h, f32 scale)
{
    i32* const sines = makesines();
    Wave waves[WAVES];
    for (i32 n = WAVES - 1; n >= 0; n--) {
        waves[n] = drawwave(std::max(0x40000 / w, 1), std::max(0x40000 / h, 1));
    }
    const size_t width = static_cast<size_t>(w);
    u8* const bytes = static_cast<u8*>(std::malloc(width * static_cast<size_t>(h)));
    i32* const sums = static_cast<i32*>(std::malloc(width * sizeof(i32)));
    for (i32 y = h - 1; y >= 0; y--) {
        std::fill_n(sums, w, 0);
        for (i32 n = WAVES - 1; n >= 0; n--) {
            addrow(sums, w, y, &waves[n], sines);
        }
        for (i32 x = w - 1; x >= 0; x--) {
            bytes[static_cast<size_t>(y) * width + static_cast<size_t>(x)] =
                noisebyte(sums[x], scale);
        }
    }
    std::free(sums);
    std::free(sines);
    return bytes;
}
