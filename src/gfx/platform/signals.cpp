#include "gfx/platform/signals.h"

#include <csignal>

static volatile std::sig_atomic_t arrived; // set by the handler, cleared by signals_closewanted

static void onsignal(int)
{
    arrived = 1;
}

void signals_install()
{
    struct sigaction action = {};
    action.sa_handler = onsignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGHUP, &action, nullptr);
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, nullptr);
}

bool signals_closewanted()
{
    if (arrived == 0) {
        return false;
    }
    arrived = 0;
    return true;
}
