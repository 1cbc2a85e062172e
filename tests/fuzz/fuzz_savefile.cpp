// Any bytes are refused with a reason or load as a game that can be played and saved again.
#include "model/drawsphere.h"
#include "model/mazegame.h"
#include "model/savefile.h"
#include "tests/fuzz/fuzz.h"

#include <cmath>

enum { STEPS = 8 };

// Walks along one exit after the other, by a step beyond it.
static void walkabout(MazeGame* game)
{
    Pos exits[POS_MAXEDGES];
    VisitRec recs[POS_MAXEDGES];
    for (i32 i = 0; i < STEPS; i++) {
        const i32 n = Pos_alledges(game->pos, exits, recs);
        if (n == 0) {
            return;
        }
        const f64* const from = Pos_node(game->pos)->pos;
        const f64* const to = Pos_node(exits[i % n])->pos;
        f64 step[3];
        for (i32 k = 2; k >= 0; k--) {
            step[k] = 1.1 * (to[k] - from[k]);
        }
        game->time += 0.25;
        MazeGame_move(game, step);
    }
}

static void look(MazeGame* game)
{
    f64 seen[4];
    MazeGame_viewpos_radius(seen, game, &seen[3]);
    for (const f64 value : seen) {
        fuzz_claim(std::isfinite(value), "the player is at a finite place");
    }
    f64 centre[3];
    f64 radius;
    Maze_drawsphere(game->root, centre, &radius);
    fuzz_claim(radius >= 0.0, "a draw sphere has a radius");
    ViewRec_sphereout(&game->view, centre, radius, game->view.pixelsize);
}

static void saveagain(const MazeGame* game)
{
    char why[SAVE_WHY];
    u8* bytes = nullptr;
    size_t size = 0;
    fuzz_claim(MazeGame_save(game, fuzz_file(), why), why);
    fuzz_claim(wholefile_read(fuzz_file(), &bytes, &size, why) == WHOLEFILE_READ, why);
    fuzz_claim(savefile_check(bytes, size, why) == SAVE_SOUND, why);
    std::free(bytes);
}

int LLVMFuzzerTestOneInput(const unsigned char* bytes, size_t size)
{
    char why[SAVE_WHY];
    const SaveVerdict verdict = savefile_check(bytes, size, why);
    fuzz_claim((verdict == SAVE_SOUND) == (*why == 0), "what is refused has a reason");
    if (verdict != SAVE_SOUND) {
        return 0;
    }
    MazeGame game;
    savefile_build(&game, bytes, size);
    look(&game);
    walkabout(&game);
    look(&game);
    saveagain(&game);
    MazeGame_free(&game);
    return 0;
}
