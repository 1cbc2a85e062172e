// Save files as bytes: made by hand, made by the program, and what is asked of a game from them.
#pragma once

#include "model/savefile.h"
#include "tests/gameworlds.h"
#include "tests/sound.h"
#include "tests/tempfolder.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <vector>

namespace fs = std::filesystem;

using Bytes = std::vector<u8>;

/// A folder in memory where the system has a place for that, since thousands of files are synced here.
struct Folder : TempFolder {
    Folder() : TempFolder(system_quickfolder())
    {
    }
};

inline Bytes read_bytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

inline void write_bytes(const std::string& path, const Bytes& bytes)
{
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

inline Bytes saved(const MazeGame* game)
{
    const Folder folder;
    char why[SAVE_WHY];
    EXPECT_TRUE(MazeGame_save(game, folder.file("save").c_str(), why)) << why;
    return read_bytes(folder.file("save"));
}

template <typename T> void put(Bytes* out, T value)
{
    u8 raw[sizeof(T)];
    std::memcpy(raw, &value, sizeof value);
    out->insert(out->end(), raw, raw + sizeof raw);
}

inline void put_visit(Bytes* out, u32 colour = 0x808080, f64 walked = -1.0, f64 trailed = -1.0)
{
    put(out, colour);
    put(out, u32{0});
    put(out, walked);
    put(out, trailed);
}

inline void put_node(Bytes* out, f64 x, f64 y, f64 z, f64 radius, const std::vector<i32>& edges,
                     u8 sub = 0)
{
    for (const f64 value : {x, y, z, radius}) {
        put(out, value);
    }
    put(out, static_cast<u32>(edges.size()));
    for (const i32 edge : edges) {
        put(out, edge);
    }
    for (size_t i = 0; i <= edges.size(); i++) {
        put_visit(out);
    }
    put(out, sub);
}

inline void put_head(Bytes* out, u8 mark, i32 count)
{
    put(out, mark);
    put(out, count);
}

inline void put_end(Bytes* out, const std::string& name = "", i32 visited = 0, u32 exitsused = 0)
{
    put(out, visited);
    put(out, exitsused);
    out->insert(out->end(), name.begin(), name.end());
    put(out, u8{0});
}

inline void put_game(Bytes* out, i32 node, f64 time = 0.0)
{
    put(out, node);
    put(out, time);
    for (i32 i = 0; i < 9; i++) {
        put(out, i % 4 == 0 ? 1.0 : 0.0);
    }
    const size_t rest = GAME_TAIL - 80;
    out->insert(out->end(), rest, 0);
}

/// A file of one maze: a line of `n` nodes one apart.
inline Bytes line_file(i32 n, const std::string& name = "")
{
    Bytes out;
    put_head(&out, 1, n);
    for (i32 i = 0; i < n; i++) {
        std::vector<i32> edges;
        if (i > 0) {
            edges.push_back(i - 1);
        }
        if (i < n - 1) {
            edges.push_back(i + 1);
        }
        put_node(&out, i, 0.0, 0.0, 0.5, edges);
    }
    put_end(&out, name);
    put_game(&out, 0);
    return out;
}

/// A file of `levels` mazes of one node, each in the node of the one before; the last is marked.
inline Bytes tower_file(i32 levels)
{
    Bytes out;
    for (i32 i = 1; i <= levels; i++) {
        put_head(&out, i == levels ? 1 : 0, 1);
        put_node(&out, 0.0, 0.0, i, 0.5, {}, i < levels ? 1 : 0);
    }
    for (i32 i = 1; i <= levels; i++) {
        put_end(&out);
    }
    put_game(&out, 0);
    return out;
}

inline std::string fault_of(const Bytes& bytes, SaveVerdict* out = nullptr)
{
    // a copy of its own, so that a read past the end is seen
    u8* const exact = static_cast<u8*>(std::malloc(std::max<size_t>(bytes.size(), 1)));
    std::copy(bytes.begin(), bytes.end(), exact);
    char* const why = static_cast<char*>(std::malloc(SAVE_WHY));
    const SaveVerdict verdict = savefile_check(exact, bytes.size(), why);
    std::string text = why;
    EXPECT_EQ(verdict == SAVE_SOUND, text.empty());
    std::free(exact);
    std::free(why);
    if (out != nullptr) {
        *out = verdict;
    }
    return text;
}

inline SaveVerdict verdict_of(const Bytes& bytes)
{
    SaveVerdict verdict = SAVE_SOUND;
    fault_of(bytes, &verdict);
    return verdict;
}

inline void build(HeldGame* out, const Bytes& bytes)
{
    ASSERT_EQ(fault_of(bytes), "");
    savefile_build(&out->game, bytes.data(), bytes.size());
}

/// What any loaded game must be: sound, finite, and good for a save that loads.
inline void expect_good(MazeGame* game)
{
    EXPECT_SOUND(game->root);
    EXPECT_TRUE(std::isfinite(game->zoom) && game->zoom > 0.0);
    f64 seen[4];
    MazeGame_viewpos_radius(seen, game, &seen[3]);
    for (const f64 value : seen) {
        EXPECT_TRUE(std::isfinite(value));
    }
    for (const f64 value : game->campos) {
        EXPECT_TRUE(std::isfinite(value));
    }
    EXPECT_EQ(Pos_node(game->pos)->sub, nullptr);
}

/// Walks along one exit after the other, by the step that reaches it.
inline void walk_about(MazeGame* game)
{
    Pos exits[POS_MAXEDGES];
    for (i32 i = 0; i < 8; i++) {
        const i32 n = Pos_alledges(game->pos, exits, nullptr);
        if (n == 0) {
            return;
        }
        const f64* const from = Pos_node(game->pos)->pos;
        const f64* const to = Pos_node(exits[i % n])->pos;
        const f64 step[3] = {1.1 * (to[0] - from[0]), 1.1 * (to[1] - from[1]),
                             1.1 * (to[2] - from[2])};
        game->time += 0.25;
        MazeGame_move(game, step);
    }
}

/// Loads what the check lets through, walks in it, and saves it again.
inline void expect_sound_or_refused(const Bytes& bytes)
{
    if (!fault_of(bytes).empty()) {
        return;
    }
    HeldGame held;
    savefile_build(&held.game, bytes.data(), bytes.size());
    walk_about(&held.game);
    expect_good(&held.game);
    EXPECT_EQ(fault_of(saved(&held.game)), "");
}

// A nest that has been walked and named, with no two numbers alike that might be exchanged.
inline void make_walked_nest(HeldGame* held)
{
    Maze* const root = make_nest();
    stand(held, root, root, 0);
    held->game.time = 100.0;
    for (i32 i = 0; i < 3; i++) { // into the west ring, the east one, and beyond
        held->game.time += 1.5;
        const f64 east[3] = {i == 1 ? 5.0 : 9.0, 0.0, 0.0};
        MazeGame_move(&held->game, east);
    }
    f64* const view = held->game.view.modelview;
    for (i32 i = 0; i < 42; i++) {
        view[i] = 0.25 * i;
    }
    held->game.view.viewport[2] = -1;
    held->game.view.pixelsize = 0.5;
    held->game.showtrail = 3;
    held->game.showexits = -4;
    held->game.orient[1] = 0.125;
    Maze_node(root, 0)->rec.trailed = 4.5;
    Maze_node(root, 0)->rec.colour = 0x123456;
    MazeGame_startcamera(&held->game);
}
