// The maze as a map of Voronoi cells, each level by itself, in one of six styles.
//
// The cells of a level stay for ever, and so does the display list that it keeps as the attachment
// "voronoilist" (flags 0), until a change of style detaches it: colours and heights in it are those of
// the moment of recording.
#pragma once

#include "model/gamerec.h"

/// Draws a level in the style `voronoi_mode` and all below, last node first, and in the player's level
/// the cursor; builds what is missing. A level out of the game's view is left out with all below it.
void voronoi_plot(Maze* maze, MazeGame* game);

/// Turns the fixed pipeline's lamp on, from a direction that is fixed in the world, and lets colours act
/// as materials.
void lights_fixed();

/// Draws a flat disc of radius `r` about `p` that faces `eye`, round as far as its size on the screen
/// asks for. Nothing if its centre is farther off the window than its size, or at the eye itself. The
/// colour 0xRRGGBB is drawn as it is.
void disc_draw(const f64 p[3], f64 r, u32 colour, const f64 eye[3]);
