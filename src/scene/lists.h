// Display lists held by attachments, and the vertices that they are made of.
#pragma once

#include "model/attachment.h"

/// Two list names that go together.
struct ListPair {
    u32 sticks;
    u32 balls;
};

/// Destructor of an attachment whose data is an owned ListPair: deletes both lists and frees the pair.
/// The lists are let be once the context is gone.
void ListPair_delete(void* data, Maze* maze);

/// What emits one level of a style into the list being compiled.
using ListBuilder = void (*)(Maze* maze);

/// Calls the list that a level keeps as the attachment `name` (flags 3), building it if it is missing,
/// and, if `recursive`, those of all levels below, last node first. Nothing is left out of view.
void Maze_calllist(Maze* maze, const char* name, ListBuilder builder, bool recursive);
