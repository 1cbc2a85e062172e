#include "scene/cells.h"

#include "base/vec3.h"
#include "model/attachment.h"
#include "model/pos.h"
#include "scene/spatialgrid.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

static const f64 clip_tolerance = 1e-6;
static const f64 square_reach = 3.0; // half-width of the start square, in longest links
static const f64 search_reach = 5.0; // how far other nodes are looked for, in longest links
static const f64 no_length = 1e-6;   // a side shorter than that is none, in longest links

// Cutting

struct HalfPlane {
    f64 mid[2];
    f64 dir[2];
    i32 neighbour;
    i32 linked;
};

static f64 beyond(const HalfPlane* plane, const VoronoiVertex* corner)
{
    return (corner->x - plane->mid[0]) * plane->dir[0] +
           (corner->y - plane->mid[1]) * plane->dir[1];
}

static bool outside(const HalfPlane* plane, const VoronoiVertex* corner)
{
    return !(beyond(plane, corner) < clip_tolerance);
}

// The crossing on the side from a to b, with the side data of a. Corners that are beyond by less than the
// tolerance count as inside, so the share is held to the side.
static VoronoiVertex crossing(const HalfPlane* plane, const VoronoiVertex* a,
                              const VoronoiVertex* b)
{
    const f64 fa = beyond(plane, a);
    const f64 fb = beyond(plane, b);
    const f64 t = std::clamp(fa / (fa - fb), 0.0, 1.0);
    return {.x = a->x + (b->x - a->x) * t,
            .y = a->y + (b->y - a->y) * t,
            .neighbour = a->neighbour,
            .linked = a->linked};
}

enum { CUT_NOTHING = -1 };

// Cuts the polygon `in` of n corners into `out`, which has room for n + 1. Returns the number of corners,
// or CUT_NOTHING if all stay and `out` isn't written.
static i32 cut(VoronoiVertex* out, const VoronoiVertex* in, i32 n, const HalfPlane* plane)
{
    if (n == 0) {
        return CUT_NOTHING;
    }
    const bool firstout = outside(plane, in);
    bool nextout = firstout;
    i32 exit = -1;
    i32 entry = -1;
    for (i32 k = n - 1; k >= 0; k--) { // downward: of several the lowest holds
        const bool here = outside(plane, in + k);
        exit = !here && nextout ? k : exit;
        entry = here && !nextout ? k : entry;
        nextout = here;
    }
    if (exit < 0) {
        return firstout ? 0 : CUT_NOTHING;
    }
    i32 count = 0;
    for (i32 k = entry;; count++) { // clockwise, as the corners run
        k = k + 1 == n ? 0 : k + 1;
        out[count] = in[k];
        if (k == exit) {
            break;
        }
    }
    count++;
    out[count] = crossing(plane, in + exit, in + (exit + 1 == n ? 0 : exit + 1));
    out[count].neighbour = plane->neighbour;
    out[count].linked = plane->linked;
    count++;
    out[count] = crossing(plane, in + entry, in + (entry + 1 == n ? 0 : entry + 1));
    return count + 1;
}

void polygon_clip(GrowArray* poly, const f64 mid[2], const f64 dir[2], i32 neighbour, i32 linked)
{
    const HalfPlane plane = {
        .mid = {mid[0], mid[1]}, .dir = {dir[0], dir[1]}, .neighbour = neighbour, .linked = linked};
    GrowArray clipped;
    GrowArray_init(&clipped, sizeof(VoronoiVertex));
    GrowArray_reserve(&clipped, poly->count + 1);
    const i32 count = cut(items<VoronoiVertex>(&clipped), items<VoronoiVertex>(poly),
                          static_cast<i32>(poly->count), &plane);
    if (count == CUT_NOTHING) {
        GrowArray_free(&clipped);
        return;
    }
    clipped.count = static_cast<u32>(count);
    GrowArray_free(poly);
    *poly = clipped;
}

// Building

// The nodes of a level by the buckets of a grid, close together: those of one row of buckets along x
// follow each other.
struct Site {
    f64 pos[3];
    i32 index;
};

struct Sites {
    Site* site; // owned
    i32*
        first; // owned; the number of the first site of each bucket, and that of all behind the last
    SpatialGrid grid;
};

// Another node that may cut a cell.
struct Rival {
    f64 order; // nearest first: square of the distance in plan, a hair more for one above or below
    i32 site;
};

// The cell that is being cut, at the origin in units of the longest link.
struct Cutting {
    VoronoiVertex* corners;
    VoronoiVertex* spare; // as long; a cut goes from one to the other
    i32 capacity;
    i32 count;
    f64 square;       // of the distance of the farthest corner
    GrowArray rivals; // of Rival: those of one ring of buckets
    const Sites* sites;
    f64 lo[2];   // corner of the grid's box, seen from the node
    f64 side[2]; // sides of a bucket
    const MazeNode* node;
    i32 index;
    f64 unit;  // the longest link, maze units
    f64 scale; // its inverse
    Pos exits[POS_MAXEDGES];
    i32 exitcount;
};

static void makeroom(Cutting* cell)
{
    if (cell->count < cell->capacity) {
        return;
    }
    cell->capacity = cell->capacity * 2 + 16;
    const size_t size = static_cast<size_t>(cell->capacity) * sizeof(VoronoiVertex);
    cell->corners = static_cast<VoronoiVertex*>(std::realloc(cell->corners, size));
    cell->spare = static_cast<VoronoiVertex*>(std::realloc(cell->spare, size));
}

static void measure(Cutting* cell)
{
    f64 most = 0;
    for (i32 k = cell->count - 1; k >= 0; k--) {
        const VoronoiVertex* const corner = cell->corners + k;
        most = std::max(most, corner->x * corner->x + corner->y * corner->y);
    }
    cell->square = most;
}

static void startsquare(Cutting* cell)
{
    const f64 r = square_reach;
    const f64 places[4][2] = {{-r, -r}, {-r, r}, {r, r}, {r, -r}};
    for (i32 k = 3; k >= 0; k--) {
        cell->corners[k] = {.x = places[k][0], .y = places[k][1], .neighbour = -1, .linked = -1};
    }
    cell->count = 4;
    cell->square = 2 * r * r;
}

static i32 islinked(const Cutting* cell, i32 index)
{
    for (i32 i = cell->exitcount - 1; i >= 0; i--) {
        if (cell->exits[i].node == index) {
            return 1;
        }
    }
    return 0;
}

// A node that is twice as far as the farthest corner, or more, can't cut.
static bool canreach(const Cutting* cell, f64 square)
{
    return square < 4 * cell->square;
}

static void cutby(Cutting* cell, const Site* site)
{
    const f64 x = (site->pos[0] - cell->node->pos[0]) * cell->scale;
    const f64 y = (site->pos[1] - cell->node->pos[1]) * cell->scale;
    if (!canreach(cell, x * x + y * y)) {
        return;
    }
    const HalfPlane plane = {
        .mid = {x * 0.5, y * 0.5}, .dir = {x, y}, .neighbour = site->index, .linked = 0};
    makeroom(cell);
    const i32 count = cut(cell->spare, cell->corners, cell->count, &plane);
    if (count == CUT_NOTHING) {
        return;
    }
    std::swap(cell->corners, cell->spare);
    cell->count = count;
    measure(cell);
}

static void gather(Cutting* cell, i32 from, i32 end)
{
    const f64* const pos = cell->node->pos;
    for (i32 i = from; i < end; i++) { // as they lie
        const Site* const site = cell->sites->site + i;
        const f64 x = (site->pos[0] - pos[0]) * cell->scale;
        const f64 y = (site->pos[1] - pos[1]) * cell->scale;
        const f64 z = (site->pos[2] - pos[2]) * cell->scale;
        const f64 square = x * x + y * y;
        if (canreach(cell, square) && square + z * z <= search_reach * search_reach &&
            site->index != cell->index) {
            const Rival rival = {.order = square + 1e-9 * z * z, .site = i};
            GrowArray_push(&cell->rivals, &rival);
        }
    }
}

static bool isnearer(const Rival& a, const Rival& b)
{
    return a.order < b.order;
}

static void cutbyrivals(Cutting* cell)
{
    Rival* const rivals = items<Rival>(&cell->rivals);
    const i32 count = static_cast<i32>(cell->rivals.count);
    std::sort(rivals, rivals + count, isnearer);
    for (i32 i = 0; i < count; i++) { // nearest first
        cutby(cell, cell->sites->site + rivals[i].site);
    }
    cell->rivals.count = 0;
}

// Where a cell's search stands: its bucket, and the heights that it looks at.
struct Search {
    i32 x, y;
    i32 z0, z1;
};

// The buckets x0 to x1 of a row, as far as there are any, at all heights.
static void gatherrow(Cutting* cell, const Search* search, i32 x0, i32 x1, i32 y)
{
    const SpatialGrid* const grid = &cell->sites->grid;
    const i32 from = std::max(x0, 0);
    const i32 end = std::min(x1, grid->nx - 1) + 1;
    if (from >= end || y < 0 || y >= grid->ny) {
        return;
    }
    for (i32 z = search->z1; z >= search->z0; z--) {
        const i32* const first = cell->sites->first + (z * grid->ny + y) * grid->nx;
        gather(cell, first[from], first[end]);
    }
}

// The columns of buckets that are `m` away from the cell's own; the first ring has its own as well.
static void gatherring(Cutting* cell, const Search* search, i32 m)
{
    for (i32 i = m; i >= -m; i--) {
        if (i == m || i == -m || m == 1) {
            gatherrow(cell, search, search->x - m, search->x + m, search->y + i);
        } else {
            gatherrow(cell, search, search->x - m, search->x - m, search->y + i);
            gatherrow(cell, search, search->x + m, search->x + m, search->y + i);
        }
    }
}

// How near a bucket can be that is `m` columns away along one axis, or farther; `at` of n buckets is the
// cell's own. Infinite if there is none.
static f64 nearestalong(const Cutting* cell, i32 axis, i32 at, i32 n, i32 m)
{
    const f64 below = at - m >= 0 ? -(cell->lo[axis] + (at - m + 1) * cell->side[axis]) : HUGE_VAL;
    const f64 above = at + m < n ? cell->lo[axis] + (at + m) * cell->side[axis] : HUGE_VAL;
    return std::max(std::min(below, above), 0.0);
}

static bool ringreaches(const Cutting* cell, const Search* search, i32 m)
{
    const SpatialGrid* const grid = &cell->sites->grid;
    const f64 near = std::min(nearestalong(cell, 0, search->x, grid->nx, m),
                              nearestalong(cell, 1, search->y, grid->ny, m));
    return near <= search_reach && canreach(cell, near * near);
}

static void cutcell(Cutting* cell)
{
    const SpatialGrid* const grid = &cell->sites->grid;
    const f64* const pos = cell->node->pos;
    const f64 reach = search_reach * cell->unit;
    const f64 low[3] = {pos[0], pos[1], pos[2] - reach};
    const f64 high[3] = {pos[0], pos[1], pos[2] + reach};
    Search search;
    SpatialGrid_cell(grid, low, &search.x, &search.y, &search.z0);
    SpatialGrid_cell(grid, high, &search.x, &search.y, &search.z1);
    const i32 n[2] = {grid->nx, grid->ny};
    for (i32 k = 1; k >= 0; k--) {
        cell->lo[k] = (grid->lo[k] - pos[k]) * cell->scale;
        cell->side[k] = (grid->hi[k] - grid->lo[k]) / n[k] * cell->scale;
    }
    i32 m = 1;
    do { // from the inside
        gatherring(cell, &search, m);
        cutbyrivals(cell);
        m++;
    } while (ringreaches(cell, &search, m));
}

// Corner k in maze units, with what is known of its side.
static VoronoiVertex placed(const Cutting* cell, i32 k)
{
    VoronoiVertex corner = cell->corners[k];
    corner.x = cell->node->pos[0] + corner.x * cell->unit;
    corner.y = cell->node->pos[1] + corner.y * cell->unit;
    if (corner.neighbour >= 0) {
        corner.linked = islinked(cell, corner.neighbour);
    }
    return corner;
}

static bool haslength(const Cutting* cell, i32 k)
{
    const VoronoiVertex* const a = cell->corners + k;
    const VoronoiVertex* const b = cell->corners + (k + 1 == cell->count ? 0 : k + 1);
    const f64 x = b->x - a->x;
    const f64 y = b->y - a->y;
    return x * x + y * y >= no_length * no_length;
}

// The cell as it is kept, without the sides of no length.
static void store(GrowArray* out, Cutting* cell)
{
    i32 count = 0;
    for (i32 k = 0; k < cell->count; k++) { // clockwise
        if (haslength(cell, k)) {
            cell->spare[count] = placed(cell, k);
            count++;
        }
    }
    if (count >= 3) {
        GrowArray_append(out, cell->spare, static_cast<u32>(count));
    }
}

static void storepoint(GrowArray* out, const MazeNode* node)
{
    const VoronoiVertex corner = {
        .x = node->pos[0], .y = node->pos[1], .neighbour = -1, .linked = -1};
    for (i32 k = 3; k >= 0; k--) {
        GrowArray_push(out, &corner);
    }
}

static i32 listlinks(const Maze* maze, i32 n, bool alledges, Pos* exits)
{
    if (alledges) {
        return Pos_alledges({const_cast<Maze*>(maze), n}, exits, nullptr);
    }
    const MazeNode* const node = Maze_node(maze, n);
    for (i32 i = static_cast<i32>(node->nedges) - 1; i >= 0; i--) {
        exits[i] = {const_cast<Maze*>(maze), node->edges[i]};
    }
    return static_cast<i32>(node->nedges);
}

// Lists the links of a node that stay in its level, and measures the longest.
static void findlinks(Cutting* cell, const Maze* maze, i32 n, bool alledges)
{
    const i32 count = listlinks(maze, n, alledges, cell->exits);
    f64 square = 0;
    cell->exitcount = 0;
    for (i32 i = 0; i < count; i++) { // those kept close up
        if (cell->exits[i].maze == maze) {
            f64 way[3];
            vec3_sub(way, Pos_node(cell->exits[i])->pos, cell->node->pos);
            const f64 length = vec3_dot(way, way);
            square = length > square || length != length ? length : square;
            cell->exits[cell->exitcount] = cell->exits[i];
            cell->exitcount++;
        }
    }
    cell->unit = std::sqrt(square);
}

static bool finite(const f64 v[3])
{
    return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
}

static void buildcell(GrowArray* out, Cutting* cell, const Maze* maze, i32 n, bool alledges)
{
    cell->index = n;
    cell->node = Maze_node(maze, n);
    findlinks(cell, maze, n, alledges);
    if (!finite(cell->node->pos) || !std::isfinite(cell->unit)) {
        return;
    }
    if (!(cell->unit > 1e-150)) { // its square would be 0
        storepoint(out, cell->node);
        return;
    }
    cell->scale = 1 / cell->unit;
    startsquare(cell);
    cutcell(cell);
    store(out, cell);
}

static void boundplaces(const Maze* maze, f64 lo[3], f64 hi[3])
{
    for (i32 k = 2; k >= 0; k--) {
        lo[k] = 0;
        hi[k] = 0;
    }
    bool any = false;
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        const f64* const pos = Maze_node(maze, i)->pos;
        for (i32 k = finite(pos) ? 2 : -1; k >= 0; k--) {
            lo[k] = any ? std::min(lo[k], pos[k]) : pos[k];
            hi[k] = any ? std::max(hi[k], pos[k]) : pos[k];
        }
        any = any || finite(pos);
    }
}

static void fillgrid(SpatialGrid* grid, const Maze* maze)
{
    f64 lo[3];
    f64 hi[3];
    boundplaces(maze, lo, hi);
    SpatialGrid_new(grid, lo, hi, Maze_count(maze));
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        const f64* const pos = Maze_node(maze, i)->pos;
        SpatialGrid_add(grid, pos, pos, i);
    }
}

static void copybucket(Site* to, const GrowArray* bucket)
{
    for (i32 i = static_cast<i32>(bucket->count) - 1; i >= 0; i--) {
        const GridEntry* const entry = items<GridEntry>(bucket) + i;
        std::memcpy(to[i].pos, entry->lo, sizeof to[i].pos);
        to[i].index = entry->index;
    }
}

static void sortsites(Sites* sites, const Maze* maze)
{
    fillgrid(&sites->grid, maze);
    const i32 buckets = sites->grid.nx * sites->grid.ny * sites->grid.nz;
    const size_t count = static_cast<size_t>(Maze_count(maze)) + 1;
    sites->site = static_cast<Site*>(std::malloc(count * sizeof(Site)));
    sites->first = static_cast<i32*>(std::malloc((static_cast<size_t>(buckets) + 1) * sizeof(i32)));
    i32 end = Maze_count(maze);
    sites->first[buckets] = end;
    for (i32 i = buckets - 1; i >= 0; i--) {
        const GrowArray* const bucket = sites->grid.cells + i;
        end -= static_cast<i32>(bucket->count);
        sites->first[i] = end;
        copybucket(sites->site + end, bucket);
    }
}

static void freesites(Sites* sites)
{
    std::free(sites->site);
    std::free(sites->first);
    SpatialGrid_free(&sites->grid);
}

// Destructor of the attachment.
static void freecells(void* data, Maze* /*maze*/)
{
    VoronoiCells* const cells = static_cast<VoronoiCells*>(data);
    for (i32 i = cells->count - 1; i >= 0; i--) {
        GrowArray_free(cells->cell + i);
    }
    std::free(cells->cell);
    std::free(cells);
}

static VoronoiCells* emptycells(i32 count)
{
    VoronoiCells* const cells = static_cast<VoronoiCells*>(std::calloc(1, sizeof(VoronoiCells)));
    cells->count = count;
    cells->cell = static_cast<GrowArray*>(
        std::malloc(static_cast<size_t>(count > 0 ? count : 1) * sizeof(GrowArray)));
    for (i32 i = count - 1; i >= 0; i--) {
        GrowArray_init(cells->cell + i, sizeof(VoronoiVertex));
    }
    return cells;
}

void voronoi_build(Maze* maze, bool alledges)
{
    Maze_detach(maze, "voronoi", false);
    VoronoiCells* const cells = emptycells(Maze_count(maze));
    Sites sites;
    sortsites(&sites, maze);
    Cutting cell = {};
    cell.sites = &sites;
    GrowArray_init(&cell.rivals, sizeof(Rival));
    cell.count = 4;
    makeroom(&cell);
    for (i32 i = cells->count - 1; i >= 0; i--) {
        buildcell(cells->cell + i, &cell, maze, i, alledges);
    }
    std::free(cell.corners);
    std::free(cell.spare);
    GrowArray_free(&cell.rivals);
    freesites(&sites);
    Maze_attach(maze, "voronoi", cells, freecells, 0);
}

// What is asked of the cells

f64 plane_z(const f64 a[3], const f64 b[3], const f64 c[3], const f64 p[2])
{
    const f64 bx = b[0] - a[0];
    const f64 by = b[1] - a[1];
    const f64 cx = c[0] - a[0];
    const f64 cy = c[1] - a[1];
    const f64 d = cx * by - cy * bx;
    if (!(std::fabs(d) > 1e-12 * (bx * bx + by * by + cx * cx + cy * cy))) {
        return a[2] * 0.5 + c[2] * 0.5;
    }
    const f64 za = (p[0] - b[0]) * (c[1] - b[1]) - (p[1] - b[1]) * (c[0] - b[0]);
    const f64 zc = (p[0] - a[0]) * by - (p[1] - a[1]) * bx;
    const f64 zb = (p[0] - c[0]) * (a[1] - c[1]) - (p[1] - c[1]) * (a[0] - c[0]);
    return (za * a[2] + zc * c[2] + zb * b[2]) / d;
}

static const VoronoiVertex* corner(const VoronoiCells* cells, i32 i, i32 k)
{
    return items<VoronoiVertex>(cells->cell + i) + k;
}

// The side of the cell of node i that faces node `other`, -1 if there is none.
static i32 facingside(const VoronoiCells* cells, i32 i, i32 other)
{
    i32 k = static_cast<i32>(cells->cell[i].count) - 1;
    while (k >= 0 && corner(cells, i, k)->neighbour != other) {
        k--;
    }
    return k;
}

// Whether two corners are one, going by the length of a side that ends there.
static bool meets(const VoronoiVertex* a, const VoronoiVertex* b, f64 unit)
{
    const f64 x = b->x - a->x;
    const f64 y = b->y - a->y;
    return x * x + y * y <= 1e-6 * unit * unit;
}

i32 voronoi_ring(const VoronoiCells* cells, i32 nodes, i32 i, i32 k, i32* ring)
{
    const i32 count = static_cast<i32>(cells->cell[i].count);
    const VoronoiVertex* const middle = corner(cells, i, k + 1 == count ? 0 : k + 1);
    const f64 unit =
        std::hypot(middle->x - corner(cells, i, k)->x, middle->y - corner(cells, i, k)->y);
    i32 here = i;
    i32 side = k;
    for (i32 n = 0; n < VORONOI_MOSTRING; n++) { // round the corner
        ring[n] = here;
        const i32 next = corner(cells, here, side)->neighbour;
        if (next == i) {
            return n + 1 >= 3 ? n + 1 : 0;
        }
        if (next < 0 || next >= cells->count || next >= nodes) {
            return 0;
        }
        const i32 facing = facingside(cells, next, here);
        if (facing < 0 || !meets(corner(cells, next, facing), middle, unit)) {
            return 0;
        }
        side = facing > 0 ? facing - 1 : static_cast<i32>(cells->cell[next].count) - 1;
        here = next;
    }
    return 0;
}
