#include "gfx/platform/wgl.h"

#include <cstdint>

// Drivers answer a name that they lack with null, or with 1, 2, 3 or -1.
static bool usable(const void* routine)
{
    const auto number = reinterpret_cast<std::intptr_t>(routine);
    return number < -1 || number > 3;
}

static void* systemroutine(const char* symbol)
{
    HMODULE library = GetModuleHandleW(L"opengl32.dll"); // linked, so it is there
    return reinterpret_cast<void*>(GetProcAddress(library, symbol));
}

void* wgl_proc(const char* symbol)
{
    void* const routine = reinterpret_cast<void*>(wglGetProcAddress(symbol));
    return usable(routine) ? routine : systemroutine(symbol);
}
