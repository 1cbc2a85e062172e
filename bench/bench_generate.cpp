// Carving beside its plain version, and whole worlds. Each round carves the same graph, from the same
// state of the stream, once plainly and once by the program, records in and records out. Times are
// those of the processor; the one shown is that of the program. The counters give the medians of both
// in milliseconds and the median of the ratios of the rounds, which other load on the machine disturbs
// least.
#include "base/rnd.h"
#include "generate/carve.h"
#include "generate/grids.h"
#include "generate/makemaze.h"
#include "generate/rings.h"
#include "generate/stencils.h"
#include "generate/tilings.h"
#include "tests/plaincarve.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <ctime>
#include <vector>

using Method = void (*)(Maze*);

static f64 median(std::vector<f64> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Seconds of the processor that `method` takes for each of `n` copies of a maze.
static f64 timed(Method method, const Maze* full, u32 seed, i32 n)
{
    std::vector<Maze*> copies;
    for (i32 i = 0; i < n; i++) {
        copies.push_back(Maze_clone(full, false));
    }
    rnd_seed(seed);
    const std::clock_t start = std::clock();
    for (Maze* const copy : copies) {
        method(copy);
    }
    const std::clock_t end = std::clock();
    for (Maze* const copy : copies) {
        Maze_free(copy, true);
    }
    return static_cast<f64>(end - start) / CLOCKS_PER_SEC / n;
}

// `n` copies are carved at a time, so that small mazes can be timed.
static void compare(benchmark::State& state, Method method, Method plain, Maze* full, i32 n)
{
    std::vector<f64> fast;
    std::vector<f64> slow;
    std::vector<f64> ratios;
    u32 seed = 1;
    for (auto unused : state) {
        (void)unused;
        slow.push_back(timed(plain, full, seed, n));
        fast.push_back(timed(method, full, seed, n));
        ratios.push_back(slow.back() / fast.back());
        state.SetIterationTime(fast.back());
        seed++;
    }
    state.counters["nodes"] = Maze_count(full);
    state.counters["plain_ms"] = median(slow) * 1e3;
    state.counters["ours_ms"] = median(fast) * 1e3;
    state.counters["ratio"] = median(ratios);
    Maze_free(full, true);
}

static void spanning_grid(benchmark::State& state)
{
    compare(state, makemaze_spanning, plain_spanning, grid_maze(50, 50, 1), 1);
}
BENCHMARK(spanning_grid)->Iterations(40)->UseManualTime()->Unit(benchmark::kMillisecond);

static void corridors_grid(benchmark::State& state)
{
    compare(state, makemaze_corridors, plain_corridors, grid_maze(50, 50, 1), 1);
}
BENCHMARK(corridors_grid)->Iterations(30)->UseManualTime()->Unit(benchmark::kMillisecond);

static void corridors_small(benchmark::State& state)
{
    compare(state, makemaze_corridors, plain_corridors, grid_maze(10, 10, 1), 20);
}
BENCHMARK(corridors_small)->Iterations(300)->UseManualTime()->Unit(benchmark::kMillisecond);

static void corridors_box(benchmark::State& state)
{
    compare(state, makemaze_corridors, plain_corridors, grid_maze(14, 14, 14), 1);
}
BENCHMARK(corridors_box)->Iterations(15)->UseManualTime()->Unit(benchmark::kMillisecond);

static void corridors_torus(benchmark::State& state)
{
    compare(state, makemaze_corridors, plain_corridors, torus_maze(20.0, 10.0), 1);
}
BENCHMARK(corridors_torus)->Iterations(15)->UseManualTime()->Unit(benchmark::kMillisecond);

static void threshold_torus(benchmark::State& state)
{
    compare(state, makemaze_threshold, plain_threshold, torus_maze(20.0, 10.0), 1);
}
BENCHMARK(threshold_torus)->Iterations(9)->UseManualTime()->Unit(benchmark::kMillisecond);

static void corridors_honeycomb(benchmark::State& state)
{
    compare(state, makemaze_corridors, plain_corridors, trigrid_honeycomb(50), 1);
}
BENCHMARK(corridors_honeycomb)->Iterations(15)->UseManualTime()->Unit(benchmark::kMillisecond);

static i32 countnodes(const Maze* maze)
{
    i32 n = Maze_count(maze);
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        const Maze* const sub = Maze_node(maze, i)->sub;
        n += sub != nullptr ? countnodes(sub) : 0;
    }
    return n;
}

// A whole world. Its lines of progress go to standard error.
static void world(benchmark::State& state, u32 seed, i32 mode)
{
    stencil_progress_to_stderr = true;
    std::vector<f64> seconds;
    i32 nodes = 0;
    for (auto unused : state) {
        (void)unused;
        MazeGame game = {};
        rnd_seed(seed);
        const std::clock_t start = std::clock();
        MazeGame_generate(&game, mode);
        const std::clock_t end = std::clock();
        seconds.push_back(static_cast<f64>(end - start) / CLOCKS_PER_SEC);
        state.SetIterationTime(seconds.back());
        nodes = countnodes(game.root);
        Maze_free(game.root, true);
    }
    state.counters["nodes"] = nodes;
    state.counters["ours_ms"] = median(seconds) * 1e3;
}

// Of the seeds 1 to 100 this one takes longest: three levels, 1,685 of its mazes carved by thresholds.
static void world_worst(benchmark::State& state)
{
    world(state, 54, 0);
}
BENCHMARK(world_worst)->Iterations(7)->UseManualTime()->Unit(benchmark::kMillisecond);

static void world_nestedgrid(benchmark::State& state)
{
    world(state, 1, 1);
}
BENCHMARK(world_nestedgrid)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
