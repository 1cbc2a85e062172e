#include "base/str.h"

#include <cstdlib>
#include <gtest/gtest.h>

TEST(str_new, copies_the_text_and_returns_its_length)
{
    char text[] = "walker";
    char* copy;
    EXPECT_EQ(str_new(&copy, text), 6);
    text[0] = 't';
    EXPECT_STREQ(copy, "walker");
    std::free(copy);
}

TEST(str_new, overwrites_the_pointer_unread)
{
    char local[] = "not owned";
    char* copy = local;
    str_new(&copy, "x");
    EXPECT_STREQ(copy, "x");
    EXPECT_STREQ(local, "not owned");
    std::free(copy);
}

TEST(str_new, of_an_empty_text_is_an_empty_text)
{
    char* copy;
    EXPECT_EQ(str_new(&copy, ""), 0);
    EXPECT_STREQ(copy, "");
    std::free(copy);
}

TEST(str_set, on_a_null_pointer_just_allocates)
{
    char* holder = nullptr;
    EXPECT_EQ(str_set(&holder, "abc"), 3);
    EXPECT_STREQ(holder, "abc");
    std::free(holder);
}

TEST(str_set, replaces_what_the_pointer_holds) // the sanitizer sees the old text freed
{
    char* holder;
    str_new(&holder, "a text of some length");
    EXPECT_EQ(str_set(&holder, "new"), 3);
    EXPECT_STREQ(holder, "new");
    std::free(holder);
}

TEST(str_same_folded, folds_the_letters_from_A_to_Z)
{
    EXPECT_TRUE(str_same_folded("ABCXYZ", "abcxyz"));
    EXPECT_TRUE(str_same_folded("", ""));
    EXPECT_FALSE(str_same_folded("abc", "abd"));
}

TEST(str_same_folded, folds_nothing_else)
{
    EXPECT_FALSE(str_same_folded("@[", "`{")); // the neighbours of A and Z
    EXPECT_FALSE(str_same_folded("\xC4", "\xE4"));
    EXPECT_FALSE(str_same_folded("\xC3\x84", "\xC3\xA4"));
}

TEST(str_same_folded, tells_a_prefix_from_the_whole)
{
    EXPECT_FALSE(str_same_folded("abc", "ab"));
    EXPECT_FALSE(str_same_folded("ab", "abc"));
}

TEST(str_begins_folded, takes_the_whole_prefix)
{
    EXPECT_TRUE(str_begins_folded("Stereo mode (0=none)", "stereo MODE"));
    EXPECT_TRUE(str_begins_folded("abc", ""));
    EXPECT_TRUE(str_begins_folded("abc", "abc"));
    EXPECT_FALSE(str_begins_folded("abc", "abcd"));
    EXPECT_FALSE(str_begins_folded("", "a"));
}
