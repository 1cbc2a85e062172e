// The periodic noise of the clouds.
#include "base/rnd.h"
#include "scene/noise.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

static std::vector<u8> noise(i32 w, i32 h, f32 scale)
{
    u8* const bytes = noise_make(w, h, scale);
    std::vector<u8> out(bytes, bytes + w * h);
    std::free(bytes);
    return out;
}

static i32 rand16()
{
    const f64 r1 = rnd_draw();
    const f64 r2 = rnd_draw();
    return std::min(static_cast<i32>(std::floor(2 * (r1 / 32768 + r2))), 0xFFFF);
}

// The same noise as a plain sum of sines, in double precision.
static std::vector<f64> plain_noise(i32 w, i32 h, f64 scale)
{
    std::vector<f64> out(static_cast<size_t>(w) * h, 128);
    for (i32 n = 0; n < 100; n++) {
        i32 kx;
        i32 ky;
        i32 amp;
        do {
            f64 square;
            do {
                kx = rand16() / (0x40000 / w) * (0x40000 / w);
                if (rnd_draw() % 2 == 1) {
                    kx = -kx;
                }
                ky = rand16() / (0x40000 / h) * (0x40000 / h);
                square = 1.0 * kx * kx + 1.0 * ky * ky;
            } while (square > 4294967296.0);
            const f64 d = 1 - square / 4294967296.0;
            amp = static_cast<i32>(d * d * 0.1 * (rand16() - 0x8000));
        } while (amp >= -499 && amp <= 499);
        const f64 phase = rand16() / 65536.0;
        for (i32 y = 0; y < h; y++) {
            for (i32 x = 0; x < w; x++) {
                const f64 turns = (1.0 * kx * x + 1.0 * ky * y) / 262144.0 + phase;
                out[static_cast<size_t>(y * w + x)] +=
                    scale * amp * 0.5 * std::sin(2 * 3.14159265358979 * turns);
            }
        }
    }
    return out;
}

TEST(noise_make, is_the_sum_of_a_hundred_waves)
{
    rnd_seed(4);
    const std::vector<u8> got = noise(128, 128, 0.015F);
    const u32 draws = rnd_count();
    rnd_seed(4);
    const std::vector<f64> expected = plain_noise(128, 128, 0.015);
    EXPECT_EQ(rnd_count(), draws);
    for (size_t i = 0; i < got.size(); i++) {
        const f64 held = std::clamp(expected[i], 0.0, 255.0);
        // each wave is cut down to a whole number: half a step on average, times the scale
        ASSERT_NEAR(got[i], held, 3) << i;
    }
}

TEST(noise_make, has_no_seam)
{
    rnd_seed(9);
    const i32 n = 128;
    const std::vector<u8> image = noise(n, n, 0.015F);
    const auto at = [&](i32 x, i32 y) {
        return static_cast<i32>(image[static_cast<size_t>((y + n) % n * n + (x + n) % n)]);
    };
    f64 inside = 0;
    f64 across = 0;
    for (i32 i = 0; i < n; i++) {
        across += std::abs(at(n - 1, i) - at(0, i)) + std::abs(at(i, n - 1) - at(i, 0));
        inside += std::abs(at(63, i) - at(64, i)) + std::abs(at(i, 63) - at(i, 64));
    }
    EXPECT_GT(inside, 0);
    EXPECT_LT(across, 1.3 * inside);
    EXPECT_GT(across, 0.7 * inside);
}

TEST(noise_make, is_the_sum_of_its_waves_at_another_size)
{
    rnd_seed(6);
    const std::vector<f64> once = plain_noise(64, 64, 0.015);
    rnd_seed(6);
    const std::vector<u8> image = noise(64, 64, 0.015F);
    for (i32 i = 0; i < 64 * 64; i++) {
        ASSERT_NEAR(image[static_cast<size_t>(i)],
                    std::clamp(once[static_cast<size_t>(i)], 0.0, 255.0), 3);
    }
}

TEST(noise_make, spreads_about_the_middle_within_a_byte)
{
    for (u32 seed = 1; seed <= 5; seed++) {
        rnd_seed(seed);
        const std::vector<u8> image = noise(128, 128, 0.015F);
        f64 sum = 0;
        for (const u8 b : image) {
            sum += b;
        }
        EXPECT_NEAR(sum / (128 * 128), 128, 12);
        EXPECT_LT(*std::min_element(image.begin(), image.end()), 60);
        EXPECT_GT(*std::max_element(image.begin(), image.end()), 196);
    }
}

TEST(noise_make, is_held_to_a_byte_at_a_large_scale)
{
    rnd_seed(2);
    const std::vector<u8> image = noise(64, 64, 100);
    const auto extremes =
        std::count_if(image.begin(), image.end(), [](u8 b) { return b == 0 || b == 255; });
    EXPECT_GT(extremes, 4000);
}

TEST(noise_make, is_plain_grey_at_scale_zero)
{
    rnd_seed(2);
    for (const u8 b : noise(16, 16, 0)) {
        EXPECT_EQ(b, 128);
    }
}

TEST(noise_make, differs_from_run_to_run_of_the_stream)
{
    rnd_seed(2);
    const std::vector<u8> first = noise(32, 32, 0.015F);
    EXPECT_NE(first, noise(32, 32, 0.015F));
    rnd_seed(2);
    EXPECT_EQ(first, noise(32, 32, 0.015F));
}

TEST(noise_make, takes_sizes_that_differ_or_are_tiny)
{
    rnd_seed(8);
    EXPECT_EQ(noise(64, 32, 0.015F).size(), 2048U);
    EXPECT_EQ(noise(1, 1, 0.015F).size(), 1U);
    EXPECT_EQ(noise(2, 1, 0.015F).size(), 2U);
}
