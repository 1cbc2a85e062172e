// The top of everything drawn in three dimensions: the two depth slices, the plot switches and the
// order of the styles.
#pragma once

#include "model/gamerec.h"

/// The plot switches: written by the frame loop, read here, saved nowhere.
extern i32 plot_type;    // 0 discs and ribbons, 1 gantries, 2 balls and sticks
extern i32 voronoi_on;   // the map of cells replaces the plot of plot_type
extern i32 voronoi_mode; // 0 to 5, starts at 5
extern i32 landscape_on; // sky, land, sea and clouds
extern i32 light_on;     // the cursor is a lamp
extern i32 grid_on;      // the scale grid
extern i32 smooth_lines; // starts at 1

/// Draws one view through the projection and model-view that are loaded: the sky, if the landscape is on,
/// the far depth slice, then the near one over it, each with a depth buffer of its own. The depth buffer
/// is left clear, and the projection as the near slice set it. Trusts that there is a world. Updates
/// `game->view`.
void scene_draw(MazeGame* game);

/// One run of the plot in the current projection: captures the view record into `game->view`, so that
/// what is left out goes by this slice, and draws the world in the style of the switches. In a state
/// graph its maker's picture of the player's state is painted over it, at a tenth of the window's size
/// from the upper left corner, in the size of a fortieth of its height. While F is held, what can be
/// reached in the player's level comes over that, in blue. With the landscape on the land comes before
/// all, and sea and clouds after it, so that the sea blends over all solid matter; the grid is last.
void scene_plot(MazeGame* game);
