// Faults in a second copy of the program, which saves in a file with a number.
#include "tests/faults/faultrun.h"

TEST(second_copy, loses_nothing_but_its_own_walk_and_tells_it)
{
    const Expected second = expect_of(second_stage());
    const int points = sweep(second, {Phase::SAVE}, {"EIO", "ENOSPC", "KILL"});
    count_points("errors and kills in a second copy", points);
    EXPECT_GE(points, 60);
}

// Where nothing can be renamed without replacing, an empty file takes the name first.
TEST(second_copy, loses_nothing_where_no_rename_is_exclusive)
{
    Stage stage = second_stage();
    stage.always = {"inject=renameat2:error=EINVAL"};
    const Expected second = expect_of(stage);
    const int points = sweep(second, {Phase::SAVE}, {"EIO", "ENOSPC"},
                             [](const Call& call) { return call.name != "renameat2"; });
    count_points("errors in a second copy without exclusive renames", points);
    EXPECT_GE(points, 40);
}
