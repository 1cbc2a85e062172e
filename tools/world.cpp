#include "world.h"

#include "model/digest.h"

#include <cinttypes>
#include <cstdio>

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
