#include "tests/soak/runs.h"

#include "base/rnd.h"
#include "gfx/gfx_opengl.h"
#include "gfx/platform/scripted.h"
#include "model/mazegame.h"
#include "scene/scene.h"
#include "shell/frame.h"
#include "tests/soak/hands.h"
#include "tests/soak/looks.h"
#include "tests/soak/ownmemory.h"

#include <chrono>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

enum { SOUND_EVERY = 60, WORLDS = 20, LOOKS = 12 };

static constexpr f64 resident_slack = 0.10;

// What has been seen in the run. Written by all below, told at the end.
static struct {
    i32 frames, soundlooks, pictures, restarts, largest;
    std::set<i32> stereo, plots;
    f64 slowest; // seconds of a frame
    SoakPlace slowestat;
} seen;

static Driver driver; // made anew for each run of the program

static f64 wallclock()
{
    return std::chrono::duration<f64>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

static void atswap(i32 frame)
{
    soak_place.frame = frame;
    look_at_frame(&driver.game);
    seen.frames++;
    seen.stereo.insert(driver.stereo_mode);
    seen.plots.insert(voronoi_on != 0 ? 10 + voronoi_mode : plot_type);
}

static void write(const char* name, const std::string& text)
{
    std::ofstream(name, std::ios::binary) << text;
}

// Settings as a user may have left them, and some that none should.
static void somesettings(Hands* hands)
{
    static const char* const resolutions[] = {"auto",      "90x70",    "span",
                                              "display 2", "windowed", "span 1,2"};
    std::string text = "Seed: " + std::to_string(hands_below(hands, 1 << 30)) + "\n";
    text += hands_below(hands, 2) == 0 ? "Windowed (Y/N): N\n" : "Windowed (Y/N): Y\n";
    text += std::string("Resolution: ") + resolutions[hands_below(hands, 6)] + "\n";
    text += "Stereo mode: " + std::to_string(hands_below(hands, 13) - 2) + "\n";
    text += "Swap stereo: " + std::string(hands_below(hands, 2) == 0 ? "Y" : "N") + "\n";
    text += "Stereo Depth: " + std::to_string(hands_below(hands, 400) - 200) + "e-3\n";
    write("config.txt", text);
}

static void somedisplays(Hands* hands)
{
    i32 left = hands_below(hands, 200) - 100;
    for (i32 i = hands_below(hands, 3); i >= 0; i--) {
        const i32 width = 40 + hands_below(hands, 100);
        const i32 height = 30 + hands_below(hands, 80);
        scripted_display({.left = left, .top = 0, .right = left + width, .bottom = height});
        left += width;
    }
}

static void start()
{
    soak_place.session++;
    soak_place.frame = 0;
    scripted_atswap(atswap);
    if (!driver_start(&driver, false)) {
        finding("there was no window");
    }
}

// The game goes on where the run before has left it, or anew.
static void restart(Hands* hands, const std::string& before)
{
    scripted_reset();
    hands_letgo(hands);
    somedisplays(hands);
    const bool settings = hands_below(hands, 2) == 0 || before.empty();
    if (settings) {
        somesettings(hands);
    }
    driver = {};
    driver.wished_width = settings ? 0 : 40 + hands_below(hands, 80);
    driver.wished_height = settings ? 0 : 30 + hands_below(hands, 60);
    start();
    if (before.empty()) {
        return;
    }
    const std::string after = game_told(&driver.game);
    if (after != before) {
        finding("saved: " + before + "\nloaded: " + after);
    }
    seen.restarts++;
}

static void stop()
{
    if (driver_stop(&driver) != 0) {
        finding("the end did not go well");
    }
    look_at_folder();
    look_at_save();
}

// One of the ways to end the program. A minimised window takes no keys.
static void askend(Hands* hands, i32 frame)
{
    switch (hands_below(hands, 5)) {
    case 0: scripted_add({.frame = frame, .kind = SCRIPT_KEY_PRESS, .a = 'Q', .b = 0}); return;
    case 1:
        scripted_add({.frame = frame, .kind = SCRIPT_KEY_PRESS, .a = KEY_ESCAPE, .b = 0});
        return;
    case 2: std::raise(SIGTERM); return;
    default: scripted_add({.frame = frame, .kind = SCRIPT_CLOSE, .a = 0, .b = 0});
    }
}

static void takepictures()
{
    for (const auto& entry : std::filesystem::directory_iterator(".")) {
        const std::string name = entry.path().filename().string();
        if (name.rfind("Corvane_", 0) == 0) {
            if (std::filesystem::file_size(entry.path()) < 50) {
                finding(name + " is no picture");
            }
            std::filesystem::remove(entry.path());
            seen.pictures++;
        }
    }
}

// Whether the frame to come makes another world of this one. Ask before it: at its end it takes the keys of
// the next.
static bool changesworld()
{
    return key_pressed('N') || key_pressed('K');
}

// Looks the world through now and then, and after each frame that has made another of it.
static void lookworld(bool changed, i32 frame)
{
    if (changed || frame % SOUND_EVERY == 0) {
        seen.soundlooks += look_at_world(&driver.game) ? 1 : 0;
        const i32 nodes = world_nodes(driver.game.root);
        seen.largest = nodes > seen.largest ? nodes : seen.largest;
    }
}

static bool timedframe()
{
    const f64 begin = wallclock();
    const bool goes = driver_frame(&driver);
    const f64 took = wallclock() - begin;
    if (took > seen.slowest) {
        seen.slowest = took;
        seen.slowestat = soak_place;
    }
    return goes;
}

// One run of the program, of so many frames. Returns what the game was at its end.
static std::string playrun(Hands* hands, i32 frames, f64 until)
{
    bool goes = true;
    for (i32 frame = 2; goes; frame++) { // the first came with the start
        if (frame <= frames && wallclock() < until) {
            hands_play(hands, frame);
        } else {
            askend(hands, frame);
        }
        const bool changed = changesworld();
        goes = timedframe();
        if (frame % 4 == 0) {
            takepictures();
        }
        lookworld(changed, frame);
    }
    takepictures();
    return game_told(&driver.game);
}

static void tellhands(const Hands* hands, f64 seconds)
{
    std::fprintf(stderr,
                 "soak: nothing found in %.0f seconds: %d runs of the program, %d frames, %d new "
                 "worlds, %d sizes, %d pictures, %d games gone on with, %d looks through worlds, "
                 "%zu stereo modes, %zu plots, largest world %d nodes, slowest frame %.1f s (%d of "
                 "run %d), %.0f MiB at the end\n",
                 seconds, soak_place.session, seen.frames, hands->worlds, hands->resizes,
                 seen.pictures, seen.restarts, seen.soundlooks, seen.stereo.size(),
                 seen.plots.size(), seen.largest, seen.slowest, seen.slowestat.frame,
                 seen.slowestat.session, static_cast<f64>(resident_bytes()) / (1 << 20));
}

void run_hands(i32 seed, i32 seconds, bool nested)
{
    Hands hands = {};
    hands.dice.seed(static_cast<u32>(seed));
    const f64 begin = wallclock();
    const f64 until = begin + seconds;
    std::string before;
    while (soak_place.session == 0 || wallclock() < until) {
        if (hands_below(&hands, 5) == 0) { // a new user
            std::filesystem::remove("maze_save.dat");
            std::filesystem::remove("config.txt");
            before.clear();
        }
        restart(&hands, before);
        if (nested && wallclock() > (begin + until) / 2) {
            nested = false;
            hands.nested = true;
        }
        before = playrun(&hands, 15 + hands_below(&hands, 135), until);
        stop();
    }
    tellhands(&hands, wallclock() - begin);
}

// The rounds

// What is drawn in the frames of one world: each plot, each map of cells, flat shapes, the landscape.
static void dress(i32 look)
{
    plot_type = look % 3;
    voronoi_on = look >= 3 && look < 9 ? 1 : 0;
    voronoi_mode = look >= 3 && look < 9 ? look - 3 : 0;
    landscape_on = look == 10 ? 1 : 0;
    grid_on = look == 11 ? 1 : 0;
}

// One world with N, and its frames. Returns the number of the program's own blocks then.
static std::ptrdiff_t oneworld(i32 seed, i32* frame, std::string* told)
{
    rnd_seed(static_cast<u32>(seed));
    for (i32 look = 0; look < LOOKS; look++) {
        *frame += 1;
        dress(look);
        if (look == 0) {
            scripted_add({.frame = *frame, .kind = SCRIPT_KEY_PRESS, .a = 'N', .b = 0});
        }
        if (look == 9) {
            scripted_add({.frame = *frame, .kind = SCRIPT_KEY_PRESS, .a = 'J', .b = 0});
        }
        driver_frame(&driver);
        if (look == 0) {
            rnd_seed(static_cast<u32>(seed)); // N acts in the next frame
        }
    }
    *told += game_told(&driver.game).substr(0, 45) + "\n";
    return own_memory.blocks;
}

struct Round {
    std::vector<std::ptrdiff_t> blocks; // after each world
    std::string worlds;                 // their digests
    size_t resident;
};

static Round oneround(i32 seed, i32* frame)
{
    Round round = {};
    for (i32 i = 0; i < WORLDS; i++) {
        round.blocks.push_back(oneworld(seed + i, frame, &round.worlds));
    }
    round.resident = resident_bytes();
    return round;
}

static void compare(const Round& first, const Round& other)
{
    if (first.worlds != other.worlds) {
        finding("other worlds than in the first round:\n" + first.worlds + "and\n" + other.worlds);
    }
    for (size_t i = 0; i < WORLDS; i++) {
        if (first.blocks[i] != other.blocks[i]) {
            finding("after world " + std::to_string(i) + " of the round " +
                    std::to_string(other.blocks[i]) + " blocks are held, in the first round " +
                    std::to_string(first.blocks[i]));
        }
    }
}

void run_rounds(i32 seed, i32 rounds)
{
    scripted_reset();
    write("config.txt", "Seed: 1\n");
    driver = {};
    driver.wished_width = 96;
    driver.wished_height = 72;
    start();
    i32 frame = 1;
    oneround(seed, &frame); // what is made on first use is there then
    const Round first = oneround(seed, &frame);
    for (i32 i = 1; i < rounds; i++) {
        const Round other = oneround(seed, &frame);
        compare(first, other);
        const f64 ratio = static_cast<f64>(other.resident) / static_cast<f64>(first.resident);
        std::fprintf(stderr, "soak: round %d: %td blocks, %.1f MiB resident, %+.1f %%\n", i + 1,
                     other.blocks[WORLDS - 1], static_cast<f64>(other.resident) / (1 << 20),
                     100 * (ratio - 1));
        if (std::fabs(ratio - 1) > resident_slack) {
            finding("the process takes more or less memory than after the first round");
        }
    }
    stop();
}
