#include "scene/colours.h"

#include <algorithm>
#include <bit>
#include <cmath>

enum : u32 {
    COLOUR_ALLUSED = 0x408040,
    COLOUR_ONEUSED = 0xC0A040,
    COLOUR_MOREUSED = 0x80C040,
};

u32 exit_colour(const Maze* maze, u32 colour)
{
    if (maze->parent == nullptr || maze->exitsused == 0) {
        return colour;
    }
    const i32 used = std::popcount(maze->exitsused);
    if (used == Maze_ports(maze)) {
        return COLOUR_ALLUSED;
    }
    return used == 1 ? COLOUR_ONEUSED : COLOUR_MOREUSED;
}

u32 colour_drawn(u32 colour)
{
    const u32 rgb = colour & 0xFFFFFF;
    return rgb == 0xFFFFFF ? 0xFEFEFE : rgb;
}

void colour_channels(u32 colour, f32 out[3])
{
    const u32 drawn = colour_drawn(colour);
    out[0] = static_cast<f32>(drawn >> 16) / 255.0F;
    out[1] = static_cast<f32>((drawn >> 8) & 0xFF) / 255.0F;
    out[2] = static_cast<f32>(drawn & 0xFF) / 255.0F;
}

static void add(f64 out[3], f64 r, f64 g, f64 b)
{
    out[0] += r;
    out[1] += g;
    out[2] += b;
}

// `decade` counts from ages below 0.1 s (0 to 1) upward.
static void adddecade(f64 out[3], f64 decade)
{
    const f64 full = 0.1412;
    const f64 i = (decade - std::floor(decade)) * full;
    const f64 h = 0.5 * i;
    if (decade <= 1.0) {
        add(out, full, full, full);
    } else if (decade <= 2.0) {
        add(out, full, full - i, full);
    } else if (decade <= 3.0) {
        add(out, full, 0, full - i);
    } else if (decade <= 4.0) {
        add(out, full, i, 0);
    } else if (decade <= 5.0) {
        add(out, full - i, full, 0);
    } else if (decade <= 6.0) {
        add(out, 0, full, i);
    } else if (decade <= 7.0) {
        add(out, 0, full - i, full);
    } else if (decade <= 8.0) {
        add(out, h, h, full - h);
    } else if (decade <= 9.0) {
        add(out, 0.0706 - h, 0.0706 - h, 0.0706 - h);
    }
}

void age_colour_cpu(f64 age, f64 out[3])
{
    const f64 decade = std::log10(std::max(1.0, 100 * age));
    const f64 grey = 0.0667 + 0.0627 * std::max(6.6388889 - decade, 0.0);
    for (i32 i = 2; i >= 0; i--) {
        out[i] = grey;
    }
    adddecade(out, decade);
}
