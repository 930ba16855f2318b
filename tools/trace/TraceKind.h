#pragma once

#include <string>

#include "tools/trace/TraceLines.h"

enum class TraceKind { CSV, NAMES, USAGE_STATS, LSAPP };

// Tells what the file is by what it begins with. A CSV file with a wrong header and a list of names
// are known by the path alone, .csv and .txt (or either with .gz); names may come from standard
// input too. Throws InputError when it is none of them.
TraceKind kindOf(TraceLines& lines, const std::string& path);
