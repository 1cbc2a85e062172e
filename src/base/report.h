// Every failure and message of the system passes through report_inner, which keeps a stack of open
// contexts, hands each report to one handler, and ends the process on a fatal one.
//
// Sources are named by literals, the base names of the files that report. The default handler
// writes to standard output; a fatal report goes to standard error as well, and waits 2.5 seconds
// before the process ends with code 1, nothing saved. Only this module ends the process.
#pragma once

#include "base/growarray.h"

enum ReportType {
    REPORT_TEXT = 1,     // a plain message at the current level
    REPORT_BEGIN = 2,    // opens a context that the message names
    REPORT_END = 3,      // closes the current context
    REPORT_PROGRESS = 4, // progress on the current context; never given to report_inner
    REPORT_FATAL = 5,    // the process ends
    REPORT_WARNING = 6,  // also appended to warnings.log
    REPORT_QUESTION = 7, // a yes or no question
};

struct ReportRec {
    i32 type;         // a ReportType
    const char* file; // source name, lent for good
    i32 line;
    u32 thread;    // id of the calling thread
    char* message; // owned if `owned`, else lent for good
    i32 owned;     // message is freed with the record
    f64 time;      // timer_now when the report was made
    f64 done, total;
    i32 answer; // result of a question
};

/// Shows one record. Starts at the handler described above; tests replace it.
extern void (*report_handler)(ReportRec* rec);

/// Ends the process after a fatal report. Starts at exit; a test may put a routine that does not
/// return in its place.
extern void (*report_exit)(int code);

extern bool report_fatal_made;    // a fatal report is ending the process: nothing is saved any more
extern f64 report_start_time;     // timer_now at the first report
extern i32 warnings_to_file;      // starts at 1
extern i32 warnings_no_wait;      // starts at 0: a warning waits for a key on standard input
extern f64 report_fatal_wait;     // seconds that a fatal report stays on the screen, 2.5
extern const char* warnings_path; // "warnings.log"

/// Reports `message`; with `copy_message` the text is copied, so a buffer may be passed. Returns the
/// answer of a question, else 0. REPORT_END without an open context and an unknown type are fatal.
/// A warning or question over a level that owns its text leaves that level with a null text.
i32 report_inner(const char* file, i32 line, ReportType type, const char* message,
                 i32 copy_message);

/// Tells the user what happened to a file without stopping: `message` as a plain message on standard
/// output and a line of warnings.log. No key is waited for; a log that can't be written is skipped.
void report_notice(const char* file, i32 line, const char* message);
