// Whether a program has come to see its input, as the X server knows it. Nothing is asked of the
// program that it does not do for any window manager.
#pragma once

#include <functional>
#include <string>

/// What is waited for: that the program has taken all input that it was sent before, or that it has
/// also shown a whole frame after that. A minimised window shows none.
enum Seen { INPUT_TAKEN, FRAME_SHOWN };

/// Waits while `going` says yes. False if that ended first, or if the window is no more.
bool wait_for_seen(Seen wanted, const std::string& display, const std::string& window,
                   const std::function<bool()>& going);
