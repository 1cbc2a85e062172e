#include "shell/lastsave.h"

#include "base/report.h"
#include "base/types.h"

#include <chrono>
#include <cstdlib>
#include <mutex>

static constexpr std::chrono::seconds patience(60);

static std::recursive_timed_mutex guard; // held during a change, and for good by atend
static i32 depth;                        // of holds; written under the guard
static void (*wanted)(bool whole);       // written under the guard; null: nothing is saved
static bool registered;                  // atend is, once in a process

static void atend()
{
    if (report_fatal_made) {
        return;
    }
    const bool taken = guard.try_lock_for(patience); // kept: the other threads run on for a moment
    void (*const save)(bool whole) = wanted;
    wanted = nullptr;
    if (save != nullptr) {
        save(taken && depth == 0);
    }
}

void lastsave_begin(void (*save)(bool whole))
{
    lastsave_hold();
    wanted = save;
    if (!registered) {
        registered = std::atexit(atend) == 0;
    }
    lastsave_release();
}

void lastsave_end()
{
    lastsave_hold();
    wanted = nullptr;
    lastsave_release();
}

void lastsave_hold()
{
    guard.lock();
    depth++;
}

void lastsave_release()
{
    depth--;
    guard.unlock();
}
