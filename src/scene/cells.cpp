#include "scene/cells.h"

#include "base/vec3.h"
#include "model/attachment.h"
#include "model/pos.h"
#include "scene/exits.h"
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

static bool isoutside(f64 far)
{
    return !(far < clip_tolerance);
}

// How far each corner is beyond the line, times the length of `dir`. Returns whether any is cut off.
static bool measurecorners(f64* far, const VoronoiVertex* in, i32 n, const HalfPlane* plane)
{
    bool any = false;
    for (i32 k = n - 1; k >= 0; k--) { // most rivals cut nothing: no branch for each corner
        far[k] = beyond(plane, in + k);
        any |= isoutside(far[k]);
    }
    return any;
}

// The point on the side from a to b, with the side data of a, where the line crosses it. Corners that are
// beyond by less than the tolerance count as inside, so the share is held to the side.
static VoronoiVertex crossing(const VoronoiVertex* a, f64 fara, const VoronoiVertex* b, f64 farb)
{
    const f64 t = std::clamp(fara / (fara - farb), 0.0, 1.0);
    return {.x = a->x + (b->x - a->x) * t,
            .y = a->y + (b->y - a->y) * t,
            .neighbour = a->neighbour,
            .linked = a->linked};
}

// Cuts a polygon some of whose corners are outside. Returns the number of corners left.
static i32 cutcorners(VoronoiVertex* out, const VoronoiVertex* in, i32 n, const HalfPlane* plane,
                      const f64* far)
{
    bool nextout = isoutside(far[0]);
    i32 exit = -1;
    i32 entry = -1;
    for (i32 k = n - 1; k >= 0; k--) { // downward: of several the lowest holds
        const bool here = isoutside(far[k]);
        exit = !here && nextout ? k : exit;
        entry = here && !nextout ? k : entry;
        nextout = here;
    }
    if (exit < 0) {
        return 0;
    }
    i32 count = 0;
    for (i32 k = entry; k != exit; count++) { // clockwise, as the corners run
        k = k + 1 == n ? 0 : k + 1;
        out[count] = in[k];
    }
    const i32 afterexit = exit + 1 == n ? 0 : exit + 1;
    const i32 afterentry = entry + 1 == n ? 0 : entry + 1;
    out[count] = crossing(in + exit, far[exit], in + afterexit, far[afterexit]);
    out[count].neighbour = plane->neighbour;
    out[count].linked = plane->linked;
    out[count + 1] = crossing(in + entry, far[entry], in + afterentry, far[afterentry]);
    return count + 2;
}

enum { CUT_NOTHING = -1, FEW_CORNERS = 64 };

// Cuts the polygon `in` of n corners into `out`, which has room for n + 1. Returns the number of corners,
// or CUT_NOTHING if all stay and `out` isn't written.
static i32 cut(VoronoiVertex* out, const VoronoiVertex* in, i32 n, const HalfPlane* plane)
{
    f64 few[FEW_CORNERS];
    f64* const far = n <= FEW_CORNERS
                         ? few
                         : static_cast<f64*>(std::malloc(static_cast<size_t>(n) * sizeof(f64)));
    const bool any = measurecorners(far, in, n, plane);
    const i32 count = any ? cutcorners(out, in, n, plane, far) : CUT_NOTHING;
    if (far != few) {
        std::free(far);
    }
    return count;
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
    i32* first; // owned; where each bucket begins, and behind the last where it ends
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
    f64 square;   // of the distance of the farthest corner
    f64 below[2]; // how far off on each axis, to either side, a node may be that can still cut
    f64 above[2];
    Rival* rivals; // those of one ring of buckets
    i32 rivalcapacity;
    i32 rivalcount;
    const Sites* sites;
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

// A node can cut a corner off only if it is nearer to the corner than the cell's own node, that is inside
// the circle about the corner through the origin.
static void measure(Cutting* cell)
{
    f64 most = 0;
    f64 below[2] = {0, 0};
    f64 above[2] = {0, 0};
    for (i32 k = cell->count - 1; k >= 0; k--) {
        const f64 x = cell->corners[k].x;
        const f64 y = cell->corners[k].y;
        const f64 square = x * x + y * y;
        const f64 r = std::sqrt(square);
        most = square > most ? square : most;
        below[0] = r - x > below[0] ? r - x : below[0];
        below[1] = r - y > below[1] ? r - y : below[1];
        above[0] = r + x > above[0] ? r + x : above[0];
        above[1] = r + y > above[1] ? r + y : above[1];
    }
    cell->square = most;
    const f64 range = search_reach + no_length; // so that rounding loses nothing at its end
    for (i32 k = 1; k >= 0; k--) {
        cell->below[k] = std::min(below[k], range);
        cell->above[k] = std::min(above[k], range);
    }
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
}

// Room for `n` rivals more.
static Rival* makerivals(Cutting* cell, i32 n)
{
    if (cell->rivalcount + n > cell->rivalcapacity) {
        cell->rivalcapacity = (cell->rivalcount + n) * 2;
        const size_t size = static_cast<size_t>(cell->rivalcapacity) * sizeof(Rival);
        cell->rivals = static_cast<Rival*>(std::realloc(cell->rivals, size));
    }
    return cell->rivals + cell->rivalcount;
}

static void gather(Cutting* cell, i32 from, i32 end)
{
    Rival* rival = makerivals(cell, end - from);
    const f64* const pos = cell->node->pos;
    const f64 unit = cell->unit * cell->unit;
    const f64 most = 4 * cell->square * unit;
    const f64 range = search_reach * search_reach * unit;
    for (i32 i = from; i < end; i++) { // as they lie
        const Site* const site = cell->sites->site + i;
        const f64 x = site->pos[0] - pos[0];
        const f64 y = site->pos[1] - pos[1];
        const f64 z = site->pos[2] - pos[2];
        const f64 square = x * x + y * y;
        *rival = {.order = square + 1e-9 * (z * z), .site = i};
        const bool reaches = (square < most) & (square + z * z <= range);
        rival += (reaches & (site->index != cell->index)) ? 1 : 0;
    }
    cell->rivalcount = static_cast<i32>(rival - cell->rivals);
}

static bool isnearer(const Rival& a, const Rival& b)
{
    return a.order < b.order;
}

enum { FEW_RIVALS = 32 };

// Sorts by counting for each how many go before it, which takes no branch that can't be foretold.
static void sortfew(Rival* rivals, i32 count)
{
    Rival sorted[FEW_RIVALS];
    i32 place[FEW_RIVALS] = {};
    for (i32 i = count - 1; i >= 1; i--) {
        i32 before = 0;
        for (i32 j = i - 1; j >= 0; j--) {
            const i32 first = rivals[j].order <= rivals[i].order ? 1 : 0;
            before += first;
            place[j] += 1 - first;
        }
        place[i] += before;
    }
    for (i32 i = count - 1; i >= 0; i--) {
        sorted[place[i]] = rivals[i];
    }
    std::copy(sorted, sorted + count, rivals);
}

static void cutbyrivals(Cutting* cell)
{
    const i32 count = cell->rivalcount;
    if (count <= FEW_RIVALS) {
        sortfew(cell->rivals, count);
    } else {
        std::sort(cell->rivals, cell->rivals + count, isnearer);
    }
    for (i32 i = 0; i < count; i++) { // nearest first
        cutby(cell, cell->sites->site + cell->rivals[i].site);
    }
    cell->rivalcount = 0;
    measure(cell);
}

// Where a cell's search stands: its bucket, and the heights that it looks at.
struct Search {
    i32 x, y;
    i32 z0, z1;
    f64 side[2];  // sides of a bucket, in longest links
    f64 below[2]; // from the node to the borders of its bucket on each axis
    f64 above[2];
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

// The four sides of the ring of buckets `m` away from the cell's own, 2 or more, as far as they matter.
// False if none did, and none farther off will.
static bool gatherring(Cutting* cell, const Search* search, i32 m)
{
    const SpatialGrid* const grid = &cell->sites->grid;
    const f64 stepx = (m - 1) * search->side[0];
    const f64 stepy = (m - 1) * search->side[1];
    const bool west = search->x >= m && search->below[0] + stepx < cell->below[0];
    const bool east = search->x + m < grid->nx && search->above[0] + stepx < cell->above[0];
    const bool south = search->y >= m && search->below[1] + stepy < cell->below[1];
    const bool north = search->y + m < grid->ny && search->above[1] + stepy < cell->above[1];
    if (south) {
        gatherrow(cell, search, search->x - m, search->x + m, search->y - m);
    }
    if (north) {
        gatherrow(cell, search, search->x - m, search->x + m, search->y + m);
    }
    for (i32 i = west || east ? m - 1 : -m; i > -m; i--) {
        if (west) {
            gatherrow(cell, search, search->x - m, search->x - m, search->y + i);
        }
        if (east) {
            gatherrow(cell, search, search->x + m, search->x + m, search->y + i);
        }
    }
    return west || east || south || north;
}

static void startsearch(Search* search, const Cutting* cell)
{
    const SpatialGrid* const grid = &cell->sites->grid;
    const f64* const pos = cell->node->pos;
    const f64 reach = search_reach * cell->unit;
    const f64 low[3] = {pos[0], pos[1], pos[2] - reach};
    const f64 high[3] = {pos[0], pos[1], pos[2] + reach};
    SpatialGrid_cell(grid, low, &search->x, &search->y, &search->z0);
    SpatialGrid_cell(grid, high, &search->x, &search->y, &search->z1);
    const i32 n[2] = {grid->nx, grid->ny};
    const i32 at[2] = {search->x, search->y};
    for (i32 k = 1; k >= 0; k--) {
        search->side[k] = (grid->hi[k] - grid->lo[k]) / n[k] * cell->scale;
        search->below[k] = (pos[k] - grid->lo[k]) * cell->scale - at[k] * search->side[k];
        search->above[k] = search->side[k] - search->below[k];
    }
}

static void cutcell(Cutting* cell)
{
    Search search;
    startsearch(&search, cell);
    for (i32 i = 1; i >= -1; i--) { // its own bucket and those round it
        gatherrow(cell, &search, search.x - 1, search.x + 1, search.y + i);
    }
    cutbyrivals(cell);
    for (i32 m = 2; gatherring(cell, &search, m); m++) { // outward
        cutbyrivals(cell);
    }
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

// An array of that many corners in one piece, without room for more.
static void fill(GrowArray* out, const VoronoiVertex* corners, i32 count)
{
    const size_t size = static_cast<size_t>(count) * sizeof(VoronoiVertex);
    *out = {.buf = static_cast<u8*>(std::malloc(std::max(size, sizeof(VoronoiVertex)))),
            .backptr = nullptr,
            .count = static_cast<u32>(count),
            .capacity = static_cast<u32>(std::max(count, 1)),
            .mincapacity = static_cast<u32>(array_defaultcap),
            .elemsize = sizeof(VoronoiVertex),
            .growth = 60.0F};
    std::memcpy(out->buf, corners, size);
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
    fill(out, cell->spare, count >= 3 ? count : 0);
}

static void storepoint(GrowArray* out, const MazeNode* node)
{
    const VoronoiVertex corner = {
        .x = node->pos[0], .y = node->pos[1], .neighbour = -1, .linked = -1};
    const VoronoiVertex corners[4] = {corner, corner, corner, corner};
    fill(out, corners, 4);
}

// Lists the links of a node that stay in its level, and measures the longest.
static void findlinks(Cutting* cell, const Maze* maze, i32 n, bool alledges)
{
    const i32 count = exits_list({const_cast<Maze*>(maze), n}, alledges, cell->exits, nullptr);
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
        fill(out, cell->spare, 0);
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

static VoronoiCells* newcells(i32 count)
{
    VoronoiCells* const cells = static_cast<VoronoiCells*>(std::calloc(1, sizeof(VoronoiCells)));
    cells->count = count;
    cells->cell = static_cast<GrowArray*>(
        std::malloc(static_cast<size_t>(count > 0 ? count : 1) * sizeof(GrowArray)));
    return cells;
}

void voronoi_build(Maze* maze, bool alledges)
{
    Maze_detach(maze, "voronoi", false);
    VoronoiCells* const cells = newcells(Maze_count(maze));
    Sites sites;
    sortsites(&sites, maze);
    Cutting cell = {};
    cell.sites = &sites;
    cell.count = 4;
    makeroom(&cell);
    for (i32 i = cells->count - 1; i >= 0; i--) {
        buildcell(cells->cell + i, &cell, maze, i, alledges);
    }
    std::free(cell.corners);
    std::free(cell.spare);
    std::free(cell.rivals);
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
