// Camera and walking from outside: random scripts are played by corvane-play, and every frame of its
// log is compared with a plain recomputation from the same script, world and clock.
#include "base/rnd.h"
#include "tests/shell_session.h"
#include "tests/vec.h"

#include <cmath>
#include <random>
#include <set>

static constexpr f64 PI = 3.141592653589793;

// What a script does before one frame.
struct Input {
    std::set<std::string> down, up, tap; // keys
    std::set<std::string> press, let;    // buttons
    i32 wheel = 0;                       // notches in one direction
    i32 dx = 0, dy = 0;
    i32 width = 0, height = 0; // 0: no change
};

static std::string script_of(const std::vector<Input>& inputs)
{
    std::ostringstream text;
    for (size_t i = 0; i < inputs.size(); i++) {
        const Input& input = inputs[i];
        const std::string at = "at " + std::to_string(i + 1) + " ";
        for (const std::string& key : input.down) {
            text << at << "hold " << key << "\n";
        }
        for (const std::string& key : input.up) {
            text << at << "release " << key << "\n";
        }
        for (const std::string& key : input.tap) {
            text << at << "press " << key << "\n";
        }
        for (const std::string& button : input.press) {
            text << at << "button " << button << " down\n";
        }
        for (const std::string& button : input.let) {
            text << at << "button " << button << " up\n";
        }
        for (i32 n = std::abs(input.wheel); n > 0; n--) {
            text << at << "wheel " << (input.wheel > 0 ? "+1" : "-1") << "\n";
        }
        if (input.dx != 0 || input.dy != 0) {
            text << at << "mouse " << input.dx << " " << input.dy << "\n";
        }
        if (input.width != 0) {
            text << at << "resize " << input.width << " " << input.height << "\n";
        }
    }
    return text.str();
}

// Keys and buttons go down and come up at random, at most once a frame each.
static std::vector<Input> random_inputs(u32 seed, i32 frames)
{
    std::mt19937 random(seed);
    const auto chance = [&](i32 n) { return random() % static_cast<u32>(n) == 0; };
    const auto number = [&](i32 low, i32 high) {
        return low + static_cast<i32>(random() % static_cast<u32>(high - low + 1));
    };
    const std::vector<std::string> held = {"Up", "Down", "Left", "Right", "W",   "A",
                                           "S",  "D",    "Z",    "X",     "Ctrl"};
    const std::vector<std::string> tapped = {"1", "3", "Space", "M", "P", "F4", "F6"};
    std::set<std::string> down;
    std::vector<Input> inputs(static_cast<size_t>(frames));
    for (Input& input : inputs) {
        for (const std::string& key : held) {
            if (down.count(key) != 0 ? chance(key == "Ctrl" ? 5 : 15) : chance(60)) {
                const bool was = down.erase(key) != 0;
                (was ? input.up : input.down).insert(key);
                if (!was) {
                    down.insert(key);
                }
            }
        }
        for (const char* const button : {"left", "right"}) {
            const std::string name = "button " + std::string(button);
            if (chance(25)) {
                const bool was = down.erase(name) != 0;
                (was ? input.let : input.press).insert(button);
                if (!was) {
                    down.insert(name);
                }
            }
        }
        if (chance(25)) {
            input.tap.insert(tapped[static_cast<size_t>(number(0, 6))]);
        }
        input.wheel = chance(30) ? number(-2, 2) : 0;
        input.dx = chance(3) ? number(-9, 9) : 0;
        input.dy = chance(3) ? number(-9, 9) : 0;
        if (chance(80)) {
            input.width = number(20, 90);
            input.height = number(20, 90);
        }
    }
    // What takes long to draw is shown for two frames each.
    const std::pair<size_t, const char*> shown[] = {{100, "L"}, {102, "L"}, {150, "G"}, {152, "G"},
                                                    {154, "G"}, {200, "V"}, {202, "V"}};
    for (const auto& [frame, key] : shown) {
        inputs.at(frame).tap.insert(key);
    }
    return inputs;
}

// The exits of a place, worked out anew from the graph: where an edge leads into a submaze, its port
// of that edge; at a port, the way out.
static Pos arrival(Maze* maze, i32 node, i32 from)
{
    const MazeNode* const target = Maze_node(maze, node);
    if (target->sub == nullptr) {
        return {maze, node};
    }
    i32 port = -1;
    for (i32 i = 0; i < static_cast<i32>(target->nedges); i++) {
        port = target->edges[i] == from ? i : port;
    }
    return {target->sub, port};
}

static std::vector<Pos> exits_of(Pos pos)
{
    std::vector<Pos> exits;
    const MazeNode* const node = Maze_node(pos.maze, pos.node);
    for (u32 i = 0; i < node->nedges; i++) {
        exits.push_back(arrival(pos.maze, node->edges[i], pos.node));
    }
    Maze* const parent = pos.maze->parent;
    if (parent != nullptr) {
        const MazeNode* const holder = Maze_node(parent, pos.maze->parentnode);
        if (pos.node < static_cast<i32>(holder->nedges)) {
            exits.push_back(arrival(parent, holder->edges[pos.node], pos.maze->parentnode));
        }
    }
    return exits;
}

static Vec place(Pos pos)
{
    const f64* const p = Maze_node(pos.maze, pos.node)->pos;
    return {p[0], p[1], p[2]};
}

// The state that is recomputed.
struct Model {
    bool framed = true;
    i32 width = 64, height = 48;
    std::set<std::string> keys, buttons, buttons_before;
    Pos pos = Pos_null;
    Vec step, campos;
    Vec rows[3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    f64 zoom = 0, yaw = 0, pitch = 0, radius = 0;
    bool first_person = false;
    Vec seen;
    i32 levels_crossed = 0, nodes_walked = 0;

    f64 cosine(Pos exit) const
    {
        const Vec way = place(exit) - place(pos);
        const f64 size = length(step);
        return size > 0 ? std::fmin(dot(way, (1 / size) * step) / length(way), 1.0) : 0.0;
    }
    f64 share(Pos exit) const
    {
        const Vec way = place(exit) - place(pos);
        return dot(step, way) / dot(way, way);
    }
    // Where the player is seen, and the radius there.
    void look()
    {
        const std::vector<Pos> exits = exits_of(pos);
        i32 best = -1;
        f64 first = 0;
        f64 second = 0;
        for (i32 i = static_cast<i32>(exits.size()) - 1; i >= 0; i--) {
            const f64 c = cosine(exits[static_cast<size_t>(i)]);
            if (c > first) {
                second = first;
                first = c;
                best = i;
            } else if (c > second) {
                second = c;
            }
        }
        f64 f = 0;
        Pos to = pos;
        if (best >= 0) {
            to = exits[static_cast<size_t>(best)];
            f = share(to) * (second > 0 ? 1 - std::acos(first) / std::acos(second) : 1);
        }
        seen = (1 - f) * place(pos) + f * place(to);
        radius = (1 - f) * Maze_node(pos.maze, pos.node)->radius +
                 f * Maze_node(to.maze, to.node)->radius;
    }
    void walk(Vec movement)
    {
        step = step + movement;
        const std::vector<Pos> exits = exits_of(pos);
        Pos to = Pos_null;
        f64 most = 0;
        for (i32 i = static_cast<i32>(exits.size()) - 1; i >= 0; i--) {
            const f64 c = cosine(exits[static_cast<size_t>(i)]);
            if (c > most) {
                most = c;
                to = exits[static_cast<size_t>(i)];
            }
        }
        if (to.maze == nullptr) {
            step = {};
        } else if (share(to) > 1) {
            levels_crossed += to.maze != pos.maze ? 1 : 0;
            nodes_walked++;
            step = {};
            pos = to;
        }
    }
    bool held(const std::string& a, const std::string& b = "") const
    {
        return keys.count(a) != 0 || keys.count(b) != 0;
    }
    void take(const Input& input)
    {
        for (const std::string& key : input.up) {
            keys.erase(key);
        }
        keys.insert(input.down.begin(), input.down.end());
        buttons_before = buttons;
        buttons.insert(input.press.begin(), input.press.end());
        for (const std::string& button : input.let) {
            buttons.erase(button);
        }
        if (input.width != 0) {
            width = input.width;
            height = input.height;
        }
    }
    void change_zoom(const Input& input, f64 dt)
    {
        const f64 before = radius;
        look();
        zoom *= std::pow(radius / before, 0.6);
        zoom *= input.wheel > 0 ? 0.8333333333333334 : input.wheel < 0 ? 1.2 : 1.0;
        zoom *= held("Z") ? std::exp(-2 * dt) : 1;
        zoom *= held("X") ? std::exp(2 * dt) : 1;
    }
    Vec steer(const Input& input, f64 dt)
    {
        const bool reads = !framed || !buttons.empty() || first_person;
        const f64 dx = reads ? input.dx : 0;
        const f64 dy = reads ? input.dy : 0;
        const bool right = buttons.count("right") != 0 && buttons_before.count("right") != 0;
        f64 side = 0;
        f64 ahead = 0;
        f64 back = 0;
        if (right || first_person) {
            yaw += dx * 10 / width;
            pitch += dy * 10 / width;
        } else {
            side = dx * zoom / height;
            ahead = -dy * zoom / height;
        }
        if (held("Ctrl")) {
            pitch += 2 * dt * (held("Down") - held("Up"));
            yaw += 2 * dt * (held("Right") - held("Left"));
        } else if (!first_person) {
            ahead += 2 * zoom * dt * (held("Up", "W") - held("Down", "S"));
            side += 2 * zoom * dt * (held("Right", "D") - held("Left", "A"));
        } else {
            back += 3 * dt * (held("Down", "S") - held("Up", "W"));
            side += 3 * dt * (held("Right", "D") - held("Left", "A"));
        }
        pitch = std::fmin(0, std::fmax(-PI, pitch));
        const f64 sy = std::sin(yaw);
        const f64 cy = std::cos(yaw);
        const f64 sp = std::sin(pitch);
        const f64 cp = std::cos(pitch);
        const Vec old = rows[2];
        rows[0] = {cy, -sy, 0};
        rows[1] = {cp * sy, cp * cy, -sp};
        rows[2] = {sp * sy, sp * cy, cp};
        campos = campos + zoom * (rows[2] - old);
        if (!first_person) {
            return side * rows[0] + ahead * rows[1];
        }
        const f64 c = 6.123233995736766e-17;
        const f64 q = ahead * c - back;
        return {sy * q + side * cy, cy * q - sy * side, back * c + ahead};
    }
    void follow(f64 dt)
    {
        if (first_person) {
            campos = seen + Vec{0, 0, 1.6};
        } else {
            const Vec goal = seen + zoom * rows[2];
            campos = campos + std::fmin(10 * dt, 1) * (goal - campos);
        }
    }
    void frame(const Input& input, f64 dt)
    {
        take(input);
        change_zoom(input, dt);
        const Vec movement = steer(input, dt);
        walk(movement);
        const f64 scale = radius;
        look();
        follow(dt);
        radius = scale; // the zoom follows from where it last looked
        first_person = input.tap.count("1") != 0 || (first_person && input.tap.count("3") == 0);
    }
};

static std::string path_of(const Maze* maze)
{
    if (maze->parent == nullptr) {
        return "";
    }
    const std::string above = path_of(maze->parent);
    return above + (above.empty() ? "" : "/") + std::to_string(maze->parentnode);
}

static bool near(f64 a, f64 b, f64 scale)
{
    return std::fabs(a - b) <= 1e-9 * std::fmax(scale, std::fmax(std::fabs(a), std::fabs(b)));
}

// Compares one row; false at the first difference, so that one fault tells itself once.
static bool row_agrees(const Log& log, size_t row, const Model& model)
{
    const struct {
        const char* column;
        f64 value;
        f64 scale;
    } reals[] = {
        {"zoom", model.zoom, 0},
        {"yaw", model.yaw, 1},
        {"pitch", model.pitch, 1},
        {"step_x", model.step.x, 1},
        {"step_y", model.step.y, 1},
        {"step_z", model.step.z, 1},
        {"viewpos_x", model.seen.x, 1},
        {"viewpos_y", model.seen.y, 1},
        {"viewpos_z", model.seen.z, 1},
        {"campos_x", model.campos.x, model.zoom},
        {"campos_y", model.campos.y, model.zoom},
        {"campos_z", model.campos.z, model.zoom},
    };
    for (const auto& real : reals) {
        if (!near(log.real(row, real.column), real.value, real.scale)) {
            ADD_FAILURE() << "frame " << row + 1 << " " << real.column << ": logged "
                          << log.rows[row].at(real.column) << ", expected " << real.value;
            return false;
        }
    }
    const struct {
        const char* column;
        i32 value;
    } integers[] = {{"node", model.pos.node},
                    {"first_person", model.first_person ? 1 : 0},
                    {"width", model.width},
                    {"height", model.height}};
    for (const auto& integer : integers) {
        if (log.integer(row, integer.column) != integer.value) {
            ADD_FAILURE() << "frame " << row + 1 << " " << integer.column;
            return false;
        }
    }
    EXPECT_EQ(log.rows[row].at("maze"), path_of(model.pos.maze)) << "frame " << row + 1;
    return log.rows[row].at("maze") == path_of(model.pos.maze);
}

struct Tally {
    i32 nodes_walked = 0, levels_crossed = 0, frames = 0;
};

// Plays inputs in a world that the save file of `folder` holds, and compares all frames.
static void compare(const Folder& folder, const std::vector<Input>& inputs, bool framed,
                    const std::string& dt, Tally* tally)
{
    MazeGame game;
    std::string why(SAVE_WHY, 0);
    ASSERT_EQ(MazeGame_load(&game, folder.file("maze_save.dat").c_str(), why.data()), SAVE_LOADED);
    Model model;
    model.framed = framed;
    model.pos = game.pos;
    model.zoom = game.zoom;
    model.campos = {game.campos[0], game.campos[1], game.campos[2]};
    model.look();
    folder.write("config.txt", framed ? "" : "Windowed (Y/N): N\n");
    const std::string screen = framed ? " --size 64x48" : " --display 0,0,64x48";
    const Played played =
        play(folder, script_of(inputs),
             "--dt " + dt + screen + " --frames " + std::to_string(inputs.size()));
    EXPECT_EQ(played.outcome.code, 0) << played.outcome.err;
    ASSERT_EQ(played.log.rows.size(), inputs.size());
    f64 time = game.time;
    for (size_t row = 0; row < inputs.size(); row++) {
        const f64 step = played.log.real(row, "dt");
        EXPECT_NEAR(step, std::atof(dt.c_str()), 1e-9);
        time += step;
        model.frame(inputs[row], step);
        if (!row_agrees(played.log, row, model) || !near(played.log.real(row, "time"), time, 1)) {
            ADD_FAILURE() << "row " << row;
            break;
        }
        tally->frames++;
    }
    tally->nodes_walked += model.nodes_walked;
    tally->levels_crossed += model.levels_crossed;
    MazeGame_free(&game);
}

static void leave_generated(const Folder& folder, u32 seed)
{
    rnd_seed(seed);
    MazeGame game;
    MazeGame_new(&game, 0);
    std::string why(SAVE_WHY, 0);
    EXPECT_TRUE(MazeGame_save(&game, folder.file("maze_save.dat").c_str(), why.data()));
    MazeGame_free(&game);
}

// A ring of five nodes; two neighbours hold rings of their own, one of which holds a line.
static Maze* make_ring(i32 n, f64 size, f64 radius)
{
    Maze* const maze = Maze_new();
    for (i32 i = 0; i < n; i++) {
        const f64 angle = 2 * PI * i / n;
        add_node(maze, size * std::cos(angle), size * std::sin(angle), 0.1 * size * (i % 2),
                 radius);
    }
    for (i32 i = 0; i < n; i++) {
        Maze_join(maze, i, (i + 1) % n);
    }
    Maze_bounds(maze, false);
    return maze;
}

static void leave_rings(const Folder& folder)
{
    Maze* const root = make_ring(5, 3, 0.5);
    nest(root, 1, make_ring(6, 0.4, 0.06));
    nest(root, 2, make_ring(4, 0.4, 0.05));
    nest(Maze_node(root, 1)->sub, 4, make_line(3, 0.02, 0.008));
    leave_world(folder, root, {root, 0});
}

TEST(corvane_play_log, agrees_with_a_plain_recomputation_in_generated_worlds)
{
    Tally tally;
    for (u32 seed = 1; seed <= 6; seed++) {
        const Folder folder;
        leave_generated(folder, seed);
        SCOPED_TRACE("seed " + std::to_string(seed));
        compare(folder, random_inputs(seed, 500), seed % 3 != 0,
                seed % 2 == 0 ? "0.016666666666666666" : "0.04", &tally);
    }
    EXPECT_EQ(tally.frames, 6 * 500);
    EXPECT_GT(tally.nodes_walked, 100);
    EXPECT_GT(tally.levels_crossed, 3);
}

TEST(corvane_play_log, agrees_with_a_plain_recomputation_across_levels)
{
    Tally tally;
    for (u32 seed = 11; seed <= 18; seed++) {
        const Folder folder;
        leave_rings(folder);
        SCOPED_TRACE("seed " + std::to_string(seed));
        compare(folder, random_inputs(seed, 500), seed % 3 != 0,
                seed % 2 == 0 ? "0.016666666666666666" : "0.12", &tally);
    }
    EXPECT_EQ(tally.frames, 8 * 500);
    EXPECT_GT(tally.nodes_walked, 100);
    EXPECT_GT(tally.levels_crossed, 50);
}

TEST(corvane_play_log, has_the_switches_as_the_keys_set_them)
{
    const Folder folder;
    leave_line(folder);
    const Played played = play(folder,
                               "at 2 press Space\nat 3 press G\nat 4 press V\nat 5 press M\n"
                               "at 6 press L\nat 8 hold Shift\nat 8 press L\nat 9 press G\n"
                               "at 10 release Shift\nat 10 press P\nat 11 press F3\n"
                               "at 12 press F4\nat 13 press F6\nat 14 press F5\nat 16 press F5\n",
                               "--size 64x48 --frames 16");
    ASSERT_EQ(played.log.rows.size(), 16U);
    const struct {
        const char* column;
        size_t frame; // in which the key is down
        i32 before, after;
    } changes[] = {
        {"hud_mode", 2, 0, 1},     {"plot_type", 3, 0, 1},     {"voronoi_on", 4, 0, 1},
        {"voronoi_mode", 5, 5, 0}, {"landscape_on", 6, 0, 1},  {"light_on", 8, 0, 1},
        {"grid_on", 9, 0, 1},      {"smooth_lines", 10, 1, 0}, {"stereo_mode", 11, 0, 1},
        {"stereo_swap", 12, 0, 1},
    };
    for (const auto& change : changes) {
        for (size_t row = 0; row < 16; row++) {
            EXPECT_EQ(played.log.integer(row, change.column),
                      row + 1 < change.frame ? change.before : change.after)
                << change.column << " in frame " << row + 1;
        }
    }
    EXPECT_NEAR(played.log.real(12, "stereo_depth"), 0.055, 1e-12);
    EXPECT_NEAR(played.log.real(15, "stereo_depth"), 0.045, 1e-12);
}
