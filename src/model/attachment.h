// Attachments: named pieces of derived data hung on a maze, freed when what they were derived from
// changes.
//
// Each carries a mask of the changes that make it stale; the model frees by mask whenever such a
// change happens, and whoever needs the data builds it again. No order of a maze's attachments may
// be relied on. A destructor must not add or remove attachments of its maze.
#pragma once

#include "model/maze.h"

enum : u32 {
    ATT_GEOMETRY = 1, // positions or the graph of this maze have changed
    ATT_EXITS = 2,    // exitsused of this maze has gained a bit
    ATT_VISITS = 4,   // the player has walked an edge of this maze
};

using AttachmentDestructor = void (*)(void* data, Maze* maze);

struct Attachment {
    char* name;                      // owned; looked up without regard to case
    void* data;                      // the payload, or a small integer such as a display list name
    AttachmentDestructor destructor; // or null
    u32 flags;
};

extern u32 freeflags_counter; // attachments freed by Maze_freeflags since the start

/// Data of the last attachment of that name, or null. Null data can't be told from an absent name.
void* Maze_attachment(const Maze* maze, const char* name);

/// Adds one; the name is copied, the data handed over to the destructor. A name that is already
/// present is not looked for.
void Maze_attach(Maze* maze, const char* name, void* data, AttachmentDestructor destructor,
                 u32 flags);

/// Frees the last attachment of that name, if any; with `recursive` one of each level below too.
void Maze_detach(Maze* maze, const char* name, bool recursive);

/// Frees all whose flags meet `mask`, and counts them in `freeflags_counter`. With ATT_GEOMETRY in
/// the mask the draw spheres that the change may reach become stale too (drawsphere.h).
void Maze_freeflags(Maze* maze, u32 mask, bool recursive);

/// Frees all, whatever their flags; the counter stays.
void Maze_detachall(Maze* maze, bool recursive);
