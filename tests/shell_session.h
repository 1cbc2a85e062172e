// The driver inside a test, on the scripted back end, in a folder of its own; and small worlds.
#pragma once

#include "gfx/gfx_opengl.h"
#include "gfx/platform/scripted.h"
#include "model/attachment.h"
#include "model/mazegame.h"
#include "model/savefile.h"
#include "scene/scene.h"
#include "shell/frame.h"
#include "tests/mazes.h"
#include "tests/shell_run.h"

#include <functional>

// Where the driver's back end calls a test; set by a session's hook.
inline std::function<void(i32)> session_hook;

struct Session {
    Folder folder;
    std::filesystem::path home = std::filesystem::current_path();
    Driver driver;
    bool started = false;
    bool looping = true;
    i32 code = -1;

    explicit Session(const Platform* backend = &platform_scripted)
    {
        std::filesystem::current_path(folder.path);
        platform_use(backend);
        scripted_reset();
        plot_type = 0;
        voronoi_on = 0;
        voronoi_mode = 5;
        landscape_on = 0;
        light_on = 0;
        grid_on = 0;
        smooth_lines = 1;
        gfx_width = 0;
        gfx_height = 0;
        fullscreen_x = 0;
        fullscreen_y = 0;
    }
    ~Session()
    {
        stop();
        session_hook = nullptr;
        std::filesystem::current_path(home);
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void at(i32 frame, ScriptedKind kind, i32 a = 0, i32 b = 0)
    {
        scripted_add({.frame = frame, .kind = kind, .a = a, .b = b});
    }
    void atswap(std::function<void(i32)> hook)
    {
        session_hook = std::move(hook);
        scripted_atswap([](i32 frame) { session_hook(frame); });
    }
    bool start()
    {
        started = driver_start(&driver, false);
        return started;
    }
    // A window of a size, whatever the settings say.
    bool start_framed(i32 width = 64, i32 height = 48)
    {
        driver.wished_width = width;
        driver.wished_height = height;
        return start();
    }
    // A screen of a size, all of it.
    bool start_fullscreen(i32 width = 64, i32 height = 48)
    {
        folder.write("config.txt", "Windowed (Y/N): N\n");
        scripted_display({.left = 0, .top = 0, .right = width, .bottom = height});
        return start();
    }
    void frames(i32 n)
    {
        for (i32 i = 0; i < n && looping; i++) {
            looping = driver_frame(&driver);
        }
    }
    int stop()
    {
        if (started) {
            started = false;
            code = driver_stop(&driver);
        }
        return code;
    }
};

// Nodes on the x axis, `spacing` apart, joined in a line.
inline Maze* make_line(i32 n, f64 spacing, f64 radius)
{
    Maze* const maze = Maze_new();
    for (i32 i = 0; i < n; i++) {
        add_node(maze, i * spacing, 0, 0, radius);
        if (i > 0) {
            Maze_join(maze, i - 1, i);
        }
    }
    Maze_bounds(maze, false);
    return maze;
}

// Makes `sub` the submaze of a node, and puts it there.
inline void nest(Maze* maze, i32 node, Maze* sub)
{
    f64 place[3];
    for (i32 i = 0; i < 3; i++) {
        place[i] = Maze_node(maze, node)->pos[i] - sub->centre[i];
    }
    Maze_translate(sub, place, true);
    hang(maze, node, sub);
    Maze_freeflags(maze, ATT_GEOMETRY, true);
}

// A game at the start of a world that it takes over.
inline MazeGame make_game(Maze* root, Pos pos)
{
    MazeGame game = {};
    MazeGame_setup(&game);
    game.root = root;
    game.pos = pos;
    MazeGame_startcamera(&game);
    return game;
}

// Leaves a world as the save file of a folder and frees it.
inline void leave_world(const Folder& folder, Maze* root, Pos pos)
{
    MazeGame game = make_game(root, pos);
    std::string why(SAVE_WHY, 0);
    EXPECT_TRUE(MazeGame_save(&game, folder.file("maze_save.dat").c_str(), why.data())) << why;
    MazeGame_free(&game);
}

// A line of nodes as the save file, with the player on node `node`.
inline void leave_line(const Folder& folder, i32 n = 20, i32 node = 10)
{
    Maze* const maze = make_line(n, 2.5, 0.5);
    leave_world(folder, maze, {maze, node});
}
