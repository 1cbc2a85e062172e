#include "model/savefile.h"
#include "world.h"

#include <cstdio>
#include <cstdlib>

// Nothing is built, so that a file of any size is judged in little more memory than it takes. What
// loading passes over counts too, ports that are not joined: a world can be played with them.
static int judge(const u8* bytes, size_t size, char* why)
{
    switch (savefile_checkcrossed(bytes, size, why)) {
    case SAVE_SOUND: return EXIT_DONE;
    case SAVE_UNSOUND: return EXIT_UNSOUND;
    case SAVE_UNREADABLE: return EXIT_BAD;
    }
    return EXIT_BAD;
}

int command_check(char** words, int count)
{
    if (count != 1) {
        tool_bad("check takes one file (--help tells more)");
        return EXIT_BAD;
    }
    const char* const path = words[0];
    u8* bytes = nullptr;
    size_t size = 0;
    if (!tool_readfile(path, &bytes, &size)) {
        return EXIT_BAD;
    }
    char why[SAVE_WHY];
    const int code = judge(bytes, size, why);
    std::free(bytes);
    if (code == EXIT_BAD) {
        tool_bad("%s: %s", path, why);
    } else if (code == EXIT_UNSOUND) {
        std::printf("%s: unsound: %s\n", path, why);
    } else {
        std::printf("%s: sound\n", path);
    }
    return code;
}
