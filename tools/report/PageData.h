#pragma once

#include <cstdint>
#include <string>

#include "tools/compare/ScoreSum.h"

// What each chart of the page shows, as JSON; tools/report/page/data.js reads it. The seed is that
// of the resampling behind the intervals, the command line stands below it all. REQUIRES: at least
// one score.
std::string pageData(const ScoreSum& scores, uint64_t seed, const std::string& command);
