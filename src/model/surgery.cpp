#include "model/surgery.h"

#include "base/vec3.h"
#include "model/attachment.h"
#include "model/connect.h"
#include "model/drawsphere.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

static constexpr f64 most_move = 1e30;
static constexpr f64 spring_strength = 0.1;
static constexpr f64 repel_share = 0.1;

enum { REPEL_BLOCK = 256 };

// Whether a move is small enough to be taken; one that isn't a number is not.
static bool taken(const f64 move[3])
{
    return std::fabs(move[0]) < most_move && std::fabs(move[1]) < most_move &&
           std::fabs(move[2]) < most_move;
}

// Moves a node, with its submaze.
static void movenode(MazeNode* node, const f64 move[3])
{
    if (!taken(move)) {
        return;
    }
    for (i32 k = 2; k >= 0; k--) {
        node->pos[k] += move[k];
    }
    if (node->sub != nullptr) {
        Maze_translate(node->sub, move, true);
    }
}

static void movenodes(Maze* maze, const f64 (*moves)[3])
{
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        movenode(Maze_node(maze, i), moves[i]);
    }
    Maze_drawsphere_stale(maze, false);
}

using Vector = f64[3];

static Vector* newvectors(const Maze* maze)
{
    return static_cast<Vector*>(std::calloc(maze->nodes.count + size_t{1}, sizeof(Vector)));
}

// Owned: `strength` times the sum of the ways to the neighbours, for each node.
static Vector* pulls(const Maze* maze, f64 strength)
{
    Vector* const moves = newvectors(maze);
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        const MazeNode* const node = Maze_node(maze, i);
        f64* const move = moves[i];
        for (i32 j = static_cast<i32>(node->nedges) - 1; j >= 0; j--) {
            f64 way[3];
            vec3_sub(way, Maze_node(maze, node->edges[j])->pos, node->pos);
            for (i32 k = 2; k >= 0; k--) {
                move[k] += way[k];
            }
        }
        for (i32 k = 2; k >= 0; k--) {
            move[k] *= strength;
        }
    }
    return moves;
}

void Maze_simplify(Maze* maze, f64 strength)
{
    Vector* const moves = pulls(maze, strength);
    movenodes(maze, moves);
    std::free(moves);
}

void Maze_spring(Maze* maze)
{
    Maze_simplify(maze, spring_strength);
}

// The size that a level has once its nodes have moved.
static f64 extentafter(const Maze* maze, const Vector* moves)
{
    const i32 n = Maze_count(maze);
    Vector* const places = newvectors(maze);
    f64 mean[3] = {0.0, 0.0, 0.0};
    for (i32 i = n - 1; i >= 0; i--) {
        const bool moved = taken(moves[i]);
        for (i32 k = 2; k >= 0; k--) {
            places[i][k] = Maze_node(maze, i)->pos[k] + (moved ? moves[i][k] : 0.0);
            mean[k] += places[i][k];
        }
    }
    for (i32 k = 2; k >= 0; k--) {
        mean[k] *= 1.0 / n;
    }
    f64 extent = 0.0;
    for (i32 i = n - 1; i >= 0; i--) {
        f64 d[3];
        vec3_sub(d, places[i], mean);
        const f64 reach = vec3_length(d) + Maze_node(maze, i)->radius;
        if (!(reach <= extent)) { // what isn't a number is no size to be held
            extent = reach;
        }
    }
    std::free(places);
    return extent;
}

f64 Maze_extent(const Maze* maze)
{
    Vector* const still = newvectors(maze);
    const f64 extent = extentafter(maze, still);
    std::free(still);
    return extent;
}

bool Maze_simplify_within(Maze* maze, f64 strength, f64 most)
{
    Vector* const moves = pulls(maze, strength);
    const f64 after = extentafter(maze, moves);
    const bool fits = after <= most || after <= Maze_extent(maze);
    if (fits) {
        movenodes(maze, moves);
    }
    std::free(moves);
    return fits;
}

// The nodes of a level, component by component: places and the forces on them.
struct Crowd {
    f64* place[3];
    f64* force[3];
};

// Forces between one node and a block of others, by component.
struct Forces {
    f64 x[REPEL_BLOCK];
    f64 y[REPEL_BLOCK];
    f64 z[REPEL_BLOCK];
};

// Works out the forces on the `n` nodes from `from` on by the node `high`. They don't depend on each
// other, so the order is the one that machines like.
static void blockforces(Forces* out, const Crowd* crowd, i32 high, i32 from, i32 n)
{
    const f64* const x = crowd->place[0] + from;
    const f64* const y = crowd->place[1] + from;
    const f64* const z = crowd->place[2] + from;
    const f64 hx = crowd->place[0][high];
    const f64 hy = crowd->place[1][high];
    const f64 hz = crowd->place[2][high];
    for (i32 i = 0; i < n; i++) {
        const f64 dx = x[i] - hx;
        const f64 dy = y[i] - hy;
        const f64 dz = z[i] - hz;
        const f64 s = dx * dx + dy * dy + dz * dz;
        const f64 q = s * s > 0.0 ? s * s : HUGE_VAL; // no force on one spot
        out->x[i] = dx / q;
        out->y[i] = dy / q;
        out->z[i] = dz / q;
    }
}

// Adds them to the block and takes them from the node `high`, from the last of the block down, as
// order is part of a sum.
static void addforces(const Crowd* crowd, const Forces* forces, i32 high, i32 from, i32 n)
{
    f64 x = crowd->force[0][high];
    f64 y = crowd->force[1][high];
    f64 z = crowd->force[2][high];
    for (i32 i = n - 1; i >= 0; i--) {
        crowd->force[0][from + i] += forces->x[i];
        crowd->force[1][from + i] += forces->y[i];
        crowd->force[2][from + i] += forces->z[i];
        x -= forces->x[i];
        y -= forces->y[i];
        z -= forces->z[i];
    }
    crowd->force[0][high] = x;
    crowd->force[1][high] = y;
    crowd->force[2][high] = z;
}

static void crowdforces(const Crowd* crowd, i32 n)
{
    Forces forces;
    for (i32 high = n - 1; high >= 1; high--) {
        for (i32 to = high; to > 0; to -= REPEL_BLOCK) {
            const i32 from = to > REPEL_BLOCK ? to - REPEL_BLOCK : 0;
            blockforces(&forces, crowd, high, from, to - from);
            addforces(crowd, &forces, high, from, to - from);
        }
    }
}

void Maze_repel(Maze* maze)
{
    const i32 n = Maze_count(maze);
    f64* const block = static_cast<f64*>(std::calloc(static_cast<size_t>(n) * 6 + 1, sizeof(f64)));
    Crowd crowd;
    for (i32 k = 2; k >= 0; k--) {
        crowd.place[k] = block + static_cast<size_t>(n) * static_cast<size_t>(k);
        crowd.force[k] = crowd.place[k] + static_cast<size_t>(n) * 3;
        for (i32 i = n - 1; i >= 0; i--) {
            crowd.place[k][i] = Maze_node(maze, i)->pos[k];
        }
    }
    crowdforces(&crowd, n);
    for (i32 i = n - 1; i >= 0; i--) {
        const f64 move[3] = {repel_share * crowd.force[0][i], repel_share * crowd.force[1][i],
                             repel_share * crowd.force[2][i]};
        movenode(Maze_node(maze, i), move);
    }
    Maze_drawsphere_stale(maze, false);
    std::free(block);
}

// The edges that a node had before a change of the graph.
struct OldEdges {
    i32 node;
    i32 count;
    i32 edges[MAZE_MAXEDGES];
};

static OldEdges oldedges(const Maze* maze, i32 n)
{
    const MazeNode* const node = Maze_node(maze, n);
    OldEdges old = {.node = n, .count = static_cast<i32>(node->nedges), .edges = {}};
    std::memcpy(old.edges, node->edges, sizeof old.edges);
    return old;
}

// Which node of a submaze becomes which port.
struct Fitting {
    Maze* sub;
    i32 count;                 // ports wanted
    i32 source[MAZE_MAXEDGES]; // the node that becomes the port, -1 while there is none
    u8* reached;               // owned, of the first `known` nodes, or null: not looked yet
    i32 known;
};

static bool chosen(const Fitting* fitting, i32 n)
{
    i32 i = fitting->count - 1;
    while (i >= 0 && fitting->source[i] != n) {
        i--;
    }
    return i >= 0;
}

// A port stays with its edge. Of two edges to one neighbour each has a port of its own.
static void keepports(Fitting* fitting, const OldEdges* old)
{
    const MazeNode* const holder = Maze_parentnode(fitting->sub);
    for (i32 i = fitting->count - 1; i >= 0; i--) {
        fitting->source[i] = -1;
    }
    for (i32 i = fitting->count - 1; i >= 0; i--) {
        i32 slot = old->count - 1;
        while (slot >= 0 && (old->edges[slot] != holder->edges[i] || chosen(fitting, slot))) {
            slot--;
        }
        fitting->source[i] = slot;
    }
}

// A new edge takes the port of one that is gone.
static void reuseports(Fitting* fitting, i32 oldcount)
{
    for (i32 i = 0; i < fitting->count; i++) { // the lowest first, as ports are given out
        i32 slot = 0;
        while (fitting->source[i] < 0 && slot < oldcount && chosen(fitting, slot)) {
            slot++;
        }
        if (fitting->source[i] < 0 && slot < oldcount) {
            fitting->source[i] = slot;
        }
    }
}

// Whether a node hangs together with node 0 and holds no submaze.
static bool open(const Fitting* fitting, i32 n)
{
    return fitting->reached[n] != 0 && Maze_node(fitting->sub, n)->sub == nullptr;
}

// The open node behind the old ports that is nearest to a place, -1 if there is none.
static i32 nearestopen(const Fitting* fitting, i32 oldcount, const f64 place[3])
{
    f64 best = 0.0; // a squared distance
    i32 found = -1;
    for (i32 i = fitting->known - 1; i >= oldcount; i--) {
        if (!open(fitting, i) || chosen(fitting, i)) {
            continue;
        }
        f64 d[3];
        vec3_sub(d, Maze_node(fitting->sub, i)->pos, place);
        const f64 dist = vec3_dot(d, d);
        if (found < 0 || dist < best) {
            best = dist;
            found = i;
        }
    }
    return found;
}

static i32 addport(const Fitting* fitting)
{
    Maze* const sub = fitting->sub;
    i32 beside = 0;
    while (beside < fitting->known &&
           !(open(fitting, beside) && Maze_node(sub, beside)->nedges < MAZE_MAXEDGES)) {
        beside++;
    }
    const bool room = beside < fitting->known;
    const MazeNode* const model = Maze_node(sub, room ? beside : 0);
    f64 v[3];
    vec3_random_sphere(v, 1.0);
    MazeNode node = MazeNode_fresh(model->pos[0] + v[0], model->pos[1] + v[1], model->pos[2] + v[2],
                                   model->radius);
    node.rec.colour = model->rec.colour;
    const i32 n = Maze_addnode(sub, &node);
    if (room) {
        Maze_join(sub, n, beside);
    }
    return n;
}

static void newports(Fitting* fitting, i32 oldcount)
{
    Maze* const sub = fitting->sub;
    for (i32 i = 0; i < fitting->count; i++) { // an earlier edge has the first pick
        if (fitting->source[i] >= 0) {
            continue;
        }
        if (fitting->reached == nullptr) {
            fitting->known = Maze_count(sub);
            fitting->reached = Maze_reachable(sub, 0);
        }
        const i32 neighbour = Maze_parentnode(sub)->edges[i];
        fitting->source[i] = nearestopen(fitting, oldcount, Maze_node(sub->parent, neighbour)->pos);
        if (fitting->source[i] < 0) {
            fitting->source[i] = addport(fitting);
        }
    }
    std::free(fitting->reached);
}

// Bits of `exitsused` stay with the ports that have kept their edges.
static void fitexitsused(const Fitting* fitting, const OldEdges* old)
{
    const MazeNode* const holder = Maze_parentnode(fitting->sub);
    u32 used = 0;
    for (i32 i = fitting->count - 1; i >= 0; i--) {
        const i32 slot = fitting->source[i];
        if (slot < old->count && old->edges[slot] == holder->edges[i]) {
            used |= (fitting->sub->exitsused >> slot & 1U) << i;
        }
    }
    if (used != fitting->sub->exitsused) {
        fitting->sub->exitsused = used;
        Maze_freeflags(fitting->sub, ATT_EXITS, false);
    }
}

// Fits the ports of a node's submaze, if it has one, to its edges, which have changed.
static void fitports(Maze* maze, const OldEdges* old)
{
    Maze* const sub = Maze_node(maze, old->node)->sub;
    if (sub == nullptr) {
        return;
    }
    Fitting fitting = {
        .sub = sub, .count = Maze_ports(sub), .source = {}, .reached = nullptr, .known = 0};
    keepports(&fitting, old);
    reuseports(&fitting, old->count);
    newports(&fitting, old->count);
    fitexitsused(&fitting, old);
    for (i32 i = 0; i < fitting.count; i++) { // from port 0 on, each in its place for good
        const i32 from = fitting.source[i];
        if (from == i) {
            continue;
        }
        Maze_swapnodes(sub, i, from);
        for (i32 j = fitting.count - 1; j > i; j--) { // what stood at i stands where the port was
            fitting.source[j] = fitting.source[j] == i ? from : fitting.source[j];
        }
    }
    Maze_drawsphere_stale(sub, false);
}

void Maze_joinfitted(Maze* maze, i32 a, i32 b)
{
    const OldEdges olda = oldedges(maze, a);
    const OldEdges oldb = oldedges(maze, b);
    Maze_join(maze, a, b);
    fitports(maze, &olda);
    fitports(maze, &oldb);
}

bool Maze_joined(const Maze* maze, i32 a, i32 b)
{
    const MazeNode* const node = Maze_node(maze, a);
    i32 i = static_cast<i32>(node->nedges) - 1;
    while (i >= 0 && node->edges[i] != b) {
        i--;
    }
    return i >= 0;
}

static void colouredge(Maze* maze, i32 from, i32 to, u32 colour)
{
    MazeNode* const node = Maze_node(maze, from);
    for (i32 i = static_cast<i32>(node->nedges) - 1; i >= 0; i--) {
        if (node->edges[i] == to) {
            node->edgerec[i].colour = colour;
        }
    }
    node->rec.colour = colour;
}

// Gives node a the edges of node b, which keeps them; submazes are not told.
static void copyedges(Maze* maze, i32 a, i32 b)
{
    const MazeNode* const node = Maze_node(maze, b);
    for (i32 i = static_cast<i32>(node->nedges) - 1; i >= 0; i--) {
        const i32 w = node->edges[i];
        if (w == a || Maze_joined(maze, a, w) || Maze_node(maze, a)->nedges >= MAZE_MAXEDGES) {
            continue;
        }
        Maze_join(maze, a, w);
        const u32 colour = node->edgerec[i].colour;
        colouredge(maze, a, w, colour);
        colouredge(maze, w, a, colour);
    }
}

static void cutedges(Maze* maze, i32 n)
{
    const MazeNode* const node = Maze_node(maze, n);
    for (i32 i = static_cast<i32>(node->nedges) - 1; i >= 0; i--) {
        if (i < static_cast<i32>(node->nedges)) { // a doubled edge has emptied more than one slot
            Maze_unjoin(maze, n, node->edges[i], false);
        }
    }
}

// Whether a doubled edge has the same neighbour in a higher slot.
static bool listedabove(const OldEdges* old, i32 slot)
{
    i32 i = old->count - 1;
    while (i > slot && old->edges[i] != old->edges[slot]) {
        i--;
    }
    return i > slot;
}

void Maze_absorb(Maze* maze, i32 a, i32 b, bool remove)
{
    if (a == b) {
        return;
    }
    const OldEdges oldb = oldedges(maze, b);
    const OldEdges olda = oldedges(maze, a);
    OldEdges beside[MAZE_MAXEDGES];
    for (i32 i = oldb.count - 1; i >= 0; i--) {
        beside[i] = oldedges(maze, oldb.edges[i]);
    }
    copyedges(maze, a, b);
    cutedges(maze, b);
    fitports(maze, &olda);
    fitports(maze, &oldb);
    for (i32 i = oldb.count - 1; i >= 0; i--) {
        if (beside[i].node != a && !listedabove(&oldb, i)) {
            fitports(maze, &beside[i]);
        }
    }
    if (remove) {
        maze->visitednodes -= Maze_node(maze, b)->rec.walked >= 0.0 ? 1 : 0;
        Maze_delnode(maze, b, true);
    }
}

// Whether other levels hang on a node: on a port the level above, on a holder its submaze.
static bool tied(const Maze* maze, i32 n)
{
    return n < Maze_ports(maze) || Maze_node(maze, n)->sub != nullptr;
}

// The neighbour that node i is merged with, -1 if there is none.
static i32 partner(const Maze* maze, i32 i, u32 k)
{
    const MazeNode* const node = Maze_node(maze, i);
    const bool fixed = tied(maze, i);
    for (i32 j = static_cast<i32>(node->nedges) - 1; j >= 0; j--) {
        const i32 w = node->edges[j];
        const bool few = node->nedges <= k || Maze_node(maze, w)->nedges <= k;
        if (few && !(fixed && tied(maze, w))) {
            return w;
        }
    }
    return -1;
}

// The first node takes the edges of the second, and a place in the middle of both.
static void merge(Maze* maze, i32 stays, i32 goes)
{
    MazeNode* const node = Maze_node(maze, stays);
    const MazeNode* const other = Maze_node(maze, goes);
    f64 middle[3];
    for (i32 k = 2; k >= 0; k--) {
        middle[k] = node->pos[k] * 0.5 + other->pos[k] * 0.5; // halves first: the sum may overflow
    }
    f64 move[3];
    vec3_sub(move, middle, node->pos);
    if (taken(move)) {
        std::memcpy(node->pos, middle, sizeof node->pos);
        if (node->sub != nullptr) {
            Maze_translate(node->sub, move, true);
        }
    }
    Maze_drawsphere_stale(maze, false);
    Maze_absorb(maze, stays, goes, false);
}

void Maze_contract(Maze* maze, u32 k)
{
    for (i32 i = 0; i < Maze_count(maze);
         i++) { // a node that has gained edges isn't looked at again
        const i32 w = partner(maze, i, k);
        if (w >= 0 && tied(maze, w)) {
            merge(maze, w, i);
        } else if (w >= 0) {
            merge(maze, i, w);
        }
    }
}

Maze* Maze_clonemasked(const Maze* maze, const u8* keep)
{
    Maze* const clone = Maze_clone(maze, false);
    for (i32 i = Maze_count(clone) - 1; i >= 0; i--) {
        if (keep[i] == 0) {
            clone->visitednodes -= Maze_node(clone, i)->rec.walked >= 0.0 ? 1 : 0;
            Maze_delnode(clone, i, true);
        }
    }
    return clone;
}

Maze* Maze_clonereachable(const Maze* maze, i32 start)
{
    u8* const reached = Maze_reachable(maze, start);
    Maze* const clone = Maze_clonemasked(maze, reached);
    std::free(reached);
    return clone;
}
