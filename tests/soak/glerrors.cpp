#include "tests/soak/glerrors.h"

#include <GL/gl.h>

extern "C" {
GLenum __real_glGetError();
void __real_glBlendFunc(GLenum from, GLenum to);
GLenum __wrap_glGetError();
void __wrap_glBlendFunc(GLenum from, GLenum to);
}

static GLenum seen;  // the first since the last call of glerrors_take
static bool refused; // the sea has asked for factors that are refused, and clears that error

static void note(GLenum error)
{
    seen = seen == GL_NO_ERROR ? error : seen;
}

// The program clears what it has provoked itself, and a lack of memory that it has seen to.
GLenum __wrap_glGetError()
{
    const GLenum error = __real_glGetError();
    if (error != GL_OUT_OF_MEMORY && !(refused && error == GL_INVALID_ENUM)) {
        note(error);
    }
    refused = false;
    return error;
}

void __wrap_glBlendFunc(GLenum from, GLenum to)
{
    if (from == GL_ALPHA) {
        note(__real_glGetError()); // an earlier one, which would go with the one to come
        refused = true;
    }
    __real_glBlendFunc(from, to);
}

u32 glerrors_take()
{
    note(__real_glGetError());
    const GLenum error = seen;
    seen = GL_NO_ERROR;
    return error;
}
