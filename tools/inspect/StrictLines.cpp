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

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (size_t begin = 0; begin <= text.size();) {
        const size_t end = std::min(text.find(separator, begin), text.size());
        parts.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}

// Notes what is wrong with the line that was read last.
bool StrictLines::fail(const std::string& what) {
    if (mProblem.empty()) mProblem = "line " + std::to_string(mLine) + ": " + what;
    return false;
}

// The next line without its newline; nothing when there is none, or it is cut.
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
    if (startsWith(*line, prefix)) number = parseNumber(line->substr(prefix.size()));
    if (!number) fail(inQuotes(*line) + " in place of " + expected);
    return number;
}

bool StrictLines::list(const std::string& key, const std::string& entries, const std::string& entry,
                       const Take& take) {
    const std::optional<int> length = number(key);
    if (!length) return false;
    if (*length < 0) return fail("less than no " + entries);
    for (int i = 0; i < *length; ++i) {
        const std::optional<std::string_view> line = next(entry);
        if (!line) return false;
        const std::string fault = take(split(*line, ' '), *length);
        if (!fault.empty()) return fail(inQuotes(*line) + ' ' + fault);
    }
    return true;
}

bool StrictLines::atEnd() {
    if (!mProblem.empty()) return false;
    if (mRest.empty()) return true;
    ++mLine;
    return fail("more than was announced");
}
