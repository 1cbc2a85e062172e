#include "tests/window/keytable.h"

#include "tests/shell_run.h"
#include "tests/window/basemaze.h"
#include "tests/window/islands.h"

#include <cmath>
#include <filesystem>

static std::string save_in(const std::string& folder)
{
    return folder + "/maze_save.dat";
}

static std::string setting(const std::string& folder, const std::string& key)
{
    const std::string text = file_text(folder + "/config.txt");
    const size_t at = text.find(": ", text.find(key));
    return text.substr(at + 2, text.find('\n', at) - at - 2);
}

static Pixels picture(const Playing& play)
{
    return play.desktop.pixels(play.run.window());
}

static void tap(const Playing& play, const std::string& keys)
{
    play.run.tap(play.layout.numbers(keys));
}

template <int n> static void tap_times(const Playing& play, const std::string& keys)
{
    for (int i = 0; i < n; i++) {
        tap(play, keys);
    }
}

// What a key leads round: as many different pictures, and then the first one again.
template <int n> static void leads_round(const Playing& play, const std::string& keys)
{
    std::vector<Pixels> seen = {picture(play)};
    for (size_t i = 1; i < n; i++) {
        tap(play, keys);
        seen.push_back(picture(play));
        for (size_t j = 0; j < i; j++) {
            EXPECT_GT(clear_difference(seen[j], seen[i]), same) << j << " and " << i;
        }
    }
    tap(play, keys);
    EXPECT_LT(clear_difference(seen[0], picture(play)), same);
}

static void smooths_the_grid(const Playing& play, const std::string& keys)
{
    tap(play, "Shift+G");
    leads_round<2>(play, keys);
    tap(play, "Shift+G");
}

static void lights_balls(const Playing& play, const std::string& keys)
{
    tap_times<2>(play, "G");
    leads_round<2>(play, keys);
    tap(play, "G");
}

static void leads_through_the_cells(const Playing& play, const std::string& keys)
{
    tap(play, "V");
    leads_round<6>(play, keys);
    tap(play, "V");
}

// The landscape moves, and covers nearly all.
static void shows_the_landscape(const Playing& play, const std::string& keys)
{
    const Pixels without = picture(play);
    tap(play, keys);
    EXPECT_GT(clear_difference(without, picture(play)), 0.5);
    tap(play, keys);
    EXPECT_LT(clear_difference(without, picture(play)), same);
}

static void changes_the_picture(const Playing& play, const std::string& keys)
{
    const Pixels before = picture(play);
    tap(play, keys);
    EXPECT_GT(clear_difference(before, picture(play)), same);
}

static void acts_while_held(const Playing& play, const std::string& keys)
{
    const Pixels before = picture(play);
    play.run.press(play.layout.numbers(keys));
    EXPECT_GT(clear_difference(before, picture(play)), same);
    play.run.release(play.layout.numbers(keys));
    EXPECT_LT(clear_difference(before, picture(play)), same);
}

static void takes_a_picture(const Playing& play, const std::string& keys)
{
    tap(play, keys);
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(play.folder)) {
        if (entry.path().filename().string().rfind("Corvane_", 0) == 0) {
            found.push_back(entry.path().string());
        }
    }
    ASSERT_EQ(found.size(), 1U);
    const Picture shot = read_png(found[0]);
    const Pixels shown = picture(play);
    ASSERT_EQ(shot.rgb.size(), 3 * shown.size());
    Pixels taken;
    for (size_t i = 0; i < shown.size(); i++) {
        const u8* const rgb = &shot.rgb[3 * i];
        taken.push_back(static_cast<u32>(rgb[0]) << 16 | static_cast<u32>(rgb[1]) << 8 | rgb[2]);
    }
    EXPECT_LT(clear_difference(shown, taken), same);
}

static void quits(const Playing& play, const std::string& keys)
{
    tap(play, keys);
    EXPECT_TRUE(wait_until(60, [&] { return !play.run.running(); }));
}

// The middle of all that isn't black, in pixels from the upper left corner.
struct Middle {
    double x, y;
};

static Middle middle(const Playing& play)
{
    const Pixels pixels = picture(play);
    const auto width = static_cast<size_t>(play.desktop.client_size(play.run.window()).width);
    Middle sum = {0, 0};
    double n = 0;
    for (size_t i = 0; i < pixels.size(); i++) {
        if (pixels[i] != 0) {
            sum.x += static_cast<double>(i % width);
            const size_t row = i / width;
            sum.y += static_cast<double>(row);
            n++;
        }
    }
    return {sum.x / n, sum.y / n};
}

// The player stays in the middle of the window, and the world moves the other way. There is always
// room to walk on: the way before led to the side.
static void walks(const Playing& play, const std::string& keys)
{
    const std::string way = keys == "Up" || keys == "W"     ? "y"
                            : keys == "Down" || keys == "S" ? "-y"
                            : keys == "Left" || keys == "A" ? "x"
                                                            : "-x";
    const double sign = way[0] == '-' ? -1 : 1;
    const Middle before = middle(play);
    play.run.press(play.layout.numbers(keys));
    EXPECT_TRUE(
        wait_until(20,
                   [&] {
                       play.run.show_frame();
                       const Middle now = middle(play);
                       return sign * (way.back() == 'x' ? now.x - before.x : now.y - before.y) > 4;
                   }))
        << "nothing goes along " << way;
    play.run.release(play.layout.numbers(keys));
    play.run.hold(play.layout.numbers("Shift"), 0.5); // the eye comes to rest
}

static void walks_by_the_mouse(const Playing& play, const std::string& /*button*/)
{
    const Middle before = middle(play);
    play.desktop.run("xdotool mousedown 1");
    play.run.show_frame();
    EXPECT_TRUE(wait_until(20, [&] {
        play.desktop.run("xdotool mousemove_relative -- 0 -10");
        play.run.show_frame();
        return middle(play).y - before.y > 4;
    }));
    play.desktop.run("xdotool mouseup 1");
    play.run.show_frame();
}

static void turns_by_the_mouse(const Playing& play, const std::string& /*button*/)
{
    for (const char* const step : {"mousedown 3", "mousemove_relative -- 20 0",
                                   "mousemove_relative -- 0 -20", "mouseup 3"}) {
        play.desktop.run(std::string("xdotool ") + step);
        play.run.show_frame();
    }
}

// 20 pixels of a window of 320, at 10 a width.
static void left_turned(const std::string& folder)
{
    const Save save(save_in(folder));
    EXPECT_NEAR(save.orient[0], std::cos(200.0 / 320), 0.1);
    EXPECT_NEAR(save.orient[8], std::cos(200.0 / 320), 0.1);
}

static void wheels_forward(const Playing& play, const std::string& /*wheel*/)
{
    play.desktop.run("xdotool mousemove --window " + play.run.window() + " 100 100");
    play.run.click(4);
}

static void left_nearer_by_a_notch(const std::string& folder)
{
    const Save save(save_in(folder));
    EXPECT_NEAR(save.zoom / save.start_zoom(), 1 / 1.2, 1e-9);
}

static void wheels_back(const Playing& play, const std::string& /*wheel*/)
{
    play.run.click(5);
}

static void left_farther_by_a_notch(const std::string& folder)
{
    const Save save(save_in(folder));
    EXPECT_NEAR(save.zoom / save.start_zoom(), 1.2, 1e-9);
}

static void holds(const Playing& play, const std::string& keys)
{
    play.run.hold(play.layout.numbers(keys), 0.02);
}

static void left_nearer(const std::string& folder)
{
    const Save save(save_in(folder));
    EXPECT_LT(save.zoom, 0.999 * save.start_zoom());
}

static void left_farther(const std::string& folder)
{
    const Save save(save_in(folder));
    EXPECT_GT(save.zoom, 1.001 * save.start_zoom());
}

// orient holds -sin(yaw) behind cos(yaw) in its first row, and -sin(pitch) at the second row's end.
static void left_turned_left(const std::string& folder)
{
    EXPECT_GT(Save(save_in(folder)).orient[1], 0.01);
}

static void left_turned_right(const std::string& folder)
{
    EXPECT_LT(Save(save_in(folder)).orient[1], -0.01);
}

static void left_tilted(const std::string& folder)
{
    const Save save(save_in(folder));
    EXPECT_GT(save.orient[5], 0.01);
    EXPECT_LT(save.orient[8], 0.9999);
}

// From straight up, where the pitch ends.
static void tilts_back(const Playing& play, const std::string& keys)
{
    play.run.hold(play.layout.numbers("Ctrl+Up"), 1.7);
    holds(play, keys);
}

static void left_tilted_back(const std::string& folder)
{
    const Save save(save_in(folder));
    EXPECT_GT(save.orient[5], 0.01);
    EXPECT_GT(save.orient[8], -0.9999);
}

static void left_at_the_player(const std::string& folder)
{
    EXPECT_NEAR(Save(save_in(folder)).campos[2], 1.6, 1e-6);
}

static void steps_back_from_the_player(const Playing& play, const std::string& keys)
{
    tap(play, "1");
    tap(play, keys);
    sleep_for(1.5); // the eye follows with a lag
    play.run.show_frame();
}

static void left_behind_the_player(const std::string& folder)
{
    const Save save(save_in(folder));
    const std::vector<f64> node = save.position();
    const f64 distance =
        std::hypot(save.campos[0] - node[0], save.campos[1] - node[1], save.campos[2] - node[2]);
    EXPECT_NEAR(distance, save.zoom, 0.01 * save.zoom);
}

static f64 degrees_seen(const std::string& folder)
{
    return 2 * std::atan(Save(save_in(folder)).view.tanx) * 180 / M_PI;
}

static void left_narrower(const std::string& folder)
{
    EXPECT_NEAR(degrees_seen(folder), 90 / 1.05, 0.001);
}

static void left_wider(const std::string& folder)
{
    EXPECT_NEAR(degrees_seen(folder), 90 * 1.05, 0.001);
}

static void left_stereo_mode_1(const std::string& folder)
{
    EXPECT_EQ(setting(folder, "Stereo mode"), "1");
}

static void left_swapped_eyes(const std::string& folder)
{
    EXPECT_EQ(setting(folder, "Swap stereo"), "Y");
}

static void left_depth_of_2_less_and_3_more(const std::string& folder)
{
    EXPECT_EQ(setting(folder, "Stereo Depth"), "0.055");
}

// How many nodes have edges: a merged node stays behind without any.
static i32 joined(const Maze* maze)
{
    i32 n = 0;
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        n += Maze_node(maze, i)->nedges > 0 ? 1 : 0;
    }
    return n;
}

// What the four contractions leave is what they leave without a window, where each acts.
static void left_contracted(const std::string& folder)
{
    Save expected(folder + "/before.dat");
    i32 before = joined(expected.game.root);
    for (const bool ctrl : {false, true}) {
        for (const bool shift : {false, true}) {
            contract_base(&expected.game, shift, ctrl);
            const i32 now = joined(expected.game.root);
            EXPECT_LT(now, before) << "with" << (shift ? " Shift" : "") << (ctrl ? " Ctrl" : "");
            before = now;
        }
    }
    EXPECT_EQ(Save(save_in(folder)).world(), expected.world());
}

static void draws_together(const Playing& play, const std::string& keys)
{
    const Pixels before = picture(play);
    play.run.press(play.layout.numbers(keys));
    EXPECT_TRUE(wait_until(20, [&] {
        play.run.show_frame();
        return clear_difference(before, picture(play)) > same;
    }));
    play.run.release(play.layout.numbers(keys));
}

static void left_red(const std::string& folder)
{
    const Save save(save_in(folder));
    const Maze* const level = level_of(save.game);
    for (i32 i = Maze_count(level) - 1; i >= 0; i--) {
        EXPECT_EQ(Maze_node(level, i)->rec.colour, 0xC04040U);
    }
}

static void left_another_world(const std::string& folder)
{
    EXPECT_NE(Save(save_in(folder)).world(), world_of_seed(key_table_seed));
}

static void left_the_gallery(const std::string& folder)
{
    const Save save(save_in(folder));
    EXPECT_STREQ(save.game.root->name, "pg->root");
    EXPECT_EQ(Maze_count(save.game.root), 12);
}

// Millions of nodes: the file is judged without being built.
static void left_the_nested_grid(const std::string& folder)
{
    const std::string bytes = file_text(save_in(folder));
    std::string why(SAVE_WHY, 0);
    EXPECT_EQ(
        savefile_checkcrossed(reinterpret_cast<const u8*>(bytes.data()), bytes.size(), why.data()),
        SAVE_SOUND)
        << why.c_str();
    EXPECT_EQ(bytes.substr(1, 4), std::string("\x90\x01\0\0", 4)) << "400 nodes at the root";
}

// The nested grid takes a gigabyte and many seconds. N, Shift and Ctrl are driven on each layout in
// other rows.
const std::vector<KeyRow> key_table = {
    {"Space", PLAY_PICTURES, leads_round<4>},
    {"G", PLAY_PICTURES, leads_round<3>},
    {"Shift+G", PLAY_PICTURES, leads_round<2>},
    {"P", PLAY_PICTURES, smooths_the_grid},
    {"V", PLAY_PICTURES, leads_round<2>},
    {"M", PLAY_PICTURES, leads_through_the_cells},
    {"Shift+L", PLAY_PICTURES, lights_balls},
    {"L", PLAY_PICTURES, shows_the_landscape},
    {"F", PLAY_PICTURES, acts_while_held},
    {"J", PLAY_PICTURES, acts_while_held},
    {"I", PLAY_PICTURES, acts_while_held},
    {"Ctrl+S", PLAY_PICTURES, takes_a_picture},
    {"wheel forward", PLAY_PICTURES, wheels_forward, left_nearer_by_a_notch},
    {"3", PLAY_PICTURES, steps_back_from_the_player, left_behind_the_player},
    {"F3", PLAY_PICTURES, changes_the_picture, left_stereo_mode_1},
    {"F4", PLAY_PICTURES, changes_the_picture, left_swapped_eyes},
    {"F5", PLAY_PICTURES, tap_times<2>, left_depth_of_2_less_and_3_more},
    {"F6", PLAY_PICTURES, tap_times<3>, left_depth_of_2_less_and_3_more},
    {"Q", PLAY_PICTURES, quits},

    {"Up", PLAY_WALK, walks},
    {"Left", PLAY_WALK, walks},
    {"Down", PLAY_WALK, walks},
    {"Right", PLAY_WALK, walks},
    {"W", PLAY_WALK, walks},
    {"A", PLAY_WALK, walks},
    {"S", PLAY_WALK, walks},
    {"D", PLAY_WALK, walks},
    {"left button", PLAY_WALK, walks_by_the_mouse},
    {"wheel back", PLAY_WALK, wheels_back, left_farther_by_a_notch},
    {"1", PLAY_WALK, changes_the_picture, left_at_the_player},
    {"Escape", PLAY_WALK, quits},

    {"Ctrl+Left", PLAY_NEAR, holds, left_turned_left},
    {"Ctrl+Up", PLAY_NEAR, holds, left_tilted},
    {"Z", PLAY_NEAR, holds, left_nearer},
    {"F7", PLAY_NEAR, tap, left_narrower},

    {"Ctrl+Right", PLAY_FAR, holds, left_turned_right},
    {"Ctrl+Down", PLAY_FAR, tilts_back, left_tilted_back},
    {"X", PLAY_FAR, holds, left_farther},
    {"F8", PLAY_FAR, tap, left_wider},

    {"K", PLAY_CONTRACT, tap, left_contracted},
    {"Shift+K", PLAY_CONTRACT, tap, left_contracted},
    {"Ctrl+K", PLAY_CONTRACT, tap, left_contracted},
    {"Shift+Ctrl+K", PLAY_CONTRACT, tap, left_contracted},

    {"R", PLAY_RESHAPE, draws_together},
    {"E", PLAY_RESHAPE, holds, left_red},

    {"right button", PLAY_NEW, turns_by_the_mouse, left_turned},
    {"N", PLAY_NEW, tap, left_another_world},

    {"Shift+Ctrl+N", PLAY_GALLERY, tap, left_the_gallery},
    {"Shift+N", PLAY_NESTED, tap, left_the_nested_grid, "us"},
    {"Ctrl+N", PLAY_NESTED2, tap, left_the_nested_grid, "dvorak"},
};
