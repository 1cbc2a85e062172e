#include "gfx/gfx_opengl.h"
#include "tests/handfont.h"
#include "tests/scripted_window.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <string>

static Font* variant(const char* description)
{
    const FontSpec spec = parsed_spec(description);
    return Font_variant(&spec);
}

TEST(fonts_table, is_set_up_at_the_first_need_and_keeps_its_first_entry)
{
    const FontTable table;
    EXPECT_EQ(fonts_table(), &fonts);
    EXPECT_EQ(fonts_first, items<Font*>(&fonts));
    for (i32 i = 0; i < 50; i++) {
        table.base("font");
        EXPECT_EQ(fonts_first, items<Font*>(&fonts));
    }
    EXPECT_EQ(fonts.elemsize, sizeof(Font*));
}

TEST(Font_variant, gives_a_base_font_for_its_own_spec)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    EXPECT_EQ(variant("fmod"), base);
    EXPECT_EQ(table.count(), 1U);
}

TEST(Font_variant, makes_a_variant_that_shares_the_texture)
{
    const FontTable table;
    Font* const base = table.base("fmod", 77);
    const Font* const font = variant("fmod:width=50%:height=25%:boldness=0.25:skew=0.5");
    ASSERT_EQ(table.count(), 2U);
    EXPECT_EQ(font, fonts_first[1]);
    EXPECT_EQ(font->texture, 77U);
    EXPECT_EQ(font->base, base);
    EXPECT_EQ(font->basemark, 0);
    EXPECT_EQ(font->xscale, 0.5F);
    EXPECT_EQ(font->yscale, 0.25F);
    EXPECT_EQ(font->boldness, 0.25F);
    EXPECT_EQ(font->skew, 0.5F);
}

TEST(Font_variant, copies_cells_and_sizes)
{
    const FontTable table;
    const Font* const base = table.base("fmod");
    const Font* const font = variant("fmod:scale=2");
    EXPECT_EQ(std::memcmp(font->cellx, base->cellx, sizeof base->cellx), 0);
    EXPECT_EQ(std::memcmp(font->celly, base->celly, sizeof base->celly), 0);
    EXPECT_EQ(std::memcmp(font->cellw, base->cellw, sizeof base->cellw), 0);
    EXPECT_EQ(font->texw, base->texw);
    EXPECT_EQ(font->texh, base->texh);
    EXPECT_EQ(font->margin, base->margin);
    EXPECT_EQ(font->height, base->height);
}

TEST(Font_variant, measures_its_cells_anew)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    base->maxw = 5;
    base->fixedw = 6;
    const Font* const font = variant("fmod:scale=2");
    EXPECT_EQ(font->maxw, 31U);
    EXPECT_EQ(font->fixedw, 32U);
}

TEST(Font_variant, names_what_is_not_as_usual)
{
    const FontTable table;
    table.base("fmod");
    EXPECT_STREQ(variant("fmod:skew=0.5:boldness=0.25:height=25%:width=50%")->name,
                 "fmod:width=0.5:height=0.25:boldness=0.25:skew=0.5");
    EXPECT_STREQ(variant("fmod:scale=30%")->name, "fmod:width=0.3:height=0.3");
    EXPECT_STREQ(variant("fmod:italic")->name, "fmod:skew=0.4");
}

TEST(Font_variant, takes_a_font_one_per_cent_away)
{
    const FontTable table;
    table.base("fmod");
    Font* const made = variant("fmod:scale=30%");
    EXPECT_EQ(variant("fmod:scale=30.3%"), made);
    EXPECT_EQ(variant("fmod:scale=29.7%"), made);
    EXPECT_EQ(table.count(), 2U);
}

TEST(Font_variant, makes_a_new_one_fifteen_per_cent_away)
{
    const FontTable table;
    table.base("fmod");
    const Font* const made = variant("fmod:scale=30%");
    EXPECT_NE(variant("fmod:scale=34.5%"), made);
    EXPECT_EQ(table.count(), 3U);
}

// One axis alone: near enough up to two steps of 5 %.
TEST(Font_variant, counts_sizes_in_steps_of_five_per_cent)
{
    const FontTable table;
    Font* const base = table.base("fmod", 0, 2600);
    base->height = 5400;                           // so that pixels don't count
    EXPECT_EQ(variant("fmod:width=1.1024"), base); // 1.05^2 = 1.1025
    EXPECT_NE(variant("fmod:width=1.1026"), base);
    EXPECT_EQ(variant("fmod:height=0.9071"), base); // 1.05^-2 = 0.90703
    EXPECT_NE(variant("fmod:height=0.9069"), base);
}

TEST(Font_variant, halves_the_sum_of_both_axes)
{
    const FontTable table;
    Font* const base = table.base("fmod", 0, 2600);
    base->height = 5400;
    EXPECT_EQ(variant("fmod:scale=1.0499"), base);
    EXPECT_NE(variant("fmod:scale=1.0501"), base);
}

// Of small cells the pixels are few: a pixel's difference counts 2, and is near enough below that.
TEST(Font_variant, counts_pixels_where_they_are_fewer_than_steps)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    base->maxw = 4;
    base->height = 8;
    EXPECT_EQ(variant("fmod:width=1.249"), base); // 4 * 0.249 pixels
    EXPECT_NE(variant("fmod:width=1.251"), base);
    EXPECT_EQ(variant("fmod:height=0.876"), base); // 8 * 0.124 pixels
    EXPECT_NE(variant("fmod:height=0.874"), base);
}

TEST(Font_variant, counts_boldness_by_fifties_and_skew_by_twenties)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    EXPECT_EQ(variant("fmod:boldness=0.0199"), base);
    EXPECT_NE(variant("fmod:boldness=0.0201"), base);
    EXPECT_EQ(variant("fmod:skew=-0.0499"), base);
    EXPECT_NE(variant("fmod:skew=-0.0501"), base);
    EXPECT_EQ(variant("fmod:skew=0.0249:boldness=0.0099"), base); // half each
    EXPECT_NE(variant("fmod:skew=0.0251:boldness=0.0101"), base);
}

TEST(Font_variant, takes_the_nearest_of_several)
{
    const FontTable table;
    table.base("fmod", 0, 2600)->height = 5400;
    const Font* const a = variant("fmod:scale=2");
    Font* const b = variant("fmod:scale=2.12");
    const Font* const c = variant("fmod:scale=2.24");
    ASSERT_EQ(table.count(), 4U);
    EXPECT_EQ(variant("fmod:scale=2.1"), b);
    EXPECT_EQ(variant("fmod:scale=2.03"), a);
    EXPECT_EQ(variant("fmod:scale=2.2"), c);
}

TEST(Font_variant, takes_the_later_of_two_that_are_equally_near)
{
    const FontTable table;
    table.base("fmod");
    Font_make("fmod:scale=30%", "a");
    Font_make("fmod:scale=30%", "b");
    EXPECT_STREQ(variant("fmod:scale=30%")->name, "b");
}

TEST(Font_variant, takes_no_font_of_another_base)
{
    const FontTable table;
    const Font* const a = table.base("a");
    table.base("b");
    variant("b:scale=2");
    const Font* const font = variant("a:scale=2");
    EXPECT_EQ(font->base, a);
    EXPECT_EQ(table.count(), 4U);
}

TEST(Font_variant, takes_the_cells_of_its_own_base_however_far_off)
{
    const FontTable table;
    table.base("a", 1);
    table.base("b", 2);
    for (const char* const far : {"a:skew=1000", "a:boldness=1e6", "a:scale=1e6:skew=-1e6"}) {
        EXPECT_EQ(variant(far)->texture, 1U) << far;
    }
}

TEST(Font_variant, finds_again_what_it_has_made)
{
    const FontTable table;
    table.base("fmod");
    for (const char* const description :
         {"fmod:scale=0", "fmod:width=0", "fmod:scale=-1", "fmod:width=-3:height=0",
          "fmod:scale=1e6", "fmod:scale=1e-30", "fmod:scale=1e-30:scale=1e-30",
          "fmod:boldness=1e6:skew=-1e6", "fmod:skew=0.3333333333", "fmod:scale=1e-44"}) {
        const Font* const made = variant(description);
        const u32 count = table.count();
        EXPECT_EQ(variant(description), made) << description;
        EXPECT_EQ(table.count(), count) << description;
    }
}

TEST(Font_variant, finds_again_what_has_no_size)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    base->maxw = 0;
    base->height = 0;
    EXPECT_EQ(variant("fmod:scale=5"), base); // no pixel's difference
}

TEST(Font_clone, copies_the_whole_record_under_a_name_of_its_own)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    Font* const copy = Font_clone(base);
    EXPECT_EQ(table.count(), 2U);
    EXPECT_EQ(fonts_first[1], copy);
    EXPECT_STREQ(copy->name, "fmod");
    EXPECT_NE(copy->name, base->name);
    EXPECT_EQ(copy->base, base);
    EXPECT_EQ(copy->basemark, FONT_BASEMARK);
    EXPECT_EQ(std::memcmp(copy->cellw, base->cellw, sizeof base->cellw), 0);
    EXPECT_EQ(copy->fixedw, base->fixedw);
}

TEST(Font_make, adds_a_named_copy_of_a_variant)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    Font_make("fmod:scale=30%", "normal");
    ASSERT_EQ(table.count(), 3U);
    EXPECT_STREQ(fonts_first[1]->name, "fmod:width=0.3:height=0.3");
    EXPECT_STREQ(fonts_first[2]->name, "normal");
    EXPECT_EQ(fonts_first[2]->base, base);
    EXPECT_EQ(fonts_first[2]->xscale, 0.3F);
    EXPECT_EQ(fonts_first[2]->yscale, 0.3F);
}

TEST(Font_make, leaves_the_current_font)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    Font_make("fmod:scale=30%", "normal");
    EXPECT_EQ(font_current, nullptr);
    Font_use(base);
    Font_make("fmod:scale=50%", "half");
    EXPECT_EQ(font_current, base);
    EXPECT_EQ(font_spec.xscale, 1.0F);
}

TEST(Font_select, makes_a_description_current)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    Font_select("fmod:width=50%:height=30%");
    EXPECT_EQ(font_current, fonts_first[1]);
    EXPECT_EQ(font_spec.base, base);
    EXPECT_EQ(font_spec.xscale, 0.5F);
    EXPECT_EQ(font_maxw, 15);   // 31 * 0.5
    EXPECT_EQ(font_height, 16); // 54 * 0.3
    EXPECT_EQ(font_fixedw, 16); // 32 * 0.5
}

TEST(Font_select, starts_the_program_with_its_normal_font)
{
    const FontTable table;
    table.base("fmod");
    Font_make("fmod:scale=30%", "normal");
    Font_select("normal");
    EXPECT_STREQ(font_current->name, "normal");
    EXPECT_EQ(font_height, 16);
    Font_select("fmod");
    EXPECT_STREQ(font_current->name, "fmod");
    EXPECT_EQ(font_height, 54);
    Font_select("normal");
    EXPECT_STREQ(font_current->name, "normal");
    EXPECT_EQ(table.count(), 3U);
}

// The spec of a font that has the name would be another one.
TEST(Font_select, returns_at_once_for_the_name_of_the_current_font)
{
    const FontTable table;
    table.base("same");
    Font* const second = table.base("same");
    Font_use(second);
    Font_select("SAME");
    EXPECT_EQ(font_current, second);
    EXPECT_EQ(font_spec.base, second);
}

TEST(Font_select, stores_the_spec_as_it_was_asked_for)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    Font_use(base);
    Font_select("fmod:scale=101%");
    EXPECT_EQ(font_current, base);
    EXPECT_EQ(font_spec.xscale, 1.01F);
    EXPECT_EQ(font_height, 54);
}

TEST(Font_select, keeps_drawing_in_the_current_base_for_an_unknown_name)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    table.base("other");
    Font_use(base);
    Font_select("nosuch:scale=50%");
    EXPECT_EQ(font_current->base, base);
    EXPECT_EQ(font_current->xscale, 0.5F);
}

TEST(Font_usespec, searches_no_font_for_the_spec_that_is_current)
{
    const FontTable table;
    table.base("fmod");
    Font_select("fmod:scale=50%");
    const Font* const made = font_current;
    const FontSpec spec = font_spec;
    Font_make("fmod:scale=50%", "later"); // a search would take this one
    Font_usespec(&spec);
    EXPECT_EQ(font_current, made);
}

TEST(Font_usespec, takes_a_spec_that_differs_in_any_field)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    Font* const other = table.base("other");
    const FontSpec plain = Font_spec(base);
    const FontSpec specs[] = {{other, 1, 1, 0, 0},
                              {base, 2, 1, 0, 0},
                              {base, 1, 2, 0, 0},
                              {base, 1, 1, 2, 0},
                              {base, 1, 1, 0, 2}};
    for (const FontSpec& spec : specs) {
        Font_usespec(&plain);
        ASSERT_EQ(font_current, base);
        Font_usespec(&spec);
        EXPECT_NE(font_current, base);
    }
}

TEST(Font_use, takes_the_spec_of_the_font)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    Font* const font = variant("fmod:width=2:height=3:boldness=4:skew=5");
    Font_use(font);
    EXPECT_EQ(font_current, font);
    EXPECT_EQ(font_spec.base, base);
    EXPECT_EQ(font_spec.xscale, 2.0F);
    EXPECT_EQ(font_spec.yscale, 3.0F);
    EXPECT_EQ(font_spec.boldness, 4.0F);
    EXPECT_EQ(font_spec.skew, 5.0F);
    EXPECT_EQ(font_maxw, 62);
    EXPECT_EQ(font_height, 162);
    EXPECT_EQ(font_fixedw, 64);
}

TEST(Font_use, ignores_null)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    Font_use(base);
    Font_use(nullptr);
    EXPECT_EQ(font_current, base);
    EXPECT_EQ(font_height, 54);
}

TEST(Font_use, cuts_metrics_toward_zero_and_holds_them)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    base->xscale = -0.99F;
    Font_use(base);
    EXPECT_EQ(font_maxw, -30); // -30.69
    base->xscale = 1e6F;
    base->yscale = -1e6F;
    Font_use(base);
    EXPECT_EQ(font_maxw, 1 << 24);
    EXPECT_EQ(font_height, -(1 << 24));
}

TEST(Font_placeholder, has_a_blank_texture_of_one_pixel)
{
    scripted_begin();
    const ScriptedWindow window(16, 16);
    const FontTable table;
    const Font* const font = Font_placeholder("ghost");
    EXPECT_STREQ(font->name, "ghost");
    EXPECT_EQ(fonts_first[0], font);
    EXPECT_EQ(font->base, font);
    EXPECT_EQ(font->basemark, FONT_BASEMARK);
    EXPECT_EQ(font->texw, 1);
    EXPECT_EQ(font->texh, 1);
    glBindTexture(GL_TEXTURE_2D, font->texture);
    GLint size[2] = {};
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &size[0]);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &size[1]);
    EXPECT_EQ(size[0], 1);
    EXPECT_EQ(size[1], 1);
    u8 pixel[4] = {9, 9, 9, 9};
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
    for (const u8 channel : pixel) {
        EXPECT_EQ(channel, 0);
    }
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST(Font_placeholder, filters_as_the_other_fonts_do)
{
    scripted_begin();
    const ScriptedWindow window(16, 16);
    const FontTable table;
    glBindTexture(GL_TEXTURE_2D, Font_placeholder("ghost")->texture);
    GLint filter = 0;
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &filter);
    EXPECT_EQ(filter, GL_LINEAR_MIPMAP_LINEAR);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, &filter);
    EXPECT_EQ(filter, GL_LINEAR);
    GLfloat bias = 0;
    glGetTexParameterfv(GL_TEXTURE_2D, GL_TEXTURE_LOD_BIAS, &bias);
    EXPECT_EQ(bias, -0.5F);
}

TEST(Font_placeholder, takes_the_place_of_every_font_of_its_name)
{
    const FontTable table;
    table.base("fmod");
    Font* const other = table.base("other");
    table.base("FMOD");
    Font* const font = Font_placeholder("fmod");
    ASSERT_EQ(table.count(), 2U);
    EXPECT_EQ(fonts_first[0], other);
    EXPECT_EQ(fonts_first[1], font);
}

TEST(Font_placeholder, takes_a_name_that_goes_with_its_font)
{
    const FontTable table;
    const Font* const old = table.base("fmod");
    const Font* const font = Font_placeholder(old->name);
    EXPECT_STREQ(font->name, "fmod");
}

TEST(Font_placeholder, becomes_current_where_the_current_font_goes)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    Font_use(base);
    Font* const font = Font_placeholder("fmod");
    EXPECT_EQ(font_current, font);
    EXPECT_EQ(font_spec.base, font);
    EXPECT_EQ(font_height, 0);
}

TEST(Font_placeholder, leaves_another_current_font)
{
    const FontTable table;
    Font* const base = table.base("fmod");
    Font_placeholder("ghost");
    EXPECT_EQ(font_current, nullptr);
    Font_use(base);
    Font_placeholder("ghost");
    EXPECT_EQ(font_current, base);
}

TEST(Font_placeholder, leaves_variants_of_a_lost_base_a_base_among_them)
{
    const FontTable table;
    table.base("fmod", 7);
    Font_make("fmod:scale=30%", "normal");
    Font_select("normal");
    Font_placeholder("fmod");
    ASSERT_EQ(table.count(), 3U);
    for (u32 i = 0; i < 2; i++) {
        EXPECT_EQ(fonts_first[i]->base->texture, 7U);
        EXPECT_EQ(fonts_first[i]->base->basemark, FONT_BASEMARK);
    }
    EXPECT_EQ(font_spec.base, font_current->base);
    const Font* const bigger = variant("normal:big");
    EXPECT_EQ(bigger->texture, 7U);
    EXPECT_EQ(bigger->height, 54U);
}

static bool istexture(GLuint name)
{
    return glIsTexture(name) == GL_TRUE;
}

static GLuint maketexture()
{
    GLuint name = 0;
    glGenTextures(1, &name);
    glBindTexture(GL_TEXTURE_2D, name);
    return name;
}

TEST(Font_placeholder, frees_a_texture_with_the_last_font_that_has_it)
{
    scripted_begin();
    const ScriptedWindow window(16, 16);
    const FontTable table;
    const GLuint texture = maketexture();
    const GLuint other = maketexture();
    table.base("fmod", texture);
    table.base("other", other);
    Font_make("fmod:scale=30%", "normal"); // two fonts more
    Font_placeholder("fmod");
    EXPECT_TRUE(istexture(texture));
    Font_placeholder("fmod:width=0.3:height=0.3");
    EXPECT_TRUE(istexture(texture));
    Font_placeholder("normal");
    EXPECT_FALSE(istexture(texture));
    EXPECT_TRUE(istexture(other));
}
