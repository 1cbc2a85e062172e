// Runs of the program under strace, each with one fault at one system call, and the judgement of what
// they leave: files that are whole, and words that are true.
#pragma once

#include "tests/shell_run.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// What is in a file; nothing if there is none.
using Content = std::optional<std::string>;
Content content(const Folder& folder, const std::string& name);

/// What a run does with its files, in this order.
enum class Phase { READ_SETTINGS, WRITE_SETTINGS, LOAD, SAVE, LAST_SETTINGS };

/// A system call of a run that has to do with the folder of the run.
struct Call {
    std::string name;
    int index = 0;    // among all calls of this name, from 1
    std::string file; // path in the folder without the process number, "." for the folder
    int turn = 0;     // among the calls of this name on this file, from 1
    Phase phase = Phase::READ_SETTINGS;
    bool injected = false;

    std::string text() const; // to read, and the same for the same call of another run
};

/// How a run starts, and where it saves.
struct Stage {
    std::function<void(const Folder&)> prepare; // fills the folder; `settings` is config.txt by now
    Content settings;
    std::string save = "maze_save.dat";
    bool second = false;             // another copy holds the folder
    std::vector<std::string> always; // strace's options for every run
};

/// A world of many nodes as the save, so that it takes several writes, and settings that lack most keys:
/// they differ before, during and after the run.
Stage usual_stage();
/// Neither save nor settings.
Stage first_stage();
/// The usual one while another copy runs.
Stage second_stage();
/// The save is no game: it holds no_world.
Stage refused_stage();
extern const std::string no_world;
/// Save and settings are links to files in another folder.
Stage linked_stage();

/// Fills a folder for a run.
void set_up(const Stage& stage, const Folder& folder);

struct RunLeft {
    int code = -1; // exit code, or 128 and the signal
    std::vector<std::string> told;
    std::vector<Call> calls; // that have to do with the folder, up to the end or a kill
    bool killed = false;
};

/// Runs the program for three frames in a folder, the depth of the stereo picture one step further at
/// the end than at the start.
RunLeft run_plain(const Folder& folder, const std::string& prefix = "");
/// The same without the step.
RunLeft run_again(const Folder& folder);
/// The first under strace with these options.
RunLeft run_traced(const Folder& folder, const std::vector<std::string>& options);

/// What undisturbed runs of a stage do and leave.
struct Expected {
    Stage stage;
    std::vector<Call> calls;
    std::vector<std::string> told; // all of it without the folder's path
    Content old_save, new_save;
    Content settings[3]; // before, as written at the start, as written at the end
};
Expected expect_of(const Stage& stage);

/// One run with a fault at a call: the name of an error, or "KILL". If another call was met the calls are
/// counted anew and the run is repeated; the test fails if that goes on.
struct Trial {
    Trial(const Expected& undisturbed, const Call& at, const std::string& with);

    /// Fails the test unless files, words and exit code agree, and agree with the fault.
    void judge() const;
    /// Fails the test unless nothing shows that there was a fault.
    void judge_untouched() const;

    const Expected& expected;
    Call call;
    std::string fault;
    Folder folder;
    int lock = -1; // held in place of another copy
    RunLeft run;

    ~Trial();
    Trial(const Trial&) = delete;
    Trial& operator=(const Trial&) = delete;

  private:
    void attempt();
    void count_anew();
    bool met() const;
    void judge_read_settings() const;
    void judge_write_settings() const;
    void judge_load() const;
    void judge_save() const;
    void judge_last_settings() const;
    void judge_kill() const;
    void expect_logged() const;
    void expect_reason(const std::string& line) const;
};

/// What a run without trace has told, sorted by what it claims.
struct Claims {
    int unsaved = 0, unsure = 0;        // the game is not saved at its place, or is but not safely
    int beside = 0, beside_unsaved = 0; // it is saved in a file with a number, or not there either
    int settings_unsaved = 0, settings_unsure = 0;
    std::vector<std::string> others;
};
Claims claims_of(const std::vector<std::string>& told);

/// Fails the test unless the claims and the exit code of a run are true of what it left.
void judge_claims(const Expected& expected, const Folder& folder, const RunLeft& run);

/// New files in a folder and below that never got their names.
std::vector<std::string> leftovers(const Folder& folder);

/// Tries each call of some phases with each of some faults and judges; counts and prints the points.
/// Returns their number.
int sweep(
    const Expected& expected, const std::vector<Phase>& phases,
    const std::vector<std::string>& faults,
    const std::function<bool(const Call&)>& wanted = [](const Call&) { return true; });

/// Adds points to the total that is printed at the end.
void count_points(const std::string& what, int points);
