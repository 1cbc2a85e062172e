#include "scene/lists.h"

#include "gfx/gfx_opengl.h"
#include "model/drawsphere.h"

#include <GL/gl.h>

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

void* list_data(u32 list)
{
    return reinterpret_cast<void*>(static_cast<uintptr_t>(list));
}

u32 list_name(const void* data)
{
    return static_cast<u32>(reinterpret_cast<uintptr_t>(data));
}

void List_delete(void* data, Maze* /*maze*/)
{
    if (gfx_alive) {
        glDeleteLists(list_name(data), 1);
    }
}

static GLuint buildlist(Maze* maze, const char* name, ListBuilder builder)
{
    const GLuint list = glGenLists(1);
    glNewList(list, GL_COMPILE);
    builder(maze);
    glEndList();
    Maze_attach(maze, name, list_data(list), List_delete, ATT_GEOMETRY | ATT_EXITS);
    return list;
}

bool Maze_unpainted(Maze* maze, const Sight* sight, f64 reach)
{
    f64 centre[1][3];
    f64 radius;
    Maze_drawsphere(maze, centre[0], &radius);
    return Sight_unpainted(sight, centre, 1, radius + reach);
}

// `sight` is null where nothing is left out.
static void calllists(Maze* maze, const char* name, ListBuilder builder, bool recursive,
                      const Sight* sight)
{
    if (sight != nullptr && Maze_unpainted(maze, sight, 0.0)) {
        return;
    }
    GLuint list = list_name(Maze_attachment(maze, name));
    if (list == 0) {
        list = buildlist(maze, name, builder);
    }
    glCallList(list);
    for (i32 n = recursive ? Maze_count(maze) - 1 : -1; n >= 0; n--) {
        Maze* const sub = Maze_node(maze, n)->sub;
        if (sub != nullptr) {
            calllists(sub, name, builder, true, sight);
        }
    }
}

void Maze_calllist(Maze* maze, const char* name, ListBuilder builder, bool recursive,
                   const ViewRec* view)
{
    Sight sight;
    if (view != nullptr) {
        Sight_make(&sight, view);
    }
    calllists(maze, name, builder, recursive, view != nullptr ? &sight : nullptr);
}

static const i32 mostparts = 20000; // in one list, which bounds its memory

void ListOnce_part(ListOnce* once, u32 kind)
{
    if (once->parts >= mostparts) {
        ListOnce_draw(once);
    }
    if (once->list == 0) {
        once->list = glGenLists(1);
        once->kind = -1;
        glNewList(once->list, GL_COMPILE);
    }
    const i32 wanted = static_cast<i32>(kind);
    if (once->kind != wanted) {
        if (once->kind >= 0) {
            glEnd();
        }
        glBegin(kind);
        once->kind = wanted;
    }
    once->parts++;
}

void ListOnce_draw(ListOnce* once)
{
    if (once->list == 0) {
        return;
    }
    glEnd();
    glEndList();
    glCallList(once->list);
    glDeleteLists(once->list, 1);
    *once = {};
}
