#pragma once

#include "tools/trace/TraceFile.h"
#include "tools/trace/TraceLines.h"

// Reading a file that holds one person's openings as they stand, row by row. Both throw InputError
// about the line that was read last, or LineError.

// The header `time,package` and a row for each opening; the times (see TraceTime.h) do not run
// backwards. The name is what stands behind the first comma, unless a double quote begins it: then
// it is quoted as RFC 4180 says.
Trace readCsv(TraceLines& lines, const TraceOptions& options, TraceFile& file);

// A name a line and no times: the openings are taken to lie one minute apart from
// 2024-01-01T00:00:00Z.
Trace readNames(TraceLines& lines, const TraceOptions& options, TraceFile& file);
