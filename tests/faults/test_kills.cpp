// A run that is killed at each system call that it makes on its files, and the next start.
#include "tests/faults/faultrun.h"

TEST(kill, at_any_call_leaves_whole_files_that_the_next_run_goes_on_with)
{
    const Expected usual = expect_of(usual_stage());
    const int points = sweep(usual,
                             {Phase::READ_SETTINGS, Phase::WRITE_SETTINGS, Phase::LOAD, Phase::SAVE,
                              Phase::LAST_SETTINGS},
                             {"KILL"});
    count_points("kills in a run", points);
    EXPECT_GE(points, 80);
}

TEST(kill, at_any_call_of_a_first_run_leaves_whole_files_or_none)
{
    const Expected first = expect_of(first_stage());
    const int points = sweep(first, {Phase::WRITE_SETTINGS, Phase::SAVE}, {"KILL"});
    count_points("kills in a first run", points);
    EXPECT_GE(points, 40);
}
