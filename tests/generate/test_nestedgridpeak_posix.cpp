// What the nested grid takes while it is made, as the system tells it of a process.
#include "generate/makemaze.h"
#include "tests/goldenworld.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// The peak of the resident size of a process that makes one nested grid, in bytes.
static f64 peakofmaking(u32 seed)
{
    const pid_t child = fork();
    if (child == 0) {
        MazeGame game = {};
        rnd_seed(seed);
        MazeGame_generate(&game, 1);
        _exit(game.root != nullptr ? 0 : 1);
    }
    int status = -1;
    rusage usage = {};
    EXPECT_EQ(wait4(child, &status, 0, &usage), child);
    EXPECT_EQ(status, 0);
    return static_cast<f64>(usage.ru_maxrss) * 1024.0;
}

TEST(nested_grid, is_made_in_little_more_memory_than_its_records_take)
{
    const f64 peak = peakofmaking(1);
    const f64 nodes = 400.0 + 3800.0 + 36100.0 + 348700.0 + 3337600.0; // of the golden world
    const f64 records = nodes * sizeof(MazeNode);
    EXPECT_GT(peak, records);
    EXPECT_LT(peak, 1.25 * records);
}
