// The driver: start-up, the frame loop as a list of named steps, exit.
#pragma once

#include "model/gamerec.h"
#include "shell/camera.h"
#include "shell/config.h"

/// What the driver holds for the whole run. Lives in its caller; written by the routines below, but for
/// the size wished for.
struct Driver {
    // Client size of a framed window in place of what the settings say, set before driver_start; never
    // written to the settings. 0: as they say.
    i32 wished_width = 0;
    i32 wished_height = 0;

    MazeGame game;
    bool second_copy; // another copy runs in this folder: maze_save.dat is that one's to write
    int folder_lock;  // handle of the lock on the folder, -1 without it
    bool save_stuck;  // a refused save lies where the game is saved, and is not written over
    ConfigList config;
    Camera camera;
    i32 stereo_mode;
    i32 stereo_swap;
    f64 stereo_depth;
    i32 hud_mode;
    f64 last_time; // timer_now of the frame before
    f64 dt;        // of the frame that runs
    f64 focus[3];  // where the player was seen in this frame
    bool first_swap_done;
};

/// Start-up, for the back end in use: signals, settings, random seed, window, fonts, game, first
/// pump. The seed is the settings' "Seed" if there is one (decimal, below 2^32; anything else there
/// is told as a notice), otherwise the clock's milliseconds. A save file that is refused is told,
/// and a new game starts. Of the copies in one folder the first holds it for its run; each later
/// one tells that it will not write the save file, and only reads it. Where the folder can't be
/// locked a copy counts as the first. False if there is no size for a window: that is told on
/// standard error, and nothing is open or held then. Fatal if the window can't be made. Signals to
/// end are a request to close from the first moment on.
/// `times`, if set, prints how long each step took on standard error, up to the first swap; of what
/// comes before main the processor time only.
bool driver_start(Driver* driver, bool times);

/// One frame, input of the last pump to the next pump. False when the loop must end, at once if the
/// window has gone already.
bool driver_frame(Driver* driver);

/// Exit: saves the game, frees it, writes the settings, and closes the window if it is still open.
/// Touches no GL function if the window was closed. If a library ends the process before this has
/// been called, as at the loss of the display, game and settings are saved all the same. A refused
/// save that could not be renamed at the start is not written over, unless it is out of the way by
/// now or can be renamed now. Where the game can't be saved at its place it is saved in a new file
/// with a number, and so it is by a second copy, even if the first has ended; which file is told.
/// Returns the exit code of the process: 1 if the game or the settings could not be written, or may
/// not be safe on the disk (which has then been told), else 0.
int driver_stop(Driver* driver);

/// The whole run: start, frames, exit. Returns the exit code, 0 if there was no size for a window. With
/// CORVANE_TIMES=1 in the environment the times of the start are printed.
int driver_run(Driver* driver);
