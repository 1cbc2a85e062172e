// EXPECT_SOUND(maze): every invariant of a maze and of all levels below it holds. A failure names each
// fault by the path of node numbers from the maze, as "1/17", and the node.
#pragma once

#include "model/maze.h"
#include "tests/system.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

enum SoundDoubled { SOUND_SINGLE, SOUND_DOUBLED };

inline i32 sound_multiplicity(const MazeNode* node, i32 target)
{
    i32 n = 0;
    for (u32 i = 0; i < node->nedges; i++) {
        n += node->edges[i] == target ? 1 : 0;
    }
    return n;
}

inline void sound_edges(const Maze* maze, i32 n, SoundDoubled doubled, const std::string& where,
                        std::string* faults)
{
    const MazeNode* const node = Maze_node(maze, n);
    if (node->nedges > MAZE_MAXEDGES) {
        *faults += where + ": " + std::to_string(node->nedges) + " edges\n";
        return;
    }
    for (u32 i = 0; i < node->nedges; i++) {
        const i32 target = node->edges[i];
        std::string edge = where;
        edge.append(": edge ").append(std::to_string(i));
        edge.append(" to ").append(std::to_string(target));
        if (target < 0 || target >= Maze_count(maze)) {
            *faults += edge + " is out of range\n";
        } else if (target == n) {
            *faults += edge + " leads to the node itself\n";
        } else if (sound_multiplicity(node, target) !=
                   sound_multiplicity(Maze_node(maze, target), n)) {
            *faults += edge + " isn't symmetric\n";
        } else if (doubled == SOUND_SINGLE && sound_multiplicity(node, target) != 1) {
            *faults += edge + " is doubled\n";
        }
    }
}

inline void sound_sub(const Maze* maze, i32 n, i32 ports, const std::string& where,
                      std::string* faults)
{
    const MazeNode* const node = Maze_node(maze, n);
    const Maze* const sub = node->sub;
    if (sub->parent != maze || sub->parentnode != n) {
        *faults += where + ": the submaze names parent node " + std::to_string(sub->parentnode) +
                   (sub->parent == maze ? "\n" : " of another maze\n");
    }
    if (sub->nodes.count < node->nedges) {
        *faults += where + ": the submaze has " + std::to_string(sub->nodes.count) + " nodes for " +
                   std::to_string(node->nedges) + " ports\n";
    }
    if (n < ports) {
        *faults += where + ": a port holds a submaze\n";
    }
}

inline void sound_level(const Maze* maze, i32 ports, SoundDoubled doubled, const std::string& path,
                        std::string* faults)
{
    i32 visited = 0;
    for (i32 n = 0; n < Maze_count(maze); n++) {
        const std::string number = std::to_string(n);
        std::string where = "maze '";
        where.append(path).append("' node ").append(number);
        const MazeNode* const node = Maze_node(maze, n);
        visited += node->rec.walked >= 0.0 ? 1 : 0;
        sound_edges(maze, n, doubled, where, faults);
        if (node->sub != nullptr) {
            sound_sub(maze, n, ports, where, faults);
            std::string below = path;
            below.append(path.empty() ? "" : "/").append(number);
            sound_level(node->sub, static_cast<i32>(node->nedges), doubled, below, faults);
        }
    }
    if (visited != maze->visitednodes) {
        *faults += "maze '" + path + "': visitednodes is " + std::to_string(maze->visitednodes) +
                   ", nodes walked " + std::to_string(visited) + "\n";
    }
    if (maze->exitsused >> ports != 0) {
        *faults += "maze '" + path + "': exitsused " + std::to_string(maze->exitsused) + " with " +
                   std::to_string(ports) + " ports\n";
    }
}

// The ERROR lines of the debug dump.
inline std::string sound_dump(const Maze* maze, SoundDoubled doubled)
{
    const std::string file = (std::filesystem::temp_directory_path() /
                              ("corvane-sound-" + std::to_string(system_process()) + ".txt"))
                                 .string();
    std::remove(file.c_str());
    if (Maze_dump(maze, file.c_str(), "sound", MAZE_DUMP_ALL) < 0) {
        return "the dump can't be written\n";
    }
    std::string faults;
    std::ifstream in(file);
    for (std::string text; std::getline(in, text);) {
        const bool twice = text.ends_with(" twice");
        if (text.starts_with("ERROR") && !(twice && doubled == SOUND_DOUBLED)) {
            faults += text + "\n";
        }
    }
    in.close();
    std::remove(file.c_str());
    return faults;
}

/// The faults of a maze and of all levels below it, a line each; empty if it is sound. Of a maze that
/// hangs on no node itself, the ports aren't looked at. With SOUND_DOUBLED two nodes may be joined more
/// than once.
inline std::string sound_faults(const Maze* maze, SoundDoubled doubled = SOUND_SINGLE)
{
    const bool hangs = maze->parent != nullptr && maze->parentnode >= 0 &&
                       maze->parentnode < Maze_count(maze->parent) &&
                       Maze_parentnode(maze)->sub == maze;
    const i32 ports = hangs ? Maze_ports(maze) : 0;
    std::string faults;
    if (Maze_count(maze) < ports) {
        faults = "fewer nodes than ports\n";
    }
    sound_level(maze, ports, doubled, "", &faults);
    return faults + (faults.empty() ? sound_dump(maze, doubled) : "");
}

#define EXPECT_SOUND(maze)             EXPECT_EQ("", sound_faults(maze))
#define EXPECT_SOUND_BUT_DOUBLED(maze) EXPECT_EQ("", sound_faults(maze, SOUND_DOUBLED))
