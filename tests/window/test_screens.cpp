// The window on a desktop of two screens, which the program is told by the window system itself.
#include "tests/shell_run.h"
#include "tests/window/session.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>

class Two_screens : public WindowTest
{
  protected:
    Two_screens() : WindowTest(TWO_SCREENS)
    {
    }

    // A picture that a run with these settings takes of itself.
    Picture shown(const std::string& text) const
    {
        settings("Seed: 1\n" + text);
        Session run(desktop, folder);
        run.wait_for_window();
        run.wait_for_keys();
        run.show_frame();
        run.tap("ctrl+s");
        std::string name;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            const std::string found = entry.path().filename().string();
            name = found.rfind("Corvane_", 0) == 0 ? found : name;
        }
        EXPECT_EQ(run.escape(), 0);
        const Picture picture = name.empty() ? Picture() : read_png(path(name));
        std::filesystem::remove(path(name));
        return picture;
    }

    // Shades are rounded apart on the two screens.
    static bool alike(const u8* a, const u8* b)
    {
        return std::equal(a, a + 3, b, [](u8 c, u8 d) { return std::abs(c - d) < 4; });
    }

    // How many pixels of the left or the upper half differ from those of the other one. A text stands in
    // its first rows.
    static long differing_halves(const Picture& shot, bool vertical)
    {
        const size_t width = vertical ? shot.width : shot.width / 2;
        const size_t height = vertical ? shot.height / 2 : shot.height;
        const size_t step = vertical ? height * shot.width : width;
        long count = 0;
        for (size_t y = 20; y < height; y++) {
            for (size_t x = 0; x < width; x++) {
                const auto at = shot.rgb.begin() + static_cast<long>((y * shot.width + x) * 3);
                count += alike(&*at, &*at + step * 3) ? 0 : 1;
            }
        }
        return count;
    }
};

TEST_F(Two_screens, are_taken_one_by_one_in_full_screen)
{
    const std::string full = "Windowed: N\nResolution: ";
    expect_opened(full + "auto\n", "800x600 at 0,0");
    expect_opened(full + "display 1\n", "800x600 at 0,0");
    expect_opened(full + "display 2\n", "640x480 at 800,60");
    expect_opened(full + "display 5\n", "800x600 at 0,0");
    expect_opened(full + "span 2\n", "640x480 at 800,60");
}

TEST_F(Two_screens, are_spanned_in_full_screen)
{
    const std::string full = "Windowed: N\nResolution: ";
    expect_opened(full + "span\n", "1440x600 at 0,0");
    expect_opened(full + "span 1,2\n", "1440x600 at 0,0");
}

TEST_F(Two_screens, give_a_window_the_size_of_a_part_of_the_one_named)
{
    expect_opened("Resolution: display 1\n", "480x360 ");
    expect_opened("Resolution: display 2\n", "384x288 ");
}

TEST_F(Two_screens, take_an_offset_in_full_screen)
{
    expect_opened("Windowed: N\nFullscreen offset: 800,60\nResolution: 640x480\n",
                  "640x480 at 800,60");
}

// Both eyes see the same without depth, and not with it: what a screenshot holds of the window.
TEST_F(Two_screens, show_an_eye_each)
{
    for (const bool vertical : {false, true}) {
        for (const bool apart : {false, true}) {
            const Picture shot =
                shown(std::string("Windowed: N\nResolution: span\nStereo mode: ") +
                      (vertical ? "5" : "4") + "\nStereo Depth: " + (apart ? "0.3" : "0") + "\n");
            ASSERT_EQ(shot.width, 1440U);
            ASSERT_EQ(shot.height, 600U);
            const long differing = differing_halves(shot, vertical);
            EXPECT_GT(shot.lit(), 20000);
            if (apart) {
                EXPECT_GT(differing, 5000) << vertical;
            } else {
                EXPECT_LT(differing, 20) << vertical; // an edge may be rounded apart
            }
        }
    }
}
