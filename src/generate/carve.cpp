#include "generate/carve.h"

#include "base/rnd.h"
#include "generate/flatgraph.h"

#include <cstdlib>
#include <utility>

enum { SEARCH_TRIES = 20, THRESHOLD_TRIES = 100 };

void makemaze(Maze* maze)
{
    switch (irand(3)) {
    case 1: makemaze_spanning(maze); break;
    case 2: makemaze_corridors(maze); break;
    default: makemaze_threshold(maze); break;
    }
}

void makemaze_all(Maze* maze)
{
    Maze_foreach(maze, makemaze);
}

void Maze_foreach(Maze* maze, void (*f)(Maze*))
{
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        Maze* const sub = Maze_node(maze, i)->sub;
        if (sub != nullptr) {
            Maze_foreach(sub, f);
        }
    }
    f(maze);
}

void Maze_thinedges(Maze* maze, f64 keep)
{
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        const MazeNode* const node = Maze_node(maze, i);
        for (i32 slot = static_cast<i32>(node->nedges) - 1; slot >= 0; slot--) {
            if (slot < static_cast<i32>(node->nedges) && node->edges[slot] > i &&
                rnd(1.0) >= keep) {
                Maze_unjoin(maze, i, node->edges[slot], true);
            }
        }
    }
}

// Maze_keepedges with the bare graph of the pattern
static void keepedges(Maze* maze, const FlatGraph* pattern)
{
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        const MazeNode* const node = Maze_node(maze, i);
        for (i32 slot = static_cast<i32>(node->nedges) - 1; slot >= 0; slot--) {
            if (slot < static_cast<i32>(node->nedges) &&
                !FlatGraph_joined(pattern, i, node->edges[slot])) {
                Maze_unjoin(maze, i, node->edges[slot], true);
            }
        }
    }
}

void Maze_keepedges(Maze* maze, const Maze* pattern)
{
    FlatGraph graph;
    FlatGraph_init(&graph, pattern);
    keepedges(maze, &graph);
    FlatGraph_free(&graph);
}

void Maze_dropisolated(Maze* maze)
{
    const i32 ports = Maze_ports(maze);
    for (i32 i = Maze_count(maze) - 1; i >= ports; i--) {
        if (Maze_node(maze, i)->nedges == 0) {
            Maze_delnode(maze, i, true);
        }
    }
}

static void swappairs(i32* pairs, i32 i, i32 j)
{
    std::swap(pairs[2 * i], pairs[2 * j]);
    std::swap(pairs[2 * i + 1], pairs[2 * j + 1]);
}

// The edge list of a maze in random order; `n` receives the number of pairs. Freed with free.
static i32* shufflededges(const Maze* maze, i32* n)
{
    i32* const pairs = Maze_edgelist(maze, n);
    for (i32 i = *n - 1; i >= 0; i--) {
        swappairs(pairs, i, irand(i + 1));
    }
    return pairs;
}

// The representative of a node's set, which holds all that has been joined to it.
static i32 leaderof(i32* leaders, i32 node)
{
    while (leaders[node] != node) {
        leaders[node] = leaders[leaders[node]]; // halves the path
        node = leaders[node];
    }
    return node;
}

static i32* newleaders(i32 n)
{
    i32* const leaders = static_cast<i32*>(std::malloc(static_cast<size_t>(n + 1) * sizeof(i32)));
    for (i32 i = n - 1; i >= 0; i--) {
        leaders[i] = i;
    }
    return leaders;
}

// Deletes all edges of the list from the graph. Of a doubled edge only the pair that comes last in
// the list counts, since its deletion takes all of them; the others become -1.
static void dropedges(FlatGraph* graph, i32* pairs, i32 n)
{
    for (i32 i = n - 1; i >= 0; i--) {
        if (!FlatGraph_unjoin(graph, pairs[2 * i], pairs[2 * i + 1])) {
            pairs[2 * i] = -1;
        }
    }
}

void makemaze_spanning(Maze* maze)
{
    i32 n = 0;
    i32* const pairs = shufflededges(maze, &n);
    FlatGraph tree;
    FlatGraph_init(&tree, maze);
    dropedges(&tree, pairs, n);
    i32* const leaders = newleaders(Maze_count(maze));
    // Deleting from the last pair on whatever isn't needed leaves the same edges as adding from the
    // first on whatever joins two parts, so this loop runs forward.
    for (i32 i = 0; i < n; i++) {
        if (pairs[2 * i] < 0) {
            continue;
        }
        const i32 first = leaderof(leaders, pairs[2 * i]);
        const i32 second = leaderof(leaders, pairs[2 * i + 1]);
        if (first != second) {
            leaders[first] = second;
            FlatGraph_join(&tree, pairs[2 * i], pairs[2 * i + 1]);
        }
    }
    std::free(leaders);
    std::free(pairs);
    keepedges(maze, &tree);
    FlatGraph_free(&tree);
}

static bool anyend(const FlatGraph* graph, const i32* pair)
{
    return graph->nodes[pair[0]].nedges <= 2 || graph->nodes[pair[1]].nedges <= 2;
}

static bool bothends(const FlatGraph* graph, const i32* pair)
{
    return graph->nodes[pair[0]].nedges + graph->nodes[pair[1]].nedges <= 4;
}

// Exchanges the last of `r` pairs at random while the ends of the pair there are `poor` in edges.
static void avoid(const FlatGraph* graph, i32* pairs, i32 r,
                  bool (*poor)(const FlatGraph*, const i32*))
{
    for (i32 tries = 0; tries < SEARCH_TRIES && poor(graph, pairs + 2 * (r - 1)); tries++) {
        swappairs(pairs, r - 1, irand(r));
    }
}

void makemaze_corridors(Maze* maze)
{
    i32 n = 0;
    i32* const pairs = shufflededges(maze, &n);
    FlatGraph tree;
    FlatGraph_init(&tree, maze);
    for (i32 r = n; r >= 1; r--) {
        avoid(&tree, pairs, r, anyend);
        avoid(&tree, pairs, r, bothends);
        const i32 a = pairs[2 * (r - 1)];
        const i32 b = pairs[2 * (r - 1) + 1];
        FlatGraph_unjoin(&tree, a, b);
        if (!FlatGraph_connected(&tree, a, b)) {
            FlatGraph_join(&tree, a, b);
        }
    }
    std::free(pairs);
    keepedges(maze, &tree);
    FlatGraph_free(&tree);
}

// Thins copies of `full` into `out` until one is usable. Whether one was.
static bool thinnedgraph(FlatGraph* out, const FlatGraph* full, f64 keep, i32 ports)
{
    for (i32 tries = 0; tries < THRESHOLD_TRIES; tries++) {
        FlatGraph_copy(out, full);
        FlatGraph_thin(out, keep);
        if (FlatGraph_usable(out, ports)) {
            return true;
        }
    }
    return false;
}

// Bisects the probability of keeping an edge; `best`, full at first, becomes the last usable graph.
static void findthreshold(FlatGraph* best, FlatGraph* attempt, const FlatGraph* full, i32 ports)
{
    f64 low = 0.0;
    f64 high = 1.0;
    for (;;) {
        const f64 keep = (low + high) * 0.5;
        if (thinnedgraph(attempt, full, keep, ports)) {
            std::swap(*best, *attempt);
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
    FlatGraph full;
    FlatGraph best;
    FlatGraph attempt;
    FlatGraph_init(&full, maze);
    FlatGraph_init(&best, maze);
    FlatGraph_init(&attempt, maze);
    FlatGraph_thin(&best, 1.0); // deletes nothing, but makes its draws
    findthreshold(&best, &attempt, &full, Maze_ports(maze));
    keepedges(maze, &best);
    FlatGraph_free(&attempt);
    FlatGraph_free(&best);
    FlatGraph_free(&full);
    Maze_dropisolated(maze);
}
