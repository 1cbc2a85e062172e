// The parts of a level's gantries, listed; and levels made by hand.
#pragma once

#include "scene/gantryparts.h"
#include "tests/scene_picture.h"
#include "tests/vec.h"
#include "tests/world.h"

#include <utility>
#include <vector>

template <typename Part> inline void gantry_keep(const Part* part, void* to)
{
    static_cast<std::vector<Part>*>(to)->push_back(*part);
}

inline std::vector<GantryPlate> walkways_of(Maze* maze)
{
    std::vector<GantryPlate> plates;
    gantry_eachwalkway(maze, nullptr, gantry_keep<GantryPlate>, &plates);
    return plates;
}

inline std::vector<GantryPlate> triangles_of(Maze* maze)
{
    std::vector<GantryPlate> plates;
    gantry_eachtriangle(maze, nullptr, gantry_keep<GantryPlate>, &plates);
    return plates;
}

inline std::vector<GantryBar> bars_of(Maze* maze)
{
    std::vector<GantryBar> bars;
    gantry_eachbar(maze, gantry_keep<GantryBar>, &bars);
    return bars;
}

inline std::vector<GantryBall> balls_of(Maze* maze)
{
    std::vector<GantryBall> balls;
    gantry_eachball(maze, gantry_keep<GantryBall>, &balls);
    return balls;
}

/// A root maze of its own, without a game.
struct Level {
    Maze* maze = Maze_new();

    Level() = default;
    Level(Level&& other) noexcept : maze(std::exchange(other.maze, nullptr))
    {
    }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;
    ~Level()
    {
        if (maze != nullptr) {
            Maze_free(maze, true);
        }
    }

    i32 node(f64 x, f64 y, f64 z, f64 radius)
    {
        return add_node(maze, x, y, z, radius);
    }
    void join(i32 a, i32 b)
    {
        Maze_join(maze, a, b);
    }
    Maze* sub(i32 n)
    {
        return add_sub(maze, n);
    }
};

/// A world drawn as gantries, with the player on node 0 at the origin.
struct Walks : World {
    Walks()
    {
        picture_open();
        gfx_resize(160, 120);
        gfx_set_fov(90, 0.1F, 1000);
        Maze_node(root, 0)->pos[2] = 0;
        plot_type = 1;
    }
    ~Walks()
    {
        plot_type = 0;
        light_on = 0;
    }
    Walks(const Walks&) = delete;
    Walks& operator=(const Walks&) = delete;

    i32 arm(i32 from, f64 x, f64 y, f64 z)
    {
        const i32 n = node(x, y, z, 0.5);
        Maze_join(root, from, n);
        return n;
    }
    // Three flat exits at the origin.
    void crossing()
    {
        arm(0, 4, 0, 0);
        arm(0, 0, 4, 0);
        arm(0, -4, 0, 0);
    }
    // Node 1 holds a maze of one node in its place.
    Maze* port()
    {
        const f64* const p = Maze_node(root, 1)->pos;
        Maze* const sub = add_sub(root, 1);
        add_node(sub, p[0], p[1], p[2], 0.5);
        return sub;
    }
    void look(Vec eye, Vec target)
    {
        const f64 e[3] = {eye.x, eye.y, eye.z};
        const f64 t[3] = {target.x, target.y, target.z};
        look_at(&game, e, t);
    }
    // One depth slice alone, whose depth buffer stays.
    Picture slice()
    {
        finish_world(root);
        picture_begin(&game);
        scene_plot(&game);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        return picture_take();
    }
};

/// Joins nine nodes that lie as three rows of three.
inline void join_square(Maze* maze)
{
    for (i32 i = 0; i < 9; i++) {
        if (i % 3 < 2) {
            Maze_join(maze, i, i + 1);
        }
        if (i < 6) {
            Maze_join(maze, i, i + 3);
        }
    }
}

/// A nested world drawn as gantries, made by `fill` from an empty root, and all its mazes.
struct GantryNest {
    MazeGame game = {};
    std::vector<Maze*> mazes;

    template <typename Fill> GantryNest(i32 width, i32 height, Fill fill)
    {
        picture_open();
        gfx_resize(width, height);
        gfx_set_fov(90, 0.1F, 1000);
        plot_type = 1;
        MazeGame_setup(&game);
        game.root = Maze_new();
        fill(game.root);
        finish_world(game.root);
        game.pos = innermost({game.root, 0});
        mazes = all_mazes(game.root);
    }
    ~GantryNest()
    {
        plot_type = 0;
        MazeGame_free(&game);
    }
    GantryNest(const GantryNest&) = delete;
    GantryNest& operator=(const GantryNest&) = delete;
};
