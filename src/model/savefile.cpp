#include "model/savefile.h"

#include "base/str.h"
#include "model/mazegame.h"
#include "model/savelayout.h"

#include <bit>
#include <cassert>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

static_assert(std::endian::native == std::endian::little,
              "numbers are saved as they lie in memory");
static_assert(static_cast<int>(SAVE_WHY) >= static_cast<int>(WHOLEFILE_WHY));

enum { SAID = 1800 }; // chars of a text or name that another text quotes

// What is saved must load again, so a number that isn't finite is never written.
static f64 finite_or(f64 value, f64 instead)
{
    return std::isfinite(value) ? value : instead;
}

static u8* pack(u8* at, const void* bytes, size_t size)
{
    std::memcpy(at, bytes, size);
    return at + size;
}

static u8* packreal(u8* at, f64 value, f64 instead)
{
    const f64 kept = finite_or(value, instead);
    return pack(at, &kept, sizeof kept);
}

static u8* packvisit(u8* at, const VisitRec* rec)
{
    const u32 padding = 0;
    at = pack(at, &rec->colour, 4);
    at = pack(at, &padding, 4);
    at = packreal(at, rec->walked, -1.0);
    return packreal(at, rec->trailed, -1.0);
}

static void putnode(WholeFile* file, const MazeNode* node)
{
    u8 block[NODE_MOST];
    u8* at = block;
    for (i32 k = 0; k < 3; k++) { // x, y, z
        at = packreal(at, node->pos[k], 0.0);
    }
    at = packreal(at, node->radius, 0.0);
    at = pack(at, &node->nedges, 4);
    at = pack(at, node->edges, 4 * static_cast<size_t>(node->nedges));
    for (u32 i = 0; i < node->nedges; i++) { // slots in rising order
        at = packvisit(at, &node->edgerec[i]);
    }
    at = packvisit(at, &node->rec);
    *at++ = node->sub != nullptr ? 1 : 0;
    wholefile_put(file, block, static_cast<size_t>(at - block));
}

static bool iswalked(const MazeNode* node)
{
    return node->rec.walked >= 0.0 && std::isfinite(node->rec.walked);
}

// The counters are written as the check wants them, whatever surgery has left in the record.
static void putmazeend(WholeFile* file, const Maze* maze, i32 visited)
{
    const u32 exitsused = maze->exitsused & saveport_mask(Maze_ports(maze));
    const char* const name = maze->name != nullptr ? maze->name : "";
    wholefile_put(file, &visited, 4);
    wholefile_put(file, &exitsused, 4);
    wholefile_put(file, name, std::strlen(name) + 1);
}

void Maze_save(const Maze* maze, WholeFile* file, const Maze* current)
{
    const u8 mark = maze == current ? 1 : 0;
    const i32 n = Maze_count(maze);
    wholefile_put(file, &mark, 1);
    wholefile_put(file, &n, 4);
    i32 visited = 0;
    for (i32 i = 0; i < n; i++) { // the file holds them in rising order
        const MazeNode* const node = Maze_node(maze, i);
        putnode(file, node);
        visited += iswalked(node) ? 1 : 0;
        if (node->sub != nullptr) {
            Maze_save(node->sub, file, current);
        }
    }
    putmazeend(file, maze, visited);
}

static void puttail(WholeFile* file, const MazeGame* game)
{
    u8 tail[GAME_TAIL] = {};
    std::memcpy(tail, reinterpret_cast<const u8*>(game) + offsetof(MazeGame, time), TAIL_USED);
    for (size_t at = 0; at < TAIL_USED; at += sizeof(f64)) {
        f64 value;
        std::memcpy(&value, tail + at, sizeof value);
        if (savetail_isreal(at)) {
            packreal(tail + at, value, 0.0);
        }
    }
    packreal(tail, game->time >= 0.0 ? game->time : 0.0, 0.0);
    wholefile_put(file, tail, sizeof tail);
}

static bool putgame(const MazeGame* game, WholeFile* file, char* why)
{
    Maze_save(game->root, file, game->pos.maze);
    wholefile_put(file, &game->pos.node, 4);
    puttail(file, game);
    const bool saved = wholefile_end(file);
    std::snprintf(why, SAVE_WHY, "%s", file->why);
    return saved;
}

bool MazeGame_save(const MazeGame* game, const char* path, char* why)
{
    WholeFile file;
    wholefile_begin(&file, path);
    return putgame(game, &file, why);
}

bool MazeGame_savebeside(const MazeGame* game, const char* path, char* newname, char* why)
{
    WholeFile file;
    wholefile_begin_numbered(&file, path);
    const bool saved = putgame(game, &file, why);
    std::snprintf(newname, WHOLEFILE_PATH, "%s", file.path);
    return saved;
}

struct SaveReader {
    const u8* at;
    Maze* current; // the marked maze, once it has been met
};

static void take(SaveReader* reader, void* out, size_t size)
{
    std::memcpy(out, reader->at, size);
    reader->at += size;
}

static void takevisit(SaveReader* reader, VisitRec* out)
{
    take(reader, &out->colour, 4);
    reader->at += 4; // padding
    take(reader, &out->walked, 8);
    take(reader, &out->trailed, 8);
}

// Adds a node without its submaze. Returns whether one follows.
static bool takenode(SaveReader* reader, Maze* maze)
{
    MazeNode node = MazeNode_fresh(0.0, 0.0, 0.0, 0.0);
    take(reader, node.pos, sizeof node.pos);
    take(reader, &node.radius, 8);
    take(reader, &node.nedges, 4);
    take(reader, node.edges, 4 * static_cast<size_t>(node.nedges));
    for (u32 i = 0; i < node.nedges; i++) { // slots in rising order
        takevisit(reader, &node.edgerec[i]);
    }
    takevisit(reader, &node.rec);
    Maze_addnode(maze, &node);
    return *reader->at++ != 0;
}

static void takename(SaveReader* reader, Maze* maze)
{
    const char* const name = reinterpret_cast<const char*>(reader->at);
    reader->at += std::strlen(name) + 1;
    if (*name != 0) {
        str_new(&maze->name, name);
    }
}

static Maze* takemaze(SaveReader* reader)
{
    Maze* const maze = Maze_new();
    u8 mark;
    u32 n;
    take(reader, &mark, 1);
    take(reader, &n, 4);
    if (mark != 0) {
        reader->current = maze;
    }
    GrowArray_reserve(&maze->nodes, n);
    for (u32 i = 0; i < n; i++) { // as they stand in the file
        if (takenode(reader, maze)) {
            Maze* const sub = takemaze(reader);
            sub->parent = maze;
            sub->parentnode = static_cast<i32>(i);
            Maze_node(maze, sub->parentnode)->sub = sub;
        }
    }
    take(reader, &maze->visitednodes, 4);
    take(reader, &maze->exitsused, 4);
    takename(reader, maze);
    Maze_bounds(maze, false);
    return maze;
}

void savefile_build(MazeGame* out, const u8* bytes, [[maybe_unused]] size_t size)
{
    MazeGame_setup(out);
    SaveReader reader = {.at = bytes, .current = nullptr};
    out->root = takemaze(&reader);
    out->pos.maze = reader.current;
    take(&reader, &out->pos.node, 4);
    take(&reader, reinterpret_cast<u8*>(out) + offsetof(MazeGame, time), TAIL_USED);
    assert(reader.at + sizeof(GrowArray) == bytes + size);
    MazeGame_startcamera(out);
}

static SaveLoad refuse(const char* path, const char* fault, char* why)
{
    char newname[WHOLEFILE_PATH];
    char failed[WHOLEFILE_WHY];
    if (wholefile_setaside(path, newname, failed)) {
        std::snprintf(why, SAVE_WHY, "The saved game %.*s can't be used: %.*s. It is now %.*s.",
                      SAID, path, SAID, fault, SAID, newname);
        return SAVE_REFUSED;
    }
    std::snprintf(why, SAVE_WHY,
                  "The saved game %.*s can't be used: %.*s. %.*s. While it stays there no game is "
                  "saved over it.",
                  SAID, path, SAID, fault, SAID, failed);
    return SAVE_STUCK;
}

// Loads, but leaves a file that it refuses where it is; `fault` (SAVE_WHY chars) tells the reason.
static SaveLoad loadsound(MazeGame* out, const char* path, char* fault)
{
    u8* bytes = nullptr;
    size_t size = 0;
    *fault = 0;
    const WholeFileRead read = wholefile_read(path, &bytes, &size, fault);
    if (read != WHOLEFILE_READ) {
        return read == WHOLEFILE_MISSING ? SAVE_MISSING : SAVE_STUCK;
    }
    const bool sound = savefile_check(bytes, size, fault) == SAVE_SOUND;
    if (sound) {
        savefile_build(out, bytes, size);
    }
    std::free(bytes);
    return sound ? SAVE_LOADED : SAVE_STUCK;
}

SaveLoad MazeGame_load(MazeGame* out, const char* path, char* why)
{
    char fault[SAVE_WHY];
    const SaveLoad outcome = loadsound(out, path, fault);
    *why = 0;
    return outcome == SAVE_STUCK ? refuse(path, fault, why) : outcome;
}

SaveLoad MazeGame_loadshared(MazeGame* out, const char* path, char* why)
{
    char fault[SAVE_WHY];
    const SaveLoad outcome = loadsound(out, path, fault);
    *why = 0;
    if (outcome == SAVE_STUCK) {
        std::snprintf(why, SAVE_WHY,
                      "The saved game %.*s can't be used: %.*s. It is left to the other copy.",
                      SAID, path, SAID, fault);
    }
    return outcome;
}
