#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

// What the Bayes model's file holds.
struct BayesCounts {
    int samples = 0;
    int dimension = 0;
    std::vector<int> maxima;  // as many as the file lists
    int classes = 0;
    std::map<int, int> classCounts;
    std::map<std::string, int> featureCounts;  // by "feature:value:class"
};

// Reads a model's text strictly: what a model never writes is refused, and `problem` then says at
// which line. docs/files.md has the format.
std::optional<BayesCounts> readBayesCounts(const std::string& text, std::string& problem);

// "feature:value:class", when the model would have written it so.
struct FeatureKey {
    int feature = 0;
    int value = 0;
    int y = 0;
};
std::optional<FeatureKey> parseFeatureKey(const std::string& text);
