#include "scene/scene.h"

#include "gfx/gfx_opengl.h"
#include "gfx/projection.h"
#include "model/attachment.h"
#include "model/connect.h"
#include "model/stategraph.h"
#include "scene/ballstick.h"
#include "scene/clouds.h"
#include "scene/flat.h"
#include "scene/gantry.h"
#include "scene/grid.h"
#include "scene/labels.h"
#include "scene/light.h"
#include "scene/sea.h"
#include "scene/sky.h"
#include "scene/view.h"
#include "scene/voronoi.h"

#include <GL/gl.h>

#include <bit>
#include <cmath>
#include <cstdlib>

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

static void spheres_plot(MazeGame* game)
{
    labels_draw_font(game->root, game, true);
    sphere_sticks(game->root, game, true);
    sphere_balls(game->root, game, true);
}

static void drawmaze(MazeGame* game, const LightRec* light)
{
    if (voronoi_on != 0) {
        voronoi_plot(game->root, game);
    } else if (plot_type == 1) {
        gantry_plot(game->root, game, light_on != 0, light);
    } else if (plot_type == 2) {
        ballstick_plot(game->root, game, light_on != 0, light);
    } else if (key_held('J')) {
        flat_plot(game->root, game, true);
    } else {
        spheres_plot(game);
    }
}

// A copy of the player's level with nothing but what can be reached from there. Owned by the caller.
static Maze* reachablecopy(Pos from)
{
    u8* const reached = Maze_reachable(from.maze, from.node);
    Maze* const copy = Maze_clone(from.maze, false);
    for (i32 n = Maze_count(copy) - 1; n >= 0; n--) {
        if (reached[n] == 0) {
            Maze_delnode(copy, n, true);
        }
    }
    std::free(reached);
    return copy;
}

// A copy of the player's level with nothing but what can be reached from there, in blue, while F is
// held; otherwise null. Owned by the caller.
static Maze* bluecopy(const MazeGame* game)
{
    if (!key_held('F')) {
        return nullptr;
    }
    Maze* const copy = reachablecopy(game->pos);
    Maze_setcolour(copy, 0x0000FF);
    copy->exitsused = 0; // blue inside a level of which exits have been used, too
    return copy;
}

static void freecopy(Maze* copy)
{
    if (copy != nullptr) {
        Maze_free(copy, false);
    }
}

// Paints what can be reached over the picture.
static void drawreachable(MazeGame* game, Maze* copy)
{
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_COLOR);
    flat_plot(copy, game, false);
    glDisable(GL_BLEND);
}

// The wind blows along y, 20 texels of the clouds a second.
static void drawclouds(const MazeGame* game, const LightRec* light)
{
    f64 eye[3];
    MazeGame_eye(eye, game);
    const f32 wind = static_cast<f32>(std::fmod(20 * clock_held(game->time), 1e7));
    clouds_draw(eye, 0, wind, 128.0F, 1.5F, light);
}

// `reachable` is what is painted over the maze, or null.
static void plot(MazeGame* game, Maze* reachable)
{
    ViewRec_get(&game->view);
    LightRec light;
    light_compute(game->time, &light);
    if (landscape_on != 0) {
        seabed_draw(game, light_on, &light);
    }
    drawmaze(game, &light);
    drawstate(game);
    if (reachable != nullptr) {
        drawreachable(game, reachable);
    }
    if (landscape_on != 0) { // after all solid matter: the sea blends over what lies below it
        sea_draw(game, light_on, &light, 0);
        drawclouds(game, &light);
    }
    if (grid_on != 0) {
        grid_draw(game);
    }
}

void scene_plot(MazeGame* game)
{
    Maze* const reachable = bluecopy(game);
    plot(game, reachable);
    freecopy(reachable);
}

static void drawslice(MazeGame* game, f32 offset, Maze* reachable)
{
    loadslice(offset);
    glClear(GL_DEPTH_BUFFER_BIT);
    plot(game, reachable);
}

void scene_draw(MazeGame* game)
{
    LightRec light;
    light_compute(game->time, &light);
    if (landscape_on != 0) {
        sky_draw(game, &light);
    }
    Maze* const reachable = bluecopy(game); // the same in both slices
    // far first: all of the near slice lies before all of the far one, and is painted over it
    drawslice(game, slice_far_offset, reachable);
    drawslice(game, slice_near_offset, reachable);
    freecopy(reachable);
    glClear(GL_DEPTH_BUFFER_BIT);
}
