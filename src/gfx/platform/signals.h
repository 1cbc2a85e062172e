// SIGINT, SIGTERM and SIGHUP as a request to close, for all back ends of systems that have them.
// SIGPIPE is ignored: a reader of the program's messages that goes away doesn't end the game unsaved.
// So is SIGXFSZ: a file that may not grow further is a failed write, which is told.
#pragma once

/// Takes the signals over, also those that the parent has left blocked, and opens each standard stream
/// that is closed on nothing: otherwise a file or the display's connection would take its number, and
/// what is printed would land in it. Handlers stay until the process ends. May be called again.
void signals_install();

/// Whether one has arrived since the last call that answered true.
bool signals_closewanted();
