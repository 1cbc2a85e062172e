// Places and sizes in a save file, which its writer, its check and its reader share.
#pragma once

#include "model/savefile.h"

#include <cstdarg>

enum {
    VISIT_BYTES = 24,
    EDGE_BYTES = 4 + VISIT_BYTES, // an edge and its record
    NODE_RADIUS = 24,             // places in the block of a node
    NODE_EDGECOUNT = 32,
    NODE_EDGES = 36,
    NODE_LEAST = 61, // bytes of a node without edges
    NODE_MOST = NODE_LEAST + static_cast<int>(MAZE_MAXEDGES) * EDGE_BYTES,
    MAZE_HEAD = 5,     // mark and node count
    MAZE_COUNTERS = 8, // visitednodes and exitsused; the name follows
    TAIL_USED = 480,
    SAVE_PLACE = 600, // chars that name a maze
    SAVE_SAID = 200,  // chars that tell a fault
};

static_assert(static_cast<size_t>(GAME_TAIL) - TAIL_USED == sizeof(GrowArray));
static_assert(offsetof(MazeGame, roamers) - offsetof(MazeGame, time) == TAIL_USED);

/// Whether the 8 bytes at a place of the tail are a real number: all are, but for the edges of the
/// viewport and the two switches.
constexpr bool savetail_isreal(size_t at)
{
    constexpr size_t view = offsetof(MazeGame, view) - offsetof(MazeGame, time);
    constexpr size_t viewport = view + offsetof(ViewRec, viewport);
    constexpr size_t end = view + sizeof(ViewRec);
    return at < end && (at < viewport || at >= viewport + sizeof(ViewRec::viewport));
}

/// The bits of `exitsused` that stand for ports.
constexpr u32 saveport_mask(i32 ports)
{
    return (1U << static_cast<u32>(ports)) - 1;
}

/// Names the maze at the end of a path of open mazes, the root first: `path` holds the node that each
/// has come to, of `depth` of them. The middle of a long path is left out.
void saveplace_name(const i32* path, i32 depth, char out[SAVE_PLACE]);

/// Tells in `why` (SAVE_WHY chars) a fault of the maze at the end of such a path, or of one of its nodes
/// if `node` isn't negative.
[[gnu::format(printf, 5, 0)]] void savefault_tell(char* why, const i32* path, i32 depth, i32 node,
                                                  const char* format, va_list args);

/// Whether `bytes` begin with the block of a root, with all blocks inside it, and a node number: no
/// count and no name leads beyond the end, and no node has more edges than one can. `end` is then the
/// place of the node number; otherwise `why` (SAVE_WHY chars) tells where the blocks break off. Not
/// recursive; time linear in the file, memory below its size.
bool saveblocks_walk(const u8* bytes, size_t size, size_t* end, char* why);
