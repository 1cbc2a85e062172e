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
