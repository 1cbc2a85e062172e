// OpenGL calls of a frame whose lists stand and of one after a step: of the disc plot in worlds of three
// sizes, and of each style. A program of its own, since counting slows each call.
#include "generate/grids.h"
#include "gfx/gl/shaderprocs.h"
#include "tests/fakes/gl_count.h"

#include "bench/measure.h"
#include "bench/styles.h"
#include <benchmark/benchmark.h>

static i32 calls_of_a_frame(const Style& style, MazeGame* game)
{
    gl_count.calls.clear();
    style_frame(style, game);
    return gl_count.total();
}

static void count(benchmark::State& state, const Style& style, MazeGame* game)
{
    calls_of_a_frame(style, game);
    for (auto unused : state) {
        (void)unused;
        state.counters["standing"] = calls_of_a_frame(style, game);
    }
    style_step(game);
    state.counters["after_a_step"] = calls_of_a_frame(style, game);
    MazeGame_free(game);
}

static void open_counted()
{
    open_window();
    hud_makefonts();
    shaders_load();
    gl_count_entries();
}

static void calls(benchmark::State& state)
{
    open_counted();
    const i32 n = static_cast<i32>(state.range(0));
    MazeGame game;
    MazeGame_setup(&game);
    game.root = grid_maze(n, n, 1);
    game.pos = {game.root, 0};
    game.campos[2] = n;
    state.counters["nodes"] = Maze_count(game.root);
    count(state, styles[0], &game);
}
BENCHMARK(calls)->Arg(2)->Arg(50)->Arg(88)->Iterations(3);

static void calls_of_a_style(benchmark::State& state)
{
    open_counted();
    MazeGame game;
    style_world(&game);
    state.SetLabel(styles[state.range(0)].name);
    count(state, styles[state.range(0)], &game);
}
BENCHMARK(calls_of_a_style)->DenseRange(0, style_count - 1)->Iterations(1);

BENCHMARK_MAIN();
