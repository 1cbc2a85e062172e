// A display of one's own: a virtual X server with a window manager, real key and pointer events, and
// what stands on the screen. Every failure throws std::runtime_error with a text that says what was
// wanted.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

struct Spawn {
    std::vector<std::string> words; // the program and its arguments
    std::string folder;             // where it runs
    std::string display = "";       // DISPLAY; empty: none is set
    std::string out, err;           // files that take what it prints
    int passed_fd = -1;             // a descriptor that it may use
};

/// Starts a process that dies with this one. Returns its id.
pid_t spawn(const Spawn& what);

/// Waits at most `seconds` for the end of a process. Returns its exit code, 128 + the signal that
/// ended it, or -1 if it still runs.
int wait_for_end(pid_t process, double seconds);

/// Asks until the answer is yes, at most `seconds` long. Returns the last answer.
bool wait_until(double seconds, const std::function<bool()>& question);

void sleep_for(double seconds);
std::string file_text(const std::string& path); // empty if it can't be read
bool file_exists(const std::string& path);

struct Size {
    int width, height;
    bool operator==(const Size&) const = default;
};

/// Colours from the upper left corner on, row by row, as 0xRRGGBB.
using Pixels = std::vector<std::uint32_t>;

/// What a desktop is shown on. ONE_SCREEN is Desktop::screen. TWO_SCREENS, of an X server with a driver
/// that has outputs without hardware, are 800x600 at the corner and 640x480 at 800,60; what stands on
/// them can't be read.
enum Screens { ONE_SCREEN, TWO_SCREENS };

class Desktop
{
  public:
    /// Without a window manager windows have no frame, and are given no keys.
    explicit Desktop(bool managed = true, Screens screens = ONE_SCREEN);
    ~Desktop();
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    /// Runs a shell command against this display. Returns what it printed; throws if it failed.
    std::string run(const std::string& command) const;
    /// The same, but a failure is only told: false.
    bool tried(const std::string& command) const;

    /// The client pixels of a window as they stand now.
    Pixels pixels(const std::string& window) const;
    /// The same, with the pointer moved out of the picture first.
    Pixels bare_pixels(const std::string& window) const;
    /// How many different colours a window shows.
    size_t colours(const std::string& window) const;
    Size client_size(const std::string& window) const;
    /// Size and place of a window's client area, as "WxH at X,Y".
    std::string client_place(const std::string& window) const;
    /// The row of the screen at which a window begins, with its frame.
    int frame_top(const std::string& window) const;
    /// Sends the server a signal; SIGKILL takes the display from all that are shown on it.
    void signal_server(int number) const;

    static constexpr Size screen = {1280, 1000};
    const std::string& display() const
    {
        return name;
    }
    const std::string& folder() const
    {
        return place;
    }

  private:
    Pixels area(int left, int top, Size size) const;
    void find_tools(Screens screens) const;
    void start_server(const std::vector<std::string>& words);
    void start_one_screen();
    void start_two_screens();
    void start_manager();

    std::string place; // a folder of its own, removed at the end
    std::string name;  // ":7"
    pid_t server = -1;
    pid_t manager = -1;
};
