// The window on a desktop of two screens, which the program is told by the window system itself.
#include "tests/window/session.h"

class Two_screens : public WindowTest
{
  protected:
    Two_screens() : WindowTest(TWO_SCREENS)
    {
    }

    // Where the window of these settings stands once it is there. The run must end well.
    std::string opened(const std::string& text) const
    {
        settings("Seed: 1\n" + text);
        Session run(desktop, folder);
        run.wait_for_window();
        std::string last;
        wait_until(5, [&] { // until the window manager has put it in its place
            const std::string before = last;
            last = desktop.client_place(run.window());
            sleep_for(0.2);
            return last == before;
        });
        run.close();
        EXPECT_EQ(run.finish(), 0);
        return last;
    }
};

TEST_F(Two_screens, are_taken_one_by_one_in_full_screen)
{
    const std::string full = "Windowed: N\nResolution: ";
    EXPECT_EQ(opened(full + "auto\n"), "800x600 at 0,0");
    EXPECT_EQ(opened(full + "display 1\n"), "800x600 at 0,0");
    EXPECT_EQ(opened(full + "display 2\n"), "640x480 at 800,60");
    EXPECT_EQ(opened(full + "display 5\n"), "800x600 at 0,0");
    EXPECT_EQ(opened(full + "span 2\n"), "640x480 at 800,60");
}

TEST_F(Two_screens, are_spanned_in_full_screen)
{
    const std::string full = "Windowed: N\nResolution: ";
    EXPECT_EQ(opened(full + "span\n"), "1440x600 at 0,0");
    EXPECT_EQ(opened(full + "span 1,2\n"), "1440x600 at 0,0");
}

TEST_F(Two_screens, give_a_window_the_size_of_a_part_of_the_one_named)
{
    EXPECT_EQ(opened("Resolution: display 1\n").substr(0, 8), "480x360 ");
    EXPECT_EQ(opened("Resolution: display 2\n").substr(0, 8), "384x288 ");
}

TEST_F(Two_screens, take_an_offset_in_full_screen)
{
    EXPECT_EQ(opened("Windowed: N\nFullscreen offset: 800,60\nResolution: 640x480\n"),
              "640x480 at 800,60");
}

TEST_F(Two_screens, show_an_eye_each)
{
    for (const char* const mode : {"4", "5"}) {
        EXPECT_EQ(opened(std::string("Windowed: N\nResolution: span\nStereo mode: ") + mode + "\n"),
                  "1440x600 at 0,0");
    }
}
