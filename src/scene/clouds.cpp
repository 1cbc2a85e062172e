#include "scene/clouds.h"

#include "gfx/textures.h"
#include "scene/lighting.h"
#include "scene/noise.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

extern const char glsl_clouds_fs[];

static const f64 layer_centre[CLOUD_LAYERS] = {1000, 3000, 9000};
static const f64 layer_halfdepth[CLOUD_LAYERS] = {200, 200, 200};

enum { NOISE_SIZE = 128 };

// Each 0 until first use of clouds_draw.
static GLuint cloud_noise;
static GLuint cloud_program;

// Puts a sheet into a list that goes from far to near.
static void addsheet(CloudSheet* list, i32* count, i32 layer, f64 height, f64 z, f64 alpha)
{
    const CloudSheet sheet = {layer, static_cast<f32>(height),
                              static_cast<f32>(std::fabs(z - height)), static_cast<f32>(alpha)};
    i32 at = *count;
    for (; at > 0 && list[at - 1].distance < sheet.distance; at--) {
        list[at] = list[at - 1];
    }
    list[at] = sheet;
    (*count)++;
}

i32 cloud_sheets(f64 z, CloudSheet* out)
{
    i32 count = 0;
    for (i32 layer = CLOUD_LAYERS - 1; layer >= 0; layer--) {
        const f64 low = layer_centre[layer] - layer_halfdepth[layer];
        const f64 high = layer_centre[layer] + layer_halfdepth[layer];
        if (z <= low) {
            addsheet(out, &count, layer, high, z, 1);
        } else if (z >= high) {
            addsheet(out, &count, layer, low, z, 1);
        } else {
            addsheet(out, &count, layer, low, z, (z - low) / (high - low));
            addsheet(out, &count, layer, high, z, (high - z) / (high - low));
        }
    }
    return count;
}

// Where a sheet lies, and what its corners are measured from.
struct SheetPlace {
    f64 eye[2], tex[2]; // the point below the eye, and its texture coordinates
    f64 height, texscale;
};

static void emitcorner(const SheetPlace* place, f64 dx, f64 dy)
{
    glTexCoord2f(static_cast<f32>(place->tex[0] + dx * place->texscale),
                 static_cast<f32>(place->tex[1] + dy * place->texscale));
    glVertex3f(static_cast<f32>(place->eye[0] + dx), static_cast<f32>(place->eye[1] + dy),
               static_cast<f32>(place->height));
}

// The frame between the squares of half-widths s and t, on the sides y = +, x = +, y = -, x = -.
static void emitframe(const SheetPlace* place, f64 s, f64 t)
{
    static const f64 corners[5][2] = {{-1, 1}, {1, 1}, {1, -1}, {-1, -1}, {-1, 1}};
    for (i32 side = 0; side < 4; side++) { // in the order told
        const f64* const a = corners[side];
        const f64* const b = corners[side + 1];
        emitcorner(place, s * a[0], s * a[1]); // begins on the inner edge
        emitcorner(place, s * b[0], s * b[1]);
        emitcorner(place, t * b[0], t * b[1]);
        emitcorner(place, t * a[0], t * a[1]);
    }
}

void cloud_sheet(const f64 eye[3], f32 height, const f64 texoff[2], f32 texscale)
{
    const f64 scale = static_cast<f64>(texscale);
    const SheetPlace place = {{eye[0], eye[1]},
                              {texoff[0] + eye[0] * scale, texoff[1] + eye[1] * scale},
                              static_cast<f64>(height),
                              scale};
    f64 s = std::max(10.0, std::fabs(eye[2] - place.height));
    const f64 limit = 10000 * s;
    emitcorner(&place, -s, -s);
    emitcorner(&place, s, -s);
    emitcorner(&place, s, s);
    emitcorner(&place, -s, s);
    while (s < limit) {
        emitframe(&place, s, 2 * s);
        s *= 2;
    }
}

static GLuint makenoise(f32 noisescale)
{
    GLuint name = 0;
    glGenTextures(1, &name);
    glBindTexture(GL_TEXTURE_2D, name);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    tex_set_anisotropy(GL_TEXTURE_2D);
    u8* const bytes = noise_make(NOISE_SIZE, NOISE_SIZE, noisescale * 0.01F);
    tex_upload(GL_TEXTURE_2D, 1, NOISE_SIZE, NOISE_SIZE, bytes);
    std::free(bytes);
    return name;
}

static void begin(f32 dewpoint)
{
    program_use(cloud_program);
    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, cloud_noise);
    uniform_i32(cloud_program, "noise", 0);
    uniform_f32(cloud_program, "dewpoint",
                static_cast<f32>(static_cast<f64>(dewpoint) * 0.00392156862745098));
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glDepthMask(GL_FALSE);
}

static void end()
{
    glDepthMask(GL_TRUE);
    glDisable(GL_BLEND);
    glDisable(GL_TEXTURE_2D);
    program_use(0);
}

// Never black: a tenth is there at night.
static void setcolour(const f32 sun[3], f32 alpha)
{
    glColor4f((sun[0] * 0.8F + 0.1F) * 0.5F, (sun[1] + 0.1F) * 0.5F, (sun[2] * 1.2F + 0.1F) * 0.5F,
              alpha);
}

void clouds_draw(const f64 eye[3], f32 offx, f32 offy, f32 dewpoint, f32 noisescale,
                 const LightRec* light)
{
    if (cloud_noise == 0) {
        cloud_noise = makenoise(noisescale);
        cloud_program = program_make_fragment(glsl_clouds_fs, nullptr, nullptr);
    }
    begin(dewpoint);
    CloudSheet sheets[CLOUD_MAXSHEETS];
    const i32 count = cloud_sheets(eye[2], sheets);
    glBegin(GL_QUADS);
    for (i32 i = 0; i < count; i++) { // farthest first
        const i32 layer = sheets[i].layer;
        // each layer shows another part of the noise
        const f64 offset[2] = {static_cast<f64>(offx) + 54679.0 * layer,
                               static_cast<f64>(offy) + 13567.0 * layer};
        setcolour(light->sunrow[layer], sheets[i].alpha);
        cloud_sheet(eye, sheets[i].height, offset, 0.1F);
    }
    glEnd();
    end();
}
