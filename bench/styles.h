// Every style of drawing, as the keys would switch it on, for the benchmarks of frames and of calls.
#pragma once

#include "base/rnd.h"
#include "generate/makemaze.h"
#include "gfx/gfx_opengl.h"
#include "model/mazegame.h"
#include "model/pos.h"
#include "scene/scene.h"
#include "scene/view.h"
#include "shell/hud.h"

#include <GL/gl.h>

struct Style {
    const char* name;
    i32 plot = 0;
    i32 cells = -1; // the style of the map of cells, -1 without
    char key = 0;   // held
    i32 landscape = 0, light = 0, grid = 0;
    i32 hud = HUD_NOTHING;
};

inline const Style styles[] = {
    {.name = "discs and ribbons"},
    {.name = "flat shapes, J held", .key = 'J'},
    {.name = "gantries", .plot = 1},
    {.name = "gantries with the lamp", .plot = 1, .light = 1},
    {.name = "balls and sticks", .plot = 2},
    {.name = "balls and sticks with the lamp", .plot = 2, .light = 1},
    {.name = "cells, style 0", .cells = 0},
    {.name = "cells, style 1", .cells = 1},
    {.name = "cells, style 2", .cells = 2},
    {.name = "cells, style 3", .cells = 3},
    {.name = "cells, style 4", .cells = 4},
    {.name = "cells, style 5", .cells = 5},
    {.name = "discs and what can be reached, F held", .key = 'F'},
    {.name = "discs and the grid of scale", .grid = 1},
    {.name = "discs and the prompt", .hud = HUD_PROMPT},
    {.name = "discs and the help", .hud = HUD_HELP},
    {.name = "discs and the statistics", .hud = HUD_STATISTICS},
    {.name = "discs in the landscape", .landscape = 1},
};
inline const i32 style_count = static_cast<i32>(sizeof styles / sizeof *styles);

inline void style_switch(const Style& style, i32 on)
{
    plot_type = style.plot * on;
    voronoi_on = style.cells >= 0 ? on : 0;
    voronoi_mode = style.cells >= 0 ? style.cells : voronoi_mode;
    landscape_on = style.landscape * on;
    light_on = style.light * on;
    grid_on = style.grid * on;
    if (style.key != 0) {
        key_now[static_cast<u8>(style.key)] = on != 0 ? 0x80 : 0;
    }
}

/// The world that the styles are measured with: a carved grid of 2496 nodes in the middle of a line of
/// three. The player stands in the grid, which is seen whole from above.
inline void style_world(MazeGame* game)
{
    rnd_seed(1);
    makemaze_forced_kind = 0;
    MazeGame_new(game, 0);
    makemaze_forced_kind = -1;
    game->pos = {Maze_node(game->root, 1)->sub, 0};
    MazeGame_startcamera(game);
}

/// A step that the player has made, as far as lists are concerned.
inline void style_step(MazeGame* game)
{
    Maze_markwalked(game->pos.maze, 0, 1, 1);
}

/// A frame as the program draws it, up to its last call.
inline void style_frame(const Style& style, MazeGame* game)
{
    style_switch(style, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glLoadIdentity();
    MazeGame_applyview(game);
    scene_draw(game);
    hud_draw(game, style.hud, 1.0 / 60);
    style_switch(style, 0);
}
