// The scene for two eyes: in halves of the window, on alternate rows, on two screens, or in two colours.
//
// A driver draws a view twice through matrices that it sets, and knows nothing of what is drawn. The eyes
// stand `separation` apart in maze units, and `negdepth` (minus the stereo depth) skews their frusta, so
// that both see the focus at the same place. With `swap` the eyes change places. At the end the
// projection is as it was, the viewport is the whole window and the model-view mode is selected.
#pragma once

#include "base/types.h"

struct MazeGame;

/// Draws one view with the matrices that it finds.
using SceneFn = void (*)(MazeGame* game);

enum StereoMode {
    STEREO_NONE = 0,
    STEREO_TOPBOTTOM = 1,
    STEREO_SIDEBYSIDE = 2,
    STEREO_INTERLACE = 3,
    STEREO_SCREENS = 4,
    STEREO_SCREENS_VERTICAL = 5,
    STEREO_RED_CYAN = 6,
    STEREO_RED_GREEN = 7,
    STEREO_MAGENTA_GREEN = 8,
    STEREO_MODES = 9,
};

/// How a frame is presented.
struct StereoView {
    i32 mode;     // a StereoMode
    i32 swap;     // not 0: the eyes change places, in modes 6 to 8 the colours
    f64 depth;    // the stereo depth; below 0 the effect is inverted
    f64 distance; // of the eye from the focus along the line of sight, maze units
};

/// Presents the scene as `view` says, through the drivers below. The eyes stand apart in proportion to
/// the distance, the depth and the window's width over its height. A mode below 0 draws like mode 1,
/// one from STEREO_MODES on nothing.
///
/// Modes 3 and 6 to 8 copy the window into textures. Where the graphics driver has none of its size they
/// show a plain picture, and the first time that is told as a notice.
void stereo_draw(SceneFn scene, MazeGame* game, const StereoView* view);

/// Eye 0 in the lower or left half, eye 1 in the other; squeezed, as such displays expect. Mode 3 puts
/// the halves on alternate rows of the display: even rows of the screen show eye 1. A mode below 0 draws
/// like mode 1.
void stereo_draw_split(SceneFn scene, MazeGame* game, i32 swap, f64 separation, f64 negdepth,
                       i32 mode);

/// Two screens side by side or, with `vertical`, above one another, each with the projection of its own
/// shape. gfx_width or gfx_height is halved while a view is drawn.
void stereo_draw_two_screens(SceneFn scene, MazeGame* game, i32 swap, i32 vertical, f64 separation,
                             f64 negdepth);

/// Both eyes over one another, each filtered by its colour (0xRRGGBB). Swapping exchanges the colours.
void stereo_draw_coloured(SceneFn scene, MazeGame* game, u32 colour0, u32 colour1, f64 separation,
                          f64 negdepth);
