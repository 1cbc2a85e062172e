// Tests as a user whom the permission bits bind.
#pragma once

#include "tests/tempfolder.h"

#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

// A user whom the permission bits bind; the superuser passes over them.
struct OrdinaryUser {
    OrdinaryUser()
    {
        if (geteuid() == 0 && seteuid(65534) != 0) {
            std::abort(); // the test can't run
        }
    }
    ~OrdinaryUser()
    {
        if (getuid() == 0 && seteuid(0) != 0) {
            std::abort();
        }
    }
};

// A folder that belongs to that user too.
struct OpenFolder : TempFolder {
    OpenFolder()
    {
        EXPECT_EQ(chmod(path.c_str(), 0777), 0);
    }
    ~OpenFolder()
    {
        chmod(path.c_str(), 0777); // NOLINT: the removal tells
    }
};
