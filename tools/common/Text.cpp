#include "tools/common/Text.h"

#include <cstdio>
#include <sstream>

namespace {

constexpr size_t MAX_QUOTED = 40;
constexpr size_t WIDTH = 80;

}  // namespace

std::string printable(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
    }
    return result;
}

std::string inQuotes(std::string_view text) {
    const bool cut = text.size() > MAX_QUOTED;
    return '"' + printable(text.substr(0, MAX_QUOTED)) + (cut ? "...\"" : "\"");
}

std::string grouped(uint64_t number) {
    std::string result = std::to_string(number);
    for (size_t end = result.size(); end > 3; end -= 3) result.insert(end - 3, 1, ',');
    return result;
}

std::string percentage(uint64_t part, uint64_t whole) {
    if (whole == 0) return "-";
    char text[32];
    snprintf(text, sizeof(text), "%.1f %%",
             100.0 * static_cast<double>(part) / static_cast<double>(whole));
    return text;
}

std::string wrapped(const std::string& text, size_t indent) {
    std::string result;
    size_t column = indent;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        if (column > indent && column + 1 + word.size() > WIDTH) {
            result += '\n' + std::string(indent, ' ');
            column = indent;
        } else if (column > indent) {
            result += ' ';
            ++column;
        }
        result += word;
        column += word.size();
    }
    return result;
}
