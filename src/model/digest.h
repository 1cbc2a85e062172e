// Digests of a tree of mazes: two worlds with the same digests are the same world, to six digits of a
// position.
//
// A digest is a 64-bit FNV-1a hash of a row of little-endian values, taken on a walk through the tree
// that enters a submaze right after the node that holds it. Attachments, bounds, `expandable`,
// counters and times of passage are no part of either.
#pragma once

#include "model/maze.h"

#include <cstdint>

/// The hash of no bytes at all, from which a digest begins.
inline constexpr std::uint64_t DIGEST_START = 14695981039346656037U;

/// Continues `hash` by what is joined to what, in which colours, under which names. Of a maze: its
/// number of nodes (4 bytes), its name with the closing 0 byte (a null name is that byte alone). Of a
/// node: its number of edges, then neighbour and edge colour slot by slot, its own colour (4 bytes
/// each), and a byte that is 1 if a submaze follows, otherwise 0. Recursive by level.
std::uint64_t Maze_digestgraph(std::uint64_t hash, const Maze* maze);

/// Continues `hash` by where the nodes are and how large. Of a node: x, y, z and radius, each as two
/// 8-byte integers q and e that keep six digits: with value = m 2^e and m at least 0.5 and below 1, q
/// is 1000000 m to the nearest whole number, halves away from 0. If that is 1000000, q is halved and e
/// goes up by one. A value below 1e-9 in size, or that isn't finite, counts as 0 0. Recursive by level.
std::uint64_t Maze_digestplace(std::uint64_t hash, const Maze* maze);
