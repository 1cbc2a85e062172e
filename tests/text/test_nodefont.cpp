#include "tests/handfont.h"
#include "text/nodefont.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <initializer_list>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace
{

using Bytes = std::vector<u8>;
using CharSet = std::unique_ptr<NodeFontCharSet, void (*)(NodeFontCharSet*)>;

const NodeFontParams fmod_params = {
    .stroke = 0.125F, .cornerradius = 0.25F, .xscale = 1.0F, .xheight = 0.625F};
const f32 atlas_scale = 32.0F;
const f32 atlas_fade = 3.0F / 32.0F;

// Of an array of its own size, so that a read past the end is one past an allocation.
CharSet parsed(const Bytes& bytes, size_t* used = nullptr)
{
    const u8* cursor = bytes.data();
    CharSet set(NodeFontCharSet_parse(&cursor, bytes.data() + bytes.size()), NodeFontCharSet_free);
    if (used != nullptr) {
        *used = static_cast<size_t>(cursor - bytes.data());
    }
    return set;
}

Bytes font_bytes()
{
    return Bytes(nodefont_data, nodefont_data + sizeof nodefont_data);
}

CharSet font()
{
    return parsed(font_bytes());
}

// 256 blocks of which the first one is given.
Bytes table_with(const Bytes& block)
{
    Bytes bytes = block;
    bytes.insert(bytes.end(), size_t{2} * 255, 0);
    return bytes;
}

std::vector<Bytes> blocks()
{
    std::vector<Bytes> found;
    const Bytes bytes = font_bytes();
    for (size_t at = 0; at + 1 < bytes.size();) {
        const size_t size = 2 + size_t{3} * bytes[at] + size_t{2} * bytes[at + 1];
        const size_t end = std::min(at + size, bytes.size());
        found.emplace_back(bytes.begin() + static_cast<i32>(at),
                           bytes.begin() + static_cast<i32>(end));
        at += size;
    }
    return found;
}

i32 signed_byte(u8 byte)
{
    return byte < 128 ? byte : byte - 256;
}

i32 count(const GrowArray& array)
{
    return static_cast<i32>(array.count);
}

std::vector<NodeFontNode> nodes_of(const NodeFontChar& glyph)
{
    const NodeFontNode* nodes = items<NodeFontNode>(&glyph.nodes);
    return {nodes, nodes + glyph.nodes.count};
}

std::vector<NodeFontEdge> edges_of(const NodeFontChar& glyph)
{
    const NodeFontEdge* edges = items<NodeFontEdge>(&glyph.edges);
    return {edges, edges + glyph.edges.count};
}

std::vector<NodeFontNode> shaped(const NodeFontChar& glyph, i32 code)
{
    std::vector<NodeFontNode> nodes = nodes_of(glyph);
    for (NodeFontNode& node : nodes) {
        node = NodeFont_shapenode(node, code, &fmod_params);
    }
    return nodes;
}

i32 cell_width(const NodeFontCharSet* set, i32 code)
{
    f32 box[4];
    NodeFont_glyphbox(box, &set->chars[code], code, &fmod_params);
    return static_cast<i32>((box[1] + atlas_fade - (box[0] - atlas_fade)) * atlas_scale);
}

f32 shaped_y(f32 y, i32 code, f32 xheight = 0.625F)
{
    NodeFontParams params = fmod_params;
    params.xheight = xheight;
    return NodeFont_shapenode({.x = 0, .y = y, .kind = NODEFONT_SHARP}, code, &params).y;
}

} // namespace

TEST(nodefont_data, is_2520_bytes_long)
{
    EXPECT_EQ(sizeof nodefont_data, 2520U);
}

TEST(nodefont_data, holds_256_blocks_and_nothing_behind_them)
{
    size_t total = 0;
    for (const Bytes& block : blocks()) {
        total += block.size();
    }
    EXPECT_EQ(blocks().size(), 256U);
    EXPECT_EQ(total, sizeof nodefont_data);
}

TEST(nodefont_data, has_a_glyph_for_each_of_97_codes_and_no_other)
{
    i32 glyphs = 0;
    for (i32 code = 0; code < 256; code++) {
        const Bytes block = blocks().at(static_cast<size_t>(code));
        EXPECT_EQ(block[0] != 0, has_glyph(code)) << code;
        glyphs += block[0] != 0 ? 1 : 0;
    }
    EXPECT_EQ(glyphs, 97);
}

TEST(nodefont_data, has_neither_nodes_nor_edges_for_other_codes)
{
    for (i32 code = 0; code < 256; code++) {
        if (!has_glyph(code)) {
            EXPECT_EQ(blocks().at(static_cast<size_t>(code)), Bytes({0, 0})) << code;
        }
    }
}

TEST(nodefont_data, has_its_A_byte_for_byte)
{
    EXPECT_EQ(blocks().at('A'), Bytes({6, 6, 0,  0, 0, 0, 16, 0, 16, 32, 1, 16, 0, 0, 16, 16,
                                       0, 0, 32, 1, 0, 1, 4,  2, 4,  3,  1, 4,  1, 5, 5,  2}));
}

TEST(nodefont_data, has_its_O_byte_for_byte)
{
    EXPECT_EQ(blocks().at('O'),
              Bytes({4, 4, 0, 32, 1, 0, 0, 1, 16, 0, 1, 16, 32, 1, 0, 1, 1, 2, 2, 3, 3, 0}));
}

TEST(nodefont_data, has_its_a_byte_for_byte)
{
    EXPECT_EQ(blocks().at('a'),
              Bytes({4, 4, 0, 0, 1, 0, 16, 1, 16, 16, 0, 16, 0, 0, 0, 1, 2, 3, 0, 3, 1, 2}));
}

TEST(nodefont_data, has_its_full_stop_byte_for_byte)
{
    EXPECT_EQ(blocks().at('.'), Bytes({1, 0, 0, 0, 0}));
}

TEST(nodefont_data, keeps_every_node_on_the_grid)
{
    for (const Bytes& block : blocks()) {
        for (size_t i = 0; i < block[0]; i++) {
            const i32 x = signed_byte(block[2 + 3 * i]);
            const i32 y = signed_byte(block[3 + 3 * i]);
            EXPECT_EQ(x % 4, 0);
            EXPECT_EQ(y % 4, 0);
            EXPECT_TRUE(x >= 0 && x <= 24) << x;
            EXPECT_TRUE(y >= -16 && y <= 32) << y;
            EXPECT_LE(block[4 + 3 * i], 1);
        }
    }
}

TEST(nodefont_data, reaches_both_ends_of_the_grid)
{
    std::set<i32> xs;
    std::set<i32> ys;
    for (const Bytes& block : blocks()) {
        for (size_t i = 0; i < block[0]; i++) {
            xs.insert(signed_byte(block[2 + 3 * i]));
            ys.insert(signed_byte(block[3 + 3 * i]));
        }
    }
    EXPECT_EQ(*xs.begin(), 0);
    EXPECT_EQ(*xs.rbegin(), 24);
    EXPECT_EQ(*ys.begin(), -16);
    EXPECT_EQ(*ys.rbegin(), 32);
}

TEST(nodefont_data, has_a_leftmost_node_at_0_in_every_glyph)
{
    const CharSet set = font();
    for (i32 code = 0; code < 256; code++) {
        f32 left = 1;
        for (const NodeFontNode& node : nodes_of(set->chars[code])) {
            left = std::min(left, node.x);
        }
        EXPECT_EQ(left, has_glyph(code) ? 0.0F : 1.0F) << code;
    }
}

TEST(nodefont_data, joins_nodes_that_the_glyph_has)
{
    for (const Bytes& block : blocks()) {
        for (size_t at = 2 + size_t{3} * block[0]; at < block.size(); at++) {
            EXPECT_LT(block[at], block[0]);
        }
    }
}

TEST(nodefont_data, has_no_edge_twice)
{
    const CharSet set = font();
    for (i32 code = 0; code < 256; code++) {
        std::set<std::pair<i32, i32>> seen;
        for (const NodeFontEdge& edge : edges_of(set->chars[code])) {
            EXPECT_TRUE(seen.emplace(std::min(edge.a, edge.b), std::max(edge.a, edge.b)).second)
                << code;
        }
    }
}

TEST(nodefont_data, has_no_node_twice_in_a_glyph)
{
    const CharSet set = font();
    for (i32 code = 0; code < 256; code++) {
        std::set<std::pair<f32, f32>> seen;
        for (const NodeFontNode& node : nodes_of(set->chars[code])) {
            EXPECT_TRUE(seen.emplace(node.x, node.y).second) << code;
        }
    }
}

TEST(nodefont_data, has_lone_nodes_only_where_a_sign_has_dots)
{
    const CharSet set = font();
    std::string dotted;
    for (i32 code = 0; code < 256; code++) {
        std::set<i32> joined;
        for (const NodeFontEdge& edge : edges_of(set->chars[code])) {
            joined.insert({edge.a, edge.b});
        }
        const i32 lone = count(set->chars[code].nodes) - static_cast<i32>(joined.size());
        dotted.append(static_cast<size_t>(lone), static_cast<char>(code));
    }
    EXPECT_EQ(dotted, "!.0::;?ij");
}

// At a rounded node with one neighbour a stroke ends a corner radius short of it.
TEST(nodefont_data, ends_every_stroke_at_a_sharp_node)
{
    const CharSet set = font();
    for (i32 code = 0; code < 256; code++) {
        const std::vector<NodeFontNode> nodes = nodes_of(set->chars[code]);
        std::vector<i32> degree(nodes.size());
        for (const NodeFontEdge& edge : edges_of(set->chars[code])) {
            degree[static_cast<size_t>(edge.a)]++;
            degree[static_cast<size_t>(edge.b)]++;
        }
        for (size_t i = 0; i < nodes.size(); i++) {
            EXPECT_TRUE(nodes[i].kind == NODEFONT_SHARP || degree[i] >= 2) << code << " node " << i;
        }
    }
}

TEST(nodefont_data, has_no_two_glyphs_alike)
{
    std::set<std::string> different;
    for (i32 code = 0; code < 256; code++) {
        if (has_glyph(code)) {
            const Bytes block = blocks().at(static_cast<size_t>(code));
            different.emplace(block.begin(), block.end());
        }
    }
    EXPECT_EQ(different.size(), 97U);
}

TEST(nodefont_data, gives_all_digits_one_width)
{
    const CharSet set = font();
    for (i32 code = '0'; code <= '9'; code++) {
        EXPECT_EQ(cell_width(set.get(), code), 26) << code;
    }
}

TEST(nodefont_data, makes_a_widest_cell_of_34_pixels)
{
    const CharSet set = font();
    i32 widest = 0;
    for (i32 code = 0; code < 256; code++) {
        widest = std::max(widest, cell_width(set.get(), code));
    }
    EXPECT_EQ(widest, 34);
}

TEST(nodefont_data, makes_cells_54_pixels_high)
{
    const CharSet set = font();
    f32 box[4];
    NodeFont_setbox(box, set.get(), &fmod_params);
    const f32 height = (box[3] + atlas_fade - (box[2] - atlas_fade)) * atlas_scale;
    EXPECT_EQ(static_cast<i32>(height), 54);
}

TEST(NodeFontCharSet_parse, reads_the_table_to_its_end)
{
    size_t used = 0;
    const CharSet set = parsed(font_bytes(), &used);
    EXPECT_NE(set, nullptr);
    EXPECT_EQ(used, 2520U);
}

TEST(NodeFontCharSet_parse, leaves_what_stands_behind_the_last_block)
{
    Bytes bytes = font_bytes();
    bytes.insert(bytes.end(), {1, 2, 3});
    size_t used = 0;
    const CharSet set = parsed(bytes, &used);
    EXPECT_NE(set, nullptr);
    EXPECT_EQ(used, 2520U);
}

TEST(NodeFontCharSet_parse, divides_coordinates_by_32)
{
    const CharSet set = font();
    const std::vector<NodeFontNode> nodes = nodes_of(set->chars['A']);
    ASSERT_EQ(nodes.size(), 6U);
    EXPECT_EQ(nodes[1].x, 0.0F);
    EXPECT_EQ(nodes[1].y, 0.5F);
    EXPECT_EQ(nodes[2].x, 0.5F);
    EXPECT_EQ(nodes[2].y, 1.0F);
}

TEST(NodeFontCharSet_parse, keeps_the_kinds_of_nodes)
{
    const CharSet set = font();
    const std::vector<NodeFontNode> nodes = nodes_of(set->chars['A']);
    ASSERT_EQ(nodes.size(), 6U);
    EXPECT_EQ(nodes[1].kind, NODEFONT_SHARP);
    EXPECT_EQ(nodes[2].kind, NODEFONT_ROUNDED);
}

TEST(NodeFontCharSet_parse, keeps_the_order_and_direction_of_edges)
{
    const CharSet set = font();
    const std::vector<NodeFontEdge> edges = edges_of(set->chars['A']);
    ASSERT_EQ(edges.size(), 6U);
    EXPECT_EQ(edges[1].a, 4);
    EXPECT_EQ(edges[1].b, 2);
    EXPECT_EQ(edges[5].a, 5);
    EXPECT_EQ(edges[5].b, 2);
}

TEST(NodeFontCharSet_parse, reads_coordinates_with_a_sign)
{
    const CharSet set = parsed(table_with({1, 0, 0x80, 0xf0, 0}));
    ASSERT_NE(set, nullptr);
    const std::vector<NodeFontNode> nodes = nodes_of(set->chars[0]);
    ASSERT_EQ(nodes.size(), 1U);
    EXPECT_EQ(nodes[0].x, -4.0F);
    EXPECT_EQ(nodes[0].y, -0.5F);
}

TEST(NodeFontCharSet_parse, gives_the_space_an_empty_graph)
{
    const CharSet set = font();
    EXPECT_EQ(count(set->chars[' '].nodes), 0);
    EXPECT_EQ(count(set->chars[' '].edges), 0);
}

TEST(NodeFontCharSet_parse, reads_the_greatest_block_there_can_be)
{
    Bytes block = {255, 255};
    for (i32 i = 0; i < 255; i++) {
        block.insert(block.end(), {static_cast<u8>(i), 0, 1});
    }
    for (i32 i = 0; i < 255; i++) {
        block.insert(block.end(), {static_cast<u8>(i), static_cast<u8>((i + 1) % 255)});
    }
    const CharSet set = parsed(table_with(block));
    ASSERT_NE(set, nullptr);
    EXPECT_EQ(count(set->chars[0].nodes), 255);
    EXPECT_EQ(edges_of(set->chars[0]).back().a, 254);
}

TEST(NodeFontCharSet_parse, refuses_a_table_cut_short_anywhere)
{
    const Bytes bytes = font_bytes();
    for (size_t length = 0; length < bytes.size(); length++) {
        const Bytes cut(bytes.begin(), bytes.begin() + static_cast<i32>(length));
        EXPECT_EQ(parsed(cut), nullptr) << length;
    }
}

TEST(NodeFontCharSet_parse, leaves_the_cursor_at_the_block_at_fault)
{
    Bytes bytes = font_bytes();
    bytes.resize(33 * 2 + 5); // the first glyph has 11 bytes
    size_t used = 0;
    EXPECT_EQ(parsed(bytes, &used), nullptr);
    EXPECT_EQ(used, size_t{33} * 2);
}

TEST(NodeFontCharSet_parse, refuses_an_edge_to_a_node_that_is_missing)
{
    EXPECT_EQ(parsed(table_with({2, 1, 0, 0, 0, 16, 0, 0, 0, 2})), nullptr);
    EXPECT_EQ(parsed(table_with({2, 1, 0, 0, 0, 16, 0, 0, 255, 1})), nullptr);
    EXPECT_EQ(parsed(table_with({0, 1, 0, 0})), nullptr);
}

TEST(NodeFontCharSet_parse, refuses_an_edge_from_a_node_to_itself)
{
    EXPECT_EQ(parsed(table_with({2, 1, 0, 0, 0, 16, 0, 0, 1, 1})), nullptr);
}

TEST(NodeFontCharSet_parse, refuses_an_edge_between_two_nodes_at_one_place)
{
    EXPECT_EQ(parsed(table_with({2, 1, 8, 4, 0, 8, 4, 1, 0, 1})), nullptr);
}

// With each byte changed to each of eight values: the table is refused, or what comes of it is in order.
TEST(NodeFontCharSet_parse, takes_any_damaged_byte_without_harm)
{
    Bytes bytes = font_bytes();
    i32 refused = 0;
    for (u8& byte : bytes) {
        const u8 was = byte;
        for (const i32 value : {0, 1, 2, 7, 127, 128, 254, 255}) {
            byte = static_cast<u8>(value);
            const CharSet set = parsed(bytes);
            refused += set == nullptr ? 1 : 0;
            for (i32 code = 255; set != nullptr && code >= 0; code--) {
                for (const NodeFontEdge& edge : edges_of(set->chars[code])) {
                    ASSERT_LT(edge.a, count(set->chars[code].nodes));
                    ASSERT_LT(edge.b, count(set->chars[code].nodes));
                }
            }
        }
        byte = was;
    }
    EXPECT_GT(refused, 0);
}

TEST(NodeFontCharSet_free, does_nothing_for_null)
{
    EXPECT_NO_FATAL_FAILURE(NodeFontCharSet_free(nullptr));
}

TEST(NodeFont_shapenode, puts_half_a_height_at_the_xheight_in_lower_case)
{
    EXPECT_EQ(shaped_y(0.5F, 'a'), 0.625F);
    EXPECT_EQ(shaped_y(0.5F, 'z'), 0.625F);
}

TEST(NodeFont_shapenode, leaves_half_a_height_in_all_other_codes)
{
    for (const i32 code : {0, 65, 90, 96, 123, 163, 225, 255}) {
        EXPECT_EQ(shaped_y(0.5F, code), 0.5F) << code;
    }
}

TEST(NodeFont_shapenode, leaves_the_baseline_and_the_ascender)
{
    EXPECT_EQ(shaped_y(0.0F, 'b'), 0.0F);
    EXPECT_EQ(shaped_y(1.0F, 'b'), 1.0F);
}

TEST(NodeFont_shapenode, stretches_the_lower_half_and_shrinks_the_upper_one)
{
    EXPECT_EQ(shaped_y(0.25F, 'b'), 0.3125F);
    EXPECT_EQ(shaped_y(0.75F, 'b'), 0.8125F);
}

TEST(NodeFont_shapenode, treats_descenders_alike)
{
    EXPECT_EQ(shaped_y(-0.5F, 'g'), -0.375F);
    EXPECT_EQ(shaped_y(-0.25F, 'g'), -0.1875F);
    EXPECT_EQ(shaped_y(-1.0F, 'g'), -1.0F);
}

TEST(NodeFont_shapenode, changes_nothing_at_an_xheight_of_half)
{
    for (i32 i = -32; i <= 32; i++) {
        const f32 y = static_cast<f32>(i) / 32;
        EXPECT_EQ(shaped_y(y, 'g', 0.5F), y);
    }
}

TEST(NodeFont_shapenode, stretches_x_in_every_code)
{
    NodeFontParams params = fmod_params;
    params.xscale = 1.5F;
    for (const i32 code : {32, 65, 97, 163}) {
        EXPECT_EQ(NodeFont_shapenode({.x = 0.5F, .y = 0, .kind = 1}, code, &params).x, 0.75F);
    }
}

TEST(NodeFont_cornertrim, is_a_quarter_at_all_corners_of_the_O)
{
    const CharSet set = font();
    const std::vector<NodeFontNode> nodes = shaped(set->chars['O'], 'O');
    for (i32 node = 0; node < 4; node++) {
        EXPECT_EQ(NodeFont_cornertrim(nodes.data(), &set->chars['O'].edges, node, &fmod_params),
                  0.25F);
    }
}

TEST(NodeFont_cornertrim, is_nothing_at_a_sharp_node)
{
    const CharSet set = font();
    const std::vector<NodeFontNode> nodes = shaped(set->chars['A'], 'A');
    EXPECT_EQ(NodeFont_cornertrim(nodes.data(), &set->chars['A'].edges, 1, &fmod_params), 0.0F);
}

TEST(NodeFont_cornertrim, shares_an_edge_between_two_rounded_nodes)
{
    const CharSet set = parsed(table_with({2, 1, 0, 0, 1, 8, 0, 1, 0, 1}));
    ASSERT_NE(set, nullptr);
    const std::vector<NodeFontNode> nodes = nodes_of(set->chars[0]);
    const GrowArray* edges = &set->chars[0].edges;
    EXPECT_EQ(NodeFont_cornertrim(nodes.data(), edges, 0, &fmod_params), 0.125F);
    EXPECT_EQ(NodeFont_cornertrim(nodes.data(), edges, 1, &fmod_params), 0.125F);
}

TEST(NodeFont_cornertrim, may_take_the_whole_edge_to_a_sharp_node)
{
    const CharSet set = parsed(table_with({2, 1, 0, 0, 1, 4, 0, 0, 1, 0}));
    ASSERT_NE(set, nullptr);
    EXPECT_EQ(NodeFont_cornertrim(items<NodeFontNode>(&set->chars[0].nodes), &set->chars[0].edges,
                                  0, &fmod_params),
              0.125F);
}

TEST(NodeFont_cornertrim, is_the_radius_at_a_rounded_node_without_edges)
{
    const CharSet set = parsed(table_with({1, 0, 0, 0, 1}));
    ASSERT_NE(set, nullptr);
    EXPECT_EQ(NodeFont_cornertrim(items<NodeFontNode>(&set->chars[0].nodes), &set->chars[0].edges,
                                  0, &fmod_params),
              0.25F);
}

TEST(NodeFont_glyphbox, gives_a_glyph_without_nodes_half_a_stroke_to_each_side)
{
    const CharSet set = font();
    f32 box[4];
    NodeFont_glyphbox(box, &set->chars[' '], ' ', &fmod_params);
    EXPECT_EQ(box[0], -0.0625F);
    EXPECT_EQ(box[1], 0.0625F);
    EXPECT_EQ(box[2], -0.0625F);
    EXPECT_EQ(box[3], 0.0625F);
}

TEST(NodeFont_glyphbox, gives_the_space_a_cell_of_10_pixels)
{
    const CharSet set = font();
    EXPECT_EQ(cell_width(set.get(), ' '), 10);
}

TEST(NodeFont_glyphbox, holds_the_letter_with_its_stroke)
{
    const CharSet set = font();
    f32 box[4];
    NodeFont_glyphbox(box, &set->chars['O'], 'O', &fmod_params);
    EXPECT_EQ(box[0], -0.0625F);
    EXPECT_EQ(box[1], 0.5625F);
    EXPECT_EQ(box[2], -0.0625F);
    EXPECT_EQ(box[3], 1.0625F);
}

TEST(NodeFont_glyphbox, has_the_xheight_of_a_lower_case_letter)
{
    const CharSet set = font();
    f32 box[4];
    NodeFont_glyphbox(box, &set->chars['a'], 'a', &fmod_params);
    EXPECT_EQ(box[3], 0.6875F);
    NodeFont_glyphbox(box, &set->chars['a'], 'A', &fmod_params);
    EXPECT_EQ(box[3], 0.5625F);
}

TEST(NodeFont_glyphbox, holds_the_origin_even_far_from_the_nodes)
{
    const CharSet set = parsed(table_with({1, 0, 16, 32, 0}));
    ASSERT_NE(set, nullptr);
    f32 box[4];
    NodeFont_glyphbox(box, &set->chars[0], 0, &fmod_params);
    EXPECT_EQ(box[0], -0.0625F);
    EXPECT_EQ(box[2], -0.0625F);
}

TEST(NodeFont_setbox, holds_every_glyph_and_no_more)
{
    const CharSet set = font();
    f32 whole[4];
    f32 most[4] = {0, 0, 0, 0};
    NodeFont_setbox(whole, set.get(), &fmod_params);
    for (i32 code = 0; code < 256; code++) {
        f32 box[4];
        NodeFont_glyphbox(box, &set->chars[code], code, &fmod_params);
        most[0] = std::min(most[0], box[0]);
        most[1] = std::max(most[1], box[1]);
        most[2] = std::min(most[2], box[2]);
        most[3] = std::max(most[3], box[3]);
    }
    for (i32 i = 0; i < 4; i++) {
        EXPECT_EQ(whole[i], most[i]) << i;
    }
}

TEST(NodeFont_setbox, corrects_the_descenders)
{
    const CharSet set = font();
    f32 box[4];
    NodeFont_setbox(box, set.get(), &fmod_params);
    EXPECT_EQ(box[1], 0.8125F);
    EXPECT_EQ(box[2], -0.4375F);
    EXPECT_EQ(box[3], 1.0625F);
}
