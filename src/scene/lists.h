// Display lists held by attachments, and the vertices that they are made of.
#pragma once

#include "model/attachment.h"
#include "scene/sight.h"

/// Two list names that go together.
struct ListPair {
    u32 sticks;
    u32 balls;
};

/// Destructor of an attachment whose data is an owned ListPair: deletes both lists and frees the pair.
/// The lists are let be once the context is gone.
void ListPair_delete(void* data, Maze* maze);

/// Destructor of an attachment whose data is the name of a list itself (list_data): deletes the list,
/// which is let be once the context is gone.
void List_delete(void* data, Maze* maze);

/// A list's name as an attachment's data, and back; null is no list.
void* list_data(u32 list);
u32 list_name(const void* data);

/// What emits one level of a style into the list being compiled.
using ListBuilder = void (*)(Maze* maze);

/// Whether nothing is painted of a level and of those below it, where the style draws no further than
/// `reach` beyond their draw spheres.
bool Maze_unpainted(Maze* maze, const Sight* sight, f64 reach);

/// Calls the list that a level keeps as the attachment `name` (flags 3), building it if it is missing,
/// and, if `recursive`, those of all levels below, last node first.
///
/// A level of whose draw sphere nothing is painted in `view` (sight.h) is left out with all below it, and its
/// list isn't built; null leaves nothing out. So the style must draw no further. Lists are built between the
/// calls of others, in the program that is current.
void Maze_calllist(Maze* maze, const char* name, ListBuilder builder, bool recursive,
                   const ViewRec* view);

/// What is drawn once, through lists that live no longer. Drivers may cut quads in another way where they
/// are drawn vertex by vertex, and round otherwise: in this way all looks the same, to the last bit, as from
/// a list that is kept. Starts as {}.
struct ListOnce {
    u32 list;  // being compiled; 0: none
    i32 kind;  // of the open primitives, less than 0: none is open
    i32 parts; // since it was opened
};

/// Makes ready for the vertices of one part, of primitives of a kind of glBegin. From here to ListOnce_draw
/// nothing but vertices and what they need may be sent.
void ListOnce_part(ListOnce* once, u32 kind);

/// Draws what has come since the last call, if anything.
void ListOnce_draw(ListOnce* once);
