#include "tests/window/session.h"

#include "base/rnd.h"
#include "model/mazegame.h"
#include "model/pos.h"
#include "model/savefile.h"
#include "tests/quiet.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>

Session::Session(const Desktop& where, const std::string& in, const std::vector<std::string>& words)
    : desktop(where), folder(in)
{
    process = spawn({.words = words,
                     .folder = folder,
                     .display = desktop.display(),
                     .out = folder + "/out.txt",
                     .err = folder + "/err.txt"});
}

Session::~Session()
{
    if (process >= 0) {
        kill(process, SIGKILL);
        wait_for_end(process, 10);
    }
}

std::string Session::printed() const
{
    return file_text(folder + "/out.txt");
}

std::string Session::errors() const
{
    return file_text(folder + "/err.txt");
}

void Session::wait_for_window()
{
    const char* const search = "xdotool search --onlyvisible --name '^Corvane$'";
    bool seen = false;
    wait_until(60, [&] {
        seen = desktop.tried(search);
        return seen || !running();
    });
    if (!seen) {
        throw std::runtime_error("no window named Corvane came: " + printed() + errors());
    }
    const std::string found = desktop.run(search);
    id = found.substr(0, found.find('\n'));
}

void Session::wait_for_keys() const
{
    if (!wait_until(60, [this] {
            const std::string focus = desktop.run("xdotool getwindowfocus || true");
            return focus.substr(0, focus.find('\n')) == id;
        })) {
        throw std::runtime_error("the window does not take the keys");
    }
}

void Session::start()
{
    wait_for_window();
    if (!wait_until(60, [this] { return desktop.colours(id) > 8 || !running(); }) || !running()) {
        throw std::runtime_error("the window stays empty: " + printed() + errors());
    }
    wait_for_keys();
    show_frame(); // until the first one is over a key may be lost
    desktop.run("xdotool mousemove_relative 3 2");
    show_frame();
    desktop.run("xdotool mousemove_relative -- -3 -2");
    show_frame();
}

void Session::wait_for(Seen wanted) const
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    const auto going = [&] { return running() && std::chrono::steady_clock::now() < end; };
    if (!wait_for_seen(wanted, desktop.display(), id, going) &&
        !wait_until(30, [this] { return !running(); })) { // the window goes before the program
        throw std::runtime_error("the program shows no further frame: " + printed() + errors());
    }
}

void Session::show_frame() const
{
    wait_for(FRAME_SHOWN);
}

void Session::take_input() const
{
    wait_for(INPUT_TAKEN);
}

void Session::tap(const std::string& key) const
{
    if (key.find('+') != std::string::npos) {
        hold(key, 0); // keys that act together must be down together in one frame
        return;
    }
    desktop.run("xdotool key " + key);
    show_frame();
}

void Session::press(const std::string& key) const
{
    desktop.run("xdotool keydown " + key);
    show_frame();
}

void Session::release(const std::string& key) const
{
    std::string turned; // without Ctrl a key might act in another way
    std::istringstream names(key);
    for (std::string name; std::getline(names, name, '+');) {
        turned = turned.empty() ? name : name + "+" + turned;
    }
    desktop.run("xdotool keyup " + turned);
    show_frame();
}

void Session::hold(const std::string& key, double seconds) const
{
    press(key);
    sleep_for(seconds);
    show_frame();
    release(key);
}

void Session::click(int button) const
{
    desktop.run("xdotool click " + std::to_string(button));
    show_frame();
}

void Session::close() const
{
    desktop.run("wmctrl -c Corvane");
}

void Session::signal(int number) const
{
    kill(process, number);
}

bool Session::running() const
{
    siginfo_t end = {};
    const int failed = waitid(P_PID, static_cast<id_t>(process), &end, WEXITED | WNOHANG | WNOWAIT);
    return failed == 0 && end.si_pid == 0;
}

int Session::finish()
{
    const int code = wait_for_end(process, 60);
    if (code < 0) {
        throw std::runtime_error("the program does not end: " + printed() + errors());
    }
    process = -1;
    return code;
}

int Session::escape()
{
    desktop.run("xdotool key Escape");
    return finish();
}

Save::Save(const std::string& path)
{
    const std::string bytes = file_text(path);
    std::string why(SAVE_WHY, 0);
    const u8* const start = reinterpret_cast<const u8*>(bytes.data());
    if (savefile_check(start, bytes.size(), why.data()) != SAVE_SOUND) {
        throw std::runtime_error(path + ": " + why.c_str());
    }
    savefile_build(&game, start, bytes.size());
    const u8* const tail = start + bytes.size() - GAME_TAIL;
    std::memcpy(&time, tail, sizeof time);
    std::memcpy(orient, tail + 8, sizeof orient);
    std::memcpy(campos, tail + 80, sizeof campos);
    std::memcpy(&zoom, tail + 104, sizeof zoom);
    std::memcpy(&view, tail + 112, sizeof view);
}

Save::~Save()
{
    MazeGame_free(&game);
}

std::vector<int> Save::place() const
{
    std::vector<int> out = {game.pos.node};
    for (const Maze* maze = game.pos.maze; maze->parent != nullptr; maze = maze->parent) {
        out.push_back(maze->parentnode);
    }
    std::reverse(out.begin(), out.end());
    return out;
}

std::vector<f64> Save::position() const
{
    const f64* const pos = Pos_node(game.pos)->pos;
    return {pos[0], pos[1], pos[2]};
}

static void describe(const Maze* maze, std::ostream& out)
{
    out << (maze->name == nullptr ? "" : maze->name) << " of " << Maze_count(maze) << "\n";
    for (i32 i = 0; i < Maze_count(maze); i++) {
        const MazeNode* const node = Maze_node(maze, i);
        out << node->pos[0] << " " << node->pos[1] << " " << node->pos[2] << ":";
        for (u32 k = 0; k < node->nedges; k++) {
            out << " " << node->edges[k];
        }
        out << "\n";
        if (node->sub != nullptr) {
            describe(node->sub, out);
        }
    }
}

static std::string describe(const Maze* root)
{
    std::ostringstream out;
    describe(root, out);
    return out.str();
}

std::string Save::world() const
{
    return describe(game.root);
}

static int visits_below(const Maze* maze)
{
    int sum = maze->visitednodes;
    for (i32 i = 0; i < Maze_count(maze); i++) {
        const Maze* const sub = Maze_node(maze, i)->sub;
        sum += sub == nullptr ? 0 : visits_below(sub);
    }
    return sum;
}

int Save::visits() const
{
    return visits_below(game.root);
}

f64 Save::start_zoom() const
{
    return 50 * Maze_node(game.root, 0)->radius;
}

static void new_game(MazeGame* out, unsigned seed)
{
    const Quiet quiet;
    rnd_seed(seed);
    MazeGame_new(out, 0);
}

std::string world_of_seed(unsigned seed)
{
    MazeGame game;
    new_game(&game, seed);
    std::string out = describe(game.root);
    MazeGame_free(&game);
    return out;
}

static bool leads_upward(Pos from)
{
    Pos exits[POS_MAXEDGES];
    const i32 n = Pos_alledges(from, exits, nullptr);
    const f64* const a = Pos_node(from)->pos;
    for (i32 i = 0; i < n; i++) {
        const f64* const b = Pos_node(exits[i])->pos;
        const f64 length = std::hypot(b[0] - a[0], b[1] - a[1], b[2] - a[2]);
        if (b[1] - a[1] > 0.99 * length) {
            return true;
        }
    }
    return false;
}

static StartSeed find_seed()
{
    for (unsigned seed = 1; seed <= 200; seed++) {
        MazeGame game;
        new_game(&game, seed);
        const bool found = leads_upward(game.pos);
        StartSeed out = {seed, visits_below(game.root)};
        MazeGame_free(&game);
        if (found) {
            return out;
        }
    }
    throw std::runtime_error("no start among 200 leads upward");
}

StartSeed seed_with_an_exit_upward()
{
    static const StartSeed found = find_seed();
    return found;
}

void WindowTest::SetUp()
{
    folder = desktop.folder() + "/play";
    std::filesystem::create_directory(folder);
}

void WindowTest::settings(const std::string& text) const
{
    std::ofstream(path("config.txt")) << text;
}

std::string WindowTest::path(const std::string& name) const
{
    return folder + "/" + name;
}

void WindowTest::expect_opened(const std::string& text, const std::string& wanted,
                               const std::vector<std::string>& words) const
{
    SCOPED_TRACE(text);
    settings("Seed: 1\n" + text);
    Session run(desktop, folder, words);
    run.wait_for_window();
    std::string last;
    wait_until(10, [&] {
        last = desktop.client_place(run.window());
        return last.rfind(wanted, 0) == 0;
    });
    EXPECT_EQ(last.substr(0, wanted.size()), wanted);
    run.close();
    EXPECT_EQ(run.finish(), 0);
}
