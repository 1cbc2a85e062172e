#include "scene/spatialgrid.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

static i32 share(i32 k, f64 side, f64 largest)
{
    const f64 n = k * side / largest;
    return n > 1 ? static_cast<i32>(n) : 1;
}

static i32 bucketcount(const SpatialGrid* grid)
{
    return grid->nx * grid->ny * grid->nz;
}

// The coarsest grid of at least n buckets.
static void choosesize(SpatialGrid* grid, i32 n)
{
    const f64 dx = grid->hi[0] - grid->lo[0];
    const f64 dy = grid->hi[1] - grid->lo[1];
    const f64 dz = grid->hi[2] - grid->lo[2];
    const f64 largest = std::fmax(dx, std::fmax(dy, dz));
    grid->nx = 1;
    grid->ny = 1;
    grid->nz = 1;
    if (n < 2 || !std::isfinite(dx + dy + dz) || !(largest > 0)) {
        return;
    }
    for (i32 k = 1; bucketcount(grid) < n; k++) { // the first that does
        grid->nx = share(k, dx, largest);
        grid->ny = share(k, dy, largest);
        grid->nz = share(k, dz, largest);
    }
}

void SpatialGrid_new(SpatialGrid* out, const f64 lo[3], const f64 hi[3], i32 n)
{
    std::memcpy(out->lo, lo, sizeof out->lo);
    std::memcpy(out->hi, hi, sizeof out->hi);
    choosesize(out, n);
    const i32 count = bucketcount(out);
    out->cells =
        static_cast<GrowArray*>(std::malloc(static_cast<size_t>(count) * sizeof(GrowArray)));
    for (i32 i = count - 1; i >= 0; i--) {
        GrowArray_init(out->cells + i, sizeof(GridEntry));
    }
}

void SpatialGrid_free(SpatialGrid* grid)
{
    for (i32 i = bucketcount(grid) - 1; i >= 0; i--) {
        GrowArray_free(grid->cells + i);
    }
    std::free(grid->cells);
    grid->cells = nullptr;
}

static i32 cellalong(const SpatialGrid* grid, i32 axis, i32 n, f64 p)
{
    const f64 lo = grid->lo[axis];
    const f64 hi = grid->hi[axis];
    if (!(hi > lo)) {
        return 0;
    }
    const f64 at = (p - lo) / (hi - lo) * n;
    if (!(at > 0)) {
        return 0;
    }
    return at < n ? static_cast<i32>(at) : n - 1;
}

void SpatialGrid_cell(const SpatialGrid* grid, const f64 p[3], i32* ix, i32* iy, i32* iz)
{
    *ix = cellalong(grid, 0, grid->nx, p[0]);
    *iy = cellalong(grid, 1, grid->ny, p[1]);
    *iz = cellalong(grid, 2, grid->nz, p[2]);
}

// The buckets that a box meets, by their first and last numbers.
struct CellRange {
    i32 x0, y0, z0;
    i32 x1, y1, z1;
};

static CellRange cellrange(const SpatialGrid* grid, const f64 lo[3], const f64 hi[3])
{
    CellRange range;
    SpatialGrid_cell(grid, lo, &range.x0, &range.y0, &range.z0);
    SpatialGrid_cell(grid, hi, &range.x1, &range.y1, &range.z1);
    return range;
}

void SpatialGrid_add(SpatialGrid* grid, const f64 lo[3], const f64 hi[3], i32 index)
{
    GridEntry entry = {};
    std::memcpy(entry.lo, lo, sizeof entry.lo);
    std::memcpy(entry.hi, hi, sizeof entry.hi);
    entry.index = index;
    const CellRange range = cellrange(grid, lo, hi);
    for (i32 z = range.z1; z >= range.z0; z--) {
        for (i32 y = range.y1; y >= range.y0; y--) {
            for (i32 x = range.x1; x >= range.x0; x--) {
                GrowArray_push(SpatialGrid_bucket(grid, x, y, z), &entry);
            }
        }
    }
}

static f64 squaredistance(const GridEntry* entry, const f64 p[3])
{
    f64 sum = 0;
    for (i32 i = 2; i >= 0; i--) {
        f64 d = 0;
        if (!(p[i] >= entry->lo[i])) { // a place that isn't a number is at no distance
            d = entry->lo[i] - p[i];
        } else if (!(p[i] <= entry->hi[i])) {
            d = p[i] - entry->hi[i];
        }
        sum += d * d;
    }
    return sum;
}

static void querybucket(GrowArray* out, const GrowArray* bucket, const f64 p[3], f64 r)
{
    const i32 count = static_cast<i32>(bucket->count);
    for (i32 i = 0; i < count; i++) { // in the order in which they came
        const GridEntry* const entry = items<GridEntry>(bucket) + i;
        if (squaredistance(entry, p) <= r * r) {
            GrowArray_push(out, &entry->index);
        }
    }
}

void SpatialGrid_query(GrowArray* out, const SpatialGrid* grid, const f64 p[3], f64 r)
{
    const f64 lo[3] = {p[0] - r, p[1] - r, p[2] - r};
    const f64 hi[3] = {p[0] + r, p[1] + r, p[2] + r};
    const CellRange range = cellrange(grid, lo, hi);
    for (i32 z = range.z0; z <= range.z1; z++) { // from the lowest, x fastest
        for (i32 y = range.y0; y <= range.y1; y++) {
            for (i32 x = range.x0; x <= range.x1; x++) {
                querybucket(out, SpatialGrid_bucket(grid, x, y, z), p, r);
            }
        }
    }
    if (range.x0 != range.x1 || range.y0 != range.y1 || range.z0 != range.z1) {
        GrowArray_sortunique(out);
    }
}
