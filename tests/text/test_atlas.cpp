#include "base/report.h"
#include "gfx/gl/shaderprocs.h"
#include "gfx/textures.h"
#include "tests/atlas.h"
#include "tests/gl_state.h"
#include "tests/handfont.h"
#include "tests/system.h"

#include <GL/glext.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>

// What the driver says is its greatest texture, 0 for its own answer. The routine below takes the place
// of the library's.
static i32 greatest_texture;

extern "C" void glGetIntegerv(GLenum name, GLint* out)
{
    using Call = void (*)(GLenum, GLint*);
    static const Call next = reinterpret_cast<Call>(system_libraryroutine("glGetIntegerv"));
    next(name, out);
    if (name == GL_MAX_TEXTURE_SIZE && greatest_texture != 0) {
        *out = greatest_texture;
    }
}

namespace
{

// A window for a test, and the ways of the driver as they were afterwards.
struct AtlasWindow {
    AtlasWindow(i32 width, i32 height, i32 framebuffers = -1)
    {
        atlas_window(width, height);
        have_framebuffers = framebuffers;
    }
    AtlasWindow(const AtlasWindow&) = delete;
    AtlasWindow& operator=(const AtlasWindow&) = delete;
    ~AtlasWindow()
    {
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        have_framebuffers = -1;
        greatest_texture = 0;
        gfx_close();
    }
};

// Whether a texel lies in a cell.
std::vector<bool> cell_mask(const Font* font)
{
    std::vector<bool> mask(static_cast<size_t>(font->texw) * static_cast<size_t>(font->texh));
    for (i32 code = 0; code < 512; code++) {
        for (u32 y = font->celly[code]; y < font->celly[code] + font->height; y++) {
            for (u32 x = font->cellx[code]; x < font->cellx[code] + font->cellw[code]; x++) {
                mask.at(size_t{y} * static_cast<size_t>(font->texw) + x) = true;
            }
        }
    }
    return mask;
}

i32 painted_outside_cells(const Font* font)
{
    const Texels texels = texels_of(font->texture);
    const std::vector<bool> mask = cell_mask(font);
    i32 painted = 0;
    for (i32 y = 0; y < texels.h; y++) {
        for (i32 x = 0; x < texels.w; x++) {
            const bool cell = mask[static_cast<size_t>(y * texels.w + x)];
            painted += !cell && texels.at(x, y) != 0 ? 1 : 0;
        }
    }
    return painted;
}

// The greatest value on the outermost rows and columns of the cells.
i32 most_on_borders(const Font* font)
{
    const Texels texels = texels_of(font->texture);
    i32 most = 0;
    for (i32 code = 0; code < 256; code++) {
        const i32 left = static_cast<i32>(font->cellx[code]);
        const i32 top = static_cast<i32>(font->celly[code]);
        const i32 right = left + static_cast<i32>(font->cellw[code]) - 1;
        const i32 bottom = top + static_cast<i32>(font->height) - 1;
        for (i32 x = left; x <= right; x++) {
            most = std::max({most, texels.at(x, top), texels.at(x, bottom)});
        }
        for (i32 y = top; y <= bottom; y++) {
            most = std::max({most, texels.at(left, y), texels.at(right, y)});
        }
    }
    return most;
}

// The atlas as framebuffer objects give it.
Texels usual_atlas()
{
    const AtlasWindow window(320, 240);
    return texels_of(atlas_load()->texture);
}

i32 ink(const Font* font, i32 code)
{
    const Texels texels = texels_of(font->texture);
    i32 sum = 0;
    for (u32 y = 0; y < font->height; y++) {
        for (u32 x = 0; x < font->cellw[code]; x++) {
            sum += texels.at(static_cast<i32>(font->cellx[code] + x),
                             static_cast<i32>(font->celly[code] + y));
        }
    }
    return sum;
}

} // namespace

TEST(NodeFontCharSet_load, makes_cells_54_pixels_high)
{
    const AtlasWindow window(320, 240);
    EXPECT_EQ(atlas_load()->height, 54U);
}

TEST(NodeFontCharSet_load, leaves_13_pixels_between_cells)
{
    const AtlasWindow window(320, 240);
    const Font* const font = atlas_load();
    for (i32 code = 1; code < 256; code++) {
        ASSERT_EQ(font->celly[code], 0U);
        EXPECT_EQ(font->cellx[code] - font->cellx[code - 1] - font->cellw[code - 1], 13U) << code;
    }
}

TEST(NodeFontCharSet_load, makes_a_widest_cell_of_34_pixels)
{
    const AtlasWindow window(320, 240);
    const Font* const font = atlas_load();
    u32 widest = 0;
    for (const u32 width : font->cellw) {
        widest = std::max(widest, width);
    }
    EXPECT_EQ(widest, 34U);
    EXPECT_EQ(font->maxw, 34U);
}

TEST(NodeFontCharSet_load, makes_empty_cells_10_pixels_wide)
{
    const AtlasWindow window(320, 240);
    const Font* const font = atlas_load();
    for (i32 code = 0; code < 256; code++) {
        if (!has_glyph(code)) {
            EXPECT_EQ(font->cellw[code], 10U) << code;
            EXPECT_EQ(ink(font, code), 0) << code;
        }
    }
}

TEST(NodeFontCharSet_load, gives_codes_above_255_no_width_and_no_step)
{
    const AtlasWindow window(320, 240);
    const Font* const font = atlas_load();
    for (i32 code = 256; code < 512; code++) {
        EXPECT_EQ(font->cellw[code], 0U);
        EXPECT_EQ(font->cellx[code], font->cellx[255] + font->cellw[255] + 13);
    }
}

TEST(NodeFontCharSet_load, rounds_the_texture_up_to_powers_of_two)
{
    const AtlasWindow window(320, 240);
    const Font* const font = atlas_load();
    const Texels texels = texels_of(font->texture);
    EXPECT_EQ(font->texw, 8192);
    EXPECT_EQ(font->texh, 64);
    EXPECT_EQ(texels.w, 8192);
    EXPECT_EQ(texels.h, 64);
}

// The rows by the plain rule: a cell that with its gap doesn't fit begins a row.
TEST(NodeFontCharSet_load, lays_cells_out_in_rows_where_textures_are_small)
{
    const AtlasWindow window(320, 240);
    greatest_texture = 1024;
    const Font* const font = atlas_load();
    u32 pen = 0;
    u32 row = 0;
    u32 maxx = 1;
    for (i32 code = 0; code < 256; code++) {
        if (pen + font->cellw[code] + 13 > 1024) {
            pen = 0;
            row += 54 + 13;
        }
        ASSERT_EQ(font->cellx[code], pen) << code;
        ASSERT_EQ(font->celly[code], row) << code;
        maxx = std::max(maxx, pen + font->cellw[code]);
        pen += font->cellw[code] + 13;
    }
    EXPECT_EQ(row, 7U * (54 + 13));
    EXPECT_GT(maxx, 512U);
    EXPECT_EQ(font->texw, 1024);
    EXPECT_EQ(font->texh, 1024);
}

TEST(NodeFontCharSet_load, draws_rows_of_cells_as_it_draws_one_row)
{
    const AtlasWindow window(320, 240);
    const Font* const one = atlas_load("one row");
    greatest_texture = 2048;
    const Font* const rows = atlas_load("rows");
    const Texels a = texels_of(one->texture);
    const Texels b = texels_of(rows->texture);
    ASSERT_GT(rows->celly[255], 0U);
    EXPECT_EQ(painted_outside_cells(rows), 0);
    i32 most = 0;
    for (i32 code = 0; code < 256; code++) {
        for (u32 y = 0; y < 54; y++) {
            for (u32 x = 0; x < one->cellw[code]; x++) {
                const i32 v = a.at(static_cast<i32>(one->cellx[code] + x),
                                   static_cast<i32>(one->celly[code] + y));
                const i32 w = b.at(static_cast<i32>(rows->cellx[code] + x),
                                   static_cast<i32>(rows->celly[code] + y));
                most = std::max(most, std::abs(v - w));
            }
        }
    }
    EXPECT_LE(most, 1);
}

TEST(NodeFontCharSet_load, draws_half_on_the_edges_of_strokes_full_inside_and_nothing_outside)
{
    const AtlasWindow window(320, 240);
    const StraightCheck check = check_straight(atlas_load());
    i32 glyphs = 0;
    for (const bool sampled : check.glyphs) {
        glyphs += sampled ? 1 : 0;
    }
    EXPECT_EQ(check.wrong, 0);
    EXPECT_GT(check.texels, 5000);
    EXPECT_GT(check.edges, 500);
    EXPECT_GT(check.full, 500);
    EXPECT_GT(check.outside, 1000);
    EXPECT_GT(glyphs, 70);
}

TEST(NodeFontCharSet_load, leaves_the_space_between_cells_empty)
{
    const AtlasWindow window(320, 240);
    EXPECT_EQ(painted_outside_cells(atlas_load()), 0);
}

// The corner of a slanted end lies farther out than the glyph's box has it: by 0.41 of half a stroke and
// half a ramp, 1.45 pixels. So it comes to 2.95 of the 3 pixels around the box, where a border texel has a
// tenth at most.
TEST(NodeFontCharSet_load, touches_the_border_of_a_cell_with_the_faint_corners_of_slanted_ends_only)
{
    const AtlasWindow window(320, 240);
    EXPECT_LE(most_on_borders(atlas_load()), 27);
}

TEST(NodeFontCharSet_load, gives_every_glyph_ink)
{
    const AtlasWindow window(320, 240);
    const Font* const font = atlas_load();
    for (i32 code = 0; code < 256; code++) {
        EXPECT_EQ(ink(font, code) > 255 * 9, has_glyph(code)) << code; // a dot is 4 by 4 texels
    }
}

TEST(NodeFontCharSet_load, paints_red_green_and_blue_alike)
{
    const AtlasWindow window(320, 240);
    const Texels texels = texels_of(atlas_load()->texture);
    i32 coloured = 0;
    for (size_t i = 0; i < texels.rgba.size(); i += 4) {
        coloured += texels.rgba[i] != texels.rgba[i + 1] || texels.rgba[i] != texels.rgba[i + 2];
    }
    EXPECT_EQ(coloured, 0);
}

// The bar of the T is at y = 1, 3 + 2 pixels below the top of its cell; that of the L at y = 0.
TEST(NodeFontCharSet_load, puts_the_top_of_a_letter_at_the_top_of_its_cell)
{
    const AtlasWindow window(320, 240);
    const Font* const font = atlas_load();
    const Texels texels = texels_of(font->texture);
    const i32 t = static_cast<i32>(font->cellx['T']);
    const i32 l = static_cast<i32>(font->cellx['L']);
    EXPECT_EQ(texels.at(t + 7, 5), 255);
    EXPECT_EQ(texels.at(t + 7, 37), 0);
    EXPECT_EQ(texels.at(l + 15, 5), 0);
    EXPECT_EQ(texels.at(l + 15, 37), 255);
}

TEST(NodeFontCharSet_load, stands_all_letters_on_one_baseline)
{
    const AtlasWindow window(320, 240);
    const Font* const font = atlas_load();
    const Texels texels = texels_of(font->texture);
    for (const i32 code : {'E', 'L', 'Z', 'z', 'y', 'd', '2'}) { // a straight stroke at y = 0
        const i32 x = static_cast<i32>(font->cellx[code]) + 13;
        EXPECT_EQ(texels.at(x, 36), 255) << code;
        EXPECT_EQ(texels.at(x, 37), 255) << code;
    }
    EXPECT_GT(texels.at(static_cast<i32>(font->cellx['y']) + 13, 48), 200); // its descender
}

TEST(NodeFontCharSet_load, filters_between_texels_and_levels_sharpened_by_one_level)
{
    const AtlasWindow window(320, 240);
    glBindTexture(GL_TEXTURE_2D, atlas_load()->texture);
    GLint smaller = 0;
    GLint larger = 0;
    GLfloat bias = 0;
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &smaller);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, &larger);
    glGetTexParameterfv(GL_TEXTURE_2D, GL_TEXTURE_LOD_BIAS, &bias);
    EXPECT_EQ(smaller, GL_LINEAR_MIPMAP_LINEAR);
    EXPECT_EQ(larger, GL_LINEAR);
    EXPECT_EQ(bias, -1.0F);
}

TEST(NodeFontCharSet_load, makes_all_levels_each_the_mean_of_the_one_above)
{
    const AtlasWindow window(320, 240);
    const GLuint texture = atlas_load()->texture;
    Texels above = texels_of(texture);
    for (i32 level = 1; above.w > 1 || above.h > 1; level++) {
        const Texels below = texels_of(texture, level);
        ASSERT_EQ(below.w, std::max(1, above.w / 2));
        ASSERT_EQ(below.h, std::max(1, above.h / 2));
        i32 wrong = 0;
        for (i32 y = 0; y < below.h; y++) {
            for (i32 x = 0; x < below.w; x++) {
                const i32 x1 = std::min(2 * x + 1, above.w - 1);
                const i32 y1 = std::min(2 * y + 1, above.h - 1);
                const i32 sum = above.at(2 * x, 2 * y) + above.at(x1, 2 * y) + above.at(2 * x, y1) +
                                above.at(x1, y1);
                wrong += below.at(x, y) != (sum + 2) / 4 ? 1 : 0;
            }
        }
        EXPECT_EQ(wrong, 0) << level;
        above = below;
    }
}

TEST(NodeFontCharSet_load, makes_a_base_font)
{
    const AtlasWindow window(320, 240);
    const Font* const font = atlas_load("some name");
    EXPECT_STREQ(font->name, "some name");
    EXPECT_EQ(font->base, font);
    EXPECT_EQ(font->xscale, 1.0F);
    EXPECT_EQ(font->yscale, 1.0F);
    EXPECT_EQ(font->skew, 0.0F);
    EXPECT_EQ(font->boldness, 0.0F);
    EXPECT_EQ(font->basemark, 512);
    EXPECT_EQ(font->margin, 3.0F);
    EXPECT_EQ(font->fixedw, font->cellw['C'] + 1);
    EXPECT_EQ(font->fixedw, 27U);
}

TEST(NodeFontCharSet_load, adds_the_font_to_the_table)
{
    const AtlasWindow window(320, 240);
    const u32 before = fonts_table()->count;
    const Font* const font = atlas_load();
    ASSERT_EQ(fonts.count, before + 1);
    EXPECT_EQ(fonts_first[before], font);
}

TEST(NodeFontCharSet_load, makes_the_font_current_if_none_is)
{
    const AtlasWindow window(320, 240);
    font_current = nullptr;
    const Font* const first = atlas_load();
    EXPECT_EQ(font_current, first);
    EXPECT_EQ(font_height, 54);
    EXPECT_EQ(font_spec.base, first);
    atlas_load();
    EXPECT_EQ(font_current, first);
}

TEST(NodeFontCharSet_load, draws_the_same_in_the_back_buffer)
{
    const Texels usual = usual_atlas();
    const AtlasWindow window(320, 240, 0);
    const Font* const font = atlas_load();
    EXPECT_EQ(have_framebuffers, 0);
    EXPECT_LE(most_difference(texels_of(font->texture), usual), 1);
}

TEST(NodeFontCharSet_load, draws_the_same_in_a_back_buffer_smaller_than_a_cell)
{
    const Texels usual = usual_atlas();
    const AtlasWindow window(50, 20, 0);
    const Font* const font = atlas_load();
    EXPECT_LE(most_difference(texels_of(font->texture), usual), 1);
    EXPECT_EQ(check_straight(font).wrong, 0);
}

TEST(NodeFontCharSet_load, leaves_the_back_buffer_black)
{
    const AtlasWindow window(320, 100, 0);
    atlas_load();
    std::vector<u8> pixels(size_t{320} * 100 * 3, 1);
    glReadPixels(0, 0, 320, 100, GL_RGB, GL_UNSIGNED_BYTE, pixels.data());
    EXPECT_EQ(pixels, std::vector<u8>(size_t{320} * 100 * 3));
}

TEST(NodeFontCharSet_load, leaves_the_window_alone_where_there_are_framebuffer_objects)
{
    const AtlasWindow window(320, 100);
    glClearColor(0.2F, 0.4F, 0.6F, 0);
    glClear(GL_COLOR_BUFFER_BIT);
    atlas_load();
    u8 pixel[3];
    for (const i32 y : {0, 50, 99}) {
        glReadPixels(3, y, 1, 1, GL_RGB, GL_UNSIGNED_BYTE, pixel);
        EXPECT_EQ(pixel[2], 153);
    }
}

TEST(NodeFontCharSet_load, draws_the_same_whatever_state_it_finds)
{
    const Texels usual = usual_atlas();
    for (const i32 framebuffers : {0, 1}) {
        const AtlasWindow window(320, 240, framebuffers);
        gl_disturb();
        const Font* const font = atlas_load();
        EXPECT_LE(most_difference(texels_of(font->texture), usual), 1) << framebuffers;
    }
}

TEST(NodeFontCharSet_load, leaves_the_state_as_it_finds_it)
{
    for (const i32 framebuffers : {0, 1}) {
        const AtlasWindow window(320, 240, framebuffers);
        const std::string plain = gl_state();
        atlas_load();
        EXPECT_EQ(gl_state(), plain);
        gl_disturb();
        const std::string disturbed = gl_state();
        EXPECT_NE(disturbed, plain);
        atlas_load();
        EXPECT_EQ(gl_state(), disturbed);
    }
}

TEST(NodeFontCharSet_load, draws_at_another_scale)
{
    const AtlasWindow window(320, 240);
    const Font* const font = atlas_load("small", 16, 2);
    EXPECT_EQ(font->height, 28U); // trunc((1.5 + 2 * 2 / 16) * 16)
    EXPECT_EQ(font->cellw[' '], 6U);
    EXPECT_EQ(font->margin, 2.0F);
    EXPECT_LE(most_on_borders(font), 32);
    EXPECT_EQ(painted_outside_cells(font), 0);
    EXPECT_GT(ink(font, 'M'), 255 * 100);
}

// In a process of its own with a driver that lacks the greatest of two values.
static void load_without_equation()
{
    atlas_window(320, 240);
    lack_equation();
    const Font* const font = atlas_load();
    const StraightCheck check = check_straight(font);
    std::fprintf(stderr, "wrong %d of many %d, faint %d, outside %d, error %x", check.wrong,
                 check.texels > 5000, most_on_borders(font) <= 27, painted_outside_cells(font),
                 glGetError());
    std::exit(0);
}

TEST(NodeFontCharSet_load, draws_straight_strokes_as_well_without_the_greatest_value)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(load_without_equation(), testing::ExitedWithCode(0),
                "wrong 0 of many 1, faint 1, outside 0, error 0");
}

static void load_fatally(i32 greatest, u32 length)
{
    report_fatal_wait = 0;
    report_to_stderr();
    atlas_window(320, 240);
    greatest_texture = greatest;
    NodeFontCharSet_load(nodefont_data, length, "fmod", &typeface_params, 32, 3);
    std::exit(0);
}

TEST(NodeFontCharSet_load, is_fatal_if_the_atlas_fits_in_no_texture)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(load_fatally(256, NODEFONT_LENGTH), testing::ExitedWithCode(1),
                "<nodefont 0 5 Font 'fmod' required texture of size 256x2048 but maxtx=256 "
                "\\(nodefontdata\\)>");
}

TEST(NodeFontCharSet_load, is_fatal_if_the_table_ends_early)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(load_fatally(0, 66), testing::ExitedWithCode(1),
                "<nodefont 0 5 Font 'fmod' has a damaged table: byte 66 of 66 \\(nodefontdata\\)>");
}

// Strokes into a window with pixels of the overlay as letter heights times `scale`, then reads it back.
struct StrokePicture {
    NodeFontParams params = typeface_params;
    f32 scale = 100;
    f32 fade = 0.03F;
    std::vector<u8> pixels;

    void draw(const std::vector<NodeFontNode>& nodes, const std::vector<NodeFontEdge>& edges,
              i32 code = 'A')
    {
        NodeFontChar glyph;
        GrowArray_init(&glyph.nodes, sizeof(NodeFontNode));
        GrowArray_init(&glyph.edges, sizeof(NodeFontEdge));
        for (const NodeFontNode& node : nodes) {
            GrowArray_push(&glyph.nodes, &node);
        }
        for (const NodeFontEdge& edge : edges) {
            GrowArray_push(&glyph.edges, &edge);
        }
        glClear(GL_COLOR_BUFFER_BIT);
        gfx_overlay_begin();
        glTranslatef(100, 100, 0);
        glScalef(scale, scale, 1);
        NodeFont_stroke(&glyph, code, &params, fade);
        gfx_overlay_end();
        GrowArray_free(&glyph.nodes);
        GrowArray_free(&glyph.edges);
        pixels.resize(size_t{320} * 240 * 3);
        glPixelStorei(GL_PACK_ALIGNMENT, 4);
        glReadPixels(0, 0, 320, 240, GL_RGB, GL_UNSIGNED_BYTE, pixels.data());
    }
    // The pixel that holds a place, in letter heights.
    i32 at(f64 x, f64 y, i32 channel = 1) const
    {
        const i32 px = static_cast<i32>(std::floor(100 + x * static_cast<f64>(scale)));
        const i32 py = 239 - static_cast<i32>(std::floor(100 + y * static_cast<f64>(scale)));
        return pixels.at((static_cast<size_t>(py) * 320 + static_cast<size_t>(px)) * 3 +
                         static_cast<size_t>(channel));
    }
    // The farthest painted place in a direction, in letter heights from the origin.
    f64 reach(f64 dx, f64 dy) const
    {
        f64 most = -10;
        for (i32 y = 0; y < 240; y++) {
            for (i32 x = 0; x < 320; x++) {
                if (pixels.at((static_cast<size_t>(239 - y) * 320 + static_cast<size_t>(x)) * 3) !=
                    0) {
                    most = std::max(most, ((x + 0.5 - 100) * dx + (y + 0.5 - 100) * dy) /
                                              static_cast<f64>(scale));
                }
            }
        }
        return most;
    }
};

// A vertical stroke at x = 0 seen at several scales, always with a ramp of 3 pixels.
TEST(NodeFont_stroke, is_half_at_its_geometric_edge_at_any_scale)
{
    const AtlasWindow window(320, 240);
    glColor4f(1, 1, 1, 1);
    for (const f32 scale : {32.0F, 48.0F, 100.0F}) {
        StrokePicture picture;
        picture.scale = scale;
        picture.fade = 3 / scale;
        picture.draw({{0, 0, 0}, {0, 1, 0}}, {{0, 1}});
        for (i32 px = -20; px < 20; px++) {
            const f64 x = (px + 0.5) / static_cast<f64>(scale);
            const f64 want = ramp_value(std::fabs(x), 0.125, static_cast<f64>(picture.fade));
            EXPECT_NEAR(picture.at(x, 0.5), want, 1.5) << scale << " " << px;
        }
    }
}

TEST(NodeFont_stroke, takes_the_current_colour_as_full)
{
    const AtlasWindow window(320, 240);
    glColor4f(1, 0.6F, 0.2F, 1);
    StrokePicture picture;
    picture.draw({{0, 0, 0}, {0, 1, 0}}, {{0, 1}});
    f32 colour[4];
    glGetFloatv(GL_CURRENT_COLOR, colour);
    EXPECT_EQ(picture.at(0, 0.5, 0), 255);
    EXPECT_EQ(picture.at(0, 0.5, 1), 153);
    EXPECT_EQ(picture.at(0, 0.5, 2), 51);
    EXPECT_EQ(colour[1], 0.6F);
}

TEST(NodeFont_stroke, never_adds_where_pieces_overlap)
{
    const AtlasWindow window(320, 240);
    glColor4f(0.4F, 0.4F, 0.4F, 1);
    StrokePicture picture;
    picture.draw({{0, 0, 0}, {0, 1, 0}, {0.5F, 1, 0}, {-0.2F, 0.3F, 0}, {0.2F, 0.7F, 0}},
                 {{0, 1}, {1, 2}, {3, 4}, {4, 0}});
    EXPECT_EQ(*std::max_element(picture.pixels.begin(), picture.pixels.end()), 102);
}

TEST(NodeFont_stroke, draws_a_lone_node_as_a_square_dot)
{
    const AtlasWindow window(320, 240);
    glColor4f(1, 1, 1, 1);
    StrokePicture picture;
    picture.draw({{0, 0, 0}}, {});
    for (const f64 way : {-1.0, 1.0}) {
        EXPECT_EQ(picture.at(0.045 * way, 0.045), 255);
        EXPECT_EQ(picture.at(0.045 * way, -0.045), 255);
        EXPECT_NEAR(picture.reach(way, 0), 0.0625 + 0.015, 0.011);
        EXPECT_NEAR(picture.reach(0, way), 0.0625 + 0.015, 0.011);
    }
}

TEST(NodeFont_stroke, ends_a_stroke_squarely_half_its_width_behind_a_sharp_node)
{
    const AtlasWindow window(320, 240);
    glColor4f(1, 1, 1, 1);
    StrokePicture picture;
    picture.draw({{0, 0, 0}, {0, 1, 0}}, {{0, 1}});
    EXPECT_EQ(picture.at(0.04, -0.04), 255);
    EXPECT_EQ(picture.at(-0.04, -0.04), 255);
    EXPECT_NEAR(picture.reach(0, -1), 0.0625 + 0.015, 0.011);
    EXPECT_NEAR(picture.reach(0, 1), 1.0625 + 0.015, 0.011);
}

TEST(NodeFont_stroke, fills_the_outside_of_a_sharp_corner)
{
    const AtlasWindow window(320, 240);
    glColor4f(1, 1, 1, 1);
    StrokePicture picture;
    picture.draw({{0, 0.8F, 0}, {0, 0, 0}, {0.8F, 0, 0}}, {{0, 1}, {1, 2}});
    EXPECT_EQ(picture.at(-0.04, -0.04), 255);
    EXPECT_NEAR(picture.reach(-1, 0), 0.0625 + 0.015, 0.011);
    EXPECT_NEAR(picture.reach(0, -1), 0.0625 + 0.015, 0.011);
}

// The tips of these corners lie up to 16 half strokes from the node.
TEST(NodeFont_stroke, keeps_the_mitre_of_an_acute_corner_within_the_square_around_its_node)
{
    const AtlasWindow window(320, 240);
    glColor4f(1, 1, 1, 1);
    for (const f32 spread : {0.05F, 0.15F, 0.3F}) {
        StrokePicture picture;
        picture.fade = 0; // nothing beyond the edge
        picture.draw({{-spread, 0.8F, 0}, {0, 0, 0}, {spread, 0.8F, 0}}, {{0, 1}, {1, 2}});
        EXPECT_LE(picture.reach(0, -1), 1.0001 * 0.0625);
        EXPECT_GT(picture.reach(0, -1), 0.0625 - 0.011) << spread; // and fills it
        EXPECT_EQ(picture.at(0, -0.05), 255);
    }
}

TEST(NodeFont_stroke, draws_nothing_more_where_a_stroke_goes_straight_on)
{
    const AtlasWindow window(320, 240);
    glColor4f(1, 1, 1, 1);
    StrokePicture picture;
    picture.draw({{0, 0, 0}, {0.3F, 0.4F, 0}}, {{0, 1}});
    const std::vector<u8> whole = picture.pixels;
    picture.draw({{0, 0, 0}, {0.15F, 0.2F, 0}, {0.3F, 0.4F, 0}}, {{0, 1}, {1, 2}});
    i32 most = 0;
    for (size_t i = 0; i < whole.size(); i++) {
        most = std::max(most, std::abs(whole[i] - picture.pixels[i]));
    }
    EXPECT_LE(most, 3);
}

// A corner at the origin whose arms go up and to the right; its arc has the radius 0.25 and its centre
// at (0.25, 0.25).
TEST(NodeFont_stroke, rounds_a_corner_with_an_arc)
{
    const AtlasWindow window(320, 240);
    glColor4f(1, 1, 1, 1);
    StrokePicture picture;
    picture.draw({{0, 0.9F, 0}, {0, 0, 1}, {0.9F, 0, 0}}, {{0, 1}, {1, 2}});
    EXPECT_EQ(picture.at(0, 0), 0);
    for (i32 step = 1; step < 12; step++) {
        const f64 angle = 3.14159265 * (1 + step / 24.0);
        const f64 c = std::cos(angle);
        const f64 s = std::sin(angle);
        EXPECT_EQ(picture.at(0.25 + 0.25 * c, 0.25 + 0.25 * s), 255) << step;
        EXPECT_EQ(picture.at(0.25 + 0.35 * c, 0.25 + 0.35 * s), 0) << step;
        EXPECT_EQ(picture.at(0.25 + 0.15 * c, 0.25 + 0.15 * s), 0) << step;
    }
}

TEST(NodeFont_stroke, ends_a_stroke_roundly_at_a_rounded_node)
{
    const AtlasWindow window(320, 240);
    glColor4f(1, 1, 1, 1);
    StrokePicture picture;
    picture.draw({{0, 0, 1}, {0, 1, 0}}, {{0, 1}}); // it is 0.25 shorter
    EXPECT_EQ(picture.at(0, 0.25 - 0.03), 255);
    EXPECT_NEAR(picture.reach(0, -1), -0.25 + 0.0625 + 0.015, 0.011);
    EXPECT_EQ(picture.at(0.06, 0.25 - 0.05), 0); // the corner that a square end would have
}

TEST(NodeFont_stroke, draws_no_segment_where_rounded_corners_leave_nothing_of_an_edge)
{
    const AtlasWindow window(320, 240);
    glColor4f(1, 1, 1, 1);
    StrokePicture picture;
    picture.draw({{0, 0, 1}, {0.5F, 0, 1}, {0.5F, 0.5F, 1}, {0, 0.5F, 1}},
                 {{0, 1}, {1, 2}, {2, 3}, {3, 0}}); // a ring
    for (i32 step = 0; step < 24; step++) {
        const f64 angle = 3.14159265 * step / 12.0;
        const f64 c = std::cos(angle);
        const f64 s = std::sin(angle);
        EXPECT_EQ(picture.at(0.25 + 0.25 * c, 0.25 + 0.25 * s), 255) << step;
        EXPECT_EQ(picture.at(0.25 + 0.36 * c, 0.25 + 0.36 * s), 0) << step;
        EXPECT_EQ(picture.at(0.25 + 0.14 * c, 0.25 + 0.14 * s), 0) << step;
    }
}

TEST(NodeFont_stroke, draws_a_hairline_fainter)
{
    const AtlasWindow window(320, 240);
    glColor4f(1, 1, 1, 1);
    StrokePicture picture;
    picture.params.stroke = 0.02F;
    picture.fade = 0.1F;
    picture.draw({{0, -0.5F, 0}, {0, 0.5F, 0}}, {{0, 1}});
    for (i32 px = -10; px < 10; px++) {
        const f64 away = std::fabs(px + 0.5) / 100;
        const f64 want = 255 * std::fmax(0.0, 0.5 + (0.01 - away) / 0.1);
        EXPECT_NEAR(picture.at((px + 0.5) / 100, 0), want, 1.5) << px;
    }
    EXPECT_NEAR(picture.reach(0, 1), 0.5 + 0.01 + 0.05, 0.011);
    EXPECT_LE(*std::max_element(picture.pixels.begin(), picture.pixels.end()), 153); // 0.6
}

TEST(NodeFont_stroke, corrects_the_height_of_lower_case_letters)
{
    const AtlasWindow window(320, 240);
    glColor4f(1, 1, 1, 1);
    StrokePicture picture;
    const std::vector<NodeFontNode> nodes = {{0, 0.5F, 0}, {0.5F, 0.5F, 0}};
    picture.draw(nodes, {{0, 1}}, 'a');
    EXPECT_EQ(picture.at(0.25, 0.625), 255);
    EXPECT_EQ(picture.at(0.25, 0.5), 0);
    picture.draw(nodes, {{0, 1}}, 'A');
    EXPECT_EQ(picture.at(0.25, 0.625), 0);
    EXPECT_EQ(picture.at(0.25, 0.5), 255);
}

TEST(NodeFont_stroke, paints_nothing_for_a_glyph_without_nodes)
{
    const AtlasWindow window(320, 240);
    glColor4f(1, 1, 1, 1);
    StrokePicture picture;
    picture.draw({}, {});
    EXPECT_EQ(*std::max_element(picture.pixels.begin(), picture.pixels.end()), 0);
}

TEST(NodeFont_stroke, leaves_blending_off_and_as_a_sum)
{
    const AtlasWindow window(320, 240);
    StrokePicture picture;
    picture.draw({{0, 0, 0}}, {});
    GLint equation = 0;
    glGetIntegerv(GL_BLEND_EQUATION, &equation);
    EXPECT_EQ(equation, GL_FUNC_ADD);
    EXPECT_EQ(glIsEnabled(GL_BLEND), GL_FALSE);
}

// A node with as many neighbours as an edge list can name, all in one direction too.
TEST(NodeFont_stroke, takes_the_most_edges_there_can_be)
{
    const AtlasWindow window(320, 240);
    glColor4f(1, 1, 1, 1);
    for (const i32 kind : {0, 1}) {
        std::vector<NodeFontNode> nodes = {{0, 0, kind}};
        std::vector<NodeFontEdge> edges;
        for (i32 i = 1; i < 255; i++) {
            nodes.push_back(
                {static_cast<f32>(i % 25) / 25, static_cast<f32>(i % 11) / 11 + 0.1F, kind});
            edges.push_back({0, i});
        }
        edges.push_back({0, 1});
        StrokePicture picture;
        picture.draw(nodes, edges);
        EXPECT_EQ(picture.at(0.4, 0.5), 255) << kind;
        EXPECT_EQ(picture.at(-0.5, 0.5), 0) << kind;
    }
}
