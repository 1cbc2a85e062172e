#include "model/stategraph.h"

#include "base/rnd.h"
#include "model/attachment.h"
#include "model/surgery.h"

#include <cstdlib>
#include <cstring>

static constexpr f64 new_radius = 0.5;
static constexpr f64 new_spread =
    5.0; // side of the cube in which a new node is put about the old one

static const char rep[] = "rep";

void StateGraph_new(StateGraph* out, u32 statesize, u32 contextsize)
{
    *out = {};
    GrowArray_init(&out->states, statesize);
    out->startstate = std::calloc(1, statesize);
    out->context = contextsize > 0 ? std::calloc(1, contextsize) : nullptr;
}

static u8* stateat(const GrowArray* states, i32 n)
{
    return states->buf + static_cast<size_t>(n) * states->elemsize;
}

static void releasestate(const StateGraph* graph, void* state)
{
    if (graph->release != nullptr && state != nullptr) {
        graph->release(state, graph->context);
    }
}

static void freegraph(void* data, Maze*)
{
    StateGraph* const graph = static_cast<StateGraph*>(data);
    for (i32 i = static_cast<i32>(graph->states.count) - 1; i >= 0; i--) {
        releasestate(graph, stateat(&graph->states, i));
    }
    releasestate(graph, graph->scratch);
    releasestate(graph, graph->startstate);
    std::free(graph->context);
    GrowArray_free(&graph->states);
    std::free(graph->scratch);
    std::free(graph->startstate);
    std::free(graph);
}

Maze* Maze_statenew(const StateGraph* graph)
{
    Maze* const maze = Maze_new();
    StateGraph* const held = static_cast<StateGraph*>(std::malloc(sizeof(StateGraph)));
    *held = *graph;
    Maze_attach(maze, rep, held, freegraph, 0);
    const MazeNode node = MazeNode_fresh(0.0, 0.0, 0.0, new_radius);
    Maze_addnode(maze, &node);
    GrowArray_push(&held->states, held->startstate);
    return maze;
}

static bool equalstates(const StateGraph* graph, const void* a, const void* b)
{
    if (graph->equal != nullptr) {
        return graph->equal(a, b, graph->context);
    }
    return std::memcmp(a, b, graph->states.elemsize) == 0;
}

// The last node whose state equals one, -1 if there is none.
static i32 findstate(const StateGraph* graph, const void* state)
{
    i32 i = static_cast<i32>(graph->states.count) - 1;
    while (i >= 0 && !equalstates(graph, stateat(&graph->states, i), state)) {
        i--;
    }
    return i;
}

// A node for a new state, somewhere about node n.
static i32 addstate(Maze* maze, StateGraph* graph, i32 n, const void* state)
{
    const MazeNode* const from = Maze_node(maze, n);
    MazeNode node = MazeNode_fresh(0.0, 0.0, 0.0, new_radius);
    for (i32 k = 2; k >= 0; k--) {
        node.pos[k] = from->pos[k] + (rnd(new_spread) - new_spread / 2);
    }
    node.rec.colour = from->rec.colour;
    GrowArray_push(&graph->states, state);
    return Maze_addnode(maze, &node);
}

// Adds one neighbour of node n, handed over. Whether the graph may have changed.
static bool addneighbour(Maze* maze, StateGraph* graph, i32 n, void* state)
{
    i32 to = findstate(graph, state);
    const bool known = to >= 0;
    if (known) {
        releasestate(graph, state);
    } else {
        to = addstate(maze, graph, n, state);
    }
    if (to == n || Maze_joined(maze, n, to)) { // no node is joined to itself
        return false;
    }
    Maze_joinfitted(maze, n, to);
    return !known || Maze_joined(maze, n, to);
}

void Maze_stategrow(Maze* maze, i32 n)
{
    StateGraph* const graph = static_cast<StateGraph*>(Maze_attachment(maze, rep));
    if (graph == nullptr) {
        return;
    }
    GrowArray list;
    graph->neighbours(&list, stateat(&graph->states, n), graph->context);
    bool changed = false;
    for (i32 i = static_cast<i32>(list.count) - 1; i >= 0; i--) {
        changed = addneighbour(maze, graph, n, stateat(&list, i)) || changed;
    }
    GrowArray_free(&list);
    if (changed) {
        Maze_freeflags(maze, ATT_GEOMETRY, false);
    }
}

Maze* Maze_statefill(const StateGraph* graph)
{
    Maze* const maze = Maze_statenew(graph);
    i32 before = 0;
    while (Maze_count(maze) != before) {
        before = Maze_count(maze);
        for (i32 i = before - 1; i >= 0; i--) {
            Maze_stategrow(maze, i);
        }
    }
    return maze;
}
