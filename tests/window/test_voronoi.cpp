// The map of cells in the real window: V shows and hides it, M leads through its six styles.
#include "tests/window/settled.h"

using Map_of_cells = WindowTest;

TEST_F(Map_of_cells, comes_with_V_and_goes_with_V)
{
    settings("Seed: 1\n");
    Session run(desktop, folder);
    run.start();
    const Pixels discs = settled(desktop, run);
    run.tap("v");
    const Pixels cells = settled(desktop, run);
    run.tap("v");
    const Pixels again = settled(desktop, run);
    EXPECT_GT(difference(discs, cells), 0.05);
    EXPECT_LT(difference(discs, again), 0.01);
    EXPECT_EQ(run.escape(), 0);
}

TEST_F(Map_of_cells, has_six_styles_through_which_M_leads_round)
{
    settings("Seed: 1\n");
    Session run(desktop, folder);
    run.start();
    run.tap("v");
    std::vector<Pixels> styles = {settled(desktop, run)};
    for (int i = 1; i < 6; i++) {
        run.tap("m");
        styles.push_back(settled(desktop, run));
        for (int j = 0; j < i; j++) {
            EXPECT_GT(difference(styles[i], styles[j]), 0.005) << j << " and " << i;
        }
    }
    run.tap("m");
    EXPECT_LT(difference(styles[0], settled(desktop, run)), 0.005);
    EXPECT_EQ(run.escape(), 0);
    EXPECT_EQ(run.errors(), "");
}

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
