// What is asked of the machine. A back end answers and delivers events, and changes nothing outside
// its own file: gfx_opengl turns what it returns into key_now, mouse_buttons, gfx_width and gfx_quit.
#pragma once

#include "base/types.h"

struct PlatformRect {
    i32 left, top, right, bottom; // desktop pixels; right and bottom are exclusive
};

/// Widens a rectangle so that another one lies within it.
void PlatformRect_include(PlatformRect* sum, const PlatformRect* rect);

struct WindowRequest {
    const char* title = nullptr;
    i32 x = 0, y = 0;          // of the window's outer upper left corner, desktop pixels
    i32 width = 0, height = 0; // of the client area
    bool framed = false;       // a window with a frame that can be resized; otherwise full screen
};

/// How opening a window went, in the order of its steps.
enum PlatformOpen {
    PLATFORM_OPEN,         // window and context stand, the context is current
    PLATFORM_NO_CLASS,     // the window system can't be reached
    PLATFORM_NO_WINDOW,    // no window
    PLATFORM_NO_FORMAT,    // no pixel format with 24 bit colour and a depth buffer
    PLATFORM_FORMAT_UNSET, // the format can't be set
    PLATFORM_NO_CONTEXT,   // no context
    PLATFORM_NOT_CURRENT,  // the context can't be made current
};

enum PlatformEventKind {
    EVENT_CLOSE,     // close button, end of the desktop, or a signal to end
    EVENT_SIZE,      // x, y: the new client size
    EVENT_POINTER,   // x, y: client pixels; buttons: mask of 1 left, 2 right, 16 middle held now
    EVENT_WHEEL,     // wheel: above 0 forward, away from the user
    EVENT_CHARACTER, // character: typed
};

struct PlatformEvent {
    PlatformEventKind kind = EVENT_CLOSE;
    i32 x = 0, y = 0;
    u32 buttons = 0;
    i32 wheel = 0;
    u32 character = 0;
};

enum { PLATFORM_MAXDISPLAYS = 31, PLATFORM_KEYS = 256 };

struct Platform {
    const char* name;

    // the clock: seconds, monotonic
    f64 (*seconds)();

    // The end of the process. takesignals makes the system's requests to end it arrive as EVENT_CLOSE
    // from now on; one that comes before the window is open waits for its first events. ended tells
    // what has ended by itself, such as the display, as the beginning of a sentence; null if nothing
    // has. The process is about to end then, and nothing but the clock may be asked of the back end.
    void (*takesignals)();
    const char* (*ended)();

    // The desktop, before and after a window is open. displays fills at most `max` rectangles in the
    // system's order and returns how many; desktop is the rectangle around all of them; primary is
    // the size of the display at the origin; framesize gives the thickness of a frame's side and the
    // height of its caption, estimated where the system doesn't tell; cursor is the pointer's place.
    i32 (*displays)(PlatformRect* out, i32 max);
    PlatformRect (*desktop)();
    PlatformRect (*primary)();
    void (*framesize)(i32* side, i32* caption);
    void (*cursor)(i32* x, i32* y);

    // The window with its double-buffered OpenGL 2.0 compatibility context: 8-bit colours, the deepest
    // depth buffer of 32, 24 and 16 bits, no stencil. close ends context and window; both may be
    // called once. setmode changes the display mode to a size for the time being (false if it can't),
    // restoremode takes that back.
    PlatformOpen (*open)(const WindowRequest* want);
    void (*close)();
    bool (*setmode)(i32 width, i32 height);
    void (*restoremode)();

    // Input. nextevent is false when none is waiting. readkeys fills the keyboard's state by virtual
    // key code, high bit set while down; a tap between two readings reads as down in the later one.
    // pointeroffset gives the pointer's offset from the window's centre and puts it back there.
    // showcursor and hidecursor count: the pointer is seen while shows are not fewer than hides.
    bool (*nextevent)(PlatformEvent* out);
    void (*readkeys)(u8 keys[PLATFORM_KEYS]);
    void (*pointeroffset)(i32* dx, i32* dy);
    void (*showcursor)();
    void (*hidecursor)();

    // The window's place. windowrect is the whole window with its frame.
    PlatformRect (*windowrect)();
    void (*minimise)();
    bool (*isminimised)();
    void (*placeontop)();

    // Drawing. swap shows the back buffer. glproc finds a GL function, null if the driver lacks it.
    void (*swap)();
    void* (*glproc)(const char* symbol);
};

extern const Platform platform_sdl;   // where there is no Windows
extern const Platform platform_win32; // on Windows
extern const Platform platform_scripted;

/// The back end of this system's desktop.
extern const Platform* const platform_desktop;

/// The back end in use. Set by platform_use, before anything else of the graphics side runs.
extern const Platform* platform;

/// Makes a back end the one in use, and its clock that of timer_now.
void platform_use(const Platform* backend);
