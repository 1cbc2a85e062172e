// Every edge that has had its turn is either deleted or needed: a bridge, which no cycle runs through,
// and a bridge stays one, since edges are only deleted. So an edge lies on a cycle if and only if it lies
// on a cycle of edges that still wait for their turn, and the graph of those alone is searched, from both
// ends by turns. It shrinks with each turn, whatever comes of it, and where a node is left with one edge
// in it that edge is known to be a bridge and leaves it too, so that what is left is a 2-core.
//
// The answer to each turn is that of a search of the whole maze, and the order of turns depends on the
// stream and on the degrees alone, which are kept as the maze would have them. Where the faces are known
// (faces.h) they give the same answers without a search. Once no waiting edge lies on a cycle the answers
// and degrees are settled, and only draws are left to be taken: finish.
#include "generate/carve.h"
#include "generate/faces.h"
#include "generate/flatgraph.h"
#include "generate/stream.h"

#include <bit>
#include <cstring>

enum { SEARCH_TRIES = 20 };

struct Corridors {
    FlatGraph graph;
    EdgePair* pairs;
    Faces faces;
    bool faced;   // the faces are known: nothing below but the degrees and the stream is used
    u8* degree;   // edges of each node as the carving stands
    u8* done;     // bit i: slot i has had its turn; only where edges are doubled
    u8* nwaiting; // edges of each node that may lie on a cycle
    i32 (*waiting)[MAZE_MAXEDGES]; // their other ends
    i32 left;                      // their number in the whole graph
    i32* queue;                    // the nodes of a search: of one end from the front, of the other
                                   // from behind
    u32* stamps;                   // the search and the end that last met each node
    u32 stamp;                     // of the latest search
    u32 state;                     // of the stream after the draws so far
    u32 draws;                     // since the shuffle
};

static void removewaiting(Corridors* c, i32 node, i32 target)
{
    i32* const ends = c->waiting[node];
    i32 slot = 0;
    while (ends[slot] != target) {
        slot++;
    }
    ends[slot] = ends[--c->nwaiting[node]];
}

static bool waits(const Corridors* c, i32 a, i32 b)
{
    for (i32 i = c->nwaiting[a] - 1; i >= 0; i--) {
        if (c->waiting[a][i] == b) {
            return true;
        }
    }
    return false;
}

static void stopwaiting(Corridors* c, i32 a, i32 b)
{
    removewaiting(c, a, b);
    removewaiting(c, b, a);
    c->left--;
}

// Takes the chain of edges away that ends at a node which is left with one.
static void peel(Corridors* c, i32 node)
{
    while (c->nwaiting[node] == 1) {
        const i32 next = c->waiting[node][0];
        stopwaiting(c, node, next);
        node = next;
    }
}

// One waiting edge between any two nodes that are joined, however often, but to themselves.
static void listwaiting(Corridors* c, i32 node)
{
    const FlatGraph* const graph = &c->graph;
    i32 n = 0;
    for (i32 slot = graph->nedges[node] - 1; slot >= 0; slot--) {
        const i32 target = graph->edges[node][slot];
        const u32 slots = graph->doubled ? FlatGraph_slots(graph, node, target) : 0;
        if (target != node && slots >> slot <= 1) { // of a doubled edge the last slot
            c->waiting[node][n++] = target;
            c->left += target > node ? 1 : 0;
        }
    }
    c->nwaiting[node] = static_cast<u8>(n);
}

static void setupsearch(Corridors* c, Scratch* scratch)
{
    const i32 n = c->graph.count;
    c->done = Scratch_array<u8>(scratch, n);
    c->nwaiting = Scratch_array<u8>(scratch, n);
    c->waiting = Scratch_array<i32[MAZE_MAXEDGES]>(scratch, n);
    c->queue = Scratch_array<i32>(scratch, n);
    c->stamps = Scratch_array<u32>(scratch, n);
    c->stamp = 0;
    c->left = 0;
    std::memset(c->done, 0, static_cast<size_t>(n));
    std::memset(c->stamps, 0, static_cast<size_t>(n) * sizeof(u32));
    for (i32 i = n - 1; i >= 0; i--) {
        listwaiting(c, i);
    }
    for (i32 i = n - 1; i >= 0; i--) {
        peel(c, i);
    }
}

static void setup(Corridors* c, const Maze* maze, Scratch* scratch)
{
    FlatGraph_init(&c->graph, maze, scratch);
    c->pairs = FlatGraph_shuffledpairs(&c->graph, scratch);
    c->state = rnd_state();
    c->draws = 0;
    c->degree = Scratch_array<u8>(scratch, c->graph.count);
    std::memcpy(c->degree, c->graph.nedges, static_cast<size_t>(c->graph.count));
    c->faced = !c->graph.doubled && Faces_init(&c->faces, &c->graph, scratch);
    if (!c->faced) {
        setupsearch(c, scratch);
    }
}

// One end of a search: its stamp, and the part of the queue that it fills, upward or downward.
struct Front {
    u32 stamp;
    i32 step; // 1 or -1
    i32 head; // the next node to be looked at
    i32 tail; // the first free place
};

// Looks at one node of a front. Whether it touches the nodes of the other one.
static bool advance(Corridors* c, Front* front, u32 other)
{
    const i32 node = c->queue[front->head];
    front->head += front->step;
    for (i32 i = c->nwaiting[node] - 1; i >= 0; i--) {
        const i32 target = c->waiting[node][i];
        const u32 seen = c->stamps[target];
        if (seen == other) {
            return true;
        }
        if (seen != front->stamp) {
            c->stamps[target] = front->stamp;
            c->queue[front->tail] = target;
            front->tail += front->step;
        }
    }
    return false;
}

// Whether waiting edges lead from a to b.
static bool linked(Corridors* c, i32 a, i32 b)
{
    const i32 end = c->graph.count - 1;
    Front first = {.stamp = ++c->stamp, .step = 1, .head = 0, .tail = 1};
    Front second = {.stamp = ++c->stamp, .step = -1, .head = end, .tail = end - 1};
    c->stamps[a] = first.stamp;
    c->queue[0] = a;
    c->stamps[b] = second.stamp;
    c->queue[end] = b;
    while (first.head != first.tail && second.head != second.tail) {
        if (advance(c, &first, second.stamp) || advance(c, &second, first.stamp)) {
            return true;
        }
    }
    return false;
}

static void lessdegree(Corridors* c, EdgePair pair, i32 n)
{
    c->degree[pair.a] = static_cast<u8>(c->degree[pair.a] - n);
    c->degree[pair.b] = static_cast<u8>(c->degree[pair.b] - n);
}

// Whether an edge that waits for its turn can go. It waits no longer.
static bool needless(Corridors* c, EdgePair pair)
{
    if (c->faced) {
        return Faces_delete(&c->faces, pair.a, pair.b);
    }
    if (!waits(c, pair.a, pair.b)) {
        return false;
    }
    stopwaiting(c, pair.a, pair.b);
    const bool found = linked(c, pair.a, pair.b);
    peel(c, pair.a);
    peel(c, pair.b);
    return found;
}

static void taketurn(Corridors* c, EdgePair pair)
{
    i32 copies = 1;
    if (c->graph.doubled) {
        const u32 slots = FlatGraph_slots(&c->graph, pair.a, pair.b);
        if ((c->done[pair.a] & slots) != 0) {
            return; // the first turn has decided
        }
        c->done[pair.a] = static_cast<u8>(c->done[pair.a] | slots);
        copies = std::popcount(slots);
    }
    if (needless(c, pair)) {
        lessdegree(c, pair, copies);
    } else {
        lessdegree(c, pair, copies - 1); // deleted and joined again, once
        FlatGraph_keep(&c->graph, pair.a, pair.b);
    }
}

static bool anyend(const u8* degree, EdgePair pair)
{
    return degree[pair.a] <= 2 || degree[pair.b] <= 2;
}

static bool bothends(const u8* degree, EdgePair pair)
{
    return degree[pair.a] + degree[pair.b] <= 4;
}

// Exchanges the last of `r` edges at random while it is `poor`. Returns the number of tries.
template <typename Edge, typename Poor> static u32 avoid(Edge* edges, i32 r, u32* state, Poor poor)
{
    Edge edge = edges[r - 1];
    u32 tries = 0;
    while (tries < SEARCH_TRIES && poor(edge)) {
        edges[r - 1] = edge; // may be drawn too
        const i32 j = stream_index(state, r);
        const Edge other = edges[j];
        edges[j] = edge;
        edge = other;
        tries++;
    }
    edges[r - 1] = edge;
    return tries;
}

// Brings a pair whose ends are not poor in edges to the end of the first `r`, if the tries find one.
static void choose(Corridors* c, i32 r)
{
    const u8* const degree = c->degree;
    u32 state = c->state;
    u32 tries =
        avoid(c->pairs, r, &state, [degree](EdgePair pair) { return anyend(degree, pair); });
    tries += avoid(c->pairs, r, &state, [degree](EdgePair pair) { return bothends(degree, pair); });
    c->state = state;
    c->draws += 2 * tries;
}

enum : u8 { POOR_ANYEND = 1, POOR_BOTHENDS = 2 };

// Gives the last `r` turns where none of them can delete an edge any more, so that only the draws
// count, and of an edge no more than how poor its ends are. Once all that are left are poor in both
// ways they take as many draws as they can.
static void finish(Corridors* c, i32 r, Scratch* scratch)
{
    u8* const edges = Scratch_array<u8>(scratch, r);
    i32 rich = 0;
    for (i32 i = r - 1; i >= 0; i--) {
        const EdgePair pair = c->pairs[i];
        FlatGraph_keep(&c->graph, pair.a, pair.b);
        const bool both = bothends(c->degree, pair);
        edges[i] = static_cast<u8>((anyend(c->degree, pair) ? POOR_ANYEND : 0) |
                                   (both ? POOR_BOTHENDS : 0));
        rich += both ? 0 : 1;
    }
    u32 tries = 0;
    for (; rich > 0; r--) {
        tries += avoid(edges, r, &c->state, [](u8 edge) { return (edge & POOR_ANYEND) != 0; });
        tries += avoid(edges, r, &c->state, [](u8 edge) { return (edge & POOR_BOTHENDS) != 0; });
        rich -= (edges[r - 1] & POOR_BOTHENDS) == 0 ? 1 : 0;
    }
    c->draws += 2 * (tries + 2 * SEARCH_TRIES * static_cast<u32>(r));
}

void makemaze_corridors(Maze* maze)
{
    Scratch scratch = {};
    Corridors c;
    setup(&c, maze, &scratch);
    i32 r = c.graph.npairs;
    const i32* const left = c.faced ? &c.faces.left : &c.left;
    // a doubled edge changes degrees even when it stays
    for (; r >= 1 && (*left > 0 || c.graph.doubled); r--) {
        choose(&c, r);
        taketurn(&c, c.pairs[r - 1]);
    }
    finish(&c, r, &scratch);
    rnd_skip(c.draws);
    FlatGraph_carve(&c.graph, maze);
    Scratch_free(&scratch);
}
