// Voronoi cells beside their plain version and, where it is installed, beside Boost.Polygon's diagram of
// the same points. Points of a square lattice are moved by up to 0.4 of its spacing along each axis and
// carved into a maze. Each round builds the same cells by each way; times are those of the processor, the
// one shown is the program's. The counters give the medians in milliseconds and the median of the ratios
// of the rounds, which other load on the machine disturbs least.
#include "base/rnd.h"
#include "generate/carve.h"
#include "generate/grids.h"
#include "model/attachment.h"
#include "scene/cells.h"
#include "tests/plaincells.h"

#include "bench/measure.h"
#include <benchmark/benchmark.h>
#include <ctime>
#include <vector>
#if __has_include(<boost/polygon/voronoi.hpp>)
#    include <boost/polygon/voronoi.hpp>
#    define HAS_BOOST 1
#else
#    define HAS_BOOST 0
#endif

// Milliseconds of the processor that a routine takes.
template <typename Routine> static f64 timed(Routine routine)
{
    const std::clock_t start = std::clock();
    routine();
    return static_cast<f64>(std::clock() - start) * 1e3 / CLOCKS_PER_SEC;
}

static Maze* jittered(i32 nx, i32 ny)
{
    rnd_seed(7);
    Maze* const maze = grid_maze(nx, ny, 1);
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        f64* const pos = Maze_node(maze, i)->pos;
        const f64 x = rnd(0.8);
        const f64 y = rnd(0.8);
        pos[0] += x - 0.4;
        pos[1] += y - 0.4;
    }
    makemaze_spanning(maze);
    return maze;
}

#if HAS_BOOST
// It takes whole numbers of 32 bits.
static size_t boostcells(const Maze* maze)
{
    std::vector<boost::polygon::point_data<i32>> points;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        const f64* const pos = Maze_node(maze, i)->pos;
        points.emplace_back(static_cast<i32>(pos[0] * 1e6), static_cast<i32>(pos[1] * 1e6));
    }
    boost::polygon::voronoi_diagram<f64> diagram;
    boost::polygon::construct_voronoi(points.begin(), points.end(), &diagram);
    return diagram.num_cells();
}
#endif

static void cells(benchmark::State& state)
{
    Maze* const maze = jittered(static_cast<i32>(state.range(0)), static_cast<i32>(state.range(1)));
    std::vector<f64> plain;
    std::vector<f64> ours;
    std::vector<f64> boosts;
    std::vector<f64> ratios;
    for (auto unused : state) {
        (void)unused;
        plain.push_back(timed([&] { plain_free(plain_cells(maze), Maze_count(maze)); }));
        ours.push_back(timed([&] {
            voronoi_build(maze, true);
            Maze_detach(maze, "voronoi", false);
        }));
#if HAS_BOOST
        boosts.push_back(timed([&] { benchmark::DoNotOptimize(boostcells(maze)); }));
#endif
        ratios.push_back(plain.back() / ours.back());
        state.SetIterationTime(ours.back() / 1e3);
    }
    state.counters["nodes"] = Maze_count(maze);
    state.counters["plain_ms"] = median(plain);
    state.counters["ours_ms"] = median(ours);
    state.counters["ratio"] = median(ratios);
    if (!boosts.empty()) {
        state.counters["boost_ms"] = median(boosts);
    }
    Maze_free(maze, true);
}
BENCHMARK(cells)->Args({50, 50})->Args({125, 62})->Iterations(25)->UseManualTime()->Unit(
    benchmark::kMillisecond);

BENCHMARK_MAIN();
