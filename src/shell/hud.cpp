#include "shell/hud.h"

#include "gfx/gfx_opengl.h"
#include "gfx/projection.h"
#include "model/attachment.h"
#include "text/bitmapfonts.h"
#include "text/drawtext.h"
#include "text/nodefont.h"

#include <GL/gl.h>

#include <cmath>
#include <cstdint>
#include <cstdio>

enum : u32 { WHITE = 0xFFFFFF };

static const char prompt_text[] = "Press Space for controls";

static const char help_text[] = "Q/Escape = Quit\n"
                                "Arrow keys, WASD or mouse = Move\n"
                                "Hold right mouse button or Ctrl+arrows = Rotate view\n"
                                "Mouse wheel or Z/X = Zoom in/out\n"
                                "N = New maze\n"
                                "F = Show connected area\n"
                                "R = Simplify maze\n"
                                "Space = Toggle help/statistics\n"
                                "Ctrl-S = Take screenshot\n"
                                "G = Change plotting type\n"
                                "Shift-G = Toggle grid\n"
                                "L = Toggle landscape\n"
                                "Shift-L = Toggle light\n"
                                "F3,F4,F5,F6 = Stereo mode, swap, depth";

static const char attachments_text[] = "Attachments: ";

f64 hud_rates[HUD_RATES];
i32 hud_rateindex = -1;

void hud_makefonts()
{
    if (font_current != nullptr) {
        return;
    }
    const NodeFontParams params = {
        .stroke = 0.125F, .cornerradius = 0.25F, .xscale = 1.0F, .xheight = 0.625F};
    NodeFontCharSet_load(nodefont_data, NODEFONT_LENGTH, "fmod", &params, 32.0F, 3.0F);
    Font_make("fmod:scale=30%", "normal");
    Font_select("normal");
}

// The y of a line of the statistics.
static f32 row(i32 line)
{
    return static_cast<f32>(line * font_height);
}

static void put(f32 x, i32 line, const char* text, u32 colour)
{
    text_put(x, row(line), 0.0F, 0.0F, text, colour);
}

static void putright(i32 line, const char* text)
{
    put(static_cast<f32>(gfx_width - 1) - text_width(text), line, text, WHITE);
}

static i32 wholeseconds(f64 time)
{
    if (std::isnan(time)) {
        return 0;
    }
    return static_cast<i32>(std::fmax(std::fmin(time, INT32_MAX), INT32_MIN));
}

static void puttime(f64 time)
{
    const i32 t = wholeseconds(time);
    char text[64];
    std::snprintf(text, sizeof text, "%d:%02d:%02d", t / 3600, (t / 60) % 60, t % 60);
    put(0.0F, 0, text, WHITE);
}

static void putplace(const MazeGame* game)
{
    char text[64];
    const void* const maze = game->pos.maze;
    std::snprintf(text, sizeof text, "Maze %p node %d", maze, game->pos.node);
    put(0.0F, 2, text, WHITE);
    put(0.0F, 3, text, WHITE); // twice, as the display has always had it
}

static void putvisits(const Maze* maze)
{
    const i32 nodes = Maze_count(maze);
    const f64 percent = 100.0 * static_cast<f64>(maze->visitednodes) / static_cast<f64>(nodes);
    char text[400];
    std::snprintf(text, sizeof text, "%d / %d nodes visited (%.2lf%%)", maze->visitednodes, nodes,
                  percent);
    put(0.0F, 4, text, WHITE);
}

// The colour of an attachment's name tells what kills it.
static u32 flagcolour(u32 flags)
{
    const u32 red = (flags & ATT_VISITS) != 0 ? 0xFF : 0x7F;
    const u32 green = (flags & ATT_EXITS) != 0 ? 0xFF : 0x7F;
    const u32 blue = (flags & ATT_GEOMETRY) != 0 ? 0xFF : 0x7F;
    return red << 16 | green << 8 | blue;
}

// Draws a piece of the list of attachments and gives the x behind it, in whole pixels.
static i32 putpiece(i32 x, const char* text, u32 colour)
{
    put(static_cast<f32>(x), 5, text, colour);
    return static_cast<i32>(static_cast<f32>(x) + text_width(text));
}

static void putattachments(const Maze* maze)
{
    const i32 n = static_cast<i32>(maze->attachments.count);
    i32 x = putpiece(0, attachments_text, WHITE);
    for (i32 i = 0; i < n; i++) { // in the order of the array, as they are read
        const Attachment* const attachment = items<Attachment>(&maze->attachments) + i;
        x = putpiece(x, attachment->name, flagcolour(attachment->flags));
        x = putpiece(x, i + 1 < n ? ", " : " ", WHITE);
    }
}

static void putfreed()
{
    char text[64];
    std::snprintf(text, sizeof text, "freeflags counter: %d", static_cast<i32>(freeflags_counter));
    put(0.0F, 6, text, WHITE);
}

static void noterate(f64 rate)
{
    if (hud_rateindex < 0) {
        for (i32 i = HUD_RATES - 1; i >= 0; i--) {
            hud_rates[i] = 0.0;
        }
        hud_rateindex = 0;
        return; // this frame is shown, and not kept
    }
    hud_rates[hud_rateindex] = rate;
    hud_rateindex = (hud_rateindex + 1) % HUD_RATES;
}

static void putrates(f64 rate)
{
    f64 least = 1e20;
    f64 most = 0.0;
    f64 sum = 0.0;
    for (i32 i = HUD_RATES - 1; i >= 0; i--) {
        least = hud_rates[i] < least ? hud_rates[i] : least;
        most = hud_rates[i] > most ? hud_rates[i] : most;
        sum += hud_rates[i];
    }
    char text[1200]; // a number has up to 311 characters
    std::snprintf(text, sizeof text, "%.1lf FPS", rate);
    putright(0, text);
    std::snprintf(text, sizeof text, "min %.1lf max %.1f avg %.1f", least, most, sum * 0.01);
    putright(1, text);
}

// The angle across the whole window, and that across its central 4:3 region.
static void fovtext(char* out, size_t size)
{
    f32 m[16];
    glGetFloatv(GL_PROJECTION_MATRIX, m);
    const f64 half = std::atan(1.0 / static_cast<f64>(m[0]));
    const f32 whole = static_cast<f32>(114.59155902616465 * half); // 360 / pi
    std::snprintf(out, size, "FOV = %g deg (%g deg 4:3 central region)", static_cast<f64>(whole),
                  static_cast<f64>(gfx_get_fov()));
}

static void drawstatistics(const MazeGame* game, f64 dt)
{
    const f64 rate = 1.0 / dt;
    const Maze* const maze = game->pos.maze;
    char fov[128];
    fovtext(fov, sizeof fov); // the batch hides the scene's projection
    noterate(rate);
    text_begin();
    puttime(game->time);
    putplace(game);
    putvisits(maze);
    putattachments(maze);
    putfreed();
    putrates(rate);
    putright(3, fov);
    text_end();
}

void hud_draw(const MazeGame* game, i32 mode, f64 dt)
{
    // a batch cares for the rest itself; its quads turn their back, as y runs down
    glPushAttrib(GL_ENABLE_BIT);
    glDisable(GL_FOG);
    glDisable(GL_CULL_FACE);
    glDisable(GL_ALPHA_TEST);
    switch (mode) {
    case HUD_PROMPT: text_draw(0.0F, 0.0F, prompt_text, WHITE); break;
    case HUD_HELP: text_draw(0.0F, 0.0F, help_text, WHITE); break;
    case HUD_STATISTICS: drawstatistics(game, dt); break;
    default: break;
    }
    glPopAttrib();
}
