// The back end of Windows, by the system's own window and input services and WGL.
//
// Texts are UTF-8 on our side and UTF-16 on the system's. The process is made aware of the display's
// resolution before it asks anything, so that all sizes are pixels. The window procedure queues events,
// which nextevent delivers. It runs within nextevent, and wherever the window is made, changed or ended.
#include "gfx/gfx_opengl.h"
#include "gfx/platform.h"
#include "gfx/platform/signals.h"
#include "gfx/platform/wgl.h"

#include <windowsx.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <imm.h>

static const wchar_t classname[] = L"OpenGL WinClass";

static const DWORD style_class = 0x23;            // drawn anew in any new size, own device context
static const DWORD style_framed = 0x160F0000;     // the system adds the caption by itself
static const DWORD style_fullscreen = 0x96000000; // no frame

enum {
    MAXQUEUED = 64,
    MAXSIDE = 32767, // of a window with its frame
    MAXTITLE = 256,
    MINIMISED_WAIT_MS = 10,
    MODE_FIELDS = 0x180000,                                 // width and height only
    HELD_BUTTONS = MOUSE_LEFT | MOUSE_RIGHT | MOUSE_MIDDLE, // the system's bits are the same
};

// Written by openwindow and closewindow.
static HWND window;
static HDC device;
static HGLRC context;

static bool aware;        // of the resolution; set by becomeaware
static bool modeset;      // by setmode and restoremode
static bool sessionended; // by endsession

// Input as it stands. Written by the window procedure, nextevent, readkeys, pointeroffset, placeontop and
// the cursor's routines.
static PlatformEvent queued[MAXQUEUED];
static i32 nqueued, nextqueued;
static u8 tapped[PLATFORM_KEYS];  // gone down since the last reading
static i32 toldwidth, toldheight; // the last client size that was delivered or asked for
static bool pointeraway;          // another window had the keys when the offset was last asked for
static i32 cursorcount;           // shows less hides
static bool ontop;                // above all ordinary windows
static bool givingway;            // no longer above them, but not yet behind the one with the keys

// A routine that some versions of the system lack.
template <typename T> static bool find(T* routine, const wchar_t* library, const char* name)
{
    HMODULE module = LoadLibraryW(library); // never unloaded
    *routine = nullptr;
    if (module != nullptr) {
        *routine = reinterpret_cast<T>(reinterpret_cast<void*>(GetProcAddress(module, name)));
    }
    return *routine != nullptr;
}

// Makes the sizes of the desktop and of windows pixels, also on displays of different resolutions
// where the system knows such.
static void becomeaware()
{
    if (aware) {
        return;
    }
    aware = true;
    using ByContext = BOOL(WINAPI*)(HANDLE kind);
    using ByProcess = BOOL(WINAPI*)();
    HANDLE each_display = reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-4));
    ByContext bycontext;
    ByProcess byprocess;
    if (find(&bycontext, L"user32.dll", "SetProcessDpiAwarenessContext") &&
        bycontext(each_display) != 0) {
        return;
    }
    if (find(&byprocess, L"user32.dll", "SetProcessDPIAware")) {
        byprocess();
    }
}

static const char* ended()
{
    return sessionended ? "The session ends" : nullptr;
}

struct RectList {
    PlatformRect* rects; // lent
    i32 count, max;
};

static PlatformRect platformrect(const RECT* rect)
{
    return {.left = rect->left, .top = rect->top, .right = rect->right, .bottom = rect->bottom};
}

static BOOL CALLBACK adddisplay(HMONITOR /*display*/, HDC /*device*/, RECT* rect, LPARAM parameter)
{
    RectList* const list = reinterpret_cast<RectList*>(parameter);
    if (list->count < list->max) {
        list->rects[list->count] = platformrect(rect);
        list->count++;
    }
    return 1;
}

static i32 displays(PlatformRect* out, i32 max)
{
    becomeaware();
    RectList list = {.rects = out, .count = 0, .max = max};
    EnumDisplayMonitors(nullptr, nullptr, adddisplay, reinterpret_cast<LPARAM>(&list));
    return list.count;
}

static PlatformRect desktop()
{
    becomeaware();
    const i32 left = GetSystemMetrics(SM_XVIRTUALSCREEN);
    const i32 top = GetSystemMetrics(SM_YVIRTUALSCREEN);
    return {.left = left,
            .top = top,
            .right = left + GetSystemMetrics(SM_CXVIRTUALSCREEN),
            .bottom = top + GetSystemMetrics(SM_CYVIRTUALSCREEN)};
}

static PlatformRect primary()
{
    becomeaware();
    return {.left = 0,
            .top = 0,
            .right = GetSystemMetrics(SM_CXSCREEN),
            .bottom = GetSystemMetrics(SM_CYSCREEN)};
}

static DWORD windowstyle(bool framed)
{
    return framed ? style_framed : style_fullscreen;
}

// How far a frame reaches beyond the client area on each side; left and top are not above 0.
static RECT framerect(bool framed)
{
    RECT rect = {};
    if (framed) {
        AdjustWindowRectEx(&rect, style_framed | WS_CAPTION, FALSE, 0);
    }
    return rect;
}

static void framesize(i32* side, i32* caption)
{
    becomeaware();
    const RECT rect = framerect(true);
    *side = rect.right;
    *caption = -rect.top - rect.right;
}

static void cursor(i32* x, i32* y)
{
    becomeaware();
    POINT place = {};
    GetCursorPos(&place); // refused while the desktop is locked
    *x = place.x;
    *y = place.y;
}

// The window procedure

// One message queues one event, but while the user drags the frame none is taken out. A queue that is
// full loses its newest entry, and never a close.
static void queue(const PlatformEvent* event)
{
    const i32 at = nqueued < MAXQUEUED ? nqueued : MAXQUEUED - 1;
    if (at == nqueued || queued[at].kind != EVENT_CLOSE) {
        queued[at] = *event;
        nqueued = at + 1;
    }
}

static void queueclose()
{
    const PlatformEvent event = {.kind = EVENT_CLOSE};
    queue(&event);
}

// The system repeats a key that is held, with a bit that says so.
static void keydown(WPARAM key, LPARAM parameter)
{
    const bool repeated = (parameter & 1 << 30) != 0;
    if (!repeated && key < PLATFORM_KEYS) {
        tapped[key] = 0x80;
    }
}

// While a button is held the window gets the pointer's messages wherever it is, so that the release is
// seen.
static void pointer(WPARAM flags, LPARAM place)
{
    const u32 buttons = static_cast<u32>(flags) & HELD_BUTTONS;
    if (buttons != 0) {
        SetCapture(window);
    } else if (GetCapture() == window) {
        ReleaseCapture();
    }
    const PlatformEvent event = {.kind = EVENT_POINTER,
                                 .x = GET_X_LPARAM(place),
                                 .y = GET_Y_LPARAM(place),
                                 .buttons = buttons};
    queue(&event);
}

static void wheel(WPARAM parameter)
{
    const PlatformEvent event = {.kind = EVENT_WHEEL, .wheel = GET_WHEEL_DELTA_WPARAM(parameter)};
    queue(&event);
}

static void character(WPARAM code)
{
    const PlatformEvent event = {.kind = EVENT_CHARACTER, .character = static_cast<u32>(code)};
    queue(&event);
}

// The keys that are held now go up while another window has them, and nobody tells.
static void losefocus()
{
    u8 keys[PLATFORM_KEYS];
    if (GetKeyboardState(keys) != 0) {
        for (i32 i = PLATFORM_KEYS - 1; i >= 0; i--) {
            keys[i] &= 0x7FU;
        }
        SetKeyboardState(keys);
    }
}

// The process is over when this has been answered, so the game is saved before: at the exit, as when
// the display is lost.
static void endsession()
{
    sessionended = true;
    std::exit(0);
}

static bool entersmenu(WPARAM command)
{
    return (command & 0xFFF0U) == SC_KEYMENU;
}

// A window may be larger than the desktop.
static void allowsize(LPARAM parameter)
{
    MINMAXINFO* const info = reinterpret_cast<MINMAXINFO*>(parameter);
    info->ptMaxTrackSize.x = MAXSIDE;
    info->ptMaxTrackSize.y = MAXSIDE;
}

static LRESULT CALLBACK procedure(HWND of, UINT message, WPARAM word, LPARAM parameter)
{
    switch (message) {
    case WM_CLOSE: queueclose(); return 0;
    case WM_ENDSESSION:
        if (word != 0) {
            endsession();
        }
        return 0;
    case WM_KEYDOWN: keydown(word, parameter); break;
    case WM_SYSKEYDOWN: keydown(word, parameter); return 0; // Alt and F10 open no menu
    case WM_CHAR: character(word); return 0;
    case WM_MOUSEMOVE:
    case WM_LBUTTONDOWN:
    case WM_LBUTTONUP:
    case WM_RBUTTONDOWN:
    case WM_RBUTTONUP:
    case WM_MBUTTONDOWN:
    case WM_MBUTTONUP: pointer(word, parameter); return 0;
    case WM_MOUSEWHEEL: wheel(word); return 0;
    case WM_KILLFOCUS: losefocus(); break;
    case WM_SYSCOMMAND:
        if (entersmenu(word)) {
            return 0;
        }
        break;
    case WM_GETMINMAXINFO: allowsize(parameter); return 0;
    default: break;
    }
    return DefWindowProcW(of, message, word, parameter);
}

// The window

static bool registerclass()
{
    WNDCLASSEXW made = {};
    made.cbSize = sizeof made;
    made.style = style_class;
    made.lpfnWndProc = procedure;
    made.hInstance = GetModuleHandleW(nullptr);
    made.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512)); // the arrow
    made.lpszClassName = classname;
    return RegisterClassExW(&made) != 0;
}

static void widetitle(wchar_t out[MAXTITLE], const char* title)
{
    if (MultiByteToWideChar(CP_UTF8, 0, title, -1, out, MAXTITLE) == 0) {
        out[0] = 0; // too long
    }
}

// The client area gets the size that was asked for, whatever the frame of this display measures.
static void correctsize(const WindowRequest* want)
{
    RECT client;
    RECT outer;
    if (GetClientRect(window, &client) == 0 || GetWindowRect(window, &outer) == 0) {
        return;
    }
    const i32 morewidth = want->width - client.right;
    const i32 moreheight = want->height - client.bottom;
    if (morewidth != 0 || moreheight != 0) {
        SetWindowPos(window, nullptr, 0, 0, outer.right - outer.left + morewidth,
                     outer.bottom - outer.top + moreheight,
                     SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    }
}

// The system makes a smaller window than was asked for, and drivers end the process.
static bool toolarge(i32 width, i32 height)
{
    if (width <= MAXSIDE && height <= MAXSIDE) {
        return false;
    }
    std::fprintf(stderr, "The window is too large: %d by %d pixels\n", width, height);
    return true;
}

static bool makewindow(const WindowRequest* want)
{
    wchar_t title[MAXTITLE];
    widetitle(title, want->title);
    const RECT frame = framerect(want->framed);
    const i32 width = want->width + frame.right - frame.left;
    const i32 height = want->height + frame.bottom - frame.top;
    if (toolarge(width, height)) {
        return false;
    }
    window = CreateWindowExW(0, classname, title, windowstyle(want->framed), want->x, want->y,
                             width, height, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
    if (window == nullptr) {
        return false;
    }
    correctsize(want);
    ImmAssociateContext(window, nullptr); // letters are keys here, not the beginnings of words
    device = GetDC(window);
    return device != nullptr;
}

static PIXELFORMATDESCRIPTOR wantedformat(u8 depth)
{
    PIXELFORMATDESCRIPTOR wanted = {};
    wanted.nSize = sizeof wanted;
    wanted.nVersion = 1;
    wanted.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
    wanted.iPixelType = PFD_TYPE_RGBA;
    wanted.cColorBits = 24;
    wanted.cDepthBits = depth;
    return wanted;
}

// The system offers what is nearest to a wish, and that may be far from it.
static bool suits(int format, u8 depth)
{
    const DWORD needed = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
    PIXELFORMATDESCRIPTOR offered = {};
    return DescribePixelFormat(device, format, sizeof offered, &offered) != 0 &&
           (offered.dwFlags & needed) == needed && offered.iPixelType == PFD_TYPE_RGBA &&
           offered.cColorBits >= 24 && offered.cDepthBits >= depth;
}

// The format with the deepest depth buffer that there is.
static PlatformOpen setformat()
{
    for (u8 depth = 32; depth >= 16; depth -= 8) {
        const PIXELFORMATDESCRIPTOR wanted = wantedformat(depth);
        const int format = ChoosePixelFormat(device, &wanted);
        if (format != 0 && suits(format, depth)) {
            return SetPixelFormat(device, format, &wanted) != 0 ? PLATFORM_OPEN
                                                                : PLATFORM_FORMAT_UNSET;
        }
    }
    return PLATFORM_NO_FORMAT;
}

static PlatformOpen openparts(const WindowRequest* want)
{
    becomeaware();
    if (!registerclass()) {
        return PLATFORM_NO_CLASS;
    }
    if (!makewindow(want)) {
        return PLATFORM_NO_WINDOW;
    }
    const PlatformOpen result = setformat();
    if (result != PLATFORM_OPEN) {
        return result;
    }
    context = wglCreateContext(device);
    if (context == nullptr) {
        return PLATFORM_NO_CONTEXT;
    }
    return wglMakeCurrent(device, context) != 0 ? PLATFORM_OPEN : PLATFORM_NOT_CURRENT;
}

static void clearinput()
{
    std::memset(tapped, 0, sizeof tapped);
    nqueued = 0;
    nextqueued = 0;
    pointeraway = false;
    ontop = false;
    givingway = false;
}

// The system counts for the thread, not for the window.
static void countcursor(i32 step)
{
    cursorcount += step;
    ShowCursor(step > 0 ? TRUE : FALSE);
}

static void resetcursor()
{
    while (cursorcount != 0) {
        countcursor(cursorcount < 0 ? 1 : -1);
    }
}

static void closewindow()
{
    HWND ended = window;
    if (context != nullptr) {
        wglMakeCurrent(nullptr, nullptr);
        wglDeleteContext(context);
    }
    if (device != nullptr) {
        ReleaseDC(window, device);
    }
    context = nullptr;
    device = nullptr;
    window = nullptr;
    if (ended != nullptr) {
        DestroyWindow(ended);
    }
    UnregisterClassW(classname, GetModuleHandleW(nullptr));
    resetcursor();
    clearinput();
}

// There may be none, as where the system offers too little.
static void tellerror(DWORD error)
{
    if (error == 0) {
        return;
    }
    wchar_t wide[300] = L"";
    char text[900] = "";
    FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS |
                       FORMAT_MESSAGE_MAX_WIDTH_MASK,
                   nullptr, error, 0, wide, 300, nullptr);
    WideCharToMultiByte(CP_UTF8, 0, wide, -1, text, sizeof text, nullptr, nullptr);
    std::fprintf(stderr, "The window system says: error %lu: %s\n", error, text);
}

// The driver may show frames as they come, whatever the display does.
static void synchroniseswaps()
{
    using SwapInterval = BOOL(WINAPI*)(int frames);
    SwapInterval swapinterval;
    if (wgl_find(&swapinterval, "wglSwapIntervalEXT")) {
        swapinterval(1);
    }
}

static PlatformOpen openwindow(const WindowRequest* want)
{
    clearinput();
    SetLastError(0);
    const PlatformOpen result = openparts(want);
    if (result != PLATFORM_OPEN) {
        tellerror(GetLastError());
        closewindow();
        return result;
    }
    synchroniseswaps();
    toldwidth = want->width;
    toldheight = want->height;
    return PLATFORM_OPEN;
}

// Also called at the process's exit, which a fatal report may bring about.
static void restoremode()
{
    if (modeset) {
        ChangeDisplaySettingsW(nullptr, 0);
    }
    modeset = false;
}

static bool setmode(i32 width, i32 height)
{
    static bool registered; // restoremode is, once in a process
    DEVMODEW mode = {};
    mode.dmSize = sizeof mode;
    mode.dmFields = MODE_FIELDS;
    mode.dmPelsWidth = static_cast<DWORD>(width);
    mode.dmPelsHeight = static_cast<DWORD>(height);
    if (ChangeDisplaySettingsW(&mode, CDS_FULLSCREEN) != DISP_CHANGE_SUCCESSFUL) {
        return false;
    }
    registered = registered || std::atexit(restoremode) == 0;
    modeset = true;
    return true;
}

static bool isminimised()
{
    return IsIconic(window) != 0;
}

static void minimise()
{
    CloseWindow(window); // which minimises, whatever its name
}

static bool focused()
{
    return GetFocus() == window; // null if another program has the keys
}

// Events

// The client size, if it isn't the one last told. A minimised window has none.
static bool sizeevent(PlatformEvent* out)
{
    RECT client;
    if (isminimised() || GetClientRect(window, &client) == 0) {
        return false;
    }
    if (client.right == toldwidth && client.bottom == toldheight) {
        return false;
    }
    toldwidth = client.right;
    toldheight = client.bottom;
    *out = {.kind = EVENT_SIZE, .x = toldwidth, .y = toldheight};
    return true;
}

static bool takequeued(PlatformEvent* out)
{
    if (nextqueued == nqueued) {
        nextqueued = 0;
        nqueued = 0;
        return false;
    }
    *out = queued[nextqueued];
    nextqueued++;
    return true;
}

static bool nextevent(PlatformEvent* out)
{
    if (signals_closewanted()) {
        queueclose();
    }
    MSG message;
    while (!takequeued(out)) {
        if (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) == 0) {
            return sizeevent(out);
        }
        if (message.message == WM_QUIT) {
            queueclose();
        }
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return true;
}

static void readkeys(u8 keys[PLATFORM_KEYS])
{
    u8 held[PLATFORM_KEYS];
    if (!focused() || GetKeyboardState(held) == 0) {
        std::memset(held, 0, sizeof held);
    }
    for (i32 i = PLATFORM_KEYS - 1; i >= 0; i--) {
        keys[i] = (held[i] | tapped[i]) & 0x80U;
    }
    std::memset(tapped, 0, sizeof tapped);
}

static PlatformRect windowrect()
{
    RECT rect = {};
    GetWindowRect(window, &rect);
    return platformrect(&rect);
}

static void centreoffset(i32* dx, i32* dy)
{
    const PlatformRect rect = windowrect();
    const i32 centrex = (rect.left + rect.right) / 2;
    const i32 centrey = (rect.top + rect.bottom) / 2;
    POINT place;
    if (GetCursorPos(&place) == 0) {
        return; // the desktop is locked
    }
    *dx = place.x - centrex;
    *dy = place.y - centrey;
    if (*dx != 0 || *dy != 0) {
        SetCursorPos(centrex, centrey);
    }
}

// While another window has the keys the pointer is the user's, and a warp would hold it fast. What it
// did meanwhile is no movement of ours.
static void pointeroffset(i32* dx, i32* dy)
{
    const bool ours = focused();
    *dx = 0;
    *dy = 0;
    if (ours) {
        centreoffset(dx, dy);
    }
    if (pointeraway) {
        *dx = 0;
        *dy = 0;
    }
    pointeraway = !ours;
}

static void showcursor()
{
    countcursor(1);
}

static void hidecursor()
{
    countcursor(-1);
}

static void place(HWND behind)
{
    SetWindowPos(window, behind, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
}

// A window that stays on top would cover the one that the user has gone to, and so would one that is
// on top of all ordinary ones. The user is on the way there while a window that stays on top, such as
// the system's list of windows, or none has the keys.
static void giveway()
{
    HWND front = GetForegroundWindow();
    if (ontop) {
        place(HWND_NOTOPMOST);
        ontop = false;
        givingway = true;
    }
    if (front != nullptr && front != window &&
        (GetWindowLongPtrW(front, GWL_EXSTYLE) & WS_EX_TOPMOST) == 0) {
        place(front);
        givingway = false;
    }
}

static void placeontop()
{
    if (!focused() && (ontop || givingway)) {
        giveway();
    } else if (focused() && !ontop) {
        place(HWND_TOPMOST);
        ontop = true;
        givingway = false;
    }
}

static f64 count(const LARGE_INTEGER* value)
{
    return static_cast<f64>(value->HighPart) * 4294967296.0 + static_cast<f64>(value->LowPart);
}

// The tick count serves where there is no counter.
static f64 seconds()
{
    static f64 factor; // 0 until first use and without a counter
    LARGE_INTEGER value;
    if (factor <= 0 && QueryPerformanceFrequency(&value) != 0) {
        factor = 1 / count(&value);
    }
    if (factor <= 0) {
        return GetTickCount() * 0.001;
    }
    QueryPerformanceCounter(&value);
    return count(&value) * factor;
}

static void swap()
{
    if (isminimised()) {
        Sleep(MINIMISED_WAIT_MS);
        return;
    }
    SwapBuffers(device);
}

const Platform platform_win32 = {
    .name = "win32",
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
    .glproc = wgl_proc,
};

const Platform* const platform_desktop = &platform_win32;
