#include "base/clock.h"
#include "base/report.h"
#include "base/wholefile.h"
#include "gfx/screenshot.h"
#include "tests/scripted_window.h"
#include "tests/tempfolder.h"

#include <GL/gl.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <malloc.h>
#include <png.h>
#include <string>
#include <sys/resource.h>
#include <vector>

using Pixels = std::vector<u8>;

static char why[WHOLEFILE_WHY];

// Pixels that all differ from their neighbours.
static Pixels pattern(i32 width, i32 height)
{
    Pixels out;
    for (i32 i = 0; i < width * height * 3; i++) {
        out.push_back(static_cast<u8>((i * 37 + i / 256) & 255));
    }
    return out;
}

// The pixels of a PNG as they lie in the file, and its size; nothing if it can't be read.
static Pixels read_back(const std::string& path, i32* width, i32* height)
{
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0) {
        return {};
    }
    image.format = PNG_FORMAT_RGB;
    Pixels out(PNG_IMAGE_SIZE(image));
    png_image_finish_read(&image, nullptr, out.data(), 0, nullptr);
    *width = static_cast<i32>(image.width);
    *height = static_cast<i32>(image.height);
    return out;
}

static void expect_round_trip(i32 width, i32 height)
{
    const std::string path = "round_trip.png";
    const Pixels written = pattern(width, height);
    i32 gotwidth = 0;
    i32 gotheight = 0;
    EXPECT_TRUE(picture_write_png(path.c_str(), written.data(), width, height, why));
    EXPECT_EQ(read_back(path, &gotwidth, &gotheight), written);
    EXPECT_EQ(gotwidth, width);
    EXPECT_EQ(gotheight, height);
    std::filesystem::remove(path);
}

TEST(picture_write_png, comes_back_pixel_by_pixel)
{
    expect_round_trip(120, 77);
}

TEST(picture_write_png, takes_rows_that_no_alignment_fits)
{
    expect_round_trip(641, 3);
    expect_round_trip(1, 1);
}

TEST(picture_write_png, writes_eight_bits_of_red_green_and_blue)
{
    const std::string path = "header.png";
    picture_write_png(path.c_str(), pattern(5, 4).data(), 5, 4, why);
    std::ifstream file(path, std::ios::binary);
    char head[33] = {};
    file.read(head, sizeof head);
    EXPECT_EQ(std::memcmp(head, "\x89PNG\r\n\x1a\n", 8), 0);
    EXPECT_EQ(head[24], 8); // bits
    EXPECT_EQ(head[25], 2); // red, green and blue
    std::filesystem::remove(path);
}

TEST(picture_write_png, replaces_an_old_file)
{
    const std::string path = "replaced.png";
    std::ofstream(path) << "old";
    const Pixels written = pattern(6, 5);
    i32 width = 0;
    i32 height = 0;
    EXPECT_TRUE(picture_write_png(path.c_str(), written.data(), 6, 5, why));
    EXPECT_EQ(read_back(path, &width, &height), written);
    std::filesystem::remove(path);
}

TEST(picture_write_png, tells_a_path_that_cannot_be_written)
{
    why[0] = 0;
    EXPECT_FALSE(picture_write_png("no/such/folder/x.png", pattern(6, 5).data(), 6, 5, why));
    EXPECT_NE(std::string(why).find("no/such/folder"), std::string::npos) << why;
}

TEST(picture_write_png, tells_a_picture_without_a_size)
{
    why[0] = 0;
    EXPECT_FALSE(picture_write_png("empty.png", pattern(1, 1).data(), 0, 5, why));
    EXPECT_NE(std::string(why).find("empty.png"), std::string::npos) << why;
    EXPECT_FALSE(std::filesystem::exists("empty.png"));
}

// A window of 5 by 4: red in its upper left pixel, green in the lower right one.
static void draw_corners()
{
    glClear(GL_COLOR_BUFFER_BIT);
    gfx_overlay_begin();
    glColor3f(1.0F, 0.0F, 0.0F);
    glRecti(0, 0, 1, 1);
    glColor3f(0.0F, 1.0F, 0.0F);
    glRecti(4, 3, 5, 4);
    gfx_overlay_end();
}

TEST(picture_read, gives_rows_from_the_top_without_padding)
{
    scripted_begin();
    const ScriptedWindow window(5, 4);
    draw_corners();
    Pixels expected(5 * 4 * 3, 0);
    expected[0] = 255;
    expected[5 * 4 * 3 - 2] = 255;
    u8* rgb = picture_read(5, 4);
    EXPECT_EQ(Pixels(rgb, rgb + 5 * 4 * 3), expected);
    std::free(rgb);
}

TEST(picture_read, keeps_the_row_of_an_odd_height_in_the_middle)
{
    scripted_begin();
    const ScriptedWindow window(3, 3);
    gfx_overlay_begin();
    glRecti(0, 1, 3, 2);
    gfx_overlay_end();
    u8* rgb = picture_read(3, 3);
    EXPECT_EQ(rgb[0], 0);
    EXPECT_EQ(rgb[9], 255);
    EXPECT_EQ(rgb[18], 0);
    std::free(rgb);
}

TEST(picture_read, leaves_the_alignment_of_rows_as_it_was)
{
    scripted_begin();
    const ScriptedWindow window(5, 4);
    std::free(picture_read(5, 4));
    GLint alignment = 0;
    glGetIntegerv(GL_PACK_ALIGNMENT, &alignment);
    EXPECT_EQ(alignment, 4);
}

// An empty folder to stand in, and what is told meanwhile.
struct Place : TempFolder {
    static inline std::vector<std::string> told;
    std::filesystem::path home = std::filesystem::current_path();
    void (*handler)(ReportRec*) = report_handler;
    f64 (*clock)() = timer_now;

    Place()
    {
        std::filesystem::current_path(path);
        told.clear();
        report_handler = [](ReportRec* rec) { told.push_back(rec->message); };
        warnings_to_file = 0;
    }
    ~Place()
    {
        timer_now = clock;
        report_handler = handler;
        warnings_to_file = 1;
        std::filesystem::current_path(home);
    }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    std::string text(const std::string& name) const
    {
        return has(name) ? read_text(file(name)) : "(none)";
    }
    // All names, joined by blanks.
    std::string listing() const
    {
        std::string joined;
        for (const std::string& name : names()) {
            joined += (joined.empty() ? "" : " ") + name;
        }
        return joined;
    }
};

// The same picture for bitmap_write and for a reader of PNGs.
struct Shown {
    i32 width, height;
    Pixels rgb;  // rows from the top
    Pixels rows; // as bitmap_write takes them

    Shown(i32 w, i32 h) : width(w), height(h), rgb(pattern(w, h))
    {
        const i32 padded = bitmap_stride(w);
        rows.assign(static_cast<size_t>(padded) * static_cast<size_t>(h), 0);
        for (i32 y = 0; y < h; y++) {
            for (i32 x = 0; x < w; x++) {
                for (i32 k = 0; k < 3; k++) {
                    rows[static_cast<size_t>((h - 1 - y) * padded + 3 * x + 2 - k)] =
                        rgb[static_cast<size_t>((y * w + x) * 3 + k)];
                }
            }
        }
    }
    void save(const std::string& path, i32 convert) const
    {
        bitmap_write(rows.data(), width, height, path.c_str(), convert);
    }
    std::string bytes() const
    {
        return std::string(rows.begin(), rows.end());
    }
};

static void expect_png(const std::string& path, const Shown& shown)
{
    i32 width = 0;
    i32 height = 0;
    EXPECT_EQ(read_back(path, &width, &height), shown.rgb) << path;
    EXPECT_EQ(width, shown.width);
    EXPECT_EQ(height, shown.height);
}

TEST(bitmap_stride, pads_a_row_to_four_bytes)
{
    EXPECT_EQ(bitmap_stride(641), 1924);
    EXPECT_EQ(bitmap_stride(640), 1920);
    EXPECT_EQ(bitmap_stride(1), 4);
    EXPECT_EQ(bitmap_stride(2), 8);
    EXPECT_EQ(bitmap_stride(3), 12);
}

TEST(bitmap_write, writes_this_header)
{
    const Place place;
    Shown(641, 3).save("x.bmp", 0);
    const std::string header("BM"
                             "\xC2\x16\0\0" // 3 rows of 1924 bytes, and 54
                             "\0\0\0\0"
                             "\x36\0\0\0"
                             "\x28\0\0\0"
                             "\x81\x02\0\0" // 641
                             "\x03\0\0\0"
                             "\x01\0\x18\0"
                             "\0\0\0\0"
                             "\x10\x0E\x03\0" // 200208 for every size
                             "\x12\x0B\0\0"
                             "\x12\x0B\0\0"
                             "\0\0\0\0"
                             "\0\0\0\0",
                             54);
    EXPECT_EQ(place.text("x.bmp").substr(0, 54), header);
}

TEST(bitmap_write, writes_the_pixels_as_they_are_behind_the_header)
{
    const Place place;
    const Shown shown(641, 3);
    shown.save("x.bmp", 0);
    EXPECT_EQ(place.text("x.bmp").size(), 54U + 3 * 1924);
    EXPECT_EQ(place.text("x.bmp").substr(54), shown.bytes());
}

TEST(bitmap_write, without_converting_makes_nothing_but_the_bitmap)
{
    const Place place;
    Shown(5, 4).save("x.bmp", 0);
    EXPECT_EQ(place.listing(), "x.bmp");
    EXPECT_TRUE(Place::told.empty());
}

TEST(bitmap_write, converted_leaves_nothing_but_the_picture)
{
    const Place place;
    for (const i32 width : {5, 8, 641}) {
        const Shown shown(width, 4);
        shown.save("x.bmp", 1);
        EXPECT_EQ(place.listing(), "x.png");
        expect_png("x.png", shown);
    }
    EXPECT_TRUE(Place::told.empty());
}

TEST(bitmap_write, converted_takes_an_older_bitmap_of_its_name_away)
{
    const Place place;
    write_text("x.bmp", "old");
    Shown(5, 4).save("x.bmp", 1);
    EXPECT_EQ(place.listing(), "x.png");
}

TEST(bitmap_write, converted_leaves_a_folder_of_the_bitmaps_name_alone)
{
    const Place place;
    std::filesystem::create_directory("x.bmp");
    Shown(5, 4).save("x.bmp", 1);
    EXPECT_EQ(place.listing(), "x.bmp x.png");
}

// Which name the picture of a bitmap gets.
static std::string target_of(const std::string& path)
{
    const Place place;
    std::filesystem::create_directory("a.b");
    Shown(2, 2).save(path, 1);
    std::string found;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(place.path)) {
        if (entry.is_regular_file()) {
            found += std::filesystem::relative(entry.path(), place.path).string();
        }
    }
    EXPECT_TRUE(Place::told.empty()) << Place::told[0];
    return found;
}

TEST(bitmap_write, replaces_what_follows_the_last_point_by_png)
{
    EXPECT_EQ(target_of("one.two.bmp"), "one.two.png");
    EXPECT_EQ(target_of("end."), "end.png");
    EXPECT_EQ(target_of("a.b/c.bmp"), "a.b/c.png");
}

TEST(bitmap_write, adds_png_to_a_name_without_a_point)
{
    EXPECT_EQ(target_of("none"), "none.png");
    EXPECT_EQ(target_of("n"), "n.png");
}

TEST(bitmap_write, does_not_look_at_the_first_character_for_the_point)
{
    EXPECT_EQ(target_of(".bmp"), ".bmp.png");
}

TEST(bitmap_write, keeps_a_picture_whose_name_is_its_own_target)
{
    EXPECT_EQ(target_of("same.png"), "same.png");
}

TEST(bitmap_write, leaves_the_bitmap_where_the_picture_cannot_be_written)
{
    const Place place;
    std::filesystem::create_directory("x.png");
    const Shown shown(7, 5);
    shown.save("x.bmp", 1);
    EXPECT_EQ(place.listing(), "x.bmp x.png");
    EXPECT_EQ(place.text("x.bmp").substr(54), shown.bytes());
    ASSERT_EQ(Place::told.size(), 1U);
    EXPECT_EQ(Place::told[0].find("The picture is saved as a bitmap, x.bmp. "), 0U);
    EXPECT_NE(Place::told[0].find("x.png"), std::string::npos) << Place::told[0];
}

TEST(bitmap_write, leaves_an_older_picture_whole_that_it_cannot_replace)
{
    const Place place;
    write_text("old.png", "old");
    ASSERT_EQ(chmod(place.path.c_str(), 0777), 0);
    ASSERT_EQ(chmod("old.png", 0444), 0);
    const OrdinaryUser user;
    Shown(7, 5).save("old.bmp", 1);
    EXPECT_EQ(place.listing(), "old.bmp old.png");
    EXPECT_EQ(place.text("old.png"), "old");
}

TEST(bitmap_write, replaces_an_older_picture)
{
    const Place place;
    write_text("x.png", "old");
    const Shown shown(7, 5);
    shown.save("x.bmp", 1);
    expect_png("x.png", shown);
}

TEST(bitmap_write, tells_a_folder_that_is_not_there)
{
    const Place place;
    Shown(7, 5).save("no/such/x.bmp", 1);
    EXPECT_EQ(place.listing(), "");
    ASSERT_EQ(Place::told.size(), 1U);
    EXPECT_EQ(Place::told[0].find("The picture is not saved in no/such/x.bmp. "), 0U)
        << Place::told[0];
}

TEST(bitmap_write, tells_a_folder_that_cannot_be_written)
{
    const Place place;
    ASSERT_EQ(chmod(place.path.c_str(), 0555), 0);
    {
        const OrdinaryUser user;
        Shown(7, 5).save("x.bmp", 1);
    }
    EXPECT_EQ(place.listing(), "");
    ASSERT_EQ(Place::told.size(), 1U);
    EXPECT_EQ(Place::told[0].find("The picture is not saved in x.bmp. "), 0U) << Place::told[0];
}

TEST(bitmap_write, tells_a_picture_without_a_size)
{
    const Place place;
    const Shown shown(5, 4);
    bitmap_write(shown.rows.data(), 0, 4, "x.bmp", 1);
    bitmap_write(shown.rows.data(), 5, 0, "x.bmp", 0);
    EXPECT_EQ(place.listing(), "");
    EXPECT_EQ(Place::told.size(), 2U);
}

// While it lives no file grows beyond some bytes, as on a disk that is almost full.
struct SmallFiles {
    rlimit before = {};
    explicit SmallFiles(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit now = {.rlim_cur = bytes, .rlim_max = before.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &now), 0);
    }
    ~SmallFiles()
    {
        setrlimit(RLIMIT_FSIZE, &before);
    }
    SmallFiles(const SmallFiles&) = delete;
    SmallFiles& operator=(const SmallFiles&) = delete;
};

TEST(bitmap_write, leaves_older_files_whole_where_there_is_no_room)
{
    const Place place;
    write_text("x.bmp", "old bitmap");
    write_text("x.png", "old picture");
    const Shown shown(200, 200);
    {
        const SmallFiles limit(60);
        shown.save("x.bmp", 1);
    }
    EXPECT_EQ(place.listing(), "x.bmp x.png");
    EXPECT_EQ(place.text("x.bmp"), "old bitmap");
    EXPECT_EQ(place.text("x.png"), "old picture");
    ASSERT_EQ(Place::told.size(), 1U);
    EXPECT_EQ(Place::told[0].find("The picture is not saved in x.bmp. "), 0U) << Place::told[0];
}

// Pixels that don't follow from one another, so that packing them makes them no smaller.
static void scramble(Shown* shown)
{
    u32 state = 1;
    for (u8& byte : shown->rows) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<u8>(state >> 24);
    }
}

TEST(bitmap_write, falls_back_to_the_bitmap_where_only_that_has_room)
{
    const Place place;
    Shown shown(200, 200);
    scramble(&shown);
    {
        const SmallFiles limit(54 + 600 * 200);
        shown.save("x.bmp", 1);
    }
    EXPECT_EQ(place.listing(), "x.bmp");
    EXPECT_EQ(place.text("x.bmp").substr(54), shown.bytes());
    EXPECT_EQ(Place::told.size(), 1U);
}

static f64 clock_shows; // what timer_now says in a test

static std::string shot_at(f64 seconds, const char* prefix = "Corvane")
{
    const Place place;
    clock_shows = seconds;
    timer_now = [] { return clock_shows; };
    screenshot_save(prefix);
    EXPECT_TRUE(Place::told.empty()) << Place::told[0];
    return place.listing();
}

TEST(screenshot_save, counts_up_every_three_tenths_of_a_second)
{
    scripted_begin();
    const ScriptedWindow window(5, 4);
    EXPECT_EQ(shot_at(0), "Corvane_00000.png");
    EXPECT_EQ(shot_at(0.29), "Corvane_00000.png");
    EXPECT_EQ(shot_at(0.31), "Corvane_00001.png");
    EXPECT_EQ(shot_at(3703.6), "Corvane_12345.png");
    EXPECT_EQ(shot_at(29999.9), "Corvane_99999.png");
}

TEST(screenshot_save, counts_from_the_start_again_after_eight_hours)
{
    scripted_begin();
    const ScriptedWindow window(5, 4);
    EXPECT_EQ(shot_at(30000.1), "Corvane_00000.png");
    EXPECT_EQ(shot_at(33703.6), "Corvane_12345.png");
}

TEST(screenshot_save, finds_a_number_at_any_time)
{
    scripted_begin();
    const ScriptedWindow window(5, 4);
    EXPECT_EQ(shot_at(3e9 + 0.31), "Corvane_00001.png"); // beyond what an i32 counts
    EXPECT_EQ(shot_at(std::nan("")), "Corvane_00000.png");
    EXPECT_EQ(shot_at(std::numeric_limits<f64>::infinity()), "Corvane_00000.png");
}

TEST(screenshot_save, begins_the_name_with_its_prefix)
{
    scripted_begin();
    const ScriptedWindow window(5, 4);
    EXPECT_EQ(shot_at(0.31, "Other"), "Other_00001.png");
}

TEST(screenshot_save, writes_what_the_back_buffer_shows)
{
    scripted_begin();
    const ScriptedWindow window(5, 4);
    const Place place;
    draw_corners();
    u8* const rgb = picture_read(5, 4);
    const Pixels expected(rgb, rgb + 5 * 4 * 3);
    std::free(rgb);
    timer_now = [] { return 0.31; };
    screenshot_save("Corvane");
    i32 width = 0;
    i32 height = 0;
    EXPECT_EQ(read_back("Corvane_00001.png", &width, &height), expected);
    EXPECT_EQ(width, 5);
    EXPECT_EQ(height, 4);
    EXPECT_EQ(expected[0], 255); // red above, at the left
    EXPECT_EQ(expected[2], 0);
}

TEST(screenshot_save, leaves_a_bitmap_of_the_same_name_as_its_fall_back)
{
    scripted_begin();
    const ScriptedWindow window(5, 4);
    const Place place;
    std::filesystem::create_directory("Corvane_12345.png");
    draw_corners();
    timer_now = [] { return 3703.6; };
    screenshot_save("Corvane");
    const std::string bytes = place.text("Corvane_12345.bmp");
    ASSERT_EQ(bytes.size(), 54U + 4 * 16);
    EXPECT_EQ(bytes.substr(54 + 3 * 16, 4), std::string("\0\0\xFF\0", 4)); // the top row is last
    EXPECT_EQ(bytes.substr(54 + 12, 3), std::string("\0\xFF\0", 3));
}

TEST(screenshot_save, ends_the_rows_of_a_bitmap_with_zeros_whatever_memory_held)
{
    scripted_begin();
    const ScriptedWindow window(101, 40);
    const Place place;
    std::filesystem::create_directory("Corvane_00001.png");
    timer_now = [] { return 0.31; };
    mallopt(M_PERTURB, 0x5A); // what malloc gives holds 0xA5
    screenshot_save("Corvane");
    mallopt(M_PERTURB, 0);
    const std::string bytes = place.text("Corvane_00001.bmp");
    ASSERT_EQ(bytes.size(), 54U + 40 * 304);
    for (size_t row = 0; row < 40; row++) {
        EXPECT_EQ(bytes[54 + 304 * row + 303], 0);
    }
}

TEST(screenshot_save, replaces_a_picture_of_the_same_name)
{
    scripted_begin();
    const ScriptedWindow window(5, 4);
    const Place place;
    write_text("Corvane_00001.png", "old");
    timer_now = [] { return 0.31; };
    screenshot_save("Corvane");
    i32 width = 0;
    i32 height = 0;
    EXPECT_EQ(read_back("Corvane_00001.png", &width, &height), Pixels(5 * 4 * 3, 0));
}

TEST(screenshot_save, tells_a_window_without_a_width)
{
    scripted_begin();
    const ScriptedWindow window(5, 4);
    const Place place;
    gfx_resize(0, 4);
    screenshot_save("Corvane");
    EXPECT_EQ(place.listing(), "");
    EXPECT_EQ(Place::told.size(), 1U);
}

TEST(screenshot_save, leaves_the_alignment_of_rows_as_it_was)
{
    scripted_begin();
    const ScriptedWindow window(5, 4);
    const Place place;
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    screenshot_save("Corvane");
    GLint alignment = 0;
    glGetIntegerv(GL_PACK_ALIGNMENT, &alignment);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    EXPECT_EQ(alignment, 1);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}
