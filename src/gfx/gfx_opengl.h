// The window with its OpenGL context, the input snapshots, the end of a frame. All logic about what
// the machine reports is here; a back end of platform.h only answers.
//
// The keyboard is read once a frame as a block: a key is held while its high bit is set in key_now,
// and pressed if it is also clear in key_before.
#pragma once

#include "gfx/platform.h"

enum VirtualKey {
    KEY_TAB = 0x09,
    KEY_SHIFT = 0x10,
    KEY_CTRL = 0x11,
    KEY_ALT = 0x12,
    KEY_ESCAPE = 0x1B,
    KEY_SPACE = 0x20,
    KEY_LEFT = 0x25,
    KEY_UP = 0x26,
    KEY_RIGHT = 0x27,
    KEY_DOWN = 0x28,
    KEY_F1 = 0x70,
    KEY_F3 = 0x72,
    KEY_F4,
    KEY_F5,
    KEY_F6,
    KEY_F7,
    KEY_F8,
}; // letters and digits are their capital ASCII codes

enum MouseButton : u32 {
    MOUSE_LEFT = 1,
    MOUSE_RIGHT = 2,
    MOUSE_WHEEL_FORWARD = 4, // in this frame
    MOUSE_WHEEL_BACK = 8,    // in this frame
    MOUSE_MIDDLE = 16,
};

/// Client size in pixels; before the window is open the request: (w, h), (0, 0) the primary display,
/// (0, n) display n from 1 on, (-1, below 1) all displays, (-1, mask) those whose bits are set.
/// Written by the settings, gfx_open and gfx_resize, and for as long as they draw by the drivers of two
/// screens (stereo.h) and of offscreen pictures (offscreen.h).
extern i32 gfx_width, gfx_height;

extern bool windowed;                  // a window with a frame; set before gfx_open
extern i32 fullscreen_x, fullscreen_y; // added to the position in full screen; set before gfx_open
extern u8 key_now[512], key_before[512]; // by virtual key code; written by gfx_open and gfx_pump
extern u32 mouse_buttons, mouse_buttons_before; // masks of MouseButton; written as the keys are
extern i32 mouse_x, mouse_y;                    // last pointer position, client pixels
extern i32 gfx_quit;                            // the window has been closed
extern i32 minimising;                          // Alt+Tab in full screen is being carried out
extern i32 buttons_ignored;                     // 1 until a pointer event with no button held
extern char typed_text[500];                    // characters typed, in Latin-1
extern bool gfx_alive;                          // the context exists; display lists may be deleted

/// Opens the window for a size request (see gfx_width), makes the context and its first state, and in
/// full screen changes the display mode for an explicit size without offset. Returns 0 if the
/// request yields no size, with nothing opened, else 1. Fatal if the machine gives no window or
/// context.
i32 gfx_open(i32 width, i32 height, const char* title);

/// Handles what has happened since the last call and takes the next keyboard snapshot, except while
/// minimised. Returns gfx_quit. A close ends the context within this call.
i32 gfx_pump();

/// Closes window and context if they are open, as a close request does.
void gfx_close();

/// Offset of the pointer from the window's centre in pixels, y down; either may be null. The pointer
/// then goes to the centre.
void gfx_mouse_delta(i32* dx, i32* dy);

/// Whether a key is held, or has gone down since the snapshot before.
bool key_held(i32 key);
bool key_pressed(i32 key);
