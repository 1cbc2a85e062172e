#include "base/str.h"
#include "generate/names.h"
#include "tests/mazes.h"
#include "tests/sound.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

static Maze* named(Maze* maze, const char* name)
{
    str_set(&maze->name, name);
    return maze;
}

TEST(Maze_subname, is_the_mazes_name_a_point_and_two_digits_or_more)
{
    Maze* const maze = named(Maze_new(), "a");
    char* const two = Maze_subname(maze, 7);
    char* const six = Maze_subname(maze, 123456);
    EXPECT_STREQ(two, "a.07");
    EXPECT_STREQ(six, "a.123456");
    std::free(six);
    std::free(two);
    Maze_free(maze, true);
}

TEST(Maze_numbersubs, counts_the_submazes_of_an_unnamed_maze_from_1)
{
    const World root(make_line(5));
    const Maze* const first = hang(root.get(), 1, make_line(3));
    const Maze* const second = hang(root.get(), 4, make_line(3));
    Maze_numbersubs(root.get());
    EXPECT_STREQ(first->name, "1"); // whatever the numbers of the nodes
    EXPECT_STREQ(second->name, "2");
    EXPECT_EQ(root->name, nullptr);
    EXPECT_SOUND(root.get());
}

TEST(Maze_numbersubs, gives_two_digits_below_a_named_maze)
{
    const World root(make_line(3));
    Maze* const sub = hang(root.get(), 1, make_line(6));
    const Maze* const first = hang(sub, 3, make_line(1));
    const Maze* const second = hang(sub, 5, make_line(2));
    Maze_numbersubs(root.get());
    EXPECT_STREQ(sub->name, "1");
    EXPECT_STREQ(first->name, "1.01");
    EXPECT_STREQ(second->name, "1.02");
}

TEST(Maze_numbersubs, gives_the_hundredth_three_digits)
{
    const World root(named(make_nodes(120), "many"));
    for (i32 i = 5; i < 105; i++) {
        hang(root.get(), i, make_nodes(1));
    }
    Maze_numbersubs(root.get());
    EXPECT_STREQ(Maze_node(root.get(), 103)->sub->name, "many.99");
    EXPECT_STREQ(Maze_node(root.get(), 104)->sub->name, "many.100");
}

TEST(Maze_numbersubs, replaces_earlier_names)
{
    const World root(make_line(3));
    Maze* const sub = hang(root.get(), 1, named(make_line(3), "an earlier name"));
    const Maze* const below = hang(sub, 2, named(make_line(1), "another"));
    Maze_numbersubs(root.get());
    EXPECT_STREQ(sub->name, "1");
    EXPECT_STREQ(below->name, "1.01");
}

TEST(Maze_numbersubs, begins_anew_in_each_maze)
{
    const World root(named(make_line(4), "r"));
    for (i32 i = 0; i < 4; i++) {
        hang(hang(root.get(), i, make_line(4)), 3, make_nodes(1));
    }
    Maze_numbersubs(root.get());
    for (i32 i = 0; i < 4; i++) {
        const std::string name = "r.0" + std::to_string(i + 1);
        EXPECT_EQ(Maze_node(root.get(), i)->sub->name, name);
        EXPECT_EQ(Maze_node(Maze_node(root.get(), i)->sub, 3)->sub->name, name + ".01");
    }
}

TEST(Maze_pathnames, lets_names_run_on_from_the_root)
{
    const World root(named(make_line(3), "root"));
    Maze* const sub = hang(root.get(), 1, named(make_line(4), "3"));
    const Maze* const below = hang(sub, 2, named(make_line(1), "2"));
    Maze_pathnames(root.get());
    EXPECT_STREQ(root->name, "root");
    EXPECT_STREQ(sub->name, "root.3");
    EXPECT_STREQ(below->name, "root.3.2");
}

TEST(Maze_pathnames, begins_below_an_unnamed_root)
{
    const World root(make_line(3));
    Maze* const sub = hang(root.get(), 1, named(make_line(4), "3"));
    const Maze* const below = hang(sub, 2, named(make_line(1), "2"));
    Maze_pathnames(root.get());
    EXPECT_EQ(root->name, nullptr);
    EXPECT_STREQ(sub->name, "3");
    EXPECT_STREQ(below->name, "3.2");
}

TEST(Maze_pathnames, gives_a_maze_without_a_name_its_parents_and_a_point)
{
    const World root(named(make_line(3), "r"));
    Maze* const sub = hang(root.get(), 1, make_line(4));
    const Maze* const below = hang(sub, 2, named(make_line(1), "2"));
    Maze_pathnames(root.get());
    EXPECT_STREQ(sub->name, "r.");
    EXPECT_STREQ(below->name, "r..2");
}

TEST(Maze_pathnames, keeps_the_maze_above_a_submaze_that_it_is_given)
{
    const World root(named(make_line(3), "r"));
    Maze* const sub = hang(root.get(), 1, named(make_line(4), "s"));
    Maze_pathnames(sub);
    EXPECT_STREQ(root->name, "r");
    EXPECT_STREQ(sub->name, "r.s");
}
