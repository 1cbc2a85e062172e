#include "scene/anisotropy.h"

#include "gfx/textures.h"

#include <cstring>

static bool rendersinsoftware()
{
    const GLubyte* const name = glGetString(GL_RENDERER);
    return name != nullptr &&
           std::strstr(reinterpret_cast<const char*>(name), "llvmpipe") != nullptr;
}

void anisotropy_set(u32 target)
{
    if (!rendersinsoftware()) {
        tex_set_anisotropy(target);
    }
}
