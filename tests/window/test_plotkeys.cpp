// The keys that choose what is seen, in the real window, by what stands on the screen.
#include "tests/window/islands.h"
#include "tests/window/session.h"

#include <vector>

struct Plot_keys : WindowTest {
    Session* run = nullptr;
    Pixels discs; // what the window shows at first

    ~Plot_keys() override
    {
        delete run;
    }
    void SetUp() override
    {
        WindowTest::SetUp();
        settings("Seed: 1\nResolution: 320x240\n");
        leave_islands(path("maze_save.dat"));
        run = new Session(desktop, folder);
        run->start();
        run->tap("space");
        run->tap("space");
        run->tap("space"); // no text
        discs = settled();
    }
    void TearDown() override
    {
        EXPECT_EQ(run->escape(), 0);
        EXPECT_EQ(run->errors(), "");
    }
    // The picture once two in a row don't differ clearly.
    Pixels settled() const
    {
        Pixels now = desktop.bare_pixels(run->window());
        wait_until(10, [&] {
            sleep_for(0.3);
            run->show_frame();
            const Pixels before = now;
            now = desktop.bare_pixels(run->window());
            return clear_difference(before, now) < same;
        });
        return now;
    }
    Pixels after(const std::string& key) const
    {
        run->tap(key);
        return settled();
    }
    // Waits until the window no longer shows a picture, however long the next frame takes.
    Pixels changed_from(const Pixels& before) const
    {
        EXPECT_TRUE(wait_until(60, [&] {
            return clear_difference(before, desktop.bare_pixels(run->window())) > same;
        }));
        return settled();
    }
    // The picture after a key that has an effect.
    Pixels changed_by(const std::string& key) const
    {
        SCOPED_TRACE(key);
        const Pixels before = desktop.bare_pixels(run->window());
        run->tap(key);
        return changed_from(before);
    }
    // The picture while keys that have an effect are held. They are let go again.
    Pixels held(const std::string& keys) const
    {
        SCOPED_TRACE(keys);
        const Pixels before = desktop.bare_pixels(run->window());
        desktop.run("xdotool keydown " + keys);
        const Pixels shown = changed_from(before);
        desktop.run("xdotool keyup " + keys);
        changed_from(shown);
        return shown;
    }
};

// How many pixels are clearly blue in the left half of a picture, and in the right one.
struct Blue {
    i32 left, right;
};

static Blue blue_of(const Pixels& pixels, i32 width)
{
    Blue blue = {0, 0};
    for (size_t i = 0; i < pixels.size(); i++) {
        const i32 red = static_cast<i32>(pixels[i] >> 16 & 0xFF);
        const i32 much = static_cast<i32>(pixels[i] & 0xFF) - red;
        // the player's node, in the middle, is as wide as two of its radii
        const bool left = static_cast<i32>(i % static_cast<size_t>(width)) < width * 6 / 10;
        (left ? blue.left : blue.right) += much > 60 ? 1 : 0;
    }
    return blue;
}

TEST_F(Plot_keys, J_shows_the_flat_shapes_while_it_is_held)
{
    const Pixels flat = held("j");
    EXPECT_GT(clear_difference(discs, flat), 0.01);
    EXPECT_LT(clear_difference(discs, settled()), same);
}

TEST_F(Plot_keys, F_paints_what_can_be_reached_in_blue_and_nothing_else)
{
    const i32 width = desktop.client_size(run->window()).width;
    EXPECT_EQ(blue_of(discs, width).left, 0);
    const Pixels painted = held("f");
    EXPECT_GT(blue_of(painted, width).left, 500);
    EXPECT_EQ(blue_of(painted, width).right, 0);
    EXPECT_LT(clear_difference(discs, settled()), same);
}

TEST_F(Plot_keys, F_paints_over_each_style)
{
    const i32 width = desktop.client_size(run->window()).width;
    for (const char* const key : {"g", "g", "v"}) {
        const Pixels without = changed_by(key);
        const Pixels painted = held("f");
        EXPECT_GT(blue_of(painted, width).left, blue_of(without, width).left + 300) << key;
        // the day goes on between the two, and with it the colours
        EXPECT_NEAR(blue_of(painted, width).right, blue_of(without, width).right, 150) << key;
    }
}

TEST_F(Plot_keys, J_and_F_act_together)
{
    const i32 width = desktop.client_size(run->window()).width;
    const Pixels flat = held("j");
    const Pixels painted = held("f");
    const Pixels both = held("j f");
    EXPECT_GT(blue_of(both, width).left, 500);
    EXPECT_EQ(blue_of(both, width).right, 0);
    EXPECT_GT(clear_difference(flat, both), 0.01);
    EXPECT_GT(clear_difference(painted, both), 0.01);
}

TEST_F(Plot_keys, G_changes_the_style_unseen_under_the_map_of_cells)
{
    const Pixels gantries = changed_by("g");
    changed_by("g");
    changed_by("g");
    const Pixels cells = changed_by("v");
    EXPECT_GT(clear_difference(discs, cells), 0.02);
    EXPECT_LT(clear_difference(cells, after("g")), same);
    EXPECT_LT(clear_difference(gantries, changed_by("v")), same);
}

TEST_F(Plot_keys, J_changes_nothing_but_the_discs)
{
    const Pixels gantries = changed_by("g");
    desktop.run("xdotool keydown j");
    run->show_frame();
    const Pixels with = settled();
    desktop.run("xdotool keyup j");
    EXPECT_LT(clear_difference(gantries, with), same);
}
