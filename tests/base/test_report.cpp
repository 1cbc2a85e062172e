#include "base/clock.h"
#include "base/report.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

struct Shown {
    i32 type;
    std::string file;
    i32 line;
    std::string message; // "(null)" for none
    i32 owned;
    u32 thread;
    f64 time;
    f64 done, total;
    i32 answer;
    const char* text; // where the message stands
};

static std::vector<Shown> shown; // written by keep
static i32 next_answer;          // what keep answers

static void keep(ReportRec* rec)
{
    shown.push_back({rec->type, rec->file != nullptr ? rec->file : "", rec->line,
                     rec->message != nullptr ? rec->message : "(null)", rec->owned, rec->thread,
                     rec->time, rec->done, rec->total, rec->answer, rec->message});
    rec->answer = next_answer;
}

static f64 fixed_time;

static f64 fixed_clock()
{
    return fixed_time;
}

// A handler that keeps what it is shown, and a clock that stands.
class Report_inner : public testing::Test
{
  protected:
    void SetUp() override
    {
        shown.clear();
        next_answer = 0;
        fixed_time = 1000.0;
        handler_before = report_handler;
        clock_before = timer_now;
        report_handler = keep;
        timer_now = fixed_clock;
    }
    void TearDown() override
    {
        report_handler = handler_before;
        timer_now = clock_before;
    }

  private:
    void (*handler_before)(ReportRec*);
    f64 (*clock_before)();
};

TEST_F(Report_inner, hands_the_whole_record_to_the_handler)
{
    fixed_time = 123.25;
    report_inner("walls", 17, REPORT_TEXT, "a message", 0);
    ASSERT_EQ(shown.size(), 1U);
    EXPECT_EQ(shown[0].type, REPORT_TEXT);
    EXPECT_EQ(shown[0].file, "walls");
    EXPECT_EQ(shown[0].line, 17);
    EXPECT_EQ(shown[0].message, "a message");
    EXPECT_EQ(shown[0].owned, 0);
    EXPECT_EQ(shown[0].time, 123.25);
    EXPECT_EQ(shown[0].done, 0.0);
    EXPECT_EQ(shown[0].total, 0.0);
    EXPECT_EQ(shown[0].answer, 0);
}

TEST_F(Report_inner, lends_a_literal)
{
    const char* const literal = "lent for good";
    report_inner("walls", 1, REPORT_TEXT, literal, 0);
    report_inner("walls", 2, REPORT_TEXT, "the next", 0); // would free it if it were owned
    EXPECT_EQ(shown.at(0).text, literal);
}

TEST_F(Report_inner, copies_a_buffer_if_asked)
{
    char buffer[] = "in a buffer";
    report_inner("walls", 1, REPORT_BEGIN, buffer, 1);
    buffer[0] = 'X';
    report_inner("walls", 2, REPORT_END, nullptr, 0);
    ASSERT_EQ(shown.size(), 2U);
    EXPECT_NE(shown[0].text, buffer);
    EXPECT_EQ(shown[0].owned, 1);
    EXPECT_EQ(shown[1].message, "in a buffer");
}

TEST_F(Report_inner, copies_a_text_that_the_current_level_owns)
{
    report_inner("walls", 1, REPORT_TEXT, "an owned text", 1);
    report_inner("walls", 2, REPORT_TEXT, shown.at(0).text, 1);
    EXPECT_EQ(shown.at(1).message, "an owned text");
}

TEST_F(Report_inner, tells_the_threads_apart)
{
    report_inner("walls", 1, REPORT_TEXT, "one", 0);
    report_inner("walls", 2, REPORT_TEXT, "the same", 0);
    std::thread([] { report_inner("walls", 3, REPORT_TEXT, "another", 0); }).join();
    EXPECT_EQ(shown.at(0).thread, shown.at(1).thread);
    EXPECT_NE(shown.at(0).thread, shown.at(2).thread);
}

TEST_F(Report_inner, shows_the_message_of_a_context_at_its_begin_and_its_end)
{
    report_inner("walls", 4, REPORT_BEGIN, "building walls", 0);
    report_inner("walls", 5, REPORT_END, nullptr, 0);
    ASSERT_EQ(shown.size(), 2U);
    EXPECT_EQ(shown[0].type, REPORT_BEGIN);
    EXPECT_EQ(shown[0].message, "building walls");
    EXPECT_EQ(shown[1].type, REPORT_END);
    EXPECT_EQ(shown[1].message, "building walls");
    EXPECT_EQ(shown[1].line, 4);
}

TEST_F(Report_inner, nests_contexts)
{
    report_inner("walls", 1, REPORT_BEGIN, "outer", 1);
    report_inner("walls", 2, REPORT_BEGIN, "inner", 1);
    report_inner("walls", 3, REPORT_TEXT, "within", 1);
    report_inner("walls", 4, REPORT_END, nullptr, 0);
    report_inner("walls", 5, REPORT_END, nullptr, 0);
    ASSERT_EQ(shown.size(), 5U);
    EXPECT_EQ(shown[3].message, "inner");
    EXPECT_EQ(shown[4].message, "outer");
}

TEST_F(Report_inner, a_text_inside_a_context_leaves_the_context_as_it_is)
{
    report_inner("walls", 1, REPORT_BEGIN, "outer", 0);
    report_inner("walls", 2, REPORT_TEXT, "first", 0);
    report_inner("walls", 3, REPORT_TEXT, "second", 0);
    report_inner("walls", 4, REPORT_END, nullptr, 0);
    EXPECT_EQ(shown.back().message, "outer");
}

TEST_F(Report_inner, a_warning_leaves_the_record_of_the_level_below_it)
{
    report_inner("walls", 1, REPORT_BEGIN, "outer", 0);
    report_inner("walls", 2, REPORT_TEXT, "level text", 0);
    report_inner("walls", 3, REPORT_WARNING, "careful", 1);
    report_inner("walls", 4, REPORT_END, nullptr, 0);
    ASSERT_EQ(shown.size(), 4U);
    EXPECT_EQ(shown[2].type, REPORT_WARNING);
    EXPECT_EQ(shown[2].message, "careful");
    EXPECT_EQ(shown[3].message, "outer");
}

// Keeps the record of a warning and then that of the level it stands on.
static void peek(ReportRec* rec)
{
    keep(rec);
    if (rec->type == REPORT_WARNING) {
        keep(rec - 1); // the level below lies before the warning's
    }
}

TEST_F(Report_inner, a_warning_over_an_owned_text_leaves_the_level_a_null_text)
{
    report_inner("walls", 1, REPORT_TEXT, "owned", 1);
    report_handler = peek;
    report_inner("walls", 2, REPORT_WARNING, "careful", 0);
    ASSERT_EQ(shown.size(), 3U);
    EXPECT_EQ(shown[2].type, REPORT_TEXT);
    EXPECT_EQ(shown[2].message, "(null)");
    EXPECT_EQ(shown[2].owned, 0);
}

TEST_F(Report_inner, a_warning_over_a_literal_leaves_the_level_its_text)
{
    report_inner("walls", 1, REPORT_TEXT, "a literal", 0);
    report_handler = peek;
    report_inner("walls", 2, REPORT_WARNING, "careful", 0);
    EXPECT_EQ(shown.at(2).message, "a literal");
}

TEST_F(Report_inner, returns_the_answer_that_the_handler_gives)
{
    next_answer = 1;
    EXPECT_EQ(report_inner("walls", 1, REPORT_QUESTION, "sure?", 0), 1);
    next_answer = 0;
    EXPECT_EQ(report_inner("walls", 1, REPORT_QUESTION, "sure?", 0), 0);
}

TEST_F(Report_inner, returns_0_at_the_end_of_a_context)
{
    next_answer = 7;
    report_inner("walls", 1, REPORT_BEGIN, "outer", 0);
    EXPECT_EQ(report_inner("walls", 2, REPORT_END, nullptr, 0), 0);
}

TEST_F(Report_inner, keeps_many_levels)
{
    for (i32 i = 0; i < 200; i++) {
        report_inner("walls", i, REPORT_BEGIN, std::to_string(i).c_str(), 1);
    }
    for (i32 i = 199; i >= 0; i--) {
        report_inner("walls", 0, REPORT_END, nullptr, 0);
        ASSERT_EQ(shown.back().message, std::to_string(i));
    }
}

TEST(Report_firstuse, sets_the_start_time_once)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe"; // a process without any report so far
    EXPECT_EXIT(
        {
            timer_now = fixed_clock;
            fixed_time = 5.5;
            report_inner("walls", 1, REPORT_TEXT, "first", 0);
            const bool set = report_start_time == 5.5;
            fixed_time = 7.5;
            report_inner("walls", 2, REPORT_TEXT, "second", 0);
            _exit(set && report_start_time == 5.5 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    testing::GTEST_FLAG(death_test_style) = "fast";
}
