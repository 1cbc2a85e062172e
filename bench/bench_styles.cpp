// What a frame of each style costs: the first one, which makes all lists, one after a step of the player,
// and one whose lists stand. Times are those of this thread up to the return of the last call: the
// processor's part of a frame, without the pixels, which a graphics card would paint. `painted_ms` is
// until the software renderer has painted a frame whose lists stand.
#include "bench/measure.h"
#include "bench/styles.h"
#include <benchmark/benchmark.h>
#include <vector>

enum { FRAMES = 7 };

static f64 time_of_frame(const Style& style, MazeGame* game, std::vector<f64>* painted)
{
    glFinish();
    const f64 start = seconds();
    const f64 own = own_seconds();
    style_frame(style, game);
    const f64 calls = own_seconds() - own;
    glFinish();
    painted->push_back(seconds() - start);
    return calls;
}

static void frame(benchmark::State& state)
{
    const Style& style = styles[state.range(0)];
    open_window();
    hud_makefonts();
    MazeGame game;
    style_world(&game);
    std::vector<f64> unused;
    std::vector<f64> painted;
    std::vector<f64> standing;
    std::vector<f64> stepped;
    const f64 first = time_of_frame(style, &game, &unused);
    for (auto round : state) {
        (void)round;
        standing.push_back(time_of_frame(style, &game, &painted));
        style_step(&game);
        stepped.push_back(time_of_frame(style, &game, &unused));
        time_of_frame(style, &game, &unused);
        state.SetIterationTime(standing.back());
    }
    state.SetLabel(style.name);
    state.counters["first_ms"] = first * 1e3;
    state.counters["step_ms"] = median(stepped) * 1e3;
    state.counters["frame_ms"] = median(standing) * 1e3;
    state.counters["painted_ms"] = median(painted) * 1e3;
    MazeGame_free(&game);
}
BENCHMARK(frame)
    ->DenseRange(0, style_count - 1)
    ->Iterations(FRAMES)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    open_window();
    benchmark::AddCustomContext("renderer",
                                reinterpret_cast<const char*>(glGetString(GL_RENDERER)));
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
}
