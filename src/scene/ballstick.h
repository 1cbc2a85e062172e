// Balls on the nodes and sticks on the edges, a quad each; its shape is made in the shaders, so a list
// stays valid from any viewpoint.
//
// The sphere plot draws flat discs and ribbons that face the viewer, with a dark core, a light rim,
// and an age colour for what has been walked. A level keeps its lists as the attachment "lists"
// (flags 7), in world coordinates, without the levels below it.
#pragma once

#include "model/gamerec.h"

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
