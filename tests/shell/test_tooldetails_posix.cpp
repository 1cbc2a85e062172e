// What single options and actions of corvane-play and corvane-shot mean, to the pixel or the byte.
#include "tests/shell_session.h"

static Picture shot_of(const Folder& folder, const std::string& options)
{
    const Outcome outcome =
        run_in(folder, program("corvane-shot") + " --out a.png --size 96x72 " + options);
    EXPECT_EQ(outcome.code, 0) << options << ": " << outcome.err;
    return read_png(folder.file("a.png"));
}

TEST(tools_output, tell_that_their_output_goes_nowhere)
{
    const Folder folder;
    for (const std::string tool : {"corvane-play", "corvane-shot", "corvane-world"}) {
        for (const std::string option : {" --help", " --version"}) {
            const Outcome outcome = run_in(folder, program(tool) + option + " >/dev/full");
            EXPECT_EQ(outcome.code, 2) << tool << option;
            EXPECT_EQ(outcome.err, tool + ": standard output can't be written\n");
        }
    }
}

TEST(tools_output, tells_a_log_that_cannot_be_written_whole)
{
    const Folder folder;
    leave_line(folder);
    folder.write("script", "at 3 close\n");
    const Outcome outcome =
        run_in(folder, program("corvane-play") + " script --size 64x48 --log /dev/full");
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.err, "corvane-play: /dev/full: the log could not be written whole\n");
}

TEST(corvane_play_run, takes_no_key_from_minimise_to_restore)
{
    const Folder folder;
    leave_line(folder);
    const Played played = play(folder, "at 2 minimise\nat 3 hold Q\nat 4 release Q\n"
                                       "at 5 restore\nat 8 press Q\n");
    EXPECT_EQ(played.outcome.code, 0) << played.outcome.err;
    EXPECT_EQ(played.log.rows.size(), 7U);
}

// On alternate rows the place of the window decides which eye has the even ones.
TEST(corvane_play_run, moves_the_window_by_rows_of_the_display)
{
    const Folder folder;
    run_in(folder,
           program("corvane-world") + " make --seed 5 --mode 0 --kind 4 --out maze_save.dat");
    folder.write("config.txt", "Stereo mode: 3\nStereo Depth: 0.3\n");
    play(folder, "at 1 press Space\nat 3 press Space\nat 5 press Space\n" // no texts
                 "at 6 move 100 100\nat 8 shot even.png\nat 9 move 100 101\nat 11 shot odd.png\n"
                 "at 12 move 100 102\nat 14 shot again.png\nat 15 close\n");
    const Picture even = read_png(folder.file("even.png"));
    EXPECT_GT(even.lit(), 20);
    EXPECT_NE(read_png(folder.file("odd.png")).rgb, even.rgb);
    EXPECT_EQ(read_png(folder.file("again.png")).rgb, even.rgb);
}

TEST(corvane_shot_world, draws_the_world_that_corvane_world_makes)
{
    const Folder folder;
    for (const std::string world : {"--seed 5 --mode 0", "--seed 5 --mode 0 --kind 4",
                                    "--seed 5 --mode 0 --kind 8", "--seed 6 --mode 2"}) {
        SCOPED_TRACE(world);
        const Outcome made =
            run_in(folder, program("corvane-world") + " make --out world " + world);
        EXPECT_EQ(made.code, 0) << made.err;
        const Picture saved = shot_of(folder, "--world world --pitch -0.7");
        EXPECT_GT(saved.lit(), 50);
        EXPECT_EQ(shot_of(folder, world + " --pitch -0.7").rgb, saved.rgb);
    }
    EXPECT_EQ(shot_of(folder, "--seed 5").rgb, shot_of(folder, "--seed 5 --mode 0").rgb);
}

TEST(corvane_shot_world, stands_two_levels_down_by_a_path_of_two_numbers)
{
    const Folder folder;
    const auto leave = [&folder](i32 level, i32 node) {
        Maze* const root = make_line(3, 2.5, 0.5);
        Maze* const middle = make_line(5, 0.2, 0.05);
        nest(root, 1, middle);
        Maze* const inner = make_line(3, 0.02, 0.005);
        nest(middle, 4, inner);
        leave_world(folder, root, {level == 0 ? root : inner, node});
    };
    leave(2, 2);
    const Picture expected = shot_of(folder, "--world maze_save.dat");
    leave(0, 0);
    EXPECT_NE(shot_of(folder, "--world maze_save.dat").rgb, expected.rgb);
    EXPECT_EQ(shot_of(folder, "--world maze_save.dat --at 1/4:2").rgb, expected.rgb);
}

// Leaves the line world after a walk from node 10 along the nodes given, a second a step up to a
// clock of 1000 seconds.
static void leave_walked(const Folder& folder, const std::vector<i32>& nodes)
{
    Maze* const root = make_line(20, 2.5, 0.5);
    MazeGame game = make_game(root, {root, 10});
    game.time = 1000;
    game.showtrail = 1;
    for (size_t i = 0; i < nodes.size(); i++) {
        const Pos to = {root, nodes[i]};
        Pos_markwalked(game.pos, to, game.time - static_cast<f64>(nodes.size() - 1 - i));
        game.pos = to;
    }
    std::string why(SAVE_WHY, 0);
    EXPECT_TRUE(MazeGame_save(&game, folder.file("maze_save.dat").c_str(), why.data())) << why;
    MazeGame_free(&game);
}

// To the exit of the lower number at first, back from the end, and on past the start, where the way
// on was never walked.
TEST(corvane_shot_world, walks_a_trail_to_the_exit_walked_least_recently_a_second_a_step)
{
    std::vector<i32> nodes;
    for (i32 node = 9; node >= 0; node--) {
        nodes.push_back(node);
    }
    for (i32 node = 1; node <= 14; node++) {
        nodes.push_back(node);
    }
    const Folder before;
    const Folder after;
    leave_walked(before, {});
    const std::string world = "--world maze_save.dat --zoom 1.5 ";
    for (const size_t steps : {1U, 11U, 24U}) {
        const std::vector<i32> walked(nodes.begin(), nodes.begin() + static_cast<i32>(steps));
        leave_walked(after, walked);
        const Picture shot = shot_of(before, world + "--trail " + std::to_string(steps));
        EXPECT_EQ(shot.rgb, shot_of(after, world).rgb) << steps;
        const std::string end = "--at :" + std::to_string(walked.back());
        EXPECT_NE(shot.rgb, shot_of(before, world + end).rgb) << steps;
    }
}
