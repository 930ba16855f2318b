#include "tools/compare/TraceScore.h"

#include <ctime>
#include <vector>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"
#include "tools/common/TimeZone.h"

namespace {

// Where an opening is counted.
struct Place {
    size_t row;
    std::string day;
    PairedCounts* stretch;
    SplitCounts* split;  // of the day
    std::array<HitCounts*, 3> counts;
};

// From Monday's first on.
uint32_t hourOfWeek(const tm& time) {
    return static_cast<uint32_t>((time.tm_wday + 6) % 7 * 24 + time.tm_hour);
}

std::string dayOf(const tm& local) {
    return timeText(local, "%Y-%m-%d");
}

// By the clock on the wall.
tm localTime(const Trace& trace, size_t row) {
    const time_t moment = wholeSeconds(trace.time(row));
    tm local{};
    localtime_r(&moment, &local);
    return local;
}

// Counts the openings that count, each at its places.
std::vector<Place> countOpenings(const Trace& trace, TraceScore& score) {
    std::vector<Place> places;
    for (size_t row = 1; row < trace.size(); ++row) {
        if (trace.name(row) == trace.name(row - 1)) {
            ++score.repeats;
            continue;
        }
        const tm local = localTime(trace, row);
        const std::string day = dayOf(local);
        PairedCounts* const stretch = &score.stretches[stretchOf(places.size() + 1)];
        places.push_back(
            {row,
             day,
             stretch,
             &score.split[day],
             {&score.hours[hourOfWeek(local)], &stretch->counts, &score.apps[trace.name(row)]}});
        ++score.openings[day];
        for (HitCounts* const counts : places.back().counts) ++counts->openings;
    }
    return places;
}

void countGuesses(size_t method, const std::vector<Guess>& guesses,
                  const std::vector<Place>& places, MethodScore& score) {
    for (const Place& place : places) {
        const Guess& guess = guesses[place.row];
        if (guess.length > 0) ++score.answered;
        if (guess.rank == 0) continue;
        ++score.ranks[place.day][guess.rank];
        for (HitCounts* const counts : place.counts) counts->addHits(method, guess.rank);
    }
}

void countSplit(size_t rule, const MethodRun& engine, const MethodRun& run,
                const std::vector<Place>& places) {
    for (const Place& place : places) {
        for (size_t depth = 0; depth < DEPTHS.size(); ++depth) {
            const auto isHit = [&](const MethodRun& of) {
                const uint32_t rank = of.guesses[place.row].rank;
                return rank > 0 && rank <= DEPTHS[depth];
            };
            if (isHit(engine) == isHit(run)) continue;
            ++place.stretch->split[rule][depth];
            ++(*place.split)[rule][depth];
        }
    }
}

void countMissed(const MethodRun& engine, const Trace& trace, const std::vector<Place>& places,
                 TraceScore& score) {
    for (const Place& place : places) {
        const uint32_t rank = engine.guesses[place.row].rank;
        if (rank > 0 && rank <= DEPTHS[FIRST_FOUR]) continue;
        const size_t first = engine.firsts[place.row];
        ++score.missed[trace.name(place.row)][first == NO_NAME ? "" : trace.names()[first]];
    }
}

void countAnswers(const MethodRun& engine, const Trace& trace, const std::vector<Place>& places,
                  TraceScore& score) {
    for (const Place& place : places) {
        const Guess& guess = engine.guesses[place.row];
        const Answer answer = guess.length == 0 ? NO_ANSWER : guess.network ? BY_NETWORK : BY_BAYES;
        ++score.answers[place.day][answer];
    }
    for (const size_t row : engine.trainings) {
        ++score.answers[dayOf(localTime(trace, row))][TRAININGS];
    }
}

std::array<uint64_t, 3> ownCounts(const PredictorScore& score) {
    const auto whole = [](int count) { return static_cast<uint64_t>(count); };
    return {whole(score.opened), whole(score.top1), whole(score.top4)};
}

}  // namespace

void TraceScore::add(const TraceScore& other) {
    invented |= other.invented;
    forEachCount([&](const char*, auto member) { addCounts(this->*member, other.*member); });
}

uint32_t stretchOf(uint64_t opening) {
    uint32_t stretch = 0;
    while (lastOfStretch(stretch) < opening) ++stretch;
    return stretch;
}

uint64_t lastOfStretch(uint32_t stretch) {
    constexpr uint64_t STEPS[] = {10, 20, 50};
    uint64_t last = STEPS[stretch % 3];
    for (uint32_t i = 0; i < stretch / 3; ++i) last *= 10;
    return last;
}

std::optional<TraceScore> scoreTrace(const NamedTrace& named, const ChargingPlan& plan,
                                     const std::function<bool(size_t done)>& goOn) {
    const Trace& trace = named.trace;
    TraceScore score;
    score.name = named.name;
    score.charging = plan.text();
    score.zone = zoneName();
    score.invented = trace.hasInventedTimes();
    const std::vector<Place> places = countOpenings(trace, score);
    if (places.empty()) {
        throw InputError(printable(named.name) +
                         ": nothing can be judged, as no opening follows one of another name");
    }
    std::optional<MethodRun> engine;
    for (size_t method = 0; method < METHODS.size(); ++method) {
        std::optional<MethodRun> run = runMethod(METHODS[method], trace, plan, [&](size_t row) {
            return goOn(method * trace.size() + row);
        });
        if (!run) return std::nullopt;
        countGuesses(method, run->guesses, places, score.methods[method]);
        score.methods[method].unused = run->unused;
        if (isRule(METHODS[method])) countSplit(method - FIRST_RULE, *engine, *run, places);
        if (METHODS[method] != Method::ENGINE) continue;
        countMissed(*run, trace, places, score);
        countAnswers(*run, trace, places, score);
        score.own[BY_BAYES] = ownCounts(run->bayes);
        score.own[BY_NETWORK] = ownCounts(run->network);
        engine = std::move(run);
    }
    return score;
}
