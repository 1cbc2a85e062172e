// soak: the whole program for a while under hands that play at random, with every frame looked at; or
// the same worlds again and again, with what is held in memory measured.
#include "base/numbers.h"
#include "base/report.h"
#include "gfx/gfx_opengl.h"
#include "gfx/platform/scripted.h"
#include "tests/soak/looks.h"
#include "tests/soak/ownmemory.h"
#include "tests/soak/runs.h"
#include "tests/tempfolder.h"

#include <cstdio>
#include <cstring>

static const char help_text[] =
    "soak SECONDS [--seed S] [--nested]\n"
    "Runs Corvane without a display in a folder of its own for so long, under random keys, "
    "buttons,\n"
    "motion, wheel, sizes, minimising, settings, ends and starts, and looks at every frame. "
    "Without\n"
    "a seed it is 1. With --nested the world of millions of nodes comes once.\n"
    "\n"
    "soak --rounds N [--seed S]\n"
    "Makes the same 20 worlds N times and once before, with the key N for each, and compares what "
    "is "
    "held\n"
    "in memory.\n"
    "\n"
    "The exit code is 0 if nothing was found, 1 for a finding, 2 for a bad argument.\n";

enum { EXIT_BAD = 2, MOST_SECONDS = 1000000, MOST_ROUNDS = 1000 };

struct Options {
    i32 seconds, rounds, seed;
    bool nested, help;
};

static bool bad(const char* what, const char* word)
{
    std::fprintf(stderr, "soak: %s '%s' (--help tells more)\n", what, word);
    return false;
}

// An option that takes a number; `*used` tells that it was one.
static bool readnumber(Options* options, const char* name, const char* value, bool* used)
{
    *used = std::strcmp(name, "--seed") == 0 || std::strcmp(name, "--rounds") == 0;
    if (!*used) {
        return true;
    }
    const bool rounds = name[2] == 'r';
    return number_i32(value, rounds ? 2 : 0, rounds ? MOST_ROUNDS : INT32_MAX,
                      rounds ? &options->rounds : &options->seed) ||
           bad("no number that can be used:", value);
}

static bool readarguments(Options* options, int argc, char** argv)
{
    for (int i = 1; i < argc; i++) { // in the order given
        bool used = false;
        if (!readnumber(options, argv[i], i + 1 < argc ? argv[i + 1] : "", &used)) {
            return false;
        }
        if (used) {
            i++;
        } else if (std::strcmp(argv[i], "--nested") == 0) {
            options->nested = true;
        } else if (std::strcmp(argv[i], "--help") == 0) {
            options->help = true;
        } else if (!number_i32(argv[i], 1, MOST_SECONDS, &options->seconds)) {
            return bad("unknown argument", argv[i]);
        }
    }
    return options->help || (options->seconds > 0) != (options->rounds > 0) ||
           bad("either SECONDS or", "--rounds N");
}

int main(int argc, char** argv)
{
    Options options = {.seconds = 0, .rounds = 0, .seed = 1, .nested = false, .help = false};
    if (!readarguments(&options, argc, argv)) {
        return EXIT_BAD;
    }
    if (options.help) {
        std::fputs(help_text, stdout);
        return 0;
    }
    const TempFolder folder;
    const std::filesystem::path home = std::filesystem::current_path();
    std::filesystem::current_path(folder.path);
    std::fprintf(stderr, "soak: seed %d, in %s\n", options.seed, folder.path.c_str());
    if (std::freopen("/dev/null", "w", stdout) == nullptr) { // the progress of making worlds
        return EXIT_BAD;
    }
    soak_place.seed = options.seed;
    report_fatal_wait = 0; // nobody reads along
    platform_use(&platform_scripted);
    if (options.rounds > 0) {
        run_rounds(options.seed, options.rounds);
    } else {
        run_hands(options.seed, options.seconds, options.nested);
    }
    std::filesystem::current_path(home);
    return 0;
}
