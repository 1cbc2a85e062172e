// The dome of the sky, painted behind everything. The sun itself isn't drawn: it is there as daylight.
#pragma once

#include "model/gamerec.h"
#include "scene/light.h"

/// Paints the sky in all directions, around the eye of the model-view, in the brightness of the daylight.
/// Touches no depth; depth test and depth writing are on afterwards. Makes its program on first use.
void sky_draw(MazeGame* game, const LightRec* light);
