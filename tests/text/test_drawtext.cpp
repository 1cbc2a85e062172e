#include "tests/fakes/alloc_count.h"
#include "tests/handfont.h"

#include <climits>
#include <cmath>
#include <gtest/gtest.h>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

// The corners of a glyph as they reach OpenGL, and its colour.
struct Quad {
    f32 left, right, top, bottom; // on the screen
    f32 u0, u1, v0, v1;           // in the texture
    u32 colour;                   // 0xAARRGGBB
};

static u32 recorded_colour(const f32 channels[4])
{
    u32 out = 0;
    for (const i32 i : {3, 0, 1, 2}) {
        out = out << 8 | static_cast<u32>(std::lround(channels[i] * 255.0F));
    }
    return out;
}

// What a piece of code draws; calls don't reach OpenGL.
template <typename Code> static std::vector<Quad> quads_of(Code code)
{
    gl_count = {};
    gl_count.forward = false;
    gl_count.record = true;
    code();
    const std::vector<GlVertex> v = std::move(gl_count.vertices);
    gl_count.forward = true;
    gl_count.record = false;
    EXPECT_EQ(v.size() % 4, 0U);
    std::vector<Quad> out;
    for (size_t i = 0; i + 3 < v.size(); i += 4) {
        out.push_back({.left = v[i].pos[0],
                       .right = v[i + 2].pos[0],
                       .top = v[i].pos[1],
                       .bottom = v[i + 2].pos[1],
                       .u0 = v[i].tex[0],
                       .u1 = v[i + 2].tex[0],
                       .v0 = v[i].tex[1],
                       .v1 = v[i + 2].tex[1],
                       .colour = recorded_colour(v[i].colour)});
    }
    return out;
}

struct Put {
    std::vector<Quad> quads;
    f32 end;
};

static Put put(f32 x, f32 y, f32 wrap, f32 maxy, const char* text, u32 colour = 0xFFFFFF)
{
    Put out = {};
    out.quads = quads_of([&] { out.end = text_put(x, y, wrap, maxy, text, colour); });
    return out;
}

static Put put(const std::string& text, f32 wrap = 0, f32 maxy = 0)
{
    return put(0, 0, wrap, maxy, text.c_str());
}

static std::string bytes(std::initializer_list<i32> values)
{
    std::string out;
    for (const i32 value : values) {
        out += static_cast<char>(value);
    }
    return out;
}

static std::string code(i32 value)
{
    return bytes({2, value >> 8, value});
}

static std::string command(i32 which, u32 payload)
{
    const i32 p = static_cast<i32>(payload);
    return bytes({5, which, p, p >> 8, p >> 16, p >> 24, 0x20});
}

static std::string colour(u32 value)
{
    return command(0, value);
}

static std::string pen(i32 x)
{
    return command(1, static_cast<u32>(x));
}

static std::string size(u32 factor, i32 shift)
{
    return command(2, factor | static_cast<u32>(shift) << 16);
}

// The font of hand-made numbers, made current at two scales. A letter is 26 - 6 = 20 pixels wide within
// its margins, "i" 10, "C" 25, a space 4; a line is 48 high, and the margin on the screen is
// b = 54 * 3 / 48 = 3.375.
struct Plain : FontTable {
    Font* font;
    explicit Plain(f32 xscale = 1.0F, f32 yscale = 1.0F) : font(base("fmod"))
    {
        const FontSpec spec = {font, xscale, yscale, 0.0F, 0.0F};
        Font_usespec(&spec);
    }
};

static const f32 margin = 3.375F;

// Where the glyphs of a string begin, inside their margins, at a scale of 1.
static std::vector<f32> pens(const Put& drawn)
{
    std::vector<f32> out;
    for (const Quad& quad : drawn.quads) {
        out.push_back(quad.left + margin);
    }
    return out;
}

static std::vector<f32> lines(const Put& drawn)
{
    std::vector<f32> out;
    for (const Quad& quad : drawn.quads) {
        out.push_back(quad.top + margin);
    }
    return out;
}

using Floats = std::vector<f32>;

static void expect_near(const Floats& got, const Floats& wanted, f32 within = 1e-3F)
{
    ASSERT_EQ(got.size(), wanted.size());
    for (size_t i = 0; i < got.size(); i++) {
        EXPECT_NEAR(got[i], wanted[i], within) << "glyph " << i;
    }
}

TEST(text_put, draws_a_cell_around_its_glyph)
{
    const Plain plain;
    const Put drawn = put(100, 200, 0, 0, "A");
    ASSERT_EQ(drawn.quads.size(), 1U);
    const Quad quad = drawn.quads[0];
    EXPECT_EQ(quad.left, 100 - 3.375F);
    EXPECT_EQ(quad.right, 100 + 20 + 3.375F);
    EXPECT_EQ(quad.top, 200 - 3.375F);
    EXPECT_EQ(quad.bottom, 200 + 48 + 3.375F);
    EXPECT_EQ(drawn.end, 200);
}

TEST(text_put, shows_the_whole_cell_of_the_texture)
{
    const Plain plain;
    const Quad quad = put("A").quads.at(0);
    EXPECT_EQ(quad.u0, 65.0F / 512);
    EXPECT_EQ(quad.u1, (65 + 26) / 512.0F);
    EXPECT_EQ(quad.v0, 130.0F / 256);
    EXPECT_EQ(quad.v1, (130 + 54) / 256.0F);
}

TEST(text_put, takes_the_corners_from_the_top_left_round_by_the_right)
{
    const Plain plain;
    gl_count = {};
    gl_count.forward = false;
    gl_count.record = true;
    text_put(0, 0, 0, 0, "A", 0);
    gl_count.forward = true;
    const std::vector<GlVertex>& v = gl_count.vertices;
    ASSERT_EQ(v.size(), 4U);
    for (const i32 axis : {0, 1}) {
        const bool across = axis == 0;
        EXPECT_EQ(v[1].pos[axis], across ? v[2].pos[0] : v[0].pos[1]);
        EXPECT_EQ(v[3].pos[axis], across ? v[0].pos[0] : v[2].pos[1]);
        EXPECT_EQ(v[1].tex[axis], across ? v[2].tex[0] : v[0].tex[1]);
        EXPECT_EQ(v[3].tex[axis], across ? v[0].tex[0] : v[2].tex[1]);
        EXPECT_LT(v[0].pos[axis], v[2].pos[axis]);
        EXPECT_LT(v[0].tex[axis], v[2].tex[axis]);
    }
}

TEST(text_put, scales_both_axes)
{
    const Plain plain(0.5F, 2.0F);
    const Quad quad = put("A").quads.at(0);
    EXPECT_EQ(quad.left, -margin * 0.5F);
    EXPECT_EQ(quad.right, 10 + margin * 0.5F);
    EXPECT_EQ(quad.top, -margin * 2);
    EXPECT_EQ(quad.bottom, 96 + margin * 2);
}

// a = 54 * 0.1 + 20 = 25.4, or 15.4 for "i", 30.4 for "C".
TEST(text_put, moves_on_by_whole_pixels_without_a_program)
{
    const Plain plain;
    expect_near(pens(put("AiCA")), {0, 25, 40, 70}, 0);
}

TEST(text_put, moves_on_by_fractions_of_a_pixel_with_a_program)
{
    const Plain plain;
    text_program = 1;
    expect_near(pens(put("AiCA")), {0, 25.4F, 40.8F, 71.2F});
}

TEST(text_put, rounds_an_advance_to_the_nearest_pixel)
{
    const Plain plain;
    text_spacing = 0.01F; // 20.54
    expect_near(pens(put("AA")), {0, 21}, 0);
    text_spacing = 0.009F; // 20.486
    expect_near(pens(put("AA")), {0, 20}, 0);
}

// a = 27 * 0.1 + 2 * 20, the height of the line being that of the scaled font
TEST(text_put, spaces_letters_by_the_height_of_the_scaled_font)
{
    const Plain plain(2.0F, 0.5F);
    text_program = 1;
    const Put drawn = put("AA");
    EXPECT_NEAR(drawn.quads.at(1).left - drawn.quads.at(0).left, 42.7F, 1e-3);
}

TEST(text_put, gives_bold_letters_more_room)
{
    const Plain plain;
    Font_select("fmod:boldness=0.5");
    ASSERT_EQ(font_current->boldness, 0.5F);
    text_program = 1;
    expect_near(pens(put("AA")), {0, 5.4F + 20 * 1.5F});
}

TEST(text_put, takes_the_scales_of_the_current_font_not_the_asked_ones)
{
    const Plain plain;
    Font_select("fmod:scale=101%");
    ASSERT_EQ(font_current, plain.font);
    EXPECT_EQ(put("A").quads.at(0).bottom, 48 + margin);
}

// Advance 32; a letter of 20 begins 6 further, "C" of 25 begins 3.5 further, "i" of 10 11.
TEST(text_put, centres_characters_in_a_fixed_pitch)
{
    const Plain plain;
    text_fixedpitch = 1;
    expect_near(pens(put("ACi A")), {6, 32 + 3.5F, 64 + 11, 128 + 6});
    text_program = 1;
    expect_near(pens(put("ACi A")), {6, 32 + 3.5F, 64 + 11, 128 + 6});
}

TEST(text_put, takes_the_fixed_pitch_from_the_scaled_font)
{
    const Plain plain(0.5F, 0.5F);
    text_fixedpitch = 1;
    const Put drawn = put("AA");
    EXPECT_EQ(drawn.quads.at(1).left - drawn.quads.at(0).left, 16);
    EXPECT_EQ(drawn.quads.at(0).left, (16 - 20) / 2.0F - margin * 0.5F);
}

TEST(text_put, draws_nothing_for_an_empty_text)
{
    const Plain plain;
    const Put drawn = put(3, 4, 10, 2, "");
    EXPECT_TRUE(drawn.quads.empty());
    EXPECT_EQ(drawn.end, 4);
}

TEST(text_put, draws_a_word_for_null)
{
    const Plain plain;
    const Put drawn = put(3, 4, 0, 0, nullptr, 0x123456);
    const Put wanted = put(3, 4, 0, 0, "NULL?", 0x123456);
    ASSERT_EQ(drawn.quads.size(), 5U);
    for (size_t i = 0; i < 5; i++) {
        EXPECT_EQ(drawn.quads[i].left, wanted.quads[i].left);
        EXPECT_EQ(drawn.quads[i].u0, wanted.quads[i].u0);
        EXPECT_EQ(drawn.quads[i].colour, 0xFF123456U);
    }
}

TEST(text_put, reads_bytes_as_unsigned)
{
    const Plain plain;
    EXPECT_EQ(put("\xA3").quads.at(0).u0, 163.0F / 512);
    EXPECT_EQ(put("\xFF").quads.at(0).u0, 255.0F / 512);
}

TEST(text_put, goes_down_a_line_and_back_to_the_start)
{
    const Plain plain;
    const Put drawn = put(7, 20, 0, 0, "a\nb");
    expect_near(pens(drawn), {7, 7}, 0);
    expect_near(lines(drawn), {20, 20 + 55}, 0);
    EXPECT_EQ(drawn.end, 75);
}

// trunc(54 * 0.3 + 0.5) + 1 = 17, trunc(54 * 0.25 + 0.5) + 1 = 15 of 14.0
TEST(text_put, rounds_the_height_of_a_line)
{
    const Plain a(0.3F, 0.3F);
    EXPECT_EQ(put("\n").end, 17);
    EXPECT_EQ(put("a\n\nb").end, 34);
    const Plain b(0.25F, 0.25F);
    EXPECT_EQ(put("\n").end, 15);
}

TEST(text_put, takes_a_character_by_its_code)
{
    const Plain plain;
    const Put drawn = put("A" + code('C') + "A");
    expect_near(pens(drawn), {0, 25, 55}, 0);
    EXPECT_EQ(drawn.quads[1].u0, 67.0F / 512);
}

// A code above 255 has a cell without width, which is -6 within its margins: 5.4 - 6 rounds to 0.
TEST(text_put, takes_codes_up_to_511)
{
    const Plain plain;
    plain.font->cellw[300] = 36;
    const Put drawn = put(code(300) + code(301) + "A");
    EXPECT_EQ(drawn.quads.at(0).u0, 300.0F / 512);
    EXPECT_EQ(drawn.quads.at(1).u0, drawn.quads.at(1).u1);
    expect_near(pens(drawn), {0, 35, 35}, 0);
    text_program = 1;
    expect_near(pens(put(code(300) + code(301) + "A")), {0, 35.4F, 34.8F});
}

TEST(text_put, takes_the_lowest_nine_bits_of_a_code)
{
    const Plain plain;
    EXPECT_EQ(put(code(0xFE00 + 'C')).quads.at(0).u0, 67.0F / 512);
    EXPECT_EQ(put(code(0xFFFF)).quads.at(0).u0, 511.0F / 512);
    EXPECT_EQ(put(code(0x0200 + '\n')).end, 55);
}

TEST(text_put, takes_newline_and_space_by_their_codes_too)
{
    const Plain plain;
    const Put drawn = put("A" + code('\n') + code(' ') + "A");
    EXPECT_EQ(drawn.quads.size(), 2U);
    expect_near(lines(drawn), {0, 55}, 0);
    EXPECT_EQ(drawn.quads[1].left, 9 - margin); // 5.4 + 4
}

TEST(text_put, draws_the_control_bytes_by_their_codes)
{
    const Plain plain;
    EXPECT_EQ(put(code(2)).quads.at(0).u0, 2.0F / 512);
    EXPECT_EQ(put(code(5)).quads.at(0).u0, 5.0F / 512);
}

TEST(text_put, changes_the_colour_of_what_follows)
{
    const Plain plain;
    const Put drawn = put(0, 0, 0, 0, ("a" + colour(0x123456) + "bc").c_str(), 0xABCDEF);
    ASSERT_EQ(drawn.quads.size(), 3U);
    EXPECT_EQ(drawn.quads[0].colour, 0xFFABCDEFU);
    EXPECT_EQ(drawn.quads[1].colour, 0xFF123456U);
    EXPECT_EQ(drawn.quads[2].colour, 0xFF123456U);
    expect_near(pens(drawn), {0, 25, 50}, 0);
}

TEST(text_put, begins_each_text_in_the_colour_of_its_argument)
{
    const Plain plain;
    put("a" + colour(0x123456) + "b");
    EXPECT_EQ(put(0, 0, 0, 0, "c", 0x654321).quads.at(0).colour, 0xFF654321U);
}

TEST(text_put, ignores_what_stands_above_a_colour)
{
    const Plain plain;
    EXPECT_EQ(put(colour(0x00123456) + "b").quads.at(0).colour, 0xFF123456U);
    EXPECT_EQ(put(colour(0x7F123456) + "b").quads.at(0).colour, 0xFF123456U);
    EXPECT_EQ(put(0, 0, 0, 0, "c", 0x7F654321).quads.at(0).colour, 0xFF654321U);
}

TEST(text_put, moves_the_pen_to_a_place)
{
    const Plain plain;
    expect_near(pens(put(50, 0, 0, 0, ("A" + pen(300) + "A" + pen(-70000) + "A" + "A").c_str())),
                {50, 300, -70000, -69975}, 0.01F);
    EXPECT_EQ(put(pen(INT_MIN) + "A").quads.at(0).left, static_cast<f32>(INT_MIN));
}

TEST(text_put, passes_over_unknown_commands)
{
    const Plain plain;
    for (const i32 which : {3, 4, 10, 32, 255}) {
        expect_near(pens(put("A" + command(which, 0x0A050220) + "A")), {0, 25}, 0);
    }
}

TEST(text_put, sizes_what_follows)
{
    const Plain plain;
    const Put drawn = put("A" + size(128, 0) + "A" + size(512, 0) + "A");
    ASSERT_EQ(drawn.quads.size(), 3U);
    const f32 widths[] = {20 + 2 * margin, 10 + margin, 40 + 4 * margin};
    const f32 heights[] = {48 + 2 * margin, 24 + margin, 96 + 4 * margin};
    for (size_t i = 0; i < 3; i++) {
        EXPECT_FLOAT_EQ(drawn.quads[i].right - drawn.quads[i].left, widths[i]);
        EXPECT_FLOAT_EQ(drawn.quads[i].bottom - drawn.quads[i].top, heights[i]);
    }
    EXPECT_FLOAT_EQ(drawn.quads[1].left, 25 - margin / 2);
    EXPECT_FLOAT_EQ(drawn.quads[2].left, 25 + 13 - 2 * margin); // 2.7 + 10
}

TEST(text_put, counts_sizes_against_the_font_from_before_the_call)
{
    const Plain plain(0.5F, 0.25F);
    const Put drawn = put(size(512, 0) + "A" + size(512, 0) + "A" + size(256, 0) + "A");
    ASSERT_EQ(drawn.quads.size(), 3U);
    EXPECT_FLOAT_EQ(drawn.quads[1].right - drawn.quads[1].left, 20 + 2 * margin);
    EXPECT_FLOAT_EQ(drawn.quads[1].bottom - drawn.quads[1].top, 24 + margin);
    EXPECT_FLOAT_EQ(drawn.quads[2].right - drawn.quads[2].left, 10 + margin);
}

TEST(text_put, takes_a_line_of_the_present_size)
{
    const Plain plain;
    EXPECT_EQ(put(size(512, 0) + "\n").end, 109);
    EXPECT_EQ(put(size(128, 0) + "\n").end, 28);
}

// 54 * 64 / 256 = 13.5, cut after a half has been added, which is toward zero below it too
TEST(text_put, raises_and_lowers_the_baseline)
{
    const Plain plain;
    expect_near(lines(put("A" + size(256, 64) + "A")), {0, -14}, 0);
    expect_near(lines(put("A" + size(256, -64) + "A")), {0, 13}, 0);
    expect_near(lines(put("A" + size(256, 256) + "A")), {0, -54}, 0);
    expect_near(lines(put("A" + size(256, -256) + "A")), {0, 53}, 0); // -13824 + 128 + 255 >> 8
}

TEST(text_put, shifts_by_the_height_of_the_font_from_before)
{
    const Plain plain(1.0F, 0.5F);
    const Put drawn = put(size(512, 256) + "A"); // 27 pixels, whatever the size
    EXPECT_FLOAT_EQ(drawn.quads.at(0).top, -27 - margin);
    EXPECT_EQ(drawn.end, -27);
}

TEST(text_put, replaces_a_shift_by_the_next)
{
    const Plain plain;
    expect_near(lines(put(size(256, 128) + "A" + size(256, 64) + "A" + size(256, 0) + "A")),
                {-27, -14, 0}, 0);
}

TEST(text_put, takes_the_farthest_shifts_and_sizes)
{
    const Plain plain(1e6F, 1e6F);
    for (const i32 shift : {32767, -32768}) {
        const Put drawn = put(size(65535, shift) + "A" + size(0, shift) + "A");
        for (const Quad& quad : drawn.quads) {
            EXPECT_TRUE(std::isfinite(quad.left) && std::isfinite(quad.right));
            EXPECT_TRUE(std::isfinite(quad.top) && std::isfinite(quad.bottom));
        }
        EXPECT_TRUE(std::isfinite(drawn.end));
    }
}

TEST(text_put, gives_the_font_back_after_a_size)
{
    const Plain plain(0.3F, 0.3F);
    Font* const font = font_current;
    const i32 height = font_height;
    for (const u32 factor : {0U, 1U, 128U, 250U, 256U, 65535U}) {
        put("a" + size(factor, 0) + "b");
        EXPECT_EQ(font_current, font) << factor;
        EXPECT_EQ(font_height, height) << factor;
        EXPECT_EQ(font_spec.xscale, 0.3F) << factor;
    }
}

TEST(text_put, gives_the_asked_spec_back_where_a_size_has_made_a_nearer_font)
{
    const Plain plain;
    Font_select("fmod:scale=1.045"); // near enough to 1
    ASSERT_EQ(font_current, plain.font);
    put(size(271, 0) + "b"); // 1.0586 is new
    ASSERT_EQ(plain.count(), 2U);
    EXPECT_EQ(font_current, plain.font);
    EXPECT_EQ(font_spec.xscale, 1.045F);
}

TEST(text_put, gives_the_font_back_where_drawing_stops)
{
    const Plain plain;
    const Put drawn = put(size(512, 0) + "aaaaaaaaaa", 60, 10);
    EXPECT_GT(drawn.end, 10);
    EXPECT_EQ(font_current, plain.font);
    EXPECT_EQ(font_height, 54);
}

TEST(text_put, makes_few_fonts_for_all_sizes)
{
    const Plain plain(0.3F, 0.3F);
    std::string text;
    for (u32 factor = 0; factor < 65536; factor += 5) {
        text += size(factor, 0) + "a";
    }
    put(text);
    const u32 made = plain.count();
    EXPECT_LT(made, 250U);
    put(text);
    EXPECT_EQ(plain.count(), made);
}

TEST(text_put, moves_on_over_a_space_without_drawing_it)
{
    const Plain plain;
    expect_near(pens(put("A A")), {0, 25 + 9}, 0); // 5.4 + 4
}

// "A " takes 34, "AA" measures 50
TEST(text_put, takes_a_word_that_would_pass_the_edge_to_the_next_line)
{
    const Plain plain;
    const Put drawn = put(5, 0, 79, 0, "A AA"); // the pen is at 30 at the space
    expect_near(pens(drawn), {5, 5, 30}, 0);
    expect_near(lines(drawn), {0, 49, 49}, 0); // 1 + 48
    EXPECT_EQ(drawn.end, 49);
}

TEST(text_put, leaves_a_word_that_just_reaches_the_edge)
{
    const Plain plain;
    const Put drawn = put(5, 0, 80, 0, "A AB"); // 30 + 50
    expect_near(lines(drawn), {0, 0, 0}, 0);
}

TEST(text_put, wraps_by_the_height_of_a_scaled_line)
{
    const Plain plain(0.5F, 0.25F);
    EXPECT_EQ(put("A AA", 20).end, 13 + 55); // 1 + 48 * 0.25, and the end of "AA" breaks
}

TEST(text_put, measures_a_word_up_to_any_white_space)
{
    const Plain plain;
    for (const char* const white : {"\t", "\n", "\v", "\f", "\r", " "}) {
        const std::string text = std::string("A A") + white + "AAAAAAAAAAAA";
        EXPECT_EQ(lines(put(text, 55)).at(1), 0) << static_cast<i32>(*white);
    }
    EXPECT_EQ(lines(put("A A_AAAAAAAAAAAA", 55)).at(1), 49);
}

TEST(text_put, measures_control_sequences_of_a_word_as_such)
{
    const Plain plain;
    // its payload is 0x20, a space, and three zeros; it stands for a width of 32: 25 + 32 + 50
    EXPECT_EQ(lines(put("A " + pen(0x20) + "AA", 107)).at(1), 0);
    EXPECT_EQ(lines(put("A " + pen(0x20) + "AA", 106)).at(1), 49);
    EXPECT_EQ(lines(put("A " + colour(0) + "AA", 74)).at(1), 49);
    EXPECT_EQ(lines(put("A " + colour(0) + "AA", 75)).at(1), 0);
}

TEST(text_put, wraps_nothing_without_an_edge)
{
    const Plain plain;
    const Put drawn = put("AAAA AAAA AAAA");
    EXPECT_EQ(drawn.quads.size(), 12U);
    EXPECT_EQ(drawn.end, 0);
}

// 25, 50, 75: the third passes 60 and is drawn all the same
TEST(text_put, breaks_a_long_word_one_character_past_the_edge)
{
    const Plain plain;
    const Put drawn = put(0, 0, 60, 0, "AAAAAAA");
    expect_near(pens(drawn), {0, 25, 50, 0, 25, 50, 0}, 0);
    expect_near(lines(drawn), {0, 0, 0, 55, 55, 55, 110}, 0);
    EXPECT_EQ(drawn.end, 110);
}

TEST(text_put, breaks_long_words_by_the_unscaled_height)
{
    const Plain plain(0.5F, 0.25F);
    EXPECT_EQ(lines(put(0, 0, 12, 0, "AA")).size(), 2U);
    EXPECT_EQ(put(0, 0, 12, 0, "A").end, 0);  // 1.3 + 10, rounded
    EXPECT_EQ(put(0, 0, 10, 0, "A").end, 55); // whatever follows that isn't a space
}

TEST(text_put, breaks_no_word_before_a_space)
{
    const Plain plain;
    EXPECT_EQ(put("AAA ", 60).end, 49); // the space itself goes down, as no word fits behind 75
    expect_near(lines(put("AAA A", 75)), {0, 0, 0, 49}, 0);
}

TEST(text_put, stops_at_the_line_that_would_pass_the_lower_end)
{
    const Plain plain;
    const Put drawn = put(0, 0, 60, 100, "AAAAAAAAAAAA");
    EXPECT_EQ(drawn.quads.size(), 6U);
    EXPECT_EQ(drawn.end, 110);
}

TEST(text_put, goes_on_at_a_line_that_just_reaches_the_lower_end)
{
    const Plain plain;
    EXPECT_EQ(put(0, 0, 60, 110, "AAAAAAAAAAAA").quads.size(), 9U);
    EXPECT_EQ(put(0, 0, 60, 0, "AAAAAAAAAAAA").quads.size(), 12U);
}

TEST(text_put, stops_at_a_word_that_would_pass_the_lower_end)
{
    const Plain plain;
    const Put drawn = put(0, 10, 60, 40, "AA BB CC");
    EXPECT_EQ(drawn.quads.size(), 2U);
    EXPECT_EQ(drawn.end, 59);
}

TEST(text_put, stops_only_where_it_wraps)
{
    const Plain plain;
    const Put drawn = put(0, 0, 0, 30, "a\nb\nc");
    EXPECT_EQ(drawn.quads.size(), 3U);
    EXPECT_EQ(drawn.end, 110);
}

TEST(text_put, is_one_batch)
{
    const Plain plain;
    put("a line\nand " + colour(7) + pen(9) + "another one that wraps", 100);
    EXPECT_EQ(gl_count.calls["glBegin"], 0); // the caller's batch
    EXPECT_EQ(gl_count.calls["glEnd"], 0);
}

TEST(text_put, opens_the_batch_anew_at_a_size)
{
    const Plain plain;
    put("a" + size(512, 0) + "b" + size(256, 0) + "c");
    EXPECT_EQ(gl_count.calls["glBegin"], 2);
    EXPECT_EQ(gl_count.calls["glEnd"], 2);
}

TEST(text_put, allocates_nothing)
{
    const Plain plain;
    const std::string text = "A text " + colour(1) + "with " + pen(40) + code('x') +
                             " everything\n" + size(512, 9) + "in it";
    put(text, 80); // makes the fonts
    gl_count.forward = false;
    const i32 before = alloc_count;
    text_put(0, 0, 80, 0, text.c_str(), 0);
    text_width(text.c_str());
    EXPECT_EQ(alloc_count, before);
    char* name = nullptr;
    str_new(&name, "text");
    std::free(name);
    EXPECT_EQ(alloc_count, before + 1); // the counter counts
    gl_count.forward = true;
}

TEST(text_put, draws_a_megabyte)
{
    const Plain plain;
    std::string text;
    while (text.size() < 1000000) {
        text += "a              ";
    }
    gl_count = {};
    gl_count.forward = false;
    const f32 end = text_put(0, 0, 200, 0, text.c_str(), 0);
    gl_count.forward = true;
    EXPECT_EQ(gl_count.calls["glVertex2f"], 4 * 66667);
    EXPECT_GT(end, 100000);
    EXPECT_GT(text_width(text.c_str()), 1e6F);
    EXPECT_GT(text_width(std::string(1000000, 'a').c_str()), 2.4e7F);
}

// Of an array of its own size, so that a read past the end is one past an allocation.
static Put put_exactly(const std::string& text, f32 wrap = 0)
{
    const std::unique_ptr<char[]> copy(new char[text.size()]);
    text.copy(copy.get(), text.size());
    Put out = {};
    out.quads = quads_of(
        [&] { out.end = text_put_bytes(0, 0, wrap, 0, copy.get(), text.size(), 0xFFFFFF); });
    return out;
}

static f32 width_exactly(const std::string& text)
{
    const std::unique_ptr<char[]> copy(new char[text.size()]);
    text.copy(copy.get(), text.size());
    return text_width_bytes(copy.get(), text.size());
}

TEST(text_put_bytes, draws_as_text_put_does)
{
    const Plain plain;
    const std::string text =
        "A text " + colour(1) + "with\n" + pen(40) + code('x') + size(128, 9) + "y";
    const Put whole = put(text, 100);
    const Put drawn = put_exactly(text, 100);
    EXPECT_EQ(drawn.end, whole.end);
    expect_near(pens(drawn), pens(whole), 0);
    expect_near(lines(drawn), lines(whole), 0);
}

TEST(text_put_bytes, ends_a_text_at_a_sequence_that_is_cut_short)
{
    const Plain plain;
    for (const std::string& sequence :
         {code('x'), colour(0xFFFFFF), pen(9), size(512, 9), command(7, 1)}) {
        for (size_t n = 1; n < sequence.size(); n++) {
            const std::string text = "AA" + sequence.substr(0, n);
            const Put drawn = put_exactly(text);
            EXPECT_EQ(drawn.quads.size(), 2U) << "byte " << +sequence[0] << ", " << n << " of it";
            EXPECT_EQ(drawn.end, 0);
            EXPECT_EQ(width_exactly(text), 50);
        }
    }
}

TEST(text_put_bytes, measures_no_word_past_the_end)
{
    const Plain plain;
    for (const std::string& sequence : {code('x'), colour(0xFFFFFF), pen(9), size(512, 9)}) {
        for (size_t n = 0; n < sequence.size(); n++) {
            const std::string text = "A B" + sequence.substr(0, n);
            EXPECT_EQ(put_exactly(text, 50).quads.size(), 2U);
        }
    }
}

TEST(text_put_bytes, ends_at_a_zero_too)
{
    const Plain plain;
    EXPECT_EQ(put_exactly(std::string("AB\0CD", 5)).quads.size(), 2U);
    EXPECT_EQ(width_exactly(std::string("AB\0CD", 5)), 50);
    EXPECT_EQ(put_exactly("").quads.size(), 0U);
    EXPECT_EQ(width_exactly(""), 0);
}

TEST(text_put_bytes, draws_a_word_for_null)
{
    const Plain plain;
    const std::vector<Quad> drawn = quads_of([] { text_put_bytes(0, 0, 0, 0, nullptr, 0, 0); });
    EXPECT_EQ(drawn.size(), 5U);
    EXPECT_EQ(text_width_bytes(nullptr, 2), text_width("NULL?"));
}

TEST(text_put, ends_at_a_sequence_that_its_zero_cuts_short_as_far_as_it_is_whole)
{
    const Plain plain;
    // the zero is the payload's last byte, and the string's behind it
    expect_near(pens(put("A" + bytes({5, 1, 60, 0, 0, 0, 0}) + "A")), {0, 60}, 0);
}

TEST(text_width, adds_advances_up)
{
    const Plain plain;
    EXPECT_EQ(text_width(""), 0);
    EXPECT_EQ(text_width("A"), 25);
    EXPECT_EQ(text_width("AiC "), 25 + 15 + 30 + 9);
    text_program = 1;
    EXPECT_FLOAT_EQ(text_width("AiC "), 25.4F + 15.4F + 30.4F + 9.4F);
}

TEST(text_width, measures_a_word_for_null)
{
    const Plain plain;
    EXPECT_EQ(text_width(nullptr), 125);
}

TEST(text_width, adds_lines_up)
{
    const Plain plain;
    EXPECT_EQ(text_width("a\nb"), text_width("ab"));
    text_fixedpitch = 1;
    EXPECT_EQ(text_width("a\nb"), text_width("ab"));
}

TEST(text_width, counts_a_fixed_pitch)
{
    const Plain plain(0.5F, 0.5F);
    text_fixedpitch = 1;
    EXPECT_EQ(text_width("Ai C"), 64);
}

TEST(text_width, measures_a_character_by_its_code)
{
    const Plain plain;
    EXPECT_EQ(text_width((code('C') + code(0xFE00 + 'i') + code('\n')).c_str()), 45);
}

TEST(text_width, takes_the_place_of_the_pen)
{
    const Plain plain;
    EXPECT_EQ(text_width(("AAAA" + pen(7) + "A").c_str()), 32);
    EXPECT_EQ(text_width(("AAAA" + pen(-7)).c_str()), -7);
}

TEST(text_width, passes_over_colours_and_unknown_commands)
{
    const Plain plain;
    EXPECT_EQ(text_width(("A" + colour(0xFFFFFF) + command(9, 0xFFFFFFFF) + "A").c_str()), 50);
}

// The spacing stays that of the font: 5.4 + 10, 5.4 + 40
TEST(text_width, scales_letters_by_a_size)
{
    const Plain plain;
    EXPECT_EQ(text_width(("A" + size(128, 100) + "A" + size(512, 0) + "A").c_str()), 25 + 15 + 45);
    EXPECT_EQ(text_width("A"), 25);
    EXPECT_EQ(font_current, plain.font);
}

TEST(text_width, counts_boldness)
{
    const Plain plain;
    Font_select("fmod:boldness=0.5");
    EXPECT_EQ(text_width("AA"), 70); // 5.4 + 30
}

TEST(text_width, ends_where_the_drawn_text_ends)
{
    const Plain plain(0.3F, 0.3F);
    for (const u32 program : {0U, 1U}) {
        text_program = program;
        const std::string text = "Hold right mouse button or Ctrl+arrows = Rotate view";
        const Quad last = put(text + "A").quads.back();
        EXPECT_NEAR(text_width(text.c_str()), last.left + margin * 0.3F, 1e-2);
    }
}
