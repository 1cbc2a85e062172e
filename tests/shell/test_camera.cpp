#include "base/clock.h"
#include "model/attachment.h"
#include "shell/camera.h"
#include "tests/shell_session.h"

#include <cmath>
#include <limits>

static constexpr f64 DT = 1.0 / 60.0;
static constexpr f64 PI = 3.141592653589793;
static constexpr f64 INFINITE = std::numeric_limits<f64>::infinity();

// A crossing at the origin with an exit in each direction of the plane, far away.
static void leave_crossing(const Folder& folder)
{
    Maze* const maze = Maze_new();
    add_node(maze, 0, 0, 0, 0.5);
    const f64 arms[4][2] = {{1000, 0}, {0, 1000}, {-1000, 0}, {0, -1000}};
    for (const auto& arm : arms) {
        Maze_join(maze, 0, add_node(maze, arm[0], arm[1], 0, 0.5));
    }
    Maze_bounds(maze, false);
    leave_world(folder, maze, {maze, 0});
}

TEST(Camera_init, looks_straight_down_in_third_person)
{
    Session session;
    leave_line(session.folder);
    ASSERT_TRUE(session.start_framed());
    EXPECT_EQ(session.driver.camera.yaw, 0);
    EXPECT_EQ(session.driver.camera.pitch, 0);
    EXPECT_EQ(session.driver.camera.first_person, 0);
    EXPECT_EQ(session.driver.camera.local_scale, 0.5);
}

TEST(Camera_steer, ctrl_up_for_long_ends_at_straight_up_and_winds_no_further)
{
    Session session;
    leave_line(session.folder);
    session.at(1, SCRIPT_KEY_DOWN, KEY_CTRL);
    session.at(1, SCRIPT_KEY_DOWN, KEY_UP);
    session.at(201, SCRIPT_KEY_UP, KEY_UP);
    session.at(201, SCRIPT_KEY_DOWN, KEY_DOWN);
    ASSERT_TRUE(session.start_framed());
    session.frames(200);
    EXPECT_EQ(session.driver.camera.pitch, -PI);
    EXPECT_NEAR(session.driver.game.orient[8], -1, 1e-15);
    session.frames(1);
    EXPECT_NEAR(session.driver.camera.pitch, -PI + 2 * DT, 1e-12);
}

TEST(Camera_steer, pitch_stops_at_straight_down)
{
    Session session;
    leave_line(session.folder);
    session.at(1, SCRIPT_KEY_DOWN, KEY_CTRL);
    session.at(1, SCRIPT_KEY_DOWN, KEY_DOWN);
    ASSERT_TRUE(session.start_framed());
    session.frames(5);
    EXPECT_EQ(session.driver.camera.pitch, 0);
}

TEST(Camera_steer, yaw_grows_without_limit)
{
    Session session;
    leave_line(session.folder);
    session.at(1, SCRIPT_KEY_DOWN, KEY_CTRL);
    session.at(1, SCRIPT_KEY_DOWN, KEY_RIGHT);
    ASSERT_TRUE(session.start_framed());
    session.frames(300);
    EXPECT_NEAR(session.driver.camera.yaw, 10.0, 1e-9);
}

TEST(Camera_steer, letters_neither_turn_nor_move_with_ctrl)
{
    Session session;
    leave_crossing(session.folder);
    session.at(1, SCRIPT_KEY_DOWN, KEY_CTRL);
    for (const char letter : {'W', 'D'}) {
        session.at(1, SCRIPT_KEY_DOWN, letter);
    }
    ASSERT_TRUE(session.start_framed());
    session.frames(10);
    EXPECT_EQ(session.driver.camera.yaw, 0);
    EXPECT_EQ(session.driver.camera.pitch, 0);
    EXPECT_EQ(session.driver.game.step[0], 0);
    EXPECT_EQ(session.driver.game.step[1], 0);
}

TEST(Camera_steer, arrows_with_ctrl_turn_and_do_not_move)
{
    Session session;
    leave_crossing(session.folder);
    session.at(1, SCRIPT_KEY_DOWN, KEY_CTRL);
    session.at(1, SCRIPT_KEY_DOWN, KEY_UP);
    session.at(1, SCRIPT_KEY_DOWN, KEY_LEFT);
    ASSERT_TRUE(session.start_framed());
    session.frames(3);
    EXPECT_NEAR(session.driver.camera.yaw, -6 * DT, 1e-12);
    EXPECT_NEAR(session.driver.camera.pitch, -6 * DT, 1e-12);
    EXPECT_EQ(session.driver.game.step[0], 0);
}

TEST(Camera_steer, keys_move_in_the_plane_of_the_screen_by_twice_the_zoom_a_second)
{
    Session session;
    leave_crossing(session.folder);
    session.at(1, SCRIPT_KEY_PRESS, 'D');
    session.at(2, SCRIPT_KEY_PRESS, KEY_UP);
    ASSERT_TRUE(session.start_framed());
    session.frames(1);
    EXPECT_NEAR(session.driver.game.step[0], 2 * 25 * DT, 1e-12);
    session.frames(1);
    EXPECT_NEAR(session.driver.game.step[1], 2 * 25 * DT, 1e-12);
}

TEST(Camera_steer, sets_the_axes_of_the_table)
{
    Session session;
    leave_line(session.folder);
    ASSERT_TRUE(session.start_framed());
    const f64 yaw = 0.7;
    const f64 pitch = -1.1;
    session.driver.camera.yaw = yaw;
    session.driver.camera.pitch = pitch;
    session.frames(1);
    const f64* const m = session.driver.game.orient;
    const f64 expected[9] = {std::cos(yaw),
                             -std::sin(yaw),
                             0,
                             std::cos(pitch) * std::sin(yaw),
                             std::cos(pitch) * std::cos(yaw),
                             -std::sin(pitch),
                             std::sin(pitch) * std::sin(yaw),
                             std::sin(pitch) * std::cos(yaw),
                             std::cos(pitch)};
    for (i32 i = 0; i < 9; i++) {
        EXPECT_NEAR(m[i], expected[i], 1e-15) << i;
    }
}

TEST(Camera_steer, turning_swings_the_eye_at_once)
{
    Session session;
    leave_line(session.folder);
    session.at(1, SCRIPT_KEY_DOWN, KEY_CTRL);
    session.at(1, SCRIPT_KEY_DOWN, KEY_UP);
    ASSERT_TRUE(session.start_framed());
    session.frames(20);
    const MazeGame* const game = &session.driver.game;
    for (i32 i = 0; i < 3; i++) { // the eye began at its goal and never lagged
        EXPECT_NEAR(game->campos[i], session.driver.focus[i] + game->zoom * game->orient[6 + i],
                    1e-9);
    }
}

TEST(Camera_steer, the_mouse_does_nothing_in_a_window_with_no_button_held)
{
    Session session;
    leave_crossing(session.folder);
    session.at(2, SCRIPT_MOUSE, 20, 10);
    ASSERT_TRUE(session.start_framed());
    session.frames(3);
    EXPECT_EQ(session.driver.game.step[0], 0);
    EXPECT_EQ(session.driver.game.step[1], 0);
    EXPECT_EQ(session.driver.camera.yaw, 0);
}

static i32 pointer_readings; // by a back end that counts them

static Platform counting_pointer()
{
    Platform backend = platform_scripted;
    backend.pointeroffset = [](i32* dx, i32* dy) {
        pointer_readings++;
        platform_scripted.pointeroffset(dx, dy);
    };
    pointer_readings = 0;
    return backend;
}

TEST(Camera_steer, the_pointer_is_seen_and_free_in_a_window_with_no_button_held)
{
    const Platform backend = counting_pointer();
    Session session(&backend);
    leave_crossing(session.folder);
    session.at(2, SCRIPT_MOUSE, 20, 10);
    ASSERT_TRUE(session.start_framed());
    session.frames(3);
    EXPECT_EQ(scripted_counts.cursorshown, 0);
    EXPECT_EQ(pointer_readings, 0);
}

TEST(Camera_steer, the_mouse_moves_the_player_in_full_screen_with_no_button_held)
{
    Session session;
    leave_crossing(session.folder);
    session.at(2, SCRIPT_MOUSE, 4, 0);
    session.at(3, SCRIPT_MOUSE, 0, -3);
    ASSERT_TRUE(session.start_fullscreen());
    session.frames(2);
    EXPECT_NEAR(session.driver.game.step[0], 4 * 25.0 / 48, 1e-12);
    session.frames(1);
    EXPECT_NEAR(session.driver.game.step[1], 3 * 25.0 / 48, 1e-12);
}

TEST(Camera_steer, the_left_button_drags_the_player)
{
    Session session;
    leave_crossing(session.folder);
    session.at(2, SCRIPT_BUTTON_DOWN, MOUSE_LEFT);
    session.at(3, SCRIPT_MOUSE, 6, 0);
    ASSERT_TRUE(session.start_framed());
    session.frames(3);
    EXPECT_NEAR(session.driver.game.step[0], 6 * 25.0 / 48, 1e-12);
    EXPECT_EQ(session.driver.camera.yaw, 0);
}

TEST(Camera_steer, the_frame_of_the_right_buttons_press_still_moves_and_the_next_one_turns)
{
    Session session;
    leave_crossing(session.folder);
    session.at(2, SCRIPT_BUTTON_DOWN, MOUSE_RIGHT);
    session.at(2, SCRIPT_MOUSE, 6, 0);
    session.at(3, SCRIPT_MOUSE, 6, -4);
    ASSERT_TRUE(session.start_framed());
    session.frames(2);
    EXPECT_NEAR(session.driver.game.step[0], 6 * 25.0 / 48, 1e-12);
    EXPECT_EQ(session.driver.camera.yaw, 0);
    session.frames(1);
    EXPECT_NEAR(session.driver.camera.yaw, 6 * 10.0 / 64, 1e-12);
    EXPECT_NEAR(session.driver.camera.pitch, -4 * 10.0 / 64, 1e-12); // by the width as well
}

TEST(Camera_steer, the_pointer_is_hidden_from_the_first_button_down_to_the_last_up)
{
    Session session;
    leave_crossing(session.folder);
    session.at(2, SCRIPT_BUTTON_DOWN, MOUSE_LEFT);
    session.at(3, SCRIPT_BUTTON_DOWN, MOUSE_RIGHT);
    session.at(4, SCRIPT_BUTTON_UP, MOUSE_LEFT);
    session.at(5, SCRIPT_BUTTON_UP, MOUSE_RIGHT);
    std::vector<i32> shown;
    ASSERT_TRUE(session.start_framed());
    session.atswap([&](i32) { shown.push_back(scripted_counts.cursorshown); });
    session.frames(5);
    EXPECT_EQ(shown, (std::vector<i32>{0, -1, -1, -1, 0}));
}

TEST(Camera_steer, first_person_walks_level_along_the_yaw_whatever_the_pitch)
{
    Session session;
    leave_crossing(session.folder);
    session.at(1, SCRIPT_KEY_PRESS, '1');
    session.at(2, SCRIPT_KEY_PRESS, 'W');
    ASSERT_TRUE(session.start_framed());
    session.driver.camera.yaw = 0.4;
    session.driver.camera.pitch = -2.0;
    session.frames(2);
    EXPECT_NEAR(session.driver.game.step[0], std::sin(0.4) * 3 * DT, 1e-12);
    EXPECT_NEAR(session.driver.game.step[1], std::cos(0.4) * 3 * DT, 1e-12);
    EXPECT_NEAR(session.driver.game.step[2], 0, 1e-12);
}

TEST(Camera_steer, first_person_goes_sideways_to_the_screens_right)
{
    Session session;
    leave_crossing(session.folder);
    session.at(1, SCRIPT_KEY_PRESS, '1');
    session.at(2, SCRIPT_KEY_PRESS, KEY_RIGHT);
    ASSERT_TRUE(session.start_framed());
    session.driver.camera.yaw = 0.4;
    session.frames(2);
    EXPECT_NEAR(session.driver.game.step[0], std::cos(0.4) * 3 * DT, 1e-12);
    EXPECT_NEAR(session.driver.game.step[1], -std::sin(0.4) * 3 * DT, 1e-12);
}

TEST(Camera_steer, first_person_turns_by_the_mouse_without_a_button)
{
    Session session;
    leave_crossing(session.folder);
    session.at(1, SCRIPT_KEY_PRESS, '1');
    session.at(2, SCRIPT_MOUSE, 5, 0);
    ASSERT_TRUE(session.start_framed());
    session.frames(2);
    EXPECT_NEAR(session.driver.camera.yaw, 5 * 10.0 / 64, 1e-12);
}

TEST(Camera_steer, a_window_without_width_turns_nothing)
{
    Session session;
    leave_crossing(session.folder);
    session.at(2, SCRIPT_BUTTON_DOWN, MOUSE_RIGHT);
    session.at(3, SCRIPT_RESIZE, 0, 48);
    session.at(3, SCRIPT_MOUSE, 6, 0);
    ASSERT_TRUE(session.start_framed());
    session.frames(3);
    ASSERT_EQ(gfx_width, 0);
    EXPECT_EQ(session.driver.camera.yaw, 0);
}

TEST(Camera_zoom, wheel_and_z_in_the_same_frame_multiply)
{
    Session session;
    leave_line(session.folder);
    session.at(2, SCRIPT_WHEEL, 1);
    session.at(2, SCRIPT_KEY_PRESS, 'Z');
    ASSERT_TRUE(session.start_framed());
    session.frames(2);
    EXPECT_NEAR(session.driver.game.zoom, 25 * 0.8333333333333334 * std::exp(-2 * DT), 1e-9);
}

TEST(Camera_zoom, both_directions_of_the_wheel_apply_in_one_frame)
{
    Session session;
    leave_line(session.folder);
    session.at(2, SCRIPT_WHEEL, 1);
    session.at(2, SCRIPT_WHEEL, -1);
    ASSERT_TRUE(session.start_framed());
    session.frames(2);
    EXPECT_NEAR(session.driver.game.zoom, 25 * 0.8333333333333334 * 1.2, 1e-12);
}

TEST(Camera_zoom, two_notches_in_one_frame_zoom_once)
{
    Session session;
    leave_line(session.folder);
    session.at(2, SCRIPT_WHEEL, -1);
    session.at(2, SCRIPT_WHEEL, -1);
    ASSERT_TRUE(session.start_framed());
    session.frames(3);
    EXPECT_NEAR(session.driver.game.zoom, 25 * 1.2, 1e-12);
}

TEST(Camera_zoom, x_held_grows_it_by_e_squared_a_second)
{
    Session session;
    leave_line(session.folder);
    session.at(1, SCRIPT_KEY_DOWN, 'X');
    ASSERT_TRUE(session.start_framed());
    session.frames(60);
    EXPECT_NEAR(session.driver.game.zoom, 25 * std::exp(2.0), 1e-9);
}

// A line whose last node but one holds a line of nodes a tenth of the size.
static void leave_nest(const Folder& folder)
{
    Maze* const root = make_line(4, 2.5, 0.5);
    nest(root, 2, make_line(4, 0.25, 0.05));
    leave_world(folder, root, {root, 0});
}

TEST(Camera_zoom, falls_by_the_power_of_the_radius_on_the_way_into_a_submaze)
{
    Session session;
    leave_nest(session.folder);
    session.at(1, SCRIPT_KEY_DOWN, KEY_RIGHT);
    ASSERT_TRUE(session.start_framed());
    const MazeGame* const game = &session.driver.game;
    for (i32 i = 0; i < 200 && game->pos.maze == game->root; i++) {
        session.frames(1);
    }
    ASSERT_NE(game->pos.maze, game->root);
    scripted_add({.frame = 1, .kind = SCRIPT_KEY_UP, .a = KEY_RIGHT, .b = 0});
    session.frames(2);
    EXPECT_NEAR(game->zoom, 25 / std::pow(10, 0.6), 1e-9);
    const f64 goal = session.driver.focus[2] + game->zoom;
    EXPECT_GT(game->campos[2], goal + 0.01); // the eye eases after it
    session.frames(120);
    EXPECT_NEAR(game->campos[2], session.driver.focus[2] + game->zoom, 1e-6);
}

TEST(Camera_zoom, a_radius_of_zero_leaves_it_alone_and_the_way_back_too)
{
    Session session;
    leave_line(session.folder);
    ASSERT_TRUE(session.start_framed());
    MazeGame* const game = &session.driver.game;
    Pos_node(game->pos)->radius = 0;
    session.frames(1);
    EXPECT_EQ(game->zoom, 25);
    Pos_node(game->pos)->radius = 0.5;
    session.frames(1);
    EXPECT_EQ(game->zoom, 25);
}

TEST(Camera_zoom, stays_finite_through_a_frame_of_an_hour)
{
    Session session;
    leave_line(session.folder);
    session.at(2, SCRIPT_KEY_DOWN, 'X');
    ASSERT_TRUE(session.start_framed());
    scripted_step(3600);
    session.frames(3);
    EXPECT_TRUE(std::isfinite(session.driver.game.zoom));
    EXPECT_GT(session.driver.game.zoom, 0);
    for (i32 i = 0; i < 3; i++) {
        EXPECT_TRUE(std::isfinite(session.driver.game.campos[i]));
    }
}

TEST(Camera_zoom, stays_above_zero_however_long_z_is_held)
{
    Session session;
    leave_line(session.folder);
    session.at(2, SCRIPT_KEY_DOWN, 'Z');
    ASSERT_TRUE(session.start_framed());
    scripted_step(100);
    session.frames(30);
    EXPECT_GT(session.driver.game.zoom, 0);
}

TEST(Camera_eye, stands_16_tenths_above_the_focus_in_first_person_in_one_frame)
{
    Session session;
    leave_line(session.folder);
    session.at(2, SCRIPT_KEY_PRESS, '1');
    ASSERT_TRUE(session.start_framed());
    session.frames(3); // the key acts after the eye has been placed
    const Driver* const driver = &session.driver;
    EXPECT_EQ(driver->game.campos[0], driver->focus[0]);
    EXPECT_EQ(driver->game.campos[1], driver->focus[1]);
    EXPECT_EQ(driver->game.campos[2], driver->focus[2] + 1.6);
}

TEST(Camera_eye, eases_back_to_its_goal_after_first_person)
{
    Session session;
    leave_line(session.folder);
    session.at(1, SCRIPT_KEY_PRESS, '1');
    session.at(3, SCRIPT_KEY_PRESS, '3');
    ASSERT_TRUE(session.start_framed());
    session.frames(4);
    EXPECT_NEAR(session.driver.game.campos[2], 1.6 + 10 * DT * (25 - 1.6), 1e-9);
}

TEST(Camera_eye, reaches_its_goal_in_a_frame_longer_than_a_tenth_of_a_second)
{
    Session session;
    leave_line(session.folder);
    session.at(2, SCRIPT_WHEEL, -1);
    ASSERT_TRUE(session.start_framed());
    scripted_step(0.15);
    session.frames(2);
    EXPECT_NEAR(session.driver.game.campos[2], 30, 1e-12);
}

TEST(Camera_eye, keeps_its_place_when_the_goal_is_beyond_all_numbers)
{
    MazeGame game = {};
    game.zoom = 1e18;
    game.orient[6] = 1e300;
    game.campos[0] = 7;
    const Camera camera = {};
    const f64 focus[3] = {INFINITE, 0, 0};
    Camera_eye(&camera, &game, 0.05, focus);
    EXPECT_EQ(game.campos[0], 7);
}

TEST(Camera_modekeys, hides_and_shows_the_pointer_once_each_in_a_window)
{
    Session session;
    leave_line(session.folder);
    session.at(2, SCRIPT_KEY_PRESS, '1');
    session.at(4, SCRIPT_KEY_PRESS, '1');
    session.at(6, SCRIPT_KEY_PRESS, '3');
    session.at(8, SCRIPT_KEY_PRESS, '3');
    std::vector<i32> shown;
    std::vector<i32> mode;
    ASSERT_TRUE(session.start_framed());
    session.atswap([&](i32) {
        shown.push_back(scripted_counts.cursorshown);
        mode.push_back(session.driver.camera.first_person);
    });
    session.frames(8);
    EXPECT_EQ(shown, (std::vector<i32>{0, -1, -1, -1, -1, 0, 0, 0}));
    EXPECT_EQ(mode, (std::vector<i32>{0, 1, 1, 1, 1, 0, 0, 0}));
}

static i32 hides, shows; // by a back end that counts them

static Platform counting_cursor()
{
    Platform backend = platform_scripted;
    backend.hidecursor = [] { hides++; };
    backend.showcursor = [] { shows++; };
    hides = 0;
    shows = 0;
    return backend;
}

TEST(Camera_modekeys, both_at_once_leave_third_person_and_hide_and_show_once)
{
    const Platform backend = counting_cursor();
    Session session(&backend);
    leave_line(session.folder);
    session.at(2, SCRIPT_KEY_PRESS, '1');
    session.at(2, SCRIPT_KEY_PRESS, '3');
    ASSERT_TRUE(session.start_framed());
    session.frames(3);
    EXPECT_EQ(session.driver.camera.first_person, 0);
    EXPECT_EQ(hides, 1);
    EXPECT_EQ(shows, 1);
}

TEST(Camera_modekeys, both_at_once_in_first_person_only_show)
{
    const Platform backend = counting_cursor();
    Session session(&backend);
    leave_line(session.folder);
    session.at(2, SCRIPT_KEY_PRESS, '1');
    session.at(4, SCRIPT_KEY_PRESS, '1');
    session.at(4, SCRIPT_KEY_PRESS, '3');
    ASSERT_TRUE(session.start_framed());
    session.frames(5);
    EXPECT_EQ(session.driver.camera.first_person, 0);
    EXPECT_EQ(hides, 1);
    EXPECT_EQ(shows, 1);
}

TEST(Camera_modekeys, leave_the_pointer_alone_in_full_screen)
{
    Session session;
    leave_line(session.folder);
    session.at(2, SCRIPT_KEY_PRESS, '1');
    session.at(4, SCRIPT_KEY_PRESS, '3');
    std::vector<i32> shown;
    ASSERT_TRUE(session.start_fullscreen());
    session.atswap([&](i32) { shown.push_back(scripted_counts.cursorshown); });
    session.frames(5);
    EXPECT_EQ(shown, (std::vector<i32>{-1, -1, -1, -1, -1})); // hidden by the window's opening
}
