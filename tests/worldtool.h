// The command corvane-world as its users see it: what it prints and its exit code.
#pragma once

#include "tests/savebytes.h"

#include <sstream>
#include <sys/wait.h>

/// How a run has ended.
struct Outcome {
    int code; // exit code, or 128 and the signal
    std::string out, err;
};

/// Runs the command in a folder; `arguments` and what comes `before` it are the shell's.
inline Outcome world_in(const Folder& folder, const std::string& arguments,
                        const std::string& before = "")
{
    const Folder side;
    const std::string command = "cd '" + folder.path + "' && " + before +
                                " '" CORVANE_BIN_DIR "/corvane-world' >'" + side.file("out") +
                                "' " + arguments + " 2>'" + side.file("err") + "' </dev/null";
    const int status = std::system(command.c_str());
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return {code, read_text(side.file("out")), read_text(side.file("err"))};
}

/// The shell's words for a disk that is full after 4096 bytes of a file.
inline const char* const smalldisk = "trap '' XFSZ; ulimit -f 8;";

/// Refused, in one line on standard error.
inline void expect_bad(const Outcome& outcome, const std::string& said)
{
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "corvane-world: " + said + "\n");
}

/// A world of three levels that has been walked.
inline Bytes nest_file()
{
    HeldGame held;
    make_walked_nest(&held);
    return saved(&held.game);
}
