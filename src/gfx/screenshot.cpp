#include "gfx/screenshot.h"

#include "base/wholefile.h"

#include <GL/gl.h>

#include <cstdio>
#include <cstdlib>
#include <png.h>

static void swaprows(u8* a, u8* b, size_t bytes)
{
    for (size_t i = 0; i < bytes; i++) {
        const u8 kept = a[i];
        a[i] = b[i];
        b[i] = kept;
    }
}

u8* picture_read(i32 width, i32 height)
{
    const size_t stride = static_cast<size_t>(width) * 3;
    u8* rgb = static_cast<u8*>(std::calloc(stride * static_cast<size_t>(height) + 1, 1));
    glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, width, height, GL_RGB, GL_UNSIGNED_BYTE, rgb);
    glPopClientAttrib();
    for (i32 low = height / 2 - 1; low >= 0; low--) {
        swaprows(rgb + stride * static_cast<size_t>(low),
                 rgb + stride * static_cast<size_t>(height - 1 - low), stride);
    }
    return rgb;
}

// The file's bytes, owned by the caller; null with `image->message` if it can't be made.
static u8* encode(png_image* image, const u8* rgb, size_t* size)
{
    *size = PNG_IMAGE_PNG_SIZE_MAX(*image);
    u8* bytes = static_cast<u8*>(std::malloc(*size));
    if (png_image_write_to_memory(image, bytes, size, 0, rgb, 0, nullptr) == 0) {
        std::free(bytes);
        return nullptr;
    }
    return bytes;
}

bool picture_write_png(const char* path, const u8* rgb, i32 width, i32 height, char* why)
{
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<u32>(width);
    image.height = static_cast<u32>(height);
    image.format = PNG_FORMAT_RGB;
    size_t size = 0;
    u8* bytes = width > 0 && height > 0 ? encode(&image, rgb, &size) : nullptr;
    if (bytes == nullptr) {
        const char* said = width > 0 && height > 0 ? image.message : "the picture has no size";
        std::snprintf(why, WHOLEFILE_WHY, "Can't make the picture %s: %s.", path, said);
        return false;
    }
    WholeFile file;
    wholefile_begin(&file, path);
    wholefile_put(&file, bytes, size);
    const bool written = wholefile_end(&file);
    if (!written) {
        std::snprintf(why, WHOLEFILE_WHY, "%s", file.why);
    }
    std::free(bytes);
    return written;
}
