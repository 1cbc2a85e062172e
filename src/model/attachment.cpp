#include "model/attachment.h"

#include "base/str.h"
#include "model/drawsphere.h"

#include <cstdlib>

u32 freeflags_counter;

static Attachment* attachment(const Maze* maze, i32 n)
{
    return items<Attachment>(&maze->attachments) + n;
}

// The number of the last attachment of a name, -1 if there is none.
static i32 find(const Maze* maze, const char* name)
{
    i32 i = static_cast<i32>(maze->attachments.count) - 1;
    while (i >= 0 && !str_same_folded(attachment(maze, i)->name, name)) {
        i--;
    }
    return i;
}

static void destroy(Maze* maze, i32 n)
{
    const Attachment old = *attachment(maze, n);
    if (old.destructor != nullptr) {
        old.destructor(old.data, maze);
    }
    std::free(old.name);
}

void* Maze_attachment(const Maze* maze, const char* name)
{
    const i32 n = find(maze, name);
    return n >= 0 ? attachment(maze, n)->data : nullptr;
}

void Maze_attach(Maze* maze, const char* name, void* data, AttachmentDestructor destructor,
                 u32 flags)
{
    Attachment added = {.name = nullptr, .data = data, .destructor = destructor, .flags = flags};
    str_new(&added.name, name);
    GrowArray_push(&maze->attachments, &added);
}

void Maze_detach(Maze* maze, const char* name, bool recursive)
{
    const i32 n = find(maze, name);
    if (n >= 0) {
        destroy(maze, n);
        GrowArray_remove(&maze->attachments, static_cast<u32>(n));
    }
    for (i32 i = recursive ? Maze_count(maze) - 1 : -1; i >= 0; i--) {
        Maze* const sub = Maze_node(maze, i)->sub;
        if (sub != nullptr) {
            Maze_detach(sub, name, true);
        }
    }
}

static void freeflags(Maze* maze, u32 mask, bool recursive)
{
    for (i32 i = static_cast<i32>(maze->attachments.count) - 1; i >= 0; i--) {
        if ((attachment(maze, i)->flags & mask) != 0) {
            destroy(maze, i);
            GrowArray_remove(&maze->attachments, static_cast<u32>(i));
            freeflags_counter++;
        }
    }
    for (i32 i = recursive ? Maze_count(maze) - 1 : -1; i >= 0; i--) {
        Maze* const sub = Maze_node(maze, i)->sub;
        if (sub != nullptr) {
            freeflags(sub, mask, true);
        }
    }
}

void Maze_freeflags(Maze* maze, u32 mask, bool recursive)
{
    freeflags(maze, mask, recursive);
    if ((mask & ATT_GEOMETRY) == 0) {
        return;
    }
    Maze_drawsphere_stale(maze, recursive);
    // a change of the graph may join submazes to each other that weren't
    for (i32 i = recursive ? -1 : Maze_count(maze) - 1; i >= 0; i--) {
        Maze* const sub = Maze_node(maze, i)->sub;
        if (sub != nullptr) {
            Maze_drawsphere_stale(sub, false);
        }
    }
}

void Maze_detachall(Maze* maze, bool recursive)
{
    for (i32 i = static_cast<i32>(maze->attachments.count) - 1; i >= 0; i--) {
        destroy(maze, i);
    }
    GrowArray_clear(&maze->attachments);
    for (i32 i = recursive ? Maze_count(maze) - 1 : -1; i >= 0; i--) {
        Maze* const sub = Maze_node(maze, i)->sub;
        if (sub != nullptr) {
            Maze_detachall(sub, true);
        }
    }
}
