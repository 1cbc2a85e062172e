// The map of cells in the real window: V shows and hides it, M leads through its six styles.
#include "tests/window/session.h"

#include <vector>

using Map_of_cells = WindowTest;

using Pixels = std::vector<std::uint32_t>;

// The share of pixels in which two pictures differ.
static double difference(const Pixels& a, const Pixels& b)
{
    size_t n = 0;
    for (size_t i = 0; i < a.size() && i < b.size(); i++) {
        n += a[i] != b[i] ? 1 : 0;
    }
    return static_cast<double>(n) / static_cast<double>(a.size());
}

// The picture once two in a row are nearly the same: the eye has come to rest.
static Pixels settled(const Desktop& desktop, const Session& session)
{
    Pixels now = desktop.pixels(session.window());
    wait_until(10, [&] {
        sleep_for(0.3);
        const Pixels before = now;
        now = desktop.pixels(session.window());
        return difference(before, now) < 0.001;
    });
    return now;
}

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
