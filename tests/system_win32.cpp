#include "tests/system.h"

#include <windows.h>

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>

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

static HANDLE opened(const std::string& path, DWORD access, DWORD how)
{
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    return CreateFileA(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, how, 0,
                       nullptr);
}

int system_run(const std::string& folder, const std::string& command, const std::string& out,
               const std::string& err)
{
    STARTUPINFOA start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = opened("NUL", GENERIC_READ, OPEN_EXISTING);
    start.hStdOutput = opened(out, GENERIC_WRITE, CREATE_ALWAYS);
    start.hStdError = opened(err, GENERIC_WRITE, CREATE_ALWAYS);
    PROCESS_INFORMATION process = {};
    std::string words = command;
    const bool made = CreateProcessA(nullptr, words.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                     folder.c_str(), &start, &process) != 0;
    DWORD code = 127;
    if (made) {
        WaitForSingleObject(process.hProcess, INFINITE);
        GetExitCodeProcess(process.hProcess, &code);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    for (const HANDLE handle : {start.hStdInput, start.hStdOutput, start.hStdError}) {
        CloseHandle(handle);
    }
    return static_cast<int>(code);
}

std::string system_otherworlds()
{
    return CORVANE_SOURCE_DIR "/tests/golden/worlds_win32.txt";
}
