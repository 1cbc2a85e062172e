// The keys that choose what is seen, in the real window: J and F while they are held, P, Shift+G, and G
// under the map of cells.
#include "tests/window/settled.h"

using Plot_keys = WindowTest;

static Pixels while_held(const Desktop& desktop, const Session& run, const std::string& keys)
{
    std::string down = "xdotool";
    std::string up = "xdotool";
    for (const char key : keys) {
        down += std::string(" keydown ") + key;
        up += std::string(" keyup ") + key;
    }
    desktop.run(down + " sleep 0.3");
    const Pixels held = settled(desktop, run);
    desktop.run(up + " sleep 0.3");
    return held;
}

// How many pixels are clearly blue.
static int blue(const Pixels& picture)
{
    int n = 0;
    for (const std::uint32_t pixel : picture) {
        const int r = static_cast<int>(pixel >> 16 & 0xFF);
        const int g = static_cast<int>(pixel >> 8 & 0xFF);
        const int b = static_cast<int>(pixel & 0xFF);
        n += b > r + 50 && b > g + 50 ? 1 : 0;
    }
    return n;
}

TEST_F(Plot_keys, J_shows_the_flat_plot_while_it_is_held)
{
    settings("Seed: 1\n");
    Session run(desktop, folder);
    run.start();
    const Pixels discs = settled(desktop, run);
    const Pixels flat = while_held(desktop, run, "j");
    EXPECT_GT(difference(discs, flat), 0.005);
    EXPECT_LT(difference(discs, settled(desktop, run)), 0.002);
    EXPECT_EQ(run.escape(), 0);
    EXPECT_EQ(run.errors(), "");
}

TEST_F(Plot_keys, F_adds_blue_while_it_is_held_to_discs_and_to_the_flat_plot)
{
    settings("Seed: 1\n");
    Session run(desktop, folder);
    run.start();
    const int before = blue(settled(desktop, run));
    EXPECT_GT(blue(while_held(desktop, run, "f")), before + 100);
    const int flat = blue(while_held(desktop, run, "j"));
    EXPECT_GT(blue(while_held(desktop, run, "jf")), flat + 100);
    EXPECT_LT(blue(settled(desktop, run)), before + 20);
    EXPECT_EQ(run.escape(), 0);
    EXPECT_EQ(run.errors(), "");
}

TEST_F(Plot_keys, Shift_G_shows_the_grid_and_P_makes_its_lines_smooth_or_not)
{
    settings("Seed: 1\n");
    Session run(desktop, folder);
    run.start();
    const Pixels discs = settled(desktop, run);
    run.tap("shift+g");
    const Pixels smooth = settled(desktop, run);
    EXPECT_GT(blue(smooth), blue(discs) + 500);
    run.tap("p");
    const Pixels plain = settled(desktop, run);
    EXPECT_GT(difference(smooth, plain), 0.005);
    EXPECT_GT(blue(plain), blue(discs) + 500);
    run.tap("p");
    EXPECT_LT(difference(smooth, settled(desktop, run)), 0.002);
    run.tap("shift+g");
    EXPECT_LT(difference(discs, settled(desktop, run)), 0.002);
    EXPECT_EQ(run.escape(), 0);
    EXPECT_EQ(run.errors(), "");
}

TEST_F(Plot_keys, G_under_the_map_of_cells_shows_only_once_V_is_pressed_again)
{
    settings("Seed: 1\n");
    Session run(desktop, folder);
    run.start();
    const Pixels discs = settled(desktop, run);
    run.tap("v");
    const Pixels cells = settled(desktop, run);
    run.tap("g");
    EXPECT_LT(difference(cells, settled(desktop, run)), 0.002);
    run.tap("v");
    EXPECT_GT(difference(discs, settled(desktop, run)), 0.005);
    EXPECT_EQ(run.escape(), 0);
    EXPECT_EQ(run.errors(), "");
}
