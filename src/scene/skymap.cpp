#include "scene/skymap.h"

#include "base/rnd.h"

#include <cmath>

// Half the width of a face, in pixels.
static constexpr f64 HALF = f64{SKYMAP_SIZE} / 2;

// A number from 0 to just under 1: the coarse draw is the second one.
static f64 dither(u32* state)
{
    *state = rnd_next(*state);
    const f64 fine = rnd_drawn(*state) * 0x1p-15;
    *state = rnd_next(*state);
    return (fine + rnd_drawn(*state)) * 3.0487060546875e-05;
}

// One channel under the glare. The sum is single, the dither is added in double.
static u8 channel(f64 base, f32 glare, f64 dithered)
{
    const f32 sum = (static_cast<f32>(base) + 255.0F * glare) / (glare + 1.0F);
    const i32 value = static_cast<i32>(static_cast<f64>(sum) + dithered);
    return static_cast<u8>(value < 255 ? value : 255); // the sum may round to above 255
}

static void samplesky(f64 x, f64 y, f64 z, u8 out[3], u32* state)
{
    const f64 red = dither(state);
    const f64 green = dither(state);
    const f64 blue = dither(state);
    const f64 off = (x - z) * (x - z) + (z - y) * (z - y) + (y - x) * (y - x);
    const f64 least = 1e-30; // on the glare's axis, where the quotient has no value: white
    const f32 glare = static_cast<f32>(0.5 / (off > least ? off : least));
    out[0] = channel(3.84 / (z + 0.02), glare, red);
    out[1] = channel(12.75 / (z + 0.05), glare, green);
    out[2] = channel(192 - 64 * z, glare, blue);
}

static void sampleground(f64 x, f64 y, f64 z, u8 out[3])
{
    const f64 square = std::floor(3 * x / -z) + std::floor(3 * y / -z);
    const u8 shade = std::fmod(square, 2.0) != 0 ? 255 : 0;
    out[0] = shade;
    out[1] = shade;
    out[2] = shade;
}

// Returns how many numbers it took from the stream at `state`.
static u32 sample(const f64 direction[3], u8 out[3], u32* state)
{
    if (direction[2] < 0) {
        sampleground(direction[0], direction[1], direction[2], out);
        return 0;
    }
    samplesky(direction[0], direction[1], direction[2], out, state);
    return 6;
}

void sky_sample(f64 x, f64 y, f64 z, u8 out[3])
{
    const f64 direction[3] = {x, y, z};
    u32 state = rnd_state();
    rnd_skip(sample(direction, out, &state));
}

// The direction that a face shows at (u, v), with n the length that makes (u, v, 1) a unit vector.
static void facedirection(i32 face, f64 u, f64 v, f64 n, f64 out[3])
{
    const f64 directions[SKYMAP_FACES][3] = {{n, -v, -u}, {-n, -v, u}, {u, n, v},
                                             {u, -n, -v}, {u, -v, n},  {-u, -v, -n}};
    out[0] = directions[face][0];
    out[1] = directions[face][1];
    out[2] = directions[face][2];
}

// Four samples of a pixel, no two of them in one row or column of its 4 by 4 grid.
static u32 samplepixel(i32 face, i32 i, i32 j, u8 out[3], u32* state)
{
    u32 draws = 0;
    i32 sums[3] = {0, 0, 0};
    for (i32 q = 3; q >= 0; q--) {
        const i32 w = 2 * (q % 2) - q / 2 + 1;
        const f64 u = (i - HALF + (q + 0.5) / 4) / HALF;
        const f64 v = (j - HALF + (w + 0.5) / 4) / HALF;
        const f64 n = 1 / std::sqrt(1 + u * u + v * v);
        f64 direction[3];
        facedirection(face, u * n, v * n, n, direction);
        u8 colour[3];
        draws += sample(direction, colour, state);
        sums[0] += colour[0];
        sums[1] += colour[1];
        sums[2] += colour[2];
    }
    out[0] = static_cast<u8>(sums[0] / 4);
    out[1] = static_cast<u8>(sums[1] / 4);
    out[2] = static_cast<u8>(sums[2] / 4);
    return draws;
}

void skymap_face(i32 face, u8* out)
{
    u32 state = rnd_state(); // in a local for speed; the stream is moved on at the end
    u32 draws = 0;
    for (i32 j = SKYMAP_SIZE - 1; j >= 0; j--) {
        for (i32 i = SKYMAP_SIZE - 1; i >= 0; i--) {
            draws += samplepixel(face, i, j, out + 3 * (j * SKYMAP_SIZE + i), &state);
        }
    }
    rnd_skip(draws);
}
