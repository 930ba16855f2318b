#include "tools/report/PageData.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/common/JsonLine.h"
#include "tools/compare/Comparison.h"
#include "tools/report/Periods.h"

namespace {

constexpr size_t NAMED_TRACES = 5;
constexpr size_t MOST_APPS = 30;
constexpr size_t MOST_MISSED = 15;       // applications
constexpr size_t MOST_PERIODS = 31;      // with a dot each
constexpr size_t MOST_COLUMNS = 92;      // of answers
constexpr uint64_t FEWEST_JUDGED = 300;  // openings, for a verdict
constexpr size_t LEAST_FOUND = 30;       // users
constexpr size_t SPREAD_BIN = 2;         // percent
constexpr size_t SPREAD_BINS = 100 / SPREAD_BIN;

// A row of a chart's table: what it is about, and its counts.

Json rowJson(Json row, const HitCounts& counts) {
    row["openings"] = counts.openings;
    row["hits"] = counts.hits;
    return row;
}

Json rowJson(Json row, const PairedCounts& counts) {
    row["split"] = counts.split;
    return rowJson(std::move(row), counts.counts);
}

Json rowJson(Json row, const AnswerCounts& counts) {
    row["bayes"] = counts[BY_BAYES];
    row["network"] = counts[BY_NETWORK];
    row["none"] = counts[NO_ANSWER];
    row["trainings"] = counts[TRAININGS];
    return row;
}

Json ownJson(const std::array<uint64_t, 3>& counts) {
    return {{"opened", counts[0]}, {"top1", counts[1]}, {"top4", counts[2]}};
}

std::string fileName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

// The value below which this share of the sorted values lies.
double quantile(const std::vector<double>& sorted, double share) {
    const double place = share * static_cast<double>(sorted.size() - 1);
    const auto below = static_cast<size_t>(place);
    const size_t above = std::min(below + 1, sorted.size() - 1);
    return sorted[below] + (place - static_cast<double>(below)) * (sorted[above] - sorted[below]);
}

Json methodsJson(const Comparison& comparison) {
    Json methods;
    for (size_t i = 0; i < METHODS.size(); ++i) {
        const Estimates& estimates = comparison.methods[i];
        Json method = {
            {"key", methodKey(METHODS[i])},      {"name", methodName(METHODS[i])},
            {"isRule", isRule(METHODS[i])},      {"answered", comparison.answered[i]},
            {"hits", comparison.counts.hits[i]}, {"mrr", estimates[RECIPROCAL_RANK].value}};
        for (size_t depth = 0; depth < DEPTHS.size(); ++depth) {
            if (!estimates[depth].interval) continue;
            method["low"].push_back(100 * estimates[depth].interval->low);
            method["high"].push_back(100 * estimates[depth].interval->high);
        }
        methods.push_back(std::move(method));
    }
    return methods;
}

// The best simple rule at each depth, and how many points the engine is ahead of it.
Json rivalsJson(const Comparison& comparison) {
    Json rivals;
    for (size_t depth = 0; depth < DEPTHS.size(); ++depth) {
        const auto& [rule, lead] = comparison.rivals[depth];
        Json rival = {{"method", rule}, {"lead", 100 * lead.value}};
        if (lead.interval) {
            rival["low"] = 100 * lead.interval->low;
            rival["high"] = 100 * lead.interval->high;
        }
        rivals.push_back(std::move(rival));
    }
    return rivals;
}

template <typename Counts>
Json periodsJson(const std::map<std::string, Counts>& days, size_t most) {
    const Period period = periodFor(days.begin()->first, days.rbegin()->first, most);
    Json rows;
    for (const auto& [start, counts] : byPeriod(days, period)) {
        rows.push_back(rowJson({{"start", start}, {"end", nextPeriod(start, period)}}, counts));
    }
    return {{"unit", periodName(period)}, {"rows", std::move(rows)}};
}

// Of the day, all weekdays together.
Json hoursJson(const std::map<uint32_t, HitCounts>& hours) {
    std::array<HitCounts, 24> ofDay;
    for (const auto& [hour, counts] : hours) addCounts(ofDay[hour % 24], counts);
    Json rows;
    for (size_t hour = 0; hour < ofDay.size(); ++hour) {
        rows.push_back(rowJson({{"hour", hour}}, ofDay[hour]));
    }
    return rows;
}

Json learningJson(std::map<uint32_t, PairedCounts> stretches, uint64_t longest) {
    // A last one that has hardly begun says nothing by itself.
    while (stretches.size() > 1) {
        const auto last = std::prev(stretches.end());
        PairedCounts& before = std::prev(last)->second;
        if (10 * last->second.counts.openings >= before.counts.openings) break;
        addCounts(before, last->second);
        stretches.erase(last);
    }
    Json rows;
    for (const auto& [stretch, counts] : stretches) {
        const uint64_t from = stretch == 0 ? 1 : lastOfStretch(stretch - 1) + 1;
        const bool isLast = stretch == stretches.rbegin()->first;
        const uint64_t to = isLast ? longest : lastOfStretch(stretch);
        rows.push_back(rowJson({{"from", from}, {"to", to}}, counts));
    }
    return rows;
}

// Of each method, by how many names are preloaded: the openings caught, and the preloads that were
// never used.
Json placesJson(const TraceScore& total) {
    Json rows;
    for (const MethodScore& method : total.methods) {
        PlaceCounts caught{};
        for (const auto& [day, ranks] : method.ranks) {
            for (const auto& [rank, count] : ranks) {
                for (size_t i = rank - 1; i < MOST_PRELOADED; ++i) caught[i] += count;
            }
        }
        rows.push_back({{"caught", caught}, {"unused", method.unused}});
    }
    return rows;
}

// The applications that the engine missed most often, and what stood first on its list instead.
Json missedJson(const TraceScore& total) {
    struct Missed {
        std::string name;
        uint64_t count = 0;
        uint64_t noList = 0;
        std::pair<std::string, uint64_t> first = {};  // the most frequent
    };
    std::vector<Missed> apps;
    for (const auto& [name, firsts] : total.missed) {
        Missed app{name};
        for (const auto& [first, count] : firsts) {
            app.count += count;
            if (first.empty()) {
                app.noList = count;
            } else if (count > app.first.second) {
                app.first = {first, count};
            }
        }
        apps.push_back(std::move(app));
    }
    std::stable_sort(apps.begin(), apps.end(),
                     [](const Missed& a, const Missed& b) { return a.count > b.count; });
    apps.resize(std::min(apps.size(), MOST_MISSED));
    Json rows = Json::array();
    for (const Missed& app : apps) {
        rows.push_back({{"name", app.name},
                        {"openings", total.apps.at(app.name).openings},
                        {"missed", app.count},
                        {"noList", app.noList},
                        {"first", app.first.first},
                        {"firstCount", app.first.second}});
    }
    return rows;
}

// The most opened ones, and all others in one row.
void addApps(const TraceScore& total, uint64_t openings, Json& page) {
    std::vector<std::pair<std::string, HitCounts>> apps(total.apps.begin(), total.apps.end());
    std::stable_sort(apps.begin(), apps.end(), [](const auto& a, const auto& b) {
        return a.second.openings > b.second.openings;
    });
    const size_t shown = std::min(apps.size(), MOST_APPS);
    page["apps"] = Json::array();
    for (size_t i = 0; i < shown; ++i) {
        page["apps"].push_back(rowJson({{"name", apps[i].first}}, apps[i].second));
    }
    HitCounts others;
    for (size_t i = shown; i < apps.size(); ++i) addCounts(others, apps[i].second);
    page["openings"] = openings;
    page["appCount"] = apps.size();
    page["otherApps"] = rowJson({{"count", apps.size() - shown}}, others);
}

// One person's openings.
struct User {
    std::string name;
    HitCounts counts;

    double rate(size_t method, size_t depth) const {
        return static_cast<double>(counts.hits[method][depth]) /
               static_cast<double>(counts.openings);
    }
};

Json spreadJson(const std::vector<User>& users) {
    Json methods;
    for (size_t method = 0; method < METHODS.size(); ++method) {
        std::array<std::array<uint64_t, DEPTHS.size()>, SPREAD_BINS> counts{};
        Json quartiles;
        for (size_t depth = 0; depth < DEPTHS.size(); ++depth) {
            std::vector<double> rates;
            for (const User& user : users) rates.push_back(100 * user.rate(method, depth));
            for (const double rate : rates) {
                ++counts[std::min(SPREAD_BINS - 1, static_cast<size_t>(rate) / SPREAD_BIN)][depth];
            }
            std::sort(rates.begin(), rates.end());
            Json& five = quartiles.emplace_back();
            for (const double share : {0.0, 0.25, 0.5, 0.75, 1.0}) {
                five.push_back(quantile(rates, share));
            }
        }
        Json bins;
        for (size_t bin = 0; bin < SPREAD_BINS; ++bin) {
            bins.push_back({{"from", bin * SPREAD_BIN}, {"users", counts[bin]}});
        }
        methods.push_back({{"method", method}, {"bins", bins}, {"quartiles", quartiles}});
    }
    return methods;
}

Json leastFoundJson(std::vector<User> users) {
    std::stable_sort(users.begin(), users.end(), [](const User& a, const User& b) {
        return a.rate(0, FIRST_FOUR) < b.rate(0, FIRST_FOUR);
    });
    users.resize(std::min(users.size(), LEAST_FOUND));
    Json rows;
    for (const User& user : users) {
        rows.push_back(rowJson({{"name", fileName(user.name)}}, user.counts));
    }
    return rows;
}

}  // namespace

std::string pageData(const ScoreSum& scores, uint64_t seed, const std::string& command) {
    const TraceScore& total = scores.total();
    const Comparison comparison = compareMethods(scores, seed);
    const uint64_t openings = comparison.counts.openings;
    std::vector<User> users;
    uint64_t longest = 0;
    for (const auto& [name, units] : scores.traces()) {
        users.push_back({name, sumOf(units).counts});
        longest = std::max(longest, users.back().counts.openings);
    }
    std::map<std::string, PairedCounts> days;
    for (const auto& [day, sums] : sumsByDay(total)) {
        days[day] = {sums.counts, total.split.at(day)};
    }

    Json page;
    page["program"] = KSBRAIN_VERSION;
    page["command"] = command;
    page["traceCount"] = users.size();
    for (size_t i = 0; i < std::min(users.size(), NAMED_TRACES); ++i) {
        page["traces"].push_back(fileName(users[i].name));
    }
    page["charging"] = total.charging;
    page["zone"] = total.zone;
    page["invented"] = total.invented;
    page["days"] = scores.days();
    page["fewest"] = FEWEST_JUDGED;
    page["repeats"] = total.repeats;
    page["from"] = total.openings.begin()->first;
    page["to"] = total.openings.rbegin()->first;
    page["depths"] = DEPTHS;
    page["methods"] = methodsJson(comparison);
    page["rivals"] = rivalsJson(comparison);
    page["own"] = {{"bayes", ownJson(total.own[BY_BAYES])},
                   {"network", ownJson(total.own[BY_NETWORK])}};
    page["periods"] = periodsJson(days, MOST_PERIODS);
    page["answers"] = periodsJson(total.answers, MOST_COLUMNS);
    if (!total.invented) page["hours"] = hoursJson(total.hours);
    page["learning"] = learningJson(total.stretches, longest);
    page["places"] = placesJson(total);
    page["missed"] = missedJson(total);
    addApps(total, openings, page);
    if (users.size() > 1) {
        page["spreadBin"] = SPREAD_BIN;
        page["spread"] = spreadJson(users);
        page["leastFound"] = leastFoundJson(users);
    }
    return page.dump(-1, ' ', true, Json::error_handler_t::replace);
}
