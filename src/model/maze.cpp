#include "model/maze.h"

#include "base/str.h"
#include "base/vec3.h"
#include "model/attachment.h"
#include "model/drawsphere.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

VisitRec VisitRec_fresh()
{
    return {.colour = COLOUR_DEFAULT, .walked = -1.0, .trailed = -1.0};
}

MazeNode MazeNode_fresh(f64 x, f64 y, f64 z, f64 radius)
{
    MazeNode node = {};
    node.pos[0] = x;
    node.pos[1] = y;
    node.pos[2] = z;
    node.radius = radius;
    node.rec = VisitRec_fresh();
    return node;
}

Maze* Maze_new()
{
    Maze* const maze = static_cast<Maze*>(std::calloc(1, sizeof(Maze)));
    GrowArray_init(&maze->nodes, sizeof(MazeNode));
    GrowArray_init(&maze->attachments, sizeof(Attachment));
    maze->boundradius = 1e20;
    maze->drawradius = DRAWSPHERE_STALE;
    return maze;
}

void Maze_free(Maze* maze, bool recursive)
{
    for (i32 i = recursive ? Maze_count(maze) - 1 : -1; i >= 0; i--) {
        Maze* const sub = Maze_node(maze, i)->sub;
        if (sub != nullptr) {
            Maze_free(sub, true);
        }
    }
    GrowArray_free(&maze->nodes);
    std::free(maze->name);
    maze->name = nullptr;
    Maze_detachall(maze, false); // after the nodes: a destructor may read no more than their count
    GrowArray_free(&maze->attachments);
    std::free(maze);
}

static void copynodes(GrowArray* out, const GrowArray* source)
{
    out->backptr = nullptr;
    out->buf =
        static_cast<u8*>(std::malloc(static_cast<size_t>(source->capacity) * source->elemsize + 1));
    std::memcpy(out->buf, source->buf, static_cast<size_t>(source->count) * source->elemsize);
}

static void clonesub(Maze* copy, i32 n)
{
    MazeNode* const node = Maze_node(copy, n);
    if (node->sub != nullptr) {
        node->sub = Maze_clone(node->sub, true);
        node->sub->parent = copy;
        node->sub->parentnode = n;
    }
}

Maze* Maze_clone(const Maze* maze, bool recursive)
{
    Maze* const copy = static_cast<Maze*>(std::malloc(sizeof(Maze)));
    *copy = *maze;
    copynodes(&copy->nodes, &maze->nodes);
    for (i32 i = Maze_count(copy) - 1; i >= 0; i--) {
        if (recursive) {
            clonesub(copy, i);
        } else {
            Maze_node(copy, i)->sub = nullptr;
        }
    }
    if (maze->name != nullptr) {
        str_new(&copy->name, maze->name);
    }
    GrowArray_init(&copy->attachments, sizeof(Attachment));
    copy->drawradius = DRAWSPHERE_STALE;
    return copy;
}

i32 Maze_append(Maze* maze, const Maze* b)
{
    const i32 first = Maze_count(maze);
    GrowArray_append(&maze->nodes, b->nodes.buf, b->nodes.count);
    for (i32 i = Maze_count(maze) - 1; i >= first; i--) {
        MazeNode* const node = Maze_node(maze, i);
        for (i32 j = static_cast<i32>(node->nedges) - 1; j >= 0; j--) {
            node->edges[j] += first;
        }
        clonesub(maze, i);
    }
    Maze_drawsphere_stale(maze, false);
    return first;
}

Maze* Maze_merged(const Maze* a, const Maze* b)
{
    Maze* const maze = Maze_clone(a, true);
    Maze_append(maze, b);
    return maze;
}

i32 Maze_addnode(Maze* maze, const MazeNode* node)
{
    Maze_drawsphere_stale(maze, false);
    return static_cast<i32>(GrowArray_push(&maze->nodes, node));
}

static void appendedge(MazeNode* node, i32 target)
{
    if (node->nedges < MAZE_MAXEDGES) {
        node->edges[node->nedges] = target;
        node->edgerec[node->nedges] = VisitRec_fresh();
        node->nedges++;
    }
}

void Maze_join(Maze* maze, i32 a, i32 b)
{
    MazeNode* const na = Maze_node(maze, a);
    MazeNode* const nb = Maze_node(maze, b);
    if (na->nedges >= MAZE_MAXEDGES || nb->nedges >= MAZE_MAXEDGES) {
        return;
    }
    appendedge(na, b);
    appendedge(nb, a); // counts again: a self-join may have filled the node
    // sticks run between two submazes only; those that end on a level's own nodes change no sphere
    if (na->sub != nullptr && nb->sub != nullptr) {
        Maze_drawsphere_stale(na->sub, false);
        Maze_drawsphere_stale(nb->sub, false);
    }
}

static void removeedges(Maze* maze, i32 a, i32 b, bool syncports)
{
    MazeNode* const node = Maze_node(maze, a);
    for (i32 i = static_cast<i32>(node->nedges) - 1; i >= 0; i--) {
        if (node->edges[i] != b) {
            continue;
        }
        node->nedges--;
        const i32 last = static_cast<i32>(node->nedges);
        node->edges[i] = node->edges[last];
        node->edgerec[i] = node->edgerec[last];
        if (syncports && node->sub != nullptr && i != last) {
            Maze_swapnodes(node->sub, i, last);
        }
    }
}

static void stalesub(const MazeNode* node)
{
    if (node->sub != nullptr) {
        Maze_drawsphere_stale(node->sub, false);
    }
}

void Maze_unjoin(Maze* maze, i32 a, i32 b, bool syncports)
{
    removeedges(maze, a, b, syncports);
    removeedges(maze, b, a, syncports);
    stalesub(Maze_node(maze, a));
    stalesub(Maze_node(maze, b));
}

static constexpr u32 renamed = 0x80000000U; // mark of a slot that Maze_swapnodes has changed

static void renameslots(MazeNode* node, i32 a, i32 b)
{
    for (i32 i = static_cast<i32>(node->nedges) - 1; i >= 0; i--) {
        if (node->edges[i] == a) {
            node->edges[i] = static_cast<i32>(static_cast<u32>(b) | renamed);
        } else if (node->edges[i] == b) {
            node->edges[i] = static_cast<i32>(static_cast<u32>(a) | renamed);
        }
    }
}

static void clearmarks(MazeNode* node)
{
    for (i32 i = static_cast<i32>(node->nedges) - 1; i >= 0; i--) {
        node->edges[i] = static_cast<i32>(static_cast<u32>(node->edges[i]) & ~renamed);
    }
}

static void tellsub(Maze* maze, i32 n)
{
    Maze* const sub = Maze_node(maze, n)->sub;
    if (sub != nullptr) {
        sub->parent = maze;
        sub->parentnode = n;
    }
}

void Maze_swapnodes(Maze* maze, i32 a, i32 b)
{
    MazeNode* const na = Maze_node(maze, a);
    MazeNode* const nb = Maze_node(maze, b);
    i32 list[2 * MAZE_MAXEDGES];
    i32 count = 0;
    for (u32 i = 0; i < na->nedges; i++) { // a's first
        list[count++] = na->edges[i];
    }
    for (u32 i = 0; i < nb->nedges; i++) {
        list[count++] = nb->edges[i];
    }
    // the mark keeps a neighbour that is in the list twice from being changed back
    for (i32 i = count - 1; i >= 0; i--) {
        renameslots(Maze_node(maze, list[i]), a, b);
    }
    for (i32 i = count - 1; i >= 0; i--) {
        clearmarks(Maze_node(maze, list[i]));
    }
    const MazeNode old = *na;
    *na = *nb;
    *nb = old;
    tellsub(maze, a);
    tellsub(maze, b);
    Maze_drawsphere_stale(maze, false); // other nodes may be ports now
}

// The last node is about to take the number n: its neighbours are told.
static void renamelast(Maze* maze, i32 last, i32 n)
{
    const MazeNode* const node = Maze_node(maze, last);
    for (i32 i = static_cast<i32>(node->nedges) - 1; i >= 0; i--) {
        MazeNode* const neighbour = Maze_node(maze, node->edges[i]);
        for (i32 j = static_cast<i32>(neighbour->nedges) - 1; j >= 0; j--) {
            if (neighbour->edges[j] == last) {
                neighbour->edges[j] = n;
            }
        }
    }
}

void Maze_delnode(Maze* maze, i32 n, bool syncports)
{
    MazeNode* const node = Maze_node(maze, n);
    for (i32 i = static_cast<i32>(node->nedges) - 1; i >= 0; i--) {
        if (i < static_cast<i32>(node->nedges)) { // a doubled edge has emptied more than one slot
            Maze_unjoin(maze, n, node->edges[i], syncports);
        }
    }
    const i32 last = Maze_count(maze) - 1;
    if (last != n) {
        renamelast(maze, last, n);
        Maze* const moved = Maze_node(maze, last)->sub;
        if (syncports && moved != nullptr) {
            moved->parent = maze;
            moved->parentnode = n;
        }
    }
    if (syncports && node->sub != nullptr) {
        Maze_free(node->sub, true);
    }
    GrowArray_remove(&maze->nodes, static_cast<u32>(n));
    Maze_drawsphere_stale(maze, false);
}

void Maze_setcolour(Maze* maze, u32 colour)
{
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        MazeNode* const node = Maze_node(maze, i);
        node->rec.colour = colour;
        for (i32 j = static_cast<i32>(node->nedges) - 1; j >= 0; j--) {
            node->edgerec[j].colour = colour;
        }
    }
}

void Maze_scale(Maze* maze, f64 factor)
{
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        MazeNode* const node = Maze_node(maze, i);
        for (i32 k = 2; k >= 0; k--) {
            node->pos[k] *= factor;
        }
    }
    for (i32 k = 2; k >= 0; k--) {
        maze->centre[k] *= factor;
    }
    maze->boundradius *= factor;
    Maze_drawsphere_stale(maze, false);
}

void Maze_translate(Maze* maze, const f64 v[3], bool recursive)
{
    for (i32 k = 2; k >= 0; k--) {
        maze->centre[k] += v[k];
    }
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        MazeNode* const node = Maze_node(maze, i);
        for (i32 k = 2; k >= 0; k--) {
            node->pos[k] += v[k];
        }
        if (recursive && node->sub != nullptr) {
            Maze_translate(node->sub, v, true);
        }
    }
    Maze_drawsphere_stale(maze, false);
}

void Maze_rotate(Maze* maze, const f64 r[3])
{
    if (!(vec3_length(r) > 0.0)) {
        return;
    }
    f64 matrix[9];
    vec3_rotation(matrix, r);
    vec3_transform(maze->centre, matrix, maze->centre);
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        f64* const pos = Maze_node(maze, i)->pos;
        vec3_transform(pos, matrix, pos);
    }
    Maze_drawsphere_stale(maze, false);
}

void Maze_centroid(f64 out[3], const Maze* maze)
{
    f64 sum[3] = {0.0, 0.0, 0.0};
    const i32 n = Maze_count(maze);
    for (i32 i = n - 1; i >= 0; i--) {
        const f64* const pos = Maze_node(maze, i)->pos;
        sum[0] += pos[0];
        sum[1] += pos[1];
        sum[2] += pos[2];
    }
    const f64 share = 1.0 / n;
    out[0] = sum[0] * share;
    out[1] = sum[1] * share;
    out[2] = sum[2] * share;
}

static f64 farthest(const Maze* maze)
{
    f64 radius = 0.0;
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        const MazeNode* const node = Maze_node(maze, i);
        f64 d[3];
        vec3_sub(d, node->pos, maze->centre);
        const f64 reach = vec3_length(d) + node->radius;
        if (reach > radius) {
            radius = reach;
        }
    }
    return radius;
}

void Maze_bounds(Maze* maze, bool recursive)
{
    if (Maze_count(maze) == 0) {
        std::memset(maze->centre, 0, sizeof maze->centre);
        maze->boundradius = 0.0;
    } else {
        Maze_centroid(maze->centre, maze);
        maze->boundradius = farthest(maze);
    }
    Maze_drawsphere_stale(maze, false); // who moves nodes by hand comes here afterwards
    for (i32 i = recursive ? Maze_count(maze) - 1 : -1; i >= 0; i--) {
        Maze* const sub = Maze_node(maze, i)->sub;
        if (sub != nullptr) {
            Maze_bounds(sub, true);
        }
    }
}

i32 Maze_edgecount(const Maze* maze)
{
    u32 sum = 0;
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        sum += Maze_node(maze, i)->nedges;
    }
    return static_cast<i32>(sum / 2);
}

i32* Maze_edgelist(const Maze* maze, i32* count)
{
    // slots, not edges: a graph that isn't symmetric may list more pairs than it has edges
    size_t slots = 0;
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        slots += Maze_node(maze, i)->nedges;
    }
    i32* const list = static_cast<i32*>(std::malloc((slots + 1) * 2 * sizeof(i32)));
    i32 n = 0;
    for (i32 i = 0; i < Maze_count(maze); i++) { // the list rises in its first index
        const MazeNode* const node = Maze_node(maze, i);
        for (i32 j = static_cast<i32>(node->nedges) - 1; j >= 0; j--) {
            if (node->edges[j] > i) {
                list[2 * n] = i;
                list[2 * n + 1] = node->edges[j];
                n++;
            }
        }
    }
    *count = n;
    return list;
}

static const char* nameof(const Maze* maze)
{
    return maze != nullptr && maze->name != nullptr ? maze->name : "(null)";
}

static const void* addressof(const Maze* maze)
{
    return maze;
}

static i32 dumpedges(const MazeNode* node, i32 n, std::FILE* file)
{
    i32 status = 0;
    std::fprintf(file, "Node %d is joined to", n);
    for (u32 i = 0; i < node->nedges; i++) { // slot order
        std::fprintf(file, " %d", node->edges[i]);
    }
    std::fprintf(file, "\n");
    for (i32 i = 0; i < static_cast<i32>(node->nedges); i++) { // slot order
        if (node->edges[i] == n) {
            std::fprintf(file, "ERROR: node %d is joined to itself\n", n);
            std::fflush(file);
            status = 1;
        }
        for (i32 j = i - 1; j >= 0; j--) {
            if (node->edges[j] == node->edges[i]) {
                std::fprintf(file, "ERROR: node %d is joined to %d twice\n", n, node->edges[i]);
                std::fflush(file);
                status = 2;
            }
        }
    }
    return status;
}

static i32 dumpsub(const Maze* maze, i32 n, std::FILE* file)
{
    i32 status = 0;
    const MazeNode* const node = Maze_node(maze, n);
    const Maze* const sub = node->sub;
    std::fprintf(file, "Node %d has submaze %p'%s'\n", n, addressof(sub), nameof(sub));
    if (sub->parent != maze || sub->parentnode != n) {
        std::fprintf(file, "ERROR: submaze parent is %p'%s' node %d and not %p'%s' node %d\n",
                     addressof(sub->parent), nameof(sub->parent), sub->parentnode, addressof(maze),
                     nameof(maze), n);
        std::fflush(file);
        status = 101;
    }
    if (sub->nodes.count < node->nedges) {
        std::fprintf(file, "ERROR: submaze only has %d nodes but parent node has %d edges\n",
                     Maze_count(sub), static_cast<i32>(node->nedges));
        std::fflush(file);
        status = 102;
    }
    return status;
}

// Whether all that was written has reached the file.
static bool closewhole(std::FILE* file)
{
    const bool whole = std::ferror(file) == 0;
    return std::fclose(file) == 0 && whole;
}

// The file is closed while the submaze is dumped. Null if that fails or it can't be opened again.
static std::FILE* dumpdescent(const Maze* sub, const char* path, std::FILE* file)
{
    std::fprintf(file, "{\n");
    if (!closewhole(file) || Maze_dump(sub, path, "", MAZE_DUMP_DESCENT) < 0) {
        return nullptr;
    }
    std::FILE* const again = std::fopen(path, "a");
    if (again != nullptr) {
        std::fprintf(again, "}\n");
    }
    return again;
}

i32 Maze_dump(const Maze* maze, const char* path, const char* heading, MazeDumpMode mode)
{
    std::FILE* file = std::fopen(path, "a");
    if (file == nullptr) {
        return -1;
    }
    if (mode != MAZE_DUMP_DESCENT) {
        std::fprintf(file, "---------- %s\n", heading);
    }
    std::fprintf(file, "Maze %p'%s': %d nodes, parent is %p'%s'\n", addressof(maze), nameof(maze),
                 Maze_count(maze), addressof(maze->parent), nameof(maze->parent));
    i32 status = 0;
    for (i32 i = 0; i < Maze_count(maze) && file != nullptr; i++) { // reads from node 0 on
        const MazeNode* const node = Maze_node(maze, i);
        const i32 edgestatus = dumpedges(node, i, file);
        status = edgestatus != 0 ? edgestatus : status;
        if (node->sub == nullptr) {
            continue;
        }
        const i32 substatus = dumpsub(maze, i, file);
        status = substatus != 0 ? substatus : status;
        if (mode != MAZE_DUMP_LEVEL) {
            file = dumpdescent(node->sub, path, file);
        }
    }
    return file != nullptr && closewhole(file) ? status : -1;
}
