#include "scene/scene.h"

#include "gfx/gfx_opengl.h"
#include "gfx/projection.h"
#include "model/attachment.h"
#include "model/stategraph.h"
#include "scene/ballstick.h"
#include "scene/clouds.h"
#include "scene/sea.h"
#include "scene/sky.h"
#include "scene/view.h"

#include <GL/gl.h>

#include <bit>
#include <cmath>

i32 plot_type = 0;
i32 voronoi_on = 0;
i32 voronoi_mode = 5;
i32 landscape_on = 0;
i32 light_on = 0;
i32 grid_on = 0;
i32 smooth_lines = 1;

// Depth terms of the projection, its elements 10 and 14. The slices overlap by 1.72 units, so that
// nothing falls between them.
static const f32 slice_scale = std::bit_cast<f32>(0xBF80068BU);       // -1.000199676, both slices
static const f32 slice_far_offset = std::bit_cast<f32>(0xC4FA0664U);  // 1000.00 to 1.0017e7
static const f32 slice_near_offset = std::bit_cast<f32>(0xBE4CD209U); // 0.1 to 1001.72

static void loadslice(f32 offset)
{
    f32 projection[16];
    glGetFloatv(GL_PROJECTION_MATRIX, projection);
    projection[10] = slice_scale;
    projection[14] = offset;
    glMatrixMode(GL_PROJECTION);
    glLoadMatrixf(projection);
    glMatrixMode(GL_MODELVIEW);
}

static void drawslice(MazeGame* game, f32 offset)
{
    loadslice(offset);
    glClear(GL_DEPTH_BUFFER_BIT);
    scene_plot(game);
}

void scene_draw(MazeGame* game)
{
    LightRec light;
    light_compute(game->time, &light);
    if (landscape_on != 0) {
        sky_draw(game, &light);
    }
    // far first: all of the near slice lies before all of the far one, and is painted over it
    drawslice(game, slice_far_offset);
    drawslice(game, slice_near_offset);
    glClear(GL_DEPTH_BUFFER_BIT);
}

// What the maker of a state graph paints of the state that the player is in.
static void drawstate(const MazeGame* game)
{
    const StateGraph* const graph =
        static_cast<StateGraph*>(Maze_attachment(game->pos.maze, "rep"));
    if (graph == nullptr || graph->label == nullptr) {
        return;
    }
    const size_t at = static_cast<size_t>(game->pos.node) * graph->states.elemsize;
    const i32 x = gfx_width / 10; // whole pixels
    const i32 y = gfx_height / 10;
    const i32 size = gfx_height / 40;
    gfx_overlay_begin();
    graph->label(graph->states.buf + at, graph->context, static_cast<f32>(x), static_cast<f32>(y),
                 static_cast<f32>(size));
    gfx_overlay_end();
}

// The wind blows along y, 20 texels of the clouds a second.
static void drawclouds(const MazeGame* game, const LightRec* light)
{
    f64 eye[3];
    MazeGame_eye(eye, game);
    const f32 wind = static_cast<f32>(std::fmod(20 * clock_held(game->time), 1e7));
    clouds_draw(eye, 0, wind, 128.0F, 1.5F, light);
}

void scene_plot(MazeGame* game)
{
    ViewRec_get(&game->view);
    LightRec light;
    light_compute(game->time, &light);
    if (landscape_on != 0) {
        seabed_draw(game, light_on, &light);
    }
    sphere_sticks(game->root, game, true);
    sphere_balls(game->root, game, true);
    drawstate(game);
    if (landscape_on !=
        0) { // behind all solid matter, since the sea blends over what lies below it
        sea_draw(game, light_on, &light, 0);
        drawclouds(game, &light);
    }
}
