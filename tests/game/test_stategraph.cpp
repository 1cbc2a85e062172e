#include "base/rnd.h"
#include "model/attachment.h"
#include "model/stategraph.h"
#include "tests/gameworlds.h"
#include "tests/sound.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

// States are whole numbers; the context holds what the maker counts and the rule of the graph.
struct Rule {
    i32 size;     // of a ring of states
    i32 asked;    // calls of neighbours
    i32 released; // calls of release
};

static void ring_neighbours(GrowArray* out, const void* state, void* context)
{
    Rule* const rule = static_cast<Rule*>(context);
    const i32 s = *static_cast<const i32*>(state);
    rule->asked++;
    GrowArray_init(out, sizeof(i32));
    const i32 before = (s + rule->size - 1) % rule->size;
    const i32 after = (s + 1) % rule->size;
    GrowArray_push(out, &before);
    GrowArray_push(out, &after);
}

static void lonely_neighbours(GrowArray* out, const void* state, void*)
{
    GrowArray_init(out, sizeof(i32));
    GrowArray_push(out, state);
}

static void star_neighbours(GrowArray* out, const void* state, void*)
{
    GrowArray_init(out, sizeof(i32));
    const i32 n = *static_cast<const i32*>(state) == 0 ? 12 : 0;
    for (i32 i = 1; i <= n; i++) {
        GrowArray_push(out, &i);
    }
}

static i32 released_states;

static void count_release(void*, void* context)
{
    static_cast<Rule*>(context)->released++;
    released_states++;
}

static StateGraph ring_graph(i32 size)
{
    StateGraph graph;
    StateGraph_new(&graph, sizeof(i32), sizeof(Rule));
    static_cast<Rule*>(graph.context)->size = size;
    graph.neighbours = ring_neighbours;
    return graph;
}

static StateGraph* graph_of(const Maze* maze)
{
    return static_cast<StateGraph*>(Maze_attachment(maze, "rep"));
}

static std::vector<i32> states_of(const Maze* maze)
{
    const GrowArray* const states = &graph_of(maze)->states;
    return {items<i32>(states), items<i32>(states) + states->count};
}

TEST(StateGraph_new, is_empty_with_a_start_state_of_zeros)
{
    StateGraph graph;
    StateGraph_new(&graph, 16, 0);
    const u8 zeros[16] = {};
    EXPECT_EQ(graph.states.count, 0U);
    EXPECT_EQ(graph.states.capacity, static_cast<u32>(array_defaultcap));
    EXPECT_EQ(graph.states.elemsize, 16U);
    EXPECT_EQ(graph.states.growth, 60.0F);
    EXPECT_EQ(std::memcmp(graph.startstate, zeros, 16), 0);
    EXPECT_EQ(graph.scratch, nullptr);
    EXPECT_EQ(graph.context, nullptr);
    EXPECT_EQ(graph.neighbours, nullptr);
    EXPECT_EQ(graph.equal, nullptr);
    EXPECT_EQ(graph.release, nullptr);
    EXPECT_EQ(graph.label, nullptr);
    GrowArray_free(&graph.states);
    std::free(graph.startstate);
}

TEST(Maze_statenew, is_one_node_for_the_start_state)
{
    StateGraph graph = ring_graph(5);
    *static_cast<i32*>(graph.startstate) = 3;
    const World maze(Maze_statenew(&graph));
    ASSERT_EQ(Maze_count(maze.get()), 1);
    const MazeNode* const node = Maze_node(maze.get(), 0);
    EXPECT_EQ(node->pos[0], 0.0);
    EXPECT_EQ(node->radius, 0.5);
    EXPECT_EQ(node->rec.colour, 0x808080U);
    EXPECT_EQ(node->rec.walked, -1.0);
    EXPECT_EQ(node->rec.trailed, -1.0);
    EXPECT_EQ(states_of(maze.get()), (std::vector<i32>{3}));
}

TEST(Maze_statenew, keeps_its_description_through_every_change)
{
    StateGraph graph = ring_graph(5);
    const World maze(Maze_statenew(&graph));
    Maze_freeflags(maze.get(), ATT_GEOMETRY | ATT_EXITS | ATT_VISITS, true);
    EXPECT_NE(graph_of(maze.get()), nullptr);
}

TEST(Maze_statenew, releases_every_state_and_the_spare_ones_with_the_maze)
{
    StateGraph graph = ring_graph(5);
    graph.release = count_release;
    graph.scratch = std::calloc(1, sizeof(i32));
    released_states = 0;
    {
        const World maze(Maze_statefill(&graph));
        EXPECT_EQ(Maze_count(maze.get()), 5);
        released_states = 0;
    }
    EXPECT_EQ(released_states, 5 + 2);
}

TEST(Maze_stategrow, adds_the_neighbours_beside_the_node_with_six_draws_each)
{
    StateGraph graph = ring_graph(5);
    const World maze(Maze_statenew(&graph));
    Maze_node(maze.get(), 0)->rec.colour = 0xABCDEF;
    rnd_seed(11);
    Maze_stategrow(maze.get(), 0);
    EXPECT_EQ(rnd_count(), 12U);
    EXPECT_EQ(states_of(maze.get()), (std::vector<i32>{0, 1, 4})); // the list from its last on
    EXPECT_EQ(neighbours(maze.get(), 0), (std::vector<i32>{1, 2}));
    rnd_seed(11);
    const f64 z = rnd(5.0) - 2.5;
    const f64 y = rnd(5.0) - 2.5;
    const f64 x = rnd(5.0) - 2.5;
    const MazeNode* const node = Maze_node(maze.get(), 1);
    EXPECT_EQ(node->pos[0], x);
    EXPECT_EQ(node->pos[1], y);
    EXPECT_EQ(node->pos[2], z);
    EXPECT_EQ(node->radius, 0.5);
    EXPECT_EQ(node->rec.colour, 0xABCDEFU);
    EXPECT_EQ(node->rec.walked, -1.0);
    EXPECT_SOUND(maze.get());
}

TEST(Maze_stategrow, adds_only_the_edge_to_a_state_that_is_a_node_already)
{
    StateGraph graph = ring_graph(3);
    const World maze(Maze_statenew(&graph));
    Maze_stategrow(maze.get(), 0);
    EXPECT_EQ(Maze_count(maze.get()), 3);
    EXPECT_EQ(Maze_edgecount(maze.get()), 2);
    Maze_stategrow(maze.get(), 1);
    EXPECT_EQ(Maze_count(maze.get()), 3);
    EXPECT_EQ(Maze_edgecount(maze.get()), 3);
}

TEST(Maze_stategrow, changes_nothing_the_second_time)
{
    StateGraph graph = ring_graph(3);
    const World maze(Maze_statenew(&graph));
    Maze_stategrow(maze.get(), 0);
    Maze_stategrow(maze.get(), 0);
    EXPECT_EQ(Maze_count(maze.get()), 3);
    EXPECT_EQ(Maze_edgecount(maze.get()), 2);
    EXPECT_EQ(static_cast<Rule*>(graph_of(maze.get())->context)->asked, 2);
    EXPECT_SOUND(maze.get());
}

TEST(Maze_stategrow, releases_a_state_that_is_known)
{
    StateGraph graph = ring_graph(3);
    graph.release = count_release;
    const World maze(Maze_statenew(&graph));
    Maze_stategrow(maze.get(), 0);
    const Rule* const rule = static_cast<Rule*>(graph_of(maze.get())->context);
    EXPECT_EQ(rule->released, 0);
    Maze_stategrow(maze.get(), 0);
    EXPECT_EQ(rule->released, 2);
}

TEST(Maze_stategrow, goes_by_the_makers_equality)
{
    StateGraph graph = ring_graph(10);
    graph.equal = [](const void* a, const void* b, void*) {
        return *static_cast<const i32*>(a) % 2 == *static_cast<const i32*>(b) % 2;
    };
    const World maze(Maze_statenew(&graph));
    Maze_stategrow(maze.get(), 0); // 9 and 1 are the same
    EXPECT_EQ(Maze_count(maze.get()), 2);
    EXPECT_EQ(Maze_edgecount(maze.get()), 1);
}

TEST(Maze_stategrow, joins_no_node_to_itself)
{
    StateGraph graph = ring_graph(1);
    graph.neighbours = lonely_neighbours;
    const World maze(Maze_statenew(&graph));
    Maze_stategrow(maze.get(), 0);
    EXPECT_EQ(Maze_count(maze.get()), 1);
    EXPECT_SOUND(maze.get());
}

TEST(Maze_stategrow, adds_nodes_beyond_8_without_an_edge)
{
    StateGraph graph = ring_graph(1);
    graph.neighbours = star_neighbours;
    const World maze(Maze_statenew(&graph));
    Maze_stategrow(maze.get(), 0);
    EXPECT_EQ(Maze_count(maze.get()), 13);
    EXPECT_EQ(Maze_node(maze.get(), 0)->nedges, 8U);
    EXPECT_EQ(states_of(maze.get()).size(), 13U);
    EXPECT_SOUND(maze.get());
}

TEST(Maze_stategrow, gives_the_submaze_of_a_state_its_ports)
{
    StateGraph graph = ring_graph(8);
    const World maze(Maze_statenew(&graph));
    hang(maze.get(), 0, make_line(1));
    rnd_seed(5);
    Maze_stategrow(maze.get(), 0);
    EXPECT_EQ(Maze_node(maze.get(), 0)->nedges, 2U);
    EXPECT_SOUND(maze.get());
}

TEST(Maze_stategrow, frees_what_hangs_on_the_geometry_when_it_has_changed)
{
    StateGraph graph = ring_graph(3);
    const World maze(Maze_statenew(&graph));
    i32 data = 0;
    Maze_attach(maze.get(), "table", &data, nullptr, ATT_GEOMETRY);
    Maze_stategrow(maze.get(), 0);
    EXPECT_EQ(Maze_attachment(maze.get(), "table"), nullptr);
    Maze_attach(maze.get(), "table", &data, nullptr, ATT_GEOMETRY);
    Maze_stategrow(maze.get(), 0);
    EXPECT_NE(Maze_attachment(maze.get(), "table"), nullptr);
}

TEST(Maze_stategrow, does_nothing_in_a_maze_without_states)
{
    const World line(make_line(3));
    rnd_seed(1);
    Maze_stategrow(line.get(), 0);
    EXPECT_EQ(Maze_count(line.get()), 3);
    EXPECT_EQ(rnd_count(), 0U);
}

TEST(Maze_statefill, is_the_whole_ring)
{
    StateGraph graph = ring_graph(17);
    const World maze(Maze_statefill(&graph));
    EXPECT_EQ(Maze_count(maze.get()), 17);
    EXPECT_EQ(Maze_edgecount(maze.get()), 17);
    for (i32 i = 0; i < 17; i++) {
        EXPECT_EQ(Maze_node(maze.get(), i)->nedges, 2U);
    }
    EXPECT_SOUND(maze.get());
}

TEST(MazeGame_move, grows_a_state_graph_at_the_players_node_in_every_call)
{
    StateGraph graph = ring_graph(100);
    HeldGame held;
    Maze* const maze = Maze_statenew(&graph);
    stand(&held, maze, maze, 0);
    const f64 still[3] = {0, 0, 0};
    MazeGame_move(&held.game, still);
    EXPECT_EQ(Maze_count(maze), 3);
    MazeGame_move(&held.game, still);
    EXPECT_EQ(Maze_count(maze), 3);
    EXPECT_EQ(static_cast<Rule*>(graph_of(maze)->context)->asked, 2);
}

TEST(MazeGame_move, grows_a_state_graph_where_the_player_has_come_to)
{
    StateGraph graph = ring_graph(100);
    HeldGame held;
    Maze* const maze = Maze_statenew(&graph);
    stand(&held, maze, maze, 0);
    const f64 still[3] = {0, 0, 0};
    MazeGame_move(&held.game, still);
    const f64* const to = Maze_node(maze, 1)->pos;
    const f64 passage[3] = {to[0] * 1.01, to[1] * 1.01, to[2] * 1.01};
    MazeGame_move(&held.game, passage);
    EXPECT_EQ(held->pos.node, 1);
    EXPECT_EQ(states_of(maze), (std::vector<i32>{0, 1, 99, 2}));
}
