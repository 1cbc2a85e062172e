// Carving beside its plain version: each round carves the same graph, from the same state of the
// stream, once plainly and once by the program, records in and records out. The time shown is that
// of the program; the counters give the medians of both in milliseconds and the median of the ratios
// of the rounds, which other load on the machine disturbs least.
#include "base/rnd.h"
#include "generate/carve.h"
#include "generate/grids.h"
#include "tests/plaincarve.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <vector>

using Method = void (*)(Maze*);

static f64 median(std::vector<f64> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Seconds that `method` takes on a copy of a maze.
static f64 timed(Method method, const Maze* full, u32 seed)
{
    Maze* const maze = Maze_clone(full, false);
    rnd_seed(seed);
    const auto start = std::chrono::steady_clock::now();
    method(maze);
    const auto end = std::chrono::steady_clock::now();
    benchmark::DoNotOptimize(maze->nodes.buf);
    Maze_free(maze, true);
    return std::chrono::duration<f64>(end - start).count();
}

static void compare(benchmark::State& state, Method method, Method plain, Maze* full)
{
    std::vector<f64> fast;
    std::vector<f64> slow;
    std::vector<f64> ratios;
    u32 seed = 1;
    for (auto unused : state) {
        (void)unused;
        slow.push_back(timed(plain, full, seed));
        std::vector<f64> repeats;
        for (i32 i = 0; i < 5; i++) {
            repeats.push_back(timed(method, full, seed));
        }
        fast.push_back(median(repeats));
        ratios.push_back(slow.back() / fast.back());
        state.SetIterationTime(fast.back());
        seed++;
    }
    state.counters["plain_ms"] = median(slow) * 1e3;
    state.counters["ours_ms"] = median(fast) * 1e3;
    state.counters["ratio"] = median(ratios);
    Maze_free(full, true);
}

static Maze* torus(i32 n, i32 m)
{
    Maze* const maze = Maze_new();
    for (i32 i = 0; i < n * m; i++) {
        const MazeNode node = MazeNode_fresh(i / m, i % m, 0, 0.5);
        Maze_addnode(maze, &node);
    }
    for (i32 i = 0; i < n; i++) {
        for (i32 j = 0; j < m; j++) {
            Maze_join(maze, i * m + j, (i + 1) % n * m + j);
            Maze_join(maze, i * m + j, i * m + (j + 1) % m);
        }
    }
    Maze_swapnodes(maze, n * m - 1,
                   n / 2 * m + m / 2); // the last node is the antipode of the first
    return maze;
}

static void spanning_grid(benchmark::State& state)
{
    compare(state, makemaze_spanning, plain_spanning, grid_maze(50, 50, 1));
}
BENCHMARK(spanning_grid)->Iterations(40)->UseManualTime()->Unit(benchmark::kMillisecond);

static void corridors_grid(benchmark::State& state)
{
    compare(state, makemaze_corridors, plain_corridors, grid_maze(50, 50, 1));
}
BENCHMARK(corridors_grid)->Iterations(30)->UseManualTime()->Unit(benchmark::kMillisecond);

static void corridors_small(benchmark::State& state)
{
    compare(state, makemaze_corridors, plain_corridors, grid_maze(10, 10, 1));
}
BENCHMARK(corridors_small)->Iterations(300)->UseManualTime()->Unit(benchmark::kMillisecond);

static void corridors_box(benchmark::State& state)
{
    compare(state, makemaze_corridors, plain_corridors, grid_maze(14, 14, 14));
}
BENCHMARK(corridors_box)->Iterations(15)->UseManualTime()->Unit(benchmark::kMillisecond);

static void corridors_torus(benchmark::State& state)
{
    compare(state, makemaze_corridors, plain_corridors, torus(125, 62));
}
BENCHMARK(corridors_torus)->Iterations(15)->UseManualTime()->Unit(benchmark::kMillisecond);

static void threshold_torus(benchmark::State& state)
{
    compare(state, makemaze_threshold, plain_threshold, torus(125, 62));
}
BENCHMARK(threshold_torus)->Iterations(9)->UseManualTime()->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
