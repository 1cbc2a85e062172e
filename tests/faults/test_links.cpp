// Save and settings that are links to files elsewhere: the links stay, and what they point to is
// replaced whole.
#include "tests/faults/faultrun.h"

TEST(link, keeps_pointing_to_a_whole_file_whatever_call_fails)
{
    const Expected linked = expect_of(linked_stage());
    const int points = sweep(linked, {Phase::SAVE, Phase::LAST_SETTINGS}, {"EIO", "KILL"});
    count_points("errors and kills with links", points);
    EXPECT_GE(points, 90);
}
