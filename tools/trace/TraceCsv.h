#pragma once

#include <functional>
#include <string>

#include "tools/trace/Trace.h"

// The time in ISO 8601 on UTC, with as many digits of the second's fraction as it has.
std::string isoTime(TraceTime time);

// Writes the trace as Trace::read() takes it, in pieces.
void writeCsv(const Trace& trace, const std::function<void(const std::string&)>& write);
