// Each byte of a save file against one that was written by hand.
#include "tests/handmade.h"

static void set_node(Maze* maze, i32 n, const VisitRec* rec, const std::vector<VisitRec>& recs)
{
    MazeNode* const node = Maze_node(maze, n);
    node->rec = *rec;
    ASSERT_EQ(node->nedges, recs.size());
    std::copy(recs.begin(), recs.end(), node->edgerec);
}

// Two ports that are joined by way of node 2, and node 3 on its own.
static Maze* make_middle()
{
    Maze* const maze = Maze_new();
    add_node(maze, 10.0, -3.5, 4.5, 0.125);
    add_node(maze, 11.0, -2.5, 3.5, 0.0625);
    add_node(maze, 10.25, -2.75, 3.75, 0.25);
    add_node(maze, 12.0, -4.0, 5.0, 0.375);
    Maze_join(maze, 2, 1);
    Maze_join(maze, 2, 0);
    const VisitRec fresh = VisitRec_fresh();
    const VisitRec first = {.colour = 0xD0E0F0, .walked = -1.0, .trailed = 2.5};
    const VisitRec third = {.colour = 0x908070, .walked = 64.0, .trailed = 128.0};
    const VisitRec fourth = {.colour = 0x334455, .walked = -1.0, .trailed = -1.0};
    set_node(maze, 0, &first, {{.colour = 0xA0B0C0, .walked = 1.25, .trailed = -1.0}});
    set_node(maze, 1, &fresh, {fresh});
    set_node(maze, 2, &third, {fresh, {.colour = 0xA1B1C1, .walked = 1.25, .trailed = -1.0}});
    set_node(maze, 3, &fourth, {});
    maze->visitednodes = 1;
    maze->exitsused = 2;
    str_set(&maze->name, "ab");
    return maze;
}

static Maze* make_root()
{
    Maze* const maze = Maze_new();
    add_node(maze, 1.5, -2.0, 0.25, 0.5);
    add_node(maze, 10.5, -3.0, 4.0, 0.75);
    add_node(maze, -1.0, 6.0, -7.0, 1.0);
    Maze_join(maze, 1, 2);
    Maze_join(maze, 1, 0);
    const VisitRec first = {.colour = 0x040506, .walked = 9.0, .trailed = -1.0};
    const VisitRec second = {.colour = 0x778899, .walked = 9.5, .trailed = 32.0};
    const VisitRec third = {.colour = 0xFEDCBA, .walked = -1.0, .trailed = -2.0};
    set_node(maze, 0, &first, {{.colour = 0x010203, .walked = 7.0, .trailed = 8.0}});
    set_node(maze, 1, &second,
             {{.colour = 0x112233, .walked = -1.0, .trailed = 16.5},
              {.colour = 0x445566, .walked = 7.0, .trailed = 8.0}});
    set_node(maze, 2, &third, {{.colour = 0xABCDEF, .walked = -1.0, .trailed = 16.5}});
    maze->visitednodes = 2;
    str_set(&maze->name, "World");
    return maze;
}

// The view numbers its reals from 4 on by halves, as the file does.
static void set_view(ViewRec* view)
{
    f64 value = 2.0;
    const auto next = [&value](f64* out, i32 n) {
        for (i32 i = 0; i < n; i++) {
            out[i] = value;
            value += 0.5;
        }
    };
    next(view->modelview, 16);
    next(view->eye, 3);
    for (f64* const one : {&view->tanx, &view->tany, &view->pixelscale, &view->secx, &view->secy,
                           &view->near, &view->far}) {
        next(one, 1);
    }
    for (f64* const row : {view->clip[0], view->clip[1], view->clip[2], view->clip[3]}) {
        next(row, 4);
    }
    next(&view->pixelsize, 1);
    const i32 viewport[] = {3, 643, 4, 484};
    std::copy(viewport, viewport + 4, view->viewport);
}

/// The game of the file, made by the routines of the model.
static void make_by_hand(HeldGame* held)
{
    Maze* const root = make_root();
    Maze* const middle = hang(root, 1, make_middle());
    Maze* const inner = hang(middle, 3, Maze_new());
    add_node(inner, 12.125, -4.125, 5.125, 0.03125);
    const VisitRec only = {.colour = 0xFFFFFF, .walked = 65.5, .trailed = -1.0};
    set_node(inner, 0, &only, {});
    inner->visitednodes = 1;
    stand(held, root, inner, 0);
    const f64 orient[] = {0.0, 1.0, 0.0, 0.0, 0.0, 1.0, 1.0, 0.0, 0.0};
    std::copy(orient, orient + 9, held->game.orient);
    const f64 eye[] = {37.125, -4.125, 5.125};
    std::copy(eye, eye + 3, held->game.campos);
    held->game.time = 1000.5;
    held->game.zoom = 25.0;
    set_view(&held->game.view);
    held->game.showtrail = 5;
    held->game.showexits = -6;
}

TEST(savefile_layout, writes_each_field_of_three_levels_where_a_file_by_hand_has_it)
{
    HeldGame held;
    make_by_hand(&held);
    EXPECT_SOUND(held->root);
    const Bytes got = saved(&held.game);
    ASSERT_EQ(got.size(), 1285U);
    for (const Piece& piece : hand_pieces) {
        const Bytes want = bytes_of(&piece);
        const auto at = got.begin() + static_cast<std::ptrdiff_t>(piece.at);
        EXPECT_EQ(Bytes(at, at + static_cast<std::ptrdiff_t>(want.size())), want) << piece.field;
    }
    EXPECT_EQ(got, hand_file()); // nothing between the fields
}

TEST(savefile_layout, takes_the_file_by_hand)
{
    EXPECT_EQ(fault_of(hand_file()), "");
}

static void expect_rec(const VisitRec* got, const VisitRec* want)
{
    EXPECT_EQ(got->colour, want->colour);
    EXPECT_EQ(got->walked, want->walked);
    EXPECT_EQ(got->trailed, want->trailed);
}

static void expect_node(const MazeNode* got, const MazeNode* want)
{
    for (i32 k = 0; k < 3; k++) {
        EXPECT_EQ(got->pos[k], want->pos[k]);
    }
    EXPECT_EQ(got->radius, want->radius);
    ASSERT_EQ(got->nedges, want->nedges);
    for (u32 i = 0; i < got->nedges; i++) {
        EXPECT_EQ(got->edges[i], want->edges[i]);
        expect_rec(&got->edgerec[i], &want->edgerec[i]);
    }
    expect_rec(&got->rec, &want->rec);
}

static void expect_maze(const Maze* got, const Maze* want)
{
    ASSERT_EQ(Maze_count(got), Maze_count(want));
    EXPECT_EQ(got->visitednodes, want->visitednodes);
    EXPECT_EQ(got->exitsused, want->exitsused);
    EXPECT_EQ(got->name == nullptr, want->name == nullptr);
    EXPECT_STREQ(got->name, want->name);
    EXPECT_EQ(got->parentnode, want->parentnode);
    for (i32 i = 0; i < Maze_count(got); i++) {
        SCOPED_TRACE(i);
        const MazeNode* const node = Maze_node(got, i);
        const MazeNode* const wanted = Maze_node(want, i);
        expect_node(node, wanted);
        ASSERT_EQ(node->sub == nullptr, wanted->sub == nullptr);
        if (node->sub != nullptr) {
            EXPECT_EQ(node->sub->parent, got);
            expect_maze(node->sub, wanted->sub);
        }
    }
}

TEST(savefile_layout, reads_each_field_of_three_levels_from_a_file_by_hand)
{
    HeldGame want;
    make_by_hand(&want);
    HeldGame got;
    build(&got, hand_file());
    expect_maze(got->root, want->root);
    EXPECT_EQ(got->pos.maze, Maze_node(Maze_node(got->root, 1)->sub, 3)->sub);
    EXPECT_EQ(got->pos.node, 0);
    EXPECT_EQ(std::memcmp(&got->time, &want->time, GAME_TAIL - sizeof(GrowArray)), 0);
}

TEST(savefile_layout, makes_a_save_of_the_same_bytes_of_a_file_by_hand)
{
    HeldGame held;
    build(&held, hand_file());
    EXPECT_EQ(saved(&held.game), hand_file());
}

// A change of one number shows in the save of the game that is built, but for those that are worked
// out anew.
TEST(savefile_layout, keeps_each_real_number_by_itself)
{
    const Bytes whole = hand_file();
    for (const size_t at : hand_places(8)) {
        const std::string field = hand_field(at);
        Bytes bytes = whole;
        f64 value;
        std::memcpy(&value, bytes.data() + at, sizeof value);
        value *= 1.0 + 1.0 / 1024.0; // keeps its sign, and with it what has been walked
        value = value == 0.0 ? 0.0625 : value;
        std::memcpy(bytes.data() + at, &value, sizeof value);
        HeldGame held;
        build(&held, bytes);
        const Bytes again = saved(&held.game);
        ASSERT_EQ(again.size(), whole.size());
        if (field.starts_with("eye ") || field == "distance") {
            EXPECT_EQ(again, whole) << field;
        } else {
            EXPECT_TRUE(std::equal(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                                   bytes.begin() + static_cast<std::ptrdiff_t>(at) + 8,
                                   again.begin() + static_cast<std::ptrdiff_t>(at)))
                << field;
        }
    }
}
