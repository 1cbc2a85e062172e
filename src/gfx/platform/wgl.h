// What the back ends for Windows share: how the functions of OpenGL and of WGL are found. The system's
// header comes with it, since that of WGL's extensions wants it first.
#pragma once

#include <windows.h>

/// Finds a function for the context that is current: the driver's, or that of the system's library
/// for OpenGL 1.1. Null if there is none. WGL's extensions are found too.
void* wgl_proc(const char* symbol);

/// The same as a pointer to the routine. False if there is none.
template <typename T> bool wgl_find(T* routine, const char* symbol)
{
    *routine = reinterpret_cast<T>(wgl_proc(symbol));
    return *routine != nullptr;
}
