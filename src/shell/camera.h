// The camera: two angles, a distance and an eye that follows, driven by keys and mouse.
//
// Third person floats above and behind the player and follows with a lag of about a tenth of a second;
// first person stands 1.6 above the player's point. z is up. Angles are radians: pitch 0 looks
// straight down, -pi/2 is level, -pi straight up.
#pragma once

#include "model/gamerec.h"

struct Camera {
    f64 yaw;   // unbounded
    f64 pitch; // -pi to 0
    i32 first_person;
    f64 local_scale; // node radius at the player's point
};

/// The camera at start: looking straight down in third person; `local_scale` from the game.
void Camera_init(Camera* camera, const MazeGame* game);

/// Lets the zoom follow the radius at the player's point, then applies wheel and zoom keys. A step
/// that would leave what the view can bear is not taken.
void Camera_zoom(Camera* camera, MazeGame* game, f64 dt);

/// Reads mouse and movement keys, turns the view, keeps the eye at its angle around the focus, sets
/// `game->orient`, and writes the frame's movement vector in world units.
void Camera_steer(Camera* camera, MazeGame* game, f64 dt, f64 movement[3]);

/// Moves the eye toward its goal for the focus of this frame.
void Camera_eye(const Camera* camera, MazeGame* game, f64 dt, const f64 focus[3]);

/// The keys 1 and 3: first and third person, with the pointer hidden and shown in a window.
void Camera_modekeys(Camera* camera);
