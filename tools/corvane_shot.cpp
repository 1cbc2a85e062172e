// corvane-shot: one picture of a world to a PNG, drawn off screen. Writes nothing else.
#include "base/numbers.h"
#include "base/report.h"
#include "base/rnd.h"
#include "base/vec3.h"
#include "base/wholefile.h"
#include "generate/makemaze.h"
#include "gfx/gfx_opengl.h"
#include "gfx/gl/shaderprocs.h"
#include "gfx/platform/scripted.h"
#include "gfx/projection.h"
#include "gfx/screenshot.h"
#include "gfx/stereo.h"
#include "gfx/textures.h"
#include "model/mazegame.h"
#include "scene/scene.h"
#include "scene/view.h"
#include "shell/camera.h"
#include "shell/hud.h"
#include "tool.h"

#include <GL/gl.h>

#include <cassert>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

const char tool_name[] = "corvane-shot";

static const char help_text[] =
    "corvane-shot (--world FILE | --seed S) --out FILE [OPTION ...]\n"
    "Draws one picture of a world to a PNG and writes nothing else. The exit code is 2 for a bad\n"
    "argument or file.\n"
    "\n"
    "  --world FILE     a save file of the game\n"
    "  --seed S         a new world from this seed, 0 to 4294967295\n"
    "  --mode M         which new world: 0 (if left out) a random one, 1 the nested grid, 2 the\n"
    "                   gallery of chains\n"
    "  --kind K         0 to 12: the kind of a random world in place of the one drawn;\n"
    "                   corvane-world --help lists them\n"
    "  --out FILE       the picture\n"
    "  --size WxH       its size in pixels, 864x648 if left out\n"
    "  --at PATH:NODE   where the player stands: node numbers from the root down, as 1/17:3;\n"
    "                   :3 is node 3 of the root\n"
    "  --shift X,Y,Z    moves the whole world by so much first\n"
    "  --yaw A          view angles in radians, 0 if left out; pitch is held to -pi (straight up)\n"
    "  --pitch A        to 0 (straight down)\n"
    "  --zoom F         distance of the eye, times that at the start of a game\n"
    "  --first-person   the eye at the player's place\n"
    "  --clock T        time of the game in seconds; by it what has been walked has its age\n"
    "  --plot STYLE     discs (if left out), gantries, balls, voronoi: the map of cells, or flat:\n"
    "                   the shapes of J held down\n"
    "  --voronoi-mode N  the style of the map of cells, 0 to 5; 5 if left out\n"
    "  --landscape      sky, land, sea and clouds\n"
    "  --light          the lamp at the player's place\n"
    "  --grid           the grid of scale\n"
    "  --area           what can be reached in the player's level, in blue, as with F held down\n"
    "  --lines          outlines in place of areas, as with I held down\n"
    "  --sharp          lines that aren't smoothed, as after P\n"
    "  --hud N          what is written over it: 0 the prompt, 1 the help, 2 the statistics, of a\n"
    "                   frame of 1/60 second; 3 (if left out) nothing\n"
    "  --stereo N       0 (if left out) to 8: the stereo mode, as in the settings\n"
    "  --swap           the eyes change places, in modes 6 to 8 the colours\n"
    "  --depth D        the stereo depth, 0.05 if left out\n"
    "  --trail N        walk N steps first, each to the exit walked least recently, one a second "
    "up\n"
    "                   to the clock's time; steps before time 0 leave no trace\n"
    "  --help           this text\n"
    "  --version        which version this is\n";

enum { MAXTRAIL = 100000000 };

// What --plot names: the plot types of the program, then what else it shows in their place.
enum { PLOT_DISCS, PLOT_GANTRIES, PLOT_BALLS, PLOT_FLAT, PLOT_VORONOI, PLOTS };

static constexpr f64 shift_most = 1e9; // units; single precision tells no nodes apart long before

struct Options {
    const char* world;
    const char* out;
    const char* at;
    f64 shift[3];
    bool seeded;
    u32 seed;
    bool mode_given, kind_given;
    i32 mode, kind;
    i32 width, height;
    f64 yaw, pitch, zoom;
    bool first_person;
    bool clock_given;
    f64 clock;
    i32 plot;         // PLOT_DISCS and so on
    i32 voronoi_mode; // negative: not given
    bool landscape, light, grid;
    bool area, lines, sharp;
    i32 hud; // a HudMode
    i32 stereo;
    bool swap;
    f64 depth;
    i32 trail;
};

// The options: each routine takes the option's value, or null for one that has none.

static bool takeworld(Options* options, const char* value)
{
    options->world = value;
    return *value != 0 || tool_bad("--world takes the name of a file");
}

static bool takeout(Options* options, const char* value)
{
    options->out = value;
    return *value != 0 || tool_bad("--out takes the name of a file");
}

static bool takeat(Options* options, const char* value)
{
    options->at = value;
    return true;
}

static bool takeshift(Options* options, const char* value)
{
    char text[100];
    std::snprintf(text, sizeof text, "%s", value);
    char* at = text;
    for (i32 i = 0; i < 3; i++) { // in the order written
        char* const comma = std::strchr(at, ',');
        if ((comma != nullptr) != (i < 2)) {
            return tool_bad("--shift takes X,Y,Z, not '%s'", value);
        }
        if (comma != nullptr) {
            *comma = 0;
        }
        if (!number_f64(at, &options->shift[i]) || std::fabs(options->shift[i]) > shift_most) {
            return tool_bad("--shift takes three numbers up to %.0e in size, not '%s'", shift_most,
                            value);
        }
        at = comma != nullptr ? comma + 1 : at;
    }
    return true;
}

static bool takeseed(Options* options, const char* value)
{
    options->seeded = true;
    return number_u32(value, &options->seed) ||
           tool_bad("--seed takes a number from 0 to 4294967295, not '%s'", value);
}

static bool takemode(Options* options, const char* value)
{
    options->mode_given = true;
    return number_i32(value, 0, 2, &options->mode) ||
           tool_bad("--mode takes 0, 1 or 2, not '%s'", value);
}

static bool takekind(Options* options, const char* value)
{
    options->kind_given = true;
    return number_i32(value, 0, MAKEMAZE_KINDS - 1, &options->kind) ||
           tool_bad("--kind takes a number from 0 to %d, not '%s'", MAKEMAZE_KINDS - 1, value);
}

static bool takesize(Options* options, const char* value)
{
    return number_size(value, &options->width, &options->height) ||
           tool_bad("--size takes WxH, each from 1 to 16384, not '%s'", value);
}

static bool takeyaw(Options* options, const char* value)
{
    return number_f64(value, &options->yaw) || tool_bad("--yaw takes radians, not '%s'", value);
}

static bool takepitch(Options* options, const char* value)
{
    return number_f64(value, &options->pitch) || tool_bad("--pitch takes radians, not '%s'", value);
}

static bool takezoom(Options* options, const char* value)
{
    return (number_f64(value, &options->zoom) && options->zoom > 0) ||
           tool_bad("--zoom takes a factor above 0, not '%s'", value);
}

static bool takefirstperson(Options* options, const char* /*value*/)
{
    options->first_person = true;
    return true;
}

static bool takeclock(Options* options, const char* value)
{
    options->clock_given = true;
    return number_f64(value, &options->clock) || tool_bad("--clock takes seconds, not '%s'", value);
}

static bool takestereo(Options* options, const char* value)
{
    return number_i32(value, 0, STEREO_MODES - 1, &options->stereo) ||
           tool_bad("--stereo takes a number from 0 to %d, not '%s'", STEREO_MODES - 1, value);
}

static bool takeswap(Options* options, const char* /*value*/)
{
    options->swap = true;
    return true;
}

static bool takedepth(Options* options, const char* value)
{
    return number_f64(value, &options->depth) ||
           tool_bad("--depth takes a number, not '%s'", value);
}

static bool taketrail(Options* options, const char* value)
{
    return number_i32(value, 0, MAXTRAIL, &options->trail) ||
           tool_bad("--trail takes a number of steps, not '%s'", value);
}

static bool takeplot(Options* options, const char* value)
{
    static const char* const names[PLOTS] = {"discs", "gantries", "balls", "flat", "voronoi"};
    for (i32 i = PLOTS - 1; i >= 0; i--) {
        if (std::strcmp(value, names[i]) == 0) {
            options->plot = i;
            return true;
        }
    }
    return tool_bad("--plot takes discs, gantries, balls, voronoi or flat, not '%s'", value);
}

static bool takevoronoimode(Options* options, const char* value)
{
    return number_i32(value, 0, 5, &options->voronoi_mode) ||
           tool_bad("--voronoi-mode takes a number from 0 to 5, not '%s'", value);
}

static bool takelandscape(Options* options, const char* /*value*/)
{
    options->landscape = true;
    return true;
}

static bool takelight(Options* options, const char* /*value*/)
{
    options->light = true;
    return true;
}

static bool takegrid(Options* options, const char* /*value*/)
{
    options->grid = true;
    return true;
}

static bool takearea(Options* options, const char* /*value*/)
{
    options->area = true;
    return true;
}

static bool takelines(Options* options, const char* /*value*/)
{
    options->lines = true;
    return true;
}

static bool takesharp(Options* options, const char* /*value*/)
{
    options->sharp = true;
    return true;
}

static bool takehud(Options* options, const char* value)
{
    return number_i32(value, 0, HUD_MODES - 1, &options->hud) ||
           tool_bad("--hud takes a number from 0 to %d, not '%s'", HUD_MODES - 1, value);
}

static const struct OptionForm {
    const char* name;
    bool hasvalue;
    bool (*take)(Options* options, const char* value);
} option_forms[] = {
    {"--world", true, takeworld},
    {"--seed", true, takeseed},
    {"--mode", true, takemode},
    {"--kind", true, takekind},
    {"--out", true, takeout},
    {"--size", true, takesize},
    {"--at", true, takeat},
    {"--shift", true, takeshift},
    {"--yaw", true, takeyaw},
    {"--pitch", true, takepitch},
    {"--zoom", true, takezoom},
    {"--first-person", false, takefirstperson},
    {"--clock", true, takeclock},
    {"--plot", true, takeplot},
    {"--voronoi-mode", true, takevoronoimode},
    {"--landscape", false, takelandscape},
    {"--light", false, takelight},
    {"--grid", false, takegrid},
    {"--area", false, takearea},
    {"--lines", false, takelines},
    {"--sharp", false, takesharp},
    {"--hud", true, takehud},
    {"--stereo", true, takestereo},
    {"--swap", false, takeswap},
    {"--depth", true, takedepth},
    {"--trail", true, taketrail},
};

static const OptionForm* findoption(const char* name)
{
    for (const OptionForm& form : option_forms) {
        if (std::strcmp(name, form.name) == 0) {
            return &form;
        }
    }
    return nullptr;
}

static bool fitstogether(const Options* options)
{
    if (options->world == nullptr && !options->seeded) {
        return tool_bad("which world? --world or --seed (--help tells more)");
    }
    if (options->world != nullptr &&
        (options->seeded || options->mode_given || options->kind_given)) {
        return tool_bad("--seed, --mode and --kind make a new world, --world brings its own");
    }
    if (options->kind_given && options->mode != 0) {
        return tool_bad("--kind goes with --mode 0 only: the other modes have no kinds");
    }
    if (options->voronoi_mode >= 0 && options->plot != PLOT_VORONOI) {
        return tool_bad("--voronoi-mode goes with --plot voronoi only");
    }
    return options->out != nullptr || tool_bad("where to? --out (--help tells more)");
}

static bool readarguments(Options* options, int argc, char** argv)
{
    for (int i = 1; i < argc; i++) { // in the order given
        const OptionForm* const form = findoption(argv[i]);
        if (form == nullptr) {
            return tool_bad("unknown option %s (--help lists them)", argv[i]);
        }
        if (form->hasvalue && (i + 1 == argc || std::strncmp(argv[i + 1], "--", 2) == 0)) {
            return tool_bad("%s needs a value", argv[i]);
        }
        if (!form->take(options, form->hasvalue ? argv[i + 1] : nullptr)) {
            return false;
        }
        i += form->hasvalue ? 1 : 0;
    }
    return fitstogether(options);
}

// The world

static bool makeworld(MazeGame* game, const Options* options)
{
    if (options->world != nullptr) {
        size_t size = 0;
        return tool_readworld(options->world, game, &size);
    }
    rnd_seed(options->seed);
    makemaze_forced_kind = options->kind_given ? options->kind : -1;
    MazeGame_new(game, options->mode);
    return true;
}

// Reads a node number and moves to what ends it.
static bool readnode(const char** at, i32* node)
{
    char digits[12];
    const size_t length = std::strcspn(*at, "/:");
    if (length >= sizeof digits) {
        return false;
    }
    std::memcpy(digits, *at, length);
    digits[length] = 0;
    *at += length;
    return number_i32(digits, 0, INT32_MAX, node);
}

// Goes down one level of a path.
static bool godown(Maze** maze, i32 node, const char* path)
{
    if (node >= Maze_count(*maze) || Maze_node(*maze, node)->sub == nullptr) {
        return tool_bad("--at %s: node %d holds no submaze", path, node);
    }
    *maze = Maze_node(*maze, node)->sub;
    return true;
}

static bool badplace(const char* path)
{
    return tool_bad("--at takes PATH:NODE, as 1/17:3 or :3, not '%s'", path);
}

// Goes down the levels named before the colon and leaves `*at` behind it.
static bool followpath(const char* path, const char** at, Maze** maze)
{
    const char* const colon = std::strchr(path, ':');
    if (colon == nullptr) {
        return badplace(path);
    }
    *at = path;
    while (*at < colon) { // from the root down
        i32 node = 0;
        if (!readnode(at, &node) || (**at == '/' && *at + 1 == colon)) {
            return badplace(path);
        }
        if (!godown(maze, node, path)) {
            return false;
        }
        *at += **at == '/' ? 1 : 0;
    }
    *at = colon + 1;
    return true;
}

static bool standat(MazeGame* game, const char* path)
{
    Maze* maze = game->root;
    assert(maze != nullptr);
    const char* at = path;
    i32 node = 0;
    if (!followpath(path, &at, &maze)) {
        return false;
    }
    if (!readnode(&at, &node) || *at != 0) {
        return badplace(path);
    }
    if (node >= Maze_count(maze)) {
        return tool_bad("--at %s: the level has %d nodes, from 0 on", path, Maze_count(maze));
    }
    if (Maze_node(maze, node)->sub != nullptr) {
        return tool_bad("--at %s: the node holds a submaze, so nobody stands there", path);
    }
    game->pos = {.maze = maze, .node = node};
    for (i32 i = 2; i >= 0; i--) {
        game->step[i] = 0;
    }
    return true;
}

// The exit walked least recently, the lowest of equal ones; all that were never walked are equal.
static i32 stalestexit(const VisitRec* recs, i32 count)
{
    i32 best = 0;
    for (i32 i = 1; i < count; i++) { // the lowest number wins a tie
        if (std::fmax(recs[i].walked, -1.0) < std::fmax(recs[best].walked, -1.0)) {
            best = i;
        }
    }
    return best;
}

static void walktrail(MazeGame* game, i32 steps)
{
    Pos exits[POS_MAXEDGES];
    VisitRec recs[POS_MAXEDGES];
    for (i32 i = 1; i <= steps; i++) { // in the order walked
        const i32 count = Pos_alledges(game->pos, exits, recs);
        if (count == 0) {
            return;
        }
        const Pos to = exits[stalestexit(recs, count)];
        const f64 time = game->time - (steps - i);
        if (time >= 0.0) { // an earlier stamp would read as never, but be counted
            Pos_markwalked(game->pos, to, time);
        }
        game->pos = to;
    }
}

static bool setscene(MazeGame* game, const Options* options)
{
    Maze_translate(game->root, options->shift, true);
    if (options->at != nullptr && !standat(game, options->at)) {
        return false;
    }
    if (options->clock_given) {
        game->time = options->clock;
    }
    walktrail(game, options->trail);
    return true;
}

// The picture

// Turns the view and puts the eye at its goal. Returns its distance from the focus along the line of
// sight.
static f64 aim(MazeGame* game, const Options* options)
{
    Camera camera;
    MazeGame_startcamera(game);
    game->zoom = zoom_held(game->zoom * options->zoom, game->zoom);
    Camera_init(&camera, game);
    camera.yaw = options->yaw;
    camera.pitch = options->pitch;
    camera.first_person = options->first_person ? 1 : 0;
    f64 movement[3];
    Camera_steer(&camera, game, 0, movement);
    f64 focus[3];
    MazeGame_viewpos(focus, game);
    Camera_eye(&camera, game, 1, focus);
    f64 back[3];
    vec3_sub(back, game->campos, focus);
    return vec3_dot(back, game->orient + 6);
}

// Sets what the keys of the program would have set, or hold down.
static void setswitches(const Options* options)
{
    plot_type = options->plot <= PLOT_BALLS ? options->plot : PLOT_DISCS;
    voronoi_on = options->plot == PLOT_VORONOI ? 1 : 0;
    if (options->voronoi_mode >= 0) {
        voronoi_mode = options->voronoi_mode;
    }
    landscape_on = options->landscape ? 1 : 0;
    light_on = options->light ? 1 : 0;
    grid_on = options->grid ? 1 : 0;
    smooth_lines = options->sharp ? 0 : 1;
    key_now['J'] = options->plot == PLOT_FLAT ? 0x80 : 0;
    key_now['F'] = options->area ? 0x80 : 0;
    glPolygonMode(GL_FRONT_AND_BACK, options->lines ? GL_LINE : GL_FILL);
}

static bool drawpicture(MazeGame* game, const Options* options)
{
    setswitches(options);
    const StereoView view = {.mode = options->stereo,
                             .swap = options->swap ? 1 : 0,
                             .depth = options->depth,
                             .distance = aim(game, options)};
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glLoadIdentity();
    MazeGame_applyview(game);
    stereo_draw(scene_draw, game, &view);
    hud_draw(game, options->hud, 1.0 / 60);
    glFinish();
    char why[WHOLEFILE_WHY];
    u8* const rgb = picture_read(gfx_width, gfx_height);
    const bool written = picture_write_png(options->out, rgb, gfx_width, gfx_height, why);
    std::free(rgb);
    return written || tool_bad("%s: %s", options->out, why);
}

static void opencanvas(const Options* options)
{
    report_fatal_wait = 0; // nobody reads along
    warnings_to_file = 0;
    shader_log_path = nullptr;
    platform_use(&platform_scripted);
    scripted_reset();
    windowed = true;
    gfx_ortho_mode = 0;
    tex_plain_format = 1;
    gfx_open(options->width, options->height, "Corvane");
    view_install();
    hud_makefonts();
}

static bool makepicture(const Options* options)
{
    MazeGame game = {};
    opencanvas(options);
    bool done = makeworld(&game, options);
    if (done) {
        done = setscene(&game, options);
        done = done && drawpicture(&game, options);
        MazeGame_free(&game);
    }
    gfx_close();
    return done;
}

int main(int argc, char** argv)
{
    if (tool_answer(help_text, argc, argv)) {
        return tool_end(EXIT_DONE);
    }
    Options options = {};
    options.width = 864;
    options.height = 648;
    options.zoom = 1;
    options.voronoi_mode = -1;
    options.hud = HUD_NOTHING;
    options.depth = 0.05;
    if (!readarguments(&options, argc, argv) || !makepicture(&options)) {
        return EXIT_BAD;
    }
    return EXIT_DONE;
}
