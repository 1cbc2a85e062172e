// Buckets of boxes in space, by which the items near a point are found without looking at all.
//
// The grid covers a box given when it is made. What lies outside goes to the buckets at its border, so
// nothing is lost; a place that isn't a number goes to the first.
#pragma once

#include "base/growarray.h"

/// An item in a bucket; one whose box meets several buckets stands in each.
struct GridEntry {
    f64 lo[3];
    f64 hi[3];
    i32 index; // the caller's number of the item
};

struct SpatialGrid {
    i32 nx, ny, nz;
    GrowArray* cells; // owned; nx ny nz buckets of GridEntry, x fastest
    f64 lo[3];
    f64 hi[3];
};

/// Makes an empty grid of about `n` buckets over a box, which are as near to cubes as whole numbers
/// allow; a single one for fewer than 2 items and for a box without extent. Freed with
/// SpatialGrid_free.
void SpatialGrid_new(SpatialGrid* out, const f64 lo[3], const f64 hi[3], i32 n);

/// Frees the buckets.
void SpatialGrid_free(SpatialGrid* grid);

/// The bucket of a point: its number on each axis, held to the grid.
void SpatialGrid_cell(const SpatialGrid* grid, const f64 p[3], i32* ix, i32* iy, i32* iz);

/// Adds an item to every bucket that its box meets.
void SpatialGrid_add(SpatialGrid* grid, const f64 lo[3], const f64 hi[3], i32 index);

/// Pushes on `out` (of i32) the numbers of the items whose box lies within `r` of `p`, each once.
void SpatialGrid_query(GrowArray* out, const SpatialGrid* grid, const f64 p[3], f64 r);

/// The bucket of three numbers, trusted to lie in the grid.
inline GrowArray* SpatialGrid_bucket(const SpatialGrid* grid, i32 ix, i32 iy, i32 iz)
{
    return grid->cells + (iz * grid->ny + iy) * grid->nx + ix;
}
