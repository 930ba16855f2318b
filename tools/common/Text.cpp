#include "tools/common/Text.h"

#include <cstdarg>
#include <cstdio>
#include <sstream>

namespace {

constexpr size_t MAX_QUOTED = 40;

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

std::string formatted(const char* format, ...) {
    char text[256];
    va_list values;
    va_start(values, format);
    vsnprintf(text, sizeof(text), format, values);
    va_end(values);
    return text;
}

std::string timeText(const tm& time, const char* format) {
    char text[64];
    return {text, strftime(text, sizeof(text), format, &time)};
}

std::string localTimeText(time_t moment, const char* format) {
    tm local{};
    localtime_r(&moment, &local);
    return timeText(local, format);
}

std::string padded(const std::string& text, size_t width) {
    return text + std::string(width > text.size() ? width - text.size() : 0, ' ');
}

std::string rightAligned(const std::string& text, size_t width) {
    return std::string(width > text.size() ? width - text.size() : 0, ' ') + text;
}

std::string grouped(uint64_t number) {
    std::string result = std::to_string(number);
    for (size_t end = result.size(); end > 3; end -= 3) result.insert(end - 3, 1, ',');
    return result;
}

std::string amount(uint64_t number, const std::string& one, const std::string& many) {
    if (number == 1) return "1 " + one;
    return grouped(number) + ' ' + (many.empty() ? one + 's' : many);
}

std::string percentage(uint64_t part, uint64_t whole) {
    if (whole == 0) return "-";
    return formatted("%.1f %%", 100.0 * static_cast<double>(part) / static_cast<double>(whole));
}

std::string wrapped(const std::string& text, size_t indent, size_t width) {
    std::string result;
    size_t column = indent;
    std::istringstream words(text);
    for (std::string word; std::getline(words, word, ' ');) {
        if (column > indent && column + 1 + word.size() > width) {
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
