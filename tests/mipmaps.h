// Images with all their levels: by the plain formula, and of the bound texture.
#pragma once

#include "base/types.h"
#include "gfx/textures.h"

#include <GL/gl.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

using Bytes = std::vector<u8>;

struct Image {
    i32 components = 0, width = 0, height = 0;
    Bytes bytes; // rows padded to multiples of 4

    u8& at(i32 x, i32 y, i32 c)
    {
        const i32 row = (width * components + 3) / 4 * 4;
        return bytes.at(static_cast<size_t>(y * row + x * components + c));
    }
};

inline Image blank_image(i32 components, i32 width, i32 height)
{
    const i32 row = (width * components + 3) / 4 * 4;
    return {components, width, height, Bytes(static_cast<size_t>(row * height), 0)};
}

inline Image random_image(i32 components, i32 width, i32 height, u32 seed = 7)
{
    Image image = blank_image(components, width, height);
    u32 state = seed;
    for (i32 y = 0; y < height; y++) {
        for (i32 x = 0; x < width * components; x++) {
            state = state * 214013 + 2531011;
            image.at(x / components, y, x % components) = static_cast<u8>(state >> 20);
        }
    }
    return image;
}

// The next level by the plain formula.
inline Image halved(Image image)
{
    Image next =
        blank_image(image.components, std::max(1, image.width / 2), std::max(1, image.height / 2));
    for (i32 y = 0; y < next.height; y++) {
        for (i32 x = 0; x < next.width; x++) {
            const i32 x1 = std::min(2 * x + 1, image.width - 1);
            const i32 y1 = std::min(2 * y + 1, image.height - 1);
            for (i32 c = 0; c < image.components; c++) {
                next.at(x, y, c) =
                    static_cast<u8>((image.at(2 * x, 2 * y, c) + image.at(x1, 2 * y, c) +
                                     image.at(2 * x, y1, c) + image.at(x1, y1, c) + 2) /
                                    4);
            }
        }
    }
    return next;
}

inline GLenum pixel_format(i32 components)
{
    const GLenum formats[] = {GL_LUMINANCE, GL_LUMINANCE_ALPHA, GL_RGB, GL_RGBA};
    return formats[components - 1];
}

// A level of the bound texture; width 0 if there is none.
inline Image level_of(i32 level, i32 components, GLenum target = GL_TEXTURE_2D)
{
    GLint width = 0;
    GLint height = 0;
    glGetTexLevelParameteriv(target, level, GL_TEXTURE_WIDTH, &width);
    glGetTexLevelParameteriv(target, level, GL_TEXTURE_HEIGHT, &height);
    Image image = blank_image(components, width, height);
    if (width > 0) {
        glGetTexImage(target, level, pixel_format(components), GL_UNSIGNED_BYTE,
                      image.bytes.data());
    }
    return image;
}

inline i32 level_width(i32 level)
{
    return level_of(level, 4).width;
}

inline GLuint bound_texture(GLenum target = GL_TEXTURE_2D)
{
    GLuint name = 0;
    glGenTextures(1, &name);
    glBindTexture(target, name);
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    return name;
}

// The greatest difference of two images' pixels; padding doesn't count.
inline i32 difference(Image a, Image b)
{
    if (a.width != b.width || a.height != b.height) {
        return 256;
    }
    i32 most = 0;
    for (i32 y = 0; y < a.height; y++) {
        for (i32 x = 0; x < a.width; x++) {
            for (i32 c = 0; c < a.components; c++) {
                most = std::max(most, std::abs(a.at(x, y, c) - b.at(x, y, c)));
            }
        }
    }
    return most;
}

inline void upload(const Image& image)
{
    tex_upload(GL_TEXTURE_2D, image.components, image.width, image.height, image.bytes.data());
}

// The greatest difference of all levels of the bound texture from the formula, each against the level
// above it; 256 if a level is missing or there is one too many.
inline i32 chain_difference(i32 components, GLenum target = GL_TEXTURE_2D)
{
    Image above = level_of(0, components, target);
    i32 most = 0;
    i32 level = 0;
    while (above.width > 1 || above.height > 1) {
        level++;
        const Image below = level_of(level, components, target);
        most = std::max(most, difference(below, halved(above)));
        if (below.width == 0) {
            return 256;
        }
        above = below;
    }
    return level_of(level + 1, components, target).width == 0 ? most : 256;
}
