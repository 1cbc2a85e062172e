#include "generate/carve.h"
#include "generate/flatgraph.h"
#include "generate/sets.h"

// Of a doubled edge only the pair that comes last in the list counts, since its deletion takes all of
// them; the others go.
// Returns where the rest of the list begins.
static i32 dropdoubles(const FlatGraph* graph, EdgePair* pairs, Scratch* scratch)
{
    u8* const met = Scratch_array<u8>(scratch, graph->count);
    for (i32 i = graph->count - 1; i >= 0; i--) {
        met[i] = 0;
    }
    i32 first = graph->npairs;
    for (i32 i = graph->npairs - 1; i >= 0; i--) {
        const EdgePair pair = pairs[i];
        const u32 slots = FlatGraph_slots(graph, pair.a, pair.b);
        if ((met[pair.a] & slots) == 0) {
            met[pair.a] = static_cast<u8>(met[pair.a] | slots);
            pairs[--first] = pair;
        }
    }
    return first;
}

// Kruskal's two methods (1956) choose the same edges. Deleting from the last pair on, an edge goes if a
// cycle runs through it in what is left. Later edges that stayed are bridges and lie on none, so the
// cycle has it as its last edge; and if a cycle has it as its last one, the others still stand at its
// turn. Adding from the first pair on, the same edges are left out: those whose ends earlier edges join.
void makemaze_spanning(Maze* maze)
{
    Scratch scratch = {};
    FlatGraph graph;
    FlatGraph_init(&graph, maze, &scratch);
    EdgePair* const pairs = FlatGraph_shuffledpairs(&graph, &scratch);
    const i32 first = graph.doubled ? dropdoubles(&graph, pairs, &scratch) : 0;
    i32* const leaders = Scratch_array<i32>(&scratch, graph.count);
    sets_init(leaders, graph.count);
    for (i32 i = first; i < graph.npairs; i++) { // forward: see above
        if (sets_unite(leaders, pairs[i].a, pairs[i].b)) {
            FlatGraph_keep(&graph, pairs[i].a, pairs[i].b);
        }
    }
    FlatGraph_carve(&graph, maze);
    Scratch_free(&scratch);
}
