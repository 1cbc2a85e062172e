#include "gfx/platform/signals.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

static volatile std::sig_atomic_t arrived; // set by the handler, cleared by signals_closewanted

static void onsignal(int)
{
    arrived = 1;
}

// A new handle gets the lowest free number, so the streams are looked at upward.
static void openstreams()
{
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; stream++) {
        if (fcntl(stream, F_GETFD) < 0 && errno == EBADF && open("/dev/null", O_RDWR) != stream) {
            return; // without /dev/null they stay closed
        }
    }
}

void signals_install()
{
    openstreams();
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGINT);
    sigaddset(&ends, SIGTERM);
    sigaddset(&ends, SIGHUP);
    struct sigaction action = {};
    action.sa_handler = onsignal;
    action.sa_flags = SA_RESTART;
    action.sa_mask = ends;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGHUP, &action, nullptr);
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, nullptr);
    sigaction(SIGXFSZ, &action, nullptr);
    sigprocmask(SIG_UNBLOCK, &ends, nullptr);
}

bool signals_closewanted()
{
    if (arrived == 0) {
        return false;
    }
    arrived = 0;
    return true;
}
