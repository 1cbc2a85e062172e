// A thousand worlds and more go out and come back as they were.
#include "base/rnd.h"
#include "generate/makemaze.h"
#include "tests/randomworld.h"
#include "tests/savebytes.h"

// Names of all lengths, with any byte but 0.
static void name_mazes(RandomWorld* world)
{
    for (Maze* const maze : world->mazes()) {
        if (world->below(3) > 0) {
            continue;
        }
        std::string name(static_cast<size_t>(world->below(world->below(8) == 0 ? 3000 : 20)), 'x');
        for (char& letter : name) {
            letter = static_cast<char>(1 + world->below(255));
        }
        str_set(&maze->name, name.c_str());
    }
}

// Nests rings below the last node of the root, each in the last node of the one before.
static void nest_deeper(RandomWorld* world, i32 levels)
{
    Maze* maze = world->root.get();
    for (i32 i = 0; i < levels; i++) {
        const i32 top = Maze_count(maze) - 1;
        if (top < Maze_ports(maze) || Maze_node(maze, top)->sub != nullptr) {
            world->add(maze);
        }
        const i32 holder = Maze_count(maze) - 1;
        Maze* const sub = make_ring(3);
        hang(maze, holder, sub);
        Maze_fixports(sub);
        maze = sub;
    }
}

static Pos any_place(RandomWorld* world)
{
    Pos pos = {world->anymaze(), 0};
    pos.node = world->below(Maze_count(pos.maze));
    while (Pos_node(pos)->sub != nullptr) {
        pos.maze = Pos_node(pos)->sub;
        pos.node = world->below(Maze_count(pos.maze));
    }
    return pos;
}

// Stamps passages and trails along exits drawn at random.
static void walk(MazeGame* game, i32 steps)
{
    Pos exits[POS_MAXEDGES];
    for (i32 i = 0; i < steps; i++) {
        const i32 n = Pos_alledges(game->pos, exits, nullptr);
        if (n == 0) {
            return;
        }
        const Pos next = exits[irand(n)];
        game->time += 0.5;
        Pos_marktrailed(game->pos, next, game->time - 0.25);
        Pos_markwalked(game->pos, next, game->time);
        game->pos = next;
    }
}

// What is saved loads, and is saved again by the same bytes.
static void expect_same_again(MazeGame* game)
{
    MazeGame_startcamera(game);
    const Bytes first = saved(game);
    HeldGame again;
    ASSERT_NO_FATAL_FAILURE(build(&again, first));
    ASSERT_TRUE(saved(&again.game) == first);
}

static void fill_tail(MazeGame* game, RandomWorld* world)
{
    game->time = world->real(0, 1e6);
    for (f64& value : game->orient) {
        value = world->real(-1, 1);
    }
    for (f64& value : game->view.modelview) {
        value = world->real(-1e9, 1e9);
    }
    game->view.far = world->real(0, 1e-300);
    game->view.viewport[world->below(4)] = -world->below(1000);
    game->showtrail = world->below(1000) - 500;
    game->showexits = world->below(1000) - 500;
}

TEST(savefile_worlds, of_1000_random_trees_come_back_byte_by_byte)
{
    rnd_seed(1000);
    size_t deepest = 0;
    for (u32 seed = 0; seed < 1000; seed++) {
        SCOPED_TRACE(seed);
        RandomWorld world(seed, 1 + seed % 12);
        const i32 changes = world.below(120);
        for (i32 i = 0; i < changes; i++) {
            world.change();
        }
        nest_deeper(&world, seed % 50 == 0 ? world.below(100) : world.below(4));
        name_mazes(&world);
        HeldGame held;
        const Pos pos = any_place(&world);
        stand(&held, world.root.release(), pos.maze, pos.node);
        fill_tail(&held.game, &world);
        walk(&held.game, world.below(60));
        EXPECT_SOUND(held->root);
        size_t depth = 1;
        for (const Maze* maze = held->pos.maze; maze->parent != nullptr; maze = maze->parent) {
            depth++;
        }
        deepest = std::max(deepest, depth);
        ASSERT_NO_FATAL_FAILURE(expect_same_again(&held.game));
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(deepest, 20U);
}

TEST(savefile_worlds, generated_of_each_kind_come_back_byte_by_byte)
{
    for (u32 seed = 0; seed < 2 * MAKEMAZE_KINDS; seed++) {
        SCOPED_TRACE(seed);
        rnd_seed(seed);
        makemaze_forced_kind = static_cast<i32>(seed % MAKEMAZE_KINDS);
        HeldGame held;
        MazeGame_new(&held.game, 0);
        makemaze_forced_kind = -1;
        walk(&held.game, static_cast<i32>(seed) % 40);
        ASSERT_NO_FATAL_FAILURE(expect_same_again(&held.game));
        ASSERT_FALSE(HasFailure());
    }
}
