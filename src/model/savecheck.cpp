// The check of a save file: a walk along its blocks, which believes nothing, and then a pass over what
// they hold.
#include "model/savefile.h"
#include "model/savelayout.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

/// A pass over blocks that are whole. The mazes whose blocks are open form a path from the root.
struct SaveCheck {
    const u8* bytes;
    size_t at;
    GrowArray places; // of size_t: where the nodes of the open mazes begin, the root's first
    i32 path[SAVE_MAXLEVELS]; // the node that each open maze has come to
    i32 depth;                // open mazes
    i32 player;               // the player's node
    i32 marks;                // marked mazes so far
    bool crossed;             // the ports of a maze are asked to be joined
    char* why;
};

/// What is asked of a node, besides what lies in its block.
struct NodeCheck {
    i32 node;
    i32 count; // nodes of its maze
    i32 ports;
    bool marked; // the player is in this maze
};

static u32 u32_at(const u8* at)
{
    u32 value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

static i32 i32_at(const u8* at)
{
    i32 value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

static bool finite_at(const u8* at)
{
    f64 value;
    std::memcpy(&value, at, sizeof value);
    return std::isfinite(value);
}

// Tells a fault of the open maze, or of one of its nodes if `node` isn't negative. Always false.
[[gnu::format(printf, 3, 4)]] static bool fault(SaveCheck* check, i32 node, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    savefault_tell(check->why, check->path, check->depth, node, format, args);
    va_end(args);
    return false;
}

static bool checkedge(SaveCheck* check, const NodeCheck* want, i32 target)
{
    if (target < 0 || target >= want->count) {
        return fault(check, want->node, "edge to %d of %d", target, want->count);
    }
    if (target == want->node) {
        return fault(check, want->node, "edge to itself");
    }
    return true;
}

static bool visitfinite(const u8* rec)
{
    return finite_at(rec + 8) && finite_at(rec + 16);
}

static bool checknumbers(SaveCheck* check, i32 node, const u8* block, u32 nedges)
{
    for (i32 k = 2; k >= 0; k--) {
        if (!finite_at(block + 8 * k)) {
            return fault(check, node, "a position that is not finite");
        }
    }
    if (!finite_at(block + NODE_RADIUS)) {
        return fault(check, node, "a radius that is not finite");
    }
    const u8* const recs = block + NODE_EDGES + 4 * static_cast<size_t>(nedges);
    for (u32 i = 0; i <= nedges; i++) { // the edges' records, then the node's own
        if (!visitfinite(recs + VISIT_BYTES * static_cast<size_t>(i))) {
            return fault(check, node, "a time of passage that is not finite");
        }
    }
    return true;
}

static bool checksubmaze(SaveCheck* check, const NodeCheck* want, u8 flag)
{
    if (flag > 1) {
        return fault(check, want->node, "submaze byte %d", flag);
    }
    if (flag == 1 && want->node < want->ports) {
        return fault(check, want->node, "a port that holds a submaze");
    }
    if (flag == 1 && want->marked && want->node == check->player) {
        return fault(check, want->node, "the player's node holds a submaze");
    }
    if (flag == 1 && check->depth >= SAVE_MAXLEVELS) {
        return fault(check, want->node, "more than %d levels", static_cast<int>(SAVE_MAXLEVELS));
    }
    return true;
}

// Checks what stands in the block of a node, but for the way back along its edges, and steps over it.
static bool checknode(SaveCheck* check, const NodeCheck* want)
{
    const u8* const block = check->bytes + check->at;
    const u32 nedges = u32_at(block + NODE_EDGECOUNT);
    const size_t size = NODE_LEAST + EDGE_BYTES * static_cast<size_t>(nedges);
    for (u32 i = 0; i < nedges; i++) {
        if (!checkedge(check, want, i32_at(block + NODE_EDGES + 4 * static_cast<size_t>(i)))) {
            return false;
        }
    }
    GrowArray_push(&check->places, &check->at);
    check->at += size;
    return checknumbers(check, want->node, block, nedges) &&
           checksubmaze(check, want, block[size - 1]);
}

static i32 timeslisted(const u8* block, i32 target)
{
    i32 times = 0;
    for (i32 i = i32_at(block + NODE_EDGECOUNT) - 1; i >= 0; i--) {
        times += i32_at(block + NODE_EDGES + 4 * i) == target ? 1 : 0;
    }
    return times;
}

// Whether each node is listed by its neighbours as often as it lists them. `places` are where the
// nodes of the maze begin, whose edges are in range.
static bool checkways(SaveCheck* check, const size_t* places, i32 count)
{
    for (i32 n = 0; n < count; n++) {
        const u8* const block = check->bytes + places[n];
        for (i32 i = i32_at(block + NODE_EDGECOUNT) - 1; i >= 0; i--) {
            const i32 target = i32_at(block + NODE_EDGES + 4 * i);
            const i32 there = timeslisted(block, target);
            const i32 back = timeslisted(check->bytes + places[target], n);
            if (there != back) {
                return fault(check, n, "%d times joined to %d, and %d times back", there, target,
                             back);
            }
        }
    }
    return true;
}

// Whether the inner edges of a maze lead from its first port to all others. `places` as above.
static bool portsjoined(const SaveCheck* check, const size_t* places, const NodeCheck* want)
{
    const size_t count = static_cast<size_t>(want->count);
    u8* const reached = static_cast<u8*>(std::calloc(count, 1));
    i32* const queue = static_cast<i32*>(std::malloc(count * sizeof(i32)));
    i32 ends = 1;
    queue[0] = 0;
    reached[0] = 1;
    for (i32 at = 0; at < ends; at++) { // in the order reached
        const u8* const block = check->bytes + places[queue[at]];
        for (i32 i = i32_at(block + NODE_EDGECOUNT) - 1; i >= 0; i--) {
            const i32 target = i32_at(block + NODE_EDGES + 4 * i);
            if (reached[target] == 0) {
                reached[target] = 1;
                queue[ends++] = target;
            }
        }
    }
    bool joined = true;
    for (i32 i = want->ports - 1; i >= 0; i--) {
        joined = joined && reached[i] != 0;
    }
    std::free(reached);
    std::free(queue);
    return joined;
}

// Checks the edges of a maze whose nodes have been passed, the first of them at place number `first`.
static bool checkedges(SaveCheck* check, u32 first, const NodeCheck* want)
{
    const size_t* const places = items<size_t>(&check->places) + first;
    if (!checkways(check, places, want->count)) {
        return false;
    }
    if (check->crossed && want->ports >= 2 && !portsjoined(check, places, want)) {
        return fault(check, -1, "no way from port to port");
    }
    return true;
}

static bool checkmazehead(SaveCheck* check, NodeCheck* want)
{
    const u8* const head = check->bytes + check->at;
    want->marked = head[0] == 1;
    want->count = i32_at(head + 1);
    if (head[0] > 1) {
        return fault(check, -1, "mark byte %d", head[0]);
    }
    if (want->marked && ++check->marks > 1) {
        return fault(check, -1, "a second maze that is marked as the player's");
    }
    if (want->count < 1) {
        return fault(check, -1, "%d nodes", want->count);
    }
    if (want->count < want->ports) {
        return fault(check, -1, "%d nodes for %d ports", want->count, want->ports);
    }
    if (want->marked && (check->player < 0 || check->player >= want->count)) {
        return fault(check, -1, "the player is on node %d of %d", check->player, want->count);
    }
    check->at += MAZE_HEAD;
    return true;
}

static bool checkmazeend(SaveCheck* check, i32 ports, i32 walked)
{
    const i32 visited = i32_at(check->bytes + check->at);
    if (visited != walked) {
        return fault(check, -1, "%d nodes visited, but %d walked on", visited, walked);
    }
    const u32 exitsused = u32_at(check->bytes + check->at + 4);
    if ((exitsused & ~saveport_mask(ports)) != 0) {
        return fault(check, -1, "exits used are 0x%X of %d ports", exitsused, ports);
    }
    const u8* const name = check->bytes + check->at + MAZE_COUNTERS;
    check->at += MAZE_COUNTERS + std::strlen(reinterpret_cast<const char*>(name)) + 1;
    return true;
}

// Whether the player has been on a node whose block has been found sound.
static bool walked_at(const u8* block)
{
    f64 walked;
    const size_t nedges = u32_at(block + NODE_EDGECOUNT);
    std::memcpy(&walked, block + NODE_EDGES + EDGE_BYTES * nedges + 8, sizeof walked);
    return walked >= 0.0;
}

static bool checkmaze(SaveCheck* check, i32 ports)
{
    const i32 level = check->depth++;
    const u32 first = check->places.count;
    NodeCheck want = {.node = 0, .count = 0, .ports = ports, .marked = false};
    if (!checkmazehead(check, &want)) {
        return false;
    }
    i32 walked = 0;
    for (; want.node < want.count; want.node++) { // as they stand in the file
        check->path[level] = want.node;
        const u8* const block = check->bytes + check->at;
        if (!checknode(check, &want)) {
            return false;
        }
        walked += walked_at(block) ? 1 : 0;
        const bool nested = check->bytes[check->at - 1] == 1;
        if (nested && !checkmaze(check, i32_at(block + NODE_EDGECOUNT))) {
            return false;
        }
    }
    if (!checkedges(check, first, &want) || !checkmazeend(check, ports, walked)) {
        return false;
    }
    check->places.count = first; // the maze is closed
    check->depth--;
    return true;
}

static bool checktail(const u8* tail, char* why)
{
    for (size_t at = 0; at < TAIL_USED; at += sizeof(f64)) {
        if (savetail_isreal(at) && !finite_at(tail + at)) {
            std::snprintf(why, SAVE_WHY, "game: number %zu is not finite", at / sizeof(f64));
            return false;
        }
    }
    f64 time;
    std::memcpy(&time, tail, sizeof time);
    if (time < 0.0) { // stamps that it makes would read as never
        std::snprintf(why, SAVE_WHY, "game: the clock is before 0");
        return false;
    }
    return true;
}

// Checks what follows the root's block, once that has been found sound.
static bool checkgame(const SaveCheck* check, size_t size)
{
    if (check->marks != 1) {
        std::snprintf(check->why, SAVE_WHY, "no maze is marked as the player's");
        return false;
    }
    const size_t tail = check->at + sizeof(i32);
    if (size - tail < GAME_TAIL) {
        std::snprintf(check->why, SAVE_WHY, "game: the last %zu bytes are missing",
                      GAME_TAIL - (size - tail));
        return false;
    }
    if (size - tail > GAME_TAIL) {
        std::snprintf(check->why, SAVE_WHY, "%zu bytes are left over", size - tail - GAME_TAIL);
        return false;
    }
    return checktail(check->bytes + tail, check->why);
}

static SaveVerdict judge(const u8* bytes, size_t size, bool crossed, char* why)
{
    size_t end;
    *why = 0;
    if (!saveblocks_walk(bytes, size, &end, why)) {
        return SAVE_UNREADABLE;
    }
    SaveCheck check = {};
    check.bytes = bytes;
    check.player = i32_at(bytes + end);
    check.crossed = crossed;
    check.why = why;
    GrowArray_init(&check.places, sizeof(size_t));
    const bool sound = checkmaze(&check, 0) && checkgame(&check, size);
    GrowArray_free(&check.places);
    return sound ? SAVE_SOUND : SAVE_UNSOUND;
}

SaveVerdict savefile_check(const u8* bytes, size_t size, char* why)
{
    return judge(bytes, size, false, why);
}

SaveVerdict savefile_checkcrossed(const u8* bytes, size_t size, char* why)
{
    return judge(bytes, size, true, why);
}
