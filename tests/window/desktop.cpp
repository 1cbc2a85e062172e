#include "tests/window/desktop.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <set>
#include <sstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using Clock = std::chrono::steady_clock;

void sleep_for(double seconds)
{
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

bool wait_until(double seconds, const std::function<bool()>& question)
{
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    while (!question()) {
        if (Clock::now() > end) {
            return question();
        }
        sleep_for(0.01);
    }
    return true;
}

std::string file_text(const std::string& path)
{
    const std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

bool file_exists(const std::string& path)
{
    return std::filesystem::exists(path);
}

static void redirect(const std::string& path, int descriptor)
{
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (file < 0 || dup2(file, descriptor) < 0) {
        _exit(126);
    }
    close(file);
}

[[noreturn]] static void become(const Spawn& what)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (chdir(what.folder.c_str()) != 0) {
        _exit(126);
    }
    unsetenv("WAYLAND_DISPLAY");
    unsetenv("SDL_VIDEODRIVER");
    if (what.display.empty()) {
        unsetenv("DISPLAY");
    } else {
        setenv("DISPLAY", what.display.c_str(), 1);
    }
    setenv("HOME", what.folder.c_str(), 1);
    redirect(what.out, STDOUT_FILENO);
    redirect(what.err, STDERR_FILENO);
    if (what.passed_fd >= 0) {
        fcntl(what.passed_fd, F_SETFD, 0);
    }
    std::vector<char*> words;
    for (const std::string& word : what.words) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);
    execvp(words[0], words.data());
    _exit(127);
}

pid_t spawn(const Spawn& what)
{
    const pid_t process = fork();
    if (process < 0) {
        throw std::runtime_error("no process could be made for " + what.words[0]);
    }
    if (process == 0) {
        become(what);
    }
    return process;
}

int wait_for_end(pid_t process, double seconds)
{
    int status = 0;
    const bool ended =
        wait_until(seconds, [&] { return waitpid(process, &status, WNOHANG) == process; });
    if (!ended) {
        return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

static void end_process(pid_t process)
{
    if (process < 0) {
        return;
    }
    kill(process, SIGTERM);
    if (wait_for_end(process, 5) < 0) {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
}

static std::string make_folder()
{
    std::string path = (std::filesystem::temp_directory_path() / "corvane_XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr) {
        throw std::runtime_error("no temporary folder could be made: " + path);
    }
    return path;
}

Desktop::Desktop(bool managed, Screens screens) : place(make_folder())
{
    find_tools(screens);
    if (screens == TWO_SCREENS) {
        start_two_screens();
    } else {
        start_one_screen();
    }
    if (managed) {
        start_manager();
    }
}

Desktop::~Desktop()
{
    end_process(manager);
    end_process(server);
    std::error_code ignored;
    std::filesystem::remove_all(place, ignored);
}

void Desktop::signal_server(int number) const
{
    kill(server, number);
}

void Desktop::find_tools(Screens screens) const
{
    std::vector<const char*> tools = {"Xvfb",     "openbox",   "xdotool", "wmctrl",
                                      "xwininfo", "setxkbmap", "xmodmap"};
    if (screens == TWO_SCREENS) {
        tools = {"Xorg", "xrandr", "openbox", "xdotool", "wmctrl", "xwininfo"};
    }
    for (const char* const tool : tools) {
        if (!tried(std::string("command -v ") + tool)) {
            throw std::runtime_error(std::string(tool) + " is not installed, and no window test "
                                                         "can run without it");
        }
    }
}

// Starts an X server. It tells the number of its display once it can be used.
void Desktop::start_server(const std::vector<std::string>& words)
{
    std::array<int, 2> ends = {};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe could be made");
    }
    std::vector<std::string> all = {words[0],    "-displayfd", std::to_string(ends[1]),
                                    "-nolisten", "tcp",        "-noreset"};
    all.insert(all.end(), words.begin() + 1, words.end());
    server = spawn({.words = all,
                    .folder = place,
                    .out = place + "/server.out",
                    .err = place + "/server.err",
                    .passed_fd = ends[1]});
    close(ends[1]);
    std::string number;
    pollfd ready = {.fd = ends[0], .events = POLLIN, .revents = 0};
    while (number.find('\n') == std::string::npos && poll(&ready, 1, 20000) == 1) {
        std::array<char, 16> part = {};
        const ssize_t size_read = read(ends[0], part.data(), part.size());
        if (size_read <= 0) {
            break;
        }
        number.append(part.data(), static_cast<size_t>(size_read));
    }
    close(ends[0]);
    if (number.find('\n') == std::string::npos) {
        throw std::runtime_error(words[0] + " did not start: " + file_text(place + "/server.err"));
    }
    name = ":" + number.substr(0, number.find('\n'));
}

void Desktop::start_one_screen()
{
    const std::string size =
        std::to_string(screen.width) + "x" + std::to_string(screen.height) + "x24";
    start_server({"Xvfb", "-screen", "0", size, "-fbdir", place});
}

static const char* const two_screens = "Section \"Device\"\n"
                                       "    Identifier \"outputs\"\n"
                                       "    Driver \"dummy\"\n"
                                       "EndSection\n"
                                       "Section \"Screen\"\n"
                                       "    Identifier \"screens\"\n"
                                       "    Device \"outputs\"\n"
                                       "    DefaultDepth 24\n"
                                       "EndSection\n"
                                       "Section \"ServerFlags\"\n"
                                       "    Option \"AutoAddDevices\" \"false\"\n"
                                       "    Option \"AutoAddGPU\" \"false\"\n"
                                       "EndSection\n";

void Desktop::start_two_screens()
{
    std::ofstream(place + "/xorg.conf") << two_screens;
    start_server({"Xorg", "-config", place + "/xorg.conf", "-logfile", place + "/xorg.log",
                  "-novtswitch", "-sharevts"});
    run("xrandr --addmode DUMMY1 640x480");
    run("xrandr --output DUMMY0 --primary --mode 800x600 --pos 0x0 "
        "--output DUMMY1 --mode 640x480 --pos 800x60");
    run("xrandr --query"); // only now the server knows that the second one is connected
}

void Desktop::start_manager()
{
    manager = spawn({.words = {"openbox", "--sm-disable"},
                     .folder = place,
                     .display = name,
                     .out = place + "/openbox.out",
                     .err = place + "/openbox.err"});
    if (!wait_until(20, [this] { return tried("wmctrl -m"); })) {
        throw std::runtime_error("openbox did not start: " + file_text(place + "/openbox.err"));
    }
}

// Runs a command and gathers what it prints. Returns its exit code, -1 if it could not be run.
static int gather(const std::string& display, const std::string& command, std::string* out)
{
    const std::string line = "exec 2>&1; DISPLAY='" + display + "'; export DISPLAY; " + command;
    std::FILE* const pipe = popen(line.c_str(), "re");
    if (pipe == nullptr) {
        return -1;
    }
    std::array<char, 256> part = {};
    while (std::fgets(part.data(), part.size(), pipe) != nullptr) {
        *out += part.data();
    }
    return pclose(pipe);
}

std::string Desktop::run(const std::string& command) const
{
    std::string out;
    if (gather(name, command, &out) != 0) {
        throw std::runtime_error(command + " failed: " + out);
    }
    return out;
}

bool Desktop::tried(const std::string& command) const
{
    std::string out;
    return gather(name, command, &out) == 0;
}

// The number behind a name and a colon.
static int value_of(const std::string& text, const std::string& name)
{
    const size_t at = text.find(name + ":");
    if (at == std::string::npos) {
        throw std::runtime_error("no " + name + " in " + text);
    }
    return std::stoi(text.substr(at + name.size() + 1));
}

// What is known of a window's client area.
static std::string client_text(const Desktop& desktop, const std::string& window)
{
    return desktop.run("xwininfo -id " + window);
}

Size Desktop::client_size(const std::string& window) const
{
    const std::string text = client_text(*this, window);
    return {value_of(text, "Width"), value_of(text, "Height")};
}

std::string Desktop::client_place(const std::string& window) const
{
    const std::string text = client_text(*this, window);
    const auto number = [&](const char* what) { return std::to_string(value_of(text, what)); };
    return number("Width") + "x" + number("Height") + " at " + number("Absolute upper-left X") +
           "," + number("Absolute upper-left Y");
}

int Desktop::frame_top(const std::string& window) const
{
    return value_of(run("xwininfo -frame -id " + window), "Absolute upper-left Y");
}

// A field of the screen file's heading, which is big-endian.
static std::uint32_t heading(const std::string& file, size_t index)
{
    std::uint32_t value = 0;
    for (size_t i = 0; i < 4; i++) {
        value = value << 8 | static_cast<unsigned char>(file.at(index * 4 + i));
    }
    return value;
}

Pixels Desktop::pixels(const std::string& window) const
{
    const std::string text = client_text(*this, window);
    return area(value_of(text, "Absolute upper-left X"), value_of(text, "Absolute upper-left Y"),
                {value_of(text, "Width"), value_of(text, "Height")});
}

Pixels Desktop::bare_pixels(const std::string& window) const
{
    run("xdotool mousemove " + std::to_string(screen.width - 1) + " " +
        std::to_string(screen.height - 1) + " sleep 0.2"); // the pointer is seen in the picture
    return pixels(window);
}

Pixels Desktop::area(int left, int top, Size size) const
{
    enum { HEADER_SIZE = 0, WIDTH = 4, HEIGHT = 5, PIXEL_BITS = 11, LINE_BYTES = 12, COLOURS = 19 };
    const std::string file = file_text(place + "/Xvfb_screen0");
    if (heading(file, PIXEL_BITS) != 32) {
        throw std::runtime_error("the screen has no 32 bits a pixel");
    }
    const int width = static_cast<int>(heading(file, WIDTH));
    const int height = static_cast<int>(heading(file, HEIGHT));
    const size_t first = heading(file, HEADER_SIZE) + 12 * size_t{heading(file, COLOURS)};
    Pixels out;
    for (int y = std::max(top, 0); y < std::min(top + size.height, height); y++) {
        for (int x = std::max(left, 0); x < std::min(left + size.width, width); x++) {
            const size_t at = first + static_cast<size_t>(y) * heading(file, LINE_BYTES) +
                              static_cast<size_t>(x) * 4;
            const auto byte = [&](size_t i) {
                return std::uint32_t{static_cast<unsigned char>(file.at(at + i))};
            };
            out.push_back(byte(2) << 16 | byte(1) << 8 | byte(0));
        }
    }
    return out;
}

size_t Desktop::colours(const std::string& window) const
{
    const Pixels all = pixels(window);
    return std::set<std::uint32_t>(all.begin(), all.end()).size();
}
