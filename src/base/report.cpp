#include "base/report.h"

#include "base/clock.h"
#include "base/str.h"

#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <thread>

static void showreport(ReportRec* rec);

void (*report_handler)(ReportRec* rec) = showreport;
void (*report_exit)(int code) = std::exit;
bool report_fatal_made;
f64 report_start_time;
i32 warnings_to_file = 1;
i32 warnings_no_wait = 0;
f64 report_fatal_wait = 2.5;
const char* warnings_path = "warnings.log";

// The open contexts; the last is the current level. Set up by the first report, and written by
// report_inner only.
static GrowArray levels;

static ReportRec* toplevel()
{
    return items<ReportRec>(&levels) + levels.count - 1;
}

static void freetext(ReportRec* rec)
{
    if (rec->owned != 0) {
        std::free(rec->message);
        rec->message = nullptr;
        rec->owned = 0;
    }
}

static void pushlevel(const ReportRec* rec)
{
    GrowArray_push(&levels, rec);
}

static void poplevel()
{
    freetext(toplevel());
    GrowArray_remove(&levels, levels.count - 1);
}

static void firstuse()
{
    if (levels.buf != nullptr) {
        return;
    }
    const ReportRec zero = {};
    GrowArray_init(&levels, sizeof(ReportRec));
    pushlevel(&zero);
    report_start_time = timer_now();
}

static void endcontext()
{
    if (levels.count < 2) {
        report_inner("report", 92, REPORT_FATAL, "Trying to pop empty stack in report_inner", 0);
        return;
    }
    poplevel();
    toplevel()->type = REPORT_END;
    report_handler(toplevel());
    freetext(toplevel());
    *toplevel() = {};
}

static u32 threadid()
{
    return static_cast<u32>(std::hash<std::thread::id>{}(std::this_thread::get_id()));
}

i32 report_inner(const char* file, i32 line, ReportType type, const char* message, i32 copy_message)
{
    firstuse();
    if (type == REPORT_END) {
        endcontext();
        return 0;
    }
    const bool own_level = type == REPORT_WARNING || type == REPORT_QUESTION;
    if (!own_level && type != REPORT_TEXT && type != REPORT_BEGIN && type != REPORT_FATAL) {
        report_inner("report", 126, REPORT_FATAL, "Unknown ReportType in report_inner", 0);
        return 0;
    }
    ReportRec rec = {};
    rec.type = type;
    rec.file = file;
    rec.line = line;
    rec.thread = threadid();
    rec.owned = copy_message != 0 ? 1 : 0;
    rec.time = timer_now();
    if (copy_message != 0) {
        str_new(&rec.message, message);
    } else {
        rec.message = const_cast<char*>(message); // lent: freed only if owned
    }
    report_fatal_made = report_fatal_made || type == REPORT_FATAL;
    freetext(toplevel()); // whatever the new type is
    if (own_level) {
        pushlevel(&rec);
    } else {
        *toplevel() = rec;
    }
    report_handler(toplevel());
    const i32 answer = toplevel()->answer;
    if (type == REPORT_BEGIN) {
        const ReportRec zero = {};
        pushlevel(&zero);
    }
    if (type == REPORT_FATAL) {
        report_exit(1);
    }
    if (own_level) {
        poplevel();
    }
    return answer;
}

// "yyyy-MMM-dd HH:mm:ss" of the local time
static void makestamp(char out[64])
{
    const std::time_t now = std::time(nullptr);
    std::strftime(out, 64, "%Y-%b-%d %H:%M:%S", std::localtime(&now));
}

static void logwarning(const char* message)
{
    std::FILE* const log = std::fopen(warnings_path, "a");
    if (log == nullptr) {
        return; // the message still reaches standard output
    }
    char stamp[64];
    makestamp(stamp);
    std::fprintf(log, "%s %s\n", stamp, message);
    std::fclose(log);
}

static void showfatal(const ReportRec* rec)
{
    std::printf("\n[FATAL ERROR] %s\n", rec->message);
    std::fflush(stdout);
    std::fprintf(stderr, "\n[FATAL ERROR] %s\n", rec->message);
    std::this_thread::sleep_for(std::chrono::duration<f64>(report_fatal_wait));
}

static void showwarning(const ReportRec* rec)
{
    if (warnings_to_file != 0) {
        logwarning(rec->message);
    }
    std::printf("\n[WARNING] %s\nPress any key to continue program\n", rec->message);
    std::fflush(stdout);
    if (warnings_no_wait == 0) {
        std::getchar();
    }
}

static void ask(ReportRec* rec)
{
    std::printf("%s (Y/N) ", rec->message);
    std::fflush(stdout);
    char word[64] = "";
    if (std::scanf("%63s", word) != 1) {
        word[0] = 0;
    }
    rec->answer = std::tolower(static_cast<unsigned char>(word[0])) == 'y' ? 1 : 0;
}

static void showmessage(const ReportRec* rec)
{
    if (rec->message != nullptr) {
        std::printf("%s", rec->message);
    }
    if (rec->total > 0) {
        std::printf(" [%lg/%lg]", rec->done, rec->total);
    } else if (rec->done > 0) {
        std::printf(" [%lg]", rec->done);
    }
    std::printf("\n");
    std::fflush(stdout);
}

static void showreport(ReportRec* rec)
{
    switch (rec->type) {
    case REPORT_FATAL: showfatal(rec); break;
    case REPORT_WARNING: showwarning(rec); break;
    case REPORT_QUESTION: ask(rec); break;
    default: showmessage(rec); break;
    }
}

void report_notice(const char* file, i32 line, const char* message)
{
    report_inner(file, line, REPORT_TEXT, message, 1);
    if (warnings_to_file != 0) {
        logwarning(message);
    }
}
