#include "tools/trace/TraceTime.h"

#include <algorithm>
#include <optional>
#include <string>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"
#include "tools/trace/LocalTime.h"

namespace {

constexpr size_t MAX_DIGITS = 18;  // of seconds, so that they fit 64 bits

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Takes what has the shape off the front, or nothing. In the shape 0 is any digit, + either sign
// and T itself or a blank.
std::string_view take(std::string_view& text, std::string_view shape) {
    const auto fits = [](char wanted, char c) {
        if (wanted == '0') return isDigit(c);
        return c == wanted || (wanted == '+' && c == '-') || (wanted == 'T' && c == ' ');
    };
    const std::string_view front = text.substr(0, shape.size());
    if (!std::equal(shape.begin(), shape.end(), front.begin(), front.end(), fits)) return {};
    text.remove_prefix(shape.size());
    return front;
}

std::string_view takeDigits(std::string_view& text) {
    const auto end = std::find_if_not(text.begin(), text.end(), isDigit);
    const std::string_view digits = text.substr(0, static_cast<size_t>(end - text.begin()));
    text.remove_prefix(digits.size());
    return digits;
}

int number(std::string_view text, size_t at, size_t digits) {
    return std::stoi(std::string(text.substr(at, digits)));
}

[[noreturn]] void refuse(std::string_view text) {
    throw InputError(inQuotes(text) +
                     " is no time: expected seconds since the epoch or 2024-03-01T08:05:09");
}

// The fraction of a second in what is left of the text, which must be that or nothing.
TraceTime parseFraction(std::string_view text, std::string_view rest) {
    if (rest.empty()) return TraceTime(0);
    const bool point = rest[0] == '.';
    rest.remove_prefix(1);
    std::string micros(takeDigits(rest));
    if (!point || micros.empty() || !rest.empty()) refuse(text);
    micros.resize(6, '0');
    return TraceTime(std::stol(micros));
}

// As microseconds, seconds that lie outside might not fit 64 bits.
TraceTime inRange(std::string_view text, time_t seconds, TraceTime fraction) {
    if (seconds < 0 || seconds >= wholeSeconds(TRACE_TIME_END)) {
        throw InputError(inQuotes(text) + " lies outside the years 1970 to 2099");
    }
    return std::chrono::seconds(seconds) + fraction;
}

TraceTime parseSeconds(std::string_view text) {
    std::string_view rest = text;
    const std::string_view digits = takeDigits(rest);
    if (digits.empty() || digits.size() > MAX_DIGITS) refuse(text);
    return inRange(text, std::stol(std::string(digits)), parseFraction(text, rest));
}

// Takes a zone off the end: seconds ahead of UTC, or nothing when the text ends without.
std::optional<int> takeZone(std::string_view& text) {
    if (!text.empty() && text.back() == 'Z') {
        text.remove_suffix(1);
        return 0;
    }
    const size_t sign = text.find_first_of("+-");
    if (sign == std::string_view::npos) return std::nullopt;
    std::string_view rest = text.substr(sign);
    for (const std::string_view shape : {"+00:00", "+0000", "+00"}) {
        const std::string_view zone = take(rest, shape);
        if (zone.empty()) continue;
        const int hours = number(zone, 1, 2);
        const int minutes = zone.size() > 3 ? number(zone, zone.size() - 2, 2) : 0;
        if (!rest.empty() || hours > 23 || minutes > 59) return std::nullopt;
        text = text.substr(0, sign);
        return (zone[0] == '+' ? 1 : -1) * (hours * 60 + minutes) * 60;
    }
    return std::nullopt;
}

}  // namespace

TraceTime parseTraceTime(std::string_view text, TraceTime notBefore) {
    std::string_view rest = text;
    const std::string_view minutes = take(rest, "0000-00-00T00:00");
    if (minutes.empty()) return parseSeconds(text);
    const std::string_view seconds = take(rest, ":00");
    const ClockReading reading{number(minutes, 0, 4),  number(minutes, 5, 2),
                               number(minutes, 8, 2),  number(minutes, 11, 2),
                               number(minutes, 14, 2), seconds.empty() ? 0 : number(seconds, 1, 2)};
    const std::optional<int> zone = takeZone(rest);
    const TraceTime fraction = parseFraction(text, rest);
    if (!exists(reading)) throw InputError("there is no " + inQuotes(text));
    const auto exact = [&](time_t moment) { return inRange(text, moment, fraction); };
    if (zone) return exact(utcMoment(reading) - *zone);
    const std::vector<time_t> moments = localMoments(reading);
    if (moments.empty()) {
        throw InputError("there is no " + inQuotes(text) +
                         " here: the clocks skip it (set TZ to the zone of the recording)");
    }
    const TraceTime first = exact(moments.front());
    return first < notBefore ? exact(moments.back()) : first;
}
