// The clock of the process, behind a pointer that back ends and tests replace.
#pragma once

#include "base/types.h"

/// Seconds of a monotonic clock; only differences mean anything. Starts at a routine that finds the
/// system's steady clock on its first call and puts it in its own place.
extern f64 (*timer_now)();
