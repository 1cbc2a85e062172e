// The flat plot: plain quads and lines, coloured on the processor, with nothing cached, so that it can
// draw a maze that is made for one frame. Near nodes get a ball and bands, far ones lines.
#pragma once

#include "model/gamerec.h"

/// Draws a level with its name and, if `recursive`, all below, last node first; without, only its plain
/// edges. A level out of the game's view is left out with all below it, and of what it shows each ball, band
/// and line that can't touch the picture of this depth slice. Time linear in the nodes.
void flat_plot(Maze* maze, MazeGame* game, bool recursive);

/// A billboard: a round disc of radius `r` about `p` that faces `eye`, in the program of the flat plot and
/// an open batch of quads. `colour` is 0xRRGGBB.
void flat_ball(const f64 p[3], f64 r, u32 colour, const f64 eye[3]);

/// Turns blending on, which adds light or covers what is behind, and makes lines and points smooth and
/// `width` pixels wide.
void gfx_smooth_on(bool additive, f32 width);

/// Turns blending and smoothing off; widths are 1 again.
void gfx_smooth_off();
