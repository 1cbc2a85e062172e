// Every truncation of four saves, and every change of one byte of three of them, to all 255 other values
// in every build: each is refused with a reason, or loads as a sound world. Of the fourth save, which is
// larger, one other value of each byte is tried.
#include "base/rnd.h"
#include "generate/makemaze.h"
#include "tests/handmade.h"

/// What became of the files so far.
struct Tally {
    i32 loaded, unsound, unreadable;
};

static bool walked(const VisitRec* rec)
{
    return rec->walked >= 0.0;
}

static bool node_is_sound(const Maze* maze, i32 n, i32 ports)
{
    const MazeNode* const node = Maze_node(maze, n);
    bool sound = node->nedges <= MAZE_MAXEDGES && std::isfinite(node->radius);
    for (i32 k = 0; k < 3; k++) {
        sound = sound && std::isfinite(node->pos[k]);
    }
    for (u32 i = 0; sound && i < node->nedges; i++) {
        const i32 target = node->edges[i];
        sound = target >= 0 && target < Maze_count(maze) && target != n &&
                sound_multiplicity(node, target) == sound_multiplicity(Maze_node(maze, target), n);
    }
    return sound && (node->sub == nullptr ||
                     (n >= ports && node->sub->parent == maze && node->sub->parentnode == n));
}

// What EXPECT_SOUND asks for, without a word, since it is asked millions of times.
static bool maze_is_sound(const Maze* maze)
{
    const i32 ports = Maze_ports(maze);
    bool sound = Maze_count(maze) >= std::max(ports, 1) && maze->exitsused >> ports == 0;
    i32 visited = 0;
    for (i32 n = 0; sound && n < Maze_count(maze); n++) {
        const MazeNode* const node = Maze_node(maze, n);
        sound = node_is_sound(maze, n, ports) && (node->sub == nullptr || maze_is_sound(node->sub));
        visited += walked(&node->rec) ? 1 : 0;
    }
    return sound && visited == maze->visitednodes;
}

static bool game_is_sound(const MazeGame* game)
{
    bool sound = maze_is_sound(game->root) && game->time >= 0.0 && game->zoom > 0.0;
    for (const f64 value : game->campos) {
        sound = sound && std::isfinite(value);
    }
    const Maze* const maze = game->pos.maze;
    return sound && std::isfinite(game->zoom) && game->pos.node >= 0 &&
           game->pos.node < Maze_count(maze) && Pos_node(game->pos)->sub == nullptr;
}

// Loads the bytes if they pass the check, which trusts nothing of them.
static bool load(Tally* tally, const u8* bytes, size_t size)
{
    static char why[SAVE_WHY];
    const SaveVerdict verdict = savefile_check(bytes, size, why);
    if (verdict != SAVE_SOUND) {
        (verdict == SAVE_UNSOUND ? tally->unsound : tally->unreadable)++;
        return std::strlen(why) > 10;
    }
    tally->loaded++;
    MazeGame game;
    savefile_build(&game, bytes, size);
    const bool sound = *why == 0 && game_is_sound(&game);
    if (!sound) {
        EXPECT_SOUND(game.root); // tells more
    }
    MazeGame_free(&game);
    return sound;
}

// Memory of its own for each length, so that a read behind the end is seen.
static void expect_truncations_refused(const Bytes& whole)
{
    Tally tally = {};
    for (size_t size = 0; size < whole.size(); size++) {
        u8* const bytes = static_cast<u8*>(std::malloc(std::max<size_t>(size, 1)));
        std::copy_n(whole.begin(), size, bytes);
        EXPECT_TRUE(load(&tally, bytes, size)) << "cut to " << size;
        std::free(bytes);
    }
    EXPECT_EQ(tally.loaded, 0);
    EXPECT_EQ(tally.unsound, GAME_TAIL); // cut in the game
}

// Memory without a byte more than the file, in which one byte is changed and put right again.
struct Changing {
    Bytes whole;
    u8* bytes;
    Tally tally = {};

    explicit Changing(const Bytes& file)
        : whole(file), bytes(static_cast<u8*>(std::malloc(file.size())))
    {
        std::copy(whole.begin(), whole.end(), bytes);
    }
    ~Changing()
    {
        std::free(bytes);
    }
    Changing(const Changing&) = delete;
    Changing& operator=(const Changing&) = delete;

    void expect_no_harm(size_t at, i32 value)
    {
        bytes[at] = static_cast<u8>(value);
        EXPECT_TRUE(load(&tally, bytes, whole.size())) << "byte " << at << " is " << value;
        bytes[at] = whole[at];
    }
};

static void expect_no_change_harms(const Bytes& whole)
{
    Changing file(whole);
    for (size_t at = 0; at < whole.size(); at++) {
        for (i32 value = 0; value <= 0xFF; value++) {
            if (value != whole[at]) {
                file.expect_no_harm(at, value);
            }
        }
    }
    EXPECT_GT(file.tally.unreadable, 0);
    EXPECT_GT(file.tally.unsound, 0);
    EXPECT_GT(file.tally.loaded, 0);
    EXPECT_EQ(file.tally.loaded + file.tally.unsound + file.tally.unreadable,
              255 * static_cast<i32>(whole.size()));
}

static Bytes smallest_file()
{
    HeldGame held;
    Maze* const maze = make_spokes({});
    stand(&held, maze, maze, 0);
    return saved(&held.game);
}

// A generated block of few nodes, walked through along exits drawn at random.
static Bytes generated_file()
{
    rnd_seed(10);
    makemaze_forced_kind = 5;
    HeldGame held;
    MazeGame_new(&held.game, 0);
    makemaze_forced_kind = -1;
    Pos exits[POS_MAXEDGES];
    for (i32 i = 0; i < 60; i++) {
        const i32 n = Pos_alledges(held->pos, exits, nullptr);
        const Pos next = exits[irand(n)];
        held->time += 0.5;
        Pos_markwalked(held->pos, next, held->time);
        held->pos = next;
    }
    return saved(&held.game);
}

// Five levels, which another program wrote.
static Bytes larger_file()
{
    return read_bytes(CORVANE_SOURCE_DIR "/tests/golden/kind12_seed3141592653.dat");
}

TEST(savefile_mutants, of_the_smallest_save_cut_anywhere_are_refused)
{
    const Bytes whole = smallest_file();
    ASSERT_EQ(whole.size(), 599U);
    expect_truncations_refused(whole);
}

TEST(savefile_mutants, of_a_nested_save_cut_anywhere_are_refused)
{
    expect_truncations_refused(hand_file());
}

TEST(savefile_mutants, of_a_generated_save_cut_anywhere_are_refused)
{
    expect_truncations_refused(generated_file());
}

TEST(savefile_mutants, of_a_larger_save_cut_anywhere_are_refused)
{
    expect_truncations_refused(larger_file());
}

TEST(savefile_mutants, of_the_smallest_save_do_no_harm)
{
    expect_no_change_harms(smallest_file());
}

TEST(savefile_mutants, of_a_nested_save_do_no_harm)
{
    expect_no_change_harms(hand_file());
}

TEST(savefile_mutants, of_a_generated_save_do_no_harm)
{
    const Bytes whole = generated_file();
    ASSERT_GT(whole.size(), 4000U);
    expect_no_change_harms(whole);
}

TEST(savefile_mutants, of_a_larger_save_do_no_harm)
{
    Changing file(larger_file());
    for (size_t at = 0; at < file.whole.size(); at++) {
        file.expect_no_harm(at, file.whole[at] ^ (1 << at % 8));
    }
    EXPECT_GT(file.tally.loaded, 0);
}
