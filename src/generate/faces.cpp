#include "generate/faces.h"

#include <bit>
#include <cstring>

enum { FACES_MAXREFUSED = 64 };

// Edges are numbered at their lower ends.
static i32 edgebetween(const Faces* faces, i32 a, i32 b)
{
    const i32 low = a < b ? a : b;
    const i32 high = a < b ? b : a;
    return faces->numbers[low][std::countr_zero(FlatGraph_slots(faces->graph, low, high))];
}

static void numberedges(Faces* faces)
{
    const FlatGraph* const graph = faces->graph;
    i32 n = 0;
    for (i32 i = graph->count - 1; i >= 0; i--) {
        u32 higher = 0;
        for (i32 slot = graph->nedges[i] - 1; slot >= 0; slot--) {
            const bool up = graph->edges[i][slot] > i;
            higher |= static_cast<u32>(up ? 1 : 0) << slot;
            faces->numbers[i][slot] = n;
            n += up ? 1 : 0;
        }
        faces->higher[i] = static_cast<u8>(higher);
    }
}

// Makes a face of four edges, if each has a side free. Whether they have.
static bool addface(Faces* faces, const i32 edges[4])
{
    for (i32 i = 3; i >= 0; i--) {
        if (faces->sides[edges[i]][1] != 0) {
            return false;
        }
    }
    for (i32 i = 3; i >= 0; i--) {
        i32* const sides = faces->sides[edges[i]];
        sides[sides[0] != 0 ? 1 : 0] = faces->nsides;
    }
    faces->nsides++;
    return true;
}

// Adds the squares whose lowest node is a, and in which it is joined to b and c. Returns the number
// of those that would be a third on one of their edges.
static i32 addsquares(Faces* faces, i32 a, i32 bslot, i32 cslot)
{
    i32 refused = 0;
    const FlatGraph* const graph = faces->graph;
    const i32 b = graph->edges[a][bslot];
    const i32 c = graph->edges[a][cslot];
    for (i32 slot = graph->nedges[b] - 1; slot >= 0; slot--) {
        const i32 d = graph->edges[b][slot];
        if (d > a && d != b && d != c && FlatGraph_slots(graph, c, d) != 0) {
            const i32 edges[4] = {faces->numbers[a][bslot], faces->numbers[a][cslot],
                                  d > b ? faces->numbers[b][slot] : edgebetween(faces, d, b),
                                  edgebetween(faces, c, d)};
            refused += addface(faces, edges) ? 0 : 1;
        }
    }
    return refused;
}

// False if the squares are too many to lie on a surface.
static bool findsquares(Faces* faces)
{
    i32 refused = 0;
    const FlatGraph* const graph = faces->graph;
    for (i32 i = graph->count - 1; i >= 0 && refused <= FACES_MAXREFUSED; i--) {
        for (u32 bits = faces->higher[i]; bits != 0; bits &= bits - 1) {
            for (u32 others = bits & (bits - 1); others != 0; others &= others - 1) {
                refused += addsquares(faces, i, std::countr_zero(bits), std::countr_zero(others));
            }
        }
    }
    return refused <= FACES_MAXREFUSED;
}

static i32 leaderof(i32* leaders, i32 node)
{
    while (leaders[node] != node) {
        leaders[node] = leaders[leaders[node]]; // halves the path
        node = leaders[node];
    }
    return node;
}

static void resetleaders(i32* leaders, i32 n)
{
    for (i32 i = n - 1; i >= 0; i--) {
        leaders[i] = i;
    }
}

// Whether two sets were different. They are one afterwards.
static bool unite(i32* leaders, i32 a, i32 b)
{
    const i32 first = leaderof(leaders, a);
    const i32 second = leaderof(leaders, b);
    leaders[first] = second;
    return first != second;
}

enum EdgeRole : u8 { BETWEEN_FACES, TREE, RING };

struct Missing {
    u8* roles; // of each edge: EdgeRole
    i32* from; // of each node: the one before it on the way from the start of a search, or -1
    i32* queue;
    i32 count;
    EdgePair edges[FACES_MAXMISSING]; // each closes one missing cycle with the tree
};

// Parts the edges into those that a forest of the faces takes, which could all be deleted; a forest
// of the others; and the rest, of which each closes a cycle that the faces lack.
static bool partedges(Faces* faces, Missing* missing, i32* parts)
{
    const FlatGraph* const graph = faces->graph;
    for (i32 i = graph->count - 1; i >= 0; i--) {
        for (u32 bits = faces->higher[i]; bits != 0; bits &= bits - 1) {
            const i32 slot = std::countr_zero(bits);
            const i32 edge = faces->numbers[i][slot];
            const i32* const sides = faces->sides[edge];
            if (unite(faces->leaders, sides[0], sides[1])) {
                missing->roles[edge] = BETWEEN_FACES;
                faces->left++;
            } else if (unite(parts, i, graph->edges[i][slot])) {
                missing->roles[edge] = TREE;
            } else if (missing->count < FACES_MAXMISSING) {
                missing->roles[edge] = RING;
                missing->edges[missing->count++] = {.a = i, .b = graph->edges[i][slot]};
                faces->left++;
            } else {
                return false;
            }
        }
    }
    return true;
}

// Fills `from` for all nodes that the tree joins to `start`.
static void searchtree(const Faces* faces, const Missing* missing, i32 start)
{
    const FlatGraph* const graph = faces->graph;
    std::memset(missing->from, 0xFF, static_cast<size_t>(graph->count) * sizeof(i32));
    i32 tail = 0;
    missing->from[start] = start;
    missing->queue[tail++] = start;
    for (i32 head = 0; head < tail; head++) { // breadth first
        const i32 node = missing->queue[head];
        for (i32 slot = graph->nedges[node] - 1; slot >= 0; slot--) {
            const i32 target = graph->edges[node][slot];
            if (target != node && missing->from[target] < 0 &&
                missing->roles[edgebetween(faces, node, target)] == TREE) {
                missing->from[target] = node;
                missing->queue[tail++] = target;
            }
        }
    }
}

// Gives the edges of each missing cycle its bit.
static void labelmissing(Faces* faces, Missing* missing, Scratch* scratch)
{
    if (missing->count > 0) {
        missing->from = Scratch_array<i32>(scratch, faces->graph->count);
        missing->queue = Scratch_array<i32>(scratch, faces->graph->count);
    }
    for (i32 i = missing->count - 1; i >= 0; i--) {
        const EdgePair ring = missing->edges[i];
        const u32 bit = 1U << i;
        faces->labels[edgebetween(faces, ring.a, ring.b)] = static_cast<u8>(bit);
        searchtree(faces, missing, ring.a);
        for (i32 node = ring.b; node != ring.a; node = missing->from[node]) {
            u8* const label = faces->labels + edgebetween(faces, node, missing->from[node]);
            *label = static_cast<u8>(*label | bit);
        }
    }
}

bool Faces_init(Faces* out, const FlatGraph* graph, Scratch* scratch)
{
    const i32 n = graph->count;
    const i32 edges = graph->npairs;
    *out = {.graph = graph,
            .higher = Scratch_array<u8>(scratch, n),
            .numbers = Scratch_array<i32[MAZE_MAXEDGES]>(scratch, n),
            .sides = Scratch_array<i32[2]>(scratch, edges),
            .labels = Scratch_array<u8>(scratch, edges),
            .nsides = 1,
            .leaders = nullptr,
            .offsets = nullptr,
            .rings = {},
            .left = 0};
    std::memset(out->sides, 0, static_cast<size_t>(edges) * sizeof out->sides[0]);
    std::memset(out->labels, 0, static_cast<size_t>(edges));
    numberedges(out);
    // there are at least edges - n + 1 cycles
    if (!findsquares(out) || edges - n + 1 > out->nsides - 1 + FACES_MAXMISSING) {
        return false;
    }
    out->leaders = Scratch_array<i32>(scratch, out->nsides);
    out->offsets = Scratch_array<u8>(scratch, out->nsides);
    std::memset(out->offsets, 0, static_cast<size_t>(out->nsides));
    resetleaders(out->leaders, out->nsides);
    i32* const parts = Scratch_array<i32>(scratch, n);
    resetleaders(parts, n);
    Missing missing = {};
    missing.roles = Scratch_array<u8>(scratch, edges);
    if (!partedges(out, &missing, parts)) {
        return false;
    }
    labelmissing(out, &missing, scratch);
    resetleaders(out->leaders, out->nsides);
    return true;
}

// The leader of a side's region; `label` receives that of the way there too.
static i32 regionof(Faces* faces, i32 side, u32* label)
{
    i32* const leaders = faces->leaders;
    u8* const offsets = faces->offsets;
    while (leaders[side] != side) {
        const i32 next = leaders[side];
        offsets[side] = static_cast<u8>(offsets[side] ^ offsets[next]); // that of a leader is 0
        leaders[side] = leaders[next];                                  // halves the path
        *label ^= offsets[side];
        side = leaders[side];
    }
    return side;
}

// Whether a ring's label is no sum of those of earlier rings, to which it is added then.
static bool newring(Faces* faces, u32 label)
{
    while (label != 0) {
        u8* const ring = faces->rings + std::bit_width(label) - 1;
        if (*ring == 0) {
            *ring = static_cast<u8>(label);
            return true;
        }
        label ^= *ring;
    }
    return false;
}

bool Faces_delete(Faces* faces, i32 a, i32 b)
{
    const i32 edge = edgebetween(faces, a, b);
    u32 label = faces->labels[edge];
    const i32 first = regionof(faces, faces->sides[edge][0], &label);
    const i32 second = regionof(faces, faces->sides[edge][1], &label);
    if (first != second) {
        faces->leaders[first] = second;
        faces->offsets[first] = static_cast<u8>(label);
    } else if (!newring(faces, label)) {
        return false;
    }
    faces->left--;
    return true;
}
