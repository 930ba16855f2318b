#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/trace/Trace.h"

// Which part of the date comes first in times like 03/09/2017 21:18.
enum class DateOrder { FROM_FILE, DAY_FIRST, MONTH_FIRST };

// How traces are read.
struct TraceOptions {
    std::vector<std::string>
        drop;  // names that are not what a user opens, besides the default list
    std::vector<std::string> keep;  // names of the default list that are
    std::optional<int> user;        // the one user to read of a file that holds several
    DateOrder dateOrder = DateOrder::FROM_FILE;
    bool underscores = false;  // for what the Bayes model does not take; LSApp tables always
    bool skipBad = false;      // bad lines are counted instead of refused
};

// One person's openings.
struct NamedTrace {
    std::string name;  // the path; "path#user" for one of several users of a file
    Trace trace;
};

// What one file holds.
struct TraceFile {
    std::string format;              // "CSV", "names", "usagestats" or "LSApp"
    std::vector<NamedTrace> traces;  // at least one
    size_t skipped = 0;              // bad lines
    // What the user should know of how the file was understood, a line each without newline: names
    // that were dropped, a clock that was set back, users left out.
    std::vector<std::string> notes;

    // Reads and checks a file of any kind, told by its content and unpacked when it is compressed;
    // "-" is standard input. Throws InputError, "FILE:17: what is wrong", or
    // "FILE: what is wrong" when that is no line.
    static TraceFile read(const std::string& path, const TraceOptions& options);
};
