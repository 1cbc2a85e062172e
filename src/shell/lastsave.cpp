#include "shell/lastsave.h"

#include "base/report.h"
#include "base/types.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <mutex>
#include <thread>

static constexpr std::chrono::seconds patience(60);
static constexpr std::chrono::milliseconds look(5); // between two looks

static std::recursive_timed_mutex guard;   // held during a change, and for good by atend
static i32 depth;                          // of holds; written under the guard
static void (*wanted)(bool whole);         // written under the guard; null: nothing is saved
static bool registered;                    // atend is, once in a process
static std::atomic<std::thread::id> ender; // the thread that ends the process; written by atend

static void saveonce()
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

static void atend()
{
    ender = std::this_thread::get_id();
    saveonce();
}

// Two threads may call exit at the same time, as each finds that the display is gone. The system calls
// each handler once, on one of them, and lets the other pass on; so it is kept here, behind atend, lest
// it end the process in the midst of the save. The process then ends under it: from here on two at once
// would free what the system keeps of its handlers twice. Patience is for both waits: this and that for
// the guard.
static void afteratend()
{
    const auto limit = std::chrono::steady_clock::now() + 2 * patience;
    const bool other = ender.load() != std::this_thread::get_id();
    while (other && !report_fatal_made && std::chrono::steady_clock::now() < limit) {
        std::this_thread::sleep_for(look);
    }
}

void lastsave_begin(void (*save)(bool whole))
{
    lastsave_hold();
    wanted = save;
    if (!registered) { // what is registered last is called first
        registered = std::atexit(afteratend) == 0 && std::atexit(atend) == 0;
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
