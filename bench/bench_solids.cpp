// Cost of the ball-and-stick plot: building the lists of a level, and a frame whose lists stand, as a
// ratio to the plain way of either in the same run. Its cost in the nested grid of millions of nodes, of
// which it lists what can be seen.
#include "base/rnd.h"
#include "base/vec3.h"
#include "gfx/gfx_opengl.h"
#include "gfx/projection.h"
#include "model/attachment.h"
#include "model/drawsphere.h"
#include "model/pos.h"
#include "scene/colours.h"
#include "scene/scene.h"
#include "tests/plain_solids.h"

#include "bench/measure.h"
#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <unistd.h>
#include <vector>

// Processor time of all threads, the painter's among them: steadier than the clock on a busy machine.
static f64 work()
{
    timespec t;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<f64>(t.tv_sec) + static_cast<f64>(t.tv_nsec) * 1e-9;
}

// A torus of squares, 125 around and 62 about the tube, whose nodes are 2.5 apart in the middle.
static constexpr i32 AROUND = 125;
static constexpr i32 ABOUT = 62;

static Maze* make_torus()
{
    Maze* const maze = Maze_new();
    const f64 turn = 2 * 3.14159265358979;
    const f64 major = AROUND * 2.5 / turn;
    const f64 minor = ABOUT * 2.5 / turn;
    for (i32 i = 0; i < AROUND; i++) {
        for (i32 j = 0; j < ABOUT; j++) {
            const f64 a = turn * i / AROUND;
            const f64 b = turn * j / ABOUT;
            const f64 from = major + minor * std::cos(b);
            MazeNode node =
                MazeNode_fresh(from * std::cos(a), from * std::sin(a), minor * std::sin(b), 0.5);
            Maze_addnode(maze, &node);
        }
    }
    for (i32 i = 0; i < AROUND; i++) {
        for (i32 j = 0; j < ABOUT; j++) {
            Maze_join(maze, i * ABOUT + j, (i + 1) % AROUND * ABOUT + j);
            Maze_join(maze, i * ABOUT + j, i * ABOUT + (j + 1) % ABOUT);
        }
    }
    Maze_bounds(maze, true);
    Maze_drawsphere_stale(maze, true);
    return maze;
}

static void cross(f64 out[3], const f64 a[3], const f64 b[3])
{
    for (i32 i = 0; i < 3; i++) {
        out[i] = a[(i + 1) % 3] * b[(i + 2) % 3] - a[(i + 2) % 3] * b[(i + 1) % 3];
    }
}

// The torus seen from `eye` with `target` in the middle of the view.
static MazeGame torus_game(const f64 eye[3], const f64 target[3])
{
    MazeGame game;
    MazeGame_setup(&game);
    game.root = make_torus();
    game.pos = {game.root, 0};
    f64 back[3];
    vec3_sub(back, eye, target);
    vec3_unit(back, back);
    const f64 tall[3] = {0, 0, 1};
    f64 right[3];
    f64 up[3];
    cross(right, tall, back);
    vec3_unit(right, right);
    cross(up, back, right);
    for (i32 i = 0; i < 3; i++) {
        game.orient[i] = right[i];
        game.orient[3 + i] = up[i];
        game.orient[6 + i] = back[i];
        game.campos[i] = eye[i];
    }
    return game;
}

static MazeGame view_of(i32 which)
{
    const f64 middle[3] = {0, 0, 0};
    const f64 high[3] = {90, -110, 90};
    const f64 near[3] = {0, -90, 4};   // beside the tube, which fills the view
    const f64 along[3] = {60, -70, 0}; // past its outside
    const f64 within[3] = {49, -1, 1}; // in the tube
    const f64 ahead[3] = {45, 20, 2};
    const f64 far[3] = {700, -700, 300}; // across the border of the slices
    switch (which) {
    case 0: return torus_game(high, middle);
    case 1: return torus_game(near, middle);
    case 2: return torus_game(along, middle);
    case 3: return torus_game(within, ahead);
    default: return torus_game(far, middle);
    }
}

static void begin_frame(MazeGame* game)
{
    glLoadIdentity();
    MazeGame_applyview(game);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

static f64 time_of_frame(MazeGame* game, const PlainSolids* plain, const PlainLists* lists)
{
    glFinish();
    const f64 start = work();
    begin_frame(game);
    if (plain != nullptr) {
        plain_scene(*plain, *lists, game, true);
    } else {
        scene_draw(game);
    }
    glFinish();
    return work() - start;
}

// The program's frame and the plain one in turn; `ratio` is the program's share of the plain time.
static void frame(benchmark::State& state)
{
    open_window();
    plot_type = 2;
    light_on = 1;
    MazeGame game = view_of(static_cast<i32>(state.range(0)));
    PlainLists lists;
    lists.make(game.root);
    const PlainSolids plain = {plain_program(plain_sphere_vs, plain_sphere_fs),
                               plain_program(plain_cylinder_vs, plain_cylinder_fs)};
    time_of_frame(&game, nullptr, nullptr);
    time_of_frame(&game, &plain, &lists);
    std::vector<f64> plains;
    std::vector<f64> ours;
    for (auto unused : state) {
        (void)unused;
        plains.push_back(time_of_frame(&game, &plain, &lists));
        ours.push_back(time_of_frame(&game, nullptr, nullptr));
        state.SetIterationTime(ours.back());
    }
    state.counters["plain_ms"] = median(plains) * 1e3;
    state.counters["ratio"] = median(ours) / median(plains);
    lists.free();
    MazeGame_free(&game);
}
BENCHMARK(frame)->ArgName("view")->DenseRange(0, 4)->UseManualTime()->Unit(benchmark::kMillisecond);

// The same lists from arrays of vertices, with one call each.
struct SolidVertex {
    f32 tex[4], normal[3];
    u8 colour[4];
    f32 corner[2];
};

static std::vector<SolidVertex> vertices; // kept across rebuilds

static void push_quad(SolidVertex v, u32 colour, const f64 at[3], f64 radius)
{
    static const f32 corners[4][2] = {{-1, -1}, {-1, 1}, {1, 1}, {1, -1}};
    for (i32 k = 0; k < 3; k++) {
        v.tex[k] = static_cast<f32>(at[k]);
        v.colour[k] = static_cast<u8>(colour >> (16 - 8 * k));
    }
    v.tex[3] = static_cast<f32>(radius);
    v.colour[3] = 255;
    for (const auto& corner : corners) {
        v.corner[0] = corner[0];
        v.corner[1] = corner[1];
        vertices.push_back(v);
    }
}

static void draw_vertices(bool normals)
{
    const GLsizei stride = sizeof(SolidVertex);
    glPushClientAttrib(GL_CLIENT_VERTEX_ARRAY_BIT);
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_COLOR_ARRAY);
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    glVertexPointer(2, GL_FLOAT, stride, vertices[0].corner);
    glColorPointer(4, GL_UNSIGNED_BYTE, stride, vertices[0].colour);
    glTexCoordPointer(4, GL_FLOAT, stride, vertices[0].tex);
    if (normals) {
        glEnableClientState(GL_NORMAL_ARRAY);
        glNormalPointer(GL_FLOAT, stride, vertices[0].normal);
    }
    glDrawArrays(GL_QUADS, 0, static_cast<GLsizei>(vertices.size()));
    glPopClientAttrib();
}

static void array_balllist(const Maze* maze)
{
    vertices.clear();
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        const MazeNode* const node = Maze_node(maze, n);
        push_quad({}, colour_drawn(exit_colour(maze, node->rec.colour)), node->pos, node->radius);
    }
    draw_vertices(false);
}

static void array_sticklist(Maze* maze)
{
    vertices.clear();
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        const MazeNode* const node = Maze_node(maze, n);
        Pos exits[POS_MAXEDGES];
        VisitRec recs[POS_MAXEDGES];
        for (i32 i = Pos_alledges({maze, n}, exits, recs) - 1; i >= 0; i--) {
            const MazeNode* const target = Pos_node(exits[i]);
            SolidVertex v = {};
            for (i32 k = 0; k < 3; k++) {
                v.normal[k] = static_cast<f32>(target->pos[k] - node->pos[k]);
            }
            push_quad(v, colour_drawn(exit_colour(maze, recs[i].colour)), node->pos,
                      std::fmin(node->radius, target->radius));
        }
    }
    draw_vertices(true);
}

static f64 time_of_lists(Maze* maze, bool arrays)
{
    const f64 start = seconds();
    const GLuint lists = glGenLists(2);
    glNewList(lists, GL_COMPILE);
    arrays ? array_balllist(maze) : ballstick_balllist(maze);
    glEndList();
    glNewList(lists + 1, GL_COMPILE);
    arrays ? array_sticklist(maze) : ballstick_sticklist(maze);
    glEndList();
    const f64 time = seconds() - start;
    glDeleteLists(lists, 2);
    return time;
}

// Both ways in turn. The time shown is the program's own; `array_ratio` is what one array a list takes
// in units of it.
static void build(benchmark::State& state)
{
    open_window();
    Maze* const maze = make_torus();
    std::vector<f64> ours;
    std::vector<f64> arrays;
    for (auto unused : state) {
        (void)unused;
        ours.push_back(time_of_lists(maze, false));
        arrays.push_back(time_of_lists(maze, true));
        state.SetIterationTime(ours.back());
    }
    state.counters["array_ms"] = median(arrays) * 1e3;
    state.counters["array_ratio"] = median(arrays) / median(ours);
    Maze_free(maze, true);
}
BENCHMARK(build)->UseManualTime()->Unit(benchmark::kMillisecond);

// What the nested grid costs: frames from the start of a game and from places inside.
struct Levels {
    i32 all;
    i32 listed;
};

static void count_levels(Levels* levels, Maze* maze, const char* list)
{
    levels->all++;
    levels->listed += Maze_attachment(maze, list) != nullptr ? 1 : 0;
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        Maze* const sub = Maze_node(maze, n)->sub;
        if (sub != nullptr) {
            count_levels(levels, sub, list);
        }
    }
}

// Memory in use, in millions of bytes.
static f64 megabytes()
{
    long whole = 0;
    long resident = 0;
    FILE* const file = std::fopen("/proc/self/statm", "r");
    if (file == nullptr || std::fscanf(file, "%ld %ld", &whole, &resident) != 2) {
        resident = 0;
    }
    if (file != nullptr) {
        std::fclose(file);
    }
    return static_cast<f64>(resident) * static_cast<f64>(sysconf(_SC_PAGESIZE)) * 1e-6;
}

// Beside the first node of the level that the numbers lead to, first its parent's, and so many of its
// radii away.
static void stand_in(MazeGame* game, u32 draw, f64 radii)
{
    Maze* maze = game->root;
    const i32 depth = static_cast<i32>(draw % 5);
    for (i32 level = 0; level < depth; level++) {
        i32 n = static_cast<i32>(draw * 7919 % static_cast<u32>(Maze_count(maze)));
        while (n > 0 && Maze_node(maze, n)->sub == nullptr) {
            n--;
        }
        maze = Maze_node(maze, n)->sub != nullptr ? Maze_node(maze, n)->sub : maze;
    }
    const MazeNode* const node = Maze_node(maze, 0);
    const f64 away[3] = {-1.0, -1.0, 0.7};
    for (i32 i = 2; i >= 0; i--) {
        game->campos[i] = node->pos[i] + radii * node->radius * away[i];
    }
}

static void nested_grid(benchmark::State& state)
{
    open_window();
    plot_type = 2;
    rnd_seed(1);
    MazeGame game;
    MazeGame_new(&game, 1);
    const f64 before = megabytes();
    Levels levels = {};
    f64 worst = 0.0;
    for (auto unused : state) {
        (void)unused;
        const f64 start = seconds();
        time_of_frame(&game, nullptr, nullptr);
        state.SetIterationTime(seconds() - start);
        for (u32 i = 0; i < 10; i++) { // nearer and nearer
            stand_in(&game, i, 300.0 * std::pow(0.6, i));
            const f64 then = seconds();
            time_of_frame(&game, nullptr, nullptr);
            worst = std::max(worst, seconds() - then);
        }
    }
    count_levels(&levels, game.root, "ballstick_stickslist");
    state.counters["worst_ms"] = worst * 1e3;
    state.counters["levels"] = levels.all;
    state.counters["listed"] = levels.listed;
    state.counters["lists_MB"] = megabytes() - before;
    MazeGame_free(&game);
}
BENCHMARK(nested_grid)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
