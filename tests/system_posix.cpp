#include "tests/system.h"

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

std::string system_newfolder(const std::string& in)
{
    std::string path = std::filesystem::canonical(in).string() + "/corvane-XXXXXX";
    if (mkdtemp(path.data()) == nullptr) {
        std::abort(); // the test can't run
    }
    return path;
}

std::string system_quickfolder()
{
    return access("/dev/shm", W_OK) == 0 ? "/dev/shm" : testing::TempDir();
}

long system_process()
{
    return getpid();
}

void* system_libraryroutine(const char* name)
{
    return dlsym(RTLD_NEXT, name);
}
