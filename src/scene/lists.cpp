#include "scene/lists.h"

#include "gfx/gfx_opengl.h"
#include "model/drawsphere.h"

#include <GL/gl.h>

#include <cmath>
#include <cstdint>
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

// A list's name is the attachment's data itself.
static GLuint listof(const void* data)
{
    return static_cast<GLuint>(reinterpret_cast<uintptr_t>(data));
}

static void deletelist(void* data, Maze* /*maze*/)
{
    if (gfx_alive) {
        glDeleteLists(listof(data), 1);
    }
}

static GLuint buildlist(Maze* maze, const char* name, ListBuilder builder)
{
    const GLuint list = glGenLists(1);
    glNewList(list, GL_COMPILE);
    builder(maze);
    glEndList();
    void* const data = reinterpret_cast<void*>(static_cast<uintptr_t>(list));
    Maze_attach(maze, name, data, deletelist, ATT_GEOMETRY | ATT_EXITS);
    return list;
}

// Whether nothing of a level and of those below it can be painted. The card's single precision moves
// what it draws by some millionths of the numbers that go into it: of the place in the world and of the
// eye's.
static bool outofsight(Maze* maze, const ListView* from)
{
    if (from == nullptr || from->view == nullptr) {
        return false;
    }
    f64 centre[3];
    f64 radius;
    Maze_drawsphere(maze, centre, &radius);
    f64 size = radius;
    for (i32 i = 2; i >= 0; i--) {
        size += std::fabs(centre[i]) + std::fabs(from->view->eye[i]);
    }
    const f64 rounding = 1e-5 * size;
    return ViewRec_sphereout(from->view, centre, radius + from->reach + rounding, 0.0) != 0;
}

void Maze_calllist(Maze* maze, const char* name, ListBuilder builder, bool recursive,
                   const ListView* from)
{
    if (outofsight(maze, from)) {
        return;
    }
    GLuint list = listof(Maze_attachment(maze, name));
    if (list == 0) {
        list = buildlist(maze, name, builder);
    }
    glCallList(list);
    for (i32 n = recursive ? Maze_count(maze) - 1 : -1; n >= 0; n--) {
        Maze* const sub = Maze_node(maze, n)->sub;
        if (sub != nullptr) {
            Maze_calllist(sub, name, builder, true, from);
        }
    }
}
