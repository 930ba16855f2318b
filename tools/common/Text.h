#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

// Whether the text begins or ends so, or holds the part anywhere.
inline bool startsWith(std::string_view text, std::string_view begin) {
    return text.substr(0, begin.size()) == begin;
}
inline bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}
inline bool holds(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

// How values are shown to a person.

// The text without characters that would disturb a terminal or break a line: each becomes '?'.
std::string printable(std::string_view text);

// A piece of input for an error message: in double quotes, printable, cut when it is long.
std::string inQuotes(std::string_view text);

// As printf would print it, at most 255 bytes.
std::string formatted(const char* format, ...) __attribute__((format(printf, 1, 2)));

// A date and time in a format of strftime(); a moment's are those by the clocks of the zone TZ.
std::string timeText(const tm& time, const char* format);
std::string localTimeText(time_t moment, const char* format);

// With blanks behind or before it to a width.
std::string padded(const std::string& text, size_t width);
std::string rightAligned(const std::string& text, size_t width);

// 12345 as 12,345.
std::string grouped(uint64_t number);

// "1 name", "7,000 names": with an s unless `many` is given.
std::string amount(uint64_t number, const std::string& one, const std::string& many = "");

// A share as a percentage with one decimal, "42.0 %"; "-" when there is nothing to divide by.
std::string percentage(uint64_t part, uint64_t whole);

// The text's words in lines of at most so many columns; all but the first are indented by so many
// blanks, and the first is taken to start there too.
std::string wrapped(const std::string& text, size_t indent, size_t width = 80);
