// Anisotropy of the landscape's textures.
#pragma once

#include "base/types.h"

/// Raises the anisotropy of the texture bound to `target` to the card's limit, but not where OpenGL is
/// drawn in software: clouds up to the horizon and a cube map seen in rough water would take such a
/// renderer seconds, and it strews the water with grey specks.
void anisotropy_set(u32 target);
