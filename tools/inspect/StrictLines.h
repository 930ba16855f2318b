#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// Reads a text that was written a line at a time, each ended by a newline, and stops for good at
// the first line that is not as expected: problem() then names it.
class StrictLines {
  public:
    explicit StrictLines(std::string_view text) : mRest(text) {}

    // The next line without its newline; nothing when there is none, or it is cut.
    std::optional<std::string_view> next(const std::string& expected);

    // The number of a line "KEY number", or of a line that is a number when `key` is empty.
    std::optional<int> number(const std::string& key);

    // Whether the text ends here.
    bool atEnd();

    // Notes what is wrong with the line that was read last. Returns false.
    bool fail(const std::string& what);

    // "line 17: what is wrong"; empty as long as nothing is.
    const std::string& problem() const { return mProblem; }

  private:
    std::string_view mRest;
    size_t mLine = 0;
    std::string mProblem;
};

// A whole text as a number, as the engine writes it: digits, a minus before them.
std::optional<int> parseNumber(std::string_view text);
