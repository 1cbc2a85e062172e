#include "model/connect.h"

#include <cassert>
#include <cstdlib>

static i32 queued(const GrowArray* queue, u32 n)
{
    return items<i32>(queue)[n];
}

u8* Maze_reachable(const Maze* maze, i32 start)
{
    u8* const reached = static_cast<u8*>(std::calloc(maze->nodes.count + size_t{1}, 1));
    GrowArray queue;
    GrowArray_init(&queue, sizeof(i32));
    GrowArray_push(&queue, &start);
    reached[start] = 1;
    for (u32 q = 0; q < queue.count; q++) { // breadth first
        const MazeNode* const node = Maze_node(maze, queued(&queue, q));
        for (i32 i = static_cast<i32>(node->nedges) - 1; i >= 0; i--) {
            const i32 next = node->edges[i];
            if (reached[next] == 0) {
                GrowArray_push(&queue, &next);
                reached[next] = 1;
            }
        }
    }
    GrowArray_free(&queue);
    return reached;
}

// Takes a front one level further: from the entries of `queue` from `*done` on to their neighbours
// without `bit`. True if it has met the other front.
static bool advance(const Maze* maze, GrowArray* queue, u32* done, u8* marks, u8 bit)
{
    const u32 end = queue->count;
    while (*done < end) {
        const MazeNode* const node = Maze_node(maze, queued(queue, *done));
        (*done)++;
        for (i32 i = static_cast<i32>(node->nedges) - 1; i >= 0; i--) {
            const i32 next = node->edges[i];
            if ((marks[next] & bit) == 0) {
                GrowArray_push(queue, &next);
                marks[next] = static_cast<u8>(marks[next] | bit);
            }
            if (marks[next] == 3) {
                return true;
            }
        }
    }
    return false;
}

static i32 searchboth(const Maze* maze, GrowArray queues[2], u8* marks)
{
    u32 done[2] = {0, 0};
    for (i32 length = 1;; length++) {
        const i32 side = (length + 1) % 2; // the first front makes the odd lengths
        if (advance(maze, &queues[side], &done[side], marks, static_cast<u8>(1 + side))) {
            return length;
        }
        if (done[side] == queues[side].count) {
            return 0; // nothing was gained
        }
    }
}

i32 Maze_distance(const Maze* maze, i32 a, i32 b)
{
    if (a == b) {
        return 1;
    }
    u8* const marks = static_cast<u8*>(std::calloc(maze->nodes.count + size_t{1}, 1));
    GrowArray queues[2];
    GrowArray_init(&queues[0], sizeof(i32));
    GrowArray_init(&queues[1], sizeof(i32));
    GrowArray_push(&queues[0], &a);
    GrowArray_push(&queues[1], &b);
    marks[a] = 1;
    marks[b] = 2;
    const i32 length = searchboth(maze, queues, marks);
    GrowArray_free(&queues[0]);
    GrowArray_free(&queues[1]);
    std::free(marks);
    return length;
}

bool Maze_isconnected(const Maze* maze)
{
    const i32 ports = Maze_ports(maze);
    if (ports > Maze_count(maze)) {
        return false;
    }
    if (ports < 2) {
        assert(Maze_count(maze) > 0);
        return Maze_distance(maze, 0, Maze_count(maze) - 1) != 0;
    }
    u8* const reached = Maze_reachable(maze, 0);
    i32 i = ports - 1;
    while (i >= 1 && reached[i] != 0) {
        i--;
    }
    std::free(reached);
    return i == 0;
}

// Whether any node has been made to wait since the process began. Written by MazeNode_await.
static bool anyawaits;

void MazeNode_await(MazeNode* node)
{
    node->expandable = 1;
    anyawaits = true;
}

struct Candidate {
    f64 dist; // squared distance to the point
    i32 node;
};

// The candidates of all levels that Maze_nearexpandable is in, innermost last: kept from call to
// call, so that the search of each frame allocates nothing.
static GrowArray candidates;

// Nearest first; nodes at one distance stay in the order of the list, last node first.
static int nearer(const void* a, const void* b)
{
    const Candidate* const ca = static_cast<const Candidate*>(a);
    const Candidate* const cb = static_cast<const Candidate*>(b);
    if (ca->dist != cb->dist) {
        return ca->dist < cb->dist ? -1 : 1;
    }
    return cb->node - ca->node;
}

static void pushcandidates(const Maze* maze, const f64 point[3], f64 range)
{
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        const MazeNode* const node = Maze_node(maze, i);
        if (node->sub == nullptr && node->expandable == 0) {
            continue;
        }
        const f64 dx = node->pos[0] - point[0];
        const f64 dy = node->pos[1] - point[1];
        const f64 dz = node->pos[2] - point[2];
        const Candidate candidate = {.dist = dx * dx + dy * dy + dz * dz, .node = i};
        if (candidate.dist <= range * range) {
            GrowArray_push(&candidates, &candidate);
        }
    }
}

void Maze_nearexpandable(Maze* maze, const f64 point[3], f64 range, GrowArray* out, u32 limit)
{
    if (!anyawaits || out->count >= limit) {
        return;
    }
    if (candidates.buf == nullptr) {
        GrowArray_init(&candidates, sizeof(Candidate));
    }
    const u32 first = candidates.count;
    pushcandidates(maze, point, range);
    const u32 end = candidates.count;
    std::qsort(items<Candidate>(&candidates) + first, end - first, sizeof(Candidate), nearer);
    for (u32 i = first; i < end && out->count < limit; i++) { // nearest first
        const i32 n = items<Candidate>(&candidates)[i].node;  // the array moves in recursion
        MazeNode* const node = Maze_node(maze, n);
        if (node->sub != nullptr) {
            Maze_nearexpandable(node->sub, point, range, out, limit);
        } else {
            const Pos pos = {maze, n};
            GrowArray_push(out, &pos);
        }
    }
    candidates.count = first;
}
