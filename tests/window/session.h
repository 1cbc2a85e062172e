// Runs of the program on a Desktop, and what they leave behind.
#pragma once

#include "model/gamerec.h"
#include "tests/window/desktop.h"
#include "tests/window/frames.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

/// One run of the program in a folder. The window is open, shows a picture and takes keys once
/// `start` has returned; whatever goes wrong throws.
class Session
{
  public:
    /// `words` start the program.
    Session(const Desktop& where, const std::string& in,
            const std::vector<std::string>& words = {CORVANE_BIN_DIR "/Corvane"});
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Waits for the window alone, which throws unless it comes.
    void wait_for_window();
    /// Waits until the window is given the keys.
    void wait_for_keys() const;
    /// Waits for the window, its first picture, and moves the pointer a little over it.
    void start();

    /// Waits until the program has taken all input so far and has shown a frame with it, or has ended.
    /// A minimised window shows none: there `take_input` waits for as much as can be known.
    void show_frame() const;
    void take_input() const;

    // The keys and buttons of these act in at least one frame, which has been shown at the return.
    void tap(const std::string& key) const; // a single key goes down and up at once
    void hold(const std::string& key,
              double seconds) const; // at least so long as the program sees it
    void press(const std::string& key) const;
    void release(const std::string& key) const; // of keys pressed together the last one first
    void click(int button) const;
    /// Closes the window as its close button does.
    void close() const;
    void signal(int number) const;
    bool running() const;
    pid_t id_of_process() const
    {
        return process;
    }

    /// Waits for the end of the run and returns the exit code; throws if there is none in time.
    int finish();
    /// Presses Escape and waits. The exit code.
    int escape();

    std::string printed() const; // standard output so far
    std::string errors() const;  // standard error so far
    const std::string& window() const
    {
        return id;
    }

  private:
    void wait_for(Seen wanted) const;

    const Desktop& desktop;
    std::string folder;
    std::string id; // the window
    pid_t process = -1;
};

/// A save file, with the tail as it stands in the file: loading works zoom and eye out anew.
class Save
{
  public:
    explicit Save(const std::string& path); // throws unless the file is sound
    ~Save();
    Save(const Save&) = delete;
    Save& operator=(const Save&) = delete;

    std::vector<int> place() const;    // node numbers from the root down, the player's node last
    std::vector<f64> position() const; // of the player's node
    std::string world() const;         // names, nodes, edges and places of all levels
    int visits() const;                // visited nodes of all levels
    f64 start_zoom() const;            // as a new game begins

    MazeGame game;
    f64 time;
    f64 orient[9];
    f64 campos[3];
    f64 zoom;
    ViewRec view;
};

/// What a new game of kind 0 is for a seed: the same record as Save, without a file.
std::string world_of_seed(unsigned seed);

/// A seed whose player stands, at the start, at a node with an exit straight along +y (up on the
/// screen of a view from above), and the count of visited nodes at that moment.
struct StartSeed {
    unsigned seed;
    int visits;
};
StartSeed seed_with_an_exit_upward();

/// The fixture of all window tests: a display and an empty folder.
class WindowTest : public testing::Test
{
  protected:
    explicit WindowTest(Screens screens = ONE_SCREEN) : desktop(true, screens)
    {
    }
    void SetUp() override;

    void settings(const std::string& text) const; // writes config.txt
    std::string path(const std::string& name) const;

    /// Where the window of these settings stands once the window manager has put it in its place. What is
    /// wanted may end before the place. The run must end well.
    void expect_opened(const std::string& text, const std::string& wanted,
                       const std::vector<std::string>& words = {CORVANE_BIN_DIR "/Corvane"}) const;

    Desktop desktop;
    std::string folder; // where the program runs
};
