// A while in which nothing that this process prints on its standard output is seen: making a world
// tells a line for each stencil.
#pragma once

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

class Quiet
{
  public:
    Quiet()
    {
        std::fflush(stdout);
        kept = dup(STDOUT_FILENO);
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
    ~Quiet()
    {
        std::fflush(stdout);
        dup2(kept, STDOUT_FILENO);
        close(kept);
    }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;

  private:
    int kept; // the standard output as it was
};
