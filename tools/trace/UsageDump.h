#pragma once

#include "tools/trace/TraceFile.h"
#include "tools/trace/TraceLines.h"

// Reads the text of `dumpsys usagestats`; docs/traces.md has the rules. Adds one user's trace, the
// notes and the number of skipped lines to the file. Throws InputError or LineError.
void readUsageDump(TraceLines& lines, const std::string& path, const TraceOptions& options,
                   TraceFile& file);
