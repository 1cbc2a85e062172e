// The debug dump on a disk that is full.
#include "tests/mazes.h"

#include <gtest/gtest.h>

TEST(Maze_dump, says_that_the_file_cant_be_written)
{
    const World maze(make_nodes(1));
    EXPECT_EQ(-1, Maze_dump(maze.get(), "/dev/full", "x", MAZE_DUMP_ALL));
    const World nest(make_nodes(1));
    hang(nest.get(), 0, make_nodes(1));
    EXPECT_EQ(-1, Maze_dump(nest.get(), "/dev/full", "x", MAZE_DUMP_ALL));
}
