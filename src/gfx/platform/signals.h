// SIGINT, SIGTERM and SIGHUP as a request to close, for all back ends of systems that have them.
// SIGPIPE is ignored: a reader of the program's messages that goes away doesn't end the game unsaved.
#pragma once

/// Takes the signals over. Handlers stay until the process ends.
void signals_install();

/// Whether one has arrived since the last call that answered true.
bool signals_closewanted();
