#include "base/rnd.h"
#include "tests/handfont.h"
#include "tests/scripted_window.h"

#include <cmath>
#include <gtest/gtest.h>
#include <string>

static void expect_spec(const FontSpec& spec, f64 xscale, f64 yscale, f64 skew, f64 boldness)
{
    EXPECT_FLOAT_EQ(spec.xscale, static_cast<f32>(xscale));
    EXPECT_FLOAT_EQ(spec.yscale, static_cast<f32>(yscale));
    EXPECT_FLOAT_EQ(spec.skew, static_cast<f32>(skew));
    EXPECT_FLOAT_EQ(spec.boldness, static_cast<f32>(boldness));
}

// What the options, each after its colon, make of a plain font.
static FontSpec options(const std::string& text)
{
    const FontTable table;
    table.base("fmod");
    return parsed_spec(("fmod" + text).c_str());
}

TEST(FontSpec_parse, takes_a_font_by_its_name)
{
    const FontTable table;
    table.base("other");
    Font* const font = table.base("fmod");
    const FontSpec spec = parsed_spec("fmod");
    EXPECT_EQ(spec.base, font);
    expect_spec(spec, 1, 1, 0, 0);
}

TEST(FontSpec_parse, looks_a_name_up_without_regard_to_case)
{
    const FontTable table;
    Font* const font = table.base("Fmod");
    table.base("last");
    EXPECT_EQ(parsed_spec("fMOD:big").base, font);
}

TEST(FontSpec_parse, takes_the_first_font_of_a_name)
{
    const FontTable table;
    Font* const first = table.base("fmod");
    table.base("fmod");
    EXPECT_EQ(parsed_spec("fmod").base, first);
}

TEST(FontSpec_parse, takes_no_font_whose_name_only_begins_alike)
{
    const FontTable table;
    table.base("fmodern");
    Font* const font = table.base("fmod");
    table.base("fm");
    EXPECT_EQ(parsed_spec("fmod").base, font);
}

TEST(FontSpec_parse, takes_base_and_style_of_a_named_variant)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    Font_make("fmod:width=50%:height=25%:boldness=0.5:skew=0.25", "thin");
    const FontSpec spec = parsed_spec("thin:width=2");
    EXPECT_EQ(spec.base, base);
    expect_spec(spec, 1.0, 0.25, 0.25, 0.5);
}

TEST(FontSpec_parse, keeps_the_current_fonts_base_for_an_unknown_name)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    table.base("other");
    Font_select("fmod:scale=30%");
    const FontSpec spec = parsed_spec("nosuch:big");
    EXPECT_EQ(spec.base, base);
    expect_spec(spec, 1.5, 1.5, 0, 0);
}

TEST(FontSpec_parse, does_not_look_an_empty_name_up)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    table.base("");
    Font_use(base);
    EXPECT_EQ(parsed_spec("").base, base);
    EXPECT_EQ(parsed_spec(":big").base, base);
}

TEST(FontSpec_parse, draws_a_font_for_an_unknown_name_while_none_is_current)
{
    const FontTable table;
    Font* made[5];
    for (Font*& font : made) {
        font = table.base("base");
    }
    for (u32 seed = 0; seed < 20; seed++) {
        rnd_seed(seed);
        const i32 wanted = irand(5);
        rnd_seed(seed);
        EXPECT_EQ(parsed_spec("nosuch").base, made[wanted]) << "seed " << seed;
        EXPECT_EQ(rnd_count(), 2U);
    }
}

TEST(FontSpec_parse, takes_the_base_of_the_font_that_it_draws)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    Font_make("fmod:scale=3", "a");
    Font_make("fmod:scale=9", "b");
    for (u32 seed = 0; seed < 20; seed++) {
        rnd_seed(seed);
        const FontSpec spec = parsed_spec("nosuch");
        EXPECT_EQ(spec.base, base);
        expect_spec(spec, 1, 1, 0, 0);
    }
}

TEST(FontSpec_parse, draws_no_random_number_for_a_known_name)
{
    const FontTable table;
    table.base("fmod");
    rnd_seed(1);
    parsed_spec("fmod:big");
    EXPECT_EQ(rnd_count(), 0U);
}

TEST(FontSpec_parse, makes_a_placeholder_of_the_whole_text_while_there_are_no_fonts)
{
    scripted_begin();
    const ScriptedWindow window(16, 16);
    const FontTable table;
    const FontSpec spec = parsed_spec("ghost:big");
    ASSERT_EQ(table.count(), 1U);
    EXPECT_EQ(spec.base, fonts_first[0]);
    EXPECT_STREQ(spec.base->name, "ghost:big");
    expect_spec(spec, 1.5, 1.5, 0, 0);
}

TEST(FontSpec_parse, multiplies_both_scales_by_a_percentage)
{
    expect_spec(options(":scale=30%"), 0.3, 0.3, 0, 0);
    expect_spec(options(":size=30%"), 0.3, 0.3, 0, 0);
    expect_spec(options(":scale=50%:scale=50%"), 0.25, 0.25, 0, 0);
}

TEST(FontSpec_parse, multiplies_both_scales_by_a_plain_number)
{
    expect_spec(options(":width=2:scale=1.5"), 3, 1.5, 0, 0);
}

TEST(FontSpec_parse, sets_scales_by_pixels_of_height)
{
    expect_spec(options(":big:scale=27px"), 0.5, 0.5, 0, 0);
    expect_spec(options(":big:height=27px"), 1.5, 0.5, 0, 0);
    expect_spec(options(":big:width=27px"), 0.5, 1.5, 0, 0); // of the height too
}

TEST(FontSpec_parse, scales_one_axis)
{
    expect_spec(options(":width=50%"), 0.5, 1, 0, 0);
    expect_spec(options(":height=50%"), 1, 0.5, 0, 0);
    expect_spec(options(":width=3:width=2"), 6, 1, 0, 0);
    expect_spec(options(":height=3:height=2"), 1, 6, 0, 0);
}

TEST(FontSpec_parse, comes_back_to_one_after_big_and_small)
{
    expect_spec(options(":big"), 1.5, 1.5, 0, 0);
    expect_spec(options(":small"), 2.0 / 3, 2.0 / 3, 0, 0);
    const FontSpec spec = options(":big:small");
    EXPECT_NEAR(spec.xscale, 1.0, 1e-6);
    EXPECT_NEAR(spec.yscale, 1.0, 1e-6);
}

TEST(FontSpec_parse, adds_boldness)
{
    expect_spec(options(":boldness=0.25:boldness=25%"), 1, 1, 0, 0.5);
    expect_spec(options(":boldness=31px:boldness=-0.5"), 1, 1, 0, 0.5); // of the greatest width
}

TEST(FontSpec_parse, knows_three_weights)
{
    expect_spec(options(":demibold"), 1, 1, 0, 0.03);
    expect_spec(options(":bold"), 1.1, 1, 0, 0.05);
    expect_spec(options(":black"), 1.2, 1, 0, 0.08);
    expect_spec(options(":bold:black"), 1.32, 1, 0, 0.13);
}

TEST(FontSpec_parse, adds_skew)
{
    expect_spec(options(":skew=1"), 1, 1, 1, 0);
    expect_spec(options(":skew=1:angle=25%"), 1, 1, 1.25, 0);
    expect_spec(options(":skew=1:skew=27px"), 1, 1, 1.5, 0);
    expect_spec(options(":italic:italic"), 1, 1, 0.8, 0);
}

TEST(FontSpec_parse, replaces_skew_by_an_angle_in_degrees)
{
    expect_spec(options(":skew=3:skew=45\xB0"), 1, 1, 1, 0);
    expect_spec(options(":skew=3:angle=-45\xC2\xB0"), 1, 1, -1, 0); // in UTF-8
    expect_spec(options(":skew=45\xB0:skew=1"), 1, 1, 2, 0);
}

TEST(FontSpec_parse, puts_pixels_before_degrees_before_percent)
{
    expect_spec(options(":skew=1:skew=27%\xB0px"), 1, 1, 1.5, 0);
    expect_spec(options(":skew=1:skew=45%\xB0"), 1, 1, 1, 0);
    expect_spec(options(":scale=27%px"), 0.5, 0.5, 0, 0);
    expect_spec(options(":boldness=31%px"), 1, 1, 0, 1);
}

TEST(FontSpec_parse, resets_at_normal_and_goes_on)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    const FontSpec spec = parsed_spec("fmod:black:italic:scale=3:normal:big");
    EXPECT_EQ(spec.base, base);
    expect_spec(spec, 1.5, 1.5, 0, 0);
    expect_spec(options(":big:bold:italic:normal"), 1, 1, 0, 0);
}

TEST(FontSpec_parse, reads_keys_without_regard_to_case)
{
    expect_spec(options(":BIG:Scale=2:iTALIC"), 3, 3, 0.4, 0);
}

TEST(FontSpec_parse, passes_over_unknown_keys)
{
    expect_spec(options(":nosuch:bigger:bi:scal=3:scales=3::=4:=:big"), 1.5, 1.5, 0, 0);
}

TEST(FontSpec_parse, changes_nothing_where_a_number_is_missing)
{
    for (const char* const key :
         {"scale", "size", "width", "height", "boldness", "skew", "angle"}) {
        for (const char* const value : {"", "=", "=px", "=%", "=\xB0", "=x3", "==3", "= ", "=-"}) {
            const std::string option = std::string(":") + key + value;
            SCOPED_TRACE(option);
            expect_spec(options(option), 1, 1, 0, 0);
            expect_spec(options(option + ":big"), 1.5, 1.5, 0, 0);
        }
    }
}

TEST(FontSpec_parse, takes_a_value_for_a_key_that_wants_none)
{
    expect_spec(options(":big=7:italic="), 1.5, 1.5, 0.4, 0);
}

TEST(FontSpec_parse, reads_a_number_up_to_the_next_colon_only)
{
    expect_spec(options(":scale=2:5px:height=3:%"), 2, 6, 0, 0);
}

TEST(FontSpec_parse, splits_an_option_at_its_first_equals_sign)
{
    expect_spec(options(":scale=2=27px"), 0.5 / 13.5, 0.5 / 13.5, 0, 0); // 2 of 54 pixels
}

TEST(FontSpec_parse, takes_zero_and_negative_numbers)
{
    expect_spec(options(":scale=0"), 0, 0, 0, 0);
    expect_spec(options(":width=-2"), -2, 1, 0, 0);
    expect_spec(options(":boldness=-0.5:skew=-3"), 1, 1, -3, -0.5);
}

TEST(FontSpec_parse, changes_nothing_for_numbers_that_are_none)
{
    for (const char* const value : {"nan", "inf", "-inf", "infinity", "1e999", "-1e999", "nan%"}) {
        for (const char* const key : {"scale", "width", "height", "boldness", "skew"}) {
            const std::string option = std::string(":") + key + "=" + value;
            SCOPED_TRACE(option);
            expect_spec(options(option), 1, 1, 0, 0);
        }
    }
}

TEST(FontSpec_parse, holds_every_field_to_a_million)
{
    expect_spec(options(":scale=1e6:skew=-1e6:boldness=1e6"), 1e6, 1e6, -1e6, 1e6);
    expect_spec(options(":scale=1.1e6:skew=-1e300:boldness=1e38"), 1, 1, 0, 0);
    expect_spec(options(":width=1e6:big"), 1e6, 1.5, 0, 0);
    expect_spec(options(":skew=90\xB0"), 1, 1, 0, 0); // a tangent of 1.6e16
}

TEST(FontSpec_parse, divides_by_no_height_of_zero)
{
    const FontTable table;
    Font* const font = table.base("flat");
    font->height = 0;
    font->maxw = 0;
    expect_spec(parsed_spec("flat:scale=3px:skew=3px:boldness=3px"), 1, 1, 0, 0);
    expect_spec(parsed_spec("flat:scale=0px:skew=0px:boldness=0px"), 1, 1, 0, 0); // 0 / 0
}

TEST(FontSpec_parse, reads_a_description_of_a_megabyte)
{
    const FontTable table;
    table.base("fmod");
    std::string text = "fmod";
    while (text.size() < 1000000) {
        text += ":big:small:nosuch=1:scale=";
    }
    const FontSpec spec = parsed_spec((text + "200%").c_str());
    EXPECT_GT(spec.xscale, 0.0F);
    EXPECT_LT(spec.xscale, 4.0F);
    expect_spec(parsed_spec(("fmod:scale=2." + std::string(1000000, '0')).c_str()), 2, 2, 0, 0);
    expect_spec(parsed_spec(("fmod:big:" + std::string(1000000, 'b')).c_str()), 1.5, 1.5, 0, 0);
}
