// Balls on the nodes and sticks on the edges, a quad each; its shape is made in the shaders, so a list
// stays valid from any viewpoint. A level's lists hold that level alone, in world coordinates.
//
// The sphere plot draws flat discs and ribbons that face the viewer, with a dark core, a light rim,
// and an age colour for what has been walked. A level keeps its lists as the attachment "lists"
// (flags 7).
//
// The ball-and-stick plot draws true spheres and cylinders, lit by sun, sky and lamp, in fog. A level
// keeps its lists as the attachments "ballstick_ballslist" and "ballstick_stickslist" (flags 3).
#pragma once

#include "model/gamerec.h"
#include "scene/light.h"

/// Draws all ribbons from `root` down, in the sphere plot's program.
void sphere_sticks(Maze* root, MazeGame* game, bool recursive);

/// Draws all discs from `root` down, then the cursor: a white disc of age 0 where the player is seen.
void sphere_balls(Maze* root, MazeGame* game, bool recursive);

enum SphereList { SPHERE_STICKS = 0, SPHERE_BALLS = 1 };

/// Calls one list of a level and, if `recursive`, of all below, last node first; builds what is
/// missing. A level whose draw sphere is out of the game's view is left out with all below it.
void sphere_lists(Maze* maze, MazeGame* game, SphereList which, bool recursive);

/// Emits the ribbons of one level into the list being compiled; with `alledges` those across levels
/// too. `game` may be null, which colours exits as if `showexits` were set.
void sphere_sticklist(Maze* maze, const MazeGame* game, bool alledges);

/// Emits the discs of one level into the list being compiled.
void sphere_balllist(Maze* maze, const MazeGame* game);

/// Draws the whole ball-and-stick plot from `root` down, and the cursor, half as large again as a node.
/// With `lit` the cursor is a lamp: it lights what is near, and shines in white. What the depth slice
/// or the view leaves out goes by `game->view`. Leaves program 0 current.
void ballstick_plot(Maze* root, const MazeGame* game, bool lit, const LightRec* light);

/// Emits the spheres of one level into the list being compiled.
void ballstick_balllist(Maze* maze);

/// Emits the cylinders of one level into the list being compiled, those across levels too. One inside
/// the level is emitted from both ends, each time in the colour of that direction.
void ballstick_sticklist(Maze* maze);
