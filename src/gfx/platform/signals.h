// The system's requests to end the process as a request to close, for all back ends.
//
// Where there are signals these are SIGINT, SIGTERM and SIGHUP. SIGPIPE is ignored: a reader of the
// program's messages that goes away doesn't end the game unsaved. So is SIGXFSZ: a file that may not grow
// further is a failed write, which is told. On Windows they are Ctrl+C and Ctrl+Break in the console that
// the program was started from, and that console's end.
#pragma once

/// Takes the requests over, also signals that the parent has left blocked, and opens each standard stream
/// that is closed on nothing: otherwise a file or the display's connection would take its number, and
/// what is printed would land in it. On Windows such a stream leads to the console that the program was
/// started from, if there is one. Handlers stay until the process ends. May be called again.
void signals_install();

/// Whether one has arrived since the last call that answered true.
bool signals_closewanted();
