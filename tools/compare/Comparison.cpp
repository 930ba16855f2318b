#include "tools/compare/Comparison.h"

#include <algorithm>
#include <random>
#include <tuple>

namespace {

constexpr size_t MANY_TRACES = 20;
constexpr size_t DRAWS = 2000;
constexpr size_t CUT = DRAWS / 40;  // 2.5 % at either end

using Values = std::array<std::array<double, MEASURES>, METHODS.size()>;

void add(const Sums& other, Sums& to) {
    to.openings += other.openings;
    for (size_t m = 0; m < METHODS.size(); ++m) {
        for (size_t i = 0; i < MEASURES; ++i) to.values[m][i] += other.values[m][i];
    }
}

Sums sumOf(const std::vector<Sums>& parts) {
    Sums whole;
    for (const Sums& part : parts) add(part, whole);
    return whole;
}

Values meansOf(const Sums& sums) {
    Values result = sums.values;
    for (auto& measures : result) {
        for (double& value : measures) value = sums.openings > 0 ? value / sums.openings : 0;
    }
    return result;
}

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

std::vector<Values> draw(const std::vector<Sums>& units, uint64_t seed) {
    std::mt19937_64 random(seed);
    std::vector<Values> draws;
    for (size_t i = 0; i < DRAWS; ++i) {
        Sums sums;
        for (size_t k = 0; k < units.size(); ++k) add(units[random() % units.size()], sums);
        draws.push_back(meansOf(sums));
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

void addTotals(const std::array<MethodTotals, METHODS.size()>& totals, Comparison& comparison) {
    for (size_t m = 0; m < METHODS.size(); ++m) {
        comparison.totals[m].answered += totals[m].answered;
        comparison.totals[m].top1 += totals[m].top1;
        comparison.totals[m].top4 += totals[m].top4;
        comparison.totals[m].top8 += totals[m].top8;
    }
}

// By name, and by what they hold when names are equal.
template <typename Trace>
bool before(const Trace& a, const Trace& b) {
    if (a.name != b.name) return a.name < b.name;
    return std::lexicographical_compare(a.units.begin(), a.units.end(), b.units.begin(),
                                        b.units.end(), [](const Sums& x, const Sums& y) {
                                            return std::tie(x.openings, x.values) <
                                                   std::tie(y.openings, y.values);
                                        });
}

}  // namespace

ScoreSum::TraceSums ScoreSum::sumsOf(const TraceScore& score) {
    TraceSums sums{score.name, {}, dailySums(score)};
    for (size_t m = 0; m < METHODS.size(); ++m) {
        const MethodScore& method = score.methods[m];
        sums.totals[m] = {method.answered, method.top1, method.top4, method.top8};
    }
    return sums;
}

size_t ScoreSum::add(const TraceScore& score) {
    mTraces.emplace_back();
    replace(mTraces.size() - 1, score);
    // From here on traces are drawn.
    if (mTraces.size() == MANY_TRACES) {
        for (TraceSums& trace : mTraces) trace.units = {sumOf(trace.units)};
    }
    return mTraces.size() - 1;
}

void ScoreSum::replace(size_t place, const TraceScore& score) {
    TraceSums& trace = mTraces[place];
    trace = sumsOf(score);
    if (mTraces.size() >= MANY_TRACES) trace.units = {sumOf(trace.units)};
}

Comparison ScoreSum::compare(uint64_t seed) const {
    std::vector<const TraceSums*> traces;
    for (const TraceSums& trace : mTraces) traces.push_back(&trace);
    std::sort(traces.begin(), traces.end(),
              [](const TraceSums* a, const TraceSums* b) { return before(*a, *b); });
    std::vector<Sums> units;
    for (const TraceSums* trace : traces) {
        units.insert(units.end(), trace->units.begin(), trace->units.end());
    }

    Comparison comparison{};
    comparison.traces = traces.size();
    for (const TraceSums& trace : mTraces) addTotals(trace.totals, comparison);
    comparison.openings = static_cast<uint64_t>(sumOf(units).openings);
    comparison.byTrace = traces.size() >= MANY_TRACES;
    comparison.units = units.size();

    const Values whole = meansOf(sumOf(units));
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
