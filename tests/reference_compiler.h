// The reference compiler of shaders, which has nothing to say about any text of the program.
#pragma once

#include "base/types.h"

#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

/// Expects that glslangValidator takes a text of a stage, "vert" or "frag", without a message.
inline void expect_no_message(const std::string& stage, const std::string& text)
{
    const std::string path =
        "shader_" + std::to_string(getpid()) + "." + stage; // tests run side by side
    std::ofstream(path) << text;
    std::string said;
    FILE* const pipe = popen(("glslangValidator -d " + path + " 2>&1").c_str(), "r");
    char piece[500];
    while (fgets(piece, sizeof piece, pipe) != nullptr) {
        said += piece;
    }
    const int status = pclose(pipe);
    std::remove(path.c_str());
    EXPECT_EQ(said, "") << text;
    EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : -1, 0) << said;
}
