#pragma once

#include "tools/common/Verb.h"
#include "tools/trace/TraceFile.h"

// What the verbs that read traces share on the command line.

// What kinds of files there are, for the help text of the traces.
extern const char* const TRACE_KINDS;

// --user, --drop, --keep, --day-first, --month-first, --underscores and --skip-bad.
void addTraceOptions(Verb& verb, TraceOptions& options);

// Prints what the user should know of how the file was understood, on standard error.
void printNotes(const std::string& path, const TraceFile& file);

// Reads a file of which one trace is wanted. Throws InputError when it holds those of several
// users.
NamedTrace readOneTrace(const std::string& path, const TraceOptions& options, bool quiet);
