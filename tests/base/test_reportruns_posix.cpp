// Reports of a process of its own: its end, what it prints and what it reads.
#include "base/clock.h"
#include "base/report.h"
#include "tests/endchild.h"
#include "tests/tempfolder.h"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <fnmatch.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

// What a piece of the program did in a process of its own.
struct ChildRun {
    int code; // -1 if it did not exit
    std::string out, err;
    f64 seconds;
};

template <typename Piece> static ChildRun run_in_child(const std::string& input, Piece piece)
{
    const TempFolder folder;
    write_text(folder.file("in"), input);
    const f64 before = timer_now();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        const bool set = std::freopen(folder.file("in").c_str(), "r", stdin) != nullptr &&
                         std::freopen(folder.file("out").c_str(), "w", stdout) != nullptr &&
                         std::freopen(folder.file("err").c_str(), "w", stderr) != nullptr;
        const int code = set ? piece() : 99;
        std::fflush(nullptr);
        end_child(code);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_text(folder.file("out")),
            read_text(folder.file("err")), timer_now() - before};
}

static int fatal()
{
    report_fatal_wait = 0.0;
    report_inner("walls", 12, REPORT_FATAL, "all is lost", 0);
    return 50; // behind the end
}

TEST(Report_fatal, ends_the_process_with_code_1)
{
    EXPECT_EQ(run_in_child("", fatal).code, 1);
}

TEST(Report_fatal, is_told_on_standard_output_and_on_standard_error)
{
    const ChildRun run = run_in_child("", fatal);
    EXPECT_EQ(run.out, "\n[FATAL ERROR] all is lost\n");
    EXPECT_EQ(run.err, "\n[FATAL ERROR] all is lost\n");
}

TEST(Report_fatal, waits_two_and_a_half_seconds)
{
    const ChildRun run = run_in_child("", []() -> int {
        report_inner("walls", 12, REPORT_FATAL, "all is lost", 0);
        return 50;
    });
    EXPECT_EQ(run.code, 1);
    EXPECT_GE(run.seconds, 2.5);
    EXPECT_LT(run.seconds, 20.0);
}

static int print_and_end()
{
    report_handler = [](ReportRec* rec) {
        std::printf("%d %s %d %s\n", rec->type, rec->file, rec->line, rec->message);
    };
    report_exit = [](int code) {
        std::fflush(nullptr);
        end_child(code + 40);
    };
    return 0;
}

TEST(Report_fatal, ends_by_the_routine_that_a_test_puts_in_place)
{
    const ChildRun run = run_in_child("", [] {
        print_and_end();
        report_inner("walls", 12, REPORT_FATAL, "all is lost", 0);
        return 50;
    });
    EXPECT_EQ(run.code, 41);
    EXPECT_EQ(run.out, "5 walls 12 all is lost\n");
}

TEST(Report_fatal, is_an_end_without_an_open_context)
{
    const ChildRun run = run_in_child("", [] {
        print_and_end();
        report_inner("walls", 12, REPORT_END, nullptr, 0);
        return 50;
    });
    EXPECT_EQ(run.code, 41);
    EXPECT_EQ(run.out, "5 report 92 Trying to pop empty stack in report_inner\n");
}

TEST(Report_fatal, is_one_end_more_than_begins)
{
    const ChildRun run = run_in_child("", [] {
        print_and_end();
        report_inner("walls", 1, REPORT_BEGIN, "outer", 1);
        report_inner("walls", 2, REPORT_END, nullptr, 0);
        std::printf("---\n");
        report_inner("walls", 3, REPORT_END, nullptr, 0);
        return 50;
    });
    EXPECT_EQ(run.code, 41);
    EXPECT_EQ(run.out, "2 walls 1 outer\n3 walls 1 outer\n---\n"
                       "5 report 92 Trying to pop empty stack in report_inner\n");
}

TEST(Report_fatal, is_a_type_that_report_inner_does_not_take)
{
    for (const i32 type : {0, 4, 8, -1}) { // 4 is progress
        const ChildRun run = run_in_child("", [type] {
            print_and_end();
            report_inner("walls", 12, static_cast<ReportType>(type), "odd", 0);
            return 50;
        });
        EXPECT_EQ(run.code, 41) << type;
        EXPECT_EQ(run.out, "5 report 126 Unknown ReportType in report_inner\n") << type;
    }
}

TEST(Report_handler, writes_a_message_and_a_line_end)
{
    const ChildRun run = run_in_child("", [] {
        report_inner("walls", 1, REPORT_TEXT, "100% sure", 0);
        return 0;
    });
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.out, "100% sure\n");
    EXPECT_EQ(run.err, "");
}

TEST(Report_handler, writes_a_context_twice)
{
    const ChildRun run = run_in_child("", [] {
        report_inner("walls", 1, REPORT_BEGIN, "building", 0);
        report_inner("walls", 2, REPORT_END, nullptr, 0);
        return 0;
    });
    EXPECT_EQ(run.out, "building\nbuilding\n");
}

static int show_progress(const char* message, f64 done, f64 total)
{
    char text[32] = "";
    ReportRec rec = {};
    rec.type = REPORT_PROGRESS;
    if (message != nullptr) {
        std::snprintf(text, sizeof text, "%s", message);
        rec.message = text;
    }
    rec.done = done;
    rec.total = total;
    report_handler(&rec);
    return 0;
}

TEST(Report_handler, writes_progress_behind_the_message)
{
    EXPECT_EQ(run_in_child("", [] { return show_progress("job", 2.5, 10.0); }).out,
              "job [2.5/10]\n");
    EXPECT_EQ(run_in_child("", [] { return show_progress("job", 0.0, 10.0); }).out, "job [0/10]\n");
    EXPECT_EQ(run_in_child("", [] { return show_progress("job", 3.0, 0.0); }).out, "job [3]\n");
    EXPECT_EQ(run_in_child("", [] { return show_progress("job", 0.0, 0.0); }).out, "job\n");
    EXPECT_EQ(run_in_child("", [] { return show_progress(nullptr, 1.0, 2.0); }).out, " [1/2]\n");
}

static int ask_twice()
{
    const i32 first = report_inner("walls", 1, REPORT_QUESTION, "Sure?", 0);
    const i32 second = report_inner("walls", 1, REPORT_QUESTION, "Really?", 1);
    return 10 * first + second;
}

TEST(Report_handler, asks_and_takes_a_word_that_begins_with_y_for_yes)
{
    const ChildRun run = run_in_child("Yes\nno\n", ask_twice);
    EXPECT_EQ(run.out, "Sure? (Y/N) Really? (Y/N) ");
    EXPECT_EQ(run.code, 10);
    EXPECT_EQ(run_in_child("  n y", ask_twice).code, 1);
    EXPECT_EQ(run_in_child("oyes yellow", ask_twice).code, 1);
}

TEST(Report_handler, takes_the_end_of_the_input_for_no)
{
    EXPECT_EQ(run_in_child("", ask_twice).code, 0);
}

static int warn_and_read_on()
{
    report_inner("walls", 1, REPORT_WARNING, "low ceiling", 0);
    return std::getchar();
}

// Runs a warning with its log in a folder of its own.
struct WarningRun {
    ChildRun run;
    std::string log; // "" if there is none
};

static WarningRun run_warning(i32 to_file, i32 no_wait, const std::string& before = "")
{
    const TempFolder folder;
    const std::string path = folder.file("warnings.log");
    if (!before.empty()) {
        write_text(path, before);
    }
    ChildRun run = run_in_child("ab", [&] {
        warnings_path = path.c_str();
        warnings_to_file = to_file;
        warnings_no_wait = no_wait;
        return warn_and_read_on();
    });
    return {run, std::filesystem::exists(path) ? read_text(path) : ""};
}

// Whether a log is `before` and one line with a stamp and `message`.
static bool is_log_line(const std::string& log, const std::string& before,
                        const std::string& message)
{
    const std::string pattern = before +
                                "20[0-9][0-9]-[A-Z][a-z][a-z]-[0-9][0-9] "
                                "[0-2][0-9]:[0-5][0-9]:[0-6][0-9] " +
                                message + "\n";
    return fnmatch(pattern.c_str(), log.c_str(), 0) == 0;
}

TEST(Report_warning, waits_and_logs_unless_told_otherwise)
{
    EXPECT_EQ(warnings_to_file, 1);
    EXPECT_EQ(warnings_no_wait, 0);
    EXPECT_STREQ(warnings_path, "warnings.log");
    EXPECT_EQ(report_fatal_wait, 2.5);
}

TEST(Report_warning, is_told_with_the_request_for_a_key)
{
    EXPECT_EQ(run_warning(1, 0).run.out,
              "\n[WARNING] low ceiling\nPress any key to continue program\n");
}

TEST(Report_warning, takes_one_character_of_the_input)
{
    EXPECT_EQ(run_warning(1, 0).run.code, 'b');
    EXPECT_EQ(run_warning(1, 1).run.code, 'a');
}

TEST(Report_warning, adds_a_stamped_line_to_the_log)
{
    const std::string log = run_warning(1, 1, "an older line\n").log;
    EXPECT_TRUE(is_log_line(log, "an older line\n", "low ceiling")) << log;
}

TEST(Report_warning, stamps_the_local_time_on_a_24_hour_clock)
{
    const std::time_t before = std::time(nullptr);
    const std::string log = run_warning(1, 1).log;
    const std::time_t after = std::time(nullptr);
    std::tm fields = {};
    ASSERT_NE(strptime(log.c_str(), "%Y-%b-%d %H:%M:%S", &fields), nullptr) << log;
    fields.tm_isdst = -1;
    const std::time_t stamp = std::mktime(&fields);
    EXPECT_GE(stamp, before);
    EXPECT_LE(stamp, after);
}

TEST(Report_warning, leaves_no_log_if_that_is_switched_off)
{
    const WarningRun warning = run_warning(0, 1);
    EXPECT_EQ(warning.log, "");
    EXPECT_EQ(warning.run.out, "\n[WARNING] low ceiling\nPress any key to continue program\n");
}

TEST(Report_warning, is_told_even_if_the_log_cannot_be_written)
{
    const TempFolder folder;
    const ChildRun run = run_in_child("ab", [&] {
        warnings_path = folder.path.c_str(); // a folder
        return warn_and_read_on();
    });
    EXPECT_EQ(run.code, 'b');
    EXPECT_EQ(run.out, "\n[WARNING] low ceiling\nPress any key to continue program\n");
}

TEST(Report_notice, is_a_plain_message_and_a_line_of_the_log_without_a_wait)
{
    const TempFolder folder;
    const std::string path = folder.file("warnings.log");
    const ChildRun run = run_in_child("a", [&] {
        warnings_path = path.c_str();
        report_notice("walls", 1, "the file went away");
        return std::getchar();
    });
    EXPECT_EQ(run.code, 'a');
    EXPECT_EQ(run.out, "the file went away\n");
    EXPECT_EQ(run.err, "");
    EXPECT_TRUE(is_log_line(read_text(path), "", "the file went away")) << read_text(path);
}

TEST(Report_notice, leaves_no_log_if_that_is_switched_off)
{
    const TempFolder folder;
    const std::string path = folder.file("warnings.log");
    const ChildRun run = run_in_child("", [&] {
        warnings_path = path.c_str();
        warnings_to_file = 0;
        report_notice("walls", 1, "the file went away");
        return 0;
    });
    EXPECT_EQ(run.out, "the file went away\n");
    EXPECT_FALSE(std::filesystem::exists(path));
}
