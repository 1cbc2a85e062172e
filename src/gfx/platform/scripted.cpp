#include "gfx/platform/scripted.h"

#include "base/growarray.h"
#include "base/str.h"
#include "gfx/platform/scripted_canvas.h"
#include "gfx/platform/signals.h"

#include <cstring>

enum { FRAME_SIDE = 4, FRAME_CAPTION = 24, MAXSIDE = 16384 };

static const f64 default_step = 1.0 / 60.0;
static const f64 further_reading = 0.001;

ScriptedCounts scripted_counts;

// The script and what it runs on. Written by the scripted_... routines.
static GrowArray script; // ScriptedAction, by frame
static PlatformRect claimed[PLATFORM_MAXDISPLAYS];
static i32 nclaimed;
static f64 step = default_step;
static void (*atswap)(i32 frame);

// Where the script stands. Written by nextevent, cleared by scripted_reset.
static f64 now;
static i32 frame;      // pumps begun
static u32 nextaction; // index in script
static bool pumping;   // nextevent has not answered false yet
static bool inframe;   // between a pump and the swap
static i32 readings;   // of the clock in this frame
static bool opened;    // the opening pointer event has been delivered

// Input as it stands. Written by nextevent.
static u8 keys[PLATFORM_KEYS];   // held
static u8 tapped[PLATFORM_KEYS]; // gone down in this frame
static u32 buttons;
static i32 cursorx, cursory; // desktop pixels
static bool cursorset;       // otherwise in the middle of the first display
static i32 offsetx, offsety; // from the window's centre, until read
static bool minimised;

// The window. Written by openwindow and nextevent.
static i32 windowx, windowy, clientwidth, clientheight;
static bool framed;

static ScriptedAction* action(u32 index)
{
    return items<ScriptedAction>(&script) + index;
}

static void firstuse()
{
    if (script.buf == nullptr) {
        GrowArray_init(&script, sizeof(ScriptedAction));
    }
}

void scripted_reset()
{
    firstuse();
    GrowArray_clear(&script);
    nclaimed = 0;
    step = default_step;
    atswap = nullptr;
    now = 0;
    frame = 0;
    nextaction = 0;
    pumping = false;
    inframe = false;
    opened = false;
    std::memset(keys, 0, sizeof keys);
    std::memset(tapped, 0, sizeof tapped);
    buttons = 0;
    cursorset = false;
    offsetx = 0;
    offsety = 0;
    minimised = false;
    scripted_counts = {};
}

void scripted_add(ScriptedAction added)
{
    firstuse();
    GrowArray_push(&script, &added);
    // the new last action sinks to its place behind those of its frame
    u32 place = script.count - 1;
    for (; place > nextaction && action(place - 1)->frame > added.frame; place--) {
        *action(place) = *action(place - 1);
    }
    *action(place) = added;
}

void scripted_display(PlatformRect rect)
{
    if (nclaimed < PLATFORM_MAXDISPLAYS) {
        claimed[nclaimed++] = rect;
    }
}

void scripted_cursor(i32 x, i32 y)
{
    cursorx = x;
    cursory = y;
    cursorset = true;
}

void scripted_step(f64 seconds)
{
    step = seconds;
}

void scripted_atswap(void (*hook)(i32 frame))
{
    atswap = hook;
}

struct KeyName {
    const char* name;
    i32 key;
};

static const KeyName keynames[] = {
    {"Up", 0x26},   {"Down", 0x28}, {"Left", 0x25}, {"Right", 0x27}, {"Shift", 0x10},
    {"Ctrl", 0x11}, {"Alt", 0x12},  {"Tab", 0x09},  {"Space", 0x20}, {"Escape", 0x1B},
    {"F1", 0x70},   {"F2", 0x71},   {"F3", 0x72},   {"F4", 0x73},    {"F5", 0x74},
    {"F6", 0x75},   {"F7", 0x76},   {"F8", 0x77},   {"F9", 0x78},    {"F10", 0x79},
    {"F11", 0x7A},  {"F12", 0x7B},
};

static i32 charactervirtualkey(char c)
{
    if (c >= 'a' && c <= 'z') {
        return c - 'a' + 'A';
    }
    const bool named = (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    return named ? c : 0;
}

i32 virtualkey(const char* name)
{
    if (name[0] != 0 && name[1] == 0) {
        return charactervirtualkey(name[0]);
    }
    for (const KeyName& entry : keynames) {
        if (str_same_folded(name, entry.name)) {
            return entry.key;
        }
    }
    return 0;
}

static i32 displays(PlatformRect* out, i32 max)
{
    if (nclaimed == 0) {
        scripted_display({.left = 0, .top = 0, .right = 1920, .bottom = 1080});
    }
    const i32 n = nclaimed < max ? nclaimed : max;
    for (i32 i = n - 1; i >= 0; i--) {
        out[i] = claimed[i];
    }
    return n;
}

static PlatformRect primary()
{
    PlatformRect first = {};
    displays(&first, 1);
    return {
        .left = 0, .top = 0, .right = first.right - first.left, .bottom = first.bottom - first.top};
}

static PlatformRect desktop()
{
    PlatformRect all[PLATFORM_MAXDISPLAYS] = {};
    const i32 n = displays(all, PLATFORM_MAXDISPLAYS);
    PlatformRect sum = all[0];
    for (i32 i = n - 1; i >= 1; i--) {
        PlatformRect_include(&sum, &all[i]);
    }
    return sum;
}

static void framesize(i32* side, i32* caption)
{
    *side = FRAME_SIDE;
    *caption = FRAME_CAPTION;
}

static void cursor(i32* x, i32* y)
{
    if (!cursorset) {
        PlatformRect first = {};
        displays(&first, 1);
        scripted_cursor((first.left + first.right) / 2, (first.top + first.bottom) / 2);
    }
    *x = cursorx;
    *y = cursory;
}

i32 canvas_suitability(const CanvasFormat* format)
{
    const bool colours = format->red == 8 && format->green == 8 && format->blue == 8;
    if (!colours || format->depth < 16 || format->depth > 32 || format->samples > 1) {
        return 0;
    }
    const i32 noalpha = format->alpha == 0 ? 200 : 0;
    const i32 nostencil = format->stencil == 0 ? 100 : 0;
    return noalpha + nostencil + format->depth;
}

static void closewindow()
{
    canvas_close();
    pumping = false;
    inframe = false;
}

// Drivers promise a surface of any size and fail when it is drawn to, so larger ones than any of them
// draws to are refused here.
static bool toolarge(i32 width, i32 height)
{
    return width > MAXSIDE || height > MAXSIDE;
}

// A surface has at least one pixel, whatever the client size.
static i32 pixels(i32 side)
{
    return side < 1 ? 1 : side;
}

static PlatformOpen openwindow(const WindowRequest* want)
{
    scripted_counts.request = *want;
    const PlatformOpen result = toolarge(want->width, want->height)
                                    ? PLATFORM_NO_WINDOW
                                    : canvas_open(pixels(want->width), pixels(want->height));
    if (result != PLATFORM_OPEN) {
        return result;
    }
    windowx = want->x;
    windowy = want->y;
    clientwidth = want->width;
    clientheight = want->height;
    framed = want->framed;
    minimised = false;
    return PLATFORM_OPEN;
}

// False if there is no surface of that size; the old one stays then.
static bool resize(i32 width, i32 height)
{
    if (toolarge(width, height) || !canvas_resize(pixels(width), pixels(height))) {
        return false;
    }
    clientwidth = width;
    clientheight = height;
    return true;
}

static bool setmode(i32 width, i32 height)
{
    scripted_counts.modechanges++;
    scripted_counts.modewidth = width;
    scripted_counts.modeheight = height;
    return true;
}

static void restoremode()
{
    scripted_counts.moderestores++;
}

static PlatformRect windowrect()
{
    const i32 side = framed ? FRAME_SIDE : 0;
    const i32 caption = framed ? FRAME_CAPTION : 0;
    return {.left = windowx,
            .top = windowy,
            .right = windowx + clientwidth + 2 * side,
            .bottom = windowy + clientheight + 2 * side + caption};
}

static void minimise()
{
    scripted_counts.minimises++;
    minimised = true;
}

static bool isminimised()
{
    return minimised;
}

static void placeontop()
{
    scripted_counts.placedontop++;
}

// The pointer as it stands, in client pixels.
static void pointerevent(PlatformEvent* out)
{
    const i32 side = framed ? FRAME_SIDE : 0;
    const i32 caption = framed ? FRAME_CAPTION : 0;
    i32 x = 0;
    i32 y = 0;
    cursor(&x, &y);
    *out = {.kind = EVENT_POINTER,
            .x = x - windowx - side,
            .y = y - windowy - side - caption,
            .buttons = buttons};
}

static void beginpump()
{
    pumping = true;
    inframe = true;
    readings = 0;
    frame++;
    now += step;
    offsetx = 0;
    offsety = 0;
    std::memset(tapped, 0, sizeof tapped);
}

static bool ismouse(ScriptedKind kind)
{
    return kind == SCRIPT_MOUSE || kind == SCRIPT_BUTTON_DOWN || kind == SCRIPT_BUTTON_UP;
}

static void movemouse(const ScriptedAction* done)
{
    const PlatformRect rect = windowrect();
    offsetx += done->a;
    offsety += done->b;
    scripted_cursor((rect.left + rect.right) / 2 + offsetx, (rect.top + rect.bottom) / 2 + offsety);
}

static void presskey(const ScriptedAction* done)
{
    const u8 key = static_cast<u8>(done->a);
    switch (done->kind) {
    case SCRIPT_KEY_DOWN:
        keys[key] = 0x80;
        tapped[key] = 0x80;
        return;
    case SCRIPT_KEY_UP: keys[key] = 0; return;
    default: tapped[key] = 0x80; return;
    }
}

// Carries an action out. True if it is told as the event `out`.
static bool carryout(const ScriptedAction* done, PlatformEvent* out)
{
    switch (done->kind) {
    case SCRIPT_KEY_DOWN:
    case SCRIPT_KEY_UP:
    case SCRIPT_KEY_PRESS: presskey(done); return false;
    case SCRIPT_BUTTON_DOWN: buttons |= static_cast<u32>(done->a); break;
    case SCRIPT_BUTTON_UP: buttons &= ~static_cast<u32>(done->a); break;
    case SCRIPT_MOUSE: movemouse(done); break;
    case SCRIPT_WHEEL: *out = {.kind = EVENT_WHEEL, .wheel = done->a}; return true;
    case SCRIPT_RESIZE:
        *out = {.kind = EVENT_SIZE, .x = done->a, .y = done->b};
        return resize(done->a, done->b);
    case SCRIPT_MOVE:
        windowx = done->a;
        windowy = done->b;
        return false;
    case SCRIPT_MINIMISE: minimised = true; return false;
    case SCRIPT_RESTORE: minimised = false; return false;
    case SCRIPT_TYPE:
        *out = {.kind = EVENT_CHARACTER, .character = static_cast<u32>(done->a)};
        return true;
    case SCRIPT_CLOSE: *out = {.kind = EVENT_CLOSE}; return true;
    }
    if (ismouse(done->kind)) {
        pointerevent(out);
        return true;
    }
    return false;
}

static bool nextevent(PlatformEvent* out)
{
    firstuse();
    if (!pumping) {
        beginpump();
    }
    if (!opened) {
        opened = true;
        pointerevent(out);
        out->buttons = 0;
        return true;
    }
    if (signals_closewanted()) {
        *out = {.kind = EVENT_CLOSE};
        return true;
    }
    while (nextaction < script.count && action(nextaction)->frame <= frame) {
        const ScriptedAction done = *action(nextaction);
        nextaction++;
        if (carryout(&done, out)) {
            return true;
        }
    }
    pumping = false;
    return false;
}

static void readkeys(u8 out[PLATFORM_KEYS])
{
    for (i32 i = PLATFORM_KEYS - 1; i >= 0; i--) {
        out[i] = keys[i] | tapped[i];
    }
}

static void pointeroffset(i32* dx, i32* dy)
{
    const PlatformRect rect = windowrect();
    *dx = offsetx;
    *dy = offsety;
    offsetx = 0;
    offsety = 0;
    scripted_cursor((rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2);
}

static void showcursor()
{
    scripted_counts.cursorshown++;
}

static void hidecursor()
{
    scripted_counts.cursorshown--;
}

static f64 seconds()
{
    if (!inframe) {
        return now;
    }
    return now + further_reading * readings++;
}

static const char* ended()
{
    return nullptr; // there is no display that could
}

static void swap()
{
    scripted_counts.swaps++;
    inframe = false;
    if (atswap != nullptr) {
        atswap(frame);
    }
    canvas_swap();
}

const Platform platform_scripted = {
    .name = "scripted",
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
    .glproc = canvas_proc,
};
