#include "base/str.h"
#include "model/drawsphere.h"
#include "model/maze.h"
#include "tests/mazes.h"
#include "tests/randomworld.h"
#include "tests/sound.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>

using Indices = std::vector<i32>;

TEST(VisitRec_fresh, has_the_default_colour_and_was_never_passed)
{
    const VisitRec rec = VisitRec_fresh();
    EXPECT_EQ(0x808080U, rec.colour);
    EXPECT_EQ(-1.0, rec.walked);
    EXPECT_EQ(-1.0, rec.trailed);
}

TEST(MazeNode_fresh, is_a_lone_node_at_its_place)
{
    const MazeNode node = MazeNode_fresh(1, 2, 3, 4);
    EXPECT_EQ(1.0, node.pos[0]);
    EXPECT_EQ(2.0, node.pos[1]);
    EXPECT_EQ(3.0, node.pos[2]);
    EXPECT_EQ(4.0, node.radius);
    EXPECT_EQ(0U, node.nedges);
    EXPECT_EQ(0U, node.expandable);
    EXPECT_EQ(nullptr, node.sub);
    EXPECT_EQ(0x808080U, node.rec.colour);
    EXPECT_EQ(-1.0, node.rec.walked);
    EXPECT_EQ(-1.0, node.rec.trailed);
}

TEST(Maze_new, is_empty_and_unbounded)
{
    const World maze(Maze_new());
    EXPECT_EQ(0, Maze_count(maze.get()));
    EXPECT_EQ(1U, maze->nodes.capacity);
    EXPECT_EQ(1U, maze->attachments.capacity);
    EXPECT_EQ(nullptr, maze->nodes.backptr);
    EXPECT_EQ(nullptr, maze->parent);
    EXPECT_EQ(nullptr, maze->name);
    EXPECT_EQ(1e20, maze->boundradius);
    EXPECT_EQ(0.0, maze->centre[0]);
    EXPECT_GT(0.0, maze->drawradius);
    EXPECT_SOUND(maze.get());
}

TEST(Maze_addnode, returns_the_index_of_the_copy)
{
    const World maze(Maze_new());
    EXPECT_EQ(0, add_node(maze.get(), 1, 0, 0));
    EXPECT_EQ(1, add_node(maze.get(), 2, 0, 0));
    EXPECT_EQ(2.0, Maze_node(maze.get(), 1)->pos[0]);
}

TEST(Maze_join, appends_a_fresh_edge_on_both_sides)
{
    const World maze(make_nodes(3));
    Maze_join(maze.get(), 0, 1);
    Maze_join(maze.get(), 2, 0);
    EXPECT_SOUND(maze.get());
    EXPECT_EQ((Indices{1, 2}), neighbours(maze.get(), 0));
    EXPECT_EQ((Indices{0}), neighbours(maze.get(), 2));
    const VisitRec rec = Maze_node(maze.get(), 0)->edgerec[1];
    EXPECT_EQ(0x808080U, rec.colour);
    EXPECT_EQ(-1.0, rec.walked);
    EXPECT_EQ(-1.0, rec.trailed);
}

TEST(Maze_join, leaves_both_nodes_alone_if_one_is_full)
{
    const World maze(make_star(8));
    const i32 extra = add_node(maze.get(), 0, 5, 0);
    Maze_join(maze.get(), 0, extra);
    Maze_join(maze.get(), extra, 0);
    EXPECT_EQ(8U, Maze_node(maze.get(), 0)->nedges);
    EXPECT_EQ(0U, Maze_node(maze.get(), extra)->nedges);
    EXPECT_SOUND(maze.get());
}

TEST(Maze_join, of_a_node_with_seven_edges_to_itself_stops_at_eight)
{
    const World maze(make_star(7));
    Maze_join(maze.get(), 0, 0);
    EXPECT_EQ((Indices{1, 2, 3, 4, 5, 6, 7, 0}), neighbours(maze.get(), 0));
}

TEST(Maze_join, doesnt_look_for_repetitions)
{
    const World maze(make_line(2));
    Maze_join(maze.get(), 0, 1);
    EXPECT_EQ((Indices{1, 1}), neighbours(maze.get(), 0));
    EXPECT_EQ((Indices{0, 0}), neighbours(maze.get(), 1));
    EXPECT_SOUND_BUT_DOUBLED(maze.get());
}

TEST(Maze_unjoin, changes_nothing_between_nodes_that_arent_joined)
{
    const World maze(make_line(3));
    Maze_unjoin(maze.get(), 0, 2, true);
    EXPECT_EQ((Indices{1}), neighbours(maze.get(), 0));
    EXPECT_EQ((Indices{0, 2}), neighbours(maze.get(), 1));
    EXPECT_SOUND(maze.get());
}

// A star of five with a submaze of seven in the middle, whose nodes are told apart by their radius.
static World starwithsub()
{
    World maze(make_star(5));
    Maze* const sub = hang(maze.get(), 0, make_line(7));
    for (i32 i = 0; i < 7; i++) {
        Maze_node(sub, i)->radius = i;
    }
    for (i32 i = 0; i < 5; i++) {
        Maze_node(maze.get(), 0)->edgerec[i].walked = 10.0 + i;
    }
    return maze;
}

static std::vector<f64> radii(const Maze* maze)
{
    std::vector<f64> list(maze->nodes.count);
    for (i32 i = 0; i < Maze_count(maze); i++) {
        list[static_cast<size_t>(i)] = Maze_node(maze, i)->radius;
    }
    return list;
}

TEST(Maze_unjoin, moves_the_last_edge_with_its_record_into_the_hole)
{
    const World maze = starwithsub();
    Maze_unjoin(maze.get(), 0, 3, true);
    EXPECT_SOUND(maze.get());
    EXPECT_EQ((Indices{1, 2, 5, 4}), neighbours(maze.get(), 0));
    EXPECT_EQ(14.0, Maze_node(maze.get(), 0)->edgerec[2].walked);
    EXPECT_EQ(0U, Maze_node(maze.get(), 3)->nedges);
}

TEST(Maze_unjoin, swaps_the_ports_of_the_submaze_in_step)
{
    const World maze = starwithsub();
    Maze_unjoin(maze.get(), 0, 3, true);
    EXPECT_EQ((std::vector<f64>{0, 1, 4, 3, 2, 5, 6}), radii(Maze_node(maze.get(), 0)->sub));
}

TEST(Maze_unjoin, keeps_the_ports_in_step_from_the_far_side_too)
{
    const World maze = starwithsub();
    Maze_unjoin(maze.get(), 3, 0, true);
    EXPECT_SOUND(maze.get());
    EXPECT_EQ((std::vector<f64>{0, 1, 4, 3, 2, 5, 6}), radii(Maze_node(maze.get(), 0)->sub));
}

TEST(Maze_unjoin, of_the_last_slot_renumbers_no_port)
{
    const World maze = starwithsub();
    Maze_unjoin(maze.get(), 0, 5, true);
    EXPECT_EQ((std::vector<f64>{0, 1, 2, 3, 4, 5, 6}), radii(Maze_node(maze.get(), 0)->sub));
    EXPECT_SOUND(maze.get());
}

TEST(Maze_unjoin, leaves_submazes_alone_without_syncports)
{
    const World maze = starwithsub();
    Maze_unjoin(maze.get(), 0, 3, false);
    EXPECT_EQ((Indices{1, 2, 5, 4}), neighbours(maze.get(), 0));
    EXPECT_EQ((std::vector<f64>{0, 1, 2, 3, 4, 5, 6}), radii(Maze_node(maze.get(), 0)->sub));
}

TEST(Maze_unjoin, removes_a_doubled_edge_whole)
{
    const World maze(make_graph(3, {{0, 1}, {0, 2}, {0, 1}}));
    Maze_unjoin(maze.get(), 0, 1, true);
    EXPECT_SOUND(maze.get());
    EXPECT_EQ((Indices{2}), neighbours(maze.get(), 0));
    EXPECT_EQ((Indices{}), neighbours(maze.get(), 1));
}

TEST(Maze_swapnodes, keeps_the_edge_between_adjacent_nodes)
{
    const World maze(make_line(4));
    Maze_swapnodes(maze.get(), 1, 2);
    EXPECT_SOUND(maze.get());
    EXPECT_EQ((Indices{2}), neighbours(maze.get(), 0));
    EXPECT_EQ((Indices{2, 3}), neighbours(maze.get(), 1));
    EXPECT_EQ((Indices{0, 1}), neighbours(maze.get(), 2));
    EXPECT_EQ((Indices{1}), neighbours(maze.get(), 3));
    EXPECT_EQ(2.0, Maze_node(maze.get(), 1)->pos[0]);
}

TEST(Maze_swapnodes, keeps_both_edges_of_a_common_neighbour)
{
    const World maze(make_line(3));
    Maze_swapnodes(maze.get(), 0, 2);
    EXPECT_SOUND(maze.get());
    EXPECT_EQ((Indices{2, 0}), neighbours(maze.get(), 1));
    EXPECT_EQ((Indices{1}), neighbours(maze.get(), 0));
    EXPECT_EQ((Indices{1}), neighbours(maze.get(), 2));
}

TEST(Maze_swapnodes, keeps_a_triangle_a_triangle)
{
    const World maze(make_ring(3));
    Maze_swapnodes(maze.get(), 0, 1);
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(3, Maze_edgecount(maze.get()));
}

TEST(Maze_swapnodes, of_a_node_with_itself_changes_nothing)
{
    const World maze(make_ring(4));
    Maze_swapnodes(maze.get(), 2, 2);
    EXPECT_SOUND(maze.get());
    EXPECT_EQ((Indices{1, 3}), neighbours(maze.get(), 2));
}

TEST(Maze_swapnodes, tells_both_submazes_their_new_numbers)
{
    const World maze(make_line(4));
    Maze* const a = hang(maze.get(), 1, make_line(2));
    Maze* const b = hang(maze.get(), 2, make_line(3));
    Maze_swapnodes(maze.get(), 1, 2);
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(2, a->parentnode);
    EXPECT_EQ(1, b->parentnode);
}

TEST(Maze_delnode, of_the_last_node_renumbers_nothing)
{
    const World maze(make_ring(5));
    Maze_delnode(maze.get(), 4, true);
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(4, Maze_count(maze.get()));
    EXPECT_EQ((Indices{1}), neighbours(maze.get(), 0));
    EXPECT_EQ((Indices{2}), neighbours(maze.get(), 3));
    EXPECT_EQ(3.0, Maze_node(maze.get(), 3)->pos[0]);
}

TEST(Maze_delnode, moves_the_last_node_into_the_hole)
{
    const World maze(make_ring(5));
    Maze_delnode(maze.get(), 1, true);
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(4, Maze_count(maze.get()));
    EXPECT_EQ(4.0, Maze_node(maze.get(), 1)->pos[0]);
    EXPECT_EQ((Indices{3, 0}), neighbours(maze.get(), 1));
    EXPECT_EQ((Indices{1}), neighbours(maze.get(), 0));
    EXPECT_EQ((Indices{2, 1}), neighbours(maze.get(), 3));
}

TEST(Maze_delnode, tells_the_moved_submaze_its_new_number)
{
    const World maze(make_line(5));
    Maze* const sub = hang(maze.get(), 4, make_line(2));
    Maze_delnode(maze.get(), 1, true);
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(1, sub->parentnode);
    EXPECT_EQ(sub, Maze_node(maze.get(), 1)->sub);
}

static i32 destroyed; // calls of countdestroyed; set to 0 by the tests that read it

static void countdestroyed(void*, Maze*)
{
    destroyed++;
}

TEST(Maze_delnode, frees_the_submaze_of_the_node_with_all_below)
{
    const World maze(make_line(3));
    Maze* const sub = hang(maze.get(), 1, make_line(4));
    Maze* const deep = hang(sub, 3, make_line(2));
    Maze_attach(sub, "a", nullptr, countdestroyed, 0);
    Maze_attach(deep, "b", nullptr, countdestroyed, 0);
    destroyed = 0;
    Maze_delnode(maze.get(), 1, true);
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(2, destroyed);
}

TEST(Maze_delnode, neither_frees_nor_tells_submazes_without_syncports)
{
    const World maze(make_nodes(3));
    Maze* const gone = hang(maze.get(), 0, make_line(2));
    Maze* const moved = hang(maze.get(), 2, make_line(2));
    Maze_attach(gone, "a", nullptr, countdestroyed, 0);
    destroyed = 0;
    Maze_delnode(maze.get(), 0, false);
    EXPECT_EQ(0, destroyed);
    EXPECT_EQ(2, moved->parentnode);
    Maze_free(gone, true);
}

TEST(Maze_delnode, of_a_node_with_a_doubled_edge_passes_over_the_emptied_slot)
{
    const World maze(make_graph(4, {{0, 1}, {0, 2}, {0, 1}, {0, 3}}));
    Maze_delnode(maze.get(), 0, true);
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(3, Maze_count(maze.get()));
    EXPECT_EQ(0, Maze_edgecount(maze.get()));
}

TEST(Maze_delnode, empties_a_maze_from_the_highest_number_down)
{
    const World maze(make_ring(6));
    for (i32 i = 5; i >= 0; i--) {
        Maze_delnode(maze.get(), i, true);
        EXPECT_SOUND(maze.get());
    }
    EXPECT_EQ(0, Maze_count(maze.get()));
}

TEST(Maze_free, runs_the_destructors_of_a_maze_last_first)
{
    static std::string order;
    static i32 nodes;
    order.clear();
    Maze* const maze = make_nodes(3);
    const AttachmentDestructor note = [](void* data, Maze* owner) {
        order += static_cast<const char*>(data);
        nodes = static_cast<i32>(owner->nodes.count);
    };
    static char first[] = "a";
    static char second[] = "b";
    Maze_attach(maze, "x", first, note, 0);
    Maze_attach(maze, "y", second, note, 0);
    Maze_free(maze, true);
    EXPECT_EQ("ba", order);
    EXPECT_EQ(3, nodes);
}

TEST(Maze_free, leaves_submazes_to_their_owner_without_recursion)
{
    Maze* const maze = make_nodes(1);
    const World sub(hang(maze, 0, make_line(2)));
    Maze_attach(sub.get(), "a", nullptr, countdestroyed, 0);
    destroyed = 0;
    Maze_free(maze, false);
    EXPECT_EQ(0, destroyed);
}

TEST(Maze_free, clears_the_back_pointer_of_the_nodes)
{
    Maze* const maze = make_nodes(1);
    void* follower = maze->nodes.buf;
    maze->nodes.backptr = &follower;
    Maze_free(maze, true);
    EXPECT_EQ(nullptr, follower);
}

// Two levels with names, visits and an attachment on each.
static World nestedmaze()
{
    World maze(make_line(3));
    Maze* const sub = hang(maze.get(), 1, make_ring(4));
    str_new(&maze->name, "top");
    str_new(&sub->name, "below");
    Pos_markwalked({maze.get(), 0}, {sub, 0}, 7.0);
    Pos_markwalked({sub, 0}, {sub, 1}, 8.0);
    Maze_bounds(maze.get(), true);
    Maze_attach(maze.get(), "a", nullptr, countdestroyed, 0);
    Maze_attach(sub, "b", nullptr, countdestroyed, 0);
    return maze;
}

TEST(Maze_clone, copies_all_levels_and_what_was_seen)
{
    const World maze = nestedmaze();
    const World copy(Maze_clone(maze.get(), true));
    EXPECT_SOUND(copy.get());
    const Maze* const sub = Maze_node(copy.get(), 1)->sub;
    ASSERT_NE(nullptr, sub);
    EXPECT_NE(Maze_node(maze.get(), 1)->sub, sub);
    EXPECT_STREQ("top", copy->name);
    EXPECT_STREQ("below", sub->name);
    EXPECT_NE(maze->name, copy->name);
    EXPECT_EQ(1, copy->visitednodes);
    EXPECT_EQ(1, sub->visitednodes);
    EXPECT_EQ(1U, sub->exitsused);
    EXPECT_EQ(maze->boundradius, copy->boundradius);
    EXPECT_EQ(maze->centre[0], copy->centre[0]);
    EXPECT_EQ(maze->nodes.capacity, copy->nodes.capacity);
    EXPECT_EQ(8.0, Maze_node(sub, 1)->rec.walked);
}

TEST(Maze_clone, has_no_attachments)
{
    const World maze = nestedmaze();
    const World copy(Maze_clone(maze.get(), true));
    EXPECT_EQ(0U, copy->attachments.count);
    EXPECT_EQ(0U, Maze_node(copy.get(), 1)->sub->attachments.count);
    EXPECT_EQ(1U, maze->attachments.count);
}

TEST(Maze_clone, without_recursion_has_no_submazes_but_keeps_the_counters)
{
    const World maze = nestedmaze();
    Maze* const sub = Maze_node(maze.get(), 1)->sub;
    const World copy(Maze_clone(maze.get(), false));
    const World subcopy(Maze_clone(sub, false));
    EXPECT_SOUND(copy.get());
    EXPECT_EQ(nullptr, Maze_node(copy.get(), 1)->sub);
    EXPECT_EQ(1, copy->visitednodes);
    EXPECT_EQ(1U, subcopy->exitsused);
    EXPECT_EQ(maze.get(), subcopy->parent);
    EXPECT_EQ(1, subcopy->parentnode);
    EXPECT_NE(nullptr, Maze_node(maze.get(), 1)->sub);
}

TEST(Maze_clone, may_be_changed_without_changing_its_source)
{
    const World maze(make_line(3));
    hang(maze.get(), 1, make_ring(4));
    const World copy(Maze_clone(maze.get(), true));
    Maze_delnode(copy.get(), 1, true);
    EXPECT_SOUND(copy.get());
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(3, Maze_count(maze.get()));
}

TEST(Maze_clone, keeps_an_empty_maze_empty)
{
    const World maze(Maze_new());
    const World copy(Maze_clone(maze.get(), true));
    EXPECT_EQ(0, Maze_count(copy.get()));
    EXPECT_EQ(nullptr, copy->name);
    EXPECT_EQ(0, add_node(copy.get(), 0, 0, 0));
}

TEST(Maze_append, puts_clones_behind_the_nodes_that_are_there)
{
    const World maze(make_line(3));
    const World b(make_line(2));
    hang(b.get(), 1, make_line(4));
    EXPECT_EQ(3, Maze_append(maze.get(), b.get()));
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(5, Maze_count(maze.get()));
    EXPECT_EQ((Indices{1}), neighbours(maze.get(), 2));
    EXPECT_EQ((Indices{4}), neighbours(maze.get(), 3));
    ASSERT_NE(nullptr, Maze_node(maze.get(), 4)->sub);
    EXPECT_NE(Maze_node(b.get(), 1)->sub, Maze_node(maze.get(), 4)->sub);
}

TEST(Maze_append, makes_the_draw_sphere_stale)
{
    const World maze(make_nodes(1));
    const World far(make_nodes(1));
    Maze_node(far.get(), 0)->pos[0] = 100.0;
    f64 centre[3];
    f64 radius = 0.0;
    Maze_drawsphere(maze.get(), centre, &radius);
    EXPECT_LT(radius, 10.0);
    Maze_append(maze.get(), far.get());
    Maze_drawsphere(maze.get(), centre, &radius);
    EXPECT_GT(radius, 40.0);
}

TEST(Maze_merged, numbers_the_second_graph_behind_the_first)
{
    const World a(make_line(3));
    const World b(make_graph(4, {{1, 2}}));
    const World both(Maze_merged(a.get(), b.get()));
    EXPECT_SOUND(both.get());
    EXPECT_EQ(7, Maze_count(both.get()));
    EXPECT_EQ((Indices{5}), neighbours(both.get(), 4));
    EXPECT_EQ((Indices{4}), neighbours(both.get(), 5));
    EXPECT_EQ((Indices{1}), neighbours(both.get(), 2));
    EXPECT_EQ((Indices{}), neighbours(both.get(), 3));
}

TEST(Maze_merged, makes_room_by_the_bulk_rule)
{
    const World a(make_nodes(3));
    const World b(make_nodes(4));
    const World both(Maze_merged(a.get(), b.get()));
    EXPECT_EQ(8U, both->nodes.capacity); // trunc(7 / 0.8)
}

TEST(Maze_merged, clones_the_submazes_of_both)
{
    const World a(make_nodes(2));
    const World b(make_nodes(3));
    hang(a.get(), 0, make_line(2));
    hang(hang(b.get(), 2, make_line(3)), 1, make_line(2));
    const World both(Maze_merged(a.get(), b.get()));
    EXPECT_SOUND(both.get());
    EXPECT_SOUND(b.get());
    ASSERT_NE(nullptr, Maze_node(both.get(), 4)->sub);
    EXPECT_NE(Maze_node(b.get(), 2)->sub, Maze_node(both.get(), 4)->sub);
    EXPECT_NE(nullptr, Maze_node(Maze_node(both.get(), 4)->sub, 1)->sub);
}

TEST(Maze_setcolour, colours_nodes_and_edges_of_one_level)
{
    const World maze = nestedmaze();
    Maze_setcolour(maze.get(), 0x123456);
    for (i32 i = 0; i < 3; i++) {
        EXPECT_EQ(0x123456U, Maze_node(maze.get(), i)->rec.colour);
        EXPECT_EQ(0x123456U, Maze_node(maze.get(), i)->edgerec[0].colour);
    }
    EXPECT_EQ(0x123456U, Maze_node(maze.get(), 1)->edgerec[1].colour);
    EXPECT_EQ(COLOUR_DEFAULT, Maze_node(Maze_node(maze.get(), 1)->sub, 0)->rec.colour);
}

TEST(Maze_scale, spreads_the_level_and_leaves_the_radii)
{
    const World maze = nestedmaze();
    Maze_bounds(maze.get(), true);
    Maze_scale(maze.get(), 3.0);
    EXPECT_EQ(6.0, Maze_node(maze.get(), 2)->pos[0]);
    EXPECT_EQ(0.5, Maze_node(maze.get(), 2)->radius);
    EXPECT_EQ(3.0, maze->centre[0]);
    EXPECT_EQ(4.5, maze->boundradius);
    EXPECT_EQ(3.0, Maze_node(Maze_node(maze.get(), 1)->sub, 3)->pos[0]);
}

TEST(Maze_translate, moves_one_level_or_all)
{
    const World maze = nestedmaze();
    const Maze* const sub = Maze_node(maze.get(), 1)->sub;
    const f64 v[3] = {10, 20, 30};
    Maze_translate(maze.get(), v, false);
    EXPECT_EQ(12.0, Maze_node(maze.get(), 2)->pos[0]);
    EXPECT_EQ(30.0, Maze_node(maze.get(), 2)->pos[2]);
    EXPECT_EQ(11.0, maze->centre[0]);
    EXPECT_EQ(1.5, maze->boundradius);
    EXPECT_EQ(3.0, Maze_node(sub, 3)->pos[0]);
    Maze_translate(maze.get(), v, true);
    EXPECT_EQ(22.0, Maze_node(maze.get(), 2)->pos[0]);
    EXPECT_EQ(13.0, Maze_node(sub, 3)->pos[0]);
    EXPECT_EQ(11.5, sub->centre[0]);
}

TEST(Maze_rotate, turns_one_level_about_the_origin)
{
    const World maze = nestedmaze();
    const Maze* const sub = Maze_node(maze.get(), 1)->sub;
    const f64 r[3] = {0, 0, std::acos(-1.0) / 2};
    Maze_rotate(maze.get(), r);
    EXPECT_NEAR(0.0, Maze_node(maze.get(), 2)->pos[0], 1e-15);
    EXPECT_NEAR(2.0, Maze_node(maze.get(), 2)->pos[1], 1e-15);
    EXPECT_NEAR(1.0, maze->centre[1], 1e-15);
    EXPECT_EQ(3.0, Maze_node(sub, 3)->pos[0]);
}

TEST(Maze_rotate, by_nothing_changes_nothing)
{
    const World maze(make_line(3));
    const f64 r[3] = {0, 0, 0};
    Maze_rotate(maze.get(), r);
    EXPECT_EQ(2.0, Maze_node(maze.get(), 2)->pos[0]);
}

TEST(Maze_centroid, is_the_mean_and_is_not_stored)
{
    const World maze(make_nodes(4));
    Maze_node(maze.get(), 3)->pos[1] = 8.0;
    f64 mean[3];
    Maze_centroid(mean, maze.get());
    EXPECT_EQ(1.5, mean[0]);
    EXPECT_EQ(2.0, mean[1]);
    EXPECT_EQ(0.0, mean[2]);
    EXPECT_EQ(0.0, maze->centre[0]);
}

TEST(Maze_centroid, sums_from_the_last_node_to_the_first)
{
    const World maze(make_nodes(3));
    Maze_node(maze.get(), 0)->pos[0] = 1.0;
    Maze_node(maze.get(), 1)->pos[0] = 1e16;
    Maze_node(maze.get(), 2)->pos[0] = -1e16;
    f64 mean[3];
    Maze_centroid(mean, maze.get());
    EXPECT_EQ(1.0 * (1.0 / 3), mean[0]); // from the first on, the 1 would be lost
}

TEST(Maze_bounds, of_one_node_is_its_radius)
{
    const World maze(make_nodes(1));
    Maze_bounds(maze.get(), true);
    EXPECT_EQ(0.5, maze->boundradius);
    EXPECT_EQ(0.0, maze->centre[0]);
}

TEST(Maze_bounds, reaches_the_farthest_rim)
{
    const World maze(make_nodes(3));
    Maze_node(maze.get(), 1)->radius = 4.0; // in the middle
    Maze_bounds(maze.get(), true);
    EXPECT_EQ(1.0, maze->centre[0]);
    EXPECT_EQ(4.0, maze->boundradius);
    Maze_node(maze.get(), 2)->radius = 3.5;
    Maze_bounds(maze.get(), true);
    EXPECT_EQ(4.5, maze->boundradius);
}

TEST(Maze_bounds, of_an_empty_maze_is_zero)
{
    const World maze(Maze_new());
    maze->centre[1] = 3.0;
    Maze_bounds(maze.get(), true);
    EXPECT_EQ(0.0, maze->centre[1]);
    EXPECT_EQ(0.0, maze->boundradius);
}

TEST(Maze_bounds, reaches_the_levels_below_only_with_recursion)
{
    const World maze(make_nodes(2));
    const Maze* const sub = hang(maze.get(), 1, make_line(3));
    Maze_bounds(maze.get(), false);
    EXPECT_EQ(1e20, sub->boundradius);
    Maze_bounds(maze.get(), true);
    EXPECT_EQ(1.5, sub->boundradius);
}

TEST(Maze_edgecount, counts_each_edge_once)
{
    const World ring(make_ring(7));
    const World none(make_nodes(3));
    EXPECT_EQ(7, Maze_edgecount(ring.get()));
    EXPECT_EQ(0, Maze_edgecount(none.get()));
}

TEST(Maze_edgelist, rises_in_nodes_and_falls_in_slots)
{
    const World maze(make_graph(4, {{0, 1}, {3, 0}, {1, 2}, {0, 2}}));
    i32 count = 0;
    i32* const list = Maze_edgelist(maze.get(), &count);
    ASSERT_EQ(4, count);
    EXPECT_EQ((Indices{0, 2, 0, 3, 0, 1, 1, 2}), Indices(list, list + 8));
    std::free(list);
}

TEST(Maze_edgelist, of_an_empty_maze_is_an_owned_nothing)
{
    const World maze(Maze_new());
    i32 count = -1;
    i32* const list = Maze_edgelist(maze.get(), &count);
    EXPECT_EQ(0, count);
    ASSERT_NE(nullptr, list);
    std::free(list);
}

class Maze_dump_to_a_file : public testing::Test
{
  protected:
    const std::string path = testing::TempDir() + "/corvane-dump.txt";

    void SetUp() override
    {
        std::remove(path.c_str());
    }
    void TearDown() override
    {
        std::remove(path.c_str());
    }
    i32 dump(const Maze* maze, MazeDumpMode mode) const
    {
        return Maze_dump(maze, path.c_str(), "the heading", mode);
    }
    std::string text() const
    {
        std::ifstream in(path);
        std::ostringstream out;
        out << in.rdbuf();
        return out.str();
    }
};

static std::string address(const void* pointer)
{
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%p", pointer);
    return buffer;
}

TEST_F(Maze_dump_to_a_file, writes_a_level_and_piles_up)
{
    const World maze(make_line(2));
    const std::string once = "---------- the heading\nMaze " + address(maze.get()) +
                             "'(null)': 2 nodes, parent is " + address(nullptr) +
                             "'(null)'\nNode 0 is joined to 1\nNode 1 is joined to 0\n";
    EXPECT_EQ(0, dump(maze.get(), MAZE_DUMP_LEVEL));
    EXPECT_EQ(once, text());
    EXPECT_EQ(0, dump(maze.get(), MAZE_DUMP_LEVEL));
    EXPECT_EQ(once + once, text());
}

TEST_F(Maze_dump_to_a_file, of_an_empty_maze_ends_after_its_first_line)
{
    const World maze(Maze_new());
    str_new(&maze->name, "void");
    EXPECT_EQ(0, dump(maze.get(), MAZE_DUMP_ALL));
    EXPECT_EQ("---------- the heading\nMaze " + address(maze.get()) +
                  "'void': 0 nodes, parent is " + address(nullptr) + "'(null)'\n",
              text());
}

TEST_F(Maze_dump_to_a_file, descends_between_braces)
{
    const World maze(make_nodes(1));
    str_new(&maze->name, "top");
    const Maze* const sub = hang(maze.get(), 0, make_nodes(1));
    EXPECT_EQ(0, dump(maze.get(), MAZE_DUMP_ALL));
    EXPECT_EQ("---------- the heading\nMaze " + address(maze.get()) + "'top': 1 nodes, parent is " +
                  address(nullptr) + "'(null)'\nNode 0 is joined to\nNode 0 has submaze " +
                  address(sub) + "'(null)'\n{\nMaze " + address(sub) +
                  "'(null)': 1 nodes, parent is " + address(maze.get()) +
                  "'top'\nNode 0 is joined to\n}\n",
              text());
}

TEST_F(Maze_dump_to_a_file, doesnt_descend_in_mode_0)
{
    const World maze(make_nodes(1));
    hang(maze.get(), 0, make_nodes(1));
    dump(maze.get(), MAZE_DUMP_LEVEL);
    EXPECT_EQ(std::string::npos, text().find('{'));
    EXPECT_NE(std::string::npos, text().find("has submaze"));
}

TEST_F(Maze_dump_to_a_file, tells_of_a_node_joined_to_itself)
{
    const World maze(make_nodes(2));
    Maze_node(maze.get(), 1)->edges[0] = 1;
    Maze_node(maze.get(), 1)->nedges = 1;
    EXPECT_EQ(1, dump(maze.get(), MAZE_DUMP_ALL));
    EXPECT_NE(std::string::npos, text().find("\nERROR: node 1 is joined to itself\n"));
}

TEST_F(Maze_dump_to_a_file, tells_of_nodes_joined_twice)
{
    const World maze(make_graph(2, {{0, 1}, {0, 1}}));
    EXPECT_EQ(2, dump(maze.get(), MAZE_DUMP_ALL));
    EXPECT_NE(std::string::npos, text().find("\nERROR: node 0 is joined to 1 twice\n"));
    EXPECT_NE(std::string::npos, text().find("\nERROR: node 1 is joined to 0 twice\n"));
}

TEST_F(Maze_dump_to_a_file, tells_of_a_wrong_parent)
{
    const World maze(make_nodes(1));
    Maze* const sub = hang(maze.get(), 0, make_nodes(1));
    str_new(&maze->name, "top");
    sub->parent = nullptr;
    sub->parentnode = 3;
    EXPECT_EQ(101, dump(maze.get(), MAZE_DUMP_ALL));
    EXPECT_NE(std::string::npos,
              text().find("\nERROR: submaze parent is " + address(nullptr) +
                          "'(null)' node 3 and not " + address(maze.get()) + "'top' node 0\n"));
}

TEST_F(Maze_dump_to_a_file, tells_of_missing_ports)
{
    const World maze(make_star(3));
    hang(maze.get(), 0, make_nodes(2));
    EXPECT_EQ(102, dump(maze.get(), MAZE_DUMP_LEVEL));
    EXPECT_NE(std::string::npos,
              text().find("\nERROR: submaze only has 2 nodes but parent node has 3 edges\n"));
}

TEST_F(Maze_dump_to_a_file, returns_the_last_error_of_its_own_level)
{
    const World maze(make_nodes(2));
    Maze* const sub = hang(maze.get(), 0, make_graph(2, {{0, 1}, {0, 1}}));
    EXPECT_EQ(0, dump(maze.get(), MAZE_DUMP_ALL));
    sub->parentnode = 1;
    Maze_join(maze.get(), 1, 1);
    EXPECT_EQ(2, dump(maze.get(), MAZE_DUMP_ALL)); // the slots of a self-join are two alike
    sub->parentnode = 0;
}

TEST(Maze_dump, says_that_the_file_cant_be_opened)
{
    const World maze(make_nodes(1));
    EXPECT_EQ(-1, Maze_dump(maze.get(), "/dev/null/none", "x", MAZE_DUMP_ALL));
}

TEST(sound_faults, names_the_maze_and_the_node)
{
    const World maze(make_nodes(3));
    Maze* const sub = hang(maze.get(), 2, make_line(3));
    Maze_node(sub, 1)->edges[1] = 9;
    EXPECT_EQ("maze '2' node 1: edge 1 to 9 is out of range\n"
              "maze '2' node 2: edge 0 to 1 isn't symmetric\n",
              sound_faults(maze.get()));
}

TEST(sound_faults, finds_each_kind_of_fault)
{
    const World maze(make_line(3));
    Maze* const sub = hang(maze.get(), 1, make_line(3));
    EXPECT_EQ("", sound_faults(maze.get()));
    sub->exitsused = 4;
    EXPECT_EQ("maze '1': exitsused 4 with 2 ports\n", sound_faults(maze.get()));
    sub->exitsused = 0;
    sub->visitednodes = 1;
    EXPECT_EQ("maze '1': visitednodes is 1, nodes walked 0\n", sound_faults(maze.get()));
    sub->visitednodes = 0;
    sub->parentnode = 2;
    EXPECT_EQ("maze '' node 1: the submaze names parent node 2\n", sound_faults(maze.get()));
    sub->parentnode = 1;
    hang(sub, 0, make_nodes(1));
    EXPECT_EQ("maze '1' node 0: a port holds a submaze\n", sound_faults(maze.get()));
    Maze_delnode(sub, 0, true);
    Maze_delnode(sub, 0, true);
    EXPECT_EQ("maze '' node 1: the submaze has 1 nodes for 2 ports\n", sound_faults(maze.get()));
}

TEST(sound_faults, allows_doubled_edges_only_if_told)
{
    const World maze(make_graph(2, {{0, 1}, {0, 1}}));
    EXPECT_NE("", sound_faults(maze.get()));
    EXPECT_EQ("", sound_faults(maze.get(), SOUND_DOUBLED));
}

TEST(Maze, stays_sound_under_random_changes_of_nested_graphs)
{
    for (u32 seed = 1; seed <= 8; seed++) {
        RandomWorld world(seed, 10);
        for (i32 step = 0; step < 250; step++) {
            const std::string what = world.change();
            ASSERT_EQ("", sound_faults(world.root.get()))
                << "seed " << seed << " step " << step << ": " << what;
        }
    }
}
