// corvane-play: the whole program without a display, driven by a script of timed input, with a log
// of every frame.
#include "base/numbers.h"
#include "base/report.h"
#include "base/wholefile.h"
#include "gfx/gfx_opengl.h"
#include "gfx/platform/scripted.h"
#include "gfx/screenshot.h"
#include "model/mazegame.h"
#include "scene/scene.h"
#include "shell/frame.h"
#include "tool.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

const char tool_name[] = "corvane-play";

static const char help_text[] =
    "corvane-play SCRIPT [OPTION ...]\n"
    "Runs Corvane without a display in the present folder, settings and save file included, "
    "driven\n"
    "by a script. The exit code is the program's, or 2 for a bad argument or file.\n"
    "\n"
    "Each line of the script is `at FRAME ACTION`; # begins a comment. Frames count from 1, and "
    "the\n"
    "input of a frame comes in before it. Actions:\n"
    "  press KEY | hold KEY | release KEY   press: down for one frame\n"
    "  button left|right|middle down|up\n"
    "  wheel +1|-1                          +1 forward, away from the user\n"
    "  mouse DX DY                          offset from the window's centre in pixels, y down\n"
    "  resize W H | move X Y                the window's client size, its place\n"
    "  minimise | restore | close\n"
    "  shot FILE.png                        what the frame shows at its swap\n"
    "Keys: A to Z, 0 to 9, Up, Down, Left, Right, Shift, Ctrl, Alt, Tab, Space, Escape, F1 to "
    "F12.\n"
    "A script that neither closes the window nor touches Q or Escape needs --frames.\n"
    "\n"
    "  --log FILE       a line a frame, taken at its swap, tab-separated with a heading\n"
    "  --size WxH       a window of this client size, whatever the settings say\n"
    "  --display X,Y,WxH  a display of the desktop, up to 31 of them; one of 1920x1080 if none\n"
    "  --dt SECONDS     what the clock advances in each frame, 1/60 if left out\n"
    "  --frames N       close the window after N frames\n"
    "  --help           this text\n"
    "  --version        which version this is\n";

enum { MAXWORDS = 8, MAXFRAME = 1000000000, MAXPIXELS = 1 << 24 };

static constexpr f64 step_most = 1e6; // seconds, of the clock in one frame

struct Shot {
    i32 frame;
    const char* path; // lent, from the script's text
    bool tried;       // its frame has come
};

struct Options {
    const char* script;
    const char* log;
    i32 frames;   // 0: no limit
    i32 displays; // how many are claimed
    i32 width, height;
};

// The run. Written by main before the first frame, except as told.
static Driver driver;     // by the driver
static std::FILE* log_to; // or null
static GrowArray shots;   // of Shot
static bool shot_failed;  // by atswap and tellmissed
static bool script_ends;  // by addaction: the script holds something that may end the loop

// The log

static void logheading()
{
    static const char* const columns[] = {
        "frame",        "time",         "dt",           "width",    "height",       "maze",
        "node",         "step_x",       "step_y",       "step_z",   "viewpos_x",    "viewpos_y",
        "viewpos_z",    "view_radius",  "zoom",         "yaw",      "pitch",        "campos_x",
        "campos_y",     "campos_z",     "first_person", "hud_mode", "plot_type",    "voronoi_on",
        "voronoi_mode", "landscape_on", "light_on",     "grid_on",  "smooth_lines", "stereo_mode",
        "stereo_swap",  "stereo_depth", "visited"};
    const char* before = "";
    for (const char* const column : columns) { // in the order of the line
        std::fprintf(log_to, "%s%s", before, column);
        before = "\t";
    }
    std::fputc('\n', log_to);
}

// Node numbers from the root down, as 1/17.
static void logpath(const Maze* maze)
{
    if (maze->parent == nullptr) {
        return;
    }
    logpath(maze->parent);
    std::fprintf(log_to, "%s%d", maze->parent->parent != nullptr ? "/" : "", maze->parentnode);
}

static void logreals(const f64* values, i32 count)
{
    for (i32 i = 0; i < count; i++) { // in the order of the line
        std::fprintf(log_to, "\t%.17g", values[i]);
    }
}

static void logintegers(const i32* values, i32 count)
{
    for (i32 i = 0; i < count; i++) { // in the order of the line
        std::fprintf(log_to, "\t%d", values[i]);
    }
}

static void logframe(i32 frame)
{
    const MazeGame* const game = &driver.game;
    const Camera* const camera = &driver.camera;
    f64 viewpos[3];
    f64 radius = 0;
    MazeGame_viewpos_radius(viewpos, game, &radius);
    std::fprintf(log_to, "%d\t%.17g\t%.17g\t%d\t%d\t", frame, game->time, driver.dt, gfx_width,
                 gfx_height);
    logpath(game->pos.maze);
    std::fprintf(log_to, "\t%d", game->pos.node);
    logreals(game->step, 3);
    logreals(viewpos, 3);
    const f64 view[4] = {radius, game->zoom, camera->yaw, camera->pitch};
    logreals(view, 4);
    logreals(game->campos, 3);
    const i32 states[] = {camera->first_person, driver.hud_mode,    plot_type,         voronoi_on,
                          voronoi_mode,         landscape_on,       light_on,          grid_on,
                          smooth_lines,         driver.stereo_mode, driver.stereo_swap};
    logintegers(states, static_cast<i32>(sizeof states / sizeof states[0]));
    std::fprintf(log_to, "\t%.17g\t%d\n", driver.stereo_depth, game->pos.maze->visitednodes);
}

static void takeshot(const char* path)
{
    char why[WHOLEFILE_WHY];
    u8* const rgb = picture_read(gfx_width, gfx_height);
    if (!picture_write_png(path, rgb, gfx_width, gfx_height, why)) {
        tool_bad("%s: %s", path, why);
        shot_failed = true;
    }
    std::free(rgb);
}

static void atswap(i32 frame)
{
    if (log_to != nullptr) {
        logframe(frame);
    }
    for (i32 i = static_cast<i32>(shots.count) - 1; i >= 0; i--) {
        Shot* const shot = items<Shot>(&shots) + i;
        if (shot->frame == frame) {
            shot->tried = true;
            takeshot(shot->path);
        }
    }
}

// Tells the pictures of frames that the run did not have.
static void tellmissed()
{
    const i32 n = static_cast<i32>(shots.count);
    for (i32 i = 0; i < n; i++) { // in the order of the script
        const Shot* const shot = items<Shot>(&shots) + i;
        if (!shot->tried) {
            tool_bad("%s: the run ended before frame %d", shot->path, shot->frame);
            shot_failed = true;
        }
    }
}

// The script

struct Line {
    const char* file; // lent
    i32 number;       // from 1
    char* words[MAXWORDS];
    i32 count;
};

static bool badline(const Line* line, const char* what, const char* word)
{
    return tool_bad("%s:%d: %s%s%s", line->file, line->number, what, word[0] != 0 ? ": " : "",
                    word);
}

// Cuts a line into words in place; a # and what follows is dropped. False if there are too many.
static bool cutwords(Line* line, char* text)
{
    char* const comment = std::strchr(text, '#');
    if (comment != nullptr) {
        *comment = 0;
    }
    line->count = 0;
    char* at = text + std::strspn(text, " \t\r");
    while (*at != 0) { // words in their order
        if (line->count == MAXWORDS) {
            return badline(line, "too many words", "");
        }
        line->words[line->count] = at;
        line->count++;
        at += std::strcspn(at, " \t\r");
        if (*at != 0) {
            *at = 0;
            at++;
        }
        at += std::strspn(at, " \t\r");
    }
    return true;
}

static bool keyaction(const Line* line, ScriptedAction* action)
{
    action->a = virtualkey(line->words[3]);
    if (action->a == 0) {
        return badline(line, "no key has this name", line->words[3]);
    }
    if ((action->a == 'Q' || action->a == KEY_ESCAPE) && action->kind != SCRIPT_KEY_UP) {
        script_ends = true;
    }
    return true;
}

static bool buttonaction(const Line* line, ScriptedAction* action)
{
    static const struct {
        const char* name;
        u32 mask;
    } buttons[] = {{"left", MOUSE_LEFT}, {"right", MOUSE_RIGHT}, {"middle", MOUSE_MIDDLE}};
    for (const auto& button : buttons) {
        if (std::strcmp(line->words[3], button.name) == 0) {
            action->a = static_cast<i32>(button.mask);
        }
    }
    if (action->a == 0) {
        return badline(line, "no button has this name", line->words[3]);
    }
    if (std::strcmp(line->words[4], "up") == 0) {
        action->kind = SCRIPT_BUTTON_UP;
        return true;
    }
    return std::strcmp(line->words[4], "down") == 0 ||
           badline(line, "a button goes down or up, not", line->words[4]);
}

static bool wheelaction(const Line* line, ScriptedAction* action)
{
    if (!number_i32(line->words[3], -1, 1, &action->a) || action->a == 0) {
        return badline(line, "the wheel moves +1 or -1, not", line->words[3]);
    }
    return true;
}

static bool pairaction(const Line* line, ScriptedAction* action)
{
    const i32 low = action->kind == SCRIPT_RESIZE ? 0 : -MAXPIXELS;
    const i32 high = action->kind == SCRIPT_RESIZE ? 16384 : MAXPIXELS;
    if (!number_i32(line->words[3], low, high, &action->a)) {
        return badline(line, "no number that can be used", line->words[3]);
    }
    if (!number_i32(line->words[4], low, high, &action->b)) {
        return badline(line, "no number that can be used", line->words[4]);
    }
    return true;
}

static bool plainaction(const Line* line, ScriptedAction* action)
{
    script_ends = script_ends || action->kind == SCRIPT_CLOSE;
    return line->count == 3;
}

// What a script may ask of the back end. `words` is how many follow the name.
static const struct ActionForm {
    const char* name;
    i32 words;
    ScriptedKind kind;
    bool (*read)(const Line* line, ScriptedAction* action);
} action_forms[] = {
    {"press", 1, SCRIPT_KEY_PRESS, keyaction},     {"hold", 1, SCRIPT_KEY_DOWN, keyaction},
    {"release", 1, SCRIPT_KEY_UP, keyaction},      {"button", 2, SCRIPT_BUTTON_DOWN, buttonaction},
    {"wheel", 1, SCRIPT_WHEEL, wheelaction},       {"mouse", 2, SCRIPT_MOUSE, pairaction},
    {"resize", 2, SCRIPT_RESIZE, pairaction},      {"move", 2, SCRIPT_MOVE, pairaction},
    {"minimise", 0, SCRIPT_MINIMISE, plainaction}, {"restore", 0, SCRIPT_RESTORE, plainaction},
    {"close", 0, SCRIPT_CLOSE, plainaction},
};

static bool addshot(const Line* line, i32 frame)
{
    if (line->count != 4) {
        return badline(line, "one file name belongs to shot", "");
    }
    const Shot shot = {.frame = frame, .path = line->words[3], .tried = false};
    GrowArray_push(&shots, &shot);
    return true;
}

static bool addaction(const Line* line)
{
    i32 frame = 0;
    if (line->count < 3 || std::strcmp(line->words[0], "at") != 0) {
        return badline(line, "a line reads `at FRAME ACTION`", "");
    }
    if (!number_i32(line->words[1], 1, MAXFRAME, &frame)) {
        return badline(line, "no frame number from 1 on", line->words[1]);
    }
    if (std::strcmp(line->words[2], "shot") == 0) {
        return addshot(line, frame);
    }
    for (const ActionForm& form : action_forms) {
        if (std::strcmp(line->words[2], form.name) != 0) {
            continue;
        }
        if (line->count != 3 + form.words) {
            return badline(line, "wrong number of words for", form.name);
        }
        ScriptedAction action = {.frame = frame, .kind = form.kind, .a = 0, .b = 0};
        if (!form.read(line, &action)) {
            return false;
        }
        scripted_add(action);
        return true;
    }
    return badline(line, "unknown action", line->words[2]);
}

// Adds all lines of the script's text, which is cut up and must outlive the run.
static bool addscript(const char* file, char* text)
{
    Line line = {.file = file, .number = 0, .words = {}, .count = 0};
    char* at = text;
    while (at != nullptr) { // lines in their order
        char* const end = std::strchr(at, '\n');
        if (end != nullptr) {
            *end = 0;
        }
        line.number++;
        if (!cutwords(&line, at) || (line.count > 0 && !addaction(&line))) {
            return false;
        }
        at = end != nullptr ? end + 1 : nullptr;
    }
    return true;
}

// Reads and adds the script; `*text` receives its text, owned.
static bool readscript(const char* file, u8** text)
{
    size_t size = 0;
    if (!tool_readfile(file, text, &size)) {
        return false;
    }
    if (std::memchr(*text, 0, size) != nullptr) {
        return tool_bad("%s: not a text file", file);
    }
    return addscript(file, reinterpret_cast<char*>(*text));
}

// The options

static bool readdisplay(Options* options, const char* value)
{
    i32 x = 0;
    i32 y = 0;
    i32 used = 0;
    i32 width = 0;
    i32 height = 0;
    if (std::sscanf(value, "%7d,%7d,%n", &x, &y, &used) != 2 || used == 0 ||
        !number_size(value + used, &width, &height)) {
        return tool_bad("--display takes X,Y,WxH, not '%s'", value);
    }
    options->displays++;
    if (options->displays > PLATFORM_MAXDISPLAYS) {
        return tool_bad("--display can be given %d times at most", PLATFORM_MAXDISPLAYS);
    }
    scripted_display({.left = x, .top = y, .right = x + width, .bottom = y + height});
    return true;
}

static bool readstep(const char* value)
{
    f64 seconds = 0;
    if (!number_f64(value, &seconds) || seconds < 0 || seconds > step_most) {
        return tool_bad("--dt takes seconds from 0 to %.0f, not '%s'", step_most, value);
    }
    scripted_step(seconds);
    return true;
}

static bool readoption(Options* options, const char* name, const char* value)
{
    if (std::strcmp(name, "--log") == 0) {
        options->log = value;
        return *value != 0 || tool_bad("--log takes the name of a file");
    }
    if (std::strcmp(name, "--size") == 0) {
        return number_size(value, &options->width, &options->height) ||
               tool_bad("--size takes WxH, each from 1 to 16384, not '%s'", value);
    }
    if (std::strcmp(name, "--display") == 0) {
        return readdisplay(options, value);
    }
    if (std::strcmp(name, "--dt") == 0) {
        return readstep(value);
    }
    return number_i32(value, 1, MAXFRAME, &options->frames) ||
           tool_bad("--frames takes a number from 1 on, not '%s'", value);
}

static bool takesvalue(const char* name)
{
    static const char* const names[] = {"--log", "--size", "--display", "--dt", "--frames"};
    for (const char* const known : names) {
        if (std::strcmp(name, known) == 0) {
            return true;
        }
    }
    return false;
}

static bool readarguments(Options* options, int argc, char** argv)
{
    for (int i = 1; i < argc; i++) { // in the order given
        if (takesvalue(argv[i])) {
            if (i + 1 == argc || std::strncmp(argv[i + 1], "--", 2) == 0) {
                return tool_bad("%s needs a value", argv[i]);
            }
            if (!readoption(options, argv[i], argv[i + 1])) {
                return false;
            }
            i++;
        } else if (argv[i][0] == '-') {
            return tool_bad("unknown option %s (--help lists them)", argv[i]);
        } else if (*argv[i] == 0) {
            return tool_bad("the name of the script is empty");
        } else if (options->script != nullptr) {
            return tool_bad("one script only, not also '%s'", argv[i]);
        } else {
            options->script = argv[i];
        }
    }
    return options->script != nullptr || tool_bad("which script? (--help tells more)");
}

// The run

static bool openlog(const char* path)
{
    if (path == nullptr) {
        return true;
    }
    log_to = std::fopen(path, "w");
    if (log_to == nullptr) {
        return tool_bad("%s: the log can't be written", path);
    }
    logheading();
    return true;
}

static bool closelog(const char* path)
{
    if (log_to == nullptr) {
        return true;
    }
    const bool failed = std::ferror(log_to) != 0;
    if (std::fclose(log_to) != 0 || failed) {
        return tool_bad("%s: the log could not be written whole", path);
    }
    return true;
}

static bool prepare(const Options* options, u8** text)
{
    if (!readscript(options->script, text)) {
        return false;
    }
    if (options->frames > 0) {
        scripted_add({.frame = options->frames + 1, .kind = SCRIPT_CLOSE, .a = 0, .b = 0});
    } else if (!script_ends) {
        return tool_bad("%s: nothing ends the run: close, Q, Escape or --frames", options->script);
    }
    driver.wished_width = options->width;
    driver.wished_height = options->height;
    scripted_atswap(atswap);
    return openlog(options->log);
}

int main(int argc, char** argv)
{
    if (tool_answer(help_text, argc, argv)) {
        return tool_end(EXIT_DONE);
    }
    Options options = {};
    u8* text = nullptr;
    report_fatal_wait = 0; // nobody reads along
    platform_use(&platform_scripted);
    platform->takesignals(); // the log is opened before the driver starts
    scripted_reset();
    GrowArray_init(&shots, sizeof(Shot));
    if (!readarguments(&options, argc, argv) || !prepare(&options, &text)) {
        std::free(text);
        GrowArray_free(&shots);
        return EXIT_BAD;
    }
    int code = driver_run(&driver);
    tellmissed();
    if (!closelog(options.log) || shot_failed) {
        code = EXIT_BAD;
    }
    std::free(text);
    GrowArray_free(&shots);
    return code;
}
