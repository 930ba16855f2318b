#include "tools/compare/Comparison.h"

#include <algorithm>
#include <random>

namespace {

constexpr size_t MANY_TRACES = 20;
constexpr size_t DRAWS = 2000;
constexpr size_t CUT = DRAWS / 40;  // 2.5 % at either end

using Values = std::array<std::array<double, MEASURES>, METHODS.size()>;

// Sums over the openings of a day, of a trace or of a draw.
struct Sums {
    double openings = 0;
    Values values{};

    void add(const Sums& other) {
        openings += other.openings;
        for (size_t m = 0; m < METHODS.size(); ++m) {
            for (size_t i = 0; i < MEASURES; ++i) values[m][i] += other.values[m][i];
        }
    }

    Values means() const {
        Values result = values;
        for (auto& measures : result) {
            for (double& value : measures) value = openings > 0 ? value / openings : 0;
        }
        return result;
    }
};

void addRanks(const RankCounts& ranks, std::array<double, MEASURES>& values) {
    for (const auto& [rank, count] : ranks) {
        const auto times = static_cast<double>(count);
        if (rank <= 1) values[0] += times;
        if (rank <= 4) values[1] += times;
        if (rank <= 8) values[2] += times;
        values[3] += times / rank;
    }
}

std::vector<Sums> dailySums(const TraceScore& score) {
    std::vector<Sums> days;
    for (const auto& [day, openings] : score.openings) {
        Sums sums;
        sums.openings = static_cast<double>(openings);
        for (size_t m = 0; m < METHODS.size(); ++m) {
            const auto& ranks = score.methods[m].ranks;
            if (const auto found = ranks.find(day); found != ranks.end()) {
                addRanks(found->second, sums.values[m]);
            }
        }
        days.push_back(sums);
    }
    return days;
}

std::vector<Sums> unitsOf(const std::vector<TraceScore>& scores, bool byTrace) {
    std::vector<Sums> units;
    for (const TraceScore& score : scores) {
        const std::vector<Sums> days = dailySums(score);
        if (!byTrace) {
            units.insert(units.end(), days.begin(), days.end());
            continue;
        }
        Sums whole;
        for (const Sums& day : days) whole.add(day);
        units.push_back(whole);
    }
    return units;
}

std::vector<Values> draw(const std::vector<Sums>& units, uint64_t seed) {
    std::mt19937_64 random(seed);
    std::vector<Values> draws;
    for (size_t i = 0; i < DRAWS; ++i) {
        Sums sums;
        for (size_t k = 0; k < units.size(); ++k) sums.add(units[random() % units.size()]);
        draws.push_back(sums.means());
    }
    return draws;
}

// What `value` makes of the whole, and the middle of what it makes of the draws.
template <typename Function>
Estimate estimate(const Values& whole, const std::vector<Values>& draws, const Function& value) {
    if (draws.empty()) return {value(whole), std::nullopt};
    std::vector<double> all;
    for (const Values& drawn : draws) all.push_back(value(drawn));
    std::sort(all.begin(), all.end());
    return {value(whole), Interval{all[CUT - 1], all[DRAWS - CUT]}};
}

bool isRule(Method method) {
    return method != Method::ENGINE && method != Method::BAYES && method != Method::NETWORK;
}

Method bestRule(const Values& whole, size_t measure) {
    Method best = Method::MOST_USED;
    for (const Method method : METHODS) {
        const auto value = [&](Method m) { return whole[static_cast<size_t>(m)][measure]; };
        if (isRule(method) && value(method) > value(best)) best = method;
    }
    return best;
}

void addTotals(const TraceScore& score, Comparison& comparison) {
    for (const auto& [day, openings] : score.openings) comparison.openings += openings;
    for (size_t m = 0; m < METHODS.size(); ++m) {
        comparison.totals[m].answered += score.methods[m].answered;
        comparison.totals[m].top1 += score.methods[m].top1;
        comparison.totals[m].top4 += score.methods[m].top4;
        comparison.totals[m].top8 += score.methods[m].top8;
    }
}

// By name, and by what they hold when names are equal.
void sort(std::vector<TraceScore>& scores) {
    std::sort(scores.begin(), scores.end(), [](const TraceScore& a, const TraceScore& b) {
        if (a.name != b.name) return a.name < b.name;
        return scoreJson(a).dump(-1, ' ', false, Json::error_handler_t::replace) <
               scoreJson(b).dump(-1, ' ', false, Json::error_handler_t::replace);
    });
}

}  // namespace

Comparison compareScores(std::vector<TraceScore> scores, uint64_t seed) {
    sort(scores);
    Comparison comparison{};
    comparison.traces = scores.size();
    for (const TraceScore& score : scores) addTotals(score, comparison);
    comparison.byTrace = scores.size() >= MANY_TRACES;
    const std::vector<Sums> units = unitsOf(scores, comparison.byTrace);
    comparison.units = units.size();

    Sums sums;
    for (const Sums& unit : units) sums.add(unit);
    const Values whole = sums.means();
    const std::vector<Values> draws = units.size() > 1 ? draw(units, seed) : std::vector<Values>();
    for (size_t i = 0; i < MEASURES; ++i) {
        for (size_t m = 0; m < METHODS.size(); ++m) {
            comparison.methods[m][i] =
                estimate(whole, draws, [=](const Values& values) { return values[m][i]; });
        }
        const Method best = bestRule(whole, i);
        const auto lead = [=](const Values& values) {
            return values[static_cast<size_t>(Method::ENGINE)][i] -
                   values[static_cast<size_t>(best)][i];
        };
        comparison.rivals[i] = {best, estimate(whole, draws, lead)};
    }
    return comparison;
}
