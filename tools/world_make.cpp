#include "base/numbers.h"
#include "base/rnd.h"
#include "generate/makemaze.h"
#include "generate/stencils.h"
#include "model/mazegame.h"
#include "model/savefile.h"
#include "world.h"

#include <cstdio>
#include <cstring>

enum { MODES = 3, NOT_GIVEN = -1 };

/// What is asked for.
struct MakeOptions {
    bool seeded;
    u32 seed;
    i32 mode;        // NOT_GIVEN, or 0 to MODES - 1
    i32 kind;        // NOT_GIVEN, or 0 to MAKEMAZE_KINDS - 1
    const char* out; // lent, or null
    bool digest;
};

static bool twice(const char* name)
{
    return tool_bad("%s is given twice", name);
}

static bool takeseed(MakeOptions* options, const char* value)
{
    if (options->seeded) {
        return twice("--seed");
    }
    options->seeded = true;
    return number_u32(value, &options->seed) ||
           tool_bad("--seed takes a whole number from 0 to 4294967295, not '%s'", value);
}

static bool takemode(MakeOptions* options, const char* value)
{
    if (options->mode != NOT_GIVEN) {
        return twice("--mode");
    }
    return number_i32(value, 0, MODES - 1, &options->mode) ||
           tool_bad("--mode takes 0, 1 or 2, not '%s'", value);
}

static bool takekind(MakeOptions* options, const char* value)
{
    if (options->kind != NOT_GIVEN) {
        return twice("--kind");
    }
    return number_i32(value, 0, MAKEMAZE_KINDS - 1, &options->kind) ||
           tool_bad("--kind takes a whole number from 0 to %d, not '%s'", MAKEMAZE_KINDS - 1,
                    value);
}

static bool takeout(MakeOptions* options, const char* value)
{
    if (options->out != nullptr) {
        return twice("--out");
    }
    if (*value == 0) {
        return tool_bad("--out takes the name of a file");
    }
    options->out = value;
    return true;
}

static bool takedigest(MakeOptions* options)
{
    if (options->digest) {
        return twice("--digest");
    }
    options->digest = true;
    return true;
}

// The options that take a value.
static const struct {
    const char* name;
    bool (*take)(MakeOptions* options, const char* value);
} valued[] = {{"--seed", takeseed}, {"--mode", takemode}, {"--kind", takekind}, {"--out", takeout}};

// Takes the option at `words`. Gives the number of words that it has used, 0 if it is no good.
static int takeoption(MakeOptions* options, char** words, int count)
{
    if (std::strcmp(words[0], "--digest") == 0) {
        return takedigest(options) ? 1 : 0;
    }
    for (const auto& option : valued) {
        if (std::strcmp(words[0], option.name) != 0) {
            continue;
        }
        if (count < 2 || std::strncmp(words[1], "--", 2) == 0) { // the value was forgotten
            tool_bad("%s needs a value", words[0]);
            return 0;
        }
        return option.take(options, words[1]) ? 2 : 0;
    }
    tool_bad("make knows no %s (--help tells more)", words[0]);
    return 0;
}

static bool complete(const MakeOptions* options)
{
    if (!options->seeded) {
        return tool_bad("make needs --seed (--help tells more)");
    }
    if (options->mode == NOT_GIVEN) {
        return tool_bad("make needs --mode (--help tells more)");
    }
    if (options->kind != NOT_GIVEN && options->mode != 0) {
        return tool_bad("--kind goes with --mode 0 only: the other modes have no kinds");
    }
    if (options->out == nullptr && !options->digest) {
        return tool_bad("make needs --out, --digest or both (--help tells more)");
    }
    return true;
}

static bool takeoptions(MakeOptions* options, char** words, int count)
{
    int at = 0;
    while (at < count) { // in the order given
        const int used = takeoption(options, words + at, count - at);
        if (used == 0) {
            return false;
        }
        at += used;
    }
    return complete(options);
}

static bool savegame(const MazeGame* game, const char* path)
{
    char why[SAVE_WHY];
    return MazeGame_save(game, path, why) || tool_bad("%s: %s", path, why);
}

int command_make(char** words, int count)
{
    MakeOptions options = {.seeded = false,
                           .seed = 0,
                           .mode = NOT_GIVEN,
                           .kind = NOT_GIVEN,
                           .out = nullptr,
                           .digest = false};
    if (!takeoptions(&options, words, count)) {
        return EXIT_BAD;
    }
    stencil_progress_to_stderr = true;
    makemaze_forced_kind = options.kind;
    rnd_seed(options.seed);
    MazeGame game;
    MazeGame_new(&game, options.mode);
    const bool good = options.out == nullptr || savegame(&game, options.out);
    if (good && options.digest) {
        printdigest(game.root);
        std::printf(" draws=%u rand_state=%u\n", rnd_count(), rnd_state());
    }
    MazeGame_free(&game);
    return good ? EXIT_DONE : EXIT_BAD;
}
