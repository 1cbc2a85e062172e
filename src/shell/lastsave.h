// The save of a run that ends without the driver's exit, because some library has called exit: the X
// library does so when the display goes, whatever call the program is in.
//
// It is exit alone that can be caught. What ends the process at once (_exit, abort, a crash, SIGKILL)
// leaves the save of the run before. A fatal report calls exit too, and by intent nothing is saved then.
//
// A graphics driver's thread may be the one that calls exit, while the game is being changed. So each
// change of the world is framed by hold and release, and the save waits for the release; clock and camera
// are numbers of which any can be saved, and change outside. If the main thread calls exit as well
// meanwhile, that waits for the end of the save.
#pragma once

/// From now on `save` is called once when the process exits, unless a fatal report ends it. It must
/// touch neither OpenGL nor the window: both may be gone. `whole` is false if the game must not be
/// saved, since exit was called from within a change, or a change has not ended within a minute.
void lastsave_begin(void (*save)(bool whole));

/// Nothing is called any more.
void lastsave_end();

/// Frames a change of what `save` reads; may be nested. Between them stands no call that waits for the
/// display, save the deletion of display lists: a driver that lets it wait for its thread while that one
/// calls exit delays the end by the minute. After an exit on another thread hold does not return.
void lastsave_hold();
void lastsave_release();
