#include "gfx/screenshot.h"

#include "base/clock.h"
#include "base/report.h"
#include "base/wholefile.h"
#include "gfx/gfx_opengl.h"

#include <GL/gl.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <png.h>

enum { BITMAP_HEADER = 54, MAXNAME = WHOLEFILE_PATH };

// How pixels lie in memory.
struct Layout {
    u32 format; // as libpng names it
    i32 stride; // bytes of a row; below 0: rows from the bottom
};

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
static u8* encode(png_image* image, const u8* pixels, i32 stride, size_t* size)
{
    *size = PNG_IMAGE_PNG_SIZE_MAX(*image);
    u8* bytes = static_cast<u8*>(std::malloc(*size));
    if (bytes == nullptr) {
        std::snprintf(image->message, sizeof image->message, "there is no memory for it");
        return nullptr;
    }
    if (png_image_write_to_memory(image, bytes, size, 0, pixels, stride, nullptr) == 0) {
        std::free(bytes);
        return nullptr;
    }
    return bytes;
}

// Ends a file; false with `why` if it isn't there.
static bool endfile(WholeFile* file, char* why)
{
    const bool written = wholefile_end(file);
    if (!written) {
        std::snprintf(why, WHOLEFILE_WHY, "%s", file->why);
    }
    return written;
}

static bool cantmake(const char* path, const char* said, char* why)
{
    std::snprintf(why, WHOLEFILE_WHY, "Can't make the picture %s: %s.", path, said);
    return false;
}

static bool writepng(const char* path, const u8* pixels, i32 width, i32 height, Layout layout,
                     char* why)
{
    if (width <= 0 || height <= 0) {
        return cantmake(path, "the picture has no size", why);
    }
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<u32>(width);
    image.height = static_cast<u32>(height);
    image.format = layout.format;
    size_t size = 0;
    u8* bytes = encode(&image, pixels, layout.stride, &size);
    if (bytes == nullptr) {
        return cantmake(path, image.message, why);
    }
    WholeFile file;
    wholefile_begin(&file, path);
    wholefile_put(&file, bytes, size);
    std::free(bytes);
    return endfile(&file, why);
}

bool picture_write_png(const char* path, const u8* rgb, i32 width, i32 height, char* why)
{
    const Layout layout = {.format = PNG_FORMAT_RGB, .stride = 0}; // as wide as the row
    return writepng(path, rgb, width, height, layout, why);
}

i32 bitmap_stride(i32 width)
{
    return (3 * width + 3) & ~3;
}

// Stores a number, lowest byte first.
static void store(u8* at, i32 bytes, u32 value)
{
    for (i32 i = bytes - 1; i >= 0; i--) {
        at[i] = static_cast<u8>(value >> (8 * i));
    }
}

static void makeheader(u8* header, i32 width, i32 height)
{
    const u32 pixelbytes = static_cast<u32>(height) * static_cast<u32>(bitmap_stride(width));
    std::memset(header, 0, BITMAP_HEADER);
    header[0] = 'B';
    header[1] = 'M';
    store(header + 2, 4, pixelbytes + BITMAP_HEADER);
    store(header + 10, 4, BITMAP_HEADER);
    store(header + 14, 4, 40); // bytes from here on
    store(header + 18, 4, static_cast<u32>(width));
    store(header + 22, 4, static_cast<u32>(height));
    store(header + 26, 2, 1);  // planes
    store(header + 28, 2, 24); // bits a pixel
    store(header + 34, 4,
          200208);               // meant for the size of the pixels; readers go by width and height
    store(header + 38, 4, 2834); // pixels a metre
    store(header + 42, 4, 2834);
}

static bool writebitmap(const char* path, const u8* pixels, i32 width, i32 height, char* why)
{
    if (width <= 0 || height <= 0) {
        return cantmake(path, "the picture has no size", why);
    }
    u8 header[BITMAP_HEADER];
    makeheader(header, width, height);
    WholeFile file;
    wholefile_begin(&file, path);
    wholefile_put(&file, header, sizeof header);
    wholefile_put(&file, pixels,
                  static_cast<size_t>(bitmap_stride(width)) * static_cast<size_t>(height));
    return endfile(&file, why);
}

// The name of the PNG for a bitmap's. A point at the very beginning begins a hidden file's name.
static void targetname(char* out, const char* path)
{
    size_t end = std::strlen(path);
    for (size_t i = end; i > 1; i--) {
        if (path[i - 1] == '.') {
            end = i - 1;
            break;
        }
    }
    std::snprintf(out, MAXNAME, "%.*s.png", static_cast<int>(end), path);
}

static void tell(const char* what, const char* path, const char* why)
{
    char message[WHOLEFILE_PATH + WHOLEFILE_WHY + 100];
    std::snprintf(message, sizeof message, "%s %s. %s", what, path, why);
    report_notice("screenshot", 0, message);
}

// True if there is a PNG in place of a bitmap at `path`.
static bool converted(const u8* pixels, i32 width, i32 height, const char* path, char* why)
{
    char target[MAXNAME];
    targetname(target, path);
    const Layout layout = {.format = PNG_FORMAT_BGR, .stride = -bitmap_stride(width)};
    if (!writepng(target, pixels, width, height, layout, why)) {
        return false;
    }
    if (std::strcmp(target, path) != 0) {
        wholefile_remove(path);
    }
    return true;
}

void bitmap_write(const u8* pixels, i32 width, i32 height, const char* path, i32 convert)
{
    char pngwhy[WHOLEFILE_WHY];
    char why[WHOLEFILE_WHY];
    if (convert != 0 && converted(pixels, width, height, path, pngwhy)) {
        return;
    }
    if (!writebitmap(path, pixels, width, height, why)) {
        tell("The picture is not saved in", path, why);
    } else if (convert != 0) {
        tell("The picture is saved as a bitmap,", path, pngwhy);
    }
}

// The name that the clock gives a picture.
static void shotname(char* out, const char* prefix)
{
    const f64 steps = std::trunc(timer_now() * 3.3333333333333335);
    const f64 number = std::isfinite(steps) ? std::fmod(steps, 100000.0) : 0.0;
    std::snprintf(out, MAXNAME, "%s_%05d.bmp", prefix, static_cast<i32>(number));
}

void screenshot_save(const char* prefix)
{
    char path[MAXNAME];
    shotname(path, prefix);
    const size_t bytes =
        static_cast<size_t>(bitmap_stride(gfx_width)) * static_cast<size_t>(gfx_height);
    // cleared, as nothing is read into the ends of rows; a window may have no width
    u8* const pixels = static_cast<u8*>(std::calloc(bytes + 1, 1));
    if (pixels == nullptr) {
        tell("The picture is not saved in", path, "There is no memory for it.");
        return;
    }
    glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
    glPixelStorei(GL_PACK_ALIGNMENT, 4); // which gives the stride of a bitmap
    glReadPixels(0, 0, gfx_width, gfx_height, GL_BGR, GL_UNSIGNED_BYTE, pixels);
    glPopClientAttrib();
    bitmap_write(pixels, gfx_width, gfx_height, path, 1);
    std::free(pixels);
}
