#include "generate/names.h"

#include "base/str.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

// Gives the maze the name `name`, handed over.
static void rename(Maze* maze, char* name)
{
    std::free(maze->name);
    maze->name = name;
}

// An owned text: `path`, a point, and `last`.
static char* joined(const char* path, const char* last)
{
    const size_t size = std::strlen(path) + std::strlen(last) + 2;
    char* const text = static_cast<char*>(std::malloc(size));
    std::snprintf(text, size, "%s.%s", path, last);
    return text;
}

char* Maze_subname(const Maze* maze, i32 number)
{
    char digits[16];
    std::snprintf(digits, sizeof digits, "%02d", number);
    return joined(maze->name, digits);
}

// The name of the c-th submaze of a maze.
static char* numbered(const Maze* maze, i32 c)
{
    if (maze->name != nullptr) {
        return Maze_subname(maze, c);
    }
    char number[16];
    std::snprintf(number, sizeof number, "%d", c);
    char* text;
    str_new(&text, number);
    return text;
}

void Maze_numbersubs(Maze* maze)
{
    i32 c = 0;
    for (i32 i = 0; i < Maze_count(maze); i++) { // counts from the first node on
        Maze* const sub = Maze_node(maze, i)->sub;
        if (sub != nullptr) {
            c++;
            rename(sub, numbered(maze, c));
            Maze_numbersubs(sub);
        }
    }
}

void Maze_pathnames(Maze* maze)
{
    const Maze* const parent = maze->parent;
    if (parent != nullptr && parent->name != nullptr) {
        rename(maze, joined(parent->name, maze->name != nullptr ? maze->name : ""));
    }
    for (i32 i = 0; i < Maze_count(maze); i++) { // from the first node on
        Maze* const sub = Maze_node(maze, i)->sub;
        if (sub != nullptr) {
            Maze_pathnames(sub);
        }
    }
}
