// What the soak looks at: each frame, each world, each saved game. A finding is told with where it
// happened, and ends the process.
#pragma once

#include "model/gamerec.h"

#include <string>

/// Where the soak is, for messages. Written by the runs.
struct SoakPlace {
    i32 seed;
    i32 session; // runs of the program begun
    i32 frame;   // of that run
};
extern SoakPlace soak_place;

/// Tells a finding and ends the process; the folder it happened in stays.
[[noreturn]] void finding(const std::string& what);

/// A game in one line: digests of the world, where the player stands, clock and view, all of which come
/// back with a saved game.
std::string game_told(const MazeGame* game);

/// Nodes on all levels.
i32 world_nodes(const Maze* maze);

/// A frame at its swap: no error of OpenGL, and every number of view and game finite.
void look_at_frame(const MazeGame* game);

/// Every invariant of the world, of one that isn't too large; true if it was looked through.
bool look_at_world(const MazeGame* game);

/// The save file in the present folder is there and sound.
void look_at_save();

/// The present folder holds settings and game and nothing else, and no fault has been told in it.
void look_at_folder();
