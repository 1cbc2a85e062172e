#include "gfx/textures.h"

#include "base/rnd.h"
#include "gfx/offscreen.h"
#include "gfx/platform.h"
#include "gfx/projection.h"

#include <GL/glext.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

i32 tex_plain_format = 1;
i32 have_generate_mipmap = -1;
i32 have_anisotropy = -1;
f32 max_anisotropy = 0.0F;

struct ComponentFormat {
    GLenum pixels;
    GLint sized;
};
static const ComponentFormat formats[4] = {{GL_LUMINANCE, GL_LUMINANCE8},
                                           {GL_LUMINANCE_ALPHA, GL_LUMINANCE8_ALPHA8},
                                           {GL_RGB, GL_RGB8},
                                           {GL_RGBA, GL_RGBA8}};

bool gl_hasextension(const char* name)
{
    const GLubyte* const list = glGetString(GL_EXTENSIONS);
    return list != nullptr && std::strstr(reinterpret_cast<const char*>(list), name) != nullptr;
}

i32 tex_powerabove(i32 size)
{
    i32 power = 1;
    while (power < size) {
        power *= 2;
    }
    return power;
}

i32 tex_stride(i32 width, i32 components)
{
    return (width * components + 3) & ~3;
}

GLint tex_internalformat(i32 components)
{
    return tex_plain_format != 0 ? components : formats[components - 1].sized;
}

// An image as OpenGL takes it.
struct Image {
    GLenum target;
    GLint format; // internal
    i32 components, width, height;
    u8* bytes; // lent
};

static void setlevel(const Image* image, i32 level)
{
    glTexImage2D(image->target, level, image->format, image->width, image->height, 0,
                 formats[image->components - 1].pixels, GL_UNSIGNED_BYTE, image->bytes);
}

void tex_upload(GLenum target, i32 components, i32 width, i32 height, const u8* bytes)
{
    glGetError(); // clears what an earlier call has left
    glTexImage2D(target, 0, tex_internalformat(components), width, height, 0,
                 formats[components - 1].pixels, GL_UNSIGNED_BYTE, bytes);
    tex_make_mipmaps(target);
}

// The component count of an internal format; what is neither sized nor a plain count is taken as RGB.
static i32 formatcomponents(GLint format)
{
    if (format >= 1 && format <= 4) {
        return format;
    }
    for (i32 i = 3; i >= 0; i--) {
        if (formats[i].sized == format) {
            return i + 1;
        }
    }
    return 3;
}

// Writes the next level over the image. A new row lies before the rows that it reads, so it runs forward.
static void halve(u8* bytes, i32 components, i32 width, i32 height, i32 newwidth, i32 newheight)
{
    const size_t stride = static_cast<size_t>(tex_stride(width, components));
    const size_t newstride = static_cast<size_t>(tex_stride(newwidth, components));
    for (i32 y = 0; y < newheight; y++) {
        const u8* const row = bytes + stride * static_cast<size_t>(2 * y);
        const u8* const below =
            bytes + stride * static_cast<size_t>(std::min(2 * y + 1, height - 1));
        u8* const out = bytes + newstride * static_cast<size_t>(y);
        for (i32 x = 0; x < newwidth; x++) {
            const i32 left = 2 * x * components;
            const i32 right = std::min(2 * x + 1, width - 1) * components;
            for (i32 c = 0; c < components; c++) {
                const i32 sum = row[left + c] + row[right + c] + below[left + c] + below[right + c];
                out[x * components + c] = static_cast<u8>((sum + 2) / 4);
            }
        }
    }
}

// The levels below an image, which is overwritten.
static void addlevels(Image* image)
{
    for (i32 level = 1; image->width > 1 || image->height > 1; level++) {
        const i32 width = image->width < 2 ? 1 : image->width / 2;
        const i32 height = image->height < 2 ? 1 : image->height / 2;
        halve(image->bytes, image->components, image->width, image->height, width, height);
        image->width = width;
        image->height = height;
        setlevel(image, level);
    }
}

void tex_box_mipmaps(GLenum target, i32 components, i32 width, i32 height, u8* bytes)
{
    Image image = {.target = target,
                   .format = tex_internalformat(components),
                   .components = components,
                   .width = width,
                   .height = height,
                   .bytes = bytes};
    addlevels(&image);
}

// One image of a texture and the levels below, which take the format of level 0: a chain of two formats
// isn't complete.
static void makeimagemipmaps(GLenum target)
{
    GLint width = 0;
    GLint height = 0;
    GLint format = 0;
    glGetTexLevelParameteriv(target, 0, GL_TEXTURE_WIDTH, &width);
    glGetTexLevelParameteriv(target, 0, GL_TEXTURE_HEIGHT, &height);
    glGetTexLevelParameteriv(target, 0, GL_TEXTURE_INTERNAL_FORMAT, &format);
    const i32 components = formatcomponents(format);
    const size_t stride = static_cast<size_t>(tex_stride(width, components));
    u8* const bytes = static_cast<u8*>(std::malloc(stride * static_cast<size_t>(height) + 1));
    glGetTexImage(target, 0, formats[components - 1].pixels, GL_UNSIGNED_BYTE, bytes);
    Image image = {.target = target,
                   .format = format,
                   .components = components,
                   .width = width,
                   .height = height,
                   .bytes = bytes};
    addlevels(&image);
    std::free(bytes);
}

void tex_make_mipmaps_plainly(GLenum target)
{
    if (target != GL_TEXTURE_CUBE_MAP) {
        makeimagemipmaps(target);
        return;
    }
    for (i32 face = 5; face >= 0; face--) {
        makeimagemipmaps(GL_TEXTURE_CUBE_MAP_POSITIVE_X + static_cast<GLenum>(face));
    }
}

void tex_make_mipmaps(GLenum target)
{
    static PFNGLGENERATEMIPMAPPROC generate; // null until first use, and where the driver lacks it
    if (have_generate_mipmap == -1) {
        have_generate_mipmap = gl_hasextension("GL_SGIS_generate_mipmap") ? 1 : 0;
    }
    if (have_generate_mipmap != 0 && generate == nullptr) {
        generate = reinterpret_cast<PFNGLGENERATEMIPMAPPROC>(platform->glproc("glGenerateMipmap"));
    }
    if (have_generate_mipmap != 0 && generate != nullptr) {
        generate(target);
    } else {
        tex_make_mipmaps_plainly(target);
    }
}

// Software reads all texels that a pixel covers, each time: a plate seen from its edge covers millions.
static bool rendersinsoftware()
{
    const GLubyte* const name = glGetString(GL_RENDERER);
    return name != nullptr &&
           std::strstr(reinterpret_cast<const char*>(name), "llvmpipe") != nullptr;
}

void tex_set_anisotropy(GLenum target)
{
    if (have_anisotropy == -1) {
        const bool fit =
            gl_hasextension("GL_EXT_texture_filter_anisotropic") && !rendersinsoftware();
        have_anisotropy = fit ? 1 : 0;
    }
    if (have_anisotropy == 0) {
        return;
    }
    if (max_anisotropy == 0.0F) {
        glGetFloatv(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, &max_anisotropy);
    }
    glTexParameterf(target, GL_TEXTURE_MAX_ANISOTROPY_EXT, max_anisotropy);
}

bool tex_blend_equation(GLenum mode)
{
    static PFNGLBLENDEQUATIONPROC call; // null until first use, and where the driver lacks it
    if (call == nullptr) {
        call = reinterpret_cast<PFNGLBLENDEQUATIONPROC>(platform->glproc("glBlendEquation"));
    }
    if (call != nullptr) {
        call(mode);
    }
    return call != nullptr;
}

static GLuint maketexture()
{
    GLuint name = 0;
    glGenTextures(1, &name);
    glBindTexture(GL_TEXTURE_2D, name);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);
    return name;
}

// A random byte: a number below 256 with a fine part, cut down.
static u8 noisebyte()
{
    const f64 fine = rnd_draw() * 0x1p-15;
    const f64 coarse = rnd_draw();
    const i32 value = static_cast<i32>((fine + coarse) * 0x1p-7);
    return static_cast<u8>(std::min(value, 255));
}

GLuint tex_noise(i32 width, i32 height)
{
    static GLuint name; // the texture made last
    name = maketexture();
    const size_t stride = static_cast<size_t>(tex_stride(width, 3));
    u8* const bytes = static_cast<u8*>(std::calloc(stride * static_cast<size_t>(height) + 1, 1));
    for (i32 y = height - 1; y >= 0; y--) {
        for (i32 x = width - 1; x >= 0; x--) {
            u8* const pixel = bytes + stride * static_cast<size_t>(y) + 3 * static_cast<size_t>(x);
            pixel[0] = noisebyte();
            pixel[1] = noisebyte();
            pixel[2] = noisebyte();
        }
    }
    tex_upload(GL_TEXTURE_2D, 3, width, height, bytes);
    std::free(bytes);
    tex_set_anisotropy(GL_TEXTURE_2D);
    return name;
}

GLuint tex_from_drawing(TexDrawing draw, i32 a, void* b, i32 width, i32 height)
{
    i32 bottom;
    offscreen_begin(width, height, &bottom);
    gfx_overlay_begin();
    draw(width, height, a, b);
    gfx_overlay_end();
    const GLuint name = maketexture();
    glCopyTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 0, bottom, width, height, 0);
    tex_make_mipmaps(GL_TEXTURE_2D);
    tex_set_anisotropy(GL_TEXTURE_2D);
    offscreen_end();
    return name;
}
