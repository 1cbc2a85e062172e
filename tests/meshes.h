// Plain models of generated graphs, and what tests ask of such graphs.
#pragma once

#include "tests/mazes.h"

#include <array>
#include <cmath>
#include <map>
#include <set>
#include <string>
#include <vector>

/// The neighbours of each node in slot order, by node number.
using Slots = std::vector<std::vector<i32>>;

inline Slots slots_of(const Maze* maze)
{
    Slots all;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        all.push_back(neighbours(maze, i));
    }
    return all;
}

/// How many nodes have each number of edges.
inline std::map<u32, i32> edge_counts(const Maze* maze)
{
    std::map<u32, i32> counts;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        counts[Maze_node(maze, i)->nedges]++;
    }
    return counts;
}

inline std::array<f64, 3> place_of(const Maze* maze, i32 n)
{
    const f64* const p = Maze_node(maze, n)->pos;
    return {p[0], p[1], p[2]};
}

inline f64 distance_of(const Maze* maze, i32 a, i32 b)
{
    const std::array<f64, 3> p = place_of(maze, a);
    const std::array<f64, 3> q = place_of(maze, b);
    return std::hypot(p[0] - q[0], p[1] - q[1], p[2] - q[2]);
}

/// The numbers of nodes that can be reached from node 0 are all there are.
inline bool is_connected(const Maze* maze)
{
    std::set<i32> seen = {0};
    std::vector<i32> open = {0};
    while (!open.empty()) {
        const i32 n = open.back();
        open.pop_back();
        for (const i32 t : neighbours(maze, n)) {
            if (seen.insert(t).second) {
                open.push_back(t);
            }
        }
    }
    return static_cast<i32>(seen.size()) == Maze_count(maze);
}

/// Names what isn't as in a freshly made node of radius 0.5; empty if all is.
inline std::string stale_nodes(const Maze* maze)
{
    std::string faults;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        const MazeNode* const node = Maze_node(maze, i);
        std::vector<VisitRec> recs(node->edgerec, node->edgerec + node->nedges);
        recs.push_back(node->rec);
        bool fresh = node->radius == 0.5 && node->expandable == 0 && node->sub == nullptr;
        for (const VisitRec& rec : recs) {
            fresh = fresh && rec.colour == 0x808080 && rec.walked == -1.0 && rec.trailed == -1.0;
        }
        faults += fresh ? "" : "node " + std::to_string(i) + "\n";
    }
    return faults;
}
