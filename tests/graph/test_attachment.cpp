#include "model/attachment.h"
#include "tests/mazes.h"
#include "tests/sound.h"

#include <gtest/gtest.h>
#include <string>

// The payloads that destructors have been called with, in order; cleared by each test that reads it.
static std::string gone;

static void note(void* data, Maze*)
{
    gone += static_cast<const char*>(data);
}

static char a[] = "a";
static char b[] = "b";
static char c[] = "c";

// A line of three with a submaze on node 1 and one on node 1 of that: each with attachments of the
// flags 1, 2 and 4, told apart by level.
static World threelevels()
{
    World maze(make_nodes(3));
    Maze* const sub = hang(maze.get(), 1, make_nodes(2));
    Maze* const deep = hang(sub, 1, make_nodes(1));
    Maze* const levels[] = {maze.get(), sub, deep};
    char* const data[] = {a, b, c};
    for (i32 i = 0; i < 3; i++) {
        Maze_attach(levels[i], "geometry", data[i], note, ATT_GEOMETRY);
        Maze_attach(levels[i], "exits", data[i], note, ATT_EXITS);
        Maze_attach(levels[i], "visits", data[i], note, ATT_VISITS);
    }
    gone.clear();
    return maze;
}

static Maze* subof(const World& maze)
{
    return Maze_node(maze.get(), 1)->sub;
}

TEST(Maze_attachment, is_looked_up_without_regard_to_case)
{
    const World maze(Maze_new());
    Maze_attach(maze.get(), "rep", a, nullptr, 0);
    EXPECT_EQ(a, Maze_attachment(maze.get(), "REP"));
    EXPECT_EQ(nullptr, Maze_attachment(maze.get(), "reps"));
    EXPECT_EQ(nullptr, Maze_attachment(maze.get(), "re"));
}

TEST(Maze_attachment, of_two_of_one_name_is_the_one_added_last)
{
    const World maze(Maze_new());
    Maze_attach(maze.get(), "x", a, nullptr, 0);
    Maze_attach(maze.get(), "x", b, nullptr, 0);
    EXPECT_EQ(b, Maze_attachment(maze.get(), "x"));
}

TEST(Maze_attach, copies_the_name)
{
    const World maze(Maze_new());
    char name[] = "lists";
    Maze_attach(maze.get(), name, a, nullptr, 7);
    name[0] = 'x';
    EXPECT_EQ(a, Maze_attachment(maze.get(), "lists"));
}

TEST(Maze_detach, removes_only_the_last_of_the_name)
{
    const World maze(Maze_new());
    Maze_attach(maze.get(), "x", a, note, 0);
    Maze_attach(maze.get(), "x", b, note, 0);
    gone.clear();
    Maze_detach(maze.get(), "X", true);
    EXPECT_EQ("b", gone);
    EXPECT_EQ(a, Maze_attachment(maze.get(), "x"));
}

TEST(Maze_detach, of_an_absent_name_does_nothing)
{
    const World maze = threelevels();
    Maze_detach(maze.get(), "none", true);
    EXPECT_EQ("", gone);
    EXPECT_EQ(3U, maze->attachments.count);
}

TEST(Maze_detach, reaches_the_levels_below_only_with_recursion)
{
    const World maze = threelevels();
    Maze_detach(maze.get(), "exits", false);
    EXPECT_EQ("a", gone);
    Maze_detach(maze.get(), "exits", true);
    EXPECT_EQ("abc", gone);
    EXPECT_EQ(b, Maze_attachment(subof(maze), "geometry"));
}

TEST(Maze_detach, leaves_the_counter)
{
    const World maze = threelevels();
    const u32 before = freeflags_counter;
    Maze_detach(maze.get(), "exits", true);
    EXPECT_EQ(before, freeflags_counter);
}

TEST(Maze_freeflags, frees_what_meets_the_mask_and_counts_it)
{
    const World maze = threelevels();
    const u32 before = freeflags_counter;
    Maze_freeflags(maze.get(), ATT_GEOMETRY | ATT_VISITS, false);
    EXPECT_EQ("aa", gone);
    EXPECT_EQ(before + 2, freeflags_counter);
    EXPECT_EQ(a, Maze_attachment(maze.get(), "exits"));
    EXPECT_EQ(1U, maze->attachments.count);
    EXPECT_EQ(1U, maze->attachments.capacity); // the array has shrunk
}

TEST(Maze_freeflags, leaves_submazes_alone_without_recursion)
{
    const World maze = threelevels();
    Maze_freeflags(maze.get(), ATT_GEOMETRY, false);
    EXPECT_EQ("a", gone);
    EXPECT_EQ(b, Maze_attachment(subof(maze), "geometry"));
    Maze_freeflags(maze.get(), ATT_GEOMETRY, true);
    EXPECT_EQ("abc", gone);
}

TEST(Maze_freeflags, never_frees_what_has_no_flags)
{
    const World maze(Maze_new());
    Maze_attach(maze.get(), "rep", a, note, 0);
    gone.clear();
    Maze_freeflags(maze.get(), ~0U, true);
    EXPECT_EQ("", gone);
}

TEST(Maze_freeflags, removes_one_without_a_destructor)
{
    const World maze(Maze_new());
    Maze_attach(maze.get(), "plain", a, nullptr,
                ATT_EXITS); // its name is freed: no leak is reported
    Maze_freeflags(maze.get(), ATT_EXITS, false);
    EXPECT_EQ(nullptr, Maze_attachment(maze.get(), "plain"));
    EXPECT_EQ(0U, maze->attachments.count);
}

TEST(Maze_freeflags, gives_the_destructor_the_data_and_the_maze)
{
    const World maze(Maze_new());
    static void* data;
    static Maze* owner;
    Maze_attach(
        maze.get(), "x", b,
        [](void* given, Maze* of) {
            data = given;
            owner = of;
        },
        ATT_VISITS);
    Maze_freeflags(maze.get(), ATT_VISITS, false);
    EXPECT_EQ(b, data);
    EXPECT_EQ(maze.get(), owner);
}

TEST(Maze_detachall, frees_all_whatever_their_flags)
{
    const World maze = threelevels();
    Maze_attach(maze.get(), "rep", c, note, 0);
    const u32 before = freeflags_counter;
    Maze_detachall(maze.get(), false);
    EXPECT_EQ("caaa", gone);
    EXPECT_EQ(0U, maze->attachments.count);
    EXPECT_EQ(1U, maze->attachments.capacity);
    EXPECT_EQ(before, freeflags_counter);
    Maze_detachall(maze.get(), true);
    EXPECT_EQ("caaabbbccc", gone);
}

// A line of two joined nodes, the second with a submaze of which node 0 is the port.
static World crossing()
{
    World maze(make_line(2));
    Maze* const sub = hang(maze.get(), 1, make_line(2));
    Maze_attach(maze.get(), "lists", a, note, 7);
    Maze_attach(sub, "lists", b, note, 7);
    Maze_attach(sub, "exits", c, note, ATT_EXITS);
    gone.clear();
    return maze;
}

TEST(Attachment, for_exits_goes_only_when_a_bit_is_new)
{
    const World maze = crossing();
    Pos_markwalked({maze.get(), 0}, {subof(maze), 0}, 1.0);
    EXPECT_SOUND(maze.get());
    EXPECT_EQ("acb", gone); // of the level above for the visit, of the submaze for the exit
    Maze_attach(subof(maze), "exits", c, note, ATT_EXITS);
    Maze_attach(maze.get(), "lists", a, note, 7);
    gone.clear();
    Pos_markwalked({subof(maze), 0}, {maze.get(), 0}, 2.0);
    EXPECT_EQ("a", gone);
}

TEST(Attachment, for_visits_goes_at_each_stamp)
{
    const World maze = crossing();
    for (i32 i = 0; i < 3; i++) {
        gone.clear();
        Pos_markwalked({subof(maze), 0}, {subof(maze), 1}, 3.0);
        EXPECT_EQ("b", gone);
        Maze_attach(subof(maze), "lists", b, note, 7);
    }
}
