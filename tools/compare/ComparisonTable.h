#pragma once

#include <string>

#include "tools/compare/Comparison.h"

// For a person: a table with hit rates, mean reciprocal rank, answered openings and intervals, and
// who wins by each measure.
std::string comparisonTable(const Comparison& comparison);

// The same for a program: one JSON object, one line with its newline.
std::string comparisonJson(const Comparison& comparison);
