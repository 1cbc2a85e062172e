#include "scene/lists.h"

#include "gfx/gfx_opengl.h"

#include <GL/gl.h>

#include <cstdlib>

void ListPair_delete(void* data, Maze* /*maze*/)
{
    ListPair* const lists = static_cast<ListPair*>(data);
    if (gfx_alive) {
        glDeleteLists(lists->sticks, 1);
        glDeleteLists(lists->balls, 1);
    }
    std::free(lists);
}
