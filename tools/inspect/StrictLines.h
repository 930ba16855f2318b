#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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
