// Voronoi cells by an independent method, and what is compared of two cells.
#pragma once

#include "scene/cells.h"
#include "tests/plaincells.h"

#include <cmath>
#include <set>
#include <vector>

/// A corner in long arithmetic, with the node across the side that begins there.
struct LongCorner {
    long double x, y;
    i32 neighbour;
};
using LongCell = std::vector<LongCorner>;

/// What lies nearer to the origin than to (x, y) of a polygon, by the plain rule for each side, without any
/// tolerance.
inline LongCell long_cut(const LongCell& cell, long double x, long double y, i32 neighbour)
{
    const auto beyond = [&](const LongCorner& c) {
        return c.x * x + c.y * y - (x * x + y * y) / 2;
    };
    LongCell out;
    for (size_t k = 0; k < cell.size(); k++) {
        const LongCorner& a = cell[k];
        const LongCorner& b = cell[(k + 1) % cell.size()];
        const long double fa = beyond(a);
        const long double fb = beyond(b);
        const long double t = fa / (fa - fb);
        if (fa <= 0) {
            out.push_back(a);
        }
        if (fa <= 0 && fb > 0) {
            out.push_back({a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t, neighbour});
        } else if (fa > 0 && fb <= 0) {
            out.push_back({a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t, a.neighbour});
        }
    }
    return out;
}

/// The cell of a node, relative to it: every other node within five longest links cuts, in the order of
/// their numbers.
inline LongCell long_cell(Maze* maze, i32 n)
{
    const long double longest = plain_links(maze, n).longest;
    const long double r = 3 * longest;
    LongCell cell = {{-r, -r, -1}, {-r, r, -1}, {r, r, -1}, {r, -r, -1}};
    const f64* const p = Maze_node(maze, n)->pos;
    for (i32 j = 0; j < Maze_count(maze); j++) {
        const f64* const q = Maze_node(maze, j)->pos;
        const long double x = static_cast<long double>(q[0]) - p[0];
        const long double y = static_cast<long double>(q[1]) - p[1];
        const long double z = static_cast<long double>(q[2]) - p[2];
        if (j != n && x * x + y * y + z * z <= 25 * longest * longest && (x != 0 || y != 0)) {
            cell = long_cut(cell, x, y, j);
        }
    }
    return cell;
}

/// The corners of a cell relative to its node.
inline LongCell corners_of(const GrowArray* cell, const MazeNode* node)
{
    LongCell out;
    for (u32 k = 0; k < cell->count; k++) {
        const VoronoiVertex* const corner = items<VoronoiVertex>(cell) + k;
        out.push_back({corner->x - static_cast<long double>(node->pos[0]),
                       corner->y - static_cast<long double>(node->pos[1]), corner->neighbour});
    }
    return out;
}

/// Positive for corners that go clockwise.
inline f64 area_of(const LongCell& cell)
{
    long double twice = 0;
    for (size_t k = 0; k < cell.size(); k++) {
        const LongCorner& a = cell[k];
        const LongCorner& b = cell[(k + 1) % cell.size()];
        twice += b.x * a.y - a.x * b.y;
    }
    return static_cast<f64>(twice / 2);
}

/// The neighbours across sides that are longer than that.
inline std::set<i32> neighbours_of(const LongCell& cell, f64 longer)
{
    std::set<i32> out;
    for (size_t k = 0; k < cell.size(); k++) {
        const LongCorner& a = cell[k];
        const LongCorner& b = cell[(k + 1) % cell.size()];
        if (std::hypot(b.x - a.x, b.y - a.y) > static_cast<long double>(longer)) {
            out.insert(a.neighbour);
        }
    }
    return out;
}
