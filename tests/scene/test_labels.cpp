#include "base/str.h"
#include "model/maze.h"
#include "scene/labels.h"
#include "tests/emitted.h"
#include "tests/scene_picture.h"
#include "text/bitmapfonts.h"
#include "text/drawtext.h"

#include <cstdlib>

// A font of cells 40 high; "a" is 20 wide, "b" 10, "." 5. The texture is 100 by 200.
static Font plain_font()
{
    Font font = {};
    font.texw = 100;
    font.texh = 200;
    font.height = 40;
    font.xscale = 1;
    font.yscale = 1;
    font.cellw['a'] = 20;
    font.cellx['a'] = 30;
    font.celly['a'] = 50;
    font.cellw['b'] = 10;
    font.cellw['.'] = 5;
    return font;
}

// Makes a font current for as long as it lives.
struct WithFont {
    Font font = plain_font();
    Font* before;

    WithFont()
    {
        picture_open();
        before = font_current;
        font.base = &font;
        font_current = &font;
    }
    ~WithFont()
    {
        font_current = before;
    }
    WithFont(const WithFont&) = delete;
    WithFont& operator=(const WithFont&) = delete;
};

static const f64 base[3] = {1, 2, 3};
static const f64 down[3] = {0, -4, 0};
static const f64 along[3] = {4, 0, 0};

static std::vector<GlVertex> text_quads(const char* text)
{
    return emitted([=] {
        glBegin(GL_QUADS);
        text3d(text, base, down, along);
        glEnd();
    });
}

TEST(text3d, lays_a_glyph_from_its_upper_left_corner)
{
    const WithFont font;
    const auto v = text_quads("a");
    ASSERT_EQ(v.size(), 4U);
    expect_place(v[0], 1, 2, 3);
    expect_place(v[1], 3, 2, 3); // half a cell wide
    expect_place(v[2], 3, -2, 3);
    expect_place(v[3], 1, -2, 3);
}

TEST(text3d, takes_the_whole_cell_of_the_texture)
{
    const WithFont font;
    const auto v = text_quads("a");
    ASSERT_EQ(v.size(), 4U);
    EXPECT_FLOAT_EQ(v[0].tex[0], 0.3F);
    EXPECT_FLOAT_EQ(v[0].tex[1], 0.25F);
    EXPECT_FLOAT_EQ(v[2].tex[0], 0.5F);
    EXPECT_FLOAT_EQ(v[2].tex[1], 0.45F);
    EXPECT_FLOAT_EQ(v[1].tex[1], 0.25F);
    EXPECT_FLOAT_EQ(v[3].tex[0], 0.3F);
}

TEST(text3d, leaves_a_font_pixel_between_glyphs)
{
    const WithFont font;
    const auto v = text_quads("ab");
    ASSERT_EQ(v.size(), 8U);
    expect_place(v[4], 1 + 4 * (0.5 + 1 / 40.0), 2, 3);
    expect_place(v[5], 1 + 4 * (0.75 + 1 / 40.0), 2, 3);
}

TEST(text3d, leaves_a_cell_free_for_a_tab)
{
    const WithFont font;
    const auto v = text_quads("\ta");
    ASSERT_EQ(v.size(), 4U);
    expect_place(v[0], 5, 2, 3);
}

TEST(text3d, begins_a_line_under_the_one_before)
{
    const WithFont font;
    const auto v = text_quads("a\nb\nb");
    ASSERT_EQ(v.size(), 12U);
    expect_place(v[4], 1, -2, 3);
    expect_place(v[8], 1, -6, 3);
}

TEST(text3d, reads_bytes_above_127_as_codes)
{
    WithFont font;
    font.font.cellw[163] = 40;
    const auto v = text_quads("\xA3");
    ASSERT_EQ(v.size(), 4U);
    expect_place(v[1], 5, 2, 3);
}

TEST(text3d, draws_nothing_without_a_font)
{
    const WithFont font;
    font_current = nullptr;
    EXPECT_TRUE(text_quads("a").empty());
}

// A level with a name before the camera, from (-5, -5, -50) to (5, 5, -50).
struct NamedWorld : World {
    explicit NamedWorld(const char* name)
    {
        picture_open();
        gfx_resize(320, 240);
        Maze_node(root, 0)->pos[1] = -5;
        Maze_node(root, 0)->pos[2] = -50;
        Maze_node(root, 0)->pos[0] = -5;
        node(5, 5, -40, 0.5);
        str_set(&root->name, name);
    }
    std::vector<GlVertex> quads(bool recursive = false)
    {
        finish_world(root);
        picture_begin(&game);
        return emitted([&] {
            glBegin(GL_QUADS);
            labels_draw(root, &game, recursive);
            glEnd();
        });
    }
};

TEST(labels_draw, puts_a_name_over_the_top_left_corner_of_its_maze)
{
    const WithFont font;
    NamedWorld world("ab");
    const auto v = world.quads();
    ASSERT_EQ(v.size(), 8U);
    expect_place(v[0], -5, 6.5, -50); // s is a tenth of 10
    expect_place(v[2], -4.5, 5.5, -50);
    EXPECT_EQ(colour_of(v[0]), 0xCCE6CCU);
}

TEST(labels_draw, prints_a_name_with_one_dot_at_full_size)
{
    const WithFont font;
    NamedWorld world("a.a");
    const auto v = world.quads();
    ASSERT_EQ(v.size(), 12U);
    EXPECT_FLOAT_EQ(v[11].pos[1], 5.5F);
}

TEST(labels_draw, prints_a_name_from_its_second_dot_on_at_half_size)
{
    const WithFont font;
    NamedWorld world("a.a.a");
    const f64 width = static_cast<f64>(text_width("a.a")) / 40;
    const auto v = world.quads();
    ASSERT_EQ(v.size(), 20U);
    expect_place(v[12], -5 + width, 6.45, -50); // the second dot
    expect_place(v[14], -5 + width + 0.5 * 5 / 40.0, 5.95, -50);
    EXPECT_FLOAT_EQ(v[0].pos[1], 6.5F);
}

// Byte 5 begins a sequence of seven bytes, of which the first part of this name has but one.
TEST(labels_draw, measures_no_control_sequence_past_the_second_dot)
{
    const WithFont font;
    NamedWorld world("a.a\5.bbbbbaaaa");
    const f64 width = static_cast<f64>(text_width("a.a")) / 40;
    const auto v = world.quads();
    ASSERT_EQ(v.size(), 4U * 14);
    expect_place(v[size_t{4} * 4], -5 + width, 6.45, -50); // the second dot
}

TEST(labels_draw, measures_a_name_that_ends_in_a_control_byte)
{
    const WithFont font;
    for (const std::string name : {"a.a\5.", "a.a\2.", "a.a.\5", "a.a.\2", "\5..", "a\5", "\5"}) {
        NamedWorld world(name.c_str());
        EXPECT_EQ(world.quads().size(), 4 * name.size());
    }
}

TEST(labels_draw, shows_nothing_for_a_maze_of_one_row)
{
    const WithFont font;
    NamedWorld world("ab");
    Maze_node(world.root, 1)->pos[1] = -5;
    EXPECT_TRUE(world.quads().empty());
}

TEST(labels_draw, shows_nothing_for_a_maze_without_a_name)
{
    const WithFont font;
    NamedWorld world("ab");
    std::free(world.root->name);
    world.root->name = nullptr;
    EXPECT_TRUE(world.quads().empty());
}

TEST(labels_draw, names_the_levels_below_only_if_it_is_recursive)
{
    const WithFont font;
    NamedWorld world("a");
    Maze* const sub = add_sub(world.root, 1);
    add_node(sub, 0, 0, -40, 1);
    add_node(sub, 0, 5, -40, 1);
    str_set(&sub->name, "b");
    EXPECT_EQ(world.quads(true).size(), 8U);
    EXPECT_EQ(world.quads(false).size(), 4U);
}

TEST(labels_draw, leaves_out_a_level_that_is_out_of_view)
{
    const WithFont font;
    NamedWorld world("a");
    Maze_node(world.root, 0)->pos[2] = 50;
    Maze_node(world.root, 1)->pos[2] = 50;
    EXPECT_TRUE(world.quads().empty());
}

TEST(labels_draw, keeps_the_name_whole)
{
    const WithFont font;
    NamedWorld world("a.b.a.b");
    world.quads();
    EXPECT_STREQ(world.root->name, "a.b.a.b");
}

TEST(labels_draw, takes_a_name_of_any_length)
{
    const WithFont font;
    NamedWorld world(std::string(5000, 'a').c_str());
    EXPECT_EQ(world.quads().size(), 20000U);
}

TEST(labels_draw_font, leaves_the_normal_font_current)
{
    NamedWorld world("a");
    world.draw();
    EXPECT_STREQ(font_current->name, "normal");
}

TEST(labels_draw_font, shows_the_name_in_the_picture_over_the_maze)
{
    NamedWorld world("HHHH");
    world.game.pos.node = 1;
    const Picture named = world.draw();
    std::free(world.root->name);
    world.root->name = nullptr;
    const Picture plain = world.draw();
    i32 inside = 0;
    i32 outside = 0;
    const f64 low[3] = {-5, 5.5, -50};
    const f64 high[3] = {0, 6.5, -50};
    const Place a = picture_place(&world.game, low);
    const Place b = picture_place(&world.game, high);
    for (i32 y = 0; y < 240; y++) {
        for (i32 x = 0; x < 320; x++) {
            const bool other = named.at(x, y).g != plain.at(x, y).g;
            const bool in = x > a.x - 2 && x < b.x + 2 && y > a.y - 2 && y < b.y + 2;
            (in ? inside : outside) += other ? 1 : 0;
        }
    }
    EXPECT_GT(inside, 10);
    EXPECT_EQ(outside, 0);
}
