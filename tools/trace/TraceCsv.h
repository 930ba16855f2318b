#pragma once

#include <functional>
#include <string>

#include "tools/trace/TraceFile.h"
#include "tools/trace/TraceLines.h"

// The header `time,package` and a row for each opening; docs/traces.md has the rules.

// Adds what was left out to the file. Throws InputError or LineError.
Trace readCsv(TraceLines& lines, const TraceOptions& options, TraceFile& file);

// Writes the trace as readCsv() takes it, in pieces.
void writeCsv(const Trace& trace, const std::function<void(const std::string&)>& write);

// The time in ISO 8601 on UTC, with as many digits of the second's fraction as it has.
std::string isoTime(TraceTime time);
