#include "tests/goldenworld.h"
#include "tests/sound.h"

#include <gtest/gtest.h>

TEST(golden_worlds, of_every_kind_are_made)
{
    const std::vector<GoldenWorld> worlds = golden_worlds(0);
    EXPECT_EQ(worlds.size(), 55U);
    for (const GoldenWorld& golden : worlds) {
        const GameWorld world(golden.seed, golden.kind);
        EXPECT_EQ(golden_told(world.game.root, 0, golden.kind, golden.seed), golden.line);
        EXPECT_SOUND(world.game.root);
    }
}

TEST(golden_worlds, of_the_gallery_are_made)
{
    const std::vector<GoldenWorld> worlds = golden_worlds(2);
    EXPECT_EQ(worlds.size(), 3U);
    for (const GoldenWorld& golden : worlds) {
        const GameWorld world(golden.seed, -1, 2);
        EXPECT_EQ(golden_told(world.game.root, 2, -1, golden.seed), golden.line);
        EXPECT_SOUND(world.game.root);
    }
}
