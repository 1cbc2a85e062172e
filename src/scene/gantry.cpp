#include "scene/gantry.h"

#include "gfx/gl/shaderprocs.h"
#include "gfx/textures.h"
#include "model/drawsphere.h"
#include "model/mazegame.h"
#include "scene/colours.h"
#include "scene/gantryparts.h"
#include "scene/gantryreach.h"
#include "scene/gantryrows.h"
#include "scene/impostors.h"
#include "scene/lighting.h"
#include "scene/lists.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

extern const char glsl_lighting[];
extern const char glsl_plate_vs[];
extern const char glsl_plate_fs[];
extern const char glsl_hextile_fs[];

u32 gantry_tex = 0;   // written by maketextures
u32 gantry_tnorm = 0; // written by maketextures
bool gantry_everylevel = false;

static GLuint plateprogram;   // 0 until first use of gantry_plot
static GLuint hextileprogram; // 0 until first use of drawhextile

// The texts of each program, stage by stage.
static const char* const platevertex[] = {glsl_plate_vs};
static const char* const platefragment[] = {glsl_lighting, glsl_plate_fs};
static const char* const hextilefragment[] = {glsl_hextile_fs};

// -------- the two textures

static void emittilecorner(i32 x, i32 y, f32 u, f32 v)
{
    glTexCoord2f(u, v);
    glVertex2f(static_cast<f32>(x), static_cast<f32>(y));
}

// `tn` is 0 for the colour and 1 for the normals. Where the picture can't hold an alpha its colours are
// multiplied by it; the flag at `alphalost` says so.
static void drawhextile(i32 width, i32 height, i32 tn, void* alphalost)
{
    if (hextileprogram == 0) {
        hextileprogram = program_make_lists(nullptr, 0, hextilefragment, 1);
    }
    program_use(hextileprogram);
    uniform_i32(hextileprogram, "tn", tn);
    GLint alphabits = 0;
    glGetIntegerv(GL_ALPHA_BITS, &alphabits);
    if (alphabits == 0) {
        *static_cast<bool*>(alphalost) = true;
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ZERO);
    }
    glColor3f(1, 1, 1);
    glBegin(GL_QUADS);
    emittilecorner(0, 0, 0, 1);
    emittilecorner(width, 0, 1, 1);
    emittilecorner(width, height, 1, 0);
    emittilecorner(0, height, 0, 0);
    glEnd();
    glDisable(GL_BLEND);
    program_use(0);
}

// Makes alpha of what was a texture's brightness, and white of its colour, where there is any.
static void alphafromcolour(GLuint name)
{
    const size_t bytes = static_cast<size_t>(GANTRY_TEXSIZE) * GANTRY_TEXSIZE * 4;
    u8* const image = static_cast<u8*>(std::malloc(bytes));
    glBindTexture(GL_TEXTURE_2D, name);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, image);
    for (size_t i = 0; i < bytes; i += 4) {
        const u8 alpha = image[i];
        std::memset(image + i, alpha != 0 ? 255 : 0, 3);
        image[i + 3] = alpha;
    }
    tex_upload(GL_TEXTURE_2D, 4, GANTRY_TEXSIZE, GANTRY_TEXSIZE, image);
    std::free(image);
}

static GLuint maketile(i32 tn)
{
    bool alphalost = false;
    const GLuint name =
        tex_from_drawing(drawhextile, tn, &alphalost, GANTRY_TEXSIZE, GANTRY_TEXSIZE);
    if (alphalost && tn == 0) {
        alphafromcolour(name);
    }
    return name;
}

static void maketextures()
{
    if (gantry_tex == 0) {
        gantry_tex = maketile(0);
    }
    if (gantry_tnorm == 0) {
        gantry_tnorm = maketile(1);
    }
}

// Units above the first need an OpenGL that can make programs too.
static void bindtextures()
{
    if (shaders_can()) {
        gl_entry_points.ActiveTexture(GL_TEXTURE1);
        glBindTexture(GL_TEXTURE_2D, gantry_tnorm);
        gl_entry_points.ActiveTexture(GL_TEXTURE0);
    }
    glBindTexture(GL_TEXTURE_2D, gantry_tex);
}

// -------- the lists

static void setcolour(u32 colour)
{
    f32 channels[3];
    colour_channels(colour, channels);
    glColor3fv(channels);
}

// False for a place that single precision can't hold.
static bool isplace(const f64 pos[3])
{
    return std::isfinite(static_cast<f32>(pos[0])) && std::isfinite(static_cast<f32>(pos[1])) &&
           std::isfinite(static_cast<f32>(pos[2]));
}

// `to` is null in a batch that is open.
static void emitplate(const GantryPlate* plate, void* to)
{
    for (i32 i = plate->ncorners - 1; i >= 0; i--) {
        if (!isplace(plate->corners[i].pos)) {
            return;
        }
    }
    if (to != nullptr) {
        ListOnce_part(static_cast<ListOnce*>(to), plate->ncorners == 4 ? GL_QUADS : GL_TRIANGLES);
    }
    setcolour(plate->colour);
    glNormal3f(static_cast<f32>(plate->normal[0]), static_cast<f32>(plate->normal[1]),
               static_cast<f32>(plate->normal[2]));
    for (i32 i = 0; i < plate->ncorners; i++) { // around the plate, against the clock
        const GantryCorner* const corner = &plate->corners[i];
        glTexCoord3f(static_cast<f32>(corner->tex[0]), static_cast<f32>(corner->tex[1]),
                     static_cast<f32>(plate->angle));
        glVertex3f(static_cast<f32>(corner->pos[0]), static_cast<f32>(corner->pos[1]),
                   static_cast<f32>(corner->pos[2]));
    }
}

void gantry_walkways(Maze* maze)
{
    glBegin(GL_QUADS);
    gantry_eachwalkway(maze, nullptr, emitplate, nullptr);
    glEnd();
    glBegin(GL_TRIANGLES);
    gantry_eachtriangle(maze, nullptr, emitplate, nullptr);
    glEnd();
}

void gantry_railings(Maze* maze)
{
    impostors_begin();
    gantry_eachbar(maze, gantry_emitbar, nullptr);
    impostors_end();
}

void gantry_railballs(Maze* maze)
{
    impostors_begin();
    gantry_eachball(maze, gantry_emitball, nullptr);
    impostors_end();
}

// -------- the plot

static void beginplates(const f64 lamp[3], bool lit, const LightRec* light)
{
    if (plateprogram == 0) {
        plateprogram = program_make_lists(platevertex, 1, platefragment, 2);
    }
    lit_begin(plateprogram, lamp, lit, light);
    uniform_i32(plateprogram, "tex", 0);
    uniform_i32(plateprogram, "tnorm", 1);
    bindtextures();
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
}

// One of the three kinds of parts.
struct Layer {
    const char* list;
    ListBuilder builder;
    i32 rows; // the kind of GantryPart that long ways are drawn anew of; -1: none
};

// Levels that look smaller, in pixels, are drawn anew each frame: bars and balls from their stretches, and
// the smallest without keeping anything. Of a level with a hundred nodes that is so small next to nothing
// is painted, while a list of it takes as long to draw as that of any other.
static const f64 smallpixels = 64.0;
static const f64 speckpixels = 2.0;

static void drawspeck(Maze* maze, const Layer* layer, const Sight* sight, ListOnce* once)
{
    if (layer->rows >= 0) {
        gantry_speck(maze, static_cast<GantryPart>(layer->rows), sight, once);
        return;
    }
    const GantryFilter filter = {.sight = sight, .reach = gantry_extent(maze)->reach};
    gantry_eachwalkway(maze, &filter, emitplate, once);
    gantry_eachtriangle(maze, &filter, emitplate, once);
}

// The parts of one level.
static void drawlevel(Maze* maze, const Layer* layer, const Sight* sight, ListOnce* once)
{
    if (sight == nullptr) {
        Maze_calllist(maze, layer->list, layer->builder, false, nullptr);
        return;
    }
    const f64 reach = gantry_extent(maze)->reach;
    if (Maze_unpainted(maze, sight, reach)) {
        return;
    }
    f64 centre[3];
    f64 radius;
    Maze_drawsphere(maze, centre, &radius);
    const f64 pixels = Sight_pixels(sight, centre, radius + reach);
    if (pixels < speckpixels) {
        drawspeck(maze, layer, sight, once);
    } else if (layer->rows >= 0 && (pixels < smallpixels || gantry_haslongway(maze))) {
        gantry_rows(maze, static_cast<GantryPart>(layer->rows), sight, once);
    } else {
        ListOnce_draw(once);
        Maze_calllist(maze, layer->list, layer->builder, false, nullptr);
    }
}

// Draws the parts of a level and of those below it, last node first, without what can't touch the
// picture. A walkway's corners stand off from their node by its radius and more where exits are close
// together, so a level reaches beyond its draw sphere. With no sight all is drawn.
static void drawlevels(Maze* maze, const Layer* layer, const Sight* sight, ListOnce* once)
{
    if (sight != nullptr && gantry_outofview(maze, sight)) {
        return;
    }
    drawlevel(maze, layer, sight, once);
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        Maze* const sub = Maze_node(maze, n)->sub;
        if (sub != nullptr) {
            drawlevels(sub, layer, sight, once);
        }
    }
}

static void drawlayer(Maze* root, const Layer* layer, const Sight* sight)
{
    ListOnce once = {};
    drawlevels(root, layer, sight, &once);
    ListOnce_draw(&once);
}

void gantry_plot(Maze* root, const MazeGame* game, bool lit, const LightRec* light)
{
    maketextures();
    static const Layer plates = {"gantrylist", gantry_walkways, -1};
    static const Layer bars = {"gantrylist_railings", gantry_railings, GANTRY_BARS};
    static const Layer balls = {"gantrylist_railballs", gantry_railballs, GANTRY_BALLS};
    Sight whole;
    Sight_make(&whole, &game->view);
    const Sight* const sight = gantry_everylevel ? nullptr : &whole;
    f64 lamp[3];
    MazeGame_viewpos(lamp, game);
    lamp[2] += 1.0; // above the walker
    beginplates(lamp, lit, light);
    drawlayer(root, &plates, sight);
    program_use(0);
    glDisable(GL_BLEND);
    lit_begin(cylinder_program(), lamp, lit, light);
    drawlayer(root, &bars, sight);
    program_use(0);
    lit_begin(sphere_program(), lamp, lit, light);
    drawlayer(root, &balls, sight);
    program_use(0);
}
