#include "shell/camera.h"

#include "base/vec3.h"
#include "gfx/gfx_opengl.h"
#include "model/mazegame.h"

#include <cmath>

static constexpr f64 PI = 3.141592653589793;
static constexpr f64 LEVEL_COSINE = 6.123233995736766e-17; // the double nearest cos(pi / 2)
static constexpr f64 WALK_SPEED = 3.0;                     // first person, units a second
static constexpr f64 EYE_HEIGHT = 1.6;                     // first person
static constexpr f64 EYE_RATE = 10.0; // third person: share of the way to the goal, per second

// What mouse and keys ask for in one frame, along the screen's axes, in world units.
struct Push {
    f64 side;
    f64 fwd;
    f64 back;
};

void Camera_init(Camera* camera, const MazeGame* game)
{
    *camera = {};
    f64 point[3];
    MazeGame_viewpos_radius(point, game, &camera->local_scale);
}

// The zoom factor for the change of the radius at the player's point. A radius that gives no ratio
// leaves the scale at the last good one, so that the way back changes nothing either.
static f64 followscale(Camera* camera, const MazeGame* game)
{
    f64 point[3];
    f64 radius = 0;
    MazeGame_viewpos_radius(point, game, &radius);
    if (radius == 0 || !std::isfinite(radius)) {
        return 1.0;
    }
    const f64 ratio = radius / camera->local_scale;
    camera->local_scale = radius;
    return std::isfinite(ratio) && ratio > 0 ? std::pow(ratio, 0.6) : 1.0;
}

void Camera_zoom(Camera* camera, MazeGame* game, f64 dt)
{
    f64 zoom = game->zoom * followscale(camera, game);
    if ((mouse_buttons & MOUSE_WHEEL_FORWARD) != 0) {
        zoom *= 0.8333333333333334;
    }
    if ((mouse_buttons & MOUSE_WHEEL_BACK) != 0) {
        zoom *= 1.2;
    }
    if (key_held('Z')) {
        zoom *= std::exp(-2 * dt);
    }
    if (key_held('X')) {
        zoom *= std::exp(2 * dt);
    }
    game->zoom = zoom_held(zoom, game->zoom);
}

static bool steeringbutton(u32 buttons)
{
    return (buttons & (MOUSE_LEFT | MOUSE_RIGHT)) != 0;
}

// In a window the pointer stays free until a button or the first-person camera takes the mouse.
static void readmouse(const Camera* camera, i32* dx, i32* dy)
{
    *dx = 0;
    *dy = 0;
    if (!windowed || steeringbutton(mouse_buttons) || camera->first_person != 0) {
        gfx_mouse_delta(dx, dy);
    }
}

static void showpointer()
{
    if (!windowed) {
        return;
    }
    const bool now = steeringbutton(mouse_buttons);
    const bool before = steeringbutton(mouse_buttons_before);
    if (now && !before) {
        platform->hidecursor();
    }
    if (!now && before) {
        platform->showcursor();
    }
}

// The frame in which the right button goes down still moves.
static bool rotating(const Camera* camera)
{
    const u32 both = mouse_buttons & mouse_buttons_before;
    return (both & MOUSE_RIGHT) != 0 || camera->first_person != 0;
}

static void steerbymouse(Camera* camera, const MazeGame* game, Push* push)
{
    i32 dx = 0;
    i32 dy = 0;
    readmouse(camera, &dx, &dy);
    showpointer();
    if (!rotating(camera)) {
        push->side = dx * game->zoom / gfx_height;
        push->fwd = -dy * game->zoom / gfx_height;
        return;
    }
    if (gfx_width > 0) { // a window may be made as narrow as nothing
        camera->yaw += dx * 10.0 / gfx_width;
        camera->pitch += dy * 10.0 / gfx_width;
    }
}

// 1, 0 or -1: the sum of two opposite keys.
static i32 keybalance(bool more, bool less)
{
    return (more ? 1 : 0) - (less ? 1 : 0);
}

static void turnbykeys(Camera* camera, f64 dt)
{
    camera->pitch += keybalance(key_held(KEY_DOWN), key_held(KEY_UP)) * 2 * dt;
    camera->yaw += keybalance(key_held(KEY_RIGHT), key_held(KEY_LEFT)) * 2 * dt;
}

static void movebykeys(const Camera* camera, const MazeGame* game, f64 dt, Push* push)
{
    const i32 ahead =
        keybalance(key_held(KEY_UP) || key_held('W'), key_held(KEY_DOWN) || key_held('S'));
    const i32 right =
        keybalance(key_held(KEY_RIGHT) || key_held('D'), key_held(KEY_LEFT) || key_held('A'));
    if (camera->first_person != 0) {
        push->back -= ahead * WALK_SPEED * dt;
        push->side += right * WALK_SPEED * dt;
        return;
    }
    const f64 speed = 2 * game->zoom * dt;
    push->fwd += ahead * speed;
    push->side += right * speed;
}

static void makeorient(f64 orient[9], f64 yaw, f64 pitch)
{
    const f64 sy = std::sin(yaw);
    const f64 cy = std::cos(yaw);
    const f64 sp = std::sin(pitch);
    const f64 cp = std::cos(pitch);
    const f64 rows[9] = {cy, -sy, 0, cp * sy, cp * cy, -sp, sp * sy, sp * cy, cp};
    for (i32 i = 8; i >= 0; i--) {
        orient[i] = rows[i];
    }
}

// Adds a component to the eye's place unless the sum is beyond what a number can hold.
static void moveeye(f64* component, f64 by)
{
    const f64 moved = *component + by;
    if (std::isfinite(moved)) {
        *component = moved;
    }
}

// Sets the view's axes; the eye swings around the focus at once, without the lag of its following.
static void turnview(const Camera* camera, MazeGame* game)
{
    f64* const back = game->orient + 6;
    const f64 before[3] = {back[0], back[1], back[2]};
    makeorient(game->orient, camera->yaw, camera->pitch);
    for (i32 i = 2; i >= 0; i--) {
        moveeye(&game->campos[i], (back[i] - before[i]) * game->zoom);
    }
}

// The movement in the world: in the plane of the screen, or in first person as if the view were level.
static void pushvector(const Camera* camera, const MazeGame* game, const Push* push, f64 out[3])
{
    const f64* const m = game->orient;
    if (camera->first_person == 0) {
        for (i32 i = 2; i >= 0; i--) {
            out[i] = push->side * m[i] + push->fwd * m[3 + i] + push->back * m[6 + i];
        }
        return;
    }
    const f64 sy = std::sin(camera->yaw);
    const f64 cy = std::cos(camera->yaw);
    const f64 q = push->fwd * LEVEL_COSINE - push->back;
    out[0] = sy * q + push->side * cy;
    out[1] = cy * q - sy * push->side;
    out[2] = push->back * LEVEL_COSINE + push->fwd;
}

void Camera_steer(Camera* camera, MazeGame* game, f64 dt, f64 movement[3])
{
    Push push = {};
    steerbymouse(camera, game, &push);
    if (key_held(KEY_CTRL)) {
        turnbykeys(camera, dt);
    } else {
        movebykeys(camera, game, dt, &push);
    }
    camera->pitch = std::fmin(std::fmax(camera->pitch, -PI), 0.0);
    turnview(camera, game);
    pushvector(camera, game, &push, movement);
}

void Camera_eye(const Camera* camera, MazeGame* game, f64 dt, const f64 focus[3])
{
    if (camera->first_person != 0) {
        game->campos[0] = focus[0];
        game->campos[1] = focus[1];
        game->campos[2] = focus[2] + EYE_HEIGHT;
        return;
    }
    const f64 share = std::fmin(EYE_RATE * dt, 1.0);
    for (i32 i = 2; i >= 0; i--) {
        const f64 goal = focus[i] + game->zoom * game->orient[6 + i];
        moveeye(&game->campos[i], share * (goal - game->campos[i]));
    }
}

void Camera_modekeys(Camera* camera)
{
    const bool first = key_pressed('1');
    const bool third = key_pressed('3');
    if (first && camera->first_person == 0 && windowed) {
        platform->hidecursor();
    }
    if (first && !third) {
        camera->first_person = 1;
        return;
    }
    if (!first && !third) {
        return;
    }
    const bool hidden = first || camera->first_person != 0;
    if (hidden && windowed) {
        platform->showcursor();
    }
    camera->first_person = 0;
}
