// The plain version of the cells: for each node the candidates of a query, in the order found, each cut
// into an array of its own. What voronoi_build is measured against, and compared with.
#pragma once

#include "model/pos.h"
#include "scene/cells.h"
#include "scene/spatialgrid.h"

#include <algorithm>
#include <cmath>

/// The longest link of a node inside its level, and the nodes at the other ends.
struct PlainLinks {
    f64 longest = 0;
    i32 count = 0;
    i32 ends[POS_MAXEDGES] = {};
};

inline PlainLinks plain_links(Maze* maze, i32 n)
{
    PlainLinks links;
    Pos exits[POS_MAXEDGES];
    for (i32 i = Pos_alledges({maze, n}, exits, nullptr) - 1; i >= 0; i--) {
        if (exits[i].maze == maze) {
            const f64* const a = Maze_node(maze, n)->pos;
            const f64* const b = Maze_node(maze, exits[i].node)->pos;
            const f64 x = b[0] - a[0];
            const f64 y = b[1] - a[1];
            const f64 z = b[2] - a[2];
            links.longest = std::max(links.longest, std::sqrt(x * x + y * y + z * z));
            links.ends[links.count++] = exits[i].node;
        }
    }
    return links;
}

inline void plain_grid(SpatialGrid* grid, const Maze* maze)
{
    f64 lo[3] = {1e300, 1e300, 1e300};
    f64 hi[3] = {-1e300, -1e300, -1e300};
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        for (i32 k = 0; k < 3; k++) {
            lo[k] = std::min(lo[k], Maze_node(maze, i)->pos[k]);
            hi[k] = std::max(hi[k], Maze_node(maze, i)->pos[k]);
        }
    }
    SpatialGrid_new(grid, lo, hi, Maze_count(maze));
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        SpatialGrid_add(grid, Maze_node(maze, i)->pos, Maze_node(maze, i)->pos, i);
    }
}

inline void plain_cell(GrowArray* cell, const SpatialGrid* grid, Maze* maze, i32 n)
{
    const PlainLinks links = plain_links(maze, n);
    const f64* const p = Maze_node(maze, n)->pos;
    const f64 r = 3 * links.longest;
    const VoronoiVertex square[4] = {{p[0] - r, p[1] - r, -1, -1},
                                     {p[0] - r, p[1] + r, -1, -1},
                                     {p[0] + r, p[1] + r, -1, -1},
                                     {p[0] + r, p[1] - r, -1, -1}};
    GrowArray_init(cell, sizeof(VoronoiVertex));
    GrowArray_append(cell, square, 4);
    GrowArray found;
    GrowArray_init(&found, sizeof(i32));
    SpatialGrid_query(&found, grid, p, 5 * links.longest);
    for (i32 c = static_cast<i32>(found.count) - 1; c >= 0; c--) {
        const i32 j = items<i32>(&found)[c];
        if (j == n) {
            continue;
        }
        const f64* const q = Maze_node(maze, j)->pos;
        const f64 mid[2] = {(p[0] + q[0]) * 0.5, (p[1] + q[1]) * 0.5};
        const f64 dir[2] = {q[0] - p[0], q[1] - p[1]};
        const bool linked =
            std::find(links.ends, links.ends + links.count, j) != links.ends + links.count;
        polygon_clip(cell, mid, dir, j, linked ? 1 : 0);
    }
    GrowArray_free(&found);
}

/// The cells of a level, one array of VoronoiVertex a node, owned by the caller: plain_free.
inline GrowArray* plain_cells(Maze* maze)
{
    const i32 count = Maze_count(maze);
    GrowArray* const cells = new GrowArray[static_cast<size_t>(count)];
    SpatialGrid grid;
    plain_grid(&grid, maze);
    for (i32 i = count - 1; i >= 0; i--) {
        plain_cell(cells + i, &grid, maze, i);
    }
    SpatialGrid_free(&grid);
    return cells;
}

inline void plain_free(GrowArray* cells, i32 count)
{
    for (i32 i = count - 1; i >= 0; i--) {
        GrowArray_free(cells + i);
    }
    delete[] cells;
}
