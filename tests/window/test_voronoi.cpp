// The map of cells in the real window.
#include "tests/window/settled.h"

using Map_of_cells = WindowTest;

TEST_F(Map_of_cells, keeps_the_style_chosen_while_it_is_hidden)
{
    settings("Seed: 1\n");
    Session run(desktop, folder);
    run.start();
    run.tap("v");
    const Pixels walls = settled(desktop, run);
    run.tap("v");
    run.tap("m");
    run.tap("v");
    const Pixels outline = settled(desktop, run);
    EXPECT_GT(difference(walls, outline), 0.05);
    EXPECT_EQ(run.escape(), 0);
}
