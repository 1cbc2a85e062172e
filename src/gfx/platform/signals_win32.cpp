#include "gfx/platform/signals.h"

#include <windows.h>

#include <cstdio>

static volatile LONG arrived; // set by the system's thread, cleared by signals_closewanted

// Called on a thread of its own. When this returns from the end of the console, the process is over:
// the main thread has the seconds that the system grants to save and to end by itself.
static BOOL WINAPI oncontrol(DWORD kind)
{
    InterlockedExchange(&arrived, 1);
    if (kind == CTRL_CLOSE_EVENT || kind == CTRL_LOGOFF_EVENT || kind == CTRL_SHUTDOWN_EVENT) {
        Sleep(INFINITE);
    }
    return TRUE;
}

// A stream that was redirected stays as it is.
static void openstream(std::FILE* stream, const char* console, const char* mode)
{
    if (_fileno(stream) < 0 && std::freopen(console, mode, stream) == nullptr) {
        static_cast<void>(std::freopen("NUL", mode, stream)); // without it the stream stays closed
    }
}

void signals_install()
{
    AttachConsole(ATTACH_PARENT_PROCESS); // fails if there is none, or it has one already
    openstream(stdin, "CONIN$", "r");
    openstream(stdout, "CONOUT$", "w");
    openstream(stderr, "CONOUT$", "w");
    SetConsoleCtrlHandler(oncontrol, FALSE); // lest it stand there twice
    SetConsoleCtrlHandler(oncontrol, TRUE);
}

bool signals_closewanted()
{
    return InterlockedExchange(&arrived, 0) != 0;
}
