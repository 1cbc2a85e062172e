#include "model/digest.h"

#include <cmath>

static constexpr std::uint64_t PRIME = 1099511628211U;
static constexpr f64 SIX_DIGITS = 1e6;
static constexpr f64 LEAST = 1e-9; // what is smaller counts as 0

// The lowest `size` bytes of a value, the lowest first.
static std::uint64_t fold(std::uint64_t hash, std::uint64_t value, i32 size)
{
    for (i32 i = size - 1; i >= 0; i--) {
        hash = (hash ^ (value & 0xFF)) * PRIME;
        value >>= 8;
    }
    return hash;
}

static std::uint64_t foldnumber(std::uint64_t hash, u32 value)
{
    return fold(hash, value, 4);
}

static std::uint64_t foldname(std::uint64_t hash, const char* name)
{
    for (const char* at = name; at != nullptr && *at != 0; at++) { // from its first letter on
        hash = fold(hash, static_cast<u8>(*at), 1);
    }
    return fold(hash, 0, 1);
}

static std::uint64_t foldreal(std::uint64_t hash, f64 value)
{
    int exponent = 0;
    std::int64_t digits = 0;
    if (std::isfinite(value) && std::fabs(value) >= LEAST) {
        digits = std::llround(std::frexp(value, &exponent) * SIX_DIGITS);
    }
    if (digits == 1000000 || digits == -1000000) {
        digits /= 2;
        exponent++;
    }
    hash = fold(hash, static_cast<std::uint64_t>(digits), 8);
    return fold(hash, static_cast<std::uint64_t>(static_cast<std::int64_t>(exponent)), 8);
}

static std::uint64_t foldnode(std::uint64_t hash, const MazeNode* node)
{
    hash = foldnumber(hash, node->nedges);
    for (u32 i = 0; i < node->nedges; i++) { // slots in rising order
        hash = foldnumber(hash, static_cast<u32>(node->edges[i]));
        hash = foldnumber(hash, node->edgerec[i].colour);
    }
    hash = foldnumber(hash, node->rec.colour);
    return fold(hash, node->sub != nullptr ? 1 : 0, 1);
}

std::uint64_t Maze_digestgraph(std::uint64_t hash, const Maze* maze)
{
    const i32 n = Maze_count(maze);
    hash = foldnumber(hash, static_cast<u32>(n));
    hash = foldname(hash, maze->name);
    for (i32 i = 0; i < n; i++) { // as they would stand in a file
        const MazeNode* const node = Maze_node(maze, i);
        hash = foldnode(hash, node);
        if (node->sub != nullptr) {
            hash = Maze_digestgraph(hash, node->sub);
        }
    }
    return hash;
}

std::uint64_t Maze_digestplace(std::uint64_t hash, const Maze* maze)
{
    const i32 n = Maze_count(maze);
    for (i32 i = 0; i < n; i++) { // as they would stand in a file
        const MazeNode* const node = Maze_node(maze, i);
        for (i32 k = 0; k < 3; k++) { // x, y, z
            hash = foldreal(hash, node->pos[k]);
        }
        hash = foldreal(hash, node->radius);
        if (node->sub != nullptr) {
            hash = Maze_digestplace(hash, node->sub);
        }
    }
    return hash;
}
