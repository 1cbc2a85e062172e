// Errors of OpenGL in a frame, those too that the program itself clears before a test could see them.
// The program that links glerrors.cpp is linked with --wrap for glGetError and glBlendFunc.
#pragma once

#include "base/types.h"

/// The first error since the last call that isn't one the program means to make, or 0.
u32 glerrors_take();
