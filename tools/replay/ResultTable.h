#pragma once

#include <string>

#include "tools/replay/Replayer.h"

// What a replay counted, for a person: an aligned table of several lines.
std::string resultTable(const ReplayResult& result);

// The same for a program: one JSON object, one line with its newline.
std::string resultJson(const ReplayResult& result);
