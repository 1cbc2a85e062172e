#include "gfx/gfx_opengl.h"

#include "base/clock.h"
#include "base/growarray.h"
#include "base/report.h"
#include "gfx/gl/shaderprocs.h"
#include "gfx/projection.h"
#include "gfx/textures.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <cstring>

const Platform* platform;

i32 gfx_width, gfx_height;
bool windowed;
i32 fullscreen_x, fullscreen_y;
u8 key_now[512], key_before[512];
u32 mouse_buttons, mouse_buttons_before;
i32 mouse_x, mouse_y;
i32 gfx_quit;
i32 minimising;
i32 buttons_ignored = 1;
char typed_text[500];
bool gfx_alive;

enum {
    HELD_BUTTONS = MOUSE_LEFT | MOUSE_RIGHT | MOUSE_MIDDLE,
    WHEEL_BITS = MOUSE_WHEEL_FORWARD | MOUSE_WHEEL_BACK,
    TYPED_MAX = 498, // a text of this length takes one more character
};

void platform_use(const Platform* backend)
{
    platform = backend;
    timer_now = backend->seconds;
}

void PlatformRect_include(PlatformRect* sum, const PlatformRect* rect)
{
    sum->left = rect->left < sum->left ? rect->left : sum->left;
    sum->top = rect->top < sum->top ? rect->top : sum->top;
    sum->right = rect->right > sum->right ? rect->right : sum->right;
    sum->bottom = rect->bottom > sum->bottom ? rect->bottom : sum->bottom;
}

static PlatformRect union_start()
{
    return {.left = 999999999, .top = 999999999, .right = -999999999, .bottom = -999999999};
}

static PlatformRect maskrect(u32 mask)
{
    PlatformRect displays[PLATFORM_MAXDISPLAYS];
    PlatformRect sum = union_start();
    for (i32 i = platform->displays(displays, PLATFORM_MAXDISPLAYS) - 1; i >= 0; i--) {
        if ((mask >> i & 1U) != 0) {
            PlatformRect_include(&sum, &displays[i]);
        }
    }
    return sum;
}

static PlatformRect displayrect(i32 number)
{
    PlatformRect displays[PLATFORM_MAXDISPLAYS];
    const i32 n = platform->displays(displays, PLATFORM_MAXDISPLAYS);
    if (n < 1) {
        return platform->primary();
    }
    return number >= 1 && number <= n ? displays[number - 1] : displays[0];
}

// The place and size that a request stands for, before the offset and the frame.
static PlatformRect requestrect(i32 width, i32 height)
{
    if (width > 0) {
        return {.left = 0, .top = 0, .right = width, .bottom = height};
    }
    if (width == -1) {
        return height < 1 ? platform->desktop() : maskrect(static_cast<u32>(height));
    }
    if (width < 0) {
        return {};
    }
    return height != 0 ? displayrect(height) : platform->primary();
}

static i32 clamped(i32 x, i32 low, i32 high)
{
    const i32 below = x < high ? x : high;
    return below > low ? below : low;
}

// The outer upper left corner: centred on the pointer, kept on the desktop.
static void placeframed(WindowRequest* want)
{
    i32 side = 0;
    i32 caption = 0;
    i32 x = 0;
    i32 y = 0;
    platform->framesize(&side, &caption);
    platform->cursor(&x, &y);
    const PlatformRect desk = platform->desktop();
    const i32 outerwidth = want->width + 2 * side;
    const i32 outerheight = want->height + 2 * side + caption;
    want->x = clamped(x - outerwidth / 2, desk.left, desk.right - outerwidth);
    want->y = clamped(y - outerheight / 2, desk.top, desk.bottom - outerheight);
}

static void placefullscreen(WindowRequest* want, const PlatformRect* rect)
{
    want->x = rect->left + fullscreen_x;
    want->y = rect->top + fullscreen_y;
}

// A request that names no display, or no positive size, yields a size of 0.
static void findsize(WindowRequest* want, const PlatformRect* rect, bool wholedisplay)
{
    want->width = rect->right - rect->left;
    want->height = rect->bottom - rect->top;
    if (windowed && wholedisplay) {
        want->height = static_cast<i32>(0.6 * want->height);
        want->width = 4 * want->height / 3;
    }
    if (want->width < 1 || want->height < 1) {
        want->width = 0;
        want->height = 0;
    }
}

// Fatal for a window that could not be opened.
static void tellfailure(PlatformOpen result)
{
    switch (result) {
    case PLATFORM_OPEN: return;
    case PLATFORM_NO_CLASS:
        report_inner("gfx_opengl", 588, REPORT_FATAL, "Failed To Register The Window Class.", 0);
        return;
    case PLATFORM_NO_WINDOW:
        report_inner("gfx_opengl", 593, REPORT_FATAL, "Window Creation Error.", 0);
        return;
    case PLATFORM_NO_FORMAT:
        report_inner("gfx_opengl", 619, REPORT_FATAL, "Can't Find A Suitable PixelFormat.", 0);
        return;
    case PLATFORM_FORMAT_UNSET:
        report_inner("gfx_opengl", 620, REPORT_FATAL, "Can't Set The PixelFormat.", 0);
        return;
    case PLATFORM_NO_CONTEXT:
        report_inner("gfx_opengl", 622, REPORT_FATAL, "Can't Create A GL Rendering Context.", 0);
        return;
    case PLATFORM_NOT_CURRENT:
        report_inner("gfx_opengl", 623, REPORT_FATAL, "Can't activate GLRC.", 0);
        return;
    }
}

// Drivers without seamless cube maps would leave an error behind.
static bool knowsseamless()
{
    return gl_version() >= 3.2F || gl_hasextension("GL_ARB_seamless_cube_map");
}

static void firststate()
{
    glClearColor(0.0F, 0.0F, 0.0F, 0.0F);
    glClearDepth(1.0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);
    glShadeModel(GL_SMOOTH);
    glEnable(GL_COLOR_MATERIAL);
    if (knowsseamless()) {
        glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    }
    gfx_resize(gfx_width, gfx_height);
    glLoadIdentity();
}

// What a window begins with, also when it isn't the first of the process.
static void clearinput()
{
    std::memset(key_now, 0, sizeof key_now);
    std::memset(key_before, 0, sizeof key_before);
    std::memset(typed_text, 0, sizeof typed_text);
    mouse_buttons = 0;
    mouse_buttons_before = 0;
    buttons_ignored = 1;
    minimising = 0;
    gfx_quit = 0;
}

static void enterfullscreen(bool explicitsize)
{
    if (explicitsize && fullscreen_x == 0 && fullscreen_y == 0) {
        platform->setmode(gfx_width, gfx_height);
    }
    platform->hidecursor();
}

i32 gfx_open(i32 width, i32 height, const char* title)
{
    WindowRequest want = {.title = title, .framed = windowed};
    const PlatformRect rect = requestrect(width, height);
    findsize(&want, &rect, width == 0);
    if (windowed) {
        placeframed(&want);
    } else {
        placefullscreen(&want, &rect);
    }
    gfx_width = want.width;
    gfx_height = want.height;
    if (gfx_width == 0 || gfx_height == 0) {
        return 0;
    }
    clearinput();
    const PlatformOpen result = platform->open(&want);
    if (result != PLATFORM_OPEN) {
        tellfailure(result);
        return 0;
    }
    gfx_alive = true;
    firststate();
    if (!windowed) {
        enterfullscreen(width > 0);
    }
    return 1;
}

void gfx_close()
{
    if (!gfx_alive) {
        return;
    }
    if (!windowed) {
        platform->restoremode();
    }
    gfx_alive = false;
    platform->close();
    gfx_quit = 1;
}

// Characters that Latin-1 lacks are left out.
static void type(u32 character)
{
    const size_t length = std::strlen(typed_text);
    if (length > TYPED_MAX || character == 0 || character > 255) {
        return;
    }
    typed_text[length] = static_cast<char>(character);
    typed_text[length + 1] = 0;
}

static void point(const PlatformEvent* event)
{
    mouse_x = event->x;
    mouse_y = event->y;
    const u32 held = event->buttons & HELD_BUTTONS;
    if (held == 0) {
        buttons_ignored = 0;
    } else if (buttons_ignored != 0) {
        return;
    }
    mouse_buttons = (mouse_buttons & WHEEL_BITS) | held;
}

// The frame has been cleared before the events come, and what a back buffer of a new size holds is
// anything at all, so it is cleared again.
static void takesize(i32 width, i32 height)
{
    gfx_resize(width, height);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

static void handle(const PlatformEvent* event)
{
    switch (event->kind) {
    case EVENT_CLOSE: gfx_close(); return;
    case EVENT_SIZE: takesize(event->x, event->y); return;
    case EVENT_CHARACTER: type(event->character); return;
    case EVENT_POINTER: point(event); return;
    case EVENT_WHEEL:
        mouse_buttons |= event->wheel < 1 ? MOUSE_WHEEL_BACK : MOUSE_WHEEL_FORWARD;
        return;
    }
}

static bool isdown(i32 key)
{
    return (key_now[key] & 0x80) != 0;
}

// The topmost window would cover the one that Alt+Tab brings up, so it gets out of the way.
static void minimiseonswitch()
{
    if (isdown(KEY_ALT) && isdown(KEY_TAB)) {
        minimising = 1;
        platform->minimise();
    } else if (minimising != 0) {
        platform->minimise();
    }
}

i32 gfx_pump()
{
    mouse_buttons_before = mouse_buttons;
    mouse_buttons &= ~static_cast<u32>(WHEEL_BITS);
    PlatformEvent event = {};
    while (gfx_alive && platform->nextevent(&event)) {
        handle(&event);
    }
    if (!gfx_alive) {
        return gfx_quit;
    }
    if (platform->isminimised()) {
        minimising = 0;
        return gfx_quit;
    }
    if (minimising == 0 && !windowed) {
        platform->placeontop();
    }
    std::memcpy(key_before, key_now, sizeof key_before);
    platform->readkeys(key_now);
    minimiseonswitch();
    return gfx_quit;
}

void gfx_mouse_delta(i32* dx, i32* dy)
{
    i32 x = 0;
    i32 y = 0;
    if (gfx_alive) {
        platform->pointeroffset(&x, &y);
    }
    if (dx != nullptr) {
        *dx = x;
    }
    if (dy != nullptr) {
        *dy = y;
    }
}

bool key_held(i32 key)
{
    return isdown(key);
}

bool key_pressed(i32 key)
{
    return (~key_before[key] & key_now[key] & 0x80) != 0;
}
