#include "tools/trace/TraceFlags.h"

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
    "a .csv file with the header time,package (seconds since the epoch or ISO 8601, local time "
    "without a zone), a .txt file with a name a line, the text of `dumpsys usagestats`, or an "
    "LSApp table; packed with gzip or not; - is standard input";

void addTraceOptions(Verb& verb, TraceOptions& options) {
    verb.number("--user N", 0, INT32_MAX, options.user,
                "Read this user of a file that holds several");
    verb.texts("--drop NAME", options.drop,
               "Leave out this name; may be given several times. Of a phone's own log home "
               "screens, system UI, resolver and installers are left out anyway");
    verb.texts("--keep NAME", options.keep,
               "Keep this name although it would be left out; may be given several times");
    const auto dayFirst = [&options](const std::string&) {
        options.dateOrder = DateOrder::DAY_FIRST;
    };
    verb.custom("--day-first",
                "Read dates like 03/09/2017 with the day first (default: as the file's other "
                "dates tell)",
                dayFirst);
    const auto monthFirst = [&options](const std::string&) {
        options.dateOrder = DateOrder::MONTH_FIRST;
    };
    verb.custom("--month-first", "Read them with the month first", monthFirst)
        .excludes("--day-first");
    verb.flag("--underscores", options.underscores,
              "Put an underscore for each character of a name that the engine's Bayes model does "
              "not take (all but A-Z, a-z, digits, dots and underscores)");
    verb.flag("--skip-bad", options.skipBad, "Count lines that cannot be read and go on");
}

void printNotes(const std::string& path, const TraceFile& file) {
    for (const std::string& note : file.notes) {
        fprintf(stderr, "%s: %s\n", shown(path).c_str(), note.c_str());
    }
    if (file.skipped > 0) {
        fprintf(stderr, "%s: %s skipped\n", shown(path).c_str(),
                amount(file.skipped, "bad line").c_str());
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
        throw InputError(shown(path) + ": holds " + grouped(file.traces.size()) + " users (" +
                         users + "): choose one with --user N");
    }
    if (!quiet) printNotes(path, file);
    return std::move(file.traces.front());
}
