// The view as OpenGL holds it: capture into a record, and the camera set from a game.
#pragma once

#include "model/gamerec.h"

/// Fills the record from the current model-view, projection and viewport and the window's width. Does
/// nothing if the viewport has no width, as in a window drawn together to nothing. Put into
/// viewrec_capture by view_install.
void ViewRec_get(ViewRec* out);

/// Makes ViewRec_get what the game record captures the view by. Call once the window is open.
void view_install();

/// Multiplies the game's camera onto the current matrix (the model-view, the identity before): its
/// `orient`, then a translation by minus `campos`, rounded to single precision first and held to
/// finite values. Then captures `game->view`.
void MazeGame_applyview(MazeGame* game);

/// Whether a sphere need not be drawn: by ViewRec_sphereout, which takes the sides of the view for even, and
/// by the sides as they are, which for an eye of a stereo pair are skewed.
bool view_sphereout(const ViewRec* view, const f64 centre[3], f64 radius);

/// Whether a level, with all below it, need not be drawn: its draw sphere is out of the view that the game
/// has captured, or smaller than a pixel.
bool Maze_outofview(Maze* maze, const ViewRec* view);

/// The eye as that camera has it: `campos` rounded to single precision and held to finite values.
void MazeGame_eye(f64 out[3], const MazeGame* game);
