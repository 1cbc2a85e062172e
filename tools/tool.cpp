#include "tool.h"

#include "base/wholefile.h"
#include "model/savefile.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

enum { LONGEST = 8192 }; // of what is told: a path and some words

bool tool_bad(const char* format, ...)
{
    char text[LONGEST];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    for (char* at = text; *at != 0; at++) {           // from its first letter on
        *at = static_cast<u8>(*at) < ' ' ? '?' : *at; // a file's name may hold the end of a line
    }
    std::fprintf(stderr, "%s: %s\n", tool_name, text);
    return false;
}

static bool given(const char* option, int argc, char** argv)
{
    for (int i = argc - 1; i >= 1; i--) {
        if (std::strcmp(argv[i], option) == 0) {
            return true;
        }
    }
    return false;
}

bool tool_answer(const char* help, int argc, char** argv)
{
    if (given("--help", argc, argv)) {
        std::fputs(help, stdout);
        return true;
    }
    if (given("--version", argc, argv)) {
        std::printf("%s %s\n", tool_name, CORVANE_VERSION);
        return true;
    }
    return false;
}

int tool_end(int code)
{
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) {
        return code;
    }
    tool_bad("standard output can't be written");
    return EXIT_BAD;
}

bool tool_readfile(const char* path, u8** bytes, size_t* size)
{
    char why[WHOLEFILE_WHY];
    if (*path == 0) {
        return tool_bad("the name of the file is empty");
    }
    switch (wholefile_read(path, bytes, size, why)) {
    case WHOLEFILE_READ: return true;
    case WHOLEFILE_MISSING: return tool_bad("%s: there is no such file", path);
    case WHOLEFILE_UNREADABLE: return tool_bad("%s: %s", path, why);
    }
    return false;
}

bool tool_readworld(const char* path, MazeGame* out, size_t* size)
{
    u8* bytes = nullptr;
    if (!tool_readfile(path, &bytes, size)) {
        return false;
    }
    char why[SAVE_WHY];
    const bool sound = savefile_check(bytes, *size, why) == SAVE_SOUND;
    if (sound) {
        savefile_build(out, bytes, *size);
    } else {
        tool_bad("%s: %s", path, why);
    }
    std::free(bytes);
    return sound;
}
