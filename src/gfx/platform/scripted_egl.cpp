// The canvas of the scripted back end by EGL: no display server is needed.
#include "gfx/platform/scripted_canvas.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <cstring>

enum { MAXDEVICES = 16, MAXCONFIGS = 256 };

// Written by canvas_open, canvas_resize and canvas_close; display, config and the root, with which all
// contexts share their objects, stay for the rest of the process.
static EGLDisplay display = EGL_NO_DISPLAY;
static EGLConfig config;
static EGLContext root = EGL_NO_CONTEXT;
static EGLContext context = EGL_NO_CONTEXT;
static EGLSurface surface = EGL_NO_SURFACE;

static EGLint attribute(EGLConfig of, EGLint name)
{
    EGLint value = 0;
    eglGetConfigAttrib(display, of, name, &value);
    return value;
}

static i32 suitability(EGLConfig of)
{
    const CanvasFormat format = {.red = attribute(of, EGL_RED_SIZE),
                                 .green = attribute(of, EGL_GREEN_SIZE),
                                 .blue = attribute(of, EGL_BLUE_SIZE),
                                 .alpha = attribute(of, EGL_ALPHA_SIZE),
                                 .depth = attribute(of, EGL_DEPTH_SIZE),
                                 .stencil = attribute(of, EGL_STENCIL_SIZE),
                                 .samples = attribute(of, EGL_SAMPLES)};
    return canvas_suitability(&format);
}

static bool pickconfig()
{
    static const EGLint wanted[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE,
                                    EGL_OPENGL_BIT, EGL_NONE};
    EGLConfig offered[MAXCONFIGS];
    EGLint n = 0;
    if (eglChooseConfig(display, wanted, offered, MAXCONFIGS, &n) != EGL_TRUE) {
        return false;
    }
    i32 best = 0;
    for (i32 i = n - 1; i >= 0; i--) {
        const i32 suits = suitability(offered[i]);
        if (suits >= best && suits > 0) {
            best = suits;
            config = offered[i];
        }
    }
    return best > 0;
}

static EGLContext makecontext(EGLContext sharing)
{
    return eglCreateContext(display, config, sharing, nullptr);
}

// Takes a display if it gives desktop OpenGL; `display`, `config` and `root` stand then.
static PlatformOpen trydisplay(EGLDisplay candidate)
{
    if (candidate == EGL_NO_DISPLAY || eglInitialize(candidate, nullptr, nullptr) != EGL_TRUE) {
        return PLATFORM_NO_CLASS;
    }
    display = candidate;
    PlatformOpen result = PLATFORM_NO_FORMAT;
    if (eglBindAPI(EGL_OPENGL_API) == EGL_TRUE && pickconfig()) {
        root = makecontext(EGL_NO_CONTEXT);
        result = root != EGL_NO_CONTEXT ? PLATFORM_OPEN : PLATFORM_NO_CONTEXT;
    }
    if (result != PLATFORM_OPEN) {
        eglTerminate(candidate);
        display = EGL_NO_DISPLAY;
    }
    return result;
}

static EGLDisplay platformdisplay(EGLenum kind, void* native)
{
    const auto getdisplay = reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(
        eglGetProcAddress("eglGetPlatformDisplayEXT"));
    return getdisplay != nullptr ? getdisplay(kind, native, nullptr) : EGL_NO_DISPLAY;
}

static bool clientknows(const char* extension)
{
    const char* list = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
    return list != nullptr && std::strstr(list, extension) != nullptr;
}

static PlatformOpen trydevices()
{
    const auto query =
        reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(eglGetProcAddress("eglQueryDevicesEXT"));
    EGLDeviceEXT devices[MAXDEVICES];
    EGLint n = 0;
    if (query == nullptr || query(MAXDEVICES, devices, &n) != EGL_TRUE) {
        return PLATFORM_NO_CLASS;
    }
    PlatformOpen result = PLATFORM_NO_CLASS;
    for (i32 i = 0; i < n; i++) { // the first is the system's preferred one
        result = trydisplay(platformdisplay(EGL_PLATFORM_DEVICE_EXT, devices[i]));
        if (result == PLATFORM_OPEN) {
            return result;
        }
    }
    return result;
}

// Finds a driver that draws without a screen, once in a process.
static PlatformOpen reachdriver()
{
    if (root != EGL_NO_CONTEXT) {
        return PLATFORM_OPEN;
    }
    PlatformOpen result = PLATFORM_NO_CLASS;
    if (clientknows("EGL_MESA_platform_surfaceless")) {
        result = trydisplay(platformdisplay(EGL_PLATFORM_SURFACELESS_MESA, nullptr));
    }
    if (result != PLATFORM_OPEN && clientknows("EGL_EXT_platform_device")) {
        result = trydevices();
    }
    return result;
}

static EGLSurface makesurface(i32 width, i32 height)
{
    const EGLint size[] = {EGL_WIDTH, width, EGL_HEIGHT, height, EGL_NONE};
    return eglCreatePbufferSurface(display, config, size);
}

static PlatformOpen makecanvas(i32 width, i32 height)
{
    surface = makesurface(width, height);
    if (surface == EGL_NO_SURFACE) {
        return PLATFORM_NO_WINDOW;
    }
    context = makecontext(root);
    if (context == EGL_NO_CONTEXT) {
        return PLATFORM_NO_CONTEXT;
    }
    const bool made = eglMakeCurrent(display, surface, surface, context) == EGL_TRUE;
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
    eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    if (surface != EGL_NO_SURFACE) {
        eglDestroySurface(display, surface);
    }
    if (context != EGL_NO_CONTEXT) {
        eglDestroyContext(display, context);
    }
    surface = EGL_NO_SURFACE;
    context = EGL_NO_CONTEXT;
}

bool canvas_resize(i32 width, i32 height)
{
    EGLSurface made = makesurface(width, height);
    if (made == EGL_NO_SURFACE) {
        return false;
    }
    if (eglMakeCurrent(display, made, made, context) != EGL_TRUE) {
        eglDestroySurface(display, made);
        return false;
    }
    eglDestroySurface(display, surface);
    surface = made;
    return true;
}

// The mark of a frame's end for tools that trace calls.
void canvas_swap()
{
    eglSwapBuffers(display, surface);
}

void* canvas_proc(const char* symbol)
{
    return reinterpret_cast<void*>(eglGetProcAddress(symbol));
}
