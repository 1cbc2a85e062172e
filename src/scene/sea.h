// The sea and the land under it: two surfaces, each a function of absolute x and y in a shader, sampled
// by one mesh that is centred under the eye and as wide as the eye is high. The functions don't move, so
// waves and hills keep their places in the world while the mesh slides over them.
//
// The sea is made of Gerstner waves about z = -5, the land of ridges about z = -15, which rise out of
// the sea as islands and mountains.
//
// Single precision shows: a place is as fine as a float, so the shortest waves (0.01 units) dissolve from
// coordinates of about 10000 on and those of a unit from about 1e6; the clock is as fine as a float, so
// the waves advance in steps of 1/128 second from a clock of 65536 seconds on, of 1/16 from 524288 on.
// The clock's part of a phase is wrapped by itself, and the phase again before the sine is taken, so that
// nothing worse happens: a late clock leaves the waves their shapes, and heights and slopes stay bounded at
// any place and time.
#pragma once

#include "model/gamerec.h"
#include "scene/light.h"

/// Draws the waves, blended over what is there, lit by daylight and, if `light_on`, by the lamp where the
/// player is seen; `coarse` takes the coarse mesh. The first call makes meshes, cube map and program,
/// which takes a few tenths of a second and draws numbers from the random stream.
void sea_draw(MazeGame* game, i32 light_on, const LightRec* light, i32 coarse);

/// Draws the land, opaque, lit alike. The first call makes a mesh and the program.
void seabed_draw(MazeGame* game, i32 light_on, const LightRec* light);

/// A new display list with the sampling mesh: quads in the plane z = 0 in units of the eye's height. A
/// square of half-width 1 in steps of `step`, then rings, each wider by 1 + `step` and cut in steps of its
/// half-width times `step`, up to the first that crosses 10000. Trusts `step` to be above 0.
u32 mesh_make(f64 step);
