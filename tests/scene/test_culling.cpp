// Nothing that is in view may vanish: pictures of the program against pictures of the same world in
// which the tests of the sides and of near and far let every level pass.
#include "base/rnd.h"
#include "generate/makemaze.h"
#include "scene/ballstick.h"
#include "tests/scene_picture.h"

#include <random>

// A view in which no level is beside, before or behind; the size of a pixel stays.
static void open_view(ViewRec* view)
{
    view->secx = 1e300;
    view->secy = 1e300;
    view->near = -1e300;
    view->far = 1e300;
}

static void draw_open_slice(MazeGame* game, u32 offsetbits)
{
    const u32 scalebits = 0xBF80068B;
    f32 p[16];
    glGetFloatv(GL_PROJECTION_MATRIX, p);
    std::memcpy(&p[10], &scalebits, 4);
    std::memcpy(&p[14], &offsetbits, 4);
    glMatrixMode(GL_PROJECTION);
    glLoadMatrixf(p);
    glMatrixMode(GL_MODELVIEW);
    glClear(GL_DEPTH_BUFFER_BIT);
    ViewRec_get(&game->view);
    open_view(&game->view);
    sphere_sticks(game->root, game, true);
    sphere_balls(game->root, game, true);
}

static Picture draw_all(MazeGame* game)
{
    picture_begin(game);
    draw_open_slice(game, 0xC4FA0664);
    draw_open_slice(game, 0xBE4CD209);
    return picture_take();
}

static void list_mazes(Maze* maze, std::vector<Maze*>* out)
{
    out->push_back(maze);
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        if (Maze_node(maze, i)->sub != nullptr) {
            list_mazes(Maze_node(maze, i)->sub, out);
        }
    }
}

// What a comparison of one world has seen.
struct Tally {
    i32 pictures = 0;
    i32 filled = 0; // pictures that show something
    i32 culled = 0; // pictures for which a level was left out
    i32 inside = 0; // pixels that differ
    i32 border = 0; // pixels that differ in the outermost row or column
};

static void compare(const Picture& a, const Picture& b, Tally* tally)
{
    for (i32 y = 0; y < a.height; y++) {
        for (i32 x = 0; x < a.width; x++) {
            const size_t i = (static_cast<size_t>(y) * a.width + x) * 3;
            if (std::memcmp(&a.bytes[i], &b.bytes[i], 3) == 0) {
                continue;
            }
            // a level whose sphere just misses the view may reach into it by half a pixel's outline
            const bool rim = x == 0 || y == 0 || x == a.width - 1 || y == a.height - 1;
            (rim ? tally->border : tally->inside)++;
        }
    }
    tally->pictures++;
    tally->filled += b.painted() > 0 ? 1 : 0;
}

// Levels that the last picture's near slice leaves out though a pixel large.
static bool leaves_out(MazeGame* game, const std::vector<Maze*>& mazes)
{
    for (Maze* maze : mazes) {
        f64 centre[3];
        f64 radius;
        Maze_drawsphere(maze, centre, &radius);
        ViewRec open = game->view;
        open_view(&open);
        if (ViewRec_sphereout(&game->view, centre, radius, game->view.pixelsize) != 0 &&
            ViewRec_sphereout(&open, centre, radius, open.pixelsize) == 0) {
            return true;
        }
    }
    return false;
}

using Random = std::mt19937;

static f64 uniform(Random* random, f64 low, f64 high)
{
    return std::uniform_real_distribution<f64>(low, high)(*random);
}

static void direction(Random* random, f64 out[3])
{
    for (i32 i = 0; i < 3; i++) {
        out[i] = uniform(random, -1, 1);
    }
    vec3_unit(out, out);
}

// A camera near a random node: close by or far off, looking at it or past it.
static void look_at_node(MazeGame* game, const Maze* maze, Random* random)
{
    const MazeNode* const node = Maze_node(maze, static_cast<i32>((*random)() % maze->nodes.count));
    f64 away[3];
    f64 aside[3];
    direction(random, away);
    direction(random, aside);
    const f64 distance = node->radius * std::pow(10, uniform(random, 0, 3.5));
    const f64 miss = distance * uniform(random, 0, 1.5);
    f64 eye[3];
    f64 target[3];
    for (i32 i = 0; i < 3; i++) {
        eye[i] = node->pos[i] + distance * away[i];
        target[i] = node->pos[i] + miss * aside[i];
    }
    look_at(game, eye, target);
}

// A camera that has a level about the edge of its view: its sphere may just be out or just be in.
static void look_past_level(MazeGame* game, Maze* maze, Random* random)
{
    f64 centre[3];
    f64 radius;
    Maze_drawsphere(maze, centre, &radius);
    const f64 distance = radius * std::pow(10, uniform(random, -0.3, 1.5));
    const f64 angle = uniform(random, 0.3, 2.2);
    f64 away[3];
    f64 aside[3];
    direction(random, away);
    direction(random, aside);
    const f64 along = vec3_dot(aside, away);
    for (i32 i = 0; i < 3; i++) {
        aside[i] -= along * away[i];
    }
    vec3_unit(aside, aside);
    f64 eye[3];
    f64 target[3];
    for (i32 i = 0; i < 3; i++) {
        eye[i] = centre[i] + distance * away[i];
        target[i] = eye[i] + std::sin(angle) * aside[i] - std::cos(angle) * away[i];
    }
    look_at(game, eye, target);
}

static void compare_world(MazeGame* game, i32 pictures, u32 seed, Tally* tally)
{
    std::vector<Maze*> mazes;
    list_mazes(game->root, &mazes);
    Random random(seed);
    for (i32 i = 0; i < pictures; i++) {
        Maze* const maze = mazes[random() % mazes.size()];
        if (i % 2 == 0) {
            look_at_node(game, maze, &random);
        } else {
            look_past_level(game, maze, &random);
        }
        const Picture all = draw_all(game);
        const Picture drawn = picture_draw(game);
        tally->culled += leaves_out(game, mazes) ? 1 : 0;
        compare(drawn, all, tally);
    }
}

static Tally compare_kind(i32 kind, i32 worlds, i32 pictures)
{
    picture_open();
    gfx_resize(120, 90);
    Tally tally;
    for (i32 seed = 1; seed <= worlds; seed++) {
        rnd_seed(static_cast<u32>(seed));
        makemaze_forced_kind = kind;
        MazeGame game;
        MazeGame_new(&game, 0);
        makemaze_forced_kind = -1;
        compare_world(&game, pictures / worlds, static_cast<u32>(seed), &tally);
        MazeGame_free(&game);
    }
    return tally;
}

static void expect_nothing_vanished(const Tally& tally, i32 pictures)
{
    std::printf("%d pictures, %d filled, %d with levels left out; pixels that differ: %d, %d on "
                "the border\n",
                tally.pictures, tally.filled, tally.culled, tally.inside, tally.border);
    EXPECT_EQ(tally.pictures, pictures);
    EXPECT_EQ(tally.inside, 0);
    EXPECT_LE(tally.border, pictures);
    EXPECT_GT(tally.filled, pictures / 3);
    EXPECT_GT(tally.culled, pictures / 10);
}

TEST(culling, lets_nothing_in_view_vanish_in_worlds_of_kind_0)
{
    expect_nothing_vanished(compare_kind(0, 20, 200), 200);
}

TEST(culling, lets_nothing_in_view_vanish_in_worlds_of_kind_5)
{
    expect_nothing_vanished(compare_kind(5, 20, 200), 200);
}

TEST(culling, notices_a_sphere_that_is_too_small)
{
    picture_open();
    gfx_resize(120, 90);
    rnd_seed(3);
    makemaze_forced_kind = 0;
    MazeGame game;
    MazeGame_new(&game, 0);
    makemaze_forced_kind = -1;
    std::vector<Maze*> mazes;
    list_mazes(game.root, &mazes);
    f64 centre[3];
    f64 radius;
    Maze_drawsphere(game.root, centre, &radius); // computes all
    for (Maze* maze : mazes) {
        maze->drawradius *= 0.5;
    }
    Tally tally;
    compare_world(&game, 40, 1, &tally);
    EXPECT_GT(tally.inside, 1000);
    MazeGame_free(&game);
}
