// Every kind of resolution in the settings, on six desktops: how large the window is, and where.
#include "gfx/gfx_opengl.h"
#include "gfx/platform/scripted.h"
#include "gfx/projection.h"
#include "shell/config.h"
#include "tests/shell_run.h"

#include <string>
#include <vector>

// A resolution, and the client size and outer corner of its window: all of the screen or with a frame, 8
// pixels wider and 32 higher, with the pointer in the middle of the first display.
struct Row {
    const char* resolution;
    const char* full;
    const char* framed;
};

static std::string opened(const std::vector<PlatformRect>& displays, const std::string& settings)
{
    const Folder folder;
    folder.write("config.txt", settings);
    platform_use(&platform_scripted);
    scripted_reset();
    for (const PlatformRect& display : displays) {
        scripted_display(display);
    }
    gfx_width = 0;
    gfx_height = 0;
    fullscreen_x = 0;
    fullscreen_y = 0;
    gfx_ortho_mode = 0;
    ConfigList list;
    config_load(&list, folder.file("config.txt").c_str(), ':');
    windowed = config_get_bool(&list, "Windowed");
    i32 mode = 0;
    i32 swap = 0;
    config_read_display_and_stereo(&list, &mode, &swap);
    config_free(&list);
    if (gfx_open(gfx_width, gfx_height, "test") == 0) {
        return "none";
    }
    const WindowRequest& want = scripted_counts.request;
    EXPECT_TRUE(gfx_width == want.width && gfx_height == want.height);
    EXPECT_EQ(want.framed, windowed);
    gfx_close();
    return std::to_string(want.width) + "x" + std::to_string(want.height) + " at " +
           std::to_string(want.x) + "," + std::to_string(want.y);
}

static void expect_rows(const std::vector<PlatformRect>& displays, const std::vector<Row>& rows)
{
    for (const Row& row : rows) {
        const std::string resolution = std::string("Resolution: ") + row.resolution + "\n";
        EXPECT_EQ(opened(displays, resolution + "Windowed: N\n"), row.full) << row.resolution;
        EXPECT_EQ(opened(displays, resolution + "Windowed: Y\n"), row.framed) << row.resolution;
    }
}

static PlatformRect rect(i32 left, i32 top, i32 right, i32 bottom)
{
    return {.left = left, .top = top, .right = right, .bottom = bottom};
}

TEST(Displays, one_alone)
{
    expect_rows({rect(0, 0, 1920, 1080)},
                {
                    {"auto", "1920x1080 at 0,0", "864x648 at 524,200"},
                    {"display 1", "1920x1080 at 0,0", "864x648 at 524,200"},
                    {"display 2", "1920x1080 at 0,0", "864x648 at 524,200"},
                    {"display 5", "1920x1080 at 0,0", "864x648 at 524,200"},
                    {"Display 0", "1920x1080 at 0,0", "864x648 at 524,200"},
                    {"span", "1920x1080 at 0,0", "1920x1080 at 0,0"},
                    {"SPAN 1,2", "1920x1080 at 0,0", "1920x1080 at 0,0"},
                    {"span 2", "none", "none"},
                    {"span 2,3", "none", "none"},
                    {"windowed", "864x648 at 524,200", "864x648 at 524,200"},
                    {"640x400", "640x400 at 0,0", "640x400 at 636,324"},
                    {"640x", "none", "none"},
                });
}

TEST(Displays, two_side_by_side)
{
    expect_rows({rect(0, 0, 1280, 1024), rect(1280, 0, 2560, 1024)},
                {
                    {"auto", "1280x1024 at 0,0", "818x614 at 227,189"},
                    {"display 1", "1280x1024 at 0,0", "818x614 at 227,189"},
                    {"display 2", "1280x1024 at 1280,0", "818x614 at 227,189"},
                    {"display 5", "1280x1024 at 0,0", "818x614 at 227,189"},
                    {"Display 0", "1280x1024 at 0,0", "818x614 at 227,189"},
                    {"span", "2560x1024 at 0,0", "2560x1024 at 0,0"},
                    {"SPAN 1,2", "2560x1024 at 0,0", "2560x1024 at 0,0"},
                    {"span 2", "1280x1024 at 1280,0", "1280x1024 at 0,0"},
                    {"span 2,3", "1280x1024 at 1280,0", "1280x1024 at 0,0"},
                    {"windowed", "818x614 at 227,189", "818x614 at 227,189"},
                    {"640x400", "640x400 at 0,0", "640x400 at 316,296"},
                    {"640x", "none", "none"},
                });
}

TEST(Displays, two_above_one_another)
{
    expect_rows({rect(0, 0, 1024, 768), rect(0, 768, 1024, 1536)},
                {
                    {"auto", "1024x768 at 0,0", "613x460 at 202,138"},
                    {"display 1", "1024x768 at 0,0", "613x460 at 202,138"},
                    {"display 2", "1024x768 at 0,768", "613x460 at 202,138"},
                    {"display 5", "1024x768 at 0,0", "613x460 at 202,138"},
                    {"Display 0", "1024x768 at 0,0", "613x460 at 202,138"},
                    {"span", "1024x1536 at 0,0", "1024x1536 at 0,0"},
                    {"SPAN 1,2", "1024x1536 at 0,0", "1024x1536 at 0,0"},
                    {"span 2", "1024x768 at 0,768", "1024x768 at 0,0"},
                    {"span 2,3", "1024x768 at 0,768", "1024x768 at 0,0"},
                    {"windowed", "613x460 at 202,138", "613x460 at 202,138"},
                    {"640x400", "640x400 at 0,0", "640x400 at 188,168"},
                    {"640x", "none", "none"},
                });
}

TEST(Displays, one_up_and_left_of_the_first)
{
    expect_rows({rect(0, 0, 800, 600), rect(-640, -480, 0, 0)},
                {
                    {"auto", "800x600 at 0,0", "480x360 at 156,104"},
                    {"display 1", "800x600 at 0,0", "480x360 at 156,104"},
                    {"display 2", "640x480 at -640,-480", "384x288 at 204,140"},
                    {"display 5", "800x600 at 0,0", "480x360 at 156,104"},
                    {"Display 0", "800x600 at 0,0", "480x360 at 156,104"},
                    {"span", "1440x1080 at -640,-480", "1440x1080 at -640,-480"},
                    {"SPAN 1,2", "1440x1080 at -640,-480", "1440x1080 at -640,-480"},
                    {"span 2", "640x480 at -640,-480", "640x480 at 76,44"},
                    {"span 2,3", "640x480 at -640,-480", "640x480 at 76,44"},
                    {"windowed", "480x360 at 156,104", "480x360 at 156,104"},
                    {"640x400", "640x400 at 0,0", "640x400 at 76,84"},
                    {"640x", "none", "none"},
                });
}

TEST(Displays, three_of_different_shapes)
{
    expect_rows({rect(0, 0, 1600, 900), rect(1600, -500, 2680, 1420), rect(-640, 200, 0, 680)},
                {
                    {"auto", "1600x900 at 0,0", "720x540 at 436,164"},
                    {"display 1", "1600x900 at 0,0", "720x540 at 436,164"},
                    {"display 2", "1080x1920 at 1600,-500", "1536x1152 at 28,-142"},
                    {"display 5", "1600x900 at 0,0", "720x540 at 436,164"},
                    {"Display 0", "1600x900 at 0,0", "720x540 at 436,164"},
                    {"span", "3320x1920 at -640,-500", "3320x1920 at -640,-500"},
                    {"SPAN 1,2", "2680x1920 at 0,-500", "2680x1920 at -544,-500"},
                    {"span 2", "1080x1920 at 1600,-500", "1080x1920 at 256,-500"},
                    {"span 2,3", "3320x1920 at -640,-500", "3320x1920 at -640,-500"},
                    {"windowed", "720x540 at 436,164", "720x540 at 436,164"},
                    {"640x400", "640x400 at 0,0", "640x400 at 476,234"},
                    {"640x", "none", "none"},
                });
}

TEST(Displays, four_of_odd_sizes)
{
    expect_rows({rect(0, 0, 401, 301), rect(401, 0, 734, 777), rect(-111, 301, 401, 502),
                 rect(401, -99, 502, 0)},
                {
                    {"auto", "401x301 at 0,0", "240x180 at 76,44"},
                    {"display 1", "401x301 at 0,0", "240x180 at 76,44"},
                    {"display 2", "333x777 at 401,0", "621x466 at -111,-99"},
                    {"display 5", "401x301 at 0,0", "240x180 at 76,44"},
                    {"Display 0", "401x301 at 0,0", "240x180 at 76,44"},
                    {"span", "845x876 at -111,-99", "845x876 at -111,-99"},
                    {"SPAN 1,2", "734x777 at 0,0", "734x777 at -111,-99"},
                    {"span 2", "333x777 at 401,0", "333x777 at 30,-99"},
                    {"span 2,3", "845x777 at -111,0", "845x777 at -111,-99"},
                    {"windowed", "240x180 at 76,44", "240x180 at 76,44"},
                    {"640x400", "640x400 at 0,0", "640x400 at -111,-66"},
                    {"640x", "none", "none"},
                });
}

TEST(Displays, with_an_offset_in_full_screen_alone)
{
    const std::vector<PlatformRect> two = {rect(0, 0, 800, 600), rect(800, -100, 1440, 380)};
    const std::string offset = "Fullscreen offset: 10,-5\n";
    EXPECT_EQ(opened(two, offset + "Resolution: auto\n"), "800x600 at 10,-5");
    EXPECT_EQ(opened(two, offset + "Resolution: display 2\n"), "640x480 at 810,-105");
    EXPECT_EQ(opened(two, offset + "Resolution: span\n"), "1440x700 at 10,-105");
    EXPECT_EQ(opened(two, offset + "Resolution: span 2\n"), "640x480 at 810,-105");
    EXPECT_EQ(opened(two, offset + "Resolution: 320x200\n"), "320x200 at 10,-5");
    EXPECT_EQ(opened(two, offset + "Resolution: windowed\n"), "480x360 at 156,104");
}
