// What a console asks of a program, as a request to close.
#include "base/types.h"
#include "gfx/platform/signals.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>

static bool arrives()
{
    for (i32 i = 200; i > 0; i--) {
        if (signals_closewanted()) {
            return true;
        }
        Sleep(10);
    }
    return false;
}

// In a console of its own, since all programs of a console are asked.
static void interrupt()
{
    FreeConsole();
    if (AllocConsole() == 0) {
        std::puts("no console");
        std::exit(1);
    }
    signals_install();
    signals_install();
    const bool before = signals_closewanted();
    GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
    const bool first = arrives();
    const bool second = signals_closewanted();
    std::fprintf(stderr, "before %d, then %d, then %d\n", before, first, second);
    std::exit(0);
}

TEST(signals, take_an_interruption_as_one_request_to_close)
{
    EXPECT_EXIT(interrupt(), testing::ExitedWithCode(0), "before 0, then 1, then 0");
}
