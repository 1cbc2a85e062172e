// The canvas of the scripted back end by WGL: a buffer of the driver's that no window shows. A window
// that is never seen is only asked for the driver's routines.
#include "gfx/platform/scripted_canvas.h"
#include "gfx/platform/wgl.h"

#include <GL/gl.h>
#include <GL/wglext.h>

enum { MAXFORMATS = 256 };

static const wchar_t classname[] = L"Corvane canvas";

struct Surface {
    HPBUFFERARB buffer; // null: none
    HDC device;
};

// Written by reachdriver, once in a process. The root is the context with which all share their
// objects, on a surface of one pixel.
static HWND asked;
static HDC askeddevice;
static int format; // 0: no driver has been reached
static Surface rootsurface;
static HGLRC root;

// Written by reachdriver.
static PFNWGLCHOOSEPIXELFORMATARBPROC chooseformat;
static PFNWGLGETPIXELFORMATATTRIBIVARBPROC formatvalues;
static PFNWGLCREATEPBUFFERARBPROC createbuffer;
static PFNWGLDESTROYPBUFFERARBPROC destroybuffer;
static PFNWGLGETPBUFFERDCARBPROC bufferdevice;
static PFNWGLRELEASEPBUFFERDCARBPROC releasedevice;

// Written by canvas_open, canvas_resize and canvas_close.
static Surface surface;
static HGLRC context;

static bool makeasked()
{
    HINSTANCE program = GetModuleHandleW(nullptr);
    WNDCLASSEXW made = {};
    made.cbSize = sizeof made;
    made.style = CS_OWNDC;
    made.lpfnWndProc = DefWindowProcW;
    made.hInstance = program;
    made.lpszClassName = classname;
    if (RegisterClassExW(&made) == 0) {
        return false;
    }
    asked = CreateWindowExW(0, classname, L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, program,
                            nullptr);
    askeddevice = asked != nullptr ? GetDC(asked) : nullptr;
    return askeddevice != nullptr;
}

static bool setanyformat()
{
    PIXELFORMATDESCRIPTOR any = {};
    any.nSize = sizeof any;
    any.nVersion = 1;
    any.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
    any.cColorBits = 24;
    any.cDepthBits = 24;
    return SetPixelFormat(askeddevice, ChoosePixelFormat(askeddevice, &any), &any) != 0;
}

static bool findroutines()
{
    return wgl_find(&chooseformat, "wglChoosePixelFormatARB") &&
           wgl_find(&formatvalues, "wglGetPixelFormatAttribivARB") &&
           wgl_find(&createbuffer, "wglCreatePbufferARB") &&
           wgl_find(&destroybuffer, "wglDestroyPbufferARB") &&
           wgl_find(&bufferdevice, "wglGetPbufferDCARB") &&
           wgl_find(&releasedevice, "wglReleasePbufferDCARB");
}

static i32 suitability(int of)
{
    static const int names[] = {WGL_RED_BITS_ARB,   WGL_GREEN_BITS_ARB, WGL_BLUE_BITS_ARB,
                                WGL_ALPHA_BITS_ARB, WGL_DEPTH_BITS_ARB, WGL_STENCIL_BITS_ARB};
    int values[6] = {};
    if (formatvalues(askeddevice, of, 0, 6, names, values) == 0) {
        return 0;
    }
    static const int samples = WGL_SAMPLES_ARB; // a driver may not know it
    CanvasFormat offered = {.red = values[0],
                            .green = values[1],
                            .blue = values[2],
                            .alpha = values[3],
                            .depth = values[4],
                            .stencil = values[5],
                            .samples = 0};
    if (formatvalues(askeddevice, of, 0, 1, &samples, &offered.samples) == 0) {
        offered.samples = 0;
    }
    return canvas_suitability(&offered);
}

static bool pickformat()
{
    static const int wanted[] = {WGL_DRAW_TO_PBUFFER_ARB,
                                 1,
                                 WGL_SUPPORT_OPENGL_ARB,
                                 1,
                                 WGL_DOUBLE_BUFFER_ARB,
                                 1,
                                 WGL_PIXEL_TYPE_ARB,
                                 WGL_TYPE_RGBA_ARB,
                                 0};
    int offered[MAXFORMATS];
    UINT n = 0;
    if (chooseformat(askeddevice, wanted, nullptr, MAXFORMATS, offered, &n) == 0) {
        return false;
    }
    if (n > MAXFORMATS) { // all that suit are counted
        n = MAXFORMATS;
    }
    i32 best = 0;
    for (i32 i = static_cast<i32>(n) - 1; i >= 0; i--) {
        const i32 suits = suitability(offered[i]);
        if (suits >= best && suits > 0) {
            best = suits;
            format = offered[i];
        }
    }
    return best > 0;
}

static void endsurface(Surface* ended)
{
    if (ended->buffer != nullptr) {
        releasedevice(ended->buffer, ended->device);
        destroybuffer(ended->buffer);
    }
    *ended = {};
}

// No surface rather than a smaller one than was asked for.
static Surface makesurface(i32 width, i32 height)
{
    static const int plain[] = {0};
    Surface made = {};
    made.buffer = createbuffer(askeddevice, format, width, height, plain);
    if (made.buffer != nullptr) {
        made.device = bufferdevice(made.buffer);
    }
    if (made.buffer != nullptr && made.device == nullptr) {
        destroybuffer(made.buffer);
        made.buffer = nullptr;
    }
    return made;
}

static HGLRC makecontext(HDC device, HGLRC sharing)
{
    HGLRC made = wglCreateContext(device);
    if (made != nullptr && sharing != nullptr && wglShareLists(sharing, made) == 0) {
        wglDeleteContext(made);
        return nullptr;
    }
    return made;
}

static PlatformOpen makeroot()
{
    if (!findroutines() || !pickformat()) {
        return PLATFORM_NO_FORMAT;
    }
    rootsurface = makesurface(1, 1);
    root = rootsurface.buffer != nullptr ? makecontext(rootsurface.device, nullptr) : nullptr;
    if (root == nullptr) {
        endsurface(&rootsurface);
        format = 0;
        return PLATFORM_NO_CONTEXT;
    }
    return PLATFORM_OPEN;
}

// The driver's routines are found while a context of the window's is current.
static PlatformOpen askdriver()
{
    if (!makeasked()) {
        return PLATFORM_NO_CLASS;
    }
    if (!setanyformat()) {
        return PLATFORM_NO_FORMAT;
    }
    HGLRC first = wglCreateContext(askeddevice);
    if (first == nullptr) {
        return PLATFORM_NO_CONTEXT;
    }
    PlatformOpen result = PLATFORM_NOT_CURRENT;
    if (wglMakeCurrent(askeddevice, first) != 0) {
        result = makeroot();
    }
    wglMakeCurrent(nullptr, nullptr);
    wglDeleteContext(first);
    return result;
}

static void endasked()
{
    if (askeddevice != nullptr) {
        ReleaseDC(asked, askeddevice);
    }
    if (asked != nullptr) {
        DestroyWindow(asked);
    }
    UnregisterClassW(classname, GetModuleHandleW(nullptr));
    asked = nullptr;
    askeddevice = nullptr;
}

// Finds a driver that draws without a window, once in a process.
static PlatformOpen reachdriver()
{
    if (root != nullptr) {
        return PLATFORM_OPEN;
    }
    const PlatformOpen result = askdriver();
    if (result != PLATFORM_OPEN) {
        endasked();
    }
    return result;
}

static PlatformOpen makecanvas(i32 width, i32 height)
{
    surface = makesurface(width, height);
    if (surface.buffer == nullptr) {
        return PLATFORM_NO_WINDOW;
    }
    context = makecontext(surface.device, root);
    if (context == nullptr) {
        return PLATFORM_NO_CONTEXT;
    }
    const bool made = wglMakeCurrent(surface.device, context) != 0;
    return made ? PLATFORM_OPEN : PLATFORM_NOT_CURRENT;
}

PlatformOpen canvas_open(i32 width, i32 height)
{
    PlatformOpen result = reachdriver();
    if (result == PLATFORM_OPEN) {
        result = makecanvas(width, height);
        if (result != PLATFORM_OPEN) {
            canvas_close();
        }
    }
    return result;
}

void canvas_close()
{
    wglMakeCurrent(nullptr, nullptr);
    if (context != nullptr) {
        wglDeleteContext(context);
    }
    context = nullptr;
    endsurface(&surface);
}

bool canvas_resize(i32 width, i32 height)
{
    Surface made = makesurface(width, height);
    if (made.buffer == nullptr) {
        return false;
    }
    if (wglMakeCurrent(made.device, context) == 0) {
        endsurface(&made);
        return false;
    }
    endsurface(&surface);
    surface = made;
    return true;
}

// Buffers that nobody sees aren't exchanged: what was drawn stays until it is drawn over.
void canvas_swap()
{
    glFlush();
}

void* canvas_proc(const char* symbol)
{
    return wgl_proc(symbol);
}
