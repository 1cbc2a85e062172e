// The parts of a level's gantries, listed; and levels made by hand.
#pragma once

#include "scene/gantryparts.h"
#include "tests/scene_picture.h"

#include <utility>
#include <vector>

template <typename Part> inline void gantry_keep(const Part* part, void* to)
{
    static_cast<std::vector<Part>*>(to)->push_back(*part);
}

inline std::vector<GantryPlate> walkways_of(Maze* maze)
{
    std::vector<GantryPlate> plates;
    gantry_eachwalkway(maze, gantry_keep<GantryPlate>, &plates);
    return plates;
}

inline std::vector<GantryPlate> triangles_of(Maze* maze)
{
    std::vector<GantryPlate> plates;
    gantry_eachtriangle(maze, gantry_keep<GantryPlate>, &plates);
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
