// The draws of one thinning follow a fixed order of edges, as long as no two nodes are joined more
// than once, and the stream is linear: the state after k draws is A s + C with factors that depend on
// k alone. So an attempt is searched without being made: from all terminals at once, node by node, and
// an edge is drawn when the search meets it. Most attempts end after a few nodes, where one of the
// terminals turns out to be cut off.
#include "generate/carve.h"
#include "generate/flatgraph.h"
#include "generate/stream.h"

#include <bit>
#include <cstring>

enum { THRESHOLD_TRIES = 100, MAXTERMINALS = MAZE_MAXEDGES };

enum : u32 { DRAWBITS = 0x7fffffff, DROPPED = DRAWBITS, STAYS = 0 };

// One direction of an edge. In a thinning that begins at state s of the stream the edge stays if
// factor * s + step, without its top bit, is below keep * 2^31: its upper 15 bits are the high bits of
// the draw, and `keep` has no more than 15.
struct Slot {
    i32 target;
    u32 factor;
    u32 step;
};

struct Threshold {
    FlatGraph graph;
    i32* first; // where the slots of each node begin; one entry more than nodes
    Slot* slots;
    i32 nterminals; // nodes that must hang together; less than two if they never do
    i32 terminals[MAXTERMINALS];
    u32* stamps; // which terminal has met each node, counted from the stamp of the search
    i32* queues; // room for one of all nodes and one more for each terminal
    u32 stamp;   // of the latest search
    u32 factor;  // of the stream over a whole thinning; unused where edges are doubled
    u32 step;
    u32 state;     // of the stream
    u32 draws;     // so far
    u32 beststate; // of the stream before the best thinning so far
    f64 bestkeep;  // of that thinning; 1.0 if there is none
};

// What a level needs: its ports hang together, or the first node and the last where there are less
// than two.
static void findterminals(Threshold* t, i32 ports)
{
    t->terminals[0] = 0;
    t->terminals[1] = t->graph.count - 1;
    t->nterminals = 2;
    if (ports > t->graph.count) {
        t->nterminals = 0;
    } else if (ports >= 2) {
        t->nterminals = ports;
        for (i32 i = ports - 1; i >= 0; i--) {
            t->terminals[i] = i;
        }
    }
}

static void listslots(Threshold* t)
{
    i32 n = 0;
    for (i32 i = 0; i < t->graph.count; i++) { // in the order of the nodes
        t->first[i] = n;
        for (i32 slot = 0; slot < t->graph.nedges[i]; slot++) { // and of their slots
            t->slots[n++] = {.target = t->graph.edges[i][slot], .factor = 0, .step = STAYS};
        }
    }
    t->first[t->graph.count] = n;
}

// Gives each edge, of which there is one between any two nodes, the factors of its draw.
static void listdraws(Threshold* t)
{
    const FlatGraph* const graph = &t->graph;
    u32 factor = 1;
    u32 step = 0;
    for (i32 i = graph->count - 1; i >= 0; i--) {
        for (i32 slot = graph->nedges[i] - 1; slot >= 0; slot--) {
            const i32 target = graph->edges[i][slot];
            if (target <= i) {
                continue;
            }
            factor *= RND_FACTOR * RND_FACTOR;
            step = rnd_next(rnd_next(step));
            const i32 back = std::countr_zero(FlatGraph_slots(graph, target, i));
            t->slots[t->first[i] + slot] = {.target = target, .factor = factor, .step = step};
            t->slots[t->first[target] + back] = {.target = i, .factor = factor, .step = step};
        }
    }
    t->factor = factor;
    t->step = step;
}

static i32 countslots(const FlatGraph* graph)
{
    i32 n = 0;
    for (i32 i = graph->count - 1; i >= 0; i--) {
        n += graph->nedges[i];
    }
    return n;
}

static void setup(Threshold* t, const Maze* maze, Scratch* scratch)
{
    FlatGraph_init(&t->graph, maze, scratch);
    const i32 n = t->graph.count;
    findterminals(t, Maze_ports(maze));
    t->first = Scratch_array<i32>(scratch, n + 1);
    t->slots = Scratch_array<Slot>(scratch, countslots(&t->graph));
    t->stamps = Scratch_array<u32>(scratch, n);
    t->queues = Scratch_array<i32>(scratch, t->nterminals * (n + 1));
    t->stamp = 0;
    t->state = rnd_state();
    t->draws = 0;
    t->beststate = 0;
    t->bestkeep = 1.0;
    std::memset(t->stamps, 0, static_cast<size_t>(n) * sizeof(u32));
    listslots(t);
    if (!t->graph.doubled) {
        listdraws(t);
    }
}

// One search from each terminal. Those that have met follow one leader.
struct Search {
    i32* queues[MAXTERMINALS]; // of each terminal: nodes that it has met first
    i32 head[MAXTERMINALS];    // the next to be looked at
    i32 tail[MAXTERMINALS];    // the first free place
    i32 leader[MAXTERMINALS];
    i32 parts; // leaders
    u32 state; // of the stream before the thinning
    u32 limit; // of the draws that keep an edge
};

static void startsearch(Search* search, Threshold* t)
{
    t->stamp += MAXTERMINALS;
    search->parts = t->nterminals;
    for (i32 i = t->nterminals - 1; i >= 0; i--) {
        const i32 node = t->terminals[i];
        search->queues[i] =
            t->queues + static_cast<size_t>(i) * static_cast<u32>(t->graph.count + 1);
        search->queues[i][0] = node;
        search->head[i] = 0;
        search->tail[i] = 1;
        search->leader[i] = i;
        t->stamps[node] = t->stamp + static_cast<u32>(i);
    }
}

static void merge(Search* search, const Threshold* t, i32 a, i32 b)
{
    const i32 from = search->leader[b];
    const i32 to = search->leader[a];
    for (i32 i = t->nterminals - 1; i >= 0 && from != to; i--) {
        search->leader[i] = search->leader[i] == from ? to : search->leader[i];
    }
    search->parts -= from != to ? 1 : 0;
}

// Looks at the next node of a terminal's queue. A target is put into the queue at all events, and
// stays there if it is new: which edges stay can't be foretold, so a branch would cost more.
static void advance(Search* search, Threshold* t, i32 terminal)
{
    const u32 state = search->state;
    const u32 limit = search->limit;
    const u32 stamp = t->stamp;
    const u32 own = stamp + static_cast<u32>(terminal);
    u32* const stamps = t->stamps;
    i32* const queue = search->queues[terminal];
    i32 tail = search->tail[terminal];
    const i32 node = queue[search->head[terminal]++];
    const Slot* const end = t->slots + t->first[node + 1];
    for (const Slot* slot = t->slots + t->first[node]; slot < end; slot++) { // in any order
        const i32 target = slot->target;
        const u32 seen = stamps[target];
        const u32 stays = ((slot->factor * state + slot->step) & DRAWBITS) < limit ? 1 : 0;
        const u32 fresh = stays & (seen < stamp ? 1 : 0);
        queue[tail] = target;
        tail += static_cast<i32>(fresh);
        stamps[target] = seen + (own - seen) * fresh;
        const u32 met = (stays ^ fresh) & (seen != own ? 1 : 0);
        if (met != 0) {
            merge(search, t, terminal, static_cast<i32>(seen - stamp));
        }
    }
    search->tail[terminal] = tail;
}

// Whether a terminal that has come to its end is cut off: no other that it has met goes on. While there
// are parts that have not met, one terminal of each goes on, or its last one was found cut off.
static bool cutoff(const Search* search, const Threshold* t, i32 terminal)
{
    for (i32 i = t->nterminals - 1; i >= 0; i--) {
        if (search->leader[i] == search->leader[terminal] && search->head[i] < search->tail[i]) {
            return false;
        }
    }
    return true;
}

// The terminal that goes on: the one with the fewest nodes waiting, which is the likeliest to be cut
// off. Any order finds the same. Trusts that one has a node waiting.
static i32 choose(const Search* search, const Threshold* t)
{
    i32 chosen = 0;
    i32 least = t->graph.count + 1;
    for (i32 i = t->nterminals - 1; i >= 0; i--) {
        const i32 waiting = search->tail[i] - search->head[i];
        const bool better = waiting > 0 && waiting < least;
        chosen = better ? i : chosen;
        least = better ? waiting : least;
    }
    return chosen;
}

// Whether a terminal loses all its edges, which ends most attempts before a search. All terminals are
// looked at, since a branch for each would cost more.
static bool isolated(const Threshold* t, u32 state, u32 limit)
{
    bool any = false;
    for (i32 i = t->nterminals - 1; i >= 0; i--) {
        const i32 node = t->terminals[i];
        const Slot* const end = t->slots + t->first[node + 1];
        u32 least = DRAWBITS;
        for (const Slot* slot = t->slots + t->first[node]; slot < end; slot++) { // in any order
            const u32 bits = (slot->factor * state + slot->step) & DRAWBITS;
            least = bits < least ? bits : least;
        }
        any |= least >= limit;
    }
    return any;
}

// Whether the terminals hang together in the thinning that begins at `state`, or that `slots` tell.
static bool usable(Threshold* t, u32 state, f64 keep)
{
    if (t->nterminals < 2) {
        return false;
    }
    const u32 limit = static_cast<u32>(keep * 0x1p31);
    if (isolated(t, state, limit)) {
        return false;
    }
    Search search;
    search.state = state;
    search.limit = limit;
    startsearch(&search, t);
    while (search.parts > 1) {
        const i32 next = choose(&search, t);
        advance(&search, t, next);
        if (search.head[next] == search.tail[next] && cutoff(&search, t, next)) {
            return false;
        }
    }
    return true;
}

// Takes the edges to `target` out of a node's slots.
static i32 dropedges(i32* edges, i32 n, i32 target)
{
    for (i32 slot = n - 1; slot >= 0; slot--) {
        if (edges[slot] == target) {
            edges[slot] = edges[--n];
        }
    }
    return n;
}

static void unkeep(FlatGraph* graph, i32 a, i32 b)
{
    graph->keep[a] = static_cast<u8>(graph->keep[a] & ~FlatGraph_slots(graph, a, b));
    graph->keep[b] = static_cast<u8>(graph->keep[b] & ~FlatGraph_slots(graph, b, a));
}

// Thins the graph, as Maze_thinedges does, into its marks. Node i loses no edge before its turn, and
// none to a lower node in it. Returns the number of draws.
static u32 thin(FlatGraph* graph, u32* state, f64 keep)
{
    u32 draws = 0;
    FlatGraph_keepall(graph);
    for (i32 i = graph->count - 1; i >= 0; i--) {
        i32 edges[MAZE_MAXEDGES];
        std::memcpy(edges, graph->edges[i], sizeof edges);
        i32 n = graph->nedges[i];
        for (i32 slot = n - 1; slot >= 0; slot--) {
            // a slot may be gone, where a doubled edge has been deleted
            if (slot < n && edges[slot] > i) {
                draws += 2;
                if (stream_bits(state) * 0x1p-30 >= keep) {
                    unkeep(graph, i, edges[slot]);
                    n = dropedges(edges, n, edges[slot]);
                }
            }
        }
    }
    return draws;
}

// A thinning of a graph with doubled edges, whose draws depend on each other, is made in full.
static bool thinned(Threshold* t, f64 keep)
{
    t->draws += thin(&t->graph, &t->state, keep);
    for (i32 i = t->graph.count - 1; i >= 0; i--) {
        for (i32 slot = t->graph.nedges[i] - 1; slot >= 0; slot--) {
            t->slots[t->first[i] + slot].step =
                (t->graph.keep[i] >> slot & 1) != 0 ? STAYS : DROPPED;
        }
    }
    return usable(t, t->state, keep);
}

static bool tried(Threshold* t, f64 keep)
{
    const u32 state = t->state;
    t->state = t->state * t->factor + t->step;
    t->draws += 2 * static_cast<u32>(t->graph.npairs);
    return usable(t, state, keep);
}

// Makes attempts until one is usable, which becomes the best. Whether one was.
static bool attempts(Threshold* t, f64 keep)
{
    for (i32 tries = 0; tries < THRESHOLD_TRIES; tries++) {
        const u32 state = t->state;
        if (t->graph.doubled ? thinned(t, keep) : tried(t, keep)) {
            t->beststate = state;
            t->bestkeep = keep;
            return true;
        }
    }
    return false;
}

// Bisects the probability of keeping an edge.
static void bisect(Threshold* t)
{
    f64 low = 0.0;
    f64 high = 1.0;
    for (;;) {
        const f64 keep = (low + high) * 0.5;
        if (attempts(t, keep)) {
            if (!(keep > low + 0.001)) {
                return;
            }
            high = keep;
        } else {
            low = keep;
            if (!(high > keep + 0.001)) {
                return;
            }
        }
    }
}

void makemaze_threshold(Maze* maze)
{
    if (Maze_count(maze) < 2) {
        return; // one node has nothing to lose, and would go where it is no port
    }
    Scratch scratch = {};
    Threshold t;
    setup(&t, maze, &scratch);
    t.draws += thin(&t.graph, &t.state, 1.0); // deletes nothing, but makes its draws
    if (!usable(&t, 0, 1.0)) {
        t.nterminals = 0; // what the full graph doesn't link no thinning does
    }
    bisect(&t);
    rnd_skip(t.draws);
    thin(&t.graph, &t.beststate, t.bestkeep);
    FlatGraph_carve(&t.graph, maze);
    Scratch_free(&scratch);
    Maze_dropisolated(maze);
}
