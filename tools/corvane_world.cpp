// corvane-world: worlds without a window.
#include "model/savefile.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

static const char help_text[] =
    "corvane-world COMMAND\n"
    "Tells about worlds without opening a window. The exit code is 2 for a bad argument or file.\n"
    "\n"
    "  check FILE       whether a save file is sound. The exit code is 0 if it is, 1 if it is "
    "not,\n"
    "                   with the first fault and its place: node numbers from the root down, as\n"
    "                   maze 1/17, node 3; and 2 if it can't be read, or ends too early to be "
    "told\n"
    "                   apart into mazes and nodes\n"
    "  --help           this text\n";

enum { EXIT_SOUND = 0, EXIT_UNSOUND = 1, EXIT_BAD = 2 };

static int bad(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Tells what is wrong in one line; the exit code for the caller to pass on.
static int bad(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    std::fputs("corvane-world: ", stderr);
    std::vfprintf(stderr, format, arguments);
    std::fputc('\n', stderr);
    va_end(arguments);
    return EXIT_BAD;
}

// Check

// Nothing is built, so that a file of any size is judged in little more memory than it takes. What
// loading passes over counts too, ports that are not joined: a world can be played with them.
static int judge(const u8* bytes, size_t size, char* why)
{
    switch (savefile_checkcrossed(bytes, size, why)) {
    case SAVE_SOUND: return EXIT_SOUND;
    case SAVE_UNSOUND: return EXIT_UNSOUND;
    case SAVE_UNREADABLE: return EXIT_BAD;
    }
    return EXIT_BAD;
}

static int check(const char* path)
{
    char why[SAVE_WHY];
    u8* bytes = nullptr;
    size_t size = 0;
    const WholeFileRead outcome = wholefile_read(path, &bytes, &size, why);
    if (outcome == WHOLEFILE_MISSING) {
        return bad("%s: there is no such file", path);
    }
    if (outcome == WHOLEFILE_UNREADABLE) {
        return bad("%s: %s", path, why);
    }
    const int code = judge(bytes, size, why);
    std::free(bytes);
    if (code == EXIT_BAD) {
        return bad("%s: %s", path, why);
    }
    if (code == EXIT_UNSOUND) {
        std::printf("%s: unsound: %s\n", path, why);
    } else {
        std::printf("%s: sound\n", path);
    }
    return code;
}

static bool wantshelp(int argc, char** argv)
{
    for (int i = argc - 1; i >= 1; i--) {
        if (std::strcmp(argv[i], "--help") == 0) {
            return true;
        }
    }
    return false;
}

int main(int argc, char** argv)
{
    if (wantshelp(argc, argv)) {
        std::fputs(help_text, stdout);
        return 0;
    }
    if (argc < 2) {
        return bad("what to do? check FILE (--help tells more)");
    }
    if (std::strcmp(argv[1], "check") != 0) {
        return bad("unknown command %s (--help lists them)", argv[1]);
    }
    if (argc != 3) {
        return bad("check takes one file (--help tells more)");
    }
    return check(argv[2]);
}
