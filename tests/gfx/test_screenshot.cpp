#include "base/wholefile.h"
#include "gfx/screenshot.h"
#include "tests/scripted_window.h"

#include <GL/gl.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <png.h>
#include <string>
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
