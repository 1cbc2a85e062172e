#include "base/clock.h"
#include "base/report.h"
#include "base/rnd.h"
#include "gfx/projection.h"
#include "model/commands.h"
#include "model/connect.h"
#include "model/stategraph.h"
#include "model/surgery.h"
#include "shell/frame.h"
#include "shell/hud.h"
#include "tests/ordinaryuser.h"
#include "tests/shell_session.h"
#include "tests/sound.h"

#include <GL/gl.h>

#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <random>
#include <string>

static const char first_settings[] =
    "Windowed (Y/N): Y\n"
    "Resolution (XxY, 'auto', 'span', 'windowed', 'display N' or 'span N,M...'): auto\n"
    "Stereo mode (0=none,1=top/bottom,2=side-by-side,3=interlace,4=two screen SBS,5=two screen "
    "vertical,6-8=coloured): 0\n"
    "Swap stereo (Y/N): N\n"
    "Stereo Depth: 0.05\n";

static std::string found_at_open; // the settings file as the back end saw it

// The scripted back end, but what it does at one call can be looked at.
static Platform watching_open()
{
    Platform backend = platform_scripted;
    backend.open = [](const WindowRequest* want) {
        std::ifstream file("config.txt");
        std::stringstream text;
        text << file.rdbuf();
        found_at_open = text.str();
        return platform_scripted.open(want);
    };
    found_at_open = "";
    return backend;
}

// The game that a folder holds.
struct Saved {
    MazeGame game = {};
    bool loaded = false;

    explicit Saved(const Folder& folder)
    {
        std::string why(SAVE_WHY, 0);
        loaded =
            MazeGame_load(&game, folder.file("maze_save.dat").c_str(), why.data()) == SAVE_LOADED;
        EXPECT_TRUE(loaded) << why.c_str();
    }
    ~Saved()
    {
        if (loaded) {
            MazeGame_free(&game);
        }
    }
    Saved(const Saved&) = delete;
    Saved& operator=(const Saved&) = delete;
};

TEST(driver_start, leaves_complete_settings_before_the_window_opens)
{
    const Platform backend = watching_open();
    Session session(&backend);
    ASSERT_TRUE(session.start());
    EXPECT_EQ(found_at_open, first_settings);
    EXPECT_EQ(session.folder.listing(), "config.txt");
}

TEST(driver_start, opens_three_fifths_of_the_display_by_default)
{
    Session session;
    ASSERT_TRUE(session.start());
    EXPECT_EQ(gfx_width, 864);
    EXPECT_EQ(gfx_height, 648);
    EXPECT_STREQ(scripted_counts.request.title, "Corvane");
    EXPECT_TRUE(scripted_counts.request.framed);
}

TEST(driver_start, opens_the_size_wished_for_in_a_window_and_never_writes_it)
{
    Session session;
    session.folder.write("config.txt", "Windowed: n\nResolution: 300x200\n");
    ASSERT_TRUE(session.start_framed(90, 70));
    EXPECT_EQ(gfx_width, 90);
    EXPECT_EQ(gfx_height, 70);
    EXPECT_TRUE(scripted_counts.request.framed);
    session.frames(1);
    EXPECT_EQ(session.stop(), 0);
    EXPECT_EQ(setting(session.folder, "Resolution"), "300x200");
    EXPECT_EQ(setting(session.folder, "Windowed"), "n");
}

TEST(driver_start, puts_the_pointer_at_the_centre_in_full_screen)
{
    Session session;
    session.at(1, SCRIPT_MOUSE, 5, 5);
    ASSERT_TRUE(session.start_fullscreen(100, 80));
    i32 x = 0;
    i32 y = 0;
    gfx_mouse_delta(&x, &y);
    EXPECT_EQ(x, 5); // the pump came after the centring
    EXPECT_EQ(scripted_counts.cursorshown, -1);
}

TEST(driver_start, reads_the_stereo_settings)
{
    Session session;
    session.folder.write("config.txt", "Stereo mode: 3\nSwap stereo: y\nStereo Depth: 0.25\n");
    ASSERT_TRUE(session.start_framed());
    EXPECT_EQ(session.driver.stereo_mode, 3);
    EXPECT_EQ(session.driver.stereo_swap, 1);
    EXPECT_EQ(session.driver.stereo_depth, 0.25);
}

TEST(driver_start, takes_a_stereo_depth_that_is_no_number_as_zero)
{
    for (const char* const text : {"deep", "", "nan", "inf"}) {
        Session session;
        session.folder.write("config.txt", std::string("Stereo Depth: ") + text + "\n");
        ASSERT_TRUE(session.start_framed());
        EXPECT_EQ(session.driver.stereo_depth, 0.0) << text;
    }
}

TEST(driver_start, begins_the_angles_and_the_display_anew_in_every_run)
{
    Session session;
    leave_line(session.folder);
    session.driver.camera.yaw = 3;
    session.driver.camera.first_person = 1;
    session.driver.hud_mode = 2;
    ASSERT_TRUE(session.start_framed());
    EXPECT_EQ(session.driver.camera.yaw, 0);
    EXPECT_EQ(session.driver.camera.first_person, 0);
    EXPECT_EQ(session.driver.hud_mode, 0);
}

TEST(driver_start, opens_nothing_for_a_resolution_without_height)
{
    Session session;
    session.folder.write("config.txt", "Resolution: 640x\n");
    testing::internal::CaptureStderr();
    EXPECT_FALSE(session.start());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "No window: the Resolution '640x' in config.txt gives no size.\n");
    EXPECT_FALSE(gfx_alive);
    EXPECT_FALSE(session.folder.has("maze_save.dat"));
}

TEST(driver_start, makes_the_same_world_from_the_same_seed_of_the_settings)
{
    std::string worlds[3];
    const char* const seeds[3] = {"77", "77", "78"};
    for (i32 i = 0; i < 3; i++) {
        Session session;
        session.folder.write("config.txt", std::string("Seed: ") + seeds[i] + "\n");
        ASSERT_TRUE(session.start_framed());
        EXPECT_EQ(session.stop(), 0);
        worlds[i] = session.folder.read("maze_save.dat");
        EXPECT_EQ(setting(session.folder, "Seed"), seeds[i]);
    }
    EXPECT_EQ(worlds[0], worlds[1]);
    EXPECT_NE(worlds[0], worlds[2]);
}

static u32 state_of_seed(u32 seed)
{
    rnd_seed(seed);
    MazeGame game;
    MazeGame_new(&game, 0);
    MazeGame_free(&game);
    return rnd_state();
}

TEST(driver_start, seeds_with_the_settings_number_or_else_the_clocks_milliseconds)
{
    const struct {
        const char* settings;
        u32 seed;
        bool told;
    } cases[] = {
        {"", 0, false}, // the scripted clock begins at 0
        {"Seed: 4294967295\n", 4294967295U, false},
        {"Seed: 4294967296\n", 0, true},
        {"Seed: -1\n", 0, true},
        {"Seed: 12 apples\n", 0, true},
        {"Seed:\n", 0, true},
    };
    for (const auto& one : cases) {
        Session session;
        session.folder.write("config.txt", one.settings);
        testing::internal::CaptureStdout();
        ASSERT_TRUE(session.start_framed());
        const std::string out = testing::internal::GetCapturedStdout();
        const u32 state = rnd_state();
        EXPECT_EQ(state, state_of_seed(one.seed)) << one.settings;
        EXPECT_EQ(out.find("Seed") != std::string::npos, one.told) << one.settings;
        EXPECT_EQ(session.folder.has("warnings.log"), one.told) << one.settings;
    }
}

TEST(driver_start, never_creates_the_seed)
{
    Session session;
    ASSERT_TRUE(session.start_framed());
    session.stop();
    EXPECT_EQ(setting(session.folder, "Seed"), "(none)");
}

TEST(driver_start, sets_a_bad_save_aside_tells_it_and_starts_a_new_game)
{
    Session session;
    session.folder.write("maze_save.dat", "this is no world");
    testing::internal::CaptureStdout();
    ASSERT_TRUE(session.start_framed());
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(session.folder.read("maze_save.dat.bad"), "this is no world");
    EXPECT_NE(out.find("maze_save.dat.bad"), std::string::npos) << out;
    EXPECT_NE(session.folder.read("warnings.log").find("maze_save.dat.bad"), std::string::npos);
    ASSERT_NE(session.driver.game.root, nullptr);
    session.frames(1);
    EXPECT_EQ(session.stop(), 0);
    const Saved saved(session.folder);
}

TEST(driver_start, prints_the_split_of_the_start_up_to_the_first_swap_if_asked)
{
    Session session;
    session.driver.wished_width = 64;
    session.driver.wished_height = 48;
    testing::internal::CaptureStderr();
    session.started = driver_start(&session.driver, true);
    session.frames(3);
    const std::string err = testing::internal::GetCapturedStderr();
    size_t place = 0;
    for (const char* const step : {"cpu before main", "settings", "window", "font", "world",
                                   "first pump", "first frame", "from main"}) {
        const size_t found = err.find(std::string("CORVANE_TIMES ") + step, place);
        ASSERT_NE(found, std::string::npos) << step << " in:\n" << err;
        place = found + 1;
    }
    EXPECT_EQ(err.find("CORVANE_TIMES", place), std::string::npos);
}

static std::string machine_calls; // s: swap, k: keys read, m: pointer read

static Platform noting_calls()
{
    Platform backend = platform_scripted;
    backend.swap = [] {
        machine_calls += 's';
        platform_scripted.swap();
    };
    backend.readkeys = [](u8 keys[PLATFORM_KEYS]) {
        machine_calls += 'k';
        platform_scripted.readkeys(keys);
    };
    backend.pointeroffset = [](i32* dx, i32* dy) {
        machine_calls += 'm';
        platform_scripted.pointeroffset(dx, dy);
    };
    machine_calls = "";
    return backend;
}

TEST(driver_frame, reads_the_pointer_then_swaps_then_takes_the_next_keys)
{
    const Platform backend = noting_calls();
    Session session(&backend);
    leave_line(session.folder);
    ASSERT_TRUE(session.start_fullscreen());
    session.frames(2);
    EXPECT_EQ(machine_calls, "mkmskmsk"); // the start centres the pointer and reads the keys once
}

TEST(driver_frame, adds_the_clocks_step_to_the_game_clock)
{
    Session session;
    leave_line(session.folder);
    ASSERT_TRUE(session.start_framed());
    scripted_step(0.25);
    session.frames(3); // the start-up's pump has made the first step
    EXPECT_NEAR(session.driver.game.time, 1.0 / 60 + 0.5, 1e-12);
    EXPECT_NEAR(session.driver.dt, 0.25, 1e-12);
}

TEST(driver_frame, stamps_a_passage_with_the_clock_of_its_frame)
{
    Session session;
    leave_line(session.folder);
    session.at(1, SCRIPT_KEY_DOWN, KEY_RIGHT);
    ASSERT_TRUE(session.start_framed());
    MazeGame* const game = &session.driver.game;
    while (game->pos.node == 10) {
        session.frames(1);
    }
    EXPECT_EQ(game->pos.node, 11);
    EXPECT_EQ(Pos_node(game->pos)->rec.walked, game->time);
    EXPECT_EQ(game->step[0], 0);
}

TEST(driver_frame, draws_lines_in_the_very_frame_in_which_i_is_held)
{
    Session session;
    leave_line(session.folder);
    session.at(2, SCRIPT_KEY_PRESS, 'I');
    std::vector<GLint> modes;
    ASSERT_TRUE(session.start_framed());
    session.atswap([&](i32) {
        GLint mode[2] = {};
        glGetIntegerv(GL_POLYGON_MODE, mode);
        modes.push_back(mode[0]);
    });
    session.frames(3);
    EXPECT_EQ(modes, (std::vector<GLint>{GL_FILL, GL_LINE, GL_FILL}));
}

// The pixels of the back buffer that aren't black.
static i32 lit_pixels()
{
    std::vector<u8> rgb(static_cast<size_t>(gfx_width) * static_cast<size_t>(gfx_height) * 4);
    glReadPixels(0, 0, gfx_width, gfx_height, GL_RGBA, GL_UNSIGNED_BYTE, rgb.data());
    i32 count = 0;
    for (size_t i = 0; i < rgb.size(); i += 4) {
        count += rgb[i] != 0 || rgb[i + 1] != 0 || rgb[i + 2] != 0 ? 1 : 0;
    }
    return count;
}

TEST(driver_frame, shows_the_scene_at_the_swap_and_clears_after_it)
{
    Session session;
    leave_line(session.folder);
    std::vector<i32> lit;
    ASSERT_TRUE(session.start_framed());
    session.driver.hud_mode = HUD_NOTHING;
    session.atswap([&](i32) { lit.push_back(lit_pixels()); });
    session.frames(2);
    ASSERT_EQ(lit.size(), 2U);
    EXPECT_GT(lit[0], 20);
    EXPECT_GT(lit[1], 20);
    EXPECT_EQ(lit_pixels(), 0);
    GLfloat matrix[16];
    glGetFloatv(GL_MODELVIEW_MATRIX, matrix);
    for (i32 i = 0; i < 16; i++) {
        EXPECT_EQ(matrix[i], i % 5 == 0 ? 1.0F : 0.0F);
    }
}

TEST(driver_frame, draws_no_scene_in_stereo_mode_9_and_f3_takes_it_to_1)
{
    Session session;
    leave_line(session.folder);
    session.folder.write("config.txt", "Stereo mode: 9\n");
    session.at(3, SCRIPT_KEY_PRESS, KEY_F3);
    std::vector<bool> drawn;
    std::vector<i32> modes;
    // a half of 25 rows has one in its middle, where the line of nodes is
    ASSERT_TRUE(session.start_framed(64, 50));
    session.driver.hud_mode = HUD_NOTHING;
    session.atswap([&](i32) {
        drawn.push_back(lit_pixels() > 0);
        modes.push_back(session.driver.stereo_mode);
    });
    session.frames(3);
    EXPECT_EQ(modes, (std::vector<i32>{9, 9, 1}));
    EXPECT_EQ(drawn, (std::vector<bool>{false, false, true})); // the key acts before the draw
}

TEST(driver_frame, counts_stereo_modes_round_by_f3_from_any_number)
{
    const struct {
        const char* text;
        i32 next;
    } cases[] = {{"8", 0}, {"2147483647", 2147483648LL % 9}, {"-1", 0}, {"-5", -4}};
    for (const auto& one : cases) {
        Session session;
        leave_line(session.folder);
        session.folder.write("config.txt", std::string("Stereo mode: ") + one.text + "\n");
        session.at(1, SCRIPT_KEY_PRESS, KEY_F3);
        ASSERT_TRUE(session.start_framed());
        session.frames(1);
        EXPECT_EQ(session.driver.stereo_mode, one.next) << one.text;
    }
}

TEST(driver_frame, counts_plots_round_by_g_even_under_the_map_of_cells)
{
    Session session;
    leave_line(session.folder);
    session.at(1, SCRIPT_KEY_PRESS, 'V');
    for (const i32 frame : {2, 4, 6}) {
        session.at(frame, SCRIPT_KEY_PRESS, 'G');
    }
    ASSERT_TRUE(session.start_framed());
    for (const i32 next : {1, 2, 0}) {
        session.frames(2);
        EXPECT_EQ(plot_type, next);
        EXPECT_EQ(voronoi_on, 1);
    }
}

TEST(driver_frame, drops_the_lists_of_cells_of_all_levels_by_m)
{
    Session session;
    Maze* const root = make_line(4, 2.5, 0.5);
    nest(root, 2, make_line(3, 0.1, 0.05));
    leave_world(session.folder, root, {root, 0});
    session.at(2, SCRIPT_KEY_PRESS, 'M');
    ASSERT_TRUE(session.start_framed());
    Maze* const levels[] = {session.driver.game.root, Maze_node(session.driver.game.root, 2)->sub};
    for (Maze* const maze : levels) {
        Maze_attach(maze, "voronoilist", &session, nullptr, 0);
        Maze_attach(maze, "others", &session, nullptr, 0);
    }
    session.frames(1);
    EXPECT_EQ(voronoi_mode, 5);
    for (Maze* const maze : levels) {
        EXPECT_NE(Maze_attachment(maze, "voronoilist"), nullptr);
    }
    session.frames(1);
    EXPECT_EQ(voronoi_mode, 0);
    for (Maze* const maze : levels) {
        EXPECT_EQ(Maze_attachment(maze, "voronoilist"), nullptr);
        EXPECT_NE(Maze_attachment(maze, "others"), nullptr);
    }
}

TEST(driver_frame, changes_the_field_of_view_by_f7_and_f8)
{
    Session session;
    leave_line(session.folder);
    session.at(1, SCRIPT_KEY_PRESS, KEY_F7);
    session.at(3, SCRIPT_KEY_PRESS, KEY_F8);
    ASSERT_TRUE(session.start_framed());
    session.frames(1);
    EXPECT_NEAR(gfx_get_fov(), 90 / 1.05, 1e-3);
    session.frames(2);
    EXPECT_NEAR(gfx_get_fov(), 90, 1e-3);
}

TEST(driver_frame, keeps_the_view_finite_however_often_f7_is_pressed)
{
    Session session;
    leave_line(session.folder);
    for (i32 i = 0; i < 2200; i++) {
        session.at(2 * i + 1, SCRIPT_KEY_PRESS, KEY_F7);
    }
    ASSERT_TRUE(session.start_framed(1, 1));
    session.frames(4400);
    const ViewRec* const view = &session.driver.game.view;
    for (const f64 number : {view->tanx, view->tany, view->pixelscale, view->secx, view->pixelsize,
                             view->near, view->far}) {
        EXPECT_TRUE(std::isfinite(number));
    }
}

TEST(driver_frame, makes_a_new_game_of_kind_2_by_n_with_shift_and_ctrl)
{
    Session session;
    leave_line(session.folder);
    session.folder.write("config.txt", "Seed: 5\n");
    session.at(2, SCRIPT_KEY_DOWN, KEY_SHIFT);
    session.at(2, SCRIPT_KEY_DOWN, KEY_CTRL);
    session.at(2, SCRIPT_KEY_PRESS, 'N');
    ASSERT_TRUE(session.start_framed());
    session.frames(2);
    const u32 state = rnd_state();
    MazeGame expected = {};
    rnd_seed(5);
    MazeGame_new(&expected, newgame_kind(true, true));
    EXPECT_EQ(newgame_kind(true, true), 2);
    EXPECT_EQ(state, rnd_state());
    const Maze* const root = session.driver.game.root;
    ASSERT_EQ(Maze_count(root), Maze_count(expected.root));
    for (i32 i = Maze_count(root) - 1; i >= 0; i--) {
        for (i32 k = 0; k < 3; k++) {
            EXPECT_EQ(Maze_node(root, i)->pos[k], Maze_node(expected.root, i)->pos[k]);
        }
    }
    MazeGame_free(&expected);
}

TEST(driver_frame, shows_the_old_world_in_the_frame_of_n_and_keeps_angles_and_zoom_calm)
{
    Session session;
    leave_line(session.folder);
    session.at(2, SCRIPT_KEY_PRESS, 'N');
    std::vector<i32> lit;
    ASSERT_TRUE(session.start_framed());
    session.driver.camera.yaw = 0.5;
    session.atswap([&](i32) { lit.push_back(lit_pixels()); });
    session.frames(2);
    EXPECT_EQ(lit[0], lit[1]);
    EXPECT_EQ(session.driver.camera.yaw, 0.5);
    const f64 zoom = session.driver.game.zoom;
    EXPECT_EQ(session.driver.game.time, 0);
    session.frames(1);
    EXPECT_EQ(session.driver.game.zoom, zoom);
    EXPECT_GT(session.driver.game.time, 0);
}

TEST(driver_frame, applies_a_resize_between_two_frames)
{
    Session session;
    leave_line(session.folder);
    session.at(2, SCRIPT_RESIZE, 90, 30);
    std::vector<i32> widths;
    ASSERT_TRUE(session.start_framed());
    session.atswap([&](i32) {
        GLint viewport[4] = {};
        glGetIntegerv(GL_VIEWPORT, viewport);
        widths.push_back(viewport[2]);
    });
    session.frames(2);
    EXPECT_EQ(widths, (std::vector<i32>{64, 90}));
}

TEST(driver_frame, ends_the_loop_by_q_and_by_escape)
{
    for (const i32 key : {static_cast<i32>('Q'), static_cast<i32>(KEY_ESCAPE)}) {
        Session session;
        leave_line(session.folder);
        session.at(4, SCRIPT_KEY_PRESS, key);
        ASSERT_TRUE(session.start_framed());
        session.frames(10);
        EXPECT_FALSE(session.looping);
        EXPECT_EQ(scripted_counts.swaps, 3);
    }
}

TEST(driver_frame, runs_no_frame_after_a_close_in_the_pump_of_the_start)
{
    Session session;
    leave_line(session.folder);
    session.at(1, SCRIPT_CLOSE);
    ASSERT_TRUE(session.start_framed());
    session.frames(1);
    EXPECT_FALSE(session.looping);
    EXPECT_EQ(scripted_counts.swaps, 0);
    EXPECT_EQ(session.stop(), 0);
    const Saved saved(session.folder);
}

TEST(driver_frame, ignores_q_while_minimised_but_not_a_close)
{
    Session session;
    leave_line(session.folder);
    session.at(2, SCRIPT_MINIMISE);
    session.at(3, SCRIPT_KEY_PRESS, 'Q');
    session.at(6, SCRIPT_CLOSE);
    ASSERT_TRUE(session.start_framed());
    session.frames(10);
    EXPECT_FALSE(session.looping);
    EXPECT_EQ(scripted_counts.swaps, 5);
}

TEST(driver_stop, saves_game_and_settings_after_a_close_during_a_frame)
{
    Session session;
    leave_line(session.folder);
    session.at(3, SCRIPT_KEY_PRESS, KEY_F4);
    session.at(5, SCRIPT_CLOSE);
    ASSERT_TRUE(session.start_framed());
    session.frames(10);
    EXPECT_FALSE(gfx_alive);
    const f64 time = session.driver.game.time;
    EXPECT_EQ(session.stop(), 0);
    EXPECT_EQ(setting(session.folder, "Swap stereo"), "Y");
    const Saved saved(session.folder);
    EXPECT_EQ(saved.game.time, time);
    EXPECT_NEAR(time, 4.0 / 60, 1e-12);
}

static i32 freed_alive; // 1: an attachment was freed while the window was open

TEST(driver_stop, frees_the_world_while_the_window_is_open)
{
    Session session;
    leave_line(session.folder);
    session.at(3, SCRIPT_KEY_PRESS, 'Q');
    ASSERT_TRUE(session.start_framed());
    freed_alive = -1;
    Maze_attach(
        session.driver.game.root, "witness", nullptr,
        [](void*, Maze*) { freed_alive = gfx_alive ? 1 : 0; }, 0);
    session.frames(10);
    EXPECT_EQ(freed_alive, -1);
    session.stop();
    EXPECT_EQ(freed_alive, 1);
}

TEST(driver_stop, closes_a_window_that_is_still_open)
{
    Session session;
    leave_line(session.folder);
    session.at(3, SCRIPT_KEY_PRESS, 'Q');
    ASSERT_TRUE(session.start_fullscreen());
    session.frames(10);
    EXPECT_TRUE(gfx_alive);
    session.stop();
    EXPECT_FALSE(gfx_alive);
    EXPECT_EQ(scripted_counts.moderestores, 1);
}

TEST(driver_stop, writes_the_stereo_settings)
{
    Session session;
    leave_line(session.folder);
    session.at(1, SCRIPT_KEY_PRESS, KEY_F3);
    session.at(2, SCRIPT_KEY_PRESS, KEY_F4);
    session.at(3, SCRIPT_KEY_PRESS, KEY_F6);
    ASSERT_TRUE(session.start_framed());
    session.frames(4);
    session.stop();
    EXPECT_EQ(setting(session.folder, "Stereo mode"), "1");
    EXPECT_EQ(setting(session.folder, "Swap stereo"), "Y");
    EXPECT_EQ(setting(session.folder, "Stereo Depth"), "0.055");
}

TEST(driver_stop, keeps_lines_of_the_settings_that_it_does_not_know)
{
    Session session;
    leave_line(session.folder);
    session.folder.write("config.txt", "Colour of the door: red: dark\n");
    ASSERT_TRUE(session.start_framed());
    session.frames(1);
    session.stop();
    EXPECT_EQ(session.folder.read("config.txt"),
              "Colour of the door: red: dark\n" + std::string(first_settings));
}

TEST(driver_stop, saves_a_game_that_the_next_start_continues)
{
    const Folder folder;
    const std::string script = "at 1 hold Right\nat 30 release Right\nat 40 hold Left\n"
                               "at 70 press Escape\n";
    leave_line(folder);
    const Played first = play(folder, script);
    ASSERT_EQ(first.outcome.code, 0) << first.outcome.err;
    ASSERT_EQ(first.log.rows.size(), 69U);
    const Played second = play(folder, "at 2 close\n");
    ASSERT_EQ(second.log.rows.size(), 1U);
    for (const char* const column : {"maze", "node", "visited"}) {
        EXPECT_EQ(second.log.rows[0].at(column), first.log.rows[68].at(column)) << column;
    }
    EXPECT_GT(first.log.integer(68, "visited"), 2);
    EXPECT_EQ(second.log.real(0, "time"), first.log.real(68, "time") + second.log.real(0, "dt"));
}

TEST(driver_stop, saves_nothing_else_than_game_and_settings)
{
    const Folder folder;
    const Played played = play(folder, "at 3 close\n");
    EXPECT_EQ(played.outcome.code, 0);
    EXPECT_EQ(folder.listing(), "config.txt maze_save.dat");
}

TEST(driver_stop, saves_a_game_that_loads_after_a_window_without_width)
{
    const Folder folder;
    folder.write("config.txt", "Seed: 3\n");
    const Played first = play(folder, "at 1 hold X\nat 3 resize 0 50\nat 6 close\n");
    EXPECT_EQ(first.outcome.code, 0) << first.outcome.err;
    const Played second = play(folder, "at 2 close\n");
    EXPECT_EQ(second.outcome.out, "");
    EXPECT_EQ(folder.listing(), "config.txt maze_save.dat");
    EXPECT_GT(second.log.real(0, "time"), first.log.real(3, "time"));
}

// A prefix that signals the command once a file is there, for which it waits a minute at most.
static std::string signalled(const char* name, const std::string& file)
{
    return "sh -c '(for i in $(seq 600); do [ -s " + file +
           " ] && break; sleep 0.1; done; kill -s " + name + " $$) & exec \"$@\"' sh";
}

TEST(driver_stop, saves_after_a_signal_to_end)
{
    for (const char* const name : {"TERM", "INT", "HUP"}) {
        const Folder folder;
        const Folder side; // for the picture that tells that frames are shown
        const std::string shown = side.file("shown.png");
        const Played played = play(folder, "at 2 shot " + shown + "\n",
                                   "--size 64x48 --frames 100000000", signalled(name, shown));
        EXPECT_EQ(played.outcome.code, 0) << name << played.outcome.err;
        EXPECT_EQ(folder.listing(), "config.txt maze_save.dat") << name;
        const Saved saved(folder);
    }
}

TEST(driver_stop, saves_although_nobody_reads_its_messages)
{
    const Folder folder;
    const Folder side;
    folder.write("maze_save.dat", "this is no world"); // there is something to tell
    side.write("script", "at 3 close\n");
    run_in(folder, "(sleep 0.2; " + program("corvane-play") + " " + side.file("script") +
                       " --size 64x48; echo $? >" + side.file("code") + ") | true");
    for (i32 tries = 0; tries < 200 && side.read("code").empty(); tries++) {
        usleep(50000);
    }
    EXPECT_EQ(side.read("code"), "0\n");
    EXPECT_EQ(folder.listing(), "config.txt maze_save.dat maze_save.dat.bad warnings.log");
    const Saved saved(folder);
}

// A prefix by which a command meets the modes of files, whoever runs the tests.
static std::string as_nobody()
{
    return geteuid() == 0 ? "setpriv --reuid=65534 --regid=65534 --clear-groups" : "";
}

TEST(driver_stop, tells_a_folder_that_cannot_be_written_and_ends_with_code_1)
{
    const Folder folder;
    leave_line(folder);
    const std::string save = folder.read("maze_save.dat");
    const Folder tools; // where anybody may start them
    std::filesystem::permissions(tools.path, std::filesystem::perms(0755));
    std::filesystem::copy(program("corvane-play"), tools.file("corvane-play"));
    tools.write("script", "at 4 press Q\n");
    std::filesystem::permissions(folder.path, std::filesystem::perms(0555));
    const Outcome outcome =
        run_in(folder, as_nobody() + " " + tools.file("corvane-play") + " " + tools.file("script"));
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.out.find("config.txt"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("maze_save.dat"), std::string::npos) << outcome.out;
    EXPECT_EQ(folder.listing(), "maze_save.dat");
    EXPECT_EQ(folder.read("maze_save.dat"), save);
}

static bool asides_fail; // no file can be renamed to a name with ".bad"

// In place of the C library's, which moves files for the program too.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
int rename(const char* before, const char* after) noexcept
{
    if (asides_fail && std::strstr(after, ".bad") != nullptr) {
        errno = EBUSY;
        return -1;
    }
    return renameat(AT_FDCWD, before, AT_FDCWD, after);
}

// A run that met a bad save which it could not rename; what it wrote on standard output since it
// was made.
struct StuckRun {
    Session session;

    StuckRun()
    {
        session.folder.write("maze_save.dat", "this is no world");
        testing::internal::CaptureStdout();
        asides_fail = true;
        EXPECT_TRUE(session.start_framed());
        session.frames(2);
    }
    ~StuckRun()
    {
        asides_fail = false;
    }
    StuckRun(const StuckRun&) = delete;
    StuckRun& operator=(const StuckRun&) = delete;

    std::string stop()
    {
        session.driver.stereo_swap = 1;
        session.stop();
        return testing::internal::GetCapturedStdout();
    }
};

// The game of a file with a number has been played.
static void expect_saved_beside(const Folder& folder, const std::string& name,
                                const std::string& out)
{
    char why[SAVE_WHY];
    MazeGame game = {};
    ASSERT_EQ(MazeGame_loadshared(&game, folder.file(name).c_str(), why), SAVE_LOADED) << why;
    EXPECT_GT(game.time, 0);
    MazeGame_free(&game);
    const std::string told = "The game is saved in " + folder.file(name) +
                             ". To go on with it, rename it maze_save.dat.";
    EXPECT_NE(out.find(told), std::string::npos) << out;
}

TEST(driver_stop, saves_beside_a_bad_save_that_could_not_be_renamed)
{
    StuckRun run;
    const std::string out = run.stop();
    EXPECT_EQ(run.session.code, 0);
    EXPECT_EQ(run.session.folder.read("maze_save.dat"), "this is no world");
    EXPECT_EQ(run.session.folder.listing(),
              "config.txt maze_save-2.dat maze_save.dat warnings.log");
    EXPECT_EQ(setting(run.session.folder, "Swap stereo"), "Y");
    EXPECT_NE(out.find("While it stays there no game is saved over it"), std::string::npos) << out;
    EXPECT_NE(out.find("The game is not saved in maze_save.dat. Could not rename"),
              std::string::npos)
        << out;
    expect_saved_beside(run.session.folder, "maze_save-2.dat", out);
}

TEST(driver_stop, saves_beside_a_good_save_that_the_user_has_put_where_a_bad_one_was)
{
    StuckRun run;
    asides_fail = false;
    leave_line(run.session.folder);
    const std::string put = run.session.folder.read("maze_save.dat");
    const std::string out = run.stop();
    EXPECT_EQ(run.session.code, 0);
    EXPECT_EQ(run.session.folder.read("maze_save.dat"), put);
    EXPECT_EQ(run.session.folder.listing(),
              "config.txt maze_save-2.dat maze_save.dat warnings.log");
    EXPECT_NE(out.find("The game is not saved in maze_save.dat. Another saved game has been put "
                       "there"),
              std::string::npos)
        << out;
    expect_saved_beside(run.session.folder, "maze_save-2.dat", out);
}

TEST(driver_stop, renames_a_bad_save_that_could_not_be_renamed_at_the_start)
{
    StuckRun run;
    asides_fail = false;
    const std::string out = run.stop();
    EXPECT_EQ(run.session.code, 0);
    EXPECT_EQ(run.session.folder.read("maze_save.dat.bad"), "this is no world");
    EXPECT_NE(out.find("is now maze_save.dat.bad"), std::string::npos) << out;
    const Saved saved(run.session.folder);
}

TEST(driver_stop, saves_where_a_bad_save_was_that_the_user_has_moved)
{
    StuckRun run;
    std::filesystem::rename("maze_save.dat", "kept");
    run.stop();
    EXPECT_EQ(run.session.code, 0);
    const Saved saved(run.session.folder);
}

// Ends a run at whose end something else is where the game is saved; gives what that told.
static std::string stop_after(Session* session, const std::function<void()>& change)
{
    EXPECT_TRUE(session->start_framed());
    session->frames(2);
    change();
    session->driver.stereo_swap = 1;
    testing::internal::CaptureStdout();
    session->stop();
    EXPECT_EQ(setting(session->folder, "Swap stereo"), "Y");
    return testing::internal::GetCapturedStdout();
}

TEST(driver_stop, saves_beside_a_folder_of_the_name_of_the_save)
{
    Session session;
    const std::string out =
        stop_after(&session, [] { std::filesystem::create_directory("maze_save.dat"); });
    EXPECT_EQ(session.code, 0);
    EXPECT_NE(out.find("The game is not saved in maze_save.dat. Could not write"),
              std::string::npos)
        << out;
    EXPECT_TRUE(std::filesystem::is_directory("maze_save.dat"));
    expect_saved_beside(session.folder, "maze_save-2.dat", out);
}

TEST(driver_stop, saves_beside_a_link_that_leads_nowhere)
{
    Session session;
    const std::string out =
        stop_after(&session, [] { std::filesystem::create_symlink("gone", "maze_save.dat"); });
    EXPECT_EQ(session.code, 0);
    EXPECT_NE(out.find("It is a link to a file that is not there"), std::string::npos) << out;
    EXPECT_EQ(std::filesystem::read_symlink("maze_save.dat"), "gone");
    expect_saved_beside(session.folder, "maze_save-2.dat", out);
}

TEST(driver_stop, saves_beside_a_write_protected_save)
{
    Session session;
    leave_line(session.folder);
    const std::string save = session.folder.read("maze_save.dat");
    std::optional<OrdinaryUser> user;
    const std::string out = stop_after(&session, [&] {
        ASSERT_EQ(chmod(".", 0777), 0);
        ASSERT_EQ(chmod("config.txt", 0666), 0);
        ASSERT_EQ(chmod("maze_save.dat", 0444), 0);
        user.emplace();
    });
    EXPECT_EQ(session.code, 0) << out;
    EXPECT_NE(out.find("The game is not saved in maze_save.dat. Could not write"),
              std::string::npos)
        << out;
    EXPECT_EQ(session.folder.read("maze_save.dat"), save);
    expect_saved_beside(session.folder, "maze_save-2.dat", out);
}

TEST(driver_run, ends_with_code_0_and_saves_nothing_without_a_size)
{
    const Folder folder;
    folder.write("config.txt", "Resolution: 640x\n");
    const Played played = play(folder, "at 3 close\n", "");
    EXPECT_EQ(played.outcome.code, 0);
    EXPECT_EQ(played.outcome.err,
              "No window: the Resolution '640x' in config.txt gives no size.\n");
    EXPECT_EQ(folder.listing(), "config.txt");
}

TEST(driver_run, prints_the_split_of_the_start_by_the_environment)
{
    const Folder folder;
    EXPECT_NE(play(folder, "at 3 close\n", "--size 64x48", "CORVANE_TIMES=1").outcome.err, "");
    EXPECT_EQ(play(folder, "at 3 close\n", "--size 64x48", "CORVANE_TIMES=0").outcome.err, "");
}

TEST(driver_frame, simplifies_the_maze_while_r_is_held)
{
    Session session;
    leave_line(session.folder);
    session.at(2, SCRIPT_KEY_DOWN, 'R');
    ASSERT_TRUE(session.start_framed());
    const MazeNode* const end = Maze_node(session.driver.game.root, 19);
    session.frames(1);
    EXPECT_EQ(end->pos[0], 19 * 2.5);
    session.frames(1);
    EXPECT_NEAR(end->pos[0], 19 * 2.5 - 2.5 / 60, 1e-9);
    EXPECT_NEAR(simplify_rate, 1 + 1.0 / 60, 1e-9);
    session.at(4, SCRIPT_KEY_UP, 'R');
    session.frames(2);
    EXPECT_EQ(simplify_rate, 1.0);
}

TEST(driver_frame, relaxes_the_maze_while_e_is_held)
{
    Session session;
    leave_line(session.folder);
    session.at(2, SCRIPT_KEY_PRESS, 'E');
    ASSERT_TRUE(session.start_framed());
    const MazeNode* const node = Maze_node(session.driver.game.root, 5);
    session.frames(1);
    EXPECT_EQ(node->rec.colour, 0x808080U);
    session.frames(1);
    EXPECT_EQ(node->rec.colour, 0xC04040U);
}

TEST(driver_frame, contracts_the_maze_once_for_a_press_of_k)
{
    Session session;
    Maze* const left = make_ring(12);
    leave_world(session.folder, left, {left, 5});
    session.at(2, SCRIPT_KEY_DOWN, KEY_SHIFT);
    session.at(2, SCRIPT_KEY_DOWN, 'K');
    ASSERT_TRUE(session.start_framed());
    MazeGame* const game = &session.driver.game;
    const World once(make_ring(12));
    Maze_contract(once.get(), 2);
    session.frames(4); // a key that stays down counts in its first frame only
    for (i32 i = 0; i < 12; i++) {
        EXPECT_EQ(neighbours(game->root, i), neighbours(once.get(), i)) << i;
    }
    EXPECT_NE(Maze_edgecount(once.get()), 12);
    EXPECT_FALSE(neighbours(game->root, game->pos.node).empty());
    EXPECT_SOUND(game->root);
}

TEST(driver_frame, reshapes_the_new_maze_in_the_frame_of_n)
{
    Session session;
    session.folder.write("config.txt", "Seed: 5\n");
    leave_line(session.folder);
    session.at(1, SCRIPT_KEY_PRESS, 'N');
    session.at(1, SCRIPT_KEY_PRESS, 'E');
    ASSERT_TRUE(session.start_framed());
    session.frames(1);
    EXPECT_EQ(Pos_node(session.driver.game.pos)->rec.colour, 0xC04040U);
}

TEST(driver_frame, expands_ten_nodes_near_the_player_in_a_frame)
{
    Session session;
    leave_line(session.folder, 30);
    ASSERT_TRUE(session.start_framed());
    Maze* const root = session.driver.game.root;
    for (i32 i = 1; i < 29; i++) {
        MazeNode_await(Maze_node(root, i));
    }
    testing::internal::CaptureStdout();
    session.frames(1);
    testing::internal::GetCapturedStdout();
    i32 nested = 0;
    for (i32 i = 0; i < 30; i++) {
        nested += Maze_node(root, i)->sub != nullptr ? 1 : 0;
    }
    EXPECT_EQ(nested, 10);
    EXPECT_SOUND(root);
    EXPECT_NE(session.driver.game.pos.maze, root); // the player's node was among them
}

// A ring of 7 states.
static void seven_neighbours(GrowArray* out, const void* state, void*)
{
    GrowArray_init(out, sizeof(i32));
    const i32 next = (*static_cast<const i32*>(state) + 1) % 7;
    GrowArray_push(out, &next);
}

TEST(driver_frame, grows_a_state_graph_everywhere_while_c_is_held)
{
    Session session;
    leave_line(session.folder);
    session.at(2, SCRIPT_KEY_DOWN, 'C');
    ASSERT_TRUE(session.start_framed());
    StateGraph graph;
    StateGraph_new(&graph, sizeof(i32), 0);
    graph.neighbours = seven_neighbours;
    MazeGame* const game = &session.driver.game;
    MazeGame_free(game);
    Maze* const maze = Maze_statenew(&graph);
    *game = make_game(maze, {maze, 0});
    session.frames(1);
    EXPECT_EQ(Maze_count(maze), 2); // at the player's node only
    session.frames(8);
    EXPECT_EQ(Maze_count(maze), 7);
    EXPECT_SOUND(maze);
}

TEST(driver_frame, leaves_a_save_that_loads_after_random_reshaping)
{
    for (u32 seed = 1; seed <= 2; seed++) {
        Session session;
        session.folder.write("config.txt", "Seed: " + std::to_string(seed) + "\n");
        std::mt19937 dice(seed);
        static const char keys[] = "REKKEWASD";
        for (i32 frame = 2; frame < 120; frame++) {
            session.at(frame, SCRIPT_KEY_PRESS, keys[dice() % 9]);
            if (dice() % 2 == 0) {
                session.at(frame, SCRIPT_KEY_PRESS, dice() % 2 == 0 ? KEY_SHIFT : KEY_CTRL);
            }
        }
        testing::internal::CaptureStdout();
        ASSERT_TRUE(session.start_framed());
        session.frames(120);
        testing::internal::GetCapturedStdout();
        EXPECT_SOUND(session.driver.game.root);
        EXPECT_EQ(session.stop(), 0);
        const Saved saved(session.folder);
        EXPECT_TRUE(saved.loaded);
    }
}
