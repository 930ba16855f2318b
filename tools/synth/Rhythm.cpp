#include "tools/synth/Rhythm.h"

#include <algorithm>

namespace {

constexpr int HALF_HOUR = 30;
constexpr int SLOTS = 50;  // to one o'clock of the next day

constexpr double USE[SITUATION_COUNT] = {1.3, 1.7, 0.8, 1.9, 1.6, 1.3, 1.3};

}  // namespace

Rhythm::Rhythm(Random& random, std::optional<double> perDay) : mRandom(random) {
    mWake = mRandom.between(6 * 60, 7 * 60 + 30);
    mWakeLater = mRandom.between(30, 150);
    mBed = mRandom.between(21 * 60 + 45, 23 * 60 + 15);
    mBedLater = mRandom.between(0, 90);
    mLeave = mWake + mRandom.between(30, 80);
    mWork = mLeave + mRandom.between(20, 60);
    mBreak = mRandom.between(11 * 60 + 30, 13 * 60);
    mWorkEnds = mRandom.between(16 * 60, 18 * 60);
    mHome = mWorkEnds + mWork - mLeave;
    for (size_t s = 0; s < SITUATION_COUNT; ++s) mUse[s] = USE[s] * mRandom.within(0.5, 1.5);
    mGoesOn = mRandom.within(0.74, 0.86);
    const double few = mRandom.unit();
    if (!perDay) perDay = 60 + 200 * few * few;  // most people at the lower end

    // Those are pick-ups now; the factor puts right what bed time, bursts and slack days take away.
    double sum = 0;
    const Day usual = {true, mWake, mBed, 1};
    for (int minute = usual.wake; minute < usual.bed; minute += HALF_HOUR) {
        sum += mUse[situation(usual, minute)];
    }
    const double scale = 1.02 * *perDay * (1 - mGoesOn) / sum;
    for (double& use : mUse) use *= scale;
}

Rhythm::Day Rhythm::nextDay(int weekday) {
    Day day{};
    day.working = weekday < 5 && !mRandom.chance(0.03);
    const int late = weekday == 4 || weekday == 5 ? mBedLater : 0;
    day.wake = mWake + (day.working ? 0 : mWakeLater) + mRandom.between(0, 20);
    day.bed = std::min(mBed + late + mRandom.between(-30, 30), 25 * 60);
    day.busyness = mRandom.chance(0.03) ? 0.1 : mRandom.within(0.5, 1.5);
    return day;
}

Situation Rhythm::situation(const Day& day, int minute) const {
    if (minute >= day.bed - 60) return BED;
    if (!day.working) {
        if (minute < day.wake + 60) return WAKING;
        return minute < 19 * 60 ? LEISURE : EVENING;
    }
    if (minute < mLeave) return WAKING;
    if (minute < mWork) return COMMUTE;
    if (minute >= mBreak && minute < mBreak + 45) return BREAK;
    if (minute < mWorkEnds) return WORK;
    return minute < mHome ? COMMUTE : EVENING;
}

std::vector<int> Rhythm::pickUps(const Day& day) {
    std::vector<int> times;
    for (int slot = 0; slot < SLOTS; ++slot) {
        const int begin = slot * HALF_HOUR;
        if (begin + HALF_HOUR <= day.wake || begin >= day.bed) continue;
        const double burst = mRandom.chance(0.15) ? 2.6 : 0.72;
        const double expected = mUse[situation(day, begin)] * day.busyness * burst;
        for (auto count = static_cast<int>(expected + mRandom.unit()); count > 0; --count) {
            const int time = begin * 60 + mRandom.between(0, HALF_HOUR * 60 - 1);
            if (time >= day.wake * 60 && time < day.bed * 60) times.push_back(time);
        }
    }
    std::sort(times.begin(), times.end());
    return times;
}

int Rhythm::pause() {
    if (mRandom.chance(0.15)) return mRandom.between(60, 280);
    const double shortly = mRandom.unit();
    return 3 + static_cast<int>(60 * shortly * shortly);
}
