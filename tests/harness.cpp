// The main routine of every test program: subjects may be named as plain arguments, and a run in
// which no test takes part fails. A filter that is given holds, since a death test that starts the
// program anew sets one.
#include <cstdio>
#include <gtest/gtest.h>
#include <string>

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
    const int result = RUN_ALL_TESTS();
    const testing::UnitTest* const unit = testing::UnitTest::GetInstance();
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
