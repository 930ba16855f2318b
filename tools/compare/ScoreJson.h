#pragma once

#include <string>

#include "tools/compare/TraceScore.h"

// A score as one line, a JSON object with its newline, and back. Reading throws InputError when it
// is something else or does not add up: "is no score: /methods/bayes/top1 is wrong".
std::string scoreLine(const TraceScore& score);
TraceScore parseScore(const std::string& line);
