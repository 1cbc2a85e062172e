#include "tests/system.h"

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/wait.h>
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

int system_run(const std::string& folder, const std::string& command, const std::string& out,
               const std::string& err)
{
    const std::string whole =
        "cd '" + folder + "' && ( " + command + " ) >'" + out + "' 2>'" + err + "' </dev/null";
    const int status = std::system(whole.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string system_otherworlds()
{
    return "";
}
