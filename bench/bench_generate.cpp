// Carving beside its plain version: each round carves the same graph, from the same state of the
// stream, once plainly and once by the program, records in and records out. Times are those of the
// processor; the one shown is that of the program. The counters give the medians of both in
// milliseconds and the median of the ratios of the rounds, which other load on the machine disturbs
// least. Two more make whole worlds, which have no plain version here.
#include "base/rnd.h"
#include "generate/carve.h"
#include "generate/grids.h"
#include "generate/makemaze.h"
#include "generate/rings.h"
#include "generate/stencils.h"
#include "generate/tilings.h"
#include "tests/plaincarve.h"

#include "bench/measure.h"
#include <algorithm>
#include <benchmark/benchmark.h>
#include <ctime>
#include <vector>

using Method = void (*)(Maze*);

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

// Seconds of the processor to make one world.
static f64 worldtime(u32 seed, i32 mode)
{
    MazeGame game = {};
    rnd_seed(seed);
    const std::clock_t start = std::clock();
    MazeGame_generate(&game, mode);
    const std::clock_t end = std::clock();
    Maze_free(game.root, true);
    return static_cast<f64>(end - start) / CLOCKS_PER_SEC;
}

// Random worlds of the seeds 1 to 100; the counters give the slowest of them.
static void random_worlds(benchmark::State& state)
{
    stencil_progress_to_stderr = true;
    f64 worst = 0.0;
    u32 worstseed = 0;
    for (auto unused : state) {
        (void)unused;
        f64 sum = 0.0;
        for (u32 seed = 1; seed <= 100; seed++) {
            const f64 time = worldtime(seed, 0);
            worstseed = time > worst ? seed : worstseed;
            worst = std::max(worst, time);
            sum += time;
        }
        state.SetIterationTime(sum / 100);
    }
    state.counters["worst_ms"] = worst * 1e3;
    state.counters["worst_seed"] = worstseed;
}
BENCHMARK(random_worlds)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

static void nested_grid(benchmark::State& state)
{
    for (auto unused : state) {
        (void)unused;
        state.SetIterationTime(worldtime(1, 1));
    }
}
BENCHMARK(nested_grid)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
