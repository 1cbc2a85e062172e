// The commands as their users see them: options, messages, exit codes, what they leave.
#include "base/rnd.h"
#include "tests/shell_session.h"
#include "tests/textreader.h"

#include <set>

static const char log_heading[] =
    "frame\ttime\tdt\twidth\theight\tmaze\tnode\tstep_x\tstep_y\tstep_z\tviewpos_x\tviewpos_y\t"
    "viewpos_z\tview_radius\tzoom\tyaw\tpitch\tcampos_x\tcampos_y\tcampos_z\tfirst_person\t"
    "hud_mode\tplot_type\tvoronoi_on\tvoronoi_mode\tlandscape_on\tlight_on\tgrid_on\t"
    "smooth_lines\tstereo_mode\tstereo_swap\tstereo_depth\tvisited";

static Outcome play_in(const Folder& folder, const std::string& arguments)
{
    return run_in(folder, program("corvane-play") + " " + arguments);
}

static Outcome shot_in(const Folder& folder, const std::string& arguments)
{
    return run_in(folder, program("corvane-shot") + " " + arguments);
}

// One line, and only on standard error.
static void expect_refusal(const Outcome& outcome, const std::string& tool, const std::string& part)
{
    EXPECT_EQ(outcome.code, 2) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err.rfind(tool + ": ", 0), 0U) << outcome.err;
    EXPECT_EQ(cut(outcome.err, '\n').size(), 2U) << outcome.err;
    EXPECT_NE(outcome.err.find(part), std::string::npos) << outcome.err << " lacks " << part;
}

TEST(corvane_play, prints_its_help)
{
    const Folder folder;
    const Outcome outcome = play_in(folder, "--help");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.err, "");
    for (const char* const part : {"--log", "--size", "--display", "--dt", "--frames", "press KEY",
                                   "minimise", "shot FILE.png"}) {
        EXPECT_NE(outcome.out.find(part), std::string::npos) << part;
    }
    EXPECT_EQ(folder.listing(), "");
}

static std::string thirty_two_displays()
{
    std::string options;
    for (i32 i = 0; i < 32; i++) {
        options += " --display 0,0,10x10";
    }
    return options;
}

TEST(corvane_play, refuses_bad_arguments_in_one_line_and_leaves_nothing)
{
    const Folder side;
    side.write("ok", "at 3 close\n");
    const std::string ok = side.file("ok");
    const struct {
        std::string arguments, part;
    } cases[] = {
        {"", "which script"},
        {ok + " --fly", "--fly"},
        {ok + " " + ok, "one script"},
        {ok + " --log", "--log needs a value"},
        {ok + " --log ''", "--log takes the name of a file"},
        {"''", "the name of the script is empty"},
        {ok + " --log --frames 3", "--log needs a value"},
        {ok + " '--fr\name'", "unknown option --fr?ame"},
        {ok + " --size 20", "--size"},
        {ok + " --size 0x20", "--size"},
        {ok + " --dt -1", "--dt"},
        {ok + " --dt fast", "--dt"},
        {ok + " --dt 1e308", "--dt"},
        {ok + " --frames 0", "--frames"},
        {ok + " --frames 1.5", "--frames"},
        {ok + " --display 0,0", "--display"},
        {ok + thirty_two_displays(), "--display can be given 31 times at most"},
        {ok + " --display 0,0,10x", "--display"},
        {side.file("absent"), "no such file"},
        {side.path, side.path},
        {ok + " --log " + side.file("absent/log"), "log"},
    };
    for (const auto& one : cases) {
        const Folder folder;
        SCOPED_TRACE(one.arguments);
        expect_refusal(play_in(folder, one.arguments), "corvane-play", one.part);
        EXPECT_EQ(folder.listing(), "");
    }
}

TEST(corvane_play, refuses_a_bad_line_of_the_script_with_its_number)
{
    const struct {
        const char *line, *part;
    } cases[] = {
        {"at 1 jump", "unknown action: jump"},
        {"on 1 press W", "at FRAME ACTION"},
        {"at 0 press W", "frame number"},
        {"at one press W", "frame number"},
        {"at 1", "at FRAME ACTION"},
        {"at 1 press", "wrong number of words"},
        {"at 1 press W S", "wrong number of words"},
        {"at 1 press Hyper", "Hyper"},
        {"at 1 hold F13", "F13"},
        {"at 1 button left", "wrong number of words"},
        {"at 1 button first down", "first"},
        {"at 1 button left sideways", "sideways"},
        {"at 1 wheel 2", "wheel"},
        {"at 1 wheel 0", "wheel"},
        {"at 1 mouse 1", "wrong number of words"},
        {"at 1 mouse 1 y", "y"},
        {"at 1 resize -1 5", "-1"},
        {"at 1 move 1 b", "b"},
        {"at 1 close now", "wrong number of words"},
        {"at 1 shot", "shot"},
        {"at 1 mouse 1 2 3 4 5 6 7 8", "too many words"},
    };
    for (const auto& one : cases) {
        const Folder folder;
        const Folder side;
        side.write("script", std::string("# first\n\n") + one.line + "\nat 9 close\n");
        SCOPED_TRACE(one.line);
        const Outcome outcome = play_in(folder, side.file("script"));
        expect_refusal(outcome, "corvane-play", one.part);
        EXPECT_NE(outcome.err.find("script:3: "), std::string::npos) << outcome.err;
        EXPECT_EQ(folder.listing(), "");
    }
}

TEST(corvane_play, refuses_a_script_that_nothing_ends)
{
    const Folder folder;
    const Folder side;
    side.write("script", "at 1 hold W\nat 5 release Q\n");
    expect_refusal(play_in(folder, side.file("script")), "corvane-play", "nothing ends the run");
}

TEST(corvane_play, refuses_a_script_that_is_no_text)
{
    const Folder folder;
    const Folder side;
    side.write("script", std::string("at 1 close\0\n", 12));
    expect_refusal(play_in(folder, side.file("script")), "corvane-play", "not a text file");
}

TEST(corvane_play, logs_a_line_a_frame_under_its_heading)
{
    const Folder folder;
    const Folder side;
    leave_line(folder);
    side.write("script", "at 4 close # then no more\r\n");
    const Outcome outcome =
        play_in(folder, side.file("script") + " --size 64x48 --log " + side.file("log"));
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    const std::vector<std::string> lines = cut(side.read("log"), '\n');
    ASSERT_EQ(lines.size(), 5U); // the last ends the text
    EXPECT_EQ(lines[0], log_heading);
    EXPECT_EQ(lines[1],
              "1\t0.016666666666666666\t0.016666666666666666\t64\t48\t\t10\t0\t0\t0\t25\t0"
              "\t0\t0.5\t25\t0\t0\t25\t0\t25\t0\t0\t0\t0\t5\t0\t0\t0\t1\t0\t0"
              "\t0.050000000000000003\t0");
}

TEST(corvane_play, names_a_maze_by_the_nodes_from_the_root_down)
{
    const Folder folder;
    Maze* const root = make_line(3, 2.5, 0.5);
    Maze* const middle = make_line(5, 0.2, 0.05);
    nest(root, 1, middle);
    Maze* const inner = make_line(3, 0.02, 0.005);
    nest(middle, 4, inner);
    leave_world(folder, root, {inner, 2});
    const Played played = play(folder, "at 2 close\n");
    ASSERT_EQ(played.log.rows.size(), 1U);
    EXPECT_EQ(played.log.rows[0].at("maze"), "1/4");
    EXPECT_EQ(played.log.integer(0, "node"), 2);
}

TEST(corvane_play, ends_before_the_frame_of_escape_and_after_the_frames_asked_for)
{
    const Folder folder;
    leave_line(folder);
    EXPECT_EQ(play(folder, "at 7 press Escape\n").log.rows.size(), 6U);
    EXPECT_EQ(play(folder, "at 7 press escape\n").log.rows.size(), 6U);
    EXPECT_EQ(play(folder, "", "--size 64x48 --frames 4").log.rows.size(), 4U);
    EXPECT_EQ(play(folder, "at 2 close\n", "--size 64x48 --frames 4").log.rows.size(), 1U);
}

TEST(corvane_play, takes_pictures_of_what_a_frame_shows)
{
    const Folder folder;
    leave_line(folder);
    const Played played =
        play(folder, "at 1 press Space\nat 3 press Space\nat 5 press Space\n" // no text
                     "at 5 shot first.png\nat 6 resize 90 60\nat 6 shot second.png\n"
                     "at 7 close\n");
    EXPECT_EQ(played.outcome.code, 0) << played.outcome.err;
    const Picture first = read_png(folder.file("first.png"));
    EXPECT_EQ(first.width, 64U);
    EXPECT_EQ(first.height, 48U);
    EXPECT_GT(first.lit(), 20);
    const Picture second = read_png(folder.file("second.png"));
    EXPECT_EQ(second.width, 90U);
    EXPECT_EQ(second.height, 60U);
    EXPECT_GT(second.lit(), 20);
}

TEST(corvane_play, tells_a_picture_that_cannot_be_written)
{
    const Folder folder;
    leave_line(folder);
    const Played played = play(folder, "at 2 shot nowhere/first.png\nat 4 close\n");
    EXPECT_EQ(played.outcome.code, 2);
    EXPECT_NE(played.outcome.err.find("nowhere/first.png"), std::string::npos);
    EXPECT_EQ(played.log.rows.size(), 3U);
}

TEST(corvane_play, tells_a_picture_of_a_frame_that_never_came)
{
    const Folder folder;
    leave_line(folder);
    const Played played = play(folder, "at 3 shot some.png\nat 3 close\nat 2 shot other.png\n");
    EXPECT_EQ(played.outcome.code, 2);
    EXPECT_EQ(played.outcome.err, "corvane-play: some.png: the run ended before frame 3\n");
    EXPECT_EQ(folder.listing(), "config.txt maze_save.dat other.png");
}

TEST(corvane_play, opens_864_by_648_on_one_display_if_nothing_else_is_said)
{
    const Folder folder;
    leave_line(folder);
    const Played played = play(folder, "at 2 close\n", "");
    EXPECT_EQ(played.log.integer(0, "width"), 864);
    EXPECT_EQ(played.log.integer(0, "height"), 648);
}

TEST(corvane_play, claims_the_displays_asked_for)
{
    const Folder folder;
    leave_line(folder);
    folder.write("config.txt", "Windowed: N\nResolution: display 2\n");
    const Played played = play(folder, "at 2 close\n", "--display 0,0,80x60 --display 80,-5,50x40");
    EXPECT_EQ(played.outcome.code, 0) << played.outcome.err;
    EXPECT_EQ(played.log.integer(0, "width"), 50);
    EXPECT_EQ(played.log.integer(0, "height"), 40);
}

TEST(corvane_play, never_writes_the_size_to_the_settings)
{
    const Folder folder;
    leave_line(folder);
    const Played played = play(folder, "at 2 close\n", "--size 70x50");
    EXPECT_EQ(played.log.integer(0, "width"), 70);
    EXPECT_EQ(setting(folder, "Resolution"), "auto");
    EXPECT_EQ(setting(folder, "Windowed"), "Y");
}

TEST(corvane_play, steps_its_clock_by_what_is_asked)
{
    const Folder folder;
    leave_line(folder);
    const Played played = play(folder, "at 5 close\n", "--size 64x48 --dt 0.5");
    EXPECT_EQ(played.log.real(3, "time"), 2.0);
    EXPECT_EQ(played.log.real(3, "dt"), 0.5);
}

TEST(corvane_play, gives_the_same_log_for_the_same_script)
{
    const Folder one;
    const Folder two;
    const std::string script = "at 1 hold Right\nat 9 hold Up\nat 20 press N\nat 40 close\n";
    EXPECT_EQ(play(one, script).log.rows, play(two, script).log.rows);
    EXPECT_EQ(one.read("maze_save.dat"), two.read("maze_save.dat"));
}

TEST(corvane_tools, say_their_version)
{
    const Folder folder;
    for (const char* const tool : {"corvane-play", "corvane-shot", "corvane-world"}) {
        const Outcome outcome = run_in(folder, program(tool) + " --out --version");
        EXPECT_EQ(outcome.code, 0);
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.out, std::string(tool) + " " CORVANE_VERSION "\n");
    }
    EXPECT_EQ(folder.listing(), "");
}

TEST(corvane_shot, prints_its_help)
{
    const Folder folder;
    const Outcome outcome = shot_in(folder, "--help");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.err, "");
    for (const char* const part :
         {"--world",        "--seed",      "--mode",  "--kind",  "--out",          "--size",
          "--at",           "--yaw",       "--pitch", "--zoom",  "--first-person", "--clock",
          "--plot",         "--stereo",    "--swap",  "--depth", "--hud",          "--trail",
          "--voronoi-mode", "--landscape", "--light", "--grid",  "--area",         "--lines",
          "--sharp",        "--version"}) {
        EXPECT_NE(outcome.out.find(part), std::string::npos) << part;
    }
    EXPECT_EQ(folder.listing(), "");
}

TEST(corvane_shot, refuses_bad_arguments_in_one_line_and_leaves_nothing)
{
    const Folder side;
    leave_line(side);
    side.write("bad", "no world");
    const std::string world = "--world " + side.file("maze_save.dat");
    const struct {
        std::string arguments, part;
    } cases[] = {
        {"", "--world or --seed"},
        {"--out a.png", "--world or --seed"},
        {"--seed 1", "--out"},
        {"--seed 1 --out", "--out needs a value"},
        {"--seed -1 --out a.png", "--seed"},
        {"--seed 4294967296 --out a.png", "--seed"},
        {"--seed 1 --mode 3 --out a.png", "--mode"},
        {"--seed 1 --kind 13 --out a.png", "--kind"},
        {world + " --seed 1 --out a.png", "--world"},
        {world + " --kind 1 --out a.png", "--world"},
        {"--seed 1 --out a.png --size 10", "--size"},
        {"--seed 1 --out a.png --yaw left", "--yaw"},
        {"--seed 1 --out a.png --pitch down", "--pitch"},
        {"--seed 1 --out a.png --zoom 0", "--zoom"},
        {"--seed 1 --out a.png --zoom inf", "--zoom"},
        {"--seed 1 --out a.png --clock noon", "--clock"},
        {"--seed 1 --out a.png --trail -1", "--trail"},
        {"--seed 1 --out a.png --hud 4", "--hud"},
        {"--seed 1 --out a.png --hud -1", "--hud"},
        {"--seed 1 --out a.png --hud help", "--hud"},
        {"--seed 1 --out a.png --plot cubes",
         "--plot takes discs, gantries, balls, voronoi or flat"},
        {"--seed 1 --out a.png --plot", "--plot needs a value"},
        {"--seed 1 --out a.png --plot voronoi --voronoi-mode 6",
         "--voronoi-mode takes a number from 0 to 5, not '6'"},
        {"--seed 1 --out a.png --plot voronoi --voronoi-mode -1", "--voronoi-mode"},
        {"--seed 1 --out a.png --voronoi-mode 3", "--plot voronoi only"},
        {"--seed 1 --out a.png --mode 2 --kind 3", "--mode 0 only"},
        {"--seed 1 --out --grid", "--out needs a value"},
        {"--seed 1 --out ''", "--out takes the name of a file"},
        {"--world '' --out a.png", "--world takes the name of a file"},
        {"--seed 1 --out a.png '--gr\nid'", "unknown option --gr?id"},
        {"--seed 1 --out a.png --stereo 9", "--stereo takes a number from 0 to 8, not '9'"},
        {"--seed 1 --out a.png --stereo -1", "--stereo"},
        {"--seed 1 --out a.png --stereo", "--stereo needs a value"},
        {"--seed 1 --out a.png --depth deep", "--depth"},
        {"--seed 1 --out a.png more", "unknown option more"},
        {world + " --out a.png --at 5", "PATH:NODE"},
        {world + " --out a.png --at :", "PATH:NODE"},
        {world + " --out a.png --at :5:", "PATH:NODE"},
        {world + " --out a.png --at /:5", "PATH:NODE"},
        {world + " --out a.png --at 1/:5", "PATH:NODE"},
        {world + " --out a.png --at :20", "20 nodes"},
        {world + " --out a.png --at 3:0", "node 3 holds no submaze"},
        {world + " --out a.png --at 99:0", "node 99 holds no submaze"},
        {"--world " + side.file("absent") + " --out a.png", "no such file"},
        {"--world " + side.file("bad") + " --out a.png", side.file("bad")},
        {world + " --out nowhere/a.png", "nowhere/a.png"},
    };
    for (const auto& one : cases) {
        const Folder folder;
        SCOPED_TRACE(one.arguments);
        expect_refusal(shot_in(folder, one.arguments), "corvane-shot", one.part);
        EXPECT_EQ(folder.listing(), "");
    }
    EXPECT_EQ(side.listing(), "bad maze_save.dat"); // nothing was set aside
}

TEST(corvane_shot, draws_a_new_world_in_the_size_asked_for_and_writes_nothing_else)
{
    const Folder folder;
    const Outcome outcome = shot_in(folder, "--seed 5 --out a.png --size 120x90");
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(folder.listing(), "a.png");
    const Picture picture = read_png(folder.file("a.png"));
    EXPECT_EQ(picture.width, 120U);
    EXPECT_EQ(picture.height, 90U);
    EXPECT_GT(picture.lit(), 100);
}

TEST(corvane_shot, draws_the_same_picture_from_the_same_arguments)
{
    const Folder folder;
    shot_in(folder, "--seed 5 --out a.png --size 120x90");
    shot_in(folder, "--seed 5 --out b.png --size 120x90");
    shot_in(folder, "--seed 6 --out c.png --size 120x90");
    EXPECT_EQ(folder.read("a.png"), folder.read("b.png"));
    EXPECT_NE(folder.read("a.png"), folder.read("c.png"));
}

TEST(corvane_shot, shows_a_saved_world_as_its_next_start_does)
{
    const Folder folder;
    leave_line(folder);
    const std::string world = "--world maze_save.dat --size 64x48";
    EXPECT_EQ(shot_in(folder, world + " --hud 0 --clock 0.016666666666666666 --out a.png").code, 0);
    play(folder, "at 1 shot b.png\nat 2 close\n");
    EXPECT_EQ(read_png(folder.file("a.png")).rgb, read_png(folder.file("b.png")).rgb);
}

// A picture of the line world, seen from node 10 if nothing else is said.
static Picture line_picture(const Folder& folder, const std::string& options)
{
    const Outcome outcome =
        shot_in(folder, "--world maze_save.dat --out a.png --size 96x72 --clock 1000 " + options);
    EXPECT_EQ(outcome.code, 0) << options << ": " << outcome.err;
    return read_png(folder.file("a.png"));
}

TEST(corvane_shot, places_the_player_and_its_view)
{
    const Folder folder;
    leave_line(folder);
    const std::vector<u8> plain = line_picture(folder, "").rgb;
    EXPECT_EQ(line_picture(folder, "--at :10").rgb, plain);
    for (const char* const option :
         {"--at :0", "--yaw 0.6", "--zoom 2", "--first-person", "--trail 3"}) {
        EXPECT_NE(line_picture(folder, option).rgb, plain) << option;
    }
    const std::vector<u8> turned = line_picture(folder, "--yaw 0.6").rgb;
    EXPECT_NE(line_picture(folder, "--yaw 0.6 --pitch -1").rgb, turned);
    EXPECT_EQ(line_picture(folder, "--zoom 1 --yaw 0 --pitch 0 --plot discs --trail 0").rgb, plain);
}

TEST(corvane_shot, shows_a_stereo_mode_as_the_program_does)
{
    const Folder folder;
    leave_line(folder);
    for (i32 mode = 0; mode <= 8; mode++) {
        const std::string number = std::to_string(mode);
        folder.write("config.txt",
                     "Stereo mode: " + number + "\nSwap stereo: Y\nStereo Depth: 0.2\n");
        play(folder, "at 1 press Space\nat 3 press Space\nat 5 press Space\n" // no texts
                     "at 6 shot b.png\nat 7 close\n");
        leave_line(folder);
        const Outcome outcome = shot_in(folder, "--world maze_save.dat --size 64x48 --out a.png "
                                                "--clock 0.1 --swap --depth 0.2 "
                                                "--stereo " +
                                                    number);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_EQ(read_png(folder.file("a.png")).rgb, read_png(folder.file("b.png")).rgb) << mode;
    }
}

TEST(corvane_shot, shows_one_eye_without_a_stereo_mode)
{
    const Folder folder;
    leave_line(folder);
    const std::vector<u8> plain = line_picture(folder, "").rgb;
    EXPECT_EQ(line_picture(folder, "--stereo 0 --swap --depth 3").rgb, plain);
    const std::vector<u8> coloured = line_picture(folder, "--pitch -1 --stereo 6").rgb;
    EXPECT_EQ(line_picture(folder, "--pitch -1 --stereo 6 --depth 0.05").rgb, coloured);
    EXPECT_NE(line_picture(folder, "--pitch -1 --stereo 6 --depth 0.1").rgb, coloured);
    EXPECT_NE(line_picture(folder, "--pitch -1 --stereo 6 --swap").rgb, coloured);
}

// The keys of a script that lead to what an option of corvane-shot shows, all in place by frame 8.
static const struct {
    const char *option, *keys;
} switches[] = {
    {"--plot discs", ""},
    {"--plot gantries", "at 1 press G\n"},
    {"--plot balls", "at 1 press G\nat 3 press G\n"},
    {"--plot flat", "at 7 hold J\n"},
    {"--plot voronoi", "at 1 press V\n"},
    {"--plot voronoi --voronoi-mode 1", "at 1 press V\nat 3 press M\nat 5 press M\n"},
    {"--plot balls --light", "at 1 press G\nat 3 press G\nat 5 hold Shift\nat 5 press L\n"
                             "at 6 release Shift\n"},
    {"--grid", "at 1 hold Shift\nat 1 press G\nat 2 release Shift\n"},
    {"--grid --sharp", "at 1 hold Shift\nat 1 press G\nat 2 release Shift\nat 3 press P\n"},
    {"--area", "at 7 hold F\n"},
    {"--plot flat --area", "at 7 hold J\nat 7 hold F\n"},
    {"--lines", "at 7 hold I\n"},
};

TEST(corvane_shot, shows_each_style_and_switch_as_the_program_does)
{
    const Folder folder;
    std::set<std::vector<u8>> pictures;
    for (const auto& one : switches) {
        SCOPED_TRACE(one.option);
        leave_line(folder);
        play(folder,
             "at 1 press Space\nat 3 press Space\nat 5 press Space\n" // no texts
             "at 8 shot b.png\nat 9 close\n" +
                 std::string(one.keys),
             "--size 96x72 --dt 0.125");
        leave_line(folder);
        const std::vector<u8> shot =
            line_picture(folder, std::string("--clock 1 ") + one.option).rgb;
        EXPECT_EQ(shot, read_png(folder.file("b.png")).rgb);
        EXPECT_TRUE(pictures.insert(shot).second) << "as another one";
    }
}

TEST(corvane_shot, paints_the_landscape_round_the_world)
{
    const Folder folder;
    leave_line(folder);
    const std::string ahead = "--first-person --pitch -1.5 ";
    const Picture bare = line_picture(folder, ahead);
    const Picture landscape = line_picture(folder, ahead + "--landscape");
    EXPECT_LT(bare.lit(), 96 * 72 / 2);
    EXPECT_GT(landscape.lit(), 96 * 72 * 9 / 10);
}

// How many columns of a picture hold a lit pixel.
static i32 lit_columns(const Picture& picture)
{
    std::set<size_t> columns;
    for (size_t i = 0; i < picture.rgb.size(); i++) {
        if (picture.rgb[i] != 0) {
            columns.insert(i / 3 % picture.width);
        }
    }
    return static_cast<i32>(columns.size());
}

TEST(corvane_shot, puts_the_eye_at_its_goal_by_the_zoom)
{
    const Folder folder;
    leave_line(folder);
    // At a distance d the 96 columns show 2 d. The line goes 25.5 to the left, and 23 to the right.
    // An odd height has a row of pixels on the line, however thin it is.
    EXPECT_NEAR(lit_columns(line_picture(folder, "")), 48 + 48 * 23 / 25.0, 2);
    EXPECT_NEAR(lit_columns(line_picture(folder, "--zoom 4 --size 96x73")), 96 * 48.5 / 200, 2);
}

TEST(corvane_shot, holds_the_pitch_to_its_limits)
{
    const Folder folder;
    leave_line(folder);
    const std::string turned = "--yaw 0.6 --pitch ";
    EXPECT_EQ(line_picture(folder, turned + "1").rgb, line_picture(folder, turned + "0").rgb);
    EXPECT_EQ(line_picture(folder, turned + "-3.2").rgb,
              line_picture(folder, turned + "-3.141592653589793").rgb);
}

TEST(corvane_shot, stands_on_a_node_of_a_submaze_by_its_path)
{
    const Folder folder;
    Maze* const root = make_line(3, 2.5, 0.5);
    Maze* const middle = make_line(5, 0.2, 0.05);
    nest(root, 1, middle);
    leave_world(folder, root, {root, 0});
    const std::vector<u8> outer = line_picture(folder, "").rgb;
    EXPECT_NE(line_picture(folder, "--at 1:4").rgb, outer);
    expect_refusal(shot_in(folder, "--world maze_save.dat --out b.png --at :1"), "corvane-shot",
                   "holds a submaze");
}

TEST(corvane_shot, walks_a_trail_that_shows_its_age)
{
    const Folder folder;
    leave_line(folder, 20, 0);
    MazeGame game;
    std::string why(SAVE_WHY, 0);
    ASSERT_EQ(MazeGame_load(&game, folder.file("maze_save.dat").c_str(), why.data()), SAVE_LOADED);
    game.showtrail = 1;
    game.showexits = 0;
    ASSERT_TRUE(MazeGame_save(&game, folder.file("maze_save.dat").c_str(), why.data()));
    MazeGame_free(&game);
    // From node 0 the line leads one way only, so ten steps end on node 10.
    const Picture walked = line_picture(folder, "--trail 10");
    const Picture unwalked = line_picture(folder, "--at :10");
    ASSERT_EQ(walked.rgb.size(), unwalked.rgb.size());
    long brighter_left = 0;
    long changed_right = 0;
    for (size_t i = 0; i < walked.rgb.size(); i++) {
        const size_t x = i / 3 % walked.width;
        const i32 more = walked.rgb[i] - unwalked.rgb[i];
        brighter_left += x < 40 && more > 0 ? 1 : 0;
        changed_right += x > 56 && more != 0 ? 1 : 0;
    }
    EXPECT_GT(brighter_left, 100);
    EXPECT_EQ(changed_right, 0);
}

// What is written at a place of a picture of the line world.
static std::string written(const std::string& options, i32 y)
{
    const Folder folder;
    leave_line(folder);
    const Outcome outcome =
        shot_in(folder, "--world maze_save.dat --out a.png --size 640x480 --clock 3723 " + options);
    EXPECT_EQ(outcome.code, 0) << options << ": " << outcome.err;
    return read_line(read_png(folder.file("a.png")), 0, y, 300);
}

TEST(corvane_shot, writes_no_text_unless_asked)
{
    EXPECT_EQ(written("", 0), "");
    EXPECT_EQ(written("--hud 3", 0), "");
}

TEST(corvane_shot, writes_the_displays_over_the_picture)
{
    EXPECT_EQ(written("--hud 0", 0), "Press Space for controls");
    EXPECT_EQ(written("--hud 1", 0), "Q/Escape = Quit");
    EXPECT_EQ(written("--hud 2", 0), "1:02:03");
    EXPECT_EQ(written("--hud 2", 4 * 16), "0 / 20 nodes visited (0.00%)");
}

TEST(corvane_shot, leaves_no_trace_of_steps_before_time_0)
{
    // five steps: three before time 0, then one at half a second and one at one and a half
    EXPECT_EQ(written("--hud 2 --clock 1.5 --trail 5", 4 * 16), "2 / 20 nodes visited (10.00%)");
}

TEST(corvane_play, shows_the_displays_one_by_one)
{
    const Folder folder;
    leave_line(folder);
    const Played played =
        play(folder,
             "at 1 shot 0.png\nat 2 press Space\nat 2 shot 1.png\nat 4 press Space\n"
             "at 4 shot 2.png\nat 6 press Space\nat 6 shot 3.png\nat 8 press Space\n"
             "at 8 shot 4.png\nat 9 close\n",
             "--size 640x240");
    EXPECT_EQ(played.outcome.code, 0) << played.outcome.err;
    const char* const lines[] = {"Press Space for controls", "Q/Escape = Quit", "0:00:00", "",
                                 "Press Space for controls"};
    for (i32 i = 0; i < 5; i++) {
        const Picture picture = read_png(folder.file(std::to_string(i) + ".png"));
        EXPECT_EQ(read_line(picture, 0, 0, 300), lines[i]);
    }
}

TEST(corvane_play, leaves_a_screenshot_in_the_folder)
{
    const Folder folder;
    leave_line(folder);
    const Played played = play(folder, "at 5 hold Ctrl\nat 5 press S\nat 5 shot shown.png\n"
                                       "at 6 close\n");
    EXPECT_EQ(played.outcome.code, 0) << played.outcome.err;
    EXPECT_EQ(played.outcome.out, "");
    EXPECT_EQ(folder.listing(), "Corvane_00000.png config.txt maze_save.dat shown.png");
    EXPECT_EQ(read_png(folder.file("Corvane_00000.png")).rgb,
              read_png(folder.file("shown.png")).rgb);
}
