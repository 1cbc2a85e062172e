#include "tests/faults/faultrun.h"

#include "base/wholefile.h"
#include "tests/shell_session.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <regex>

static const char* const game_unsaved = "The game is not saved in maze_save.dat. ";
static const char* const game_unsure =
    "The game is saved in maze_save.dat. The disk may not have all yet of the new ";
static const char* const beside_unsaved = "The game is not saved beside maze_save.dat. ";
static const char* const settings_unsaved = "The settings are not saved in config.txt. ";
static const char* const settings_unsure =
    "The settings are saved in config.txt. The disk may not have all yet of the new ";
static const char* const settings_left =
    "The settings are not saved in config.txt. config.txt is left as it is, since it could not be "
    "read";

static bool begins(const std::string& text, const std::string& part)
{
    return text.rfind(part, 0) == 0;
}

static bool holds(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

Content content(const Folder& folder, const std::string& name)
{
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(folder.file(name), ignored)) {
        return std::nullopt;
    }
    return read_text(folder.file(name));
}

// Compares without printing a file of many bytes.
static bool is(const Content& found, const Content& wanted)
{
    return found == wanted;
}

// Stages

const std::string no_world = "this is no world";

static const char* const some_settings = "Seed: 3\nStereo Depth: 0.1\nColour of the door: green\n";

// The bytes of the save that the stages start with.
static const std::string& old_world()
{
    static const std::string bytes = [] {
        const Folder folder;
        leave_line(folder, 1500);
        return folder.read("maze_save.dat");
    }();
    return bytes;
}

Stage usual_stage()
{
    Stage stage;
    stage.settings = some_settings;
    stage.prepare = [](const Folder& folder) { folder.write("maze_save.dat", old_world()); };
    return stage;
}

Stage first_stage()
{
    Stage stage;
    stage.prepare = [](const Folder&) {};
    return stage;
}

Stage second_stage()
{
    Stage stage = usual_stage();
    stage.second = true;
    stage.save = "maze_save-2.dat";
    return stage;
}

Stage refused_stage()
{
    Stage stage = usual_stage();
    stage.prepare = [](const Folder& folder) { folder.write("maze_save.dat", no_world); };
    return stage;
}

Stage linked_stage()
{
    Stage stage = usual_stage();
    stage.prepare = [](const Folder& folder) {
        std::filesystem::create_directory(folder.file("real"));
        std::filesystem::rename(folder.file("config.txt"), folder.file("real/settings"));
        folder.write("real/world", old_world());
        std::filesystem::create_symlink("real/settings", folder.file("config.txt"));
        std::filesystem::create_symlink(folder.file("real/world"), folder.file("maze_save.dat"));
    };
    return stage;
}

void set_up(const Stage& stage, const Folder& folder)
{
    if (stage.settings) {
        folder.write("config.txt", *stage.settings);
    }
    stage.prepare(folder);
}

// Runs

// The drawing library's cache of programs. It takes some runs until all are in there; from then on the
// library makes the same calls in each.
static const Folder& cache()
{
    static const Folder folder;
    return folder;
}

// Lines of progress of worlds that nest are left out.
static std::vector<std::string> lines_of(const std::string& text)
{
    std::vector<std::string> lines;
    for (const std::string& line : cut(text, '\n')) {
        if (!line.empty() && !begins(line, "recursify_stencil(")) {
            lines.push_back(line);
        }
    }
    return lines;
}

static RunLeft run_with(const Folder& folder, const std::string& script, const std::string& prefix)
{
    const Folder side;
    side.write("script", script);
    const std::string command =
        prefix + " env LP_NUM_THREADS=0 MESA_SHADER_CACHE_DIR=" + cache().path + " " +
        program("corvane-play") + " " + side.file("script") + " --size 16x12 --frames 3";
    const Outcome outcome = run_in(folder, command);
    EXPECT_EQ(outcome.err, "");
    RunLeft run;
    run.code = outcome.code;
    run.told = lines_of(outcome.out);
    return run;
}

RunLeft run_plain(const Folder& folder, const std::string& prefix)
{
    return run_with(folder, "at 2 press F6\n", prefix);
}

RunLeft run_again(const Folder& folder)
{
    return run_with(folder, "# nothing\n", "");
}

// What a path of a trace is in the folder, without the process number; false if it isn't in there.
static bool name_in_folder(const std::string& line, const std::string& folder, std::string* name)
{
    const size_t at = line.find(folder);
    if (at != std::string::npos) {
        const size_t begin = at + folder.size();
        const size_t end = line.find_first_of("\">", begin);
        *name = line[begin] == '/' ? line.substr(begin + 1, end - begin - 1) : ".";
    } else {
        static const std::regex bare("\"(config\\.txt|maze_save[^/\"]*|warnings\\.log|\\.)\"");
        std::smatch found;
        if (!std::regex_search(line, found, bare)) {
            return false;
        }
        *name = found[1];
    }
    *name = std::regex_replace(*name, std::regex("\\.new-[-0-9]+$"), ".new");
    return true;
}

static std::vector<Call> calls_of(const std::string& trace, const std::string& folder)
{
    std::vector<Call> calls;
    std::map<std::string, int> index;
    std::map<std::string, int> turn;
    static const std::regex here("AT_FDCWD<[^>]*>"); // it is the folder, whatever the call is about
    for (const std::string& raw : lines_of(trace)) {
        const size_t bracket = raw.find('(');
        if (raw[0] == '+' || raw[0] == '-' || bracket == std::string::npos) {
            continue;
        }
        Call call;
        call.name = raw.substr(0, bracket);
        call.index = ++index[call.name];
        if (call.name == "getcwd") {
            call.file = "."; // which is not shown if it fails
        }
        if (call.name == "getcwd" ||
            name_in_folder(std::regex_replace(raw, here, "."), folder, &call.file)) {
            call.turn = ++turn[call.name + " " + call.file];
            call.injected = holds(raw, "(INJECTED)");
            calls.push_back(call);
        }
    }
    return calls;
}

RunLeft run_traced(const Folder& folder, const std::vector<std::string>& options)
{
    // those that a system does not have are left out
    static const char* const names =
        "?open,?openat,?creat,?read,?pread64,?readv,?write,?pwrite64,?writev,?fsync,?fdatasync,"
        "?close,?rename,?renameat,?renameat2,?unlink,?unlinkat,?link,?linkat,?flock,?fstat,?stat,"
        "?lstat,?newfstatat,?statx,?access,?faccessat,?faccessat2,?readlink,?readlinkat,?getcwd,"
        "?getdents64,?fcntl,?fchown,?fchmod,?ftruncate";
    const Folder side;
    std::string prefix = "strace -q -y -s 8 -o " + side.file("trace") + " -e trace=" + names;
    for (const std::string& option : options) {
        prefix += " -e " + option;
    }
    RunLeft run = run_with(folder, "at 2 press F6\n", prefix);
    const std::string trace = side.read("trace");
    if (trace.empty()) {
        ADD_FAILURE() << "strace has traced nothing: may processes be traced here (ptrace)?";
    }
    run.calls = calls_of(trace, folder.path);
    run.killed = holds(trace, "+++ killed by SIGKILL +++");
    return run;
}

std::string Call::text() const
{
    return name + " of " + file + ", time " + std::to_string(turn);
}

// Expectations

static size_t find_call(const std::vector<Call>& calls, size_t from, const std::string& name,
                        const std::string& file)
{
    for (size_t i = from; i < calls.size(); i++) {
        if (calls[i].name == name && (file.empty() || calls[i].file == file)) {
            return i;
        }
    }
    ADD_FAILURE() << "the run has no " << name << " of " << file;
    return calls.size() - 1;
}

// A replacement begins with a look at the old file, if it may replace one, and then at the path.
static size_t find_replacement(const std::vector<Call>& calls, size_t from, bool numbered)
{
    return find_call(calls, from, "getcwd", "") - (numbered ? 0 : 1);
}

static void set_phases(std::vector<Call>* calls, bool second)
{
    const size_t first = find_replacement(*calls, 0, false);
    const size_t lock = find_call(*calls, first, "flock", ".");
    const size_t save = find_replacement(*calls, lock, second);
    size_t last = save; // where there is no save yet, its path is looked at twice
    while (last < calls->size() && (*calls)[last].file != "config.txt") {
        last++;
    }
    EXPECT_LT(last, calls->size()) << "the run does not write the settings at its end";
    for (size_t i = 0; i < calls->size(); i++) {
        Phase phase = Phase::READ_SETTINGS;
        phase = i >= first ? Phase::WRITE_SETTINGS : phase;
        phase = i + 1 >= lock ? Phase::LOAD : phase; // the folder is opened before
        phase = i >= save ? Phase::SAVE : phase;
        phase = i >= last ? Phase::LAST_SETTINGS : phase;
        (*calls)[i].phase = phase;
    }
}

static int hold(const Folder& folder, bool wanted)
{
    int lock = -1;
    if (wanted) {
        EXPECT_EQ(wholefile_lock(folder.path.c_str(), &lock), WHOLEFILE_LOCKED);
    }
    return lock;
}

// Texts that are the same for each folder.
static std::vector<std::string> without_path(const std::vector<std::string>& lines,
                                             const Folder& folder)
{
    std::vector<std::string> result;
    for (std::string line : lines) {
        for (size_t at = line.find(folder.path); at != std::string::npos;
             at = line.find(folder.path)) {
            line.replace(at, folder.path.size(), "FOLDER");
        }
        result.push_back(line);
    }
    return result;
}

static bool is_sound(const Content& save)
{
    std::string why(SAVE_WHY, 0);
    return save && savefile_check(reinterpret_cast<const u8*>(save->data()), save->size(),
                                  why.data()) == SAVE_SOUND;
}

static void record_run(Expected* expected)
{
    const Folder folder;
    set_up(expected->stage, folder);
    const int lock = hold(folder, expected->stage.second);
    const RunLeft run = run_traced(folder, expected->stage.always);
    wholefile_unlock(lock);
    EXPECT_EQ(run.code, 0);
    expected->told = without_path(run.told, folder);
    expected->calls = run.calls;
    expected->new_save = content(folder, expected->stage.save);
    expected->settings[2] = content(folder, "config.txt");
}

static std::string all_calls(const std::vector<Call>& calls)
{
    std::string text;
    for (const Call& call : calls) {
        text += call.text() + " " + std::to_string(call.index) + "\n";
    }
    return text;
}

Expected expect_of(const Stage& stage)
{
    Expected expected;
    expected.stage = stage;
    {
        const Folder folder;
        set_up(stage, folder);
        expected.old_save = content(folder, stage.save);
        expected.settings[0] = content(folder, "config.txt");
        EXPECT_EQ(run_again(folder).code, 0);
        expected.settings[1] = content(folder, "config.txt");
    }
    std::string before = "none";
    int same = 0;
    for (int i = 0; i < 30 && same < 3; i++) {
        record_run(&expected);
        same = all_calls(expected.calls) == before ? same + 1 : 0;
        before = all_calls(expected.calls);
    }
    EXPECT_EQ(same, 3) << "runs don't come to make the same calls";
    set_phases(&expected.calls, stage.second);
    EXPECT_TRUE(is_sound(expected.new_save));
    EXPECT_FALSE(is(expected.new_save, expected.old_save));
    EXPECT_NE(expected.settings[0], expected.settings[1]);
    EXPECT_NE(expected.settings[1], expected.settings[2]);
    return expected;
}

// Trials

static int error_number(const std::string& name)
{
    static const std::map<std::string, int> numbers = {
        {"EIO", EIO},     {"ENOSPC", ENOSPC}, {"EDQUOT", EDQUOT}, {"EROFS", EROFS},
        {"EINTR", EINTR}, {"EMFILE", EMFILE}, {"EACCES", EACCES}, {"ENOMEM", ENOMEM}};
    return numbers.at(name);
}

Trial::Trial(const Expected& undisturbed, const Call& at, const std::string& with)
    : expected(undisturbed), call(at), fault(with)
{
    attempt();
    for (int i = 0; i < 4 && !met(); i++) {
        count_anew();
        wholefile_unlock(lock);
        for (const auto& entry : std::filesystem::directory_iterator(folder.path)) {
            std::filesystem::remove_all(entry.path());
        }
        attempt();
    }
    EXPECT_TRUE(met()) << "the fault was not at this call";
}

Trial::~Trial()
{
    wholefile_unlock(lock);
}

// The library may have found more in its cache meanwhile, so that the call has another number.
void Trial::count_anew()
{
    Expected now;
    now.stage = expected.stage;
    record_run(&now);
    for (const Call& made : now.calls) {
        if (made.text() == call.text()) {
            call.index = made.index;
        }
    }
}

void Trial::attempt()
{
    set_up(expected.stage, folder);
    lock = hold(folder, expected.stage.second);
    std::vector<std::string> options = expected.stage.always;
    options.push_back("inject=" + call.name +
                      (fault == "KILL" ? ":signal=KILL" : ":error=" + fault) +
                      ":when=" + std::to_string(call.index));
    run = run_traced(folder, options);
}

// Whether the fault struck the call that it was meant for.
bool Trial::met() const
{
    if (fault == "KILL") {
        return run.killed && !run.calls.empty() && run.calls.back().text() == call.text();
    }
    for (const Call& made : run.calls) {
        if (made.injected && made.text() == call.text() && made.index == call.index) {
            return true;
        }
    }
    return false;
}

static std::vector<std::string> logged_in(const Folder& folder)
{
    static const size_t stamp = std::strlen("2000-Jan-01 00:00:00 ");
    std::vector<std::string> logged;
    for (const std::string& line : lines_of(folder.read("warnings.log"))) {
        logged.push_back(line.substr(std::min(stamp, line.size())));
    }
    return logged;
}

// The log has what was told; where a call on the log itself has failed, one line may lack.
void Trial::expect_logged() const
{
    const std::vector<std::string> logged = logged_in(folder);
    if (call.file != "warnings.log" || logged.size() >= run.told.size()) {
        EXPECT_EQ(logged, run.told);
        return;
    }
    ASSERT_LE(call.turn, static_cast<int>(run.told.size()));
    std::vector<std::string> rest = run.told;
    rest.erase(rest.begin() + call.turn - 1);
    EXPECT_EQ(logged, rest);
}

// Names in the folder, those in its subfolders too.
static std::vector<std::string> all_names(const Folder& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path)) {
        if (!entry.is_directory()) {
            names.push_back(entry.path().lexically_relative(folder.path).string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> leftovers(const Folder& folder)
{
    static const std::regex left("(.*/)?\\.[^/]*\\.new-[-0-9]+");
    std::vector<std::string> names;
    for (const std::string& name : all_names(folder)) {
        if (std::regex_match(name, left)) {
            names.push_back(name);
        }
    }
    return names;
}

// Links must stay links.
static void expect_links(const Expected& expected, const Folder& folder)
{
    const Folder fresh;
    set_up(expected.stage, fresh);
    for (const std::string& name : fresh.names()) {
        EXPECT_EQ(std::filesystem::is_symlink(fresh.file(name)),
                  std::filesystem::is_symlink(folder.file(name)))
            << name;
    }
}

// A second copy never writes the first one's save.
static void expect_first_save(const Expected& expected, const Folder& folder)
{
    if (expected.stage.second) {
        EXPECT_TRUE(is(content(folder, "maze_save.dat"), old_world()));
    }
}

void Trial::expect_reason(const std::string& line) const
{
    EXPECT_TRUE(holds(line, std::strerror(error_number(fault)))) << line;
}

void Trial::judge_untouched() const
{
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(without_path(run.told, folder), expected.told);
    EXPECT_TRUE(is(content(folder, expected.stage.save), expected.new_save));
    EXPECT_EQ(content(folder, "config.txt"), expected.settings[2]);
}

void Trial::judge_read_settings() const
{
    if (run.told == expected.told) {
        judge_untouched();
        return;
    }
    ASSERT_EQ(run.told.size(), 3U);
    EXPECT_TRUE(begins(run.told[0], "Could not read config.txt: "));
    expect_reason(run.told[0]);
    EXPECT_EQ(run.told[1], settings_left);
    EXPECT_EQ(run.told[2], settings_left);
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(content(folder, "config.txt"), expected.settings[0]);
    EXPECT_TRUE(is(content(folder, expected.stage.save), expected.new_save));
}

// The end writes what the start could not.
void Trial::judge_write_settings() const
{
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(content(folder, "config.txt"), expected.settings[2]);
    EXPECT_TRUE(is(content(folder, expected.stage.save), expected.new_save));
    if (!run.told.empty()) {
        ASSERT_EQ(run.told.size(), 1U) << run.told[1];
        EXPECT_TRUE(begins(run.told[0], settings_unsaved) || begins(run.told[0], settings_unsure));
        expect_reason(run.told[0]);
    }
}

// A save that can't be read is kept under another name.
void Trial::judge_load() const
{
    if (run.told == expected.told) {
        judge_untouched();
        return;
    }
    ASSERT_EQ(run.told.size(), 1U) << run.told[1];
    EXPECT_TRUE(begins(run.told[0], "The saved game maze_save.dat can't be used: "));
    EXPECT_TRUE(holds(run.told[0], "It is now maze_save.dat.bad.")) << run.told[0];
    expect_reason(run.told[0]);
    EXPECT_EQ(run.code, 0);
    EXPECT_TRUE(is(content(folder, "maze_save.dat.bad"), expected.old_save));
    EXPECT_TRUE(is_sound(content(folder, "maze_save.dat")));
    EXPECT_EQ(content(folder, "config.txt"), expected.settings[2]);
}

static std::string saved_beside(const Folder& folder)
{
    return "The game is saved in " + folder.file("maze_save-2.dat") +
           ". To go on with it, rename it maze_save.dat.";
}

// A save that can't be replaced stays, and the game goes beside it.
void Trial::judge_save() const
{
    const Content save = content(folder, expected.stage.save);
    EXPECT_EQ(content(folder, "config.txt"), expected.settings[2]);
    if (without_path(run.told, folder) == expected.told) {
        judge_untouched();
        return;
    }
    const std::string& last = run.told.back();
    if (is(save, expected.new_save)) {
        ASSERT_EQ(run.told.size(), expected.stage.second ? 2U : 1U);
        const std::string sure = expected.stage.second ? "The game is saved in " : game_unsure;
        EXPECT_TRUE(begins(last, sure)) << last;
        EXPECT_TRUE(holds(last, "The disk may not have all yet of the new ")) << last;
        expect_reason(last);
        EXPECT_EQ(run.code, 1);
        return;
    }
    EXPECT_TRUE(is(save, expected.old_save));
    ASSERT_EQ(run.told.size(), 2U);
    if (expected.stage.second) {
        EXPECT_TRUE(begins(last, beside_unsaved)) << last;
        expect_reason(last);
        EXPECT_EQ(run.code, 1);
        return;
    }
    EXPECT_TRUE(begins(run.told[0], game_unsaved)) << run.told[0];
    expect_reason(run.told[0]);
    EXPECT_EQ(last, saved_beside(folder));
    EXPECT_TRUE(is(content(folder, "maze_save-2.dat"), expected.new_save));
    EXPECT_EQ(run.code, 0);
}

void Trial::judge_last_settings() const
{
    EXPECT_TRUE(is(content(folder, expected.stage.save), expected.new_save));
    if (without_path(run.told, folder) == expected.told) {
        judge_untouched();
        return;
    }
    EXPECT_EQ(run.code, 1);
    ASSERT_EQ(run.told.size(), expected.told.size() + 1);
    const std::string& last = run.told.back();
    expect_reason(last);
    if (content(folder, "config.txt") == expected.settings[2]) {
        EXPECT_TRUE(begins(last, settings_unsure)) << last;
    } else {
        EXPECT_EQ(content(folder, "config.txt"), expected.settings[1]);
        EXPECT_TRUE(begins(last, settings_unsaved)) << last;
    }
}

// Whole files, and a next start that goes on with them and leaves nothing of the killed run.
void Trial::judge_kill() const
{
    EXPECT_EQ(run.code, 128 + SIGKILL);
    const Content save = content(folder, expected.stage.save);
    const Content settings = content(folder, "config.txt");
    const bool saved = is(save, expected.new_save);
    EXPECT_TRUE(saved || is(save, expected.old_save));
    EXPECT_TRUE(settings == expected.settings[0] || settings == expected.settings[1] ||
                (settings == expected.settings[2] && saved));
    EXPECT_LE(leftovers(folder).size(), 1U);
    expect_first_save(expected, folder);
    if (expected.stage.second) {
        return; // what it has not saved is lost, as with any kill, and nobody loads its file
    }
    EXPECT_TRUE(run.told.empty()) << run.told[0];
    const RunLeft next = run_again(folder);
    EXPECT_EQ(next.code, 0);
    EXPECT_TRUE(next.told.empty()) << next.told[0];
    EXPECT_EQ(leftovers(folder), std::vector<std::string>());
    EXPECT_TRUE(is_sound(content(folder, "maze_save.dat")));
    if (!saved) { // it has gone on with the old game just as the killed run did
        EXPECT_TRUE(is(content(folder, "maze_save.dat"), expected.new_save));
    } else {
        EXPECT_FALSE(is(content(folder, "maze_save.dat"), expected.new_save));
    }
    EXPECT_EQ(content(folder, "config.txt"),
              settings == expected.settings[2] ? expected.settings[2] : expected.settings[1]);
    expect_links(expected, folder);
}

void Trial::judge() const
{
    if (fault == "KILL") {
        judge_kill();
        return;
    }
    switch (call.phase) {
    case Phase::READ_SETTINGS: judge_read_settings(); break;
    case Phase::WRITE_SETTINGS: judge_write_settings(); break;
    case Phase::LOAD: judge_load(); break;
    case Phase::SAVE: judge_save(); break;
    case Phase::LAST_SETTINGS: judge_last_settings(); break;
    }
    expect_logged();
    EXPECT_EQ(leftovers(folder), std::vector<std::string>());
    expect_first_save(expected, folder);
    if (call.phase != Phase::LOAD) { // which may give a link another name
        expect_links(expected, folder);
    }
}

// Claims of runs without trace

Claims claims_of(const std::vector<std::string>& told)
{
    Claims claims;
    for (const std::string& line : told) {
        if (begins(line, game_unsaved)) {
            claims.unsaved++;
        } else if (begins(line, game_unsure)) {
            claims.unsure++;
        } else if (begins(line, "The game is saved in /")) {
            claims.beside++;
        } else if (begins(line, beside_unsaved)) {
            claims.beside_unsaved++;
        } else if (begins(line, settings_unsaved)) {
            claims.settings_unsaved++;
        } else if (begins(line, settings_unsure)) {
            claims.settings_unsure++;
        } else {
            claims.others.push_back(line);
        }
    }
    return claims;
}

void judge_claims(const Expected& expected, const Folder& folder, const RunLeft& run)
{
    const Claims claims = claims_of(run.told);
    EXPECT_EQ(claims.others, std::vector<std::string>());
    EXPECT_EQ(claims.unsure + claims.settings_unsure, 0);
    const Content save = content(folder, expected.stage.save);
    const bool saved = is(save, expected.new_save);
    EXPECT_TRUE(saved || is(save, expected.old_save));
    const Content beside = content(folder, "maze_save-2.dat");
    EXPECT_TRUE(!beside || is(beside, expected.new_save));
    EXPECT_EQ(claims.unsaved, saved ? 0 : 1);
    EXPECT_EQ(claims.beside, beside ? 1 : 0);
    EXPECT_EQ(claims.beside_unsaved, saved || beside ? 0 : 1);
    const Content settings = content(folder, "config.txt");
    const bool current = settings == expected.settings[2];
    if (current) {
        EXPECT_LE(claims.settings_unsaved, 1); // at the start, and the end has written them
    } else if (settings == expected.settings[1]) {
        EXPECT_EQ(claims.settings_unsaved, 1);
    } else {
        EXPECT_EQ(settings, expected.settings[0]);
        EXPECT_EQ(claims.settings_unsaved, 2);
    }
    EXPECT_EQ(run.code, (saved || beside) && current ? 0 : 1);
    EXPECT_EQ(leftovers(folder), std::vector<std::string>());
}

// Points

// Of all tests of this process; written by count_points.
static int total_points;

void count_points(const std::string& what, int points)
{
    total_points += points;
    std::printf("[  POINTS  ] %d: %s\n", points, what.c_str());
}

struct PrintTotal : testing::Environment {
    void TearDown() override
    {
        std::printf("[  POINTS  ] %d in all\n", total_points);
    }
};

static const testing::Environment* const print_total =
    testing::AddGlobalTestEnvironment(new PrintTotal);

int sweep(const Expected& expected, const std::vector<Phase>& phases,
          const std::vector<std::string>& faults, const std::function<bool(const Call&)>& wanted)
{
    int points = 0;
    for (const std::string& fault : faults) {
        for (const Call& call : expected.calls) {
            if (std::find(phases.begin(), phases.end(), call.phase) == phases.end() ||
                !wanted(call)) {
                continue;
            }
            SCOPED_TRACE(fault + " at " + call.text());
            const Trial trial(expected, call, fault);
            trial.judge();
            points++;
        }
    }
    return points;
}
