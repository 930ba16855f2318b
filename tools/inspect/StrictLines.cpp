#include "tools/inspect/StrictLines.h"

#include <charconv>

#include "tools/common/Text.h"

std::optional<int> parseNumber(std::string_view text) {
    int number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || std::to_string(number) != text) return std::nullopt;
    return number;
}

bool StrictLines::fail(const std::string& what) {
    if (mProblem.empty()) mProblem = "line " + std::to_string(mLine) + ": " + what;
    return false;
}

std::optional<std::string_view> StrictLines::next(const std::string& expected) {
    if (!mProblem.empty()) return std::nullopt;
    ++mLine;
    const size_t end = mRest.find('\n');
    if (end == std::string_view::npos) {
        fail("cut off" + (mRest.empty() ? ", where " + expected + " should follow" : ""));
        return std::nullopt;
    }
    const std::string_view line = mRest.substr(0, end);
    mRest.remove_prefix(end + 1);
    return line;
}

std::optional<int> StrictLines::number(const std::string& key) {
    const std::string expected = key.empty() ? "a number" : '"' + key + " NUMBER\"";
    const std::optional<std::string_view> line = next(expected);
    if (!line) return std::nullopt;
    const std::string prefix = key.empty() ? "" : key + ' ';
    std::optional<int> number;
    if (line->substr(0, prefix.size()) == prefix) number = parseNumber(line->substr(prefix.size()));
    if (!number) fail(inQuotes(*line) + " in place of " + expected);
    return number;
}

bool StrictLines::atEnd() {
    if (!mProblem.empty()) return false;
    if (mRest.empty()) return true;
    ++mLine;
    return fail("more than was announced");
}
