#include "tests/soak/looks.h"

#include "base/wholefile.h"
#include "model/digest.h"
#include "model/savefile.h"
#include "tests/soak/glerrors.h"
#include "tests/sound.h"

#include <cinttypes>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <unistd.h>

// Larger worlds take too long to be looked through again and again.
enum { SOUND_MOST = 20000 };

SoakPlace soak_place;

void finding(const std::string& what)
{
    std::error_code gone;
    std::fprintf(stderr, "soak: seed %d, run %d, frame %d, in %s: %s\n", soak_place.seed,
                 soak_place.session, soak_place.frame, std::filesystem::current_path(gone).c_str(),
                 what.c_str());
    _exit(1);
}

static void told(std::string* text, const char* name, const f64* values, i32 count)
{
    *text += std::string(" ") + name;
    for (i32 i = 0; i < count; i++) {
        char number[40];
        std::snprintf(number, sizeof number, "%s%.17g", i == 0 ? "=" : ",", values[i]);
        *text += number;
    }
}

static std::string path(const Maze* maze)
{
    return maze->parent == nullptr ? ""
                                   : path(maze->parent) + std::to_string(maze->parentnode) + "/";
}

std::string game_told(const MazeGame* game)
{
    char digests[80];
    std::snprintf(digests, sizeof digests, "graph=%016" PRIx64 " place=%016" PRIx64,
                  Maze_digestgraph(DIGEST_START, game->root),
                  Maze_digestplace(DIGEST_START, game->root));
    std::string text = digests;
    text += " at=" + path(game->pos.maze) + ":" + std::to_string(game->pos.node);
    text += " visited=" + std::to_string(game->pos.maze->visitednodes);
    told(&text, "time", &game->time, 1);
    told(&text, "orient", game->orient, 9);
    return text;
}

i32 world_nodes(const Maze* maze)
{
    i32 sum = Maze_count(maze);
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        const Maze* const sub = Maze_node(maze, i)->sub;
        sum += sub != nullptr ? world_nodes(sub) : 0;
    }
    return sum;
}

static void finite(const char* name, const f64* values, i32 count)
{
    for (i32 i = 0; i < count; i++) {
        if (!std::isfinite(values[i])) {
            finding(std::string(name) + "[" + std::to_string(i) + "] is no number");
        }
    }
}

void look_at_frame(const MazeGame* game)
{
    const u32 error = glerrors_take();
    if (error != 0) {
        char text[40];
        std::snprintf(text, sizeof text, "OpenGL's error 0x%04x", error);
        finding(text);
    }
    const ViewRec* const view = &game->view;
    finite("time", &game->time, 1);
    finite("step", game->step, 3);
    finite("orient", game->orient, 9);
    finite("campos", game->campos, 3);
    finite("zoom", &game->zoom, 1);
    finite("view.modelview", view->modelview, 16);
    finite("view.eye", view->eye, 3);
    const f64 lens[] = {view->tanx, view->tany, view->pixelscale, view->secx,
                        view->secy, view->near, view->far,        view->pixelsize};
    finite("view's lens", lens, 8);
    finite("view.clip", &view->clip[0][0], 16);
}

bool look_at_world(const MazeGame* game)
{
    if (world_nodes(game->root) > SOUND_MOST) {
        return false;
    }
    const std::string faults = sound_faults(game->root, SOUND_DOUBLED);
    if (!faults.empty()) {
        finding("the world is unsound: " + faults);
    }
    const MazeNode* const node = Maze_node(game->pos.maze, game->pos.node);
    if (node->sub != nullptr) {
        finding("the player stands on a node that holds a maze");
    }
    return true;
}

void look_at_save()
{
    u8* bytes = nullptr;
    size_t size = 0;
    std::string why(SAVE_WHY, 0);
    if (wholefile_read("maze_save.dat", &bytes, &size, why.data()) != WHOLEFILE_READ) {
        finding(std::string("the saved game can't be read: ") + why.c_str());
    }
    if (savefile_check(bytes, size, why.data()) != SAVE_SOUND) {
        finding(std::string("the saved game is not sound: ") + why.c_str());
    }
    std::free(bytes);
}

// What the program has told. That a window without a size has no picture is as it should be.
static void lookatwarnings()
{
    std::ifstream in("warnings.log");
    for (std::string line; std::getline(in, line);) {
        if (line.find("the picture has no size") == std::string::npos) {
            finding("the program has told: " + line);
        }
    }
    in.close();
    std::filesystem::remove("warnings.log");
}

void look_at_folder()
{
    lookatwarnings();
    for (const auto& entry : std::filesystem::directory_iterator(".")) {
        const std::string name = entry.path().filename().string();
        if (name != "config.txt" && name != "maze_save.dat") {
            finding("the run has left a file " + name);
        }
    }
}
