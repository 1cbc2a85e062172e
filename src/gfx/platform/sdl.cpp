// The desktop back end: a window, its context and its input by SDL2, on X11 or Wayland.
//
// X11 comes first where both are there: spanning displays and reading the pointer's offset need it.
// On Wayland a window can't be placed and the pointer can't be put anywhere, so a full screen is the
// compositor's and the mouse is read in relative mode. Text input is stopped, so EVENT_CHARACTER
// never comes from here.
#include "gfx/gfx_opengl.h"
#include "gfx/platform.h"
#include "gfx/platform/signals.h"

#include <SDL.h>

#include <chrono>
#include <cstdio>
#include <cstring>

enum { FRAME_SIDE = 4, FRAME_CAPTION = 24, MINIMISED_WAIT_MS = 10 };

// Written by reachdesktop, openwindow and closewindow.
static bool reached; // SDL's video side runs
static bool wayland;
static bool lost; // the display has ended by itself; set by onlost
static SDL_Window* window;
static SDL_GLContext context;
static bool modeset; // by setmode

// Input as it stands. Written by nextevent, readkeys, pointeroffset and the cursor's routines.
static u8 heldkeys[SDL_NUM_SCANCODES]; // by place: the virtual key that went down there, 0: none
static u8 tapped[PLATFORM_KEYS];       // gone down since the last reading
static u32 buttons;
static i32 toldwidth, toldheight; // the last client size that was delivered or asked for
static i32 relativex, relativey;  // movement since the last reading, on Wayland
static i32 pointerx, pointery;    // of the last pointer event or warp, desktop pixels
static i32 seenx, seeny;          // what SDL's global place was when it was last read or set
static bool pointeraway;          // another window had the keys when the offset was last asked for
static i32 cursorcount;           // shows less hides
static bool ontop;

// The X library calls exit when this returns.
static int onlost(void* /*display*/)
{
    lost = true;
    std::fprintf(stderr, "The window system says: the connection to the display is lost\n");
    return 0;
}

static const char* ended()
{
    return lost ? "The connection to the display is lost" : nullptr;
}

// The X library is SDL's, and so is found by its file name. Where it can't be found its own handler
// stays, and the reason for the end is not known.
static void watchdisplay()
{
    using Handler = int (*)(void* display);
    using Setter = Handler (*)(Handler handler);
    void* const library = SDL_LoadObject("libX11.so.6"); // never unloaded
    if (library != nullptr) {
        const auto set = reinterpret_cast<Setter>(SDL_LoadFunction(library, "XSetIOErrorHandler"));
        if (set != nullptr) {
            set(onlost);
        }
    }
}

// Starts SDL's video side when it is first needed. False without a window system.
static bool reachdesktop()
{
    if (reached) {
        return true;
    }
    SDL_SetHint(SDL_HINT_VIDEODRIVER, "x11,wayland"); // the environment's own choice wins
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "1");
    if (SDL_Init(SDL_INIT_VIDEO) != 0) {
        return false;
    }
    SDL_StopTextInput();
    SDL_EventState(SDL_DROPFILE, SDL_IGNORE); // a dropped file's name would have to be freed
    SDL_EventState(SDL_DROPTEXT, SDL_IGNORE);
    const char* driver = SDL_GetCurrentVideoDriver();
    wayland = driver != nullptr && std::strcmp(driver, "wayland") == 0;
    if (driver != nullptr && std::strcmp(driver, "x11") == 0) {
        watchdisplay();
    }
    reached = true;
    return true;
}

// Without a window system this stands for the desktop, so that a size is found and open tells what
// is missing.
static PlatformRect nodesktop()
{
    return {.left = 0, .top = 0, .right = 640, .bottom = 480};
}

static PlatformRect displayrect(i32 index)
{
    SDL_Rect rect = {};
    if (SDL_GetDisplayBounds(index, &rect) != 0) {
        return nodesktop();
    }
    return {.left = rect.x, .top = rect.y, .right = rect.x + rect.w, .bottom = rect.y + rect.h};
}

static i32 ndisplays()
{
    return reachdesktop() ? SDL_GetNumVideoDisplays() : 0;
}

static i32 displays(PlatformRect* out, i32 max)
{
    const i32 there = ndisplays();
    const i32 n = there < max ? there : max;
    for (i32 i = n - 1; i >= 0; i--) {
        out[i] = displayrect(i);
    }
    return n;
}

static PlatformRect desktop()
{
    const i32 n = ndisplays();
    PlatformRect sum = n > 0 ? displayrect(0) : nodesktop();
    for (i32 i = n - 1; i >= 1; i--) {
        const PlatformRect rect = displayrect(i);
        PlatformRect_include(&sum, &rect);
    }
    return sum;
}

static PlatformRect primary()
{
    const i32 n = ndisplays();
    PlatformRect found = n > 0 ? displayrect(0) : nodesktop();
    for (i32 i = n - 1; i >= 1; i--) {
        const PlatformRect rect = displayrect(i);
        if (rect.left == 0 && rect.top == 0) {
            found = rect;
        }
    }
    return {
        .left = 0, .top = 0, .right = found.right - found.left, .bottom = found.bottom - found.top};
}

static void framesize(i32* side, i32* caption)
{
    *side = FRAME_SIDE;
    *caption = FRAME_CAPTION;
}

static void cursor(i32* x, i32* y)
{
    *x = 0;
    *y = 0;
    if (reachdesktop()) {
        SDL_GetGlobalMouseState(x, y);
    }
}

static u32 windowflags(const WindowRequest* want)
{
    u32 flags = SDL_WINDOW_OPENGL | SDL_WINDOW_ALLOW_HIGHDPI;
    if (want->framed) {
        flags |= SDL_WINDOW_RESIZABLE;
    } else {
        flags |= wayland ? SDL_WINDOW_FULLSCREEN_DESKTOP : SDL_WINDOW_BORDERLESS;
    }
    return flags;
}

static SDL_Window* makewindow(const WindowRequest* want, u32 flags)
{
    const i32 side = want->framed ? FRAME_SIDE : 0;
    const i32 caption = want->framed ? FRAME_CAPTION : 0;
    return SDL_CreateWindow(want->title, want->x + side, want->y + side + caption, want->width,
                            want->height, flags);
}

static void askformat(i32 depth)
{
    SDL_GL_SetAttribute(SDL_GL_RED_SIZE, 8);
    SDL_GL_SetAttribute(SDL_GL_GREEN_SIZE, 8);
    SDL_GL_SetAttribute(SDL_GL_BLUE_SIZE, 8);
    SDL_GL_SetAttribute(SDL_GL_ALPHA_SIZE, 0);
    SDL_GL_SetAttribute(SDL_GL_STENCIL_SIZE, 0);
    SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 1);
    SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, depth);
}

// The window with the deepest depth buffer that there is.
static PlatformOpen openformat(const WindowRequest* want)
{
    const u32 flags = windowflags(want);
    for (i32 depth = 32; depth >= 16; depth -= 8) {
        askformat(depth);
        window = makewindow(want, flags);
        if (window != nullptr) {
            return PLATFORM_OPEN;
        }
    }
    SDL_Window* plain = makewindow(want, SDL_WINDOW_HIDDEN);
    if (plain == nullptr) {
        return PLATFORM_NO_WINDOW;
    }
    SDL_DestroyWindow(plain);
    return PLATFORM_NO_FORMAT;
}

static PlatformOpen openparts(const WindowRequest* want)
{
    if (!reachdesktop()) {
        return PLATFORM_NO_CLASS;
    }
    const PlatformOpen result = openformat(want);
    if (result != PLATFORM_OPEN) {
        return result;
    }
    context = SDL_GL_CreateContext(window);
    if (context == nullptr) {
        return PLATFORM_NO_CONTEXT;
    }
    return SDL_GL_MakeCurrent(window, context) == 0 ? PLATFORM_OPEN : PLATFORM_NOT_CURRENT;
}

static void closewindow()
{
    if (context != nullptr) {
        SDL_GL_MakeCurrent(window, nullptr);
        SDL_GL_DeleteContext(context);
    }
    if (window != nullptr) {
        SDL_DestroyWindow(window);
    }
    if (reached) {
        SDL_QuitSubSystem(SDL_INIT_VIDEO);
    }
    context = nullptr;
    window = nullptr;
    reached = false;
}

static void clearinput()
{
    std::memset(heldkeys, 0, sizeof heldkeys);
    std::memset(tapped, 0, sizeof tapped);
    buttons = 0;
    relativex = 0;
    relativey = 0;
    SDL_GetGlobalMouseState(&seenx, &seeny);
    pointerx = seenx;
    pointery = seeny;
    pointeraway = false;
    cursorcount = 0;
    ontop = false;
    modeset = false;
}

static PlatformOpen openwindow(const WindowRequest* want)
{
    const PlatformOpen result = openparts(want);
    if (result != PLATFORM_OPEN) {
        std::fprintf(stderr, "The window system says: %s\n", SDL_GetError());
        closewindow();
        return result;
    }
    SDL_GL_SetSwapInterval(1); // a driver that can't is let be
    clearinput();
    toldwidth = want->width;
    toldheight = want->height;
    return PLATFORM_OPEN;
}

static bool setmode(i32 width, i32 height)
{
    SDL_DisplayMode wanted = {};
    wanted.w = width;
    wanted.h = height;
    SDL_DisplayMode mode = {};
    const i32 display = SDL_GetWindowDisplayIndex(window);
    if (display < 0 || SDL_GetClosestDisplayMode(display, &wanted, &mode) == nullptr ||
        mode.w != width || mode.h != height) {
        return false;
    }
    modeset = SDL_SetWindowDisplayMode(window, &mode) == 0 &&
              SDL_SetWindowFullscreen(window, SDL_WINDOW_FULLSCREEN) == 0;
    return modeset;
}

static void restoremode()
{
    if (modeset && window != nullptr) {
        SDL_SetWindowFullscreen(window, 0);
    }
    modeset = false;
}

struct PlacedKey {
    SDL_Scancode place;
    i32 key;
};

static const PlacedKey placedkeys[] = {
    {SDL_SCANCODE_UP, KEY_UP},
    {SDL_SCANCODE_DOWN, KEY_DOWN},
    {SDL_SCANCODE_LEFT, KEY_LEFT},
    {SDL_SCANCODE_RIGHT, KEY_RIGHT},
    {SDL_SCANCODE_LSHIFT, KEY_SHIFT},
    {SDL_SCANCODE_RSHIFT, KEY_SHIFT},
    {SDL_SCANCODE_LCTRL, KEY_CTRL},
    {SDL_SCANCODE_RCTRL, KEY_CTRL},
    {SDL_SCANCODE_LALT, KEY_ALT},
    {SDL_SCANCODE_RALT, KEY_ALT},
    {SDL_SCANCODE_TAB, KEY_TAB},
    {SDL_SCANCODE_SPACE, KEY_SPACE},
    {SDL_SCANCODE_0, '0'},
    {SDL_SCANCODE_ESCAPE, KEY_ESCAPE},
};

// Keys that are known by their place on the keyboard, whatever they type; 0 for others.
static i32 keybyplace(SDL_Scancode place)
{
    if (place >= SDL_SCANCODE_1 && place <= SDL_SCANCODE_9) {
        return '1' + (place - SDL_SCANCODE_1);
    }
    if (place >= SDL_SCANCODE_F1 && place <= SDL_SCANCODE_F12) {
        return KEY_F1 + (place - SDL_SCANCODE_F1);
    }
    for (const PlacedKey& entry : placedkeys) {
        if (entry.place == place) {
            return entry.key;
        }
    }
    return 0;
}

// Letters by what the key types. Where the layout has a letter on no key at all, as one for another
// script, the key at its place stands for it.
static i32 letter(const SDL_Keysym* sym)
{
    if (sym->sym >= SDLK_a && sym->sym <= SDLK_z) {
        return 'A' + (sym->sym - SDLK_a);
    }
    if (sym->scancode < SDL_SCANCODE_A || sym->scancode > SDL_SCANCODE_Z) {
        return 0;
    }
    const i32 index = sym->scancode - SDL_SCANCODE_A;
    const bool typed = SDL_GetScancodeFromKey(SDLK_a + index) != SDL_SCANCODE_UNKNOWN;
    return typed ? 0 : 'A' + index;
}

static i32 virtualkeyof(const SDL_Keysym* sym)
{
    const i32 placed = keybyplace(sym->scancode);
    return placed != 0 ? placed : letter(sym);
}

static void keyevent(const SDL_KeyboardEvent* event)
{
    const SDL_Scancode place = event->keysym.scancode;
    if (place < 0 || place >= SDL_NUM_SCANCODES) {
        return;
    }
    if (event->state != SDL_PRESSED) {
        heldkeys[place] = 0;
        return;
    }
    const u8 key = static_cast<u8>(virtualkeyof(&event->keysym));
    if (event->repeat == 0 && key != 0) {
        heldkeys[place] = key;
        tapped[key] = 0x80;
    }
}

static void readkeys(u8 keys[PLATFORM_KEYS])
{
    std::memcpy(keys, tapped, sizeof tapped);
    std::memset(tapped, 0, sizeof tapped);
    for (i32 place = SDL_NUM_SCANCODES - 1; place >= 0; place--) {
        if (heldkeys[place] != 0) {
            keys[heldkeys[place]] = 0x80;
        }
    }
}

static u32 buttonbit(u32 button)
{
    switch (button) {
    case SDL_BUTTON_LEFT: return MOUSE_LEFT;
    case SDL_BUTTON_RIGHT: return MOUSE_RIGHT;
    case SDL_BUTTON_MIDDLE: return MOUSE_MIDDLE;
    default: return 0;
    }
}

static u32 buttonsof(u32 state)
{
    return ((state & SDL_BUTTON_LMASK) != 0 ? static_cast<u32>(MOUSE_LEFT) : 0) |
           ((state & SDL_BUTTON_RMASK) != 0 ? static_cast<u32>(MOUSE_RIGHT) : 0) |
           ((state & SDL_BUTTON_MMASK) != 0 ? static_cast<u32>(MOUSE_MIDDLE) : 0);
}

// The pointer at a place of the window, taken to pixels of the drawable.
static bool pointerevent(i32 x, i32 y, PlatformEvent* out)
{
    i32 width = 0;
    i32 height = 0;
    i32 pixelwidth = 0;
    i32 pixelheight = 0;
    SDL_GetWindowSize(window, &width, &height);
    SDL_GL_GetDrawableSize(window, &pixelwidth, &pixelheight);
    SDL_GetWindowPosition(window, &pointerx, &pointery);
    pointerx += x;
    pointery += y;
    *out = {.kind = EVENT_POINTER,
            .x = width > 0 ? x * pixelwidth / width : x,
            .y = height > 0 ? y * pixelheight / height : y,
            .buttons = buttons};
    return true;
}

static bool motionevent(const SDL_MouseMotionEvent* event, PlatformEvent* out)
{
    buttons = buttonsof(event->state);
    if (SDL_GetRelativeMouseMode() == SDL_TRUE) {
        relativex += event->xrel;
        relativey += event->yrel;
    }
    return pointerevent(event->x, event->y, out);
}

static bool buttonevent(const SDL_MouseButtonEvent* event, PlatformEvent* out)
{
    const u32 bit = buttonbit(event->button);
    if (bit == 0) {
        return false;
    }
    if (event->state == SDL_PRESSED) {
        buttons |= bit;
    } else {
        buttons &= ~bit;
    }
    return pointerevent(event->x, event->y, out);
}

static bool wheelevent(const SDL_MouseWheelEvent* event, PlatformEvent* out)
{
    const i32 wheel = event->direction == SDL_MOUSEWHEEL_FLIPPED ? -event->y : event->y;
    *out = {.kind = EVENT_WHEEL, .wheel = wheel};
    return wheel != 0; // otherwise sideways
}

// The client size, if it isn't the one last told.
static bool sizeevent(PlatformEvent* out)
{
    i32 width = 0;
    i32 height = 0;
    SDL_GL_GetDrawableSize(window, &width, &height);
    if (width == toldwidth && height == toldheight) {
        return false;
    }
    toldwidth = width;
    toldheight = height;
    *out = {.kind = EVENT_SIZE, .x = width, .y = height};
    return true;
}

// A window that stays on top would cover the one that the user has gone to.
static void losefocus()
{
    std::memset(heldkeys, 0, sizeof heldkeys);
    if (ontop) {
        SDL_SetWindowAlwaysOnTop(window, SDL_FALSE);
        ontop = false;
    }
}

static bool focused()
{
    return (SDL_GetWindowFlags(window) & SDL_WINDOW_INPUT_FOCUS) != 0;
}

static bool windowevent(const SDL_WindowEvent* event, PlatformEvent* out)
{
    switch (event->event) {
    case SDL_WINDOWEVENT_CLOSE: *out = {.kind = EVENT_CLOSE}; return true;
    case SDL_WINDOWEVENT_FOCUS_LOST: losefocus(); return false;
    default: return false;
    }
}

// Takes an event of SDL's. True if it is told as the event `out`.
static bool take(const SDL_Event* event, PlatformEvent* out)
{
    switch (event->type) {
    case SDL_QUIT: *out = {.kind = EVENT_CLOSE}; return true;
    case SDL_WINDOWEVENT: return windowevent(&event->window, out);
    case SDL_KEYDOWN:
    case SDL_KEYUP: keyevent(&event->key); return false;
    case SDL_MOUSEMOTION: return motionevent(&event->motion, out);
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP: return buttonevent(&event->button, out);
    case SDL_MOUSEWHEEL: return wheelevent(&event->wheel, out);
    default: return false;
    }
}

static bool nextevent(PlatformEvent* out)
{
    if (signals_closewanted()) {
        *out = {.kind = EVENT_CLOSE};
        return true;
    }
    SDL_Event event;
    while (SDL_PollEvent(&event) != 0) {
        if (take(&event, out)) {
            return true;
        }
    }
    return sizeevent(out);
}

// Wayland tells nobody where a window is: its upper left corner is taken to be the desktop's.
static PlatformRect windowrect()
{
    i32 x = 0;
    i32 y = 0;
    i32 width = 0;
    i32 height = 0;
    i32 top = 0;
    i32 left = 0;
    i32 bottom = 0;
    i32 right = 0;
    if (!wayland) {
        SDL_GetWindowPosition(window, &x, &y);
    }
    SDL_GetWindowSize(window, &width, &height);
    SDL_GetWindowBordersSize(window, &top, &left, &bottom, &right);
    return {.left = x - left,
            .top = y - top,
            .right = x + width + right,
            .bottom = y + height + bottom};
}

// On X11. SDL's own record of the pointer misses moves that other programs make; where it hasn't
// changed, the last event tells more.
static void pointerplace(i32* x, i32* y)
{
    SDL_GetGlobalMouseState(x, y);
    const bool unchanged = *x == seenx && *y == seeny;
    seenx = *x;
    seeny = *y;
    if (unchanged) {
        *x = pointerx;
        *y = pointery;
    }
}

// A pointer that seems to be in the centre is let be: it may have moved since the last events, and a
// warp would undo that unseen. What a warp sends back as an event is the place that is noted here.
static void recentre(i32 x, i32 y)
{
    SDL_WarpMouseGlobal(x, y);
    pointerx = x;
    pointery = y;
    seenx = x;
    seeny = y;
}

static void centreoffset(i32* dx, i32* dy)
{
    const PlatformRect rect = windowrect();
    const i32 centrex = (rect.left + rect.right) / 2;
    const i32 centrey = (rect.top + rect.bottom) / 2;
    i32 x = 0;
    i32 y = 0;
    pointerplace(&x, &y);
    *dx = x - centrex;
    *dy = y - centrey;
    if (*dx != 0 || *dy != 0) {
        recentre(centrex, centrey);
    }
}

static void relativeoffset(i32* dx, i32* dy)
{
    *dx = relativex;
    *dy = relativey;
    relativex = 0;
    relativey = 0;
}

// While another window has the keys the pointer is the user's, and a warp would hold it fast. What it
// did meanwhile is no movement of ours.
static void pointeroffset(i32* dx, i32* dy)
{
    const bool ours = focused();
    if (ours && wayland) {
        relativeoffset(dx, dy);
    } else if (ours) {
        centreoffset(dx, dy);
    }
    if (!ours || pointeraway) {
        *dx = 0;
        *dy = 0;
    }
    pointeraway = !ours;
}

static void countcursor(i32 step)
{
    cursorcount += step;
    const bool seen = cursorcount >= 0;
    SDL_ShowCursor(seen ? SDL_ENABLE : SDL_DISABLE);
    if (wayland && (SDL_GetRelativeMouseMode() == SDL_TRUE) == seen) {
        SDL_SetRelativeMouseMode(seen ? SDL_FALSE : SDL_TRUE);
        relativex = 0;
        relativey = 0;
    }
}

static void showcursor()
{
    countcursor(1);
}

static void hidecursor()
{
    countcursor(-1);
}

static bool isminimised()
{
    return (SDL_GetWindowFlags(window) & SDL_WINDOW_MINIMIZED) != 0;
}

static void minimise()
{
    SDL_MinimizeWindow(window);
}

static void placeontop()
{
    if (!ontop && focused() && !wayland) {
        SDL_SetWindowAlwaysOnTop(window, SDL_TRUE);
        ontop = true;
    }
}

static f64 seconds()
{
    using duration = std::chrono::duration<f64>;
    return duration(std::chrono::steady_clock::now().time_since_epoch()).count();
}

static void swap()
{
    if (isminimised()) {
        SDL_Delay(MINIMISED_WAIT_MS);
        return;
    }
    SDL_GL_SwapWindow(window);
}

static void* glproc(const char* symbol)
{
    return SDL_GL_GetProcAddress(symbol);
}

const Platform platform_sdl = {
    .name = "sdl",
    .seconds = seconds,
    .takesignals = signals_install,
    .ended = ended,
    .displays = displays,
    .desktop = desktop,
    .primary = primary,
    .framesize = framesize,
    .cursor = cursor,
    .open = openwindow,
    .close = closewindow,
    .setmode = setmode,
    .restoremode = restoremode,
    .nextevent = nextevent,
    .readkeys = readkeys,
    .pointeroffset = pointeroffset,
    .showcursor = showcursor,
    .hidecursor = hidecursor,
    .windowrect = windowrect,
    .minimise = minimise,
    .isminimised = isminimised,
    .placeontop = placeontop,
    .swap = swap,
    .glproc = glproc,
};

const Platform* const platform_desktop = &platform_sdl;
