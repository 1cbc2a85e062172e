#include "base/clock.h"
#include "base/rnd.h"
#include "generate/carve.h"
#include "generate/grids.h"
#include "generate/makemaze.h"
#include "generate/stencils.h"
#include "model/attachment.h"
#include "model/commands.h"
#include "model/connect.h"
#include "model/mazegame.h"
#include "model/stategraph.h"
#include "model/surgery.h"
#include "tests/gameworlds.h"
#include "tests/savebytes.h"
#include "tests/sound.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

TEST(newgame_kind, is_0_without_shift_and_ctrl)
{
    EXPECT_EQ(newgame_kind(false, false), 0);
}

TEST(newgame_kind, is_1_with_either)
{
    EXPECT_EQ(newgame_kind(true, false), 1);
    EXPECT_EQ(newgame_kind(false, true), 1);
}

TEST(newgame_kind, is_2_with_both)
{
    EXPECT_EQ(newgame_kind(true, true), 2);
}

static u32 draws_of_new(i32 kind)
{
    HeldGame held;
    rnd_seed(7);
    MazeGame_new(&held.game, kind);
    return rnd_count();
}

static u32 draws_of_newgame(i32 kind)
{
    HeldGame held;
    Maze* const root = make_nest();
    stand(&held, root, root, 0);
    rnd_seed(7);
    newgame(&held.game, kind);
    return rnd_count();
}

TEST(newgame, makes_the_world_that_a_start_with_the_same_stream_makes)
{
    for (i32 kind = 0; kind <= 2; kind++) {
        const u32 draws = draws_of_new(kind);
        EXPECT_EQ(draws_of_newgame(kind), draws) << "kind " << kind;
    }
}

TEST(newgame, leaves_nothing_of_the_old_game)
{
    HeldGame held;
    Maze* const root = make_nest();
    stand(&held, root, root, 3);
    held->time = 77.0;
    held->step[0] = 1.0;
    Roamer roamer;
    Roamer_make(&roamer, root);
    GrowArray_push(&held->roamers, &roamer);
    rnd_seed(3);
    newgame(&held.game, 0);
    EXPECT_EQ(held->time, 0.0);
    EXPECT_EQ(held->step[0], 0.0);
    EXPECT_EQ(held->roamers.count, 0U);
    EXPECT_EQ(held->pos.node, 0);
    EXPECT_EQ(held->zoom, 50.0 * Maze_node(held->root, 0)->radius);
}

// A made world of a mode and kind, with the player at its start.
static void make_world(HeldGame* held, u32 seed, i32 kind, i32 mode = 0)
{
    rnd_seed(seed);
    makemaze_forced_kind = kind;
    MazeGame_new(&held->game, mode);
    makemaze_forced_kind = -1;
}

// The nested grid, small: a grid of grids of grids.
static void make_nested_grid(HeldGame* held, u32 seed)
{
    rnd_seed(seed);
    Maze* const root = grid_maze(4, 4, 1);
    recursify(root, 0.5, 3.0, grid_square);
    recursify(root, 0.3, 3.0, grid_square);
    makemaze_all(root);
    stand(held, root, root, 0);
    MazeGame_settle(&held->game);
}

static void collect(Maze* maze, std::vector<Maze*>* out)
{
    out->push_back(maze);
    for (i32 i = 0; i < Maze_count(maze); i++) {
        if (Maze_node(maze, i)->sub != nullptr) {
            collect(Maze_node(maze, i)->sub, out);
        }
    }
}

static bool finite_world(Maze* root)
{
    std::vector<Maze*> mazes;
    collect(root, &mazes);
    for (const Maze* const maze : mazes) {
        for (i32 i = 0; i < Maze_count(maze); i++) {
            const f64* const pos = Maze_node(maze, i)->pos;
            if (!std::isfinite(pos[0]) || !std::isfinite(pos[1]) || !std::isfinite(pos[2])) {
                return false;
            }
        }
    }
    return true;
}

static void expect_place(Pos pos)
{
    ASSERT_GE(pos.node, 0);
    ASSERT_LT(pos.node, Maze_count(pos.maze));
    EXPECT_EQ(Pos_node(pos)->sub, nullptr);
}

static void expect_whole(HeldGame* held)
{
    EXPECT_SOUND(held->game.root);
    EXPECT_TRUE(finite_world(held->game.root));
    expect_place(held->game.pos);
    for (u32 i = 0; i < held->game.roamers.count; i++) {
        expect_place(items<Roamer>(&held->game.roamers)[i].pos);
        expect_place(items<Roamer>(&held->game.roamers)[i].prev);
    }
    EXPECT_EQ(fault_of(saved(&held->game)), "");
}

static void add_roamers(HeldGame* held, i32 n)
{
    std::vector<Maze*> mazes;
    collect(held->game.root, &mazes);
    for (i32 i = 0; i < n; i++) {
        Roamer roamer;
        Roamer_make(&roamer, mazes[static_cast<size_t>(irand(static_cast<i32>(mazes.size())))]);
        roamer.pos = MazeGame_place(roamer.pos);
        roamer.prev = roamer.pos;
        GrowArray_push(&held->game.roamers, &roamer);
    }
}

static void reshape(HeldGame* held, const ReshapeKeys& keys, f64 dt = 1.0 / 60)
{
    MazeGame_reshape(&held->game, &keys, dt);
}

static const ReshapeKeys no_keys = {};
static const ReshapeKeys key_r = {.simplify = true};
static const ReshapeKeys key_e = {.relax = true};

static ReshapeKeys key_k(u32 k)
{
    return {.contract = true, .shift = (k - 1) % 2 == 1, .ctrl = (k - 1) / 2 == 1};
}

// A scan of where all nodes of a level are.
static std::vector<f64> places_of(const Maze* maze)
{
    std::vector<f64> places;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        const f64* const pos = Maze_node(maze, i)->pos;
        places.insert(places.end(), pos, pos + 3);
    }
    return places;
}

static void stand_on_line(HeldGame* held, i32 n)
{
    Maze* const line = make_line(n);
    stand(held, line, line, 1);
    reshape(held, no_keys); // R is up
}

TEST(MazeGame_reshape, does_nothing_without_a_key)
{
    HeldGame held;
    stand_on_line(&held, 4);
    i32 data = 0;
    Maze_attach(held->root, "table", &data, nullptr, ATT_GEOMETRY);
    const std::vector<f64> before = places_of(held->root);
    reshape(&held, no_keys);
    EXPECT_EQ(places_of(held->root), before);
    EXPECT_NE(Maze_attachment(held->root, "table"), nullptr);
}

TEST(MazeGame_reshape, simplifies_by_the_frames_length_at_first)
{
    HeldGame held;
    stand_on_line(&held, 3);
    Maze_node(held->root, 2)->pos[0] = 101.0;
    reshape(&held, key_r, 0.01);
    EXPECT_EQ(Maze_node(held->root, 2)->pos[0], 101.0 - 0.01 * 100.0);
    EXPECT_EQ(simplify_rate, 1.01);
}

TEST(MazeGame_reshape, takes_at_most_50_ms_of_a_long_frame)
{
    HeldGame held;
    stand_on_line(&held, 3);
    Maze_node(held->root, 2)->pos[0] = 101.0;
    reshape(&held, key_r, 3.0);
    EXPECT_EQ(Maze_node(held->root, 2)->pos[0], 101.0 - 0.05 * 100.0);
    EXPECT_EQ(simplify_rate, 4.0);
}

TEST(MazeGame_reshape, is_stronger_the_longer_r_is_held_and_starts_again_at_a_release)
{
    HeldGame held;
    stand_on_line(&held, 3);
    reshape(&held, key_r, 0.5);
    reshape(&held, key_r, 0.5);
    EXPECT_EQ(simplify_rate, 2.25);
    reshape(&held, no_keys);
    EXPECT_EQ(simplify_rate, 1.0);
}

TEST(MazeGame_reshape, holds_the_rate_at_a_million)
{
    HeldGame held;
    stand_on_line(&held, 3);
    for (i32 i = 0; i < 30; i++) {
        reshape(&held, key_r, 1.0);
    }
    EXPECT_EQ(simplify_rate, 1000000.0);
    reshape(&held, no_keys);
}

TEST(MazeGame_reshape, frees_the_geometry_of_the_level_and_below_while_r_is_held)
{
    HeldGame held;
    Maze* const root = make_nest();
    Maze* const west = Maze_node(root, 1)->sub;
    Maze* const deep = Maze_node(west, 3)->sub;
    stand(&held, root, west, 2);
    i32 data = 0;
    Maze_attach(west, "g", &data, nullptr, ATT_GEOMETRY);
    Maze_attach(deep, "g", &data, nullptr, ATT_GEOMETRY);
    Maze_attach(deep, "v", &data, nullptr, ATT_VISITS);
    reshape(&held, key_r);
    EXPECT_EQ(Maze_attachment(west, "g"), nullptr);
    EXPECT_EQ(Maze_attachment(deep, "g"), nullptr);
    EXPECT_NE(Maze_attachment(deep, "v"), nullptr);
    reshape(&held, no_keys);
}

TEST(MazeGame_reshape, frees_the_geometry_of_the_mazes_whose_ways_end_in_its_ports)
{
    HeldGame held;
    Maze* const root = make_nest();
    Maze* const west = Maze_node(root, 1)->sub;
    Maze* const east = Maze_node(root, 2)->sub;
    stand(&held, root, west, 2);
    i32 data = 0;
    Maze_attach(root, "g", &data, nullptr, ATT_GEOMETRY);
    Maze_attach(east, "g", &data, nullptr, ATT_GEOMETRY);
    reshape(&held, key_e);
    EXPECT_EQ(Maze_attachment(root, "g"), nullptr);
    EXPECT_EQ(Maze_attachment(east, "g"), nullptr);
}

// A tree of the nodes of a grid.
static void stand_in_tree(HeldGame* held, u32 seed, i32 side)
{
    rnd_seed(seed);
    Maze* const root = grid_maze(side, side, 1);
    makemaze_spanning(root);
    Maze_scale(root, 2.5);
    stand(held, root, root, 0);
    reshape(held, no_keys);
}

TEST(MazeGame_reshape, ends_in_rest_with_r_held_for_20_seconds)
{
    HeldGame held;
    stand_in_tree(&held, 1, 20);
    const f64 before = Maze_extent(held->root);
    for (i32 i = 0; i < 19 * 60; i++) {
        reshape(&held, key_r);
        ASSERT_LE(Maze_extent(held->root), before);
    }
    const std::vector<f64> rest = places_of(held->root);
    for (i32 i = 0; i < 60; i++) {
        reshape(&held, key_r);
    }
    EXPECT_EQ(places_of(held->root), rest);
    EXPECT_TRUE(finite_world(held->root));
    reshape(&held, no_keys);
}

TEST(MazeGame_reshape, ends_in_rest_with_r_held_through_uneven_frames)
{
    HeldGame held;
    stand_in_tree(&held, 2, 12);
    const f64 before = Maze_extent(held->root);
    std::mt19937 dice(4);
    for (i32 i = 0; i < 3000; i++) {
        const f64 dt = 0.004 + 0.03 * (static_cast<f64>(dice()) / 4294967296.0);
        reshape(&held, key_r, dt);
    }
    EXPECT_LE(Maze_extent(held->root), before);
    const std::vector<f64> rest = places_of(held->root);
    reshape(&held, key_r, 0.004);
    EXPECT_EQ(places_of(held->root), rest);
    reshape(&held, no_keys);
}

TEST(MazeGame_reshape, measures_the_level_anew_when_the_player_comes_to_another_with_r_held)
{
    HeldGame held;
    Maze* const root = make_nest();
    Maze* const east = Maze_node(root, 2)->sub;
    stand(&held, root, root, 0); // a large level first
    reshape(&held, no_keys);
    for (i32 i = 0; i < 600; i++) {
        reshape(&held, key_r); // at the full strength in the end, which tears a ring apart
    }
    held->pos = {east, 2};
    const f64 before = Maze_extent(east);
    for (i32 i = 0; i < 100; i++) {
        reshape(&held, key_r);
        ASSERT_LE(Maze_extent(east), before * (1.0 + 1e-12));
    }
    reshape(&held, no_keys);
}

TEST(MazeGame_reshape, relaxes_at_four_tenths_of_the_scale_and_colours_the_level)
{
    HeldGame held;
    stand_on_line(&held, 3);
    const World other(Maze_clone(held->root, false));
    Maze_scale(other.get(), 0.4);
    Maze_spring(other.get());
    Maze_repel(other.get());
    Maze_scale(other.get(), 2.5);
    reshape(&held, key_e);
    EXPECT_EQ(places_of(held->root), places_of(other.get()));
    EXPECT_EQ(Maze_node(held->root, 1)->rec.colour, 0xC04040U);
    EXPECT_EQ(Maze_node(held->root, 1)->edgerec[1].colour, 0xC04040U);
}

TEST(MazeGame_reshape, stays_finite_with_e_held_for_long)
{
    HeldGame held;
    stand_in_tree(&held, 3, 10);
    for (i32 i = 0; i < 2000; i++) {
        reshape(&held, key_e);
    }
    EXPECT_TRUE(finite_world(held->root));
    EXPECT_LT(Maze_extent(held->root), 1000.0);
}

TEST(MazeGame_reshape, stays_finite_at_the_ends_of_the_number_range)
{
    const f64 most = std::numeric_limits<f64>::max();
    for (const f64 size : {most, 1e308, 1e300, 1e160, 1e-160, 1e-320}) {
        HeldGame held;
        Maze* const root = make_nest();
        for (i32 i = 0; i < Maze_count(root); i++) {
            Maze_node(root, i)->pos[i % 3] = i % 2 == 0 ? size : -size;
        }
        stand(&held, root, root, 0);
        for (i32 i = 0; i < 50; i++) {
            reshape(&held, {.simplify = true, .relax = true});
        }
        reshape(&held, key_k(4));
        EXPECT_TRUE(finite_world(root)) << size;
        EXPECT_SOUND(root);
    }
}

TEST(MazeGame_reshape, takes_k_from_shift_and_ctrl)
{
    for (u32 k = 1; k <= 4; k++) {
        HeldGame held;
        Maze* const star = make_star(5);
        Maze_join(star, 1, 2);
        Maze_join(star, 1, 3);
        Maze_join(star, 1, 4);
        Maze_join(star, 2, 3);
        stand(&held, star, star, 3);
        const World other(Maze_clone(star, false));
        Maze_contract(other.get(), k);
        reshape(&held, key_k(k));
        for (i32 i = 0; i < Maze_count(star); i++) {
            EXPECT_EQ(neighbours(star, i), neighbours(other.get(), i)) << k;
        }
    }
}

TEST(MazeGame_reshape, puts_the_player_on_node_0_before_it_contracts_and_keeps_the_step)
{
    HeldGame held;
    stand_on_line(&held, 4);
    held->step[0] = 0.25;
    reshape(&held, key_k(1));
    EXPECT_EQ(held->pos.node, 0);
    EXPECT_EQ(held->step[0], 0.25);
}

TEST(MazeGame_reshape, puts_the_player_into_the_submaze_of_node_0)
{
    HeldGame held;
    Maze* const root = make_graph(4, {{0, 1}, {1, 2}, {2, 3}, {3, 0}});
    Maze* const sub = hang(root, 0, make_line(4));
    stand(&held, root, root, 2);
    reshape(&held, key_k(1)); // no node is small enough to merge
    EXPECT_EQ(held->pos.maze, sub);
    EXPECT_EQ(held->pos.node, 0);
}

TEST(MazeGame_reshape, doesnt_leave_the_player_on_a_node_that_nothing_leads_from)
{
    HeldGame held;
    Maze* const root = make_line(3);
    Maze* const sub = hang(root, 1, make_line(6));
    stand(&held, root, root, 0);
    reshape(&held, key_k(1));
    EXPECT_EQ(held->pos.maze, sub); // the ends of the line have come to it
    expect_whole(&held);
}

TEST(MazeGame_reshape, contracts_nested_worlds_soundly)
{
    for (const i32 kind : {8, 9, 12}) {
        for (u32 seed = 0; seed < 6; seed++) {
            HeldGame held;
            make_world(&held, seed, kind);
            add_roamers(&held, 20);
            std::vector<Maze*> mazes;
            collect(held->root, &mazes);
            for (u32 i = 0; i < 24; i++) {
                Maze* const maze =
                    mazes[static_cast<size_t>(irand(static_cast<i32>(mazes.size())))];
                held->pos = {maze, 0};
                reshape(&held, key_k(1 + i % 4));
                expect_place(held->pos);
            }
            held->pos = MazeGame_place({held->root, 0});
            expect_whole(&held);
        }
    }
}

TEST(MazeGame_reshape, contracts_the_gallery_soundly)
{
    for (u32 seed = 0; seed < 3; seed++) {
        HeldGame held;
        make_world(&held, seed, -1, 2);
        std::vector<Maze*> mazes;
        collect(held->root, &mazes);
        for (u32 i = 0; i < 40; i++) {
            held->pos = {mazes[i * 7 % mazes.size()], 0};
            reshape(&held, key_k(1 + i % 4));
        }
        expect_whole(&held);
    }
}

TEST(MazeGame_reshape, contracts_small_nested_grids_soundly_down_to_nothing)
{
    for (u32 seed = 0; seed < 60; seed++) {
        HeldGame held;
        make_nested_grid(&held, seed);
        add_roamers(&held, 20);
        std::vector<Maze*> mazes;
        collect(held->root, &mazes);
        for (u32 i = 0; i < 30; i++) {
            held->pos = {mazes[static_cast<size_t>(irand(static_cast<i32>(mazes.size())))], 0};
            reshape(&held, key_k(1 + (i + seed) % 4));
            ASSERT_EQ("", sound_faults(held->root)) << "seed " << seed << ", press " << i;
        }
        expect_whole(&held);
    }
}

// Random keys, and a step towards a random exit in each frame.
static void play_frame(HeldGame* held, std::mt19937* dice)
{
    const u32 roll = (*dice)() % 40;
    const ReshapeKeys keys = {.simplify = roll < 12,
                              .relax = roll % 4 == 0,
                              .contract = roll == 39,
                              .shift = (*dice)() % 2 == 0,
                              .ctrl = (*dice)() % 4 == 0};
    Pos way[POS_MAXEDGES];
    const i32 n = Pos_alledges(held->game.pos, way, nullptr);
    f64 delta[3] = {};
    if (n > 0) {
        const f64* const to = Pos_node(way[(*dice)() % static_cast<u32>(n)])->pos;
        for (i32 k = 0; k < 3; k++) {
            delta[k] = 1.1 * (to[k] - Pos_node(held->game.pos)->pos[k]);
        }
    }
    held->game.time += 1.0 / 60;
    MazeGame_moveroamers(&held->game, 1.0 / 60);
    MazeGame_move(&held->game, delta);
    MazeGame_reshape(&held->game, &keys, 1.0 / 60);
    MazeGame_expand(&held->game);
    MazeGame_growall(&held->game);
}

TEST(MazeGame_reshape, keeps_worlds_whole_under_thousands_of_random_keys)
{
    for (u32 seed = 0; seed < 8; seed++) {
        HeldGame held;
        if (seed % 2 == 0) {
            make_nested_grid(&held, seed);
        } else {
            make_world(&held, seed, 12);
        }
        add_roamers(&held, 10);
        std::mt19937 dice(seed);
        for (i32 frame = 1; frame <= 1500; frame++) {
            play_frame(&held, &dice);
            expect_place(held->pos);
            if (frame % 500 == 0) {
                expect_whole(&held);
            }
        }
        reshape(&held, no_keys);
    }
}

// States: the whole numbers, each beside its neighbours, up to 40.
static void number_neighbours(GrowArray* out, const void* state, void*)
{
    GrowArray_init(out, sizeof(i32));
    const i32 s = *static_cast<const i32*>(state);
    const i32 next[2] = {s + 1, s / 2};
    for (i32 i = s < 40 ? 0 : 1; i < 2; i++) {
        GrowArray_push(out, &next[i]);
    }
}

static Maze* make_states()
{
    StateGraph graph;
    StateGraph_new(&graph, sizeof(i32), 0);
    graph.neighbours = number_neighbours;
    return Maze_statenew(&graph);
}

TEST(MazeGame_reshape, relaxes_a_state_graph_in_every_frame)
{
    HeldGame held;
    Maze* const maze = make_states();
    stand(&held, maze, maze, 0);
    reshape(&held, no_keys);
    EXPECT_EQ(Maze_node(maze, 0)->rec.colour, 0xC04040U);
}

TEST(MazeGame_reshape, grows_a_state_graph_with_k_and_contracts_nothing)
{
    HeldGame held;
    Maze* const maze = make_states();
    stand(&held, maze, maze, 0);
    reshape(&held, key_k(4));
    reshape(&held, key_k(4));
    reshape(&held, key_k(4));
    EXPECT_EQ(Maze_count(maze), 4);
    EXPECT_EQ(held->pos.node, 0);
    EXPECT_SOUND(maze);
}

TEST(MazeGame_growall, grows_at_all_nodes_of_a_state_graph)
{
    HeldGame held;
    Maze* const maze = make_states();
    stand(&held, maze, maze, 0);
    for (i32 i = 0; i < 50; i++) {
        MazeGame_growall(&held.game);
    }
    EXPECT_EQ(Maze_count(maze), 41);
    EXPECT_SOUND(maze);
}

TEST(MazeGame_growall, does_nothing_in_a_maze_without_states)
{
    HeldGame held;
    stand_on_line(&held, 3);
    MazeGame_growall(&held.game);
    EXPECT_EQ(Maze_count(held->root), 3);
}

static f64 fake_time;
static f64 fake_reading;

static f64 fake_now()
{
    fake_time += fake_reading;
    return fake_time;
}

// A clock of which each reading takes a time.
struct FakeClock {
    f64 (*before)() = timer_now;
    explicit FakeClock(f64 reading)
    {
        fake_time = 0.0;
        fake_reading = reading;
        timer_now = fake_now;
    }
    FakeClock(const FakeClock&) = delete;
    FakeClock& operator=(const FakeClock&) = delete;
    ~FakeClock()
    {
        timer_now = before;
    }
};

// A line whose nodes wait for submazes, `spacing` apart.
static Maze* make_waiting_line(i32 n, f64 spacing)
{
    Maze* const line = make_line(n);
    Maze_scale(line, spacing);
    for (i32 i = 0; i < n; i++) {
        MazeNode_await(Maze_node(line, i));
    }
    return line;
}

static i32 nested(const Maze* maze)
{
    i32 n = 0;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        n += Maze_node(maze, i)->sub != nullptr ? 1 : 0;
    }
    return n;
}

TEST(MazeGame_expand, expands_one_node_however_late_it_is)
{
    HeldGame held;
    Maze* const line = make_waiting_line(9, 10.0);
    stand(&held, line, line, 4);
    const FakeClock clock(1.0);
    MazeGame_expand(&held.game);
    EXPECT_EQ(nested(line), 1);
    EXPECT_NE(Maze_node(line, 4)->sub, nullptr); // the nearest
}

TEST(MazeGame_expand, starts_none_after_10_milliseconds)
{
    HeldGame held;
    Maze* const line = make_waiting_line(30, 10.0);
    stand(&held, line, line, 4);
    const FakeClock clock(0.003);
    MazeGame_expand(&held.game);
    EXPECT_EQ(nested(line), 4); // one each at 0, 3, 6 and 9 ms
}

TEST(MazeGame_expand, reads_the_clock_once_when_nothing_waits)
{
    HeldGame held;
    stand_on_line(&held, 5);
    const FakeClock clock(0.001);
    MazeGame_expand(&held.game);
    EXPECT_EQ(fake_time, 0.001);
}

TEST(MazeGame_expand, makes_a_spanning_tree_about_the_node_with_its_ports)
{
    for (u32 seed = 0; seed < 20; seed++) {
        HeldGame held;
        Maze* const line = make_waiting_line(3, 60.0);
        stand(&held, line, line, 1);
        Maze_node(line, 0)->expandable = 0;
        Maze_node(line, 2)->expandable = 0;
        rnd_seed(seed);
        const FakeClock clock(1.0);
        MazeGame_expand(&held.game);
        Maze* const sub = Maze_node(line, 1)->sub;
        ASSERT_NE(sub, nullptr);
        EXPECT_EQ(Maze_edgecount(sub), Maze_count(sub) - 1);
        EXPECT_NEAR(sub->centre[0], 60.0, 1e-6 + (Maze_count(sub) < 4 ? 2.0 : 0.0));
        EXPECT_LT(sub->boundradius, 60.0);
        EXPECT_EQ(held->pos.maze, sub);
        EXPECT_EQ(held->pos.node, 0);
        EXPECT_EQ(Maze_node(line, 1)->expandable, 1U);
        expect_whole(&held);
    }
}

TEST(MazeGame_expand, clears_the_flag_of_a_port)
{
    HeldGame held;
    Maze* const root = make_nest();
    Maze* const east = Maze_node(root, 2)->sub;
    MazeNode_await(Maze_node(east, 1));
    stand(&held, root, root, 0);
    MazeGame_expand(&held.game);
    EXPECT_EQ(Maze_node(east, 1)->expandable, 0U);
    EXPECT_EQ(Maze_node(east, 1)->sub, nullptr);
}

TEST(MazeGame_expand, clears_the_flag_of_a_node_without_edges)
{
    HeldGame held;
    Maze* const maze = make_nodes(1);
    MazeNode_await(Maze_node(maze, 0));
    stand(&held, maze, maze, 0);
    MazeGame_expand(&held.game);
    EXPECT_EQ(Maze_node(maze, 0)->expandable, 0U);
    EXPECT_EQ(Maze_node(maze, 0)->sub, nullptr);
}

TEST(MazeGame_expand, asks_for_four_tenths_of_the_way_to_the_nearest_neighbour)
{
    HeldGame held;
    Maze* const line = make_waiting_line(3, 20.0); // 0.4 times 20 is below 16: nothing waits inside
    stand(&held, line, line, 1);
    Maze_node(line, 2)->pos[0] = 1e6;
    const FakeClock clock(1.0);
    testing::internal::CaptureStdout();
    MazeGame_expand(&held.game);
    const std::string told = testing::internal::GetCapturedStdout();
    EXPECT_EQ(told.rfind("recursify_stencil(s=8,", 0), 0U) << told;
}

TEST(MazeGame_expand, asks_for_1600_at_most)
{
    HeldGame held;
    Maze* const line = make_waiting_line(2, 1e7);
    stand(&held, line, line, 0);
    rnd_seed(2);
    u32 state = rnd_state();
    const f64 k = 4.0 * std::pow(100.0, rnd(1.0));
    rnd_seed(state);
    const FakeClock clock(1.0);
    testing::internal::CaptureStdout();
    MazeGame_expand(&held.game);
    const std::string told = testing::internal::GetCapturedStdout();
    char begin[64];
    std::snprintf(begin, sizeof begin, "recursify_stencil(s=%lg,", 1600.0 / k);
    EXPECT_EQ(told.rfind(begin, 0), 0U) << told;
}

TEST(MazeGame_expand, takes_roamers_into_the_submaze)
{
    HeldGame held;
    Maze* const line = make_waiting_line(3, 10.0);
    stand(&held, line, line, 1);
    const Roamer roamer = {.timer = 1, .period = 1, .pos = {line, 1}, .prev = {line, 1}};
    GrowArray_push(&held->roamers, &roamer);
    const FakeClock clock(1.0);
    MazeGame_expand(&held.game);
    expect_whole(&held);
    EXPECT_EQ(items<Roamer>(&held->roamers)[0].pos.maze, Maze_node(line, 1)->sub);
}

TEST(MazeGame_expand, frees_the_geometry_of_the_level)
{
    HeldGame held;
    Maze* const line = make_waiting_line(3, 10.0);
    stand(&held, line, line, 1);
    i32 data = 0;
    Maze_attach(line, "g", &data, nullptr, ATT_GEOMETRY);
    const FakeClock clock(1.0);
    MazeGame_expand(&held.game);
    EXPECT_EQ(Maze_attachment(line, "g"), nullptr);
}

static i32 level_of(Pos pos)
{
    i32 level = 0;
    for (const Maze* maze = pos.maze; maze->parent != nullptr; maze = maze->parent) {
        level++;
    }
    return level;
}

// Walks on, and lets the world expand in each frame, until the player is that deep.
static i32 walk_down(HeldGame* held, i32 level, u32 seed, i32* most)
{
    std::mt19937 dice(seed);
    for (i32 frame = 0; frame < 60; frame++) {
        const f64 before = fake_time;
        MazeGame_expand(&held->game);
        *most = std::max(*most, static_cast<i32>((fake_time - before) / fake_reading + 0.5));
        expect_place(held->game.pos);
        if (level_of(held->game.pos) >= level) {
            return frame;
        }
        Pos way[POS_MAXEDGES];
        const i32 n = Pos_alledges(held->game.pos, way, nullptr);
        const Pos next = way[dice() % static_cast<u32>(n)];
        f64 delta[3];
        for (i32 k = 0; k < 3; k++) {
            delta[k] = 1.1 * (Pos_node(next)->pos[k] - Pos_node(held->game.pos)->pos[k]);
        }
        MazeGame_move(&held->game, delta);
    }
    return -1;
}

TEST(MazeGame_expand, is_walked_into_three_levels_deep_within_the_time_of_each_frame)
{
    i32 deep = 0;
    for (u32 seed = 0; seed < 4; seed++) {
        HeldGame held;
        Maze* const line = make_waiting_line(3, 1000.0);
        str_set(&line->name, "a");
        Maze_node(line, 0)->expandable = 0;
        Maze_node(line, 2)->expandable = 0;
        stand(&held, line, line, 0);
        rnd_seed(seed);
        const FakeClock clock(0.002);
        i32 most = 0;
        const i32 frame = walk_down(&held, 3, seed, &most);
        deep += frame >= 0 ? 1 : 0;
        EXPECT_LE(most, 7); // the first reading and one after each of at most six
        EXPECT_SOUND(held->root);
    }
    EXPECT_GE(deep, 1);
}
