#include "tools/trace/TraceFlags.h"

#include <CLI/CLI.hpp>
#include <cstdio>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"

namespace {

constexpr size_t MAX_LISTED = 8;

std::string shown(const std::string& path) {
    return path == "-" ? "standard input" : printable(path);
}

std::string userOf(const NamedTrace& trace) {
    return trace.name.substr(trace.name.rfind('#') + 1);
}

}  // namespace

const char* const TRACE_KINDS =
    "a .csv file with the header time,package (seconds since the epoch or ISO 8601, local\n"
    "time without a zone), a .txt file with a name a line, the text of `dumpsys usagestats`,\n"
    "or an LSApp table; packed with gzip or not; - is standard input";

void addTraceOptions(CLI::App& verb, TraceOptions& options) {
    verb.add_option("--user", options.user, "Read this user of a file that holds several")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber);
    verb.add_option("--drop", options.drop,
                    "Leave out this name; may be given several times. Of a phone's own log home\n"
                    "screens, system UI, resolver and installers are left out anyway")
        ->type_name("NAME")
        ->allow_extra_args(false);
    verb.add_option("--keep", options.keep,
                    "Keep this name although it would be left out; may be given several times")
        ->type_name("NAME")
        ->allow_extra_args(false);
    CLI::Option* const day = verb.add_flag_callback(
        "--day-first", [&options] { options.dateOrder = DateOrder::DAY_FIRST; },
        "Read dates like 03/09/2017 with the day first (default: as the file's other\n"
        "dates tell)");
    verb.add_flag_callback(
            "--month-first", [&options] { options.dateOrder = DateOrder::MONTH_FIRST; },
            "Read them with the month first")
        ->excludes(day);
    verb.add_flag("--skip-bad", options.skipBad, "Count lines that cannot be read and go on");
}

void printNotes(const std::string& path, const TraceFile& file) {
    for (const std::string& note : file.notes) {
        fprintf(stderr, "%s: %s\n", shown(path).c_str(), note.c_str());
    }
    if (file.skipped > 0) {
        fprintf(stderr, "%s: %s skipped\n", shown(path).c_str(),
                (grouped(file.skipped) + (file.skipped == 1 ? " bad line" : " bad lines")).c_str());
    }
}

NamedTrace readOneTrace(const std::string& path, const TraceOptions& options, bool quiet) {
    TraceFile file = TraceFile::read(path, options);
    if (file.traces.size() > 1) {
        std::string users;
        for (size_t i = 0; i < file.traces.size() && i < MAX_LISTED; ++i) {
            users += (i == 0 ? "" : ", ") + userOf(file.traces[i]);
        }
        if (file.traces.size() > MAX_LISTED) users += ", ...";
        throw InputError(shown(path) + ":1: holds " + grouped(file.traces.size()) + " users (" +
                         users + "): choose one with --user N");
    }
    if (!quiet) printNotes(path, file);
    return std::move(file.traces.front());
}
