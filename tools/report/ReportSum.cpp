#include "tools/report/ReportSum.h"

namespace {

void add(PredictorScore& sum, const PredictorScore& score) {
    sum.opened += score.opened;
    sum.top1 += score.top1;
    sum.top4 += score.top4;
}

void add(std::vector<HitCounts>& sums, const std::vector<HitCounts>& counts) {
    if (sums.size() < counts.size()) sums.resize(counts.size());
    for (size_t i = 0; i < counts.size(); ++i) sums[i].add(counts[i]);
}

template <typename Key, typename Counts>
void add(std::map<Key, Counts>& sums, const std::map<Key, Counts>& counts) {
    for (const auto& [key, value] : counts) sums[key].add(value);
}

}  // namespace

void ReportSum::add(const TraceReport& report) {
    addScore(report.score);
    ::add(mHours, report.hours);
    ::add(mStretches, report.stretches);
    ::add(mApps, report.apps);
    ::add(mAnswers, report.days);
    ::add(mLengths, report.lengths);
    ::add(mBayes, report.bayes);
    ::add(mNetwork, report.network);
    mScores.add(report.score);
}

void ReportSum::addScore(const TraceScore& score) {
    User user{score.name, {}};
    for (const auto& [day, openings] : score.openings) {
        mDays[day].openings += openings;
        user.counts.openings += openings;
    }
    for (size_t method = 0; method < METHODS.size(); ++method) {
        const MethodScore& counts = score.methods[method];
        uint64_t listed = 0;
        for (const auto& [day, ranks] : counts.ranks) {
            for (const auto& [rank, count] : ranks) {
                addRank(method, day, rank, count, user);
                listed += count;
            }
        }
        mPlaces[method][NOT_LISTED] += counts.answered - listed;
        mPlaces[method][NO_LIST] += user.counts.openings - counts.answered;
    }
    mUsers.push_back(std::move(user));
}

void ReportSum::addRank(size_t method, const std::string& day, uint32_t rank, uint64_t count,
                        User& user) {
    mDays[day].addHits(method, rank, count);
    user.counts.addHits(method, rank, count);
    mPlaces[method][rank <= LATER ? rank - 1 : LATER] += count;
}
