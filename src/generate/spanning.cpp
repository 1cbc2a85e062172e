#include "generate/carve.h"
#include "generate/flatgraph.h"

// The representative of a node's set, which holds all that has been joined to it.
static i32 leaderof(i32* leaders, i32 node)
{
    while (leaders[node] != node) {
        leaders[node] = leaders[leaders[node]]; // halves the path
        node = leaders[node];
    }
    return node;
}

static i32* newleaders(i32 n, Scratch* scratch)
{
    i32* const leaders = Scratch_array<i32>(scratch, n);
    for (i32 i = n - 1; i >= 0; i--) {
        leaders[i] = i;
    }
    return leaders;
}

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

// Deleting from the last pair on whatever isn't needed leaves the same edges as adding from the first
// on whatever joins two parts (Kruskal 1956).
void makemaze_spanning(Maze* maze)
{
    Scratch scratch = {};
    FlatGraph graph;
    FlatGraph_init(&graph, maze, &scratch);
    EdgePair* const pairs = FlatGraph_shuffledpairs(&graph, &scratch);
    const i32 first = graph.doubled ? dropdoubles(&graph, pairs, &scratch) : 0;
    i32* const leaders = newleaders(graph.count, &scratch);
    for (i32 i = first; i < graph.npairs; i++) { // forward: see above
        const i32 a = leaderof(leaders, pairs[i].a);
        const i32 b = leaderof(leaders, pairs[i].b);
        if (a != b) {
            leaders[a] = b;
            FlatGraph_keep(&graph, pairs[i].a, pairs[i].b);
        }
    }
    FlatGraph_carve(&graph, maze);
    Scratch_free(&scratch);
}
