#include "tools/trace/UsageTime.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int64_t FIRST_MILLISECONDS = 100000000000;  // smaller numbers are seconds

// Blanks that formatted times hold besides the plain one, and marks of direction.
constexpr std::string_view BLANKS[] = {"\u00a0", "\u2007", "\u2009", "\u202f", "\u200e", "\u200f"};

// What stands between the date and the time, blanks aside.
constexpr std::string_view GAPS[] = {"",    ",", ".",  "t",    "日",  "日,", "klo",
                                     "kl.", "à", "um", ", um", "г.,", "г."};

// Words for the half of the day, in lower case.
constexpr std::string_view MORNINGS[] = {"am",   "a.m.", "a. m.", "오전", "上午",
                                         "凌晨", "清晨", "早上",  "午前"};
constexpr std::string_view AFTERNOONS[] = {"pm",   "p.m.", "p. m.", "오후",
                                           "下午", "中午", "晚上",  "午後"};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::string plain(std::string_view text) {
    std::string result(text);
    for (const std::string_view blank : BLANKS) {
        for (size_t at = 0; (at = result.find(blank, at)) != std::string::npos;) {
            result.replace(at, blank.size(), " ");
        }
    }
    for (char& c : result) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return result;
}

// The numbers of a text, and what stands before each and behind the last, without blanks around.
struct Pieces {
    std::vector<std::string> numbers;
    std::vector<std::string> between;
};

Pieces piecesOf(const std::string& text) {
    Pieces pieces{{}, {""}};
    bool inNumber = false;
    for (const char c : text) {
        if (isDigit(c) != inNumber) {
            inNumber = !inNumber;
            (inNumber ? pieces.numbers : pieces.between).emplace_back();
        }
        (inNumber ? pieces.numbers : pieces.between).back() += c;
    }
    if (inNumber) pieces.between.emplace_back();
    for (std::string& piece : pieces.between) {
        const size_t begin = piece.find_first_not_of(' ');
        piece = begin == std::string::npos
                    ? ""
                    : piece.substr(begin, piece.find_last_not_of(' ') - begin + 1);
    }
    return pieces;
}

// Takes a word for the half of the day off the text: 0 or 12 hours, -1 when there is none.
int takeHalf(std::string& text) {
    const auto take = [&](std::string_view word) {
        const size_t at = text.find(word);
        if (at == std::string::npos) return false;
        text.erase(at, word.size());
        return true;
    };
    for (const std::string_view word : MORNINGS) {
        if (take(word)) return 0;
    }
    for (const std::string_view word : AFTERNOONS) {
        if (take(word)) return 12;
    }
    return -1;
}

bool isDateSeparator(const std::string& text) {
    return text == "/" || text == "." || text == "-" || text == "年" || text == "月";
}

bool isGap(const std::string& text) {
    return std::find(std::begin(GAPS), std::end(GAPS), text) != std::end(GAPS);
}

std::optional<UsageTime> parseEpoch(const std::string& digits) {
    if (digits.size() < 9 || digits.size() > 14) return std::nullopt;
    const int64_t value = std::stoll(digits);
    UsageTime time;
    time.exact = true;
    time.instant = value < FIRST_MILLISECONDS ? TraceTime(std::chrono::seconds(value))
                                              : TraceTime(std::chrono::milliseconds(value));
    return time;
}

}  // namespace

DateOrder UsageTime::tells() const {
    if (exact || orderKnown) return DateOrder::FROM_FILE;
    if (reading.day > 12 && reading.month <= 12) return DateOrder::DAY_FIRST;
    if (reading.month > 12 && reading.day <= 12) return DateOrder::MONTH_FIRST;
    return DateOrder::FROM_FILE;
}

ClockReading UsageTime::inOrder(DateOrder order) const {
    ClockReading result = reading;
    if (!orderKnown && order == DateOrder::MONTH_FIRST) std::swap(result.day, result.month);
    return result;
}

std::optional<TraceTime> UsageTime::clock(DateOrder order) const {
    if (exact) return instant;
    const ClockReading shown = inOrder(order);
    if (!exists(shown)) return std::nullopt;
    return std::chrono::seconds(utcMoment(shown));
}

std::optional<UsageTime> parseUsageTime(std::string_view text) {
    std::string line = plain(text);
    const int half = takeHalf(line);
    const Pieces pieces = piecesOf(line);
    const std::vector<std::string>& numbers = pieces.numbers;
    const std::vector<std::string>& between = pieces.between;
    if (numbers.size() == 1 && half < 0 && between[0].empty() && between[1].empty()) {
        return parseEpoch(numbers[0]);
    }
    // Fractions of a second may follow.
    if (numbers.size() < 5 || numbers.size() > 7) return std::nullopt;
    for (size_t i = 0; i < numbers.size(); ++i) {
        const bool year = i == 0 || i == 2;
        if (numbers[i].size() > (i == 6 ? 9U : year ? 4U : 2U)) return std::nullopt;
    }
    const bool wellPut = between[0].empty() && isDateSeparator(between[1]) &&
                         isDateSeparator(between[2]) && isGap(between[3]) &&
                         (between[4] == ":" || between[4] == ".") && numbers[4].size() == 2 &&
                         (numbers.size() < 6 || (between[5] == between[4])) &&
                         (numbers.size() < 7 || between[6] == ".") && between.back().empty();
    if (!wellPut) return std::nullopt;

    int values[6] = {};
    for (size_t i = 0; i < numbers.size() && i < 6; ++i) values[i] = std::stoi(numbers[i]);
    UsageTime time;
    time.reading.hour = values[3];
    time.reading.minute = values[4];
    time.reading.second = values[5];
    if (half >= 0) {
        if (values[3] > 12) return std::nullopt;
        time.reading.hour = values[3] % 12 + half;
    }
    if (numbers[0].size() == 4) {
        time.reading.year = values[0];
        time.reading.month = values[1];
        time.reading.day = values[2];
        return exists(time.reading) ? std::optional(time) : std::nullopt;
    }
    if (numbers[0].size() > 2 || numbers[2].size() == 3) return std::nullopt;
    time.reading.year = values[2] + (numbers[2].size() <= 2 ? 2000 : 0);
    time.reading.day = values[0];
    time.reading.month = values[1];
    time.orderKnown = values[0] == values[1];
    time.dotted = between[1] == ".";
    const bool either =
        exists(time.inOrder(DateOrder::DAY_FIRST)) || exists(time.inOrder(DateOrder::MONTH_FIRST));
    return either ? std::optional(time) : std::nullopt;
}
