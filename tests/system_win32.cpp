#include "tests/system.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <windows.h>

std::string system_newfolder(const std::string& in)
{
    static int made;
    const std::string start = std::filesystem::canonical(in).string() + "\\corvane-" +
                              std::to_string(system_process()) + "-";
    for (int tries = 0; tries < 1000; tries++) { // what an earlier process has left is passed over
        const std::string path = start + std::to_string(++made);
        if (std::filesystem::create_directory(path)) {
            return path;
        }
    }
    std::abort(); // the test can't run
}

std::string system_quickfolder()
{
    return testing::TempDir();
}

long system_process()
{
    return static_cast<long>(GetCurrentProcessId());
}

void* system_libraryroutine(const char* name)
{
    static const HMODULE library = LoadLibraryA("opengl32.dll");
    return reinterpret_cast<void*>(GetProcAddress(library, name));
}
