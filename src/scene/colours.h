// Colours of elements by their history.
#pragma once

#include "model/maze.h"

/// The colour of an element of a submaze some of whose exits have been used: 0x408040 if all have,
/// else 0xC0A040 for one and 0x80C040 for more. Otherwise `colour`.
u32 exit_colour(const Maze* maze, u32 colour);

/// A record's colour as it is drawn: white 0xFFFFFF as 0xFEFEFE.
u32 colour_drawn(u32 colour);

/// Red, green and blue, 0 to 1, of a record's colour as it is drawn: white 0xFFFFFF as 0xFEFEFE.
void colour_channels(u32 colour, f32 out[3]);

/// The light that an age in seconds adds to an element, a colour for each decade: the formula of the
/// shader's agecolour in double precision.
void age_colour_cpu(f64 age, f64 out[3]);
