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

static i32 channel(u32 colour, i32 shift)
{
    return static_cast<i32>((colour >> shift) & 0xFF);
}

static u32 pack(i32 r, i32 g, i32 b)
{
    return static_cast<u32>(std::clamp(r, 0, 255)) << 16 |
           static_cast<u32>(std::clamp(g, 0, 255)) << 8 | static_cast<u32>(std::clamp(b, 0, 255));
}

u32 colour_add(u32 colour, i32 dr, i32 dg, i32 db)
{
    return pack(channel(colour, 16) + dr, channel(colour, 8) + dg, channel(colour, 0) + db);
}

// Adds to a grey what its decade has; `i` runs from 0 to 35 within a decade, and `decade` counts from ages
// below 0.1 s (0 to 1) upward.
static u32 adddecade(u32 grey, f64 decade, i32 i)
{
    const i32 full = 36;
    const i32 h = i / 2;
    if (decade <= 1.0) {
        return colour_add(grey, full, full, full);
    }
    if (decade <= 2.0) {
        return colour_add(grey, full, full - i, full);
    }
    if (decade <= 3.0) {
        return colour_add(grey, full, 0, full - i);
    }
    if (decade <= 4.0) {
        return colour_add(grey, full, i, 0);
    }
    if (decade <= 5.0) {
        return colour_add(grey, full - i, full, 0);
    }
    if (decade <= 6.0) {
        return colour_add(grey, 0, full, i);
    }
    if (decade <= 7.0) {
        return colour_add(grey, 0, full - i, full);
    }
    if (decade <= 8.0) {
        return colour_add(grey, h, h, full - h);
    }
    if (decade <= 9.0) {
        return colour_add(grey, 18 - h, 18 - h, 18 - h);
    }
    return grey;
}

u32 age_colour_cpu(f64 age)
{
    const f64 decade = std::min(std::log10(std::max(1.0, 100 * age)), 10.0); // no more after 9
    const i32 i = static_cast<i32>(std::fmod(decade, 1.0) * 36);
    const i32 g = static_cast<i32>(std::max(6.638888888888889 - decade, 0.0) * 16 + 17);
    return adddecade(pack(g, g, g), decade, i);
}

static u32 notwhite(u32 colour)
{
    return colour == 0xFFFFFF ? 0xFEFEFE : colour;
}

static u32 addlight(u32 colour, u32 light)
{
    return colour_add(colour, channel(light, 16), channel(light, 8), channel(light, 0));
}

// A roamer's tracks are green: light through the mask 0x40FF80.
static u32 masked(u32 light)
{
    return pack(channel(light, 16) * 64 / 255, channel(light, 8), channel(light, 0) * 128 / 255);
}

u32 rec_colour(const VisitRec* rec, Pos at, Pos other, const MazeGame* game)
{
    u32 colour = notwhite(rec->colour & 0xFFFFFF);
    if (other.maze == nullptr || other.maze == at.maze) {
        colour = exit_colour(at.maze, colour);
    }
    if (game != nullptr && game->showtrail == 0) {
        return colour;
    }
    const f64 time = game == nullptr ? 0.0 : game->time;
    if (rec->walked >= 0) {
        colour = addlight(colour, age_colour_cpu(time - rec->walked));
    }
    if (rec->trailed >= 0) {
        colour = addlight(colour, masked(age_colour_cpu(time - rec->trailed)));
    }
    return notwhite(colour);
}
