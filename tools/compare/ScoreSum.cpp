#include "tools/compare/ScoreSum.h"

void RateSums::add(const RateSums& other) {
    addCounts(counts, other.counts);
    for (size_t i = 0; i < METHODS.size(); ++i) reciprocalRanks[i] += other.reciprocalRanks[i];
}

RateSums sumOf(const std::vector<RateSums>& parts) {
    RateSums whole;
    for (const RateSums& part : parts) whole.add(part);
    return whole;
}

std::map<std::string, RateSums> sumsByDay(const TraceScore& score) {
    std::map<std::string, RateSums> days;
    for (const auto& [day, openings] : score.openings) days[day].counts.openings = openings;
    for (size_t method = 0; method < METHODS.size(); ++method) {
        for (const auto& [day, ranks] : score.methods[method].ranks) {
            RateSums& sums = days[day];
            for (const auto& [rank, count] : ranks) {
                sums.counts.addHits(method, rank, count);
                sums.reciprocalRanks[method] += static_cast<double>(count) / rank;
            }
        }
    }
    return days;
}

void ScoreSum::add(const TraceScore& score) {
    if (mTraces.empty()) {
        mTotal.charging = score.charging;
        mTotal.zone = score.zone;
    }
    mTotal.add(score);
    mDays += score.openings.size();
    std::vector<RateSums>& units = mTraces[score.name];
    for (const auto& [day, sums] : sumsByDay(score)) units.push_back(sums);
    if (mTraces.size() > MANY_TRACES) {
        units = {sumOf(units)};
    } else if (mTraces.size() == MANY_TRACES) {
        for (auto& [name, days] : mTraces) days = {sumOf(days)};
    }
}
