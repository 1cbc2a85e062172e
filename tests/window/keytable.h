// The key table: each row names keys, and tells what must be seen of them.
#pragma once

#include "tests/window/layout.h"
#include "tests/window/session.h"

#include <string>
#include <vector>

/// The runs of the program that a layout is given; rows of one run follow one another in it.
enum Play {
    PLAY_PICTURES, // on the islands, with a text
    PLAY_WALK,     // on the islands, without one
    PLAY_NEAR,     // on the islands
    PLAY_FAR,      // on the islands
    PLAY_CONTRACT, // on a grid with a leaf
    PLAY_RESHAPE,  // in a base maze
    PLAY_NEW,      // in a fresh world of a seed
    PLAY_GALLERY,  // the same
    PLAY_NESTED,   // the same
    PLAY_NESTED2,  // the same
    PLAYS
};

struct Playing {
    const Desktop& desktop;
    const Session& run;
    const KeyLayout& layout;
    std::string folder;
};

/// A row of the key table.
///
/// `keys`    names joined by '+', the keys that are held first; or what is done with the mouse
/// `drive`   does it with real events, and expects what is seen of it at once
/// `left`    what it must have left in the folder when the run is over; null: nothing
/// `layout`  the only layout on which this row is driven; null: each
struct KeyRow {
    std::string keys;
    Play play;
    void (*drive)(const Playing& play, const std::string& keys);
    void (*left)(const std::string& folder) = nullptr;
    const char* layout = nullptr;
};

extern const std::vector<KeyRow> key_table;

inline constexpr unsigned key_table_seed = 4711; // of the fresh worlds
