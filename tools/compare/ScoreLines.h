#pragma once

#include <string>
#include <vector>

#include "tools/compare/ScoreSum.h"

// Adds up the scores in files of such lines as compare --json prints, packed with gzip or not; "-"
// is standard input. Throws InputError, "FILE:17: what is wrong", also when a trace comes twice or
// there is none.
ScoreSum readScores(const std::vector<std::string>& files);
