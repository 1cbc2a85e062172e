// The names of mazes as flat text that lies in the x-y plane beyond the top of the maze.
#pragma once

#include "model/gamerec.h"

/// Prints the name of a level and, if `recursive`, those of all below, last node first, with the current
/// font and into an open batch of text3d_begin. From its second dot on a name is half as large. A level
/// out of the game's view is left out with all below it.
void labels_draw(Maze* maze, const MazeGame* game, bool recursive);

/// The same with the font "fmod" and a batch of its own. The font "normal" is current afterwards.
void labels_draw_font(Maze* maze, const MazeGame* game, bool recursive);

/// Quads of a text in space, into an open batch: `base` is its upper left corner, `a` the step from one
/// line to the next, `b` the width of one cell as wide as it is high. Byte 10 begins a new line, byte 9
/// leaves a cell free.
void text3d(const char* text, const f64 base[3], const f64 a[3], const f64 b[3]);
