// What the fuzzers share: a claim that ends the run when it fails, and a file that is written anew for
// each input.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* bytes, size_t size);

inline void fuzz_claim(bool holds, const char* claim)
{
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", claim);
        std::abort();
    }
}

/// A file in a folder of this process, in memory where the system has a place for that. Gone with the
/// process.
inline const char* fuzz_file()
{
    static char folder[64];
    static char file[80];
    if (*folder == 0) {
        const char* const in = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
        std::snprintf(folder, sizeof folder, "%s/corvane-fuzz-XXXXXX", in);
        fuzz_claim(mkdtemp(folder) != nullptr, "there is a folder to write in");
        std::snprintf(file, sizeof file, "%s/file", folder);
        std::atexit([] {
            unlink(file);
            rmdir(folder);
        });
    }
    return file;
}
