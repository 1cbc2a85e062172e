// The typeface as it is seen: every glyph at three sizes, a pangram, and the help text. With
// CORVANE_PICTURES set to a folder, the picture is written there as specimen.png.
#include "gfx/screenshot.h"
#include "tests/atlas.h"
#include "text/drawtext.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <png.h>

namespace
{

enum { WIDTH = 1260, HEIGHT = 1860, MARGIN = 12 };

const char pangram[] =
    "The five boxing wizards jump quickly; pack my box with 6 dozen liquor jugs. "
    "0O 1lI| 5S 8B 2Z rn m cl d vv w";

const char help[] =
    "Q/Escape = Quit\nArrow keys, WASD or mouse = Move\n"
    "Hold right mouse button or Ctrl+arrows = Rotate view\nMouse wheel or Z/X = Zoom in/out\n"
    "N = New maze\nF = Show connected area\nR = Simplify maze\nSpace = Toggle help/statistics\n"
    "Ctrl-S = Take screenshot\nG = Change plotting type\nShift-G = Toggle grid\n"
    "L = Toggle landscape\nShift-L = Toggle light\nF3,F4,F5,F6 = Stereo mode, swap, depth";

struct Sheet {
    i32 width = 0, height = 0;
    std::vector<u8> rgb; // rows from the top
};

// Where a glyph's quad stands, its whole cell.
struct GlyphQuad {
    i32 code;
    f32 scale;
    i32 left, top, right, bottom;
};

struct Specimen {
    Sheet sheet;
    std::vector<GlyphQuad> quads;
    i32 helptop = 0, helpbottom = 0;
};

std::vector<i32> all_codes()
{
    std::vector<i32> codes;
    for (i32 code = 33; code <= 126; code++) {
        codes.push_back(code);
    }
    codes.insert(codes.end(), {163, 166, 172});
    return codes;
}

// A glyph by itself at a place, and its quad: its cell, scaled, from a margin left of the pen and above.
GlyphQuad put_glyph(i32 code, i32 x, i32 y)
{
    const char text[] = {static_cast<char>(code), 0};
    text_draw(static_cast<f32>(x), static_cast<f32>(y), text, 0xFFFFFF);
    const Font* const font = font_current;
    const f64 scale = static_cast<f64>(font->xscale);
    const f64 line = font->height - 2 * static_cast<f64>(font->margin);
    const f64 border = font->height * static_cast<f64>(font->margin) / line * scale;
    const f64 width = (font->cellw[code] - 2 * static_cast<f64>(font->margin)) * scale;
    return {code,
            font->xscale,
            static_cast<i32>(std::floor(x - border)),
            static_cast<i32>(std::floor(y - border)),
            static_cast<i32>(std::ceil(x + width + border)),
            static_cast<i32>(std::ceil(y + line * scale + border))};
}

// All glyphs in a grid; returns the y below it.
i32 put_grid(Specimen* specimen, const char* font, i32 y, i32 columns, i32 pitch, i32 line)
{
    Font_select(font);
    const std::vector<i32> codes = all_codes();
    for (size_t i = 0; i < codes.size(); i++) {
        const i32 column = static_cast<i32>(i) % columns;
        const i32 row = static_cast<i32>(i) / columns;
        specimen->quads.push_back(
            put_glyph(codes[i], MARGIN + column * pitch, y + MARGIN + row * line));
    }
    return y + MARGIN + (static_cast<i32>(codes.size()) + columns - 1) / columns * line;
}

Sheet window_picture()
{
    u8* const pixels = picture_read(gfx_width, gfx_height);
    Sheet sheet = {gfx_width, gfx_height, {}};
    sheet.rgb.assign(pixels,
                     pixels + static_cast<size_t>(gfx_width) * static_cast<size_t>(gfx_height) * 3);
    std::free(pixels);
    return sheet;
}

Specimen draw_specimen()
{
    Specimen specimen;
    atlas_load();
    Font_make("fmod:scale=30%", "normal");
    glClear(GL_COLOR_BUFFER_BIT);
    i32 y = put_grid(&specimen, "normal", 0, 97, 12, 22);
    Font_select("normal");
    text_draw(MARGIN, static_cast<f32>(y), pangram, 0xFFFFFF);
    specimen.helptop = y + 24;
    text_draw(MARGIN, static_cast<f32>(specimen.helptop), help, 0xFFFFFF);
    specimen.helpbottom = specimen.helptop + 14 * 17;
    y = put_grid(&specimen, "fmod", specimen.helpbottom, 33, 37, 54);
    put_grid(&specimen, "fmod:scale=300%", y, 12, 103, 152);
    specimen.sheet = window_picture();
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    return specimen;
}

// Drawn once: the picture of all tests here.
const Specimen& specimen()
{
    static Specimen drawn;
    if (drawn.quads.empty()) {
        atlas_window(WIDTH, HEIGHT);
        drawn = draw_specimen();
        gfx_close();
    }
    return drawn;
}

// The sum of green over a part of a sheet; what lies outside of the sheet counts -1 and makes the
// test fail.
i32 ink(const Sheet& sheet, i32 left, i32 top, i32 right, i32 bottom)
{
    if (left < 0 || top < 0 || right > sheet.width || bottom > sheet.height) {
        return -1;
    }
    i32 sum = 0;
    for (i32 y = top; y < bottom; y++) {
        for (i32 x = left; x < right; x++) {
            sum += sheet.rgb.at((static_cast<size_t>(y) * static_cast<size_t>(sheet.width) +
                                 static_cast<size_t>(x)) *
                                    3 +
                                1);
        }
    }
    return sum;
}

i32 ink(const Sheet& sheet, const GlyphQuad& quad)
{
    return ink(sheet, quad.left, quad.top, quad.right, quad.bottom);
}

Sheet read_stored()
{
    Sheet sheet;
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    const std::string path = std::string(CORVANE_SOURCE_DIR) + "/docs/pictures/specimen.png";
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0) {
        ADD_FAILURE() << path << ": " << image.message;
        return sheet;
    }
    image.format = PNG_FORMAT_RGB;
    sheet.width = static_cast<i32>(image.width);
    sheet.height = static_cast<i32>(image.height);
    sheet.rgb.resize(PNG_IMAGE_SIZE(image));
    EXPECT_NE(png_image_finish_read(&image, nullptr, sheet.rgb.data(), 0, nullptr), 0);
    return sheet;
}

} // namespace

TEST(specimen, shows_ink_in_every_glyphs_quad)
{
    EXPECT_EQ(specimen().quads.size(), 3U * 97);
    for (const GlyphQuad& quad : specimen().quads) {
        // a full stop is a stroke wide and high; its pixels are those of a square of 4 texels
        const f32 least = 255 * 16 * quad.scale * quad.scale;
        EXPECT_GT(static_cast<f32>(ink(specimen().sheet, quad)), 0.6F * least)
            << quad.code << " at " << quad.scale;
    }
}

// Between the lines of the grids, and right of the help text.
TEST(specimen, shows_nothing_between_the_quads)
{
    const Sheet& sheet = specimen().sheet;
    std::vector<bool> free(static_cast<size_t>(sheet.width) * static_cast<size_t>(sheet.height),
                           true);
    for (const GlyphQuad& quad : specimen().quads) {
        for (i32 y = std::max(0, quad.top); y < quad.bottom; y++) {
            for (i32 x = std::max(0, quad.left); x < quad.right; x++) {
                free.at(static_cast<size_t>(y * sheet.width + x)) = false;
            }
        }
    }
    i32 painted = 0;
    for (i32 y = specimen().helpbottom; y < sheet.height; y++) {
        for (i32 x = 0; x < sheet.width; x++) {
            painted += free[static_cast<size_t>(y * sheet.width + x)] &&
                       ink(sheet, x, y, x + 1, y + 1) != 0;
        }
    }
    EXPECT_EQ(painted, 0);
}

TEST(specimen, shows_fourteen_lines_of_help)
{
    const Sheet& sheet = specimen().sheet;
    i32 lines = 0;
    bool before = false;
    for (i32 y = specimen().helptop; y < specimen().helpbottom; y++) {
        const bool now = ink(sheet, 0, y, 10 + MARGIN, y + 1) > 0; // their first letters
        lines += now && !before ? 1 : 0;
        before = now;
    }
    EXPECT_EQ(lines, 14);
}

// Three sizes of one shape: the mean brightness of a glyph's quad is nearly the same.
TEST(specimen, keeps_the_weight_of_letters_at_all_sizes)
{
    const std::vector<GlyphQuad>& quads = specimen().quads;
    for (const char code : std::string("HOMag8")) {
        std::vector<f64> weights;
        for (const GlyphQuad& quad : quads) {
            if (quad.code == code) {
                weights.push_back(ink(specimen().sheet, quad) /
                                  std::pow(static_cast<f64>(quad.scale), 2));
            }
        }
        ASSERT_EQ(weights.size(), 3U);
        EXPECT_NEAR(weights[0] / weights[2], 1, 0.35)
            << code; // small text is shown a little bolder
        EXPECT_NEAR(weights[1] / weights[2], 1, 0.15) << code;
    }
}

TEST(specimen, stands_as_it_is_drawn_in_the_folder_of_pictures)
{
    const char* const folder = std::getenv("CORVANE_PICTURES");
    if (folder != nullptr) {
        char why[5000];
        EXPECT_TRUE(picture_write_png((std::string(folder) + "/specimen.png").c_str(),
                                      specimen().sheet.rgb.data(), WIDTH, HEIGHT, why))
            << why;
    }
    const Sheet stored = read_stored();
    ASSERT_EQ(stored.width, WIDTH);
    ASSERT_EQ(stored.height, HEIGHT);
    for (const GlyphQuad& quad : specimen().quads) {
        const i32 drawn = ink(specimen().sheet, quad);
        EXPECT_NEAR(ink(stored, quad), drawn, 0.1 * drawn + 100)
            << quad.code << " at " << quad.scale;
    }
}
