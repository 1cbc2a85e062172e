// Byte images as textures with complete mipmap chains and the best anisotropy that the card offers,
// textures made by drawing, and plain noise.
//
// An image is rows of bytes, each row padded to a multiple of 4, as OpenGL's unpack alignment has it by
// default. Components: 1 luminance, 2 luminance and alpha, 3 RGB, 4 RGBA. Nothing is checked: a size
// that the card refuses yields an empty texture.
#pragma once

#include "base/types.h"

#include <GL/gl.h>

extern i32 tex_plain_format;     // the component count is the internal format; set by the driver
extern i32 have_generate_mipmap; // -1 not yet known, else 0 or 1
extern i32 have_anisotropy;      // -1 not yet known, else 0 or 1
extern f32 max_anisotropy;       // the card's limit; 0 until first use

/// Whether the driver's list of extensions holds `name`, as a plain substring.
bool gl_hasextension(const char* name);

/// The least power of two that is not below `size`, which older cards want of a texture.
i32 tex_powerabove(i32 size);

/// Bytes of an image row: `width` pixels, padded to a multiple of 4.
i32 tex_stride(i32 width, i32 components);

/// The internal format for a component count (1 to 4): the count itself if tex_plain_format is set, else
/// the sized format of 8 bits a component.
GLint tex_internalformat(i32 components);

/// Uploads `bytes` as level 0 of the texture bound to `target` and makes the levels below.
void tex_upload(GLenum target, i32 components, i32 width, i32 height, const u8* bytes);

/// Makes all levels below level 0 of the texture bound to `target` (GL_TEXTURE_2D or GL_TEXTURE_CUBE_MAP),
/// by the driver or else in software.
void tex_make_mipmaps(GLenum target);

/// The same in software always, from level 0 and in its format: for one image or all faces of a cube. It
/// is quicker where the driver would have to compile programs of its own first.
void tex_make_mipmaps_plainly(GLenum target);

/// Makes the levels below an image in software: each pixel is the mean of four, (a + b + c + d + 2) / 4,
/// a sample beyond the image repeating the last pixel that is there. An image of 1 by 1 gets none.
/// `bytes` is overwritten.
void tex_box_mipmaps(GLenum target, i32 components, i32 width, i32 height, u8* bytes);

/// Raises the anisotropy of the texture bound to `target` to the card's limit, if it has any; but not where
/// OpenGL is drawn in software. Such a renderer would take minutes for a picture with plates seen from
/// their edges, seconds for clouds up to the horizon, and strew rough water with grey specks.
void tex_set_anisotropy(GLenum target);

/// glBlendEquation, looked up on first use. Does nothing, and returns false, where the driver lacks it.
bool tex_blend_equation(GLenum mode);

/// A new texture of random RGB pixels, repeating; it is left bound. Six draws a pixel, from the last pixel
/// to the first.
GLuint tex_noise(i32 width, i32 height);

/// What draws a picture for tex_from_drawing: in pixels, the origin at the upper left, y down.
using TexDrawing = void (*)(i32 width, i32 height, i32 a, void* b);

/// Draws a picture, offscreen where the driver can, and makes it a repeating RGBA texture with mipmaps,
/// which is left bound. Without framebuffer objects the picture can't be larger than the window, and
/// where the window has no alpha it is 1 all over.
GLuint tex_from_drawing(TexDrawing draw, i32 a, void* b, i32 width, i32 height);
