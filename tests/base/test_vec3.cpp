#include "base/rnd.h"
#include "base/vec3.h"

#include <array>
#include <gtest/gtest.h>
#include <numbers>
#include <random>

using Vector = std::array<f64, 3>;

static Vector unit(const Vector& v)
{
    Vector out;
    vec3_unit(out.data(), v.data());
    return out;
}

static Vector rotated(const Vector& v, const Vector& r)
{
    Vector out;
    vec3_rotate(out.data(), v.data(), r.data());
    return out;
}

static f64 dot(const Vector& a, const Vector& b)
{
    return vec3_dot(a.data(), b.data());
}

static f64 length(const Vector& v)
{
    return vec3_length(v.data());
}

static void expect_near(const Vector& a, const Vector& b)
{
    for (size_t i = 0; i < 3; i++) {
        EXPECT_NEAR(a[i], b[i], 1e-14) << "component " << i;
    }
}

static std::vector<Vector> some_vectors(i32 n)
{
    std::mt19937 source(1);
    std::uniform_real_distribution<f64> component(-5.0, 5.0);
    std::vector<Vector> result;
    for (i32 i = 0; i < n; i++) {
        const f64 x = component(source);
        const f64 y = component(source);
        const f64 z = component(source);
        result.push_back({x, y, z});
    }
    return result;
}

struct Frame {
    Vector a, b;
};

static Frame frame_of(const Vector& v)
{
    Frame frame;
    vec3_frame(v.data(), frame.a.data(), frame.b.data());
    return frame;
}

TEST(vec3_length, is_euclidean)
{
    EXPECT_EQ(length({2.0, 3.0, 6.0}), 7.0);
    EXPECT_EQ(length({0.0, 0.0, 0.0}), 0.0);
}

TEST(vec3_unit, of_the_zero_vector_is_the_zero_vector)
{
    EXPECT_EQ(unit({0.0, 0.0, 0.0}), (Vector{0.0, 0.0, 0.0}));
}

TEST(vec3_unit, of_a_vector_whose_square_is_nothing_is_the_zero_vector)
{
    EXPECT_EQ(unit({1e-200, 1e-200, 0.0}), (Vector{0.0, 0.0, 0.0}));
}

TEST(vec3_unit, has_the_direction_of_the_vector_and_length_1)
{
    expect_near(unit({2.0, -3.0, 6.0}), {2.0 / 7.0, -3.0 / 7.0, 6.0 / 7.0});
    for (const Vector& v : some_vectors(100)) {
        EXPECT_NEAR(length(unit(v)), 1.0, 1e-15);
    }
}

TEST(vec3_unit, may_write_over_its_argument)
{
    f64 v[3] = {0.0, -4.0, 0.0};
    vec3_unit(v, v);
    EXPECT_EQ(v[1], -1.0);
}

TEST(vec3_sub, may_write_over_either_argument)
{
    Vector a = {5.0, 7.0, 9.0};
    Vector b = {1.0, 2.0, 4.0};
    vec3_sub(a.data(), a.data(), b.data());
    EXPECT_EQ(a, (Vector{4.0, 5.0, 5.0}));
    vec3_sub(b.data(), a.data(), b.data());
    EXPECT_EQ(b, (Vector{3.0, 3.0, 1.0}));
}

TEST(vec3_addscaled, may_write_over_either_argument)
{
    Vector a = {5.0, 7.0, 9.0};
    Vector b = {1.0, 2.0, 4.0};
    vec3_addscaled(a.data(), a.data(), b.data(), 0.5);
    EXPECT_EQ(a, (Vector{5.5, 8.0, 11.0}));
    vec3_addscaled(b.data(), a.data(), b.data(), -2.0);
    EXPECT_EQ(b, (Vector{3.5, 4.0, 3.0}));
}

TEST(vec3_frame, of_the_z_axis)
{
    const Frame frame = frame_of({0.0, 0.0, 1.0});
    EXPECT_EQ(frame.a, (Vector{0.0, 1.0, 0.0}));
    EXPECT_EQ(frame.b, (Vector{-1.0, 0.0, 0.0}));
}

TEST(vec3_frame, of_the_x_axis)
{
    const Frame frame = frame_of({2.0, 0.0, 0.0});
    EXPECT_EQ(frame.a, (Vector{0.0, 0.0, 1.0}));
    EXPECT_EQ(frame.b, (Vector{0.0, -1.0, 0.0}));
}

TEST(vec3_frame, of_the_zero_vector)
{
    const Frame frame = frame_of({0.0, 0.0, 0.0});
    EXPECT_EQ(frame.a, (Vector{0.0, 1.0, 0.0}));
    EXPECT_EQ(frame.b, (Vector{0.0, 0.0, 1.0}));
}

TEST(vec3_frame, crosses_with_the_x_axis_unless_x_is_the_greatest)
{
    EXPECT_EQ(frame_of({3.0, 3.0, 0.0}).a, (Vector{0.0, 0.0, -1.0}));
    EXPECT_EQ(frame_of({3.0, 2.0, 0.0}).a, (Vector{0.0, 0.0, 1.0}));
    EXPECT_EQ(frame_of({-3.0, 0.0, 2.0}).a[1], 0.0);
    EXPECT_EQ(frame_of({3.0, 0.0, -3.0}).a, (Vector{0.0, -1.0, 0.0}));
}

TEST(vec3_frame, is_square_to_its_vector_and_of_unit_vectors)
{
    for (const Vector& v : some_vectors(500)) {
        const Frame frame = frame_of(v);
        EXPECT_NEAR(dot(v, frame.a), 0.0, 1e-14);
        EXPECT_NEAR(dot(v, frame.b), 0.0, 1e-14);
        EXPECT_NEAR(dot(frame.a, frame.b), 0.0, 1e-14);
        EXPECT_NEAR(length(frame.a), 1.0, 1e-14);
        EXPECT_NEAR(length(frame.b), 1.0, 1e-14);
    }
}

TEST(vec3_rotate, by_a_quarter_about_z_takes_x_to_y)
{
    expect_near(rotated({1.0, 0.0, 0.0}, {0.0, 0.0, std::numbers::pi / 2}), {0.0, 1.0, 0.0});
}

TEST(vec3_rotate, turns_counterclockwise_about_each_axis)
{
    const f64 quarter = std::numbers::pi / 2;
    expect_near(rotated({0.0, 1.0, 0.0}, {quarter, 0.0, 0.0}), {0.0, 0.0, 1.0});
    expect_near(rotated({0.0, 0.0, 1.0}, {0.0, quarter, 0.0}), {1.0, 0.0, 0.0});
}

TEST(vec3_rotate, by_the_zero_vector_gives_the_vector_exactly)
{
    for (const Vector& v : some_vectors(20)) {
        EXPECT_EQ(rotated(v, {0.0, 0.0, 0.0}), v);
    }
}

TEST(vec3_rotate, a_third_about_the_diagonal_exchanges_the_axes)
{
    const f64 part = std::numbers::pi * 2 / 3 / std::numbers::sqrt3;
    expect_near(rotated({1.0, 2.0, 3.0}, {part, part, part}), {3.0, 1.0, 2.0});
}

TEST(vec3_rotate, keeps_the_axis_and_the_length)
{
    for (const Vector& r : some_vectors(200)) {
        expect_near(rotated(r, r), r);
        EXPECT_NEAR(length(rotated({1.0, -2.0, 2.0}, r)), 3.0, 1e-14);
    }
}

TEST(vec3_rotate, may_write_over_its_argument)
{
    Vector v = {1.0, 0.0, 0.0};
    const Vector r = {0.0, 0.0, std::numbers::pi};
    vec3_rotate(v.data(), v.data(), r.data());
    expect_near(v, {-1.0, 0.0, 0.0});
}

TEST(vec3_rotation, of_the_zero_vector_is_the_identity)
{
    const f64 r[3] = {0.0, 0.0, 0.0};
    std::array<f64, 9> matrix;
    vec3_rotation(matrix.data(), r);
    EXPECT_EQ(matrix, (std::array<f64, 9>{1, 0, 0, 0, 1, 0, 0, 0, 1}));
}

TEST(vec3_transform, gives_what_vec3_rotate_gives)
{
    const Vector r = {0.3, -1.1, 0.4};
    std::array<f64, 9> matrix;
    vec3_rotation(matrix.data(), r.data());
    for (const Vector& v : some_vectors(50)) {
        Vector out = v;
        vec3_transform(out.data(), matrix.data(), out.data());
        EXPECT_EQ(out, rotated(v, r));
    }
}

TEST(vec3_random_sphere, has_the_radius_as_its_length)
{
    rnd_seed(5);
    for (i32 i = 0; i < 1000; i++) {
        Vector v;
        vec3_random_sphere(v.data(), 1.0);
        EXPECT_NEAR(length(v), 1.0, 1e-15);
        vec3_random_sphere(v.data(), 40.0);
        EXPECT_NEAR(length(v), 40.0, 1e-13);
    }
}

// The vector of one attempt, formed as the draws come.
static Vector attempt()
{
    Vector v;
    for (f64& component : v) {
        const i32 low = rnd_draw();
        const i32 high = rnd_draw();
        component = (low / 32768.0 + high) / 16384.0 - 1.0;
    }
    return v;
}

TEST(vec3_random_sphere, takes_six_draws_an_attempt_until_one_lies_in_the_ball)
{
    i32 rejected = 0;
    for (u32 seed = 0; seed < 200; seed++) {
        rnd_seed(seed);
        Vector expected = attempt();
        while (dot(expected, expected) > 1.0) {
            expected = attempt();
            rejected++;
        }
        const u32 draws = rnd_count();
        rnd_seed(seed);
        Vector v;
        vec3_random_sphere(v.data(), length(expected));
        EXPECT_EQ(rnd_count(), draws);
        expect_near(v, expected);
    }
    EXPECT_GT(rejected, 0);
}

TEST(vec3_random_sphere, has_no_preferred_direction)
{
    rnd_seed(99);
    const i32 n = 20000;
    Vector sum = {0.0, 0.0, 0.0};
    Vector squares = {0.0, 0.0, 0.0};
    for (i32 i = 0; i < n; i++) {
        Vector v;
        vec3_random_sphere(v.data(), 1.0);
        for (size_t k = 0; k < 3; k++) {
            sum[k] += v[k] / n;
            squares[k] += v[k] * v[k] / n;
        }
    }
    for (size_t k = 0; k < 3; k++) { // six standard deviations
        EXPECT_NEAR(sum[k], 0.0, 0.025);
        EXPECT_NEAR(squares[k], 1.0 / 3.0, 0.013);
    }
}
