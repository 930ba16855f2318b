#pragma once

#include <map>
#include <string>
#include <vector>

#include "preload/AppUsage.h"

// The engine's text files, read strictly, unlike by the engine itself. Each function returns at
// which line a text is not what the engine writes; empty when it is whole. docs/files.md has the
// formats.

// The Bayes model's file.
struct BayesCounts {
    int samples = 0;
    int dimension = 0;
    std::vector<int> maxima;  // as many as the file lists
    int classes = 0;
    std::map<int, int> classCounts;
    std::map<std::string, int> featureCounts;  // by "feature:value:class"
};
std::string readBayesCounts(const std::string& text, BayesCounts& counts);

// The application table: the names by their indexes.
std::string readAppTable(const std::string& text, std::vector<std::string>& names);

// The usage table: its records by their ids.
std::string readUsageTable(const std::string& text, std::vector<AppUsage>& table);
