// Cost of the landscape: each piece by itself in both depth slices, a frame with and without it, and what
// the first frame makes.
#include "gfx/gfx_opengl.h"
#include "gfx/projection.h"
#include "model/drawsphere.h"
#include "model/mazegame.h"
#include "scene/clouds.h"
#include "scene/noise.h"
#include "scene/scene.h"
#include "scene/sea.h"
#include "scene/sky.h"
#include "scene/skymap.h"

#include <GL/gl.h>

#include "bench/measure.h"
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <vector>

// A world of one node at the shore, seen from 20 units above it.
struct Shore {
    MazeGame game;
    LightRec light;

    Shore(i32 width, i32 height)
    {
        open_window();
        gfx_resize(width, height);
        MazeGame_setup(&game);
        game.root = Maze_new();
        const MazeNode node = MazeNode_fresh(0, 0, 0, 0.5);
        Maze_addnode(game.root, &node);
        Maze_bounds(game.root, true);
        game.pos = {game.root, 0};
        game.campos[1] = -30;
        game.campos[2] = 20;
        const f64 orient[9] = {1, 0, 0, 0, 0.1, 0.995, 0, -0.995, 0.1};
        for (i32 i = 8; i >= 0; i--) {
            game.orient[i] = orient[i];
        }
        light_compute(0, &light);
    }
};

enum Piece { SKY, LAND, SEA, CLOUDS };

static void draw_piece(Shore* shore, Piece piece)
{
    switch (piece) {
    case SKY: sky_draw(&shore->game, &shore->light); break;
    case LAND: seabed_draw(&shore->game, 0, &shore->light); break;
    case SEA: sea_draw(&shore->game, 0, &shore->light, 0); break;
    case CLOUDS: clouds_draw(shore->game.campos, 0, 0, 128, 1.5F, &shore->light); break;
    }
}

// A piece as a frame has it: the sky once, the others in both slices.
static void draw_slices(Shore* shore, Piece piece)
{
    const f32 ends[2][2] = {{1000, 1e7F}, {0.1F, 1000}};
    for (i32 i = piece == SKY ? 1 : 0; i < 2; i++) { // far first
        gfx_set_fov(90, ends[i][0], ends[i][1]);
        glLoadIdentity();
        MazeGame_applyview(&shore->game);
        glClear(GL_DEPTH_BUFFER_BIT);
        draw_piece(shore, piece);
    }
    glFinish();
}

static void piece_of_a_frame(benchmark::State& state, Piece piece)
{
    Shore shore(static_cast<i32>(state.range(0)), static_cast<i32>(state.range(1)));
    draw_slices(&shore, piece); // makes what is made once
    for (auto unused : state) {
        (void)unused;
        draw_slices(&shore, piece);
    }
    MazeGame_free(&shore.game);
}

#define SIZES Args({16, 12})->Args({320, 240})->Args({864, 648})->Unit(benchmark::kMillisecond)
BENCHMARK_CAPTURE(piece_of_a_frame, sky, SKY)->SIZES->UseRealTime();
BENCHMARK_CAPTURE(piece_of_a_frame, land, LAND)->SIZES->UseRealTime();
BENCHMARK_CAPTURE(piece_of_a_frame, sea, SEA)->SIZES->UseRealTime();
BENCHMARK_CAPTURE(piece_of_a_frame, clouds, CLOUDS)->SIZES->UseRealTime();

static void whole_frame(benchmark::State& state)
{
    Shore shore(static_cast<i32>(state.range(0)), static_cast<i32>(state.range(1)));
    landscape_on = static_cast<i32>(state.range(2));
    for (auto unused : state) {
        (void)unused;
        glLoadIdentity();
        MazeGame_applyview(&shore.game);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        scene_draw(&shore.game);
        glFinish();
    }
    landscape_on = 0;
    MazeGame_free(&shore.game);
}
BENCHMARK(whole_frame)
    ->Args({320, 240, 0})
    ->Args({320, 240, 1})
    ->Args({864, 648, 0})
    ->Args({864, 648, 1})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// What the first frame makes.
static void mirrored_sky(benchmark::State& state)
{
    std::vector<u8> bytes(SKYMAP_BYTES);
    for (auto unused : state) {
        (void)unused;
        for (i32 face = SKYMAP_FACES - 1; face >= 0; face--) {
            skymap_face(face, bytes.data());
        }
    }
}
BENCHMARK(mirrored_sky)->Unit(benchmark::kMillisecond);

// The same by the routine for one direction, a sample a call.
static void mirrored_sky_by_direction(benchmark::State& state)
{
    u8 out[3];
    for (auto unused : state) {
        (void)unused;
        for (i32 i = 512 * 512 * 4 * 6 - 1; i >= 0; i--) {
            sky_sample(0.6, 0.0, i % 2 == 0 ? 0.8 : -0.8, out);
            benchmark::DoNotOptimize(out);
        }
    }
}
BENCHMARK(mirrored_sky_by_direction)->Unit(benchmark::kMillisecond);

static void cloud_noise_image(benchmark::State& state)
{
    for (auto unused : state) {
        (void)unused;
        std::free(noise_make(128, 128, 0.015F));
    }
}
BENCHMARK(cloud_noise_image)->Unit(benchmark::kMillisecond);

static void sampling_mesh(benchmark::State& state)
{
    const Shore shore(16, 12);
    for (auto unused : state) {
        (void)unused;
        glDeleteLists(mesh_make(0.02), 1);
    }
}
BENCHMARK(sampling_mesh)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
