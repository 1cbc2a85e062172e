// Save files that are made to do harm, each named by what it claims.
#pragma once

#include "tests/handmade.h"

#include <limits>

struct Hostile {
    std::string name;
    Bytes bytes;
};

template <typename T> void set_at(Bytes* bytes, size_t at, T value)
{
    std::memcpy(bytes->data() + at, &value, sizeof value);
}

template <typename T> Hostile changed_hand_file(size_t at, T value)
{
    Hostile hostile = {hand_field(at) + " " + std::to_string(value), hand_file()};
    set_at(&hostile.bytes, at, value);
    return hostile;
}

/// Numbers of nodes that the file can't hold, or no longer fits to.
inline void add_counts(std::vector<Hostile>* list)
{
    for (const size_t at : hand_places(4, " nodes")) {
        const i32 right = hand_file()[at];
        for (const i32 count : {INT32_MIN, INT32_MIN + 1, -1, 0, right - 1, right + 1, 22, 1000000,
                                INT32_MAX - 1, INT32_MAX}) {
            list->push_back(changed_hand_file(at, count));
        }
    }
}

/// Numbers of edges beyond what a node takes, up to billions.
inline void add_edgecounts(std::vector<Hostile>* list)
{
    for (const size_t at : hand_places(4, " edges")) {
        for (const u32 count : {9U, 255U, 1000000000U, 0x09249249U, 153391689U, 0x7FFFFFFFU,
                                0x80000000U, 0xFFFFFFFFU}) {
            list->push_back(changed_hand_file(at, count));
        }
    }
}

/// Edges out of range, to the node itself, and to a node that lists none back or one too few.
inline void add_edges(std::vector<Hostile>* list)
{
    for (const char* const field :
         {"root 0 edge 0", "root 1 edge 0", "root 1 edge 1", "root 2 edge 0", "middle 0 edge 0",
          "middle 1 edge 0", "middle 2 edge 0", "middle 2 edge 1"}) {
        const size_t at = hand_place(field);
        const i32 right = hand_file()[at];
        for (const i32 target : {INT32_MIN, -1, 0, 1, 2, 3, 4, 256, INT32_MAX}) {
            if (target != right) {
                list->push_back(changed_hand_file(at, target));
            }
        }
    }
}

/// Marks on all mazes, on none, on two, and other bytes.
inline void add_marks(std::vector<Hostile>* list)
{
    const std::vector<size_t> places = hand_places(1, " mark");
    Hostile none = {"no mark", hand_file()};
    Hostile all = {"every mark", hand_file()};
    for (const size_t at : places) {
        none.bytes[at] = 0;
        all.bytes[at] = 1;
        const u8 right = hand_file()[at];
        for (const u8 mark : {u8{2}, u8{128}, u8{255}, static_cast<u8>(1 - right)}) {
            list->push_back(changed_hand_file(at, mark));
        }
    }
    list->push_back(none);
    list->push_back(all);
}

inline void add_flags(std::vector<Hostile>* list)
{
    for (const size_t at : hand_places(1, " submaze")) {
        const u8 right = hand_file()[at];
        for (const u8 flag : {u8{2}, u8{128}, u8{255}, static_cast<u8>(1 - right)}) {
            list->push_back(changed_hand_file(at, flag));
        }
    }
}

inline void add_counters(std::vector<Hostile>* list)
{
    for (const size_t at : hand_places(4, " visited")) {
        const i32 right = hand_file()[at];
        for (const i32 count : {INT32_MIN, -1, right - 1, right + 1, INT32_MAX}) {
            list->push_back(changed_hand_file(at, count));
        }
    }
    for (const size_t at : hand_places(4, " exits used")) {
        for (const u32 exits : {4U, 0x80000000U, 0xFFFFFFFFU}) {
            list->push_back(changed_hand_file(at, exits));
        }
    }
    for (const i32 node : {INT32_MIN, -1, 1, INT32_MAX}) {
        list->push_back(changed_hand_file(hand_place("player's node"), node));
    }
}

/// Each real number that isn't one.
inline void add_nonnumbers(std::vector<Hostile>* list)
{
    const f64 infinity = std::numeric_limits<f64>::infinity();
    const f64 nan = std::numeric_limits<f64>::quiet_NaN();
    for (const size_t at : hand_places(8)) {
        for (const f64 value :
             {infinity, -infinity, nan, -nan, std::numeric_limits<f64>::signaling_NaN()}) {
            list->push_back(changed_hand_file(at, value));
        }
    }
}

/// Mazes that end too early or too late, and levels beyond the most.
inline void add_shapes(std::vector<Hostile>* list)
{
    list->push_back({"no bytes", {}});
    list->push_back({"a byte", {1}});
    list->push_back({"zeros", Bytes(100000, 0)});
    list->push_back({"ones", Bytes(100000, 0xFF)});
    list->push_back({"text", Bytes(100000, 'x')});
    list->push_back({"1001 levels", tower_file(1001)});
    list->push_back({"20000 levels", tower_file(20000)});
    Bytes names = line_file(2);
    const size_t name = names.size() - GAME_TAIL - 5;
    names.resize(name);
    names.insert(names.end(), 1000000, 'n');
    list->push_back({"a name without an end", names});
    Bytes after = hand_file();
    after.push_back(0);
    list->push_back({"a byte too many", after});
}

/// Files of all these kinds, none of which may load.
inline std::vector<Hostile> hostile_files()
{
    std::vector<Hostile> list;
    add_counts(&list);
    add_edgecounts(&list);
    add_edges(&list);
    add_marks(&list);
    add_flags(&list);
    add_counters(&list);
    add_nonnumbers(&list);
    add_shapes(&list);
    return list;
}
