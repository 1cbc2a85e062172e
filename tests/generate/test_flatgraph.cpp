#include "base/rnd.h"
#include "generate/carve.h"
#include "generate/flatgraph.h"
#include "tests/randomgraph.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

// Runs `check` with 200 random graphs and their flat forms.
template <typename Check> static void with_graphs(u32 seed, Check check)
{
    RandomGraphs graphs(seed);
    for (i32 round = 0; round < 200; round++) {
        const RandomGraph graph = graphs.next();
        Scratch scratch = {};
        FlatGraph flat;
        FlatGraph_init(&flat, graph.maze, &scratch);
        check(&flat, &graph, &graphs, &scratch);
        Scratch_free(&scratch);
        Maze_free(graph.root, true);
    }
}

TEST(Scratch_take, serves_small_mazes_from_one_buffer)
{
    Scratch scratch = {};
    void* const first = Scratch_take(&scratch, 40000);
    void* const second = Scratch_take(&scratch, 20000);
    EXPECT_EQ(scratch.blocks, nullptr);
    Scratch_free(&scratch);
    EXPECT_EQ(Scratch_take(&scratch, 40000), first);
    EXPECT_EQ(Scratch_take(&scratch, 20000), second);
    Scratch_free(&scratch);
}

TEST(Scratch_take, gives_aligned_memory_that_does_not_overlap)
{
    Scratch scratch = {};
    std::vector<std::pair<u8*, size_t>> taken;
    for (const size_t size : {1, 0, 7, 16, 60000, 5000, 65536, 3, 1000000, 9}) {
        u8* const memory = static_cast<u8*>(Scratch_take(&scratch, size));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 16, 0U);
        std::memset(memory, static_cast<int>(taken.size()), size);
        taken.emplace_back(memory, size);
    }
    EXPECT_NE(scratch.blocks, nullptr);
    for (size_t i = 0; i < taken.size(); i++) {
        for (size_t k = 0; k < taken[i].second; k++) {
            ASSERT_EQ(taken[i].first[k], i);
        }
    }
    Scratch_free(&scratch);
    EXPECT_EQ(scratch.blocks, nullptr);
    EXPECT_EQ(scratch.used, 0U);
}

TEST(FlatGraph_init, has_the_slots_and_the_number_of_listed_edges)
{
    with_graphs(1, [](FlatGraph* flat, const RandomGraph* graph, RandomGraphs*, Scratch*) {
        ASSERT_EQ(flat->count, Maze_count(graph->maze));
        for (i32 i = 0; i < flat->count; i++) {
            EXPECT_EQ(std::vector<i32>(flat->edges[i], flat->edges[i] + flat->nedges[i]),
                      neighbours(graph->maze, i));
        }
        i32 n = 0;
        std::free(Maze_edgelist(graph->maze, &n));
        EXPECT_EQ(flat->npairs, n);
    });
}

TEST(FlatGraph_init, tells_of_doubled_edges_and_of_submazes)
{
    i32 doubled = 0;
    i32 nested = 0;
    with_graphs(2, [&](FlatGraph* flat, const RandomGraph* graph, RandomGraphs*, Scratch*) {
        bool twice = false;
        bool sub = false;
        for (i32 i = 0; i < flat->count; i++) {
            const std::vector<i32> ends = neighbours(graph->maze, i);
            for (const i32 end : ends) {
                twice = twice || (end != i && std::count(ends.begin(), ends.end(), end) > 1);
            }
            sub = sub || Maze_node(graph->maze, i)->sub != nullptr;
        }
        EXPECT_EQ(flat->doubled, twice);
        EXPECT_EQ(flat->nested, sub);
        doubled += twice ? 1 : 0;
        nested += sub ? 1 : 0;
    });
    EXPECT_GT(doubled, 20);
    EXPECT_GT(nested, 50);
}

TEST(FlatGraph_slots, are_all_slots_that_lead_to_a_node)
{
    with_graphs(3, [](FlatGraph* flat, const RandomGraph* graph, RandomGraphs* graphs, Scratch*) {
        const i32 a = graphs->roll(flat->count);
        const i32 b = graphs->roll(flat->count);
        u32 expected = 0;
        const std::vector<i32> ends = neighbours(graph->maze, a);
        for (size_t i = 0; i < ends.size(); i++) {
            expected |= ends[i] == b ? 1U << i : 0;
        }
        EXPECT_EQ(FlatGraph_slots(flat, a, b), expected);
    });
}

TEST(FlatGraph_shuffledpairs, are_the_shuffled_edge_list)
{
    with_graphs(4, [](FlatGraph* flat, const RandomGraph* graph, RandomGraphs*, Scratch* scratch) {
        rnd_seed(6);
        const EdgePair* const pairs = FlatGraph_shuffledpairs(flat, scratch);
        const u32 state = rnd_state();
        const u32 count = rnd_count();
        rnd_seed(6);
        i32 n = 0;
        i32* const list = Maze_edgelist(graph->maze, &n);
        for (i32 i = n - 1; i >= 0; i--) {
            const i32 j = irand(i + 1);
            std::swap(list[2 * i], list[2 * j]);
            std::swap(list[2 * i + 1], list[2 * j + 1]);
        }
        EXPECT_EQ(rnd_state(), state);
        EXPECT_EQ(rnd_count(), count);
        for (i32 i = 0; i < n; i++) {
            EXPECT_EQ(pairs[i].a, list[2 * i]);
            EXPECT_EQ(pairs[i].b, list[2 * i + 1]);
        }
        std::free(list);
    });
}

TEST(FlatGraph_carve, leaves_everything_if_all_edges_stay)
{
    with_graphs(5, [](FlatGraph* flat, const RandomGraph* graph, RandomGraphs*, Scratch*) {
        Maze* const before = Maze_clone(graph->maze, false);
        FlatGraph_keepall(flat);
        FlatGraph_carve(flat, graph->maze);
        for (i32 i = 0; i < flat->count; i++) {
            EXPECT_EQ(neighbours(graph->maze, i), neighbours(before, i));
        }
        Maze_free(before, true);
    });
}

// The bytes of a maze's nodes as far as they are in use, without the submazes.
static std::vector<u8> bytes_of(const Maze* maze)
{
    std::vector<u8> bytes;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        MazeNode node = *Maze_node(maze, i);
        node.sub = nullptr;
        const u8* const from = reinterpret_cast<const u8*>(&node);
        bytes.insert(bytes.end(), from, from + sizeof node);
    }
    return bytes;
}

static void expect_same_levels(const Maze* a, const Maze* b)
{
    ASSERT_EQ(Maze_count(a), Maze_count(b));
    EXPECT_EQ(bytes_of(a), bytes_of(b));
    for (i32 i = 0; i < Maze_count(a); i++) {
        const Maze* const sub = Maze_node(a, i)->sub;
        ASSERT_EQ(sub != nullptr, Maze_node(b, i)->sub != nullptr);
        if (sub != nullptr) {
            EXPECT_EQ(sub->parentnode, i);
            expect_same_levels(sub, Maze_node(b, i)->sub);
        }
    }
}

TEST(FlatGraph_carve, leaves_the_bytes_that_Maze_keepedges_leaves)
{
    i32 removed = 0;
    with_graphs(6, [&](FlatGraph* flat, const RandomGraph* graph, RandomGraphs* graphs, Scratch*) {
        Maze* const pattern = Maze_clone(graph->maze, false);
        Maze* const other = Maze_clone(graph->maze, true);
        for (i32 i = 0; i < flat->count; i++) {
            for (const i32 end : neighbours(graph->maze, i)) {
                if (end > i && graphs->roll(2) == 0) {
                    Maze_unjoin(pattern, i, end, false);
                    removed++;
                } else if (end > i) {
                    FlatGraph_keep(flat, i, end);
                }
            }
        }
        for (i32 i = 0; i < flat->count; i++) { // a doubled edge may have been kept once only
            for (const i32 end : neighbours(graph->maze, i)) {
                const std::vector<i32> kept = neighbours(pattern, i);
                if (std::count(kept.begin(), kept.end(), end) == 0) {
                    flat->keep[i] = static_cast<u8>(flat->keep[i] & ~FlatGraph_slots(flat, i, end));
                }
            }
        }
        FlatGraph_carve(flat, graph->maze);
        Maze_keepedges(other, pattern);
        expect_same_levels(graph->maze, other);
        Maze_free(other, true);
        Maze_free(pattern, true);
    });
    EXPECT_GT(removed, 1000);
}
