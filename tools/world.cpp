#include "world.h"

#include "model/digest.h"
#include "model/savefile.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>

int bad(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    tool_tell(tool_name, format, arguments);
    va_end(arguments);
    return EXIT_BAD;
}

bool readfile(const char* path, u8** bytes, size_t* size)
{
    char why[WHOLEFILE_WHY];
    if (*path == 0) {
        bad("the name of the file is empty");
        return false;
    }
    switch (wholefile_read(path, bytes, size, why)) {
    case WHOLEFILE_READ: return true;
    case WHOLEFILE_MISSING: bad("%s: there is no such file", path); return false;
    case WHOLEFILE_UNREADABLE: bad("%s: %s", path, why); return false;
    }
    return false;
}

bool readworld(const char* path, MazeGame* out, size_t* size)
{
    u8* bytes = nullptr;
    if (!readfile(path, &bytes, size)) {
        return false;
    }
    char why[SAVE_WHY];
    const bool sound = savefile_check(bytes, *size, why) == SAVE_SOUND;
    if (sound) {
        savefile_build(out, bytes, *size);
    } else {
        bad("%s: %s", path, why);
    }
    std::free(bytes);
    return sound;
}

static i32 levelof(const Maze* maze)
{
    i32 level = 0;
    for (; maze->parent != nullptr; maze = maze->parent) {
        level++;
    }
    return level;
}

void nameplace(const Maze* maze, char out[SAVE_PLACE])
{
    i32 path[SAVE_MAXLEVELS];
    const i32 level = levelof(maze);
    for (i32 i = level - 1; i >= 0; i--) {
        path[i] = maze->parentnode;
        maze = maze->parent;
    }
    saveplace_name(path, level + 1, out);
}

void printdigest(const Maze* root)
{
    std::printf("graph=%016" PRIx64 " place=%016" PRIx64, Maze_digestgraph(DIGEST_START, root),
                Maze_digestplace(DIGEST_START, root));
}
