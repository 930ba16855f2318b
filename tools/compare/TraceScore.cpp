#include "tools/compare/TraceScore.h"

namespace {

// Where an opening is counted: its day in the trace.
std::vector<std::string> daysOf(const Trace& trace) {
    std::vector<std::string> days;
    days.reserve(trace.size());
    time_t before = 0;
    for (size_t row = 0; row < trace.size(); ++row) {
        const time_t moment = wholeSeconds(trace.time(row));
        days.push_back(row > 0 && moment == before ? days.back() : localDay(moment));
        before = moment;
    }
    return days;
}

}  // namespace

void MethodScore::add(const std::string& day, const Guess& guess) {
    if (guess.length > 0) ++answered;
    if (guess.rank == 0) return;
    if (guess.rank <= 1) ++top1;
    if (guess.rank <= 4) ++top4;
    if (guess.rank <= 8) ++top8;
    ++ranks[day][guess.rank];
}

std::string localDay(time_t moment) {
    struct tm local {};
    localtime_r(&moment, &local);
    char text[32];
    strftime(text, sizeof(text), "%Y-%m-%d", &local);
    return text;
}

std::optional<TraceScore> scoreTrace(const NamedTrace& trace, const ChargingPlan& plan,
                                     const std::function<bool()>& stopped) {
    TraceScore score;
    score.name = trace.name;
    const std::vector<std::string> days = daysOf(trace.trace);
    for (const std::string& day : days) ++score.openings[day];
    for (const Method method : METHODS) {
        MethodScore& counts = score.methods[static_cast<size_t>(method)];
        const bool complete =
            runMethod(method, trace.trace, plan, [&](size_t row, const Guess& guess) {
                counts.add(days[row], guess);
                return !stopped();
            });
        if (!complete) return std::nullopt;
    }
    return score;
}
