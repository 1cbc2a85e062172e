#include "tests/soak/hands.h"

#include "gfx/gfx_opengl.h"
#include "gfx/platform/scripted.h"
#include "scene/scene.h"

#include <algorithm>
#include <iterator>

// Keys and how often each comes. Q and Escape end a run, which is the soak's to decide.
struct Wish {
    const char* key;
    i32 weight;
    i32 longest; // frames that it is held at most
};

static const Wish wishes[] = {
    {"Up", 12, 80},   {"Down", 4, 40}, {"Left", 6, 40}, {"Right", 6, 40}, {"W", 8, 80},
    {"S", 5, 40},     {"A", 3, 40},    {"D", 3, 40},    {"Z", 4, 60},     {"X", 4, 60},
    {"1", 3, 3},      {"3", 3, 3},     {"I", 2, 20},    {"F3", 4, 2},     {"F4", 2, 2},
    {"F5", 3, 2},     {"F6", 3, 2},    {"F7", 2, 3},    {"F8", 2, 3},     {"P", 2, 2},
    {"V", 3, 2},      {"M", 3, 2},     {"G", 5, 2},     {"L", 3, 2},      {"N", 2, 2},
    {"R", 2, 20},     {"E", 1, 4},     {"K", 2, 2},     {"C", 2, 10},     {"F", 3, 20},
    {"J", 3, 40},     {"Space", 4, 2}, {"Alt", 1, 10},  {"Tab", 1, 3},    {"0", 1, 3},
    {"2", 1, 3},      {"4", 1, 3},     {"B", 1, 3},     {"H", 1, 3},      {"O", 1, 3},
    {"T", 1, 3},      {"U", 1, 3},     {"Y", 1, 3},     {"5", 1, 3},      {"6", 1, 3},
    {"7", 1, 3},      {"8", 1, 3},     {"9", 1, 3},     {"F1", 1, 3},     {"F2", 1, 3},
    {"F9", 1, 3},     {"F10", 1, 3},   {"F11", 1, 3},   {"F12", 1, 3},    {"Shift", 10, 30},
    {"Ctrl", 10, 30},
};

static void add(i32 frame, ScriptedKind kind, i32 a = 0, i32 b = 0)
{
    scripted_add({.frame = frame, .kind = kind, .a = a, .b = b});
}

i32 hands_below(Hands* hands, i32 n)
{
    return static_cast<i32>(hands->dice() % static_cast<u32>(n));
}

static i32 between(Hands* hands, i32 low, i32 high)
{
    return low + hands_below(hands, high - low + 1);
}

void hands_letgo(Hands* hands)
{
    std::fill(std::begin(hands->keyup), std::end(hands->keyup), 0);
    std::fill(std::begin(hands->buttonup), std::end(hands->buttonup), 0);
    hands->restoring = 0;
    hands->modifiersince = 0;
    hands->largeuntil = 0;
}

static void keydown(Hands* hands, i32 frame, i32 key, i32 frames)
{
    if (hands->keyup[key] == 0) {
        add(frame, SCRIPT_KEY_DOWN, key);
        hands->keyup[key] = frame + frames;
    }
}

static void keyup(Hands* hands, i32 frame, i32 key)
{
    if (hands->keyup[key] != 0) {
        add(frame, SCRIPT_KEY_UP, key);
        hands->keyup[key] = 0;
    }
}

// N alone or with both modifiers; with one of them only when that is wanted.
static void newworld(Hands* hands, i32 frame)
{
    if (hands->modifiersince == frame || hands->restoring != 0) {
        return; // the chord would be another one than is thought
    }
    keyup(hands, frame, KEY_SHIFT);
    keyup(hands, frame, KEY_CTRL);
    keyup(hands, frame, 'N');
    if (hands->nested || hands_below(hands, 4) == 0) {
        keydown(hands, frame, KEY_SHIFT, 2);
    }
    if (!hands->nested && hands->keyup[KEY_SHIFT] != 0) {
        keydown(hands, frame, KEY_CTRL, 2);
    }
    add(frame, SCRIPT_KEY_PRESS, 'N');
    hands->modifiersince = frame;
    hands->nested = false;
    hands->worlds++;
}

static void somekey(Hands* hands, i32 frame)
{
    static const i32 sum = [] {
        i32 total = 0;
        for (const Wish& wish : wishes) {
            total += wish.weight;
        }
        return total;
    }();
    i32 left = hands_below(hands, sum);
    const Wish* wish = wishes;
    while (left >= wish->weight) {
        left -= wish->weight;
        wish++;
    }
    const i32 key = virtualkey(wish->key);
    if (key == 'N') {
        newworld(hands, frame);
        return;
    }
    if (key == 'L' && frame <= hands->largeuntil) {
        return;
    }
    if (key == KEY_SHIFT || key == KEY_CTRL) {
        hands->modifiersince = frame;
    }
    keydown(hands, frame, key, between(hands, 1, wish->longest));
}

static void somebutton(Hands* hands, i32 frame)
{
    static const u32 buttons[] = {MOUSE_LEFT, MOUSE_RIGHT, MOUSE_RIGHT, MOUSE_MIDDLE};
    const u32 button = buttons[hands_below(hands, 4)];
    if (hands->buttonup[button] == 0) {
        add(frame, SCRIPT_BUTTON_DOWN, static_cast<i32>(button));
        hands->buttonup[button] = frame + between(hands, 1, 40);
    }
}

static void somemotion(Hands* hands, i32 frame)
{
    const i32 reach = hands_below(hands, 50) == 0 ? 1000000 : 60;
    const i32 dx = between(hands, -reach, reach);
    const i32 dy = between(hands, -reach, reach);
    add(frame, SCRIPT_MOUSE, dx, dy);
}

// Small ones mostly, since the software renderer pays for each pixel. The odd ones last two frames, and
// the large ones come without the landscape only, whose shaders are the slowest.
static void somesize(Hands* hands, i32 frame)
{
    static const i32 odd[][2] = {{1, 1},   {1, 200},   {200, 1},   {0, 0},       {0, 48},
                                 {3, 900}, {16384, 1}, {1, 16384}, {1920, 1080}, {2500, 2500}};
    const i32 width = between(hands, 8, 96);
    const i32 height = between(hands, 8, 72);
    const i32* const size = odd[hands_below(hands, static_cast<i32>(std::size(odd)))];
    const bool large = size[0] * size[1] > 100000;
    if (hands_below(hands, 3) == 0 && !(large && landscape_on != 0)) {
        add(frame, SCRIPT_RESIZE, size[0], size[1]);
        add(frame + 2, SCRIPT_RESIZE, width, height);
        hands->largeuntil = large ? frame + 2 : 0;
    } else {
        add(frame, SCRIPT_RESIZE, width, height);
    }
    hands->resizes++;
}

static void someplace(Hands* hands, i32 frame)
{
    const i32 x = between(hands, -3000, 3000);
    const i32 y = between(hands, -3000, 3000);
    add(frame, SCRIPT_MOVE, x, y);
}

static void minimise(Hands* hands, i32 frame)
{
    if (hands->restoring == 0) {
        add(frame, SCRIPT_MINIMISE);
        hands->restoring = frame + between(hands, 1, 20);
    }
}

static void somepace(Hands* hands)
{
    static const f64 paces[] = {1.0 / 60, 1.0 / 60, 1.0 / 60, 1.0 / 144, 0.05, 0.3, 3.0, 0.0};
    const bool leap = hands_below(hands, 200) == 0; // a day and more in one frame
    scripted_step(leap ? 1e5 : paces[hands_below(hands, static_cast<i32>(std::size(paces)))]);
}

static void wish(Hands* hands, i32 frame)
{
    const i32 kind = hands_below(hands, 100);
    if (kind < 55) {
        somekey(hands, frame);
    } else if (kind < 64) {
        somebutton(hands, frame);
    } else if (kind < 80) {
        somemotion(hands, frame);
    } else if (kind < 86) {
        add(frame, SCRIPT_WHEEL, hands_below(hands, 2) * 2 - 1);
    } else if (kind < 89) {
        somesize(hands, frame);
    } else if (kind < 90) {
        minimise(hands, frame);
    } else if (kind < 92) {
        someplace(hands, frame);
    } else if (kind < 93) {
        add(frame, SCRIPT_TYPE, hands_below(hands, 0x110000));
    } else if (kind < 96) {
        somepace(hands);
    }
}

static void letgo(Hands* hands, i32 frame)
{
    for (i32 key = 255; key >= 0; key--) {
        if (hands->keyup[key] != 0 && hands->keyup[key] <= frame) {
            keyup(hands, frame, key);
        }
    }
    for (i32 button = 16; button >= 1; button--) {
        if (hands->buttonup[button] != 0 && hands->buttonup[button] <= frame) {
            add(frame, SCRIPT_BUTTON_UP, button);
            hands->buttonup[button] = 0;
        }
    }
    if (hands->restoring != 0 && hands->restoring <= frame) {
        add(frame, SCRIPT_RESTORE);
        hands->restoring = 0;
    }
}

// The landscape's shaders take so long that it doesn't stay for long.
static void leavelandscape(Hands* hands, i32 frame)
{
    if (landscape_on != 0 && hands_below(hands, 3) == 0 && hands->keyup['L'] == 0 &&
        hands->keyup[KEY_SHIFT] == 0) {
        keydown(hands, frame, 'L', 1);
    }
}

void hands_play(Hands* hands, i32 frame)
{
    letgo(hands, frame);
    leavelandscape(hands, frame);
    if (hands->nested) {
        newworld(hands, frame);
        return;
    }
    for (i32 i = hands_below(hands, 4); i > 0; i--) {
        wish(hands, frame);
    }
}
