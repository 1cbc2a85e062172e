#include "base/report.h"
#include "base/rnd.h"
#include "model/connect.h"
#include "model/pos.h"
#include "tests/mazes.h"
#include "tests/randomworld.h"
#include "tests/sound.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>

static bool isnull(Pos pos)
{
    return pos.maze == nullptr && pos.node == 0;
}

// A ring of four: nodes 1 and 2, which are joined, hold submazes of four nodes in a line. Slots of
// node 1: 0, 2; of node 2: 1, 3.
struct TwoSubs {
    World root{make_ring(4)};
    Maze* left = hang(root.get(), 1, make_line(4));
    Maze* right = hang(root.get(), 2, make_line(4));
};

TEST(Pos_submaze_enter, gives_the_port_of_the_slot_that_leads_back)
{
    const World maze(make_graph(4, {{1, 2}, {1, 3}, {1, 0}})); // node 0 is in slot 2
    Maze* const sub = hang(maze.get(), 1, make_line(3));
    EXPECT_SOUND(maze.get());
    EXPECT_TRUE(Pos_same({sub, 2}, Pos_submaze_enter({maze.get(), 0}, sub)));
    EXPECT_TRUE(Pos_same({sub, 0}, Pos_submaze_enter({maze.get(), 2}, sub)));
}

TEST(Pos_submaze_enter, is_null_from_elsewhere)
{
    const TwoSubs world;
    EXPECT_TRUE(isnull(Pos_submaze_enter({world.root.get(), 3}, world.left)));
    EXPECT_TRUE(isnull(Pos_submaze_enter({world.right, 0}, world.left)));
}

TEST(Pos_submaze_enter, takes_the_highest_slot_of_a_doubled_edge)
{
    const World maze(make_graph(3, {{0, 1}, {1, 2}, {0, 1}}));
    Maze* const sub = hang(maze.get(), 1, make_line(4));
    EXPECT_SOUND_BUT_DOUBLED(maze.get());
    EXPECT_EQ(2, Pos_submaze_enter({maze.get(), 0}, sub).node);
}

TEST(Pos_submaze_exit, of_a_root_and_of_an_inner_node_is_null)
{
    const TwoSubs world;
    EXPECT_TRUE(isnull(Pos_submaze_exit({world.root.get(), 0})));
    EXPECT_TRUE(isnull(Pos_submaze_exit({world.left, 2})));
    EXPECT_TRUE(isnull(Pos_submaze_exit({world.left, -1})));
}

TEST(Pos_submaze_exit, leads_to_a_leaf_of_the_level_above)
{
    const TwoSubs world;
    EXPECT_TRUE(Pos_same({world.root.get(), 0}, Pos_submaze_exit({world.left, 0})));
    EXPECT_TRUE(Pos_same({world.root.get(), 3}, Pos_submaze_exit({world.right, 1})));
}

TEST(Pos_submaze_exit, leads_into_the_neighbouring_submaze_by_the_slot_back)
{
    const TwoSubs world;
    EXPECT_TRUE(Pos_same({world.right, 0}, Pos_submaze_exit({world.left, 1})));
    EXPECT_TRUE(Pos_same({world.left, 1}, Pos_submaze_exit({world.right, 0})));
}

TEST(Pos_submaze_exit, is_null_where_the_levels_dont_fit)
{
    const TwoSubs world;
    world.right->parent = nullptr;
    EXPECT_TRUE(isnull(Pos_submaze_exit({world.left, 1})));
    world.right->parent = world.root.get();
    Maze_node(world.root.get(), 2)->edges[0] = 0; // no way back
    EXPECT_TRUE(isnull(Pos_submaze_exit({world.left, 1})));
}

TEST(Pos_alledges, of_a_root_node_are_its_edges_in_slot_order)
{
    const World maze(make_graph(5, {{2, 4}, {2, 0}, {3, 2}}));
    const std::vector<Pos> list = exits({maze.get(), 2});
    ASSERT_EQ(3U, list.size());
    EXPECT_TRUE(Pos_same({maze.get(), 4}, list[0]));
    EXPECT_TRUE(Pos_same({maze.get(), 0}, list[1]));
    EXPECT_TRUE(Pos_same({maze.get(), 3}, list[2]));
}

TEST(Pos_alledges, of_a_lone_node_are_none)
{
    const World maze(make_nodes(1));
    EXPECT_TRUE(exits({maze.get(), 0}).empty());
}

TEST(Pos_alledges, enter_the_submaze_of_a_neighbour)
{
    const TwoSubs world;
    const std::vector<Pos> list = exits({world.root.get(), 3}); // slots: 2, 0
    ASSERT_EQ(2U, list.size());
    EXPECT_TRUE(Pos_same({world.right, 1}, list[0]));
    EXPECT_TRUE(Pos_same({world.root.get(), 0}, list[1]));
}

TEST(Pos_alledges, of_a_port_end_with_the_way_out)
{
    const TwoSubs world;
    const std::vector<Pos> list = exits({world.left, 1});
    ASSERT_EQ(3U, list.size());
    EXPECT_TRUE(Pos_same({world.left, 0}, list[0]));
    EXPECT_TRUE(Pos_same({world.left, 2}, list[1]));
    EXPECT_TRUE(Pos_same({world.right, 0}, list[2]));
}

TEST(Pos_alledges, of_an_inner_node_are_its_edges_alone)
{
    const TwoSubs world;
    EXPECT_EQ(2U, exits({world.left, 2}).size());
}

TEST(Pos_alledges, are_nine_at_a_port_with_eight_edges)
{
    const World maze(make_line(2));
    Maze* const sub = hang(maze.get(), 1, make_star(8));
    EXPECT_SOUND(maze.get());
    const std::vector<Pos> list = exits({sub, 0});
    ASSERT_EQ(9U, list.size());
    EXPECT_TRUE(Pos_same({maze.get(), 0}, list[8]));
}

TEST(Pos_alledges, copy_the_records_of_the_near_side)
{
    const TwoSubs world;
    Maze_node(world.left, 1)->edgerec[0].walked = 5.0;
    Maze_node(world.left, 1)->edgerec[1].walked = 6.0;
    Maze_node(world.root.get(), 1)->edgerec[1].walked = 7.0;
    Maze_node(world.root.get(), 2)->edgerec[0].walked = 8.0;
    Pos out[POS_MAXEDGES];
    VisitRec recs[POS_MAXEDGES];
    ASSERT_EQ(3, Pos_alledges({world.left, 1}, out, recs));
    EXPECT_EQ(5.0, recs[0].walked);
    EXPECT_EQ(6.0, recs[1].walked);
    EXPECT_EQ(7.0, recs[2].walked);
}

TEST(Pos_alledges, write_a_null_exit_behind_the_last_edge)
{
    const TwoSubs world;
    Pos out[POS_MAXEDGES];
    out[2] = {world.left, 7};
    ASSERT_EQ(2, Pos_alledges({world.left, 2}, out, nullptr));
    EXPECT_TRUE(isnull(out[2]));
}

static void showplace(ReportRec* rec)
{
    std::fprintf(stderr, "%d %s %d %s\n", rec->type, rec->file, rec->line, rec->message);
}

static void alledgesofbroken()
{
    report_handler = showplace;
    const World maze(make_line(2));
    hang(maze.get(), 1, make_line(2));
    Maze_node(maze.get(), 1)->nedges = 0; // no way back
    exits({maze.get(), 0});
}

TEST(Pos_alledges, are_fatal_where_edges_arent_symmetric)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(alledgesofbroken(), testing::ExitedWithCode(1),
                "5 maze 5 Pos_alledges: Pos_submaze_enter returned Pos_null");
}

// The exits of a position that lead to a node with a submaze, or whose target doesn't lead back by
// exactly one exit.
static i32 wrongexits(Pos pos)
{
    i32 wrong = 0;
    for (const Pos exit : exits(pos)) {
        const std::vector<Pos> list = exits(exit);
        const auto back = std::count_if(list.begin(), list.end(),
                                        [pos](Pos other) { return Pos_same(other, pos); });
        wrong += Pos_node(exit)->sub != nullptr || back != 1 ? 1 : 0;
    }
    return wrong;
}

static i32 wrongexitsof(Maze* maze)
{
    i32 wrong = 0;
    for (i32 n = 0; n < Maze_count(maze); n++) {
        wrong += Maze_node(maze, n)->sub == nullptr ? wrongexits({maze, n}) : 0;
    }
    return wrong;
}

TEST(Pos_alledges, always_lead_to_nodes_without_submaze_and_back)
{
    for (u32 seed = 1; seed <= 5; seed++) {
        RandomWorld world(seed);
        for (i32 step = 0; step < 120; step++) {
            world.change();
        }
        ASSERT_EQ("", sound_faults(world.root.get()));
        ASSERT_LT(1U, world.mazes().size());
        for (Maze* const maze : world.mazes()) {
            EXPECT_EQ(0, wrongexitsof(maze)) << "seed " << seed;
        }
    }
}

TEST(Maze_markwalked, stamps_both_sides_and_the_node_arrived_at)
{
    const World maze(make_line(3));
    Maze_markwalked(maze.get(), 0, 1, 4.0);
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(4.0, Maze_node(maze.get(), 0)->edgerec[0].walked);
    EXPECT_EQ(4.0, Maze_node(maze.get(), 1)->edgerec[0].walked);
    EXPECT_EQ(4.0, Maze_node(maze.get(), 1)->rec.walked);
    EXPECT_EQ(-1.0, Maze_node(maze.get(), 0)->rec.walked);
    EXPECT_EQ(-1.0, Maze_node(maze.get(), 1)->edgerec[1].walked);
    EXPECT_EQ(-1.0, Maze_node(maze.get(), 1)->rec.trailed);
}

TEST(Maze_markwalked, counts_a_first_visit_once_even_at_time_zero)
{
    const World maze(make_line(2));
    Maze_markwalked(maze.get(), 0, 1, 0.0);
    EXPECT_EQ(1, maze->visitednodes);
    Maze_markwalked(maze.get(), 0, 1, 5.0);
    EXPECT_EQ(1, maze->visitednodes);
    EXPECT_EQ(5.0, Maze_node(maze.get(), 1)->rec.walked);
}

TEST(Maze_markwalked, stamps_every_slot_of_a_doubled_edge)
{
    const World maze(make_graph(2, {{0, 1}, {0, 1}}));
    Maze_markwalked(maze.get(), 0, 1, 4.0);
    EXPECT_SOUND_BUT_DOUBLED(maze.get());
    EXPECT_EQ(4.0, Maze_node(maze.get(), 0)->edgerec[0].walked);
    EXPECT_EQ(4.0, Maze_node(maze.get(), 0)->edgerec[1].walked);
    EXPECT_EQ(4.0, Maze_node(maze.get(), 1)->edgerec[1].walked);
}

TEST(Pos_markwalked, inside_one_maze_marks_no_exit)
{
    const TwoSubs world;
    Pos_markwalked({world.left, 2}, {world.left, 1}, 3.0);
    EXPECT_SOUND(world.root.get());
    EXPECT_EQ(3.0, Maze_node(world.left, 1)->rec.walked);
    EXPECT_EQ(0U, world.left->exitsused);
    EXPECT_EQ(1, world.left->visitednodes);
}

TEST(Pos_markwalked, into_a_submaze_stamps_the_level_above_and_not_the_port)
{
    const TwoSubs world;
    Pos_markwalked({world.root.get(), 3}, {world.right, 1}, 3.0);
    EXPECT_SOUND(world.root.get());
    EXPECT_EQ(3.0, Maze_node(world.root.get(), 2)->rec.walked);
    EXPECT_EQ(3.0, Maze_node(world.root.get(), 2)->edgerec[1].walked);
    EXPECT_EQ(3.0, Maze_node(world.root.get(), 3)->edgerec[0].walked);
    EXPECT_EQ(1, world.root->visitednodes);
    EXPECT_EQ(-1.0, Maze_node(world.right, 1)->rec.walked);
    EXPECT_EQ(0, world.right->visitednodes);
    EXPECT_EQ(2U, world.right->exitsused);
    EXPECT_EQ(0U, world.left->exitsused);
}

TEST(Pos_markwalked, out_of_a_submaze_stamps_the_leaf)
{
    const TwoSubs world;
    Pos_markwalked({world.left, 0}, {world.root.get(), 0}, 3.0);
    EXPECT_SOUND(world.root.get());
    EXPECT_EQ(3.0, Maze_node(world.root.get(), 0)->rec.walked);
    EXPECT_EQ(-1.0, Maze_node(world.root.get(), 1)->rec.walked);
    EXPECT_EQ(3.0, Maze_node(world.root.get(), 1)->edgerec[0].walked);
    EXPECT_EQ(1U, world.left->exitsused);
}

TEST(Pos_markwalked, between_siblings_marks_an_exit_of_each)
{
    const TwoSubs world;
    Pos_markwalked({world.left, 1}, {world.right, 0}, 3.0);
    EXPECT_SOUND(world.root.get());
    EXPECT_EQ(2U, world.left->exitsused);
    EXPECT_EQ(1U, world.right->exitsused);
    EXPECT_EQ(3.0, Maze_node(world.root.get(), 2)->rec.walked);
    EXPECT_EQ(-1.0, Maze_node(world.root.get(), 1)->rec.walked);
    EXPECT_EQ(3.0, Maze_node(world.root.get(), 1)->edgerec[1].walked);
}

static i32 freed; // calls of countfreed; set to 0 by the tests that read it

static void countfreed(void*, Maze*)
{
    freed++;
}

TEST(Pos_markwalked, in_and_out_by_one_port_uses_one_exit_and_frees_once)
{
    const TwoSubs world;
    Maze_attach(world.left, "x", nullptr, countfreed, ATT_EXITS);
    freed = 0;
    Pos_markwalked({world.root.get(), 0}, {world.left, 0}, 1.0);
    EXPECT_EQ(1, freed);
    Maze_attach(world.left, "x", nullptr, countfreed, ATT_EXITS);
    Pos_markwalked({world.left, 0}, {world.root.get(), 0}, 2.0);
    EXPECT_EQ(1, freed);
    EXPECT_EQ(1U, world.left->exitsused);
    EXPECT_SOUND(world.root.get());
}

TEST(Pos_markwalked, does_nothing_between_places_that_arent_related)
{
    const World a(make_line(2));
    const World b(make_line(2));
    Pos_markwalked({a.get(), 0}, {b.get(), 1}, 3.0); // two roots have no parent in common
    EXPECT_EQ(-1.0, Maze_node(b.get(), 1)->rec.walked);
    EXPECT_EQ(0, b->visitednodes);
    EXPECT_EQ(0, a->visitednodes);
}

TEST(Pos_markwalked, without_an_edge_between_uses_no_exit)
{
    const TwoSubs world;
    Pos_markwalked({world.left, 0}, {world.root.get(), 3}, 3.0);
    EXPECT_EQ(0U, world.left->exitsused);
    EXPECT_EQ(3.0, Maze_node(world.root.get(), 3)->rec.walked);
}

TEST(Pos_marktrailed, stamps_the_same_places_and_nothing_else)
{
    const TwoSubs world;
    Maze_attach(world.root.get(), "x", nullptr, countfreed, 7);
    freed = 0;
    Pos_marktrailed({world.left, 1}, {world.right, 0}, 3.0);
    Pos_marktrailed({world.right, 1}, {world.root.get(), 3}, 4.0);
    Pos_marktrailed({world.root.get(), 0}, {world.left, 0}, 5.0);
    Pos_marktrailed({world.left, 0}, {world.left, 1}, 6.0);
    EXPECT_SOUND(world.root.get());
    const MazeNode* const nodes = items<MazeNode>(&world.root->nodes);
    EXPECT_EQ(3.0, nodes[1].edgerec[1].trailed);
    EXPECT_EQ(3.0, nodes[2].edgerec[0].trailed);
    EXPECT_EQ(3.0, nodes[2].rec.trailed);
    EXPECT_EQ(4.0, nodes[3].rec.trailed);
    EXPECT_EQ(4.0, nodes[2].edgerec[1].trailed);
    EXPECT_EQ(5.0, nodes[1].rec.trailed);
    EXPECT_EQ(6.0, Maze_node(world.left, 1)->rec.trailed);
    EXPECT_EQ(-1.0, nodes[2].rec.walked);
    EXPECT_EQ(0, world.root->visitednodes);
    EXPECT_EQ(0U, world.left->exitsused);
    EXPECT_EQ(0, freed);
}

TEST(Pos_marktrailed, overwrites_an_earlier_time_and_keeps_off_strangers)
{
    const World a(make_line(2));
    const World b(make_line(2));
    Pos_marktrailed({a.get(), 0}, {a.get(), 1}, 9.0);
    Pos_marktrailed({a.get(), 0}, {a.get(), 1}, 2.0);
    Pos_marktrailed({a.get(), 0}, {b.get(), 1}, 3.0);
    EXPECT_EQ(2.0, Maze_node(a.get(), 1)->rec.trailed);
    EXPECT_EQ(-1.0, Maze_node(b.get(), 1)->rec.trailed);
}

static void place(Maze* maze, i32 n, f64 x, f64 y, f64 z = 0)
{
    f64* const pos = Maze_node(maze, n)->pos;
    pos[0] = x;
    pos[1] = y;
    pos[2] = z;
}

static f64 xof(const Maze* maze, i32 n)
{
    return Maze_node(maze, n)->pos[0];
}

// A middle node at the origin with neighbours to the east, west and north, in that slot order.
static World crossroads()
{
    World maze(make_star(3));
    place(maze.get(), 0, 0, 0);
    place(maze.get(), 1, 10, 0);
    place(maze.get(), 2, -10, 0);
    place(maze.get(), 3, 0, 10);
    return maze;
}

TEST(Maze_fixports, makes_the_nearest_nodes_the_ports_in_slot_order)
{
    const World maze = crossroads();
    Maze* const sub = hang(maze.get(), 0, make_line(5));
    for (i32 i = 0; i < 5; i++) {
        place(sub, i, i - 2.0, i == 2 ? 1 : 0);
    }
    Maze_fixports(sub);
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(2.0, xof(sub, 0));
    EXPECT_EQ(-2.0, xof(sub, 1));
    EXPECT_EQ(0.0, xof(sub, 2));
    EXPECT_EQ(5, Maze_count(sub));
    EXPECT_EQ(4, Maze_edgecount(sub));
}

TEST(Maze_fixports, gives_an_earlier_edge_the_first_pick)
{
    const World maze = crossroads();
    Maze* const sub = hang(maze.get(), 0, make_line(3));
    place(sub, 0, 0, 0);
    place(sub, 1, 3, 3); // nearest to the east and to the north
    place(sub, 2, 0, -1);
    Maze_fixports(sub);
    EXPECT_EQ(3.0, xof(sub, 0));
    EXPECT_SOUND(maze.get());
}

TEST(Maze_fixports, prefers_the_higher_number_on_a_tie)
{
    const World maze = crossroads();
    Maze* const sub = hang(maze.get(), 0, make_nodes(4));
    place(sub, 0, 1, -1);
    place(sub, 1, 1, 1);
    place(sub, 2, -1, 0);
    place(sub, 3, 0, 0);
    Maze_fixports(sub);
    EXPECT_EQ(1.0, Maze_node(sub, 0)->pos[1]);
    EXPECT_SOUND(maze.get());
}

TEST(Maze_fixports, leaves_a_root_and_a_node_without_edges_alone)
{
    const World maze(make_nodes(2));
    Maze* const sub = hang(maze.get(), 0, make_line(3));
    rnd_seed(5);
    Maze_fixports(maze.get());
    Maze_fixports(sub);
    EXPECT_SOUND(maze.get());
    EXPECT_EQ(0.0, xof(sub, 0));
    EXPECT_EQ(3, Maze_count(sub));
    EXPECT_EQ(0U, rnd_count());
}

TEST(Maze_fixports, draws_nothing_while_there_are_nodes_enough)
{
    const World maze = crossroads();
    rnd_seed(5);
    Maze_fixports(hang(maze.get(), 0, make_line(3)));
    EXPECT_EQ(0U, rnd_count());
}

TEST(Maze_fixports, adds_missing_nodes_beside_node_0)
{
    const World maze = crossroads();
    Maze* const sub = hang(maze.get(), 0, make_nodes(1));
    place(sub, 0, 1, 0);
    Maze_node(sub, 0)->radius = 0.25;
    MazeNode_await(Maze_node(sub, 0));
    rnd_seed(5);
    Maze_fixports(sub);
    EXPECT_SOUND(maze.get());
    ASSERT_EQ(3, Maze_count(sub));
    EXPECT_EQ(1.0, xof(sub, 0));
    EXPECT_EQ((std::vector<i32>{1, 2}), neighbours(sub, 0));
    for (i32 i = 1; i < 3; i++) {
        const MazeNode* const node = Maze_node(sub, i);
        EXPECT_EQ((std::vector<i32>{0}), neighbours(sub, i));
        EXPECT_EQ(0.25, node->radius);
        EXPECT_EQ(0U, node->expandable);
        EXPECT_NEAR(1.0, std::hypot(node->pos[0] - 1.0, node->pos[1], node->pos[2]), 1e-12);
    }
    EXPECT_LE(12U, rnd_count());
}

TEST(Maze_fixports, doesnt_take_a_node_that_is_too_far_away)
{
    const World maze(make_line(2));
    Maze* const sub = hang(maze.get(), 1, make_nodes(1));
    place(sub, 0, 1e11, 0);
    Maze_fixports(sub);
    EXPECT_SOUND(maze.get());
    ASSERT_EQ(2, Maze_count(sub));
    EXPECT_EQ(1e11, xof(sub, 1)); // the added node has become the port
    EXPECT_EQ((std::vector<i32>{1}), neighbours(sub, 0));
}

TEST(Maze_fixports, copes_with_nodes_that_are_nowhere_and_with_none)
{
    const World maze = crossroads();
    Maze* const sub = hang(maze.get(), 0, make_nodes(2));
    place(sub, 0, std::numeric_limits<f64>::quiet_NaN(), 0);
    place(sub, 1, std::numeric_limits<f64>::infinity(), 0);
    Maze_fixports(sub);
    EXPECT_SOUND(maze.get());
    EXPECT_LE(3, Maze_count(sub));
    const World other = crossroads();
    Maze* const none = hang(other.get(), 0, Maze_new());
    Maze_fixports(none);
    EXPECT_EQ(0, Maze_count(none));
}

static const EdgeAngleRec* rec(const Maze* maze, i32 n, i32 e)
{
    return static_cast<const EdgeAngleRec*>(Maze_attachment(maze, "EdgeAngleRecs")) +
           POS_MAXEDGES * n + e;
}

TEST(Maze_edgeanglerecs, are_attached_until_the_geometry_changes)
{
    const World maze = crossroads();
    const EdgeAngleRec* const table = Maze_edgeanglerecs(maze.get());
    EXPECT_EQ(table, Maze_attachment(maze.get(), "EdgeAngleRecs"));
    Maze_freeflags(maze.get(), ATT_VISITS | ATT_EXITS, false);
    EXPECT_EQ(table, Maze_attachment(maze.get(), "EdgeAngleRecs"));
    Maze_freeflags(maze.get(), ATT_GEOMETRY, false);
    EXPECT_EQ(nullptr, Maze_attachment(maze.get(), "EdgeAngleRecs"));
}

TEST(Maze_edgeanglerecs, hold_angle_and_way_back_by_exit)
{
    const World maze = crossroads();
    Maze_edgeanglerecs(maze.get());
    const f64 angles[] = {0.0, std::numbers::pi, std::numbers::pi / 2};
    for (i32 e = 0; e < 3; e++) {
        EXPECT_EQ(e, rec(maze.get(), 0, e)->exit);
        EXPECT_EQ(0, rec(maze.get(), 0, e)->backexit);
        EXPECT_DOUBLE_EQ(angles[e], rec(maze.get(), 0, e)->angle);
        EXPECT_EQ(e, rec(maze.get(), e + 1, 0)->backexit);
    }
}

TEST(Maze_edgeanglerecs, reach_across_levels)
{
    const TwoSubs world;
    Maze_edgeanglerecs(world.left);
    EXPECT_EQ(1,
              rec(world.left, 1, 2)->backexit); // port 0 of the other: its edge to 1, the way out
}

TEST(Pos_edgeanglerecs, are_those_of_the_table_for_nodes_with_and_without_a_submaze)
{
    const TwoSubs world;
    i32 holders = 0;
    for (Maze* const maze : {world.left->parent, world.left}) {
        const EdgeAngleRec* const table = Maze_edgeanglerecs(maze);
        for (i32 n = 0; n < Maze_count(maze); n++) {
            EdgeAngleRec alone[POS_MAXEDGES];
            Pos_edgeanglerecs({maze, n}, alone);
            EXPECT_EQ(0, std::memcmp(table + POS_MAXEDGES * n, alone, sizeof alone)) << n;
            holders += Maze_node(maze, n)->sub != nullptr ? 1 : 0;
        }
    }
    EXPECT_EQ(2, holders);
}

TEST(Maze_edgeanglerecs, of_a_steep_exit_are_99_and_zeros)
{
    const World maze(make_line(2));
    place(maze.get(), 1, 0, 0, 4); // straight above
    Maze_edgeanglerecs(maze.get());
    EXPECT_EQ(99.0, rec(maze.get(), 0, 0)->angle);
    EXPECT_EQ(0.0, rec(maze.get(), 0, 0)->cornerdist);
    EXPECT_EQ(0.0, rec(maze.get(), 0, 0)->prevcornerdist);
    for (i32 k = 0; k < 3; k++) {
        EXPECT_EQ(0.0, rec(maze.get(), 0, 0)->corner[k]);
        EXPECT_EQ(0.0, rec(maze.get(), 0, 0)->prevcorner[k]);
    }
}

TEST(Maze_edgeanglerecs, call_an_exit_steep_above_50_degrees_up_or_down)
{
    for (const f64 sign : {1.0, -1.0}) {
        const World maze(make_line(2));
        place(maze.get(), 1, 1, 0, sign * std::tan(0.872));
        Maze_edgeanglerecs(maze.get());
        EXPECT_EQ(0.0, rec(maze.get(), 0, 0)->angle);
        place(maze.get(), 1, 1, 0, sign * std::tan(0.873));
        Maze_freeflags(maze.get(), ATT_GEOMETRY, false);
        Maze_edgeanglerecs(maze.get());
        EXPECT_EQ(99.0, rec(maze.get(), 0, 0)->angle);
    }
}

TEST(Maze_edgeanglerecs, of_a_dead_end_make_a_square_cap)
{
    const World maze(make_line(2));
    place(maze.get(), 1, 4, 0);
    Maze_edgeanglerecs(maze.get());
    const EdgeAngleRec* const end = rec(maze.get(), 0, 0); // u = (0, -1), r = 0.5
    EXPECT_EQ(-0.5, end->cornerdist);
    EXPECT_EQ(-0.5, end->prevcornerdist);
    EXPECT_DOUBLE_EQ(-0.5, end->corner[0]);
    EXPECT_DOUBLE_EQ(0.5, end->corner[1]);
    EXPECT_DOUBLE_EQ(-0.5, end->prevcorner[0]);
    EXPECT_DOUBLE_EQ(-0.5, end->prevcorner[1]);
    EXPECT_EQ(0.0, end->corner[2]);
}

TEST(Maze_edgeanglerecs, of_a_dead_end_with_a_steep_exit_too_cap_the_flat_one)
{
    const World maze(make_star(2));
    place(maze.get(), 0, 0, 0);
    place(maze.get(), 1, 0, 0, 5);
    place(maze.get(), 2, 0, 4);
    Maze_edgeanglerecs(maze.get());
    EXPECT_EQ(99.0, rec(maze.get(), 0, 0)->angle);
    EXPECT_EQ(0.0, rec(maze.get(), 0, 0)->cornerdist);
    EXPECT_EQ(-0.5, rec(maze.get(), 0, 1)->cornerdist);
    EXPECT_DOUBLE_EQ(-0.5, rec(maze.get(), 0, 1)->corner[0]); // u = (1, 0)
    EXPECT_DOUBLE_EQ(-0.5, rec(maze.get(), 0, 1)->corner[1]);
}

TEST(Maze_edgeanglerecs, of_opposite_exits_have_corners_beside_the_centre)
{
    const World maze(make_line(3));
    Maze_edgeanglerecs(maze.get()); // node 1 at (1, 0, 0): exits west and east
    EXPECT_NEAR(0.0, rec(maze.get(), 1, 0)->cornerdist, 1e-15);
    EXPECT_NEAR(0.0, rec(maze.get(), 1, 1)->cornerdist, 1e-15);
    EXPECT_NEAR(0.0, rec(maze.get(), 1, 1)->corner[0], 1e-15);
    EXPECT_NEAR(0.5, rec(maze.get(), 1, 1)->corner[1], 1e-15);
    EXPECT_NEAR(-0.5, rec(maze.get(), 1, 1)->prevcorner[1], 1e-15);
}

TEST(Maze_edgeanglerecs, put_the_corner_of_a_right_angle_on_the_diagonal)
{
    const World maze = crossroads(); // east 0, north pi/2, west pi
    Maze_edgeanglerecs(maze.get());
    const EdgeAngleRec* const east = rec(maze.get(), 0, 0);
    const EdgeAngleRec* const west = rec(maze.get(), 0, 1);
    const EdgeAngleRec* const north = rec(maze.get(), 0, 2);
    EXPECT_NEAR(0.5, east->cornerdist, 1e-15);
    EXPECT_NEAR(0.5, east->corner[0], 1e-15);
    EXPECT_NEAR(0.5, east->corner[1], 1e-15);
    EXPECT_EQ(east->corner[0], north->prevcorner[0]);
    EXPECT_EQ(east->cornerdist, north->prevcornerdist);
    EXPECT_NEAR(-0.5, north->corner[0], 1e-15);
    EXPECT_EQ(north->corner[0], west->prevcorner[0]);
    EXPECT_NEAR(-0.5, west->corner[1], 1e-15); // the next of the last is the first
    EXPECT_EQ(west->corner[1], east->prevcorner[1]);
}

TEST(Maze_edgeanglerecs, give_equal_angles_a_corner_at_no_distance_in_exit_order)
{
    const World maze(make_star(2));
    place(maze.get(), 0, 0, 0);
    place(maze.get(), 1, 4, 0);
    place(maze.get(), 2, 8, 0);
    Maze_edgeanglerecs(maze.get());
    EXPECT_EQ(0.0, rec(maze.get(), 0, 0)->cornerdist);
    EXPECT_EQ(0.0, rec(maze.get(), 0, 1)->cornerdist);
    EXPECT_DOUBLE_EQ(0.5, rec(maze.get(), 0, 0)->corner[1]);
}

// Angles of west and of a little north and south of it are all but a turn apart.
TEST(Maze_edgeanglerecs, put_the_corner_of_two_exits_around_west_far_off)
{
    const World maze(make_star(2));
    place(maze.get(), 0, 0, 0);
    place(maze.get(), 1, -4 * std::cos(0.002), 4 * std::sin(0.002));
    place(maze.get(), 2, -4 * std::cos(0.002), -4 * std::sin(0.002));
    Maze_edgeanglerecs(maze.get());
    EXPECT_NEAR(0.5 / std::tan(0.002), rec(maze.get(), 0, 0)->cornerdist, 1e-6);
    EXPECT_NEAR(-0.5 / std::sin(0.002), rec(maze.get(), 0, 0)->corner[0], 1e-6);
    EXPECT_NEAR(0.0, rec(maze.get(), 0, 0)->corner[1], 1e-6);
}

TEST(Maze_edgeanglerecs, of_nodes_with_submazes_and_behind_the_exits_are_zero)
{
    const TwoSubs world;
    const EdgeAngleRec* const table = Maze_edgeanglerecs(world.root.get());
    for (i32 e = 0; e < POS_MAXEDGES; e++) {
        EXPECT_EQ(0, table[POS_MAXEDGES * 1 + e].exit);
        EXPECT_EQ(0.0, table[POS_MAXEDGES * 1 + e].angle);
    }
    EXPECT_EQ(0, table[2].exit);
    EXPECT_EQ(0.0, table[2].angle);
    EXPECT_EQ(1, table[1].exit);
}

TEST(Maze_edgeanglerecs, of_an_empty_maze_are_a_table_of_nothing)
{
    const World maze(Maze_new());
    EXPECT_NE(nullptr, Maze_edgeanglerecs(maze.get()));
}
