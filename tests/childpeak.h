// A program run to its end, with the most memory that it has had in use.
#pragma once

#include <cerrno>
#include <fstream>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#ifdef __SANITIZE_ADDRESS__
inline constexpr bool sanitized = true; // shadow memory counts as memory in use
#else
inline constexpr bool sanitized = false;
#endif

struct ChildPeak {
    int code;      // exit code, or 128 and the signal
    size_t memory; // bytes: the peak of its resident size, program and libraries included
};

// Waits for a child. False if it isn't one.
inline bool child_wait(pid_t child, int* status, rusage* used)
{
    pid_t ended;
    do {
        ended = wait4(child, status, 0, used);
    } while (ended < 0 && errno == EINTR);
    return ended == child;
}

/// Runs a program in a folder, with its output in the files "out" and "err" of the folder `side`. A
/// `stack` that isn't 0 is the limit of its stack in bytes. Code 127 if it could not be run.
///
/// What a process has had in use before it became the program counts with the system as the program's.
/// So a shell is between, whose own child becomes the program: it waits at a gate until the shell has
/// ended, and is a child of this process then.
inline ChildPeak child_peak(const std::string& folder, const std::string& side,
                            const std::string& command, size_t stack = 0)
{
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const std::string gate = side + "/gate";
    mkfifo(gate.c_str(), 0600); // or it is there from the last run
    const std::string limit =
        stack > 0 ? "ulimit -s " + std::to_string(stack / 1024) + " || exit; " : std::string();
    const std::string whole = "cd '" + folder + "' || exit; " + limit + "{ read go <'" + gate +
                              "'; exec " + command + " >'" + side + "/out' 2>'" + side +
                              "/err' </dev/null; } & echo $! >'" + side + "/pid'";
    const pid_t shell = fork();
    if (shell == 0) {
        execl("/bin/sh", "sh", "-c", whole.c_str(), nullptr);
        _exit(127);
    }
    int status = 0;
    rusage used = {};
    pid_t program = 0;
    if (!child_wait(shell, &status, &used) || !(std::ifstream(side + "/pid") >> program)) {
        return {127, 0};
    }
    std::ofstream(gate) << "go\n";
    used = {};
    if (!child_wait(program, &status, &used)) {
        return {127, 0};
    }
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return {code, static_cast<size_t>(used.ru_maxrss) * 1024};
}
