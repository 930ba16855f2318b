#include "tools/synth/Diary.h"

#include <algorithm>
#include <string>

#include "tools/common/InputError.h"
#include "tools/trace/LocalTime.h"

namespace {

constexpr time_t LAST_DAY = 4102358400;  // 2099-12-31, excluded: a day may end after midnight
constexpr int MIN_REST = 20;             // seconds between two pick-ups

// 0 for Monday.
int weekdayOf(time_t midnight) {
    return static_cast<int>((midnight / SECONDS_PER_DAY + 3) % 7);
}

size_t appsOnPhone(const SynthPlan& plan, Random& random) {
    const auto own = static_cast<size_t>(random.between(45, 95));
    return plan.apps.value_or(own);
}

[[noreturn]] void refuse() {
    throw InputError("the trace would last beyond the year 2099: start earlier or ask for less");
}

}  // namespace

void requireCalendar(const SynthPlan& plan) {
    if (plan.start + plan.days.value_or(1) * SECONDS_PER_DAY > LAST_DAY) refuse();
}

Diary::Diary(const SynthPlan& plan, uint64_t user)
    : mPlan(plan),
      mRandom(plan.seed, user),
      mRhythm(mRandom, plan.perDay),
      mPerson(mRandom, appsOnPhone(plan, mRandom)) {}

std::optional<std::vector<SynthOpening>> Diary::nextDay() {
    if (mPlan.days && mDay >= *mPlan.days) return std::nullopt;
    if (mPlan.openings && mOpenings >= *mPlan.openings) return std::nullopt;
    const time_t midnight = mPlan.start + mDay * SECONDS_PER_DAY;
    if (midnight >= LAST_DAY) refuse();
    const int weekday = weekdayOf(midnight);
    ++mDay;
    mPerson.passNight(weekday);

    std::vector<SynthOpening> openings;
    const Rhythm::Day day = mRhythm.nextDay(weekday);
    const int bed = day.bed * 60;
    int time = 0;
    for (const int pickUp : mRhythm.pickUps(day)) {
        time = std::max(pickUp, time + MIN_REST);
        if (time >= bed) break;
        const Situation situation = mRhythm.situation(day, time / 60);
        openings.push_back({midnight + time, mPerson.takeUp(situation, time / (30 * 60))});
        while (mRhythm.goesOn()) {
            time += mRhythm.pause();
            if (time >= bed) break;
            openings.push_back({midnight + time, mPerson.goOn(situation)});
        }
    }
    if (mPlan.openings) {
        openings.resize(std::min<uint64_t>(openings.size(), *mPlan.openings - mOpenings));
    }
    mOpenings += openings.size();
    return openings;
}
