// The main routine of every test program: subjects may be named as plain arguments, and a run in
// which no test takes part fails. A filter that is given holds, since a death test that starts the
// program anew sets one. What failed is told once more at the very end, where a log that has been cut
// off above still shows it, in lines that begin with "FAILED: ".
#include <cstdio>
#include <gtest/gtest.h>
#include <sstream>
#include <string>

static std::string failures; // written by FailureKeeper

class FailureKeeper : public testing::EmptyTestEventListener
{
  private:
    void OnTestStart(const testing::TestInfo& test) override
    {
        name = std::string(test.test_suite_name()) + "." + test.name() + " ";
    }
    void OnTestEnd(const testing::TestInfo& /*test*/) override
    {
        name = "";
    }
    void OnTestPartResult(const testing::TestPartResult& result) override
    {
        if (result.failed()) {
            const std::string file = result.file_name() == nullptr ? "?" : result.file_name();
            failures += name + "at " + file + ":" + std::to_string(result.line_number()) + "\n" +
                        result.message() + "\n";
        }
    }

    std::string name; // of the test that runs
};

static void tell_failures()
{
    std::istringstream lines(failures);
    for (std::string line; std::getline(lines, line);) {
        std::printf("FAILED: %s\n", line.c_str());
    }
    std::fflush(stdout);
}

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    std::string filter;
    for (int i = 1; i < argc; i++) {
        const std::string subject = argv[i];
        filter += subject + ".*:" + subject + "/*:*/" + subject + ".*:*/" + subject + "/*:";
    }
    if (!filter.empty() && testing::GTEST_FLAG(filter) == "*") {
        testing::GTEST_FLAG(filter) = filter;
    }
    const testing::UnitTest* const unit = testing::UnitTest::GetInstance();
    testing::UnitTest::GetInstance()->listeners().Append(new FailureKeeper);
    const int result = RUN_ALL_TESTS();
    tell_failures();
    if (unit->test_to_run_count() == 0) {
        std::fprintf(stderr, "no test of these subjects\n");
        return 1;
    }
    if (unit->skipped_test_count() > 0 || unit->disabled_test_count() > 0) {
        std::fprintf(stderr, "a test is skipped or disabled\n");
        return 1;
    }
    return result;
}
