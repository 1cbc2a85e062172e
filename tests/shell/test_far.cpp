// Long walks: pictures far from the origin, and after days of play, beside those of the start.
#include "tests/shell_session.h"

#include <algorithm>
#include <cstdlib>

// A picture by corvane-shot of a saved or a new world, 240 by 180.
static Picture shot(const Folder& folder, const std::string& options)
{
    const Outcome outcome =
        run_in(folder, program("corvane-shot") + " --size 240x180 " + "--out shot.png " + options);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    return read_png(folder.file("shot.png"));
}

// How many pixels of a hundred differ by more than `much` of 255 in a channel.
static f64 percent(const Picture& a, const Picture& b, i32 much)
{
    EXPECT_EQ(a.rgb.size(), b.rgb.size());
    i32 count = 0;
    for (size_t i = 0; i + 2 < a.rgb.size(); i += 3) {
        i32 most = 0;
        for (size_t k = 0; k < 3; k++) {
            most = std::max(most, std::abs(a.rgb[i + k] - b.rgb[i + k]));
        }
        count += most > much ? 1 : 0;
    }
    return 100.0 * count / (static_cast<f64>(a.rgb.size()) / 3);
}

static f64 lit_percent(const Picture& picture)
{
    return 100.0 * picture.lit() / (static_cast<f64>(picture.rgb.size()) / 3);
}

static const char block[] = "--seed 5 --kind 5 --pitch -0.9 --yaw 0.5 --clock 100 --trail 40 "
                            "--zoom 0.6 ";
static const char at1e5[] = "--shift 80000,60000,0 ";
static const char at1e6[] = "--shift 800000,600000,0 ";
static const char at1e7[] = "--shift 8000000,6000000,0 ";

struct Style {
    const char* name;
    const char* options;
    f64 much1e5; // percent of the pixels that differ by more than a quarter, at most
    f64 much1e6;
};

static const Style styles[] = {
    {"discs", "--plot discs ", 0.2, 0.5},
    {"gantries", "--plot gantries ", 2.5, 13.0},
    {"balls", "--plot balls ", 0.8, 4.0},
    {"flat", "--plot flat ", 1.5, 10.0},
    {"voronoi 0", "--plot voronoi --voronoi-mode 0 ", 2.5, 18.0},
    {"voronoi 5", "--plot voronoi --voronoi-mode 5 ", 4.0, 18.0},
};

TEST(far_picture, is_that_of_the_origin_a_hundred_thousand_units_out)
{
    const Folder folder;
    for (const Style& style : styles) {
        const Picture near = shot(folder, std::string(block) + style.options);
        EXPECT_GT(lit_percent(near), 10) << style.name;
        const Picture far = shot(folder, std::string(block) + style.options + at1e5);
        EXPECT_LE(percent(near, far, 64), style.much1e5) << style.name;
    }
}

TEST(far_picture, differs_along_outlines_a_million_units_out)
{
    const Folder folder;
    for (const Style& style : styles) {
        const Picture near = shot(folder, std::string(block) + style.options);
        const Picture far = shot(folder, std::string(block) + style.options + at1e6);
        EXPECT_LE(percent(near, far, 64), style.much1e6) << style.name;
    }
}

// Nodes and eye are numbers that single precision holds, so nothing of the place is lost.
TEST(far_picture, of_discs_is_that_of_the_origin_where_single_precision_holds_the_places)
{
    const Folder folder;
    leave_line(folder);
    const std::string world = "--world maze_save.dat --trail 15 --clock 100 ";
    const Picture near = shot(folder, world);
    EXPECT_GT(lit_percent(near), 2);
    EXPECT_LE(percent(near, shot(folder, world + "--shift 8000000,0,0"), 4), 0.1);
}

// Pixels of a hundred that are unlike all four neighbours.
static f64 specks(const Picture& picture)
{
    const i32 width = static_cast<i32>(picture.width);
    const auto green = [&](i32 x, i32 y) {
        return static_cast<i32>(picture.rgb[static_cast<size_t>(3 * (y * width + x) + 1)]);
    };
    i32 count = 0;
    for (i32 y = 1; y < static_cast<i32>(picture.height) - 1; y++) {
        for (i32 x = 1; x < width - 1; x++) {
            const i32 here = green(x, y);
            const auto unlike = [&](i32 there) { return std::abs(here - there) > 48; };
            count += unlike(green(x - 1, y)) && unlike(green(x + 1, y)) &&
                             unlike(green(x, y - 1)) && unlike(green(x, y + 1))
                         ? 1
                         : 0;
        }
    }
    return 100.0 * count / (static_cast<f64>(picture.rgb.size()) / 3);
}

// Places are whole numbers there, so that nodes move by up to half a unit; each is drawn whole.
TEST(far_picture, of_discs_is_no_rougher_ten_million_units_out)
{
    const Folder folder;
    const Picture near = shot(folder, std::string(block) + "--plot discs ");
    const Picture far = shot(folder, std::string(block) + "--plot discs " + at1e7);
    EXPECT_NEAR(lit_percent(far), lit_percent(near), 3);
    EXPECT_LE(specks(far), 1.5 * specks(near));
}

TEST(late_picture, shows_trails_in_the_colours_of_their_age_after_a_million_seconds)
{
    const Folder folder;
    const std::string world = "--seed 5 --kind 0 --pitch -1.3 --yaw 0.5 --trail 300 ";
    for (const std::string plot : {"--plot discs ", "--plot flat "}) {
        const Picture early = shot(folder, world + plot + "--clock 1000");
        const Picture late = shot(folder, world + plot + "--clock 1000000");
        EXPECT_GT(percent(early, shot(folder, world + plot + "--clock 10"), 16), 1) << plot;
        EXPECT_LE(percent(early, late, 4), 0.1) << plot;
    }
}

// The day is 1000 seconds long.
TEST(late_picture, has_the_light_of_its_hour_after_a_million_seconds)
{
    const Folder folder;
    const std::string world = "--seed 5 --kind 0 --pitch -1.3 --yaw 0.5 --plot balls ";
    const Picture morning = shot(folder, world + "--clock 800");
    EXPECT_LE(percent(morning, shot(folder, world + "--clock 1000800"), 2), 0.1);
    EXPECT_GT(percent(morning, shot(folder, world + "--clock 1001000"), 16), 1);
}
