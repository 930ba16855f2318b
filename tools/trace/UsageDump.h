#pragma once

#include "tools/trace/TraceFile.h"
#include "tools/trace/TraceLines.h"

// Whether the text is that of `dumpsys usagestats`, perhaps with others before and behind it.
bool holdsUsageDump(std::string_view text);

// Reads such a text; docs/traces.md has the rules. Adds one user's trace, the notes and the number
// of skipped lines to the file. Throws InputError or LineError.
void readUsageDump(TraceLines& lines, const std::string& path, const TraceOptions& options,
                   TraceFile& file);
