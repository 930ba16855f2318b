#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include "tools/compare/Comparison.h"
#include "tools/report/TraceReport.h"

// What the page shows, added up from the reports of its traces. Memory grows with the names, the
// days and a few numbers a trace only.
class ReportSum {
  public:
    ReportSum() : mHours(HOURS_OF_WEEK) {}

    void add(const TraceReport& report);

    // The page's data; tools/report/page/data.js reads it. `charging` is the plan as it was given.
    // The seed is that of the resampling behind the intervals. REQUIRES: at least one report.
    Json pageData(const std::string& charging, uint64_t seed) const;

  private:
    // Each method's openings at rank 1 to 8, at a later one, not on the list, and without a list.
    static constexpr size_t PLACES = 11;
    static constexpr size_t LATER = 8;
    static constexpr size_t NOT_LISTED = 9;
    static constexpr size_t NO_LIST = 10;

    struct User {
        std::string name;
        HitCounts counts;
    };

    void addScore(const TraceScore& score);
    void addRank(size_t method, const std::string& day, uint32_t rank, uint64_t count, User& user);
    Json periodsJson() const;
    Json answersJson() const;
    Json learningJson() const;
    Json lengthsJson() const;
    void addApps(Json& page) const;
    Json spreadJson() const;
    Json leastFoundJson() const;

    ScoreSum mScores;
    std::vector<User> mUsers;
    std::map<std::string, HitCounts> mDays;
    std::vector<HitCounts> mHours;
    std::vector<HitCounts> mStretches;
    std::map<std::string, HitCounts> mApps;
    std::array<std::array<uint64_t, PLACES>, METHODS.size()> mPlaces{};
    std::map<std::string, AnswerCounts> mAnswers;  // by day
    std::map<uint32_t, AnswerCounts> mLengths;
    PredictorScore mBayes;
    PredictorScore mNetwork;
};
