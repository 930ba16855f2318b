#include "tools/trace/TraceTime.h"

#include <optional>
#include <string>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"
#include "tools/trace/LocalTime.h"

namespace {

constexpr TraceTime LATEST = std::chrono::seconds(4102444800);  // 2100-01-01T00:00:00Z, excluded

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Reads a text from left to right; what does not fit is left where it stands.
class Scanner {
  public:
    explicit Scanner(std::string_view text) : mRest(text) {}

    bool atEnd() const { return mRest.empty(); }

    bool skip(char c) {
        if (mRest.empty() || mRest[0] != c) return false;
        mRest.remove_prefix(1);
        return true;
    }

    // Exactly `digits` digits.
    std::optional<int> number(size_t digits) {
        if (mRest.size() < digits) return std::nullopt;
        int value = 0;
        for (const char c : mRest.substr(0, digits)) {
            if (!isDigit(c)) return std::nullopt;
            value = value * 10 + (c - '0');
        }
        mRest.remove_prefix(digits);
        return value;
    }

    // Digits, as many as follow but at least one and at most `most`.
    std::string_view digits(size_t most) {
        size_t length = 0;
        while (length < mRest.size() && length <= most && isDigit(mRest[length])) ++length;
        if (length > most) return {};
        const std::string_view result = mRest.substr(0, length);
        mRest.remove_prefix(length);
        return result;
    }

    // The digits behind a decimal point, if there is one: 0 without, nothing when none follow it.
    std::optional<TraceTime> fraction() {
        if (!skip('.')) return TraceTime(0);
        const std::string_view found = digits(mRest.size());
        if (found.empty()) return std::nullopt;
        std::string micros(found.substr(0, 6));
        micros.resize(6, '0');
        return TraceTime(std::stol(micros));
    }

  private:
    std::string_view mRest;
};

[[noreturn]] void refuse(std::string_view text) {
    throw InputError(inQuotes(text) +
                     " is no time: expected seconds since the epoch or 2024-03-01T08:05:09");
}

TraceTime inRange(std::string_view text, TraceTime time) {
    if (time < TraceTime(0) || time >= LATEST) {
        throw InputError(inQuotes(text) + " lies outside the years 1970 to 2099");
    }
    return time;
}

std::optional<TraceTime> parseSeconds(std::string_view text) {
    Scanner scanner(text);
    const std::string_view whole = scanner.digits(18);
    if (whole.empty()) return std::nullopt;
    const std::optional<TraceTime> fraction = scanner.fraction();
    if (!fraction || !scanner.atEnd()) return std::nullopt;
    const std::chrono::seconds seconds(std::stol(std::string(whole)));
    // Beyond the range anyway; as microseconds it might not fit.
    if (seconds >= LATEST) return LATEST;
    return seconds + *fraction;
}

// Seconds ahead of UTC, or nothing when no zone follows.
std::optional<int> parseZone(Scanner& scanner, std::string_view text) {
    if (scanner.atEnd()) return std::nullopt;
    if (scanner.skip('Z')) return 0;
    const bool ahead = scanner.skip('+');
    if (!ahead && !scanner.skip('-')) refuse(text);
    const std::optional<int> hours = scanner.number(2);
    std::optional<int> minutes = 0;
    if (!scanner.atEnd()) {
        scanner.skip(':');
        minutes = scanner.number(2);
    }
    if (!hours || !minutes || *hours > 23 || *minutes > 59) refuse(text);
    const int offset = (*hours * 60 + *minutes) * 60;
    return ahead ? offset : -offset;
}

ClockReading parseReading(Scanner& scanner, std::string_view text) {
    const std::optional<int> year = scanner.number(4);
    const bool date = year && scanner.skip('-');
    const std::optional<int> month = date ? scanner.number(2) : std::nullopt;
    const bool days = month && scanner.skip('-');
    const std::optional<int> day = days ? scanner.number(2) : std::nullopt;
    const bool clock = day && (scanner.skip('T') || scanner.skip(' '));
    const std::optional<int> hour = clock ? scanner.number(2) : std::nullopt;
    const bool minutes = hour && scanner.skip(':');
    const std::optional<int> minute = minutes ? scanner.number(2) : std::nullopt;
    if (!minute) refuse(text);
    std::optional<int> second = 0;
    if (scanner.skip(':')) second = scanner.number(2);
    if (!second) refuse(text);
    return {*year, *month, *day, *hour, *minute, *second};
}

}  // namespace

TraceTime parseTraceTime(std::string_view text, TraceTime notBefore) {
    if (const std::optional<TraceTime> seconds = parseSeconds(text)) return inRange(text, *seconds);

    Scanner scanner(text);
    const ClockReading reading = parseReading(scanner, text);
    const std::optional<TraceTime> fraction = scanner.fraction();
    if (!fraction) refuse(text);
    const std::optional<int> zone = parseZone(scanner, text);
    if (!scanner.atEnd()) refuse(text);
    if (!exists(reading)) throw InputError("there is no " + inQuotes(text));

    const auto exact = [&](time_t moment) {
        return inRange(text, std::chrono::seconds(moment) + *fraction);
    };
    if (zone) return exact(utcMoment(reading) - *zone);
    const std::vector<time_t> moments = localMoments(reading);
    if (moments.empty()) {
        throw InputError("there is no " + inQuotes(text) + " here: the clocks skip it");
    }
    const TraceTime first = exact(moments.front());
    return first < notBefore ? exact(moments.back()) : first;
}
