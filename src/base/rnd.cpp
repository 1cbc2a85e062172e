#include "base/rnd.h"

static u32 state; // written by rnd_seed, rnd_draw and rnd_skip only
static u32 count; // draws since the last seeding

void rnd_seed(u32 seed)
{
    state = seed;
    count = 0;
}

u32 rnd_state()
{
    return state;
}

u32 rnd_count()
{
    return count;
}

i32 rnd_draw()
{
    count++;
    state = rnd_next(state);
    return rnd_drawn(state);
}

void rnd_skip(u32 n)
{
    count += n;
    u32 factor = RND_FACTOR; // of 1, 2, 4 ... draws at once
    u32 step = RND_STEP;
    for (; n != 0; n >>= 1) {
        if ((n & 1) != 0) {
            state = state * factor + step;
        }
        step = step * factor + step;
        factor *= factor;
    }
}

f64 rnd(f64 x)
{
    const i32 low = rnd_draw();
    const i32 high = rnd_draw();
    return x * 0x1p-15 * (low * 0x1p-15 + high);
}

i32 irand(i32 n)
{
    const f64 drawn = rnd(n);
    if (n <= 0) {
        return 0;
    }
    const i32 floored = static_cast<i32>(drawn); // not negative, so this is the floor
    return floored < n ? floored : n - 1;
}
