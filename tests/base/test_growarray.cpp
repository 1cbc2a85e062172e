#include "base/growarray.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <numeric>
#include <string>
#include <vector>

struct Numbers {
    GrowArray array;

    Numbers()
    {
        GrowArray_init(&array, sizeof(i32));
    }
    explicit Numbers(const std::vector<i32>& values) : Numbers()
    {
        for (const i32 value : values) {
            push(value);
        }
    }
    ~Numbers()
    {
        if (array.buf != nullptr) {
            GrowArray_free(&array);
        }
    }
    Numbers(const Numbers&) = delete;
    Numbers& operator=(const Numbers&) = delete;

    u32 push(i32 value)
    {
        return GrowArray_push(&array, &value);
    }
    std::vector<i32> values() const
    {
        const i32* const first = items<i32>(&array);
        return std::vector<i32>(first, first + array.count);
    }
};

static std::vector<i32> counting(i32 n)
{
    std::vector<i32> values(static_cast<size_t>(n));
    std::iota(values.begin(), values.end(), 0);
    return values;
}

TEST(GrowArray_init, makes_an_empty_array_of_the_default_capacity)
{
    const Numbers numbers;
    EXPECT_EQ(array_defaultcap, 1);
    EXPECT_NE(numbers.array.buf, nullptr);
    EXPECT_EQ(numbers.array.backptr, nullptr);
    EXPECT_EQ(numbers.array.count, 0U);
    EXPECT_EQ(numbers.array.capacity, 1U);
    EXPECT_EQ(numbers.array.mincapacity, 1U);
    EXPECT_EQ(numbers.array.elemsize, sizeof(i32));
    EXPECT_EQ(numbers.array.growth, 60.0F);
}

TEST(GrowArray_push, returns_the_index_of_the_new_element)
{
    Numbers numbers;
    for (u32 i = 0; i < 100; i++) {
        EXPECT_EQ(numbers.push(7), i);
    }
}

TEST(GrowArray_push, keeps_the_order_of_the_elements)
{
    const Numbers numbers(counting(1000));
    EXPECT_EQ(numbers.values(), counting(1000));
}

TEST(GrowArray_push, grows_by_the_fill_of_80_percent)
{
    Numbers numbers;
    std::vector<u32> capacities;
    for (i32 i = 0; i < 17; i++) {
        numbers.push(i);
        if (capacities.empty() || capacities.back() != numbers.array.capacity) {
            capacities.push_back(numbers.array.capacity);
        }
    }
    EXPECT_EQ(capacities, (std::vector<u32>{1, 2, 3, 5, 7, 10, 13, 17}));
}

TEST(GrowArray_push, has_the_capacities_1_2_3_5_after_the_first_four)
{
    Numbers numbers;
    for (const u32 capacity : {1U, 2U, 3U, 5U}) {
        numbers.push(0);
        EXPECT_EQ(numbers.array.capacity, capacity);
    }
}

TEST(GrowArray_push, copies_whole_elements_of_an_odd_size)
{
    GrowArray array;
    GrowArray_init(&array, 7);
    for (i32 i = 0; i < 20; i++) {
        char text[8] = "abcdef";
        text[0] = static_cast<char>('A' + i);
        GrowArray_push(&array, text);
    }
    EXPECT_STREQ(items<char>(&array) + 19 * 7, "Tbcdef");
    EXPECT_STREQ(items<char>(&array) + 18 * 7, "Sbcdef");
    GrowArray_free(&array);
}

TEST(GrowArray_append, adds_the_elements_at_the_end)
{
    Numbers numbers({8, 9});
    const std::vector<i32> more = {1, 2, 3};
    GrowArray_append(&numbers.array, more.data(), 3);
    EXPECT_EQ(numbers.values(), (std::vector<i32>{8, 9, 1, 2, 3}));
}

TEST(GrowArray_append, takes_the_capacity_of_the_new_count_by_80_percent)
{
    Numbers numbers({8, 9});
    const std::vector<i32> more = counting(9);
    GrowArray_append(&numbers.array, more.data(), 9);
    EXPECT_EQ(numbers.array.capacity, 13U); // 11 / 0.8 = 13.75
}

TEST(GrowArray_append, keeps_the_buffer_if_all_fits)
{
    Numbers numbers({1, 2, 3, 4}); // capacity 5
    const u8* const before = numbers.array.buf;
    const i32 more = 5;
    GrowArray_append(&numbers.array, &more, 1);
    EXPECT_EQ(numbers.array.buf, before);
    EXPECT_EQ(numbers.array.capacity, 5U);
}

TEST(GrowArray_append, rounds_the_count_to_single_precision)
{
    GrowArray array;
    GrowArray_init(&array, 1);
    const std::vector<u8> bytes((1U << 24) + 1U);
    GrowArray_append(&array, bytes.data(), static_cast<u32>(bytes.size()));
    EXPECT_EQ(array.capacity, 20971520U); // 2^24 / 0.8; the exact count would give one more
    GrowArray_free(&array);
}

TEST(GrowArray_append, of_nothing_changes_nothing)
{
    Numbers numbers({4});
    GrowArray_append(&numbers.array, nullptr, 0);
    EXPECT_EQ(numbers.values(), std::vector<i32>{4});
    EXPECT_EQ(numbers.array.capacity, 1U);
}

TEST(GrowArray_reserve, makes_exactly_the_capacity_that_is_asked_for)
{
    Numbers numbers({4, 5});
    GrowArray_reserve(&numbers.array, 77);
    EXPECT_EQ(numbers.array.capacity, 77U);
    EXPECT_EQ(numbers.values(), (std::vector<i32>{4, 5}));
}

TEST(GrowArray_reserve, never_lowers_the_capacity)
{
    Numbers numbers(counting(8)); // capacity 10
    GrowArray_reserve(&numbers.array, 8);
    EXPECT_EQ(numbers.array.capacity, 10U);
}

TEST(GrowArray_remove, moves_the_last_element_into_the_hole)
{
    Numbers numbers({10, 11, 12, 13});
    GrowArray_remove(&numbers.array, 1);
    EXPECT_EQ(numbers.values(), (std::vector<i32>{10, 13, 12}));
}

TEST(GrowArray_remove, of_the_last_element_copies_nothing)
{
    Numbers numbers(counting(10)); // capacity 10
    const u8* const before = numbers.array.buf;
    GrowArray_remove(&numbers.array, 9);
    EXPECT_EQ(numbers.array.buf, before);
    EXPECT_EQ(numbers.values(), counting(9));
}

TEST(GrowArray_remove, of_an_index_at_the_count_or_above_does_nothing)
{
    Numbers numbers({1, 2, 3});
    GrowArray_reserve(&numbers.array, 50); // so low a fill that any removal would shrink it
    for (const u32 index : {3U, 4U, 0xFFFFFFFFU}) {
        GrowArray_remove(&numbers.array, index);
        EXPECT_EQ(numbers.array.count, 3U);
        EXPECT_EQ(numbers.array.capacity, 50U);
    }
}

TEST(GrowArray_remove, from_an_empty_array_does_nothing)
{
    Numbers numbers;
    GrowArray_remove(&numbers.array, 0);
    EXPECT_EQ(numbers.array.count, 0U);
    EXPECT_EQ(numbers.array.capacity, 1U);
}

TEST(GrowArray_remove, shrinks_below_60_percent_to_80_percent)
{
    Numbers numbers(counting(8)); // capacity 10
    GrowArray_remove(&numbers.array, 0);
    GrowArray_remove(&numbers.array, 0);
    EXPECT_EQ(numbers.array.capacity, 10U); // 6 of 10 is not below
    GrowArray_remove(&numbers.array, 0);
    EXPECT_EQ(numbers.array.count, 5U);
    EXPECT_EQ(numbers.array.capacity, 6U);
}

TEST(GrowArray_remove, does_not_shrink_at_the_minimum_capacity)
{
    Numbers numbers(counting(8)); // capacity 10
    numbers.array.mincapacity = 10;
    for (i32 i = 0; i < 8; i++) {
        GrowArray_remove(&numbers.array, 0);
        EXPECT_EQ(numbers.array.capacity, 10U);
    }
}

TEST(GrowArray_remove, shrinks_to_the_minimum_capacity_at_least)
{
    Numbers numbers(counting(8)); // capacity 10
    numbers.array.mincapacity = 8;
    for (i32 i = 0; i < 3; i++) {
        GrowArray_remove(&numbers.array, 0);
    }
    EXPECT_EQ(numbers.array.capacity, 8U); // 5 / 0.8 would be 6
}

TEST(GrowArray_remove, of_everything_leaves_a_buffer)
{
    Numbers numbers(counting(100));
    for (i32 i = 0; i < 100; i++) {
        GrowArray_remove(&numbers.array, 0);
    }
    EXPECT_EQ(numbers.array.capacity, 1U);
    EXPECT_NE(numbers.array.buf, nullptr);
}

TEST(GrowArray_backptr, equals_the_buffer_after_every_growth_and_shrink)
{
    Numbers numbers;
    void* follower = numbers.array.buf;
    numbers.array.backptr = &follower;
    for (i32 i = 0; i < 200; i++) {
        numbers.push(i);
        ASSERT_EQ(follower, numbers.array.buf);
    }
    const std::vector<i32> more = counting(300);
    GrowArray_append(&numbers.array, more.data(), 300);
    ASSERT_EQ(follower, numbers.array.buf);
    GrowArray_reserve(&numbers.array, 1000);
    ASSERT_EQ(follower, numbers.array.buf);
    while (numbers.array.count > 0) {
        GrowArray_remove(&numbers.array, 0);
        ASSERT_EQ(follower, numbers.array.buf);
    }
}

TEST(GrowArray_backptr, is_null_after_the_array_is_freed)
{
    Numbers numbers({1, 2});
    void* follower = numbers.array.buf;
    numbers.array.backptr = &follower;
    GrowArray_free(&numbers.array);
    EXPECT_EQ(follower, nullptr);
}

TEST(GrowArray_sortunique, keeps_each_value_once)
{
    Numbers numbers({3, 1, 3, 2});
    GrowArray_sortunique(&numbers.array);
    std::vector<i32> left = numbers.values();
    std::sort(left.begin(), left.end());
    EXPECT_EQ(left, (std::vector<i32>{1, 2, 3}));
}

TEST(GrowArray_sortunique, orders_bytewise_and_fills_holes_from_the_end)
{
    GrowArray array;
    GrowArray_init(&array, 1);
    GrowArray_append(&array, "bdacaadbe", 9);
    GrowArray_sortunique(&array); // aaabbcdde: the holes take e, e, d, c
    EXPECT_EQ(std::string(items<char>(&array), array.count), "acdbe");
    GrowArray_free(&array);
}

TEST(GrowArray_sortunique, of_one_value_many_times_leaves_it_once)
{
    Numbers numbers(std::vector<i32>(500, 42));
    GrowArray_sortunique(&numbers.array);
    EXPECT_EQ(numbers.values(), std::vector<i32>{42});
    EXPECT_EQ(numbers.array.capacity, 1U);
}

TEST(GrowArray_sortunique, of_an_empty_array_does_nothing)
{
    Numbers numbers;
    GrowArray_sortunique(&numbers.array);
    EXPECT_EQ(numbers.array.count, 0U);
}

TEST(GrowArray_sortunique, compares_all_bytes_of_an_element)
{
    GrowArray array;
    GrowArray_init(&array, 8);
    GrowArray_append(&array, "abcdefg1abcdefg2abcdefg1", 3);
    GrowArray_sortunique(&array);
    EXPECT_EQ(std::string(items<char>(&array), array.count * 8), "abcdefg1abcdefg2");
    GrowArray_free(&array);
}

TEST(GrowArray_clear, empties_and_goes_back_to_the_minimum_capacity)
{
    Numbers numbers(counting(100));
    void* follower = nullptr;
    numbers.array.backptr = &follower;
    GrowArray_clear(&numbers.array);
    EXPECT_EQ(numbers.array.count, 0U);
    EXPECT_EQ(numbers.array.capacity, 1U);
    EXPECT_EQ(follower, numbers.array.buf);
}
