#include "tests/fakes/gl_count.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <string>

// The layer between counts every routine of OpenGL that the scene calls, so the counts are whole.
TEST(scene_frame, is_counted_whole)
{
    const std::string library = std::string(CORVANE_BIN_DIR) + "/../libcorvane_scene.a";
    FILE* const pipe = popen(("nm -u " + library).c_str(), "r");
    char line[500];
    i32 seen = 0;
    while (fgets(line, sizeof line, pipe) != nullptr) {
        char name[400] = "";
        if (std::sscanf(line, " U %399s", name) == 1 && name[0] == 'g' && name[1] == 'l' &&
            name[2] >= 'A' && name[2] <= 'Z') {
            seen++;
            EXPECT_TRUE(gl_counted.count(name) == 1) << name;
        }
    }
    pclose(pipe);
    EXPECT_GT(seen, 10);
}
