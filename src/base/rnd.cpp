#include "base/rnd.h"

static u32 state; // written by rnd_seed and rnd_draw only
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
    state = state * 214013U + 2531011U;
    return static_cast<i32>((state >> 16) & RND_MAX);
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
