#include "generate/flatgraph.h"

#include "base/rnd.h"

#include <cstdlib>
#include <cstring>

void FlatGraph_init(FlatGraph* out, const Maze* maze)
{
    const size_t n = static_cast<size_t>(Maze_count(maze));
    *out = {.count = Maze_count(maze),
            .nodes = static_cast<FlatNode*>(std::calloc(n + 1, sizeof(FlatNode))),
            .queue = static_cast<i32*>(std::calloc(n + 1, sizeof(i32))),
            .stamps = static_cast<u32*>(std::calloc(n + 1, sizeof(u32))),
            .stamp = 0};
    for (i32 i = out->count - 1; i >= 0; i--) {
        const MazeNode* const node = Maze_node(maze, i);
        out->nodes[i].nedges = node->nedges;
        std::memcpy(out->nodes[i].edges, node->edges, sizeof node->edges);
    }
}

void FlatGraph_free(FlatGraph* graph)
{
    std::free(graph->nodes);
    std::free(graph->queue);
    std::free(graph->stamps);
    *graph = {};
}

void FlatGraph_copy(FlatGraph* graph, const FlatGraph* source)
{
    std::memcpy(graph->nodes, source->nodes, static_cast<size_t>(source->count) * sizeof(FlatNode));
}

static bool lists(const FlatNode* node, i32 target)
{
    for (i32 i = static_cast<i32>(node->nedges) - 1; i >= 0; i--) {
        if (node->edges[i] == target) {
            return true;
        }
    }
    return false;
}

bool FlatGraph_joined(const FlatGraph* graph, i32 a, i32 b)
{
    return lists(graph->nodes + a, b);
}

void FlatGraph_join(FlatGraph* graph, i32 a, i32 b)
{
    FlatNode* const first = graph->nodes + a;
    FlatNode* const second = graph->nodes + b;
    if (first->nedges >= MAZE_MAXEDGES || second->nedges >= MAZE_MAXEDGES) {
        return;
    }
    first->edges[first->nedges++] = b;
    if (second->nedges < MAZE_MAXEDGES) { // a node joined to itself may just have filled up
        second->edges[second->nedges++] = a;
    }
}

static bool dropall(FlatNode* node, i32 target)
{
    const u32 before = node->nedges;
    for (i32 i = static_cast<i32>(before) - 1; i >= 0; i--) {
        if (node->edges[i] == target) {
            node->nedges--;
            node->edges[i] = node->edges[node->nedges]; // the last edge moves into the hole
        }
    }
    return node->nedges != before;
}

bool FlatGraph_unjoin(FlatGraph* graph, i32 a, i32 b)
{
    const bool had = dropall(graph->nodes + a, b);
    dropall(graph->nodes + b, a);
    return had;
}

void FlatGraph_thin(FlatGraph* graph, f64 keep)
{
    for (i32 i = graph->count - 1; i >= 0; i--) {
        const FlatNode* const node = graph->nodes + i;
        for (i32 slot = static_cast<i32>(node->nedges) - 1; slot >= 0; slot--) {
            // a slot may be gone, where a doubled edge has been deleted
            if (slot < static_cast<i32>(node->nedges) && node->edges[slot] > i &&
                rnd(1.0) >= keep) {
                FlatGraph_unjoin(graph, i, node->edges[slot]);
            }
        }
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
static bool advance(FlatGraph* graph, Front* front, u32 other)
{
    const FlatNode* const node = graph->nodes + graph->queue[front->head];
    front->head += front->step;
    for (i32 i = static_cast<i32>(node->nedges) - 1; i >= 0; i--) {
        const i32 target = node->edges[i];
        const u32 seen = graph->stamps[target];
        if (seen == other) {
            return true;
        }
        if (seen != front->stamp) {
            graph->stamps[target] = front->stamp;
            graph->queue[front->tail] = target;
            front->tail += front->step;
        }
    }
    return false;
}

bool FlatGraph_connected(FlatGraph* graph, i32 a, i32 b)
{
    if (a == b) {
        return true;
    }
    const i32 end = graph->count - 1;
    Front first = {.stamp = ++graph->stamp, .step = 1, .head = 0, .tail = 1};
    Front second = {.stamp = ++graph->stamp, .step = -1, .head = end, .tail = end - 1};
    graph->stamps[a] = first.stamp;
    graph->queue[0] = a;
    graph->stamps[b] = second.stamp;
    graph->queue[end] = b;
    while (first.head != first.tail && second.head != second.tail) {
        if (advance(graph, &first, second.stamp) || advance(graph, &second, first.stamp)) {
            return true;
        }
    }
    return false;
}

bool FlatGraph_usable(FlatGraph* graph, i32 ports)
{
    if (ports > graph->count) {
        return false;
    }
    if (ports < 2) {
        return FlatGraph_connected(graph, 0, graph->count - 1);
    }
    for (i32 i = ports - 1; i >= 1; i--) {
        if (!FlatGraph_connected(graph, 0, i)) {
            return false;
        }
    }
    return true;
}
