// The head-up display: what is written over the scene, once a frame, in window pixels from the upper
// left. Also in stereo it is drawn once, over the finished picture.
#pragma once

#include "model/gamerec.h"

enum HudMode {
    HUD_PROMPT = 0,
    HUD_HELP = 1,
    HUD_STATISTICS = 2,
    HUD_NOTHING = 3,
    HUD_MODES = 4, // a power of 2: the key takes the lowest bits of mode + 1
};

enum { HUD_RATES = 100 };

/// The frame rates of the last frames in which the statistics were shown, written by hud_draw. The oldest
/// one stands at the index, which is -1 before the first such frame; that frame clears the ring and stores
/// nothing. What has not been filled counts as 0 in least and mean.
extern f64 hud_rates[HUD_RATES];
extern i32 hud_rateindex;

/// Makes the typeface and the font "normal" that all displays are written in, and selects it; the window
/// must be open. Does nothing if a font has been selected: fonts stay for the life of the process, as the
/// objects of a window do.
void hud_makefonts();

/// Draws the display of a mode, nothing for HUD_NOTHING or a number that is no mode. `dt` is the length of
/// the frame in seconds; 0 gives an infinite rate, in the text and in the ring.
///
/// The projection must be the scene's, since its angle is one of the numbers. White text in the current
/// font; what the scene has left switched on (fog, culling, alpha test, lighting) doesn't reach it, but
/// the polygon mode does: while polygons are drawn as lines the quads of the letters are lines too, of
/// which nothing is seen, since their edges lie where the atlas is empty. All state is left as it was
/// found, but for the current colour; depth is written afterwards.
///
/// The clock is shown as whole hours, minutes and seconds of an i32: what is beyond stays at its end,
/// and what is no number is 0. A display is one batch, whatever it shows.
void hud_draw(const MazeGame* game, i32 mode, f64 dt);
