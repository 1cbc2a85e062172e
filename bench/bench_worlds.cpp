// Making of worlds, as the key N does, of each kind; the nested grid and the gallery; the memory that a
// world takes; saving and loading of the nested grid, beside the writing and reading of as many bytes.
// Worlds are timed by the processor, files by the clock.
#include "base/rnd.h"
#include "generate/makemaze.h"
#include "generate/stencils.h"
#include "model/mazegame.h"
#include "model/savefile.h"

#include "bench/measure.h"
#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <malloc.h>
#include <string>
#include <unistd.h>
#include <vector>

// Bytes that the process has allocated and not freed.
static f64 held()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<f64>(info.uordblks) + static_cast<f64>(info.hblkhd);
}

static f64 nodes_below(Maze* maze)
{
    f64 nodes = Maze_count(maze);
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        Maze* const sub = Maze_node(maze, n)->sub;
        nodes += sub != nullptr ? nodes_below(sub) : 0.0;
    }
    return nodes;
}

// What was measured of the worlds made so far.
struct Made {
    std::vector<f64> times, nodes, bytes; // bytes a node
};

static void make(Made* made, MazeGame* game, u32 seed, i32 mode)
{
    stencil_progress_to_stderr = true;
    rnd_seed(seed);
    const f64 before = held();
    const std::clock_t start = std::clock();
    MazeGame_new(game, mode);
    made->times.push_back(static_cast<f64>(std::clock() - start) / CLOCKS_PER_SEC);
    made->nodes.push_back(nodes_below(game->root));
    made->bytes.push_back((held() - before) / made->nodes.back());
}

static void tell(benchmark::State& state, const Made& made)
{
    state.counters["nodes"] = median(made.nodes);
    state.counters["median_ms"] = median(made.times) * 1e3;
    state.counters["worst_ms"] = *std::max_element(made.times.begin(), made.times.end()) * 1e3;
    state.counters["bytes_a_node"] = median(made.bytes);
}

// Worlds of the seeds 1, 2 and so on.
static void make_worlds(benchmark::State& state, i32 mode)
{
    Made made;
    for (auto unused : state) {
        (void)unused;
        MazeGame game;
        make(&made, &game, static_cast<u32>(made.times.size() + 1), mode);
        MazeGame_free(&game);
        state.SetIterationTime(made.times.back());
    }
    tell(state, made);
}

static const char* const kinds[MAKEMAZE_KINDS] = {
    "grid",   "grid, again",    "grid, again", "triangle", "honeycomb",     "block",       "disc",
    "sphere", "mazes in mazes", "twice",       "torus",    "Moebius strip", "three times",
};

static void random_world(benchmark::State& state)
{
    state.SetLabel(kinds[state.range(0)]);
    makemaze_forced_kind = static_cast<i32>(state.range(0));
    make_worlds(state, 0);
    makemaze_forced_kind = -1;
}
BENCHMARK(random_world)
    ->ArgName("kind")
    ->DenseRange(0, MAKEMAZE_KINDS - 1)
    ->Iterations(7)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

static void gallery(benchmark::State& state)
{
    make_worlds(state, 2);
}
BENCHMARK(gallery)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);

// A folder of its own in the present folder, and two files in it.
struct Place {
    std::string folder, save, plain;

    Place()
    {
        folder = "bench_worlds-XXXXXX";
        if (mkdtemp(folder.data()) == nullptr) {
            std::abort(); // nothing can be measured
        }
        save = folder + "/save";
        plain = folder + "/plain";
    }
    ~Place()
    {
        std::remove(save.c_str());
        std::remove(plain.c_str());
        rmdir(folder.c_str());
    }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;
};

// Writes the bytes in one piece, and on to the disk.
static void write_plain(const std::string& path, const std::vector<char>& bytes)
{
    FILE* const file = std::fopen(path.c_str(), "wb");
    if (file == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() ||
        std::fflush(file) != 0 || fsync(fileno(file)) != 0) {
        std::perror(path.c_str());
        std::abort();
    }
    std::fclose(file);
}

static std::vector<char> read_plain(const std::string& path)
{
    std::vector<char> bytes;
    FILE* const file = std::fopen(path.c_str(), "rb");
    if (file == nullptr || std::fseek(file, 0, SEEK_END) != 0) {
        std::perror(path.c_str());
        std::abort();
    }
    bytes.resize(static_cast<size_t>(std::ftell(file)));
    std::rewind(file);
    if (std::fread(bytes.data(), 1, bytes.size(), file) != bytes.size()) {
        std::abort();
    }
    std::fclose(file);
    return bytes;
}

struct FileTimes {
    std::vector<f64> save, load, write, read;
};

// One round: each job and its plain version in turn. All reads find their file in memory.
static size_t file_round(FileTimes* times, MazeGame* game, const Place& place)
{
    char why[SAVE_WHY];
    f64 start = seconds();
    if (!MazeGame_save(game, place.save.c_str(), why)) {
        std::fprintf(stderr, "%s\n", why);
        std::abort();
    }
    times->save.push_back(seconds() - start);
    MazeGame_free(game);
    start = seconds();
    if (MazeGame_load(game, place.save.c_str(), why) != SAVE_LOADED) {
        std::fprintf(stderr, "%s\n", why);
        std::abort();
    }
    times->load.push_back(seconds() - start);
    start = seconds();
    const std::vector<char> bytes = read_plain(place.save);
    times->read.push_back(seconds() - start);
    start = seconds();
    write_plain(place.plain, bytes);
    times->write.push_back(seconds() - start);
    return bytes.size();
}

static void nested_grid(benchmark::State& state)
{
    const Place place;
    Made made;
    MazeGame game;
    make(&made, &game, 1, 1);
    FileTimes times;
    f64 size = 0.0;
    for (auto unused : state) {
        (void)unused;
        size = static_cast<f64>(file_round(&times, &game, place));
        state.SetIterationTime(times.save.back());
    }
    MazeGame_free(&game);
    tell(state, made);
    state.counters["file_MB"] = size * 1e-6;
    state.counters["file_bytes_a_node"] = size / made.nodes.back();
    state.counters["save_ms"] = median(times.save) * 1e3;
    state.counters["save_ratio"] = median(times.save) / median(times.write);
    state.counters["write_ms"] = median(times.write) * 1e3;
    state.counters["load_ms"] = median(times.load) * 1e3;
    state.counters["load_ratio"] = median(times.load) / median(times.read);
    state.counters["read_ms"] = median(times.read) * 1e3;
}
BENCHMARK(nested_grid)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
