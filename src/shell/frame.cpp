#include "shell/frame.h"

#include "base/clock.h"
#include "base/numbers.h"
#include "base/report.h"
#include "base/rnd.h"
#include "base/vec3.h"
#include "base/wholefile.h"
#include "gfx/gfx_opengl.h"
#include "gfx/projection.h"
#include "gfx/screenshot.h"
#include "gfx/stereo.h"
#include "gfx/textures.h"
#include "model/attachment.h"
#include "model/commands.h"
#include "model/mazegame.h"
#include "model/savefile.h"
#include "scene/scene.h"
#include "scene/view.h"
#include "shell/hud.h"
#include "shell/lastsave.h"

#include <GL/gl.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

static constexpr char config_path[] = "config.txt";
static constexpr char save_path[] = "maze_save.dat";

// The split of the start: set by driver_start, written by lap, over with the first swap.
static bool times_on;
static f64 times_begin; // timer_now at the start of driver_start
static f64 times_last;  // timer_now at the last lap

// What is saved should a library end the process. Written by beginlastsave and driver_stop.
static Driver* playing;
static bool game_done; // driver_stop has saved the game, or told that it couldn't

static void showtime(const char* step, f64 seconds)
{
    std::fprintf(stderr, "CORVANE_TIMES %-15s %8.2f ms\n", step, seconds * 1000);
}

static void starttimes(bool on)
{
    times_on = on;
    if (on) {
        // Processor time: what loading the program cost, but not its waits for a disk. The system
        // tells the moment at which a process began in steps of 10 ms only. On Windows the C runtime
        // counts the waits too.
        showtime("cpu before main", static_cast<f64>(std::clock()) / CLOCKS_PER_SEC);
        times_begin = timer_now();
        times_last = times_begin;
    }
}

// Tells how long the step took that ends here.
static void lap(const char* step)
{
    if (times_on) {
        const f64 now = timer_now();
        showtime(step, now - times_last);
        times_last = now;
    }
}

static void readstereodepth(Driver* driver)
{
    config_default(&driver->config, "Stereo Depth", "0.05");
    const char* const text = config_get(&driver->config, "Stereo Depth", "");
    const f64 depth = std::atof(text);
    driver->stereo_depth = std::isfinite(depth) ? depth : 0.0;
}

// True if a file is safe on the disk. Otherwise tells what became of it.
static bool tellsaved(bool saved, const char* what, const char* where, const char* why)
{
    if (saved && why[0] == 0) {
        return true;
    }
    char message[SAVE_WHY + 100];
    std::snprintf(message, sizeof message, "%s %s %s. %s", what, saved ? "saved" : "not saved",
                  where, why);
    report_notice("Corvane", 0, message);
    return false;
}

static bool savesettings(const ConfigList* config)
{
    char why[WHOLEFILE_WHY];
    const bool saved = config_save(config, config_path, ':', why);
    return tellsaved(saved, "The settings are", "in config.txt", why);
}

static void readsettings(Driver* driver)
{
    ConfigList* const config = &driver->config;
    config_load(config, config_path, ':');
    config_default(config, "Windowed (Y/N)", "Y");
    windowed = config_get_bool(config, "Windowed");
    config_read_display_and_stereo(config, &driver->stereo_mode, &driver->stereo_swap);
    readstereodepth(driver);
    savesettings(config); // the program goes on without it
    if (driver->wished_width > 0) {
        windowed = true;
        gfx_width = driver->wished_width;
        gfx_height = driver->wished_height;
    }
}

static u32 clockseed()
{
    return static_cast<u32>(static_cast<std::uint64_t>(timer_now() * 1000));
}

static void seedstream(const ConfigList* config)
{
    const char* const text = config_get(config, "Seed", nullptr);
    u32 seed = 0;
    if (text == nullptr) {
        seed = clockseed();
    } else if (!number_u32(text, &seed)) {
        report_notice("Corvane", 0,
                      "config.txt: the value of Seed is no decimal number below 4294967296; the "
                      "world is made from a seed of its own");
        seed = clockseed();
    }
    rnd_seed(seed);
}

static bool openwindow(const ConfigList* config)
{
    gfx_ortho_mode = 0;
    if (gfx_open(gfx_width, gfx_height, "Corvane") == 0) {
        std::fprintf(stderr, "No window: the Resolution '%s' in config.txt gives no size.\n",
                     config_get(config, "Resolution", ""));
        return false;
    }
    view_install();
    return true;
}

// The lock is taken before the save file is looked at, and kept until it has been written.
static void lockfolder(Driver* driver)
{
    driver->second_copy = wholefile_lock(".", &driver->folder_lock) == WHOLEFILE_TAKEN;
    if (driver->second_copy) {
        report_notice("Corvane", 0,
                      "Another copy of Corvane runs in this folder. This one does not write "
                      "maze_save.dat: at its end its game is saved in maze_save-2.dat, or with the "
                      "next number that is free.");
    }
}

static void startgame(Driver* driver)
{
    char why[SAVE_WHY];
    MazeGame scratch;
    const SaveLoad outcome = driver->second_copy ? MazeGame_loadshared(&scratch, save_path, why)
                                                 : MazeGame_load(&scratch, save_path, why);
    driver->save_stuck = outcome == SAVE_STUCK;
    if (outcome == SAVE_REFUSED || outcome == SAVE_STUCK) {
        report_notice("Corvane", 0, why);
    }
    if (outcome != SAVE_LOADED) {
        MazeGame_new(&scratch, 0);
    }
    driver->game = scratch;
}

// Tries once more to get a refused save out of the way, since the user may have made room for it, or
// moved it. False if a file stays there, and `why` (SAVE_WHY chars) tells the reason.
static bool clearway(char* why)
{
    u8* bytes;
    size_t size;
    const WholeFileRead read = wholefile_read(save_path, &bytes, &size, why);
    if (read == WHOLEFILE_MISSING) {
        return true;
    }
    const bool usable = read == WHOLEFILE_READ && savefile_check(bytes, size, why) == SAVE_SOUND;
    std::free(bytes);
    if (usable) {
        std::snprintf(why, SAVE_WHY, "Another saved game has been put there");
        return false;
    }
    char newname[WHOLEFILE_PATH];
    if (!wholefile_setaside(save_path, newname, why)) {
        return false;
    }
    char message[WHOLEFILE_PATH + 100];
    std::snprintf(message, sizeof message, "The saved game that can't be used is now %s.", newname);
    report_notice("Corvane", 0, message);
    return true;
}

static bool savebeside(const Driver* driver)
{
    char newname[WHOLEFILE_PATH];
    char why[SAVE_WHY];
    if (!MazeGame_savebeside(&driver->game, save_path, newname, why)) {
        return tellsaved(false, "The game is", "beside maze_save.dat", why);
    }
    char message[2 * SAVE_WHY];
    std::snprintf(message, sizeof message,
                  "The game is saved in %s. To go on with it, rename it maze_save.dat.%s%s",
                  newname, why[0] != 0 ? " " : "", why);
    report_notice("Corvane", 0, message);
    return why[0] == 0;
}

// Saves the game at its place, or beside where that can't be. True if it is safe on the disk; what else
// there is to say has been told, and with `aloud` also that all went well.
static bool savegame(const Driver* driver, bool aloud)
{
    if (driver->second_copy) {
        return savebeside(driver);
    }
    char why[SAVE_WHY];
    const bool saved =
        (!driver->save_stuck || clearway(why)) && MazeGame_save(&driver->game, save_path, why);
    const bool safe = tellsaved(saved, "The game is", "in maze_save.dat", why);
    if (safe && aloud) {
        report_notice("Corvane", 0, "The game is saved in maze_save.dat.");
    }
    return saved ? safe : savebeside(driver);
}

static void storestereo(Driver* driver)
{
    char text[64];
    std::snprintf(text, sizeof text, "%d", driver->stereo_mode);
    config_set(&driver->config, "Stereo mode", text);
    config_set_bool(&driver->config, "Swap stereo", driver->stereo_swap);
    std::snprintf(text, sizeof text, "%.15g", driver->stereo_depth);
    config_set(&driver->config, "Stereo Depth", text);
}

// Called at the process's end if driver_stop has not come so far: of the two files it writes what
// driver_stop had not begun to. The user is told why the run is over.
static void savelast(bool whole)
{
    const char* const reason = platform->ended();
    char text[200] = "Corvane is ended by a library that it uses.";
    if (reason != nullptr) {
        std::snprintf(text, sizeof text, "%s, so Corvane ends.", reason);
    }
    report_notice("Corvane", 0, text);
    if (!game_done && !whole) {
        tellsaved(false, "The game is", "in maze_save.dat",
                  "The end came while the world was being changed");
    } else if (!game_done) {
        savegame(playing, true);
    }
    storestereo(playing);
    savesettings(&playing->config);
}

static void beginlastsave(Driver* driver)
{
    playing = driver;
    game_done = false;
    lastsave_begin(savelast);
}

static void startloop(Driver* driver)
{
    if (!windowed) {
        gfx_mouse_delta(nullptr, nullptr);
    }
    driver->last_time = timer_now();
    driver->dt = 0;
    driver->first_swap_done = false;
    Camera_init(&driver->camera, &driver->game);
    driver->hud_mode = HUD_PROMPT;
    if (gfx_width == 0) {
        report_inner("Corvane", 153, REPORT_FATAL,
                     "GRAPHICS() macro not called at LOOP start, or no resolution specified", 0);
    }
    gfx_pump();
}

bool driver_start(Driver* driver, bool times)
{
    starttimes(times);
    tex_plain_format = 1;
    platform->takesignals();
    readsettings(driver);
    lap("settings");
    seedstream(&driver->config);
    if (!openwindow(&driver->config)) {
        config_free(&driver->config);
        return false;
    }
    lap("window");
    hud_makefonts();
    lap("font");
    lockfolder(driver);
    startgame(driver);
    beginlastsave(driver);
    lap("world");
    startloop(driver);
    lap("first pump");
    return true;
}

static void tick(Driver* driver)
{
    const f64 now = timer_now();
    driver->dt = now - driver->last_time;
    driver->game.time += driver->dt;
    driver->last_time += driver->dt;
}

static void choosepolygonmode()
{
    glPolygonMode(GL_FRONT_AND_BACK, key_held('I') ? GL_LINE : GL_FILL);
}

static void stereokeys(Driver* driver)
{
    if (key_pressed(KEY_F3)) { // the file may hold any number
        const std::int64_t next = static_cast<std::int64_t>(driver->stereo_mode) + 1;
        driver->stereo_mode = static_cast<i32>(next % STEREO_MODES);
    }
    if (key_pressed(KEY_F4)) {
        driver->stereo_swap = driver->stereo_swap == 0 ? 1 : 0;
    }
    if (key_pressed(KEY_F5)) {
        driver->stereo_depth -= 0.005;
    }
    if (key_pressed(KEY_F6)) {
        driver->stereo_depth += 0.005;
    }
}

// Multiplies the field of view. An angle too small for single precision is not taken.
static void changefov(f64 factor)
{
    const f32 angle = static_cast<f32>(static_cast<f64>(gfx_get_fov()) * factor);
    if (std::isfinite(angle) && std::fabs(angle) > 1e-30F) {
        gfx_set_fov(angle, 0.1F, 1000.0F);
    }
}

static void fovkeys()
{
    if (key_pressed(KEY_F7)) {
        changefov(0.9523809523809523);
    }
    if (key_pressed(KEY_F8)) {
        changefov(1.05);
    }
}

static void toggle(i32* value)
{
    *value = *value == 0 ? 1 : 0;
}

static void plotkeys(Maze* root)
{
    const bool shift = key_held(KEY_SHIFT);
    if (key_pressed('P')) {
        toggle(&smooth_lines);
    }
    if (key_pressed('V')) {
        toggle(&voronoi_on);
    }
    if (key_pressed('M')) {
        voronoi_mode = (voronoi_mode + 1) % 6;
        Maze_detach(root, "voronoilist", true);
    }
    if (key_pressed('G') && shift) {
        toggle(&grid_on);
    } else if (key_pressed('G')) {
        plot_type = (plot_type + 1) % 3;
    }
    if (key_pressed('L')) {
        toggle(shift ? &light_on : &landscape_on);
    }
}

static void edgekeys(Driver* driver)
{
    if (key_pressed(KEY_SPACE)) {
        driver->hud_mode = (driver->hud_mode + 1) & (HUD_MODES - 1);
    }
    stereokeys(driver);
    fovkeys();
    Camera_modekeys(&driver->camera);
    plotkeys(driver->game.root);
}

static void drawscene(Driver* driver)
{
    MazeGame* const game = &driver->game;
    f64 back[3];
    vec3_sub(back, game->campos, driver->focus);
    const StereoView view = {.mode = driver->stereo_mode,
                             .swap = driver->stereo_swap,
                             .depth = driver->stereo_depth,
                             .distance = vec3_dot(back, game->orient + 6)};
    stereo_draw(scene_draw, game, &view);
}

// The clock is not set back: the time that making the world takes is in the next frame's dt.
static void newgamekey(Driver* driver)
{
    if (!key_pressed('N')) {
        return;
    }
    newgame(&driver->game, newgame_kind(key_held(KEY_SHIFT), key_held(KEY_CTRL)));
    f64 point[3];
    MazeGame_viewpos_radius(point, &driver->game, &driver->camera.local_scale);
}

static void mazekeys(Driver* driver)
{
    MazeGame* const game = &driver->game;
    const ReshapeKeys keys = {.simplify = key_held('R'),
                              .relax = key_held('E'),
                              .contract = key_pressed('K'),
                              .shift = key_held(KEY_SHIFT),
                              .ctrl = key_held(KEY_CTRL)};
    MazeGame_reshape(game, &keys, driver->dt);
    MazeGame_expand(game);
    if (key_held('C')) {
        MazeGame_growall(game);
    }
}

// The picture is that of this frame: nothing has cleared the back buffer yet.
static void screenshotkey()
{
    if (key_held(KEY_CTRL) && key_pressed('S')) {
        screenshot_save("Corvane");
    }
}

static void showframe(Driver* driver)
{
    glFinish();
    platform->swap();
    if (!driver->first_swap_done) {
        driver->first_swap_done = true;
        lap("first frame");
        if (times_on) {
            showtime("from main", timer_now() - times_begin);
            times_on = false;
        }
        glClearColor(0, 0, 0, 0);
    }
}

static void clearframe()
{
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glLoadIdentity();
}

static bool quitasked()
{
    return gfx_pump() != 0 || key_held('Q') || key_held(KEY_ESCAPE);
}

bool driver_frame(Driver* driver)
{
    if (gfx_quit != 0) {
        return false; // closed in the pump of the start-up: nothing is left to draw into
    }
    MazeGame* const game = &driver->game;
    f64 movement[3];
    tick(driver);
    Camera_zoom(&driver->camera, game, driver->dt);
    Camera_steer(&driver->camera, game, driver->dt, movement);
    choosepolygonmode();
    lastsave_hold();
    MazeGame_moveroamers(game, driver->dt);
    MazeGame_move(game, movement);
    MazeGame_viewpos(driver->focus, game);
    Camera_eye(&driver->camera, game, driver->dt, driver->focus);
    lastsave_release();
    MazeGame_applyview(game);
    edgekeys(driver);
    drawscene(driver);
    hud_draw(game, driver->hud_mode, driver->dt);
    lastsave_hold();
    newgamekey(driver);
    mazekeys(driver);
    lastsave_release();
    screenshotkey();
    showframe(driver);
    clearframe();
    return !quitasked();
}

int driver_stop(Driver* driver)
{
    lastsave_hold();
    const bool gamesaved = savegame(driver, false);
    game_done = true;
    lastsave_release();
    MazeGame_free(&driver->game); // display lists can only be deleted while the window is open
    lastsave_hold();
    storestereo(driver);
    const bool settingssaved = savesettings(&driver->config);
    lastsave_end();
    lastsave_release();
    config_free(&driver->config);
    wholefile_unlock(driver->folder_lock);
    gfx_close();
    return gamesaved && settingssaved ? 0 : 1;
}

int driver_run(Driver* driver)
{
    const char* const wish = std::getenv("CORVANE_TIMES");
    if (!driver_start(driver, wish != nullptr && std::strcmp(wish, "1") == 0)) {
        return 0;
    }
    while (driver_frame(driver)) {
    }
    return driver_stop(driver);
}
