// Colours of elements by their history.
#pragma once

#include "model/gamerec.h"

/// The colour of an element of a submaze some of whose exits have been used: 0x408040 if all have,
/// else 0xC0A040 for one and 0x80C040 for more. Otherwise `colour`.
u32 exit_colour(const Maze* maze, u32 colour);

/// A record's colour as it is drawn: white 0xFFFFFF as 0xFEFEFE.
u32 colour_drawn(u32 colour);

/// Red, green and blue, 0 to 1, of a record's colour as it is drawn: white 0xFFFFFF as 0xFEFEFE.
void colour_channels(u32 colour, f32 out[3]);

/// A colour (0xRRGGBB) with a number added to each channel, held at 0 to 255.
u32 colour_add(u32 colour, i32 dr, i32 dg, i32 db);

/// The light that an age in seconds adds to an element, 0xRRGGBB, a colour for each decade: the shader's
/// agecolour in whole numbers. An age below 0 or without a value counts as 0.
u32 age_colour_cpu(f64 age);

/// The colour of a record: of the node `at`, with `other` Pos_null, or of its edge to `other`. In a level
/// some of whose exits have been used it is the exit colour, whatever `showexits` says, else the record's
/// own. With the game's `showtrail`, and without a game (at time 0), the ages of the player's passage
/// and, in green, of a roamer's are added. Never white: 0xFEFEFE instead.
u32 rec_colour(const VisitRec* rec, Pos at, Pos other, const MazeGame* game);
