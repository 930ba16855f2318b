#include "tools/trace/UsageTime.h"

#include <algorithm>
#include <optional>
#include <regex>

#include "tools/common/Text.h"
#include "tools/trace/TraceLines.h"

namespace {

constexpr size_t LONGEST = 32;  // times in digits and strokes are shorter

constexpr const char* ADVICE = "dump again with `dumpsys usagestats -c`";

// 03/09/2017 21:18, as it stands.
struct NumericTime {
    int first;
    int second;
    int year;
    int hour;
    std::string minute;  // and what follows it: "18", "18:05"
    bool isWhole;        // nothing follows the time
};

std::optional<NumericTime> parseNumericTime(std::string_view text) {
    // The expression is too dear for every line of a bug report.
    if (text.substr(0, 3).find('/') == std::string_view::npos) return std::nullopt;
    static const std::regex TIME(
        "(\\d{1,2})/(\\d{1,2})/(\\d{4}),? (\\d{1,2}):(\\d{2}(?::\\d{2})?)(?: ([AaPp])[Mm])?");
    const std::string front(text.substr(0, LONGEST));
    std::smatch match;
    if (!std::regex_search(front, match, TIME, std::regex_constants::match_continuous)) {
        return std::nullopt;
    }
    const auto number = [&](size_t group) { return std::stoi(match[group]); };
    NumericTime time{number(1), number(2), number(3), number(4), match[5], false};
    time.isWhole = match.length() == static_cast<std::ptrdiff_t>(text.size());
    if (match[6].matched) {
        if (time.hour > 12) return std::nullopt;
        const bool afternoon = match[6] == "P" || match[6] == "p";
        time.hour = time.hour % 12 + (afternoon ? 12 : 0);
    }
    return time;
}

bool isMilliseconds(std::string_view text) {
    return text.size() >= 12 && text.size() <= 15 &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

void DateOrderClues::see(std::string_view line, size_t number) {
    for (size_t at = 0; (at = line.find("=\"", at)) != std::string_view::npos;) {
        at += 2;
        const std::string_view text = line.substr(at);
        const std::optional<NumericTime> time = parseNumericTime(text);
        if (!time || (time->first > 12) == (time->second > 12)) continue;
        Place& place = time->first > 12 ? mDay : mMonth;
        if (place.line == 0) place = {number, std::string(text.substr(0, text.find('"')))};
    }
}

DateOrder DateOrderClues::orderOf(std::string_view text, size_t number) const {
    const std::optional<NumericTime> time = parseNumericTime(text);
    if (!time || !time->isWhole || time->first == time->second) return DateOrder::DAY_FIRST;
    if (mDay.line != 0 && mMonth.line != 0) {
        throw LineError(mMonth.line, inQuotes(mMonth.text) + " begins with the month, but " +
                                         inQuotes(mDay.text) + " in line " +
                                         std::to_string(mDay.line) +
                                         " with the day: say --day-first or --month-first");
    }
    if (mDay.line != 0) return DateOrder::DAY_FIRST;
    if (mMonth.line != 0) return DateOrder::MONTH_FIRST;
    throw LineError(number, inQuotes(text) +
                                " is ambiguous, and no other date of the file tells whether the "
                                "day or the month comes first: say --day-first or --month-first, "
                                "or " +
                                ADVICE);
}

std::string plainUsageTime(std::string_view text, DateOrder order) {
    if (isMilliseconds(text)) {
        const size_t seconds = text.size() - 3;
        return std::string(text.substr(0, seconds)) + '.' + std::string(text.substr(seconds));
    }
    if (text.find('-') == 4) return std::string(text);
    const std::optional<NumericTime> time = parseNumericTime(text);
    if (!time || !time->isWhole) {
        throw InputError(inQuotes(text) + " is no time of an event that is understood: " + ADVICE);
    }
    const bool dayFirst = order == DateOrder::DAY_FIRST;
    return formatted("%04d-%02d-%02d %02d:", time->year, dayFirst ? time->second : time->first,
                     dayFirst ? time->first : time->second, time->hour) +
           time->minute;
}
