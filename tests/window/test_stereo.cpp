// The stereo keys in the real window, and what a run leaves of them in the settings.
#include "tests/window/session.h"

#include <algorithm>
#include <csignal>

static const char* const long_key = "Stereo mode (0=none,1=top/bottom,2=side-by-side,3=interlace,"
                                    "4=two screen SBS,5=two screen vertical,6-8=coloured)";

class Stereo : public WindowTest
{
  protected:
    static constexpr int width = 320;
    static constexpr int height = 240;
    static constexpr long pointer_pixels = 500; // the pointer stands in the picture, perhaps twice

    // A small window on a flat world, with a stereo mode and a depth.
    void begin_with(const std::string& mode, const std::string& depth) const
    {
        settings("Seed: 1\nResolution: 320x240\n" + std::string(long_key) + ": " + mode +
                 "\nStereo Depth: " + depth + "\n");
    }

    // Takes away what is written over the scene.
    static void clear_texts(const Session& run)
    {
        run.tap("space");
        run.tap("space");
        run.tap("space");
    }

    // The picture once two in a row are the same.
    Pixels picture(const Session& run) const
    {
        Pixels last = desktop.pixels(run.window());
        wait_until(5, [&] {
            const Pixels before = last;
            sleep_for(0.15);
            run.show_frame();
            last = desktop.pixels(run.window());
            return last == before;
        });
        EXPECT_EQ(last.size(), size_t{width} * height);
        return last;
    }

    static long differing(const Pixels& one, const Pixels& other)
    {
        long count = 0;
        for (size_t i = 0; i < one.size(); i++) {
            count += one[i] != other[i] ? 1 : 0;
        }
        return count;
    }

    static long lit(const Pixels& pixels)
    {
        return std::count_if(pixels.begin(), pixels.end(), [](std::uint32_t c) { return c != 0; });
    }

    // How many pixels differ from those a step to the right and down.
    static long differing_from(const Pixels& pixels, int dx, int dy)
    {
        long count = 0;
        for (int y = 0; y + dy < height; y++) {
            for (int x = 0; x + dx < width; x++) {
                const size_t at = static_cast<size_t>(y) * width + static_cast<size_t>(x);
                const size_t to = at + static_cast<size_t>(dy) * width + static_cast<size_t>(dx);
                count += pixels[at] != pixels[to] ? 1 : 0;
            }
        }
        return count;
    }

    std::string setting(const std::string& key) const
    {
        const std::string text = "\n" + file_text(path("config.txt"));
        const size_t at = text.find("\n" + key + ": ");
        if (at == std::string::npos) {
            return "(none)";
        }
        const size_t begin = at + key.size() + 3;
        return text.substr(begin, text.find('\n', begin) - begin);
    }
};

TEST_F(Stereo, goes_from_mode_to_mode_by_F3)
{
    begin_with("0", "0"); // both eyes see the same
    Session run(desktop, folder);
    run.start();
    clear_texts(run);
    const Pixels plain = picture(run);
    EXPECT_GT(lit(plain), 4000);
    EXPECT_GT(differing_from(plain, 0, height / 2), 2000);
    EXPECT_GT(differing_from(plain, width / 2, 0), 2000);
    run.tap("F3");
    EXPECT_LT(differing_from(picture(run), 0, height / 2), pointer_pixels);
    run.tap("F3");
    EXPECT_LT(differing_from(picture(run), width / 2, 0), pointer_pixels);
    EXPECT_EQ(run.escape(), 0);
    EXPECT_EQ(setting(long_key), "2");
}

TEST_F(Stereo, comes_back_to_none_after_mode_8)
{
    begin_with("8", "0.1");
    Session run(desktop, folder);
    run.start();
    run.tap("F3");
    EXPECT_EQ(run.escape(), 0);
    EXPECT_EQ(setting(long_key), "0");
}

TEST_F(Stereo, is_read_back_by_the_next_run)
{
    begin_with("6", "0.1");
    {
        Session run(desktop, folder);
        run.start();
        run.tap("F3");
        EXPECT_EQ(run.escape(), 0);
    }
    Session run(desktop, folder);
    run.start();
    clear_texts(run);
    const Pixels red_and_green = picture(run);
    const auto blue = [](std::uint32_t colour) { return (colour & 0xFF) != 0; };
    EXPECT_GT(lit(red_and_green), 4000);
    EXPECT_LT(std::count_if(red_and_green.begin(), red_and_green.end(), blue), pointer_pixels);
    EXPECT_EQ(run.escape(), 0);
    EXPECT_EQ(setting(long_key), "7");
    EXPECT_EQ(setting("Stereo Depth"), "0.1");
}

TEST_F(Stereo, keeps_what_F4_and_F5_and_F6_have_set)
{
    begin_with("1", "0.003");
    Session run(desktop, folder);
    run.start();
    run.tap("F4");
    run.tap("F6");
    run.tap("F5");
    run.tap("F5");
    EXPECT_EQ(run.escape(), 0);
    EXPECT_EQ(setting("Swap stereo (Y/N)"), "Y");
    EXPECT_EQ(setting("Stereo Depth"), "-0.002");
}

TEST_F(Stereo, exchanges_the_halves_by_F4_and_once_more)
{
    begin_with("1", "0.2");
    Session run(desktop, folder);
    run.start();
    clear_texts(run);
    const Pixels before = picture(run);
    run.tap("F4");
    const Pixels swapped = picture(run);
    Pixels exchanged = before;
    std::rotate(exchanged.begin(), exchanged.begin() + width * height / 2, exchanged.end());
    EXPECT_GT(differing(before, swapped), 2000);
    EXPECT_LT(differing(exchanged, swapped), pointer_pixels);
    run.tap("F4");
    EXPECT_LT(differing(before, picture(run)), pointer_pixels);
    EXPECT_EQ(run.escape(), 0);
    EXPECT_EQ(setting("Swap stereo (Y/N)"), "N");
}

TEST_F(Stereo, looks_closer_by_F7_and_wider_by_F8)
{
    begin_with("0", "0");
    Session run(desktop, folder);
    run.start();
    clear_texts(run);
    const Pixels before = picture(run);
    run.tap("F7");
    run.tap("F7");
    run.tap("F7");
    const Pixels closer = picture(run);
    EXPECT_GT(differing(closer, before), 2000);
    run.tap("F8");
    run.tap("F8");
    run.tap("F8");
    EXPECT_LT(differing(picture(run), before), 1500);
    run.tap("F8");
    run.tap("F8");
    EXPECT_GT(differing(picture(run), before), 2000);
    EXPECT_EQ(run.escape(), 0);
}

// Rows of the screen with even numbers show eye 1, the upper half, and the others eye 0.
TEST_F(Stereo, keeps_the_eyes_on_the_rows_of_the_screen_when_the_window_moves)
{
    begin_with("1", "0.3");
    Session run(desktop, folder);
    run.start();
    clear_texts(run);
    const Pixels halves = picture(run);
    run.tap("F3");
    run.tap("F3");
    for (const int wanted : {100, 101, 102}) {
        const int before = desktop.frame_top(run.window());
        desktop.run("wmctrl -r Corvane -e 0,200," + std::to_string(wanted) + ",-1,-1");
        EXPECT_TRUE(wait_until(10, [&] { return desktop.frame_top(run.window()) != before; }));
        const int top = desktop.frame_top(run.window());
        const Pixels rows = picture(run);
        Pixels expected = rows;
        for (int y = 0; y < height; y++) {
            const int half = (y + top) % 2 == 0 ? 0 : height / 2; // from the top
            const auto from = halves.begin() + (half + y / 2) * width;
            std::copy(from, from + width, expected.begin() + y * width);
        }
        EXPECT_EQ(top % 2, wanted % 2);
        EXPECT_LT(differing(rows, expected), pointer_pixels);
    }
    EXPECT_GT(differing_from(halves, 0, height / 2), 2000);
    EXPECT_EQ(run.escape(), 0);
}

TEST_F(Stereo, draws_no_scene_in_mode_9_from_the_file_until_F3)
{
    begin_with("9", "0.05");
    Session run(desktop, folder);
    run.start();
    clear_texts(run);
    EXPECT_LT(lit(picture(run)), pointer_pixels);
    run.tap("F3");
    const Pixels halves = picture(run);
    EXPECT_GT(lit(halves), 2000);
    EXPECT_EQ(run.escape(), 0);
    EXPECT_EQ(setting(long_key), "1");
}

TEST_F(Stereo, leaves_mode_9_in_the_file_without_F3)
{
    begin_with("9", "0.05");
    Session run(desktop, folder);
    run.start(); // the prompt is there; a key before the first frame may be lost
    EXPECT_EQ(run.escape(), 0);
    EXPECT_EQ(setting(long_key), "9");
}

TEST_F(Stereo, draws_mode_minus_1_from_the_file_in_upper_and_lower_halves_until_F3)
{
    begin_with("-1", "0");
    Session run(desktop, folder);
    run.start();
    clear_texts(run);
    const Pixels halves = picture(run);
    EXPECT_GT(lit(halves), 2000);
    EXPECT_LT(differing_from(halves, 0, height / 2), pointer_pixels);
    run.tap("F3");
    EXPECT_GT(differing_from(picture(run), 0, height / 2), 2000);
    EXPECT_EQ(run.escape(), 0);
    EXPECT_EQ(setting(long_key), "0");
}

TEST_F(Stereo, bears_every_size_of_the_window)
{
    begin_with("3", "0.1");
    Session run(desktop, folder);
    run.start();
    for (const char* const size : {"255,257", "513,255", "600,400", "130,64"}) {
        desktop.run(std::string("wmctrl -r Corvane -e 0,100,100,") + size);
        for (int mode = 0; mode < 9; mode++) {
            run.tap("F3");
        }
    }
    EXPECT_TRUE(run.running());
    EXPECT_EQ(run.escape(), 0);
    EXPECT_EQ(run.errors(), "");
}
