#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "preload/AppUsage.h"

// Reads a text that was written a line at a time, each ended by a newline, and stops for good at
// the first line that is not as expected: problem() then names it.
class StrictLines {
  public:
    using Fields = std::vector<std::string_view>;

    // What is wrong with a line of a list, "is no name and index"; empty when nothing is. `length`
    // is the list's.
    using Take = std::function<std::string(const Fields& fields, int length)>;

    explicit StrictLines(std::string_view text) : mRest(text) {}

    // The number of a line "KEY number", or of a line that is a number when `key` is empty.
    std::optional<int> number(const std::string& key);

    // A line that number() reads, and as many lines of fields with a blank between. `entries` and
    // `entry` are their names for a problem. Returns whether the list is whole.
    bool list(const std::string& key, const std::string& entries, const std::string& entry,
              const Take& take);

    // Whether the text ends here.
    bool atEnd();

    // "line 17: what is wrong"; empty as long as nothing is.
    const std::string& problem() const { return mProblem; }

  private:
    std::optional<std::string_view> next(const std::string& expected);
    bool fail(const std::string& what);

    std::string_view mRest;
    size_t mLine = 0;
    std::string mProblem;
};

// The parts of a text between the separators.
std::vector<std::string_view> split(std::string_view text, char separator);

// A whole text as a number, as the engine writes it: digits, a minus before them.
std::optional<int> parseNumber(std::string_view text);

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
