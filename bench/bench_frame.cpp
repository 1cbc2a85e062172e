// Cost of the disc plot: building the lists of a level anew, as each step of the player asks for, a
// frame whose lists stand, and one with what can be reached painted over it.
#include "base/rnd.h"
#include "generate/grids.h"
#include "generate/makemaze.h"
#include "gfx/gfx_opengl.h"
#include "gfx/projection.h"
#include "model/attachment.h"
#include "model/drawsphere.h"
#include "model/mazegame.h"
#include "model/pos.h"
#include "scene/ballstick.h"
#include "scene/colours.h"
#include "scene/scene.h"

#include <GL/gl.h>

#include "bench/measure.h"
#include <benchmark/benchmark.h>
#include <vector>

static MazeGame grid_game(i32 nx, i32 ny)
{
    MazeGame game;
    MazeGame_setup(&game);
    game.root = grid_maze(nx, ny, 1);
    Maze_bounds(game.root, true);
    game.pos = {game.root, 0};
    game.campos[0] = nx * 0.5;
    game.campos[1] = ny * 0.5;
    game.campos[2] = nx * 0.6;
    return game;
}

// The same lists from arrays of vertices, with one call each.
struct DiscVertex {
    f32 tex[4], colour[4], corner[2];
};

struct BandVertex {
    f32 tex[2], colour[3], normal[3], pos[4];
};

static std::vector<DiscVertex> discs; // kept across rebuilds
static std::vector<BandVertex> bands;

static void begin_arrays()
{
    glPushClientAttrib(GL_CLIENT_VERTEX_ARRAY_BIT);
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_COLOR_ARRAY);
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
}

static void draw_discs()
{
    const GLsizei stride = sizeof(DiscVertex);
    begin_arrays();
    glVertexPointer(2, GL_FLOAT, stride, discs[0].corner);
    glColorPointer(4, GL_FLOAT, stride, discs[0].colour);
    glTexCoordPointer(4, GL_FLOAT, stride, discs[0].tex);
    glDrawArrays(GL_QUADS, 0, static_cast<GLsizei>(discs.size()));
    glPopClientAttrib();
}

static void draw_bands()
{
    const GLsizei stride = sizeof(BandVertex);
    begin_arrays();
    glEnableClientState(GL_NORMAL_ARRAY);
    glVertexPointer(4, GL_FLOAT, stride, bands[0].pos);
    glColorPointer(3, GL_FLOAT, stride, bands[0].colour);
    glTexCoordPointer(2, GL_FLOAT, stride, bands[0].tex);
    glNormalPointer(GL_FLOAT, stride, bands[0].normal);
    glDrawArrays(GL_QUADS, 0, static_cast<GLsizei>(bands.size()));
    glPopClientAttrib();
}

static void array_balllist(const Maze* maze)
{
    static const f32 corners[4][2] = {{-1, -1}, {-1, 1}, {1, 1}, {1, -1}};
    discs.clear();
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        const MazeNode* const node = Maze_node(maze, n);
        DiscVertex v = {};
        colour_channels(exit_colour(maze, node->rec.colour), v.colour);
        v.colour[3] = static_cast<f32>(node->rec.walked);
        for (i32 k = 0; k < 3; k++) {
            v.tex[k] = static_cast<f32>(node->pos[k]);
        }
        v.tex[3] = static_cast<f32>(node->radius);
        for (const auto& corner : corners) {
            v.corner[0] = corner[0];
            v.corner[1] = corner[1];
            discs.push_back(v);
        }
    }
    draw_discs();
}

static void push_corner(BandVertex* v, const MazeNode* end, f32 code)
{
    v->tex[1] = static_cast<f32>(end->radius);
    for (i32 k = 0; k < 3; k++) {
        v->pos[k] = static_cast<f32>(end->pos[k]);
    }
    v->pos[3] = code;
    bands.push_back(*v);
}

static void array_sticklist(Maze* maze)
{
    bands.clear();
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        const MazeNode* const node = Maze_node(maze, n);
        Pos exits[POS_MAXEDGES];
        VisitRec recs[POS_MAXEDGES];
        for (i32 i = Pos_alledges({maze, n}, exits, recs) - 1; i >= 0; i--) {
            const MazeNode* const target = Pos_node(exits[i]);
            BandVertex v = {};
            colour_channels(exit_colour(maze, recs[i].colour), v.colour);
            v.tex[0] = static_cast<f32>(recs[i].walked);
            for (i32 k = 0; k < 3; k++) {
                v.normal[k] = static_cast<f32>(node->pos[k] - target->pos[k]);
            }
            push_corner(&v, target, 0);
            push_corner(&v, node, 2);
            push_corner(&v, node, 3);
            push_corner(&v, target, 1);
        }
    }
    draw_bands();
}

static f64 time_of_rebuild(MazeGame* game, bool arrays)
{
    const f64 start = seconds();
    const GLuint sticks = glGenLists(2);
    glNewList(sticks, GL_COMPILE);
    arrays ? array_sticklist(game->root) : sphere_sticklist(game->root, game, true);
    glEndList();
    glNewList(sticks + 1, GL_COMPILE);
    arrays ? array_balllist(game->root) : sphere_balllist(game->root, game);
    glEndList();
    const f64 time = seconds() - start;
    glDeleteLists(sticks, 2);
    return time;
}

// Both ways in turn. The time shown is the program's own, a call a vertex; `array_ratio` is what the
// other takes in units of it.
static void rebuild(benchmark::State& state)
{
    open_window();
    MazeGame game = grid_game(static_cast<i32>(state.range(0)), static_cast<i32>(state.range(1)));
    std::vector<f64> vertices;
    std::vector<f64> arrays;
    for (auto unused : state) {
        (void)unused;
        vertices.push_back(time_of_rebuild(&game, false));
        arrays.push_back(time_of_rebuild(&game, true));
        state.SetIterationTime(vertices.back());
    }
    state.counters["nodes"] = Maze_count(game.root);
    state.counters["array_ms"] = median(arrays) * 1e3;
    state.counters["array_ratio"] = median(arrays) / median(vertices);
    MazeGame_free(&game);
}
BENCHMARK(rebuild)->Args({50, 50})->Args({125, 62})->UseManualTime()->Unit(benchmark::kMillisecond);

static void draw_frame(MazeGame* game)
{
    glLoadIdentity();
    MazeGame_applyview(game);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    scene_draw(game);
}

// A frame after a step: the step, the rebuilt lists and their first drawing, without the pixels.
static void frame_after_step(benchmark::State& state)
{
    open_window();
    MazeGame game = grid_game(static_cast<i32>(state.range(0)), static_cast<i32>(state.range(1)));
    draw_frame(&game);
    for (auto unused : state) {
        (void)unused;
        state.PauseTiming();
        glFinish();
        state.ResumeTiming();
        Maze_markwalked(game.root, 0, 1, 1);
        draw_frame(&game);
    }
    glFinish();
    MazeGame_free(&game);
}
BENCHMARK(frame_after_step)
    ->Args({50, 50})
    ->Args({125, 62})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

// A frame whose lists stand. The time is the processor's part, up to the return of the last call;
// `finished_ms` is until the software renderer has painted it.
static void measure_frames(benchmark::State& state, MazeGame* game)
{
    draw_frame(game);
    glFinish();
    std::vector<f64> whole;
    for (auto unused : state) {
        (void)unused;
        const f64 start = seconds();
        draw_frame(game);
        state.SetIterationTime(seconds() - start);
        glFinish();
        whole.push_back(seconds() - start);
    }
    state.counters["finished_ms"] = median(whole) * 1e3;
}

static void frame_of_a_grid(benchmark::State& state)
{
    open_window();
    MazeGame game = grid_game(static_cast<i32>(state.range(0)), static_cast<i32>(state.range(1)));
    measure_frames(state, &game);
    MazeGame_free(&game);
}
BENCHMARK(frame_of_a_grid)
    ->Args({50, 50})
    ->Args({125, 62})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

static void frame_of_a_world(benchmark::State& state)
{
    open_window();
    rnd_seed(1);
    makemaze_forced_kind = static_cast<i32>(state.range(0));
    MazeGame game;
    MazeGame_new(&game, 0);
    measure_frames(state, &game);
    MazeGame_free(&game);
}
BENCHMARK(frame_of_a_world)
    ->ArgName("kind")
    ->Arg(0)
    ->Arg(5)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// One frame, painted to the end; what this thread computed until the return of its last call goes to
// `*calls`.
static f64 time_of_frame(MazeGame* game, f64* calls)
{
    const f64 start = seconds();
    const f64 own = own_seconds();
    draw_frame(game);
    *calls = own_seconds() - own;
    glFinish();
    return seconds() - start;
}

// A frame of the disc plot with what can be reached painted over it, as while F is held, beside one
// without, in turn. The time shown is that of the frame with it, painted; `overlay_ms` is what is more
// than without, `overlay_calls_ms` the part of that up to the return of the last call. The eye is so
// many units high for each column of nodes, in hundredths: near enough for balls, or too far.
static void frame_with_reachable(benchmark::State& state)
{
    open_window();
    const i32 nx = static_cast<i32>(state.range(0));
    MazeGame game = grid_game(nx, static_cast<i32>(state.range(1)));
    game.campos[2] = nx * 0.01 * static_cast<f64>(state.range(2));
    std::vector<f64> more;
    std::vector<f64> morecalls;
    f64 calls[2];
    time_of_frame(&game, calls);
    for (auto unused : state) {
        (void)unused;
        const f64 without = time_of_frame(&game, calls);
        key_now['F'] = 0x80;
        const f64 with = time_of_frame(&game, calls + 1);
        key_now['F'] = 0;
        state.SetIterationTime(with);
        more.push_back(with - without);
        morecalls.push_back(calls[1] - calls[0]);
    }
    const f64 nodes = Maze_count(game.root);
    state.counters["nodes"] = nodes;
    state.counters["overlay_ms"] = median(more) * 1e3;
    state.counters["overlay_calls_ms"] = median(morecalls) * 1e3;
    state.counters["us_a_node"] = median(more) * 1e6 / nodes;
    MazeGame_free(&game);
}
BENCHMARK(frame_with_reachable)
    ->ArgNames({"nx", "ny", "height"})
    ->Args({50, 50, 4})
    ->Args({125, 62, 4})
    ->Args({50, 50, 40})
    ->Args({125, 62, 40})
    ->Args({50, 50, 400})
    ->Args({125, 62, 400})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
