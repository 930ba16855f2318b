#pragma once

#include <string>

#include "tools/trace/TraceFile.h"
#include "tools/trace/TraceLines.h"

// The first line of the table.
constexpr const char* LSAPP_HEADER = "user_id\tsession_id\ttimestamp\tapp_name\tevent_type";

// Reads the LSApp table: adds a trace for each user, or for the one the options ask for. Throws
// InputError or LineError.
void readLsapp(TraceLines& lines, const std::string& path, const TraceOptions& options,
               TraceFile& file);
