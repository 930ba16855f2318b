#include "tools/compare/Comparison.h"

#include <algorithm>
#include <random>

namespace {

constexpr size_t DRAWS = 2000;
constexpr size_t CUT = DRAWS / 40;  // 2.5 % at either end

using Values = std::array<std::array<double, MEASURES>, METHODS.size()>;

Values meansOf(const RateSums& sums) {
    const auto openings = static_cast<double>(sums.counts.openings);
    Values result{};
    if (sums.counts.openings == 0) return result;
    for (size_t m = 0; m < METHODS.size(); ++m) {
        for (size_t depth = 0; depth < DEPTHS.size(); ++depth) {
            result[m][depth] = static_cast<double>(sums.counts.hits[m][depth]) / openings;
        }
        result[m][RECIPROCAL_RANK] = sums.reciprocalRanks[m] / openings;
    }
    return result;
}

std::vector<Values> draw(const std::vector<RateSums>& units, uint64_t seed) {
    if (units.size() < 2) return {};
    std::mt19937_64 random(seed);
    std::vector<Values> draws;
    for (size_t i = 0; i < DRAWS; ++i) {
        RateSums sums;
        for (size_t k = 0; k < units.size(); ++k) sums.add(units[random() % units.size()]);
        draws.push_back(meansOf(sums));
    }
    return draws;
}

// What `value` makes of the whole, and the middle of what it makes of the draws.
template <typename Function>
Estimate estimate(const Values& whole, const std::vector<Values>& draws, const Function& value) {
    if (draws.empty()) return {value(whole), std::nullopt};
    std::vector<double> all;
    all.reserve(draws.size());
    for (const Values& drawn : draws) all.push_back(value(drawn));
    std::sort(all.begin(), all.end());
    return {value(whole), Interval{all[CUT - 1], all[DRAWS - CUT]}};
}

Rival rivalOf(const Values& whole, const std::vector<Values>& draws, size_t measure) {
    const auto value = [=](const Values& values, Method method) {
        return values[static_cast<size_t>(method)][measure];
    };
    Method best = Method::MOST_USED;
    for (const Method method : METHODS) {
        if (isRule(method) && value(whole, method) > value(whole, best)) best = method;
    }
    return {best, estimate(whole, draws, [=](const Values& values) {
                return value(values, Method::ENGINE) - value(values, best);
            })};
}

}  // namespace

Comparison compareMethods(const ScoreSum& scores, uint64_t seed) {
    std::vector<RateSums> units;
    for (const auto& [name, parts] : scores.traces()) {
        units.insert(units.end(), parts.begin(), parts.end());
    }
    const RateSums sums = sumOf(units);
    const Values whole = meansOf(sums);
    const std::vector<Values> draws = draw(units, seed);

    Comparison comparison{};
    comparison.traces = scores.traces().size();
    comparison.byTrace = comparison.traces >= ScoreSum::MANY_TRACES;
    comparison.units = units.size();
    comparison.counts = sums.counts;
    comparison.repeats = scores.total().repeats;
    comparison.charging = scores.total().charging;
    comparison.zone = scores.total().zone;
    comparison.own = scores.total().own;
    for (size_t m = 0; m < METHODS.size(); ++m) {
        comparison.answered[m] = scores.total().methods[m].answered;
        for (size_t i = 0; i < MEASURES; ++i) {
            comparison.methods[m][i] =
                estimate(whole, draws, [=](const Values& values) { return values[m][i]; });
        }
    }
    for (size_t i = 0; i < MEASURES; ++i) comparison.rivals[i] = rivalOf(whole, draws, i);
    return comparison;
}
