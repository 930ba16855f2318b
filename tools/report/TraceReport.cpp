#include "tools/report/TraceReport.h"

#include <ctime>

#include "tools/report/Stretch.h"

namespace {

// By the clock on the wall, from 0 for Monday 00:00.
size_t hourOfWeek(time_t moment) {
    struct tm local {};
    localtime_r(&moment, &local);
    return static_cast<size_t>((local.tm_wday + 6) % 7 * 24 + local.tm_hour);
}

// Lays the counts of a trace out and fills them method by method.
class ReportBuilder {
  public:
    explicit ReportBuilder(const NamedTrace& trace) : mTrace(trace.trace) {
        mReport.score.name = trace.name;
        mReport.hours.resize(HOURS_OF_WEEK);
        mReport.stretches.resize(stretchOf(mTrace.size()) + 1);
        mRows.reserve(mTrace.size());
        for (size_t row = 0; row < mTrace.size(); ++row) {
            const time_t moment = wholeSeconds(mTrace.time(row));
            const auto day = mReport.score.openings.try_emplace(localDay(moment)).first;
            ++day->second;
            mRows.push_back(
                {&day->first,
                 {&mReport.hours[hourOfWeek(moment)], &mReport.stretches[stretchOf(row + 1)],
                  &mReport.apps[mTrace.name(row)]}});
            for (HitCounts* const counts : mRows.back().counts) ++counts->openings;
        }
    }

    bool run(size_t method, const ChargingPlan& plan, const std::function<bool()>& stopped) {
        const auto listener = [&](size_t row, const Guess& guess) {
            count(method, row, guess);
            return !stopped();
        };
        if (METHODS[method] != Method::ENGINE) {
            return runMethod(METHODS[method], mTrace, plan, listener);
        }
        const std::optional<ReplayResult> result = runEngine(
            mTrace, plan,
            [&](size_t row, const Guess& guess) {
                countAnswer(row, guess);
                return listener(row, guess);
            },
            [&](size_t row) { ++mReport.days[*mRows[row].day].trainings; });
        if (!result) return false;
        mReport.bayes = result->bayes;
        mReport.network = result->network;
        return true;
    }

    TraceReport take() { return std::move(mReport); }

  private:
    // Where an opening counts.
    struct Row {
        const std::string* day;
        std::array<HitCounts*, 3> counts;
    };

    void count(size_t method, size_t row, const Guess& guess) {
        for (HitCounts* const counts : mRows[row].counts) counts->addHits(method, guess.rank);
        mReport.score.methods[method].add(*mRows[row].day, guess);
    }

    void countAnswer(size_t row, const Guess& guess) {
        AnswerCounts one;
        (guess.length == 0 ? one.none : guess.network ? one.network : one.bayes) = 1;
        mReport.days[*mRows[row].day].add(one);
        mReport.lengths[guess.length].add(one);
    }

    const Trace& mTrace;
    TraceReport mReport;
    std::vector<Row> mRows;
};

Json predictorJson(const PredictorScore& score) {
    return {score.opened, score.top1, score.top4};
}

PredictorScore parsePredictor(const Json& numbers) {
    return {numbers.at(0), numbers.at(1), numbers.at(2)};
}

}  // namespace

std::optional<TraceReport> reportTrace(const NamedTrace& trace, const ChargingPlan& plan,
                                       const std::function<bool()>& stopped) {
    ReportBuilder builder(trace);
    for (size_t method = 0; method < METHODS.size(); ++method) {
        if (!builder.run(method, plan, stopped)) return std::nullopt;
    }
    return builder.take();
}

Json traceReportJson(const TraceReport& report) {
    Json object;
    object["score"] = scoreJson(report.score);
    object["hours"] = report.hours;
    object["stretches"] = report.stretches;
    object["apps"] = report.apps;
    object["days"] = report.days;
    for (const auto& [length, counts] : report.lengths) {
        object["lengths"].push_back({length, counts});
    }
    object["bayes"] = predictorJson(report.bayes);
    object["network"] = predictorJson(report.network);
    return object;
}

TraceReport parseTraceReport(const Json& object) {
    TraceReport report;
    report.score = parseScore(object.at("score"));
    object.at("hours").get_to(report.hours);
    object.at("stretches").get_to(report.stretches);
    object.at("apps").get_to(report.apps);
    object.at("days").get_to(report.days);
    for (const Json& entry : object.at("lengths")) {
        report.lengths[entry.at(0)] = entry.at(1).get<AnswerCounts>();
    }
    report.bayes = parsePredictor(object.at("bayes"));
    report.network = parsePredictor(object.at("network"));
    return report;
}
