#include "base/numbers.h"

#include <gtest/gtest.h>

TEST(number_u32, takes_decimal_digits_up_to_the_largest)
{
    u32 value = 7;
    EXPECT_TRUE(number_u32("0", &value));
    EXPECT_EQ(value, 0U);
    EXPECT_TRUE(number_u32("4294967295", &value));
    EXPECT_EQ(value, 4294967295U);
    EXPECT_TRUE(number_u32("0000000000000000000012", &value));
    EXPECT_EQ(value, 12U);
}

TEST(number_u32, refuses_anything_else_and_writes_nothing)
{
    u32 value = 7;
    for (const char* const text : {"", "-1", "+1", "4294967296", "99999999999999999999999", "0x10",
                                   "1 ", " 1", "1.0", "one"}) {
        EXPECT_FALSE(number_u32(text, &value)) << text;
    }
    EXPECT_EQ(value, 7U);
}

TEST(number_i32, takes_a_sign_and_keeps_to_its_limits)
{
    i32 value = 7;
    EXPECT_TRUE(number_i32("-5", -5, 5, &value));
    EXPECT_EQ(value, -5);
    EXPECT_TRUE(number_i32("+5", -5, 5, &value));
    EXPECT_EQ(value, 5);
    EXPECT_TRUE(number_i32("-2147483648", INT32_MIN, INT32_MAX, &value));
    EXPECT_EQ(value, INT32_MIN);
    for (const char* const text : {"6", "-6", "", "-", "--1", "+-1", "2147483648", "1e1"}) {
        EXPECT_FALSE(number_i32(text, -5, 5, &value)) << text;
    }
    EXPECT_EQ(value, INT32_MIN);
}

TEST(number_f64, takes_finite_reals_only)
{
    f64 value = 7;
    EXPECT_TRUE(number_f64("-2.5e3", &value));
    EXPECT_EQ(value, -2500.0);
    for (const char* const text : {"", "inf", "nan", "1e999", "1.5s", " 1", "1 "}) {
        EXPECT_FALSE(number_f64(text, &value)) << text;
    }
    EXPECT_EQ(value, -2500.0);
}

TEST(number_size, takes_two_sizes_with_an_x_between)
{
    i32 width = 0;
    i32 height = 0;
    EXPECT_TRUE(number_size("640x480", &width, &height));
    EXPECT_EQ(width, 640);
    EXPECT_EQ(height, 480);
    EXPECT_TRUE(number_size("1X16384", &width, &height));
    EXPECT_EQ(height, 16384);
}

TEST(number_size, refuses_anything_else_and_writes_nothing)
{
    i32 width = 3;
    i32 height = 4;
    for (const char* const text : {"", "x", "640", "640x", "x480", "0x480", "640x0", "640x16385",
                                   "640x480x2", "-640x480", "640 x 480", "123456789x5"}) {
        EXPECT_FALSE(number_size(text, &width, &height)) << text;
    }
    EXPECT_EQ(width, 3);
    EXPECT_EQ(height, 4);
}
