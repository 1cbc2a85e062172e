// Keys under other keyboard layouts: a letter is the key that types it, and where the layout has no
// Latin letters the key at its place. Keys are pressed by their number, that is by their place.
#include "tests/window/session.h"

// Of a flat world: its frames are short, so that a tap is over before the next key comes.
class Layout : public WindowTest
{
  protected:
    void SetUp() override
    {
        WindowTest::SetUp();
        settings("Seed: 1\n");
    }
};

enum { PLACE_Q = 24, PLACE_A = 38, PLACE_Z = 52 };

static void set_layout(const Desktop& desktop, const std::string& name)
{
    desktop.run("setxkbmap -layout " + name + " && sleep 0.3");
}

static std::string place(int key)
{
    return std::to_string(key);
}

// How the zoom changes while the key at a place is held.
static f64 zoomed_by(const Desktop& desktop, const std::string& folder, int key)
{
    Session run(desktop, folder);
    run.start();
    run.hold(place(key), 0.4);
    EXPECT_EQ(run.escape(), 0);
    const Save save(folder + "/maze_save.dat");
    return save.zoom / save.start_zoom();
}

TEST_F(Layout, without_Latin_letters_may_come_while_the_window_is_open)
{
    Session run(desktop, folder);
    run.start();
    set_layout(desktop, "gr");
    run.tap(place(PLACE_Q));
    EXPECT_EQ(run.finish(), 0);
}

TEST_F(Layout, that_moves_Q_is_followed)
{
    set_layout(desktop, "fr");
    Session run(desktop, folder);
    run.start();
    run.tap(place(PLACE_Q)); // types a
    EXPECT_TRUE(run.running());
    run.tap(place(PLACE_A));
    EXPECT_EQ(run.finish(), 0);
}

TEST_F(Layout, that_exchanges_Y_and_Z_does_not_zoom_by_the_key_that_types_y)
{
    set_layout(desktop, "de");
    EXPECT_DOUBLE_EQ(zoomed_by(desktop, folder, PLACE_Z), 1);
}
