// OpenGL calls of the disc plot: of a frame whose lists stand, and of one after a step. A program of
// its own, since counting slows each call.
#include "generate/grids.h"
#include "gfx/gfx_opengl.h"
#include "gfx/platform/scripted.h"
#include "gfx/projection.h"
#include "model/attachment.h"
#include "model/mazegame.h"
#include "model/pos.h"
#include "scene/scene.h"
#include "scene/view.h"
#include "tests/fakes/gl_count.h"

#include <benchmark/benchmark.h>

static i32 calls_of_a_frame(MazeGame* game)
{
    glLoadIdentity();
    gl_count.calls.clear();
    MazeGame_applyview(game);
    scene_draw(game);
    return gl_count.total();
}

static void calls(benchmark::State& state)
{
    if (!gfx_alive) {
        platform = &platform_scripted;
        scripted_reset();
        gfx_ortho_mode = 0;
        windowed = true;
        gfx_open(64, 48, "bench_calls");
        view_install();
        shaders_load();
        gl_count_entries();
    }
    const i32 n = static_cast<i32>(state.range(0));
    MazeGame game;
    MazeGame_setup(&game);
    game.root = grid_maze(n, n, 1);
    game.pos = {game.root, 0};
    game.campos[2] = n;
    calls_of_a_frame(&game);
    for (auto unused : state) {
        (void)unused;
        state.counters["standing"] = calls_of_a_frame(&game);
    }
    Maze_markwalked(game.root, 0, 1, 1);
    state.counters["after_a_step"] = calls_of_a_frame(&game);
    state.counters["nodes"] = Maze_count(game.root);
    MazeGame_free(&game);
}
BENCHMARK(calls)->Arg(2)->Arg(50)->Arg(88)->Iterations(3);

BENCHMARK_MAIN();
