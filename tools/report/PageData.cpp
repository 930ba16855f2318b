// ReportSum::pageData(): shapes the sums into what each chart shows.

#include <algorithm>
#include <set>

#include "tools/compare/Comparison.h"
#include "tools/report/Periods.h"
#include "tools/report/ReportSum.h"
#include "tools/report/Stretch.h"

namespace {

constexpr size_t NAMED_TRACES = 5;
constexpr size_t MOST_APPS = 50;
constexpr size_t MOST_PERIODS = 31;  // with a dot for each method
constexpr size_t MOST_COLUMNS = 92;  // of answers
constexpr uint32_t MOST_LENGTHS = 64;
constexpr size_t LEAST_FOUND = 30;  // users
constexpr size_t SPREAD_BIN = 2;    // percent
constexpr size_t SPREAD_BINS = 100 / SPREAD_BIN;
constexpr size_t FIRST_FOUR = 1;  // of DEPTHS

Json rowJson(const HitCounts& counts) {
    return {{"openings", counts.openings}, {"hits", counts.hits}};
}

Json answerJson(const AnswerCounts& counts) {
    return {{"bayes", counts.bayes}, {"network", counts.network}, {"none", counts.none}};
}

Json predictorJson(const PredictorScore& score) {
    return {{"opened", score.opened}, {"top1", score.top1}, {"top4", score.top4}};
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
        const MethodTotals& total = comparison.totals[i];
        const Estimates& estimates = comparison.methods[i];
        Json method = {{"key", methodKey(METHODS[i])},
                       {"name", methodName(METHODS[i])},
                       {"answered", total.answered},
                       {"hits", {total.top1, total.top4, total.top8}},
                       {"mrr", estimates[static_cast<size_t>(Measure::RECIPROCAL_RANK)].value}};
        for (size_t depth = 0; depth < DEPTHS.size(); ++depth) {
            if (!estimates[depth].interval) continue;
            method["low"].push_back(100 * estimates[depth].interval->low);
            method["high"].push_back(100 * estimates[depth].interval->high);
        }
        methods.push_back(std::move(method));
    }
    return methods;
}

// Of the best simple rule at each depth: how many points the engine is ahead of it.
Json rivalsJson(const Comparison& comparison) {
    Json rivals;
    for (size_t depth = 0; depth < DEPTHS.size(); ++depth) {
        const Estimate& lead = comparison.rivals[depth].lead;
        Json rival = {{"lead", 100 * lead.value}};
        if (lead.interval) {
            rival["low"] = 100 * lead.interval->low;
            rival["high"] = 100 * lead.interval->high;
        }
        rivals.push_back(std::move(rival));
    }
    return rivals;
}

}  // namespace

Json ReportSum::pageData(const std::string& charging, uint64_t seed) const {
    Json page;
    page["program"] = KSBRAIN_VERSION;
    page["traceCount"] = mUsers.size();
    for (size_t i = 0; i < std::min(mUsers.size(), NAMED_TRACES); ++i) {
        page["traces"].push_back(fileName(mUsers[i].name));
    }
    page["charging"] = charging;
    page["from"] = mDays.begin()->first;
    page["to"] = mDays.rbegin()->first;
    page["depths"] = DEPTHS;
    const Comparison comparison = mScores.compare(seed);
    page["methods"] = methodsJson(comparison);
    page["rivals"] = rivalsJson(comparison);
    page["own"] = {{"bayes", predictorJson(mBayes)}, {"network", predictorJson(mNetwork)}};
    page["periods"] = periodsJson();
    page["answers"] = answersJson();
    for (size_t hour = 0; hour < HOURS_OF_WEEK; ++hour)
        page["hours"].push_back(rowJson(mHours[hour]));
    page["learning"] = learningJson();
    page["ranks"] = mPlaces;
    page["lengths"] = lengthsJson();
    addApps(page);
    if (mUsers.size() > 1) {
        page["spreadBin"] = SPREAD_BIN;
        page["spread"] = spreadJson();
        page["leastFound"] = leastFoundJson();
    }
    return page;
}

Json ReportSum::periodsJson() const {
    const Period period = periodFor(mDays.begin()->first, mDays.rbegin()->first, MOST_PERIODS);
    Json rows;
    for (const auto& [start, counts] : byPeriod(mDays, period)) {
        rows.push_back(rowJson(counts));
        rows.back()["start"] = start;
    }
    return {{"unit", periodName(period)}, {"rows", std::move(rows)}};
}

Json ReportSum::answersJson() const {
    const Period period = periodFor(mDays.begin()->first, mDays.rbegin()->first, MOST_COLUMNS);
    Json rows;
    for (const auto& [start, counts] : byPeriod(mAnswers, period)) {
        rows.push_back(answerJson(counts));
        rows.back()["start"] = start;
        rows.back()["trainings"] = counts.trainings;
    }
    return {{"unit", periodName(period)}, {"rows", std::move(rows)}};
}

Json ReportSum::learningJson() const {
    uint64_t longest = 0;
    for (const User& user : mUsers) longest = std::max(longest, user.counts.openings);
    // A last one that has hardly begun says nothing by itself.
    std::vector<HitCounts> stretches = mStretches;
    while (stretches.size() > 1 &&
           10 * stretches.back().openings < stretches[stretches.size() - 2].openings) {
        stretches[stretches.size() - 2].add(stretches.back());
        stretches.pop_back();
    }
    Json rows;
    for (size_t i = 0; i < stretches.size(); ++i) {
        Json row = rowJson(stretches[i]);
        row["from"] = i == 0 ? 1 : lastOfStretch(i - 1) + 1;
        row["to"] = i + 1 == stretches.size() ? longest : lastOfStretch(i);
        rows.push_back(std::move(row));
    }
    return rows;
}

// Lists of no name for themselves, the others in columns of equal width.
Json ReportSum::lengthsJson() const {
    const uint32_t width = mLengths.rbegin()->first / MOST_LENGTHS + 1;
    std::map<uint32_t, AnswerCounts> columns;  // by the shortest length
    for (const auto& [length, counts] : mLengths) {
        columns[length == 0 ? 0 : (length - 1) / width * width + 1].add(counts);
    }
    Json rows;
    for (const auto& [from, counts] : columns) {
        rows.push_back(answerJson(counts));
        rows.back()["from"] = from;
        rows.back()["to"] = from == 0 ? 0 : from + width - 1;
    }
    return rows;
}

// The most opened ones, and all others in one row.
void ReportSum::addApps(Json& page) const {
    using App = std::pair<const std::string, HitCounts>;
    std::vector<const App*> apps;
    for (const App& app : mApps) apps.push_back(&app);
    std::stable_sort(apps.begin(), apps.end(), [](const App* a, const App* b) {
        return a->second.openings > b->second.openings;
    });
    HitCounts all;
    HitCounts others;
    for (size_t i = 0; i < apps.size(); ++i) {
        all.add(apps[i]->second);
        if (i >= MOST_APPS) {
            others.add(apps[i]->second);
            continue;
        }
        page["apps"].push_back(rowJson(apps[i]->second));
        page["apps"].back()["name"] = apps[i]->first;
    }
    page["openings"] = all.openings;
    page["appCount"] = apps.size();
    page["otherApps"] = rowJson(others);
    page["otherApps"]["count"] = apps.size() - std::min(apps.size(), MOST_APPS);
}

Json ReportSum::spreadJson() const {
    Json methods;
    for (size_t method = 0; method < METHODS.size(); ++method) {
        std::array<std::array<uint64_t, DEPTHS.size()>, SPREAD_BINS> users{};
        Json quartiles;
        for (size_t depth = 0; depth < DEPTHS.size(); ++depth) {
            std::vector<double> rates;
            for (const User& user : mUsers) rates.push_back(100 * user.counts.rate(method, depth));
            for (const double rate : rates) {
                ++users[std::min(SPREAD_BINS - 1, static_cast<size_t>(rate) / SPREAD_BIN)][depth];
            }
            std::sort(rates.begin(), rates.end());
            Json& five = quartiles.emplace_back();
            for (const double share : {0.0, 0.25, 0.5, 0.75, 1.0}) {
                five.push_back(quantile(rates, share));
            }
        }
        Json bins = Json::array();
        for (size_t bin = 0; bin < SPREAD_BINS; ++bin) {
            bins.push_back({{"from", bin * SPREAD_BIN}, {"users", users[bin]}});
        }
        methods.push_back({{"method", method}, {"bins", bins}, {"quartiles", quartiles}});
    }
    return methods;
}

Json ReportSum::leastFoundJson() const {
    std::vector<const User*> users;
    for (const User& user : mUsers) users.push_back(&user);
    std::stable_sort(users.begin(), users.end(), [](const User* a, const User* b) {
        return a->counts.rate(0, FIRST_FOUR) < b->counts.rate(0, FIRST_FOUR);
    });
    Json rows;
    for (size_t i = 0; i < std::min(users.size(), LEAST_FOUND); ++i) {
        rows.push_back(rowJson(users[i]->counts));
        rows.back()["name"] = fileName(users[i]->name);
    }
    return rows;
}
