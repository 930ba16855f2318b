#include "tools/compare/ScoreJson.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <nlohmann/json.hpp>

#include "tools/common/InputError.h"
#include "tools/common/JsonLine.h"
#include "tools/common/Text.h"
#include "tools/compare/ScoreSum.h"

namespace {

// More openings than anybody makes, and few enough to add up many traces.
constexpr uint64_t MAX_OPENINGS = 1'000'000'000'000;

// Counts by something are an object in JSON, other counts a list.

const std::string& keyText(const std::string& key) {
    return key;
}

std::string keyText(uint32_t key) {
    return std::to_string(key);
}

template <typename Counts>
Json countsJson(const Counts& counts) {
    return counts;
}

Json countsJson(const HitCounts& counts) {
    return {counts.openings, counts.hits};
}

Json countsJson(const PairedCounts& counts) {
    return {counts.counts.openings, counts.counts.hits, counts.split};
}

template <typename Key, typename Counts>
Json countsJson(const std::map<Key, Counts>& counts) {
    Json object = Json::object();
    for (const auto& [key, value] : counts) object[keyText(key)] = countsJson(value);
    return object;
}

Json countsJson(const MethodScores& methods) {
    Json object;
    for (size_t i = 0; i < METHODS.size(); ++i) {
        Json& method = object[methodKey(METHODS[i])];
        method["answered"] = methods[i].answered;
        for (const uint32_t depth : DEPTHS) {
            uint64_t hits = 0;
            for (const auto& [day, ranks] : methods[i].ranks) {
                for (const auto& [rank, count] : ranks) hits += rank <= depth ? count : 0;
            }
            method[depthKey(depth)] = hits;
        }
        method["unused"] = methods[i].unused;
        method["ranks"] = countsJson(methods[i].ranks);
    }
    return object;
}

Json scoreJson(const TraceScore& score) {
    Json object = {{"name", score.name},
                   {"charging", score.charging},
                   {"zone", score.zone},
                   {"invented", score.invented}};
    TraceScore::forEachCount(
        [&](const char* key, auto member) { object[key] = countsJson(score.*member); });
    return object;
}

// Reading takes what it can: parseScore() looks whether that was all. Members are found sooner
// where they are sorted.
using SortedJson = nlohmann::json;

void readKey(const std::string& text, std::string& key) {
    key = text;
}

void readKey(const std::string& text, uint32_t& key) {
    key = static_cast<uint32_t>(strtoul(text.c_str(), nullptr, 10));
}

template <typename Counts>
void read(const SortedJson& json, Counts& to) {
    json.get_to(to);
}

void read(const SortedJson& json, HitCounts& to) {
    json.at(0).get_to(to.openings);
    json.at(1).get_to(to.hits);
}

void read(const SortedJson& json, PairedCounts& to) {
    read(json, to.counts);
    json.at(2).get_to(to.split);
}

template <typename Key, typename Counts>
void read(const SortedJson& json, std::map<Key, Counts>& to) {
    for (const auto& [text, value] : json.items()) {
        Key key;
        readKey(text, key);
        read(value, to[key]);
    }
}

void read(const SortedJson& json, MethodScores& to) {
    for (size_t i = 0; i < METHODS.size(); ++i) {
        const SortedJson& method = json.at(methodKey(METHODS[i]));
        method.at("answered").get_to(to[i].answered);
        method.at("unused").get_to(to[i].unused);
        read(method.at("ranks"), to[i].ranks);
    }
}

TraceScore readScore(const SortedJson& json) {
    TraceScore score;
    json.at("name").get_to(score.name);
    json.at("charging").get_to(score.charging);
    json.at("zone").get_to(score.zone);
    json.at("invented").get_to(score.invented);
    TraceScore::forEachCount(
        [&](const char* key, auto member) { read(json.at(key), score.*member); });
    return score;
}

[[noreturn]] void refuse(const std::string& what) {
    throw InputError("is no score: " + what);
}

// What was read must be what would be written, whatever the order of the members.
void checkNothingElse(const SortedJson& given, const SortedJson& read) {
    if (given.dump() == read.dump()) return;
    const SortedJson changes = SortedJson::diff(read, given);
    // A number below 0 is taken for the count that has the same bits.
    const std::string place = changes.empty() ? "a number" : changes[0]["path"];
    refuse(printable(place) + " is wrong");
}

// The parts must be of the same openings.

bool isDay(const std::string& text) {
    tm date{};
    if (strptime(text.c_str(), "%Y-%m-%d", &date) == nullptr) return false;
    timegm(&date);  // makes a day that its month has not one of the next month
    return timeText(date, "%Y-%m-%d") == text;
}

uint64_t openingsOf(uint64_t count) {
    return count;
}

uint64_t openingsOf(const HitCounts& counts) {
    return counts.openings;
}

uint64_t openingsOf(const PairedCounts& counts) {
    return counts.counts.openings;
}

uint64_t openingsOf(const AnswerCounts& counts) {
    return counts[BY_BAYES] + counts[BY_NETWORK] + counts[NO_ANSWER];
}

template <typename Key, typename Counts>
uint64_t openingsOf(const std::map<Key, Counts>& counts) {
    uint64_t total = 0;
    for (const auto& [key, value] : counts) total += openingsOf(value);
    return total;
}

// How many openings it has on that day.
uint64_t openingsOn(const std::string& day, const TraceScore& score) {
    const auto found = score.openings.find(day);
    return found == score.openings.end() ? 0 : found->second;
}

bool addsUp(const MethodScore& method, const TraceScore& score) {
    for (const auto& [day, ranks] : method.ranks) {
        if (ranks.count(0) > 0 || openingsOf(ranks) > openingsOn(day, score)) return false;
    }
    // With so many names preloaded no more can drop out at an opening, of whatever kind.
    const uint64_t openings = openingsOf(score.openings);
    for (size_t i = 0; i < MOST_PRELOADED; ++i) {
        if (method.unused[i] > (i + 1) * (openings + score.repeats + 1)) return false;
    }
    return method.answered >= openingsOf(method.ranks) && method.answered <= openings;
}

// What one of two has found and the other has not is no less than what they differ by.
bool isSplit(const SplitCounts& split, const HitCounts& counts) {
    for (size_t rule = 0; rule < RULES; ++rule) {
        for (size_t depth = 0; depth < DEPTHS.size(); ++depth) {
            const auto [less, more] =
                std::minmax(counts.hits[0][depth], counts.hits[FIRST_RULE + rule][depth]);
            const uint64_t count = split[rule][depth];
            if (count < more - less || count > counts.openings) return false;
        }
    }
    return true;
}

// Those that the engine had not among its first four, by application.
bool areMissed(const TraceScore& score) {
    size_t named = 0;
    for (const auto& [app, counts] : score.apps) {
        const auto found = score.missed.find(app);
        named += found == score.missed.end() ? 0 : 1;
        const uint64_t missed = found == score.missed.end() ? 0 : openingsOf(found->second);
        if (missed + counts.hits[0][FIRST_FOUR] != counts.openings) return false;
    }
    return named == score.missed.size();
}

void check(const TraceScore& score) {
    for (const auto& [day, count] : score.openings) {
        if (!isDay(day)) refuse(inQuotes(day) + " is no day");
    }
    const uint64_t openings = openingsOf(score.openings);
    if (openings == 0 || openings > MAX_OPENINGS || score.repeats > MAX_OPENINGS) {
        refuse("no openings, or too many");
    }
    for (size_t i = 0; i < METHODS.size(); ++i) {
        if (addsUp(score.methods[i], score)) continue;
        refuse(inQuotes(methodKey(METHODS[i])) + " has more answers or ranks than openings");
    }
    bool same = openingsOf(score.hours) == openings && openingsOf(score.stretches) == openings &&
                areMissed(score);
    for (const auto& [stretch, counts] : score.stretches) {
        same = same && isSplit(counts.split, counts.counts);
    }
    const std::map<std::string, RateSums> days = sumsByDay(score);
    same = same && score.split.size() == days.size();
    for (const auto& [day, split] : score.split) {
        same = same && days.count(day) > 0 && isSplit(split, days.at(day).counts);
    }
    for (const auto& [day, counts] : score.answers) {
        same = same && openingsOf(counts) == openingsOn(day, score);
    }
    if (!same) refuse("hours, stretches, split, missed or answers are not of the same openings");
}

}  // namespace

std::string scoreLine(const TraceScore& score) {
    return jsonLine(scoreJson(score));
}

TraceScore parseScore(const std::string& line) {
    const SortedJson json = SortedJson::parse(line, nullptr, false);
    if (json.is_discarded()) throw InputError("is no JSON: " + inQuotes(line));
    try {
        TraceScore score = readScore(json);
        if (line + '\n' != scoreLine(score)) checkNothingElse(json, scoreJson(score));
        check(score);
        return score;
    } catch (const SortedJson::exception& error) {
        const std::string what = error.what();  // "[json.exception...] key 'name' not found"
        refuse(what.substr(what.find(' ') + 1));
    }
}
