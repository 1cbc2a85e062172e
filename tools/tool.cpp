#include "tool.h"

#include "base/types.h"

#include <cstdio>
#include <cstring>

enum { LONGEST = 8192 }; // of what is told: a path and some words

void tool_tell(const char* name, const char* format, std::va_list arguments)
{
    char text[LONGEST];
    std::vsnprintf(text, sizeof text, format, arguments);
    for (char* at = text; *at != 0; at++) {           // from its first letter on
        *at = static_cast<u8>(*at) < ' ' ? '?' : *at; // a file's name may hold the end of a line
    }
    std::fprintf(stderr, "%s: %s\n", name, text);
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

bool tool_answer(const char* name, const char* help, int argc, char** argv)
{
    if (given("--help", argc, argv)) {
        std::fputs(help, stdout);
        return true;
    }
    if (given("--version", argc, argv)) {
        std::printf("%s %s\n", name, CORVANE_VERSION);
        return true;
    }
    return false;
}

int tool_end(const char* name, int code)
{
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) {
        return code;
    }
    std::fprintf(stderr, "%s: standard output can't be written\n", name);
    return EXIT_BAD;
}
