// The scripted back end: no window. Draws into an off-screen surface of a real OpenGL, plays
// a list of timed input, and claims any set of displays; for tests, tools and benchmarks.
//
// Frames count from 1. Input for frame F is delivered in the pump before it, so the pump of the
// start-up delivers frame 1. The clock begins at 0 and advances by a fixed step in each pump. Between
// a pump and the swap each reading after the first finds it 1 ms later, so that deadlines pass in a
// frame; the swap puts it back on its step, where it stands still.
//
// A window can be opened again after it was closed; script, clock and frame number go on then. All
// contexts of a process share their objects, so a program or list made in an earlier window is still
// good. A window has up to 16384 pixels a side. Frames of windows are 4 pixels thick with a caption
// of 24. A signal to end arrives as a close.
#pragma once

#include "gfx/platform.h"

enum ScriptedKind {
    SCRIPT_KEY_DOWN, // a: virtual key
    SCRIPT_KEY_UP,
    SCRIPT_KEY_PRESS,   // down for the one frame
    SCRIPT_BUTTON_DOWN, // a: 1 left, 2 right, 16 middle
    SCRIPT_BUTTON_UP,
    SCRIPT_WHEEL,    // a: above 0 forward
    SCRIPT_MOUSE,    // a, b: offset from the window's centre, lost in a frame that doesn't ask
    SCRIPT_RESIZE,   // a, b: new client size
    SCRIPT_MOVE,     // a, b: the window's place
    SCRIPT_MINIMISE, // and back
    SCRIPT_RESTORE,
    SCRIPT_TYPE, // a: character
    SCRIPT_CLOSE,
};

struct ScriptedAction {
    i32 frame; // 1 or above
    ScriptedKind kind;
    i32 a, b;
};

/// Forgets everything: no script, no claimed display (then there is one of 1920 by 1080 at the
/// origin), a clock step of 1/60 second, no hook. Call while no window is open.
void scripted_reset();

/// Adds an action; any order of frames, same frame in the order added. One for a frame that has begun
/// comes in the next pump. A pointer event with no button held opens every script by itself.
void scripted_add(ScriptedAction added);

/// Claims a display; the first one is the primary. Does nothing beyond PLATFORM_MAXDISPLAYS.
void scripted_display(PlatformRect rect);

/// Puts the pointer at a place of the desktop; until then it is in the middle of the first display.
void scripted_cursor(i32 x, i32 y);

/// Seconds by which the clock advances in each pump.
void scripted_step(f64 seconds);

/// A routine called in each swap, before the back buffer is given up, with the number of the frame
/// (pumps since the reset); or null.
void scripted_atswap(void (*hook)(i32 frame));

/// Calls since the reset, for tests.
struct ScriptedCounts {
    i32 swaps;
    i32 cursorshown; // shows less hides
    i32 modechanges; // setmode calls
    i32 moderestores;
    i32 minimises;
    i32 placedontop;
    i32 modewidth, modeheight; // of the last setmode
    WindowRequest request;     // of the last open
};
extern ScriptedCounts scripted_counts;

/// The virtual key of a name from the key table: "A" to "Z", "0" to "9", "Up", "Down", "Left",
/// "Right", "Shift", "Ctrl", "Alt", "Tab", "Space", "Escape", "F1" to "F12"; 0 for any other text.
/// Case doesn't matter.
i32 virtualkey(const char* name);
