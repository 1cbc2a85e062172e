// The lines of tests/golden/worlds.txt, and a world told in their form.
#pragma once

#include "base/rnd.h"
#include "tests/digest.h"
#include "tests/system.h"
#include "tests/world.h"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

struct GoldenWorld {
    i32 mode;
    i32 kind; // -1: none
    u32 seed;
    std::string line;
};

/// The worlds of one mode that a file holds.
inline std::vector<GoldenWorld> worlds_in(const std::string& path, i32 mode)
{
    std::ifstream file(path);
    std::vector<GoldenWorld> worlds;
    for (std::string line; std::getline(file, line);) {
        GoldenWorld world = {-1, -1, 0, line};
        std::string kind;
        if (!(std::istringstream(line) >> world.mode >> kind >> world.seed)) {
            continue; // a comment
        }
        world.kind = kind == "-" ? -1 : std::stoi(kind);
        if (world.mode == mode) {
            worlds.push_back(world);
        }
    }
    return worlds;
}

/// The golden worlds of one mode, as this system makes them.
inline std::vector<GoldenWorld> golden_worlds(i32 mode)
{
    std::vector<GoldenWorld> worlds =
        worlds_in(CORVANE_SOURCE_DIR "/tests/golden/worlds.txt", mode);
    for (const GoldenWorld& other : worlds_in(system_otherworlds(), mode)) {
        for (GoldenWorld& world : worlds) {
            world = world.kind == other.kind && world.seed == other.seed ? other : world;
        }
    }
    return worlds;
}

/// A world that has just been made, in the form of a golden line.
inline std::string golden_told(const Maze* root, i32 mode, i32 kind, u32 seed)
{
    const std::string kindtext = kind < 0 ? "-" : std::to_string(kind);
    char text[200];
    std::snprintf(text, sizeof text, "%d %s %u | %u | %u |", mode, kindtext.c_str(), seed,
                  rnd_count(), rnd_state());
    std::string line = text;
    std::vector<LevelCounts> levels;
    count_levels(&levels, root);
    for (const LevelCounts& level : levels) {
        std::snprintf(text, sizeof text, " %d/%d/%d", level.mazes, level.nodes, level.edges);
        line += text;
    }
    std::snprintf(text, sizeof text, " | %016llx | %016llx",
                  static_cast<unsigned long long>(Maze_digestgraph(DIGEST_START, root)),
                  static_cast<unsigned long long>(Maze_digestplace(DIGEST_START, root)));
    return line + text;
}
