#include <charconv>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"
#include "tools/compare/TraceScore.h"
#include "tools/trace/LocalTime.h"

// scoreJson() and parseScore().

namespace {

// More openings than anybody makes, and few enough to add up many traces.
constexpr uint64_t MAX_COUNT = 1'000'000'000'000;

const Json& member(const Json& object, const char* key, const std::string& place) {
    if (!object.is_object()) throw InputError(place + " is no object");
    const auto found = object.find(key);
    if (found == object.end()) throw InputError(place + " has no " + inQuotes(key));
    return *found;
}

const Json& objectMember(const Json& object, const char* key, const std::string& place) {
    const Json& value = member(object, key, place);
    if (!value.is_object()) throw InputError(inQuotes(key) + " of " + place + " is no object");
    return value;
}

uint64_t count(const Json& value, const std::string& what) {
    // A literal that is not negative is held as unsigned.
    if (!value.is_number_unsigned() || value.get<uint64_t>() > MAX_COUNT) {
        throw InputError(what + " is no whole number from 0 to a million millions");
    }
    return value.get<uint64_t>();
}

uint64_t countMember(const Json& object, const char* key, const std::string& place) {
    return count(member(object, key, place), inQuotes(key) + " of " + place);
}

bool isDay(const std::string& text) {
    if (text.size() != 10 || text[4] != '-' || text[7] != '-') return false;
    ClockReading reading;
    const auto number = [&](size_t begin, size_t end, int& value) {
        const char* const last = text.data() + end;
        const auto result = std::from_chars(text.data() + begin, last, value);
        return result.ec == std::errc() && result.ptr == last && text[begin] != '-';
    };
    return number(0, 4, reading.year) && number(5, 7, reading.month) &&
           number(8, 10, reading.day) && exists(reading);
}

uint32_t parseRank(const std::string& text, const std::string& place) {
    uint32_t rank = 0;
    const char* const last = text.data() + text.size();
    const auto result = std::from_chars(text.data(), last, rank);
    if (result.ec != std::errc() || result.ptr != last || rank == 0 || text[0] == '0') {
        throw InputError(place + " has " + inQuotes(text) + " where a rank should stand");
    }
    return rank;
}

uint64_t sum(const RankCounts& counts) {
    uint64_t total = 0;
    for (const auto& [rank, times] : counts) total += times;
    return total;
}

RankCounts parseRanks(const Json& object, uint64_t openings, const std::string& place) {
    if (!object.is_object()) throw InputError(place + " is no object");
    RankCounts counts;
    for (const auto& [text, value] : object.items()) {
        const uint32_t rank = parseRank(text, place);
        counts[rank] = count(value, "the count at rank " + text + " of " + place);
        if (counts[rank] > openings)
            throw InputError(place + " holds more than the day's openings");
    }
    if (sum(counts) > openings) throw InputError(place + " holds more than the day's openings");
    return counts;
}

void checkTotal(uint64_t total, uint32_t ranks, const MethodScore& score, const char* key,
                const std::string& place) {
    uint64_t expected = 0;
    for (const auto& [day, counts] : score.ranks) {
        for (const auto& [rank, times] : counts) expected += rank <= ranks ? times : 0;
    }
    if (total == expected) return;
    throw InputError(inQuotes(key) + " of " + place + " is " + std::to_string(total) +
                     ", but its ranks hold " + std::to_string(expected));
}

MethodScore parseMethod(const Json& object, const TraceScore& trace, const std::string& place) {
    MethodScore score;
    score.answered = countMember(object, "answered", place);
    score.top1 = countMember(object, "top1", place);
    score.top4 = countMember(object, "top4", place);
    score.top8 = countMember(object, "top8", place);
    uint64_t ranked = 0;
    for (const auto& [day, counts] : objectMember(object, "ranks", place).items()) {
        const auto openings = trace.openings.find(day);
        if (openings == trace.openings.end()) {
            throw InputError(place + " has ranks on " + inQuotes(day) + ", a day without openings");
        }
        RankCounts& ranks = score.ranks[day];
        ranks = parseRanks(counts, openings->second, place + " on " + day);
        ranked += sum(ranks);
    }
    checkTotal(score.top1, 1, score, "top1", place);
    checkTotal(score.top4, 4, score, "top4", place);
    checkTotal(score.top8, 8, score, "top8", place);
    uint64_t openings = 0;
    for (const auto& [day, number] : trace.openings) openings += number;
    if (score.answered < ranked || score.answered > openings) {
        throw InputError("\"answered\" of " + place + " is " + std::to_string(score.answered) +
                         ", with " + std::to_string(openings) + " openings, " +
                         std::to_string(ranked) + " of them on its list");
    }
    return score;
}

Json methodJson(const MethodScore& score) {
    Json ranks = Json::object();
    for (const auto& [day, counts] : score.ranks) {
        Json histogram = Json::object();
        for (const auto& [rank, times] : counts) histogram[std::to_string(rank)] = times;
        ranks[day] = std::move(histogram);
    }
    return {{"answered", score.answered},
            {"top1", score.top1},
            {"top4", score.top4},
            {"top8", score.top8},
            {"ranks", std::move(ranks)}};
}

}  // namespace

Json scoreJson(const TraceScore& score) {
    Json openings = Json::object();
    for (const auto& [day, number] : score.openings) openings[day] = number;
    Json methods = Json::object();
    for (const Method method : METHODS) {
        methods[methodKey(method)] = methodJson(score.methods[static_cast<size_t>(method)]);
    }
    return {
        {"name", score.name}, {"openings", std::move(openings)}, {"methods", std::move(methods)}};
}

TraceScore parseScore(const Json& object) {
    TraceScore score;
    const Json& name = member(object, "name", "the score");
    if (!name.is_string()) throw InputError("\"name\" of the score is no text");
    score.name = name.get<std::string>();
    for (const auto& [day, number] : objectMember(object, "openings", "the score").items()) {
        if (!isDay(day)) throw InputError(inQuotes(day) + " is no day like 2026-03-01");
        score.openings[day] = count(number, "the openings on " + day);
    }
    if (score.openings.empty()) throw InputError("the score has no openings");
    const Json& methods = objectMember(object, "methods", "the score");
    for (const Method method : METHODS) {
        const char* const key = methodKey(method);
        score.methods[static_cast<size_t>(method)] =
            parseMethod(member(methods, key, "\"methods\""), score, inQuotes(key));
    }
    return score;
}
