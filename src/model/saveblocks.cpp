// The blocks of a save file as they follow one another: where they end, and whether the bytes do
// before them. What the blocks hold is none of it.
#include "model/savelayout.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

enum {
    PLACE_ENDS = 20, // levels shown at either end of a long path
};

/// A walk along the blocks. Levels are kept in lists, since a file may claim any number of them.
struct BlockWalk {
    const u8* bytes;
    size_t size;
    size_t at;
    GrowArray counts; // of i32: nodes of each open maze, the root's first
    GrowArray path;   // of i32: the node that each open maze has come to, -1 before the first
    char* why;
};

void saveplace_name(const i32* path, i32 depth, char out[SAVE_PLACE])
{
    const i32 steps = depth - 1;
    size_t used =
        static_cast<size_t>(std::snprintf(out, SAVE_PLACE, steps > 0 ? "maze " : "root maze"));
    for (i32 i = 0; i < steps; i++) { // from the root down
        if (i == PLACE_ENDS && steps > 2 * PLACE_ENDS) {
            used += static_cast<size_t>(std::snprintf(out + used, SAVE_PLACE - used, "..."));
            i = steps - PLACE_ENDS;
        }
        used += static_cast<size_t>(std::snprintf(out + used, SAVE_PLACE - used, "%d%s", path[i],
                                                  i < steps - 1 ? "/" : ""));
    }
}

void savefault_tell(char* why, const i32* path, i32 depth, i32 node, const char* format,
                    va_list args)
{
    char place[SAVE_PLACE];
    saveplace_name(path, depth, place);
    char said[SAVE_SAID];
    std::vsnprintf(said, sizeof said, format, args);
    if (node >= 0) {
        std::snprintf(why, SAVE_WHY, "%s, node %d: %s", place, node, said);
    } else {
        std::snprintf(why, SAVE_WHY, "%s: %s", place, said);
    }
}

static i32* last(GrowArray* list)
{
    return items<i32>(list) + list->count - 1;
}

// Tells why the walk can't go on in the open maze, or in one of its nodes if `node` isn't negative.
// Always false.
[[gnu::format(printf, 3, 4)]] static bool fault(BlockWalk* walk, i32 node, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    savefault_tell(walk->why, items<i32>(&walk->path), static_cast<i32>(walk->path.count), node,
                   format, args);
    va_end(args);
    return false;
}

static bool passhead(BlockWalk* walk)
{
    const i32 before = -1;
    i32 count = 0;
    GrowArray_push(&walk->path, &before);
    GrowArray_push(&walk->counts, &count);
    const size_t left = walk->size - walk->at;
    if (left < MAZE_HEAD) {
        return fault(walk, -1, "the file ends in it");
    }
    std::memcpy(&count, walk->bytes + walk->at + 1, sizeof count);
    if (count > 0 && static_cast<size_t>(count) > (left - MAZE_HEAD) / NODE_LEAST) {
        return fault(walk, -1, "%d nodes in the %zu bytes that are left", count, left - MAZE_HEAD);
    }
    *last(&walk->counts) = count;
    walk->at += MAZE_HEAD;
    return true;
}

// Passes a node, and the head of the maze in it if there is one.
static bool passnode(BlockWalk* walk)
{
    const i32 node = *last(&walk->path);
    const size_t left = walk->size - walk->at;
    if (left < NODE_LEAST) {
        return fault(walk, node, "the file ends in it");
    }
    u32 nedges;
    std::memcpy(&nedges, walk->bytes + walk->at + NODE_EDGECOUNT, sizeof nedges);
    if (nedges > MAZE_MAXEDGES) {
        return fault(walk, node, "%u edges, %d at most", nedges, static_cast<int>(MAZE_MAXEDGES));
    }
    const size_t size = NODE_LEAST + EDGE_BYTES * static_cast<size_t>(nedges);
    if (left < size) {
        return fault(walk, node, "the file ends in it");
    }
    walk->at += size;
    return walk->bytes[walk->at - 1] == 0 || passhead(walk);
}

static bool passend(BlockWalk* walk)
{
    const size_t left = walk->size - walk->at;
    if (left < MAZE_COUNTERS) {
        return fault(walk, -1, "the file ends in it");
    }
    walk->at += MAZE_COUNTERS;
    const u8* const name = walk->bytes + walk->at;
    const void* const end =
        left > MAZE_COUNTERS ? std::memchr(name, 0, left - MAZE_COUNTERS) : nullptr;
    if (end == nullptr) {
        return fault(walk, -1, "a name without an end");
    }
    walk->at += static_cast<size_t>(static_cast<const u8*>(end) - name) + 1;
    walk->counts.count--; // the maze is closed
    walk->path.count--;
    return true;
}

static bool passroot(BlockWalk* walk)
{
    if (!passhead(walk)) {
        return false;
    }
    while (walk->counts.count > 0) {
        i32* const node = last(&walk->path);
        const bool more = *node + 1 < *last(&walk->counts);
        *node += more ? 1 : 0;
        if (!(more ? passnode(walk) : passend(walk))) {
            return false;
        }
    }
    return true;
}

bool saveblocks_walk(const u8* bytes, size_t size, size_t* end, char* why)
{
    BlockWalk walk = {};
    walk.bytes = bytes;
    walk.size = size;
    walk.why = why;
    GrowArray_init(&walk.counts, sizeof(i32));
    GrowArray_init(&walk.path, sizeof(i32));
    bool whole = passroot(&walk);
    if (whole && size - walk.at < sizeof(i32)) {
        std::snprintf(why, SAVE_WHY, "the file ends before the player's node");
        whole = false;
    }
    GrowArray_free(&walk.counts);
    GrowArray_free(&walk.path);
    *end = walk.at;
    return whole;
}
