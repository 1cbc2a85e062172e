#include "model/connect.h"
#include "model/mazegame.h"
#include "model/savefile.h"

#include "world.h"
#include <cstdio>
#include <cstdlib>

// The first maze of a tree, in the order of a file, whose ports are not joined; null if there is none.
static const Maze* firstsevered(const Maze* maze)
{
    if (Maze_ports(maze) >= 2 && !Maze_isconnected(maze)) {
        return maze;
    }
    const i32 n = Maze_count(maze);
    for (i32 i = 0; i < n; i++) { // as they stand in the file
        const Maze* const sub = Maze_node(maze, i)->sub;
        const Maze* const found = sub != nullptr ? firstsevered(sub) : nullptr;
        if (found != nullptr) {
            return found;
        }
    }
    return nullptr;
}

// What loading passes over, since a world can be played with it: ports that are not joined.
static int judgeworld(const u8* bytes, size_t size, char* why)
{
    MazeGame game;
    savefile_build(&game, bytes, size);
    const Maze* const severed = firstsevered(game.root);
    if (severed != nullptr) {
        char place[SAVE_PLACE];
        nameplace(severed, place);
        std::snprintf(why, SAVE_WHY, "%s: no way from port to port", place);
    }
    MazeGame_free(&game);
    return severed != nullptr ? EXIT_UNSOUND : EXIT_DONE;
}

static int judge(const u8* bytes, size_t size, char* why)
{
    switch (savefile_check(bytes, size, why)) {
    case SAVE_SOUND: return judgeworld(bytes, size, why);
    case SAVE_UNSOUND: return EXIT_UNSOUND;
    case SAVE_UNREADABLE: return EXIT_BAD;
    }
    return EXIT_BAD;
}

int command_check(char** words, int count)
{
    if (count != 1) {
        return bad("check takes one file (--help tells more)");
    }
    const char* const path = words[0];
    u8* bytes = nullptr;
    size_t size = 0;
    if (!readfile(path, &bytes, &size)) {
        return EXIT_BAD;
    }
    char why[SAVE_WHY];
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
